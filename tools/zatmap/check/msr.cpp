// zatmap check: the MSR layouts.
#include <algorithm>
#include <string>

#include "check/mif.h"
#include "check/network_causes.h"
#include "check/plain_msr.h"
#include "check/rows.h"
#include "check/shapes.h"
#include "check/whole_set.h"
#include "frd/control.h"
#include "input_msr/layouts.h"

namespace zatmap::check {
namespace {

using zatlib::FeatureCode;

namespace msr = zatlib::msr;

constexpr NetworkColumns kColumns = {.node_code = msr::Droten::kCode,
                                     .partner = msr::Droten::kPartner,
                                     .links = msr::Droten::kSections,
                                     .link_code = msr::Dkukan::kCode,
                                     .node_a = msr::Dkukan::kNodeA,
                                     .node_b = msr::Dkukan::kNodeB,
                                     .kind = msr::Dkukan::kKind,
                                     .length = msr::Dkukan::kLength,
                                     .speed_a = msr::Dkukan::kSpeedA,
                                     .speed_b = msr::Dkukan::kSpeedB};

constexpr double kExactNumbers = 9007199254740992.0;  // code length 18: they are read as doubles

struct MsrCheck {
  Control& control;
  Findings& findings;
  Network network;
  int code_length;
  int64_t zero_nodes = 0;
  int64_t zero_links = 0;
  bool from_mif = false;
  std::vector<std::string> section_files;
  MifHeader point_header;

  explicit MsrCheck(Control& of)
      : control(of),
        findings(of.findings()),
        network(of.findings(), of.code_length(), kColumns),
        code_length(of.code_length()) {}

  // The number of an area, with a finding when there is no such one.
  int32_t Area(const Source& source, const Row& row, const zatlib::SourceColumn& column) const {
    return CheckedNumber(source, row, column, Kind::kAreaRange);
  }

  // The code that an area and the number in a column give; empty when the number is.
  FeatureCode Code(const Source& source, const Row& row, int32_t area, int column) const;

