// Stage one, ZAT layouts: turn restrictions and one-way rules.
#pragma once

#include "frd/progress.h"

namespace zatlib {

// Copies the [NODETRF] files into trafrule.~wk (32-byte records), as they are. Returns 1 also when
// there are none (no store is made then); 0 on cancel or failure (reported).
int BRN_ZAT_SetNodeTrfData(WindowHandle owner, const char* control_file);

// Copies the [LINKTRF] files into onewayst.~wk (32-byte records), likewise.
int BRN_ZAT_SetLinkTrfData(WindowHandle owner, const char* control_file);

}  // namespace zatlib
