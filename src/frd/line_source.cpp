#include "frd/line_source.h"

#include <algorithm>
#include <cstring>

#include "frd/fields.h"

namespace zatlib {
namespace {

constexpr uint32_t kReadBlock = 1 << 20;  // bytes of one system read when lines are read one by one
constexpr uint32_t kPieceSize = 1 << 18;  // bytes of a piece
constexpr size_t kPieceRoom = kPieceSize + kLineSize + 1;

// Where the whole lines of [begin, end) end, which are not the last ones of their file.
char* EndOfWholeLines(char* begin, char* end, bool has_quotes) {
  if (!has_quotes) {
    // The byte behind a CR belongs to it, also when that is another CR: in a row of them every
    // second one ends a line.
    for (char* p = end; p > begin;) {
      while (p > begin && p[-1] != '\r') --p;
      char* row = p;
      while (row > begin && row[-1] == '\r') --row;
      if ((p - row) % 2 == 0) {
        if (p > row) return p;
      } else if (p < end) {
        return p + 1;
      } else if (p - row > 1) {
        return p - 1;
      }
      p = row;
    }
    return end;
  }
  char* p = begin;
  while (static_cast<size_t>(end - p) > kLineSize) {
    const LineScan line = ScanLine(p, p + kLineSize, true);
    // A line that is too long ends the reading: where it is cut does not matter.
    if (line.end == nullptr) return end;
    p = std::min(line.end + 2, end);
  }
  return p;
}

}  // namespace

bool LineSource::Open(const char* path) {
  path_ = path;
  file_ = platform::File::Open(path, platform::Access::kRead, platform::Share::kRead,
                               platform::Disposition::kOpenExisting, platform::Hint::kSequential);
  size_ = file_.IsOpen() ? file_.Size() : 0;
  rest_.position_ = rest_.end_ = carry_;
  rest_.line_number_ = 0;
  rest_.result_ = LineResult::kLine;
  read_ = lines_before_ = 0;
  end_ = file_end_ = SourceEnd::kEnd;
  at_end_ = false;
  return file_.IsOpen();
}

SourceEnd LineSource::TakeEnd() const {
  if (end_ == SourceEnd::kLongField) {
    EndProcessAtLongField(path_.c_str(), line_number(), long_field_column_);
  }
  return end_;
}

// Reads up to `wanted` bytes and notes the end of the file.
uint32_t LineSource::ReadOn(char* to, uint32_t wanted) {
  uint32_t read = 0;
  if (!file_.Read(to, wanted, &read)) file_end_ = SourceEnd::kNotRead;
  at_end_ = file_end_ != SourceEnd::kEnd || read < wanted;
  read_ += read;
  return read;
}

// Makes `wanted` bytes available in `rest_` unless the file ends before. False without memory.
bool LineSource::Fill(uint32_t wanted) {
  const auto left = static_cast<size_t>(rest_.end_ - rest_.position_);
  if (left >= wanted || at_end_) return true;
  if (!block_ && !block_.Allocate(kReadBlock + kLineSize + 1 + kLineMargin)) return false;
  if (left > 0) std::memmove(block_.data(), rest_.position_, left);
  rest_.position_ = block_.data();
  rest_.end_ = rest_.position_ + left;
  while (static_cast<uint64_t>(rest_.end_ - rest_.position_) < wanted && !at_end_) {
    rest_.end_ += ReadOn(rest_.end_, kReadBlock);
  }
  return true;
}

int FRD_ReadLine(LineSource& source, uint32_t size, std::string_view* line) {
  source.end_ = SourceEnd::kEnd;
  // One byte more than the line may have: the LF behind a CR at the very end of the window.
  if (!source.Fill(size + 1)) {
    source.end_ = SourceEnd::kNoMemory;
    return 0;
  }
  const LineResult result = source.rest_.Next(size, line);
  if (result == LineResult::kLine) return 1;
  source.end_ = result == LineResult::kTooLong ? SourceEnd::kTooLong : source.file_end_;
  return 0;
}

bool LineSource::HasMore() {
  if (rest_.position_ == rest_.end_ && !at_end_ && read_ >= size_) {
    // Its size says that this is the end; it may have grown, or have no size.
    rest_.position_ = carry_;
    rest_.end_ = carry_ + ReadOn(carry_, kLineSize);
  }
  return rest_.position_ != rest_.end_ || !at_end_;
}

bool LineSource::MakeRoom(Lines* piece) {
  return piece->room_ || piece->room_.Allocate(kPieceRoom + kLineMargin);
}

bool LineSource::NextPiece(Lines* piece) {
  char* const begin = piece->room_.data();
  // Lines that were read already come first: the rest of the last piece, or of a block.
  const size_t taken = std::min(static_cast<size_t>(rest_.end_ - rest_.position_), kPieceRoom);
  if (taken > 0) std::memcpy(begin, rest_.position_, taken);
  rest_.position_ += taken;
  char* end = begin + taken;
  const bool reads = rest_.position_ == rest_.end_ && !at_end_;
  if (reads) {
    end += ReadOn(end, static_cast<uint32_t>(std::min<size_t>(kPieceRoom - taken, kPieceSize)));
  }
  const auto size = static_cast<size_t>(end - begin);
  piece->has_quotes_ = size > 0 && std::memchr(begin, '"', size) != nullptr;
  const bool last = at_end_ && rest_.position_ == rest_.end_;
  char* cut = last ? end : EndOfWholeLines(begin, end, piece->has_quotes_);
  if (static_cast<size_t>(end - cut) > kLineSize + 1) cut = end;
  if (reads) {
    rest_.position_ = carry_;
    rest_.end_ = carry_ + (end - cut);
    std::memcpy(carry_, cut, static_cast<size_t>(end - cut));
  } else {
    rest_.position_ -= end - cut;
  }
  piece->position_ = begin;
  piece->end_ = cut;
  piece->result_ = LineResult::kLine;
  piece->line_number_ = 0;
  return cut > begin;
}

void LineSource::EndInPiece(const Lines& piece) {
  AddLines(piece);
  switch (piece.result()) {
    case LineResult::kTooLong:
      end_ = SourceEnd::kTooLong;
      break;
    case LineResult::kLongField:
      end_ = SourceEnd::kLongField;
      long_field_column_ = piece.long_field_column();
      break;
    default:
      end_ = SourceEnd::kEnd;
  }
}

}  // namespace zatlib
