// Lines of a source file in memory: all that the readers of records see.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

#include "frd/memory.h"

namespace zatlib {

inline constexpr uint32_t kLineSize = 2048;  // bytes of a source line, its CR included

// What asking for a line came to.
enum class LineResult : uint8_t {
  kLine,
  kEnd,       // there is none left
  kTooLong,   // no line end lies within the size asked for
  kLongField  // a reader has met a field that is too long in the line before
};

// A CR always stands behind the view of a line, and the kLineMargin bytes from there can be read,
// whatever they hold.
inline constexpr size_t kLineMargin = 64;

// A piece of a source file. A line ends at the first CR outside double quotes (CR LF is taken for
// granted: the byte behind CR is skipped); CR and LF inside quotes are removed. The last line needs
// no end. The views stay good as long as the lines. Any one thread may read them.
class Lines {
 public:
  // The next line of at most `size` bytes, its CR included. One that is too long is passed over as
  // far as it was looked at.
  LineResult Next(uint32_t size, std::string_view* line) {
    char* const end = OrdinaryEnd(size);
    if (end == nullptr) return NextOfAnyKind(size, line);
    *line = std::string_view(position_, static_cast<size_t>(end - position_));
    Pass(end);
    return LineResult::kLine;
  }

  // Passes over the next line when that is an ordinary one and `unwanted(line)` holds; else leaves
  // it to be read.
  template <typename Unwanted>
  bool SkipIf(Unwanted unwanted) {
    char* const end = OrdinaryEnd(kLineSize);
    if (end == nullptr) return false;
    if (!unwanted(std::string_view(position_, static_cast<size_t>(end - position_)))) return false;
    Pass(end);
    return true;
  }

  // For a reader that meets a field that is too long in `column` (from 1) of the line read last:
  // the lines end there.
  void EndAtLongField(int column) {
    result_ = LineResult::kLongField;
    long_field_column_ = column;
    position_ = end_;
  }

  // Why no line has followed; kLine as long as that has not happened.
  LineResult result() const { return result_; }
  int long_field_column() const { return long_field_column_; }

  // Number of the line read last, from 1, counted from the first of these.
  int64_t line_number() const { return line_number_; }

 private:
  friend class LineSource;
  // The end of the next line where the first CR is sure to end it, as in nearly all lines; else
  // null.
  char* OrdinaryEnd(uint32_t size) const {
    if (has_quotes_) return nullptr;
    const auto left = static_cast<size_t>(end_ - position_);
    return static_cast<char*>(std::memchr(position_, '\r', left < size ? left : size));
  }
  // Passes over that line.
  void Pass(char* end) {
    position_ = end_ - end < 2 ? end_ : end + 2;
    ++line_number_;
  }
  LineResult NextOfAnyKind(uint32_t size, std::string_view* line);

  PageArray<char> room_;  // of lines that were cut off from their source
  char* position_ = nullptr;
  char* end_ = nullptr;
  int64_t line_number_ = 0;
  int long_field_column_ = 0;
  LineResult result_ = LineResult::kLine;
  bool has_quotes_ = true;  // false: there are surely none
};

// A line at the start of [begin, limit).
struct LineScan {
  char* end = nullptr;    // the CR that ends it; null when there is none
  bool embedded = false;  // there are line breaks inside quotes
};
LineScan ScanLine(char* begin, char* limit, bool may_have_quotes);

}  // namespace zatlib
