#include "shape/shape_access.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "frd/files.h"
#include "frd/keyed_table.h"
#include "platform/file.h"

namespace zatlib {
namespace {

constexpr int64_t kPointSize = sizeof(ShapePoint);
constexpr int64_t kMaxShapeSize = kMaxShapePoints * kPointSize;  // bytes of one shape at most
constexpr int64_t kWindowStep = 1 << 20;  // bytes from one window on the data to the next, at most
constexpr int64_t kLeastStep = 1 << 12;   // and at least
constexpr int64_t kEntriesOfPart = 4096;  // index entries that a thread takes at a time
static_assert(kLeastStep % kPointSize == 0);

// Number of records of a file, as far as a 32-bit count goes.
int32_t RecordCount(uint64_t size, uint64_t record_size) {
  const auto limit = static_cast<uint64_t>(std::numeric_limits<int32_t>::max());
  return static_cast<int32_t>(std::min(size / record_size, limit));
}

platform::File OpenForReading(const char* path) {
  return platform::File::Open(path, platform::Access::kRead, platform::Share::kRead,
                              platform::Disposition::kOpenExisting);
}

// An index entry by the place of its data.
struct DataPlace {
  int32_t offset;
  int32_t position;  // in the index
};

// The entries of an index in the order of their data, which is that of the index itself in most
// maps.
class DataOrder {
 public:
  // False when the memory for another order is refused.
  bool Make(const ShapeIndexEntry* entries, int64_t count) {
    entries_ = entries;
    count_ = count;
    const auto by_offset = [](const ShapeIndexEntry& a, const ShapeIndexEntry& b) {
      return a.Offset < b.Offset;
    };
    if (std::is_sorted(entries, entries + count, by_offset)) return true;
    if (!places_.Allocate(count)) return false;
    for (int64_t i = 0; i < count; ++i) {
      places_[i] = {entries[i].Offset, static_cast<int32_t>(i)};
    }
    SortRecords(places_.data(), count,
                [](const DataPlace& place) { return static_cast<double>(place.offset); });
    return true;
  }

  // Position in the index of the i-th entry.
  int64_t PositionAt(int64_t i) const { return places_ ? places_[i].position : i; }

  // Number of the first entry from `first` on whose data begin at `offset` or later.
  int64_t FirstFrom(int64_t first, int64_t offset) const {
    int64_t end = count_;
    while (first < end) {
      const int64_t middle = first + (end - first) / 2;
      if (entries_[PositionAt(middle)].Offset < offset) {
        first = middle + 1;
      } else {
        end = middle;
      }
    }
    return first;
  }

 private:
  const ShapeIndexEntry* entries_ = nullptr;
  int64_t count_ = 0;
  PageArray<DataPlace> places_;  // empty: the order of the index
};

// The part of the data that is being looked at: `step` bytes, and behind them as many as a shape
// that begins there may need.
struct DataWindow {
  char* bytes = nullptr;
  int64_t step = kWindowStep;
  int64_t begin = 0;  // position in the file
  int64_t size = 0;   // bytes that could be read
  bool whole = true;  // all that the file should have there

