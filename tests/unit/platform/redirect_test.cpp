#include "platform/redirect.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/file.h"
#include "platform/profile.h"
#include "test_support.h"

namespace zatlib::platform {
namespace {

using test::Exists;
using test::MakeFolder;
using test::ReadBytes;
using test::WriteBytes;

const std::string kSeparator(1, NativeSeparator());

// A folder `out` whose map.dat, link.idx and info.inf lie in `aside`.
class RedirectTest : public ::testing::Test {
 protected:
  RedirectTest() {
    MakeFolder(out_);
    MakeFolder(aside_);
    Set();
  }
  ~RedirectTest() override { ClearRedirect(); }

  void Set() {
    const char* const names[] = {"map.dat", "link.idx", "info.inf"};
    EXPECT_TRUE(SetRedirect(out_.c_str(), aside_.c_str(), names));
  }
  std::string Out(const std::string& name) const { return out_ + kSeparator + name; }
  std::string Aside(const std::string& name) const { return aside_ + kSeparator + name; }
  // Through the platform, which asks for the redirect.
  static void Write(const std::string& path, const std::string& bytes) {
    File file = File::Open(path.c_str(), Access::kWrite, Share::kNone, Disposition::kCreateAlways);
    uint32_t written = 0;
    EXPECT_TRUE(file.IsOpen() &&
                file.Write(bytes.data(), static_cast<uint32_t>(bytes.size()), &written))
        << path;
  }
  static std::string Read(const std::string& path) {
    File file = File::Open(path.c_str(), Access::kRead, Share::kRead, Disposition::kOpenExisting);
    if (!file.IsOpen()) return "nothing";
    char text[16];
    uint32_t read = 0;
    EXPECT_TRUE(file.Read(text, sizeof text, &read)) << path;
    return std::string(text, read);
  }
  // What lies there itself: the helpers of the tests do not ask.
  static std::string Plain(const std::string& path) {
    return Exists(path) ? ReadBytes(path) : "nothing";
  }

