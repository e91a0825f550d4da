#include "map/route.h"

#include <algorithm>
#include <functional>
#include <queue>
#include <utility>

namespace zatlib::map {

Route FindRoute(const Graph& graph, int64_t from, int64_t to) {
  constexpr uint32_t kFar = UINT32_MAX;
  constexpr Connection kStart = UINT32_MAX;
  Route route;
  if (from == to) {
    route.found = true;
    return route;
  }
  const size_t count = static_cast<size_t>(graph.nodes()) * kSlots;
  std::vector<uint32_t> cost(count, kFar);
  std::vector<Connection> before(count, kStart);
  using Entry = std::pair<uint32_t, Connection>;  // cost at the end of a connection, connection
  std::priority_queue<Entry, std::vector<Entry>, std::greater<>> queue;
  const auto reach = [&](int64_t node, int slot, uint32_t so_far, Connection previous) {
    const Connection connection = ConnectionOf(node, slot);
    const uint32_t total = so_far + graph.cost(connection);
    if (total >= cost[connection]) return;
    cost[connection] = total;
    before[connection] = previous;
    queue.push({total, connection});
  };
  for (int s = 0; s < graph.used(from); ++s) {
    if (graph.IsOpen(from, s)) reach(from, s, 0, kStart);
  }
  while (!queue.empty()) {
    // Each connection stands here once: its own cost is the same from wherever one comes, so that
    // the first who reaches it does so at the least cost.
    const auto [so_far, connection] = queue.top();
    queue.pop();
    if (graph.other(connection) == to) {
      route.found = true;
      route.cost = so_far;
      for (Connection c = connection; c != kStart; c = before[c]) route.connections.push_back(c);
      std::reverse(route.connections.begin(), route.connections.end());
      return route;
    }
    graph.ForEachNext(NodeOf(connection), SlotOf(connection),
                      [&, total = so_far, previous = connection](int64_t next, int s) {
                        reach(next, s, total, previous);
                      });
  }
  return route;
}

}  // namespace zatlib::map
