#include "map/barriers.h"

#include <algorithm>
#include <functional>
#include <queue>
#include <tuple>

#include "map/route.h"

namespace zatlib::map {
namespace {

using Marks = std::vector<bool>;

size_t Index(int64_t number) { return static_cast<size_t>(number); }

// The nodes that links join with a node, whatever is closed.
Marks Part(const Graph& graph, int64_t start) {
  Marks seen(Index(graph.nodes()));
  seen[Index(start)] = true;
  for (std::vector<int64_t> stack = {start}; !stack.empty();) {
    const int64_t n = stack.back();
    stack.pop_back();
    for (int s = 0; s < graph.used(n); ++s) {
      const int64_t next = graph.other(ConnectionOf(n, s));
      if (seen[Index(next)]) continue;
      seen[Index(next)] = true;
      stack.push_back(next);
    }
  }
  return seen;
}

int64_t Count(const Marks& marks) { return std::count(marks.begin(), marks.end(), true); }

// How many nodes one reaches from a node.
int64_t CountReached(const Graph& graph, int64_t from) {
  Marks nodes(Index(graph.nodes()));
  nodes[Index(from)] = true;
  Marks seen(Index(graph.nodes() * kSlots));
  std::vector<Connection> stack;
  const auto enter = [&](int64_t n, int s) {
    const Connection connection = ConnectionOf(n, s);
    if (seen[connection]) return;
    seen[connection] = true;
    nodes[Index(graph.other(connection))] = true;
    stack.push_back(connection);
  };
  for (int s = 0; s < graph.used(from); ++s) {
    if (graph.IsOpen(from, s)) enter(from, s);
  }
  while (!stack.empty()) {
    const Connection connection = stack.back();
    stack.pop_back();
    graph.ForEachNext(NodeOf(connection), SlotOf(connection), enter);
  }
  return Count(nodes);
}

// From how many nodes one reaches a node. A connection is found from its end by the slots there,
// since links stand at both of their nodes.
int64_t CountReaching(const Graph& graph, int64_t to) {
  Marks nodes(Index(graph.nodes()));
  nodes[Index(to)] = true;
  Marks seen(Index(graph.nodes() * kSlots));
  std::vector<Connection> stack;
  // The open connections that end at node `n` and, with `slot` 0 or more, may be followed by it.
  const auto enter = [&](int64_t n, int slot) {
    for (int back = 0; back < graph.used(n); ++back) {
      const int64_t before = graph.other(ConnectionOf(n, back));
      for (int s = 0; s < graph.used(before); ++s) {
        const Connection connection = ConnectionOf(before, s);
        if (graph.other(connection) != n || !graph.IsOpen(before, s) || seen[connection]) continue;
        if (slot >= 0 && graph.IsProhibited(n, graph.ArrivalSlot(before, s), slot)) continue;
        seen[connection] = true;
        nodes[Index(before)] = true;
        stack.push_back(connection);
      }
    }
  };
  enter(to, -1);
  while (!stack.empty()) {
    const Connection connection = stack.back();
    stack.pop_back();
    enter(NodeOf(connection), SlotOf(connection));
  }
  return Count(nodes);
}

// Searches the way with the fewest barriers, then the shortest, over all connections.
class BarrierSearch {
 public:
  BarrierSearch(const Graph& graph, int64_t from)
      : graph_(graph),
        least_(Index(graph.nodes() * kSlots), kFar),
        before_(Index(graph.nodes() * kSlots), kStart) {
    for (int s = 0; s < graph.used(from); ++s) Reach(kStart, ConnectionOf(from, s), {0, 0});
  }

  std::vector<Barrier> Find(int64_t to) {
    while (!queue_.empty()) {
      const auto [way, connection] = queue_.top();
      queue_.pop();
      if (way != least_[connection]) continue;
      const int64_t next = graph_.other(connection);
      if (next == to) return Collect(connection);
      for (int s = 0; s < graph_.used(next); ++s) Reach(connection, ConnectionOf(next, s), way);
    }
    return {};
  }

 private:
  using Way = std::tuple<uint32_t, uint64_t>;  // barriers, length
  static constexpr Way kFar{UINT32_MAX, 0};
  static constexpr Connection kStart = UINT32_MAX;

  bool IsTurnProhibited(Connection from, Connection into) const {
    return from != kStart &&
           graph_.IsProhibited(NodeOf(into), graph_.ArrivalSlot(NodeOf(from), SlotOf(from)),
                               SlotOf(into));
  }
  bool IsClosed(Connection connection) const {
    return !graph_.IsOpen(NodeOf(connection), SlotOf(connection));
  }

  void Reach(Connection from, Connection into, Way way) {
    auto& [barriers, length] = way;
    barriers += IsClosed(into) || IsTurnProhibited(from, into) ? 1u : 0u;
    length += graph_.length(into);
    if (way >= least_[into]) return;
    least_[into] = way;
    before_[into] = from;
    queue_.push({way, into});
  }

  std::vector<Barrier> Collect(Connection last) const {
    std::vector<Barrier> barriers;
    for (Connection c = last; c != kStart; c = before_[c]) {
      if (IsClosed(c)) {
        barriers.push_back({c, false, 0});
      } else if (IsTurnProhibited(before_[c], c)) {
        barriers.push_back({c, true, before_[c]});
      }
    }
    std::reverse(barriers.begin(), barriers.end());
    return barriers;
  }

  using Entry = std::pair<Way, Connection>;
  const Graph& graph_;
  std::vector<Way> least_;
  std::vector<Connection> before_;
  std::priority_queue<Entry, std::vector<Entry>, std::greater<>> queue_;
};

}  // namespace

NoRoute ExplainNoRoute(const Graph& graph, int64_t from, int64_t to) {
  NoRoute why;
  const Marks part = Part(graph, from);
  why.joined = part[Index(to)];
  why.from_part = Count(part);
  why.to_part = why.joined ? why.from_part : Count(Part(graph, to));
  why.reached = CountReached(graph, from);
  why.reaching = CountReaching(graph, to);
  why.way_back = FindRoute(graph, to, from).found;
  if (why.joined) why.barriers = BarrierSearch(graph, from).Find(to);
  return why;
}

}  // namespace zatlib::map
