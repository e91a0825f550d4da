// A platform that fails: at one operation, and at each operation of a run in turn.
#pragma once

#include <functional>
#include <set>
#include <string>

#include "platform/clock.h"
#include "platform/fault.h"
#include "test_support.h"

namespace zatlib::test {

// Which operations of a run fail.
struct Fault {
  platform::Operation operation = platform::Operation::kOpen;
  int64_t number = 1;   // the n-th of its kind
  bool sticky = false;  // and all later ones
  platform::WriteFault write_fault = platform::WriteFault::kNothingWritten;
};

// Armed as long as it lives.
class ArmedFault {
 public:
  explicit ArmedFault(const Fault& fault) {
    platform::ArmFault(fault.operation, fault.number, fault.sticky, fault.write_fault);
  }
  ~ArmedFault() { platform::ClearFaults(); }
  ArmedFault(const ArmedFault&) = delete;
  ArmedFault& operator=(const ArmedFault&) = delete;
};

// `run` with that fault, which is gone afterwards; returns what `run` returns. `count` becomes the
// number of operations of that kind that were tried.
template <typename Run>
auto RunWithFault(const Fault& fault, const Run& run, int64_t* count = nullptr) {
  const ArmedFault armed(fault);
  const auto result = run();
  if (count != nullptr) *count = platform::OperationCount(fault.operation);
  return result;
}

// How many operations of a kind an undisturbed `run` makes; it must return 1.
template <typename Run>
int64_t CountedOperations(platform::Operation operation, const Run& run) {
  platform::CountOperations();
  EXPECT_EQ(run(), 1);
  const int64_t count = platform::OperationCount(operation);
  platform::ClearFaults();
  return count;
}

// Runs `run` undisturbed, and then once for each operation of a kind that this has taken, each time
// with another one failing: the first, the second and so on, whatever number `fault` names. Calls
// `prepare` before each run, and `look` with the number, 0 for the undisturbed run, and the result
// after it.
template <typename Prepare, typename Run, typename Look>
void RunWithEachFault(Fault fault, const Prepare& prepare, const Run& run, const Look& look) {
  prepare();
  const int64_t count = CountedOperations(fault.operation, run);
  EXPECT_GT(count, 0);
  look(int64_t{0}, 1);
  for (int64_t n = 1; n <= count && !::testing::Test::HasFailure(); ++n) {
    SCOPED_TRACE("operation " + std::to_string(n));
    prepare();
    fault.number = n;
    look(n, RunWithFault(fault, run));
  }
}

// A step that is run again and again while one operation after the other fails.
struct Rerun {
  std::function<void()> prepare = {};     // puts the files back before each run
  std::function<int()> run;               // returns 1 or 0
  std::function<void()> check_good = {};  // after each run that succeeds
  bool sticky = false;
  platform::WriteFault write_fault = platform::WriteFault::kNothingWritten;
  bool goes_on = false;  // a run may succeed though it has reported an error
};

class FaultTest : public LibraryTest {
 protected:
  // Lets each operation of a kind fail. A run returns 0 exactly when it has reported an error, but
  // for one that `goes_on`.
  // Returns the reports of all runs ("[message][title]").
  std::set<std::string> FailEach(platform::Operation operation, const Rerun& rerun) {
    platform::StepTickCount(20000);  // the wait before the second try of a write passes at once
    std::set<std::string> all;
    RunWithEachFault(
        {.operation = operation, .sticky = rerun.sticky, .write_fault = rerun.write_fault},
        [&] {
          if (rerun.prepare) rerun.prepare();
          ClearLog();
        },
        rerun.run,
        [&](int64_t, int result) {
          const Lines reports = Reports();
          if (!rerun.goes_on || result != 1) {
            EXPECT_EQ(result, reports.empty() ? 1 : 0);
          }
          if (result == 1 && rerun.check_good) rerun.check_good();
          all.insert(reports.begin(), reports.end());
        });
    return all;
  }

  // Lets each operation of a kind fail; the logs of the runs that return 0 then.
  std::vector<Lines> LogsOfFailures(platform::Operation operation, const Rerun& rerun) {
    std::vector<Lines> logs;
    FailEach(operation, {.prepare = rerun.prepare,
                         .run =
                             [&] {
                               const int result = rerun.run();
                               if (result == 0) logs.push_back(log());
                               return result;
                             },
                         .check_good = rerun.check_good,
                         .sticky = rerun.sticky,
                         .write_fault = rerun.write_fault,
                         .goes_on = rerun.goes_on});
    return logs;
  }
};

}  // namespace zatlib::test
