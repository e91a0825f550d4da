#include "check/distance.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <numbers>

namespace zatmap::check {
namespace {

constexpr double kMetresOfMillionth = 6371008.8 * std::numbers::pi / 180 / 1e6;
constexpr size_t kParts = 16;                            // entries for a degree of latitude
constexpr int64_t kMillionthsOfPart = 1000000 / kParts;  // of a degree
constexpr size_t kPole = 90 * kParts;

// How much shorter a degree of longitude is at a latitude.
double Shrink(int64_t latitude) {
  static const std::array<float, kPole + 1> cosines = [] {
    std::array<float, kPole + 1> table;
    for (size_t i = 0; i <= kPole; ++i) {
      table[i] =
          static_cast<float>(std::cos(static_cast<double>(i) / kParts * std::numbers::pi / 180));
    }
    return table;
  }();
  const int64_t part = (std::abs(latitude) + kMillionthsOfPart / 2) / kMillionthsOfPart;
  return double{cosines[std::min(static_cast<size_t>(part), kPole)]};
}

}  // namespace

double Metres(int32_t x1, int32_t y1, int32_t x2, int32_t y2) {
  const double east = static_cast<double>(int64_t{x2} - x1) * Shrink((int64_t{y1} + y2) / 2);
  const double north = static_cast<double>(int64_t{y2} - y1);
  return std::sqrt(east * east + north * north) * kMetresOfMillionth;
}

}  // namespace zatmap::check
