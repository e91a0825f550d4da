// The floating-point mode of a thread. Hosts set modes of their own: audio and graphics programs
// flush small numbers to zero, others round in another direction or meet exceptions. Codes of 18
// digits, compared as doubles, are such small numbers, and the bytes of a map depend on the
// rounding.
#pragma once

#include <cfenv>

namespace zatlib::platform {

// While one lives, the calling thread computes by the standard: to the nearest number, down to the
// smallest ones, without exceptions. Then it has its mode back, with the flags that it had.
class StandardFloatMode {
 public:
  StandardFloatMode();
  ~StandardFloatMode();
  StandardFloatMode(const StandardFloatMode&) = delete;
  StandardFloatMode& operator=(const StandardFloatMode&) = delete;

 private:
  std::fenv_t before_;
  unsigned sse_before_ = 0;  // of x86 processors
};

}  // namespace zatlib::platform
