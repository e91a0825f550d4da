// Which findings of `zatmap check` are wanted, and which of them are shown.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "check/findings.h"
#include "check/run.h"

namespace zatmap::check {

struct Selection {
  bool errors_only = false;   // warnings count but are not shown
  std::vector<Kind> only;     // nothing else counts; empty: all kinds do
  std::vector<Kind> ignored;  // do not count
  int64_t max = kShown;       // findings shown of all kinds together, 0: all

  bool Counts(Kind kind) const;
};

// The kinds of these names. False, with a sentence in `*problem` about the first name that is none.
bool ParseKinds(const std::vector<std::string>& ids, std::vector<Kind>* kinds,
                std::string* problem);

// What is shown of the findings, and how many there are.
struct Chosen {
  std::vector<Finding> findings;             // by path, record and column
  std::array<int64_t, kKindCount> counts{};  // of all findings that count
  std::array<int64_t, kKindCount> shown{};
  int64_t errors = 0;
  int64_t warnings = 0;
  int64_t more = 0;      // findings beyond the maximum
  int64_t left_out = 0;  // findings that do not count
  int64_t hidden = 0;    // findings that follow from others

  // True when the exit status says so: errors, or with `strict` also warnings.
  bool Fail(bool strict) const { return errors > 0 || (strict && warnings > 0); }
};

// The findings that count, and at most `max` of them to show: each kind has its turn, errors first,
// until the places are taken, so that no kind floods the others.
Chosen Choose(const Findings& findings, const Selection& selection);

}  // namespace zatmap::check
