#include "platform/file.h"

#include <gtest/gtest.h>

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/stat.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "platform/code_page.h"
#include "test_support.h"

namespace zatlib::platform {
namespace {

using test::Exists;
using test::ReadBytes;
using test::WriteBytes;

class FileTest : public ::testing::Test {
 protected:
  File Open(Access access, Share share, Disposition disposition) {
    return File::Open(path_.c_str(), access, share, disposition);
  }
  test::TempFolder folder_;
  const std::string path_ = folder_ / "a.dat";
};

TEST_F(FileTest, OpenExistingNeedsTheFile) {
  EXPECT_FALSE(Open(Access::kRead, Share::kRead, Disposition::kOpenExisting).IsOpen());
  EXPECT_FALSE(Open(Access::kReadWrite, Share::kNone, Disposition::kOpenExisting).IsOpen());
  EXPECT_FALSE(Exists(path_));
}

TEST_F(FileTest, OpenExistingKeepsTheContent) {
  WriteBytes(path_, "abcdef");
  File file = Open(Access::kReadWrite, Share::kNone, Disposition::kOpenExisting);
  ASSERT_TRUE(file.IsOpen());
  uint32_t written = 0;
  EXPECT_TRUE(file.Write("XY", 2, &written));
  file.Close();
  EXPECT_EQ(ReadBytes(path_), "XYcdef");
}

TEST_F(FileTest, OpenAlwaysCreatesOrKeeps) {
  {
    File file = Open(Access::kReadWrite, Share::kNone, Disposition::kOpenAlways);
    ASSERT_TRUE(file.IsOpen());
    EXPECT_EQ(file.Size(), 0);
    uint32_t written = 0;
    EXPECT_TRUE(file.Write("abc", 3, &written));
  }
  File file = Open(Access::kReadWrite, Share::kNone, Disposition::kOpenAlways);
  ASSERT_TRUE(file.IsOpen());
  EXPECT_EQ(file.Size(), 3);
}

#ifdef _WIN32
TEST_F(FileTest, CreateAlwaysRefusesHiddenAndSystemFiles) {
  for (const DWORD attribute : {FILE_ATTRIBUTE_HIDDEN, FILE_ATTRIBUTE_SYSTEM}) {
    WriteBytes(path_, "abc");
    ASSERT_NE(::SetFileAttributesA(path_.c_str(), attribute), 0);
    if ((::GetFileAttributesA(path_.c_str()) & attribute) == 0) GTEST_SKIP() << "not kept here";
    // What the system itself does with such a file.
    const HANDLE same = ::CreateFileA(path_.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    const bool refused = same == INVALID_HANDLE_VALUE;
    if (!refused) ::CloseHandle(same);
    ASSERT_NE(::SetFileAttributesA(path_.c_str(), attribute), 0);
    EXPECT_EQ(Open(Access::kWrite, Share::kNone, Disposition::kCreateAlways).IsOpen(), !refused);
    if (!test::UnderWine()) {
      EXPECT_TRUE(refused);
    }
    ::SetFileAttributesA(path_.c_str(), FILE_ATTRIBUTE_NORMAL);
  }
}
#else
TEST_F(FileTest, CreateAlwaysKeepsTheModeOfTheFile) {
  WriteBytes(path_, "abc");
  ASSERT_EQ(::chmod(path_.c_str(), 0640), 0);
  ASSERT_TRUE(Open(Access::kWrite, Share::kNone, Disposition::kCreateAlways).IsOpen());
  struct stat status {};
  ASSERT_EQ(::stat(path_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0640u);
  EXPECT_EQ(status.st_size, 0);
}

TEST_F(FileTest, CreateAlwaysKeepsLinksAndOtherNames) {
  const std::string target = folder_ / "target.dat";
  for (const bool symbolic : {true, false}) {
    WriteBytes(target, "abc");
    ASSERT_EQ(
        symbolic ? ::symlink(target.c_str(), path_.c_str()) : ::link(target.c_str(), path_.c_str()),
        0);
    File file = Open(Access::kWrite, Share::kNone, Disposition::kCreateAlways);
    uint32_t written = 0;
    ASSERT_TRUE(file.Write("z", 1, &written));
    file.Close();
    EXPECT_EQ(ReadBytes(target), "z");
    struct stat status {};
    ASSERT_EQ(::lstat(path_.c_str(), &status), 0);
    EXPECT_EQ(S_ISLNK(status.st_mode), symbolic);
    RemoveFile(path_.c_str());
    RemoveFile(target.c_str());
  }
}

TEST_F(FileTest, CreateAlwaysHoldsTheLockOfTheNewFile) {
  WriteBytes(path_, "abc");
  File file = Open(Access::kWrite, Share::kNone, Disposition::kCreateAlways);
  ASSERT_TRUE(file.IsOpen());
  EXPECT_FALSE(Open(Access::kRead, Share::kRead, Disposition::kOpenExisting).IsOpen());
  file.Close();
  EXPECT_TRUE(Open(Access::kRead, Share::kRead, Disposition::kOpenExisting).IsOpen());
}
#endif

TEST_F(FileTest, CreateAlwaysEmptiesTheFile) {
  WriteBytes(path_, "abc");
  File file = Open(Access::kWrite, Share::kNone, Disposition::kCreateAlways);
  ASSERT_TRUE(file.IsOpen());
  EXPECT_EQ(file.Size(), 0);
}

TEST_F(FileTest, AnExclusiveOpenExcludesOthers) {
  const File first = Open(Access::kReadWrite, Share::kNone, Disposition::kOpenAlways);
  ASSERT_TRUE(first.IsOpen());
  EXPECT_FALSE(Open(Access::kReadWrite, Share::kNone, Disposition::kOpenAlways).IsOpen());
  EXPECT_FALSE(Open(Access::kRead, Share::kRead, Disposition::kOpenExisting).IsOpen());
  EXPECT_FALSE(Open(Access::kWrite, Share::kNone, Disposition::kCreateAlways).IsOpen());
}

TEST_F(FileTest, ARefusedCreateLeavesTheContent) {
  WriteBytes(path_, "abc");
  {
    const File first = Open(Access::kRead, Share::kNone, Disposition::kOpenExisting);
    ASSERT_TRUE(first.IsOpen());
    EXPECT_FALSE(Open(Access::kWrite, Share::kNone, Disposition::kCreateAlways).IsOpen());
  }
  EXPECT_EQ(ReadBytes(path_), "abc");
}

TEST_F(FileTest, ReadersShare) {
  WriteBytes(path_, "abc");
  const File first = Open(Access::kRead, Share::kRead, Disposition::kOpenExisting);
  const File second = Open(Access::kRead, Share::kRead, Disposition::kOpenExisting);
  const File third = Open(Access::kRead, Share::kReadWrite, Disposition::kOpenExisting);
  EXPECT_TRUE(first.IsOpen());
  EXPECT_TRUE(second.IsOpen());
  EXPECT_TRUE(third.IsOpen());
  EXPECT_FALSE(Open(Access::kReadWrite, Share::kNone, Disposition::kOpenExisting).IsOpen());
}

TEST_F(FileTest, ClosingGivesTheFileFree) {
  File first = Open(Access::kReadWrite, Share::kNone, Disposition::kOpenAlways);
  File moved = std::move(first);
  EXPECT_FALSE(Open(Access::kRead, Share::kRead, Disposition::kOpenExisting).IsOpen());
  moved = File();
  EXPECT_TRUE(Open(Access::kRead, Share::kRead, Disposition::kOpenExisting).IsOpen());
}

TEST_F(FileTest, ReadStopsAtTheEnd) {
  WriteBytes(path_, "abcde");
  File file = Open(Access::kRead, Share::kRead, Disposition::kOpenExisting);
  char data[8] = {};
  uint32_t read = 0;
  EXPECT_TRUE(file.Read(data, 3, &read));
  EXPECT_EQ(std::string(data, read), "abc");
  EXPECT_TRUE(file.Read(data, 8, &read));
  EXPECT_EQ(std::string(data, read), "de");
  EXPECT_TRUE(file.Read(data, 8, &read));
  EXPECT_EQ(read, 0u);
}

TEST_F(FileTest, WritingToAFileOpenedForReadingFails) {
  WriteBytes(path_, "abc");
  File file = Open(Access::kRead, Share::kRead, Disposition::kOpenExisting);
  uint32_t written = 99;
  EXPECT_FALSE(file.Write("x", 1, &written));
  EXPECT_EQ(written, 0u);
}

TEST_F(FileTest, SeekMovesFromEachOrigin) {
  WriteBytes(path_, "abcdefgh");
  File file = Open(Access::kRead, Share::kRead, Disposition::kOpenExisting);
  EXPECT_EQ(file.Seek(3, SeekFrom::kBegin), 3);
  EXPECT_EQ(file.Seek(2, SeekFrom::kCurrent), 5);
  EXPECT_EQ(file.Seek(-4, SeekFrom::kCurrent), 1);
  EXPECT_EQ(file.Seek(-2, SeekFrom::kEnd), 6);
  char data[2];
  uint32_t read = 0;
  EXPECT_TRUE(file.Read(data, 2, &read));
  EXPECT_EQ(std::string(data, read), "gh");
  EXPECT_EQ(file.Seek(-1, SeekFrom::kBegin), -1);
}

TEST_F(FileTest, PositionsAndSizesGoBeyond4GiB) {
  // Sparse: nothing of that size is written.
  File file = Open(Access::kReadWrite, Share::kNone, Disposition::kCreateAlways);
  EXPECT_EQ(file.Seek(0x1FFFFFFFF, SeekFrom::kBegin), 0x1FFFFFFFF);
  EXPECT_EQ(file.Seek(0, SeekFrom::kCurrent), 0x1FFFFFFFF);
  EXPECT_EQ(file.Seek(-0x100000000, SeekFrom::kCurrent), 0xFFFFFFFF);
}

TEST_F(FileTest, AFolderIsNoFile) {
  EXPECT_FALSE(
      File::Open(folder_.path().c_str(), Access::kRead, Share::kRead, Disposition::kOpenExisting)
          .IsOpen());
}

TEST_F(FileTest, AnEmptyPathIsNoFile) {
  EXPECT_FALSE(File::Open("", Access::kReadWrite, Share::kNone, Disposition::kOpenAlways).IsOpen());
}

TEST_F(FileTest, RemovesFiles) {
  WriteBytes(path_, "abc");
  EXPECT_TRUE(RemoveFile(path_.c_str()));
  EXPECT_FALSE(Exists(path_));
  EXPECT_FALSE(RemoveFile(path_.c_str()));
  EXPECT_FALSE(RemoveFile(folder_.path().c_str()));
}

TEST_F(FileTest, CreatesOneFolderOnly) {
  EXPECT_TRUE(CreateFolder((folder_ / "sub").c_str()));
  EXPECT_TRUE(IsFolder((folder_ / "sub").c_str()));
  EXPECT_FALSE(CreateFolder((folder_ / "sub").c_str()));
  const std::string deep = folder_ / "no" + NativeSeparator() + "parent";
  EXPECT_FALSE(CreateFolder(deep.c_str()));
}

TEST_F(FileTest, TellsFoldersFromFiles) {
  WriteBytes(path_, "abc");
  EXPECT_TRUE(IsFolder(folder_.path().c_str()));
  EXPECT_FALSE(IsFolder(path_.c_str()));
  EXPECT_FALSE(IsFolder((folder_ / "missing").c_str()));
}

TEST_F(FileTest, EnteringAFolderLeavesTheCurrentOne) {
  const std::string before = AbsolutePath("x");
  EXPECT_TRUE(CanEnterFolder(folder_.path().c_str()));
  EXPECT_FALSE(CanEnterFolder((folder_ / "missing").c_str()));
  WriteBytes(path_, "abc");
  EXPECT_FALSE(CanEnterFolder(path_.c_str()));
  EXPECT_EQ(AbsolutePath("x"), before);
}

TEST_F(FileTest, AttributesOfFilesAndFolders) {
  bool read_only = true;
  WriteBytes(path_, "abc");
  EXPECT_TRUE(GetAttributes(path_.c_str(), &read_only));
  EXPECT_FALSE(read_only);
  EXPECT_TRUE(GetAttributes(folder_.path().c_str(), &read_only));
  EXPECT_FALSE(GetAttributes((folder_ / "missing").c_str(), &read_only));
}

TEST_F(FileTest, TheSizeOfAFileIsKnownWithoutOpeningIt) {
  EXPECT_EQ(SizeAtPath(path_.c_str()), -1);
  EXPECT_EQ(SizeAtPath(folder_.path().c_str()), -1);
  WriteBytes(path_, "");
  EXPECT_EQ(SizeAtPath(path_.c_str()), 0);
  WriteBytes(path_, "abc");
  const File holder =
      File::Open(path_.c_str(), Access::kReadWrite, Share::kNone, Disposition::kOpenExisting);
  ASSERT_TRUE(holder.IsOpen());
  EXPECT_EQ(SizeAtPath(path_.c_str()), 3);
}

TEST_F(FileTest, FindsFilesByTheirEnding) {
  WriteBytes(folder_ / "20160101.log", "");
  WriteBytes(folder_ / "README.LOG", "");
  WriteBytes(folder_ / "a.txt", "");
  CreateFolder((folder_ / "folder.log").c_str());
  std::vector<std::string> names;
  FindFiles(folder_.path().c_str(), ".log", [&](const char* name) { names.emplace_back(name); });
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{"20160101.log", "README.LOG"}));
}

TEST_F(FileTest, FindsEveryFileWithoutAnEnding) {
  WriteBytes(folder_ / "a.log", "");
  WriteBytes(folder_ / "b", "");
  std::vector<std::string> names;
  FindFiles(folder_.path().c_str(), "", [&](const char* name) { names.emplace_back(name); });
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{"a.log", "b"}));
}

