// What the files of POSIX systems do beyond what files do everywhere.
#include "platform/file.h"

#ifndef _WIN32

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <utility>

#include "environment.h"
#include "platform/posix/native_path.h"
#include "refusals.h"
#include "test_support.h"

namespace zatlib::platform {
namespace {

using test::Environment;
using test::Exists;
using test::FewFiles;
using test::OrdinaryUser;
using test::ReadBytes;
using test::WriteBytes;

ino_t FileNumber(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(::stat(path.c_str(), &status), 0);
  return status.st_ino;
}

class PosixFileTest : public ::testing::Test {
 protected:
  File Open(Access access, Share share, Disposition disposition) {
    return File::Open(path_.c_str(), access, share, disposition);
  }
  test::TempFolder folder_;
  const std::string path_ = folder_ / "a.dat";
};

TEST_F(PosixFileTest, CreateAlwaysKeepsAFileOfSomebodyElse) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs the right to give files away";
  WriteBytes(path_, "abc");
  OrdinaryUser::Give(path_);
  const ino_t number = FileNumber(path_);
  ASSERT_TRUE(Open(Access::kWrite, Share::kNone, Disposition::kCreateAlways).IsOpen());
  EXPECT_EQ(FileNumber(path_), number);
  EXPECT_EQ(ReadBytes(path_), "");
  struct stat status {};
  ASSERT_EQ(::stat(path_.c_str(), &status), 0);
  EXPECT_NE(status.st_uid, 0u);
}

TEST_F(PosixFileTest, CreateAlwaysEmptiesAFileThatItsFolderHoldsFast) {
  WriteBytes(path_, "abc");
  OrdinaryUser::Give(path_);
  const ino_t number = FileNumber(path_);
  ASSERT_EQ(::chmod(folder_.path().c_str(), 0555), 0);
  {
    const OrdinaryUser user;
    EXPECT_TRUE(Open(Access::kWrite, Share::kNone, Disposition::kCreateAlways).IsOpen());
  }
  ASSERT_EQ(::chmod(folder_.path().c_str(), 0755), 0);
  EXPECT_EQ(FileNumber(path_), number);
  EXPECT_EQ(ReadBytes(path_), "");
}

TEST_F(PosixFileTest, AFileThatCannotBeMadeAnewIsNotOpen) {
  WriteBytes(path_, "abc");
  {
    const FewFiles room_for_the_old_one(1);
    EXPECT_FALSE(Open(Access::kWrite, Share::kNone, Disposition::kCreateAlways).IsOpen());
  }
  EXPECT_TRUE(Open(Access::kWrite, Share::kNone, Disposition::kCreateAlways).IsOpen());
}

TEST_F(PosixFileTest, CreateAlwaysTakesWhatIsNoFile) {
  EXPECT_TRUE(File::Open("/dev/null", Access::kWrite, Share::kReadWrite, Disposition::kCreateAlways)
                  .IsOpen());
  EXPECT_TRUE(Exists("/dev/null"));
}

TEST_F(PosixFileTest, ReadingFromAFileOpenedForWritingFails) {
  WriteBytes(path_, "abc");
  File file = Open(Access::kWrite, Share::kNone, Disposition::kOpenExisting);
  char data[3];
  uint32_t read = 99;
  EXPECT_FALSE(file.Read(data, 3, &read));
  EXPECT_EQ(read, 0u);
  EXPECT_FALSE(file.ReadAt(0, data, 3));
}

TEST_F(PosixFileTest, WhatDoesNotFitOnTheDiskIsNotWritten) {
  File full =
      File::Open("/dev/full", Access::kWrite, Share::kReadWrite, Disposition::kOpenExisting);
  ASSERT_TRUE(full.IsOpen());
  uint32_t written = 99;
  EXPECT_FALSE(full.Write("abc", 3, &written));
  EXPECT_EQ(written, 0u);
}

TEST_F(PosixFileTest, AFileThatIsNotOpenHasNoSize) { EXPECT_EQ(File().Size(), -1); }

TEST_F(PosixFileTest, AFileMovedToItselfStaysOpen) {
  File file = Open(Access::kWrite, Share::kNone, Disposition::kCreateAlways);
  File& same = file;
  file = std::move(same);
  EXPECT_TRUE(file.IsOpen());
}

TEST_F(PosixFileTest, BackslashesOfPathsInBothEncodings) {
  EXPECT_EQ(NativePath("a/b.ini"), "a/b.ini");
  EXPECT_EQ(NativePath("a\\b.ini"), "a/b.ini");
  EXPECT_EQ(NativePath("a\\"), "a/");
  // UTF-8: every backslash is one.
  EXPECT_EQ(NativePath("道\\路.ini"), "道/路.ini");
  // Code page 932: the second byte of the first character is none; a lead byte at the end is alone.
  EXPECT_EQ(NativePath("\x95\x5C\\a"), "\x95\x5C/a");
  EXPECT_EQ(NativePath("a\\\x95"), "a/\x95");
}

TEST_F(PosixFileTest, Utf8IsWellFormedAndHasMoreThanAscii) {
  EXPECT_FALSE(IsUtf8("abc"));
  EXPECT_TRUE(IsUtf8("\xC3\xA9"));          // two bytes
  EXPECT_TRUE(IsUtf8("\xE9\x81\x93"));      // three
  EXPECT_TRUE(IsUtf8("\xF0\x9F\x9A\x97"));  // four
  EXPECT_FALSE(IsUtf8("\xF0\x9F\x9A"));     // cut off
  EXPECT_FALSE(IsUtf8("\xC1\xA9"));         // longer than it need be
  EXPECT_FALSE(IsUtf8("\xF5\x80\x80\x80"));
  EXPECT_FALSE(IsUtf8("\x93\xB9"));   // code page 932
  EXPECT_FALSE(IsUtf8("\xE9\x81/"));  // no third byte
}

TEST_F(PosixFileTest, EnteringAFolderNeedsTheRight) {
  const std::string closed = folder_ / "closed";
  test::MakeFolder(closed);
  OrdinaryUser::Give(closed);
  ASSERT_EQ(::chmod(folder_.path().c_str(), 0755), 0);
  ASSERT_EQ(::chmod(closed.c_str(), 0600), 0);
  const OrdinaryUser user;
  EXPECT_TRUE(CanEnterFolder(folder_.path().c_str()));
  EXPECT_TRUE(IsFolder(closed.c_str()));
  EXPECT_FALSE(CanEnterFolder(closed.c_str()));
}

TEST_F(PosixFileTest, NamesShorterThanTheEndingAreNotFound) {
  WriteBytes(folder_ / "log", "");
  int found = 0;
  FindFiles(folder_.path().c_str(), ".log", [&](const char*) { ++found; });
  EXPECT_EQ(found, 0);
}

// The current folder, put back at the end.
class CurrentFolder {
 public:
  explicit CurrentFolder(const std::string& path) : before_(::open(".", O_RDONLY | O_CLOEXEC)) {
    EXPECT_EQ(::chdir(path.c_str()), 0);
  }
  ~CurrentFolder() {
    EXPECT_EQ(::fchdir(before_), 0);
    ::close(before_);
  }
  CurrentFolder(const CurrentFolder&) = delete;
  CurrentFolder& operator=(const CurrentFolder&) = delete;

