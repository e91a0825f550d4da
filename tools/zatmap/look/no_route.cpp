#include "look/no_route.h"

namespace zatmap {
namespace {

using zatlib::map::Barrier;
using zatlib::map::BuiltMap;
using zatlib::map::Connection;
using zatlib::map::NodeOf;
using zatlib::map::NoRoute;

constexpr size_t kShown = 5;  // barriers that the text lists

std::string LinkCode(const BuiltMap& map, Connection c) {
  return map.link_code(map.graph().link(c));
}

// Why a connection is closed: its own direction has no speed and the other one has ("one-way"),
// none has ("both ways"), or it takes too long ("too slow").
std::string ClosedKind(const BuiltMap& map, Connection c) {
  const zatlib::LinkNodes& link = map.link(map.graph().link(c));
  const bool from_a = link.NodeA == NodeOf(c);
  const int speed = from_a ? link.SpeedA : link.SpeedB;
  const int back = from_a ? link.SpeedB : link.SpeedA;
  return speed != 0 ? "too slow" : back != 0 ? "one-way" : "both ways";
}

std::string BarrierText(const BuiltMap& map, const Barrier& barrier) {
  const Connection c = barrier.connection;
  const std::string node = map.node_code(NodeOf(c));
  if (barrier.is_turn) {
    return "the turn at node " + node + " from link " + LinkCode(map, barrier.before) +
           " into link " + LinkCode(map, c) + " is prohibited";
  }
  const std::string kind = ClosedKind(map, c);
  return "link " + LinkCode(map, c) + " is closed from " + node + " to " +
         map.node_code(map.graph().other(c)) +
         (kind == "one-way"     ? " (one-way)"
          : kind == "both ways" ? " (and back)"
                                : " (it takes 655.35 seconds or more)");
}

std::string Nodes(int64_t count) {
  return std::to_string(count) + (count == 1 ? " node" : " nodes");
}

// "N lies on an island of 3 nodes" for a part of the map.
std::string PartText(const std::string& code, int64_t part) {
  return part == 1 ? code + " is joined to no other node"
                   : code + " lies in a part of " + Nodes(part);
}

}  // namespace

std::string NoRouteText(const BuiltMap& map, const NoRoute& why, int64_t from, int64_t to) {
  const std::string a = map.node_code(from);
  const std::string b = map.node_code(to);
  const std::string all = " of " + Nodes(map.nodes());
  std::string text = "there is no route from " + a + " to " + b;
  if (!why.joined) {
    return text + ": no links lead from one to the other.\n  " + PartText(a, why.from_part) + ", " +
           PartText(b, why.to_part) + "; the map has " + Nodes(map.nodes()) + ".\n";
  }
  if (why.barriers.size() == 1) {
    text += ": " + BarrierText(map, why.barriers[0]) + ".\n";
  } else {
    text += ". The way with the fewest barriers has " + std::to_string(why.barriers.size()) + ":\n";
    for (size_t i = 0; i < why.barriers.size() && i < kShown; ++i) {
      text += "  " + BarrierText(map, why.barriers[i]) + "\n";
    }
    if (why.barriers.size() > kShown) text += "  ... (--json lists all)\n";
  }
  text += "  From " + a + " one reaches " +
          (why.reached == 1 ? std::string("no other node") : std::to_string(why.reached) + all);
  text += "; to " + b + " one gets from " +
          (why.reaching == 1 ? std::string("no other node") : std::to_string(why.reaching) + all);
  text += ".\n";
  if (why.way_back) text += "  There is a route from " + b + " to " + a + ".\n";
  return text;
}

Json NoRouteJson(const BuiltMap& map, const NoRoute& why) {
  Json barriers = Json::array();
  for (const Barrier& barrier : why.barriers) {
    const Connection c = barrier.connection;
    if (barrier.is_turn) {
      barriers.push_back({{"kind", "turn"},
                          {"node", map.node_code(NodeOf(c))},
                          {"from_link", LinkCode(map, barrier.before)},
                          {"to_link", LinkCode(map, c)}});
    } else {
      barriers.push_back({{"kind", "closed"},
                          {"why", ClosedKind(map, c)},
                          {"link", LinkCode(map, c)},
                          {"from", map.node_code(NodeOf(c))},
                          {"to", map.node_code(map.graph().other(c))}});
    }
  }
  return {{"joined", why.joined},        {"nodes", map.nodes()},
          {"from_part", why.from_part},  {"to_part", why.to_part},
          {"reached_from", why.reached}, {"reaching_to", why.reaching},
          {"way_back", why.way_back},    {"barriers", std::move(barriers)}};
}

}  // namespace zatmap
