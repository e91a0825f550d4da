// zatmap check: the ZAT layouts.
#include <algorithm>
#include <atomic>
#include <string>

#include "check/mif.h"
#include "check/network_causes.h"
#include "check/plain_zat.h"
#include "check/rows.h"
#include "check/shapes.h"
#include "check/whole_set.h"
#include "frd/control.h"
#include "input_zat/layouts.h"

namespace zatmap::check {
namespace {

using zatlib::FeatureCode;
using zatlib::kProhibited;

namespace zat = zatlib::zat;

// Nodes of MIF files have no coordinates in their rows; names beside a text file need no more than
// the code.
constexpr Layout kNodeMidLayout = {zat::kNodes, zat::Node::kName, zat::kNodes.Needed()};
constexpr Layout kNameMidLayout = {zat::kNodes, zat::Node::kName, zat::Node::kCode};

constexpr NetworkColumns kColumns = {.node_code = zat::Node::kCode,
                                     .partner = zat::Node::kPartner,
                                     .links = zat::Node::kLinks,
                                     .link_code = zat::Link::kCode,
                                     .node_a = zat::Link::kNodeA,
                                     .node_b = zat::Link::kNodeB,
                                     .kind = zat::Link::kKind,
                                     .length = zat::Link::kLength,
                                     .speed_a = zat::Link::kSpeedA,
                                     .speed_b = zat::Link::kSpeedB};

// One run of the check.
struct ZatCheck {
  Control& control;
  Findings& findings;
  Network network;
  int code_length;
  bool node_mif = false;
  bool link_mif = false;
  int64_t zero_nodes = 0;
  int64_t zero_links = 0;
  std::vector<std::string> node_files;
  std::vector<std::string> link_files;
  MifHeader node_header;

  explicit ZatCheck(Control& of)
      : control(of),
        findings(of.findings()),
        network(of.findings(), of.code_length(), kColumns),
        code_length(of.code_length()) {}

  void Nodes();
  void NodeFile(int number, const std::string& path);
  void NodeRow(const Source& source, const Row& row, bool names_here);
  void NodeNames();
  void NodePlaces();
  void PlaceRow(const Source& source, const Row& row);
  void Links();
  void LinkRow(const Source& source, const Row& row, zatlib::DefaultSpeeds defaults);
  void Speeds();
  void SpeedRow(const Source& source, const Row& row, zatlib::DefaultSpeeds defaults);
  void LinkNames();
  void Turns();
  void OneWays();
  void OneWayRow(const Source& source, const Row& row);
  void Shapes(int64_t limit);

  // How rows are read that come to records, with keep(source, record) for each that is in order.
  template <typename Record, typename Take, typename Keep>
  auto PlainRecords(PlainRules& rules, Take take, Keep keep) {
    return ReadPlain<Record>([&rules, take](PlainRow& row, Record* record,
                                            PlainCounts*) { return take(row, rules, record); },
                             [] {},
                             [keep](Source& source, Record* records, int64_t count) {
                               for (int64_t i = 0; i < count; ++i) {
                                 source.Pass(1);
                                 keep(source, records[i]);
                               }
                             });
  }

  // A finding at a column of a row, which shows its field behind `what`.
  void ReportRow(Kind found, const Source& source, const Row& row, int column,
                 const char* what = "") {
    findings.Add(found, source.Here(column), "%s%.*s", what, Size(row[column]), row[column].data());
  }

