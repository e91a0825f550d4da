#include "check/report_text.h"

#include "shell/output.h"

namespace zatmap::check {
namespace {

// A text of the sources for people.
std::string Clean(const std::string& source) { return CleanText(source, Unclean::kHex); }

std::string Counted(int64_t count, const char* what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

}  // namespace

std::string FindingLine(const Findings& findings, const Finding& finding) {
  const KindInfo& info = InfoOf(finding.kind);
  const Place& place = finding.place;
  std::string line = Clean(findings.PathOf(place.file)) + ":" + std::to_string(place.record) +
                     ": " + std::to_string(place.column) + ": " + SeverityText(info.severity) +
                     ": " + info.text + ": " + Clean(finding.detail) + "; " + info.advice;
  if (place.line > 0 && place.line != place.record) {
    line += " (line " + std::to_string(place.line) + ")";
  }
  return line + " [" + info.id + "]";
}

std::string CountsText(const Findings& findings) {
  return Counted(findings.count(Severity::kError), "error") + ", " +
         Counted(findings.count(Severity::kWarning), "warning");
}

}  // namespace zatmap::check
