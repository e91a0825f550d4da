#include "verify/checks.h"

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <set>

#include "network/road_attributes.h"
#include "platform/code_page.h"
#include "platform/profile.h"
#include "rtweight/right_turn_weight.h"
#include "shell/ini_text.h"
#include "shell/output.h"
#include "shell/terminal_progress.h"

namespace zatmap::verify {
namespace {

using zatlib::CalcNode;
using zatlib::CodeIndexRecord;
using zatlib::DrawingRecord;
using zatlib::FeatureCode;
using zatlib::kClosedCost;
using zatlib::kSlots;
using zatlib::LinkNameRecord;
using zatlib::LinkNodes;
using zatlib::NodeLinks;
using zatlib::NodeLocation;
using zatlib::NodeNameRecord;
using zatlib::ShapeIndexEntry;
using zatlib::ShapePoint;
using zatlib::SlotBytes;

// Kinds of findings.
constexpr char kMissing[] = "missing file";
constexpr char kSize[] = "size";
constexpr char kText[] = "text";
constexpr char kOrder[] = "order";
constexpr char kCodes[] = "codes";
constexpr char kReference[] = "reference";
constexpr char kPacking[] = "packing";
constexpr char kCost[] = "cost";
constexpr char kLength[] = "length";
constexpr char kOneWay[] = "one-way";
constexpr char kTurn[] = "turn table";
constexpr char kFlags[] = "flags";
constexpr char kAttribute[] = "attribute";
constexpr char kCity[] = "city";
constexpr char kCoordinate[] = "coordinate";
constexpr char kRoadKind[] = "road kind";
constexpr char kZeroBytes[] = "zero bytes";
constexpr char kName[] = "name";
constexpr char kShape[] = "shape";
constexpr char kWeight[] = "right-turn weight";
constexpr char kUnconnected[] = "unconnected";
constexpr char kDummy[] = "partner link";
constexpr char kStale[] = "left behind";

constexpr int32_t kMaxX = 180000000;
constexpr int32_t kMaxY = 90000000;
constexpr uint32_t kDummyCity = 99000;
constexpr uint16_t kDummyValue4 = 99;
constexpr double kMostOf = 0.99;  // share of a map's links that makes a property the map's own

// Files without which a folder is no map.
constexpr const char* kRequired[] = {
    zatlib::kNodeLocationFile,  zatlib::kCalcNodeFile,  zatlib::kTurnTableFile,
    zatlib::kDrawingFile,       zatlib::kNodeIndexFile, zatlib::kLinkIndexFile,
    zatlib::kNodeLinkFile,      zatlib::kLinkNodeFile,  zatlib::kNodeNameFile,
    zatlib::kNodeAttributeFile, zatlib::kLinkNameFile,  zatlib::kConnectionAttributeFile,
};

// Whether the interchange step has changed flags since the network was built.
enum class TollFlags { kUntouched, kSet, kUnknown };

// What the later checks need of each link.
struct LinkFacts {
  int32_t node_a = -1;
  int32_t node_b = -1;
  uint16_t speed_a = 0;
  uint16_t speed_b = 0;
  uint16_t length = 0;
  int16_t kind = 0;
  uint8_t flags = 0;
  uint8_t listed = 0;  // bit 0: node A lists it, bit 1: node B
  uint32_t city = 0;
};

// A closed connection whose cost and speed do not say so.
struct OpenConnection {
  int64_t node;
  int slot;
};

uint16_t CostOf(uint16_t length, uint16_t speed, bool from_a) {
  if (length == 0) return 0;
  if (speed == 0) return kClosedCost;
  if (speed > (from_a ? 10000 : 9998)) return 0;
  const double cost = length * 360.0 / speed + 0.5;
  return cost >= 65535.0 ? kClosedCost : static_cast<uint16_t>(cost);
}

bool IsWholeCode(FeatureCode code, int code_length) {
  if (code_length != zatlib::kDecimalCode) {
    return code.AsInteger() > 0 && code.AsInteger() < 1000000000000000000;
  }
  const double value = code.AsDouble();
  return value > 0 && value < 1e14 && value == std::floor(value);
}

class Verifier {
 public:
  Verifier(const MapFolder& map, MapFindings* findings, VerifyTotals* totals)
      : map_(map), findings_(*findings), totals_(*totals) {}

  void Run() {
    CheckFiles();
    CheckRoadDefinition();
    CheckShapeInformation();
    LookAtFares();
    if (!LoadLinks()) return;
    CheckLinkIndex();
    CheckLinkTables();
    CheckNodeIndex();
    CheckNodeTables();
    JudgeOneWays();
    CheckFareLinks();
    CheckConnections();
    position_.clear();
    position_.shrink_to_fit();
    node_index_.Free();
    CheckShapes();
  }

 private:
  // -- Findings ------------------------------------------------------------------------------

  void Report(Severity severity, const char* kind, const Place& place, const char* format,
              va_list arguments) ZATLIB_PRINTF(5, 0) {
    if (!findings_.Counts(severity, kind)) return;
    char text[512];
    zatlib::FRD_FormatV(text, sizeof text, format, arguments);
    findings_.Keep(place, severity, kind, CleanText(text, Unclean::kQuestionMark));
  }
  void Error(const char* kind, const Place& place, const char* format, ...) ZATLIB_PRINTF(4, 5) {
    va_list arguments;
    va_start(arguments, format);
    Report(Severity::kError, kind, place, format, arguments);
    va_end(arguments);
  }
  void Warn(const char* kind, const Place& place, const char* format, ...) ZATLIB_PRINTF(4, 5) {
    va_list arguments;
    va_start(arguments, format);
    Report(Severity::kWarning, kind, place, format, arguments);
    va_end(arguments);
  }

  // A field of a record.
  template <typename Record>
  static Place At(const char* file, int64_t record, size_t offset) {
    return {file, record,
            record * static_cast<int64_t>(sizeof(Record)) + static_cast<int64_t>(offset)};
  }
  std::string Code(FeatureCode code) const { return CodeDigits(code, map_.code_length); }

  // -- Files ---------------------------------------------------------------------------------

