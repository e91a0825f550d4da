// The whole check of a control file in one call.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "check/findings.h"

namespace zatmap::check {

inline constexpr int64_t kShown = 100;  // findings that are shown unless somebody wants others

class Control;
class Network;

// Looks at what has been read, once all findings are there.
using Look = std::function<void(const Control& control, const Network& network)>;

struct RunOptions {
  std::string control_file;         // as the user wrote it
  bool msr = false;                 // the MSR layout, whatever [SYSTEM] FORMAT says
  bool all = false;                 // also findings that follow from others
  int64_t max_per_kind = kShown;    // findings kept of a kind (0: all); all of them are counted
  int64_t shape_limit = INT32_MAX;  // bytes of all shapes; a test sets a smaller one
  int64_t piece_size = 1 << 17;  // bytes of files that a thread looks at at a time; 0: no threads,
                                 // every line is read by itself. The findings are the same.
  Look look = nullptr;           // not called when the control file names no data
};

// Reads everything that a build of the control file would read and returns what is wrong with it.
// Prints and writes nothing but a progress line on a terminal. Nothing is thrown: when memory runs
// out, the findings up to there come back and complete() is false.
Findings RunChecks(const RunOptions& options);

}  // namespace zatmap::check