  void Points();
  void PointRow(const Source& source, const Row& row);
  void Sections();
  void SectionRow(const Source& source, const Row& row, zatlib::DefaultSpeeds defaults);
  void Names();
  void Conditions();
  void ConditionFile(Source& file);
  void Shapes(int64_t limit);
};

FeatureCode MsrCheck::Code(const Source& source, const Row& row, int32_t area, int column) const {
  CheckedCode(source, row, column, zatlib::kIntegerCode);
  const double number = zatlib::FRD_ParseDouble(row[column]);
  if (number == 0.0) return {};
  const double limit = code_length == zatlib::kDecimalCode ? zatlib::kNumbersOfArea : kExactNumbers;
  if (number >= limit) {
    findings.Add(Kind::kNumberLong, source.Here(column), "number %.*s", Size(row[column]),
                 row[column].data());
  }
  return zatlib::ComposeCode(area, number, code_length);
}

void MsrCheck::PointRow(const Source& source, const Row& row) {
  using msr::Droten;
  CheckedNode& node = network.nodes.emplace_back();
  node.file = source.file();
  node.record = static_cast<uint32_t>(source.line());
  if (IsTitleRow(source, row)) {
    CountZero(source, row, kFirstColumn, &zero_nodes);
    return;
  }
  const int32_t area = Area(source, row, msr::kPoints[Droten::kArea]);
  node.code = Code(source, row, area, Droten::kCode);
  if (zatlib::FRD_ParseDouble(row[Droten::kCode]) == 0.0) {
    CountZero(source, row, Droten::kCode, &zero_nodes);
  }
  CheckedNumbers(source, row, msr::kPoints);
  const int32_t partner_area = Area(source, row, msr::kPoints[Droten::kPartnerArea]);
  node.partner = Code(source, row, partner_area, Droten::kPartner);
  CheckName(source, row, Droten::kName);
  for (int slot = 0; slot < zatlib::kSlots; ++slot) {
    node.links[slot] = Code(source, row, area, Droten::kSections + slot);
  }
}

void MsrCheck::Points() {
  const std::vector<std::string> files = control.Files("DROTEN", true);
  for (size_t i = 0; i < files.size(); ++i) {
    const int number = static_cast<int>(i + 1);
    MifFile mif(findings, MifUse::kMsrPoints);
    Source data(findings);
    const bool has_mif = mif.Open(control, "DROTEN", number, files[i], &point_header);
    if (!control.OpenMid(data, "DROTEN", number, files[i], true)) {
      network.nodes_whole = false;
      continue;
    }
    PlainRules rules{network};
    auto plain = PlainNodes(network, rules, TakePlainPoint, has_mif ? &mif : nullptr);
    const int64_t records =
        ReadRows(data, msr::kPoints, plain, [&](const Source& source, const Row& row) {
          PointRow(source, row);
          if (has_mif) TakePoint(mif, &network.nodes.back());
        });
    if (has_mif) mif.Close(records);
  }
  EndNodes(network, files, "no road point");
  network.CheckPlaces();
}

void MsrCheck::SectionRow(const Source& source, const Row& row, zatlib::DefaultSpeeds defaults) {
  using msr::Dkukan;
  CheckedLink& link = network.links.emplace_back();
  link.file = source.file();
  link.record = static_cast<uint32_t>(source.line());
  if (IsTitleRow(source, row)) {
    CountZero(source, row, kFirstColumn, &zero_links);
    return;
  }
  const int32_t area = row.IsEmpty() ? 0 : Area(source, row, msr::kSections[Dkukan::kArea]);
  link.code = Code(source, row, area, Dkukan::kCode);
  if (zatlib::FRD_ParseDouble(row[Dkukan::kCode]) == 0.0) {
    CountZero(source, row, Dkukan::kCode, &zero_links);
  }
  const Numbers numbers =
      CheckedNumbers(source, row, msr::kSections,
                     {{Dkukan::kCity, Kind::kCityRange}, {Dkukan::kLength, Kind::kLengthRange}});
  TakeLinkNumbers(source, row, numbers, kColumns, defaults, &link);
  link.node_a = Code(source, row, area, Dkukan::kNodeA);
  link.node_b = Code(source, row, area, Dkukan::kNodeB);
}

void MsrCheck::Sections() {
  section_files = control.Files("DKUKAN", true);
  from_mif = control.Int("DKUKAN", "MIFOUTPUT", 0) != 0;
  const zatlib::DefaultSpeeds defaults = control.Speeds();
  PlainRules rules{network};
  rules.defaults = defaults;
  auto plain = PlainLinks(network, rules, TakePlainSection);
  ReadLinks(control, network, LinkFiles{msr::kSections, section_files, from_mif}, plain,
            [&](const Source& source, const Row& row) { SectionRow(source, row, defaults); });
  EndLinks(network, section_files, "no road section");
}

void MsrCheck::Names() {
  using msr::Kukanz;
  PlainRules rules{network};
  auto plain = PlainNames(findings, rules, TakePlainSectionName);
  ForEachRow(control, msr::kSectionNames, plain, [&](const Source& source, const Row& row) {
    if (IsHeaderRow(source, row)) return;
    const int32_t area = zatlib::FRD_ParseInt(row[Kukanz::kArea]);
    const FeatureCode code =
        zatlib::ComposeCode(area, zatlib::FRD_ParseDouble(row[Kukanz::kCode]), code_length);
    CheckedNumbers(source, row, msr::kSectionNames);
    CheckNameRow(source, row, network.FindLink(code) >= 0 || !network.links_whole, Kukanz::kCode,
                 Kukanz::kName);
  });
}

// The column that makes a line of conditions the last one of its file, 0 when none does.
int EndingColumn(const Row& row) {
  using msr::Tukouj;
  if (zatlib::FRD_ParseInt(row[Tukouj::kArea]) < 1) return Tukouj::kArea;
  for (const int column : {Tukouj::kNode, Tukouj::kInLink, Tukouj::kOutLink}) {
    if (zatlib::FRD_ParseDouble(row[column]) == 0.0) return column;
  }
  return 0;
}

void MsrCheck::ConditionFile(Source& file) {
  using msr::Tukouj;
  const TurnColumns columns = {
      Tukouj::kNode, {Tukouj::kInLink, Tukouj::kOutLink}, msr::kConditions[Tukouj::kKind]};
  Place end;  // the line that ends the file
  std::string end_field;
  int64_t lost = 0;  // rules behind it
  PlainRules rules{network};
  auto plain = ReadPlain<CheckedTurn>(
      [&rules](PlainRow& row, CheckedTurn* turn, PlainCounts*) {
        return TakePlainCondition(row, rules, turn);
      },
      [] {},
      [&](Source& source, CheckedTurn* turns, int64_t count) {
        for (int64_t i = 0; i < count; ++i) {
          source.Pass(1);
          turns[i].file = source.file();
          turns[i].record = static_cast<uint32_t>(source.line());
          network.turns.push_back(turns[i]);
        }
        if (end.record != 0) lost += count;
      });
  ReadRows(file, msr::kConditions, plain, [&](const Source& source, const Row& row) {
    const int ends_at = EndingColumn(row);
    if (ends_at != 0) {
      if (end.record == 0) {
        end = source.Here(ends_at);
        end_field = std::string(row[ends_at].substr(0, zatlib::kFieldLimit));
      }
      return;
    }
    if (end.record != 0) ++lost;
    const int32_t area = Area(source, row, msr::kConditions[Tukouj::kArea]);
    TurnCodes turn;
    turn.node = Code(source, row, area, Tukouj::kNode);
    turn.links[0] = Code(source, row, area, Tukouj::kInLink);
    turn.links[1] = Code(source, row, area, Tukouj::kOutLink);
    CheckTurn(source, row, network, turn, columns);
  });
  if (lost > 0) {
    findings.Add(Kind::kTukoujEnds, end, "\"%s\", and %lld rules follow", end_field.c_str(),
                 static_cast<long long>(lost));
  } else if (end.record != 0) {
    findings.Add(Kind::kCodeZero, end, "\"%s\", the last line that counts", end_field.c_str());
  }
}

void MsrCheck::Conditions() {
  const std::vector<std::string> files = control.Files("TUKOUJ", false);
  for (size_t i = 0; i < files.size(); ++i) {
    Source file(findings);
    if (control.Open(file, "TUKOUJ", static_cast<int>(i + 1), files[i], false)) ConditionFile(file);
  }
}

void MsrCheck::Shapes(int64_t limit) {
  if (!from_mif) return;
  ShapeChecker shapes(network, limit);
  MifHeader header;
  Findings unheard(1);  // what the .mid files hold has been told
  for (size_t i = 0; i < section_files.size(); ++i) {
    MifFile mif(findings, MifUse::kLines);
    zatlib::PathText mid;
    zatlib::FRD_MakeMidPath(section_files[i].c_str(), mid.text);
    Source data(unheard);
    if (!mif.Open(control, "DKUKAN", static_cast<int>(i + 1), section_files[i], &header)) continue;
    if (!data.Open(mid.c_str(), false)) continue;
    std::string_view line;
    int64_t records = 0;
    bool more = true;
    while (data.Next(zatlib::kLineSize, &line)) {
      ++records;
      bool good = false;
      if (!more) continue;
      Row row;
      Split(data, line, msr::kSections, &row);
      const int64_t number = zatlib::FRD_ParseInt64(row[msr::Dkukan::kCode]);
      const FeatureCode code =
          number == 0 ? FeatureCode{}
                      : zatlib::ComposeCode(zatlib::FRD_ParseInt(row[msr::Dkukan::kArea]),
                                            static_cast<double>(number), code_length);
      more = mif.NextLine(shapes, code, &good);
    }
    mif.Close(records);
  }
  CompareHeaders(findings, point_header, header, section_files);
  shapes.Finish();
}

}  // namespace

void CheckMsr(Control& control, int64_t shape_limit, const Look& look) {
  MsrCheck check(control);
  check.Points();
  check.Sections();
  check.network.CheckReferences();
  LookAtNetwork(check.network);
  check.network.CheckCosts();
  check.Names();
  check.Conditions();
  check.Shapes(shape_limit);
  CheckWholeSet(check.network);
  if (look) look(control, check.network);
}

}  // namespace zatmap::check
