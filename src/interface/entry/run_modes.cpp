#include "interface/entry/run_modes.h"

#include "frd/control.h"
#include "platform/float_mode.h"

namespace zatlib {

int RunEntry(WindowHandle owner, OwnerRule owner_rule, SilentRule silent_rule, FrdCallback body,
             int64_t format, const char* control_file) {
  if (owner == nullptr ||
      (owner_rule == OwnerRule::kNullOrDead && !platform::IsLiveWindow(owner))) {
    owner = platform::ForegroundWindow();
  }
  if (silent_rule == SilentRule::kRead) {
    // A host may set silence up once and then call without a path.
    if (control_file != nullptr) {
      g_silent = ControlInt(control_file, "SYSTEM", "SILENTMODE", 0) == 1 ? 1 : 0;
    }
    if (g_silent != 0) {
      const platform::StandardFloatMode mode;
      return body(owner, format, control_file);
    }
  }
  // The host's own windows are served on this thread while the window is open: it keeps the host's
  // floating-point mode, but for the layout of the window.
  platform::EnableOwnedWindows(owner, false);
  const int result = FRD_RunDialog(owner, body, format, control_file);
  platform::EnableOwnedWindows(owner, true);
  return result;
}

}  // namespace zatlib
