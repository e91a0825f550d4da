#include "map/components.h"

#include <algorithm>
#include <vector>

namespace zatlib::map {
namespace {

// Sets of nodes that grow together.
class Union {
 public:
  explicit Union(int64_t count) : parent_(static_cast<size_t>(count)) {
    for (size_t i = 0; i < parent_.size(); ++i) parent_[i] = static_cast<int32_t>(i);
  }
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

constexpr uint32_t kUnseen = 0;
constexpr uint32_t kDone = UINT32_MAX;

// Tarjan's strongly connected components over the connections, without recursion.
class CircuitSearch {
 public:
  explicit CircuitSearch(const Graph& graph)
      : graph_(graph), order_(static_cast<size_t>(graph.nodes()) * kSlots, kUnseen) {}

  // Follows everything that can be reached from a connection, unless that was seen before.
  void Start(int64_t node, int slot) {
    const Connection start = ConnectionOf(node, slot);
    if (order_[start] != kUnseen || !graph_.IsOpen(node, slot)) return;
    Enter(start);
    while (!path_.empty()) {
      if (!GoOn()) Leave();
    }
  }

  // The connections of the circuit with the most of them.
  std::vector<Connection> TakeLargest() { return std::move(largest_); }

 private:
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
    const int64_t next = graph_.other(frame.connection);
    const int arrival = graph_.ArrivalSlot(NodeOf(frame.connection), SlotOf(frame.connection));
    while (frame.next_slot < kSlots && graph_.node(next).OtherNode[frame.next_slot] >= 0) {
      const int leaving = frame.next_slot++;
      if (!graph_.IsOpen(next, leaving) || graph_.IsProhibited(next, arrival, leaving)) continue;
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

  const Graph& graph_;
  std::vector<uint32_t> order_;
  std::vector<Connection> open_;
  std::vector<Frame> path_;
  std::vector<Connection> largest_;
  uint32_t counter_ = 0;
};

void CountParts(const Graph& graph, Components* result) {
  const int64_t count = graph.nodes();
  Union parts(count);
  for (int64_t n = 0; n < count; ++n) {
    for (int s = 0; s < graph.used(n); ++s) {
      parts.Join(static_cast<int32_t>(n), graph.node(n).OtherNode[s]);
    }
  }
  std::vector<int32_t> sizes(static_cast<size_t>(count));
  for (int64_t n = 0; n < count; ++n) {
    ++sizes[static_cast<size_t>(parts.Find(static_cast<int32_t>(n)))];
  }
  for (const int32_t size : sizes) {
    result->joined_parts += size > 0 ? 1 : 0;
    result->largest_part = std::max<int64_t>(result->largest_part, size);
  }
}

// The nodes of a circuit, and those that one reaches from it.
void CountReached(const Graph& graph, std::vector<Connection> circuit, Components* result) {
  const auto count = static_cast<size_t>(graph.nodes());
  std::vector<bool> in_circuit(count);
  std::vector<bool> reached(count);
  std::vector<bool> seen(count * kSlots);
  for (const Connection connection : circuit) {
    seen[connection] = true;
    in_circuit[static_cast<size_t>(NodeOf(connection))] = true;
    in_circuit[static_cast<size_t>(graph.other(connection))] = true;
  }
  for (std::vector<Connection> stack = std::move(circuit); !stack.empty();) {
    const Connection connection = stack.back();
    stack.pop_back();
    const int64_t n = NodeOf(connection);
    reached[static_cast<size_t>(n)] = true;
    reached[static_cast<size_t>(graph.other(connection))] = true;
    graph.ForEachNext(n, SlotOf(connection), [&](int64_t next, int next_slot) {
      const Connection target = ConnectionOf(next, next_slot);
      if (seen[target]) return;
      seen[target] = true;
      stack.push_back(target);
    });
  }
  result->largest_circuit = std::count(in_circuit.begin(), in_circuit.end(), true);
  result->unreachable = graph.nodes() - std::count(reached.begin(), reached.end(), true);
}

}  // namespace

Components FindComponents(const Graph& graph, const Progress& progress) {
  Components result;
  CountParts(graph, &result);
  // The circuit with the most connections, then all connections that can follow it.
  CircuitSearch search(graph);
  for (int64_t n = 0; n < graph.nodes(); ++n) {
    if (progress) progress(n, graph.nodes());
    for (int s = 0; s < graph.used(n); ++s) search.Start(n, s);
  }
  CountReached(graph, search.TakeLargest(), &result);
  return result;
}

}  // namespace zatlib::map
