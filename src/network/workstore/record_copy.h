// The loop that stage one's steps share: source records into a work store.
#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>

#include "frd/cancellable.h"
#include "frd/control.h"
#include "frd/line_source.h"
#include "frd/record_stream.h"
#include "frd/record_writer.h"
#include "frd/source_report.h"

namespace zatlib {

// What became of one source file.
enum class CopyResult {
  kDone,
  kCancelled,
  kReadFailed,   // the system refused a read
  kNoMemory,     // for the lines of the source
  kWriteFailed,  // the store's failed_record() tells where
  kStopped       // the record reader found the data unfit; `records` tells where
};

// Texts and counts of one copy.
struct CopyProgress {
  const char* status = nullptr;  // with a %d for the running number; null = shows nothing
  int64_t interval = 1;          // records between two looks at the user
  int64_t records = 0;           // records read so far
};

// The end of a copy that reached the end of its source, after the records are in the store.
inline CopyResult EndOfSource(const LineSource& source) {
  switch (source.TakeEnd()) {
    case SourceEnd::kNotRead:
      return CopyResult::kReadFailed;
    case SourceEnd::kNoMemory:
      return CopyResult::kNoMemory;
    default:
      return CopyResult::kDone;
  }
}

// Copies records from a file that is open into the store until the file ends; what was copied is in
// the file when this returns, and when a field that is too long ends the process.
// `read(lines, &record)` takes a record from its line, on any thread (see RecordStream).
template <typename Record, typename Read>
CopyResult CopyRecords(LineSource& source, RecordWriter& store, CopyProgress* progress, Read read) {
  CopyResult result = CopyResult::kDone;
  RecordStream<Record, Read> stream(source, std::move(read));
  RecordRun<Record> run;
  while (result == CopyResult::kDone && stream.Next(&run)) {
    if (progress->status == nullptr) {
      if (CancelledWithin(progress->records, progress->records + run.read))
        result = CopyResult::kCancelled;
      progress->records += run.read;
      if (result == CopyResult::kDone && !store.AppendMany(run.records, run.count)) {
        return CopyResult::kWriteFailed;
      }
      continue;
    }
    // Every record read is one to copy here.
    for (int64_t done = 0; done < run.count;) {
      const int64_t past = progress->records % progress->interval;
      if (past == 0 && SetStatusNumber(progress->status, progress->records) == 0) {
        result = CopyResult::kCancelled;
        break;
      }
      const int64_t part = std::min(run.count - done, progress->interval - past);
      progress->records += part;
      if (!store.AppendMany(run.records + done, part)) return CopyResult::kWriteFailed;
      done += part;
    }
  }
  // Records wait in the store's block: a refused write comes before whatever ended the loop.
  if (!store.WriteOut()) return CopyResult::kWriteFailed;
  return result == CopyResult::kDone ? EndOfSource(source) : result;
}

// The same for records that another file completes: `amend(&record)` is called for each in turn, on
// the calling thread, and tells what has become of it.
template <typename Record, typename Read, typename Amend>
CopyResult CopyAmendedRecords(LineSource& source, RecordWriter& store, CopyProgress* progress,
                              Read read, Amend amend) {
  CopyResult result = CopyResult::kDone;
  RecordStream<Record, Read> stream(source, std::move(read));
  RecordRun<Record> run;
  bool ended = false;
  while (!ended && stream.Next(&run)) {
    for (int64_t i = 0; i < run.count && !ended; ++i) {
      Record record = run.records[i];
      switch (amend(&record)) {
        case ReadResult::kUnfit:
          result = CopyResult::kStopped;
          ended = true;
          continue;
        case ReadResult::kEnd:
          ended = true;
          continue;
        default:
          break;
      }
      if (progress->records % progress->interval == 0 &&
          SetStatusNumber(progress->status, progress->records) == 0) {
        result = CopyResult::kCancelled;
        ended = true;
        continue;
      }
      ++progress->records;
      if (!store.Append(&record)) return CopyResult::kWriteFailed;
    }
  }
  if (!store.WriteOut()) return CopyResult::kWriteFailed;
  return result == CopyResult::kDone ? EndOfSource(source) : result;
}

// The texts of a step that appends source files to a store.
struct AppendTexts {
  const char* data_error;   // a source file cannot be opened; with %02d (file), %s (path)
  const char* store_error;  // the store cannot be opened; with %s (store), %02d (file)
  const char* write_error;  // with %s (store), %02d (file), %d (record, from 0)
  const char* status;       // with %d
  const char* read_title;   // "File Error in ...", for ReportUnread
};

inline constexpr int64_t kAppendInterval = 5000;  // records between two looks at the user

// Appends the records of one source file to a store: `copy(store, &progress)` copies from `data`,
// which is opened here. Errors but kUnfit are reported. Returns what became of it; `*count` grows
// by the records that are in the store.
template <typename Record, typename Copy>
CopyResult AppendFile(WindowHandle owner, const AppendTexts& texts, int number,
                      const char* data_path, const char* store_path, LineSource& data,
                      int64_t* count, Copy copy) {
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
  const CopyResult result = copy(store, &progress);
  *count += store.count();
  if (result == CopyResult::kReadFailed || result == CopyResult::kNoMemory) {
    ReportUnread(owner, texts.read_title, data_path, data.end());
  } else if (result == CopyResult::kWriteFailed) {
    ReportTaskModal(owner, "File Error", texts.write_error, store_path, number,
                    static_cast<int>(store.failed_record()));
  }
  store.Close();
  return result;
}

}  // namespace zatlib
