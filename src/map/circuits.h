// What hangs together in a network of connections and turns, whoever holds it. `Net` is a type that
// answers what Graph does: nodes(), used(n), IsOpen(n, slot), other(connection), ArrivalSlot(n,
// slot), IsProhibited(n, from, to) and ForEachNext(n, slot, visit).
#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "map/graph.h"

namespace zatlib::map {

// Sets of nodes that grow together.
class NodeSets {
 public:
  explicit NodeSets(int64_t count) : parent_(static_cast<size_t>(count)) {
    for (size_t i = 0; i < parent_.size(); ++i) parent_[i] = static_cast<int32_t>(i);
  }
  // The node that stands for the set of a node.
  int32_t Find(int32_t n) {
    while (parent_[static_cast<size_t>(n)] != n) {
      int32_t& up = parent_[static_cast<size_t>(n)];
      up = parent_[static_cast<size_t>(up)];
      n = up;
    }
    return n;
  }
  void Join(int32_t a, int32_t b) { parent_[static_cast<size_t>(Find(a))] = Find(b); }

 private:
  std::vector<int32_t> parent_;
};

// Tarjan's strongly connected components over the connections, without recursion.
template <typename Net>
class CircuitSearch {
 public:
  explicit CircuitSearch(const Net& net)
      : net_(net), order_(static_cast<size_t>(net.nodes()) * kSlots, kUnseen) {}

  // Follows everything that can be reached from a connection, unless that was seen before.
  void Start(int64_t node, int slot) {
    const Connection start = ConnectionOf(node, slot);
    if (order_[start] != kUnseen || !net_.IsOpen(node, slot)) return;
    Enter(start);
    while (!path_.empty()) {
      if (!GoOn()) Leave();
    }
  }

  // The connections of the circuit with the most of them.
  std::vector<Connection> TakeLargest() { return std::move(largest_); }

 private:
  static constexpr uint32_t kUnseen = 0;
  static constexpr uint32_t kDone = UINT32_MAX;

  struct Frame {
    Connection connection;
    uint32_t low;
    int next_slot;
  };

  void Enter(Connection connection) {
    order_[connection] = ++counter_;
    open_.push_back(connection);
    path_.push_back({connection, counter_, 0});
  }

  // Enters the next unseen connection behind the last of the path. False when there is none.
  bool GoOn() {
    Frame& frame = path_.back();
    const int64_t next = net_.other(frame.connection);
    const int arrival = net_.ArrivalSlot(NodeOf(frame.connection), SlotOf(frame.connection));
    const int used = net_.used(next);
    while (frame.next_slot < used) {
      const int leaving = frame.next_slot++;
      if (!net_.IsOpen(next, leaving) || net_.IsProhibited(next, arrival, leaving)) continue;
      const Connection target = ConnectionOf(next, leaving);
      if (order_[target] == kUnseen) {
        Enter(target);
        return true;
      }
      if (order_[target] != kDone) frame.low = std::min(frame.low, order_[target]);
    }
    return false;
  }

  // Takes the last connection off the path; with it a circuit, when it was the first of one.
  void Leave() {
    const Frame done = path_.back();
    path_.pop_back();
    if (!path_.empty()) path_.back().low = std::min(path_.back().low, done.low);
    if (done.low != order_[done.connection]) return;
    const auto first = std::find(open_.rbegin(), open_.rend(), done.connection).base() - 1;
    if (open_.end() - first > std::ssize(largest_)) largest_.assign(first, open_.end());
    for (auto i = first; i != open_.end(); ++i) order_[*i] = kDone;
    open_.erase(first, open_.end());
  }

  const Net& net_;
  std::vector<uint32_t> order_;
  std::vector<Connection> open_;
  std::vector<Frame> path_;
  std::vector<Connection> largest_;
  uint32_t counter_ = 0;
};

// Connections as a set, and those of them that are still to be followed.
struct Follow {
  std::vector<uint8_t> slots;  // a byte for each node, in it a bit for each slot from the lowest
  std::vector<Connection> stack;

  explicit Follow(int64_t nodes) : slots(static_cast<size_t>(nodes)) {}
  bool Has(Connection connection) const {
    return (slots[static_cast<size_t>(NodeOf(connection))] >> SlotOf(connection) & 1) != 0;
  }
  void Add(Connection connection) {
    if (Has(connection)) return;
    uint8_t& of_node = slots[static_cast<size_t>(NodeOf(connection))];
    of_node = static_cast<uint8_t>(of_node | 1u << SlotOf(connection));
    stack.push_back(connection);
  }
  Connection Take() {
    const Connection connection = stack.back();
    stack.pop_back();
    return connection;
  }
  void Clear() {
    std::fill(slots.begin(), slots.end(), uint8_t{0});
    stack.clear();
  }
};

// The nodes at either end of the connections of a set, 1 for each.
template <typename Net>
std::vector<uint8_t> NodesOf(const Net& net, const Follow& follow) {
  std::vector<uint8_t> nodes(follow.slots.size());
  for (int64_t n = 0; n < net.nodes(); ++n) {
    const unsigned slots = follow.slots[static_cast<size_t>(n)];
    if (slots == 0) continue;
    nodes[static_cast<size_t>(n)] = 1;
    for (int slot = 0; slot < kSlots; ++slot) {
      if ((slots >> slot & 1) == 0) continue;
      nodes[static_cast<size_t>(net.other(ConnectionOf(n, slot)))] = 1;
    }
  }
  return nodes;
}

// Adds to `follow` every connection that can be taken behind those that are in its stack.
template <typename Net>
void FollowAll(const Net& net, Follow* follow) {
  while (!follow->stack.empty()) {
    const Connection connection = follow->Take();
    net.ForEachNext(NodeOf(connection), SlotOf(connection),
                    [&](int64_t next, int slot) { follow->Add(ConnectionOf(next, slot)); });
  }
}

}  // namespace zatlib::map
