// Findings of `zatmap check` as lines for people.
#pragma once

#include <string>

#include "check/findings.h"

namespace zatmap::check {

// A finding on one line, without its end:
// "file:record: column: severity: what is wrong: detail; what to do [kind]".
std::string FindingLine(const Findings& findings, const Finding& finding);

// "2 errors, 1 warning".
std::string CountsText(const Findings& findings);

}  // namespace zatmap::check
