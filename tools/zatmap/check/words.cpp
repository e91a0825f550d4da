#include "check/words.h"

#include <algorithm>

#include "frd/text.h"
#include "shell/text.h"

namespace zatmap::check {
namespace {

// Letters to change, add, remove or exchange with their neighbour to turn one word into the other.
int Distance(const std::string& a, const std::string& b) {
  std::vector<std::vector<int>> d(a.size() + 1, std::vector<int>(b.size() + 1));
  for (size_t i = 0; i <= a.size(); ++i) d[i][0] = static_cast<int>(i);
  for (size_t j = 0; j <= b.size(); ++j) d[0][j] = static_cast<int>(j);
  for (size_t i = 1; i <= a.size(); ++i) {
    for (size_t j = 1; j <= b.size(); ++j) {
      d[i][j] = std::min(
          {d[i - 1][j] + 1, d[i][j - 1] + 1, d[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
      }
    }
  }
  return d[a.size()][b.size()];
}

}  // namespace

std::string Upper(std::string_view text) {
  std::string upper(text);
  for (char& c : upper) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
  }
  return upper;
}

std::string Likely(const std::string& word, const std::vector<std::string>& words) {
  std::string best;
  int best_distance = word.size() <= 4 ? 2 : 3;
  for (const std::string& candidate : words) {
    const int distance = Distance(word, candidate);
    if (distance < best_distance) {
      best_distance = distance;
      best = candidate;
    }
  }
  return best;
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
