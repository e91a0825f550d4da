// A user who cancels while a step is at work: at each of its operations in turn.
#pragma once

#include <cstdint>

#include "fault_each.h"
#include "frd/progress.h"

namespace zatlib::test {

// The operation at which the user cancels.
struct CancelPoint {
  platform::Operation operation;
  int64_t number;
};
inline CancelPoint g_cancel_point{};

// Runs `run` again and again, not silent, each time with the user cancelling at the next operation
// of a kind, or at every `stride`-th one; `prepare` puts the files back before each run. Expects
// that a run fails without a report in the `log`, or succeeds where nobody has looked any more.
// Returns how many runs failed.
template <typename Prepare, typename Run>
int CancelAtEach(platform::Operation operation, int64_t stride, const Prepare& prepare,
                 const Run& run, const Lines& log) {
  prepare();
  const int64_t count = CountedOperations(operation, run);
  int failed = 0;
  for (int64_t n = 1; n <= count && !::testing::Test::HasFailure(); n += stride) {
    SCOPED_TRACE("operation " + std::to_string(n));
    prepare();
    g_cancel_point = {operation, n};
    platform::CountOperations();
    platform::WatchOperations([](platform::Operation kind, int64_t number) {
      if (kind == g_cancel_point.operation && number == g_cancel_point.number) {
        FRD_SetCancelled(true);
      }
    });
    g_silent = 0;
    failed += run() == 0 ? 1 : 0;
    g_silent = 1;
    platform::WatchOperations(nullptr);
    platform::ClearFaults();
    FRD_SetCancelled(false);
    for (const std::string& line : log) EXPECT_FALSE(IsReport(line)) << line;
  }
  return failed;
}

}  // namespace zatlib::test
