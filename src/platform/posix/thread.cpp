#include "platform/thread.h"

#include <pthread.h>

#include <cstddef>

#include "platform/fault.h"

namespace zatlib::platform {
namespace {

constexpr size_t kStackSize = 1 << 20;

void* RunThread(void* thread) {
  static_cast<Thread*>(thread)->Run();
  return nullptr;
}

}  // namespace

bool Thread::Start(void (*run)(void* argument), void* argument) {
  if (ShouldFail(Operation::kThread)) return false;
  run_ = run;
  argument_ = argument;
  pthread_attr_t attributes;
  if (::pthread_attr_init(&attributes) != 0) return false;
  pthread_t handle;
  const bool started = ::pthread_attr_setstacksize(&attributes, kStackSize) == 0 &&
                       ::pthread_create(&handle, &attributes, RunThread, this) == 0;
  ::pthread_attr_destroy(&attributes);
  if (started) handle_ = static_cast<uintptr_t>(handle);
  return started;
}

void Thread::Join() { ::pthread_join(static_cast<pthread_t>(handle_), nullptr); }

}  // namespace zatlib::platform
