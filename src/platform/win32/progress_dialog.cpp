// The progress window: a modal dialog made from a template in memory, so that the library carries
// no resources, and the worker thread behind it. The dialog's loop keeps the host's windows painted
// while the worker builds.
#include <windows.h>
// The common controls come after the base header.
#include <commctrl.h>

#include <atomic>
#include <cstring>
#include <iterator>

#include "platform/console.h"
#include "platform/float_mode.h"
#include "platform/memory.h"
#include "platform/process.h"
#include "platform/progress_layout.h"
#include "platform/user_interface.h"

namespace zatlib::platform {
namespace {

constexpr WORD kIgnoredButton = 1001;  // never sized, so nobody sees it
constexpr WORD kCancelButton = 1002;
constexpr WORD kStartWork = 1008;     // posted by the dialog to itself
constexpr WORD kWorkFinished = 1009;  // posted by the worker; the parameter is its result
constexpr WORD kStatusLine = 1012;
constexpr WORD kProgressBar = 1013;

constexpr DWORD kDialogStyle = 0x90C80080;  // popup, visible, caption, system menu, modal frame
constexpr size_t kTemplateSize = 82;        // zeros behind the style: no items, no menu, no title
constexpr DWORD kWorkerWait = 5000;         // milliseconds for the worker to leave after its result

struct Control {
  WORD id;
  const char* window_class;
  DWORD style;
};
constexpr Control kControls[] = {
    {kStatusLine, "STATIC", 0x50000081},              // child, visible, centred, no prefix
    {kProgressBar, "msctls_progress32", 0x50000001},  // child, visible, smooth
    {kIgnoredButton, "BUTTON", 0x50000000},
    {kCancelButton, "BUTTON", 0x50000000},
};

// Written by the dialog's thread, read by the worker.
std::atomic<HWND> g_dialog{nullptr};

// Used by the dialog's thread alone.
const ProgressRun* g_run = nullptr;
HANDLE g_worker = nullptr;
int g_unit = 0;
bool g_finished = false;  // the worker has reported its result

HFONT DialogFont() { return static_cast<HFONT>(::GetStockObject(DEFAULT_GUI_FONT)); }

int MeasureUnit(HWND dialog) {
  TEXTMETRICA metrics{};
  const HDC context = ::GetDC(dialog);
  const HGDIOBJ before = ::SelectObject(context, DialogFont());
  ::GetTextMetricsA(context, &metrics);
  ::SelectObject(context, before);
  ::ReleaseDC(dialog, context);
  return LayoutUnit(metrics.tmHeight, metrics.tmExternalLeading, ::GetSystemMetrics(SM_CYDLGFRAME));
}

Box ToBox(const RECT& r) { return {r.left, r.top, r.right - r.left, r.bottom - r.top}; }

const char* InitialText(WORD id) {
  if (id == kStatusLine) return g_run->first_status;
  return id == kCancelButton ? g_run->cancel_button : "";
}

// Visual styles paint a bar in the colour of the theme; a class name that no theme knows turns them
// off for one window. Where nobody has loaded them, there is no theme.
void PaintInOwnColor(HWND bar) {
  using SetThemeFunction = HRESULT(WINAPI*)(HWND, LPCWSTR, LPCWSTR);
  const HMODULE themes = ::GetModuleHandleA("uxtheme.dll");
  if (themes == nullptr) return;
  const FARPROC address = ::GetProcAddress(themes, "SetWindowTheme");
  SetThemeFunction set_theme = nullptr;
  static_assert(sizeof set_theme == sizeof address);
  std::memcpy(&set_theme, &address, sizeof set_theme);
  if (set_theme != nullptr) set_theme(bar, L" ", L" ");
}

void CreateControls(HWND dialog) {
  for (const Control& control : kControls) {
    const HWND window =
        ::CreateWindowExA(0, control.window_class, InitialText(control.id), control.style, 0, 0, 0,
                          0, dialog, reinterpret_cast<HMENU>(static_cast<UINT_PTR>(control.id)),
                          static_cast<HINSTANCE>(ModuleHandle()), nullptr);
    ::SendMessageA(window, WM_SETFONT, reinterpret_cast<WPARAM>(DialogFont()), TRUE);
  }
  PaintInOwnColor(::GetDlgItem(dialog, kProgressBar));
  ::SendDlgItemMessageA(dialog, kProgressBar, PBM_SETRANGE, 0, MAKELPARAM(0, 100));
  ::SendDlgItemMessageA(dialog, kProgressBar, PBM_SETBARCOLOR, 0, RGB(0xFF, 0, 0));
  ::SendDlgItemMessageA(dialog, kProgressBar, PBM_SETPOS, 0, 0);
}

void SizeToClient(HWND dialog, int width, int height) {
  RECT window;
  RECT client;
  ::GetWindowRect(dialog, &window);
  ::GetClientRect(dialog, &client);
  const Box outer = ToBox(window);
  const Box inner = ToBox(client);
  ::SetWindowPos(dialog, nullptr, 0, 0, outer.width - inner.width + width,
                 outer.height - inner.height + height, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

// Puts the dialog over the middle of its parent (without one: of the window under the cursor) and
// inside the desktop's work area.
void FRD_CenterWindow(HWND dialog) {
  HWND reference = ::GetParent(dialog);
  if (!::IsWindow(reference)) {
    POINT cursor;
    if (!::GetCursorPos(&cursor)) return;
    reference = ::WindowFromPoint(cursor);
    if (!::IsWindow(reference)) return;
  }
  RECT window;
  RECT around;
  RECT work_area;
  if (!::GetWindowRect(dialog, &window) || !::GetWindowRect(reference, &around) ||
      !::SystemParametersInfoA(SPI_GETWORKAREA, 0, &work_area, 0)) {
    return;
  }
  const Box place = CentredBox(ToBox(window), ToBox(around), ToBox(work_area));
  ::SetWindowPos(dialog, nullptr, place.left, place.top, 0, 0,
                 SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void FillPolygon(HDC context, const POINT (&points)[6], int color_index) {
  const HGDIOBJ brush = ::SelectObject(context, ::GetSysColorBrush(color_index));
  ::Polygon(context, points, static_cast<int>(std::size(points)));
  ::SelectObject(context, brush);
}

// Draws the sunken area around the status line: shadow above and to the left, highlight below and
// to the right, each one pixel wide and just outside the area. Polygons without an outline leave
// out their right and lower border.
void FRD_DrawFrame(HWND dialog, HDC context) {
  RECT client;
  ::GetClientRect(dialog, &client);
  const Box area = FrameBox(g_unit, client.right - client.left);
  const LONG left = area.left;
  const LONG top = area.top;
  const LONG right = area.right();
  const LONG bottom = area.bottom();

  const RECT inside{left, top, right, bottom};
  ::FillRect(context, &inside, ::GetSysColorBrush(COLOR_BTNFACE));

  const HGDIOBJ pen = ::SelectObject(context, ::GetStockObject(NULL_PEN));
  const POINT upper_left[6] = {{left - 1, top - 1}, {right, top - 1}, {right, top},
                               {left, top},         {left, bottom},   {left - 1, bottom}};
  const POINT lower_right[6] = {{right + 1, bottom + 1}, {left - 1, bottom + 1},
                                {left - 1, bottom},      {right, bottom},
                                {right, top - 1},        {right + 1, top - 1}};
  FillPolygon(context, upper_left, COLOR_BTNSHADOW);
  FillPolygon(context, lower_right, COLOR_BTNHIGHLIGHT);
  ::SelectObject(context, pen);
}

void Place(HWND dialog, WORD id, const Box& box) {
  ::MoveWindow(::GetDlgItem(dialog, id), box.left, box.top, box.width, box.height, TRUE);
}

DWORD WINAPI FrdModalThreadProc(LPVOID parameter) {
  const HWND dialog = static_cast<HWND>(parameter);
  const int result = g_run->worker(dialog);
  ::PostMessageA(dialog, WM_COMMAND, kWorkFinished, static_cast<LPARAM>(result));
  return 0;
}

void OnInitDialog(HWND dialog, const char* title) {
  ::InitCommonControls();
  if (title != nullptr) ::SetWindowTextA(dialog, title);
  // The window closes when the work is done, never before.
  ::EnableMenuItem(::GetSystemMenu(dialog, FALSE), SC_CLOSE, MF_BYCOMMAND | MF_GRAYED);
  g_unit = MeasureUnit(dialog);
  CreateControls(dialog);
  SizeToClient(dialog, ClientWidth(g_unit), ClientHeight(g_unit));
  FRD_CenterWindow(dialog);
  g_dialog = dialog;
  g_run->on_open();
  ::PostMessageA(dialog, WM_COMMAND, kStartWork, 0);
}

void OnStartWork(HWND dialog) {
  if (g_worker != nullptr && ::WaitForSingleObject(g_worker, 0) == WAIT_OBJECT_0) {
    ::CloseHandle(g_worker);
  }
  g_worker = ::CreateThread(nullptr, 0, FrdModalThreadProc, dialog, 0, nullptr);
  if (g_worker != nullptr) return;
  ::MessageBoxA(dialog, "Can't create FrdModalThreadProc thread !", "Fatal Error in FRD_Proc",
                MB_ICONHAND);
  ::EndDialog(dialog, 0);
}

void OnWorkFinished(HWND dialog, INT_PTR result) {
  g_finished = true;
  if (::WaitForSingleObject(g_worker, kWorkerWait) == WAIT_OBJECT_0) {
    ::CloseHandle(g_worker);
    g_worker = nullptr;
  }
  ::EndDialog(dialog, result);
  g_dialog = nullptr;
}

void OnCommand(HWND dialog, WORD id, LPARAM parameter) {
  switch (id) {
    case kStartWork:
      OnStartWork(dialog);
      break;
    case kCancelButton:
      g_run->on_cancel();
      break;
    case kWorkFinished:
      OnWorkFinished(dialog, parameter);
      break;
    default:
      break;
  }
}

INT_PTR CALLBACK FRD_Proc(HWND dialog, UINT message, WPARAM wparam, LPARAM lparam) {
  switch (message) {
    case WM_INITDIALOG: {
      const StandardFloatMode layout_mode;  // this thread has the host's mode
      OnInitDialog(dialog, reinterpret_cast<const char*>(lparam));
      return TRUE;
    }
    case WM_SIZE: {
      const StandardFloatMode layout_mode;
      const int width = LOWORD(lparam);
      Place(dialog, kStatusLine, StatusBox(g_unit, width));
      Place(dialog, kProgressBar, BarBox(g_unit, width));
      Place(dialog, kCancelButton, CancelBox(g_unit, width));
      return TRUE;
    }
    case WM_PAINT: {
      PAINTSTRUCT paint;
      const HDC context = ::BeginPaint(dialog, &paint);
      FRD_DrawFrame(dialog, context);
      ::EndPaint(dialog, &paint);
      return TRUE;
    }
    case WM_SETCURSOR:
      SetWaitCursor();
      ::SetWindowLongPtrA(dialog, DWLP_MSGRESULT, TRUE);
      return TRUE;
    case WM_COMMAND:
      OnCommand(dialog, LOWORD(wparam), lparam);
      return TRUE;
    case WM_DESTROY:
      // When somebody else destroys the dialog, its loop looks up at the next posted message only.
      if (!g_finished) ::PostThreadMessageA(::GetCurrentThreadId(), WM_NULL, 0, 0);
      return FALSE;
    default:
      return FALSE;
  }
}

// The dialog is gone and its worker is not: the host destroyed the owner or is about to quit. The
// worker still uses what belongs to the caller, so it is cancelled and waited for; messages that it
// sends to windows of this thread are answered meanwhile.
void WaitForOrphanedWorker() {
  g_run->on_cancel();
  while (::MsgWaitForMultipleObjects(1, &g_worker, FALSE, INFINITE, QS_SENDMESSAGE) ==
         WAIT_OBJECT_0 + 1) {
    MSG message;
    ::PeekMessageA(&message, nullptr, 0, 0, PM_NOREMOVE | PM_QS_SENDMESSAGE);
  }
  ::CloseHandle(g_worker);
  g_worker = nullptr;
}

}  // namespace

int RunProgressWindow(const ProgressRun& run) {
  if (!GetConsole().progress) {
    run.on_open();
    const int result = run.worker(nullptr);
    run.on_close();
    return result;
  }
  void* dialog_template = AllocPages(kTemplateSize);
  if (dialog_template == nullptr) {
    ShowMessageBox(run.owner, "Can't create the FRD dialog template !", "FRD Message", kErrorIcon);
    return 0;
  }
  static_cast<DLGTEMPLATE*>(dialog_template)->style = kDialogStyle;
  const HWND owner = static_cast<HWND>(run.owner);
  const BOOL owner_enabled = ::IsWindowEnabled(owner);
  g_run = &run;
  g_finished = false;
  const INT_PTR result = ::DialogBoxIndirectParamA(
      static_cast<HINSTANCE>(ModuleHandle()), static_cast<DLGTEMPLATE*>(dialog_template), owner,
      FRD_Proc, reinterpret_cast<LPARAM>(run.title));
  run.free_pages(dialog_template);
  g_dialog = nullptr;
  if (!g_finished) {
    if (g_worker != nullptr) WaitForOrphanedWorker();
    // A dialog that is not ended by its own procedure may leave its owner disabled.
    if (owner_enabled != FALSE) ::EnableWindow(owner, TRUE);
  }
  run.on_close();
  g_run = nullptr;
  // A dialog that could not start gives -1, which a worker may return as well.
  return g_finished ? static_cast<int>(result) : 0;
}

void SetProgressText(const char* text) {
  const HWND dialog = g_dialog;
  if (dialog != nullptr) ::SetDlgItemTextA(dialog, kStatusLine, text);
}

void SetProgressPosition(int percent) {
  const HWND dialog = g_dialog;
  if (dialog == nullptr) return;
  ::SendDlgItemMessageA(dialog, kProgressBar, PBM_SETPOS, static_cast<WPARAM>(percent), 0);
}

void SetWaitCursor() { ::SetCursor(::LoadCursorA(nullptr, IDC_WAIT)); }

void PumpMessages() {
  MSG message;
  while (::PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE) != 0) {
    // The removed paint message is replaced on purpose by the next message, waited for.
    if (message.message == WM_PAINT) ::GetMessageA(&message, nullptr, 0, 0);
    if (::IsDialogMessageA(g_dialog, &message) == 0) {
      ::TranslateMessage(&message);
      ::DispatchMessageA(&message);
    }
  }
}

}  // namespace zatlib::platform
