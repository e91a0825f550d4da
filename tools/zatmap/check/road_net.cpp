#include "check/road_net.h"

#include "network/connection_cost.h"

namespace zatmap::check {
namespace {

using zatlib::kSlots;
using zatlib::map::ConnectionOf;

bool Opens(uint16_t length, uint16_t speed, int limit) {
  return zatlib::ConnectionCost(length, speed, limit) != zatlib::kClosedCost;
}

}  // namespace

RoadNet::RoadNet(const Network& network)
    : nodes_(network.nodes.size()), slots_(network.links.size(), kNoSlots) {
  AddLinks(network);
  AddPartners(network);
  AddRules(network);
  CloseProhibited();
  CountDirections(network);
}

// Gives both nodes, which have room, a slot.
void RoadNet::Connect(int32_t a, int32_t b, bool open_a, bool open_b) {
  Node& from = At(a);
  Node& to = At(b);
  from.back[from.used] = ConnectionOf(b, to.used);
  to.back[to.used] = ConnectionOf(a, from.used);
  if (open_a) from.open = static_cast<uint8_t>(from.open | Bit(from.used));
  if (open_b) to.open = static_cast<uint8_t>(to.open | Bit(to.used));
  ++from.used;
  ++to.used;
}

void RoadNet::AddLinks(const Network& network) {
  constexpr uint8_t kListed = kListedAtA | kListedAtB;
  for (size_t i = 0; i < network.links.size(); ++i) {
    const CheckedLink& link = network.links[i];
    if (link.code.IsEmpty() || link.a < 0 || link.b < 0 || link.a == link.b ||
        (link.marks & kListed) != kListed || At(link.a).used == kSlots ||
        At(link.b).used == kSlots) {
      continue;
    }
    slots_[i] = static_cast<uint8_t>(At(link.a).used | At(link.b).used << 4);
    Connect(link.a, link.b, Opens(link.length, link.speed_a, zatlib::kSpeedLimitA),
            Opens(link.length, link.speed_b, zatlib::kSpeedLimitB));
  }
}

// The links between partner nodes, which the build makes by itself.
void RoadNet::AddPartners(const Network& network) {
  for (size_t i = 0; i < network.nodes.size(); ++i) {
    const CheckedNode& node = network.nodes[i];
    if (node.code.IsEmpty() || node.partner.IsEmpty()) continue;
    const int32_t partner = network.FindNode(node.partner);
    const auto number = static_cast<int32_t>(i);
    if (partner < 0 || partner == number) continue;
    const bool mutual = network.nodes[static_cast<size_t>(partner)].partner == node.code;
    if (mutual && partner < number) continue;  // made from its side
    if (At(number).used == kSlots || At(partner).used == kSlots) continue;
    Connect(number, partner, true, true);
  }
}

int RoadNet::SlotAt(const Network& network, int32_t link, int32_t node) const {
  const uint8_t slots = slots_[static_cast<size_t>(link)];
  if (slots == kNoSlots) return -1;
  const CheckedLink& ends = network.links[static_cast<size_t>(link)];
  if (ends.a == node) return slots & 0x0f;
  return ends.b == node ? slots >> 4 : -1;
}

void RoadNet::AddRules(const Network& network) {
  for (const CheckedTurn& turn : network.turns) {
    if (turn.kind != zatlib::kProhibited) continue;
    const int from = SlotAt(network, turn.in_link, turn.node);
    const int to = SlotAt(network, turn.out_link, turn.node);
    if (from < 0 || to < 0) continue;
    uint8_t& turns = At(turn.node).turns[from];
    turns = static_cast<uint8_t>(turns | Bit(to));
  }
  const auto close = [&](int32_t link, int32_t node) {
    const int slot = node < 0 ? -1 : SlotAt(network, link, node);
    if (slot >= 0) At(node).open = static_cast<uint8_t>(At(node).open & ~Bit(slot));
  };
  for (const CheckedOneWay& row : network.one_ways) {
    const CheckedLink& link = network.links[static_cast<size_t>(row.link)];
    if (row.closes_a) close(row.link, link.a);
    if (row.closes_b) close(row.link, link.b);
  }
}

// What no arrival may take is closed.
void RoadNet::CloseProhibited() {
  for (Node& node : nodes_) {
    unsigned closed = node.used > 0 ? 0xff : 0;
    for (int slot = 0; slot < node.used; ++slot) closed &= node.turns[slot];
    node.open = static_cast<uint8_t>(node.open & ~closed);
  }
}

void RoadNet::CountDirections(const Network& network) {
  for (size_t i = 0; i < slots_.size(); ++i) {
    const CheckedLink& link = network.links[i];
    // Records of a code that is there already, and loops, are no fault of their nodes.
    if (link.code.IsEmpty() || (link.a >= 0 && link.a == link.b)) ++links_;
    if (slots_[i] == kNoSlots) continue;
    ++links_;
    const bool a = IsOpen(link.a, slots_[i] & 0x0f);
    const bool b = IsOpen(link.b, slots_[i] >> 4);
    if (a || b) ++passable_;
    if (a != b) ++one_way_;
  }
}

}  // namespace zatmap::check
