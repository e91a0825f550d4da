// Stage one, ZAT layouts: nodes.
#pragma once

#include "frd/progress.h"

namespace zatlib {

// Reads the [NODE] files (text, or MID with the points of the MIF) into nodestr.~wk, one 96-byte
// record a node. Returns 1; 0 without a node file, on cancel, with an invalid code length, or on a
// failure (reported).
int BRN_ZAT_SetNodeStore(WindowHandle owner, const char* control_file);

// Sets the coordinates of stored nodes from [NODEXY] FILE01 when the node files are text. Returns
// 1 also when there is nothing to do; 0 on cancel or failure (reported).
int BRN_ZAT_SetNodeXYData(WindowHandle owner, const char* control_file);

}  // namespace zatlib
