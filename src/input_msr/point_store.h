// Stage one, MSR layout: road points (DROTEN).
#pragma once

#include "frd/progress.h"

namespace zatlib {

// Reads the [DROTEN] MIF/MID pairs into nodestr.~wk, made anew: one 96-byte record a point. Returns
// 1; 0 on cancel or failure (reported).
int BRN_MSR_SetNodeStore(WindowHandle owner, const char* control_file);

// Reads the names of the same MID files into nnamestr.~wk, made anew; empty names are left out.
// Returns 1; 0 on cancel or failure (reported).
int BRN_MSR_SetNodeNameStore(WindowHandle owner, const char* control_file);

}  // namespace zatlib
