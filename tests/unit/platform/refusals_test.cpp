#include "platform/refusals.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/file.h"
#include "platform/profile.h"
#include "test_support.h"

namespace zatlib::platform {
namespace {

class RefusalsTest : public ::testing::Test {
 protected:
  RefusalsTest() { KeepRefusals(true); }
  ~RefusalsTest() override { KeepRefusals(false); }

  // Opens a path; why that was refused the last time something was, kNone when nothing was.
  static Refusal Open(const std::string& path, Access access, Disposition disposition,
                      Share share = Share::kNone) {
    KeepRefusals(true);
    const File file = File::Open(path.c_str(), access, share, disposition);
    const std::vector<RefusedFile> refused = RefusedOpens();
    EXPECT_EQ(file.IsOpen(), refused.empty());
    if (refused.empty()) return Refusal::kNone;
    EXPECT_EQ(refused.back().path, path);
    return refused.back().why;
  }
  test::TempFolder folder_;
};

TEST_F(RefusalsTest, AFileThatIsNotThere) {
  EXPECT_EQ(Open(folder_ / "none", Access::kRead, Disposition::kOpenExisting), Refusal::kMissing);
}

TEST_F(RefusalsTest, AFolderThatIsNotThere) {
  const test::CurrentFolder here(folder_.path());
  EXPECT_EQ(Open("out/mapcalc.dat", Access::kWrite, Disposition::kCreateAlways),
            Refusal::kNoFolder);
  EXPECT_EQ(Open("none", Access::kRead, Disposition::kOpenExisting), Refusal::kMissing);
}

TEST_F(RefusalsTest, AFolderInPlaceOfAFile) {
  EXPECT_EQ(Open(folder_.path(), Access::kRead, Disposition::kOpenExisting), Refusal::kFolder);
}

TEST_F(RefusalsTest, SomebodyElseHasIt) {
  const std::string path = folder_ / "file";
  test::WriteBytes(path, "x");
  const File mine =
      File::Open(path.c_str(), Access::kRead, Share::kNone, Disposition::kOpenExisting);
  EXPECT_EQ(Open(path, Access::kWrite, Disposition::kCreateAlways), Refusal::kInUse);
}

TEST_F(RefusalsTest, WhatGoesWellLeavesNothing) {
  EXPECT_EQ(Open(folder_ / "new", Access::kWrite, Disposition::kCreateAlways), Refusal::kNone);
  EXPECT_EQ(RefusedWrite(), Refusal::kNone);
}

TEST_F(RefusalsTest, NothingIsKeptUnlessSomebodyWantsIt) {
  KeepRefusals(false);
  File::Open((folder_ / "none").c_str(), Access::kRead, Share::kRead, Disposition::kOpenExisting);
  EXPECT_TRUE(RefusedOpens().empty());
}

TEST_F(RefusalsTest, TheLastOnesAreKept) {
  for (int i = 1; i <= 101; ++i) {
    File::Open((folder_ / std::to_string(i)).c_str(), Access::kRead, Share::kRead,
               Disposition::kOpenExisting);
  }
  ASSERT_EQ(RefusedOpens().size(), 100u);
  EXPECT_EQ(RefusedOpens().front().path, folder_ / "2");
  EXPECT_EQ(RefusedOpens().back().path, folder_ / "101");
}

#ifndef _WIN32
TEST_F(RefusalsTest, AFullDisk) {
  File file =
      File::Open("/dev/full", Access::kWrite, Share::kReadWrite, Disposition::kOpenExisting);
  ASSERT_TRUE(file.IsOpen());
  uint32_t written = 0;
  EXPECT_FALSE(file.Write("x", 1, &written));
  EXPECT_EQ(RefusedWrite(), Refusal::kFull);
}

TEST_F(RefusalsTest, AnIniFileToo) {
  const std::string path = folder_ / "out/linkdef.dat";
  EXPECT_FALSE(SaveProfileString("A", "B", "C", path.c_str()));
  ASSERT_EQ(RefusedOpens().size(), 1u);
  EXPECT_EQ(RefusedOpens()[0].why, Refusal::kNoFolder);
}
#endif

}  // namespace
}  // namespace zatlib::platform
