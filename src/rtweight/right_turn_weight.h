// Right-turn weights: which turns at a junction bend so much that a route calculation weights them.
#pragma once

#include <cstdint>

#include "frd/progress.h"
#include "network/network_files.h"
#include "shape/shape_access.h"

namespace zatlib {

// Links with this code or above have no shape: the dummy links between partner nodes.
inline constexpr double kFirstCodeWithoutShape = 9.9e13;

// The network as this step reads it. The counts are those of the files; a table that is shorter
// than the numbers in another one promise is never read beyond its end.
struct TurnTables {
  const CalcNode* nodes = nullptr;  // mapcalc.dat
  int64_t node_count = 0;
  const NodeLinks* node_links = nullptr;  // nodelink.idx
  int64_t node_link_count = 0;
  const FeatureCode* link_codes = nullptr;  // by link number
  int64_t link_count = 0;
  ShapeHolder* shapes = nullptr;  // open
};

// A point in degrees.
struct TurnPoint {
  double x;
  double y;
};

// What a link's shape has to say about turns at its ends: the first point with the second, and the
// last point with the last but one.
struct LinkEnds {
  bool usable = false;  // false: the link or its shape is missing, or the shape has no 2 points
  TurnPoint end[2];
  TurnPoint next[2];
};

// A node's neighbours in slot order, each with the link toward it.
struct NodeTurns {
  int slots = 0;  // occupied slots
  int32_t neighbour[kSlots];
  LinkEnds ends[kSlots];
};

// Cosines of the least angles that weight a turn (0 degrees = straight on, 180 = back).
struct TurnLimits {
  double cos_right;
  double cos_left;
};

// Writes rtweight.dat (8 bytes a node, byte = slot of the arrival, bit 0x80 >> slot of the
// departure, set = weighted) into the output folder, from the network files and the link shapes
// there. Returns 1, also when the folder holds no shape files, which leaves everything as it is; 0
// after reporting the cause under "Fatal Error in MM_CreateRightTurnWeight".
int MM_CreateRightTurnWeight(WindowHandle owner, const char* control_file);

// 1 when the machine has the memory to hold the shapes and the tables, 0 for reading shapes from
// the file as they are needed. Decides by taking the memory and giving it back.
int MM_SUB_CheckMemoryOperation(const char* control_file);

// Reads the codes of the first `link_count` links out of mapdraw.dat in the output folder. A file
// that ends too early leaves the remaining codes as they are, which is no error. Returns 1, or 0
// after reporting under "Fatal Error in MM_SUB_LoadLinkCodes" that the file cannot be opened.
int MM_SUB_LoadLinkCodes(int64_t link_count, FeatureCode* codes, const char* control_file);

// Sets the weights of every node: `weights` holds one record per node, those of nodes with fewer
// than 3 neighbours become 0. The angles come from linkdef.dat in `folder` ([ROADFLAG]
// RTWEIGHT_RIGHT, default 45 degrees, and RTWEIGHT_LEFT, default 135). Returns 1, or 0 when the
// user has cancelled.
int MM_RightTurnWeightMain(const TurnTables& tables, SlotBytes* weights, const char* folder);

// Looks up a node's neighbours and the ends of its links, once for all of its turns. `points` has
// room for kMaxShapePoints.
void MM_SUB_LoadNodeTurns(int64_t node, const TurnTables& tables, ShapePoint* points,
                          NodeTurns* turns);

// 1 when the turn at a node from the neighbour `arrival` toward the neighbour `departure` is
// weighted, else 0. Of several links toward one neighbour the first one counts.
int MM_SUB_IsWeightedTurn(int32_t arrival, const NodeTurns& node, int32_t departure,
                          const TurnLimits& limits);

}  // namespace zatlib
