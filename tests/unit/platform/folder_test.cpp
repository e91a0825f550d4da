#include "platform/folder.h"

#include <gtest/gtest.h>

#ifndef _WIN32
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

#include <string>
#include <utility>
#include <vector>

#include "platform/fault.h"
#include "platform/file.h"
#include "platform/redirect.h"
#include "test_support.h"

namespace zatlib::platform {
namespace {

using test::Exists;
using test::ReadBytes;
using test::WriteBytes;

const std::string kSeparator(1, NativeSeparator());

class FolderTest : public ::testing::Test {
 protected:
  ~FolderTest() override { ClearFaults(); }
  std::string Path(const std::string& name) const { return folder_ / name; }

  test::TempFolder folder_;
};

TEST_F(FolderTest, MakesAndRemovesEmptyFolders) {
  EXPECT_TRUE(MakeFolder(Path("a").c_str()));
  EXPECT_TRUE(IsFolder(Path("a").c_str()));
  EXPECT_FALSE(MakeFolder(Path("a").c_str()));
  EXPECT_EQ(LastErrorText(), "file exists");
  EXPECT_FALSE(MakeFolder((Path("absent") + kSeparator + "b").c_str()));
  EXPECT_EQ(LastErrorText(), "no such file or directory");
  WriteBytes(Path("a") + kSeparator + "file", "1");
  EXPECT_FALSE(RemoveFolder(Path("a").c_str()));
  EXPECT_EQ(LastErrorText(), "directory not empty");
  EXPECT_TRUE(RemoveEntry((Path("a") + kSeparator + "file").c_str()));
  EXPECT_TRUE(RemoveFolder(Path("a").c_str()));
  EXPECT_FALSE(Exists(Path("a")));
}

TEST_F(FolderTest, ListsEverythingInOrder) {
  WriteBytes(Path("b.dat"), "");
  WriteBytes(Path(".hidden"), "");
  EXPECT_TRUE(MakeFolder(Path("c").c_str()));
  std::vector<std::pair<std::string, FileKind>> entries;
  EXPECT_TRUE(ListFolder(folder_.path().c_str(), [&](const char* name, FileKind kind) {
    entries.emplace_back(name, kind);
  }));
  EXPECT_EQ(entries, (std::vector<std::pair<std::string, FileKind>>{{".hidden", FileKind::kFile},
                                                                    {"b.dat", FileKind::kFile},
                                                                    {"c", FileKind::kFolder}}));
  EXPECT_FALSE(ListFolder(Path("absent").c_str(), [](const char*, FileKind) { FAIL(); }));
}

TEST_F(FolderTest, AMoveReplacesWhatIsThere) {
  WriteBytes(Path("new"), "new");
  WriteBytes(Path("old"), "old");
  EXPECT_TRUE(MoveOver(Path("new").c_str(), Path("old").c_str()));
  EXPECT_EQ(ReadBytes(Path("old")), "new");
  EXPECT_FALSE(Exists(Path("new")));
  EXPECT_FALSE(MoveOver(Path("new").c_str(), Path("old").c_str()));
  EXPECT_EQ(LastErrorText(), "no such file or directory");
  EXPECT_EQ(ReadBytes(Path("old")), "new");
}

TEST_F(FolderTest, NothingIsRedirected) {
  EXPECT_TRUE(MakeFolder(Path("out").c_str()));
  EXPECT_TRUE(MakeFolder(Path("aside").c_str()));
  const char* const names[] = {"map.dat"};
  ASSERT_TRUE(SetRedirect(Path("out").c_str(), Path("aside").c_str(), names));
  WriteBytes(Path("draft"), "1");
  EXPECT_TRUE(MoveOver(Path("draft").c_str(), (Path("out") + kSeparator + "map.dat").c_str()));
  EXPECT_TRUE(Exists(Path("out") + kSeparator + "map.dat"));
  EXPECT_TRUE(RemoveEntry((Path("out") + kSeparator + "map.dat").c_str()));
  ClearRedirect();
  EXPECT_FALSE(Exists(Path("out") + kSeparator + "map.dat"));
}

TEST_F(FolderTest, FoldersAreExchangedInOneStepOrNotAtAll) {
  EXPECT_TRUE(MakeFolder(Path("a").c_str()));
  EXPECT_TRUE(MakeFolder(Path("b").c_str()));
  WriteBytes(Path("a") + kSeparator + "1", "");
  WriteBytes(Path("b") + kSeparator + "2", "");
  const bool exchanged = ExchangeFolders(Path("a").c_str(), Path("b").c_str());
  EXPECT_EQ(Exists(Path("a") + kSeparator + "2"), exchanged);
  EXPECT_EQ(Exists(Path("b") + kSeparator + "1"), exchanged);
  EXPECT_EQ(Exists(Path("a") + kSeparator + "1"), !exchanged);
#ifdef __linux__
  EXPECT_TRUE(exchanged);  // of the file systems that tests run on
#endif
  EXPECT_FALSE(ExchangeFolders(Path("a").c_str(), Path("absent").c_str()));
  EXPECT_TRUE(Exists(Path("a")));
}

TEST_F(FolderTest, OneFolderIsOnOneFileSystem) {
  EXPECT_TRUE(MakeFolder(Path("a").c_str()));
  EXPECT_TRUE(SameFileSystem(Path("a").c_str(), folder_.path().c_str()));
  EXPECT_TRUE(MayChangeFolder(Path("a").c_str()));
  EXPECT_FALSE(MayChangeFolder(Path("absent").c_str()));
#ifdef __linux__
  EXPECT_FALSE(SameFileSystem("/proc", folder_.path().c_str()));
#endif
}

TEST_F(FolderTest, TheRealPathHasNoDotsAndNoSeparatorAtItsEnd) {
  EXPECT_TRUE(MakeFolder(Path("a").c_str()));
  const std::string real = RealPath(Path("a").c_str());
  EXPECT_EQ(RealPath((Path("a") + kSeparator + ".." + kSeparator + "a" + kSeparator).c_str()),
            real);
  EXPECT_EQ(real.substr(real.size() - 2), kSeparator + "a");
  EXPECT_EQ(RealPath(Path("absent").c_str()), "");
}

TEST_F(FolderTest, AnArmedFaultRefusesTheMovesAndSaysSo) {
  WriteBytes(Path("a"), "1");
  ArmFault(Operation::kMove, 1, true);
  EXPECT_FALSE(MoveOver(Path("a").c_str(), Path("b").c_str()));
  EXPECT_NE(LastErrorText(), "");
  EXPECT_FALSE(RemoveEntry(Path("a").c_str()));
  EXPECT_FALSE(MakeFolder(Path("c").c_str()));
  EXPECT_FALSE(RemoveFolder(folder_.path().c_str()));
  EXPECT_FALSE(ExchangeFolders(folder_.path().c_str(), folder_.path().c_str()));
  ClearFaults();
  EXPECT_TRUE(Exists(Path("a")));
}

TEST_F(FolderTest, ANameIsHeldByOneAndThenFree) {
  NameHold first;
  NameHold second;
  EXPECT_EQ(first.Take(Path("lock")), NameHold::Answer::kHeld);
  EXPECT_EQ(second.Take(Path("lock")), NameHold::Answer::kHeldByAnother);
  NameHold moved = std::move(first);
  EXPECT_EQ(second.Take(Path("lock")), NameHold::Answer::kHeldByAnother);
  moved.Release();
  EXPECT_FALSE(Exists(Path("lock")));
  EXPECT_EQ(second.Take(Path("lock")), NameHold::Answer::kHeld);
  second = NameHold();
  EXPECT_FALSE(Exists(Path("lock")));
  EXPECT_EQ(first.Take(Path("absent") + kSeparator + "lock"), NameHold::Answer::kRefused);
}

#ifndef _WIN32

TEST_F(FolderTest, AProcessThatEndsGivesTheNameBack) {
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    NameHold hold;
    const bool held = hold.Take(Path("lock")) == NameHold::Answer::kHeld;
    ::_exit(held ? 7 : 1);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_EQ(WEXITSTATUS(status), 7);
  EXPECT_TRUE(Exists(Path("lock")));
  NameHold hold;
  EXPECT_EQ(hold.Take(Path("lock")), NameHold::Answer::kHeld);
}

TEST_F(FolderTest, ALinkIsALinkWhereverItLeads) {
  ASSERT_TRUE(MakeFolder(Path("a").c_str()));
  ASSERT_EQ(::symlink("a", Path("link").c_str()), 0);
  EXPECT_TRUE(IsLink(Path("link").c_str()));
  EXPECT_FALSE(IsLink(Path("a").c_str()));
  EXPECT_EQ(RealPath(Path("link").c_str()), RealPath(Path("a").c_str()));
  EXPECT_TRUE(RemoveEntry(Path("link").c_str()));
  EXPECT_TRUE(Exists(Path("a")));
}

TEST_F(FolderTest, RightsAreThoseOfTheOther) {
  WriteBytes(Path("from"), "");
  WriteBytes(Path("to"), "");
  ASSERT_EQ(::chmod(Path("from").c_str(), 0640), 0);
  EXPECT_TRUE(TakeRightsOf(Path("from").c_str(), Path("to").c_str()));
  struct stat status {};
  ASSERT_EQ(::stat(Path("to").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0640u);
  EXPECT_FALSE(TakeRightsOf(Path("absent").c_str(), Path("to").c_str()));
}

#endif

}  // namespace
}  // namespace zatlib::platform