 private:
  int before_;
};

TEST_F(PosixFileTest, FullPathsBeginAtTheCurrentFolder) {
  {
    const CurrentFolder root("/");
    EXPECT_EQ(AbsolutePath("some.ini"), "/some.ini");
  }
  const std::string gone = folder_ / "gone";
  test::MakeFolder(gone);
  const CurrentFolder current(gone);
  EXPECT_EQ(AbsolutePath("some.ini"), gone + "/some.ini");
  EXPECT_EQ(AbsolutePath(""), gone + "/");
  ASSERT_EQ(::rmdir(gone.c_str()), 0);
  EXPECT_EQ(AbsolutePath("some.ini"), "some.ini");  // the system knows no path of it
}

TEST_F(PosixFileTest, TheTemporaryFolderIsThatOfTheEnvironment) {
  for (const auto& [value, folder] : {std::pair<const char*, const char*>{nullptr, "/tmp"},
                                      {"", "/tmp"},
                                      {"/var/tmp", "/var/tmp"},
                                      {"/var/tmp//", "/var/tmp"},
                                      {"/", "/"}}) {
    const Environment environment("TMPDIR", value);
    EXPECT_EQ(TempFolder(), folder);
  }
}

TEST_F(PosixFileTest, AppDataLieBelowTheHomeFolderUnlessTheEnvironmentSaysWhere) {
  std::string folder;
  for (const char* none : {static_cast<const char*>(nullptr), ""}) {
    const Environment data("XDG_DATA_HOME", none);
    {
      const Environment home("HOME", "/home/somebody");
      EXPECT_TRUE(AppDataFolder(true, &folder));
      EXPECT_EQ(folder, "/home/somebody/.local/share");
    }
    const Environment home("HOME", none);
    EXPECT_FALSE(AppDataFolder(true, &folder));
  }
}

}  // namespace
}  // namespace zatlib::platform

#endif
