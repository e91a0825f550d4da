// The loop that stage one's steps share: source records into a work store.
#pragma once

#include <cstdint>

#include "frd/control.h"
#include "frd/files.h"
#include "frd/long_pass.h"

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
  const char* status = nullptr;  // with a %d for the running number; null = shows nothing
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
    if (progress->status == nullptr && CancelledAt(progress->records)) {
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

// The texts of a step that appends source files to a store.
struct AppendTexts {
  const char* data_error;   // a source file cannot be opened; with %02d (file), %s (path)
  const char* store_error;  // the store cannot be opened; with %s (store), %02d (file)
  const char* write_error;  // with %s (store), %02d (file), %d (record, from 0)
  const char* status;       // with %d
  const char* read_title;   // of the error report for a read that the system refused
};

inline constexpr int64_t kAppendInterval = 5000;  // records between two looks at the user

// Appends the records of one source file to a store. `read(&record)` works on `data`, which is
// opened here. Errors but kUnfit are reported. Returns what became of it; `*count` grows by the
// records copied.
template <typename Record, typename Read>
CopyResult AppendFile(WindowHandle owner, const AppendTexts& texts, int number,
                      const char* data_path, const char* store_path, LineReader& data,
                      int64_t* count, Read read) {
  if (!data.Open(data_path)) {
    ReportTaskModal(owner, "File Error", texts.data_error, number, data_path);
    return CopyResult::kReadFailed;
  }
  RecordWriter store;
  if (!store.Open(store_path, sizeof(Record), true)) {
    ReportTaskModal(owner, "File Error", texts.store_error, store_path, number);
    return CopyResult::kWriteFailed;
  }
  CopyProgress progress{texts.status, kAppendInterval, 0};
  const CopyResult result = CopyRecords<Record>(data, store, &progress, read);
  *count += progress.records;
  if (result == CopyResult::kReadFailed) {
    ReportTaskModal(owner, texts.read_title, "Can't read the file (%s) !", data_path);
  } else if (result == CopyResult::kWriteFailed) {
    ReportTaskModal(owner, "File Error", texts.write_error, store_path, number,
                    static_cast<int>(store.failed_record()));
  }
  store.Close();
  return result;
}

}  // namespace zatlib
