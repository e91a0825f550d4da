// Message boxes and the progress window.
#pragma once

#include <cstdint>
#include <functional>

namespace zatlib::platform {

// A window of the host application: HWND on Windows, meaningless elsewhere.
using WindowHandle = void*;

inline constexpr unsigned kOkCancelBox = 0x0001;  // MB_OKCANCEL
inline constexpr unsigned kErrorIcon = 0x0010;    // MB_ICONHAND
inline constexpr unsigned kTaskModal = 0x2000;    // MB_TASKMODAL
inline constexpr int kAnswerOk = 1;               // IDOK
inline constexpr int kAnswerCancel = 2;           // IDCANCEL

// True when standard error is a terminal.
bool IsErrorTerminal();

// True when the handle names a living window.
bool IsLiveWindow(WindowHandle window);

// The window that the user works in; null elsewhere than on Windows.
WindowHandle ForegroundWindow();

// The active window of the calling thread; null when it has none and elsewhere than on Windows.
WindowHandle ActiveWindow();

// Disables or enables the top-level windows of the owner's thread whose parent is the owner;
// nothing without a living owner.
void EnableOwnedWindows(WindowHandle owner, bool enable);

// Shows a message box and returns the answer (kAnswerOk, kAnswerCancel; 0 when it could not be
// shown). Without a window system the text goes to standard error as "title: message" and the
// answer is kAnswerOk.
int ShowMessageBox(WindowHandle owner, const char* text, const char* title, unsigned flags);

// The progress window: one at a time in a process. Texts are in the system code page.
struct ProgressRun {
  WindowHandle owner;                              // host window
  const char* title;                               // caption of the window
  const char* first_status;                        // status line until the first SetProgressText
  const char* cancel_button;                       // caption of the button
  std::function<int(WindowHandle window)> worker;  // runs on a thread of its own, behind `window`
  std::function<void()> on_open;                   // the window is ready, no worker runs yet
  std::function<void()> on_cancel;                 // each time the user asks to stop
  std::function<int(void* block)> free_pages;      // gives pages back that the window has taken
  std::function<void()> on_close;                  // the window is gone and the worker has ended
};

// Runs the worker behind the progress window and returns its result; 0 when the window could not
// start (a message box tells) or was destroyed under the worker, which is then cancelled and waited
// for.
int RunProgressWindow(const ProgressRun& run);

// Set the window's status line, its bar (0 to 100) and the wait cursor. Nothing without a window.
void SetProgressText(const char* text);
void SetProgressPosition(int percent);
void SetWaitCursor();

// Dispatches the calling thread's pending window messages.
void PumpMessages();

}  // namespace zatlib::platform
