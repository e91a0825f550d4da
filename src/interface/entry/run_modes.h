// How a working entry point runs its body: silently on the caller's thread, or behind the progress
// window with the host's owned windows disabled.
#pragma once

#include <cstdint>

#include "frd/progress.h"

namespace zatlib {

// Which handles are replaced by the window the user works in.
enum class OwnerRule {
  kNullOrDead,  // null, or no window (any more)
  kNull         // null only; another handle is used as it is
};

// Whether [SYSTEM] SILENTMODE is read. Without a control file the mode of the call before stays.
enum class SilentRule { kRead, kNever };

// Runs the body and returns its result, 0 when the progress window could not start. The body
// computes in the standard floating-point mode, whatever the caller's is.
int RunEntry(WindowHandle owner, OwnerRule owner_rule, SilentRule silent_rule, FrdCallback body,
             int64_t format, const char* control_file);

}  // namespace zatlib
