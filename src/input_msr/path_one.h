// Stage one for the MSR layout.
#pragma once

#include "frd/progress.h"

namespace zatlib {

// Converts road data in the MSR layout into the road definition and the work stores. Returns 1 or
// 0 (reported).
int BRN_MSR_PathOne(WindowHandle owner, const char* control_file);

}  // namespace zatlib
