// Runs a build and prints, for each line of its log, what went on until the next line:
// milliseconds, processor milliseconds and the most memory held, in bytes.
//
//   stages CONTROL_FILE

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include "frd/log.h"
#include "frd/progress.h"
#include "interface/driver/build_driver.h"

namespace {

double Now() {
  const auto since = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration<double, std::milli>(since).count();
}

// Of all threads of the process, in milliseconds.
double ProcessorTime() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

// The most memory held since the last call, in bytes.
long PeakMemory() {
  long kilobytes = 0;
  if (std::FILE* file = std::fopen("/proc/self/status", "r")) {
    char line[256];
    while (std::fgets(line, sizeof line, file) != nullptr) {
      if (std::strncmp(line, "VmHWM:", 6) == 0) kilobytes = std::atol(line + 6);
    }
    std::fclose(file);
  }
  if (std::FILE* file = std::fopen("/proc/self/clear_refs", "w")) {
    std::fputs("5", file);  // begins a new peak
    std::fclose(file);
  }
  return kilobytes * 1024;
}

struct Mark {
  std::string line = "(before the log)";
  double at = Now();
  double processor = ProcessorTime();
};

Mark g_last;

void Show(const char* line) {
  const double now = Now();
  const double processor = ProcessorTime();
  const std::string text = g_last.line.substr(0, g_last.line.find_first_of("\r\n"));
  std::printf("%9.1f ms %9.1f ms processor %12ld bytes  %.60s\n", now - g_last.at,
              processor - g_last.processor, PeakMemory(), text.c_str());
  g_last = Mark();
  g_last.line = line;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) {
    std::fprintf(stderr, "usage: %s CONTROL_FILE\n", arguments[0]);
    return 2;
  }
  zatlib::g_silent = 1;
  PeakMemory();
  g_last = Mark();
  zatlib::SetLogListener(Show);
  const int result =
      zatlib::BRN_BuildRoadNetworks(nullptr, zatlib::BRN_GetFormat(arguments[1]), arguments[1]);
  Show("");
  return result != 0 ? 0 : 1;
}
