// Right-turn weights: which turns at a junction bend so much that a route calculation weights them.
#pragma once

#include <cstdint>

#include "frd/block_reader.h"
#include "frd/parallel.h"
#include "frd/progress.h"
#include "network/network_files.h"
#include "shape/shape_access.h"

namespace zatlib {

// Links with this code or above have no shape: the dummy links between partner nodes.
inline constexpr double kFirstCodeWithoutShape = 9.9e13;

// The network as this step reads it. The node files are read block by block; a table that is
// shorter than the numbers in another one promise is never read beyond its end.
struct TurnTables {
  BlockReader* nodes = nullptr;            // mapcalc.dat, in blocks of at most kBlockNodes
  BlockReader* node_links = nullptr;       // nodelink.idx, in blocks of as many
  const int32_t* shape_of_link = nullptr;  // by link number: position of its shape, -1 = none
  int64_t link_count = 0;
  const ShapeHolder* shapes = nullptr;  // with the ends of the shapes
};

// Nodes read at a time, between two looks for a cancel; fewer where memory is short.
inline constexpr int64_t kBlockNodes = 0x4000;

// A coordinate in degrees: the double nearest to units / 1000000, as a division gives it, without
// the time of one. The millionth is split into a part of 22 bits, whose product with a coordinate
// of 32 bits is exact, and a small rest. No quotient lies so close to the middle of two doubles (it
// keeps 1 / (15625 x 2^54) of itself away) that the rounding of the rest (2^-75) could matter.
inline double InDegrees(int32_t units) {
  constexpr double kMillionth = 0x218DEFp-41;
  constexpr double kRest = 0x1.05AF6C69B5A64p-43;
  return units * kMillionth + units * kRest;
}

// What a link's shape has to say about turns: its first point (0) and its last one (1), each with
// the point beside it.
struct LinkEnds {
  bool usable = false;  // false: the link or its shape is missing, or the shape has no 2 points
  ShapePoint point[2];
  ShapePoint beside[2];
};

LinkEnds EndsOfShape(const ShapeEnds& shape);

// A node's neighbours in slot order, each with the link toward it.
struct NodeTurns {
  int slots = 0;  // occupied slots
  int32_t neighbour[kSlots];
  LinkEnds ends[kSlots];  // of a neighbour's first slot; no other link toward it is asked for
};

// Cosines of the least angles that weight a turn (0 degrees = straight on, 180 = back).
struct TurnLimits {
  double cos_right;
  double cos_left;
};

// The limits of the map in a folder, from its linkdef.dat: [ROADFLAG] RTWEIGHT_RIGHT, default 45
// degrees, and RTWEIGHT_LEFT, default 135.
TurnLimits ReadTurnLimits(const char* folder);

// Writes rtweight.dat (8 bytes a node, byte = slot of the arrival, bit 0x80 >> slot of the
// departure, set = weighted) into the output folder, from the network files and the link shapes
// there. Returns 1, also when the folder holds no shape files, which leaves everything as it is; 0
// after reporting the cause under "Fatal Error in MM_CreateRightTurnWeight".
int MM_CreateRightTurnWeight(WindowHandle owner, const char* control_file);

// 1 when the machine has the memory to hold the shapes and the tables; `shapes` are then open for
// the memory operation. 0 for the file operation; the shapes are then in any state. Decides by
// taking the memory and giving it back. No shapes (null) are no memory.
int MM_SUB_CheckMemoryOperation(const char* control_file, Workers& workers, ShapeHolder* shapes);

// Reads the codes of the first `link_count` links out of mapdraw.dat in the output folder. A file
// that ends too early leaves the remaining codes as they are, which is no error. Returns 1, or 0
// after reporting under "Fatal Error in MM_SUB_LoadLinkCodes" that the file cannot be opened.
int MM_SUB_LoadLinkCodes(int64_t link_count, FeatureCode* codes, const char* control_file);

// Sets the weights of every node: `weights` holds one record per node of the node file, those of
// nodes with fewer than 3 neighbours become 0. The limits are those of `folder`. Returns 1, or 0
// when the user has cancelled or a node file cannot be read on, which its reader tells.
int MM_RightTurnWeightMain(const TurnTables& tables, SlotBytes* weights, const char* folder,
                           Workers& workers);

// 1 when the turn at a node from the neighbour `arrival` toward the neighbour `departure` is
// weighted, else 0. Of several links toward one neighbour the first one counts.
int MM_SUB_IsWeightedTurn(int32_t arrival, const NodeTurns& node, int32_t departure,
                          const TurnLimits& limits);

}  // namespace zatlib