  void CheckFiles() {
    for (const char* name : kRequired) {
      if (!Exists(map_, name)) Error(kMissing, {name}, "the file is missing; build the map again");
    }
    if (!Exists(map_, zatlib::kRoadDefinitionFile)) {
      Error(kMissing, {zatlib::kRoadDefinitionFile}, "the file is missing; build the map again");
    }
    for (const FileLayout& layout : FileLayouts()) {
      if (!Exists(map_, layout.name)) continue;
      const auto size = static_cast<int64_t>(zatlib::FileSize(PathOf(map_, layout.name).c_str()));
      const int64_t count = size / layout.record_size;
      const int64_t rest = size % layout.record_size;
      const bool of_map = layout.rows != Rows::kStore;
      if (rest != 0) {
        if (of_map) {
          Error(kSize, {layout.name, count, size - rest},
                "%" PRId64 " bytes of a record of %u stand at the end", rest, layout.record_size);
        } else {
          Warn(kSize, {layout.name, count, size - rest},
               "%" PRId64 " bytes of a record of %u stand at the end", rest, layout.record_size);
        }
      }
      const bool nodes = layout.rows == Rows::kNode || layout.rows == Rows::kNodeIndex;
      const bool links = layout.rows == Rows::kLink || layout.rows == Rows::kLinkIndex;
      const int64_t wanted = nodes ? map_.nodes : links ? map_.links : count;
      if (count != wanted) {
        Error(kSize, {layout.name, count, count * layout.record_size},
              "%" PRId64 " records; %s has %" PRId64 ", and both hold one for each %s", count,
              nodes ? zatlib::kCalcNodeFile : zatlib::kLinkNodeFile, wanted,
              nodes ? "node" : "link");
      }
    }
    const bool shapes[] = {Exists(map_, zatlib::kShapeDataFile),
                           Exists(map_, zatlib::kShapeIndexFile),
                           Exists(map_, zatlib::kShapeInfoFile)};
    const int present = shapes[0] + shapes[1] + shapes[2];
    const bool weights = Exists(map_, zatlib::kRightTurnWeightFile);
    has_shapes_ = present == 3;
    if (present != 0 && present != 3) {
      const char* const names[] = {zatlib::kShapeDataFile, zatlib::kShapeIndexFile,
                                   zatlib::kShapeInfoFile};
      for (int i = 0; i < 3; ++i) {
        if (!shapes[i]) {
          Error(kMissing, {names[i]},
                "the file is missing, though other shape files are there; build the map again");
        }
      }
    }
    if (has_shapes_ && !weights) {
      Error(kMissing, {zatlib::kRightTurnWeightFile},
            "the file is missing, though the map has shapes; build the map again");
    }
    if (present == 0 && weights) {
      Warn(kStale, {zatlib::kRightTurnWeightFile},
           "the map has no shapes: the file is of an earlier build, or the shape files are lost");
    }
  }

  // -- Texts ---------------------------------------------------------------------------------

  static bool IsNumber(const std::string& text) {
    const size_t start = !text.empty() && text[0] == '-' ? 1 : 0;
    return text.size() > start && text.find_first_not_of("0123456789", start) == std::string::npos;
  }

  // Numbered entries DEF01, DEF02, ... and their count.
  void CheckEntries(const std::string& section, const std::map<std::string, const IniLine*>& keys) {
    const auto count = keys.find("NUMDEF");
    if (count == keys.end()) {
      Error(kText, {zatlib::kRoadDefinitionFile}, "[%s] has no NUMDEF", section.c_str());
      return;
    }
    const Place place{zatlib::kRoadDefinitionFile, count->second->number, count->second->offset};
    if (!IsNumber(count->second->value)) {
      Error(kText, place, "[%s] NUMDEF is no number", section.c_str());
      return;
    }
    const long long wanted = std::atoll(count->second->value.c_str());
    if (wanted != static_cast<long long>(keys.size()) - 1) {
      Error(kText, place, "[%s] NUMDEF is %lld, but there are %zu entries", section.c_str(), wanted,
            keys.size() - 1);
      return;
    }
    for (long long i = 1; i <= wanted; ++i) {
      char key[32];
      std::snprintf(key, sizeof key, "DEF%02lld", i);
      if (keys.find(key) == keys.end()) {
        Error(kText, place, "[%s] has no %s", section.c_str(), key);
      }
    }
  }

  void CheckRoadDefinition() {
    constexpr const char* kSections[] = {"ATTRIBUTE", "WIDTH", "TOLLROAD", "ROADFLAG", "SYSTEM"};
    constexpr const char* kFlagKeys[] = {"HIGHWAY",  "PAYROAD",        "FERRY",        "RAILROAD",
                                         "AIR",      "TOLLGATE",       "SHIP",         "ICWEIGHT",
                                         "RTWEIGHT", "RTWEIGHT_RIGHT", "RTWEIGHT_LEFT"};
    const char* const file = zatlib::kRoadDefinitionFile;
    if (!Exists(map_, file)) return;
    const std::vector<IniLine> lines = ReadIni(PathOf(map_, file));
    std::map<std::string, std::map<std::string, const IniLine*>> sections;
    std::string section;
    for (const IniLine& line : lines) {
      const Place place{file, line.number, line.offset};
      if (line.kind == IniLine::kSection) {
        section = line.key;
        if (!sections.insert({section, {}}).second) {
          Error(kText, place, "the section [%s] stands here again", section.c_str());
        }
        const bool known =
            section == "INFORMATION" ||
            std::find(std::begin(kSections), std::end(kSections), section) != std::end(kSections);
        if (!known) Error(kText, place, "no build writes a section [%s]", section.c_str());
      } else if (line.kind == IniLine::kKey) {
        if (!sections[section].insert({line.key, &line}).second) {
          Error(kText, place, "the key %s stands here again", line.key.c_str());
        }
      } else if (line.kind == IniLine::kOther ||
                 (line.kind == IniLine::kComment &&
                  (line.number == 1 ? line.key != "; Road Definition File for ZATLIB40"
                                    : line.key.rfind("; Created ", 0) != 0))) {
        Error(kText, place, "no build writes this line");
      }
    }
    for (const char* name : kSections) {
      if (sections.find(name) == sections.end()) {
        Error(kText, {file}, "the section [%s] is missing", name);
      }
    }
    for (const char* name : {"ATTRIBUTE", "WIDTH", "TOLLROAD"}) {
      if (sections.find(name) != sections.end()) CheckEntries(name, sections[name]);
    }
    for (const auto& [name, line] : sections["ROADFLAG"]) {
      const bool known =
          name == "PARKING" || name == "PEDESTRIANWAY" ||
          std::find(std::begin(kFlagKeys), std::end(kFlagKeys), name) != std::end(kFlagKeys);
      const Place place{file, line->number, line->offset};
      if (!known) Error(kText, place, "no build writes a key %s here", name.c_str());
      if (!line->value.empty() && !IsNumber(line->value)) {
        Warn(kText, place, "%s is no whole number", name.c_str());
      }
    }
    for (const char* name : kFlagKeys) {
      if (sections["ROADFLAG"].find(name) == sections["ROADFLAG"].end()) {
        Error(kText, {file}, "[ROADFLAG] has no %s", name);
      }
    }
    for (const auto& [name, line] : sections["INFORMATION"]) {
      if (name != "Charset" && name != "CoordSys") {
        Error(kText, {file, line->number, line->offset}, "no build writes a key %s here",
              name.c_str());
      }
    }
    const auto length = sections["SYSTEM"].find("CODELENGTH");
    if (length == sections["SYSTEM"].end()) {
      Error(kText, {file}, "[SYSTEM] has no CODELENGTH");
    } else if (length->second->value != "14" && length->second->value != "18") {
      Error(kText, {file, length->second->number, length->second->offset},
            "CODELENGTH is neither 14 nor 18");
    }
    if (sections["SYSTEM"].size() > 1) {
      Error(kText, {file}, "[SYSTEM] has keys that no build writes");
    }
  }

