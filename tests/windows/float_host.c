/* A host program with floating-point habits of its own: it flushes small numbers to zero and rounds
 * down. Codes of 18 digits below 2^52 are such small numbers as doubles.
 *
 *     float_host zatlib.dll
 *
 * Builds a network with such codes through every function of the library, silently and behind the
 * progress window, and looks at its own mode behind each call. Exit status: 0 when every result,
 * the map and the mode are right. */
#include <stdio.h>
#include <string.h>
#include <windows.h>
#include <xmmintrin.h>

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

/* All exceptions masked; flush to zero, denormals are zero, rounding down, a flag set. */
static const unsigned kHostMode = 0x1F80 | 0x8000 | 0x0040 | 0x2000 | 0x0020;

static HMODULE library;
static char folder[MAX_PATH];
static int faults = 0;

static void Fault(const char* where, const char* what) {
  printf("%s: %s\n", where, what);
  ++faults;
}

static void PathOf(const char* name, char* path) { sprintf(path, "%s\\%s", folder, name); }

static void Write(const char* name, const char* text) {
  char path[2 * MAX_PATH];
  FILE* file;
  PathOf(name, path);
  file = fopen(path, "wb");
  if (file == NULL || fputs(text, file) < 0) Fault(name, "cannot be written");
  if (file != NULL) fclose(file);
}

static void WriteControl(const char* name, const char* system_lines, int with_data) {
  char text[8 * MAX_PATH];
  int used = sprintf(text, "[SYSTEM]\r\n%s[FOLDER]\r\nCALCMAPDIR=%s\r\n", system_lines, folder);
  if (with_data) {
    used += sprintf(text + used, "[NODE]\r\nFILENUM=1\r\nFILE01=%s\\nodes.mid\r\n", folder);
    used += sprintf(text + used, "[NODEXY]\r\nFILENUM=1\r\nFILE01=%s\\xy.txt\r\n", folder);
    sprintf(text + used, "[LINK]\r\nFILENUM=1\r\nFILE01=%s\\links.txt\r\n", folder);
  }
  Write(name, text);
}

/* Two nodes with the codes 1 and 2^52 - 1 and the link 2 between them: node.idx has 16 bytes a
 * node, which are its code, its number and its city, that of the link. */
static void ExpectMap(const char* where) {
  static const unsigned char expected[32] = {1,    0,    0,    0,    0,    0,    0,    0,     //
                                             0,    0,    0,    0,    20,   0,    0,    0,     //
                                             0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, 0x00,  //
                                             1,    0,    0,    0,    20,   0,    0,    0};
  unsigned char bytes[64];
  char path[2 * MAX_PATH];
  size_t read = 0;
  FILE* file;
  PathOf("node.idx", path);
  file = fopen(path, "rb");
  if (file != NULL) {
    read = fread(bytes, 1, sizeof bytes, file);
    fclose(file);
    remove(path);
  }
  if (read != sizeof expected || memcmp(bytes, expected, sizeof expected) != 0) {
    Fault(where, "node.idx is wrong");
  }
}

static void Call(const char* name, const char* control, int expected) {
  char path[2 * MAX_PATH];
  union Function function;
  unsigned mode;
  int result;
  function.address = GetProcAddress(library, name);
  if (function.address == NULL) {
    Fault(name, "is not exported");
    return;
  }
  PathOf(control, path);
  _mm_setcsr(kHostMode);
  if (strcmp(name, "ZAT_NWB_GetLibVersion") == 0) {
    result = function.version(NULL);
  } else if (strcmp(name, "ZAT_NWB_GetLibInstance") == 0) {
    result = function.instance() == library;
  } else {
    result = function.build(NULL, path);
  }
  mode = _mm_getcsr();
  _mm_setcsr(0x1F80);
  printf("%s(%s) returned %d, mode %04X\n", name, control, result, mode);
  if (result != expected) Fault(name, "another result was expected");
  if (mode != kHostMode) Fault(name, "the caller's mode has changed");
}

int main(int argc, char** argv) {
  char temporary[MAX_PATH];
  if (argc != 2) {
    fprintf(stderr, "usage: float_host library\n");
    return 2;
  }
  library = LoadLibraryA(argv[1]);
  if (library == NULL) {
    fprintf(stderr, "cannot load %s: error %lu\n", argv[1], GetLastError());
    return 2;
  }
  GetTempPathA(sizeof temporary, temporary);
  sprintf(folder, "%.200szatlib_float_%lu", temporary, GetCurrentProcessId());
  if (!CreateDirectoryA(folder, NULL)) {
    fprintf(stderr, "cannot make %s: error %lu\n", folder, GetLastError());
    return 2;
  }
  Write("nodes.mid", "1,0,0,1,2\r\n4503599627370495,0,0,1,2\r\n");
  Write("xy.txt", "1,135,35\r\n4503599627370495,136,36\r\n");
  Write("links.txt", "2,3,20,10,0,0,0,1,4503599627370495,36,36\r\n");
  WriteControl("silent.ini", "CODELENGTH=18\r\nSILENTMODE=1\r\n", 1);
  WriteControl("keep.ini", "CODELENGTH=18\r\nSILENTMODE=1\r\nDEBUG=1\r\n", 1);
  WriteControl("shown.ini", "CODELENGTH=18\r\n", 1);
  WriteControl("empty.ini", "SILENTMODE=1\r\n", 0);

  Call("ZAT_NWB_GetLibVersion", "", 4085);
  Call("ZAT_NWB_GetLibInstance", "", 1);
  Call("ZAT_NWB_BuildRoadNetworksEx", "silent.ini", 1);
  ExpectMap("silent");
  Call("ZAT_NWB_BuildRoadNetworksEx", "shown.ini", 1);
  ExpectMap("shown");
  /* The two halves; the first one shows its window always. */
  Call("ZAT_NWB_BRN400_PathOneZAT", "keep.ini", 1);
  Call("ZAT_NWB_BRN400_PathTwo", "keep.ini", 1);
  ExpectMap("two halves");
  /* Failures, without message boxes: silence stays in the process. */
  Call("ZAT_NWB_BuildRoadNetworksEx", "empty.ini", 0);
  Call("ZAT_NWB_BuildRoadNetworks400", "empty.ini", 0);
  Call("ZAT_NWB_BRN400_PathOneZAT", "empty.ini", 0);
  Call("ZAT_NWB_BRN400_PathOneMSR", "empty.ini", 0);

  FreeLibrary(library);
  {
    static const char* const kNames[] = {
        "nodes.mid",    "xy.txt",       "links.txt",    "silent.ini",   "keep.ini",
        "shown.ini",    "empty.ini",    "linkdef.dat",  "linkname.dat", "linknode.idx",
        "link.idx",     "mapattr.dat",  "mapcalc.dat",  "mapdraw.dat",  "maploc.dat",
        "maprule.dat",  "nodeattr.dat", "nodelink.idx", "nodename.dat", "node.idx",
        "nodestr.~wk",  "linkstr.~wk",  "nnamestr.~wk", "lnamestr.~wk", "trafrule.~wk",
        "onewayst.~wk", "shapedat.inf"};
    char path[2 * MAX_PATH];
    size_t i;
    for (i = 0; i < sizeof kNames / sizeof kNames[0]; ++i) {
      PathOf(kNames[i], path);
      DeleteFileA(path);
    }
    RemoveDirectoryA(folder);
  }
  printf("%d faults\n", faults);
  return faults == 0 ? 0 : 1;
}
