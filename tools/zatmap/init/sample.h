// The sample data of `zatmap init`: five nodes, five links and everything that can be said of them,
// in each layout. A crossing of two streets, and a lane around one of its corners:
//
//               4 Station
//               |
//     2 West ---1 Main Crossing --- 3 East
//               |                  /
//               5 South Bridge ---   one-way from 3 to 5
//
// At the crossing nobody may turn right from the west to the south.
#pragma once

#include <string>
#include <vector>

namespace zatmap::init {

struct SampleOptions {
  bool msr = false;
  bool mif = false;
  int code_length = 14;
};

struct SampleFile {
  std::string name;
  std::string text;  // lines that end with CR LF
};

// Name of the control file, and of the output folder that it names.
inline constexpr char kControlName[] = "control.ini";
inline constexpr char kOutputName[] = "out";

// The source files, with their names in the control file's order.
std::vector<SampleFile> SampleSources(const SampleOptions& options);

// The control file for them, with a comment on each key and each column.
std::string SampleControl(const SampleOptions& options);

}  // namespace zatmap::init
