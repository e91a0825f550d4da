// What the tests of stage one share: source files and the sections that name them.
#pragma once

#include <algorithm>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "fault_each.h"
#include "frd/log.h"
#include "frd/progress.h"
#include "platform/file.h"
#include "records.h"

namespace zatlib::test {

inline std::string Concat(const std::vector<std::string>& parts) {
  std::string all;
  for (const std::string& part : parts) all += part;
  return all;
}

class ZatTest : public FaultTest {
 protected:
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
};

}  // namespace zatlib::test
