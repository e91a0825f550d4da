// Loading the stores that the checks have passed: the records that are not empty, or where they
// stand. Each step exists for the memory operation (BRN_) and the operation through files
// (BRN450_).
#pragma once

#include "frd/progress.h"
#include "network/record_source.h"

namespace zatlib {

// Return 1; 0 on cancel or failure (reported), the count is then 0.
int BRN_LoadNodeStore(WindowHandle owner, NodeArray* nodes, const char* control_file);
int BRN_LoadLinkStore(WindowHandle owner, LinkArray* links, const char* control_file);
int BRN450_LoadNodeStorePtr(WindowHandle owner, NodePositions* nodes, const char* control_file);
int BRN450_LoadLinkStorePtr(WindowHandle owner, LinkPositions* links, const char* control_file);

}  // namespace zatlib
