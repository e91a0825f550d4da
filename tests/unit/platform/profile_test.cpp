#include "platform/profile.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/fault.h"
#include "test_support.h"

namespace zatlib::platform {
namespace {

class ProfileTest : public ::testing::Test {
 protected:
  void Write(const std::string& text) { test::WriteBytes(path_, text); }
  std::string Text(const char* section, const char* key, const char* default_value = "none",
                   uint32_t size = 260) {
    char out[260];
    const uint32_t length =
        ReadProfileString(section, key, default_value, out, size, path_.c_str());
    EXPECT_EQ(length, std::string(out).size());
    return out;
  }
  int Int(const char* section, const char* key, int default_value = -7) {
    return ReadProfileInt(section, key, default_value, path_.c_str());
  }
  bool Save(const char* section, const char* key, const char* value) {
    return SaveProfileString(section, key, value, path_.c_str());
  }
  test::TempFolder folder_;
  const std::string path_ = folder_ / "control.ini";
};

TEST_F(ProfileTest, WhatIsMissingYieldsTheDefault) {
  EXPECT_EQ(Text("SYSTEM", "FORMAT", "ZAT"), "ZAT");
  EXPECT_EQ(Int("SYSTEM", "DEBUG", 5), 5);
  Write("[SYSTEM]\r\nLOG=1\r\n");
  EXPECT_EQ(Text("SYSTEM", "FORMAT", "ZAT"), "ZAT");
  EXPECT_EQ(Text("FOLDER", "LOG", "ZAT"), "ZAT");
  EXPECT_EQ(Int("SYSTEM", "DEBUG", 5), 5);
}

TEST_F(ProfileTest, NamesIgnoreCase) {
  Write("[System]\r\nFormat=MSR\r\n");
  EXPECT_EQ(Text("SYSTEM", "FORMAT"), "MSR");
  EXPECT_EQ(Text("system", "format"), "MSR");
}

TEST_F(ProfileTest, BlanksAreTrimmed) {
  Write(" [SYSTEM] \r\n  FORMAT \t= \t MSR and more  \t\r\n");
  EXPECT_EQ(Text("SYSTEM", "FORMAT"), "MSR and more");
}

TEST_F(ProfileTest, OnePairOfQuotesIsDropped) {
  Write("[A]\r\nB=\" two words \"\r\nC='single'\r\nD=\"\"double\"\"\r\nE=\"open\r\nF=mid\"dle\r\n");
  EXPECT_EQ(Text("A", "B"), " two words ");
  EXPECT_EQ(Text("A", "C"), "single");
  EXPECT_EQ(Text("A", "D"), "\"double\"");
  EXPECT_EQ(Text("A", "E"), "\"open");
  EXPECT_EQ(Text("A", "F"), "mid\"dle");
}

TEST_F(ProfileTest, TheFirstMatchWins) {
  Write("[A]\r\nB=1\r\nB=2\r\n[C]\r\nB=3\r\n[A]\r\nB=4\r\nD=5\r\n");
  EXPECT_EQ(Text("A", "B"), "1");
  EXPECT_EQ(Int("C", "B"), 3);
}

TEST_F(ProfileTest, CommentsAreNoKeys) {
  Write("; first\r\n[A]\r\n;B=1\r\nB=2\r\n");
  EXPECT_EQ(Text("A", "B"), "2");
}

TEST_F(ProfileTest, AKeyOfAnotherSectionDoesNotCount) {
  Write("B=0\r\n[A]\r\nC=1\r\n[D]\r\nB=2\r\n");
  EXPECT_EQ(Text("A", "B"), "none");
  EXPECT_EQ(Text("D", "B"), "2");
}

TEST_F(ProfileTest, AnEmptyValueIsThere) {
  Write("[A]\r\nB=\r\n");
  EXPECT_EQ(Text("A", "B"), "");
  EXPECT_EQ(Int("A", "B", 5), 5);
}

TEST_F(ProfileTest, TheLastLineNeedsNoEnd) {
  Write("[A]\nB=1\nC=last");
  EXPECT_EQ(Text("A", "B"), "1");
  EXPECT_EQ(Text("A", "C"), "last");
}

TEST_F(ProfileTest, IntegersStopAtTheFirstNonDigit) {
  Write("[A]\r\nA=12abc\r\nB=-3\r\nC=abc\r\nD=14.9\r\nE=\"18\"\r\nF= 007 \r\n");
  EXPECT_EQ(Int("A", "A"), 12);
  EXPECT_EQ(Int("A", "B"), -3);
  EXPECT_EQ(Int("A", "C"), 0);
  EXPECT_EQ(Int("A", "D"), 14);
  EXPECT_EQ(Int("A", "E"), 18);
  EXPECT_EQ(Int("A", "F"), 7);
}

TEST_F(ProfileTest, TextsAreCutToTheBuffer) {
  Write("[A]\r\nB=0123456789\r\n");
  EXPECT_EQ(Text("A", "B", "none", 11), "0123456789");
  EXPECT_EQ(Text("A", "B", "none", 10), "012345678");
  EXPECT_EQ(Text("A", "B", "none", 1), "");
  EXPECT_EQ(Text("A", "X", "default", 4), "def");
}

TEST_F(ProfileTest, DoubleByteTextsPass) {
  const std::string name = test::Cp932("一般国道");
  Write("[A]\r\nB=" + name + "\r\n");
  EXPECT_EQ(Text("A", "B"), name);
}

TEST_F(ProfileTest, SavingMakesTheFile) {
  EXPECT_TRUE(Save("ATTRIBUTE", "NUMDEF", "9"));
  EXPECT_TRUE(Save("ATTRIBUTE", "DEF01", "01,a"));
  EXPECT_TRUE(Save("SYSTEM", "CODELENGTH", "14"));
  EXPECT_EQ(test::ReadBytes(path_),
            "[ATTRIBUTE]\r\nNUMDEF=9\r\nDEF01=01,a\r\n[SYSTEM]\r\nCODELENGTH=14\r\n");
}

TEST_F(ProfileTest, SavingKeepsCommentsAndOrder) {
  Write("; one\r\n; two\r\n[A]\r\nB=1\r\nC=2\r\n[D]\r\nE=3\r\n");
  EXPECT_TRUE(Save("A", "B", "new"));
  EXPECT_TRUE(Save("A", "F", "added"));
  EXPECT_EQ(test::ReadBytes(path_),
            "; one\r\n; two\r\n[A]\r\nB=new\r\nC=2\r\nF=added\r\n[D]\r\nE=3\r\n");
}

TEST_F(ProfileTest, AnEmptyValueIsSaved) {
  Write("; one\r\n");
  EXPECT_TRUE(Save("ROADFLAG", "HIGHWAY", ""));
  EXPECT_EQ(test::ReadBytes(path_), "; one\r\n[ROADFLAG]\r\nHIGHWAY=\r\n");
  EXPECT_EQ(Text("ROADFLAG", "HIGHWAY"), "");
}

TEST_F(ProfileTest, SavingIntoAMissingFolderFails) {
  const std::string path = folder_ / "missing" + (folder_ / "").back() + "control.ini";
  EXPECT_FALSE(SaveProfileString("A", "B", "1", path.c_str()));
}

TEST_F(ProfileTest, ARefusedReadGivesTheDefault) {
  Write("[A]\r\nB=1\r\n");
  ArmFault(Operation::kReadValue, 2, true);
  EXPECT_EQ(Text("A", "B"), "1");
  EXPECT_EQ(Text("A", "B"), "none");
  EXPECT_EQ(Text("A", "B", "default", 4), "def");
  EXPECT_EQ(Int("A", "B", 5), 5);
  EXPECT_EQ(OperationCount(Operation::kReadValue), 4);
  ClearFaults();
  EXPECT_EQ(Int("A", "B", 5), 1);
}

TEST_F(ProfileTest, ARefusedWriteLeavesTheFile) {
  Write("[A]\r\nB=1\r\n");
  ArmFault(Operation::kWriteValue, 1, false);
  EXPECT_FALSE(Save("A", "B", "2"));
  EXPECT_EQ(test::ReadBytes(path_), "[A]\r\nB=1\r\n");
  EXPECT_TRUE(Save("A", "B", "2"));
  EXPECT_EQ(OperationCount(Operation::kWriteValue), 2);
  ClearFaults();
  EXPECT_EQ(test::ReadBytes(path_), "[A]\r\nB=2\r\n");
}

TEST_F(ProfileTest, WhatWasSavedIsRead) {
  EXPECT_TRUE(Save("A", "B", "1"));
  EXPECT_EQ(Int("A", "B"), 1);
  EXPECT_TRUE(Save("A", "B", "2"));
  EXPECT_EQ(Int("A", "B"), 2);
}

}  // namespace
}  // namespace zatlib::platform
