#include "platform/terminal.h"

#include <windows.h>

namespace zatmap {

bool OutputTakesColours() {
  constexpr DWORD kSequences = 0x0004;  // ENABLE_VIRTUAL_TERMINAL_PROCESSING
  const HANDLE output = ::GetStdHandle(STD_OUTPUT_HANDLE);
  DWORD mode = 0;
  return ::GetConsoleMode(output, &mode) != 0 &&
         ((mode & kSequences) != 0 || ::SetConsoleMode(output, mode | kSequences) != 0);
}

}  // namespace zatmap
