#include "compat/shape_points.h"

#include <algorithm>

#include "platform/file.h"

namespace zatlib {

// What the functions of this header do with a holder.
struct ShapePointAccess {
  static Outcome Open(const Step& step, ShapeHolder* holder, const ShapeData& data,
                      int memory_mode) {
    const FileResult result = memory_mode != 0 ? LoadPoints(holder, data) : OpenData(holder, data);
    return result == FileResult::kDone ? Outcome::kDone : FailShapeData(step, holder, data, result);
  }

  static FileResult OpenData(ShapeHolder* holder, const ShapeData& data) {
    holder->data_file_ =
        platform::File::Open(data.path.c_str(), platform::Access::kRead, platform::Share::kRead,
                             platform::Disposition::kOpenExisting);
    return holder->data_file_.IsOpen() ? FileResult::kDone : FileResult::kNotOpened;
  }

  // One that cannot be opened counts as one that cannot be read.
  static FileResult LoadPoints(ShapeHolder* holder, const ShapeData& data) {
    if (!holder->points_.Allocate(holder->point_count_)) return FileResult::kNoMemory;
    const FileResult loaded =
        LoadRecords(data.path.c_str(), holder->points_.data(), holder->point_count_);
    return loaded == FileResult::kDone ? FileResult::kDone : FileResult::kNotRead;
  }

  static int Get(FeatureCode code, ShapePoint* points, ShapeHolder* holder) {
    constexpr int64_t kPointSize = sizeof(ShapePoint);
    const ShapeIndexEntry* const entries = holder->index_.data();
    const int64_t found = holder->lookup_.Find(code.AsDouble());
    if (found < 0) return -1;
    const ShapeIndexEntry& entry = entries[found];
    const int count = std::min(entry.Count, kMaxShapePoints);
    if (count <= 0) return count;
    if (holder->points_) {
      if (entry.Offset < 0) return -1;
      const int64_t first = entry.Offset / kPointSize;
      if (first + count > holder->point_count_) return -1;
      std::copy_n(holder->points_.data() + first, count, points);
      return count;
    }
    platform::File& file = holder->data_file_;
    if (!file.IsOpen()) return -1;
    if (file.Seek(entry.Offset, platform::SeekFrom::kBegin) != entry.Offset) return -1;
    const auto size = static_cast<uint32_t>(count * kPointSize);
    uint32_t read = 0;
    if (!file.Read(points, size, &read) || read != size) return -1;
    return count;
  }
};

int SHAPE_OpenShape(WindowHandle owner, ShapeHolder* holder, const char* folder, int memory_mode) {
  const Step step = ShapeOpening(owner, folder);
  ShapeData data;
  if (!IsDone(OpenShapeIndex(step, holder, &data))) return 0;
  return AsResult(ShapePointAccess::Open(step, holder, data, memory_mode));
}

int SHAPE_GetShapePoints(FeatureCode code, ShapePoint* points, ShapeHolder* holder) {
  return ShapePointAccess::Get(code, points, holder);
}

}  // namespace zatlib
