// Stage one for the MSR layout.
#pragma once

#include "frd/progress.h"

namespace zatlib {

// Converts road points, sections, names and conditions into the road definition, the work stores
// and, with [DKUKAN] MIFOUTPUT, the shape files; progress from 0.0 to 0.3. Returns 1, or 0 after a
// failure (reported by its step) or a cancel.
int BRN_MSR_PathOne(WindowHandle owner, const char* control_file);

}  // namespace zatlib