  void CheckShapeInformation() {
    constexpr const char* kKeys[] = {"Charset",  "CoordSys",     "NumRec",
                                     "NumShape", "MaxShapeLink", "MaxNumShape"};
    const char* const file = zatlib::kShapeInfoFile;
    if (!Exists(map_, file)) return;
    bool in_section = false;
    for (const IniLine& line : ReadIni(PathOf(map_, file))) {
      const Place place{file, line.number, line.offset};
      if (line.kind == IniLine::kSection) {
        in_section = line.key == "INFORMATION";
        if (!in_section) Error(kText, place, "no build writes this section");
      } else if (line.kind == IniLine::kOther || (line.kind == IniLine::kKey && !in_section)) {
        Error(kText, place, "no build writes this line");
      } else if (line.kind == IniLine::kKey) {
        if (std::find(std::begin(kKeys), std::end(kKeys), line.key) == std::end(kKeys)) {
          Error(kText, place, "no build writes a key %s", line.key.c_str());
        }
        if ((line.key == "Charset" || line.key == "CoordSys") &&
            line.value.rfind(line.key, 0) != 0) {
          Warn(kText, place, "the value does not begin with the word %s", line.key.c_str());
        }
      }
    }
  }

  std::string ShapeInformation(const char* key) {
    char value[64];
    zatlib::platform::ReadProfileString("INFORMATION", key, "", value, sizeof value,
                                        PathOf(map_, zatlib::kShapeInfoFile).c_str());
    return value;
  }

  void CompareInformation(const char* key, const std::string& wanted) {
    const std::string value = ShapeInformation(key);
    if (value == wanted) return;
    Error(kText, {zatlib::kShapeInfoFile}, "%s is \"%s\", but %s has %s", key, value.c_str(),
          zatlib::kShapeIndexFile, wanted.c_str());
  }

  // -- Links ---------------------------------------------------------------------------------

  void LookAtFares() {
    char result[16];
    zatlib::platform::ReadProfileString("SYSTEM", "ICFLAG", "", result, sizeof result,
                                        PathOf(map_, zatlib::kFareStatusFile).c_str());
    if (result[0] == 0) {
      tolls_ = TollFlags::kUntouched;
    } else if (std::strcmp(result, "OK") == 0 && zatlib::TR_CheckFareData(map_.path.c_str()) != 0) {
      tolls_ = TollFlags::kSet;
    } else {
      tolls_ = TollFlags::kUnknown;
    }
  }

  bool LoadLinks() {
    zatlib::BRN_LoadRoadDef(&definition_, RoadDefinitionPath(map_.path).c_str());
    if (!locations_.Load(map_, zatlib::kNodeLocationFile)) {
      Error(kMissing, {zatlib::kNodeLocationFile}, "the file cannot be read");
      return false;
    }
    try {
      links_.resize(static_cast<size_t>(map_.links));
      codes_.resize(static_cast<size_t>(map_.links));
      position_.assign(static_cast<size_t>(map_.nodes), -1);
    } catch (const std::bad_alloc&) {
      Error(kSize, {zatlib::kLinkNodeFile}, "there is no memory to verify so many links");
      return false;
    }
    return true;
  }

  void CheckLinkIndex() {
    RecordStream<DrawingRecord> drawings;
    DrawingRecord drawing;
    drawings.Open(map_, zatlib::kDrawingFile);
    for (int64_t l = 0; l < map_.links && drawings.Next(&drawing); ++l) {
      codes_[static_cast<size_t>(l)] = drawing.LinkCode;
    }
    std::vector<bool> seen(static_cast<size_t>(map_.links));
    RecordStream<CodeIndexRecord> index;
    CodeIndexRecord record;
    FeatureCode previous;
    const char* const file = zatlib::kLinkIndexFile;
    if (!index.Open(map_, file)) return;
    for (int64_t i = 0; index.Next(&record); ++i) {
      CheckIndexCode(file, i, record.Code, previous);
      previous = record.Code;
      const Place place = At<CodeIndexRecord>(file, i, offsetof(CodeIndexRecord, Number));
      if (record.Number < 0 || record.Number >= map_.links) {
        Error(kReference, place, "link number %d, but there are %" PRId64 " links", record.Number,
              map_.links);
        continue;
      }
      const auto number = static_cast<size_t>(record.Number);
      if (seen[number]) {
        Error(kReference, place, "link number %d stands in the index twice", record.Number);
      }
      seen[number] = true;
      if (codes_[number].bits != record.Code.bits) {
        Error(kCodes, At<CodeIndexRecord>(file, i, 0),
              "code %s leads to link %d, whose code in %s is %s", Code(record.Code).c_str(),
              record.Number, zatlib::kDrawingFile, Code(codes_[number]).c_str());
      }
      links_[number].city = record.CityCode;
    }
    for (size_t l = 0; l < seen.size(); ++l) {
      if (!seen[l]) {
        Error(kReference, At<DrawingRecord>(zatlib::kDrawingFile, static_cast<int64_t>(l), 0),
              "link %zu (code %s) is not in %s", l, Code(codes_[l]).c_str(), file);
      }
    }
  }

  void CheckIndexCode(const char* file, int64_t i, FeatureCode code, FeatureCode previous) {
    const Place place = At<CodeIndexRecord>(file, i, 0);
    if (std::isnan(code.AsDouble()) || std::isinf(code.AsDouble())) {
      Error(kCodes, place, "the 8 bytes are no code");
    } else if (!IsWholeCode(code, map_.code_length)) {
      Warn(kCodes, place, "code %s is no whole number of up to %d digits", Code(code).c_str(),
           map_.code_length);
    }
    if (i > 0 && !(previous < code)) {
      Error(kOrder, place, "code %s is not greater than the one before it, %s", Code(code).c_str(),
            Code(previous).c_str());
    }
  }

  void CheckLinkTables() {
    TerminalProgress progress("verify: links");
    RecordStream<LinkNodes> nodes;
    RecordStream<DrawingRecord> drawings;
    RecordStream<LinkNameRecord> names;
    nodes.Open(map_, zatlib::kLinkNodeFile);
    drawings.Open(map_, zatlib::kDrawingFile);
    names.Open(map_, zatlib::kLinkNameFile);
    LinkNodes ends;
    DrawingRecord drawing;
    LinkNameRecord name;
    for (int64_t l = 0; l < map_.links && nodes.Next(&ends); ++l) {
      progress.At(l, map_.links);
      const bool has_drawing = drawings.Next(&drawing);
      const bool has_name = names.Next(&name);
      LinkFacts& link = links_[static_cast<size_t>(l)];
      link.node_a = CheckEnd(l, ends.NodeA, offsetof(LinkNodes, NodeA), "A");
      link.node_b = CheckEnd(l, ends.NodeB, offsetof(LinkNodes, NodeB), "B");
      link.speed_a = ends.SpeedA;
      link.speed_b = ends.SpeedB;
      link.length = ends.Value3;
      link.kind = has_name ? name.RoadKind : drawing.RoadKind;
      link.flags = name.Flags;
      if (ends.reserved != 0) {
        Error(kZeroBytes, At<LinkNodes>(zatlib::kLinkNodeFile, l, offsetof(LinkNodes, reserved)),
              "bytes that are always zero are not");
      }
      if (has_drawing) CheckDrawing(l, drawing, link);
      if (has_name) CheckLinkName(l, name);
      if (has_name && has_drawing && drawing.RoadKind != name.RoadKind) {
        Error(kRoadKind,
              At<DrawingRecord>(zatlib::kDrawingFile, l, offsetof(DrawingRecord, RoadKind)),
              "road kind %d, but %s says %d", drawing.RoadKind, zatlib::kLinkNameFile,
              name.RoadKind);
      }
      if (has_drawing) CheckDummy(l, drawing, link);
    }
  }

