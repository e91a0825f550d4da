#include "shell/made_files.h"

#include <cstring>
#include <vector>

#include "map/record_fields.h"
#include "network/network_files.h"
#include "platform/redirect.h"
#include "toll/fare_files.h"

namespace zatmap {
namespace {

std::vector<const char*> AllNames() {
  std::vector<const char*> names = {zatlib::kCalcNodeFile};
  for (const zatlib::map::FileLayout& layout : zatlib::map::FileLayouts()) {
    // The fare tables are another program's; the library only reads them.
    if (std::strcmp(layout.name, zatlib::kFareLinkFile) == 0) continue;
    if (std::strcmp(layout.name, zatlib::kCalcNodeFile) != 0) names.push_back(layout.name);
  }
  for (const char* name : zatlib::map::TextFiles()) names.push_back(name);
  names.push_back(kManifestFile);
  return names;
}

}  // namespace

std::span<const char* const> MadeFiles() {
  static const std::vector<const char*> names = AllNames();
  return names;
}

bool IsMadeFile(const char* name) {
  for (const char* made : MadeFiles()) {
    if (zatlib::platform::SameFileName(name, made)) return true;
  }
  return false;
}

}  // namespace zatmap
