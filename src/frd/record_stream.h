// Records out of a source file, taken from its lines on all processors and handed out in the order
// of the file.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

#include "frd/line_source.h"
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

// `Read` is called as read(lines, &record) with Lines and returns a ReadResult; it must depend on
// the lines alone and must not touch files, logs or the user, since it runs on several threads. It
// may end the file before its end.
template <typename Record, typename Read>
class RecordStream {
 public:
  // `source` is open; the stream reads it to its end and tells it how the reading ended.
  RecordStream(LineSource& source, Read read) : source_(source), read_(std::move(read)) {}

  // The next run, good until the next call. False when no record follows; source.TakeEnd() then
  // tells why, and must be called when the records are where they belong.
  bool Next(RecordRun<Record>* run) {
    if (ended_) return false;
    while (true) {
      if (at_ == batch_[current_].used && !NextBatch()) return false;
      Piece& piece = *batch_[current_].pieces[at_];
      if (piece.handed_out) {
        if (piece.full) {
          // More records than there was room for.
          Parse(piece);
        } else if (piece.lines.result() == LineResult::kEnd) {
          source_.AddLines(piece.lines);
          ++at_;
          continue;
        } else {
          source_.EndInPiece(piece.lines);
          ended_ = true;
          return false;
        }
      }
      piece.handed_out = true;
      *run = {piece.records.data(), piece.count, piece.read};
      if (piece.read > 0) return true;
    }
  }

 private:
  static constexpr uint64_t kRoom = (768u << 10) / sizeof(Record);  // records of a piece

  // Lines and what they hold.
  struct Piece {
    Lines lines;
    PageArray<Record> records;
    int64_t count = 0;
    int64_t read = 0;
    bool full = false;  // there may be more records in the lines
    bool handed_out = false;
  };

  // Pieces that are read together; while one batch is used up, the other one is parsed.
  struct Batch {
    std::vector<std::unique_ptr<Piece>> pieces;
    size_t used = 0;
  };

  void Parse(Piece& piece) {
    piece.count = 0;
    piece.read = 0;
    piece.full = false;
    piece.handed_out = false;
    Record* const records = piece.records.data();
    while (static_cast<uint64_t>(piece.count) < kRoom) {
      const ReadResult result = read_(piece.lines, &records[piece.count]);
      if (result == ReadResult::kEnd) return;
      ++piece.read;
      if (result == ReadResult::kRecord) ++piece.count;
    }
    piece.full = true;
  }

  // Reads the lines of the next pieces into a batch. Memory is taken only when there are lines.
  void Fill(Batch& batch, size_t pieces) {
    batch.used = 0;
    while (batch.used < pieces && source_.HasMore()) {
      if (batch.pieces.size() == batch.used) batch.pieces.push_back(std::make_unique<Piece>());
      Piece& piece = *batch.pieces[batch.used];
      if (!LineSource::MakeRoom(&piece.lines) ||
          (!piece.records && !piece.records.Allocate(kRoom))) {
        // Fewer at a time will do, but not none.
        out_of_memory_ = batch.used == 0;
        return;
      }
      if (!source_.NextPiece(&piece.lines)) return;
      ++batch.used;
    }
  }

  // Goes on to the batch that has been prepared, and prepares the one after it.
  bool NextBatch() {
    at_ = 0;
    if (!started_) {
      // A file of one piece needs no threads.
      started_ = true;
      Fill(batch_[current_], 1);
      if (batch_[current_].used == 0) return End();
      Parse(*batch_[current_].pieces[0]);
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
                   [this, &batch](int64_t i) { Parse(*batch.pieces[static_cast<size_t>(i)]); });
  }

  bool End() {
    ended_ = true;
    if (out_of_memory_) {
      source_.EndWithoutMemory();
    } else {
      source_.EndOfPieces();
    }
    return false;
  }

  static size_t BatchSize() { return static_cast<size_t>(ThreadCount()) + 1; }

  LineSource& source_;
  Read read_;
  Batch batch_[2];
  size_t current_ = 0;  // the batch that runs come from
  size_t at_ = 0;       // and its piece
  bool started_ = false;
  bool ended_ = false;
  bool out_of_memory_ = false;
  Workers workers_;  // last: its end waits for what works on the batches
};

// A stream of the records that `read` takes from the lines of an open file.
template <typename Record, typename Read>
RecordStream<Record, Read> StreamRecords(LineSource& source, Read read) {
  return RecordStream<Record, Read>(source, std::move(read));
}

// Records of a stream one by one, or as many as stand side by side. Where More() ends, TakeEnd() of
// the source tells why, as for a stream.
template <typename Record, typename Read>
class RecordCursor {
 public:
  RecordCursor(LineSource& source, Read read) : stream_(source, std::move(read)) {}

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
