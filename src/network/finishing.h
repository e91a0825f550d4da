// The finishing steps over the network files: attributes and names.
#pragma once

#include "frd/progress.h"

namespace zatlib {

// Sets node attributes (nodeattr.dat, nodename.dat) from the flags of the nodes' links and writes
// mapattr.dat, 8 bytes a node. Returns 1; 0 on cancel or failure (reported).
int BRN_FinishNodeAttribute(WindowHandle owner, const char* control_file);

// Copies the names of nnamestr.~wk into nodename.dat; a later one wins. Returns 1; 0 on cancel or
// failure (reported).
int BRN_FinishNodeName(WindowHandle owner, const char* control_file);

// Copies the names and values of lnamestr.~wk into linkname.dat, likewise.
int BRN_FinishLinkName(WindowHandle owner, const char* control_file);

}  // namespace zatlib
