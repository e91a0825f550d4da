// Findings: what a subcommand that looks for faults has found, counted and bounded in number.
#pragma once

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <span>
#include <string>
#include <tuple>
#include <vector>

#include "frd/text.h"

namespace zatmap {

// What follows from an error or a warning is each subcommand's own: docs/zatmap-check.md,
// docs/zatmap.md.
enum class Severity : uint8_t { kError, kWarning };

// "error" or "warning".
inline const char* SeverityText(Severity severity) {
  return severity == Severity::kError ? "error" : "warning";
}

// An entry of a subcommand's table of kinds, which has one for each value of its enumeration, in
// that order. `Kind` ends with kCount.
template <typename Kind>
struct KindInfo {
  Kind kind;
  const char* id;
  Severity severity;
  const char* text = "";    // what is wrong
  const char* advice = "";  // what to do
};

// True when the table is in the order of the enumeration; for a static_assert beside it.
template <typename Kind>
constexpr bool InOrder(std::span<const KindInfo<Kind>> kinds) {
  for (size_t i = 0; i < kinds.size(); ++i) {
    if (kinds[i].kind != static_cast<Kind>(i)) return false;
  }
  return kinds.size() == static_cast<size_t>(Kind::kCount);
}

// Where a finding is. `record` and `column` count from 1, 0 = the file or the record as a whole;
// `line` is given where records are not lines, `offset` (a byte of the file) where there are none.
struct Place {
  uint32_t file = 0;  // number that FindingList gave to the file
  int64_t record = 0;
  int column = 0;
  int64_t line = 0;
  int64_t offset = -1;

  // The same record at another column.
  Place At(int at_column) const { return {file, record, at_column, line, offset}; }
};

// What orders findings of one place: the order in which they were found, or kind and text.
enum class Ties { kAsFound, kByKind };

template <typename Kind>
class FindingList {
 public:
  struct Finding {
    Place place;
    Kind kind;
    std::string detail;  // raw: whoever prints it makes it clean (shell/output.h)
  };

  // At most `max_per_kind` findings of a kind are kept (0: all); all of them are counted. A detail
  // is cut to `detail_size` - 1 bytes (at most kMessageSize - 1).
  FindingList(std::span<const KindInfo<Kind>> kinds, int64_t max_per_kind, Ties ties,
              size_t detail_size)
      : kinds_(kinds),
        max_(max_per_kind),
        ties_(ties),
        detail_size_(detail_size),
        counts_(kinds.size()) {}

  // The number of a file for Place; its path as the findings print it.
  uint32_t File(const std::string& path) {
    const auto found = std::find(files_.begin(), files_.end(), path);
    if (found != files_.end()) return static_cast<uint32_t>(found - files_.begin());
    files_.push_back(path);
    return static_cast<uint32_t>(files_.size() - 1);
  }
  const std::string& PathOf(uint32_t file) const { return files_[file]; }
  const std::vector<std::string>& files() const { return files_; }

  // Counts a finding and keeps it with its detail while there is room.
  void Add(Kind kind, Place place, const char* format, ...) ZATLIB_PRINTF(4, 5) {
    va_list arguments;
    va_start(arguments, format);
    AddV(kind, place, format, arguments);
    va_end(arguments);
  }
  void AddV(Kind kind, Place place, const char* format, va_list arguments) ZATLIB_PRINTF(4, 0) {
    int64_t& count = counts_[static_cast<size_t>(kind)];
    ++count;
    if (max_ > 0 && count > max_) return;
    char text[zatlib::kMessageSize];
    const size_t size = std::min(detail_size_, sizeof text);
    const size_t length = zatlib::FRD_FormatV(text, size, format, arguments);
    kept_.push_back({place, kind, std::string(text, length)});
  }

  // False when a finding of the kind would be counted and not kept.
  bool HasRoom(Kind kind) const { return max_ == 0 || counts_[static_cast<size_t>(kind)] < max_; }

  // Counts findings for which there is no room.
  void Count(Kind kind, int64_t count) { counts_[static_cast<size_t>(kind)] += count; }

  std::span<const KindInfo<Kind>> kinds() const { return kinds_; }
  const KindInfo<Kind>& InfoOf(Kind kind) const { return kinds_[static_cast<size_t>(kind)]; }

  int64_t count(Kind kind) const { return counts_[static_cast<size_t>(kind)]; }
  int64_t count(Severity severity) const {
    int64_t sum = 0;
    for (const KindInfo<Kind>& info : kinds_) {
      if (info.severity == severity) sum += count(info.kind);
    }
    return sum;
  }

  // True when the exit status says so: errors, or with `strict` also warnings.
  bool Fail(bool strict) const {
    return count(Severity::kError) > 0 || (strict && count(Severity::kWarning) > 0);
  }

  // The findings kept, by path, record, column, line and offset.
  std::vector<Finding> Sorted() const {
    std::vector<Finding> sorted = kept_;
    std::stable_sort(sorted.begin(), sorted.end(), [this](const Finding& a, const Finding& b) {
      const auto place = [this](const Place& p) {
        return std::tie(PathOf(p.file), p.record, p.column, p.line, p.offset);
      };
      if (place(a.place) != place(b.place)) return place(a.place) < place(b.place);
      return ties_ == Ties::kByKind && std::tie(a.kind, a.detail) < std::tie(b.kind, b.detail);
    });
    return sorted;
  }

 private:
  std::span<const KindInfo<Kind>> kinds_;
  int64_t max_;
  Ties ties_;
  size_t detail_size_;
  std::vector<int64_t> counts_;
  std::vector<std::string> files_;
  std::vector<Finding> kept_;
};

}  // namespace zatmap
