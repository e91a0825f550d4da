// The rule that weights a turn, in its plain form: what rtweight.dat is held to.
#pragma once

#include <cstdint>

#include "network/network_files.h"
#include "shape/shape_access.h"

namespace zatlib {

// Links with this code or above have no shape: the dummy links between partner nodes.
inline constexpr double kFirstCodeWithoutShape = 9.9e13;

// A coordinate in degrees: the double nearest to units / 1000000, as a division gives it, without
// the time of one. The millionth is split into a part of 22 bits, whose product with a coordinate
// of 32 bits is exact, and a small rest. No quotient lies so close to the middle of two doubles (it
// keeps 1 / (15625 x 2^54) of itself away) that the rounding of the rest (2^-75) could matter.
inline double InDegrees(int32_t units) {
  constexpr double kMillionth = 0x218DEFp-41;
  constexpr double kRest = 0x1.05AF6C69B5A64p-43;
  return units * kMillionth + units * kRest;
}

// What a link's shape has to say about turns: its first point (0) and its last one (1), each with
// the point beside it.
struct LinkEnds {
  bool usable = false;  // false: the link or its shape is missing, or the shape has no 2 points
  ShapePoint point[2];
  ShapePoint beside[2];
};

LinkEnds EndsOfShape(const ShapeEnds& shape);

// A node's neighbours in slot order, each with the link toward it.
struct NodeTurns {
  int slots = 0;  // occupied slots
  int32_t neighbour[kSlots];
  LinkEnds ends[kSlots];  // of a neighbour's first slot; no other link toward it is asked for
};

// Cosines of the least angles that weight a turn (0 degrees = straight on, 180 = back).
struct TurnLimits {
  double cos_right;
  double cos_left;
};

// The limits of the map in a folder, from its linkdef.dat: [ROADFLAG] RTWEIGHT_RIGHT, default 45
// degrees, and RTWEIGHT_LEFT, default 135.
TurnLimits ReadTurnLimits(const char* folder);

// True when the turn from one link onto another is weighted.
bool IsWeighted(const LinkEnds& in, const LinkEnds& out, const TurnLimits& limits);

// 1 when the turn at a node from the neighbour `arrival` toward the neighbour `departure` is
// weighted, else 0. Of several links toward one neighbour the first one counts.
int MM_SUB_IsWeightedTurn(int32_t arrival, const NodeTurns& node, int32_t departure,
                          const TurnLimits& limits);

}  // namespace zatlib
