// zatmap verify: proves that the files of a map fit together.
#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <memory>
#include <string>

#include "build/manifest.h"
#include "commands.h"
#include "shell/colours.h"
#include "shell/open_map.h"
#include "shell/output.h"
#include "verify/run.h"

namespace zatmap {
namespace {

using verify::Findings;
using verify::PlaceText;
using verify::Totals;

struct VerifyOptions {
  std::string folder;
  int64_t max = 100;
  bool json = false;
  bool strict = false;
};

void PrintObject(const VerifyOptions& options, const MapFolder& map, const Findings& findings,
                 const Totals& totals) {
  Json all;
  all["map"] = map.path;
  all["nodes"] = map.nodes;
  all["links"] = map.links;
  all["shapes"] = totals.shapes;
  all["points"] = totals.points;
  all["links_without_shape"] = totals.links_without_shape;
  all["shapes_without_link"] = totals.shapes_without_link;
  all["closed_connections"] = totals.closed_marked;
  all["closed_connections_left_open"] = totals.closed_unmarked;
  all["weights_checked"] = totals.weights_checked;
  all["built"] = totals.built.empty() ? Json() : Json(totals.built);
  all["errors"] = findings.count(Severity::kError);
  all["warnings"] = findings.count(Severity::kWarning);
  Json summary = Json::array();
  for (const auto& info : findings.kinds()) {
    const int64_t count = findings.count(info.kind);
    if (count == 0) continue;
    summary.push_back(
        {{"severity", SeverityText(info.severity)}, {"kind", info.id}, {"count", count}});
  }
  all["summary"] = std::move(summary);
  Json list = Json::array();
  for (const Findings::Finding& finding : findings.Sorted()) {
    if (std::ssize(list) >= options.max) break;
    const Place& place = finding.place;
    const auto& info = findings.InfoOf(finding.kind);
    Json entry = {{"file", findings.PathOf(place.file)}};
    entry["record"] = place.record == 0 ? Json() : Json(place.record - 1);
    entry["offset"] = place.offset < 0 ? Json() : Json(place.offset);
    entry["severity"] = SeverityText(info.severity);
    entry["kind"] = info.id;
    entry["message"] = CleanText(finding.detail, Unclean::kQuestionMark);
    list.push_back(std::move(entry));
  }
  all["findings"] = std::move(list);
  PrintJson(all);
}

void PrintText(const VerifyOptions& options, const MapFolder& map, const Findings& findings,
               const Totals& totals) {
  int64_t printed = 0;
  for (const Findings::Finding& finding : findings.Sorted()) {
    if (printed >= options.max) break;
    ++printed;
    const Severity severity = findings.InfoOf(finding.kind).severity;
    std::printf("%s: %s: %s\n", PlaceText(findings, finding.place).c_str(),
                Painted(SeverityText(severity), severity, OutputHasColours()).c_str(),
                CleanText(finding.detail, Unclean::kQuestionMark).c_str());
  }
  const int64_t errors = findings.count(Severity::kError);
  const int64_t warnings = findings.count(Severity::kWarning);
  const int64_t more = errors + warnings - printed;
  if (more > 0) std::printf("%" PRId64 " findings more; --max shows them.\n", more);
  for (const auto& info : findings.kinds()) {
    const int64_t count = findings.count(info.kind);
    if (count == 0) continue;
    std::printf("  %s, %s: %" PRId64 "\n",
                Painted(SeverityText(info.severity), info.severity, OutputHasColours()).c_str(),
                info.id, count);
  }
  std::printf("%s: %" PRId64 " nodes, %" PRId64 " links, %" PRId64 " shapes, %" PRId64 " points\n",
              map.path.c_str(), map.nodes, map.links, totals.shapes, totals.points);
  if (totals.closed_unmarked > 0 && totals.closed_unmarked * 10 > totals.closed_marked) {
    std::printf("One-way connections are not closed in cost and speed ([TUKOUJ] NOTADDONEWAY).\n");
  }
  if (!totals.built.empty()) {
    const bool same = findings.count(verify::Kind::kChanged) == 0 &&
                      findings.count(verify::Kind::kExtra) == 0 &&
                      findings.count(verify::Kind::kMissing) == 0;
    std::printf("%s: the files are %sthose that were built at %s.\n", kManifestFile,
                same ? "" : "not all ", totals.built.c_str());
  }
  std::printf("%" PRId64 " errors, %" PRId64 " warnings: the map is %s.\n", errors, warnings,
              errors == 0 ? "whole" : "damaged");
}

int RunVerify(const VerifyOptions& options) {
  MapFolder map;
  if (!OpenMap(options.folder, &map)) return kExitFailed;
  Findings findings(std::max<int64_t>(options.max, 1));
  Totals totals;
  verify::RunChecks(map, &findings, &totals);
  if (options.json) {
    PrintObject(options, map, findings, totals);
  } else {
    PrintText(options, map, findings, totals);
  }
  return findings.Fail(options.strict) ? kExitFailed : kExitDone;
}

}  // namespace

Command VerifyCommand() {
  const auto options = std::make_shared<VerifyOptions>();
  return {.name = "verify",
          .summary = "Prove that the files of a map fit together",
          .arguments = {MapArgument(&options->folder)},
          .options = {JsonOption(&options->json),
                      {.names = "--max",
                       .help = "Show at most N findings",
                       .value = &options->max,
                       .type = "N",
                       .most = 10000000},
                      StrictOption(&options->strict),
                      CodePageOption()},
          .notes = "A finding is a line: file:record: byte offset: severity: what does not fit.",
          .examples = {{"zatmap verify out", ""}},
          .done = "the map is whole (there may be warnings)",
          .failed = "it is damaged",
          .run = [options] { return RunVerify(*options); }};
}

}  // namespace zatmap
