#include "rtweight/turn_kernel.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace zatlib {
namespace {

// A node of a group, with the shapes of the links in its slots.
struct GroupNode {
  int64_t number;
  int slots;               // occupied slots, 3 or more
  int first_slot[kSlots];  // the first slot of the same neighbour, whose link counts
  int32_t shape[kSlots];   // its position, -1 = none; of first slots only
  ShapeEnds ends[kSlots];  // where there is a shape
};

// The weights of any node.
SlotBytes WeighAnyNode(const GroupNode& node, const TurnLimits& limits) {
  LinkEnds ends[kSlots];
  for (int s = 0; s < node.slots; ++s) {
    if (node.shape[s] >= 0) ends[s] = EndsOfShape(node.ends[s]);
  }
  SlotBytes weights = {};
  for (int a = 0; a < node.slots; ++a) {
    for (int b = 0; b < node.slots; ++b) {
      if (IsWeighted(ends[node.first_slot[a]], ends[node.first_slot[b]], limits)) {
        weights.Slot[a] |= static_cast<uint8_t>(0x80 >> b);
      }
    }
  }
  return weights;
}

// Where the shapes of a node meet: bit s is set when that of slot s meets the others at its last
// point, clear when at its first one. Returns false when that is not so plain: shapes are missing,
// begin where they end, share both ends or have no point in common.
bool FindMeeting(const GroupNode& node, unsigned* at_last) {
  uint64_t first[kSlots];
  uint64_t last[kSlots];
  bool good = true;
  for (int s = 0; s < node.slots; ++s) {
    good = good && node.shape[s] >= 0;  // a later slot of the same neighbour has none
    std::memcpy(&first[s], &node.ends[s].First, sizeof first[s]);
    std::memcpy(&last[s], &node.ends[s].Last, sizeof last[s]);
  }
  if (!good) return false;
  bool all_at_first = true;
  bool all_at_last = true;
  for (int s = 1; s < node.slots; ++s) {
    all_at_first &= (first[s] == first[0]) | (last[s] == first[0]);
    all_at_last &= (first[s] == last[0]) | (last[s] == last[0]);
  }
  if (all_at_first == all_at_last) return false;
  const uint64_t meeting = all_at_first ? first[0] : last[0];
  unsigned ends = 0;
  bool plain = true;
  for (int s = 0; s < node.slots; ++s) {
    plain &= first[s] != last[s];
    const unsigned is_last = last[s] == meeting;
    ends |= is_last << s;
    // The other end, which must be that of no other shape.
    const uint64_t other = first[s] ^ last[s] ^ meeting;
    for (int before = 0; before < s; ++before) {
      plain &= (first[before] ^ last[before] ^ meeting) != other;
    }
  }
  *at_last = ends;
  return plain;
}

// Ways of up to kCount shapes, side by side, and what their turns weigh: the bit of the slot, 0x80
// >> slot, or nothing for a way along an axis, which takes no part, and behind the last slot.
template <int kCount>
struct WaysOfNode {
  double x[kCount] = {};
  double y[kCount] = {};
  double length[kCount];
  double weight[kCount];

  void WorkOutRest() {
    for (int s = 0; s < kCount; ++s) length[s] = std::sqrt(x[s] * x[s] + y[s] * y[s]);
    for (int s = 0; s < kCount; ++s) weight[s] = x[s] * y[s] != 0.0 ? kSlotBit[s] : 0.0;
  }

