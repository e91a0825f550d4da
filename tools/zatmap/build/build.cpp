// zatmap build: looks at the data, runs the exported functions over a control file, and tells what
// came of it.
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "build/failure.h"
#include "build/manifest.h"
#include "build/report.h"
#include "build/source_look.h"
#include "build/sources.h"
#include "build/staging.h"
#include "check/report_text.h"
#include "check/run.h"
#include "commands.h"
#include "frd/control.h"
#include "frd/fields.h"
#include "frd/files.h"
#include "frd/log.h"
#include "frd/progress.h"
#include "frd/record_file.h"
#include "network/network_files.h"
#include "network/workstore/work_stores.h"
#include "platform/code_page.h"
#include "platform/console.h"
#include "platform/file.h"
#include "platform/profile_override.h"
#include "platform/redirect.h"
#include "platform/user_interface.h"
#include "verify/run.h"
#include "zatlib.h"

namespace zatmap {
namespace {

using Clock = std::chrono::steady_clock;

struct BuildOptions {
  std::string control_file;
  std::string stage = "all";
  std::string out;
  bool msr = false;
  bool force = false;
  bool in_place = false;
  bool no_check = false;
  bool if_changed = false;
  bool no_manifest = false;
  bool quiet = false;
  bool verbose = false;
  bool json = false;
};

// One build from the look at its sources to the report.
class Build {
 public:
  explicit Build(const BuildOptions& options);

  // The exit status, once everything is printed.
  int Run();

 private:
  void Go();
  bool LookFirst();
  bool NeedsBuild();
  bool StandAside();
  bool CheckFirst();
  void Replace();
  void WriteManifest();
  void RunLibrary();
  int RunStage();
  void CountMap();
  void Explain();
  int Finish();
  [[noreturn]] void EndAtLongField(const char* path, int64_t line, int column);
  static void OnLongField(const char* path, int64_t line, int column);

