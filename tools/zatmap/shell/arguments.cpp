#include "shell/arguments.h"

#include <cstdio>
#include <cstdlib>

namespace zatmap {
namespace {

// Numbers between commas. False when there are not exactly `count`.
bool ParseNumbers(const std::string& text, double* numbers, int count) {
  const char* at = text.c_str();
  for (int i = 0; i < count; ++i) {
    char* end = nullptr;
    numbers[i] = std::strtod(at, &end);
    if (end == at || !(numbers[i] >= -1000 && numbers[i] <= 1000)) return false;
    if (*end != (i + 1 < count ? ',' : '\0')) return false;
    at = end + 1;
  }
  return true;
}

}  // namespace

bool TakeBounds(const std::string& text, Bounds* bounds) {
  if (text.empty()) return true;
  double numbers[4];
  if (ParseNumbers(text, numbers, 4) && numbers[0] <= numbers[2] && numbers[1] <= numbers[3]) {
    *bounds = {numbers[0], numbers[1], numbers[2], numbers[3]};
    return true;
  }
  std::fprintf(
      stderr,
      "zatmap: --bbox takes west,south,east,north in degrees, like 7.41,43.72,7.43,43.74.\n");
  return false;
}

bool ParsePlace(const std::string& text, double* longitude, double* latitude) {
  double numbers[2];
  if (!ParseNumbers(text, numbers, 2)) return false;
  *longitude = numbers[0];
  *latitude = numbers[1];
  return true;
}

}  // namespace zatmap
