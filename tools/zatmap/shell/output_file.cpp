#include "shell/output_file.h"

#include <cstdio>
#include <filesystem>

#include "build/manifest.h"
#include "frd/control.h"
#include "map/map_folder.h"
#include "map/record_fields.h"
#include "platform/file.h"
#include "toll/fare_files.h"

namespace zatmap {
namespace {

namespace fs = std::filesystem;

// The name by which a build or its users know a file in the folder of a map.
bool IsMapFileName(const std::string& name) {
  if (zatlib::map::FindFileName(name) != nullptr || name == kManifestFile ||
      name == zatlib::kFareStatusFile) {
    return true;
  }
  for (const char* fare_file : zatlib::kFareFiles) {
    if (name == fare_file) return true;
  }
  return false;
}

// What is wrong with writing to a path, as the end of a sentence that begins with it; "" when
// nothing is.
std::string Objection(const OutputRequest& request) {
  std::error_code error;
  const fs::path path(request.path);
  const fs::file_status status = fs::status(path, error);
  const bool exists = fs::exists(status);
  if (fs::is_directory(status)) return "is a folder.";
  if (!exists && fs::is_symlink(fs::symlink_status(path, error))) {
    return "is a link to something that does not exist.";
  }
  const fs::path real = fs::weakly_canonical(fs::absolute(path, error), error);
  zatlib::map::MapFolder map;
  if (!error && IsMapFileName(real.filename().string()) &&
      zatlib::map::OpenMapFolder(real.parent_path().string(), &map).ok()) {
    return "is a file of a map, which only zatmap build writes. Name another file.";
  }
  for (const std::string& other : request.never) {
    if (exists && fs::equivalent(path, fs::path(other), error)) {
      return "is the same file as " + other + ", which must stay. Name another file.";
    }
  }
  if (fs::is_regular_file(status) && !request.overwrite) {
    return "exists; with --overwrite it is replaced.";
  }
  return "";
}

}  // namespace

bool OpenOutput(const OutputRequest& request, Output* output) {
  if (request.path == "-") return true;
  std::string objection;
  try {
    objection = Objection(request);
  } catch (const fs::filesystem_error&) {
    objection = "cannot be written.";
  }
  if (objection.empty() && !output->Open(request.path)) objection = "cannot be written.";
  if (objection.empty()) return true;
  std::fprintf(stderr, "zatmap: %s %s\n", request.path.c_str(), objection.c_str());
  return false;
}

std::vector<std::string> FilesOfMap(const std::string& folder) {
  std::vector<std::string> files;
  zatlib::platform::FindFiles(folder.c_str(), "", [&](const char* name) {
    if (!IsMapFileName(name)) return;
    files.emplace_back(zatlib::PathIn(folder.c_str(), name).c_str());
  });
  return files;
}

}  // namespace zatmap
