#include "shell/open_map.h"

#include <cstdio>
#include <string_view>

#include "build/manifest.h"
#include "network/network_files.h"
#include "platform/code_page.h"
#include "platform/file.h"
#include "shell/command_line.h"
#include "shell/made_files.h"

namespace zatmap {
namespace {

using zatlib::map::ErrorKind;

// True for the files without which there is no network at all.
bool IsNetworkFile(std::string_view name) {
  return name == zatlib::kCalcNodeFile || name == zatlib::kNodeLinkFile ||
         name == zatlib::kTurnTableFile;
}

bool Tell(const MapFolder& folder, const Error& error) {
  if (error.ok()) return true;
  const bool unread = error.kind == ErrorKind::kUnreadable && IsNetworkFile(error.file);
  std::fprintf(stderr,
               unread ? "zatmap: the network in %s cannot be read; zatmap verify tells more.\n"
                      : "zatmap: the files in %s do not fit together; zatmap verify tells more.\n",
               folder.path.c_str());
  return false;
}

// The texts of a map are in the code page of its build.
void UseCodePageOfMap(const std::string& folder) {
  if (IsCodePageGiven()) return;
  const unsigned page = ManifestCodePage(folder);
  if (page != 0) zatlib::platform::SetCodePage(page);
}

}  // namespace

bool OpenMap(const std::string& path, MapFolder* folder) {
  std::string message;
  const ErrorKind kind = zatlib::map::OpenMapFolder(path, folder).kind;
  if (kind != ErrorKind::kNoFolder &&
      zatlib::platform::SizeAtPath(zatlib::map::PathOf(*folder, kExchangeFile).c_str()) >= 0) {
    std::fprintf(stderr,
                 "zatmap: %s: a build was ended while it exchanged the files of this map; the next "
                 "zatmap build into the folder finishes that first.\n",
                 path.c_str());
    return false;
  }
  switch (kind) {
    case ErrorKind::kNoFolder:
      message = path +
                " is no folder. Give the folder that a build wrote: [FOLDER] CALCMAPDIR of its "
                "control file.";
      break;
    case ErrorKind::kPathTooLong:
      message = "the path " + path + " is too long; at most 259 bytes are taken.";
      break;
    case ErrorKind::kNoMap:
      message = path +
                " holds no map. Build one first (zatmap build CONTROL.INI), or give the folder "
                "that a build wrote.";
      break;
    default:
      UseCodePageOfMap(path);
      return true;
  }
  std::fprintf(stderr, "zatmap: %s\n", message.c_str());
  return false;
}

bool LoadMap(const MapFolder& folder, BuiltMap* map) { return Tell(folder, map->Load(folder)); }

bool LoadGraph(const MapFolder& folder, Graph* graph) { return Tell(folder, graph->Load(folder)); }

}  // namespace zatmap
