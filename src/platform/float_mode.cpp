#include "platform/float_mode.h"

#if defined(__SSE__) || defined(_M_X64)
#define ZATLIB_HAS_SSE
#include <xmmintrin.h>
#endif

namespace zatlib::platform {

#if defined(ZATLIB_HAS_SSE)
namespace {

// All exceptions masked, rounding to the nearest; neither flush to zero nor denormals are zero.
constexpr unsigned kStandardSse = 0x1F80;

}  // namespace
#endif

StandardFloatMode::StandardFloatMode() {
#if defined(ZATLIB_HAS_SSE)
  // Read first: run-time libraries do not agree on whether their environment holds this register,
  // or whether their standard one ends the flushing.
  sse_before_ = _mm_getcsr();
#endif
  std::fegetenv(&before_);
  std::fesetenv(FE_DFL_ENV);
#if defined(ZATLIB_HAS_SSE)
  _mm_setcsr(kStandardSse);
#endif
}

StandardFloatMode::~StandardFloatMode() {
  std::fesetenv(&before_);
#if defined(ZATLIB_HAS_SSE)
  _mm_setcsr(sse_before_);
#endif
}

}  // namespace zatlib::platform
