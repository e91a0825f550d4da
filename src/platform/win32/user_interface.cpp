#include "platform/user_interface.h"

#include <windows.h>

#include "platform/console.h"

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

}  // namespace

bool IsErrorTerminal() { return ::GetFileType(::GetStdHandle(STD_ERROR_HANDLE)) == FILE_TYPE_CHAR; }

bool IsLiveWindow(WindowHandle window) { return ::IsWindow(ToWindow(window)) != 0; }

WindowHandle ForegroundWindow() { return ::GetForegroundWindow(); }

WindowHandle ActiveWindow() { return ::GetActiveWindow(); }

void EnableOwnedWindows(WindowHandle owner, bool enable) {
  HWND window = ToWindow(owner);
  const DWORD thread = ::GetWindowThreadProcessId(window, nullptr);
  // Thread 0 would be every window of the desktop, and no parent is what most of those have.
  if (thread == 0) return;
  ::EnumThreadWindows(thread, enable ? FRD_EnableOwnedWindows : FRD_DisableOwnedWindows,
                      reinterpret_cast<LPARAM>(&window));
}

int ShowMessageBox(WindowHandle owner, const char* text, const char* title, unsigned flags) {
  if (!GetConsole().progress) return kAnswerOk;
  return ::MessageBoxA(ToWindow(owner), text, title, flags);
}

}  // namespace zatlib::platform
