// Stage one, MSR layout: traffic conditions (TUKOUJ).
#pragma once

#include "frd/progress.h"

namespace zatlib {

// Reads the [TUKOUJ] files into trafrule.~wk, made anew: one 32-byte record a line. Each file is
// read up to its first line that is not valid. Returns 1, also without a file (no store is made
// then); 0 on cancel or failure (reported).
int BRN_MSR_SetTukoujData(WindowHandle owner, const char* control_file);

// Deletes onewayst.~wk: the layout has no one-way input. Returns 1.
int BRN_MSR_RemoveOneWayStore(const char* control_file);

}  // namespace zatlib
