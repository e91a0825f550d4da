// A whole work store in memory with an index of its codes, and the rows of a source file that go
// onto its records: for the steps that amend stored records.
#pragma once

#include <cstdint>
#include <utility>

#include "frd/cancellable.h"
#include "frd/code_lookup.h"
#include "frd/memory.h"
#include "frd/record_file.h"
#include "frd/record_stream.h"
#include "frd/record_writer.h"
#include "frd/step.h"
#include "network/network_files.h"
#include "network/workstore/feature_code.h"
#include "network/workstore/index_sort.h"

namespace zatlib {

template <typename Record>
class StoreTable {
 public:
  // Reads the file (its size plus kFileMargin bytes of memory) and reserves count + 2 index
  // entries. A store that cannot be opened is never taken for an empty one: Save would empty it.
  // More than kMaxRecords records count as no memory. kNoMemory, kNotOpened or kNotRead; reports
  // nothing.
  FileResult Load(const char* path) {
    constexpr uint64_t kMostBytes = (static_cast<uint64_t>(kMaxRecords) + 1) * sizeof(Record) - 1;
    const FileResult loaded = LoadFile(path, &image_, {.most_bytes = kMostBytes});
    if (loaded != FileResult::kDone) return loaded;
    count_ = image_.count<Record>();
    return index_.Allocate(count_ + 2) ? FileResult::kDone : FileResult::kNoMemory;
  }

  // Fills and sorts the index. kDone or kCancelled.
  Outcome BuildIndex() {
    for (int64_t i = 0; i < count_; ++i) {
      index_[i] = {CodeOf(records()[i]), static_cast<int32_t>(i), 0};
    }
    const int result = BRN_SortCommonIndex(count_, index_.data());
    lookup_.Build(index_.data(), count_);
    return CancelledIf(result == 0);
  }

  // The record of a code, null when there is none.
  Record* Find(FeatureCode code) {
    const int64_t found = lookup_.Find(code.AsDouble());
    return found < 0 ? nullptr : &records()[index_[found].Number];
  }

  // Writes the whole image back: kDone, kNotCreated or kNotWritten.
  FileResult Save(const char* path) const {
    return SaveBytes(path, image_.bytes.data(), image_.size);
  }

 private:
  Record* records() { return image_.records<Record>(); }

  int64_t count_ = 0;
  WholeFile image_;
  PageArray<CodeIndexRecord> index_;
  CodeLookup lookup_;
};

// Calls put(row) for the rows of a source file, which is open, in order; `read(lines, &row)` takes
// a row from its line (see RecordStream). kDone or kCancelled; why the file ended is told by its
// TakeEnd(), which is called afterwards.
template <typename Row, typename Read, typename Put>
Outcome PutRows(LineSource& file, Read read, Put put) {
  RecordStream<Row, Read> rows(file, std::move(read));
  RecordRun<Row> run;
  Outcome outcome = Outcome::kDone;
  for (int64_t done = 0; IsDone(outcome) && rows.Next(&run); done += run.read) {
    outcome = CancelledIf(CancelledWithin(done, done + run.read));
    for (int64_t i = 0; i < run.count; ++i) put(run.records[i]);
  }
  return outcome;
}

}  // namespace zatlib
