// What became of the data: what a build passes over, cuts or alters in silence.
#pragma once

#include <cstdint>
#include <vector>

#include "check/findings.h"

namespace zatmap {

struct DataNote {
  const char* kind;  // of the findings that list it: zatmap check --only KIND
  int64_t count;
  const char* text;  // "names cut to 20 bytes"
};

// The notes of a map that was built, in the order of what is lost: nodes and links first.
std::vector<DataNote> DataNotes(const check::Findings& findings);

// Findings that no note counts.
int64_t OtherFindings(const check::Findings& findings);

}  // namespace zatmap