  int64_t end() const { return begin + size; }
};

// Reads `wanted` bytes behind the `held` ones that the window has already.
void FillWindow(platform::File& file, int64_t held, int64_t wanted, DataWindow* window) {
  uint32_t read = 0;
  file.Read(window->bytes + held, static_cast<uint32_t>(wanted), &read);
  window->size = held + read;
  window->whole = read == wanted;
}

// The window behind `before`, of a file of which `limit` bytes count.
void ReadNextWindow(platform::File& file, const DataWindow& before, int64_t limit,
                    DataWindow* window) {
  window->begin = before.begin + before.step;
  const int64_t wanted = std::min(limit - window->begin, before.step + kMaxShapeSize);
  if (before.whole) {
    const int64_t held = before.end() - window->begin;
    std::memcpy(window->bytes, before.bytes + before.step, static_cast<size_t>(held));
    FillWindow(file, held, wanted - held, window);
  } else if (file.Seek(window->begin, platform::SeekFrom::kBegin) == window->begin) {
    FillWindow(file, 0, wanted, window);
  } else {
    window->size = 0;
    window->whole = false;
  }
}

// Takes memory for two windows on `limit` bytes, smaller ones where it is short. Returns the bytes
// of one; 0 when there is no memory.
int64_t TakeWindows(int64_t limit, PageArray<char>* buffer, DataWindow (&windows)[2]) {
  int64_t refused = std::numeric_limits<int64_t>::max();
  for (int64_t step = kWindowStep; step >= kLeastStep; step /= 2) {
    const int64_t size = std::min(limit, step + kMaxShapeSize);
    if (size == refused) continue;
    if (!buffer->Allocate(2 * size)) {
      refused = size;
      continue;
    }
    windows[0].bytes = buffer->data();
    windows[1].bytes = buffer->data() + size;
    windows[0].step = windows[1].step = step;
    return size;
  }
  return 0;
}

}  // namespace

// What the functions of this header do with a holder.
struct ShapeAccess {
  // Loads the index and looks for the data.
  static Outcome OpenIndex(const Step& step, ShapeHolder* holder, ShapeData* data) {
    SHAPE_CloseShape(holder);
    const Outcome loaded = LoadIndex(step, holder);
    if (!IsDone(loaded)) return loaded;
    holder->lookup_.Build(holder->index_.data(), holder->entry_count_);

    data->path = step.Path(kShapeDataFile);
    data->size = FileSize(data->path.c_str());
    if (data->size == 0) {
      SHAPE_CloseShape(holder);
      return step.FailModal(kFileError, "Can't find the shape data file (%s) !",
                            data->path.c_str());
    }
    holder->point_count_ = RecordCount(data->size, sizeof(ShapePoint));
    return Outcome::kDone;
  }

  static Outcome LoadIndex(const Step& step, ShapeHolder* holder) {
    const PathText path = step.Path(kShapeIndexFile);
    const uint64_t size = FileSize(path.c_str());
    if (size == 0) {
      return step.FailModal(kFileError, "Can't find the shape index file (%s) !", path.c_str());
    }
    holder->entry_count_ = RecordCount(size, sizeof(ShapeIndexEntry));
    FileResult loaded = FileResult::kNoMemory;
    if (holder->index_.Allocate(holder->entry_count_)) {
      loaded = LoadRecords(path.c_str(), holder->index_.data(), holder->entry_count_);
    }
    if (loaded == FileResult::kDone) return Outcome::kDone;
    SHAPE_CloseShape(holder);
    if (loaded == FileResult::kNoMemory) {
      return step.FailModal(kMemoryError,
                            "Can't allocate the memory for the shape index, size=%lld",
                            static_cast<long long>(size));
    }
    return step.FailModal(kFileError, "Can't open / read the shape index DBL (%s) !", path.c_str());
  }

  // Takes the ends of one shape out of the window. An entry that has none loses its count.
  static void TakeEnds(const DataWindow& window, int memory_mode, ShapeIndexEntry* entry,
                       ShapeEnds* ends) {
    const int64_t count = std::min(entry->Count, kMaxShapePoints);
    if (count < 2) return;
    const int64_t start = memory_mode != 0 ? entry->Offset / kPointSize * kPointSize
                                           : static_cast<int64_t>(entry->Offset);
    if (entry->Offset < 0 || start + count * kPointSize > window.end()) {
      entry->Count = -1;
      return;
    }
    const char* points = window.bytes + (start - window.begin);
    std::memcpy(&ends->First, points, 2 * sizeof(ShapePoint));
    std::memcpy(&ends->BeforeLast, points + (count - 2) * kPointSize, 2 * sizeof(ShapePoint));
  }

