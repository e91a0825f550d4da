// zatmap build: runs the exported functions over a control file.
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "commands.h"
#include "frd/control.h"
#include "frd/fields.h"
#include "frd/files.h"
#include "frd/log.h"
#include "frd/record_file.h"
#include "interface/driver/build_driver.h"
#include "network/network_files.h"
#include "platform/code_page.h"
#include "platform/file.h"
#include "zatlib.h"

namespace zatmap {
namespace {

struct BuildOptions {
  std::string control_file;
  std::string stage = "all";
  bool msr = false;
};

// The error reports of a run, "[message][title]" each, as the log gets them.
class ErrorLines {
 public:
  ErrorLines() {
    zatlib::SetLogListener([this](const char* text) {
      const std::string line(text);
      if (line.size() < 4 || line.front() != '[' || line.back() != ']' ||
          line.find("][") == std::string::npos) {
        return;
      }
      const std::lock_guard<std::mutex> guard(mutex_);
      lines_.push_back(line);
    });
  }
  ~ErrorLines() { zatlib::SetLogListener(nullptr); }
  const std::vector<std::string>& lines() const { return lines_; }

 private:
  std::mutex mutex_;
  std::vector<std::string> lines_;
};

void ShowLongField(const char* path, int64_t line, int column) {
  std::fprintf(stderr,
               "zatmap: %s: record %" PRId64
               ": column %d holds 64 bytes or more; the library takes "
               "at most 63 and ends the program here.\n",
               path, line, column);
}

int RunStage(const BuildOptions& options, std::string& control_file) {
  const bool msr = options.msr || zatlib::BRN_GetFormat(control_file.c_str()) == zatlib::kFormatMsr;
  if (options.stage == "two") return ZAT_NWB_BRN400_PathTwo(nullptr, control_file.data());
  if (options.stage == "one") {
    return msr ? ZAT_NWB_BRN400_PathOneMSR(nullptr, control_file.c_str())
               : ZAT_NWB_BRN400_PathOneZAT(nullptr, control_file.c_str());
  }
  return options.msr ? ZAT_NWB_BuildRoadNetworks400(nullptr, control_file.c_str())
                     : ZAT_NWB_BuildRoadNetworksEx(nullptr, control_file.c_str());
}

// Whole records of a file of the output folder.
int64_t Records(const char* folder, const char* name, size_t size) {
  return zatlib::CountRecords(zatlib::PathIn(folder, name).c_str(), size);
}

// Bytes of all files of the output folder.
uint64_t FolderBytes(const char* folder) {
  uint64_t bytes = 0;
  zatlib::platform::FindFiles(folder[0] == 0 ? "." : folder, "", [&](const char* name) {
    bytes += zatlib::FileSize(zatlib::PathIn(folder, name).c_str());
  });
  return bytes;
}

void PrintSuccess(const BuildOptions& options, const char* folder, double seconds) {
  const std::string where = zatlib::platform::AbsolutePath(folder[0] == 0 ? "." : folder);
  const bool stores = options.stage == "one";
  const int64_t nodes =
      stores ? Records(folder, zatlib::kNodeStoreFile, sizeof(zatlib::NodeStoreRecord))
             : Records(folder, zatlib::kNodeLocationFile, sizeof(zatlib::NodeLocation));
  const int64_t links =
      stores ? Records(folder, zatlib::kLinkStoreFile, sizeof(zatlib::LinkStoreRecord))
             : Records(folder, zatlib::kLinkNodeFile, sizeof(zatlib::LinkNodes));
  std::printf("%s: %s\n", stores ? "work stores" : "map", where.c_str());
  std::printf("%" PRId64 " nodes, %" PRId64 " links, %" PRIu64 " bytes, %.2f seconds\n", nodes,
              links, FolderBytes(folder), seconds);
}

void PrintFailure(const std::vector<std::string>& errors) {
  std::fprintf(stderr, "zatmap: the build failed or was cancelled.\n");
  for (const std::string& line : errors) {
    const size_t middle = line.find("][");
    const std::string message = line.substr(1, middle - 1);
    const std::string title = line.substr(middle + 2, line.size() - middle - 3);
    std::fprintf(stderr, "  %s: %s\n", zatlib::platform::ForTerminal(title.c_str()).c_str(),
                 zatlib::platform::ForTerminal(message.c_str()).c_str());
  }
  char log[zatlib::kPathSize];
  if (zatlib::FRD_GetUserLogPath(zatlib::kBuildTag, log) != 0) {
    std::fprintf(stderr, "  log: %s\n", log);
  }
}

int RunBuild(const BuildOptions& options) {
  std::string control_file = zatlib::platform::AbsolutePath(options.control_file.c_str());
  if (!zatlib::CanOpen(control_file.c_str())) {
    // The library takes the defaults then and fails for want of nodes: say why.
    std::fprintf(stderr, "zatmap: the control file %s cannot be read.\n", control_file.c_str());
  }
  zatlib::SetLongFieldNotice(ShowLongField);
  const ErrorLines errors;
  const auto start = std::chrono::steady_clock::now();
  const int result = RunStage(options, control_file);
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  if (result == 0) {
    PrintFailure(errors.lines());
    return kExitFailed;
  }
  char folder[zatlib::kPathSize];
  zatlib::BRN_GetCalcMapDir(control_file.c_str(), folder);
  PrintSuccess(options, folder, seconds);
  return kExitDone;
}

}  // namespace

Command BuildCommand() {
  const auto options = std::make_shared<BuildOptions>();
  return {.name = "build",
          .summary = "Build the map that a control file describes",
          .arguments = {ControlFileArgument(&options->control_file)},
          .options = {{.names = "--stage",
                       .help = "What to do; one: source files to work stores, two: work stores to "
                               "map",
                       .value = &options->stage,
                       .type = "STAGE",
                       .choices = {"all", "one", "two"}},
                      MsrOption(&options->msr),
                      CodePageOption()},
          .notes =
              "Relative paths in the control file count from the current folder. The output "
              "folder\n([FOLDER] CALCMAPDIR) must exist. Ctrl-C cancels unless the control "
              "file says SILENTMODE=1.",
          .examples = {{"zatmap build control.ini", ""}},
          .done = "the map is built",
          .failed = "failed or cancelled",
          .run = [options] { return RunBuild(*options); }};
}

}  // namespace zatmap
