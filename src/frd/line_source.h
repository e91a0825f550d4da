// Source text files: read line by line, or cut into pieces of whole lines that threads read.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "frd/lines.h"
#include "frd/memory.h"
#include "platform/file.h"

namespace zatlib {

// Why no line of a source follows.
enum class SourceEnd : uint8_t {
  kEnd,        // the file has none, or its reader wants none
  kTooLong,    // no line end lies within the size asked for
  kLongField,  // a field is too long
  kNotRead,    // the system refused a read
  kNoMemory
};

// True when it is neither the file that ended the lines nor its reader.
inline bool IsCutShort(SourceEnd end) {
  return end == SourceEnd::kNotRead || end == SourceEnd::kNoMemory;
}

class LineSource {
 public:
  LineSource() = default;
  LineSource(const LineSource&) = delete;
  LineSource& operator=(const LineSource&) = delete;

  // Opens the file for reading (others may read); IsOpen() tells.
  bool Open(const char* path);
  bool IsOpen() const { return file_.IsOpen(); }
  void Close() { file_.Close(); }
  const std::string& path() const { return path_; }

  // Number of the line read last, from 1; of pieces, those that AddLines has told of count.
  int64_t line_number() const { return lines_before_ + rest_.line_number(); }

  // Why the reading ended, line by line or in pieces.
  SourceEnd end() const { return end_; }

  // The same for a reader that has put away all that came before: a field that is too long ends the
  // process here.
  SourceEnd TakeEnd() const;

  // True when there are lines left; takes no memory. A read may be refused on the way.
  bool HasMore();

  // Memory for a piece; false when the system refuses it.
  static bool MakeRoom(Lines* piece);

  // Moves the next whole lines (some 256 KiB, all that is left at the end of the file) into
  // `piece`, which has room. Lines of up to kLineSize bytes are never divided; lines with more may
  // be, but then no reader goes on behind them. False when there is nothing left.
  bool NextPiece(Lines* piece);

  // For who reads pieces: the lines of one have been read, and no line follows any more.
  void AddLines(const Lines& piece) { lines_before_ += piece.line_number(); }
  void EndInPiece(const Lines& piece);
  void EndWithoutMemory() { end_ = SourceEnd::kNoMemory; }
  void EndOfPieces() { end_ = file_end_; }

 private:
  friend int FRD_ReadLine(LineSource& source, uint32_t size, std::string_view* line);
  bool Fill(uint32_t wanted);
  uint32_t ReadOn(char* to, uint32_t wanted);

  platform::File file_;
  std::string path_;
  Lines rest_;  // what has been read and not been given out
  PageArray<char> block_;
  char carry_[kLineSize + 1 + kLineMargin];  // the rest between two pieces
  int64_t size_ = 0;                         // bytes of the file when it was opened
  int64_t read_ = 0;                         // bytes read
  int64_t lines_before_ = 0;                 // of pieces
  int long_field_column_ = 0;
  SourceEnd end_ = SourceEnd::kEnd;
  SourceEnd file_end_ = SourceEnd::kEnd;  // how the reading of the file ended, once `at_end_`
  bool at_end_ = false;
};

// The next line, as a view that stays good until the next call. `size` is kLineSize at most.
// Returns 1, or 0 at the end of the file or when no line end lies within `size` bytes.
int FRD_ReadLine(LineSource& source, uint32_t size, std::string_view* line);

}  // namespace zatlib