  int32_t CheckEnd(int64_t link, int32_t node, size_t offset, const char* end) {
    if (node >= 0 && node < map_.nodes) return node;
    Error(kReference, At<LinkNodes>(zatlib::kLinkNodeFile, link, offset),
          "node %s is number %d, but there are %" PRId64 " nodes", end, node, map_.nodes);
    return -1;
  }

  void CheckDrawing(int64_t l, const DrawingRecord& drawing, const LinkFacts& link) {
    const char* const file = zatlib::kDrawingFile;
    if (drawing.Link != l) {
      Error(kReference, At<DrawingRecord>(file, l, offsetof(DrawingRecord, Link)),
            "link number %d in the record of link %" PRId64, drawing.Link, l);
    }
    CheckDrawnEnd(l, link.node_a, drawing.XA, drawing.YA, offsetof(DrawingRecord, XA),
                  offsetof(DrawingRecord, YA), "A");
    CheckDrawnEnd(l, link.node_b, drawing.XB, drawing.YB, offsetof(DrawingRecord, XB),
                  offsetof(DrawingRecord, YB), "B");
  }

  void CheckDrawnEnd(int64_t l, int32_t node, int32_t x, int32_t y, size_t x_at, size_t y_at,
                     const char* end) {
    if (node < 0 || node >= locations_.size()) return;
    const NodeLocation& location = locations_[node];
    const char* const file = zatlib::kDrawingFile;
    if (location.X != x) {
      Error(kCoordinate, At<DrawingRecord>(file, l, x_at),
            "X of node %s is %s, but %s has %s for node %d", end, Degrees(x).c_str(),
            zatlib::kNodeLocationFile, Degrees(location.X).c_str(), node);
    }
    if (location.Y != y) {
      Error(kCoordinate, At<DrawingRecord>(file, l, y_at),
            "Y of node %s is %s, but %s has %s for node %d", end, Degrees(y).c_str(),
            zatlib::kNodeLocationFile, Degrees(location.Y).c_str(), node);
    }
  }

  void CheckLinkName(int64_t l, const LinkNameRecord& name) {
    const char* const file = zatlib::kLinkNameFile;
    CheckName(At<LinkNameRecord>(file, l, 0), name.Name);
    if (name.reserved != 0) {
      Error(kZeroBytes, At<LinkNameRecord>(file, l, offsetof(LinkNameRecord, reserved)),
            "bytes that are always zero are not");
    }
    if (name.Name[0] == 0 && (name.NameNumber != 0 || name.NameValue != 0)) {
      Error(kName, At<LinkNameRecord>(file, l, offsetof(LinkNameRecord, NameNumber)),
            "number %d and value %d of a name, but no name", name.NameNumber, name.NameValue);
    }
    if (!FlagsArePossible(name)) {
      Error(kFlags, At<LinkNameRecord>(file, l, offsetof(LinkNameRecord, Flags)),
            "no road flag of linkdef.dat gives a link of road kind %d the flags 0x%02x",
            name.RoadKind, name.Flags);
    }
  }

  // True when some road flag together with the road kind gives these flags.
  bool FlagsArePossible(const LinkNameRecord& name) const {
    const int32_t values[] = {0,
                              definition_.highway,
                              definition_.pay_road,
                              definition_.ferry,
                              definition_.railroad,
                              definition_.parking_or_air,
                              definition_.toll_gate,
                              definition_.pedestrian_or_ship};
    // The interchange step has set and cleared this one as the fare data say.
    const int mask = tolls_ == TollFlags::kUntouched ? 0xff : 0xff & ~zatlib::kFlagTollGate;
    for (const int32_t value : values) {
      if (value < 0 || value > INT16_MAX) continue;
      LinkNameRecord record = name;
      zatlib::BRN_SetLinkFlags(static_cast<int16_t>(value), definition_, &record);
      if ((record.Flags & mask) == (name.Flags & mask)) return true;
    }
    return false;
  }

  // A link that is made between two partner nodes. A source may hold a link with a code of that
  // range; nothing is said about it unless it looks like one of them.
  void CheckDummy(int64_t l, const DrawingRecord& drawing, const LinkFacts& link) {
    const FeatureCode first = zatlib::DummyLinkCode(1, map_.code_length);
    if (drawing.LinkCode < first || drawing.RoadKind != zatlib::kDummyRoadKind) return;
    if (drawing.Value4 != kDummyValue4 && link.city != kDummyCity) return;
    if (drawing.Value4 != kDummyValue4) {
      Error(kDummy, At<DrawingRecord>(zatlib::kDrawingFile, l, offsetof(DrawingRecord, Value4)),
            "link value 4 of a link between partner nodes is %d, not 99", drawing.Value4);
    }
    if (link.city != kDummyCity) {
      Error(kDummy, At<DrawingRecord>(zatlib::kDrawingFile, l, 0),
            "the city code of this link between partner nodes is %u in link.idx, not 99000",
            link.city);
    }
    if (link.length != 0 || link.speed_a != 0 || link.speed_b != 0) {
      Error(kDummy, At<LinkNodes>(zatlib::kLinkNodeFile, l, offsetof(LinkNodes, SpeedA)),
            "a link between partner nodes with speeds or a length");
    }
  }

  // A name of 20 bytes: behind its end zeros only, and text of the code page before.
  void CheckName(const Place& place, const char* name) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(name);
    size_t length = 0;
    while (length < zatlib::kNameSize && bytes[length] != 0) ++length;
    for (size_t i = length; i < zatlib::kNameSize; ++i) {
      if (bytes[i] == 0) continue;
      Error(kName, {place.file, place.record, place.offset + static_cast<int64_t>(i)},
            "a byte behind the end of the name is not zero");
      break;
    }
    const bool japanese = code_page_ == 932;
    for (size_t i = 0; i < length; ++i) {
      const unsigned char byte = bytes[i];
      const Place here{place.file, place.record, place.offset + static_cast<int64_t>(i)};
      if (byte < 0x20 || byte == 0x7f) {
        Warn(kName, here, "a control character in a name");
        return;
      }
      if (!japanese || byte < 0x80 || (byte >= 0xa1 && byte <= 0xdf)) continue;
      const unsigned char next = i + 1 < length ? bytes[i + 1] : 0;
      const bool lead = (byte >= 0x81 && byte <= 0x9f) || (byte >= 0xe0 && byte <= 0xfc);
      if (!lead || next < 0x40 || next == 0x7f || next > 0xfc) {
        Warn(kName, here, "a name that is no text of code page 932");
        return;
      }
      ++i;
    }
  }

  // -- Nodes ---------------------------------------------------------------------------------

