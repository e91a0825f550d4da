// Stage one, ZAT layouts: names.
#pragma once

#include "frd/progress.h"

namespace zatlib {

// Writes nnamestr.~wk (40-byte records) from the name column of the node data, whose ".mid" path is
// derived whatever the kind of the node files, and then from the [NODENAME] files. Empty names are
// left out. Returns 1; 0 on cancel or failure (reported).
int BRN_ZAT_SetNodeNameStore(WindowHandle owner, const char* control_file);

// The same for lnamestr.~wk: the name column of the link data, then the [LINKNAME] files.
int BRN_ZAT_SetLinkNameStore(WindowHandle owner, const char* control_file);

}  // namespace zatlib
