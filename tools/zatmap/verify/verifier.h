// What the checks of `zatmap verify` share: the map, the findings, what one check learns for the
// next.
//
// verify proves a map from its files alone, so it computes anew what a build has computed: costs,
// the order and packing of slots, drawn coordinates, cities and attributes of nodes, the flags of
// connections, the tiling of the shapes. From the library it takes what says how a map is meant:
// the layouts of records and their constants (speed limits, values of links between partner nodes),
// the road definition and the flags that it gives a link (BRN_SetLinkFlags), whether fare data are
// complete, and the rule that weights a single turn (MM_SUB_IsWeightedTurn), which has a plain
// second implementation in the tests. A fault in those is a fault here too.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <string>
#include <vector>

#include "frd/text.h"
#include "map/code_index.h"
#include "map/map_folder.h"
#include "map/record_files.h"
#include "network/network_files.h"
#include "network/road_attributes.h"
#include "platform/code_page.h"
#include "shape/shape_files.h"
#include "verify/kinds.h"

namespace zatmap::verify {

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
using zatlib::SlotBytes;
using zatlib::map::HasFile;
using zatlib::map::MapFolder;
using zatlib::map::PathOf;
using zatlib::map::RecordReader;
using zatlib::map::RecordTable;

// What the checks count besides findings.
struct Totals {
  int64_t shapes = 0;
  int64_t points = 0;
  int64_t links_without_shape = 0;  // links between partner nodes do not count
  int64_t shapes_without_link = 0;
  int64_t unconnected_ends = 0;  // ends of links that their node does not list
  int64_t closed_unmarked = 0;   // connections that no turn leads into and that are not closed
  int64_t closed_marked = 0;     // those that are
  bool weights_checked = false;  // rtweight.dat was computed anew and compared
  std::string built;             // the time that the manifest tells, "" without one
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

// Of findings that are judged once all are known, at most so many are kept.
inline constexpr size_t kKeptSuspects = 1000000;

// A place in a file of the map, made for every record that is looked at: it becomes a Place when
// there is something to tell. Record and offset are -1 where there is none.
struct Spot {
  const char* file;
  int64_t record = -1;
  int64_t offset = -1;  // byte in the file

  Spot Behind(size_t bytes) const { return {file, record, offset + static_cast<int64_t>(bytes)}; }
};

// A field of a record, by its place in the record.
template <typename Record>
Spot At(const char* file, int64_t record, size_t offset) {
  return {file, record,
          record * static_cast<int64_t>(sizeof(Record)) + static_cast<int64_t>(offset)};
}

// An element of an array with one value for each slot, like At(file, n, offsetof(R, Member)).
template <typename Record, typename Value>
Spot AtSlot(const char* file, int64_t record, size_t offset, int slot) {
  return At<Record>(file, record, offset + static_cast<size_t>(slot) * sizeof(Value));
}

struct Verifier {
  Verifier(const MapFolder& map_folder, Findings* list, Totals* sums)
      : map(map_folder), findings(*list), totals(*sums) {}

  const MapFolder& map;
  Findings& findings;
  Totals& totals;
  bool has_shapes = false;
  std::vector<std::string> missing;  // files whose absence has been told
  TollFlags tolls = TollFlags::kUntouched;
  zatlib::RoadDefinition definition;
  RecordTable<NodeLocation> locations;
  std::vector<LinkFacts> links;
  std::vector<FeatureCode> codes;  // of the links
  RecordTable<CodeIndexRecord> node_index;
  std::vector<int32_t> position;  // of each node in node.idx, -1 = not there
  std::vector<OpenConnection> open_connections;
  const unsigned code_page = zatlib::platform::CodePage();

  // Gives back what only the checks of nodes need.
  void FreeNodes() {
    position = {};
    node_index.Free();
  }

  void Add(Kind kind, const Spot& spot, const char* format, ...) ZATLIB_PRINTF(4, 5) {
    // Records of a map count from 0, those of a Place from 1.
    const Place place{findings.File(spot.file), spot.record + 1, 0, 0, spot.offset};
    va_list arguments;
    va_start(arguments, format);
    findings.AddV(kind, place, format, arguments);
    va_end(arguments);
  }

  bool HasLink(int64_t number) const { return number >= 0 && number < map.links; }
  bool HasNode(int64_t number) const { return number >= 0 && number < map.nodes; }
  LinkFacts& link(int64_t number) { return links[static_cast<size_t>(number)]; }
  std::string Code(FeatureCode code) const {
    return zatlib::map::CodeDigits(code, map.code_length);
  }
  std::string LinkCode(int64_t number) const { return Code(codes[static_cast<size_t>(number)]); }
};

// The checks, in the order in which they run; each adds to findings and totals. Those of links need
// LoadTables, those behind them the links.
void CheckManifest(Verifier& v);
void CheckFiles(Verifier& v);
void CheckTexts(Verifier& v);
void LookAtFares(Verifier& v);
bool LoadTables(Verifier& v);  // false, with a finding, when there is nothing to go on with
void CheckLinks(Verifier& v);
void CheckNodes(Verifier& v);
void CheckFareLinks(Verifier& v);
void CheckConnections(Verifier& v);
void CheckShapes(Verifier& v);

// A code of a sorted index: what it is, and whether it is greater than the one before it.
void CheckIndexCode(Verifier& v, const char* file, int64_t record, FeatureCode code,
                    FeatureCode previous);

// A name of 20 bytes: behind its end zeros only, and text of the code page before.
void CheckName(Verifier& v, const Spot& spot, const char* name);

// A value of shapedat.inf against what the shape index says.
void CompareInformation(Verifier& v, const char* key, const std::string& wanted);

// First two and last two points of a link's shape.
struct Ends {
  zatlib::ShapePoint first, second, before_last, last;
  bool usable = false;
};

// The right-turn weights, computed anew from the ends of the links' shapes.
void CheckWeights(Verifier& v, const std::vector<Ends>& ends);

}  // namespace zatmap::verify
