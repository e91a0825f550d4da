#include "check/plain_zat.h"

#include "network/workstore/work_stores.h"

namespace zatmap::check {
namespace {

using zatlib::FeatureCode;
using zatlib::kProhibited;

namespace zat = zatlib::zat;

// Number of a column of a table, held to its range.
template <const zatlib::SourceTable& kTable, int kColumn>
int32_t Number(PlainRow& row, int32_t absent = 0) {
  constexpr zatlib::ValueRange kRange = kTable[kColumn].range;
  return row.Number(kRange, absent);
}

template <const zatlib::SourceTable& kTable>
bool Ends(PlainRow& row) {
  row.PassRest();
  constexpr int kNeeded = kTable.Needed();
  return row.good() && row.columns() >= kNeeded;
}

}  // namespace

uint16_t PlainSpeed(int32_t speed, uint16_t default_speed) {
  if (speed == 0) return default_speed;
  return speed < 0 ? 0 : static_cast<uint16_t>(speed);
}

void SetPlainSpeeds(int32_t a, int32_t b, zatlib::DefaultSpeeds defaults, CheckedLink* link) {
  link->speed_a = PlainSpeed(a, defaults.a);
  link->speed_b = PlainSpeed(b, defaults.b);
  if (a < 0 && a != kAbsent) link->marks |= kClosedOnA;
  if (b < 0 && b != kAbsent) link->marks |= kClosedOnB;
}

bool TakePlainNode(PlainRow& row, const PlainRules& rules, CheckedNode* node, PlainCounts* counts) {
  using zat::Node;
  const int code_length = rules.network.code_length();
  *node = {};
  node->code = row.Code(code_length);
  if (node->code.IsEmpty()) return false;
  Number<zat::kNodes, Node::kAttribute>(row);
  node->partner = row.Code(code_length);
  row.Text();
  for (FeatureCode& link : node->links) link = row.Code(code_length);
  if (rules.names_in_nodes) {
    row.Name(rules.names, counts);
  } else {
    row.Text();
  }
  const bool x1 = !row.Text().empty();
  const bool x2 = !row.Text().empty();
  if (rules.x_reported != nullptr && (x1 || x2) && !*rules.x_reported) return false;
  return Ends<zat::kNodes>(row);
}

bool TakePlainLink(PlainRow& row, const PlainRules& rules, CheckedLink* link, PlainCounts* counts) {
  using zat::Link;
  const int code_length = rules.network.code_length();
  *link = {};
  link->code = row.Code(code_length);
  if (link->code.IsEmpty()) return false;
  if (Number<zat::kLinks, Link::kKind>(row) >= zatlib::kDummyRoadKind) return false;
  Number<zat::kLinks, Link::kCity>(row);
  const int32_t length = Number<zat::kLinks, Link::kLength>(row);
  if (length == 0) return false;  // it may be empty
  link->length = static_cast<uint16_t>(length);
  link->written_length = static_cast<float>(length);
  Number<zat::kLinks, Link::kValue4>(row);
  Number<zat::kLinks, Link::kValue5>(row);
  Number<zat::kLinks, Link::kValue6>(row);
  link->node_a = row.Code(code_length);
  link->node_b = row.Code(code_length);
  const int32_t a = Number<zat::kLinks, Link::kSpeedA>(row, kAbsent);
  const int32_t b = Number<zat::kLinks, Link::kSpeedB>(row, kAbsent);
  if ((a < 0 && a != kAbsent) || (b < 0 && b != kAbsent)) return false;
  SetPlainSpeeds(a, b, rules.defaults, link);
  Number<zat::kLinks, Link::kFlag>(row);
  Number<zat::kLinks, Link::kNameNumber>(row);
  row.Name(rules.names, counts);
  return Ends<zat::kLinks>(row);
}

namespace {

// The rest of a row of names: from the columns between code and name on.
bool TakeName(PlainRow& row, const PlainRules& rules, int columns_between, bool known, int needed,
              PlainCounts* counts) {
  for (int i = 0; i < columns_between; ++i) row.Text();
  const PlainRow at_name = row;
  // Rows without a name are nobody's business.
  if (row.Text().empty()) {
    row.PassRest();
  } else {
    if (!known) return false;
    row = at_name;
    row.Name(rules.names, counts);
    row.PassRest();
  }
  return row.good() && row.columns() >= needed;
}

}  // namespace

bool TakePlainMidName(PlainRow& row, const PlainRules& rules, PlainCounts* counts) {
  const FeatureCode code = row.Code(rules.network.code_length());
  const bool known = rules.network.FindNode(code) >= 0;
  return TakeName(row, rules, zat::Node::kName - zat::Node::kCode - 1, known, zat::Node::kCode,
                  counts);
}

bool TakePlainNodeName(PlainRow& row, const PlainRules& rules, PlainCounts* counts) {
  using zat::NodeName;
  const FeatureCode code = row.Code(rules.network.code_length());
  const bool known = rules.network.FindNode(code) >= 0;
  return TakeName(row, rules, NodeName::kName - NodeName::kCode - 1, known,
                  zat::kNodeNames.Needed(), counts);
}

bool TakePlainLinkName(PlainRow& row, const PlainRules& rules, PlainCounts* counts) {
  using zat::LinkName;
  const FeatureCode code = row.Code(rules.network.code_length());
  const bool known = rules.network.FindLink(code) >= 0;
  return TakeName(row, rules, LinkName::kName - LinkName::kCode - 1, known,
                  zat::kLinkNames.Needed(), counts);
}

bool TakePlainPlace(PlainRow& row, const PlainRules& rules, PlainPlace* place) {
  const FeatureCode code = row.Code(rules.network.code_length());
  place->x = row.Coordinate(zatlib::kLongitudes);
  place->y = row.Coordinate(zatlib::kLatitudes);
  if (!Ends<zat::kNodePlaces>(row) || (place->x == 0 && place->y == 0)) return false;
  place->node = rules.network.FindNode(code);
  return place->node >= 0;
}

bool TakePlainSpeeds(PlainRow& row, const PlainRules& rules, PlainSpeeds* speeds) {
  using zat::LinkSpeed;
  const int code_length = rules.network.code_length();
  const FeatureCode code = row.Code(code_length);
  const FeatureCode a = row.Code(code_length);
  const FeatureCode b = row.Code(code_length);
  const int32_t number_a = Number<zat::kLinkSpeeds, LinkSpeed::kSpeedA>(row);
  const int32_t number_b = Number<zat::kLinkSpeeds, LinkSpeed::kSpeedB>(row);
  Number<zat::kLinkSpeeds, LinkSpeed::kValue>(row);
  if (!Ends<zat::kLinkSpeeds>(row) || number_a < 0 || number_b < 0) return false;
  speeds->link = rules.network.FindLink(code);
  if (speeds->link < 0) return false;
  const CheckedLink& link = rules.network.links[static_cast<size_t>(speeds->link)];
  speeds->a = PlainSpeed(number_a, rules.defaults.a);
  speeds->b = PlainSpeed(number_b, rules.defaults.b);
  speeds->marks =
      static_cast<uint8_t>((number_a < 0 ? kClosedOnA : 0) | (number_b < 0 ? kClosedOnB : 0));
  // Rows with exchanged nodes are a finding, or look like the others.
  return a.IsEmpty() || b.IsEmpty() || (a == link.node_a && b == link.node_b);
}

bool FitsPlainTurn(const Network& network, FeatureCode node, FeatureCode in_link,
                   FeatureCode out_link, int32_t kind, CheckedTurn* turn) {
  if (kind != kProhibited) return false;
  *turn = {
      network.FindNode(node), network.FindLink(in_link), network.FindLink(out_link), kind, 0, 0};
  if (turn->node < 0) return false;
  for (const int32_t number : {turn->in_link, turn->out_link}) {
    if (number < 0) return false;
    const CheckedLink& link = network.links[static_cast<size_t>(number)];
    if (!(link.node_a == node) && !(link.node_b == node)) return false;
    if ((link.marks & kParallel) != 0) return false;
  }
  return true;
}

bool TakePlainTurn(PlainRow& row, const PlainRules& rules, CheckedTurn* turn) {
  const int code_length = rules.network.code_length();
  const FeatureCode node = row.Code(code_length);
  const FeatureCode in_link = row.Code(code_length);
  const FeatureCode out_link = row.Code(code_length);
  const int32_t kind = Number<zat::kTurns, zat::Turn::kKind>(row);
  return Ends<zat::kTurns>(row) &&
         FitsPlainTurn(rules.network, node, in_link, out_link, kind, turn);
}

bool TakePlainOneWay(PlainRow& row, const PlainRules& rules, CheckedOneWay* one_way) {
  using zat::OneWay;
  const Network& network = rules.network;
  const int code_length = network.code_length();
  const FeatureCode code = row.Code(code_length);
  const FeatureCode nodes[] = {row.Code(code_length), row.Code(code_length)};
  const int32_t first = Number<zat::kOneWays, OneWay::kFirstFlag>(row);
  const int32_t second = Number<zat::kOneWays, OneWay::kSecondFlag>(row);
  if (!Ends<zat::kOneWays>(row)) return false;
  if ((first != 0 && first != kProhibited) || (second != 0 && second != kProhibited)) return false;
  const int32_t found = network.FindLink(code);
  if (found < 0) return false;
  const CheckedLink& link = network.links[static_cast<size_t>(found)];
  if (link.node_a == link.node_b || (first != 0 && second != 0) || (link.marks & kParallel) != 0) {
    return false;
  }
  bool exchanged = false;
  if (!nodes[0].IsEmpty() || !nodes[1].IsEmpty()) {
    if (network.FindNode(nodes[0]) < 0 || network.FindNode(nodes[1]) < 0) return false;
    exchanged = !(nodes[0] == link.node_a && nodes[1] == link.node_b);
    if (exchanged && !(nodes[0] == link.node_b && nodes[1] == link.node_a)) return false;
  }
  *one_way = {found, (exchanged ? second : first) == kProhibited,
              (exchanged ? first : second) == kProhibited, 0, 0};
  return true;
}

}  // namespace zatmap::check
