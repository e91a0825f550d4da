// The weights of many nodes at a time: what the rule of turn_rule.h says, worked out side by side
// and, where the shapes of a node meet in one plain point, without branches.
#pragma once

#include <cstdint>

#include "network/network_files.h"
#include "rtweight/turn_rule.h"
#include "shape/shape_access.h"

namespace zatlib {

// The shapes of the links.
struct TurnShapes {
  const int32_t* shape_of_link = nullptr;  // by link number: position of its shape, -1 = none
  int64_t link_count = 0;                  // a link with a higher number has no shape
  const ShapeEnds* ends = nullptr;         // by position
};

// Nodes that lie side by side in their files.
struct NodeBlock {
  const CalcNode* nodes = nullptr;
  const NodeLinks* links = nullptr;
  int64_t with_links = 0;  // nodes that have an entry in `links`; those behind them have no links
};

// Sets the weights of the nodes `begin` to `end` - 1 of a block; those of nodes with fewer than 3
// neighbours become 0. Several threads may do so for parts of a block.
void WeighNodes(const NodeBlock& block, int64_t begin, int64_t end, const TurnShapes& shapes,
                const TurnLimits& limits, SlotBytes* weights);

}  // namespace zatlib
