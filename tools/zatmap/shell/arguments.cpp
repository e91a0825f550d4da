#include "shell/arguments.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "shell/output.h"

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

std::string BoundsText(const Bounds& bounds) {
  char text[128];
  std::snprintf(text, sizeof text, "%.10g,%.10g,%.10g,%.10g", bounds.west, bounds.south,
                bounds.east, bounds.north);
  return text;
}

bool HoldsSomething(const Bounds& bounds, const zatlib::map::BuiltMap& map) {
  for (int64_t n = 0; n < map.nodes(); ++n) {
    if (bounds.Holds({map.location(n).X, map.location(n).Y})) return true;
  }
  std::vector<zatlib::ShapePoint> points;
  for (int64_t l = 0; l < map.links(); ++l) {
    map.LinkPoints(l, &points);
    for (const zatlib::ShapePoint& point : points) {
      if (bounds.Holds(point)) return true;
    }
  }
  return false;
}

}  // namespace

bool TakeBounds(const std::string& text, Bounds* bounds) {
  if (text.empty()) return true;
  double numbers[4];
  if (ParseNumbers(text, numbers, 4)) {
    *bounds = {std::min(numbers[0], numbers[2]), std::min(numbers[1], numbers[3]),
               std::max(numbers[0], numbers[2]), std::max(numbers[1], numbers[3])};
    if (numbers[0] <= numbers[2] && numbers[1] <= numbers[3]) return true;
    std::fprintf(stderr,
                 "zatmap: --bbox %s: the corners are exchanged; west,south,east,north is %s.\n",
                 text.c_str(), BoundsText(*bounds).c_str());
    return false;
  }
  std::fprintf(
      stderr,
      "zatmap: --bbox takes west,south,east,north in degrees, like 7.41,43.72,7.43,43.74.\n");
  return false;
}

bool BoundsHoldSomething(const std::string& text, const Bounds& bounds,
                         const zatlib::map::BuiltMap& map) {
  if (text.empty() || HoldsSomething(bounds, map)) return true;
  std::fprintf(stderr,
               "zatmap: nothing of the map lies in --bbox %s. The map's bounds are %s "
               "(west,south,east,north).\n",
               text.c_str(), MapBoundsText(map).c_str());
  const Bounds exchanged = {bounds.south, bounds.west, bounds.north, bounds.east};
  if (HoldsSomething(exchanged, map)) {
    std::fprintf(stderr, "zatmap: latitude and longitude look exchanged: --bbox %s.\n",
                 BoundsText(exchanged).c_str());
  }
  return false;
}

std::string MapBoundsText(const zatlib::map::BuiltMap& map) {
  if (map.nodes() == 0) return "none: it has no nodes";
  zatlib::ShapePoint least{map.location(0).X, map.location(0).Y};
  zatlib::ShapePoint greatest = least;
  for (int64_t n = 1; n < map.nodes(); ++n) {
    least = {std::min(least.X, map.location(n).X), std::min(least.Y, map.location(n).Y)};
    greatest = {std::max(greatest.X, map.location(n).X), std::max(greatest.Y, map.location(n).Y)};
  }
  return Degrees(least.X) + "," + Degrees(least.Y) + "," + Degrees(greatest.X) + "," +
         Degrees(greatest.Y);
}

bool ParsePlace(const std::string& text, double* longitude, double* latitude) {
  double numbers[2];
  if (!ParseNumbers(text, numbers, 2)) return false;
  *longitude = numbers[0];
  *latitude = numbers[1];
  return true;
}

}  // namespace zatmap
