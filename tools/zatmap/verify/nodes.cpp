// zatmap verify: node.idx, and the files with one record for each node.
#include <algorithm>
#include <cinttypes>
#include <cstddef>
#include <cstdlib>

#include "network/connection_cost.h"
#include "network/workstore/source_layout.h"
#include "shell/output.h"
#include "shell/terminal_progress.h"
#include "verify/verifier.h"

namespace zatmap::verify {
namespace {

// A used slot of a node, with what the node's records say.
struct SlotPlace {
  int64_t node;
  int slot;
  int used;  // slots of the node
  const CalcNode& calc;
  const NodeLinks& links;
  const SlotBytes* turns;  // null when the turn table does not reach so far
};

// A slot's value in a member of mapcalc.dat's records, and its link in nodelink.idx.
Spot InNode(int64_t node, size_t member, int slot) {
  return member == offsetof(CalcNode, OtherNode)
             ? AtSlot<CalcNode, int32_t>(zatlib::kCalcNodeFile, node, member, slot)
             : AtSlot<CalcNode, uint16_t>(zatlib::kCalcNodeFile, node, member, slot);
}
Spot InLinks(int64_t node, int slot) {
  return AtSlot<NodeLinks, int32_t>(zatlib::kNodeLinkFile, node, 0, slot);
}

// The cost rule once more, on purpose: it is what verify proves.
uint16_t CostOf(uint16_t length, uint16_t speed, bool from_a) {
  if (length == 0) return 0;
  if (speed == 0) return kClosedCost;
  if (speed > (from_a ? zatlib::kSpeedLimitA : zatlib::kSpeedLimitB)) return 0;
  const double cost = length * 360.0 / speed + 0.5;
  return cost >= 65535.0 ? kClosedCost : static_cast<uint16_t>(cost);
}

void CheckNodeIndex(Verifier& v) {
  const char* const file = zatlib::kNodeIndexFile;
  if (!v.node_index.Load(v.map, file).ok()) return;
  FeatureCode previous;
  for (int64_t i = 0; i < v.node_index.size(); ++i) {
    const CodeIndexRecord& record = v.node_index[i];
    CheckIndexCode(v, file, i, record.Code, previous);
    previous = record.Code;
    const Spot place = At<CodeIndexRecord>(file, i, offsetof(CodeIndexRecord, Number));
    if (!v.HasNode(record.Number)) {
      v.Add(Kind::kReference, place, "node number %d, but there are %" PRId64 " nodes",
            record.Number, v.map.nodes);
      continue;
    }
    int32_t& position = v.position[static_cast<size_t>(record.Number)];
    if (position >= 0) {
      v.Add(Kind::kReference, place, "node number %d stands in the index twice", record.Number);
    }
    position = static_cast<int32_t>(i);
    if (record.Number < v.locations.size() &&
        v.locations[record.Number].NodeCode.bits != record.Code.bits) {
      v.Add(Kind::kCodes, At<CodeIndexRecord>(file, i, 0),
            "code %s leads to node %d, whose code in %s is %s", v.Code(record.Code).c_str(),
            record.Number, zatlib::kNodeLocationFile,
            v.Code(v.locations[record.Number].NodeCode).c_str());
    }
  }
  for (int64_t n = 0; n < std::min(v.map.nodes, v.locations.size()); ++n) {
    if (v.position[static_cast<size_t>(n)] < 0) {
      v.Add(Kind::kReference, At<NodeLocation>(zatlib::kNodeLocationFile, n, 0),
            "node %" PRId64 " (code %s) is not in %s", n, v.Code(v.locations[n].NodeCode).c_str(),
            file);
    }
  }
}

void CheckLocation(Verifier& v, int64_t n) {
  const NodeLocation& location = v.locations[n];
  if (!zatlib::kLongitudes.Holds(location.X)) {
    v.Add(Kind::kCoordinateWarning,
          At<NodeLocation>(zatlib::kNodeLocationFile, n, offsetof(NodeLocation, X)),
          "X %s is no longitude", Degrees(location.X).c_str());
  }
  if (!zatlib::kLatitudes.Holds(location.Y)) {
    v.Add(Kind::kCoordinateWarning,
          At<NodeLocation>(zatlib::kNodeLocationFile, n, offsetof(NodeLocation, Y)),
          "Y %s is no latitude", Degrees(location.Y).c_str());
  }
}

// Used slots come first, empty ones hold nothing. Returns the number of used ones.
int CheckPacking(Verifier& v, int64_t n, const CalcNode& node, const NodeLinks* links) {
  int used = 0;
  while (used < kSlots && node.OtherNode[used] >= 0) ++used;
  for (int s = 0; s < kSlots; ++s) {
    if (s >= used && node.OtherNode[s] != -1) {
      v.Add(Kind::kPacking, InNode(n, offsetof(CalcNode, OtherNode), s),
            node.OtherNode[s] < 0 ? "slot %d holds %d, which is neither a node nor -1"
                                  : "slot %d is used (node %d) behind an empty one",
            s, node.OtherNode[s]);
    }
    if (s >= used && node.OtherNode[s] == -1 && node.Cost[s] != 0) {
      v.Add(Kind::kPacking, InNode(n, offsetof(CalcNode, Cost), s),
            "slot %d is empty, but has cost %d", s, node.Cost[s]);
    }
    if (s >= used && node.OtherNode[s] == -1 && node.Length[s] != 0) {
      v.Add(Kind::kPacking, InNode(n, offsetof(CalcNode, Length), s),
            "slot %d is empty, but has length %d", s, node.Length[s]);
    }
    if (links != nullptr && (links->Link[s] >= 0) != (node.OtherNode[s] >= 0)) {
      v.Add(Kind::kPacking, InLinks(n, s), "slot %d holds link %d, but in %s node %d", s,
            links->Link[s], zatlib::kCalcNodeFile, node.OtherNode[s]);
    } else if (links != nullptr && links->Link[s] < -1) {
      v.Add(Kind::kPacking, InLinks(n, s), "slot %d holds %d, which is neither a link nor -1", s,
            links->Link[s]);
    }
  }
  return used;
}

// Bits stand for turns from a used slot into a used slot.
void CheckTurnBits(Verifier& v, int64_t n, int used, const SlotBytes& turn) {
  const int possible = 0xff & ~(0xff >> used);
  for (int s = 0; s < kSlots; ++s) {
    const int allowed = s < used ? possible : 0;
    if ((turn.Slot[s] & ~allowed) == 0) continue;
    v.Add(Kind::kTurn, AtSlot<SlotBytes, uint8_t>(zatlib::kTurnTableFile, n, 0, s),
          "bits 0x%02x for turns from slot %d, but the node has %d used slots",
          turn.Slot[s] & ~allowed, s, used);
  }
}

// True when no turn of the node leads into a slot.
bool IsClosed(const SlotPlace& at, int slot) {
  if (at.turns == nullptr) return false;
  for (int k = 0; k < at.used; ++k) {
    if ((at.turns->Slot[k] & (0x80 >> slot)) == 0) return false;
  }
  return at.used > 0;
}

// `from_a` tells whether the node is the link's node A.
void CheckCost(Verifier& v, const SlotPlace& at, const LinkFacts& link, bool from_a) {
  const uint16_t speed = from_a ? link.speed_a : link.speed_b;
  const uint16_t wanted = CostOf(link.length, speed, from_a);
  const uint16_t cost = at.calc.Cost[at.slot];
  const bool closed = IsClosed(at, at.slot);
  if (closed && cost == kClosedCost && speed == 0) {
    ++v.totals.closed_marked;
    return;
  }
  if (cost == wanted) {
    if (!closed) return;
    ++v.totals.closed_unmarked;
    if (v.open_connections.size() < kKeptSuspects) {
      v.open_connections.push_back({at.node, at.slot});
    }
    return;
  }
  // A link that the node lists twice has one speed: closing the other slot has changed it.
  const int32_t number = at.links.Link[at.slot];
  for (int k = 0; k < at.used; ++k) {
    if (k != at.slot && at.links.Link[k] == number && speed == 0 && IsClosed(at, k)) return;
  }
  v.Add(Kind::kCost, InNode(at.node, offsetof(CalcNode, Cost), at.slot),
        "slot %d costs %d; length %d at speed %d of link %d makes %d", at.slot, cost, link.length,
        speed, number, wanted);
}

// What a used slot says against what its link says.
void CheckLinkOfSlot(Verifier& v, const SlotPlace& at, LinkFacts& link) {
  const int s = at.slot;
  const int32_t number = at.links.Link[s];
  const bool from_a = link.node_a == at.node;
  if (!from_a && link.node_b != at.node) {
    v.Add(Kind::kReference, InLinks(at.node, s),
          "slot %d holds link %d, which joins the nodes %d and %d", s, number, link.node_a,
          link.node_b);
    return;
  }
  link.listed =
      static_cast<uint8_t>(link.listed | (from_a ? 1 : 2) | (link.node_a == link.node_b ? 3 : 0));
  const int32_t other = from_a ? link.node_b : link.node_a;
  if (at.calc.OtherNode[s] != other) {
    v.Add(Kind::kReference, InNode(at.node, offsetof(CalcNode, OtherNode), s),
          "slot %d leads to node %d, but its link %d ends at node %d", s, at.calc.OtherNode[s],
          number, other);
  }
  if (at.calc.Length[s] != link.length) {
    v.Add(Kind::kLength, InNode(at.node, offsetof(CalcNode, Length), s),
          "slot %d has length %d, but its link %d has %d in %s", s, at.calc.Length[s], number,
          link.length, zatlib::kLinkNodeFile);
  }
  CheckCost(v, at, link, from_a);
}

void CheckSlot(Verifier& v, const SlotPlace& at) {
  const int s = at.slot;
  const int32_t number = at.links.Link[s];
  if (at.calc.OtherNode[s] >= v.map.nodes) {
    v.Add(Kind::kReference, InNode(at.node, offsetof(CalcNode, OtherNode), s),
          "slot %d leads to node %d, but there are %" PRId64 " nodes", s, at.calc.OtherNode[s],
          v.map.nodes);
  }
  if (number < 0) return;
  if (number >= v.map.links) {
    v.Add(Kind::kReference, InLinks(at.node, s),
          "slot %d holds link %d, but there are %" PRId64 " links", s, number, v.map.links);
    return;
  }
  CheckLinkOfSlot(v, at, v.link(number));
}

void CheckCity(Verifier& v, int64_t n, const NodeLinks& links) {
  const int32_t position = v.position[static_cast<size_t>(n)];
  const int32_t link = links.Link[0];
  if (position < 0 || !v.HasLink(link)) return;
  const uint32_t city = v.node_index[position].CityCode;
  const uint32_t wanted = v.link(link).city;
  if (city == wanted) return;
  v.Add(Kind::kCity,
        At<CodeIndexRecord>(zatlib::kNodeIndexFile, position, offsetof(CodeIndexRecord, CityCode)),
        "city code %u, but the link in the node's first slot, %d, has %u in %s", city, link, wanted,
        zatlib::kLinkIndexFile);
}

void CheckAttributes(Verifier& v, int64_t n, const NodeLinks& links, const SlotBytes& attribute) {
  for (int s = 0; s < kSlots; ++s) {
    const int32_t number = links.Link[s];
    int wanted = 0;
    bool either = false;
    if (v.HasLink(number)) {
      const LinkFacts& link = v.link(number);
      wanted = link.flags;
      // Only the interchange step copies the flags of links between partner nodes.
      if (link.kind >= zatlib::kDummyRoadKind) {
        either = v.tolls == TollFlags::kUnknown;
        if (v.tolls == TollFlags::kUntouched) wanted = 0;
      }
    }
    if (attribute.Slot[s] == wanted || (either && attribute.Slot[s] == 0)) continue;
    v.Add(Kind::kAttribute, AtSlot<SlotBytes, uint8_t>(zatlib::kConnectionAttributeFile, n, 0, s),
          "slot %d has the flags 0x%02x, but link %d has 0x%02x in %s", s, attribute.Slot[s],
          number, wanted, zatlib::kLinkNameFile);
  }
}

// The OR of the links' flags when each link has one. Interchange flags come later than the
// node's attribute, so that bit tells nothing after them.
void CheckNodeAttribute(Verifier& v, int64_t n, const NodeLinks& links, uint8_t attribute) {
  int all = 0;
  bool plain = false;
  bool plain_without_toll = false;
  const int toll = v.tolls == TollFlags::kUntouched ? 0 : zatlib::kFlagTollGate;
  for (const int32_t number : links.Link) {
    if (!v.HasLink(number)) continue;
    const LinkFacts& link = v.link(number);
    if (link.kind >= zatlib::kDummyRoadKind) continue;
    all |= link.flags;
    plain = plain || link.flags == 0;
    plain_without_toll = plain_without_toll || (link.flags & ~toll) == 0;
  }
  bool good = attribute == (plain ? 0 : all);
  if (toll != 0) {
    good = (attribute & ~toll) == (all & ~toll) || (plain_without_toll && attribute == 0);
  }
  if (good) return;
  v.Add(Kind::kAttribute, {zatlib::kNodeAttributeFile, n, n},
        "attribute 0x%02x, but the flags of the node's links make 0x%02x", attribute,
        plain ? 0 : all);
}

void CheckNodeName(Verifier& v, int64_t n, const NodeNameRecord& name) {
  const char* const file = zatlib::kNodeNameFile;
  CheckName(v, At<NodeNameRecord>(file, n, 0), name.Name);
  for (size_t i = 0; i < sizeof name.reserved1; ++i) {
    if (name.reserved1[i] == 0) continue;
    v.Add(Kind::kZeroBytes, At<NodeNameRecord>(file, n, offsetof(NodeNameRecord, reserved1) + i),
          "bytes that are always zero are not");
    break;
  }
  if (name.reserved2 != 0) {
    v.Add(Kind::kZeroBytes, At<NodeNameRecord>(file, n, offsetof(NodeNameRecord, reserved2)),
          "a byte that is always zero is not");
  }
}

void CheckNodeTables(Verifier& v) {
  TerminalProgress progress("verify: nodes");
  RecordReader<CalcNode> nodes;
  RecordReader<NodeLinks> node_links;
  RecordReader<SlotBytes> turns;
  RecordReader<SlotBytes> attributes;
  RecordReader<NodeNameRecord> names;
  RecordReader<uint8_t> node_attributes;
  nodes.Open(v.map, zatlib::kCalcNodeFile);
  node_links.Open(v.map, zatlib::kNodeLinkFile);
  turns.Open(v.map, zatlib::kTurnTableFile);
  attributes.Open(v.map, zatlib::kConnectionAttributeFile);
  names.Open(v.map, zatlib::kNodeNameFile);
  node_attributes.Open(v.map, zatlib::kNodeAttributeFile);
  CalcNode node;
  NodeLinks links;
  SlotBytes turn;
  SlotBytes attribute;
  NodeNameRecord name;
  uint8_t node_attribute = 0;
  for (int64_t n = 0; n < v.map.nodes && nodes.Next(&node); ++n) {
    progress.At(n, v.map.nodes);
    const bool has_links = node_links.Next(&links);
    const bool has_turns = turns.Next(&turn);
    const bool has_attributes = attributes.Next(&attribute);
    const bool has_name = names.Next(&name);
    const bool has_node_attribute = node_attributes.Next(&node_attribute);
    if (n < v.locations.size()) CheckLocation(v, n);
    const int used = CheckPacking(v, n, node, has_links ? &links : nullptr);
    if (has_turns) CheckTurnBits(v, n, used, turn);
    if (has_links) {
      for (int s = 0; s < used; ++s) {
        CheckSlot(v, {n, s, used, node, links, has_turns ? &turn : nullptr});
      }
      CheckCity(v, n, links);
    }
    if (has_links && has_attributes) CheckAttributes(v, n, links, attribute);
    if (has_name) CheckNodeName(v, n, name);
    if (has_name && has_node_attribute && name.Attribute != node_attribute) {
      v.Add(Kind::kAttribute,
            At<NodeNameRecord>(zatlib::kNodeNameFile, n, offsetof(NodeNameRecord, Attribute)),
            "attribute 0x%02x, but %s says 0x%02x", name.Attribute, zatlib::kNodeAttributeFile,
            node_attribute);
    }
    if (has_links && has_node_attribute) CheckNodeAttribute(v, n, links, node_attribute);
  }
}

// A build closes all connections that no turn leads into, or with [TUKOUJ] NOTADDONEWAY none. The
// map does not tell which; what most of them show does.
void JudgeOneWays(Verifier& v) {
  if (v.totals.closed_unmarked * 10 > v.totals.closed_marked) return;
  for (const OpenConnection& open : v.open_connections) {
    v.Add(Kind::kOneWay, InNode(open.node, offsetof(CalcNode, Cost), open.slot),
          "no turn of %s leads into slot %d, but its cost and speed are those of an open "
          "connection",
          zatlib::kTurnTableFile, open.slot);
  }
}

}  // namespace

void CheckNodes(Verifier& v) {
  CheckNodeIndex(v);
  CheckNodeTables(v);
  JudgeOneWays(v);
}

}  // namespace zatmap::verify
