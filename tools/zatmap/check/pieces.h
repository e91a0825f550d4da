// A source file of `zatmap check` in pieces of whole lines, which several threads look at while the
// calling one reads on. They only sort out what is entirely in order. The calling thread takes
// their results in the order of the file and reads all other lines again, one by one, through the
// Source; from a place on where lines do not end as they should it reads nothing but so.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "check/source.h"
#include "frd/memory.h"
#include "frd/parallel.h"

namespace zatmap::check {

// Whole lines. The kLineMargin bytes behind them can be read.
struct Piece {
  char* begin;
  char* end;
};

// Where the last piece that can begin in [from, end) begins, and the first one; null for none. A
// piece begins behind a line end.
struct CutRule {
  char* (*last)(char* from, char* end);
  char* (*first)(char* from, char* end);
};
extern const CutRule kAtAnyLine;

// Bytes of a piece; 0 makes ForEachPiece read everything line by line. For tests.
void SetPieceSize(size_t size);
size_t PieceSize();

// The pieces of a source, some at a time. While those of one batch are used up, the next one is
// read and looked at.
class PieceReader {
 public:
  PieceReader(Source& source, const CutRule& cut) : source_(source), cut_(cut) {
    source.BeginPieces();
  }

  // Reads on into batch 0 or 1. False when nothing is left.
  bool Fill(int batch);
  const std::vector<Piece>& pieces(int batch) const { return batches_[batch].pieces; }

  // The source goes on at `from`, which lies in a piece of `batch`; what has been read behind it
  // follows, that in `next` (-1: none) too.
  void GoOn(int batch, char* from, int next);

  static size_t PiecesOfBatch() { return 4 * static_cast<size_t>(zatlib::ThreadCount()); }

 private:
  struct Batch {
    zatlib::PageArray<char> room;
    char* end = nullptr;    // of what has been read
    char* carry = nullptr;  // behind the last piece
    std::vector<Piece> pieces;
  };

  void CutUp(Batch& batch);

  Source& source_;
  const CutRule& cut_;
  Batch batches_[2];
  int last_ = -1;  // the batch that was filled last
};

// Runs a source through look(piece, &work) on several threads and take(piece, &work) on the
// calling one, in the order of the file. `take` returns where the source is to be read line by
// line from now on, null when the piece is used up. `prepare()` is called while no thread looks at
// anything. True when the file was used up; false when the rest of it is to be read from the
// source.
template <typename Work, typename Prepare, typename Look, typename Take>
bool ForEachPiece(Source& source, const CutRule& cut, Prepare prepare, Look look, Take take) {
  if (PieceSize() == 0) return false;
  PieceReader reader(source, cut);
  std::vector<Work> works[2];
  zatlib::Workers workers;  // last: its end waits for what works on the others
  const auto start = [&](int batch) {
    const std::vector<Piece>& pieces = reader.pieces(batch);
    if (works[batch].size() < pieces.size()) works[batch].resize(pieces.size());
    for (size_t i = 0; i < pieces.size(); ++i) works[batch][i].Begin();
    if (pieces.size() == 1) return look(pieces[0], &works[batch][0]);
    workers.Start(static_cast<int64_t>(pieces.size()), [&, batch](int64_t i) {
      look(reader.pieces(batch)[static_cast<size_t>(i)], &works[batch][static_cast<size_t>(i)]);
    });
  };
  if (!reader.Fill(0)) return false;
  prepare();
  start(0);
  bool more = reader.Fill(1);
  workers.Finish();
  for (int now = 0;; now = 1 - now) {
    prepare();
    if (more) start(1 - now);
    for (size_t i = 0; i < reader.pieces(now).size(); ++i) {
      char* const from = take(reader.pieces(now)[i], &works[now][i]);
      if (from == nullptr) continue;
      workers.Finish();
      reader.GoOn(now, from, more ? 1 - now : -1);
      return false;
    }
    if (!more) return true;
    more = reader.Fill(now);
    workers.Finish();
  }
}

}  // namespace zatmap::check
