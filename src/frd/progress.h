// The progress window, its cancel flag and the silent flag: process-wide, without locks.
#pragma once

#include <cstdint>

#include "platform/user_interface.h"

namespace zatlib {

using platform::WindowHandle;

// 1: no window, no progress, no message boxes. Set by the entry points, kept between calls.
extern int g_silent;

// The work behind a window: (window of the progress dialog, argument, control file) -> result.
using FrdCallback = int (*)(WindowHandle window, int64_t argument, const char* control_file);

// Runs the callback behind the progress window and returns its result, or 0 when the window could
// not start. One run at a time: a second one is refused with a message box.
int FRD_RunDialog(WindowHandle owner, FrdCallback callback, int64_t argument,
                  const char* control_file);

// Shows a fraction (0.0 to 1.0; others leave the bar as it is), pumps messages and sets the wait
// cursor. Returns 1 to go on, 0 when the user has cancelled.
int FRD_SetProgress(float fraction);

// The bar position (0 to 100) of a fraction: truncate(fraction x 100.0 + 0.5), clamped.
int FRD_ProgressPosition(float fraction);

// Dispatches the calling thread's pending messages; returns 1.
int FRD_PumpMessages();

// True while the progress window is open.
bool FRD_IsDialogOpen();

// True once the user has cancelled the run.
bool FRD_IsCancelled();

// Sets or clears the cancel flag, as the Cancel button does.
void FRD_SetCancelled(bool cancelled);

}  // namespace zatlib
