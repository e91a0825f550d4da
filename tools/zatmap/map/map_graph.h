// The network of a map as a graph of connections: how one gets from slot to slot.
#pragma once

#include <cstdint>
#include <vector>

#include "map/map_files.h"

namespace zatmap {

// A connection is a used slot of a node: leaving the node along the slot's link. Its number is
// node x 8 + slot. One may take it when its cost is not 65535 and, behind another connection, when
// the turn table of the node does not prohibit the turn.
class MapGraph {
 public:
  // Loads mapcalc.dat, nodelink.idx and maprule.dat whole: 104 bytes a node. False, with a message
  // on standard error, when one cannot be read, or when they do not fit together.
  bool Load(const MapFolder& map);

  int64_t nodes() const { return nodes_.size(); }
  const zatlib::CalcNode& node(int64_t n) const { return nodes_[n]; }
  const zatlib::SlotBytes& turns(int64_t n) const { return turns_[n]; }
  int32_t link(int64_t n, int slot) const { return links_[n].Link[slot]; }
  int used(int64_t n) const {
    int count = 0;
    while (count < zatlib::kSlots && nodes_[n].OtherNode[count] >= 0) ++count;
    return count;
  }
  bool IsOpen(int64_t n, int slot) const { return nodes_[n].Cost[slot] != zatlib::kClosedCost; }

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
    for (int s = 0; s < zatlib::kSlots && nodes_[next].OtherNode[s] >= 0; ++s) {
      if (IsOpen(next, s) && !IsProhibited(next, arrival, s)) visit(next, s);
    }
  }

 private:
  RecordTable<zatlib::CalcNode> nodes_;
  RecordTable<zatlib::NodeLinks> links_;
  RecordTable<zatlib::SlotBytes> turns_;
};

// How far one gets in a map.
struct Components {
  int64_t joined_parts = 0;     // parts of the map that links join, directions aside
  int64_t largest_part = 0;     // nodes of the largest
  int64_t largest_circuit = 0;  // nodes of the largest part in which one gets from everywhere to
                                // everywhere
  int64_t unreachable = 0;      // nodes that cannot be reached from there
};

Components FindComponents(const MapGraph& graph);

}  // namespace zatmap
