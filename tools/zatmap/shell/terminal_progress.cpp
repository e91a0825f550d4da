#include "shell/terminal_progress.h"

#include <cstdio>

#include "platform/clock.h"
#include "platform/console.h"
#include "platform/user_interface.h"

namespace zatmap {
namespace {

constexpr uint64_t kInterval = 200;  // milliseconds

}  // namespace

TerminalProgress::TerminalProgress(const char* title)
    : title_(title),
      terminal_(zatlib::platform::IsErrorTerminal() && zatlib::platform::GetConsole().progress),
      shown_at_(zatlib::platform::TickCount()) {}

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
