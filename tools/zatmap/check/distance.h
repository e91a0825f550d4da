// Distances between coordinates, quick enough to measure every shape.
#pragma once

#include <cstdint>

namespace zatmap::check {

// Metres between two points in millionths of a degree, on a sphere and as if it were flat between
// them: good to half a percent for points that lie close together. A latitude beyond the poles
// counts as a pole.
double Metres(int32_t x1, int32_t y1, int32_t x2, int32_t y2);

}  // namespace zatmap::check
