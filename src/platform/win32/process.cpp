#include "platform/process.h"

#include <windows.h>

#include <cstdlib>

namespace zatlib::platform {

void EndProcessOnRangeError() {
  constexpr UINT kStackBufferOverrun = 0xC0000409;  // STATUS_STACK_BUFFER_OVERRUN
  ::TerminateProcess(::GetCurrentProcess(), kStackBufferOverrun);
  std::abort();  // not reached
}

}  // namespace zatlib::platform
