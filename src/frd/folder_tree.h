// Folders with their parents.
#pragma once

namespace zatlib {

// Creates a folder and its missing parents. Non-zero when the folder was created.
int FRD_CreateFolderTree(const char* path);

}  // namespace zatlib
