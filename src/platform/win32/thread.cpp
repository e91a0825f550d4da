#include "platform/thread.h"

#include <windows.h>

#include "platform/fault.h"

namespace zatlib::platform {
namespace {

constexpr SIZE_T kStackSize = 1 << 20;

DWORD WINAPI RunThread(void* thread) {
  static_cast<Thread*>(thread)->Run();
  return 0;
}

}  // namespace

bool Thread::Start(void (*run)(void* argument), void* argument) {
  if (ShouldFail(Operation::kThread)) return false;
  run_ = run;
  argument_ = argument;
  const HANDLE handle = ::CreateThread(nullptr, kStackSize, RunThread, this,
                                       STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
  handle_ = reinterpret_cast<uintptr_t>(handle);
  return handle != nullptr;
}

void Thread::Join() {
  const HANDLE handle = reinterpret_cast<HANDLE>(handle_);
  ::WaitForSingleObject(handle, INFINITE);
  ::CloseHandle(handle);
}

}  // namespace zatlib::platform
