#include "platform/named_lock.h"

#include <windows.h>

namespace zatlib::platform {

NamedLock::NamedLock(const char* name, uint32_t timeout_ms) {
  const HANDLE mutex = ::CreateMutexA(nullptr, FALSE, name);
  if (mutex == nullptr) return;
  handle_ = reinterpret_cast<intptr_t>(mutex);
  // A holder that died without giving it back hands it on as abandoned.
  const DWORD answer = ::WaitForSingleObject(mutex, timeout_ms);
  held_ = answer == WAIT_OBJECT_0 || answer == WAIT_ABANDONED;
}

void NamedLock::Release() {
  if (handle_ == -1) return;
  const HANDLE mutex = reinterpret_cast<HANDLE>(handle_);
  if (held_) ::ReleaseMutex(mutex);
  ::CloseHandle(mutex);
  handle_ = -1;
  held_ = false;
}

}  // namespace zatlib::platform
