/* A host application for the window tests: a main window with two owned windows and one that is
 * none of its own. It calls a function of the library and tells on standard output, line by line,
 * what happens to the windows; window_tests.py judges it and works the mouse.
 *
 *     window_host zatlib.dll FUNCTION CONTROL_FILE [hold=TEXT] [do=ACTION] [owner=KIND] [fail=CALL]
 *                 [runs=N] [delay=MILLISECONDS]
 *
 *   hold    stop the build when the status line first begins with TEXT
 *   do      while it is stopped: wait for one "cancel" or two ("cancel2"), "show" (waits for a line
 *           on standard input), "second" (calls the function again), "destroy" the owner, "quit"
 *   owner   "main" (default), "null", "dead" (a window that is gone)
 *   fail    "thread": no worker thread can be created; "template": no memory for the template
 *   delay   longest wait at a stop, default 30000
 *
 * Texts are told as the bytes that they are, in hexadecimal digits. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>
/* The controls come after the base header. */
#include <commctrl.h>

typedef int (*BuildFunction)(HWND, const char*);
union Function {
  FARPROC address;
  BuildFunction build;
};

/* The library's calls that are looked at or made to fail. */
typedef int(WINAPI* MessageBoxFunction)(HWND, LPCSTR, LPCSTR, UINT);
typedef HANDLE(WINAPI* CreateThreadFunction)(LPSECURITY_ATTRIBUTES, SIZE_T, LPTHREAD_START_ROUTINE,
                                             LPVOID, DWORD, LPDWORD);
typedef LPVOID(WINAPI* VirtualAllocFunction)(LPVOID, SIZE_T, DWORD, DWORD);

enum { kStatus = 1012, kBar = 1013, kCancel = 1002, kStart = 1008, kFinished = 1009 };

static HWND g_main;
static HWND g_owned[2];
static HWND g_stranger;
static HWND g_dialog;
static WNDPROC g_status_before;
static WNDPROC g_bar_before;
static WNDPROC g_dialog_before;
static union Function g_function;
static const char* g_control = "";
static const char* g_hold = "";
static const char* g_do = "";
static const char* g_fail = "";
static DWORD g_delay = 30000;
static int g_cancels;
static CRITICAL_SECTION g_output;

static void Tell(const char* format, ...) __attribute__((format(gnu_printf, 1, 2)));
static void Tell(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  EnterCriticalSection(&g_output);
  vprintf(format, arguments);
  putchar('\n');
  fflush(stdout);
  LeaveCriticalSection(&g_output);
  va_end(arguments);
}

/* One of a few rotating buffers, so that a line can hold several texts. */
static const char* Hex(const char* text) {
  static char buffers[8][2200];
  static LONG next;
  char* out = buffers[InterlockedIncrement(&next) & 7];
  size_t i;
  size_t length = strlen(text);
  if (length > 1090) length = 1090;
  strcpy(out, length == 0 ? "-" : "");
  for (i = 0; i < length; ++i) sprintf(out + 2 * i, "%02x", (unsigned char)text[i]);
  return out;
}

static const char* Name(HWND window) {
  if (window == NULL) return "null";
  if (window == g_main) return "main";
  if (window == g_dialog) return "dialog";
  if (window == g_owned[0] || window == g_owned[1]) return "owned";
  return window == g_stranger ? "stranger" : IsWindow(window) ? "other" : "dead";
}

static void TellEnabled(const char* when) {
  Tell("enabled %s main=%d owned1=%d owned2=%d stranger=%d", when, IsWindowEnabled(g_main),
       IsWindowEnabled(g_owned[0]), IsWindowEnabled(g_owned[1]), IsWindowEnabled(g_stranger));
}