  void CheckNodeIndex() {
    const char* const file = zatlib::kNodeIndexFile;
    if (!node_index_.Load(map_, file)) return;
    FeatureCode previous;
    for (int64_t i = 0; i < node_index_.size(); ++i) {
      const CodeIndexRecord& record = node_index_[i];
      CheckIndexCode(file, i, record.Code, previous);
      previous = record.Code;
      const Place place = At<CodeIndexRecord>(file, i, offsetof(CodeIndexRecord, Number));
      if (record.Number < 0 || record.Number >= map_.nodes) {
        Error(kReference, place, "node number %d, but there are %" PRId64 " nodes", record.Number,
              map_.nodes);
        continue;
      }
      int32_t& position = position_[static_cast<size_t>(record.Number)];
      if (position >= 0) {
        Error(kReference, place, "node number %d stands in the index twice", record.Number);
      }
      position = static_cast<int32_t>(i);
      if (record.Number < locations_.size() &&
          locations_[record.Number].NodeCode.bits != record.Code.bits) {
        Error(kCodes, At<CodeIndexRecord>(file, i, 0),
              "code %s leads to node %d, whose code in %s is %s", Code(record.Code).c_str(),
              record.Number, zatlib::kNodeLocationFile,
              Code(locations_[record.Number].NodeCode).c_str());
      }
    }
    for (int64_t n = 0; n < std::min(map_.nodes, locations_.size()); ++n) {
      if (position_[static_cast<size_t>(n)] < 0) {
        Error(kReference, At<NodeLocation>(zatlib::kNodeLocationFile, n, 0),
              "node %" PRId64 " (code %s) is not in %s", n, Code(locations_[n].NodeCode).c_str(),
              file);
      }
    }
  }

  void CheckNodeTables() {
    TerminalProgress progress("verify: nodes");
    RecordStream<CalcNode> nodes;
    RecordStream<NodeLinks> node_links;
    RecordStream<SlotBytes> turns;
    RecordStream<SlotBytes> attributes;
    RecordStream<NodeNameRecord> names;
    RecordStream<uint8_t> node_attributes;
    nodes.Open(map_, zatlib::kCalcNodeFile);
    node_links.Open(map_, zatlib::kNodeLinkFile);
    turns.Open(map_, zatlib::kTurnTableFile);
    attributes.Open(map_, zatlib::kConnectionAttributeFile);
    names.Open(map_, zatlib::kNodeNameFile);
    node_attributes.Open(map_, zatlib::kNodeAttributeFile);
    CalcNode node;
    NodeLinks links;
    SlotBytes turn;
    SlotBytes attribute;
    NodeNameRecord name;
    uint8_t node_attribute = 0;
    for (int64_t n = 0; n < map_.nodes && nodes.Next(&node); ++n) {
      progress.At(n, map_.nodes);
      const bool has_links = node_links.Next(&links);
      const bool has_turns = turns.Next(&turn);
      const bool has_attributes = attributes.Next(&attribute);
      const bool has_name = names.Next(&name);
      const bool has_node_attribute = node_attributes.Next(&node_attribute);
      if (n < locations_.size()) CheckLocation(n);
      const int used = CheckPacking(n, node, has_links ? &links : nullptr);
      if (has_turns) CheckTurnBits(n, zatlib::kTurnTableFile, kTurn, used, turn);
      if (has_links) {
        for (int s = 0; s < used; ++s) CheckSlot(n, s, used, node, links, turn, has_turns);
        CheckCity(n, links);
      }
      if (has_links && has_attributes) CheckAttributes(n, links, attribute);
      if (has_name) CheckNodeName(n, name);
      if (has_name && has_node_attribute && name.Attribute != node_attribute) {
        Error(kAttribute,
              At<NodeNameRecord>(zatlib::kNodeNameFile, n, offsetof(NodeNameRecord, Attribute)),
              "attribute 0x%02x, but %s says 0x%02x", name.Attribute, zatlib::kNodeAttributeFile,
              node_attribute);
      }
      if (has_links && has_node_attribute) CheckNodeAttribute(n, links, node_attribute);
    }
  }

  void CheckLocation(int64_t n) {
    const NodeLocation& location = locations_[n];
    if (std::abs(int64_t{location.X}) > kMaxX) {
      Warn(kCoordinate, At<NodeLocation>(zatlib::kNodeLocationFile, n, offsetof(NodeLocation, X)),
           "X %s is no longitude", Degrees(location.X).c_str());
    }
    if (std::abs(int64_t{location.Y}) > kMaxY) {
      Warn(kCoordinate, At<NodeLocation>(zatlib::kNodeLocationFile, n, offsetof(NodeLocation, Y)),
           "Y %s is no latitude", Degrees(location.Y).c_str());
    }
  }

  // Used slots come first, empty ones hold nothing. Returns the number of used ones.
  int CheckPacking(int64_t n, const CalcNode& node, const NodeLinks* links) {
    const char* const file = zatlib::kCalcNodeFile;
    int used = 0;
    while (used < kSlots && node.OtherNode[used] >= 0) ++used;
    for (int s = 0; s < kSlots; ++s) {
      const auto slot = static_cast<size_t>(s);
      if (s >= used && node.OtherNode[s] != -1) {
        Error(kPacking, At<CalcNode>(file, n, slot * 4),
              node.OtherNode[s] < 0 ? "slot %d holds %d, which is neither a node nor -1"
                                    : "slot %d is used (node %d) behind an empty one",
              s, node.OtherNode[s]);
      }
      if (s >= used && node.OtherNode[s] == -1 && node.Cost[s] != 0) {
        Error(kPacking, At<CalcNode>(file, n, offsetof(CalcNode, Cost) + slot * 2),
              "slot %d is empty, but has cost %d", s, node.Cost[s]);
      }
      if (s >= used && node.OtherNode[s] == -1 && node.Length[s] != 0) {
        Error(kPacking, At<CalcNode>(file, n, offsetof(CalcNode, Length) + slot * 2),
              "slot %d is empty, but has length %d", s, node.Length[s]);
      }
      if (links != nullptr && (links->Link[s] >= 0) != (node.OtherNode[s] >= 0)) {
        Error(kPacking, At<NodeLinks>(zatlib::kNodeLinkFile, n, slot * 4),
              "slot %d holds link %d, but in %s node %d", s, links->Link[s], file,
              node.OtherNode[s]);
      } else if (links != nullptr && links->Link[s] < -1) {
        Error(kPacking, At<NodeLinks>(zatlib::kNodeLinkFile, n, slot * 4),
              "slot %d holds %d, which is neither a link nor -1", s, links->Link[s]);
      }
    }
    return used;
  }

  // Bits stand for turns from a used slot into a used slot.
  void CheckTurnBits(int64_t n, const char* file, const char* kind, int used,
                     const SlotBytes& turn) {
    const int possible = 0xff & ~(0xff >> used);
    for (int s = 0; s < kSlots; ++s) {
      const int allowed = s < used ? possible : 0;
      if ((turn.Slot[s] & ~allowed) != 0) {
        Error(kind, At<SlotBytes>(file, n, static_cast<size_t>(s)),
              "bits 0x%02x for turns from slot %d, but the node has %d used slots",
              turn.Slot[s] & ~allowed, s, used);
      }
    }
  }

