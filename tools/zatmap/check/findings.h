// Findings of `zatmap check`: collected, counted, bounded in number.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "check/kinds.h"
#include "frd/text.h"

namespace zatmap::check {

// Where a finding is. `record` counts from 1, 0 = the file as a whole; `column` likewise. `line` is
// given where records are not lines.
struct Place {
  uint32_t file = 0;
  int64_t record = 0;
  int column = 0;
  int64_t line = 0;

  Place At(int at_column) const { return {file, record, at_column, line}; }
};

struct Finding {
  Place place;
  Kind kind;
  std::string detail;
};

class Findings {
 public:
  // At most `max_per_kind` findings of a kind are kept (0: all); all of them are counted.
  explicit Findings(int64_t max_per_kind) : max_(max_per_kind) {}

  // The number of a file for Place; its path as the findings print it.
  uint32_t File(const std::string& path);
  const std::string& PathOf(uint32_t file) const { return files_[file]; }

  // Counts a finding and keeps it with its detail while there is room.
  void Add(Kind kind, Place place, const char* format, ...) ZATLIB_PRINTF(4, 5);

  int64_t count(Kind kind) const { return counts_[static_cast<size_t>(kind)]; }
  int64_t count(Severity severity) const;

  // The findings kept, by path, record, column and kind.
  std::vector<Finding> Sorted() const;

 private:
  int64_t max_;
  std::vector<std::string> files_;
  std::vector<Finding> kept_;
  int64_t counts_[kKindCount] = {};
};

}  // namespace zatmap::check