static BOOL CALLBACK TellChild(HWND child, LPARAM dialog) {
  char kind[64] = "";
  char text[256] = "";
  RECT r;
  GetClassNameA(child, kind, sizeof kind);
  GetWindowTextA(child, text, sizeof text);
  GetWindowRect(child, &r);
  MapWindowPoints(NULL, (HWND)dialog, (POINT*)&r, 2);
  Tell(
      "child id=%d class=%s style=%08lx ex=%08lx text=%s left=%ld top=%ld width=%ld height=%ld "
      "font=%d",
      GetDlgCtrlID(child), kind, (unsigned long)GetWindowLongA(child, GWL_STYLE),
      (unsigned long)GetWindowLongA(child, GWL_EXSTYLE), Hex(text), r.left, r.top, r.right - r.left,
      r.bottom - r.top,
      SendMessageA(child, WM_GETFONT, 0, 0) == (LRESULT)GetStockObject(DEFAULT_GUI_FONT));
  return TRUE;
}

static void TellDialog(HWND dialog) {
  char title[256] = "";
  RECT window;
  RECT client;
  RECT reference;
  RECT work;
  PBRANGE range;
  TEXTMETRICA metrics;
  HDC context = GetDC(dialog);
  HGDIOBJ before = SelectObject(context, GetStockObject(DEFAULT_GUI_FONT));
  GetTextMetricsA(context, &metrics);
  SelectObject(context, before);
  ReleaseDC(dialog, context);
  GetWindowTextA(dialog, title, sizeof title);
  GetWindowRect(dialog, &window);
  GetClientRect(dialog, &client);
  GetWindowRect(IsWindow(GetParent(dialog)) ? GetParent(dialog) : dialog, &reference);
  SystemParametersInfoA(SPI_GETWORKAREA, 0, &work, 0);
  Tell("unit height=%ld leading=%ld frame=%d", metrics.tmHeight, metrics.tmExternalLeading,
       GetSystemMetrics(SM_CYDLGFRAME));
  Tell("dialog title=%s style=%08lx ex=%08lx owner=%s close=%d", Hex(title),
       (unsigned long)GetWindowLongA(dialog, GWL_STYLE),
       (unsigned long)GetWindowLongA(dialog, GWL_EXSTYLE), Name(GetParent(dialog)),
       (GetMenuState(GetSystemMenu(dialog, FALSE), SC_CLOSE, MF_BYCOMMAND) &
        (MF_GRAYED | MF_DISABLED)) == 0);
  Tell("client width=%ld height=%ld", client.right, client.bottom);
  Tell("place left=%ld top=%ld width=%ld height=%ld", window.left, window.top,
       window.right - window.left, window.bottom - window.top);
  Tell("over left=%ld top=%ld width=%ld height=%ld", reference.left, reference.top,
       reference.right - reference.left, reference.bottom - reference.top);
  Tell("work left=%ld top=%ld right=%ld bottom=%ld", work.left, work.top, work.right, work.bottom);
  EnumChildWindows(dialog, TellChild, (LPARAM)dialog);
  memset(&range, 0, sizeof range);
  SendDlgItemMessageA(dialog, kBar, PBM_GETRANGE, TRUE, (LPARAM)&range);
  Tell("bar low=%d high=%d position=%d color=%06lx", range.iLow, range.iHigh,
       (int)SendDlgItemMessageA(dialog, kBar, PBM_GETPOS, 0, 0),
       (unsigned long)SendDlgItemMessageA(dialog, kBar, PBM_GETBARCOLOR, 0, 0));
  TellEnabled("open");
}

static void TellCentre(const char* what, int id, HWND window) {
  RECT r;
  GetWindowRect(window, &r);
  Tell("%s id=%d x=%ld y=%ld", what, id, (r.left + r.right) / 2, (r.top + r.bottom) / 2);
}

static void PumpOnce(void) {
  MSG message;
  while (PeekMessageA(&message, NULL, 0, 0, PM_REMOVE)) {
    if (message.message == WM_QUIT) {
      PostQuitMessage((int)message.wParam);
      return;
    }
    if (!IsDialogMessageA(g_dialog, &message)) {
      TranslateMessage(&message);
      DispatchMessageA(&message);
    }
  }
}

static DWORD WINAPI ReadLine(LPVOID done) {
  char line[64];
  if (fgets(line, sizeof line, stdin) != NULL) *(volatile LONG*)done = 1;
  return 0;
}

