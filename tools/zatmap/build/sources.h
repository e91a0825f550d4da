// The source files of a build: what a control file makes the library read.
#pragma once

#include <string>
#include <vector>

namespace zatmap {

// What a build was asked for, as far as the map depends on it.
struct BuildRequest {
  std::string control_file;  // full path
  std::string folder;        // the output folder, where the map will stand
  bool msr = false;          // --msr
  std::string stage = "all";
};

// The sections that stand for files which no key names: toll fare data, and the work stores of a
// second half.
inline constexpr char kFareSection[] = "FARE";
inline constexpr char kStoreSection[] = "STORE";

struct SourceFile {
  std::string section;  // of the control file that names it, or one of those above
  int number;           // of its key: 1 for FILE01
  std::string path;     // as the library opens it
};

// True when the data are in the MSR layout.
bool IsMsr(const BuildRequest& request);

// True when toll fare data in the output folder are complete, so that a build marks interchanges.
bool HasFareData(const BuildRequest& request);

// Every file that the build reads beside the control file, in the order of the control file's
// documents: the files of the sections that the layout knows and the `.mid` beside them where the
// readers take one, class files, and the tables of complete fare data. Second halves of a build
// (stage "two") read the work stores instead. Whether a file exists is not asked. A section's list
// ends at the first key without a value, as every reader fails there.
std::vector<SourceFile> ListSources(const BuildRequest& request);

}  // namespace zatmap
