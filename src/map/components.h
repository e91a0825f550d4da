// How far one gets in a map.
#pragma once

#include <cstdint>
#include <functional>

#include "map/graph.h"

namespace zatlib::map {

struct Components {
  int64_t joined_parts = 0;     // parts of the map that links join, directions aside
  int64_t largest_part = 0;     // nodes of the largest
  int64_t largest_circuit = 0;  // nodes of the largest part in which one gets from everywhere to
                                // everywhere
  int64_t unreachable = 0;      // nodes that cannot be reached from there
};

// Told now and then how many of all nodes have been looked at.
using Progress = std::function<void(int64_t done, int64_t all)>;

// Takes about 100 bytes of memory a node beside the graph.
Components FindComponents(const Graph& graph, const Progress& progress = nullptr);

}  // namespace zatlib::map
