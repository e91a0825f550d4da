#include "platform/terminal.h"

#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace zatmap {

bool OutputTakesColours() {
  const char* kind = std::getenv("TERM");
  return ::isatty(STDOUT_FILENO) != 0 && kind != nullptr && *kind != 0 &&
         std::strcmp(kind, "dumb") != 0;
}

}  // namespace zatmap