  void CheckSlot(int64_t n, int s, int used, const CalcNode& node, const NodeLinks& links,
                 const SlotBytes& turn, bool has_turns) {
    const char* const file = zatlib::kCalcNodeFile;
    const auto slot = static_cast<size_t>(s);
    const int32_t number = links.Link[s];
    if (node.OtherNode[s] >= map_.nodes) {
      Error(kReference, At<CalcNode>(file, n, slot * 4),
            "slot %d leads to node %d, but there are %" PRId64 " nodes", s, node.OtherNode[s],
            map_.nodes);
    }
    if (number < 0) return;
    if (number >= map_.links) {
      Error(kReference, At<NodeLinks>(zatlib::kNodeLinkFile, n, slot * 4),
            "slot %d holds link %d, but there are %" PRId64 " links", s, number, map_.links);
      return;
    }
    LinkFacts& link = links_[static_cast<size_t>(number)];
    const bool from_a = link.node_a == n;
    if (!from_a && link.node_b != n) {
      Error(kReference, At<NodeLinks>(zatlib::kNodeLinkFile, n, slot * 4),
            "slot %d holds link %d, which joins the nodes %d and %d", s, number, link.node_a,
            link.node_b);
      return;
    }
    link.listed =
        static_cast<uint8_t>(link.listed | (from_a ? 1 : 2) | (link.node_a == link.node_b ? 3 : 0));
    const int32_t other = from_a ? link.node_b : link.node_a;
    if (node.OtherNode[s] != other) {
      Error(kReference, At<CalcNode>(file, n, slot * 4),
            "slot %d leads to node %d, but its link %d ends at node %d", s, node.OtherNode[s],
            number, other);
    }
    if (node.Length[s] != link.length) {
      Error(kLength, At<CalcNode>(file, n, offsetof(CalcNode, Length) + slot * 2),
            "slot %d has length %d, but its link %d has %d in %s", s, node.Length[s], number,
            link.length, zatlib::kLinkNodeFile);
    }
    CheckCost(n, s, used, node, links, link, from_a, turn, has_turns);
  }

  static bool IsClosed(int s, int used, const SlotBytes& turn) {
    for (int k = 0; k < used; ++k) {
      if ((turn.Slot[k] & (0x80 >> s)) == 0) return false;
    }
    return used > 0;
  }

  void CheckCost(int64_t n, int s, int used, const CalcNode& node, const NodeLinks& links,
                 const LinkFacts& link, bool from_a, const SlotBytes& turn, bool has_turns) {
    const uint16_t speed = from_a ? link.speed_a : link.speed_b;
    const uint16_t wanted = CostOf(link.length, speed, from_a);
    const bool closed = has_turns && IsClosed(s, used, turn);
    if (closed && node.Cost[s] == kClosedCost && speed == 0) {
      ++totals_.closed_marked;
      return;
    }
    if (node.Cost[s] == wanted) {
      if (!closed) return;
      ++totals_.closed_unmarked;
      if (open_connections_.size() < kKeptConnections) open_connections_.push_back({n, s});
      return;
    }
    // A link that the node lists twice has one speed: closing the other slot has changed it.
    for (int k = 0; k < used; ++k) {
      if (k != s && links.Link[k] == links.Link[s] && speed == 0 && IsClosed(k, used, turn)) return;
    }
    Error(kCost,
          At<CalcNode>(zatlib::kCalcNodeFile, n,
                       offsetof(CalcNode, Cost) + static_cast<size_t>(s) * 2),
          "slot %d costs %d; length %d at speed %d of link %d makes %d", s, node.Cost[s],
          link.length, speed, links.Link[s], wanted);
  }

  void CheckCity(int64_t n, const NodeLinks& links) {
    const int32_t position = position_[static_cast<size_t>(n)];
    const int32_t link = links.Link[0];
    if (position < 0 || link < 0 || link >= map_.links) return;
    const uint32_t city = node_index_[position].CityCode;
    const uint32_t wanted = links_[static_cast<size_t>(link)].city;
    if (city == wanted) return;
    Error(
        kCity,
        At<CodeIndexRecord>(zatlib::kNodeIndexFile, position, offsetof(CodeIndexRecord, CityCode)),
        "city code %u, but the link in the node's first slot, %d, has %u in %s", city, link, wanted,
        zatlib::kLinkIndexFile);
  }

  void CheckAttributes(int64_t n, const NodeLinks& links, const SlotBytes& attribute) {
    for (int s = 0; s < kSlots; ++s) {
      const int32_t number = links.Link[s];
      int wanted = 0;
      bool either = false;
      if (number >= 0 && number < map_.links) {
        const LinkFacts& link = links_[static_cast<size_t>(number)];
        wanted = link.flags;
        // Only the interchange step copies the flags of links between partner nodes.
        if (link.kind >= zatlib::kDummyRoadKind) {
          either = tolls_ == TollFlags::kUnknown;
          if (tolls_ == TollFlags::kUntouched) wanted = 0;
        }
      }
      if (attribute.Slot[s] == wanted || (either && attribute.Slot[s] == 0)) continue;
      Error(kAttribute, At<SlotBytes>(zatlib::kConnectionAttributeFile, n, static_cast<size_t>(s)),
            "slot %d has the flags 0x%02x, but link %d has 0x%02x in %s", s, attribute.Slot[s],
            number, wanted, zatlib::kLinkNameFile);
    }
  }

