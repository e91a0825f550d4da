// Stage one, ZAT layouts: links.
#pragma once

#include "frd/progress.h"

namespace zatlib {

// Reads the [LINK] files (text, or the MID of the MIF) into linkstr.~wk, one 48-byte record a link,
// with [DEFAULTSPEED] where a speed is 0. Returns 1; 0 without a link file, on cancel, with an
// invalid code length, or on a failure (reported).
int BRN_ZAT_SetLinkStore(WindowHandle owner, const char* control_file);

// Sets the speeds of stored links from the [LINKSPEED] files. Returns 1 also when there are none;
// 0 on cancel or failure (reported).
int BRN_ZAT_SetLinkSpeedData(WindowHandle owner, const char* control_file);

}  // namespace zatlib
