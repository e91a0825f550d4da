#include "check/words.h"

#include <algorithm>

#include "frd/text.h"
#include "shell/text.h"

namespace zatmap::check {
std::string Upper(std::string_view text) {
  std::string upper(text);
  for (char& c : upper) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
  }
  return upper;
}

std::string Stem(const std::string& key, int* number) {
  size_t digits = key.size();
  while (digits > 0 && key[digits - 1] >= '0' && key[digits - 1] <= '9') --digits;
  *number = digits < key.size() ? zatlib::FRD_ParseInt(key.substr(digits)) : -1;
  return digits < key.size() ? key.substr(0, digits) + "#" : key;
}

std::string Numbered(const char* stem, int number) {
  char text[32];
  zatlib::FRD_Format(text, sizeof text, "%s%02d", stem, number);
  return text;
}

bool IsInteger(std::string_view text) {
  text = Trim(text, kBlanksAndLineEnds);
  if (!text.empty() && (text.front() == '-' || text.front() == '+')) text.remove_prefix(1);
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::string Unquoted(std::string_view value) {
  if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
      value.back() == value.front()) {
    value = value.substr(1, value.size() - 2);
  }
  return std::string(value);
}

}  // namespace zatmap::check
