// What it costs to take a connection: the rule of mapcalc.dat.
#pragma once

#include <cstdint>

#include "network/network_files.h"

namespace zatlib {

inline constexpr int kSpeedLimitA = 10000;  // leaving through node A
inline constexpr int kSpeedLimitB = 9998;   // leaving through node B; different on purpose

// Cost in hundredths of a second of a link of `length` at `speed` km/h: 0 for length 0, 65535 for
// speed 0, 0 for a speed above the limit, else length x 360 / speed rounded, at most 65535.
inline uint16_t ConnectionCost(uint16_t length, uint16_t speed, int speed_limit) {
  if (length == 0) return 0;
  if (speed == 0) return kClosedCost;
  if (speed > speed_limit) return 0;
  const double cost = length * 360.0 / speed + 0.5;
  return cost >= 65535.0 ? kClosedCost : static_cast<uint16_t>(cost);
}

}  // namespace zatlib
