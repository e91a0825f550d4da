// The error report of the shape module.
#pragma once

#include "frd/progress.h"
#include "frd/text.h"

namespace zatlib {

// How the message box stands against the host's windows.
enum class ShapeBox {
  kTaskModal,  // nearly always: a build has no window of its own to hang the box on
  kPlain       // leaves the host's windows usable, owner or not
};

// Formats the message (at most 1,023 bytes), writes "[message][title]" to the build log and, unless
// silent, shows it in a box with the error icon. Always returns 0, the result of a failed step.
int ReportShapeError(WindowHandle owner, ShapeBox box, const char* title, const char* format, ...)
    ZATLIB_PRINTF(4, 5);

}  // namespace zatlib