  const BuildOptions& options_;
  BuildRequest request_;
  BuildReport report_;
  std::unique_ptr<FailureNotes> notes_;
  std::unique_ptr<Staging> staging_;       // null: in place
  std::unique_ptr<MapRecorder> recorder_;  // null: no manifest
  Clock::time_point start_;
  static Build* running_;
};

Build* Build::running_ = nullptr;

double SecondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

// `zatmap check` over the same data, as it is typed here.
std::string CheckCommandLine(const BuildOptions& options) {
  std::string line = "zatmap check ";
  if (!EnteredFolder().empty()) line += "-C " + QuotedWord(EnteredFolder()) + " ";
  if (options.msr) line += "--msr ";
  if (IsCodePageGiven()) {
    line += "--code-page " + std::to_string(zatlib::platform::CodePage()) + " ";
  }
  return line + QuotedWord(options.control_file);
}

// Bytes of all files of the output folder but the manifest.
uint64_t FolderBytes(const char* folder) {
  uint64_t bytes = 0;
  zatlib::platform::FindFiles(folder, "", [&](const char* name) {
    if (zatlib::platform::SameFileName(name, kManifestFile)) return;
    bytes += zatlib::FileSize(zatlib::PathIn(folder, name).c_str());
  });
  return bytes;
}

Build::Build(const BuildOptions& options) : options_(options) {
  if (!options.out.empty()) {
    // A name of one character counts as none in a control file.
    std::string folder = options.out;
    if (folder.size() < 2) folder = std::string(".") + zatlib::platform::NativeSeparator() + folder;
    zatlib::platform::OverrideProfileValue("FOLDER", "CALCMAPDIR", folder.c_str());
  }
  request_.control_file = zatlib::platform::AbsolutePath(options.control_file.c_str());
  request_.msr = options.msr;
  request_.stage = options.stage;
  report_.control = options.control_file;
  report_.check_command = CheckCommandLine(options);
  report_.stores = options.stage == "one";
}

int Build::Run() {
  Go();
  staging_.reset();
  return Finish();
}

// The order of a build.
void Build::Go() {
  // What goes wrong is told at the end, with reasons.
  zatlib::platform::SetConsole(
      {.progress = !options_.quiet, .status_lines = options_.verbose, .messages = false});
  if (!LookFirst() || !NeedsBuild() || !StandAside() || !CheckFirst()) return;
  RunLibrary();
  if (report_.end == BuildEnd::kBuilt && recorder_ != nullptr && staging_ == nullptr) {
    WriteManifest();
  }
  if (report_.end == BuildEnd::kBuilt && staging_ != nullptr) Replace();
  if (report_.end == BuildEnd::kBuilt) {
    CountMap();
  } else {
    Explain();
  }
}

bool Build::LookFirst() {
  if (std::string fault = LookAtControl(request_.control_file); !fault.empty()) {
    report_.reasons.push_back(std::move(fault));
  } else {
    char folder[zatlib::kPathSize];
    zatlib::BRN_GetCalcMapDir(request_.control_file.c_str(), folder);
    request_.folder = folder[0] == 0 ? "." : folder;
    report_.folder = zatlib::platform::AbsolutePath(request_.folder.c_str());
    report_.reasons = LookAtSources(request_, options_.control_file);
  }
  if (report_.reasons.empty()) return true;
  report_.end = BuildEnd::kRefused;
  return false;
}

// False when there is nothing to do. Else begins to read the sources for the manifest, so that what
// changes while the check and the build read them is taken for changed later.
bool Build::NeedsBuild() {
  std::string reason;
  if (options_.if_changed) {
    if (IsUpToDate(request_, &reason)) {
      report_.built = reason;
      report_.end = BuildEnd::kUnchanged;
      return false;
    }
    if (options_.verbose) std::fprintf(stderr, "zatmap: building: %s.\n", reason.c_str());
  }
  // What the first half writes is no map.
  if (options_.no_manifest || report_.stores) return true;
  recorder_ = std::make_unique<MapRecorder>(request_);
  return true;
}

// From here on the files of the build lie aside, unless the user wants it otherwise. Before the
// check: the output folder is there then, and what an earlier build left in it has no part in this
// one.
bool Build::StandAside() {
  // One half of a build goes on with what the other has left in the folder.
  if (options_.in_place || options_.stage != "all") return true;
  std::string error;
  staging_ = Staging::Open(request_.folder, &error);
  if (staging_ != nullptr) return true;
  report_.reasons.push_back(error + ".");
  report_.end = BuildEnd::kRefused;
  return false;
}

bool Build::CheckFirst() {
  // The second half reads no sources.
  if (options_.no_check || options_.stage == "two") return true;
  report_.findings = check::RunChecks({.control_file = options_.control_file, .msr = options_.msr});
  const int64_t errors = ErrorCount(*report_.findings);
  if (options_.verbose) {
    std::fprintf(stderr, "%s: %s\n", report_.check_command.c_str(),
                 check::CountsText(*report_.findings).c_str());
  }
  if (errors == 0) return true;
  report_.forced = options_.force;
  if (!report_.forced) report_.end = BuildEnd::kErrors;
  return report_.forced;
}

void Build::OnLongField(const char* path, int64_t line, int column) {
  running_->EndAtLongField(path, line, column);
}

// The library ends the process behind this call. The program ends in order instead, on the thread
// that has met the field.
void Build::EndAtLongField(const char* path, int64_t line, int column) {
  char text[zatlib::kMessageSize];
  zatlib::FRD_Format(text, sizeof text,
                     "%s: record %" PRId64
                     ": column %d holds 64 bytes or more; a field has at most 63.",
                     path, line, column);
  report_.reasons.push_back(zatlib::platform::ForTerminal(text));
  report_.end = BuildEnd::kFailed;
  report_.seconds = SecondsSince(start_);
  if (zatlib::FRD_IsDialogOpen() && zatlib::platform::GetConsole().progress &&
      zatlib::platform::IsErrorTerminal()) {
    std::fprintf(stderr, "\n");  // the line of the progress stays
  }
  Explain();
  staging_.reset();
  const int status = Finish();
  std::fflush(nullptr);
  std::_Exit(status);
}

int Build::RunStage() {
  std::string control = request_.control_file;
  const bool msr = IsMsr(request_);
  if (options_.stage == "two") return ZAT_NWB_BRN400_PathTwo(nullptr, control.data());
  if (options_.stage == "one") {
    return msr ? ZAT_NWB_BRN400_PathOneMSR(nullptr, control.c_str())
               : ZAT_NWB_BRN400_PathOneZAT(nullptr, control.c_str());
  }
  return options_.msr ? ZAT_NWB_BuildRoadNetworks400(nullptr, control.c_str())
                      : ZAT_NWB_BuildRoadNetworksEx(nullptr, control.c_str());
}

void Build::RunLibrary() {
  notes_ = std::make_unique<FailureNotes>();
  running_ = this;
  zatlib::SetLongFieldNotice(OnLongField);
  // A manifest that nothing will replace would be that of another map.
  if (recorder_ == nullptr && staging_ == nullptr) RemoveManifest(request_.folder);
  start_ = Clock::now();
  const int result = RunStage();
  report_.seconds = SecondsSince(start_);
  report_.messages = notes_->Messages();
  report_.end = result != 0                 ? BuildEnd::kBuilt
                : zatlib::FRD_IsCancelled() ? BuildEnd::kCancelled
                                            : BuildEnd::kFailed;
}

// Verifies what was built and puts it in the place of the old map.
void Build::Replace() {
  std::string error = verify::FirstError(request_.folder);
  if (!error.empty()) {
    report_.reasons.push_back("the new map is damaged: " + error + ".");
  } else if (recorder_ != nullptr &&
             !recorder_->Write(staging_->folder(), report_.seconds, &error)) {
    report_.reasons.push_back("the manifest of the new map cannot be made: " + error + ".");
  } else if (staging_->Commit(&error)) {
    return;
  } else {
    report_.reasons.push_back("the new map cannot replace the old one: " + error + ".");
  }
  report_.end = BuildEnd::kFailed;
}

// Of a map that was built in place.
void Build::WriteManifest() {
  std::string error;
  if (recorder_->Write(request_.folder, report_.seconds, &error)) return;
  report_.reasons.push_back("the manifest of the map cannot be made: " + error + ".");
  report_.end = BuildEnd::kFailed;
}

void Build::CountMap() {
  const char* const folder = request_.folder.c_str();
  const auto records = [folder](const char* name, size_t size) {
    return zatlib::CountRecords(zatlib::PathIn(folder, name).c_str(), size);
  };
  if (report_.stores) {
    report_.nodes = records(zatlib::kNodeStoreFile, sizeof(zatlib::NodeStoreRecord));
    report_.links = records(zatlib::kLinkStoreFile, sizeof(zatlib::LinkStoreRecord));
  } else {
    report_.nodes = records(zatlib::kNodeLocationFile, sizeof(zatlib::NodeLocation));
    report_.links = records(zatlib::kLinkNodeFile, sizeof(zatlib::LinkNodes));
  }
  report_.bytes = FolderBytes(folder);
}

// After a failure: messages with reasons, the log, and what is wrong with the data when that is
// not known yet.
void Build::Explain() {
  report_.messages = notes_->Messages();
  if (std::string reason = FailureNotes::WriteReason(); !reason.empty()) {
    report_.reasons.push_back(std::move(reason));
  }
  if (report_.end == BuildEnd::kCancelled) {
    report_.findings.reset();
  } else if (!report_.findings.has_value() && options_.stage != "two") {
    report_.findings =
        check::RunChecks({.control_file = options_.control_file, .msr = options_.msr});
  }
}

int Build::Finish() {
  char log[zatlib::kPathSize];
  if (notes_ != nullptr && zatlib::FRD_GetUserLogPath(zatlib::kBuildTag, log) != 0) {
    report_.log = log;
  }
  PrintReport(report_, {.json = options_.json, .quiet = options_.quiet});
  const bool done = report_.end == BuildEnd::kBuilt || report_.end == BuildEnd::kUnchanged;
  return done ? kExitDone : kExitFailed;
}

}  // namespace

Command BuildCommand() {
  const auto options = std::make_shared<BuildOptions>();
  return {
      .name = "build",
      .summary = "Build the map that a control file describes",
      .arguments = {ControlFileArgument(&options->control_file)},
      .options = {{.names = "--out",
                   .help = "Build into this folder instead of [FOLDER] CALCMAPDIR",
                   .value = &options->out,
                   .type = "DIR",
                   .completes = Completes::kFolder},
                  {.names = "--force",
                   .help = "Build in spite of errors that the check finds",
                   .value = &options->force},
                  {.names = "--no-check",
                   .help = "Build without checking the data first",
                   .value = &options->no_check,
                   .excludes = {"--force"}},
                  {.names = "--if-changed",
                   .help = "Do nothing when the map is that of these sources already",
                   .value = &options->if_changed,
                   .excludes = {"--stage", "--no-manifest"}},
                  {.names = "--no-manifest",
                   .help = "Leave no zatmap.json beside the map",
                   .value = &options->no_manifest},
                  {.names = "--in-place",
                   .help = "Write into the output folder at once; a failure leaves a ruined map",
                   .value = &options->in_place},
                  {.names = "--stage",
                   .help = "What to do; one: source files to work stores, two: work stores to "
                           "map",
                   .value = &options->stage,
                   .type = "STAGE",
                   .choices = {"all", "one", "two"}},
                  MsrOption(&options->msr),
                  CodePageOption(),
                  {.names = "-q,--quiet",
                   .help = "Print nothing but failures",
                   .value = &options->quiet,
                   .excludes = {"--verbose"}},
                  {.names = "-v,--verbose",
                   .help = "Print status lines where standard error is no terminal, too",
                   .value = &options->verbose},
                  JsonOption(&options->json)},
      .notes =
          "The data are checked first; errors stop the build, warnings never do.\n"
          "Relative paths in the control file count from the current folder (see -C). The map in "
          "the\noutput folder ([FOLDER] CALCMAPDIR) stays until the new one is complete. Ctrl-C "
          "cancels\nunless the control file says SILENTMODE=1.",
      .examples = {{"zatmap build control.ini", ""},
                   {"zatmap build -C examples/monaco control.ini", "paths count from that folder"},
                   {"zatmap build --out /tmp/map control.ini", "into another folder"},
                   {"zatmap build --if-changed control.ini", "only when something has changed"}},
      .done = "the map is there",
      .failed = "failed or cancelled, or the data have errors",
      .run = [options] { return Build(*options).Run(); }};
}

}  // namespace zatmap
