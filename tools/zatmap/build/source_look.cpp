#include "build/source_look.h"

#include "frd/control.h"
#include "frd/files.h"
#include "frd/text.h"
#include "platform/code_page.h"
#include "platform/file.h"
#include "platform/file_kind.h"
#include "shell/command_line.h"
#include "toll/fare_files.h"

namespace zatmap {
namespace {

using zatlib::platform::FileKind;
using zatlib::platform::KindOfFile;

// "is a folder"; null for an ordinary file and for nothing.
const char* Unusual(FileKind kind) {
  switch (kind) {
    case FileKind::kFolder:
      return "is a folder";
    case FileKind::kPipe:
      return "is a named pipe";
    case FileKind::kDevice:
      return "is a device";
    default:
      return nullptr;
  }
}

std::string Readable(const std::string& path) {
  return zatlib::platform::ForTerminal(path.c_str());
}

std::string KeyOf(const SourceFile& source) {
  char key[16];
  zatlib::FRD_Format(key, sizeof key, "FILE%02d", source.number);
  return "[" + source.section + "] " + key;
}

bool IsAbsolute(const std::string& path) {
  return zatlib::platform::IsSeparator(path[0]) || (path.size() > 1 && path[1] == ':');
}

// The lines for toll fare data that are no ordinary files.
std::vector<std::string> LookAtFares(const std::string& folder) {
  std::vector<std::string> lines;
  for (const char* name : zatlib::kFareFiles) {
    const zatlib::PathText path = zatlib::PathIn(folder.c_str(), name);
    const char* const unusual = Unusual(KindOfFile(path.c_str()));
    if (unusual == nullptr) continue;
    lines.push_back(Readable(path.c_str()) + " " + unusual +
                    "; toll fare data are ordinary files.");
  }
  return lines;
}

}  // namespace

std::string LookAtControl(const std::string& path) {
  const char* const unusual = Unusual(KindOfFile(path.c_str()));
  if (unusual != nullptr) return "the control file " + Readable(path) + " " + unusual + ".";
  if (zatlib::CanOpen(path.c_str())) return {};
  return "the control file " + Readable(path) + " cannot be read.";
}

std::vector<std::string> LookAtSources(const BuildRequest& request, const std::string& control) {
  // The list of sources opens the fare data.
  std::vector<std::string> lines = LookAtFares(request.folder);
  if (!lines.empty()) return lines;
  char folder[zatlib::kPathSize];
  zatlib::FRD_SplitPath(request.control_file.c_str(), folder, nullptr);
  std::string beside;  // the first file that lies there alone
  for (const SourceFile& source : ListSources(request)) {
    const FileKind kind = KindOfFile(source.path.c_str());
    if (const char* const unusual = Unusual(kind); unusual != nullptr) {
      lines.push_back(Readable(source.path) + " (" + KeyOf(source) + ") " + unusual +
                      "; a source is an ordinary file.");
    }
    const bool named = source.section != kFareSection && source.section != kStoreSection;
    if (kind == FileKind::kNone && named && beside.empty() && !IsAbsolute(source.path) &&
        KindOfFile(zatlib::PathIn(folder, source.path.c_str()).c_str()) == FileKind::kFile) {
      beside = source.path;
    }
  }
  if (!beside.empty()) {
    char name[zatlib::kPathSize];
    char as_written[zatlib::kPathSize];
    zatlib::FRD_SplitPath(control.c_str(), as_written, name);
    std::string there = Readable(as_written);
    if (!EnteredFolder().empty() && !IsAbsolute(there)) there = EnteredFolder() + "/" + there;
    lines.push_back(Readable(beside) +
                    " lies beside the control file and not in the current folder, from which "
                    "relative paths count: zatmap build -C " +
                    QuotedWord(there) + " " + QuotedWord(Readable(name)));
  }
  return lines;
}

}  // namespace zatmap
