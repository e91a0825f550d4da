// Stage one, MSR layout: road sections (DKUKAN) and their names (KUKANZ).
#pragma once

#include "frd/progress.h"

namespace zatlib {

// Reads the [DKUKAN] files (CSV, or the MID of the MIF with MIFOUTPUT) into linkstr.~wk, made anew:
// one 48-byte record a section. Returns 1; 0 without a file, with an invalid code length (no
// message), on cancel or failure (reported).
int BRN_MSR_SetLinkStore(WindowHandle owner, const char* control_file);

// Reads the [KUKANZ] files into lnamestr.~wk, made anew; empty names are left out. Returns 1; 0 on
// cancel or failure (reported).
int BRN_MSR_SetLinkNameStore(WindowHandle owner, const char* control_file);

}  // namespace zatlib
