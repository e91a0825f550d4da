#include "check/report_places.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "check/words.h"
#include "frd/control.h"
#include "frd/text.h"
#include "input_msr/layouts.h"
#include "input_zat/layouts.h"

namespace zatmap::check {
namespace {

using zatlib::FeatureCode;
using zatlib::ShapePoint;

constexpr int kFiles = 99;  // of a section, whose rows are looked up

// What the code of a row names, by the section of its file. An area stands in a column of its own
// or in none.
struct SectionCode {
  const char* section;
  bool link;
  int code_column;
  int area_column;
};
constexpr SectionCode kZatCodes[] = {{"NODENAME", false, zatlib::zat::NodeName::kCode, 0},
                                     {"NODEXY", false, zatlib::zat::NodeXY::kCode, 0},
                                     {"LINKSPEED", true, zatlib::zat::LinkSpeed::kCode, 0},
                                     {"LINKNAME", true, zatlib::zat::LinkName::kCode, 0},
                                     {"NODETRF", false, zatlib::zat::Turn::kNode, 0},
                                     {"LINKTRF", true, zatlib::zat::OneWay::kLink, 0},
                                     {"LINKSHAPE", true, zatlib::zat::ShapeHead::kLink, 0}};
constexpr SectionCode kMsrCodes[] = {
    {"KUKANZ", true, zatlib::msr::Kukanz::kCode, zatlib::msr::Kukanz::kArea},
    {"TUKOUJ", false, zatlib::msr::Tukouj::kNode, zatlib::msr::Tukouj::kArea}};

bool IsOnMap(const ShapePoint& point) {
  return zatlib::kLongitudes.Holds(point.X) && zatlib::kLatitudes.Holds(point.Y) &&
         (point.X != 0 || point.Y != 0);
}

void AddNode(const Network& network, int32_t node, std::vector<ShapePoint>* points) {
  if (node < 0) return;
  const CheckedNode& at = network.nodes[static_cast<size_t>(node)];
  if (at.placed && IsOnMap({at.x, at.y})) points->push_back({at.x, at.y});
}

std::vector<ShapePoint> LineOf(const Network& network, const CheckedLink& link) {
  std::vector<ShapePoint> points;
  AddNode(network, link.a, &points);
  AddNode(network, link.b, &points);
  return points;
}

// The fields of a row between commas, tabs or, in MIF files, blanks.
std::vector<std::string_view> FieldsOf(std::string_view row, std::string_view separators) {
  std::vector<std::string_view> fields;
  for (size_t at = 0; at <= row.size();) {
    const size_t end = std::min(row.find_first_of(separators, at), row.size());
    fields.push_back(row.substr(at, end - at));
    at = end + 1;
  }
  return fields;
}

// The coordinates that a row holds and nothing else, but for the name of a MIF object.
std::vector<ShapePoint> CoordinatesIn(std::string_view row) {
  std::vector<double> numbers;
  for (const std::string_view field : FieldsOf(row, ", \t")) {
    if (field.empty() || field == "Point" || field == "Line" || field == "POINT") continue;
    if (field.find_first_not_of("+-.0123456789") != std::string_view::npos) return {};
    numbers.push_back(zatlib::FRD_ParseDouble(field));
  }
  std::vector<ShapePoint> points;
  if (row.find('.') == std::string_view::npos || numbers.size() % 2 != 0) return {};
  for (size_t i = 0; i + 1 < numbers.size(); i += 2) {
    if (std::abs(numbers[i]) > 180 || std::abs(numbers[i + 1]) > 90) return {};
    points.push_back({static_cast<int32_t>(std::lround(numbers[i] * 1e6)),
                      static_cast<int32_t>(std::lround(numbers[i + 1] * 1e6))});
  }
  return points;
}

// The entry for a file of the control file; null for others.
const SectionCode* SectionOf(const Control& control, const std::string& path) {
  const std::span<const SectionCode> codes =
      control.msr() ? std::span<const SectionCode>(kMsrCodes) : kZatCodes;
  for (const SectionCode& entry : codes) {
    const int count = std::min(control.Int(entry.section, "FILENUM", 0), kFiles);
    for (int i = 1; i <= count; ++i) {
      if (control.Text(entry.section, Numbered("FILE", i).c_str()) == path) return &entry;
    }
  }
  return nullptr;
}

}  // namespace

// The record of the .mid beside a MIF file that an object belongs to.
Places::Key Places::BesideMif(Findings& findings, const Finding& finding) {
  zatlib::PathText mid;
  const std::string& path = findings.PathOf(finding.place.file);
  if (finding.place.line == 0 || path.size() >= zatlib::kPathSize) return KeyOf(finding);
  zatlib::FRD_MakeMidPath(path.c_str(), mid.text);
  return {findings.File(mid.c_str()), finding.place.record, 0};
}

void Places::Give(uint32_t file, uint32_t record, const Points& points) {
  if (points.empty()) return;
  const auto first = places_.lower_bound({file, record, INT64_MIN});
  for (auto at = first; at != places_.end() && std::get<0>(at->first) == file &&
                        std::get<1>(at->first) == int64_t{record};
       ++at) {
    if (at->second.empty()) at->second = points;
  }
}

void Places::FindRecords(const Network& network) {
  for (size_t n = 0; n < network.nodes.size(); ++n) {
    const CheckedNode& node = network.nodes[n];
    Points points;
    AddNode(network, static_cast<int32_t>(n), &points);
    Give(node.file, node.record, points);
    if (node.placed) Give(node.place_file, node.place_record, points);
  }
  for (const CheckedLink& link : network.links) Give(link.file, link.record, LineOf(network, link));
  for (const CheckedTurn& turn : network.turns) {
    Points points;
    AddNode(network, turn.node, &points);
    Give(turn.file, turn.record, points);
  }
  for (const CheckedOneWay& row : network.one_ways) {
    Give(row.file, row.record, LineOf(network, network.links[static_cast<size_t>(row.link)]));
  }
}

void Places::FindByCode(const Control& control, const Network& network, const Finding& finding,
                        std::string_view row) {
  const SectionCode* const entry =
      SectionOf(control, network.findings().PathOf(finding.place.file));
  if (entry == nullptr) return;
  const std::vector<std::string_view> fields = FieldsOf(row, ",\t");
  const auto field = [&](int column) {
    std::string_view text =
        static_cast<size_t>(column) <= fields.size() ? fields[static_cast<size_t>(column) - 1] : "";
    if (text.starts_with('"')) text.remove_prefix(1);
    if (text.ends_with('"')) text.remove_suffix(1);
    return text;
  };
  const FeatureCode code =
      entry->area_column == 0
          ? zatlib::ParseCode(field(entry->code_column), network.code_length())
          : zatlib::ComposeCode(zatlib::FRD_ParseInt(field(entry->area_column)),
                                zatlib::FRD_ParseDouble(field(entry->code_column)),
                                network.code_length());
  Points points;
  if (entry->link) {
    const int32_t link = network.FindLink(code);
    if (link >= 0) points = LineOf(network, network.links[static_cast<size_t>(link)]);
  } else {
    AddNode(network, network.FindNode(code), &points);
  }
  places_[KeyOf(finding)] = points;
}

void Places::Find(const Control& control, const Network& network,
                  const std::vector<Finding>& wanted, const RowTexts& rows) {
  for (const Finding& finding : wanted) {
    if (finding.place.record == 0) continue;
    places_[KeyOf(finding)];
    places_[BesideMif(network.findings(), finding)];
  }
  FindRecords(network);
  for (const Finding& finding : wanted) {
    const std::string* const row = rows.Of(finding);
    const auto place = places_.find(KeyOf(finding));
    if (row == nullptr || place == places_.end() || !place->second.empty()) continue;
    place->second = CoordinatesIn(*row);
    if (place->second.empty()) FindByCode(control, network, finding, *row);
    if (place->second.empty()) place->second = places_[BesideMif(network.findings(), finding)];
  }
}

std::vector<ShapePoint> Places::Of(const Finding& finding) const {
  const auto place = places_.find(KeyOf(finding));
  return place == places_.end() ? Points{} : place->second;
}

}  // namespace zatmap::check
