// The cheapest route through the graph of a map.
#pragma once

#include <cstdint>
#include <vector>

#include "map/graph.h"

namespace zatlib::map {

struct Route {
  bool found = false;
  uint32_t cost = 0;                    // hundredths of a second
  std::vector<Connection> connections;  // from the first node to the last
};

// Dijkstra's algorithm over the connections, since a turn depends on the one taken before. Obeys
// prohibited turns and closed connections; right-turn weights do not count. A route from a node to
// itself has no connections. Both nodes exist. Takes about 100 bytes of memory a node.
Route FindRoute(const Graph& graph, int64_t from, int64_t to);

}  // namespace zatlib::map
