#include "check/findings.h"

#include <algorithm>
#include <cstdarg>
#include <tuple>

namespace zatmap::check {

uint32_t Findings::File(const std::string& path) {
  const auto found = std::find(files_.begin(), files_.end(), path);
  if (found != files_.end()) return static_cast<uint32_t>(found - files_.begin());
  files_.push_back(path);
  return static_cast<uint32_t>(files_.size() - 1);
}

void Findings::Add(Kind kind, Place place, const char* format, ...) {
  int64_t& count = counts_[static_cast<size_t>(kind)];
  ++count;
  if (max_ > 0 && count > max_) return;
  char text[zatlib::kMessageSize];
  va_list arguments;
  va_start(arguments, format);
  const size_t length = zatlib::FRD_FormatV(text, sizeof text, format, arguments);
  va_end(arguments);
  kept_.push_back({place, kind, std::string(text, length)});
}

int64_t Findings::count(Severity severity) const {
  int64_t sum = 0;
  for (const KindInfo& info : Kinds()) {
    if (info.severity == severity) sum += count(info.kind);
  }
  return sum;
}

std::vector<Finding> Findings::Sorted() const {
  std::vector<Finding> sorted = kept_;
  std::stable_sort(sorted.begin(), sorted.end(), [this](const Finding& a, const Finding& b) {
    return std::tie(PathOf(a.place.file), a.place.record, a.place.column, a.place.line, a.kind,
                    a.detail) < std::tie(PathOf(b.place.file), b.place.record, b.place.column,
                                         b.place.line, b.kind, b.detail);
  });
  return sorted;
}

}  // namespace zatmap::check
