// A lock known by name to all processes of one user session.
#pragma once

#include <cstdint>

namespace zatlib::platform {

// Takes the lock, waiting at most `timeout_ms`; gives it back when destroyed. A timeout is not an
// error: Held() tells, and the caller goes on.
class NamedLock {
 public:
  NamedLock(const char* name, uint32_t timeout_ms);
  ~NamedLock() { Release(); }
  NamedLock(const NamedLock&) = delete;
  NamedLock& operator=(const NamedLock&) = delete;

  bool Held() const { return held_; }
  void Release();

 private:
  intptr_t handle_ = -1;
  bool held_ = false;
};

}  // namespace zatlib::platform
