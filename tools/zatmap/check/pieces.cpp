#include "check/pieces.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace zatmap::check {
namespace {

constexpr size_t kPieceSize = 1 << 17;

size_t g_piece_size = kPieceSize;

// Behind the last line end of [from, end).
char* BehindLastLine(char* from, char* end) {
  while (end > from && end[-1] != '\n') --end;
  return end > from ? end : nullptr;
}

// Behind the first one.
char* BehindFirstLine(char* from, char* end) {
  auto* const found = static_cast<char*>(std::memchr(from, '\n', static_cast<size_t>(end - from)));
  return found != nullptr ? found + 1 : nullptr;
}

}  // namespace

constinit const CutRule kAtAnyLine = {BehindLastLine, BehindFirstLine};

void SetPieceSize(size_t size) { g_piece_size = size; }
size_t PieceSize() { return g_piece_size; }

bool PieceReader::Fill(int number) {
  Batch& batch = batches_[number];
  batch.pieces.clear();
  const size_t size = PieceSize() * PiecesOfBatch() + zatlib::kLineSize;
  if (!batch.room && !batch.room.Allocate(static_cast<int64_t>(size + zatlib::kLineMargin))) {
    throw std::bad_alloc();
  }
  char* const begin = batch.room.data();
  size_t taken = 0;
  if (last_ >= 0) {
    const Batch& before = batches_[last_];
    taken = static_cast<size_t>(before.end - before.carry);
    if (taken > 0) std::memcpy(begin, before.carry, taken);
  }
  batch.end = begin + taken + source_.Take(begin + taken, size - taken);
  last_ = number;
  if (batch.end == begin) return false;
  CutUp(batch);
  return true;
}

void PieceReader::CutUp(Batch& batch) {
  char* begin = batch.room.data();
  char* end = batch.end;
  if (!source_.IsUsedUp()) {
    // What follows the last place for a cut belongs to the next batch. Where there is none, the
    // lines are read one by one.
    char* const last = cut_.last(begin, end);
    if (last != nullptr && last > begin) end = last;
  }
  batch.carry = end;
  while (begin < end) {
    char* cut = nullptr;
    if (static_cast<size_t>(end - begin) > PieceSize()) cut = cut_.first(begin + PieceSize(), end);
    if (cut == nullptr) cut = end;
    batch.pieces.push_back({begin, cut});
    begin = cut;
  }
}

void PieceReader::GoOn(int number, char* from, int next) {
  Batch& batch = batches_[number];
  std::vector<char> rest(from, next < 0 ? batch.end : batch.carry);
  if (next >= 0) {
    Batch& following = batches_[next];
    rest.insert(rest.end(), following.room.data(), following.end);
  }
  source_.GoOn(std::move(rest));
}

}  // namespace zatmap::check
