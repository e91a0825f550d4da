#include "compat/shape_points.h"

#include <algorithm>

#include "platform/file.h"

namespace zatlib {

// What the functions of this header do with a holder.
struct ShapePointAccess {
  static int Open(WindowHandle owner, ShapeHolder* holder, const ShapeData& data, int memory_mode) {
    if (memory_mode == 0) {
      holder->data_file_ =
          platform::File::Open(data.path.c_str(), platform::Access::kRead, platform::Share::kRead,
                               platform::Disposition::kOpenExisting);
      return holder->data_file_.IsOpen()
                 ? 1
                 : FailShapeData(owner, holder, data, FileResult::kNotOpened);
    }
    if (!holder->points_.Allocate(holder->point_count_)) {
      return FailShapeData(owner, holder, data, FileResult::kNoMemory);
    }
    const FileResult loaded =
        LoadRecords(data.path.c_str(), holder->points_.data(), holder->point_count_);
    return loaded == FileResult::kDone ? 1
                                       : FailShapeData(owner, holder, data, FileResult::kNotRead);
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
  ShapeData data;
  if (OpenShapeIndex(owner, holder, folder, &data) == 0) return 0;
  return ShapePointAccess::Open(owner, holder, data, memory_mode);
}

int SHAPE_GetShapePoints(FeatureCode code, ShapePoint* points, ShapeHolder* holder) {
  return ShapePointAccess::Get(code, points, holder);
}

}  // namespace zatlib