/* The worker waits in the message that has brought the status text; the dialog stays alive. */
static void Hold(const char* text) {
  const DWORD start = GetTickCount();
  const int wanted = strcmp(g_do, "cancel2") == 0 ? 2 : 1;
  volatile LONG done = 0;
  Tell("stopped %s", Hex(text));
  if (strcmp(g_do, "second") == 0) {
    Tell("second returned %d", g_function.build(g_main, g_control));
    TellEnabled("second");
    return;
  }
  if (strcmp(g_do, "destroy") == 0) {
    DestroyWindow(g_main);
    return;
  }
  if (strcmp(g_do, "quit") == 0) {
    PostQuitMessage(3);
    return;
  }
  TellCentre("cancel", kCancel, GetDlgItem(g_dialog, kCancel));
  if (strcmp(g_do, "show") == 0) {
    CloseHandle(CreateThread(NULL, 0, ReadLine, (LPVOID)&done, 0, NULL));
  }
  while (!done && g_cancels < wanted && GetTickCount() - start < g_delay) {
    PumpOnce();
    Sleep(5);
  }
  if (!done && g_cancels < wanted) Tell("nobody came");
}

static LRESULT CALLBACK StatusProc(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  const LRESULT result = CallWindowProcA(g_status_before, window, message, wparam, lparam);
  if (message == WM_SETTEXT) {
    char text[256] = "";
    GetWindowTextA(window, text, sizeof text);
    Tell("status %s", Hex(text));
    if (g_hold[0] != 0 && strncmp(text, g_hold, strlen(g_hold)) == 0) {
      g_hold = "";
      Hold(text);
    }
  }
  return result;
}

static LRESULT CALLBACK BarProc(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  if (message == PBM_SETPOS) Tell("position %d", (int)wparam);
  return CallWindowProcA(g_bar_before, window, message, wparam, lparam);
}

static LRESULT CALLBACK DialogProc(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  const LRESULT result = CallWindowProcA(g_dialog_before, window, message, wparam, lparam);
  if (message == WM_COMMAND && LOWORD(wparam) == kCancel) {
    Tell("cancelled");
    ++g_cancels;
  }
  if (message == WM_SETCURSOR) {
    Tell("cursor handled=%d wait=%d", (int)result, GetCursor() == LoadCursorA(NULL, IDC_WAIT));
  }
  return result;
}

/* Sees the dialog's start message before the dialog does: everything is made, no worker runs. */
static LRESULT CALLBACK OnMessage(int code, WPARAM removed, LPARAM lparam) {
  const MSG* message = (const MSG*)lparam;
  if (code == HC_ACTION && removed == PM_REMOVE && message->message == WM_COMMAND &&
      GetDlgItem(message->hwnd, kBar) != NULL) {
    if (message->wParam == kStart) {
      g_dialog = message->hwnd;
      Tell("start parameter=%lld", (long long)message->lParam);
      TellDialog(g_dialog);
      g_dialog_before = (WNDPROC)SetWindowLongPtrA(g_dialog, GWLP_WNDPROC, (LONG_PTR)DialogProc);
      g_status_before = (WNDPROC)SetWindowLongPtrA(GetDlgItem(g_dialog, kStatus), GWLP_WNDPROC,
                                                   (LONG_PTR)StatusProc);
      g_bar_before =
          (WNDPROC)SetWindowLongPtrA(GetDlgItem(g_dialog, kBar), GWLP_WNDPROC, (LONG_PTR)BarProc);
    } else if (message->wParam == kFinished) {
      char text[256] = "";
      GetDlgItemTextA(message->hwnd, kStatus, text, sizeof text);
      Tell("finished parameter=%lld position=%d status=%s", (long long)message->lParam,
           (int)SendDlgItemMessageA(message->hwnd, kBar, PBM_GETPOS, 0, 0), Hex(text));
      TellEnabled("finished");
    }
  }
  return CallNextHookEx(NULL, code, removed, lparam);
}

