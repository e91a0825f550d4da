// zatmap verify: proves that the files of a map fit together.
#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <tuple>

#include "commands.h"
#include "verify/checks.h"

namespace zatmap::verify {

void MapFindings::Sort() {
  std::stable_sort(kept_.begin(), kept_.end(), [](const MapFinding& a, const MapFinding& b) {
    const int order = std::strcmp(a.place.file, b.place.file);
    return order != 0 ? order < 0
                      : std::tie(a.place.record, a.place.offset) <
                            std::tie(b.place.record, b.place.offset);
  });
}

uint64_t MapFindings::Count(Severity severity) const {
  uint64_t count = 0;
  for (const auto& [key, number] : counts_) {
    if (key.severity == severity) count += number;
  }
  return count;
}

}  // namespace zatmap::verify

namespace zatmap {
namespace {

using verify::MapFinding;
using verify::MapFindings;
using verify::Severity;
using verify::VerifyTotals;

using nlohmann::ordered_json;

struct VerifyOptions {
  std::string folder;
  uint64_t max = 100;
  bool json = false;
  bool strict = false;
};

const char* SeverityName(Severity severity) {
  return severity == Severity::kError ? "error" : "warning";
}

void PrintJson(const VerifyOptions& options, const MapFolder& map, const MapFindings& findings,
               const VerifyTotals& totals) {
  ordered_json all;
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
  all["errors"] = findings.Count(Severity::kError);
  all["warnings"] = findings.Count(Severity::kWarning);
  ordered_json summary = ordered_json::array();
  for (const auto& [key, count] : findings.counts()) {
    summary.push_back(
        {{"severity", SeverityName(key.severity)}, {"kind", key.kind}, {"count", count}});
  }
  all["summary"] = std::move(summary);
  ordered_json list = ordered_json::array();
  for (const MapFinding& finding : findings.kept()) {
    if (list.size() >= options.max) break;
    ordered_json entry = {{"file", finding.place.file}};
    entry["record"] =
        finding.place.record < 0 ? ordered_json() : ordered_json(finding.place.record);
    entry["offset"] =
        finding.place.offset < 0 ? ordered_json() : ordered_json(finding.place.offset);
    entry["severity"] = SeverityName(finding.severity);
    entry["kind"] = finding.kind;
    entry["message"] = finding.text;
    list.push_back(std::move(entry));
  }
  all["findings"] = std::move(list);
  std::printf("%s\n", all.dump(2, ' ', false, ordered_json::error_handler_t::replace).c_str());
}

void PrintText(const VerifyOptions& options, const MapFolder& map, const MapFindings& findings,
               const VerifyTotals& totals) {
  uint64_t printed = 0;
  for (const MapFinding& finding : findings.kept()) {
    if (printed++ >= options.max) break;
    std::string place = finding.place.file;
    if (finding.place.record >= 0) place += ":" + std::to_string(finding.place.record);
    if (finding.place.offset >= 0) place += ": byte " + std::to_string(finding.place.offset);
    std::printf("%s: %s: %s\n", place.c_str(), SeverityName(finding.severity),
                finding.text.c_str());
  }
  const uint64_t errors = findings.Count(Severity::kError);
  const uint64_t warnings = findings.Count(Severity::kWarning);
  printed = std::min<uint64_t>(printed, options.max);
  if (errors + warnings > printed) {
    std::printf("%" PRIu64 " findings more; --max shows them.\n", errors + warnings - printed);
  }
  for (const auto& [key, count] : findings.counts()) {
    std::printf("  %s, %s: %" PRIu64 "\n", SeverityName(key.severity), key.kind.c_str(), count);
  }
  std::printf("%s: %" PRId64 " nodes, %" PRId64 " links, %" PRId64 " shapes, %" PRId64 " points\n",
              map.path.c_str(), map.nodes, map.links, totals.shapes, totals.points);
  if (totals.closed_unmarked > 0 && totals.closed_unmarked * 10 > totals.closed_marked) {
    std::printf("One-way connections are not closed in cost and speed ([TUKOUJ] NOTADDONEWAY).\n");
  }
  std::printf("%" PRIu64 " errors, %" PRIu64 " warnings: the map is %s.\n", errors, warnings,
              errors == 0 ? "whole" : "damaged");
}

int RunVerify(const VerifyOptions& options) {
  MapFolder map;
  if (!OpenMapFolder(options.folder, &map)) return kExitFailed;
  MapFindings findings(std::max<uint64_t>(options.max, 1));
  VerifyTotals totals;
  verify::VerifyMap(map, &findings, &totals);
  findings.Sort();
  if (options.json) {
    PrintJson(options, map, findings, totals);
  } else {
    PrintText(options, map, findings, totals);
  }
  const bool failed = findings.Count(Severity::kError) > 0 ||
                      (options.strict && findings.Count(Severity::kWarning) > 0);
  return failed ? kExitFailed : kExitDone;
}

}  // namespace

void AddVerifyCommand(CLI::App& app, int* exit_status) {
  const auto options = std::make_shared<VerifyOptions>();
  CLI::App* command = app.add_subcommand("verify", "Prove that the files of a map fit together");
  command->add_option("DIR", options->folder, "Folder of the map")->required();
  command->add_flag("--json", options->json, "One JSON object");
  command->add_option("--max", options->max, "Show at most so many findings (100)")
      ->check(CLI::Range(uint64_t{0}, uint64_t{10000000}));
  command->add_flag("--strict", options->strict, "Warnings too make the exit status 1");
  command->footer(
      "A finding is a line: file:record: byte offset: severity: what does not fit.\n"
      "Exit status: 0 the map is whole (there may be warnings), 1 it is damaged, 2 wrong usage.\n"
      "Example: zatmap verify out");
  command->callback([options, exit_status] { *exit_status = RunVerify(*options); });
}

}  // namespace zatmap
