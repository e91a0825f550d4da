#include "check/report_text.h"

#include <cinttypes>
#include <cstdio>

#include "shell/colours.h"

namespace zatmap::check {
namespace {

// A text of the sources for people.
std::string Clean(const std::string& source) { return CleanText(source, Unclean::kHex); }

std::string Counted(int64_t count, const char* what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

// A line for each kind of a severity.
void AddKindLines(const Chosen& chosen, Severity severity, bool colours, std::string* text) {
  for (const KindInfo& info : Kinds()) {
    const auto kind = static_cast<size_t>(info.kind);
    const int64_t count = chosen.counts[kind];
    if (count == 0 || info.severity != severity) continue;
    char start[64];
    std::snprintf(start, sizeof start, "%8" PRId64 "  ", count);
    *text += start;
    std::snprintf(start, sizeof start, "%-7s", SeverityText(severity));
    *text += Painted(start, severity, colours);
    std::snprintf(start, sizeof start, "  %-20s  ", info.id);
    *text += std::string(start) + info.text;
    if (const int64_t shown = chosen.shown[kind]; shown < count) {
      *text += shown == 0   ? " (not shown)"
               : shown == 1 ? " (the first is shown)"
                            : " (the first " + std::to_string(shown) + " are shown)";
    }
    *text += "\n";
  }
}

}  // namespace

std::string FindingLine(const Findings& findings, const Finding& finding, bool colours) {
  const KindInfo& info = InfoOf(finding.kind);
  const Place& place = finding.place;
  std::string line = Clean(findings.PathOf(place.file)) + ":" + std::to_string(place.record) +
                     ": " + std::to_string(place.column) + ": " +
                     Painted(SeverityText(info.severity), info.severity, colours) + ": " +
                     info.text + ": " + Clean(finding.detail) + "; " + info.advice;
  if (place.line > 0 && place.line != place.record) {
    line += " (line " + std::to_string(place.line) + ")";
  }
  return line + " [" + info.id + "]";
}

std::string CountsText(int64_t errors, int64_t warnings) {
  return Counted(errors, "error") + ", " + Counted(warnings, "warning");
}

std::string CountsText(const Findings& findings) {
  return CountsText(findings.count(Severity::kError), findings.count(Severity::kWarning));
}

std::string SummaryText(const Chosen& chosen, const Selection& selection, bool colours) {
  std::string text = CountsText(chosen.errors, chosen.warnings);
  const bool warnings_hidden = selection.errors_only && chosen.warnings > 0;
  text += warnings_hidden ? " (warnings are not shown)\n" : "\n";
  AddKindLines(chosen, Severity::kError, colours, &text);
  if (!selection.errors_only) AddKindLines(chosen, Severity::kWarning, colours, &text);
  if (chosen.more > 0) {
    text += Counted(chosen.more, "finding") +
            " more: --max 0 shows all of them, --only KIND those of a kind\n";
  }
  if (chosen.hidden > 0) {
    text += Counted(chosen.hidden, "finding") + (chosen.hidden == 1 ? " follows" : " follow") +
            " from these: --all shows them\n";
  }
  if (chosen.left_out > 0) {
    text += Counted(chosen.left_out, "finding") + " of other kinds left out\n";
  }
  return text;
}

Json FindingJson(const Findings& findings, const Finding& finding) {
  const KindInfo& info = InfoOf(finding.kind);
  const Place& place = finding.place;
  Json item = {{"file", Clean(findings.PathOf(place.file))},
               {"record", place.record},
               {"column", place.column}};
  if (place.line > 0) item["line"] = place.line;
  item["severity"] = SeverityText(info.severity);
  item["kind"] = info.id;
  item["text"] = info.text;
  item["detail"] = Clean(finding.detail);
  item["advice"] = info.advice;
  return item;
}

void PrintLines(const Findings& findings, const Chosen& chosen, const Selection& selection) {
  for (const Finding& finding : chosen.findings) {
    std::printf("%s\n", FindingLine(findings, finding, OutputHasColours()).c_str());
  }
  std::printf("%s", SummaryText(chosen, selection, OutputHasColours()).c_str());
}

void PrintObject(const Findings& findings, const Chosen& chosen, const std::string& control_file) {
  Json list = Json::array();
  for (const Finding& finding : chosen.findings) list.push_back(FindingJson(findings, finding));
  Json kinds = Json::object();
  for (const KindInfo& info : Kinds()) {
    const int64_t count = chosen.counts[static_cast<size_t>(info.kind)];
    if (count > 0) kinds[info.id] = count;
  }
  Json whole = {{"control", Clean(control_file)},
                {"errors", chosen.errors},
                {"warnings", chosen.warnings},
                {"kinds", std::move(kinds)},
                {"findings", std::move(list)}};
  if (chosen.more > 0) whole["more"] = chosen.more;
  if (chosen.hidden > 0) whole["hidden"] = chosen.hidden;
  if (chosen.left_out > 0) whole["left_out"] = chosen.left_out;
  PrintJson(whole, 1);
}

}  // namespace zatmap::check