  static constexpr double kSlotBit[] = {128, 64, 32, 16, 8, 4, 2, 1};
};

// The next three functions tell what IsWeighted tells, in a form that needs no branches: which way
// a turn goes is as good as random. A turn is a left one when the departure lies beyond the line of
// the arrival, above it for an arrival from the west, below it for one from the east: `side` is 1
// or -1.
double WeighTurn(double side, double y_out, double line_y, double cosine, double weight,
                 const TurnLimits& limits) {
  const double limit = side * y_out > side * line_y ? limits.cos_left : limits.cos_right;
  return limit >= cosine ? weight : 0.0;
}

// The turns from way `a` to all ways.
template <int kCount>
unsigned WeighArrival(const WaysOfNode<kCount>& ways, int a, const TurnLimits& limits) {
  if (ways.weight[a] == 0.0) return 0;
  const double dx_in = -ways.x[a];
  const double dy_in = -ways.y[a];
  const double length_in = ways.length[a];
  const double side = dx_in > 0.0 ? 1.0 : -1.0;
  double weights[kCount];
  for (int b = 0; b < kCount; ++b) {
    const double cosine = (dx_in * ways.x[b] + dy_in * ways.y[b]) / (ways.length[b] * length_in);
    const double line_y = ways.x[b] * dy_in / dx_in;
    weights[b] = WeighTurn(side, ways.y[b], line_y, cosine, ways.weight[b], limits);
  }
  double sum = 0.0;
  for (int b = 0; b < kCount; ++b) sum += weights[b];
  return static_cast<unsigned>(static_cast<int>(sum));
}

// The turn back over each of the ways.
template <int kCount>
unsigned WeighTurnsBack(const WaysOfNode<kCount>& ways, const TurnLimits& limits) {
  double weights[kCount];
  for (int s = 0; s < kCount; ++s) {
    const double dx_in = -ways.x[s];
    const double dy_in = -ways.y[s];
    const double cosine =
        (dx_in * ways.x[s] + dy_in * ways.y[s]) / (ways.length[s] * ways.length[s]);
    const double line_y = ways.x[s] * dy_in / dx_in;
    const double side = dx_in > 0.0 ? 1.0 : -1.0;
    weights[s] = WeighTurn(side, ways.y[s], line_y, cosine, ways.weight[s], limits);
  }
  double sum = 0.0;
  for (int s = 0; s < kCount; ++s) sum += weights[s];
  return static_cast<unsigned>(static_cast<int>(sum));
}

// The weights of a node whose shapes meet in one point. Slots up to kCount.
template <int kCount>
SlotBytes WeighMeeting(const GroupNode& node, unsigned at_last, const TurnLimits& limits) {
  WaysOfNode<kCount> at_node;
  WaysOfNode<kCount> at_first;  // the turn back is measured at the first end
  for (int s = 0; s < node.slots; ++s) {
    const ShapeEnds& ends = node.ends[s];
    const double x[] = {InDegrees(ends.Second.X) - InDegrees(ends.First.X),
                        InDegrees(ends.BeforeLast.X) - InDegrees(ends.Last.X)};
    const double y[] = {InDegrees(ends.Second.Y) - InDegrees(ends.First.Y),
                        InDegrees(ends.BeforeLast.Y) - InDegrees(ends.Last.Y)};
    at_first.x[s] = x[0];
    at_first.y[s] = y[0];
    at_node.x[s] = x[at_last >> s & 1];
    at_node.y[s] = y[at_last >> s & 1];
  }
  at_first.WorkOutRest();
  at_node.WorkOutRest();
  const unsigned backs = WeighTurnsBack(at_first, limits);
  SlotBytes weights = {};
  for (int a = 0; a < node.slots; ++a) {
    const unsigned back = 0x80u >> a;
    const unsigned turns = WeighArrival(at_node, a, limits);
    weights.Slot[a] = static_cast<uint8_t>((turns & ~back) | (backs & back));
  }
  return weights;
}

SlotBytes WeighNode(const GroupNode& node, const TurnLimits& limits) {
  unsigned at_last = 0;
  if (!FindMeeting(node, &at_last)) return WeighAnyNode(node, limits);
  return node.slots <= 4 ? WeighMeeting<4>(node, at_last, limits)
                         : WeighMeeting<kSlots>(node, at_last, limits);
}

// A run of nodes that are worked on together. Each look-up is made for all of them before the next
// one, so that the processor can wait for many places of the tables at a time.
struct NodeGroup {
  static constexpr int kSize = 16;

  GroupNode nodes[kSize];
  int count = 0;

  // Takes a node with 3 neighbours or more; `links` is null where it has none.
  void Add(int64_t number, const CalcNode& calc_node, const NodeLinks* links) {
    GroupNode& node = nodes[count++];
    node.number = number;
    const int32_t* const other = calc_node.OtherNode;
    for (node.slots = 0; node.slots < kSlots && other[node.slots] >= 0; ++node.slots) {
      const int slot = node.slots;
      const auto first = static_cast<int>(std::find(other, other + slot, other[slot]) - other);
      node.first_slot[slot] = first;
      node.shape[slot] = first == slot && links != nullptr ? links->Link[slot] : -1;
    }
  }

  void Weigh(const TurnShapes& shapes, const TurnLimits& limits, SlotBytes* weights) {
    for (int n = 0; n < count; ++n) {
      for (int s = 0; s < nodes[n].slots; ++s) {
        int32_t& shape = nodes[n].shape[s];
        if (shape >= 0) shape = shape < shapes.link_count ? shapes.shape_of_link[shape] : -1;
      }
    }
    for (int n = 0; n < count; ++n) {
      GroupNode& node = nodes[n];
      for (int s = 0; s < node.slots; ++s) {
        if (node.shape[s] >= 0) node.ends[s] = shapes.ends[node.shape[s]];
      }
    }
    for (int n = 0; n < count; ++n) weights[nodes[n].number] = WeighNode(nodes[n], limits);
    count = 0;
  }
};

}  // namespace

void WeighNodes(const NodeBlock& block, int64_t begin, int64_t end, const TurnShapes& shapes,
                const TurnLimits& limits, SlotBytes* weights) {
  NodeGroup group;
  for (int64_t n = begin; n < end; ++n) {
    const CalcNode& node = block.nodes[n];
    if (node.OtherNode[0] < 0 || node.OtherNode[1] < 0 || node.OtherNode[2] < 0) {
      weights[n] = {};  // fewer than 3 neighbours
      continue;
    }
    group.Add(n, node, n < block.with_links ? block.links + n : nullptr);
    if (group.count == NodeGroup::kSize) group.Weigh(shapes, limits, weights);
  }
  group.Weigh(shapes, limits, weights);
}

}  // namespace zatlib
