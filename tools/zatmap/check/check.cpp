// zatmap check: reads what a build would read and tells what is wrong with it.
#include <cinttypes>
#include <cstdio>
#include <memory>
#include <string>

#include "check/findings.h"
#include "check/report_text.h"
#include "check/run.h"
#include "commands.h"
#include "shell/output.h"

namespace zatmap {
namespace {

using check::CountsText;
using check::Finding;
using check::FindingLine;
using check::Findings;
using check::InfoOf;
using check::KindInfo;
using check::Kinds;

struct CheckOptions {
  std::string control_file;
  bool msr = false;
  bool json = false;
  bool strict = false;
  bool kinds = false;
  int64_t max_per_kind = 1000;
  int64_t shape_limit = INT32_MAX;  // bytes; a test sets a smaller one
};

// A text of the sources for people.
std::string Clean(const std::string& source) { return CleanText(source, Unclean::kHex); }

void PrintText(const Findings& findings) {
  for (const Finding& finding : findings.Sorted()) {
    std::printf("%s\n", FindingLine(findings, finding).c_str());
  }
}

void PrintSummary(const Findings& findings, int64_t max_per_kind) {
  std::printf("%s\n", CountsText(findings).c_str());
  for (const Severity severity : {Severity::kError, Severity::kWarning}) {
    for (const KindInfo& info : Kinds()) {
      const int64_t count = findings.count(info.kind);
      if (count == 0 || info.severity != severity) continue;
      std::printf("%8" PRId64 "  %-7s  %-20s  %s", count, SeverityText(severity), info.id,
                  info.text);
      if (max_per_kind > 0 && count > max_per_kind) {
        std::printf(" (the first %" PRId64 " are shown)", max_per_kind);
      }
      std::printf("\n");
    }
  }
}

void PrintFindings(const Findings& findings, const CheckOptions& options) {
  Json list = Json::array();
  for (const Finding& finding : findings.Sorted()) {
    const KindInfo& info = InfoOf(finding.kind);
    Json item = {{"file", Clean(findings.PathOf(finding.place.file))},
                 {"record", finding.place.record},
                 {"column", finding.place.column}};
    if (finding.place.line > 0) item["line"] = finding.place.line;
    item["severity"] = SeverityText(info.severity);
    item["kind"] = info.id;
    item["text"] = info.text;
    item["detail"] = Clean(finding.detail);
    item["advice"] = info.advice;
    list.push_back(std::move(item));
  }
  Json kinds = Json::object();
  for (const KindInfo& info : Kinds()) {
    if (findings.count(info.kind) > 0) kinds[info.id] = findings.count(info.kind);
  }
  const Json whole = {{"control", Clean(options.control_file)},
                      {"errors", findings.count(Severity::kError)},
                      {"warnings", findings.count(Severity::kWarning)},
                      {"kinds", std::move(kinds)},
                      {"findings", std::move(list)}};
  PrintJson(whole, 1);
}

void PrintKinds(bool json) {
  Json list = Json::array();
  for (const KindInfo& info : Kinds()) {
    if (json) {
      list.push_back({{"kind", info.id},
                      {"severity", SeverityText(info.severity)},
                      {"text", info.text},
                      {"advice", info.advice}});
    } else {
      std::printf("%-20s  %-7s  %s; %s\n", info.id, SeverityText(info.severity), info.text,
                  info.advice);
    }
  }
  if (json) PrintJson(list, 1);
}

int RunCheck(const CheckOptions& options) {
  if (options.kinds) {
    PrintKinds(options.json);
    return kExitDone;
  }
  if (options.control_file.empty()) {
    std::fprintf(stderr, "zatmap: check needs a control file: zatmap check control.ini\n");
    return kExitUsage;
  }
  const Findings findings = check::RunChecks({.control_file = options.control_file,
                                              .msr = options.msr,
                                              .max_per_kind = options.max_per_kind,
                                              .shape_limit = options.shape_limit});
  if (!findings.complete()) {
    std::fprintf(stderr, "zatmap: there is not enough memory for the check.\n");
    return kExitFailed;
  }
  if (options.json) {
    PrintFindings(findings, options);
  } else {
    PrintText(findings);
    PrintSummary(findings, options.max_per_kind);
  }
  return findings.Fail(options.strict) ? kExitFailed : kExitDone;
}

}  // namespace

Command CheckCommand() {
  const auto options = std::make_shared<CheckOptions>();
  Argument control_file = ControlFileArgument(&options->control_file);
  control_file.required = false;
  return {.name = "check",
          .summary = "Look for faults in the data that a control file names",
          .arguments = {control_file},
          .options = {JsonOption(&options->json, "Print the findings as JSON"),
                      {.names = "--max",
                       .help = "Show at most N findings of a kind, 0 all",
                       .value = &options->max_per_kind,
                       .type = "N"},
                      StrictOption(&options->strict),
                      MsrOption(&options->msr),
                      {.names = "--kinds",
                       .help = "List the kinds of findings and read nothing",
                       .value = &options->kinds},
                      {.names = "--shape-limit",
                       .help = "Bytes that the shapes may take",
                       .value = &options->shape_limit,
                       .type = "BYTES",
                       .hidden = true}},
          .notes =
              "A finding reads  file:record: column: severity: what is wrong and what to do "
              "[kind].\nRecord and column count from 1; 0 is the whole file or record. In MIF "
              "files a record is an\nobject, in files of link shapes a block; their line "
              "stands behind the text.",
          .examples = {{"zatmap check --max 20 control.ini", ""}},
          .done = "no errors",
          .failed = "errors (with --strict also warnings)",
          .run = [options] { return RunCheck(*options); }};
}

}  // namespace zatmap