TEST_F(FileTest, WhatIsFoundMayBeDeleted) {
  for (const char* name : {"1.log", "2.log", "3.log"}) WriteBytes(folder_ / name, "");
  int found = 0;
  FindFiles(folder_.path().c_str(), ".log", [&](const char* name) {
    ++found;
    EXPECT_TRUE(RemoveFile((folder_ / name).c_str()));
  });
  EXPECT_EQ(found, 3);
}

TEST_F(FileTest, AMissingFolderHoldsNothing) {
  int found = 0;
  FindFiles((folder_ / "missing").c_str(), "", [&](const char*) { ++found; });
  EXPECT_EQ(found, 0);
}

#if !defined(_WIN32)
TEST_F(FileTest, NoFolderHoldsNothing) {
  int found = 0;
  FindFiles("", "", [&](const char*) { ++found; });
  EXPECT_EQ(found, 0);
}
#endif

TEST_F(FileTest, BackslashesSeparate) {
  ASSERT_TRUE(CreateFolder((folder_ / "sub").c_str()));
  const std::string path = folder_.path() + "\\sub\\a.dat";
  ASSERT_TRUE(
      File::Open(path.c_str(), Access::kWrite, Share::kNone, Disposition::kCreateAlways).IsOpen());
  EXPECT_TRUE(Exists(folder_ / "sub" + NativeSeparator() + "a.dat"));
  EXPECT_TRUE(IsSeparator('\\'));
  EXPECT_TRUE(IsSeparator(NativeSeparator()));
  EXPECT_FALSE(IsSeparator('a'));
}

