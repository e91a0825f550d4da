// zatmap check: the ZAT layouts.
#include <algorithm>
#include <string>

#include "check/mif.h"
#include "check/rows.h"
#include "check/shapes.h"
#include "frd/control.h"

namespace zatmap::check {
namespace {

using zatlib::FeatureCode;

constexpr Layout kNodeTextLayout = {4, 15, kEveryColumn};
constexpr Layout kNodeMidLayout = {4, 13, kEveryColumn};
constexpr Layout kNameMidLayout = {1, 13, kEveryColumn};
constexpr Layout kLinkLayout = {9, 14, kEveryColumn};
constexpr Layout kPlaceLayout = {3, 3, kEveryColumn};
constexpr Layout kNodeNameLayout = {1, 3, kEveryColumn};
constexpr Layout kLinkNameLayout = {1, 4, kEveryColumn};
constexpr Layout kSpeedLayout = {5, 6, kEveryColumn};
constexpr Layout kTurnLayout = {4, 4, kEveryColumn};
constexpr Layout kOneWayLayout = {4, 5, kEveryColumn};

constexpr int32_t kMostWord = 65535;
constexpr int32_t kMostByte = 255;
constexpr int32_t kReservedKind = 99;
constexpr int32_t kProhibited = 2;

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
        network(of.findings(), of.code_length(), kZatColumns),
        code_length(of.code_length()) {}

