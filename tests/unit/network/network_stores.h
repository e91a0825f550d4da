// Small networks as work stores, written field by field, and what the tests of the network steps
// share.
#pragma once

#include <algorithm>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "fault_each.h"
#include "frd/log.h"
#include "frd/progress.h"
#include "platform/clock.h"
#include "platform/fault.h"
#include "platform/file.h"
#include "records.h"

namespace zatlib::test::network {

using LineSet = std::set<std::string>;

class NetworkTest : public FaultTest {
 protected:
  NetworkTest() {
    // A refused write is tried again after ten seconds of this clock.
    platform::StepTickCount(10000);
    UseControl("");
    UseLength(14);
  }

  // The control file: [SYSTEM] with these lines.
  void UseControl(const std::string& system_lines) {
    control_ = WriteControl("[SYSTEM]\r\n" + system_lines);
  }

  // The road definition file: the code length and further sections.
  void UseLength(int length, const std::string& more = "") {
    form_.length = length;
    WriteBytes(folder_ / "linkdef.dat",
               "[SYSTEM]\r\nCODELENGTH=" + std::to_string(length) + "\r\n" + more);
  }

  void SaveNodes(const std::vector<StoreNode>& nodes, const std::string& rest = "") {
    std::string bytes;
    for (const StoreNode& node : nodes) bytes += NodeRecord(form_, node);
    WriteBytes(folder_ / "nodestr.~wk", bytes + rest);
  }
  void SaveLinks(const std::vector<StoreLink>& links, const std::string& rest = "") {
    std::string bytes;
    for (const StoreLink& link : links) bytes += LinkRecord(form_, link);
    WriteBytes(folder_ / "linkstr.~wk", bytes + rest);
  }
  std::string FileBytes(const std::string& name) { return ReadBytes(folder_ / name); }

  const char* control() const { return control_.c_str(); }

  // The line that a report leaves; "%s" in the message stands for the path of `file`.
  std::string Report(std::string message, const std::string& title, const std::string& file = "") {
    const size_t at = message.find("%s");
    if (at != std::string::npos) message.replace(at, 2, folder_ / file);
    return test::Report(message, title);
  }

  // Keeps others from opening a file while it lives.
  platform::File Lock(const std::string& name) {
    platform::File file =
        platform::File::Open((folder_ / name).c_str(), platform::Access::kReadWrite,
                             platform::Share::kNone, platform::Disposition::kOpenAlways);
    EXPECT_TRUE(file.IsOpen());
    return file;
  }

#ifndef _WIN32
  // What the status line showed while `run` ran behind the progress window, a line break as blank.
  Lines Shown(const std::function<void()>& run) {
    static std::function<void()> work;
    work = run;
    g_silent = 0;
    ::testing::internal::CaptureStderr();
    FRD_RunDialog(
        nullptr,
        [](WindowHandle, int64_t, const char*) {
          work();
          return 1;
        },
        0, control());
    const std::string text = ::testing::internal::GetCapturedStderr();
    g_silent = 1;
    Lines lines;
    for (size_t at = 0; at < text.size();) {
      const size_t end = std::min(text.find('\n', at), text.size());
      lines.push_back(text.substr(at, end - at));
      at = end + 1;
    }
    return lines;
  }
#endif

  CodeForm form_{14};
  std::string control_;
};

// The same for both code lengths.
class BothLengths : public NetworkTest, public ::testing::WithParamInterface<int> {
 protected:
  BothLengths() { UseLength(GetParam()); }
};

}  // namespace zatlib::test::network
