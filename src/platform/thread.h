// A thread of the system.
#pragma once

#include <cstdint>

namespace zatlib::platform {

// A thread that takes what it needs of memory when it is started and nothing later: neither heap
// memory of its own, which some systems give a thread in large pieces of the address space and
// never take back, nor more than its stack of 1 MiB. Started once; joined before it is destroyed.
// It stays where it is.
class Thread {
 public:
  Thread() = default;
  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;

  // Calls run(argument) on a new thread. False when the system (or an armed fault) gives none.
  bool Start(void (*run)(void* argument), void* argument);

  // Returns when it has ended.
  void Join();

  // What the thread itself does.
  void Run() { run_(argument_); }

 private:
  void (*run_)(void* argument) = nullptr;
  void* argument_ = nullptr;
  uintptr_t handle_ = 0;
};

}  // namespace zatlib::platform