  test::TempFolder folder_;
  const std::string out_ = folder_ / "out";
  const std::string aside_ = folder_ / "aside";
};

TEST_F(RedirectTest, AListedNameIsWrittenAndReadElsewhere) {
  Write(Out("map.dat"), "new");
  EXPECT_EQ(Read(Out("map.dat")), "new");
  EXPECT_EQ(Plain(Aside("map.dat")), "new");
  EXPECT_EQ(Plain(Out("map.dat")), "nothing");
}

TEST_F(RedirectTest, WhatLiesInTheFolderItselfIsNotSeen) {
  WriteBytes(Out("map.dat"), "old");
  EXPECT_FALSE(
      File::Open(Out("map.dat").c_str(), Access::kRead, Share::kRead, Disposition::kOpenExisting)
          .IsOpen());
  bool read_only = false;
  EXPECT_FALSE(GetAttributes(Out("map.dat").c_str(), &read_only));
  EXPECT_EQ(SizeAtPath(Out("map.dat").c_str()), -1);
  EXPECT_FALSE(RemoveFile(Out("map.dat").c_str()));
  EXPECT_EQ(Plain(Out("map.dat")), "old");
}

TEST_F(RedirectTest, OtherNamesAndFoldersStayWhereTheyAre) {
  Write(Out("source.txt"), "source");
  EXPECT_EQ(Plain(Out("source.txt")), "source");
  Write(folder_ / "map.dat", "beside");
  EXPECT_EQ(Plain(folder_ / "map.dat"), "beside");
  MakeFolder(Out("deep"));
  Write(Out("deep") + kSeparator + "map.dat", "deeper");
  EXPECT_EQ(Plain(Out("deep") + kSeparator + "map.dat"), "deeper");
  Write(Out("xmap.dat"), "longer");
  EXPECT_EQ(Plain(Out("xmap.dat")), "longer");
}

TEST_F(RedirectTest, TheFolderIsKnownHoweverItIsNamed) {
  const std::string dotted = folder_ / "aside" + kSeparator + ".." + kSeparator + "out" +
                             kSeparator + "." + kSeparator + "map.dat";
  Write(dotted, "1");
  EXPECT_EQ(Plain(Aside("map.dat")), "1");
  Write(out_ + "/link.idx", "2");  // both systems take this separator
  EXPECT_EQ(Plain(Aside("link.idx")), "2");
  EXPECT_EQ(Plain(Out("link.idx")), "nothing");
}

TEST_F(RedirectTest, ANameWithoutAFolderIsTakenAsItIs) {
  EXPECT_STREQ(Redirected("map.dat").c_str(), "map.dat");
  EXPECT_EQ(Redirected(nullptr).c_str(), nullptr);
}

TEST_F(RedirectTest, ValuesOfIniFiles) {
  EXPECT_TRUE(SaveProfileString("S", "KEY", "7", Out("info.inf").c_str()));
  EXPECT_EQ(ReadProfileInt("S", "KEY", 0, Out("info.inf").c_str()), 7);
  char text[8];
  EXPECT_EQ(ReadProfileString("S", "KEY", "", text, sizeof text, Out("info.inf").c_str()), 1u);
  EXPECT_EQ(Plain(Aside("info.inf")), "[S]\r\nKEY=7\r\n");
  EXPECT_EQ(Plain(Out("info.inf")), "nothing");
}

TEST_F(RedirectTest, SizesAttributesAndRemoval) {
  Write(Out("map.dat"), "four");
  EXPECT_EQ(SizeAtPath(Out("map.dat").c_str()), 4);
  bool read_only = true;
  EXPECT_TRUE(GetAttributes(Out("map.dat").c_str(), &read_only));
  EXPECT_FALSE(read_only);
  EXPECT_TRUE(RemoveFile(Out("map.dat").c_str()));
  EXPECT_EQ(Plain(Aside("map.dat")), "nothing");
}

TEST_F(RedirectTest, AListOfFilesShowsTheOnesElsewhere) {
  WriteBytes(Out("map.dat"), "old");
  WriteBytes(Out("mine.txt"), "");
  WriteBytes(Aside("draft"), "");
  Write(Out("link.idx"), "");
  const auto list = [](const std::string& folder) {
    std::vector<std::string> names;
    FindFiles(folder.c_str(), "", [&names](const char* name) { names.emplace_back(name); });
    std::sort(names.begin(), names.end());
    return names;
  };
  EXPECT_EQ(list(out_), (std::vector<std::string>{"link.idx", "mine.txt"}));
  EXPECT_EQ(list(aside_), (std::vector<std::string>{"draft", "link.idx"}));
}

TEST_F(RedirectTest, AFullPathNamesTheFileThatWasAskedFor) {
  EXPECT_EQ(AbsolutePath(Out("map.dat").c_str()), Out("map.dat"));
}

TEST_F(RedirectTest, ClearedItIsAsIfItHadNeverBeen) {
  ClearRedirect();
  Write(Out("map.dat"), "plain");
  EXPECT_TRUE(Exists(Out("map.dat")));
  EXPECT_FALSE(Exists(Aside("map.dat")));
  EXPECT_EQ(RedirectTarget(out_.c_str()), nullptr);
  EXPECT_FALSE(IsRedirectedName("map.dat"));
}

TEST_F(RedirectTest, AFolderThatIsNoneIsRefused) {
  const char* const names[] = {"map.dat"};
  EXPECT_FALSE(SetRedirect((folder_ / "absent").c_str(), aside_.c_str(), names));
  WriteBytes(folder_ / "file", "");
  EXPECT_FALSE(SetRedirect((folder_ / "file").c_str(), aside_.c_str(), names));
  EXPECT_EQ(FolderKey((folder_ / "absent").c_str()), "");
  EXPECT_EQ(FolderKey(out_.c_str()), FolderKey((out_ + kSeparator).c_str()));
  EXPECT_NE(FolderKey(out_.c_str()), FolderKey(aside_.c_str()));
}

TEST(SameFileName, CaseCountsWhereItDoesForFiles) {
  EXPECT_TRUE(SameFileName("map.dat", "map.dat"));
  EXPECT_FALSE(SameFileName("map.da", "map.dat"));
  EXPECT_FALSE(SameFileName("map.dat", "map.da"));
#ifdef _WIN32
  EXPECT_TRUE(SameFileName("MAP.dat", "map.DAT"));
#else
  EXPECT_FALSE(SameFileName("MAP.dat", "map.dat"));
#endif
}

}  // namespace
}  // namespace zatlib::platform
