// zatmap check: the MSR layouts.
#include <algorithm>
#include <string>

#include "check/mif.h"
#include "check/rows.h"
#include "check/shapes.h"
#include "frd/control.h"

namespace zatmap::check {
namespace {

using zatlib::FeatureCode;

constexpr Layout kPointLayout = {8, 15, kEveryColumn};
constexpr Layout kSectionLayout = {9, 13, 13};
constexpr Layout kNameLayout = {2, 5, kEveryColumn};
constexpr Layout kConditionLayout = {5, 5, kEveryColumn};

constexpr uint32_t kConditionLine = 512;  // bytes of a line of traffic conditions
constexpr int32_t kMostWord = 65535;
constexpr int32_t kMostByte = 255;
constexpr int32_t kReservedKind = 99;
constexpr int32_t kMostArea = 98;  // the next one holds the links between partner nodes
constexpr int32_t kMostCity = 999;
constexpr double kNumbersOfArea = 1e12;               // code length 14
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

  explicit MsrCheck(Control& of)
      : control(of),
        findings(of.findings()),
        network(of.findings(), of.code_length(), kMsrColumns),
        code_length(of.code_length()) {}

  // The code that an area and the number in a column give; empty when the number is.
  FeatureCode Code(const Source& source, const Row& row, int32_t area, int column) const;

