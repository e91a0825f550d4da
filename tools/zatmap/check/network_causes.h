// Causes that show when nodes, links and shapes are known: one fault of a whole file, which would
// else be told for each of its records.
#pragma once

#include <cstdint>
#include <vector>

#include "check/network.h"

namespace zatmap::check {

// How the ends of shapes lie to the nodes of their links. Statistics of several threads are added.
struct ShapeEnds {
  struct Offset {
    int32_t x;  // millionths of a degree from the node to the shape's end
    int32_t y;
  };
  static constexpr size_t kMaxOffsets = 100000;

  int64_t checked = 0;
  int64_t swapped = 0;  // their ends are the nodes with longitude and latitude exchanged
  Place first_swapped;  // of these
  int64_t missed = 0;   // others that end beside the nodes
  Place first_missed;
  std::vector<Offset> offsets;  // of the first ones of these

  void AddMissed(Place place, Offset offset);
};

// Node lists that are left out, codes that fit nowhere, lengths that are all 0 or empty, speeds
// that are below 0 in most places: call it when references are checked, before files of speeds are
// read.
void LookAtNetwork(Network& network);

// Lengths that are 0 are told no more when the shapes have told their unit.
inline void HideExplainedLengths(const Network& network) {
  if (network.findings().count(Kind::kLengthUnit) > 0) {
    network.findings().Hide({Kind::kLengthsZero});
  }
}

// Shapes and nodes that are exchanged or shifted against each other, shapes that end too early:
// call it when all shapes are read.
void LookAtEnds(Network& network, const ShapeEnds& ends);
void LookAtMissingShapes(Network& network);

}  // namespace zatmap::check
