#include "init/sample.h"

#include <cctype>

#include "init/row.h"
#include "input_msr/layouts.h"
#include "input_zat/layouts.h"
#include "platform/code_page.h"

namespace zatmap::init {
namespace {

namespace zat = zatlib::zat;
namespace msr = zatlib::msr;

struct SampleNode {
  int number;
  const char* place;  // longitude,latitude
  const char* name;
  int links[4];  // numbers, 0 = none
};
constexpr SampleNode kNodes[] = {
    {1, "139.750000,35.680000", "Main Crossing", {101, 102, 103, 104}},
    {2, "139.747800,35.679700", "West End", {101}},
    {3, "139.752300,35.680400", "East Gate", {102, 105}},
    {4, "139.749700,35.681900", "Station", {103}},
    {5, "139.750400,35.677900", "South Bridge", {104, 105}},
};

struct SampleLink {
  int number;
  int kind;  // of roadkinds.txt
  int length;
  int lanes;
  int width;  // class of widths.txt
  int node_a;
  int node_b;
  int speed;
  const char* name;
  std::vector<const char*> course;  // longitude,latitude between the nodes
};
const SampleLink kLinks[] = {
    {101, 3, 202, 4, 1, 2, 1, 50, "Main Street", {"139.748900,35.679900"}},
    {102, 3, 213, 4, 1, 1, 3, 50, "Main Street", {"139.751100,35.680150"}},
    {103, 4, 213, 2, 2, 4, 1, 40, "Station Road", {"139.749900,35.681000"}},
    {104, 4, 236, 2, 2, 1, 5, 40, "Bridge Road", {"139.750150,35.679000"}},
    {105, 5, 347, 1, 3, 3, 5, 40, "Mill Lane", {"139.752000,35.679200", "139.751300,35.678300"}},
};

// Node, arriving link, leaving link. No right turn from the west, none from the east into the
// station's road, and nobody turns round on the crossing.
struct SampleTurn {
  int node;
  int in_link;
  int out_link;
};
constexpr SampleTurn kTurns[] = {
    {1, 101, 104}, {1, 102, 103}, {1, 101, 101}, {1, 102, 102}, {1, 103, 103}};
// The same for a layout that has no one-way links: the last two close the lane at its end.
constexpr SampleTurn kTurnsWithLane[] = {
    {1, 101, 104}, {1, 102, 103}, {1, 101, 101}, {5, 104, 105}, {5, 105, 105}};
constexpr int kProhibited = 2;
constexpr int kOneWayLink = 105;

constexpr const char* kKinds[] = {"01,Expressway", "02,City expressway", "03,National road",
                                  "04,Main local road", "05,Other road"};
constexpr const char* kWidths[] = {"1,13.0 m and more", "2,5.5 m to 13.0 m", "3,3.0 m to 5.5 m",
                                   "4,less than 3.0 m", "0,not surveyed"};

constexpr int kArea = 10;  // of the MSR layout
constexpr int kCity = 101;
constexpr int kZatCity = 13101;
constexpr int kPriority = 1;  // link value 4

// A whole code: 10000000000101, or with 18 digits 100000000000000101.
std::string Code(const SampleOptions& options, int number) {
  const std::string digits = std::to_string(number);
  return "1" + std::string(static_cast<size_t>(options.code_length) - 1 - digits.size(), '0') +
         digits;
}

const SampleNode& NodeOf(int number) { return kNodes[number - 1]; }

std::string LinesOf(std::span<const char* const> lines) {
  std::string text;
  for (const char* line : lines) text += std::string(line) + "\r\n";
  return text;
}

// -- MIF
// -------------------------------------------------------------------------------------------

const char* Charset() {
  switch (zatlib::platform::CodePage()) {
    case 932:
      return "WindowsJapanese";
    case 1252:
      return "WindowsLatin1";
    default:
      return "Neutral";
  }
}

// The type of a column in the header.
std::string TypeOf(const zatlib::SourceColumn& column, const SampleOptions& options) {
  switch (column.kind) {
    case zatlib::FieldKind::kCode:
      return "Char(" + std::to_string(options.code_length) + ")";
    case zatlib::FieldKind::kName:
      return "Char(20)";
    default:
      return "Integer";
  }
}

// The header for a table whose lines reach to the column `last`.
std::string MifHeader(const zatlib::SourceTable& table, int last, const SampleOptions& options) {
  std::string text = std::string("Version 300\r\nCharset \"") + Charset() +
                     "\"\r\nDelimiter \",\"\r\nCoordSys Earth Projection 1, 104\r\nColumns " +
                     std::to_string(last) + "\r\n";
  for (const zatlib::SourceColumn& column : table.columns) {
    for (int i = 0; i < column.count && column.number + i <= last; ++i) {
      std::string name = column.name;
      std::erase(name, '\'');
      for (char& c : name) c = c == ' ' ? '_' : static_cast<char>(std::toupper(c));
      if (column.count > 1) name += "_" + std::to_string(i + 1);
      text += "  " + name + " " + TypeOf(column, options) + "\r\n";
    }
  }
  return text + "Data\r\n\r\n";
}

// "139.75,35.68" as MIF has it.
std::string Blank(std::string place) {
  place[place.find(',')] = ' ';
  return place + "\r\n";
}

// The points of a link from node A to node B.
std::vector<std::string> Course(const SampleLink& link) {
  std::vector<std::string> points = {NodeOf(link.node_a).place};
  points.insert(points.end(), link.course.begin(), link.course.end());
  points.emplace_back(NodeOf(link.node_b).place);
  return points;
}

std::string MifPoints() {
  std::string text;
  for (const SampleNode& node : kNodes) text += "Point " + Blank(node.place);
  return text;
}

std::string MifLines() {
  std::string text;
  for (const SampleLink& link : kLinks) {
    const std::vector<std::string> points = Course(link);
    text += "Pline " + std::to_string(points.size()) + "\r\n";
    for (const std::string& point : points) text += Blank(point);
  }
  return text;
}

// -- The ZAT layout
// --------------------------------------------------------------------------------

std::string ZatNodes(const SampleOptions& options, bool names) {
  std::string text;
  for (const SampleNode& node : kNodes) {
    Row row(zat::kNodes);
    row.Set(zat::Node::kCode, Code(options, node.number)).Set(zat::Node::kAttribute, 1);
    int count = 0;
    for (const int link : node.links) {
      if (link != 0) row.Set(zat::Node::kLinks + count++, Code(options, link));
    }
    row.Set(zat::Node::kLinkCount, count).Set(zat::Node::kName - 1, 0);
    if (names) row.Set(zat::Node::kName, node.name);
    text += row.Text();
  }
  return text;
}

std::string ZatLinks(const SampleOptions& options) {
  std::string text;
  for (const SampleLink& link : kLinks) {
    text += Row(zat::kLinks)
                .Set(zat::Link::kCode, Code(options, link.number))
                .Set(zat::Link::kKind, link.kind)
                .Set(zat::Link::kCity, kZatCity)
                .Set(zat::Link::kLength, link.length)
                .Set(zat::Link::kValue4, kPriority)
                .Set(zat::Link::kValue5, link.lanes)
                .Set(zat::Link::kValue6, link.width)
                .Set(zat::Link::kNodeA, Code(options, link.node_a))
                .Set(zat::Link::kNodeB, Code(options, link.node_b))
                .Set(zat::Link::kSpeedA, link.speed)
                .Set(zat::Link::kSpeedB, link.speed)
                .Set(zat::Link::kFlag, 0)
                .Set(zat::Link::kNameNumber, 1)
                .Set(zat::Link::kName, link.name)
                .Text();
  }
  return text;
}

// Coordinates, names, speeds, turns and one-way links, each by its own table.
std::string ZatPlaces(const SampleOptions& options) {
  std::string text;
  for (const SampleNode& node : kNodes) {
    const std::string place = node.place;
    const size_t comma = place.find(',');
    text += Row(zat::kNodePlaces)
                .Set(zat::NodeXY::kCode, Code(options, node.number))
                .Set(zat::NodeXY::kLongitude, place.substr(0, comma))
                .Set(zat::NodeXY::kLatitude, place.substr(comma + 1))
                .Text();
  }
  return text;
}

std::string ZatNodeNames(const SampleOptions& options) {
  std::string text;
  for (const SampleNode& node : kNodes) {
    text += Row(zat::kNodeNames)
                .Set(zat::NodeName::kCode, Code(options, node.number))
                .Set(zat::NodeName::kValue, 1)
                .Set(zat::NodeName::kName, node.name)
                .Text();
  }
  return text;
}

std::string ZatSpeeds(const SampleOptions& options) {
  std::string text;
  for (const SampleLink& link : kLinks) {
    text += Row(zat::kLinkSpeeds)
                .Set(zat::LinkSpeed::kCode, Code(options, link.number))
                .Set(zat::LinkSpeed::kNodeA, Code(options, link.node_a))
                .Set(zat::LinkSpeed::kNodeB, Code(options, link.node_b))
                .Set(zat::LinkSpeed::kSpeedA, link.speed - 5)
                .Set(zat::LinkSpeed::kSpeedB, link.speed - 5)
                .Set(zat::LinkSpeed::kValue, 0)
                .Text();
  }
  return text;
}

std::string ZatLinkNames(const SampleOptions& options) {
  std::string text;
  for (const SampleLink& link : kLinks) {
    text += Row(zat::kLinkNames)
                .Set(zat::LinkName::kCode, Code(options, link.number))
                .Set(zat::LinkName::kNameNumber, 1)
                .Set(zat::LinkName::kName, link.name)
                .Text();
  }
  return text;
}

std::string ZatTurns(const SampleOptions& options) {
  std::string text;
  for (const SampleTurn& turn : kTurns) {
    text += Row(zat::kTurns)
                .Set(zat::Turn::kNode, Code(options, turn.node))
                .Set(zat::Turn::kInLink, Code(options, turn.in_link))
                .Set(zat::Turn::kOutLink, Code(options, turn.out_link))
                .Set(zat::Turn::kKind, kProhibited)
                .Text();
  }
  return text;
}

// The lane may not be entered from its node B; all other links are open in both directions.
std::string ZatOneWays(const SampleOptions& options) {
  std::string text;
  for (const SampleLink& link : kLinks) {
    text += Row(zat::kOneWays)
                .Set(zat::OneWay::kLink, Code(options, link.number))
                .Set(zat::OneWay::kFirstNode, Code(options, link.node_a))
                .Set(zat::OneWay::kSecondNode, Code(options, link.node_b))
                .Set(zat::OneWay::kFirstFlag, 0)
                .Set(zat::OneWay::kSecondFlag, link.number == kOneWayLink ? kProhibited : 0)
                .Text();
  }
  return text;
}

std::string ZatShapes(const SampleOptions& options) {
  std::string text;
  for (const SampleLink& link : kLinks) {
    const std::vector<std::string> points = Course(link);
    text += Row(zat::kShapeHeads)
                .Set(zat::ShapeHead::kLink, Code(options, link.number))
                .Set(zat::ShapeHead::kPointCount, static_cast<int64_t>(points.size()))
                .Text();
    for (const std::string& point : points) text += point + "\r\n";
  }
  return text;
}

void AddZat(const SampleOptions& options, std::vector<SampleFile>* files) {
  if (options.mif) {
    files->push_back({"node.mif", MifHeader(zat::kNodes, zat::Node::kName, options) + MifPoints()});
    files->push_back({"node.mid", ZatNodes(options, true)});
  } else {
    files->push_back({"nodes.txt", ZatNodes(options, false)});
    files->push_back({"nodes.mid", ZatNodes(options, true)});
  }
  files->push_back({"nodename.txt", ZatNodeNames(options)});
  if (!options.mif) files->push_back({"nodexy.txt", ZatPlaces(options)});
  if (options.mif) {
    files->push_back({"link.mif", MifHeader(zat::kLinks, zat::Link::kName, options) + MifLines()});
    files->push_back({"link.mid", ZatLinks(options)});
  } else {
    files->push_back({"links.txt", ZatLinks(options)});
  }
  files->push_back({"linkspeed.txt", ZatSpeeds(options)});
  files->push_back({"linkname.txt", ZatLinkNames(options)});
  files->push_back({"nodetrf.txt", ZatTurns(options)});
  files->push_back({"linktrf.txt", ZatOneWays(options)});
  if (!options.mif) files->push_back({"linkshape.txt", ZatShapes(options)});
}

// -- The MSR layout
// --------------------------------------------------------------------------------

std::string MsrPoints() {
  std::string text;
  for (const SampleNode& node : kNodes) {
    Row row(msr::kPoints);
    row.Set(msr::Droten::kArea, kArea).Set(msr::Droten::kCode, node.number);
    row.Set(msr::Droten::kAttribute, 1).Set(msr::Droten::kName, node.name);
    int count = 0;
    for (const int link : node.links) {
      if (link != 0) row.Set(msr::Droten::kSections + count++, link);
    }
    row.Set(msr::Droten::kSectionCount, count).Set(msr::kPoints.Last(), 0);
    text += row.Text();
  }
  return text;
}

std::string MsrSections() {
  std::string text;
  for (const SampleLink& link : kLinks) {
    text += Row(msr::kSections)
                .Set(msr::Dkukan::kCode, link.number)
                .Set(msr::Dkukan::kKind, link.kind)
                .Set(msr::Dkukan::kArea, kArea)
                .Set(msr::Dkukan::kCity, kCity)
                .Set(msr::Dkukan::kLength, link.length)
                .Set(msr::Dkukan::kValue4, kPriority)
                .Set(msr::Dkukan::kValue5, link.lanes)
                .Set(msr::Dkukan::kNodeA, link.node_a)
                .Set(msr::Dkukan::kNodeB, link.node_b)
                .Set(msr::Dkukan::kValue6, link.width)
                .Set(msr::Dkukan::kSpeedA, link.speed)
                .Set(msr::Dkukan::kSpeedB, link.speed)
                .Set(msr::Dkukan::kFlag, 0)
                .Text();
  }
  return text;
}

void AddMsr(const SampleOptions& options, std::vector<SampleFile>* files) {
  files->push_back(
      {"droten.mif", MifHeader(msr::kPoints, msr::kPoints.Last(), options) + MifPoints()});
  files->push_back({"droten.mid", MsrPoints()});
  if (options.mif) {
    files->push_back(
        {"dkukan.mif", MifHeader(msr::kSections, msr::kSections.Last(), options) + MifLines()});
    files->push_back({"dkukan.mid", MsrSections()});
  } else {
    files->push_back({"dkukan.csv", MsrSections()});
  }
  std::string names;
  for (const SampleLink& link : kLinks) {
    names += Row(msr::kSectionNames)
                 .Set(msr::Kukanz::kArea, kArea)
                 .Set(msr::Kukanz::kCode, link.number)
                 .Set(msr::Kukanz::kNameNumber, 1)
                 .Set(msr::Kukanz::kName, link.name)
                 .Set(msr::Kukanz::kValue, 0)
                 .Text();
  }
  files->push_back({"kukanz.csv", names});
  std::string turns;
  for (const SampleTurn& turn : kTurnsWithLane) {
    turns += Row(msr::kConditions)
                 .Set(msr::Tukouj::kArea, kArea)
                 .Set(msr::Tukouj::kNode, turn.node)
                 .Set(msr::Tukouj::kInLink, turn.in_link)
                 .Set(msr::Tukouj::kOutLink, turn.out_link)
                 .Set(msr::Tukouj::kKind, kProhibited)
                 .Text();
  }
  files->push_back({"tukouj.csv", turns});
}

}  // namespace

std::vector<SampleFile> SampleSources(const SampleOptions& options) {
  std::vector<SampleFile> files = {{"roadkinds.txt", LinesOf(kKinds)},
                                   {"widths.txt", LinesOf(kWidths)}};
  if (options.msr) {
    AddMsr(options, &files);
  } else {
    AddZat(options, &files);
  }
  return files;
}

}  // namespace zatmap::init