  static Outcome OpenEnds(const Step& step, ShapeHolder* holder, const ShapeData& data,
                          int memory_mode, Workers& workers) {
    // The bytes that an entry can reach; whole points only where they are counted.
    const int64_t reach = std::numeric_limits<int32_t>::max() + kMaxShapeSize;
    const int64_t limit =
        memory_mode != 0
            ? holder->point_count_ * kPointSize
            : static_cast<int64_t>(std::min<uint64_t>(data.size, static_cast<uint64_t>(reach)));
    ShapeIndexEntry* const entries = holder->index_.data();
    const int64_t count = holder->entry_count_;
    // The memory operation is for machines that have room for all points.
    PageArray<ShapePoint> all_points;
    if (memory_mode != 0 && !all_points.Allocate(holder->point_count_)) {
      return FailShapeData(step, holder, data, FileResult::kNoMemory);
    }
    all_points.Free();
    PageArray<char> buffer;
    DataOrder order;
    if (!holder->ends_.Allocate(count) || !order.Make(entries, count)) {
      return FailShapeData(step, holder, data, FileResult::kNoMemory);
    }
    DataWindow windows[2];
    const int64_t window_size = TakeWindows(limit, &buffer, windows);
    if (window_size == 0) return FailShapeData(step, holder, data, FileResult::kNoMemory);
    platform::File file = OpenForReading(data.path.c_str());
    if (!file.IsOpen()) {
      return FailShapeData(step, holder, data,
                           memory_mode != 0 ? FileResult::kNotRead : FileResult::kNotOpened);
    }
    FillWindow(file, 0, window_size, &windows[0]);
    int64_t first = 0;
    bool is_last = false;
    for (int current = 0; !is_last; current = 1 - current) {
      const DataWindow& window = windows[current];
      if (memory_mode != 0 && !window.whole) {
        return FailShapeData(step, holder, data, FileResult::kNotRead);
      }
      is_last = window.begin + window.step >= limit;
      const int64_t behind = is_last ? count : order.FirstFrom(first, window.begin + window.step);
      workers.StartRanges(behind - first, kEntriesOfPart, [&, first](int64_t begin, int64_t end) {
        for (int64_t i = first + begin; i < first + end; ++i) {
          const int64_t position = order.PositionAt(i);
          TakeEnds(window, memory_mode, &entries[position], &holder->ends_[position]);
        }
      });
      if (!is_last) ReadNextWindow(file, window, limit, &windows[1 - current]);
      workers.Finish();
      first = behind;
    }
    return Outcome::kDone;
  }

  static void FindEnds(const FeatureCode* codes, int64_t count, const ShapeHolder& holder,
                       int32_t* positions) {
    const ShapeIndexEntry* const entries = holder.index_.data();
    int64_t next = 0;  // where the shape of the next code is likely to be
    for (int64_t i = 0; i < count; ++i) {
      const int64_t found = holder.lookup_.FindFrom(codes[i].AsDouble(), next);
      positions[i] = found < 0 || entries[found].Count < 2 ? -1 : static_cast<int32_t>(found);
      if (found >= 0) next = found + 1;
    }
  }

  static void Close(ShapeHolder* holder) {
    holder->entry_count_ = 0;
    holder->lookup_ = CodeLookup();
    holder->index_.Free();
    holder->point_count_ = 0;
    holder->points_.Free();
    holder->data_file_.Close();
    holder->ends_.Free();
  }
};

int SHAPE_CheckShapeFiles(const char* folder) {
  for (const char* name : {kShapeIndexFile, kShapeDataFile, kShapeInfoFile}) {
    if (!CanOpen(PathIn(folder, name).c_str())) return 0;
  }
  return 1;
}

int SHAPE_OpenShapeEnds(WindowHandle owner, ShapeHolder* holder, const char* folder,
                        int memory_mode, Workers& workers) {
  const Step step = ShapeOpening(owner, folder);
  ShapeData data;
  if (!IsDone(OpenShapeIndex(step, holder, &data))) return 0;
  return AsResult(ShapeAccess::OpenEnds(step, holder, data, memory_mode, workers));
}

void SHAPE_FindShapeEnds(const FeatureCode* codes, int64_t count, const ShapeHolder& holder,
                         int32_t* positions) {
  ShapeAccess::FindEnds(codes, count, holder, positions);
}

void SHAPE_CloseShape(ShapeHolder* holder) { ShapeAccess::Close(holder); }

Step ShapeOpening(WindowHandle owner, const char* folder) {
  return Step::InFolder(owner, folder, "SHAPE_OpenShape");
}

Outcome OpenShapeIndex(const Step& step, ShapeHolder* holder, ShapeData* data) {
  return ShapeAccess::OpenIndex(step, holder, data);
}

Outcome FailShapeData(const Step& step, ShapeHolder* holder, const ShapeData& data,
                      FileResult result) {
  SHAPE_CloseShape(holder);
  if (result == FileResult::kNoMemory) {
    return step.FailModal(kMemoryError, "Can't allocate the memory for the shape data, size=%lld",
                          static_cast<long long>(data.size));
  }
  if (result == FileResult::kNotOpened) {
    return step.FailModal(kFileError, "Can't open the shape data (%s) !", data.path.c_str());
  }
  return step.FailModal(kFileError, "Can't open / read the shape data (%s) !", data.path.c_str());
}

}  // namespace zatlib
