// The loop that stage one's steps share: source records into a work store.
#pragma once

#include <cstdint>

#include "frd/control.h"
#include "frd/files.h"

namespace zatlib {

// What became of one source file.
enum class CopyResult {
  kDone,
  kCancelled,
  kReadFailed,   // the system refused a read
  kWriteFailed,  // the store's failed_record() tells where
  kStopped       // the record reader found the data unfit; `records` tells where
};

// What reading one record came to.
enum class ReadResult {
  kRecord,
  kUnwanted,  // read, but not for the store
  kEnd,
  kUnfit  // ends the copy
};

// Texts and counts of one copy.
struct CopyProgress {
  const char* status = nullptr;  // with a %d for the running number; null = no progress
  int64_t interval = 1;          // records between two looks at the user
  int64_t records = 0;           // records read so far
};

// Copies records from `read(&record)` into the store until the file ends; what was copied is in
// the file when this returns.
template <typename Record, typename Read>
CopyResult CopyRecords(const LineReader& source, RecordWriter& store, CopyProgress* progress,
                       Read read) {
  CopyResult result = CopyResult::kDone;
  Record record;
  while (true) {
    const ReadResult got = read(&record);
    if (got == ReadResult::kEnd) break;
    if (got == ReadResult::kUnfit) {
      result = CopyResult::kStopped;
      break;
    }
    if (progress->status != nullptr && progress->records % progress->interval == 0 &&
        SetStatusNumber(progress->status, progress->records) == 0) {
      result = CopyResult::kCancelled;
      break;
    }
    ++progress->records;
    if (got == ReadResult::kRecord && !store.Append(&record)) return CopyResult::kWriteFailed;
  }
  // Records wait in the store's block: a refused write comes before whatever ended the loop.
  if (!store.WriteOut()) return CopyResult::kWriteFailed;
  if (result == CopyResult::kDone && source.failed()) return CopyResult::kReadFailed;
  return result;
}

}  // namespace zatlib
