#include "check/report_rows.h"

#include <set>
#include <string_view>

#include "check/source.h"

namespace zatmap::check {
namespace {

std::pair<uint32_t, int64_t> KeyOf(const Finding& finding) {
  const Place& place = finding.place;
  return {place.file, place.line > 0 ? place.line : place.record};
}

}  // namespace

RowTexts::RowTexts(const Findings& findings, const std::vector<Finding>& wanted) {
  std::map<uint32_t, std::set<int64_t>> lines;
  for (const Finding& finding : wanted) {
    if (KeyOf(finding).second > 0) lines[finding.place.file].insert(KeyOf(finding).second);
  }
  for (const auto& [file, numbers] : lines) {
    Findings unheard(1);  // what the file holds has been told
    Source source(unheard);
    if (!source.Open(findings.PathOf(file), false)) continue;
    std::string_view line;
    const int64_t last = *numbers.rbegin();
    while (source.line() < last && source.Next(zatlib::kLineSize, &line)) {
      if (numbers.contains(source.line())) rows_[{file, source.line()}] = std::string(line);
    }
  }
}

const std::string* RowTexts::Of(const Finding& finding) const {
  const auto found = rows_.find(KeyOf(finding));
  return found == rows_.end() ? nullptr : &found->second;
}

}  // namespace zatmap::check
