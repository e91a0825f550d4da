#include "frd/folder_tree.h"

#include <cstring>

#include "frd/text.h"
#include "platform/file.h"

namespace zatlib {

int FRD_CreateFolderTree(const char* path) {
  char parent[kPathSize];
  FRD_SplitPath(path, parent, nullptr);
  const bool has_parent = parent[0] != 0 && std::strcmp(parent, path) != 0;
  if (has_parent && !platform::IsFolder(parent) && FRD_CreateFolderTree(parent) == 0) return 0;
  return platform::CreateFolder(path) ? 1 : 0;
}

}  // namespace zatlib
