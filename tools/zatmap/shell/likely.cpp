#include "shell/likely.h"

#include <algorithm>

namespace zatmap {
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

}  // namespace zatmap
