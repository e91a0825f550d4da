// The network build step: checks and repairs the stores, chooses between memory and files, and
// creates the network files.
#pragma once

#include "frd/progress.h"

namespace zatlib {

// How the network is built.
enum BuildMethod { kNotEnoughMemory = 0, kMemoryOperation = 1, kFileOperation = 2 };

// Chooses by [SYSTEM] BUILDMETHOD or, without it, by allocating what each way needs. Returns one
// of BuildMethod; the lack of memory is reported.
int BRN_CheckMemories(WindowHandle owner, const char* control_file);

// Runs the whole step, progress 0.3 to 0.8. Returns 1; 0 on cancel or failure (reported).
int BRN_BuildNetwork(WindowHandle owner, const char* control_file);

}  // namespace zatlib
