// Small networks as work stores, written field by field, and what the tests of the network steps
// share.
#pragma once

#include <algorithm>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "frd/log.h"
#include "frd/progress.h"
#include "platform/clock.h"
#include "platform/fault.h"
#include "platform/file.h"
#include "test_support.h"

namespace zatlib::test::network {

using Lines = std::vector<std::string>;
using LineSet = std::set<std::string>;

// A code length: how codes are stored and printed.
struct CodeForm {
  int length;  // 14 or 18

  std::string Code(int64_t code) const {
    return length == 14 ? Bytes().F64(static_cast<double>(code)).str() : Bytes().I64(code).str();
  }
  std::string Digits(int64_t code) const {
    const std::string digits = std::to_string(code);
    return std::string(static_cast<size_t>(length) - digits.size(), '0') + digits;
  }
  // The k-th dummy link.
  int64_t Dummy(int64_t k) const {
    return (length == 14 ? 99000000000000 : 990000000000000000) + k;
  }
};

struct StoreNode {
  int64_t code = 0;
  int64_t partner = 0;
  int attr = 0;
  int64_t city = 0;
  int64_t x = 0;
  int64_t y = 0;
  std::vector<int64_t> links = {};
};

struct StoreLink {
  int64_t code = 0;
  int64_t a = 0;
  int64_t b = 0;
  int64_t city = 0;
  int speed_a = 0;
  int speed_b = 0;
  int value3 = 0;
  int kind = 0;
  int value4 = 0;
  int value6 = 0;
  int value5 = 0;
  int flag = 0;
};

inline std::string NodeRecord(const CodeForm& form, const StoreNode& node) {
  Bytes bytes;
  bytes.Text(form.Code(node.code), 8).Text(form.Code(node.partner), 8);
  bytes.I16(node.attr).I16(0).I32(node.city).I32(node.x).I32(node.y);
  for (size_t s = 0; s < 8; ++s) {
    bytes.Text(form.Code(s < node.links.size() ? node.links[s] : 0), 8);
  }
  return bytes;
}

inline std::string LinkRecord(const CodeForm& form, const StoreLink& link) {
  return Bytes()
      .Text(form.Code(link.code), 8)
      .Text(form.Code(link.a), 8)
      .Text(form.Code(link.b), 8)
      .I32(link.city)
      .I16(0)
      .I16(link.speed_a)
      .I16(link.speed_b)
      .I16(link.value3)
      .I16(link.kind)
      .I16(link.value4)
      .I16(link.value6)
      .I16(link.value5)
      .I16(link.flag)
      .I16(0);
}

// A record of node.idx or link.idx.
inline std::string IndexRecord(const CodeForm& form, int64_t code, int64_t number, int64_t city) {
  return Bytes().Text(form.Code(code), 8).I32(number).I32(city);
}

// Eight values; the missing ones are `rest`.
inline std::string Eight32(std::vector<int64_t> values, int64_t rest) {
  values.resize(8, rest);
  Bytes bytes;
  for (const int64_t value : values) bytes.I32(value);
  return bytes;
}
inline std::string Eight16(std::vector<int> values) {
  values.resize(8, 0);
  Bytes bytes;
  for (const int value : values) bytes.I16(value);
  return bytes;
}

// A record of mapcalc.dat.
inline std::string CalcRecord(const std::vector<int64_t>& other, const std::vector<int>& cost,
                              const std::vector<int>& length) {
  return Eight32(other, -1) + Eight16(cost) + Eight16(length);
}

// A record of nodelink.idx.
inline std::string NodeLinkRecord(const std::vector<int64_t>& links) { return Eight32(links, -1); }

// A record of linknode.idx.
inline std::string LinkNodeRecord(int64_t a, int64_t b, int speed_a, int speed_b, int value3) {
  return Bytes().I32(a).I32(b).I16(speed_a).I16(speed_b).I16(value3).I16(0);
}

// A record of mapdraw.dat.
inline std::string DrawRecord(const CodeForm& form, int64_t code, int64_t number, int kind,
                              int value4, int64_t xa, int64_t xb, int64_t ya, int64_t yb) {
  return Bytes()
      .Text(form.Code(code), 8)
      .I32(number)
      .I16(kind)
      .I16(value4)
      .I32(xa)
      .I32(xb)
      .I32(ya)
      .I32(yb);
}

// A record of maploc.dat.
inline std::string LocationRecord(const CodeForm& form, int64_t code, int64_t x, int64_t y) {
  return Bytes().Text(form.Code(code), 8).I32(x).I32(y);
}

// A record of nodename.dat.
inline std::string NodeNameBytes(const std::string& name, int attr_word, int attribute) {
  return Bytes().Text(name, 20).Zero(8).I16(attr_word).I8(attribute).I8(0);
}

// A record of linkname.dat.
inline std::string LinkNameBytes(const std::string& name, int number, int flags, int value,
                                 int kind, int value6) {
  return Bytes().Text(name, 20).I16(0).I8(number).I8(flags).I16(value).I16(kind).I16(value6);
}

// True for the line that an error report leaves in the log: "[message][title]".
inline bool IsReport(const std::string& line) {
  return line.size() > 3 && line.front() == '[' && line.back() == ']' &&
         line.find("][") != std::string::npos;
}

// Number of reports with that message, whatever their title.
inline std::ptrdiff_t CountMessages(const LineSet& reports, const std::string& message) {
  return std::count_if(reports.begin(), reports.end(), [&](const std::string& line) {
    return line.find("[" + message + "][") == 0;
  });
}

class NetworkTest : public LibraryTest {
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
    return "[" + message + "][" + title + "]";
  }

  Lines Reports() const {
    Lines reports;
    std::copy_if(log().begin(), log().end(), std::back_inserter(reports), IsReport);
    return reports;
  }

  // Runs `run` once for every operation of a kind, letting that one fail; `prepare` puts the files
  // back before each run. A run ends with 0 exactly when it has reported something. Returns what
  // was reported.
  LineSet ReportsOfFaults(platform::Operation operation, const std::function<void()>& prepare,
                          const std::function<int()>& run) {
    LineSet all;
    for (int64_t n = 1; n < 5000; ++n) {
      prepare();
      ClearLog();
      platform::ArmFault(operation, n, false, platform::WriteFault::kHalfWritten);
      const int result = run();
      const bool reached = platform::OperationCount(operation) >= n;
      platform::ClearFaults();
      const Lines reports = Reports();
      EXPECT_EQ(result, reports.empty() ? 1 : 0) << "operation " << n;
      all.insert(reports.begin(), reports.end());
      if (!reached) return all;
    }
    ADD_FAILURE() << "the run does not end";
    return all;
  }

  // Keeps others from opening a file while it lives.
  platform::File Lock(const std::string& name) {
    platform::File file =
        platform::File::Open((folder_ / name).c_str(), platform::Access::kReadWrite,
                             platform::Share::kNone, platform::Disposition::kOpenAlways);
    EXPECT_TRUE(file.IsOpen());
    return file;
  }

  // From now on the build is not silent, and the user cancels it when this line is logged. The
  // lines go to heard().
  void CancelAt(const std::string& line) {
    g_silent = 0;
    heard_.clear();
    SetLogListener([this, line](const char* text) {
      heard_.emplace_back(text);
      if (line == text) FRD_SetCancelled(true);
    });
  }
  const Lines& heard() const { return heard_; }

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

 private:
  Lines heard_;
};

// The same for both code lengths.
class BothLengths : public NetworkTest, public ::testing::WithParamInterface<int> {
 protected:
  BothLengths() { UseLength(GetParam()); }
};

}  // namespace zatlib::test::network