/* The buttons of a message box, once it can be seen. */
static BOOL CALLBACK TellButton(HWND child, LPARAM unused) {
  char kind[64] = "";
  (void)unused;
  GetClassNameA(child, kind, sizeof kind);
  if (strcmp(kind, "Button") == 0 && IsWindowVisible(child)) {
    TellCentre("button", GetDlgCtrlID(child), child);
  }
  return TRUE;
}

static BOOL CALLBACK FindBox(HWND window, LPARAM found) {
  char kind[64] = "";
  GetClassNameA(window, kind, sizeof kind);
  if (strcmp(kind, "#32770") == 0 && window != g_dialog && IsWindowVisible(window)) {
    *(HWND*)found = window;
    return FALSE;
  }
  return TRUE;
}

static DWORD WINAPI WatchBox(LPVOID thread) {
  const DWORD start = GetTickCount();
  HWND box = NULL;
  while (box == NULL && GetTickCount() - start < g_delay) {
    EnumThreadWindows((DWORD)(DWORD_PTR)thread, FindBox, (LPARAM)&box);
    Sleep(10);
  }
  if (box == NULL) {
    Tell("no box came");
    return 0;
  }
  Sleep(150); /* it is painted by then */
  Tell("shown owner=%s dialog=%d main=%d", Name(GetWindow(box, GW_OWNER)),
       g_dialog != NULL && IsWindowEnabled(g_dialog), IsWindowEnabled(g_main));
  EnumChildWindows(box, TellButton, 0);
  Tell("answer");
  return 0;
}

static int WINAPI SeenMessageBox(HWND owner, LPCSTR text, LPCSTR title, UINT flags) {
  int answer;
  Tell("box owner=%s flags=%08x title=%s text=%s", Name(owner), flags, Hex(title), Hex(text));
  CloseHandle(CreateThread(NULL, 0, WatchBox, (LPVOID)(DWORD_PTR)GetCurrentThreadId(), 0, NULL));
  answer = MessageBoxA(owner, text, title, flags);
  Tell("answered %d", answer);
  return answer;
}

static HANDLE WINAPI NoThread(LPSECURITY_ATTRIBUTES security, SIZE_T stack,
                              LPTHREAD_START_ROUTINE routine, LPVOID parameter, DWORD flags,
                              LPDWORD id) {
  (void)security, (void)stack, (void)routine, (void)parameter, (void)flags, (void)id;
  SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  return NULL;
}

static LPVOID WINAPI NoTemplate(LPVOID address, SIZE_T size, DWORD kind, DWORD protection) {
  if (size == 82) {
    Tell("template size=82 kind=%lx protection=%lx", kind, protection);
    return NULL;
  }
  return VirtualAlloc(address, size, kind, protection);
}

/* Puts another function into the library's import table. */
static int Redirect(HMODULE library, const char* name, FARPROC replacement) {
  const char* base = (const char*)library;
  const IMAGE_NT_HEADERS* headers =
      (const IMAGE_NT_HEADERS*)(base + ((const IMAGE_DOS_HEADER*)base)->e_lfanew);
  const IMAGE_IMPORT_DESCRIPTOR* imported =
      (const IMAGE_IMPORT_DESCRIPTOR*)(base + headers->OptionalHeader
                                                  .DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT]
                                                  .VirtualAddress);
  for (; imported->Name != 0; ++imported) {
    const IMAGE_THUNK_DATA* names = (const IMAGE_THUNK_DATA*)(base + imported->OriginalFirstThunk);
    IMAGE_THUNK_DATA* functions = (IMAGE_THUNK_DATA*)(base + imported->FirstThunk);
    for (; names->u1.AddressOfData != 0; ++names, ++functions) {
      DWORD before;
      if (IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal) ||
          strcmp((const char*)((const IMAGE_IMPORT_BY_NAME*)(base + names->u1.AddressOfData))->Name,
                 name) != 0) {
        continue;
      }
      VirtualProtect(functions, sizeof *functions, PAGE_READWRITE, &before);
      functions->u1.Function = (ULONGLONG)(ULONG_PTR)replacement;
      VirtualProtect(functions, sizeof *functions, before, &before);
      return 1;
    }
  }
  return 0;
}

