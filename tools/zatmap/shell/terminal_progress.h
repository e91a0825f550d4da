// How far long work is, on a terminal.
#pragma once

#include <cstdint>

namespace zatmap {

// A line on standard error that is written over and over, and wiped out at the end. When standard
// error is no terminal nothing is shown.
class TerminalProgress {
 public:
  explicit TerminalProgress(const char* title);
  ~TerminalProgress();
  TerminalProgress(const TerminalProgress&) = delete;
  TerminalProgress& operator=(const TerminalProgress&) = delete;

  // Called for every record; shows the percentage about five times a second.
  void At(int64_t done, int64_t all) {
    if ((++calls_ & 0xfff) == 0 && terminal_) Show(done, all);
  }

  // The same for what is called less often.
  void Now(int64_t done, int64_t all) {
    if (terminal_) Show(done, all);
  }

 private:
  void Show(int64_t done, int64_t all);

  const char* title_;
  bool terminal_;
  bool shown_ = false;
  uint32_t calls_ = 0;
  uint64_t shown_at_ = 0;
};

}  // namespace zatmap
