// What the tests of stage one share: source files, the lines of the build log in their order,
// a user who cancels at a given line, and a platform that fails at every operation in turn.
#pragma once

#include <algorithm>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "frd/log.h"
#include "frd/progress.h"
#include "platform/clock.h"
#include "platform/fault.h"
#include "platform/file.h"
#include "records.h"

namespace zatlib::test {

using Lines = std::vector<std::string>;

inline std::string Concat(const std::vector<std::string>& parts) {
  std::string all;
  for (const std::string& part : parts) all += part;
  return all;
}

class ZatTest : public LibraryTest {
 protected:
  ZatTest() {
    SetLogListener([this](const char* text) {
      log_.emplace_back(text);
      if (!cancel_at_.empty() && log_.back().compare(0, cancel_at_.size(), cancel_at_) == 0) {
        FRD_SetCancelled(true);
      }
    });
  }

  // Lines of the build log so far.
  const Lines& log() const { return log_; }
  void ClearLog() { log_.clear(); }

  // Outside silent mode, and as soon as a line of the build log begins with `line` the user
  // presses Cancel.
  void CancelAt(const std::string& line) {
    g_silent = 0;
    cancel_at_ = line;
  }

  // The lines of a section that names these files, with MIF= when that is told.
  static std::string Files(const std::string& section, const std::vector<std::string>& paths,
                           std::optional<int> mif = std::nullopt) {
    std::string text = "[" + section + "]\r\nFILENUM=" + std::to_string(paths.size()) + "\r\n";
    if (mif) text += "MIF=" + std::to_string(*mif) + "\r\n";
    for (size_t i = 0; i < paths.size(); ++i) {
      text += "FILE0" + std::to_string(i + 1) + "=" + paths[i] + "\r\n";
    }
    return text;
  }

  // Writes a pair and returns the path of the MIF file.
  std::string Pair(const std::string& name, const std::string& mif, const std::string& mid) {
    Source(name + ".mid", mid);
    return Source(name + ".mif", mif);
  }

  // Writes a source file and returns its path.
  std::string Source(const std::string& name, const std::string& bytes) {
    const std::string path = folder_ / name;
    WriteBytes(path, bytes);
    return path;
  }

  std::string Output(const std::string& name) const { return ReadBytes(folder_ / name); }

  // The road definition of an earlier step, as far as later steps look at it.
  void CodeLength(int code_length) {
    WriteBytes(folder_ / "linkdef.dat",
               "[SYSTEM]\r\nCODELENGTH=" + std::to_string(code_length) + "\r\n");
  }

  // Another program has the file for itself as long as the result lives.
  static platform::File Hold(const std::string& path) {
    platform::File file =
        platform::File::Open(path.c_str(), platform::Access::kRead, platform::Share::kNone,
                             platform::Disposition::kOpenExisting);
    EXPECT_TRUE(file.IsOpen()) << path;
    return file;
  }

  // Another program reads the file as long as the result lives and lets others read it too.
  static platform::File HoldForReading(const std::string& path) {
    platform::File file =
        platform::File::Open(path.c_str(), platform::Access::kRead, platform::Share::kRead,
                             platform::Disposition::kOpenExisting);
    EXPECT_TRUE(file.IsOpen()) << path;
    return file;
  }

  // Runs `run` once for every operation of a kind that it makes, each time with another one
  // failing (and with `sticky` all later ones too). A run that fails must have reported an error;
  // a run that succeeds must stand up to `check_good`. Returns the reports ("[message][title]").
  std::set<std::string> FailEach(
      platform::Operation operation, const std::function<int()>& run,
      const std::function<void()>& check_good, bool sticky = false,
      platform::WriteFault write_fault = platform::WriteFault::kNothingWritten) {
    platform::StepTickCount(20000);
    ClearLog();
    platform::CountOperations();
    EXPECT_EQ(run(), 1);
    const int64_t count = platform::OperationCount(operation);
    platform::ClearFaults();
    EXPECT_GT(count, 0);
    check_good();
    std::set<std::string> reports;
    for (int64_t n = 1; n <= count && !HasFailure(); ++n) {
      SCOPED_TRACE("operation " + std::to_string(n));
      ClearLog();
      platform::ArmFault(operation, n, sticky, write_fault);
      const int result = run();
      platform::ClearFaults();
      std::set<std::string> heard;
      for (const std::string& line : log()) {
        if (line[0] == '[') heard.insert(line);
      }
      EXPECT_TRUE(result == 0 || result == 1) << result;
      if (result == 0) {
        EXPECT_FALSE(heard.empty()) << "a failure without a report";
      } else {
        check_good();
      }
      reports.insert(heard.begin(), heard.end());
    }
    platform::StepTickCount(0);
    return reports;
  }

  // Refuses one write of the run after the other; the logs of the runs that failed then.
  std::vector<Lines> LogsOfFailedWrites(const std::function<int()>& run,
                                        platform::WriteFault fault) {
    std::vector<Lines> logs;
    platform::CountOperations();
    EXPECT_EQ(run(), 1);
    const int64_t count = platform::OperationCount(platform::Operation::kWrite);
    for (int64_t n = 1; n <= count; ++n) {
      ClearLog();
      platform::ArmFault(platform::Operation::kWrite, n, false, fault);
      const int result = run();
      platform::ClearFaults();
      if (result == 0) logs.push_back(log());
    }
    return logs;
  }

 private:
  Lines log_;
  std::string cancel_at_;
};

// The line of an error report.
inline std::string Report(const std::string& message, const std::string& title) {
  return "[" + message + "][" + title + "]";
}

// True when a report with this message is among the lines, whatever its title.
template <typename Container>
bool Reported(const Container& lines, const std::string& message) {
  const std::string head = "[" + message + "][";
  return std::any_of(lines.begin(), lines.end(), [&head](const std::string& line) {
    return line.compare(0, head.size(), head) == 0;
  });
}

}  // namespace zatlib::test