TEST_F(FileTest, ABackslashByteOfADoubleByteCharacterDoesNotSeparate) {
  if (CodePage() != 932) GTEST_SKIP() << "the system's code page is " << CodePage();
  // The second byte of this character is 0x5C in code page 932.
  const std::string path = folder_ / test::Cp932("表.dat");
  ASSERT_EQ(path.substr(path.size() - 6), "\x95\x5C.dat");
  ASSERT_TRUE(
      File::Open(path.c_str(), Access::kWrite, Share::kNone, Disposition::kCreateAlways).IsOpen());
  bool found = false;
  FindFiles(folder_.path().c_str(), ".dat",
            [&](const char* name) { found = std::string(name) == "\x95\x5C.dat"; });
  EXPECT_TRUE(found);
}

TEST_F(FileTest, AbsolutePathsStay) {
  EXPECT_EQ(AbsolutePath(path_.c_str()), path_);
  const std::string full = AbsolutePath("some.ini");
  ASSERT_GT(full.size(), 9u);
  EXPECT_EQ(full.substr(full.size() - 9), std::string(1, NativeSeparator()) + "some.ini");
}

TEST_F(FileTest, KnowsTheSystemsFolders) {
  EXPECT_TRUE(IsFolder(TempFolder().c_str()));
  EXPECT_FALSE(IsSeparator(TempFolder().back()));
  EXPECT_TRUE(Exists(ProgramPath()));
  std::string user;
  std::string all;
  EXPECT_TRUE(AppDataFolder(true, &user));
  EXPECT_TRUE(AppDataFolder(false, &all));
  EXPECT_NE(user, all);
}

#ifndef _WIN32
TEST_F(FileTest, AppDataFollowsTheEnvironment) {
  const char* before = std::getenv("XDG_DATA_HOME");
  const std::string kept = before != nullptr ? before : "";
  ::setenv("XDG_DATA_HOME", "/some/where", 1);
  std::string folder;
  EXPECT_TRUE(AppDataFolder(true, &folder));
  EXPECT_EQ(folder, "/some/where");
  EXPECT_TRUE(AppDataFolder(false, &folder));
  EXPECT_EQ(folder, "/var/lib");
  if (before != nullptr) {
    ::setenv("XDG_DATA_HOME", kept.c_str(), 1);
  } else {
    ::unsetenv("XDG_DATA_HOME");
  }
}
#endif

}  // namespace
}  // namespace zatlib::platform
