// zatmap verify: are the files there, and do they have as many records as they should?
#include "frd/files.h"

#include <algorithm>
#include <cinttypes>
#include <new>

#include "map/record_fields.h"
#include "shape/shape_files.h"
#include "verify/verifier.h"

namespace zatmap::verify {
namespace {

using zatlib::map::FileLayout;
using zatlib::map::Rows;

// Files without which a folder is no map.
constexpr const char* kRequired[] = {
    zatlib::kNodeLocationFile,   zatlib::kCalcNodeFile,  zatlib::kTurnTableFile,
    zatlib::kDrawingFile,        zatlib::kNodeIndexFile, zatlib::kLinkIndexFile,
    zatlib::kNodeLinkFile,       zatlib::kLinkNodeFile,  zatlib::kNodeNameFile,
    zatlib::kNodeAttributeFile,  zatlib::kLinkNameFile,  zatlib::kConnectionAttributeFile,
    zatlib::kRoadDefinitionFile,
};

// The finding for a file that is not there, unless the manifest has made it.
void AddMissing(Verifier& v, const char* name, const char* text) {
  if (std::find(v.missing.begin(), v.missing.end(), name) != v.missing.end()) return;
  v.Add(Kind::kMissing, {name}, "%s", text);
}

// Whole records, and one for each node or link.
void CheckSize(Verifier& v, const FileLayout& layout) {
  const auto size = static_cast<int64_t>(zatlib::FileSize(PathOf(v.map, layout.name).c_str()));
  const int64_t count = size / layout.record_size;
  const int64_t rest = size % layout.record_size;
  if (rest != 0) {
    v.Add(layout.rows != Rows::kStore ? Kind::kSize : Kind::kSizeWarning,
          {layout.name, count, size - rest}, "%" PRId64 " bytes of a record of %u stand at the end",
          rest, layout.record_size);
  }
  const bool nodes = layout.rows == Rows::kNode || layout.rows == Rows::kNodeIndex;
  const bool links = layout.rows == Rows::kLink || layout.rows == Rows::kLinkIndex;
  const int64_t wanted = nodes ? v.map.nodes : links ? v.map.links : count;
  if (count == wanted) return;
  v.Add(Kind::kSize, {layout.name, count, count * layout.record_size},
        "%" PRId64 " records; %s has %" PRId64 ", and both hold one for each %s", count,
        nodes ? zatlib::kCalcNodeFile : zatlib::kLinkNodeFile, wanted, nodes ? "node" : "link");
}

// The shape files come together, and with them the right-turn weights.
void CheckShapeFiles(Verifier& v) {
  constexpr const char* kNames[] = {zatlib::kShapeDataFile, zatlib::kShapeIndexFile,
                                    zatlib::kShapeInfoFile};
  int present = 0;
  for (const char* name : kNames) present += HasFile(v.map, name) ? 1 : 0;
  const bool weights = HasFile(v.map, zatlib::kRightTurnWeightFile);
  v.has_shapes = present == 3;
  for (const char* name : kNames) {
    if (present == 0 || HasFile(v.map, name)) continue;
    AddMissing(v, name,
               "the file is missing, though other shape files are there; build the map again");
  }
  if (v.has_shapes && !weights) {
    AddMissing(v, zatlib::kRightTurnWeightFile,
               "the file is missing, though the map has shapes; build the map again");
  }
  if (present == 0 && weights) {
    v.Add(Kind::kLeftBehind, {zatlib::kRightTurnWeightFile},
          "the map has no shapes: the file is of an earlier build, or the shape files are lost");
  }
}

}  // namespace

void CheckFiles(Verifier& v) {
  for (const char* name : kRequired) {
    if (HasFile(v.map, name)) continue;
    AddMissing(v, name, "the file is missing; build the map again");
  }
  for (const FileLayout& layout : zatlib::map::FileLayouts()) {
    if (HasFile(v.map, layout.name)) CheckSize(v, layout);
  }
  CheckShapeFiles(v);
}

bool LoadTables(Verifier& v) {
  zatlib::BRN_LoadRoadDef(&v.definition, zatlib::map::RoadDefinitionPath(v.map.path).c_str());
  if (!v.locations.Load(v.map, zatlib::kNodeLocationFile).ok()) {
    v.Add(Kind::kMissing, {zatlib::kNodeLocationFile}, "the file cannot be read");
    return false;
  }
  try {
    v.links.resize(static_cast<size_t>(v.map.links));
    v.codes.resize(static_cast<size_t>(v.map.links));
    v.position.assign(static_cast<size_t>(v.map.nodes), -1);
  } catch (const std::bad_alloc&) {
    v.Add(Kind::kSize, {zatlib::kLinkNodeFile}, "there is no memory to verify so many links");
    return false;
  }
  return true;
}

}  // namespace zatmap::verify
