// zatmap check: reads what a build would read and tells what is wrong with it.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "check/findings.h"
#include "check/report_text.h"
#include "check/run.h"
#include "check/selection.h"
#include "commands.h"
#include "shell/output.h"

namespace zatmap {
namespace {

using check::Findings;
using check::KindInfo;
using check::Kinds;

struct CheckOptions {
  check::RunOptions run;
  check::Selection selection;
  std::vector<std::string> only;
  std::vector<std::string> ignored;
  bool json = false;
  bool strict = false;
  bool kinds = false;
};

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

int RunCheck(CheckOptions& options) {
  if (options.kinds) {
    PrintKinds(options.json);
    return kExitDone;
  }
  if (options.run.control_file.empty()) {
    std::fprintf(stderr, "zatmap: check needs a control file: zatmap check control.ini\n");
    return kExitUsage;
  }
  std::string problem;
  if (!ParseKinds(options.only, &options.selection.only, &problem) ||
      !ParseKinds(options.ignored, &options.selection.ignored, &problem)) {
    std::fprintf(stderr, "zatmap: %s.\n", problem.c_str());
    return kExitUsage;
  }
  options.run.max_per_kind = options.selection.max;
  const Findings findings = check::RunChecks(options.run);
  if (!findings.complete()) {
    std::fprintf(stderr, "zatmap: there is not enough memory for the check.\n");
    return kExitFailed;
  }
  const check::Chosen chosen = Choose(findings, options.selection);
  if (options.json) {
    PrintObject(findings, chosen, options.run.control_file);
  } else {
    PrintLines(findings, chosen, options.selection);
  }
  return chosen.Fail(options.strict) ? kExitFailed : kExitDone;
}

std::vector<std::string> KindNames() {
  std::vector<std::string> names;
  for (const KindInfo& info : Kinds()) names.push_back(info.id);
  return names;
}

}  // namespace

Command CheckCommand() {
  const auto options = std::make_shared<CheckOptions>();
  Argument control_file = ControlFileArgument(&options->run.control_file);
  control_file.required = false;
  return {.name = "check",
          .summary = "Look for faults in the data that a control file names",
          .arguments = {control_file},
          .options = {JsonOption(&options->json, "Print the findings as JSON"),
                      {.names = "--errors-only",
                       .help = "Show errors; warnings are only counted",
                       .value = &options->selection.errors_only},
                      {.names = "--ignore",
                       .help = "Leave out findings of these kinds",
                       .value = &options->ignored,
                       .type = "KIND",
                       .suggests = KindNames()},
                      {.names = "--only",
                       .help = "Leave out findings of all other kinds",
                       .value = &options->only,
                       .type = "KIND",
                       .suggests = KindNames()},
                      {.names = "--max",
                       .help = "Show at most N findings of all kinds together, 0 all",
                       .value = &options->selection.max,
                       .type = "N"},
                      StrictOption(&options->strict),
                      MsrOption(&options->run.msr),
                      CodePageOption(),
                      {.names = "--kinds",
                       .help = "List the kinds of findings and read nothing",
                       .value = &options->kinds},
                      {.names = "--shape-limit",
                       .help = "Bytes that the shapes may take",
                       .value = &options->run.shape_limit,
                       .type = "BYTES",
                       .hidden = true},
                      {.names = "--piece-size",
                       .help = "Bytes of files that a thread looks at at a time, 0 to do without",
                       .value = &options->run.piece_size,
                       .type = "BYTES",
                       .hidden = true}},
          .notes =
              "A finding reads  file:record: column: severity: what is wrong and what to do "
              "[kind].\nRecord and column count from 1; 0 is the whole file or record. In MIF "
              "files a record is an\nobject, in files of link shapes a block; their line "
              "stands behind the text.",
          .examples = {{"zatmap check --max 20 control.ini", ""},
                       {"zatmap check --ignore name-long,rule-parallel control.ini",
                        "leaves out what is known"}},
          .done = "no errors",
          .failed = "errors (with --strict also warnings)",
          .run = [options] { return RunCheck(*options); }};
}

}  // namespace zatmap
