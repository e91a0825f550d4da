// The loop that stage one's steps share: source records into a work store.
#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>

#include "frd/cancellable.h"
#include "frd/line_source.h"
#include "frd/record_stream.h"
#include "frd/record_writer.h"
#include "frd/source_report.h"
#include "frd/step.h"

namespace zatlib {

// What became of one source file.
enum class CopyResult {
  kDone,
  kCancelled,
  kReadFailed,   // the system refused a read
  kNoMemory,     // for the lines of the source
  kWriteFailed,  // the store's failed_record() tells where
  kStopped       // the record reader found the data unfit
};

// True when the source could not be read to its end; its end() tells why (FailUnread).
inline bool IsUnread(CopyResult copied) {
  return copied == CopyResult::kReadFailed || copied == CopyResult::kNoMemory;
}

// The result as an outcome. What kFailed stands for has not been reported yet.
inline Outcome OutcomeOf(CopyResult copied) {
  if (copied == CopyResult::kDone) return Outcome::kDone;
  return copied == CopyResult::kCancelled ? Outcome::kCancelled : Outcome::kFailed;
}

// Texts and counts of one copy.
struct CopyProgress {
  MessageText<int> status;  // for the running number; empty = shows nothing
  int64_t interval = 1;     // records between two looks at the user
  int64_t records = 0;      // records read so far

  // Shows how far the copy is. Returns 0 when the user has cancelled.
  int Show() const { return SetStatusNumber(status, records); }
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
    if (progress->status.empty()) {
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
      if (past == 0 && progress->Show() == 0) {
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
      const ReadResult amended = amend(&record);
      if (amended == ReadResult::kEnd) {
        ended = true;
        continue;
      }
      // The user is looked at before the record is judged.
      if (progress->records % progress->interval == 0 && progress->Show() == 0) {
        result = CopyResult::kCancelled;
        ended = true;
        continue;
      }
      if (amended == ReadResult::kUnfit) {
        result = CopyResult::kStopped;
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

// The result of a record reader, which is 1 or 0, as a copy takes it.
inline ReadResult AsReadResult(int read) {
  return read != 0 ? ReadResult::kRecord : ReadResult::kEnd;
}

// The texts of a step that appends source files to a store.
struct AppendTexts {
  MessageText<int, const char*> data_not_opened;   // number of the source file, its path
  MessageText<const char*, int> store_not_opened;  // store, number of the source file
  MessageText<const char*, int, int> not_written;  // store, file, record (from 0)
  MessageText<int> status;                         // running number
};

inline constexpr int64_t kAppendInterval = 5000;  // records between two looks at the user

// The files FILE01, FILE02, ... of a section of the control file.
struct SourceFiles {
  const char* section;
  int count;
  bool derive_mid = false;  // the records stand in the ".mid" beside the file named
};

// A store to which source files are appended one after the other; it is opened for each of them
// and closed behind it.
template <typename Record>
class AppendedStore {
 public:
  AppendedStore(const Step& step, const AppendTexts& texts, const char* file)
      : step_(step), texts_(texts), path_(step.Path(file)) {}

  const char* path() const { return path_.c_str(); }

  // Records that are in the store.
  int64_t count() const { return count_; }

  // Appends the records of source files, taken by `read` (see CopyRecords). Reports errors.
  template <typename Read>
  Outcome Append(const SourceFiles& files, Read read) {
    Outcome outcome = Outcome::kDone;
    for (int i = 1; i <= files.count && IsDone(outcome); ++i) {
      PathText path = ControlFile(step_.control_file(), files.section, i);
      if (files.derive_mid) FRD_MakeMidPath(path.c_str(), path.text);
      outcome = Run(i, path.c_str(),
                    [&read](LineSource& data, RecordWriter& store, CopyProgress* progress) {
                      return CopyRecords<Record>(data, store, progress, read);
                    })
                    .outcome;
    }
    return outcome;
  }

  // The same for one file, whose records another one completes. `begin()` returns an Outcome when
  // all files are open; `other.Amend(&record)` is called for each record as CopyAmendedRecords
  // tells; and `other.FailUnfit(number)` reports that one, from 1, does not fit.
  template <typename Read, typename Begin, typename Other>
  Outcome AppendAmended(int number, const char* data_path, Read read, Begin begin, Other& other) {
    Outcome begun = Outcome::kDone;
    const Appended appended =
        Run(number, data_path, [&](LineSource& data, RecordWriter& store, CopyProgress* progress) {
          begun = begin();
          if (!IsDone(begun)) return CopyResult::kStopped;
          return CopyAmendedRecords<Record>(
              data, store, progress, std::move(read),
              [&other](Record* record) { return other.Amend(record); });
        });
    if (!IsDone(begun)) return begun;
    return appended.stopped ? other.FailUnfit(appended.count + 1) : appended.outcome;
  }

 private:
  // What has become of one source file.
  struct Appended {
    Outcome outcome;
    bool stopped = false;  // the copy has: nothing has been reported yet
    int64_t count = 0;     // records of it in the store
  };

  template <typename Copy>
  Appended Run(int number, const char* data_path, Copy copy) {
    LineSource data;
    if (!data.Open(data_path)) {
      return {step_.FailModalAs(kFileError, texts_.data_not_opened, number, data_path)};
    }
    RecordWriter store;
    if (!store.Open(path(), sizeof(Record), true)) {
      return {step_.FailModalAs(kFileError, texts_.store_not_opened, path(), number)};
    }
    CopyProgress progress{texts_.status, kAppendInterval, 0};
    const CopyResult copied = copy(data, store, &progress);
    Appended appended = {OutcomeOf(copied), copied == CopyResult::kStopped, store.count()};
    count_ += appended.count;
    if (IsUnread(copied)) {
      appended.outcome = FailUnread(step_, data_path, data.end());
    } else if (copied == CopyResult::kWriteFailed) {
      appended.outcome = step_.FailModalAs(kFileError, texts_.not_written, path(), number,
                                           static_cast<int>(store.failed_record()));
    }
    store.Close();
    return appended;
  }

  const Step& step_;
  const AppendTexts& texts_;
  PathText path_;
  int64_t count_ = 0;
};

}  // namespace zatlib