/* A union instead of a cast between function types. */
union Replacement {
  MessageBoxFunction message_box;
  CreateThreadFunction create_thread;
  VirtualAllocFunction virtual_alloc;
  FARPROC address;
};

static int RedirectAll(HMODULE library) {
  union Replacement replacement;
  replacement.message_box = SeenMessageBox;
  if (!Redirect(library, "MessageBoxA", replacement.address)) return 0;
  if (strcmp(g_fail, "thread") == 0) {
    replacement.create_thread = NoThread;
    if (!Redirect(library, "CreateThread", replacement.address)) return 0;
  }
  if (strcmp(g_fail, "template") == 0) {
    replacement.virtual_alloc = NoTemplate;
    if (!Redirect(library, "VirtualAlloc", replacement.address)) return 0;
  }
  return 1;
}

static HWND MakeWindow(const char* title, HWND owner, int left, int top) {
  const HWND window =
      CreateWindowExA(0, "ZatWindowHost", title, WS_POPUP | WS_CAPTION | WS_VISIBLE, left, top, 420,
                      260, owner, NULL, GetModuleHandleA(NULL), NULL);
  UpdateWindow(window);
  return window;
}

int main(int argc, char** argv) {
  WNDCLASSA window_class;
  HMODULE library;
  HWND owner;
  const char* owner_kind = "main";
  int runs = 1;
  int run;
  int i;
  if (argc < 4) return 2;
  InitializeCriticalSection(&g_output);
  g_control = argv[3];
  for (i = 4; i < argc; ++i) {
    if (strncmp(argv[i], "hold=", 5) == 0) g_hold = argv[i] + 5;
    if (strncmp(argv[i], "do=", 3) == 0) g_do = argv[i] + 3;
    if (strncmp(argv[i], "owner=", 6) == 0) owner_kind = argv[i] + 6;
    if (strncmp(argv[i], "fail=", 5) == 0) g_fail = argv[i] + 5;
    if (strncmp(argv[i], "runs=", 5) == 0) runs = atoi(argv[i] + 5);
    if (strncmp(argv[i], "delay=", 6) == 0) g_delay = (DWORD)atoi(argv[i] + 6);
  }
  library = LoadLibraryA(argv[1]);
  if (library == NULL || !RedirectAll(library)) return 2;
  g_function.address = GetProcAddress(library, argv[2]);
  if (g_function.address == NULL) return 2;

  memset(&window_class, 0, sizeof window_class);
  window_class.lpfnWndProc = DefWindowProcA;
  window_class.hInstance = GetModuleHandleA(NULL);
  window_class.hCursor = LoadCursorA(NULL, IDC_ARROW);
  window_class.hbrBackground = (HBRUSH)(COLOR_APPWORKSPACE + 1);
  window_class.lpszClassName = "ZatWindowHost";
  RegisterClassA(&window_class);
  g_stranger = MakeWindow("Stranger", NULL, 560, 420);
  g_main = MakeWindow("Main window", NULL, 120, 80);
  g_owned[0] = MakeWindow("Owned 1", g_main, 560, 80);
  g_owned[1] = MakeWindow("Owned 2", g_main, 120, 420);
  SetForegroundWindow(g_main);
  PumpOnce();
  owner = g_main;
  if (strcmp(owner_kind, "null") == 0) owner = NULL;
  if (strcmp(owner_kind, "dead") == 0) {
    owner = MakeWindow("Dead", NULL, 0, 0);
    DestroyWindow(owner);
    SetForegroundWindow(g_main);
    PumpOnce();
  }
  TellEnabled("before");

  SetWindowsHookExA(WH_GETMESSAGE, OnMessage, NULL, GetCurrentThreadId());
  for (run = 0; run < runs; ++run) {
    int result;
    g_cancels = 0;
    Tell("run %d", run + 1);
    result = g_function.build(owner, argv[3]);
    Tell("returned %d dialog=%d", result, g_dialog != NULL && IsWindow(g_dialog));
    TellEnabled("after");
    g_dialog = NULL;
  }
  return 0;
}
