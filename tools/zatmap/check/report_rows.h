// The rows that findings are about, as they stand in their files.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "check/findings.h"

namespace zatmap::check {

class RowTexts {
 public:
  // Reads the files anew. Rows that cannot be read are missing.
  RowTexts(const Findings& findings, const std::vector<Finding>& wanted);

  // The row of a finding as its bytes are, its line end taken off; null for findings of whole
  // files.
  const std::string* Of(const Finding& finding) const;

 private:
  std::map<std::pair<uint32_t, int64_t>, std::string> rows_;  // by file and line
};

}  // namespace zatmap::check
