/* The smallest host program: loads the library, calls one of its functions without a window and
 * prints what it returned.
 *
 *     dll_host zatlib.dll ZAT_NWB_BuildRoadNetworksEx control.ini
 *     dll_host zatlib.dll ZAT_NWB_GetLibVersion
 *
 * Exit status: 0 for a result other than 0, 1 for 0, 2 when the call could not be made. */
#include <stdio.h>
#include <string.h>
#include <windows.h>

typedef int (*VersionFunction)(char*);
typedef HINSTANCE (*InstanceFunction)(void);
typedef int (*BuildFunction)(HWND, const char*);

/* GetProcAddress hands every function out under one type; a union avoids the cast. */
union Function {
  FARPROC address;
  VersionFunction version;
  InstanceFunction instance;
  BuildFunction build;
};

int main(int argc, char** argv) {
  HMODULE library;
  union Function function;
  int result;
  if (argc != 3 && argc != 4) {
    fprintf(stderr, "usage: dll_host library function [control file]\n");
    return 2;
  }
  library = LoadLibraryA(argv[1]);
  if (library == NULL) {
    fprintf(stderr, "cannot load %s: error %lu\n", argv[1], GetLastError());
    return 2;
  }
  function.address = GetProcAddress(library, argv[2]);
  if (function.address == NULL) {
    fprintf(stderr, "%s does not export %s\n", argv[1], argv[2]);
    return 2;
  }
  if (strcmp(argv[2], "ZAT_NWB_GetLibVersion") == 0) {
    /* The banner takes 34 bytes at most. */
    char banner[35];
    memset(banner, '#', sizeof banner);
    result = function.version(banner);
    banner[34] = 0;
    printf("%s\n", banner);
  } else if (strcmp(argv[2], "ZAT_NWB_GetLibInstance") == 0) {
    result = function.instance() == library;
  } else {
    result = function.build(NULL, argc == 4 ? argv[3] : NULL);
  }
  printf("%s returned %d\n", argv[2], result);
  FreeLibrary(library);
  return result != 0 ? 0 : 1;
}
