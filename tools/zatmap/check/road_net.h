// The network that the sources describe, as connections and turns: what the map will let one take.
#pragma once

#include <bit>
#include <cstdint>
#include <vector>

#include "check/network.h"
#include "map/graph.h"

namespace zatmap::check {

// What src/map/circuits.h asks of a network. Nodes are those of Network; a link is there when both
// of its nodes list it. Links from a node to itself lead nowhere and are left out. Takes 44 bytes a
// node and 2 a link.
class RoadNet {
 public:
  explicit RoadNet(const Network& network);

  int64_t nodes() const { return static_cast<int64_t>(nodes_.size()); }
  int used(int64_t n) const { return At(n).used; }
  int open(int64_t n) const { return std::popcount(At(n).open); }  // slots that may be taken
  bool IsOpen(int64_t n, int slot) const { return (At(n).open & Bit(slot)) != 0; }
  int64_t other(zatlib::map::Connection c) const {
    return zatlib::map::NodeOf(At(zatlib::map::NodeOf(c)).back[zatlib::map::SlotOf(c)]);
  }
  int ArrivalSlot(int64_t n, int slot) const { return zatlib::map::SlotOf(At(n).back[slot]); }
  bool IsProhibited(int64_t n, int from, int to) const {
    return (At(n).turns[from] & Bit(to)) != 0;
  }

  // Calls `visit(node, slot)` for every connection that may follow a connection.
  template <typename Visit>
  void ForEachNext(int64_t n, int slot, const Visit& visit) const {
    const zatlib::map::Connection arrival = At(n).back[slot];
    const int64_t next = zatlib::map::NodeOf(arrival);
    const Node& at = At(next);
    const unsigned free = at.open & ~unsigned{at.turns[zatlib::map::SlotOf(arrival)]};
    for (int s = 0; s < at.used; ++s) {
      if ((free & Bit(s)) != 0) visit(next, s);
    }
  }

  // The same for every connection that may come before one.
  template <typename Visit>
  void ForEachBefore(int64_t n, int slot, const Visit& visit) const {
    const Node& at = At(n);
    for (int s = 0; s < at.used; ++s) {
      if ((at.turns[s] & Bit(slot)) != 0) continue;
      const zatlib::map::Connection before = at.back[s];
      const int64_t node = zatlib::map::NodeOf(before);
      if (IsOpen(node, zatlib::map::SlotOf(before))) visit(node, zatlib::map::SlotOf(before));
    }
  }

  // Links that are there, of these those open in some direction, and of these those in one alone.
  int64_t links() const { return links_; }
  int64_t passable() const { return passable_; }
  int64_t one_way() const { return one_way_; }

 private:
  struct Node {
    zatlib::map::Connection back[zatlib::kSlots];  // the connection that comes the other way
    uint8_t turns[zatlib::kSlots] = {};            // prohibited slots by that of the arrival
    uint8_t open = 0;
    uint8_t used = 0;
  };

  static unsigned Bit(int slot) { return 1u << slot; }
  const Node& At(int64_t n) const { return nodes_[static_cast<size_t>(n)]; }
  Node& At(int64_t n) { return nodes_[static_cast<size_t>(n)]; }

  void AddLinks(const Network& network);
  void AddPartners(const Network& network);
  void Connect(int32_t a, int32_t b, bool open_a, bool open_b);
  void AddRules(const Network& network);
  void CloseProhibited();
  void CountDirections(const Network& network);

  // The slot of a link at a node, -1 when it has none.
  int SlotAt(const Network& network, int32_t link, int32_t node) const;

  static constexpr uint8_t kNoSlots = 0xff;
  std::vector<Node> nodes_;
  std::vector<uint8_t> slots_;  // of links: at A and, times 16, at B
  int64_t links_ = 0;
  int64_t passable_ = 0;
  int64_t one_way_ = 0;
};

}  // namespace zatmap::check
