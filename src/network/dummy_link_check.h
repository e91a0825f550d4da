// The links between partner nodes, once more before the network is made.
#pragma once

#include "frd/progress.h"
#include "network/network_files.h"
#include "network/record_source.h"

namespace zatlib {

// Make both ends of every link of road kind 99 list it, in the first free slot, if there is one.
// The memory step changes the array only, the step through files the store. Return 1; 0 on cancel
// or when an end is missing (reported).
int BRN_CheckDummyLinkNodes(WindowHandle owner, NodeArray& nodes, const CodeIndexRecord* node_index,
                            LinkArray& links, const char* control_file);
int BRN450_CheckDummyLinkNodes(WindowHandle owner, NodePositions& nodes,
                               const CodeIndexRecord* node_index, LinkPositions& links,
                               const char* control_file);

}  // namespace zatlib
