#include "platform/user_interface.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <mutex>
#include <string>
#include <thread>

#include "platform/code_page.h"
#include "platform/console.h"

namespace zatlib::platform {
namespace {

using Clock = std::chrono::steady_clock;

volatile std::sig_atomic_t g_interrupts = 0;

// What the terminal shows. The worker writes, the waiting thread reads the interrupts.
struct Terminal {
  std::mutex mutex;
  bool open = false;
  bool is_terminal = false;
  bool drawn = false;
  bool behind = false;  // the line shown is older than the status
  std::string status;
  int percent = 0;
  Clock::time_point started;
  Clock::time_point last_drawn;
};
Terminal g_terminal;

void OnInterrupt(int) { g_interrupts = g_interrupts + 1; }

// A status text of several lines as one.
std::string OneLine(std::string text) {
  text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
  std::replace(text.begin(), text.end(), '\n', ' ');
  return text;
}

// Cuts a UTF-8 text to what fits into that many columns of a terminal. Characters of three bytes,
// the Japanese ones, take two.
void CutToColumns(std::string* text, size_t columns) {
  size_t used = 0;
  for (size_t i = 0; i < text->size();) {
    const auto lead = static_cast<unsigned char>((*text)[i]);
    const size_t bytes = lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    used += bytes < 3 ? 1 : 2;
    if (used > columns) {
      text->resize(i);
      return;
    }
    i += bytes;
  }
}

// The cursor's place and the "^C" that a terminal echoes.
constexpr int kFreeColumns = 3;

// One line: bar, percentage, elapsed time and status, cut to the terminal's width.
void Draw(bool now) {
  Terminal& t = g_terminal;
  if (!t.is_terminal) return;
  const auto time = Clock::now();
  if (!now && t.drawn && time - t.last_drawn < std::chrono::milliseconds(50)) {
    t.behind = true;
    return;
  }
  const long seconds =
      static_cast<long>(std::chrono::duration_cast<std::chrono::seconds>(time - t.started).count());
  char head[96];
  constexpr int kBar = 24;
  char bar[kBar + 1];
  const int filled = t.percent * kBar / 100;
  for (int i = 0; i < kBar; ++i) bar[i] = i < filled ? '#' : '.';
  bar[kBar] = 0;
  std::snprintf(head, sizeof head, "[%s] %3d%% %02ld:%02ld ", bar, t.percent, seconds / 60,
                seconds % 60);
  std::string line = head + OneLine(t.status);
  winsize size{};
  const int columns =
      ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
  CutToColumns(&line, static_cast<size_t>(std::max(0, columns - kFreeColumns)));
  std::fprintf(stderr, "\r%s\x1b[K", line.c_str());
  std::fflush(stderr);
  t.drawn = true;
  t.behind = false;
  t.last_drawn = time;
}

// Takes the progress line away, so that other output begins on a line of its own.
void Erase() {
  Terminal& t = g_terminal;
  if (!t.is_terminal || !t.drawn) return;
  std::fprintf(stderr, "\r\x1b[K");
  std::fflush(stderr);
  t.drawn = false;
}

}  // namespace

bool IsErrorTerminal() { return ::isatty(STDERR_FILENO) == 1; }

bool IsLiveWindow(WindowHandle) { return false; }

WindowHandle ForegroundWindow() { return nullptr; }

WindowHandle ActiveWindow() { return nullptr; }

void EnableOwnedWindows(WindowHandle, bool) {}

int ShowMessageBox(WindowHandle, const char* text, const char* title, unsigned) {
  if (!GetConsole().messages) return kAnswerOk;
  const std::lock_guard<std::mutex> guard(g_terminal.mutex);
  Erase();
  std::fprintf(stderr, "%s: %s\n", ForTerminal(title).c_str(), ForTerminal(text).c_str());
  std::fflush(stderr);
  if (g_terminal.open) Draw(true);
  return kAnswerOk;
}

int RunProgressWindow(const ProgressRun& run) {
  {
    const std::lock_guard<std::mutex> guard(g_terminal.mutex);
    g_terminal.open = true;
    g_terminal.is_terminal = IsErrorTerminal() && GetConsole().progress;
    g_terminal.drawn = g_terminal.behind = false;
    g_terminal.status.clear();
    g_terminal.percent = 0;
    g_terminal.started = Clock::now();
  }
  run.on_open();
  SetProgressText(run.first_status);

  // The first Ctrl-C is the Cancel button; the second one does what it did before the build.
  struct sigaction before {};
  struct sigaction ours {};
  ours.sa_handler = OnInterrupt;
  ours.sa_flags = SA_RESTART;
  g_interrupts = 0;
  const bool handled = ::sigaction(SIGINT, nullptr, &before) == 0 && before.sa_handler != SIG_IGN &&
                       ::sigaction(SIGINT, &ours, nullptr) == 0;

  std::mutex mutex;
  std::condition_variable done;
  bool ended = false;
  int result = 0;
  std::thread worker;
  try {
    worker = std::thread([&] {
      const int value = run.worker(nullptr);
      const std::lock_guard<std::mutex> guard(mutex);
      result = value;
      ended = true;
      done.notify_one();
    });
  } catch (const std::system_error&) {
    ShowMessageBox(run.owner, "Can't create FrdModalThreadProc thread !", "Fatal Error in FRD_Proc",
                   kErrorIcon);
    ended = true;
  }
  bool restored = !handled;
  {
    std::unique_lock<std::mutex> lock(mutex);
    while (!ended) {
      done.wait_for(lock, std::chrono::milliseconds(20));
      if (g_interrupts > 0 && !restored) {
        ::sigaction(SIGINT, &before, nullptr);
        restored = true;
        lock.unlock();
        run.on_cancel();
        lock.lock();
      }
      // The worker may go on without a word for a while: a text that came too soon behind another
      // one is shown, and the clock runs.
      const std::lock_guard<std::mutex> guard(g_terminal.mutex);
      const bool second_over =
          g_terminal.drawn && Clock::now() - g_terminal.last_drawn >= std::chrono::seconds(1);
      if (g_terminal.behind || second_over) Draw(false);
    }
  }
  if (worker.joinable()) worker.join();
  if (!restored) ::sigaction(SIGINT, &before, nullptr);
  {
    const std::lock_guard<std::mutex> guard(g_terminal.mutex);
    Erase();
    g_terminal.open = false;
  }
  run.on_close();
  return result;
}

void SetProgressText(const char* text) {
  const std::lock_guard<std::mutex> guard(g_terminal.mutex);
  Terminal& t = g_terminal;
  if (!t.open) return;
  const std::string status = ForTerminal(text);
  if (status == t.status) return;
  t.status = status;
  if (t.is_terminal) {
    Draw(false);
  } else if (GetConsole().status_lines && !IsErrorTerminal()) {
    std::fprintf(stderr, "%s\n", OneLine(status).c_str());
  }
}

void SetProgressPosition(int percent) {
  const std::lock_guard<std::mutex> guard(g_terminal.mutex);
  if (!g_terminal.open) return;
  g_terminal.percent = percent;
  Draw(true);
}

void SetWaitCursor() {}

void PumpMessages() {}

}  // namespace zatlib::platform
