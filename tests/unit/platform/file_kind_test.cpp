#include "platform/file_kind.h"

#include <gtest/gtest.h>

#include <string>

#include "test_support.h"

#ifndef _WIN32
#include <sys/stat.h>
#endif

namespace zatlib::platform {
namespace {

TEST(FileKindTest, FilesAndFolders) {
  const test::TempFolder folder;
  test::WriteBytes(folder / "file", "x");
  EXPECT_EQ(KindOfFile((folder / "file").c_str()), FileKind::kFile);
  EXPECT_EQ(KindOfFile(folder.path().c_str()), FileKind::kFolder);
  EXPECT_EQ(KindOfFile((folder / "none").c_str()), FileKind::kNone);
  EXPECT_EQ(KindOfFile(""), FileKind::kNone);
}

#ifndef _WIN32
TEST(FileKindTest, PipesAndDevices) {
  const test::TempFolder folder;
  const std::string pipe = folder / "pipe";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(KindOfFile(pipe.c_str()), FileKind::kPipe);
  EXPECT_EQ(KindOfFile("/dev/zero"), FileKind::kDevice);
  EXPECT_EQ(KindOfFile("\\dev\\zero"), FileKind::kDevice);
}
#endif

}  // namespace
}  // namespace zatlib::platform
