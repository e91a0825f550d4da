#include "shape/shape_output.h"

namespace zatlib {
namespace {

// Records whose entries wait for their points to be written: an entry must not get into the index
// before its points are in the data. Fewer where memory is short.
constexpr int64_t kPendingRecords = 16384;

}  // namespace

ShapeOutput::Opened ShapeOutput::Open(const char* data_path, const char* index_path, bool append) {
  pending_.Take(kPendingRecords);
  if (!data_.Open(data_path, sizeof(ShapePoint), append)) return Opened::kNoData;
  if (!index_.Open(index_path, sizeof(ShapeIndexEntry), append)) return Opened::kNoIndex;
  start_ = data_.offset();
  return Opened::kBoth;
}

bool ShapeOutput::BeginRecord(FeatureCode code, bool line_object) {
  if (pending_count_ == pending_.room() && !WritePending()) return false;
  ++record_;
  if (data_.offset() > kMaxOffset) return RefuseSize();
  pending_[pending_count_] = {
      {code, static_cast<int32_t>(data_.offset()), 0}, record_, line_object};
  in_record_ = true;
  return true;
}

void ShapeOutput::EndRecord(int32_t count) {
  last_entry_ = pending_[pending_count_].entry;
  last_entry_.Count = count;
  pending_[pending_count_].entry.Count = count;
  ++pending_count_;
  in_record_ = false;
}

bool ShapeOutput::RefuseSize() {
  failure_.part = FailedShapeWrite::Part::kTooLarge;
  failure_.record = record_;
  return false;
}

bool ShapeOutput::WritePending() {
  if (!data_.WriteOut()) {
    LocateFailedPoint();
    return false;
  }
  const bool stored = StoreEntries(pending_count_);
  pending_count_ = 0;
  return stored;
}

bool ShapeOutput::StoreEntries(int64_t count) {
  for (int64_t i = 0; i < count; ++i) {
    if (!index_.Append(&pending_[i].entry)) {
      NoteFailedEntry();
      return false;
    }
  }
  return true;
}

// Finds the record of the first point that is not whole in the file, and stores the entries before.
void ShapeOutput::LocateFailedPoint() {
  const int64_t position =
      start_ + data_.failed_record() * static_cast<int64_t>(sizeof(ShapePoint));
  int64_t at = pending_count_ + (in_record_ ? 1 : 0);
  if (at > 0) --at;
  while (at > 0 && pending_[at].entry.Offset > position) --at;
  const Pending& record = pending_[at];
  failure_.part = FailedShapeWrite::Part::kPoint;
  failure_.record = record.record;
  failure_.item = (position - record.entry.Offset) / static_cast<int64_t>(sizeof(ShapePoint)) + 1;
  failure_.line_object = record.line_object;
  pending_count_ = 0;
  in_record_ = false;
  StoreEntries(at);
}

void ShapeOutput::NoteFailedEntry() {
  failure_.part = FailedShapeWrite::Part::kEntry;
  failure_.record = index_.failed_record() + 1;
}

bool ShapeOutput::Finish() {
  // A failed write is final: what it left pending has been dealt with then.
  const bool failed_before = failure_.part == FailedShapeWrite::Part::kPoint ||
                             failure_.part == FailedShapeWrite::Part::kEntry;
  if (!failed_before) WritePending();
  // Entries follow the points of their record, so an entry that fails here comes before any point
  // that failed.
  if (!index_.WriteOut()) NoteFailedEntry();
  data_.Close();
  index_.Close();
  return failure_.part == FailedShapeWrite::Part::kNone;
}

}  // namespace zatlib
