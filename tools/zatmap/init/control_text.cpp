// The control file of `zatmap init`: every section and key that the layout knows, from the tables
// that the readers and `zatmap check` have, with what they mean.
#include <algorithm>
#include <cstring>

#include "init/sample.h"
#include "input_msr/layouts.h"
#include "input_zat/layouts.h"
#include "interface/driver/control_keys.h"

namespace zatmap::init {
namespace {

using zatlib::ControlKey;
using zatlib::ControlSection;
using zatlib::FieldKind;
using zatlib::SectionOwner;
using zatlib::SourceColumn;
using zatlib::SourceTable;

// What a section or key (null: the section itself) means, in lines, and its value in every sample;
// a key whose value is null stands there as a comment. Values of FORMAT, CODELENGTH, MIF, MIFOUTPUT
// and FILE01 are the sample's own.
struct Meaning {
  const char* section;
  const char* key;
  const char* value;
  const char* text;
};
constexpr Meaning kMeanings[] = {
    {"SYSTEM", "FORMAT", "", "layout of the data: ZAT or MSR"},
    {"SYSTEM", "SILENTMODE", "1", "1: no progress, no message boxes. Any other value shows both."},
    {"SYSTEM", "CODELENGTH", "", "digits of a node or link code: 14 or 18"},
    {"SYSTEM", "BUILDMETHOD", nullptr,
     "M: in memory, F: through files; without it the build decides"},
    {"SYSTEM", "DEBUG", "0", "1: the work stores (*.~wk) stay after the build"},
    {"SYSTEM", "LOG", "0", "1: more lines in the log"},
    {"SYSTEM", "THREADS", "0", "threads to compute with, 1 to 16; 0: one for each processor"},
    {"FOLDER", "CALCMAPDIR", kOutputName, "output folder"},
    {"TUKOUJ", "NOTADDONEWAY", "0",
     "1: a connection stays open in cost and speed even when every turn into it is prohibited"},
    {"ATTRIBUTE", nullptr, "",
     "Road kinds: a line is a code, a comma and a label. Without the section: nine built-in ones."},
    {"WIDTH", nullptr, "", "Width classes: the same. Without the section: five built-in ones."},
    {"TOLLROAD", "NUMDEF", "2", "number of road kinds that are toll roads"},
    {"TOLLROAD", "DEF#", "01", "the kinds"},
    {"ROADFLAG", nullptr, "", "Which value of the road flag of a link stands for what."},
    {"ROADFLAG", "HIGHWAY", "1", ""},
    {"ROADFLAG", "PAYROAD", "2", ""},
    {"ROADFLAG", "FERRY", "3", ""},
    {"ROADFLAG", "RAILROAD", "4", ""},
    {"ROADFLAG", "PARKING", "5", ""},
    {"ROADFLAG", "AIR", nullptr, "older name of PARKING, read when that is empty"},
    {"ROADFLAG", "TOLLGATE", "6", ""},
    {"ROADFLAG", "PEDESTRIANWAY", "7", ""},
    {"ROADFLAG", "SHIP", nullptr, "older name of PEDESTRIANWAY, read when that is empty"},
    {"ROADFLAG", "RTWEIGHT_RIGHT", "45",
     "turns to the right of at least so many degrees are marked"},
    {"ROADFLAG", "RTWEIGHT_LEFT", "135", "the same for turns to the left"},
    {"ROADFLAG", "RTWEIGHT", "0", "handed on to linkdef.dat for programs that use the map"},
    {"ROADFLAG", "ICWEIGHT", "0", "the same"},
    {"DEFAULTSPEED", "SPEEDA", "30", "km/h from A to B of links whose speed A is 0"},
    {"DEFAULTSPEED", "SPEEDB", "30", "km/h from B to A of links whose speed B is 0"},
    {"NODE", nullptr, "",
     "Nodes. A node has to list its links: one that it does not list is not connected there.\n"
     "Names are read from the .mid beside the file, by the same columns."},
    {"NODE", "MIF", "",
     "1: the file is a MIF file. Coordinates come from its points, the columns from the .mid."},
    {"NODENAME", nullptr, "", "More names of nodes; the last one of a node counts."},
    {"NODEXY", nullptr, "", "Coordinates: degrees with at most 6 decimals. Only FILE01 is read."},
    {"LINK", nullptr, "",
     "Links. A speed of 0 takes the default speed, one below 0 closes the direction.\n"
     "A code of 0 means none."},
    {"LINK", "MIF", "",
     "1: the file is a MIF file. Shapes come from its lines, the columns from the .mid."},
    {"LINKSPEED", nullptr, "",
     "Speeds that replace those of the links. Name the nodes in the link's order."},
    {"LINKNAME", nullptr, "", "More names of links; the last one of a link counts."},
    {"NODETRF", nullptr, "", "Prohibited turns: rule kind 2."},
    {"LINKTRF", nullptr, "",
     "One-way links: a flag of 2 prohibits travel from that node into the link, 0 allows it."},
    {"LINKSHAPE", nullptr, "",
     "Shapes of links: a line with the code and the number of points, then a line for each point.\n"
     "The first and the last point are the coordinates of the link's nodes."},
    {"DROTEN", nullptr, "",
     "Road points: a MIF file with the coordinates; the columns stand in the .mid beside it.\n"
     "A code of the map is area x 10^12 + number, with CODELENGTH=18 area x 10^16 + number."},
    {"DKUKAN", nullptr, "",
     "Road sections. A speed of 0 takes the default speed, one below 0 closes the direction."},
    {"DKUKAN", "MIFOUTPUT", "",
     "1: the file is a MIF file with shapes, the columns stand in the .mid beside it"},
    {"KUKANZ", nullptr, "", "Names of sections."},
    {"TUKOUJ", nullptr, "",
     "Prohibited turns: rule kind 2. A one-way section is closed by every turn into its wrong "
     "end."},
};

const Meaning* Find(const char* section, const char* key) {
  for (const Meaning& meaning : kMeanings) {
    const bool same_key = key == nullptr ? meaning.key == nullptr
                                         : meaning.key != nullptr && !std::strcmp(meaning.key, key);
    if (same_key && std::strcmp(meaning.section, section) == 0) return &meaning;
  }
  return nullptr;
}

// "; text" for each line of a text.
std::string Comment(const std::string& text) {
  std::string lines;
  size_t begin = 0;
  while (begin < text.size()) {
    const size_t end = std::min(text.find('\n', begin), text.size());
    lines += "; " + text.substr(begin, end - begin) + "\r\n";
    begin = end + 1;
  }
  return lines;
}

// -- Columns
// ---------------------------------------------------------------------------------------

std::string RangeText(const SourceColumn& column) {
  const bool open = column.range.low == INT32_MIN && column.range.high != INT32_MAX;
  std::string text = open ? "up to " : std::to_string(column.range.low) + " to ";
  text += std::to_string(column.range.high);
  return *column.range.unit == 0 ? text : text + " " + column.range.unit;
}

std::string ValuesText(const SourceColumn& column) {
  switch (column.kind) {
    case FieldKind::kIgnored:
      return "not read";
    case FieldKind::kCode:
      return "code";
    case FieldKind::kAreaCode:
    case FieldKind::kPartnerCode:
    case FieldKind::kFullCode:
      return "number within the area";
    case FieldKind::kName:
      return "text, at most 20 bytes";
    case FieldKind::kCoordinate:
      return std::to_string(column.range.low / 1000000) + " to " +
             std::to_string(column.range.high / 1000000) + " degrees";
    default:
      return RangeText(column);
  }
}

// A comment line for each column: "   2        attribute: 0 to 65535".
std::string ColumnLines(const SourceTable& table) {
  std::string text;
  for (const SourceColumn& column : table.columns) {
    std::string number = std::to_string(column.number);
    if (column.count > 1) number += " to " + std::to_string(column.number + column.count - 1);
    number.resize(std::max<size_t>(number.size(), 7), ' ');
    text += "   " + number + "  " + column.name + ": " + ValuesText(column);
    text += column.presence == zatlib::Presence::kNeeded ? "\n" : "; may be missing\n";
  }
  return text;
}

std::string Columns(const SampleOptions& options, const char* section) {
  const auto add = [section](std::span<const SourceTable* const> tables) {
    std::string text;
    for (const SourceTable* table : tables) {
      if (std::strcmp(table->section, section) != 0) continue;
      text += text.empty() ? "Columns:\n" : "and of the lines that follow:\n";
      text += ColumnLines(*table);
    }
    return text;
  };
  return options.msr ? add(zatlib::msr::kTables) : add(zatlib::zat::kTables);
}

// -- Sections
// --------------------------------------------------------------------------------------

// The file of the sample that a section names, "" for none.
std::string FileOf(const SampleOptions& options, const std::string& section) {
  struct Entry {
    const char* section;
    const char* text;
    const char* mif;
  };
  static constexpr Entry kFiles[] = {
      {"ATTRIBUTE", "roadkinds.txt", "roadkinds.txt"},
      {"WIDTH", "widths.txt", "widths.txt"},
      {"NODE", "nodes.txt", "node.mif"},
      {"NODENAME", "nodename.txt", "nodename.txt"},
      {"NODEXY", "nodexy.txt", ""},
      {"LINK", "links.txt", "link.mif"},
      {"LINKSPEED", "linkspeed.txt", "linkspeed.txt"},
      {"LINKNAME", "linkname.txt", "linkname.txt"},
      {"NODETRF", "nodetrf.txt", "nodetrf.txt"},
      {"LINKTRF", "linktrf.txt", "linktrf.txt"},
      {"LINKSHAPE", "linkshape.txt", ""},
      {"DROTEN", "droten.mif", "droten.mif"},
      {"DKUKAN", "dkukan.csv", "dkukan.mif"},
      {"KUKANZ", "kukanz.csv", "kukanz.csv"},
      {"TUKOUJ", "tukouj.csv", "tukouj.csv"},
  };
  for (const Entry& entry : kFiles) {
    if (section == entry.section) return options.mif ? entry.mif : entry.text;
  }
  return "";
}

bool HasKey(const ControlSection& section, const char* name) {
  for (const ControlKey& key : section.keys) {
    if (std::strcmp(key.name, name) == 0) return true;
  }
  return false;
}

// True for a section that data of this form have.
bool Has(const SampleOptions& options, const ControlSection& section) {
  if (section.owner == (options.msr ? SectionOwner::kZat : SectionOwner::kMsr)) return false;
  const bool shared = section.owner == SectionOwner::kBoth && HasKey(section, "NOTADDONEWAY");
  return shared || !HasKey(section, "FILE#") || !FileOf(options, section.name).empty();
}

std::string Value(const SampleOptions& options, const char* section, const ControlKey& key,
                  const Meaning* meaning) {
  const std::string name = key.name;
  if (name == "FORMAT") return options.msr ? "MSR" : "ZAT";
  if (name == "CODELENGTH") return std::to_string(options.code_length);
  if (name == "MIF" || name == "MIFOUTPUT") return options.mif ? "1" : "0";
  if (name == "FILENUM") return "1";
  if (name == "FILE#") return FileOf(options, section);
  return meaning != nullptr && meaning->value != nullptr ? meaning->value : "";
}

std::string KeyLines(const SampleOptions& options, const ControlSection& section,
                     const ControlKey& key) {
  const Meaning* meaning = Find(section.name, key.name);
  std::string text = meaning != nullptr ? Comment(meaning->text) : "";
  std::string name = key.name;
  if (name.ends_with('#')) name.replace(name.size() - 1, 1, "01");
  const bool set = meaning == nullptr || meaning->value != nullptr;
  text += (set ? "" : ";") + name + "=" + Value(options, section.name, key, meaning) + "\r\n";
  if (name == "DEF01") text += "DEF02=02\r\n";
  return text;
}

// [TUKOUJ] of data in the ZAT layouts has no files.
bool IsOfOther(const SampleOptions& options, const ControlSection& section, const ControlKey& key) {
  return !options.msr && std::strcmp(section.name, "TUKOUJ") == 0 &&
         std::strcmp(key.name, "NOTADDONEWAY") != 0;
}

}  // namespace

std::string SampleControl(const SampleOptions& options) {
  std::string text = Comment(
      "Control file of a sample: five nodes, five links.\n"
      "Paths count from the current folder: run zatmap in this folder.\n"
      "A comment stands on a line of its own; behind a value it would become part of the value.\n"
      "Source files end their lines with CR LF. Columns count from 1.");
  for (const ControlSection& section : zatlib::kControlSections) {
    if (!Has(options, section)) continue;
    text += std::string("\r\n[") + section.name + "]\r\n";
    const bool has_files = options.msr || std::strcmp(section.name, "TUKOUJ") != 0;
    const Meaning* meaning = Find(section.name, nullptr);
    if (meaning != nullptr && has_files) text += Comment(meaning->text);
    text += Comment(Columns(options, section.name));
    for (const ControlKey& key : section.keys) {
      if (!IsOfOther(options, section, key)) text += KeyLines(options, section, key);
    }
  }
  return text;
}

}  // namespace zatmap::init
