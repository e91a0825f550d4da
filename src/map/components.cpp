#include "map/components.h"

#include <algorithm>
#include <vector>

#include "map/circuits.h"

namespace zatlib::map {
namespace {

void CountParts(const Graph& graph, Components* result) {
  const int64_t count = graph.nodes();
  NodeSets parts(count);
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
void CountReached(const Graph& graph, const std::vector<Connection>& circuit, Components* result) {
  Follow follow(graph.nodes());
  for (const Connection connection : circuit) follow.Add(connection);
  const auto count_nodes = [&] {
    const std::vector<uint8_t> nodes = NodesOf(graph, follow);
    return std::count(nodes.begin(), nodes.end(), uint8_t{1});
  };
  result->largest_circuit = count_nodes();
  FollowAll(graph, &follow);
  result->unreachable = graph.nodes() - count_nodes();
}

}  // namespace

Components FindComponents(const Graph& graph, const Progress& progress) {
  Components result;
  CountParts(graph, &result);
  // The circuit with the most connections, then all connections that can follow it.
  CircuitSearch<Graph> search(graph);
  for (int64_t n = 0; n < graph.nodes(); ++n) {
    if (progress) progress(n, graph.nodes());
    for (int s = 0; s < graph.used(n); ++s) search.Start(n, s);
  }
  CountReached(graph, search.TakeLargest(), &result);
  return result;
}

}  // namespace zatlib::map
