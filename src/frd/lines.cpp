#include "frd/lines.h"

#include <algorithm>

namespace zatlib {
namespace {

// Removes every CR and LF from [begin, end); returns the new end.
char* RemoveBreaks(char* begin, char* end) {
  return std::remove_if(begin, end, [](char c) { return c == '\r' || c == '\n'; });
}

}  // namespace

LineScan ScanLine(char* begin, char* limit, bool may_have_quotes) {
  LineScan line;
  const auto size = static_cast<size_t>(limit - begin);
  line.end = static_cast<char*>(std::memchr(begin, '\r', size));
  if (!may_have_quotes) return line;
  const size_t looked_at = line.end != nullptr ? static_cast<size_t>(line.end - begin) : size;
  auto* quote = static_cast<char*>(std::memchr(begin, '"', looked_at));
  if (quote == nullptr) return line;
  if (line.end != nullptr &&
      std::memchr(quote, '\n', static_cast<size_t>(line.end - quote)) == nullptr) {
    // The usual line with quotes: all of them closed, no break inside.
    const auto quotes = std::count(quote, line.end, '"');
    if (quotes % 2 == 0) return line;
  }
  bool quoted = false;
  line.end = nullptr;
  for (char* p = begin; p < limit; ++p) {
    if (*p == '"') {
      quoted = !quoted;
    } else if (*p == '\r' || *p == '\n') {
      if (quoted) {
        line.embedded = true;
      } else if (*p == '\r') {
        line.end = p;
        break;
      }
    }
  }
  return line;
}

LineResult Lines::NextOfAnyKind(uint32_t size, std::string_view* line) {
  if (result_ == LineResult::kLongField) return result_;
  char* const begin = position_;
  const size_t window = std::min<size_t>(size, static_cast<size_t>(end_ - begin));
  if (window == 0) return result_ = LineResult::kEnd;
  char* const limit = begin + window;
  const LineScan scan = ScanLine(begin, limit, has_quotes_);
  char* end = scan.end;
  if (end == nullptr) {
    position_ = limit;
    if (window == size) return result_ = LineResult::kTooLong;
    end = limit;
    *end = '\r';
  } else {
    position_ = std::min(end + 2, end_);
  }
  ++line_number_;
  if (scan.embedded) {
    end = RemoveBreaks(begin, end);
    *end = '\r';
  }
  *line = std::string_view(begin, static_cast<size_t>(end - begin));
  return result_ = LineResult::kLine;
}

}  // namespace zatlib