  // A finding at a column of a row about a link, which shows the row's code and the link's place.
  void ReportLinkOfRow(Kind found, const Source& source, const Row& row, int column,
                       const CheckedLink& link) {
    findings.Add(found, source.Here(column), "link %.*s at %s:%u", Size(row[kFirstColumn]),
                 row[kFirstColumn].data(), findings.PathOf(link.file).c_str(), link.record);
  }
};

void ZatCheck::NodeRow(const Source& source, const Row& row, bool names_here) {
  using zat::Node;
  CheckedNode& node = network.nodes.emplace_back();
  node.file = source.file();
  node.record = static_cast<uint32_t>(source.line());
  node.code = StoreCode(source, row, Node::kCode, code_length, &zero_nodes);
  if (IsTitleRow(source, row)) return;
  CheckedNumbers(source, row, zat::kNodes);
  node.partner = CheckedCode(source, row, Node::kPartner, code_length);
  for (int slot = 0; slot < zatlib::kSlots; ++slot) {
    node.links[slot] = CheckedCode(source, row, Node::kLinks + slot, code_length);
  }
  if (names_here) CheckName(source, row, Node::kName);
}

void ZatCheck::NodeFile(int number, const std::string& path) {
  if (node_mif) {
    MifFile mif(findings, MifUse::kZatPoints);
    Source data(findings);
    const bool has_mif = mif.Open(control, "NODE", number, path, &node_header);
    const bool has_mid = control.OpenMid(data, "NODE", number, path, true);
    if (!has_mif || !has_mid) network.nodes_whole = false;
    if (!has_mid) return;
    PlainRules rules{network};
    rules.names_in_nodes = true;
    auto plain = PlainNodes(network, rules, TakePlainNode, has_mif ? &mif : nullptr);
    const int64_t records =
        ReadRows(data, kNodeMidLayout, plain, [&](const Source& source, const Row& row) {
          NodeRow(source, row, true);
          if (has_mif) TakePoint(mif, &network.nodes.back());
        });
    if (has_mif) mif.Close(records);
    return;
  }
  Source data(findings);
  if (!control.Open(data, "NODE", number, path, false)) {
    network.nodes_whole = false;
    return;
  }
  zatlib::PathText mid;
  zatlib::FRD_MakeMidPath(path.c_str(), mid.text);
  const bool names_here = path == mid.c_str();
  std::atomic<bool> reported = false;
  PlainRules rules{network};
  rules.names_in_nodes = names_here;
  rules.x_reported = &reported;
  auto plain = PlainNodes(network, rules, TakePlainNode, nullptr);
  ReadRows(data, names_here ? kNodeMidLayout : Layout(zat::kNodes), plain,
           [&](const Source& source, const Row& row) {
             NodeRow(source, row, names_here);
             const int later = row[zat::Node::kX2].empty() ? zat::Node::kX1 : zat::Node::kX2;
             if (!reported && !row[later].empty() && !IsTitleRow(source, row)) {
               reported = true;
               findings.Add(Kind::kColumnsToX, source.Here(later),
                            "here and in the records behind");
             }
           });
}

void ZatCheck::Nodes() {
  node_mif = control.Int("NODE", "MIF", 0) != 0;
  node_files = control.Files("NODE", true);
  for (size_t i = 0; i < node_files.size(); ++i) NodeFile(static_cast<int>(i + 1), node_files[i]);
  EndNodes(network, node_files, "no node");
}

void ZatCheck::NodeNames() {
  PlainRules rules{network};
  // The names of nodes stand in the .mid also of text files.
  auto plain_mid = PlainNames(findings, rules, TakePlainMidName);
  for (size_t i = 0; i < node_files.size() && !node_mif; ++i) {
    zatlib::PathText mid;
    zatlib::FRD_MakeMidPath(node_files[i].c_str(), mid.text);
    if (node_files[i] == mid.c_str()) continue;
    Source data(findings);
    if (!control.OpenMid(data, "NODE", static_cast<int>(i + 1), node_files[i], false)) continue;
    ReadRows(data, kNameMidLayout, plain_mid, [&](const Source& source, const Row& row) {
      const FeatureCode code = zatlib::ParseCode(row[zat::Node::kCode], code_length);
      CheckNameRow(source, row, network.FindNode(code) >= 0 || !network.nodes_whole,
                   zat::Node::kCode, zat::Node::kName);
    });
  }
  using zat::NodeName;
  auto plain = PlainNames(findings, rules, TakePlainNodeName);
  ForEachRow(control, zat::kNodeNames, plain, [&](const Source& source, const Row& row) {
    const FeatureCode code = zatlib::ParseCode(row[NodeName::kCode], code_length);
    CheckNameRow(source, row, network.FindNode(code) >= 0 || !network.nodes_whole, NodeName::kCode,
                 NodeName::kName);
  });
}

void ZatCheck::PlaceRow(const Source& source, const Row& row) {
  using zat::NodeXY;
  const FeatureCode code = CheckedCode(source, row, NodeXY::kCode, code_length);
  for (const int column : {NodeXY::kLongitude, NodeXY::kLatitude}) {
    if (row[column].empty()) findings.Add(Kind::kCoordText, source.Here(column), "\"\"");
  }
  const int32_t x =
      CheckedCoordinate(findings, source.Here(NodeXY::kLongitude), row[NodeXY::kLongitude], false);
  const int32_t y =
      CheckedCoordinate(findings, source.Here(NodeXY::kLatitude), row[NodeXY::kLatitude], true);
  const int32_t found = network.FindNode(code);
  if (found < 0) {
    if (network.nodes_whole) ReportRow(Kind::kRowUnknown, source, row, NodeXY::kCode);
    return;
  }
  if (x == 0 && y == 0) {
    findings.Add(Kind::kCoordZero, source.Here(NodeXY::kLongitude), "0, 0");
  }
  CheckedNode& node = network.nodes[static_cast<size_t>(found)];
  node.x = x;
  node.y = y;
  node.placed = true;
  node.place_file = source.file();
  node.place_record = static_cast<uint32_t>(source.line());
}

void ZatCheck::NodePlaces() {
  if (!node_mif) {
    bool whole = true;
    bool any = false;
    PlainRules rules{network};
    auto plain = PlainRecords<PlainPlace>(
        rules, TakePlainPlace, [&](const Source& source, const PlainPlace& place) {
          any = true;
          CheckedNode& node = network.nodes[static_cast<size_t>(place.node)];
          node.x = place.x;
          node.y = place.y;
          node.placed = true;
          node.place_file = source.file();
          node.place_record = static_cast<uint32_t>(source.line());
        });
    ForEachRow(
        control, zat::kNodePlaces, plain,
        [&](const Source& source, const Row& row) {
          any = true;
          if (!IsHeaderRow(source, row)) PlaceRow(source, row);
        },
        &whole);
    if (!any && whole && !network.nodes.empty()) {
      findings.Add(Kind::kCoordMissing, control.At("NODE", "MIF"),
                   "text node files and no row in [NODEXY]");
    } else if (whole) {
      for (const CheckedNode& node : network.nodes) {
        if (node.placed || node.code.IsEmpty()) continue;
        findings.Add(Kind::kCoordMissing, network.PlaceOf(node, 0), "node %s",
                     network.TextOf(node.code).c_str());
      }
    }
  }
  network.CheckPlaces();
}

void ZatCheck::LinkRow(const Source& source, const Row& row, zatlib::DefaultSpeeds defaults) {
  using zat::Link;
  CheckedLink& link = network.links.emplace_back();
  link.file = source.file();
  link.record = static_cast<uint32_t>(source.line());
  link.code = StoreCode(source, row, Link::kCode, code_length, &zero_links);
  if (IsTitleRow(source, row)) return;
  const Numbers numbers =
      CheckedNumbers(source, row, zat::kLinks, {{Link::kLength, Kind::kLengthRange}});
  TakeLinkNumbers(source, row, numbers, kColumns, defaults, &link);
  link.node_a = CheckedCode(source, row, Link::kNodeA, code_length);
  link.node_b = CheckedCode(source, row, Link::kNodeB, code_length);
  CheckName(source, row, Link::kName);
}

void ZatCheck::Links() {
  link_mif = control.Int("LINK", "MIF", 0) != 0;
  link_files = control.Files("LINK", true);
  const zatlib::DefaultSpeeds defaults = control.Speeds();
  PlainRules rules{network};
  rules.defaults = defaults;
  auto plain = PlainLinks(network, rules, TakePlainLink);
  ReadLinks(control, network, LinkFiles{zat::kLinks, link_files, link_mif}, plain,
            [&](const Source& source, const Row& row) { LinkRow(source, row, defaults); });
  EndLinks(network, link_files, "no link");
}

void ZatCheck::SpeedRow(const Source& source, const Row& row, zatlib::DefaultSpeeds defaults) {
  using zat::LinkSpeed;
  const FeatureCode code = CheckedCode(source, row, LinkSpeed::kCode, code_length);
  const FeatureCode a = CheckedCode(source, row, LinkSpeed::kNodeA, code_length);
  const FeatureCode b = CheckedCode(source, row, LinkSpeed::kNodeB, code_length);
  CheckedNumbers(source, row, zat::kLinkSpeeds);
  CheckNegativeSpeeds(source, row, LinkSpeed::kSpeedA, LinkSpeed::kSpeedB);
  const int32_t found = network.FindLink(code);
  if (found < 0) {
    if (network.links_whole) ReportRow(Kind::kRowUnknown, source, row, LinkSpeed::kCode);
    return;
  }
  CheckedLink& link = network.links[static_cast<size_t>(found)];
  const RowSpeeds speeds = SpeedsOf(row, LinkSpeed::kSpeedA, LinkSpeed::kSpeedB, defaults);
  link.marks &= static_cast<uint8_t>(~(kClosedOnA | kClosedOnB));
  if (speeds.closed_b) link.marks |= kClosedOnB;
  if (a.IsEmpty() || b.IsEmpty() || (a == link.node_a && b == link.node_b)) {
    link.speed_a = speeds.a;
    if (speeds.closed_a) link.marks |= kClosedOnA;
  } else if (a == link.node_b && b == link.node_a) {
    link.speed_a = speeds.b;
    if (speeds.closed_b) link.marks |= kClosedOnA;
    if (speeds.a != speeds.b) {
      findings.Add(Kind::kSpeedReversed, source.Here(LinkSpeed::kSpeedA), "%u and %u km/h",
                   speeds.a, speeds.b);
    }
  } else {
    ReportLinkOfRow(Kind::kSpeedNodes, source, row, LinkSpeed::kNodeA, link);
    return;
  }
  link.speed_b = speeds.b;
}

void ZatCheck::Speeds() {
  const zatlib::DefaultSpeeds defaults = control.Speeds();
  PlainRules rules{network};
  rules.defaults = defaults;
  auto plain = PlainRecords<PlainSpeeds>(
      rules, TakePlainSpeeds, [&](const Source&, const PlainSpeeds& speeds) {
        CheckedLink& link = network.links[static_cast<size_t>(speeds.link)];
        link.marks = static_cast<uint8_t>((link.marks & ~(kClosedOnA | kClosedOnB)) | speeds.marks);
        link.speed_a = speeds.a;
        link.speed_b = speeds.b;
      });
  ForEachRow(control, zat::kLinkSpeeds, plain, [&](const Source& source, const Row& row) {
    if (!IsHeaderRow(source, row)) SpeedRow(source, row, defaults);
  });
}

void ZatCheck::LinkNames() {
  using zat::LinkName;
  PlainRules rules{network};
  auto plain = PlainNames(findings, rules, TakePlainLinkName);
  ForEachRow(control, zat::kLinkNames, plain, [&](const Source& source, const Row& row) {
    const FeatureCode code = zatlib::ParseCode(row[LinkName::kCode], code_length);
    CheckNameRow(source, row, network.FindLink(code) >= 0 || !network.links_whole, LinkName::kCode,
                 LinkName::kName);
  });
}

void ZatCheck::Turns() {
  using zat::Turn;
  const TurnColumns columns = {
      Turn::kNode, {Turn::kInLink, Turn::kOutLink}, zat::kTurns[Turn::kKind]};
  PlainRules rules{network};
  auto plain =
      PlainRecords<CheckedTurn>(rules, TakePlainTurn, [&](const Source& source, CheckedTurn turn) {
        turn.file = source.file();
        turn.record = static_cast<uint32_t>(source.line());
        network.turns.push_back(turn);
      });
  ForEachRow(control, zat::kTurns, plain, [&](const Source& source, const Row& row) {
    if (IsHeaderRow(source, row)) return;
    TurnCodes turn;
    turn.node = CheckedCode(source, row, Turn::kNode, code_length);
    turn.links[0] = CheckedCode(source, row, Turn::kInLink, code_length);
    turn.links[1] = CheckedCode(source, row, Turn::kOutLink, code_length);
    CheckTurn(source, row, network, turn, columns);
  });
}

void ZatCheck::OneWayRow(const Source& source, const Row& row) {
  using zat::OneWay;
  constexpr int kNodes[] = {OneWay::kFirstNode, OneWay::kSecondNode};
  constexpr int kFlags[] = {OneWay::kFirstFlag, OneWay::kSecondFlag};
  const FeatureCode code = CheckedCode(source, row, OneWay::kLink, code_length);
  const FeatureCode nodes[] = {CheckedCode(source, row, kNodes[0], code_length),
                               CheckedCode(source, row, kNodes[1], code_length)};
  const Numbers numbers = CheckedNumbers(source, row, zat::kOneWays);
  uint16_t flags[2];
  for (int i = 0; i < 2; ++i) {
    flags[i] = static_cast<uint16_t>(numbers[static_cast<size_t>(kFlags[i])]);
    if (flags[i] != 0 && flags[i] != kProhibited) {
      findings.Add(Kind::kOneWayFlag, source.Here(kFlags[i]), "flag %d", flags[i]);
    }
  }
  const int32_t found = network.FindLink(code);
  if (found < 0) {
    if (network.links_whole) ReportRow(Kind::kRuleUnknown, source, row, OneWay::kLink, "link ");
    return;
  }
  const CheckedLink& link = network.links[static_cast<size_t>(found)];
  const bool known = network.FindNode(nodes[0]) >= 0 && network.FindNode(nodes[1]) >= 0;
  if (known && !(nodes[0] == link.node_a && nodes[1] == link.node_b) &&
      !(nodes[0] == link.node_b && nodes[1] == link.node_a)) {
    ReportLinkOfRow(Kind::kOneWayNodes, source, row, OneWay::kFirstNode, link);
    return;
  }
  for (int i = 0; i < 2 && !known && network.nodes_whole; ++i) {
    if (!nodes[i].IsEmpty() && network.FindNode(nodes[i]) < 0) {
      ReportRow(Kind::kRuleUnknown, source, row, kNodes[i], "node ");
    }
  }
  const bool exchanged = known && !(nodes[0] == link.node_a && nodes[1] == link.node_b);
  network.one_ways.push_back({found, flags[exchanged ? 1 : 0] == kProhibited,
                              flags[exchanged ? 0 : 1] == kProhibited, source.file(),
                              static_cast<uint32_t>(source.line())});
  if (flags[0] != kProhibited && flags[1] != kProhibited) return;
  if (link.node_a == link.node_b) {
    ReportRow(Kind::kOneWayLoop, source, row, OneWay::kLink, "link ");
  } else if (flags[0] == flags[1]) {
    findings.Add(Kind::kOneWayBoth, source.Here(OneWay::kFirstFlag), "link %.*s",
                 Size(row[OneWay::kLink]), row[OneWay::kLink].data());
  }
  if ((link.marks & kParallel) != 0) {
    ReportRow(Kind::kRuleParallel, source, row, OneWay::kLink, "link ");
  }
}

void ZatCheck::OneWays() {
  PlainRules rules{network};
  auto plain = PlainRecords<CheckedOneWay>(rules, TakePlainOneWay,
                                           [&](const Source& source, CheckedOneWay one_way) {
                                             one_way.file = source.file();
                                             one_way.record = static_cast<uint32_t>(source.line());
                                             network.one_ways.push_back(one_way);
                                           });
  ForEachRow(control, zat::kOneWays, plain, [&](const Source& source, const Row& row) {
    if (!IsHeaderRow(source, row)) OneWayRow(source, row);
  });
}

void ZatCheck::Shapes(int64_t limit) {
  ShapeChecker shapes(network, limit);
  if (!link_mif) {
    CheckShapeTexts(control, shapes, code_length);
  }
  MifHeader header;
  Findings unheard(1);  // what the .mid files hold has been told
  for (size_t i = 0; link_mif && i < link_files.size(); ++i) {
    MifFile mif(findings, MifUse::kLines);
    zatlib::PathText mid;
    zatlib::FRD_MakeMidPath(link_files[i].c_str(), mid.text);
    Source data(unheard);
    if (!mif.Open(control, "LINK", static_cast<int>(i + 1), link_files[i], &header)) continue;
    if (!data.Open(mid.c_str(), false)) continue;
    std::string_view line;
    int64_t records = 0;
    bool more = true;
    while (data.Next(zatlib::kLineSize, &line)) {
      ++records;
      bool good = false;
      if (!more) continue;
      Row row;
      Split(data, line, zat::kLinks, &row);
      more = mif.NextLine(shapes, zatlib::ParseCode(row[zat::Link::kCode], code_length), &good);
    }
    mif.Close(records);
  }
  CompareHeaders(findings, node_header, header, link_files);
  shapes.Finish();
}

}  // namespace

void CheckZat(Control& control, int64_t shape_limit, const Look& look) {
  ZatCheck check(control);
  check.Nodes();
  check.NodeNames();
  check.NodePlaces();
  check.Links();
  check.network.CheckReferences();
  LookAtNetwork(check.network);
  check.Speeds();
  check.network.CheckCosts();
  check.LinkNames();
  check.Turns();
  check.OneWays();
  check.Shapes(shape_limit);
  CheckWholeSet(check.network);
  if (look) look(control, check.network);
}

}  // namespace zatmap::check
