// The files that need no connectivity: maploc.dat, nodename.dat, maprule.dat and nodeattr.dat for
// nodes, linkname.dat for links, and the two code indexes. Each step exists for the memory
// operation (BRN_) and the operation through files (BRN450_).
#pragma once

#include "frd/progress.h"
#include "network/network_files.h"
#include "network/record_source.h"

namespace zatlib {

// Write the node files and fill the node index (count + 2 records reserved by the caller) sorted
// by code. Return 1; 0 on cancel or failure (reported).
int BRN_CreateNodeData(WindowHandle owner, NodeArray& nodes, CodeIndexRecord* index,
                       const char* control_file);
int BRN450_CreateNodeData(WindowHandle owner, NodePositions& nodes, CodeIndexRecord* index,
                          const char* control_file);

// Write linkname.dat and fill the link index likewise.
int BRN_CreateLinkData(WindowHandle owner, LinkArray& links, CodeIndexRecord* index,
                       const char* control_file);
int BRN450_CreateLinkData(WindowHandle owner, LinkPositions& links, CodeIndexRecord* index,
                          const char* control_file);

}  // namespace zatlib
