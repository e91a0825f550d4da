#include "shape/shape_access.h"

#include <algorithm>
#include <limits>

#include "frd/control.h"
#include "frd/files.h"
#include "frd/keyed_table.h"
#include "shape/shape_report.h"

namespace zatlib {
namespace {

constexpr char kFileError[] = "File Error in SHAPE_OpenShape";
constexpr char kMemoryError[] = "Memory Error in SHAPE_OpenShape";

// Number of records of a file, as far as a 32-bit count goes.
int32_t RecordCount(uint64_t size, uint64_t record_size) {
  const auto limit = static_cast<uint64_t>(std::numeric_limits<int32_t>::max());
  return static_cast<int32_t>(std::min(size / record_size, limit));
}

platform::File OpenForReading(const char* path) {
  return platform::File::Open(path, platform::Access::kRead, platform::Share::kRead,
                              platform::Disposition::kOpenExisting);
}

// Reads the first `size` bytes of a file.
bool ReadFileStart(const char* path, void* data, uint64_t size) {
  platform::File file = OpenForReading(path);
  return file.IsOpen() && ReadExactly(file, data, size);
}

}  // namespace

int SHAPE_CheckShapeFiles(const char* folder) {
  for (const char* name : {kShapeIndexFile, kShapeDataFile, kShapeInfoFile}) {
    if (!CanOpen(PathIn(folder, name).c_str())) return 0;
  }
  return 1;
}

int SHAPE_OpenShape(WindowHandle owner, ShapeHolder* holder, const char* folder, int memory_mode) {
  SHAPE_CloseShape(holder);
  const auto fail = [owner, holder](const char* title, const char* format, const auto&... value) {
    SHAPE_CloseShape(holder);
    return ReportShapeError(owner, ShapeBox::kTaskModal, title, format, value...);
  };

  const PathText index_path = PathIn(folder, kShapeIndexFile);
  const uint64_t index_size = FileSize(index_path.c_str());
  if (index_size == 0) {
    return fail(kFileError, "Can't find the shape index file (%s) !", index_path.c_str());
  }
  holder->entry_count_ = RecordCount(index_size, sizeof(ShapeIndexEntry));
  const auto entries = static_cast<uint64_t>(holder->entry_count_);
  if (!holder->index_.Allocate(entries)) {
    return fail(kMemoryError, "Can't allocate the memory for the shape index, size=%lld",
                static_cast<long long>(index_size));
  }
  if (!ReadFileStart(index_path.c_str(), holder->index_.data(),
                     entries * sizeof(ShapeIndexEntry))) {
    return fail(kFileError, "Can't open / read the shape index DBL (%s) !", index_path.c_str());
  }

  holder->tree_.Build(holder->index_.data(), holder->entry_count_);

  const PathText data_path = PathIn(folder, kShapeDataFile);
  const uint64_t data_size = FileSize(data_path.c_str());
  if (data_size == 0) {
    return fail(kFileError, "Can't find the shape data file (%s) !", data_path.c_str());
  }
  holder->point_count_ = RecordCount(data_size, sizeof(ShapePoint));
  if (memory_mode == 0) {
    holder->data_file_ = OpenForReading(data_path.c_str());
    if (!holder->data_file_.IsOpen()) {
      return fail(kFileError, "Can't open the shape data (%s) !", data_path.c_str());
    }
    return 1;
  }
  const auto points = static_cast<uint64_t>(holder->point_count_);
  if (!holder->points_.Allocate(points)) {
    return fail(kMemoryError, "Can't allocate the memory for the shape data, size=%lld",
                static_cast<long long>(data_size));
  }
  if (!ReadFileStart(data_path.c_str(), holder->points_.data(), points * sizeof(ShapePoint))) {
    return fail(kFileError, "Can't open / read the shape data (%s) !", data_path.c_str());
  }
  return 1;
}

int SHAPE_GetShapePoints(FeatureCode code, ShapePoint* points, ShapeHolder* holder) {
  const ShapeIndexEntry* const entries = holder->index_.data();
  const int64_t found = holder->tree_.Find(code.AsDouble());
  if (found < 0) return -1;
  const ShapeIndexEntry& entry = entries[found];
  const int count = std::min(entry.Count, kMaxShapePoints);
  if (count <= 0) return count;
  if (holder->points_) {
    if (entry.Offset < 0) return -1;
    const int64_t first = entry.Offset / static_cast<int64_t>(sizeof(ShapePoint));
    if (first + count > holder->point_count_) return -1;
    std::copy_n(holder->points_.data() + first, count, points);
    return count;
  }
  if (!holder->data_file_.IsOpen()) return -1;
  if (holder->data_file_.Seek(entry.Offset, platform::SeekFrom::kBegin) != entry.Offset) return -1;
  const auto size = static_cast<uint32_t>(static_cast<size_t>(count) * sizeof(ShapePoint));
  uint32_t read = 0;
  if (!holder->data_file_.Read(points, size, &read) || read != size) return -1;
  return count;
}

void SHAPE_CloseShape(ShapeHolder* holder) {
  holder->entry_count_ = 0;
  holder->tree_ = KeyTree();
  holder->index_.Free();
  holder->point_count_ = 0;
  holder->points_.Free();
  holder->data_file_.Close();
}

}  // namespace zatlib
