#include "check/reach.h"

#include <algorithm>
#include <bit>
#include <vector>

#include "frd/parallel.h"
#include "map/circuits.h"

namespace zatmap::check {
namespace {

using zatlib::map::CircuitSearch;
using zatlib::map::Connection;
using zatlib::map::ConnectionOf;
using zatlib::map::Follow;
using zatlib::map::NodeSets;

constexpr int kTries = 4;  // starts that may lie in a dead end before all circuits are searched

// The net with every connection taken the other way.
struct Backward {
  const RoadNet& net;
  template <typename Visit>
  void ForEachNext(int64_t n, int slot, const Visit& visit) const {
    net.ForEachBefore(n, slot, visit);
  }
};

// Nodes that roads join, directions aside.
struct Parts {
  NodeSets sets;
  std::vector<int32_t> sizes;  // by the node that stands for the part
  int32_t largest = -1;        // the node that stands for the largest
};

// The parts of the nodes for which `belongs` holds; a road counts when it does for both of its
// nodes.
template <typename Belongs>
Parts FindParts(const RoadNet& net, const Belongs& belongs) {
  const auto count = static_cast<size_t>(net.nodes());
  Parts parts = {NodeSets(net.nodes()), std::vector<int32_t>(count), -1};
  for (int64_t n = 0; n < net.nodes(); ++n) {
    if (!belongs(n)) continue;
    for (int slot = 0; slot < net.used(n); ++slot) {
      const int64_t other = net.other(ConnectionOf(n, slot));
      if (other > n && belongs(other)) {
        parts.sets.Join(static_cast<int32_t>(n), static_cast<int32_t>(other));
      }
    }
  }
  for (int64_t n = 0; n < net.nodes(); ++n) {
    if (!belongs(n)) continue;
    const int32_t part = parts.sets.Find(static_cast<int32_t>(n));
    const int32_t size = ++parts.sizes[static_cast<size_t>(part)];
    if (parts.largest < 0 || size > parts.sizes[static_cast<size_t>(parts.largest)]) {
      parts.largest = part;
    }
  }
  return parts;
}

// Calls `tell(node, size)` for every part but one, with its first node.
template <typename Belongs, typename Tell>
void ForEachPart(const RoadNet& net, Parts& parts, int32_t but, const Belongs& belongs,
                 const Tell& tell) {
  for (int64_t n = 0; n < net.nodes(); ++n) {
    if (!belongs(n)) continue;
    const int32_t part = parts.sets.Find(static_cast<int32_t>(n));
    int32_t& size = parts.sizes[static_cast<size_t>(part)];
    if (part == but || size == 0) continue;
    tell(n, size);
    size = 0;  // told
  }
}

// What one can take from the circuit with the most connections, and what leads there.
struct Circuit {
  Follow from;
  Follow to;

