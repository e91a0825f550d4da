// The network of a map as a graph of connections: how one gets from slot to slot.
#pragma once

#include <cstdint>

#include "map/record_files.h"
#include "network/network_files.h"

namespace zatlib::map {

// A connection is a used slot of a node: leaving the node along the slot's link. Its number is
// node x 8 + slot.
using Connection = uint32_t;

inline Connection ConnectionOf(int64_t node, int slot) {
  return static_cast<Connection>(node * kSlots + slot);
}
inline int64_t NodeOf(Connection connection) { return connection / kSlots; }
inline int SlotOf(Connection connection) { return static_cast<int>(connection % kSlots); }

// One may take a connection when its cost is not 65535 and, behind another connection, when the
// turn table of the node does not prohibit the turn. Nothing changes after Load, so several threads
// may ask at once.
class Graph {
 public:
  // Loads mapcalc.dat, nodelink.idx and maprule.dat whole: 104 bytes a node. An error when one
  // cannot be read, when they differ in their number of nodes, or when a slot leads to a node that
  // does not exist: nothing below need be asked with doubt after that.
  Error Load(const MapFolder& folder);

  int64_t nodes() const { return nodes_.size(); }
  const CalcNode& node(int64_t n) const { return nodes_[n]; }
  const SlotBytes& turns(int64_t n) const { return turns_[n]; }
  int32_t link(int64_t n, int slot) const { return links_[n].Link[slot]; }
  int32_t link(Connection c) const { return link(NodeOf(c), SlotOf(c)); }
  int64_t other(Connection c) const { return nodes_[NodeOf(c)].OtherNode[SlotOf(c)]; }
  uint16_t cost(Connection c) const { return nodes_[NodeOf(c)].Cost[SlotOf(c)]; }
  uint16_t length(Connection c) const { return nodes_[NodeOf(c)].Length[SlotOf(c)]; }
  int used(int64_t n) const {
    int count = 0;
    while (count < kSlots && nodes_[n].OtherNode[count] >= 0) ++count;
    return count;
  }
  bool IsOpen(int64_t n, int slot) const { return nodes_[n].Cost[slot] != kClosedCost; }

  // The slot of the node at the other end by which a connection arrives there: that of the same
  // link, else the first one that leads back, -1 when there is none.
  int ArrivalSlot(int64_t n, int slot) const;

  // True when the turn table prohibits to turn from slot `from` into slot `to`.
  bool IsProhibited(int64_t n, int from, int to) const {
    return from >= 0 && (turns_[n].Slot[from] & (0x80 >> to)) != 0;
  }

  // Calls `visit(node, slot)` for every connection that may follow a connection.
  template <typename Visit>
  void ForEachNext(int64_t n, int slot, const Visit& visit) const {
    const int64_t next = nodes_[n].OtherNode[slot];
    const int arrival = ArrivalSlot(n, slot);
    for (int s = 0; s < kSlots && nodes_[next].OtherNode[s] >= 0; ++s) {
      if (IsOpen(next, s) && !IsProhibited(next, arrival, s)) visit(next, s);
    }
  }

 private:
  RecordTable<CalcNode> nodes_;
  RecordTable<NodeLinks> links_;
  RecordTable<SlotBytes> turns_;
};

}  // namespace zatlib::map
