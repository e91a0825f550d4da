// Why there is no route from one node to another.
#pragma once

#include <cstdint>
#include <vector>

#include "map/graph.h"

namespace zatlib::map {

// What stands in the way: a closed connection, or a prohibited turn into an open one. All turns
// into a connection that one-way marks have closed are prohibited, too; that is one barrier.
struct Barrier {
  Connection connection = 0;
  bool is_turn = false;
  Connection before = 0;  // of a turn: the connection that one comes from
};

struct NoRoute {
  bool joined = false;    // links lead from one node to the other, closed ones and turns aside
  int64_t from_part = 0;  // nodes that links join with each of them, the node included
  int64_t to_part = 0;    //
  int64_t reached = 0;    // nodes that one reaches from the first, itself included
  int64_t reaching = 0;   // nodes from which one reaches the second, itself included
  bool way_back = false;  // there is a route from the second to the first
  std::vector<Barrier> barriers;  // those of the way with the fewest, in its order; of several such
                                  // ways the shortest
};

// Both nodes exist, and FindRoute has found no route. Takes about 200 bytes of memory a node.
NoRoute ExplainNoRoute(const Graph& graph, int64_t from, int64_t to);

}  // namespace zatlib::map