  void Points();
  void PointRow(const Source& source, const Row& row);
  void Sections();
  void SectionRow(const Source& source, const Row& row, DefaultSpeeds defaults);
  void Names();
  void Conditions();
  void Shapes(int64_t limit);
};

FeatureCode MsrCheck::Code(const Source& source, const Row& row, int32_t area, int column) const {
  CheckedCode(source, row, column, zatlib::kIntegerCode);
  const double number = zatlib::FRD_ParseDouble(row[column]);
  if (number == 0.0) return {};
  const double limit = code_length == zatlib::kDecimalCode ? kNumbersOfArea : kExactNumbers;
  if (number >= limit) {
    findings.Add(Kind::kNumberLong, source.Here(column), "number %.*s", Size(row[column]),
                 row[column].data());
  }
  return zatlib::ComposeCode(area, number, code_length);
}

void MsrCheck::PointRow(const Source& source, const Row& row) {
  CheckedNode& node = network.nodes.emplace_back();
  node.file = source.file();
  node.record = static_cast<uint32_t>(source.line());
  if (IsTitleRow(source, row, 1)) {
    CountZero(source, row, 1, &zero_nodes);
    return;
  }
  const int32_t area = CheckedNumber(source, row, 1, 1, kMostArea, Kind::kAreaRange);
  node.code = Code(source, row, area, 2);
  if (zatlib::FRD_ParseDouble(row[2]) == 0.0) CountZero(source, row, 2, &zero_nodes);
  CheckedNumber(source, row, 3, 0, kMostWord);
  const int32_t partner_area = CheckedNumber(source, row, 4, 0, kMostArea, Kind::kAreaRange);
  node.partner = Code(source, row, partner_area, 5);
  CheckName(source, row, 6);
  for (int slot = 0; slot < zatlib::kSlots; ++slot) {
    node.links[slot] = Code(source, row, area, kMsrColumns.first_link + slot);
  }
}

void MsrCheck::Points() {
  const std::vector<std::string> files = control.Files("DROTEN", true);
  MifHeader header;
  for (size_t i = 0; i < files.size(); ++i) {
    const int number = static_cast<int>(i + 1);
    MifFile mif(findings, MifUse::kMsrPoints);
    Source data(findings);
    const bool has_mif = mif.Open(control, "DROTEN", number, files[i], &header);
    if (!control.OpenMid(data, "DROTEN", number, files[i])) {
      network.nodes_whole = false;
      continue;
    }
    const int64_t records = ReadRows(data, kPointLayout, [&](const Source& source, const Row& row) {
      PointRow(source, row);
      CheckedNode& node = network.nodes.back();
      if (has_mif && mif.NextPoint(&node.x, &node.y, &node.placed)) {
        const Place here = mif.Here();
        node.place_file = here.file;
        node.place_record = static_cast<uint32_t>(here.record);
      }
    });
    if (has_mif) mif.Close(records);
  }
  if (!network.IndexNodes()) {
    if (network.nodes_whole && !files.empty()) {
      findings.Add(Kind::kNoRecords, {findings.File(files[0]), 0, 0, 0}, "no road point");
    }
    network.nodes_whole = false;
  }
  network.CheckPlaces();
}

void MsrCheck::SectionRow(const Source& source, const Row& row, DefaultSpeeds defaults) {
  CheckedLink& link = network.links.emplace_back();
  link.file = source.file();
  link.record = static_cast<uint32_t>(source.line());
  if (IsTitleRow(source, row, 1)) {
    CountZero(source, row, 1, &zero_links);
    return;
  }
  const bool empty = row.count == 1 && row[1].empty();
  const int32_t area = empty ? 0 : CheckedNumber(source, row, 3, 1, kMostArea, Kind::kAreaRange);
  link.code = Code(source, row, area, 1);
  if (zatlib::FRD_ParseDouble(row[1]) == 0.0) CountZero(source, row, 1, &zero_links);
  const int32_t kind = CheckedNumber(source, row, 2, INT16_MIN, INT16_MAX);
  if (kind >= kReservedKind) findings.Add(Kind::kKindReserved, source.Here(2), "kind %d", kind);
  CheckedNumber(source, row, 4, INT32_MIN, kMostCity, Kind::kCityRange);
  link.length =
      static_cast<uint16_t>(CheckedNumber(source, row, 5, 0, kMostWord, Kind::kLengthRange));
  CheckedNumber(source, row, 6, 0, kMostWord);
  CheckedNumber(source, row, 7, 0, kMostWord);
  link.node_a = Code(source, row, area, 8);
  link.node_b = Code(source, row, area, 9);
  CheckedNumber(source, row, 10, INT16_MIN, INT16_MAX);
  CheckedNumber(source, row, 11, INT32_MIN, kMostWord);
  CheckedNumber(source, row, 12, INT32_MIN, kMostWord);
  CheckedNumber(source, row, 13, INT16_MIN, INT16_MAX);
  if (row.count >= 11) link.speed_a = SpeedOf(row[11], defaults.a);
  if (row.count >= 12) link.speed_b = SpeedOf(row[12], defaults.b);
  if (row[11].find('-') != std::string_view::npos) link.marks |= kClosedOnA;
  if (row[12].find('-') != std::string_view::npos) link.marks |= kClosedOnB;
}

void MsrCheck::Sections() {
  section_files = control.Files("DKUKAN", true);
  from_mif = control.Int("DKUKAN", "MIFOUTPUT", 0) != 0;
  const DefaultSpeeds defaults = {static_cast<uint16_t>(control.Int("DEFAULTSPEED", "SPEEDA", 0)),
                                  static_cast<uint16_t>(control.Int("DEFAULTSPEED", "SPEEDB", 0))};
  for (size_t i = 0; i < section_files.size(); ++i) {
    const int number = static_cast<int>(i + 1);
    Source data(findings);
    const bool open = from_mif ? control.OpenMid(data, "DKUKAN", number, section_files[i])
                               : control.Open(data, "DKUKAN", number, section_files[i], false);
    if (!open) {
      network.links_whole = false;
      continue;
    }
    ReadRows(data, kSectionLayout,
             [&](const Source& source, const Row& row) { SectionRow(source, row, defaults); });
  }
  if (!network.IndexLinks()) {
    if (network.links_whole && !section_files.empty()) {
      findings.Add(Kind::kNoRecords, {findings.File(section_files[0]), 0, 0, 0}, "no road section");
    }
    network.links_whole = false;
  }
}

void MsrCheck::Names() {
  ForEachRow(control, "KUKANZ", kNameLayout, [&](const Source& source, const Row& row) {
    if (IsHeaderRow(source, row, 1)) return;
    const int32_t area = zatlib::FRD_ParseInt(row[1]);
    const FeatureCode code =
        zatlib::ComposeCode(area, zatlib::FRD_ParseDouble(row[2]), code_length);
    CheckedNumber(source, row, 3, 0, kMostByte);
    CheckNameRow(source, row, network.FindLink(code) >= 0 || !network.links_whole, 2, 4);
    CheckedNumber(source, row, 5, 0, kMostWord);
  });
}

void MsrCheck::Conditions() {
  const std::vector<std::string> files = control.Files("TUKOUJ", false);
  for (size_t i = 0; i < files.size(); ++i) {
    Source file(findings);
    if (!control.Open(file, "TUKOUJ", static_cast<int>(i + 1), files[i], false)) continue;
    Place end;  // the line that ends the file
    std::string end_field;
    int64_t lost = 0;  // rules behind it
    ReadRows(
        file, kConditionLayout,
        [&](const Source& source, const Row& row) {
          int ends_at = 0;
          const int32_t area = zatlib::FRD_ParseInt(row[1]);
          if (area < 1) ends_at = 1;
          for (int column = 2; column <= 4 && ends_at == 0; ++column) {
            if (zatlib::FRD_ParseDouble(row[column]) == 0.0) ends_at = column;
          }
          if (ends_at != 0) {
            if (end.record == 0) {
              end = source.Here(ends_at);
              end_field = std::string(row[ends_at].substr(0, zatlib::kFieldLimit));
            }
            return;
          }
          if (end.record != 0) ++lost;
          CheckedNumber(source, row, 1, 1, kMostArea, Kind::kAreaRange);
          const FeatureCode node = Code(source, row, area, 2);
          const FeatureCode in_link = Code(source, row, area, 3);
          const FeatureCode out_link = Code(source, row, area, 4);
          CheckTurn(source, row, network, node, in_link, out_link, 2);
        },
        kConditionLine);
    if (lost > 0) {
      findings.Add(Kind::kTukoujEnds, end, "\"%s\", and %lld rules follow", end_field.c_str(),
                   static_cast<long long>(lost));
    } else if (end.record != 0) {
      findings.Add(Kind::kCodeZero, end, "\"%s\", the last line that counts", end_field.c_str());
    }
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
      Split(data, line, kSectionLayout, &row);
      const int64_t number = zatlib::FRD_ParseInt64(row[1]);
      const FeatureCode code = number == 0
                                   ? FeatureCode{}
                                   : zatlib::ComposeCode(zatlib::FRD_ParseInt(row[3]),
                                                         static_cast<double>(number), code_length);
      more = mif.NextLine(shapes, code, &good);
    }
    mif.Close(records);
  }
  shapes.Finish();
}

}  // namespace

void CheckMsr(Control& control, int64_t shape_limit) {
  MsrCheck check(control);
  check.Points();
  check.Sections();
  check.network.CheckReferences();
  check.network.CheckCosts();
  check.Names();
  check.Conditions();
  check.Shapes(shape_limit);
}

}  // namespace zatmap::check