  explicit Circuit(const RoadNet& net) : from(net.nodes()), to(net.nodes()) {
    // The threads must not need memory.
    from.stack.reserve(static_cast<size_t>(net.nodes()) * zatlib::kSlots);
    to.stack.reserve(static_cast<size_t>(net.nodes()) * zatlib::kSlots);
  }
};

void FollowBothWays(const RoadNet& net, Circuit* circuit) {
  zatlib::Workers workers;
  workers.Run(2, [&](int64_t part) {
    if (part == 0) {
      zatlib::map::FollowAll(net, &circuit->from);
    } else {
      zatlib::map::FollowAll(Backward{net}, &circuit->to);
    }
  });
}

// Starts at some connection of the largest part. Mostly it lies in the circuit, which is then what
// both ways have in common; a circuit with half of all connections is the largest.
bool TryStart(const RoadNet& net, int64_t node, int64_t open, Circuit* circuit) {
  circuit->from.Clear();
  circuit->to.Clear();
  for (int slot = 0; slot < net.used(node); ++slot) {
    if (!net.IsOpen(node, slot)) continue;
    circuit->from.Add(ConnectionOf(node, slot));
    circuit->to.Add(ConnectionOf(node, slot));
    break;
  }
  FollowBothWays(net, circuit);
  int64_t common = 0;
  for (size_t n = 0; n < circuit->from.slots.size(); ++n) {
    const unsigned both = circuit->from.slots[n] & circuit->to.slots[n];
    common += std::popcount(both);
  }
  return common > open / 2;
}

void FindCircuit(const RoadNet& net, Parts& parts, Circuit* circuit) {
  std::vector<int64_t> starts;  // nodes of the largest part
  const int64_t size = parts.sizes[static_cast<size_t>(parts.largest)];
  int64_t seen = 0;
  int64_t open = 0;
  for (int64_t n = 0; n < net.nodes(); ++n) {
    const int here = net.open(n);
    open += here;
    if (here == 0 || parts.sets.Find(static_cast<int32_t>(n)) != parts.largest) continue;
    if (++seen > size * static_cast<int64_t>(starts.size()) / kTries) starts.push_back(n);
  }
  for (size_t i = 0; i < starts.size() && i < kTries; ++i) {
    if (TryStart(net, starts[i], open, circuit)) return;
  }
  CircuitSearch<RoadNet> search(net);
  for (int64_t n = 0; n < net.nodes(); ++n) {
    for (int slot = 0; slot < net.used(n); ++slot) search.Start(n, slot);
  }
  const std::vector<Connection> largest = search.TakeLargest();
  for (Follow* follow : {&circuit->from, &circuit->to}) {
    follow->Clear();
    for (const Connection connection : largest) follow->Add(connection);
  }
  FollowBothWays(net, circuit);
}

void ReportGroups(const Network& network, const RoadNet& net, Kind kind, int64_t joined,
                  const std::vector<uint8_t>& wanted) {
  if (std::find(wanted.begin(), wanted.end(), uint8_t{1}) == wanted.end()) return;
  const auto belongs = [&](int64_t n) { return wanted[static_cast<size_t>(n)] != 0; };
  Parts groups = FindParts(net, belongs);
  ForEachPart(net, groups, -1, belongs, [&](int64_t n, int32_t size) {
    const CheckedNode& node = network.nodes[static_cast<size_t>(n)];
    network.findings().Add(kind, network.PlaceOf(node, 0),
                           "%d node%s, first %s; %lld hang together", size, size == 1 ? "" : "s",
                           network.TextOf(node.code).c_str(), static_cast<long long>(joined));
  });
}

}  // namespace

void CheckReach(const Network& network, const RoadNet& net) {
  const auto has_links = [&](int64_t n) { return net.used(n) > 0; };
  Parts parts = FindParts(net, has_links);
  if (parts.largest < 0) return;
  Circuit circuit(net);
  FindCircuit(net, parts, &circuit);

  const auto count = static_cast<size_t>(net.nodes());
  std::vector<uint8_t> lost(count);     // in the largest part, and cannot be reached
  std::vector<uint8_t> trapped(count);  // can be reached, and cannot be left
  const std::vector<uint8_t> reached = zatlib::map::NodesOf(net, circuit.from);
  int64_t joined = 0;
  for (size_t n = 0; n < count; ++n) {
    const auto node = static_cast<int64_t>(n);
    if (!has_links(node) || parts.sets.Find(static_cast<int32_t>(n)) != parts.largest) continue;
    const bool leads_on = circuit.to.slots[n] != 0;
    lost[n] = reached[n] == 0 ? 1 : 0;
    trapped[n] = reached[n] != 0 && !leads_on ? 1 : 0;
    if (reached[n] != 0 && leads_on) ++joined;
  }
  const int32_t largest = parts.sizes[static_cast<size_t>(parts.largest)];
  ForEachPart(net, parts, parts.largest, has_links, [&](int64_t n, int32_t size) {
    const CheckedNode& node = network.nodes[static_cast<size_t>(n)];
    network.findings().Add(Kind::kIsland, network.PlaceOf(node, 0),
                           "%d node%s, first %s; the largest part has %d", size,
                           size == 1 ? "" : "s", network.TextOf(node.code).c_str(), largest);
  });
  ReportGroups(network, net, Kind::kNotReached, joined, lost);
  ReportGroups(network, net, Kind::kNotLeft, joined, trapped);
}

}  // namespace zatmap::check
