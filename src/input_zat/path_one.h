// Stage one for the ZAT layouts.
#pragma once

#include "frd/progress.h"

namespace zatlib {

// Converts the source files that the control file names into the road definition, the work stores
// and the shape files; progress from 0.0 to 0.3. Returns 1, or 0 after a failure (reported by its
// step) or a cancel.
int BRN_ZAT_PathOne(WindowHandle owner, const char* control_file);

}  // namespace zatlib
