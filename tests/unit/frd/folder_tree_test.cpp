#include "frd/folder_tree.h"

#include <string>

#include "platform/file.h"
#include "test_support.h"

namespace zatlib {
namespace {

using test::WriteBytes;

using FolderTreeTest = test::LibraryTest;

TEST_F(FolderTreeTest, CreateFolderTreeMakesTheParents) {
  const std::string path =
      folder_ / "a" + platform::NativeSeparator() + "b" + platform::NativeSeparator() + "c";
  EXPECT_NE(FRD_CreateFolderTree(path.c_str()), 0);
  EXPECT_TRUE(platform::IsFolder(path.c_str()));
  // It exists: nothing was created.
  EXPECT_EQ(FRD_CreateFolderTree(path.c_str()), 0);
}

TEST_F(FolderTreeTest, CreateFolderTreeFailsWithItsParent) {
  WriteBytes(folder_ / "file", "x");
  const std::string path =
      folder_ / "file" + platform::NativeSeparator() + "b" + platform::NativeSeparator() + "c";
  EXPECT_EQ(FRD_CreateFolderTree(path.c_str()), 0);
  EXPECT_FALSE(platform::IsFolder(path.c_str()));
}

#ifndef _WIN32
// A drive is its own parent on Windows; here it is the name of a folder.
TEST_F(FolderTreeTest, ANameWithoutAParentIsMadeInTheCurrentFolder) {
  const test::CurrentFolder here(folder_.path());
  EXPECT_EQ(FRD_CreateFolderTree("a"), 1);
  EXPECT_EQ(FRD_CreateFolderTree("C:"), 1);
  EXPECT_TRUE(platform::IsFolder((folder_ / "a").c_str()));
  EXPECT_TRUE(platform::IsFolder((folder_ / "C:").c_str()));
}
#endif

}  // namespace
}  // namespace zatlib
