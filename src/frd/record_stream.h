// Records out of a source file, taken from its lines on all processors and handed out in the order
// of the file.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

#include "frd/files.h"
#include "frd/memory.h"
#include "frd/parallel.h"

namespace zatlib {

// What reading one record came to.
enum class ReadResult {
  kRecord,
  kUnwanted,  // read, but not for the store
  kEnd,
  kUnfit  // ends the copy
};

// A run of records that follow one another in the file.
template <typename Record>
struct RecordRun {
  const Record* records = nullptr;
  int64_t count = 0;
  int64_t read = 0;  // records read for it, the unwanted ones included
};

// `Read` is called as read(lines, &record) with a LineReader and returns a ReadResult; it must
// depend on the lines alone and must not touch files, logs or the user, since it runs on several
// threads. It may end the file before its end.
template <typename Record, typename Read>
class RecordStream {
 public:
  // `file` is open; the stream reads it to its end and tells it how the reading ended (failed(),
  // too_long(), line_number()).
  RecordStream(LineReader& file, Read read) : file_(file), read_(std::move(read)) {}

  // The next run, good until the next call. False at the end of the file.
  bool Next(RecordRun<Record>* run) {
    if (ended_) return false;
    while (true) {
      if (at_ == batch_[current_].used && !NextBatch()) return false;
      Chunk& chunk = *batch_[current_].chunks[at_];
      if (chunk.handed_out) {
        if (chunk.outcome == Outcome::kFull) {
          // More records than the chunk has room for.
          Parse(chunk);
        } else if (chunk.outcome == Outcome::kDrained) {
          file_.TakeEndOf(chunk.lines);
          ++at_;
          continue;
        } else {
          if (chunk.outcome == Outcome::kLongField) {
            // Met once more, the field ends the process.
            Record record;
            chunk.lines.ReturnToLongField(file_, file_.line_number());
            read_(chunk.lines, &record);
          }
          file_.TakeEndOf(chunk.lines);
          ended_ = true;
          return false;
        }
      }
      chunk.handed_out = true;
      *run = {chunk.records.data(), chunk.count, chunk.read};
      if (chunk.read > 0) return true;
    }
  }

  // The chunk that the last run came from, for what stands in its lines.
  const LineReader& lines() const { return batch_[current_].chunks[at_]->lines; }

 private:
  static constexpr uint64_t kRoom = (768u << 10) / sizeof(Record);  // records of a chunk

  enum class Outcome { kDrained, kFull, kLongField, kEnded };

  struct Chunk {
    LineReader lines;
    PageArray<Record> records;
    int64_t count = 0;
    int64_t read = 0;
    Outcome outcome = Outcome::kDrained;
    bool handed_out = false;
  };

  // Chunks that are read together; while one batch is used up, the other one is parsed.
  struct Batch {
    std::vector<std::unique_ptr<Chunk>> chunks;
    size_t used = 0;
  };

  void Parse(Chunk& chunk) {
    chunk.count = 0;
    chunk.read = 0;
    chunk.handed_out = false;
    Record* const records = chunk.records.data();
    while (true) {
      if (static_cast<uint64_t>(chunk.count) == kRoom) {
        chunk.outcome = Outcome::kFull;
        return;
      }
      const ReadResult result = read_(chunk.lines, &records[chunk.count]);
      if (result == ReadResult::kEnd) {
        chunk.outcome = chunk.lines.long_field() ? Outcome::kLongField
                        : chunk.lines.drained()  ? Outcome::kDrained
                                                 : Outcome::kEnded;
        return;
      }
      ++chunk.read;
      if (result == ReadResult::kRecord) ++chunk.count;
    }
  }

  // Reads the lines of the next chunks into a batch.
  void Fill(Batch& batch, size_t chunks) {
    batch.used = 0;
    while (batch.used < chunks) {
      if (batch.chunks.size() == batch.used) batch.chunks.push_back(std::make_unique<Chunk>());
      Chunk& chunk = *batch.chunks[batch.used];
      if (!chunk.records && !chunk.records.Allocate(kRoom)) {
        // Fewer at a time will do, but not none.
        out_of_memory_ = batch.used == 0;
        return;
      }
      if (!file_.NextChunk(&chunk.lines)) return;
      ++batch.used;
    }
  }

  // Goes on to the batch that has been prepared, and prepares the one after it.
  bool NextBatch() {
    at_ = 0;
    if (!started_) {
      // A file of one chunk needs no threads.
      started_ = true;
      Fill(batch_[current_], 1);
      if (batch_[current_].used == 0) return End();
      Parse(*batch_[current_].chunks[0]);
      Fill(batch_[1 - current_], BatchSize());
      Begin(batch_[1 - current_]);
      return true;
    }
    Batch& done = batch_[current_];
    Batch& next = batch_[1 - current_];
    if (next.used == 0) return End();
    Fill(done, BatchSize());
    workers_.Finish();
    current_ = 1 - current_;
    Begin(done);
    return true;
  }

  void Begin(Batch& batch) {
    workers_.Start(static_cast<int64_t>(batch.used),
                   [this, &batch](int64_t i) { Parse(*batch.chunks[static_cast<size_t>(i)]); });
  }

  bool End() {
    ended_ = true;
    if (out_of_memory_) file_.NoteFailure();
    return false;
  }

  static size_t BatchSize() { return static_cast<size_t>(ThreadCount()) + 1; }

  LineReader& file_;
  Read read_;
  Batch batch_[2];
  size_t current_ = 0;  // the batch that runs come from
  size_t at_ = 0;       // and its chunk
  bool started_ = false;
  bool ended_ = false;
  bool out_of_memory_ = false;
  Workers workers_;  // last: its end waits for what works on the batches
};

// A stream of the records that `read` takes from the lines of an open file.
template <typename Record, typename Read>
RecordStream<Record, Read> StreamRecords(LineReader& file, Read read) {
  return RecordStream<Record, Read>(file, std::move(read));
}

// Records of a stream one by one, or as many as stand side by side.
template <typename Record, typename Read>
class RecordCursor {
 public:
  RecordCursor(LineReader& file, Read read) : stream_(file, std::move(read)) {}

  // False at the end of the file.
  bool More() {
    while (at_ == run_.count) {
      if (!stream_.Next(&run_)) return false;
      at_ = 0;
    }
    return true;
  }
  // Behind More: the next record, and those from it on that are there.
  const Record* here() const { return run_.records + at_; }
  int64_t ready() const { return run_.count - at_; }
  void Pass(int64_t count) { at_ += count; }

 private:
  RecordStream<Record, Read> stream_;
  RecordRun<Record> run_;
  int64_t at_ = 0;
};

}  // namespace zatlib
