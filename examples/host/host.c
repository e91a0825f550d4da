/* A desktop application around zatlib.dll: a main window that starts a build, and two tool windows
 * that belong to it. While the progress window is open, the tool windows are disabled; afterwards
 * they are back, whatever became of the build.
 *
 *     host.exe [control.ini]
 *
 * README.md beside this file tells how to compile it. */
#include <stdio.h>
#include <string.h>
#include <windows.h>
/* The dialogs come after the base header. */
#include <commdlg.h>

#include "zatlib.h"

#define ID_PATH 101
#define ID_BROWSE 102
#define ID_BUILD 103
#define ID_RESULT 104

static const char kTitle[] = "zatlib host";

/* The library reads the control file by its full path; the paths inside it count from the current
 * folder, which this host sets to the control file's. */
static void Build(HWND window) {
  char given[MAX_PATH];
  char path[MAX_PATH];
  char folder[MAX_PATH];
  char text[128];
  char* name = NULL;
  DWORD start;
  int result;
  GetDlgItemTextA(window, ID_PATH, given, sizeof given);
  if (GetFullPathNameA(given, sizeof path, path, &name) == 0 || name == NULL) {
    SetDlgItemTextA(window, ID_RESULT, "Name a control file first.");
    return;
  }
  snprintf(folder, sizeof folder, "%.*s", (int)(name - path), path);
  SetCurrentDirectoryA(folder);
  SetDlgItemTextA(window, ID_PATH, path);

  SetDlgItemTextA(window, ID_RESULT, "Building ...");
  EnableWindow(GetDlgItem(window, ID_BUILD), FALSE);
  start = GetTickCount();
  result = ZAT_NWB_BuildRoadNetworksEx(window, path);
  snprintf(text, sizeof text, "%s (result %d, %lu ms)",
           result != 0 ? "The map is built." : "No map was built; the log tells why.", result,
           (unsigned long)(GetTickCount() - start));
  SetDlgItemTextA(window, ID_RESULT, text);
  EnableWindow(GetDlgItem(window, ID_BUILD), TRUE);
}

static void Browse(HWND window) {
  char path[MAX_PATH] = "";
  OPENFILENAMEA choice;
  memset(&choice, 0, sizeof choice);
  choice.lStructSize = sizeof choice;
  choice.hwndOwner = window;
  choice.lpstrFilter = "Control files (*.ini)\0*.ini\0All files\0*.*\0";
  choice.lpstrFile = path;
  choice.nMaxFile = sizeof path;
  choice.Flags = OFN_FILEMUSTEXIST | OFN_HIDEREADONLY;
  if (GetOpenFileNameA(&choice)) SetDlgItemTextA(window, ID_PATH, path);
}

static void AddControl(HWND window, const char* kind, const char* text, DWORD style, int x, int y,
                       int width, int height, int id) {
  HWND control = CreateWindowExA(strcmp(kind, "EDIT") == 0 ? WS_EX_CLIENTEDGE : 0, kind, text,
                                 WS_CHILD | WS_VISIBLE | style, x, y, width, height, window,
                                 (HMENU)(INT_PTR)id, GetModuleHandleA(NULL), NULL);
  SendMessageA(control, WM_SETFONT, (WPARAM)GetStockObject(DEFAULT_GUI_FONT), TRUE);
}

static LRESULT CALLBACK MainProc(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  switch (message) {
    case WM_CREATE:
      AddControl(window, "STATIC", "Control file:", 0, 12, 16, 80, 20, 0);
      AddControl(window, "EDIT", "", WS_TABSTOP | ES_AUTOHSCROLL, 92, 12, 350, 24, ID_PATH);
      AddControl(window, "BUTTON", "Br&owse...", WS_TABSTOP, 450, 12, 80, 24, ID_BROWSE);
      AddControl(window, "BUTTON", "&Build the map", WS_TABSTOP | BS_DEFPUSHBUTTON, 92, 48, 120, 28,
                 ID_BUILD);
      AddControl(window, "STATIC", "", 0, 224, 54, 310, 20, ID_RESULT);
      return 0;
    case WM_COMMAND:
      if (LOWORD(wparam) == ID_BUILD) Build(window);
      if (LOWORD(wparam) == ID_BROWSE) Browse(window);
      return 0;
    case WM_DESTROY:
      PostQuitMessage(0);
      return 0;
    default:
      return DefWindowProcA(window, message, wparam, lparam);
  }
}

/* The tool windows only count the clicks into them: a disabled window counts none. */
static LRESULT CALLBACK ToolProc(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  char text[64];
  PAINTSTRUCT paint;
  switch (message) {
    case WM_LBUTTONDOWN:
      SetWindowLongPtrA(window, GWLP_USERDATA, GetWindowLongPtrA(window, GWLP_USERDATA) + 1);
      InvalidateRect(window, NULL, TRUE);
      return 0;
    case WM_ENABLE:
      InvalidateRect(window, NULL, TRUE);
      return 0;
    case WM_PAINT:
      BeginPaint(window, &paint);
      SelectObject(paint.hdc, GetStockObject(DEFAULT_GUI_FONT));
      SetBkMode(paint.hdc, TRANSPARENT);
      SetTextColor(paint.hdc,
                   GetSysColor(IsWindowEnabled(window) ? COLOR_BTNTEXT : COLOR_GRAYTEXT));
      snprintf(text, sizeof text, "%s, %d clicks", IsWindowEnabled(window) ? "enabled" : "disabled",
               (int)GetWindowLongPtrA(window, GWLP_USERDATA));
      TextOutA(paint.hdc, 12, 12, text, (int)strlen(text));
      EndPaint(window, &paint);
      return 0;
    default:
      return DefWindowProcA(window, message, wparam, lparam);
  }
}

static ATOM Register(const char* name, WNDPROC procedure) {
  WNDCLASSA window_class;
  memset(&window_class, 0, sizeof window_class);
  window_class.lpfnWndProc = procedure;
  window_class.hInstance = GetModuleHandleA(NULL);
  window_class.hCursor = LoadCursorA(NULL, IDC_ARROW);
  window_class.hbrBackground = (HBRUSH)(COLOR_BTNFACE + 1);
  window_class.lpszClassName = name;
  return RegisterClassA(&window_class);
}

int main(int argc, char** argv) {
  static const char* const kToolTitles[2] = {"Layers", "Search"};
  HWND window;
  MSG message;
  int i;
  if (!Register("ZatHostMain", MainProc) || !Register("ZatHostTool", ToolProc)) return 2;
  window = CreateWindowExA(0, "ZatHostMain", kTitle, WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, 60, 60,
                           560, 330, NULL, NULL, GetModuleHandleA(NULL), NULL);
  if (window == NULL) return 2;
  SetDlgItemTextA(window, ID_PATH, argc > 1 ? argv[1] : "");
  for (i = 0; i < 2; ++i) {
    /* A parent makes a popup window an owned one: it stays above its owner and goes with it. */
    CreateWindowExA(WS_EX_TOOLWINDOW, "ZatHostTool", kToolTitles[i],
                    WS_POPUP | WS_CAPTION | WS_VISIBLE, 640, 60 + 170 * i, 200, 150, window, NULL,
                    GetModuleHandleA(NULL), NULL);
  }
  ShowWindow(window, SW_SHOW);
  UpdateWindow(window);
  SetFocus(GetDlgItem(window, ID_BUILD));
  while (GetMessageA(&message, NULL, 0, 0) > 0) {
    if (!IsDialogMessageA(window, &message)) {
      TranslateMessage(&message);
      DispatchMessageA(&message);
    }
  }
  return 0;
}
