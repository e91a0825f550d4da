#include "platform/user_interface.h"

#include <windows.h>

namespace zatlib::platform {
namespace {

HWND ToWindow(WindowHandle window) { return static_cast<HWND>(window); }

// Callbacks of the walk over a thread's windows: those that belong to the owner are switched, and
// the walk always goes on.
BOOL CALLBACK FRD_DisableOwnedWindows(HWND window, LPARAM owner) {
  if (::GetParent(window) == *reinterpret_cast<const HWND*>(owner)) ::EnableWindow(window, FALSE);
  return TRUE;
}

BOOL CALLBACK FRD_EnableOwnedWindows(HWND window, LPARAM owner) {
  if (::GetParent(window) == *reinterpret_cast<const HWND*>(owner)) ::EnableWindow(window, TRUE);
  return TRUE;
}

struct Work {
  const ProgressRun* run;
  int result;
};

DWORD WINAPI FrdModalThreadProc(LPVOID parameter) {
  Work* work = static_cast<Work*>(parameter);
  work->result = work->run->worker(work->run->owner);
  return 0;
}

}  // namespace

bool IsLiveWindow(WindowHandle window) { return ::IsWindow(ToWindow(window)) != 0; }

WindowHandle ForegroundWindow() { return ::GetForegroundWindow(); }

void EnableOwnedWindows(WindowHandle owner, bool enable) {
  HWND window = ToWindow(owner);
  const DWORD thread = ::GetWindowThreadProcessId(window, nullptr);
  ::EnumThreadWindows(thread, enable ? FRD_EnableOwnedWindows : FRD_DisableOwnedWindows,
                      reinterpret_cast<LPARAM>(&window));
}

int ShowMessageBox(WindowHandle owner, const char* text, const char* title, unsigned flags) {
  return ::MessageBoxA(ToWindow(owner), text, title, flags);
}

int RunProgressWindow(const ProgressRun& run) {
  run.on_open();
  Work work{&run, 0};
  const HANDLE thread = ::CreateThread(nullptr, 0, FrdModalThreadProc, &work, 0, nullptr);
  if (thread == nullptr) {
    ShowMessageBox(run.owner, "Can't create FrdModalThreadProc thread !", "Fatal Error in FRD_Proc",
                   kErrorIcon);
  } else {
    // The host's windows stay alive meanwhile: a message box of the worker may belong to them.
    while (::MsgWaitForMultipleObjects(1, &thread, FALSE, INFINITE, QS_ALLINPUT) ==
           WAIT_OBJECT_0 + 1) {
      MSG message;
      while (::PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE) != 0) {
        ::TranslateMessage(&message);
        ::DispatchMessageA(&message);
      }
    }
    ::CloseHandle(thread);
  }
  run.on_close();
  return work.result;
}

void SetProgressText(const char*) {}

void SetProgressPosition(int) {}

void SetWaitCursor() { ::SetCursor(::LoadCursorA(nullptr, IDC_WAIT)); }

void PumpMessages() {
  MSG message;
  while (::PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE) != 0) {
    // The removed paint message is replaced on purpose by the next message, waited for.
    if (message.message == WM_PAINT) ::GetMessageA(&message, nullptr, 0, 0);
    ::TranslateMessage(&message);
    ::DispatchMessageA(&message);
  }
}

}  // namespace zatlib::platform
