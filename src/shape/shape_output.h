// Appending shapes to the data file and the index in large blocks, with errors that name the record
// at which writing one by one would have stopped.
#pragma once

#include <cstdint>
#include <limits>

#include "frd/record_writer.h"
#include "frd/work_buffer.h"
#include "shape/shape_files.h"

namespace zatlib {

// Where writing stopped.
struct FailedShapeWrite {
  enum class Part {
    kNone,
    kPoint,    // a point could not be written
    kEntry,    // an index entry could not be written
    kTooLarge  // the data would pass 2^31 - 1 bytes
  };
  Part part = Part::kNone;
  int64_t record = 0;        // of this source file, from 1
  int64_t item = 0;          // the point within its record, from 1
  bool line_object = false;  // the record is a Line object
};

class ShapeOutput {
 public:
  enum class Opened { kBoth, kNoData, kNoIndex };

  // Opens both files without sharing: created anew, or at their ends when `append`.
  Opened Open(const char* data_path, const char* index_path, bool append);

  // Begins the next record, whose points follow. False on a failed write.
  bool BeginRecord(FeatureCode code, bool line_object);

  // False on a failed write.
  bool AddPoint(ShapePoint point) {
    if (data_.offset() > kLastPointOffset) return RefuseSize();
    return data_.Append(&point);
  }

  // The same for points in a row.
  bool AddPoints(const ShapePoint* points, int64_t count) {
    if (data_.offset() + (count - 1) * static_cast<int64_t>(sizeof *points) > kLastPointOffset) {
      // Near the limit the point that crosses it is looked for.
      for (int64_t i = 0; i < count; ++i) {
        if (!AddPoint(points[i])) return false;
      }
      return true;
    }
    return data_.AppendMany(points, count);
  }

  // Ends the record; `count` is what its entry says.
  void EndRecord(int32_t count);

  // The entry of the record that ended last.
  const ShapeIndexEntry& last_entry() const { return last_entry_; }

  // Writes out and closes. False when a write failed, now or before; failure() tells where. The
  // index then ends before the record that is not whole.
  bool Finish();
  const FailedShapeWrite& failure() const { return failure_; }

 private:
  struct Pending {
    ShapeIndexEntry entry;
    int64_t record;
    bool line_object;
  };
  static constexpr int64_t kMaxOffset = std::numeric_limits<int32_t>::max();
  static constexpr int64_t kLastPointOffset = kMaxOffset - static_cast<int64_t>(sizeof(ShapePoint));

  bool RefuseSize();
  bool WritePending();
  bool StoreEntries(int64_t count);
  void LocateFailedPoint();
  void NoteFailedEntry();

  RecordWriter data_;
  RecordWriter index_;
  WorkBuffer<Pending> pending_;  // records whose points may not be in the data file yet
  int64_t pending_count_ = 0;    // ended ones
  bool in_record_ = false;       // one more has begun
  int64_t start_ = 0;            // size of the data file before this source file
  int64_t record_ = 0;           // begun so far
  ShapeIndexEntry last_entry_{};
  FailedShapeWrite failure_;
};

}  // namespace zatlib
