// Small helpers for texts.
#pragma once

#include <string_view>

namespace zatmap {

// What counts as blank around a text; each reader has its own idea.
inline constexpr std::string_view kSpaces = " ";
inline constexpr std::string_view kSpacesAndTabs = " \t";
inline constexpr std::string_view kBlanksAndLineEnds = " \t\r\n";
inline constexpr std::string_view kControlCharacters(
    "\0\1\2\3\4\5\6\7\10\11\12\13\14\15\16\17\20\21\22\23\24\25\26\27\30\31\32\33\34\35\36\37 ",
    33);

// The text without the blanks at its ends.
inline std::string_view Trim(std::string_view text, std::string_view blanks) {
  const size_t first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos) return text.substr(text.size());
  return text.substr(first, text.find_last_not_of(blanks) + 1 - first);
}

}  // namespace zatmap
