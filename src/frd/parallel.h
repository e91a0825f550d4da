// Work spread over the machine's processors. Only plain computation is: files, page memory, logs
// and the user are the calling thread's alone, so that their order stays that of one thread.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

namespace zatlib {

// Number of threads that Workers use, the calling one included: what SetThreadCount said, else the
// number of processors, at most 16.
int ThreadCount();

// Sets that number for the process; 0 or less = the number of processors.
void SetThreadCount(int count);

// Threads beside the calling one, for one step. They begin with the first run that
// can use them and end with the object. Where the system gives no threads, the calling thread does
// everything.
class Workers {
 public:
  Workers();
  ~Workers();
  Workers(const Workers&) = delete;
  Workers& operator=(const Workers&) = delete;

  // Begins body(0) to body(parts - 1), each once, on the threads beside the calling one, in any
  // order. `body` must not throw. A run begun earlier is finished first.
  void Start(int64_t parts, std::function<void(int64_t part)> body);

  // Takes part in the run begun last and returns when all of it is done.
  void Finish();

  // Both: returns when all parts are done.
  void Run(int64_t parts, std::function<void(int64_t part)> body) {
    if (parts == 1) {
      Finish();
      body(0);
      return;
    }
    Start(parts, std::move(body));
    Finish();
  }

  // Start and Run with 0 to count - 1 split into runs of `grain`: body(begin, end) for each.
  template <typename Body>
  void StartRanges(int64_t count, int64_t grain, Body body) {
    Start((count + grain - 1) / grain, ByRange(count, grain, std::move(body)));
  }
  template <typename Body>
  void RunRanges(int64_t count, int64_t grain, Body body) {
    Run((count + grain - 1) / grain, ByRange(count, grain, std::move(body)));
  }

 private:
  template <typename Body>
  static auto ByRange(int64_t count, int64_t grain, Body body) {
    return [count, grain, body = std::move(body)](int64_t part) {
      const int64_t begin = part * grain;
      body(begin, begin + grain < count ? begin + grain : count);
    };
  }

  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace zatlib
