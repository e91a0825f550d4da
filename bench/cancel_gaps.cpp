// cancel_gaps: how long a build goes on without a look at the Cancel button. Runs a build behind a
// progress window of its own, in place of the terminal's, which notes the time of every look; then
// cancels it right behind the looks that are followed by the longest stretches, and at moments in
// between, and measures how long the build takes to end.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "frd/log.h"
#include "frd/progress.h"
#include "interface/driver/build_driver.h"
#include "platform/user_interface.h"

namespace {

using Clock = std::chrono::steady_clock;

// A stretch between two looks.
struct Stretch {
  int64_t look;       // number of the look in front of it, from 0
  double wall;        // milliseconds
  double processor;   // milliseconds of the worker's own time
  std::string stage;  // the last line of the log or status text in front of it
};

struct Watch {
  int64_t looks = 0;
  int64_t cancel_at = -1;  // look; -1 = never
  std::function<void()> cancel;
  Clock::time_point last, cancelled;
  double last_processor = 0.0;
  std::string stage;
  std::vector<Stretch> stretches;
};
Watch g_watch;

double ProcessorTime() {
  timespec time{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

double Milliseconds(Clock::time_point from, Clock::time_point to) {
  return std::chrono::duration<double, std::milli>(to - from).count();
}

void EndStretch() {
  g_watch.stretches.push_back({g_watch.looks, Milliseconds(g_watch.last, Clock::now()),
                               ProcessorTime() - g_watch.last_processor, g_watch.stage});
}

void BeginStretch() {
  g_watch.last = Clock::now();
  g_watch.last_processor = ProcessorTime();
}

void Look() {
  EndStretch();
  ++g_watch.looks;
  if (g_watch.looks == g_watch.cancel_at) {
    g_watch.cancelled = Clock::now();
    g_watch.cancel();
  }
  BeginStretch();
}

// The text without its numbers: one stage has one name.
void NoteStage(const char* text) {
  g_watch.stage.clear();
  for (const char* p = text; *p != 0; ++p) {
    if (*p == '\n' || *p == '\r') break;
    if ((*p < '0' || *p > '9') && (*p & 0x80) == 0) g_watch.stage += *p;
  }
}

}  // namespace

// The whole user interface of the platform layer, so that the system's own is not linked.
namespace zatlib::platform {

bool IsErrorTerminal() { return false; }
bool IsLiveWindow(WindowHandle) { return false; }
WindowHandle ForegroundWindow() { return nullptr; }
WindowHandle ActiveWindow() { return nullptr; }
void EnableOwnedWindows(WindowHandle, bool) {}
int ShowMessageBox(WindowHandle, const char* text, const char* title, unsigned) {
  std::fprintf(stderr, "%s: %s\n", title, text);
  return kAnswerOk;
}
void SetProgressText(const char* text) { NoteStage(text); }
void SetProgressPosition(int) {}
void SetWaitCursor() {}
void PumpMessages() { Look(); }

int RunProgressWindow(const ProgressRun& run) {
  run.on_open();
  // A look of the worker follows its pumping: the flag set in there is what it sees next.
  g_watch.cancel = run.on_cancel;
  int result = 0;
  std::thread worker([&] {
    BeginStretch();
    result = run.worker(nullptr);
    EndStretch();
  });
  worker.join();
  run.on_close();
  return result;
}

}  // namespace zatlib::platform

namespace {

// One build, cancelled behind a look. Returns its result.
int Build(const std::string& control_file, int64_t cancel_at) {
  g_watch = Watch();
  g_watch.cancel_at = cancel_at;
  return zatlib::FRD_RunDialog(nullptr, zatlib::BRN_BuildRoadNetworks,
                               zatlib::BRN_GetFormat(control_file.c_str()), control_file.c_str());
}

struct Options {
  std::string control_file;
  double limit = 0.0;
  int cancels = 10;
};

// Returns 1 when a cancel was not obeyed.
int MeasureCancels(const Options& options, const std::vector<Stretch>& sorted, double* worst) {
  std::vector<std::pair<int64_t, std::string>> moments;
  const auto count = static_cast<int64_t>(sorted.size());
  for (int64_t i = 0; i < options.cancels && i < count; ++i) {
    moments.emplace_back(sorted[static_cast<size_t>(i)].look, sorted[static_cast<size_t>(i)].stage);
  }
  for (int64_t i = 0; i < options.cancels; ++i) {
    moments.emplace_back(count * (2 * i + 1) / (2 * options.cancels), "");
  }
  int disobeyed = 0;
  for (const auto& [look, stage] : moments) {
    if (look < 1) continue;
    const int result = Build(options.control_file, look);
    if (g_watch.looks < look) continue;  // this build was shorter
    const double taken = Milliseconds(g_watch.cancelled, Clock::now());
    // The flag is set within look number `look`, which sees it; the stretch in front of it is what
    // a user would have waited in addition.
    const double waited = g_watch.stretches[static_cast<size_t>(look - 1)].wall;
    *worst = std::max(*worst, taken + waited);
    std::printf("cancel at look %7lld: seen after %7.1f ms, ended %7.1f ms later  %s\n",
                static_cast<long long>(look), waited, taken, stage.c_str());
    // Behind the last checkpoint nothing is left to cancel.
    if (result != 0 && look + 2 < count) {
      std::printf("the build went on\n");
      disobeyed = 1;
    }
  }
  return disobeyed;
}

int Run(const Options& options) {
  zatlib::SetLogListener(NoteStage);
  if (Build(options.control_file, -1) == 0) {
    std::fprintf(stderr, "cancel_gaps: the build failed\n");
    return 1;
  }
  std::vector<Stretch> sorted = g_watch.stretches;
  std::printf("%lld looks\n", static_cast<long long>(g_watch.looks));
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const Stretch& a, const Stretch& b) { return a.wall > b.wall; });
  std::printf("longest stretch of each stage, milliseconds:\n     wall processor  before look\n");
  std::vector<std::string> shown;
  double processor = 0.0;
  for (const Stretch& stretch : sorted) {
    processor = std::max(processor, stretch.processor);
    if (std::find(shown.begin(), shown.end(), stretch.stage) != shown.end()) continue;
    shown.push_back(stretch.stage);
    std::printf("%9.1f %9.1f %12lld  %s\n", stretch.wall, stretch.processor,
                static_cast<long long>(stretch.look + 1), stretch.stage.c_str());
  }
  // Cancelled at the look at the end of a stretch.
  for (Stretch& stretch : sorted) ++stretch.look;
  double worst = 0.0;
  int failed = MeasureCancels(options, sorted, &worst);
  std::printf("longest stretch: %.1f ms, %.1f ms of the processor; longest cancel: %.1f ms\n",
              sorted.front().wall, processor, worst);
  // Other programs on the machine do not count: the worker's own time does.
  if (options.limit > 0.0 && processor > options.limit) {
    std::printf("more than %.0f ms\n", options.limit);
    failed = 1;
  }
  return failed;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Measures how soon a build sees that it is cancelled");
  Options options;
  app.add_option("CONTROL.INI", options.control_file, "Control file")->required();
  app.add_option("--cancels", options.cancels,
                 "Builds cancelled at the longest stretches, and as "
                 "many at moments in between");
  app.add_option("--limit", options.limit, "Fail when a stretch takes more milliseconds");
  CLI11_PARSE(app, argc, argv);
  return Run(options);
}
