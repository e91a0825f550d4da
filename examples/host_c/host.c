/* A host program: prints the library's version, builds the map of a control file and tells the
 * result.
 *
 * From the project's folder, after a build of the library:
 *
 *   Linux
 *     gcc -Wall -Iinclude examples/host_c/host.c -Lbuild/native/lib -lzatlib \
 *         -Wl,-rpath,"$PWD/build/native/lib" -o build/host
 *     cd examples/monaco && ../../build/host "$PWD/control.ini"
 *
 *   Windows, cross-compiled
 *     x86_64-w64-mingw32-gcc -Wall -Iinclude examples/host_c/host.c -Lbuild/windows/lib -lzatlib \
 *         -o build/windows/bin/host.exe
 *     and there, zatlib.dll beside host.exe:
 *     cd examples\monaco
 *     ..\..\build\windows\bin\host.exe %CD%\control.ini
 *
 * The control file is named with its full path: Windows looks for a bare name in its own folder.
 * The paths inside it count from the current folder.
 *
 * Exit status: 0 the map is built, 1 the build failed or was cancelled, 2 wrong usage. */
#include <stdio.h>

#include "zatlib.h"

int main(int argc, char** argv) {
  char banner[34];
  int version = ZAT_NWB_GetLibVersion(banner);
  printf("%s (%d)\n", banner, version);
  if (argc != 2) {
    fprintf(stderr, "usage: host control.ini\n");
    return 2;
  }

  /* A program with a window passes its handle: the progress window and the message boxes then
   * belong to it. Without one the window that the user works in owns them. */
  if (ZAT_NWB_BuildRoadNetworksEx(NULL, argv[1]) == 0) {
    fprintf(stderr, "%s: no map was built; the log tells why.\n", argv[1]);
    return 1;
  }
  printf("%s: the map is built.\n", argv[1]);
  return 0;
}
