// Right-turn weights: which turns at a junction bend so much that a route calculation weights them.
#pragma once

#include <cstdint>

#include "frd/block_reader.h"
#include "frd/parallel.h"
#include "frd/progress.h"
#include "network/network_files.h"
#include "rtweight/turn_kernel.h"
#include "shape/shape_access.h"

namespace zatlib {

// The network as this step reads it. The node files are read block by block; a table that is
// shorter than the numbers in another one promise is never read beyond its end.
struct TurnTables {
  BlockReader* nodes = nullptr;       // mapcalc.dat, in blocks of at most kBlockNodes
  BlockReader* node_links = nullptr;  // nodelink.idx, in blocks of as many
  TurnShapes shapes;
};

// Nodes read at a time, between two looks for a cancel; fewer where memory is short.
inline constexpr int64_t kBlockNodes = 0x4000;

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

}  // namespace zatlib