  // The OR of the links' flags when each link has one. Interchange flags come later than the
  // node's attribute, so that bit tells nothing after them.
  void CheckNodeAttribute(int64_t n, const NodeLinks& links, uint8_t attribute) {
    int all = 0;
    bool plain = false;
    bool plain_without_toll = false;
    const int toll = tolls_ == TollFlags::kUntouched ? 0 : zatlib::kFlagTollGate;
    for (const int32_t number : links.Link) {
      if (number < 0 || number >= map_.links) continue;
      const LinkFacts& link = links_[static_cast<size_t>(number)];
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
    Error(kAttribute, {zatlib::kNodeAttributeFile, n, n},
          "attribute 0x%02x, but the flags of the node's links make 0x%02x", attribute,
          plain ? 0 : all);
  }

  void CheckNodeName(int64_t n, const NodeNameRecord& name) {
    const char* const file = zatlib::kNodeNameFile;
    CheckName(At<NodeNameRecord>(file, n, 0), name.Name);
    for (size_t i = 0; i < sizeof name.reserved1; ++i) {
      if (name.reserved1[i] == 0) continue;
      Error(kZeroBytes, At<NodeNameRecord>(file, n, offsetof(NodeNameRecord, reserved1) + i),
            "bytes that are always zero are not");
      break;
    }
    if (name.reserved2 != 0) {
      Error(kZeroBytes, At<NodeNameRecord>(file, n, offsetof(NodeNameRecord, reserved2)),
            "a byte that is always zero is not");
    }
  }

  // A build closes all connections that no turn leads into, or with [TUKOUJ] NOTADDONEWAY none. The
  // map does not tell which; what most of them show does.
  void JudgeOneWays() {
    if (totals_.closed_unmarked * 10 > totals_.closed_marked) return;
    for (const OpenConnection& open : open_connections_) {
      Error(kOneWay,
            At<CalcNode>(zatlib::kCalcNodeFile, open.node,
                         offsetof(CalcNode, Cost) + static_cast<size_t>(open.slot) * 2),
            "no turn of %s leads into slot %d, but its cost and speed are those of an open "
            "connection",
            zatlib::kTurnTableFile, open.slot);
    }
  }

  void CheckFareLinks() {
    if (tolls_ != TollFlags::kSet) return;
    std::vector<bool> listed(links_.size());
    RecordStream<zatlib::FareLinkRecord> fares;
    zatlib::FareLinkRecord fare;
    fares.Open(map_, zatlib::kFareLinkFile);
    while (fares.Next(&fare)) {
      if (fare.Valid < 1 || fare.Interchange != 1) continue;
      const int64_t number = FindCode(map_, zatlib::kLinkIndexFile, fare.LinkCode);
      if (number >= 0 && number < map_.links) listed[static_cast<size_t>(number)] = true;
    }
    for (size_t l = 0; l < links_.size(); ++l) {
      const bool flag = (links_[l].flags & zatlib::kFlagTollGate) != 0;
      if (flag == listed[l]) continue;
      Error(kFlags,
            At<LinkNameRecord>(zatlib::kLinkNameFile, static_cast<int64_t>(l),
                               offsetof(LinkNameRecord, Flags)),
            flag ? "the interchange flag, but %s does not list link %s"
                 : "no interchange flag, but %s lists link %s",
            zatlib::kFareLinkFile, Code(codes_[l]).c_str());
    }
  }

  void CheckConnections() {
    for (size_t l = 0; l < links_.size(); ++l) {
      const LinkFacts& link = links_[l];
      if (link.listed == 3 || link.node_a < 0 || link.node_b < 0) continue;
      for (int end = 0; end < 2; ++end) {
        if ((link.listed & (1 << end)) != 0) continue;
        ++totals_.unconnected_ends;
        Warn(kUnconnected,
             At<LinkNodes>(zatlib::kLinkNodeFile, static_cast<int64_t>(l),
                           static_cast<size_t>(end) * 4),
             "node %d does not list link %zu (code %s): nobody can leave the node along it",
             end == 0 ? link.node_a : link.node_b, l, Code(codes_[l]).c_str());
      }
    }
  }

  // -- Shapes --------------------------------------------------------------------------------

  // First two and last two points of a link's shape.
  struct Ends {
    ShapePoint first, second, before_last, last;
    bool usable = false;
  };

  void CheckShapes() {
    const char* const file = zatlib::kShapeIndexFile;
    RecordTable<ShapeIndexEntry> index;
    if (!Exists(map_, file) || !index.Load(map_, file)) return;
    const auto data_size =
        static_cast<int64_t>(zatlib::FileSize(PathOf(map_, zatlib::kShapeDataFile).c_str()));
    bool sorted = true;
    int64_t longest = 0;
    totals_.shapes = index.size();
    for (int64_t i = 0; i < index.size(); ++i) {
      const ShapeIndexEntry& entry = index[i];
      if (i > 0 && !(index[i - 1].Code < entry.Code)) {
        sorted = false;
        Error(kOrder, At<ShapeIndexEntry>(file, i, 0),
              "code %s is not greater than the one before it, %s", Code(entry.Code).c_str(),
              Code(index[i - 1].Code).c_str());
      }
      totals_.points += entry.Count;
      if (entry.Count > index[longest].Count) longest = i;
      if (entry.Offset < 0 || entry.Offset % 8 != 0 ||
          entry.Offset + int64_t{8} * std::max(entry.Count, 0) > data_size) {
        Error(kShape, At<ShapeIndexEntry>(file, i, offsetof(ShapeIndexEntry, Offset)),
              "link %s: %d points from byte %d on; %s has %" PRId64 " bytes of points of 8",
              Code(entry.Code).c_str(), entry.Count, entry.Offset, zatlib::kShapeDataFile,
              data_size);
      }
    }
    CheckTiling(index, data_size);
    if (Exists(map_, zatlib::kShapeInfoFile) && index.size() > 0) {
      CompareInformation("NumRec", std::to_string(index.size()));
      CompareInformation("NumShape", std::to_string(totals_.points));
      CompareInformation("MaxNumShape", std::to_string(index[longest].Count));
      CompareInformation("MaxShapeLink",
                         zatlib::CodeText(index[longest].Code, zatlib::kDecimalCode).c_str());
    }
    if (sorted) CheckGeometry(index);
  }

  // The shapes fill the data file without gaps and overlaps.
  void CheckTiling(const RecordTable<ShapeIndexEntry>& index, int64_t data_size) {
    struct Piece {
      int32_t offset;
      int32_t count;
      int32_t entry;
    };
    std::vector<Piece> pieces;
    pieces.reserve(static_cast<size_t>(index.size()));
    for (int64_t i = 0; i < index.size(); ++i) {
      pieces.push_back({index[i].Offset, std::max(index[i].Count, 0), static_cast<int32_t>(i)});
    }
    const auto before = [](const Piece& a, const Piece& b) {
      return a.offset != b.offset ? a.offset < b.offset : a.count < b.count;
    };
    if (!std::is_sorted(pieces.begin(), pieces.end(), before)) {
      std::sort(pieces.begin(), pieces.end(), before);
    }
    int64_t expected = 0;
    for (const Piece& piece : pieces) {
      if (piece.offset != expected) {
        Error(kShape,
              At<ShapeIndexEntry>(zatlib::kShapeIndexFile, piece.entry,
                                  offsetof(ShapeIndexEntry, Offset)),
              "link %s: its points begin at byte %d, but those before it end at %" PRId64,
              Code(index[piece.entry].Code).c_str(), piece.offset, expected);
      }
      expected = piece.offset + int64_t{8} * piece.count;
    }
    if (expected != data_size) {
      Error(kShape, {zatlib::kShapeDataFile, data_size / 8, std::min(expected, data_size)},
            "the shapes end at byte %" PRId64 ", the file at %" PRId64, expected, data_size);
    }
  }

  // What shapes say against what the network says, and the right-turn weights anew.
  void CheckGeometry(const RecordTable<ShapeIndexEntry>& index) {
    std::vector<Ends> ends(links_.size());
    std::vector<int32_t> misplaced;
    std::vector<int32_t> uneven;
    std::vector<int32_t> shapeless;
    int64_t placed = 0;
    int64_t even = 0;
    {
      RecordTable<ShapePoint> points;
      if (!points.Load(map_, zatlib::kShapeDataFile)) return;
      RecordStream<CodeIndexRecord> link_index;
      CodeIndexRecord record;
      if (!link_index.Open(map_, zatlib::kLinkIndexFile)) return;
      TerminalProgress progress("verify: shapes");
      int64_t i = 0;
      for (int64_t r = 0; link_index.Next(&record); ++r) {
        progress.At(r, map_.links);
        while (i < index.size() && index[i].Code < record.Code) {
          ++i;
          ++totals_.shapes_without_link;
        }
        if (record.Number < 0 || record.Number >= map_.links) continue;
        const auto number = static_cast<size_t>(record.Number);
        if (i >= index.size() || !(index[i].Code == record.Code)) {
          if (links_[number].kind < zatlib::kDummyRoadKind) {
            ++totals_.links_without_shape;
            if (shapeless.size() < kKeptConnections) shapeless.push_back(record.Number);
          }
          continue;
        }
        const ShapeIndexEntry& entry = index[i++];
        const int64_t first = entry.Offset / 8;
        if (entry.Offset < 0 || entry.Count < 2 || first + entry.Count > points.size()) continue;
        const ShapePoint* shape = points.begin() + first;
        const int cut = std::min(entry.Count, zatlib::kMaxShapePoints);
        Ends& shape_ends = ends[number];
        shape_ends = {shape[0], shape[1], shape[cut - 2], shape[cut - 1],
                      record.Code.AsDouble() < zatlib::kFirstCodeWithoutShape};
        if (JoinsNodes(links_[number], shape[0], shape[entry.Count - 1])) {
          ++placed;
        } else if (misplaced.size() < kKeptConnections) {
          misplaced.push_back(record.Number);
        }
        if (HasLength(links_[number], shape, entry.Count)) {
          ++even;
        } else if (uneven.size() < kKeptConnections) {
          uneven.push_back(record.Number);
        }
      }
      totals_.shapes_without_link += index.size() - i;
    }
    // What holds for nearly all links of a map is taken for its rule.
    const auto most = [](int64_t good, size_t bad) {
      return static_cast<double>(good) >=
             kMostOf * static_cast<double>(good + static_cast<int64_t>(bad));
    };
    if (most(placed, misplaced.size())) {
      for (const int32_t l : misplaced)
        WarnShape(l, "its shape does not begin and end at its nodes");
    }
    if (most(even, uneven.size())) {
      for (const int32_t l : uneven) WarnShape(l, "its shape is not as long as link value 3 says");
    }
    if (most(map_.links - totals_.links_without_shape, shapeless.size())) {
      for (const int32_t l : shapeless)
        WarnShape(l, "it has no shape, though nearly all links have");
    }
    CheckWeights(ends);
  }

  void WarnShape(int32_t l, const char* what) {
    Warn(kShape, At<DrawingRecord>(zatlib::kDrawingFile, l, 0), "link %s: %s",
         Code(codes_[static_cast<size_t>(l)]).c_str(), what);
  }

  bool JoinsNodes(const LinkFacts& link, const ShapePoint& first, const ShapePoint& last) const {
    if (link.node_a < 0 || link.node_a >= locations_.size() || link.node_b < 0 ||
        link.node_b >= locations_.size()) {
      return true;  // reported already
    }
    const NodeLocation& a = locations_[link.node_a];
    const NodeLocation& b = locations_[link.node_b];
    const auto same = [](const NodeLocation& node, const ShapePoint& point) {
      return node.X == point.X && node.Y == point.Y;
    };
    return (same(a, first) && same(b, last)) || (same(b, first) && same(a, last));
  }

  static bool HasLength(const LinkFacts& link, const ShapePoint* shape, int count) {
    constexpr double kMetresPerUnit = 0.111195;  // a millionth of a degree of latitude
    if (link.length == UINT16_MAX) return true;
    const double scale = std::cos(shape[0].Y * (3.141592653589793 / 180000000.0));
    double length = 0;
    for (int i = 1; i < count; ++i) {
      const double dx = (static_cast<double>(shape[i].X) - shape[i - 1].X) * scale;
      const double dy = static_cast<double>(shape[i].Y) - shape[i - 1].Y;
      length += std::sqrt(dx * dx + dy * dy);
    }
    const double metres = length * kMetresPerUnit;
    return std::fabs(metres - link.length) <= std::max(3.0, 0.02 * metres);
  }

  void CheckWeights(const std::vector<Ends>& ends) {
    const char* const file = zatlib::kRightTurnWeightFile;
    RecordStream<SlotBytes> weights;
    RecordStream<CalcNode> nodes;
    RecordStream<NodeLinks> node_links;
    if (!has_shapes_ || !weights.Open(map_, file) || !nodes.Open(map_, zatlib::kCalcNodeFile) ||
        !node_links.Open(map_, zatlib::kNodeLinkFile)) {
      return;
    }
    const zatlib::TurnLimits limits = {CosineLimit("RTWEIGHT_RIGHT", 45),
                                       CosineLimit("RTWEIGHT_LEFT", 135)};
    totals_.weights_checked = true;
    TerminalProgress progress("verify: right-turn weights");
    SlotBytes weight;
    CalcNode node;
    NodeLinks links;
    for (int64_t n = 0; weights.Next(&weight) && nodes.Next(&node) && node_links.Next(&links);
         ++n) {
      progress.At(n, map_.nodes);
      SlotBytes wanted{};
      MakeWeights(node, links, ends, limits, &wanted);
      for (int s = 0; s < kSlots; ++s) {
        if (weight.Slot[s] == wanted.Slot[s]) continue;
        Error(kWeight, At<SlotBytes>(file, n, static_cast<size_t>(s)),
              "turns from slot %d: 0x%02x; the shapes make 0x%02x", s, weight.Slot[s],
              wanted.Slot[s]);
      }
    }
  }

  double CosineLimit(const char* key, int degrees) const {
    degrees = zatlib::platform::ReadProfileInt("ROADFLAG", key, degrees,
                                               RoadDefinitionPath(map_.path).c_str());
    return std::cos(degrees * 3.141592653589793 / 180.0);
  }

  static void MakeWeights(const CalcNode& node, const NodeLinks& links,
                          const std::vector<Ends>& ends, const zatlib::TurnLimits& limits,
                          SlotBytes* weights) {
    zatlib::NodeTurns turns;
    while (turns.slots < kSlots && node.OtherNode[turns.slots] >= 0) ++turns.slots;
    if (turns.slots < 3) return;
    for (int s = 0; s < turns.slots; ++s) {
      turns.neighbour[s] = node.OtherNode[s];
      const int32_t link = links.Link[s];
      if (link < 0 || link >= std::ssize(ends) || !ends[static_cast<size_t>(link)].usable) continue;
      const Ends& shape = ends[static_cast<size_t>(link)];
      turns.ends[s] =
          zatlib::EndsOfShape({shape.first, shape.second, shape.before_last, shape.last});
    }
    for (int a = 0; a < turns.slots; ++a) {
      for (int b = 0; b < turns.slots; ++b) {
        if (zatlib::MM_SUB_IsWeightedTurn(turns.neighbour[a], turns, turns.neighbour[b], limits) !=
            0) {
          weights->Slot[a] = static_cast<uint8_t>(weights->Slot[a] | 0x80 >> b);
        }
      }
    }
  }

  static constexpr size_t kKeptConnections = 1000000;

  const MapFolder& map_;
  MapFindings& findings_;
  VerifyTotals& totals_;
  const unsigned code_page_ = zatlib::platform::CodePage();
  bool has_shapes_ = false;
  TollFlags tolls_ = TollFlags::kUntouched;
  zatlib::RoadDefinition definition_;
  RecordTable<NodeLocation> locations_;
  std::vector<LinkFacts> links_;
  std::vector<FeatureCode> codes_;
  RecordTable<CodeIndexRecord> node_index_;
  std::vector<int32_t> position_;  // of each node in node.idx, -1 = not there
  std::vector<OpenConnection> open_connections_;
};

}  // namespace

void VerifyMap(const MapFolder& map, MapFindings* findings, VerifyTotals* totals) {
  Verifier(map, findings, totals).Run();
}

}  // namespace zatmap::verify
