// Findings of `zatmap check` for people who read lines, and for programs.
#pragma once

#include <string>

#include "check/findings.h"
#include "check/selection.h"
#include "shell/output.h"

namespace zatmap::check {

// A finding on one line, without its end:
// "file:record: column: severity: what is wrong: detail; what to do [kind]".
std::string FindingLine(const Findings& findings, const Finding& finding, bool colours = false);

// "2 errors, 1 warning".
std::string CountsText(int64_t errors, int64_t warnings);
std::string CountsText(const Findings& findings);

// A finding as a JSON object: file, record, column, line where records are not lines, severity,
// kind, text, detail, advice.
Json FindingJson(const Findings& findings, const Finding& finding);

// Write the findings shown and a summary of all to standard output: as lines, or as one JSON
// object.
void PrintLines(const Findings& findings, const Chosen& chosen, const Selection& selection);
void PrintObject(const Findings& findings, const Chosen& chosen, const std::string& control_file);

// The same summary without the findings, a line each.
std::string SummaryText(const Chosen& chosen, const Selection& selection, bool colours = false);

}  // namespace zatmap::check
