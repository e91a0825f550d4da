// A host with floating-point habits of its own: it flushes small numbers to zero and rounds down.
#pragma once

#include <cfenv>

#if defined(__SSE2__)
#include <xmmintrin.h>
#endif

namespace zatlib::test {

#if defined(__SSE2__)
// Of the SSE control and status register: all exceptions masked; flush to zero (bit 15), denormals
// are zero (bit 6), rounding down (bits 14 and 13), and the flag of an inexact result (bit 5).
inline constexpr unsigned kStandardMode = 0x1F80;
inline constexpr unsigned kHostMode = 0x1F80 | 0x8000 | 0x0040 | 0x2000 | 0x0020;
#endif

// The calling thread's mode while it lives; the one before comes back.
class HostFloatMode {
 public:
  HostFloatMode() {
    std::fegetenv(&before_);
#if defined(__SSE2__)
    sse_before_ = _mm_getcsr();  // not every environment holds this register
    _mm_setcsr(kHostMode);
#else
    std::fesetround(FE_DOWNWARD);
#endif
  }
  ~HostFloatMode() {
    std::fesetenv(&before_);
#if defined(__SSE2__)
    _mm_setcsr(sse_before_);
#endif
  }
  HostFloatMode(const HostFloatMode&) = delete;
  HostFloatMode& operator=(const HostFloatMode&) = delete;

  // True while the calling thread has this mode, the flag included.
  static bool IsSet() {
#if defined(__SSE2__)
    return _mm_getcsr() == kHostMode;
#else
    return std::fegetround() == FE_DOWNWARD;
#endif
  }

 private:
  std::fenv_t before_;
#if defined(__SSE2__)
  unsigned sse_before_ = 0;
#endif
};

// The smallest number above zero, which a library's call cannot know before.
inline double SmallestNumber() {
  volatile double number = 4.9406564584124654e-324;
  return number;
}

// True when the calling thread tells such numbers from zero and rounds to the nearest.
inline bool ComputesByTheStandard() {
  volatile double third = 1.0;
  third = third / 3.0;
  return SmallestNumber() > 0.0 && third == 0x1.5555555555555p-2 &&
         std::fegetround() == FE_TONEAREST;
}

}  // namespace zatlib::test
