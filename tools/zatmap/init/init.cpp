// zatmap init: a folder with a control file and sample data to begin with.
#include <cstdio>
#include <filesystem>
#include <memory>

#include "commands.h"
#include "frd/control.h"
#include "init/sample.h"
#include "platform/code_page.h"
#include "platform/file.h"
#include "platform/file_kind.h"
#include "shell/output.h"

namespace zatmap {
namespace {

using zatlib::platform::FileKind;
using zatlib::platform::KindOfFile;

// So that the longest name of a file of the sample fits into a path of the library.
constexpr size_t kLongestFolder = zatlib::kPathSize - 24;

struct InitOptions {
  std::string folder;
  std::string layout = "zat";
  bool mif = false;
  std::string code_length = "14";
  bool overwrite = false;
};

std::string Shown(const std::string& path) { return zatlib::platform::ForTerminal(path.c_str()); }

bool Fail(const std::string& path, const char* what) {
  std::fprintf(stderr, "zatmap: %s: %s.\n", Shown(path).c_str(), what);
  return false;
}

// Makes a folder and the folders above it, as far as they are not there.
bool MakeFolder(const std::string& path) {
  if (zatlib::platform::IsFolder(path.c_str())) return true;
  size_t end = path.size();
  while (end > 0 && zatlib::platform::IsSeparator(path[end - 1])) --end;
  size_t parent = end;
  while (parent > 0 && !zatlib::platform::IsSeparator(path[parent - 1])) --parent;
  if (parent > 1 && !MakeFolder(path.substr(0, parent - 1))) return false;
  return zatlib::platform::CreateFolder(path.substr(0, end).c_str());
}

// True when nothing lies in the folder.
bool IsEmpty(const std::string& folder) {
  std::error_code error;
  return std::filesystem::is_empty(folder, error) && !error;
}

bool Prepare(const InitOptions& options) {
  const std::string& folder = options.folder;
  const FileKind kind = KindOfFile(folder.c_str());
  if (kind != FileKind::kNone && kind != FileKind::kFolder) return Fail(folder, "is no folder");
  if (kind == FileKind::kFolder && !options.overwrite && !IsEmpty(folder)) {
    return Fail(folder, "is not empty; name a new folder, or say --overwrite");
  }
  const std::string output = zatlib::PathIn(folder.c_str(), init::kOutputName).c_str();
  if (!MakeFolder(folder)) return Fail(folder, "the folder cannot be made");
  if (!MakeFolder(output)) return Fail(output, "the folder cannot be made");
  return true;
}

bool Write(const std::string& folder, const init::SampleFile& file) {
  const std::string path = zatlib::PathIn(folder.c_str(), file.name.c_str()).c_str();
  const FileKind kind = KindOfFile(path.c_str());
  if (kind != FileKind::kNone && kind != FileKind::kFile) {
    return Fail(path, "is in the way: no ordinary file");
  }
  return SaveText(path, file.text) || Fail(path, "the file cannot be written");
}

int RunInit(const InitOptions& options) {
  const init::SampleOptions sample = {.msr = options.layout == "msr",
                                      .mif = options.mif,
                                      .code_length = options.code_length == "18" ? 18 : 14};
  if (options.folder.size() > kLongestFolder) {
    Fail(options.folder, "the path is too long");
    return kExitFailed;
  }
  if (!Prepare(options)) return kExitFailed;
  std::vector<init::SampleFile> files = init::SampleSources(sample);
  files.insert(files.begin(), {init::kControlName, init::SampleControl(sample)});
  for (const init::SampleFile& file : files) {
    if (!Write(options.folder, file)) return kExitFailed;
  }
  const std::string shown = Shown(options.folder);
  const bool quoted = shown.find(' ') != std::string::npos;
  std::printf("%s: %zu files\n", shown.c_str(), files.size());
  std::printf("Next:\n");
  if (options.folder != ".") {
    std::printf("  cd %s%s%s\n", quoted ? "\"" : "", shown.c_str(), quoted ? "\"" : "");
  }
  std::printf("  zatmap check %s\n  zatmap build %s\n  zatmap verify %s\n", init::kControlName,
              init::kControlName, init::kOutputName);
  return kExitDone;
}

}  // namespace

Command InitCommand() {
  const auto options = std::make_shared<InitOptions>();
  return {
      .name = "init",
      .summary = "Make a folder with a control file and sample data to begin with",
      .arguments = {{.name = "DIR",
                     .help = "The folder, which has to be new or empty",
                     .value = &options->folder,
                     .completes = Completes::kFolder}},
      .options = {{.names = "--layout",
                   .help = "The layout of the data",
                   .value = &options->layout,
                   .type = "LAYOUT",
                   .choices = {"zat", "msr"}},
                  {.names = "--mif",
                   .help = "Links as MIF files, and nodes",
                   .value = &options->mif},
                  {.names = "--code-length",
                   .help = "Digits of the codes of nodes and links",
                   .value = &options->code_length,
                   .type = "N",
                   .choices = {"14", "18"}},
                  CodePageOption(),
                  {.names = "--overwrite",
                   .help = "Replace files of the same names in a folder that is not empty",
                   .value = &options->overwrite}},
      .notes =
          "The control file has every section and key that the layout knows, with a comment on\n"
          "each and on each column of the source files. The data pass zatmap check and build.",
      .examples = {{"zatmap init town", ""}, {"zatmap init --layout msr --mif town", ""}},
      .done = "the files are written",
      .run = [options] { return RunInit(*options); }};
}

}  // namespace zatmap
