// Files that a user names to be written: never one of a map, and an existing one only on demand.
#pragma once

#include <string>
#include <vector>

#include "shell/output.h"

namespace zatmap {

struct OutputRequest {
  std::string path;                // "-" stands for standard output
  bool overwrite = false;          // --overwrite
  std::vector<std::string> never;  // files that it must not be, however its path spells them
};

// Opens the file. False, with a message on standard error, when it cannot be written, when it is a
// folder, a file of a map (also through links) or one of `never`, or when it exists and may not be
// overwritten.
bool OpenOutput(const OutputRequest& request, Output* output);

// The files in the folder of a map, for `never`.
std::vector<std::string> FilesOfMap(const std::string& folder);

}  // namespace zatmap
