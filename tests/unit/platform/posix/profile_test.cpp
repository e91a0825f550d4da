// INI files that the system does not let be written, and the country of its messages.
#include "platform/profile.h"

#ifndef _WIN32

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <string>

#include "environment.h"
#include "refusals.h"
#include "test_support.h"

namespace zatlib::platform {
namespace {

using test::Environment;

constexpr char kText[] = "[A]\r\nB=1\r\n";

TEST(PosixProfileTest, WhatHasNoRoomIsNotSaved) {
  const test::TempFolder folder;
  const std::string path = folder / "control.ini";
  test::WriteBytes(path, kText);
  {
    const test::ShortFiles limit(10);  // as long as it is
    EXPECT_FALSE(SaveProfileString("A", "C", "2", path.c_str()));
  }
  EXPECT_EQ(test::ReadBytes(path), kText);
  EXPECT_TRUE(SaveProfileString("A", "C", "2", path.c_str()));
  EXPECT_EQ(test::ReadBytes(path), "[A]\r\nB=1\r\nC=2\r\n");
}

TEST(PosixProfileTest, AFolderHasNoValues) {
  const test::TempFolder folder;
  const char* const path = folder.path().c_str();
  char out[8];
  EXPECT_EQ(ReadProfileString("A", "B", "none", out, sizeof out, path), 4u);
  EXPECT_STREQ(out, "none");
  EXPECT_EQ(ReadProfileInt("A", "B", 5, path), 5);
  EXPECT_FALSE(SaveProfileString("A", "B", "1", path));
}

TEST(PosixProfileTest, WithoutAFileThereIsOnlyTheDefault) {
  char out[8] = "before";
  EXPECT_EQ(ReadProfileString("A", "B", "none", out, sizeof out, nullptr), 4u);
  EXPECT_STREQ(out, "none");
}

TEST(PosixProfileTest, ABufferWithoutRoomStaysAsItIs) {
  char out[8] = "before";
  EXPECT_EQ(ReadProfileString("A", "B", "none", out, 0, nullptr), 0u);
  EXPECT_STREQ(out, "before");
}

#ifdef MFD_ALLOW_SEALING
// A file that takes no change of a kind.
class SealedFile {
 public:
  explicit SealedFile(int seals) : fd_(::memfd_create("control.ini", MFD_ALLOW_SEALING)) {
    EXPECT_EQ(::write(fd_, kText, 10), 10);
    EXPECT_EQ(::fcntl(fd_, F_ADD_SEALS, seals), 0);
  }
  ~SealedFile() { ::close(fd_); }
  SealedFile(const SealedFile&) = delete;
  SealedFile& operator=(const SealedFile&) = delete;
  std::string path() const { return "/proc/self/fd/" + std::to_string(fd_); }

 private:
  int fd_;
};

TEST(PosixProfileTest, ARefusedWriteIsNoSuccess) {
  const SealedFile sealed(F_SEAL_WRITE);
  EXPECT_FALSE(SaveProfileString("A", "B", "2", sealed.path().c_str()));
  EXPECT_FALSE(SaveProfileString("A", "C", "a value longer than the file", sealed.path().c_str()));
  EXPECT_EQ(ReadProfileInt("A", "B", 0, sealed.path().c_str()), 1);
}

TEST(PosixProfileTest, WhatIsLeftOverAndCannotBeCutOffIsNoSuccess) {
  const SealedFile sealed(F_SEAL_SHRINK);
  EXPECT_TRUE(SaveProfileString("A", "B", "2", sealed.path().c_str()));
  EXPECT_FALSE(SaveProfileString("A", "B", "", sealed.path().c_str()));
}
#endif

TEST(PosixProfileTest, SectionsAndKeysAreWholeOnes) {
  const test::TempFolder folder;
  const std::string path = folder / "control.ini";
  test::WriteBytes(path, "[A\r\nB=1\r\n[A]\r\nno key\r\nB\t= +7\r\nC=\" 8\"\r\n[]\r\nB=9");
  EXPECT_EQ(ReadProfileInt("A", "B", 0, path.c_str()), 7);
  EXPECT_EQ(ReadProfileInt("A", "C", 0, path.c_str()), 8);
  EXPECT_EQ(ReadProfileInt("", "B", 0, path.c_str()), 9);
  // Behind the last line, which has no end.
  EXPECT_TRUE(SaveProfileString("", "D", "0", path.c_str()));
  EXPECT_EQ(test::ReadBytes(path),
            "[A\r\nB=1\r\n[A]\r\nno key\r\nB\t= +7\r\nC=\" 8\"\r\n[]\r\nB=9\r\nD=0\r\n");
}

TEST(PosixProfileTest, ZeroBytesAndTabsAreBlanks) {
  const test::TempFolder folder;
  const std::string path = folder / "control.ini";
  test::WriteBytes(path, std::string("[A]\0\r\nB=\"\t 7\"\0\r\n", 17));
  EXPECT_EQ(ReadProfileInt("A", "B", 0, path.c_str()), 7);
}

TEST(PosixProfileTest, TheCountryIsThatOfTheFirstSettingOfMessages) {
  struct Case {
    const char* all;
    const char* messages;
    const char* lang;
    int country;
  };
  const Case cases[] = {{"ja_JP.UTF-8", "C", "C", 81},     {"C", "ja_JP", "ja_JP", 1},
                        {nullptr, "ja_JP.eucJP", "C", 81}, {"", "", "ja", 81},
                        {nullptr, nullptr, "en_US", 1},    {nullptr, nullptr, nullptr, 1}};
  for (const Case& c : cases) {
    const Environment all("LC_ALL", c.all);
    const Environment messages("LC_MESSAGES", c.messages);
    const Environment lang("LANG", c.lang);
    EXPECT_EQ(CountryCode(), c.country) << (&c - cases);
  }
}

}  // namespace
}  // namespace zatlib::platform

#endif
