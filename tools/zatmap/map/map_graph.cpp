#include "map/map_graph.h"

#include <algorithm>
#include <cstdio>

#include "shell/terminal_progress.h"

namespace zatmap {
namespace {

using zatlib::kSlots;

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

// Tarjan's strongly connected components over the connections, without recursion. Calls
// `found(first, last)` with the connections of each component.
template <typename Found>
void FindCircuits(const MapGraph& graph, const Found& found) {
  struct Frame {
    uint32_t connection;
    uint32_t low;
    int next_slot;
  };
  std::vector<uint32_t> order(static_cast<size_t>(graph.nodes()) * kSlots, kUnseen);
  std::vector<uint32_t> open;
  std::vector<Frame> path;
  uint32_t counter = 0;
  const auto enter = [&](uint32_t connection) {
    order[connection] = ++counter;
    open.push_back(connection);
    path.push_back({connection, counter, 0});
  };
  TerminalProgress progress("info: components");
  for (int64_t n = 0; n < graph.nodes(); ++n) {
    progress.At(n, graph.nodes());
    for (int s = 0; s < graph.used(n); ++s) {
      const auto start = static_cast<uint32_t>(n * kSlots + s);
      if (order[start] != kUnseen || !graph.IsOpen(n, s)) continue;
      enter(start);
      while (!path.empty()) {
        Frame& frame = path.back();
        const int64_t at = frame.connection / kSlots;
        const int slot = static_cast<int>(frame.connection % kSlots);
        const int64_t next = graph.node(at).OtherNode[slot];
        const int arrival = graph.ArrivalSlot(at, slot);
        bool entered = false;
        while (frame.next_slot < kSlots && graph.node(next).OtherNode[frame.next_slot] >= 0) {
          const int leaving = frame.next_slot++;
          if (!graph.IsOpen(next, leaving) || graph.IsProhibited(next, arrival, leaving)) continue;
          const auto target = static_cast<uint32_t>(next * kSlots + leaving);
          if (order[target] == kUnseen) {
            enter(target);
            entered = true;
            break;
          }
          if (order[target] != kDone) frame.low = std::min(frame.low, order[target]);
        }
        if (entered) continue;
        const Frame done = path.back();
        path.pop_back();
        if (!path.empty()) path.back().low = std::min(path.back().low, done.low);
        if (done.low != order[done.connection]) continue;
        const auto first = std::find(open.rbegin(), open.rend(), done.connection).base() - 1;
        found(first, open.end());
        for (auto i = first; i != open.end(); ++i) order[*i] = kDone;
        open.erase(first, open.end());
      }
    }
  }
}

}  // namespace

bool MapGraph::Load(const MapFolder& map) {
  if (!nodes_.Load(map, zatlib::kCalcNodeFile) || !links_.Load(map, zatlib::kNodeLinkFile) ||
      !turns_.Load(map, zatlib::kTurnTableFile)) {
    std::fprintf(stderr, "zatmap: the network in %s cannot be read; zatmap verify tells more.\n",
                 map.path.c_str());
    return false;
  }
  bool fits = links_.size() == nodes_.size() && turns_.size() == nodes_.size();
  for (int64_t n = 0; fits && n < nodes_.size(); ++n) {
    for (int s = 0; s < kSlots; ++s) fits = fits && nodes_[n].OtherNode[s] < nodes_.size();
  }
  if (!fits) {
    std::fprintf(stderr, "zatmap: the files in %s do not fit together; zatmap verify tells more.\n",
                 map.path.c_str());
  }
  return fits;
}

int MapGraph::ArrivalSlot(int64_t n, int slot) const {
  const int64_t other = nodes_[n].OtherNode[slot];
  const int32_t number = links_[n].Link[slot];
  const int count = used(other);
  for (int s = 0; s < count; ++s) {
    if (links_[other].Link[s] == number && nodes_[other].OtherNode[s] == n) return s;
  }
  for (int s = 0; s < count; ++s) {
    if (nodes_[other].OtherNode[s] == n) return s;
  }
  return -1;
}

Components FindComponents(const MapGraph& graph) {
  Components result;
  const int64_t count = graph.nodes();
  {
    Union parts(count);
    for (int64_t n = 0; n < count; ++n) {
      for (int s = 0; s < graph.used(n); ++s) {
        parts.Join(static_cast<int32_t>(n), graph.node(n).OtherNode[s]);
      }
    }
    std::vector<int32_t> sizes(static_cast<size_t>(count));
    for (int64_t n = 0; n < count; ++n)
      ++sizes[static_cast<size_t>(parts.Find(static_cast<int32_t>(n)))];
    for (const int32_t size : sizes) {
      result.joined_parts += size > 0 ? 1 : 0;
      result.largest_part = std::max<int64_t>(result.largest_part, size);
    }
  }
  // The circuit with the most connections, then all connections that can follow it.
  std::vector<uint32_t> largest;
  FindCircuits(graph, [&](auto first, auto last) {
    if (last - first > std::ssize(largest)) largest.assign(first, last);
  });
  std::vector<bool> in_circuit(static_cast<size_t>(count));
  std::vector<bool> reached(static_cast<size_t>(count));
  std::vector<bool> seen(static_cast<size_t>(count) * kSlots);
  for (const uint32_t connection : largest) {
    seen[connection] = true;
    const int64_t n = connection / kSlots;
    in_circuit[static_cast<size_t>(n)] = true;
    in_circuit[static_cast<size_t>(graph.node(n).OtherNode[connection % kSlots])] = true;
  }
  for (std::vector<uint32_t> stack = std::move(largest); !stack.empty();) {
    const uint32_t connection = stack.back();
    stack.pop_back();
    const int64_t n = connection / kSlots;
    const int slot = static_cast<int>(connection % kSlots);
    reached[static_cast<size_t>(n)] = true;
    reached[static_cast<size_t>(graph.node(n).OtherNode[slot])] = true;
    graph.ForEachNext(n, slot, [&](int64_t next, int next_slot) {
      const auto target = static_cast<uint32_t>(next * kSlots + next_slot);
      if (seen[target]) return;
      seen[target] = true;
      stack.push_back(target);
    });
  }
  result.largest_circuit = std::count(in_circuit.begin(), in_circuit.end(), true);
  result.unreachable = count - std::count(reached.begin(), reached.end(), true);
  return result;
}

}  // namespace zatmap
