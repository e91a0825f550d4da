// zatmap check: reads what a build would read and tells what is wrong with it.
#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "check/findings.h"
#include "check/report_files.h"
#include "check/report_text.h"
#include "check/run.h"
#include "check/selection.h"
#include "commands.h"
#include "shell/output.h"
#include "shell/output_file.h"

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
  std::string geojson;  // files to write, "-" standard output; "" none
  std::string html;
  bool overwrite = false;
};

// Findings in the files, which are looked through with other means than the eyes alone.
constexpr int64_t kInFiles = 10000;

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

// Writes one of the files through `write(out)`. False, with a message, when that fails.
template <typename Write>
bool WriteReport(const CheckOptions& options, const Findings& findings, const std::string& path,
                 const Write& write) {
  if (path.empty()) return true;
  Output out;
  if (!OpenOutput({path, options.overwrite, findings.files()}, &out)) return false;
  write(out);
  if (out.Close()) return true;
  std::fprintf(stderr, "zatmap: %s could not be written whole.\n", path.c_str());
  return false;
}

bool WriteReports(const CheckOptions& options, const Findings& findings,
                  const check::Selection& selection, const check::Places& places) {
  const check::Chosen chosen = Choose(findings, selection);
  const check::Report report = {findings, chosen, selection, options.run.control_file};
  return WriteReport(options, findings, options.geojson,
                     [&](Output& out) { WriteGeoJson(report, places, out); }) &&
         WriteReport(options, findings, options.html, [&](Output& out) {
           WriteHtml(report, check::RowTexts(findings, chosen.findings), out);
         });
}

int Check(CheckOptions& options) {
  const bool files = !options.geojson.empty() || !options.html.empty();
  check::Selection in_files = options.selection;
  if (in_files.max > 0) in_files.max = std::max(in_files.max, kInFiles);
  options.run.max_per_kind = files ? in_files.max : options.selection.max;
  check::Places places;
  if (!options.geojson.empty()) {
    options.run.look = [&](const check::Control& control, const check::Network& network) {
      const check::Chosen chosen = Choose(network.findings(), in_files);
      places.Find(control, network, chosen.findings,
                  check::RowTexts(network.findings(), chosen.findings));
    };
  }
  const Findings findings = check::RunChecks(options.run);
  if (!findings.complete()) {
    std::fprintf(stderr, "zatmap: there is not enough memory for the check.\n");
    return kExitFailed;
  }
  if (files && !WriteReports(options, findings, in_files, places)) return kExitFailed;
  const check::Chosen chosen = Choose(findings, options.selection);
  if (options.json) {
    PrintObject(findings, chosen, options.run.control_file);
  } else if (options.geojson != "-" && options.html != "-") {
    PrintLines(findings, chosen, options.selection);
  }
  return chosen.Fail(options.strict) ? kExitFailed : kExitDone;
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
  if ((options.geojson == "-" ? 1 : 0) + (options.html == "-" ? 1 : 0) + (options.json ? 1 : 0) >
      1) {
    std::fprintf(stderr,
                 "zatmap: standard output takes one of --json, --geojson - and --html -.\n");
    return kExitUsage;
  }
  std::string problem;
  if (!ParseKinds(options.only, &options.selection.only, &problem) ||
      !ParseKinds(options.ignored, &options.selection.ignored, &problem)) {
    std::fprintf(stderr, "zatmap: %s.\n", problem.c_str());
    return kExitUsage;
  }
  return Check(options);
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
                      {.names = "--all",
                       .help = "Show findings that follow from others, too",
                       .value = &options->run.all},
                      {.names = "--max",
                       .help = "Show at most N findings of all kinds together, 0 all",
                       .value = &options->selection.max,
                       .type = "N"},
                      {.names = "--geojson",
                       .help = "Write the findings as points and lines for a GIS, - to standard "
                               "output",
                       .value = &options->geojson,
                       .type = "FILE",
                       .completes = Completes::kFile},
                      {.names = "--html",
                       .help = "Write the findings as one page for a browser",
                       .value = &options->html,
                       .type = "FILE",
                       .completes = Completes::kFile},
                      OverwriteOption(&options->overwrite),
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
                        "leaves out what is known"},
                       {"zatmap check --html findings.html control.ini",
                        "writes a page for a browser"}},
          .done = "no errors",
          .failed = "errors (with --strict also warnings)",
          .run = [options] { return RunCheck(*options); }};
}

}  // namespace zatmap
