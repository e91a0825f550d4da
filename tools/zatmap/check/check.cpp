// zatmap check: reads what a build would read and tells what is wrong with it.
#include <cinttypes>
#include <cstdio>
#include <memory>
#include <new>
#include <nlohmann/json.hpp>
#include <string>

#include "check/control.h"
#include "check/findings.h"
#include "check/rows.h"
#include "commands.h"
#include "platform/code_page.h"

namespace zatmap {
namespace {

using check::Control;
using check::Finding;
using check::Findings;
using check::InfoOf;
using check::KindInfo;
using check::Kinds;
using check::Severity;
using check::SeverityText;
using Json = nlohmann::ordered_json;

struct CheckOptions {
  std::string control_file;
  bool msr = false;
  bool json = false;
  bool strict = false;
  bool kinds = false;
  int64_t max_per_kind = 1000;
  int64_t shape_limit = INT32_MAX;  // bytes; a test sets a smaller one
};

// Bytes of the UTF-8 character at a place of a text, 0 for a byte that is part of none.
size_t CharacterSize(const std::string& text, size_t at) {
  const auto byte = static_cast<unsigned char>(text[at]);
  const size_t size = byte < 0x80                    ? 1
                      : byte >= 0xc2 && byte <= 0xdf ? 2
                      : byte >= 0xe0 && byte <= 0xef ? 3
                      : byte >= 0xf0 && byte <= 0xf4 ? 4
                                                     : 0;
  if (size == 0 || at + size > text.size()) return 0;
  for (size_t i = 1; i < size; ++i) {
    if ((static_cast<unsigned char>(text[at + i]) & 0xc0) != 0x80) return 0;
  }
  return size;
}

// A text of the sources as UTF-8; control characters and bytes of no character as \xHH.
std::string Utf8(const std::string& source) {
  const std::string text = zatlib::platform::ForTerminal(source.c_str());
  std::string shown;
  for (size_t i = 0; i < text.size();) {
    const size_t size = CharacterSize(text, i);
    const auto byte = static_cast<unsigned char>(text[i]);
    if (size == 0 || byte < 0x20 || byte == 0x7f) {
      char code[8];
      std::snprintf(code, sizeof code, "\\x%02X", byte);
      shown += code;
      ++i;
    } else {
      shown.append(text, i, size);
      i += size;
    }
  }
  return shown;
}

std::string MessageOf(const Finding& finding) {
  const KindInfo& info = InfoOf(finding.kind);
  std::string message = std::string(info.text) + ": " + Utf8(finding.detail) + "; " + info.advice;
  if (finding.place.line > 0 && finding.place.line != finding.place.record) {
    message += " (line " + std::to_string(finding.place.line) + ")";
  }
  return message;
}

std::string Counted(int64_t count, const char* what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

void PrintText(const Findings& findings) {
  for (const Finding& finding : findings.Sorted()) {
    const KindInfo& info = InfoOf(finding.kind);
    std::printf("%s:%" PRId64 ": %d: %s: %s [%s]\n",
                Utf8(findings.PathOf(finding.place.file)).c_str(), finding.place.record,
                finding.place.column, SeverityText(info.severity), MessageOf(finding).c_str(),
                info.id);
  }
}

void PrintSummary(const Findings& findings, int64_t max_per_kind) {
  const int64_t errors = findings.count(Severity::kError);
  const int64_t warnings = findings.count(Severity::kWarning);
  std::printf("%s, %s\n", Counted(errors, "error").c_str(), Counted(warnings, "warning").c_str());
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

void PrintJson(const Findings& findings, const CheckOptions& options) {
  Json list = Json::array();
  for (const Finding& finding : findings.Sorted()) {
    const KindInfo& info = InfoOf(finding.kind);
    Json item = {{"file", Utf8(findings.PathOf(finding.place.file))},
                 {"record", finding.place.record},
                 {"column", finding.place.column}};
    if (finding.place.line > 0) item["line"] = finding.place.line;
    item["severity"] = SeverityText(info.severity);
    item["kind"] = info.id;
    item["text"] = info.text;
    item["detail"] = Utf8(finding.detail);
    item["advice"] = info.advice;
    list.push_back(std::move(item));
  }
  Json kinds = Json::object();
  for (const KindInfo& info : Kinds()) {
    if (findings.count(info.kind) > 0) kinds[info.id] = findings.count(info.kind);
  }
  const Json whole = {{"control", Utf8(options.control_file)},
                      {"errors", findings.count(Severity::kError)},
                      {"warnings", findings.count(Severity::kWarning)},
                      {"kinds", std::move(kinds)},
                      {"findings", std::move(list)}};
  std::printf("%s\n", whole.dump(1, ' ', false, Json::error_handler_t::replace).c_str());
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
  if (json) std::printf("%s\n", list.dump(1).c_str());
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
  Findings findings(options.max_per_kind);
  try {
    Control control(findings, options.control_file, options.msr);
    if (control.Check()) {
      if (control.msr()) {
        check::CheckMsr(control, options.shape_limit);
      } else {
        check::CheckZat(control, options.shape_limit);
      }
    }
  } catch (const std::bad_alloc&) {
    std::fprintf(stderr, "zatmap: there is not enough memory for the check.\n");
    return kExitFailed;
  }
  if (options.json) {
    PrintJson(findings, options);
  } else {
    PrintText(findings);
    PrintSummary(findings, options.max_per_kind);
  }
  const bool failed = findings.count(Severity::kError) > 0 ||
                      (options.strict && findings.count(Severity::kWarning) > 0);
  return failed ? kExitFailed : kExitDone;
}

}  // namespace

void AddCheckCommand(CLI::App& app, int* exit_status) {
  const auto options = std::make_shared<CheckOptions>();
  CLI::App* command =
      app.add_subcommand("check", "Look for faults in the data that a control file names");
  command->add_option("CONTROL.INI", options->control_file, "Control file (INI)");
  command->add_flag("--json", options->json, "Print the findings as JSON");
  command
      ->add_option("--max", options->max_per_kind,
                   "Show at most N findings of a kind (default 1000, 0 = all)")
      ->type_name("N")
      ->check(CLI::NonNegativeNumber);
  command->add_flag("--strict", options->strict, "Exit with 1 for warnings too");
  command->add_flag("--msr", options->msr,
                    "The data are in the MSR layout, whatever [SYSTEM] FORMAT says");
  command->add_flag("--kinds", options->kinds, "List the kinds of findings and read nothing");
  command->add_option("--shape-limit", options->shape_limit)->group("");
  command->footer(
      "A finding reads  file:record: column: severity: what is wrong and what to do [kind].\n"
      "Record and column count from 1; 0 is the whole file or record. In MIF files a record is an\n"
      "object, in files of link shapes a block; their line stands behind the text.\n"
      "Exit status: 0 no errors, 1 errors (with --strict also warnings), 2 wrong usage.\n"
      "Example: zatmap check --max 20 control.ini");
  command->callback([options, exit_status] { *exit_status = RunCheck(*options); });
}

}  // namespace zatmap
