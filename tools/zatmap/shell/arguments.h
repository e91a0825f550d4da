// Arguments that several subcommands take.
#pragma once

#include <string>

#include "map/built_map.h"
#include "shape/shape_files.h"

namespace zatmap {

// A rectangle of the map, in degrees.
struct Bounds {
  double west = -1000;
  double south = -1000;
  double east = 1000;
  double north = 1000;
  bool Holds(const zatlib::ShapePoint& point) const {
    const double x = point.X / 1000000.0;
    const double y = point.Y / 1000000.0;
    return x >= west && x <= east && y >= south && y <= north;
  }
};

// Reads the value of --bbox, "W,S,E,N"; "" leaves the bounds as they are. False, with a message on
// standard error, when it is something else.
bool TakeBounds(const std::string& text, Bounds* bounds);

// True when a node or a point of a link lies within the bounds that TakeBounds has read from a
// text. Else false, with a message that shows the bounds of the map, and the likely cause.
bool BoundsHoldSomething(const std::string& text, const Bounds& bounds,
                         const zatlib::map::BuiltMap& map);

// The bounds of the nodes of a map as --bbox takes them.
std::string MapBoundsText(const zatlib::map::BuiltMap& map);

// Reads "LON,LAT" in degrees. False when it is something else.
bool ParsePlace(const std::string& text, double* longitude, double* latitude);

}  // namespace zatmap
