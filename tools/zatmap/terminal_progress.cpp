#include "terminal_progress.h"

#include <cstdio>

#include "platform/clock.h"
#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

namespace zatmap {
namespace {

constexpr uint64_t kInterval = 200;  // milliseconds

bool IsTerminal() {
#if defined(_WIN32)
  return _isatty(_fileno(stderr)) != 0;
#else
  return isatty(STDERR_FILENO) == 1;
#endif
}

}  // namespace

TerminalProgress::TerminalProgress(const char* title)
    : title_(title), terminal_(IsTerminal()), shown_at_(zatlib::platform::TickCount()) {}

TerminalProgress::~TerminalProgress() {
  if (shown_) std::fprintf(stderr, "\r%*s\r", 60, "");
}

void TerminalProgress::Show(int64_t done, int64_t all) {
  const uint64_t now = zatlib::platform::TickCount();
  if (now - shown_at_ < kInterval) return;
  shown_at_ = now;
  shown_ = true;
  const int percent = all > 0 ? static_cast<int>(done * 100 / all) : 0;
  std::fprintf(stderr, "\r%-50.50s %3d %%", title_, percent);
  std::fflush(stderr);
}

}  // namespace zatmap
