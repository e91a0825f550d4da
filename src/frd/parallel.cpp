#include "frd/parallel.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "platform/float_mode.h"
#include "platform/thread.h"

namespace zatlib {
namespace {

constexpr int kMaxThreads = 16;

std::atomic<int> g_thread_count{0};

}  // namespace

int ThreadCount() {
  const int set = g_thread_count;
  const int count = set > 0 ? set : static_cast<int>(std::thread::hardware_concurrency());
  return std::clamp(count, 1, kMaxThreads);
}

void SetThreadCount(int count) { g_thread_count = count; }

struct Workers::State {
  std::mutex mutex;
  std::condition_variable begun;  // a run has begun, or the threads are to end
  std::condition_variable done;   // the last thread has left a run
  std::function<void(int64_t)> body;
  std::atomic<int64_t> next{0};  // part that nobody has taken yet
  int64_t parts = 0;
  uint64_t run = 0;   // number of the run
  size_t inside = 0;  // threads at work in it
  bool ending = false;
  bool threads_begun = false;
  std::array<platform::Thread, kMaxThreads - 1> threads;
  size_t thread_count = 0;  // of them there are

  // Begins the threads, once.
  void BeginThreads() {
    if (threads_begun) return;
    threads_begun = true;
    const auto helpers = static_cast<size_t>(ThreadCount() - 1);
    const auto serve = [](void* state) { static_cast<State*>(state)->Serve(); };
    // Where there are no more, the threads there are will do.
    while (thread_count < helpers && threads[thread_count].Start(serve, this)) ++thread_count;
  }

  void WorkOff() {
    for (int64_t part = next++; part < parts; part = next++) body(part);
  }

  void Serve() {
    // Where a thread begins with its creator's mode, that may be a host's.
    const platform::StandardFloatMode mode;
    uint64_t seen = 0;
    std::unique_lock<std::mutex> lock(mutex);
    while (true) {
      begun.wait(lock, [&] { return ending || run != seen; });
      if (ending) return;
      seen = run;
      ++inside;
      lock.unlock();
      WorkOff();
      lock.lock();
      if (--inside == 0) done.notify_one();
    }
  }
};

Workers::Workers() : state_(std::make_unique<State>()) {}

Workers::~Workers() {
  Finish();
  {
    const std::lock_guard<std::mutex> guard(state_->mutex);
    state_->ending = true;
  }
  state_->begun.notify_all();
  for (size_t i = 0; i < state_->thread_count; ++i) state_->threads[i].Join();
}

void Workers::Start(int64_t parts, std::function<void(int64_t)> body) {
  State& state = *state_;
  state.WorkOff();
  if (parts > 0) state.BeginThreads();
  {
    // Under one lock, so that no thread enters the old run while the new one is put in place.
    std::unique_lock<std::mutex> lock(state.mutex);
    state.done.wait(lock, [&] { return state.inside == 0; });
    state.body = std::move(body);
    state.parts = parts;
    state.next = 0;
    ++state.run;
  }
  if (parts > 0) state.begun.notify_all();
}

void Workers::Finish() {
  State& state = *state_;
  state.WorkOff();
  // A thread that comes later finds no part left.
  std::unique_lock<std::mutex> lock(state.mutex);
  state.done.wait(lock, [&] { return state.inside == 0; });
}

}  // namespace zatlib
