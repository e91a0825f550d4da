// Findings: what a subcommand that looks for faults has found, counted and bounded in number.
#pragma once

#include <algorithm>
#include <bitset>
#include <cstdarg>
#include <cstdint>
#include <initializer_list>
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
  bool once = false;        // all findings of a file are one, the first, which tells their number
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

  // From now on the findings of these kinds in a file follow from another one, the cause: they are
  // left out of counts and lists, those that are there already too.
  void Hide(uint32_t file, std::initializer_list<Kind> kinds) {
    if (hidden_.size() <= file) hidden_.resize(file + size_t{1});
    for (const Kind kind : kinds) hidden_[file].set(static_cast<size_t>(kind));
  }
  // The same in every file.
  void Hide(std::initializer_list<Kind> kinds) {
    for (const Kind kind : kinds) hidden_everywhere_.set(static_cast<size_t>(kind));
  }
  // Whether counts and lists have the hidden ones after all.
  void ShowHidden(bool show) { show_hidden_ = show; }

  bool Hides(uint32_t file, Kind kind) const { return IsHidden(file, static_cast<size_t>(kind)); }

  // Findings that are left out.
  int64_t hidden() const {
    int64_t sum = 0;
    for (size_t kind = 0; kind < counts_.size(); ++kind) sum += HiddenOf(kind);
    return show_hidden_ ? 0 : sum;
  }

  // Counts a finding and keeps it with its detail while there is room.
  void Add(Kind kind, Place place, const char* format, ...) ZATLIB_PRINTF(4, 5) {
    va_list arguments;
    va_start(arguments, format);
    AddV(kind, place, format, arguments);
    va_end(arguments);
  }
  void AddV(Kind kind, Place place, const char* format, va_list arguments) ZATLIB_PRINTF(4, 0) {
    // Those of a file that is hidden later do not take the room of others.
    const int64_t count = ++CountOf(kind, place.file);
    const bool once = InfoOf(kind).once;
    if (!once || count == 1) ++counts_[static_cast<size_t>(kind)];
    if (count > (once ? 1 : max_) && (once || max_ > 0)) return;
    char text[zatlib::kMessageSize];
    const size_t size = std::min(detail_size_, sizeof text);
    const size_t length = zatlib::FRD_FormatV(text, size, format, arguments);
    kept_.push_back({place, kind, std::string(text, length)});
  }

  // False when a finding of the kind would be counted and not kept.
  bool HasRoom(Kind kind) const { return max_ == 0 || counts_[static_cast<size_t>(kind)] < max_; }

  // Counts findings in a file for which there is no room.
  void Count(Kind kind, uint32_t file, int64_t count) {
    counts_[static_cast<size_t>(kind)] += count;
    CountOf(kind, file) += count;
  }

  std::span<const KindInfo<Kind>> kinds() const { return kinds_; }
  const KindInfo<Kind>& InfoOf(Kind kind) const { return kinds_[static_cast<size_t>(kind)]; }

  int64_t count(Kind kind) const {
    const auto number = static_cast<size_t>(kind);
    return counts_[number] - (show_hidden_ ? 0 : HiddenOf(number));
  }
  // Of one file, hidden or not.
  int64_t CountIn(uint32_t file, Kind kind) const {
    return file < in_file_.size() && !in_file_[file].empty()
               ? in_file_[file][static_cast<size_t>(kind)]
               : 0;
  }
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
    std::vector<Finding> sorted;
    std::vector<int64_t> taken(counts_.size());
    for (const Finding& finding : kept_) {
      const auto kind = static_cast<size_t>(finding.kind);
      if (!show_hidden_ && IsHidden(finding.place.file, kind)) continue;
      if (max_ > 0 && taken[kind]++ >= max_) continue;
      sorted.push_back(finding);
      const int64_t in_file = CountIn(finding.place.file, finding.kind);
      if (InfoOf(finding.kind).once && in_file > 1) {
        sorted.back().detail += " (and " + std::to_string(in_file - 1) + " more in the file)";
      }
    }
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
  using KindSet = std::bitset<static_cast<size_t>(Kind::kCount)>;

  int64_t& CountOf(Kind kind, uint32_t file) {
    if (in_file_.size() <= file) in_file_.resize(file + size_t{1});
    if (in_file_[file].empty()) in_file_[file].resize(counts_.size());
    return in_file_[file][static_cast<size_t>(kind)];
  }

  bool IsHidden(uint32_t file, size_t kind) const {
    return hidden_everywhere_[kind] || (file < hidden_.size() && hidden_[file][kind]);
  }
  int64_t HiddenOf(size_t kind) const {
    if (hidden_everywhere_[kind]) return counts_[kind];
    int64_t sum = 0;
    for (uint32_t file = 0; file < hidden_.size(); ++file) {
      if (!hidden_[file][kind]) continue;
      const int64_t count = CountIn(file, static_cast<Kind>(kind));
      sum += kinds_[kind].once ? std::min<int64_t>(count, 1) : count;
    }
    return sum;
  }

  std::span<const KindInfo<Kind>> kinds_;
  int64_t max_;
  Ties ties_;
  size_t detail_size_;
  std::vector<int64_t> counts_;
  std::vector<std::vector<int64_t>> in_file_;  // counts by file, and by kind where there are any
  std::vector<KindSet> hidden_;                // by file
  KindSet hidden_everywhere_;
  bool show_hidden_ = false;
  std::vector<std::string> files_;
  std::vector<Finding> kept_;
};

}  // namespace zatmap
