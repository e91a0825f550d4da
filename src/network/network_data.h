// The network proper: adjacency with costs, city codes of nodes, drawing records.
#pragma once

#include <cstdint>

#include "frd/progress.h"
#include "network/network_files.h"
#include "network/record_source.h"

namespace zatlib {

// Record number stored with a code in an index sorted by code, or -1.
int32_t BRN_FindIndexRecord(FeatureCode code, int64_t count, const CodeIndexRecord* index);

// Write mapcalc.dat, node.idx, nodelink.idx, link.idx, linknode.idx and mapdraw.dat; the node
// index receives its city codes. Return 1; 0 on cancel or failure (reported).
int BRN_CreateNetworkData(WindowHandle owner, NodeArray& nodes, CodeIndexRecord* node_index,
                          LinkArray& links, const CodeIndexRecord* link_index,
                          const char* control_file);
int BRN450_CreateNetworkData(WindowHandle owner, NodePositions& nodes, CodeIndexRecord* node_index,
                             LinkPositions& links, const CodeIndexRecord* link_index,
                             const char* control_file);

}  // namespace zatlib