  void Nodes();
  void NodeFile(int number, const std::string& path);
  void NodeRow(const Source& source, const Row& row, bool names_here);
  void NodeNames();
  void NodePlaces();
  void Links();
  void LinkRow(const Source& source, const Row& row);
  void Speeds();
  void LinkNames();
  void Turns();
  void OneWays();
  void Shapes(int64_t limit);
};

void ZatCheck::NodeRow(const Source& source, const Row& row, bool names_here) {
  CheckedNode& node = network.nodes.emplace_back();
  node.file = source.file();
  node.record = static_cast<uint32_t>(source.line());
  node.code = StoreCode(source, row, 1, code_length, &zero_nodes);
  if (IsTitleRow(source, row, 1)) return;
  CheckedNumber(source, row, 2, 0, kMostWord);
  node.partner = CheckedCode(source, row, 3, code_length);
  for (int slot = 0; slot < zatlib::kSlots; ++slot) {
    node.links[slot] = CheckedCode(source, row, kZatColumns.first_link + slot, code_length);
  }
  if (names_here) CheckName(source, row, 13);
}

void ZatCheck::NodeFile(int number, const std::string& path) {
  if (node_mif) {
    MifFile mif(findings, MifUse::kZatPoints);
    Source data(findings);
    const bool has_mif = mif.Open(control, "NODE", number, path, &node_header);
    if (!control.OpenMid(data, "NODE", number, path)) {
      network.nodes_whole = false;
      return;
    }
    const int64_t records =
        ReadRows(data, kNodeMidLayout, [&](const Source& source, const Row& row) {
          NodeRow(source, row, true);
          CheckedNode& node = network.nodes.back();
          if (has_mif && mif.NextPoint(&node.x, &node.y, &node.placed)) {
            const Place here = mif.Here();
            node.place_file = here.file;
            node.place_record = static_cast<uint32_t>(here.record);
          }
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
  bool reported = false;
  ReadRows(
      data, names_here ? kNodeMidLayout : kNodeTextLayout,
      [&](const Source& source, const Row& row) {
        NodeRow(source, row, names_here);
        if (!reported && (!row[14].empty() || !row[15].empty()) && !IsTitleRow(source, row, 1)) {
          reported = true;
          findings.Add(Kind::kColumnsToX, source.Here(row[15].empty() ? 14 : 15),
                       "here and in the records behind");
        }
      });
}

void ZatCheck::Nodes() {
  node_mif = control.Int("NODE", "MIF", 0) != 0;
  node_files = control.Files("NODE", true);
  for (size_t i = 0; i < node_files.size(); ++i) NodeFile(static_cast<int>(i + 1), node_files[i]);
  if (!network.IndexNodes()) {
    if (network.nodes_whole && !node_files.empty()) {
      findings.Add(Kind::kNoRecords, {findings.File(node_files[0]), 0, 0, 0}, "no node");
    }
    network.nodes_whole = false;
  }
}

void ZatCheck::NodeNames() {
  // The names of nodes stand in the .mid also of text files.
  for (size_t i = 0; i < node_files.size() && !node_mif; ++i) {
    zatlib::PathText mid;
    zatlib::FRD_MakeMidPath(node_files[i].c_str(), mid.text);
    if (node_files[i] == mid.c_str()) continue;
    Source data(findings);
    if (!control.OpenMid(data, "NODE", static_cast<int>(i + 1), node_files[i])) continue;
    ReadRows(data, kNameMidLayout, [&](const Source& source, const Row& row) {
      const FeatureCode code = zatlib::ParseCode(row[1], code_length);
      CheckNameRow(source, row, network.FindNode(code) >= 0 || !network.nodes_whole, 1, 13);
    });
  }
  ForEachRow(control, "NODENAME", kNodeNameLayout, [&](const Source& source, const Row& row) {
    const FeatureCode code = zatlib::ParseCode(row[1], code_length);
    CheckNameRow(source, row, network.FindNode(code) >= 0 || !network.nodes_whole, 1, 3);
  });
}

void ZatCheck::NodePlaces() {
  if (!node_mif) {
    bool whole = true;
    bool any = false;
    ForEachRow(
        control, "NODEXY", kPlaceLayout,
        [&](const Source& source, const Row& row) {
          any = true;
          if (IsHeaderRow(source, row, 1)) return;
          const FeatureCode code = CheckedCode(source, row, 1, code_length);
          for (int column = 2; column <= 3; ++column) {
            if (row[column].empty()) findings.Add(Kind::kCoordText, source.Here(column), "\"\"");
          }
          const int32_t x = CheckedCoordinate(findings, source.Here(2), row[2], false);
          const int32_t y = CheckedCoordinate(findings, source.Here(3), row[3], true);
          const int32_t found = network.FindNode(code);
          if (found < 0) {
            if (network.nodes_whole) {
              findings.Add(Kind::kRowUnknown, source.Here(1), "%.*s", Size(row[1]), row[1].data());
            }
            return;
          }
          if (x == 0 && y == 0) findings.Add(Kind::kCoordZero, source.Here(2), "0, 0");
          CheckedNode& node = network.nodes[static_cast<size_t>(found)];
          node.x = x;
          node.y = y;
          node.placed = true;
          node.place_file = source.file();
          node.place_record = static_cast<uint32_t>(source.line());
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

void ZatCheck::LinkRow(const Source& source, const Row& row) {
  CheckedLink& link = network.links.emplace_back();
  link.file = source.file();
  link.record = static_cast<uint32_t>(source.line());
  link.code = StoreCode(source, row, 1, code_length, &zero_links);
  if (IsTitleRow(source, row, 1)) return;
  const int32_t kind = CheckedNumber(source, row, 2, INT16_MIN, INT16_MAX);
  if (kind >= kReservedKind) findings.Add(Kind::kKindReserved, source.Here(2), "kind %d", kind);
  CheckedNumber(source, row, 3, INT32_MIN, INT32_MAX);
  link.length =
      static_cast<uint16_t>(CheckedNumber(source, row, 4, 0, kMostWord, Kind::kLengthRange));
  CheckedNumber(source, row, 5, 0, kMostWord);
  CheckedNumber(source, row, 6, 0, kMostWord);
  CheckedNumber(source, row, 7, INT16_MIN, INT16_MAX);
  link.node_a = CheckedCode(source, row, 8, code_length);
  link.node_b = CheckedCode(source, row, 9, code_length);
  CheckedNumber(source, row, 10, INT32_MIN, kMostWord);
  CheckedNumber(source, row, 11, INT32_MIN, kMostWord);
  const auto closed = [&](int column) { return row[column].find('-') != std::string_view::npos; };
  if (closed(10)) link.marks |= kClosedOnA;
  if (closed(11)) link.marks |= kClosedOnB;
  CheckedNumber(source, row, 12, INT16_MIN, INT16_MAX);
  CheckedNumber(source, row, 13, 0, kMostByte);
  CheckName(source, row, 14);
}

void ZatCheck::Links() {
  link_mif = control.Int("LINK", "MIF", 0) != 0;
  link_files = control.Files("LINK", true);
  const DefaultSpeeds defaults = {static_cast<uint16_t>(control.Int("DEFAULTSPEED", "SPEEDA", 0)),
                                  static_cast<uint16_t>(control.Int("DEFAULTSPEED", "SPEEDB", 0))};
  for (size_t i = 0; i < link_files.size(); ++i) {
    const int number = static_cast<int>(i + 1);
    Source data(findings);
    const bool open = link_mif ? control.OpenMid(data, "LINK", number, link_files[i])
                               : control.Open(data, "LINK", number, link_files[i], false);
    if (!open) {
      network.links_whole = false;
      continue;
    }
    ReadRows(data, kLinkLayout, [&](const Source& source, const Row& row) {
      LinkRow(source, row);
      CheckedLink& link = network.links.back();
      if (row.count >= 10) link.speed_a = SpeedOf(row[10], defaults.a);
      if (row.count >= 11) link.speed_b = SpeedOf(row[11], defaults.b);
    });
  }
  if (!network.IndexLinks()) {
    if (network.links_whole && !link_files.empty()) {
      findings.Add(Kind::kNoRecords, {findings.File(link_files[0]), 0, 0, 0}, "no link");
    }
    network.links_whole = false;
  }
}

void ZatCheck::Speeds() {
  const DefaultSpeeds defaults = {static_cast<uint16_t>(control.Int("DEFAULTSPEED", "SPEEDA", 0)),
                                  static_cast<uint16_t>(control.Int("DEFAULTSPEED", "SPEEDB", 0))};
  ForEachRow(control, "LINKSPEED", kSpeedLayout, [&](const Source& source, const Row& row) {
    if (IsHeaderRow(source, row, 1)) return;
    const FeatureCode code = CheckedCode(source, row, 1, code_length);
    const FeatureCode a = CheckedCode(source, row, 2, code_length);
    const FeatureCode b = CheckedCode(source, row, 3, code_length);
    CheckedNumber(source, row, 4, INT32_MIN, kMostWord);
    CheckedNumber(source, row, 5, INT32_MIN, kMostWord);
    CheckedNumber(source, row, 6, 0, kMostWord);
    const int32_t found = network.FindLink(code);
    if (found < 0) {
      if (network.links_whole) {
        findings.Add(Kind::kRowUnknown, source.Here(1), "%.*s", Size(row[1]), row[1].data());
      }
      return;
    }
    CheckedLink& link = network.links[static_cast<size_t>(found)];
    const uint16_t speed_a = row.count >= 4 ? SpeedOf(row[4], defaults.a) : uint16_t{0};
    const uint16_t speed_b = row.count >= 5 ? SpeedOf(row[5], defaults.b) : uint16_t{0};
    link.marks &= static_cast<uint8_t>(~(kClosedOnA | kClosedOnB));
    const uint8_t closed_a = row[4].find('-') != std::string_view::npos ? kClosedOnA : uint8_t{0};
    const bool closed_b = row[5].find('-') != std::string_view::npos;
    if (closed_b) link.marks |= kClosedOnB;
    if (a.IsEmpty() || b.IsEmpty() || (a == link.node_a && b == link.node_b)) {
      link.speed_a = speed_a;
      link.marks |= closed_a;
    } else if (a == link.node_b && b == link.node_a) {
      link.speed_a = speed_b;
      if (closed_b) link.marks |= kClosedOnA;
      if (speed_a != speed_b) {
        findings.Add(Kind::kSpeedReversed, source.Here(4), "%u and %u km/h", speed_a, speed_b);
      }
    } else {
      findings.Add(Kind::kSpeedNodes, source.Here(2), "link %.*s at %s:%u", Size(row[1]),
                   row[1].data(), findings.PathOf(link.file).c_str(), link.record);
      return;
    }
    link.speed_b = speed_b;
  });
}

void ZatCheck::LinkNames() {
  ForEachRow(control, "LINKNAME", kLinkNameLayout, [&](const Source& source, const Row& row) {
    const FeatureCode code = zatlib::ParseCode(row[1], code_length);
    CheckNameRow(source, row, network.FindLink(code) >= 0 || !network.links_whole, 1, 4);
  });
}

void ZatCheck::Turns() {
  ForEachRow(control, "NODETRF", kTurnLayout, [&](const Source& source, const Row& row) {
    if (IsHeaderRow(source, row, 1)) return;
    const FeatureCode node = CheckedCode(source, row, 1, code_length);
    const FeatureCode in_link = CheckedCode(source, row, 2, code_length);
    const FeatureCode out_link = CheckedCode(source, row, 3, code_length);
    CheckTurn(source, row, network, node, in_link, out_link, 1);
  });
}

void ZatCheck::OneWays() {
  ForEachRow(control, "LINKTRF", kOneWayLayout, [&](const Source& source, const Row& row) {
    if (IsHeaderRow(source, row, 1)) return;
    const FeatureCode code = CheckedCode(source, row, 1, code_length);
    const FeatureCode first = CheckedCode(source, row, 2, code_length);
    const FeatureCode second = CheckedCode(source, row, 3, code_length);
    int32_t flags[2];
    for (int i = 0; i < 2; ++i) {
      flags[i] = CheckedNumber(source, row, 4 + i, 0, kMostWord) & kMostWord;
      if (flags[i] != 0 && flags[i] != kProhibited) {
        findings.Add(Kind::kOneWayFlag, source.Here(4 + i), "flag %d", flags[i]);
      }
    }
    const int32_t found = network.FindLink(code);
    if (found < 0) {
      if (network.links_whole) {
        findings.Add(Kind::kRuleUnknown, source.Here(1), "link %.*s", Size(row[1]), row[1].data());
      }
      return;
    }
    const CheckedLink& link = network.links[static_cast<size_t>(found)];
    const bool known = network.FindNode(first) >= 0 && network.FindNode(second) >= 0;
    if (known && !(first == link.node_a && second == link.node_b) &&
        !(first == link.node_b && second == link.node_a)) {
      findings.Add(Kind::kOneWayNodes, source.Here(2), "link %.*s at %s:%u", Size(row[1]),
                   row[1].data(), findings.PathOf(link.file).c_str(), link.record);
      return;
    }
    if (!known && network.nodes_whole) {
      for (int i = 0; i < 2; ++i) {
        const FeatureCode node = i == 0 ? first : second;
        if (!node.IsEmpty() && network.FindNode(node) < 0) {
          findings.Add(Kind::kRuleUnknown, source.Here(2 + i), "node %.*s", Size(row[2 + i]),
                       row[2 + i].data());
        }
      }
    }
    const bool prohibits = flags[0] == kProhibited || flags[1] == kProhibited;
    if (!prohibits) return;
    if (link.node_a == link.node_b) {
      findings.Add(Kind::kOneWayLoop, source.Here(1), "link %.*s", Size(row[1]), row[1].data());
    } else if (flags[0] == flags[1]) {
      findings.Add(Kind::kOneWayBoth, source.Here(4), "link %.*s", Size(row[1]), row[1].data());
    }
    if ((link.marks & kParallel) != 0) {
      findings.Add(Kind::kRuleParallel, source.Here(1), "link %.*s", Size(row[1]), row[1].data());
    }
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
      Split(data, line, kLinkLayout, &row);
      more = mif.NextLine(shapes, zatlib::ParseCode(row[1], code_length), &good);
    }
    mif.Close(records);
  }
  shapes.Finish();
}

}  // namespace

void CheckZat(Control& control, int64_t shape_limit) {
  ZatCheck check(control);
  check.Nodes();
  check.NodeNames();
  check.NodePlaces();
  check.Links();
  check.network.CheckReferences();
  check.Speeds();
  check.network.CheckCosts();
  check.LinkNames();
  check.Turns();
  check.OneWays();
  check.Shapes(shape_limit);
}

}  // namespace zatmap::check
