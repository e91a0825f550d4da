#include "build/report.h"

#include <cinttypes>
#include <cstdio>

#include "build/summary.h"
#include "check/report_text.h"
#include "shell/output.h"

namespace zatmap {
namespace {

constexpr size_t kShownErrors = 10;    // lines of findings
constexpr size_t kShownOfOneKind = 3;  // of them with the same kind

const char* EndText(BuildEnd end) {
  switch (end) {
    case BuildEnd::kBuilt:
      return "built";
    case BuildEnd::kUnchanged:
      return "unchanged";
    case BuildEnd::kRefused:
      return "refused";
    case BuildEnd::kErrors:
      return "errors in the data";
    case BuildEnd::kCancelled:
      return "cancelled";
    default:
      return "failed";
  }
}

// The texts of the sources that are not UTF-8 are the affair of JsonText.
Json MessagesJson(const std::vector<LibraryMessage>& messages) {
  Json list = Json::array();
  for (const LibraryMessage& message : messages) {
    Json item = {{"title", message.title}, {"text", message.text}};
    if (!message.english.empty()) item["english"] = message.english;
    if (!message.reason.empty()) item["reason"] = message.reason;
    list.push_back(std::move(item));
  }
  return list;
}

Json CheckJson(const BuildReport& report) {
  const check::Findings& findings = *report.findings;
  Json kinds = Json::object();
  for (const check::KindInfo& info : check::Kinds()) {
    if (findings.count(info.kind) > 0) kinds[info.id] = findings.count(info.kind);
  }
  Json object = {
      {"errors", ErrorCount(findings)},        {"warnings", findings.count(Severity::kWarning)},
      {"complete", findings.complete()},       {"kinds", std::move(kinds)},
      {"first_errors", FirstErrors(findings)}, {"command", report.check_command}};
  return object;
}

void PrintObject(const BuildReport& report) {
  Json object = {
      {"result", EndText(report.end)},
      {"status", report.end == BuildEnd::kBuilt || report.end == BuildEnd::kUnchanged ? 0 : 1},
      {"control", report.control},
      {"folder", report.folder}};
  if (report.end == BuildEnd::kBuilt) {
    object["made"] = report.stores ? "work stores" : "map";
    object["nodes"] = report.nodes;
    object["links"] = report.links;
    object["bytes"] = report.bytes;
  }
  if (report.end == BuildEnd::kUnchanged) object["built"] = report.built;
  object["seconds"] = report.seconds;
  object["log"] = report.log.empty() ? Json() : Json(report.log);
  object["reasons"] = report.reasons;
  object["messages"] = MessagesJson(report.messages);
  object["forced"] = report.forced;
  object["check"] = report.findings.has_value() ? CheckJson(report) : Json();
  Json notes = Json::array();
  if (report.end == BuildEnd::kBuilt && report.findings.has_value()) {
    for (const DataNote& note : DataNotes(*report.findings)) {
      notes.push_back({{"kind", note.kind}, {"count", note.count}, {"text", note.text}});
    }
  }
  object["data"] = std::move(notes);
  PrintJson(object);
}

void PrintNotes(const BuildReport& report) {
  const std::vector<DataNote> notes = DataNotes(*report.findings);
  const int64_t others = OtherFindings(*report.findings);
  if (!notes.empty()) {
    std::printf("what became of the data (%s --only KIND lists each):\n",
                report.check_command.c_str());
    for (const DataNote& note : notes) {
      std::printf("%8" PRId64 "  %-17s  %s\n", note.count, note.kind, note.text);
    }
  }
  if (!report.findings->complete()) {
    std::printf("the check ran out of memory: there may be more.\n");
  }
  if (others > 0) {
    std::printf("%8" PRId64 "  %-17s  %s\n", others, notes.empty() ? "findings" : "other findings",
                report.check_command.c_str());
  }
}

void PrintBuilt(const BuildReport& report) {
  std::printf("%s: %s\n", report.stores ? "work stores" : "map", report.folder.c_str());
  std::printf("%" PRId64 " nodes, %" PRId64 " links, %" PRIu64 " bytes, %.2f seconds\n",
              report.nodes, report.links, report.bytes, report.seconds);
  if (report.findings.has_value()) PrintNotes(report);
}

void PrintErrors(const BuildReport& report) {
  for (const std::string& line : FirstErrors(*report.findings)) {
    std::fprintf(stderr, "  %s\n", line.c_str());
  }
  std::fprintf(stderr, "%s; all of them: %s\n", check::CountsText(*report.findings).c_str(),
               report.check_command.c_str());
}

void PrintMessages(const BuildReport& report) {
  for (const LibraryMessage& message : report.messages) {
    std::fprintf(stderr, "  %s: %s\n", message.title.c_str(), message.text.c_str());
    if (!message.english.empty()) std::fprintf(stderr, "    (%s)\n", message.english.c_str());
    if (!message.reason.empty()) std::fprintf(stderr, "    %s\n", message.reason.c_str());
  }
  for (const std::string& reason : report.reasons) std::fprintf(stderr, "  %s\n", reason.c_str());
}

void PrintFailed(const BuildReport& report) {
  std::fprintf(stderr, report.end == BuildEnd::kCancelled ? "zatmap: the build was cancelled.\n"
                                                          : "zatmap: the build failed.\n");
  PrintMessages(report);
  if (!report.log.empty()) std::fprintf(stderr, "  log: %s\n", report.log.c_str());
  if (!report.findings.has_value()) return;
  if (ErrorCount(*report.findings) == 0) {
    std::fprintf(stderr, "zatmap check finds no error in the data.\n");
  } else {
    std::fprintf(stderr, "zatmap check finds:\n");
    PrintErrors(report);
  }
}

}  // namespace

int64_t ErrorCount(const check::Findings& findings) { return findings.count(Severity::kError); }

std::vector<std::string> FirstErrors(const check::Findings& findings) {
  const std::vector<check::Finding> sorted = findings.Sorted();
  std::vector<std::string> lines;
  // The table of kinds has what brings other faults with it first: control file, files, lines.
  for (const check::KindInfo& info : check::Kinds()) {
    if (info.severity != Severity::kError || findings.count(info.kind) == 0) continue;
    size_t shown = 0;
    for (const check::Finding& finding : sorted) {
      if (finding.kind != info.kind) continue;
      if (shown == kShownOfOneKind || lines.size() == kShownErrors) break;
      lines.push_back(check::FindingLine(findings, finding));
      ++shown;
    }
    const int64_t more = findings.count(info.kind) - static_cast<int64_t>(shown);
    if (shown > 0 && more > 0) {
      lines.back() += " (and " + std::to_string(more) + " more)";
    }
  }
  return lines;
}

void PrintReport(const BuildReport& report, const BuildOutput& output) {
  if (output.json) {
    PrintObject(report);
    return;
  }
  switch (report.end) {
    case BuildEnd::kBuilt:
      PrintMessages(report);
      if (report.forced) {
        std::fprintf(stderr, "zatmap: built in spite of errors in the data: %s\n",
                     report.check_command.c_str());
      }
      if (!output.quiet) PrintBuilt(report);
      break;
    case BuildEnd::kUnchanged:
      if (output.quiet) break;
      std::printf("map: %s\nnothing has changed since it was built at %s\n", report.folder.c_str(),
                  report.built.c_str());
      break;
    case BuildEnd::kRefused:
      for (const std::string& reason : report.reasons) {
        std::fprintf(stderr, "zatmap: %s\n", reason.c_str());
      }
      break;
    case BuildEnd::kErrors:
      std::fprintf(stderr, "zatmap: the data have errors; nothing was built.\n");
      PrintErrors(report);
      std::fprintf(stderr, "zatmap build --force goes on in spite of them.\n");
      break;
    default:
      PrintFailed(report);
  }
}

}  // namespace zatmap
