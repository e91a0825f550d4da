#include "frd/log.h"

#include <cstdlib>
#include <future>
#include <string>
#include <thread>

#include "environment.h"
#include "fault_each.h"
#include "platform/clock.h"
#include "platform/code_page.h"
#include "platform/fault.h"
#include "platform/file.h"
#include "platform/named_lock.h"
#include "refusals.h"
#include "test_support.h"

namespace zatlib {
namespace {

using platform::Access;
using platform::DateTime;
using platform::Disposition;
using platform::File;
using platform::Operation;
using platform::Share;
using test::Exists;
using test::ReadBytes;
using test::RunWithFault;
using test::WriteBytes;

// A tag of the tests' own: no real log is touched.
constexpr char kTag[] = "ZatLibTest";

std::string Sep() { return std::string(1, platform::NativeSeparator()); }

class LogTest : public test::LibraryTest {
 protected:
  LogTest() { SetTime(2016, 3, 14, 9, 8, 7, 65); }
  ~LogTest() override { platform::FixLocalTime(nullptr); }

  static void SetTime(int year, int month, int day, int hour = 0, int minute = 0, int second = 0,
                      int milliseconds = 0) {
    const DateTime now{static_cast<uint16_t>(year),
                       static_cast<uint16_t>(month),
                       0,
                       static_cast<uint16_t>(day),
                       static_cast<uint16_t>(hour),
                       static_cast<uint16_t>(minute),
                       static_cast<uint16_t>(second),
                       static_cast<uint16_t>(milliseconds)};
    platform::FixLocalTime(&now);
  }

  // Today's log of a tag; removed where it stands already.
  static std::string UserLog(const char* tag, bool fresh = true) {
    char path[kPathSize] = {};
    EXPECT_EQ(FRD_GetUserLogPath(tag, path), 1);
    if (fresh) platform::RemoveFile(path);
    return path;
  }

  static std::string FolderOf(const std::string& path) {
    char folder[kPathSize];
    FRD_SplitPath(path.c_str(), folder, nullptr);
    return folder;
  }

  static std::string UserBase() {
    std::string base;
    EXPECT_TRUE(platform::AppDataFolder(true, &base));
    return base;
  }
};

// ---- Places --------------------------------------------------------------------------------

TEST_F(LogTest, OneFileADayAndTag) {
  EXPECT_EQ(UserLog("ZatLib", false), UserBase() + Sep() + "Orvilex Systems,Inc." + Sep() +
                                          "ZatLib" + Sep() + "20160314.log");
  EXPECT_EQ(UserLog("TOOLS\\FRD", false), UserBase() + Sep() + "Orvilex Systems,Inc." + Sep() +
                                              "TOOLS" + Sep() + "FRD" + Sep() + "20160314.log");
}

TEST_F(LogTest, TheFolderIsMadeOnFirstUse) {
  const std::string path = UserLog(kTag);
  EXPECT_TRUE(platform::IsFolder(FolderOf(path).c_str()));
  EXPECT_FALSE(Exists(path));
}

TEST_F(LogTest, TheCommonLogLiesInTheFolderOfAllUsers) {
  std::string base;
  ASSERT_TRUE(platform::AppDataFolder(false, &base));
  char path[kPathSize] = {};
  if (FRD_GetCommonLogPath(kServiceTag, path) == 0) GTEST_SKIP() << "no rights for " << base;
  EXPECT_EQ(path, base + Sep() + "Orvilex Systems,Inc." + Sep() + "TOOLS" + Sep() + "FRD" + Sep() +
                      "20160314.log");
}

TEST_F(LogTest, BlankTagsAreLeftOut) {
  const std::string company = UserBase() + Sep() + "Orvilex Systems,Inc." + Sep() + "20160314.log";
  EXPECT_EQ(UserLog("", false), company);
  EXPECT_EQ(UserLog("   ", false), company);
  EXPECT_EQ(UserLog(" \x81\x40 ", false), company);
  EXPECT_EQ(UserLog("\x81\x40\x81\x40", false), company);
  EXPECT_NE(UserLog(" x", false), company);
}

TEST_F(LogTest, ATagThatBeginsLikeAnIdeographicSpaceIsNoBlankOne) {
  EXPECT_EQ(FolderOf(UserLog("\x81\x41")),
            UserBase() + Sep() + "Orvilex Systems,Inc." + Sep() + "\x81\x41");
}

TEST_F(LogTest, NumbersOfTheFileNameHaveLeadingZeros) {
  SetTime(2016, 1, 2);
  const std::string path = UserLog(kTag, false);
  EXPECT_EQ(path.substr(path.size() - 12), "20160102.log");
}

#if !defined(_WIN32)
TEST_F(LogTest, ATagMayHoldABackslashInsideACharacter) {
  if (platform::CodePage() != 932) GTEST_SKIP() << "needs code page 932";
  EXPECT_EQ(UserLog("\x95\x5C", false), UserBase() + "/Orvilex Systems,Inc./\x95\x5C/20160314.log");
}

TEST_F(LogTest, WithoutAnApplicationDataFolderNothingIsLogged) {
  const char* data = std::getenv("XDG_DATA_HOME");
  const char* home = std::getenv("HOME");
  const std::string old_data = data != nullptr ? data : "";
  const std::string old_home = home != nullptr ? home : "";
  ::unsetenv("XDG_DATA_HOME");
  ::unsetenv("HOME");
  char path[kPathSize] = {};
  EXPECT_EQ(FRD_GetUserLogPath(kTag, path), 0);
  EXPECT_EQ(FRD_WriteLog(kPerUser, kTag, "text", 1), 0);
  // There is no drive whose root would be searched: nobody's files go. Only root can make one
  // there.
  const char* const old_log = "/19000101.log";
  File::Open(old_log, Access::kWrite, Share::kNone, Disposition::kOpenAlways);
  const bool made = Exists(old_log);
  EXPECT_EQ(FRD_EraseOldLogs(kPerUser, kTag), 0);
  EXPECT_EQ(Exists(old_log), made);
  if (made) platform::RemoveFile(old_log);
  if (data != nullptr) ::setenv("XDG_DATA_HOME", old_data.c_str(), 1);
  if (home != nullptr) ::setenv("HOME", old_home.c_str(), 1);
}

TEST_F(LogTest, AFolderThatCannotBeMadeLosesTheLine) {
  const std::string old_data = UserBase();
  WriteBytes(folder_ / "file", "x");
  ::setenv("XDG_DATA_HOME", (folder_ / "file").c_str(), 1);
  char path[kPathSize] = {};
  EXPECT_EQ(FRD_GetUserLogPath(kTag, path), 0);
  EXPECT_EQ(FRD_WriteLog(kPerUser, kTag, "text", 1), 0);
  ::setenv("XDG_DATA_HOME", old_data.c_str(), 1);
}
#endif

// ---- Lines ---------------------------------------------------------------------------------

TEST_F(LogTest, LinesEndWithCrLfAndAreAppended) {
  const std::string path = UserLog(kTag);
  EXPECT_EQ(FRD_WriteLog(kPerUser, kTag, "first", 1), 1);
  EXPECT_EQ(FRD_WriteLog(kPerUser, kTag, "second", 0), 1);
  EXPECT_EQ(FRD_WriteLog(kPerUser, kTag, "", 1), 1);
  EXPECT_EQ(FRD_WriteLog(kPerUser, kTag, "", 0), 1);
  EXPECT_EQ(ReadBytes(path),
            "20160314 09:08:07.065 first\r\n"
            "second\r\n"
            "20160314 09:08:07.065 \r\n"
            "\r\n");
}

TEST_F(LogTest, TextsAreWrittenAsTheyAre) {
  const std::string path = UserLog(kTag);
  const std::string text = std::string(3000, 'x') + "%s\r\n\x93\xB9";
  EXPECT_EQ(FRD_WriteLog(kPerUser, kTag, text.c_str(), 0), 1);
  EXPECT_EQ(ReadBytes(path), text + "\r\n");
}

TEST_F(LogTest, MidnightBeginsANewFile) {
  SetTime(2016, 3, 14, 23, 59, 59, 999);
  const std::string before = UserLog(kTag);
  SetTime(2016, 3, 15, 0, 0, 0, 0);
  const std::string after = UserLog(kTag);
  SetTime(2016, 3, 14, 23, 59, 59, 999);
  EXPECT_EQ(FRD_WriteLog(kPerUser, kTag, "late", 1), 1);
  SetTime(2016, 3, 15, 0, 0, 0, 0);
  EXPECT_EQ(FRD_WriteLog(kPerUser, kTag, "early", 1), 1);
  EXPECT_EQ(ReadBytes(before), "20160314 23:59:59.999 late\r\n");
  EXPECT_EQ(ReadBytes(after), "20160315 00:00:00.000 early\r\n");
  EXPECT_EQ(before.substr(before.size() - 12), "20160314.log");
  EXPECT_EQ(after.substr(after.size() - 12), "20160315.log");
}

TEST_F(LogTest, AFileThatSomebodyHoldsLosesTheLine) {
  const std::string path = UserLog(kTag);
  {
    const File holder =
        File::Open(path.c_str(), Access::kReadWrite, Share::kNone, Disposition::kOpenAlways);
    ASSERT_TRUE(holder.IsOpen());
    EXPECT_EQ(FRD_WriteLog(kPerUser, kTag, "lost", 1), 0);
  }
  EXPECT_EQ(ReadBytes(path), "");
  EXPECT_EQ(FRD_WriteLog(kPerUser, kTag, "kept", 0), 1);
  EXPECT_EQ(ReadBytes(path), "kept\r\n");
}

TEST_F(LogTest, AnyFailedWriteIsAFailure) {
  // Stamp, text and line end are written one after the other.
  for (int64_t nth = 1; nth <= 3; ++nth) {
    UserLog(kTag);
    EXPECT_EQ(RunWithFault({Operation::kWrite, nth},
                           [&] { return FRD_WriteLog(kPerUser, kTag, "text", 1); }),
              0)
        << nth;
  }
  UserLog(kTag);
  EXPECT_EQ(
      RunWithFault({Operation::kWrite, 4}, [&] { return FRD_WriteLog(kPerUser, kTag, "text", 1); }),
      1);
}

TEST_F(LogTest, AnOpenThatFailsLosesTheLine) {
  const std::string path = UserLog(kTag);
  EXPECT_EQ(
      RunWithFault({Operation::kOpen}, [&] { return FRD_WriteLog(kPerUser, kTag, "text", 1); }), 0);
  EXPECT_FALSE(Exists(path));
}

TEST_F(LogTest, AWriterThatWaitedASecondWritesAnyway) {
  const std::string path = UserLog(kTag);
  std::promise<void> held;
  std::promise<void> done;
  std::thread holder([&] {
    const platform::NamedLock lock("FrdLogRightMutexName", 10000);
    EXPECT_TRUE(lock.Held());
    held.set_value();
    done.get_future().wait();
  });
  held.get_future().wait();
  EXPECT_EQ(FRD_WriteLog(kPerUser, kTag, "anyway", 0), 1);
  done.set_value();
  holder.join();
  EXPECT_EQ(ReadBytes(path), "anyway\r\n");
}

TEST_F(LogTest, TheListenerHearsTheBuildLogOnly) {
  ClearLog();
  FRD_LogTagged(kBuildTag, "heard", 1);
  FRD_WriteLog(kPerUser, kTag, "not heard", 1);
  FRD_WriteLog(kPerUser, kServiceTag, "not heard", 1);
  LogBuild("%s=%d", "count", 3);
  EXPECT_EQ(log(), (std::vector<std::string>{"heard", "count=3"}));
}

TEST_F(LogTest, TaggedLines) {
  const std::string path = UserLog(kTag);
  EXPECT_EQ(FRD_LogTagged(kTag, "line", 1), 1);
  EXPECT_EQ(ReadBytes(path), "20160314 09:08:07.065 line\r\n");
}

TEST_F(LogTest, ALineWithoutATagGoesToTheCompanyFolder) {
  SetTime(1984, 3, 14, 9, 8, 7, 65);
  const std::string path = UserLog("");
  EXPECT_EQ(path, UserBase() + Sep() + "Orvilex Systems,Inc." + Sep() + "19840314.log");
  EXPECT_EQ(FRD_LogTagged(nullptr, "line", 0), 1);
  EXPECT_EQ(ReadBytes(path), "line\r\n");
  platform::RemoveFile(path.c_str());
}

TEST_F(LogTest, BuildLinesAreStampedAndBounded) {
  SetTime(1984, 4, 14, 9, 8, 7, 65);
  const std::string path = UserLog(kBuildTag);
  LogBuild("lnNumNode=%d", 12);
  LogBuild("%s", std::string(2000, 'x').c_str());
  EXPECT_EQ(ReadBytes(path), "19840414 09:08:07.065 lnNumNode=12\r\n19840414 09:08:07.065 " +
                                 std::string(1023, 'x') + "\r\n");
  platform::RemoveFile(path.c_str());
}

// ---- The host program's log ----------------------------------------------------------------

TEST_F(LogTest, TheHostProgramsLogStandsBesideIt) {
  std::string expected = platform::ProgramPath();
  ASSERT_NE(expected, "");
  const size_t dot = expected.rfind('.');
  const size_t name = expected.find_last_of("/\\");
  if (dot != std::string::npos && dot > name) expected.resize(dot);
  expected += ".log";
  bool read_only = false;
  ASSERT_TRUE(platform::GetAttributes(FolderOf(expected).c_str(), &read_only));
  char path[kPathSize];
  FRD_GetHostLogPath(path);
  if (read_only) {
    expected = platform::TempFolder() + Sep() + expected.substr(name + 1);
  }
  EXPECT_EQ(path, expected.substr(0, 259));
}

#ifndef _WIN32
TEST_F(LogTest, WhereTheFolderOfAllUsersIsClosedTheServicesLogNothing) {
  if (::getuid() != 0) GTEST_SKIP() << "whose folder it is, is not known";
  SetTime(1984, 5, 6);
  char path[kPathSize] = {};
  ASSERT_EQ(FRD_GetCommonLogPath(kServiceTag, path), 1);
  platform::RemoveFile(path);
  {
    const test::OrdinaryUser user;
    EXPECT_EQ(FRD_LogFrd("text"), 0);
  }
  EXPECT_FALSE(Exists(path));
}

TEST_F(LogTest, WhereNobodyMayWriteTheHostProgramsLogIsATemporaryFile) {
  if (::getuid() != 0) GTEST_SKIP() << "the program's folder may be one's own";
  const std::string program = platform::ProgramPath();
  const std::string name = program.substr(program.rfind('/') + 1);
  char path[kPathSize];
  const test::OrdinaryUser user;
  if (::access(program.c_str(), F_OK) != 0) {
    GTEST_SKIP() << "the program lies where an ordinary user sees nothing";
  }
  const test::Environment temporary("TMPDIR", "/var/tmp");
  FRD_GetHostLogPath(path);
  EXPECT_EQ(path, "/var/tmp/" + name.substr(0, name.rfind('.')) + ".log");
}
#endif

TEST_F(LogTest, TheHostProgramsLogDropsTheLastExtensionOfItsNameOnly) {
  const std::string folder = Sep() + "apps.d" + Sep();
  EXPECT_EQ(LogBeside(folder + "host.exe"), folder + "host.log");
  EXPECT_EQ(LogBeside(folder + "host.v2.exe"), folder + "host.v2.log");
  EXPECT_EQ(LogBeside(folder + "host"), folder + "host.log");
  EXPECT_EQ(LogBeside("host"), "host.log");
  EXPECT_EQ(LogBeside("host.exe"), "host.log");
}

TEST_F(LogTest, TheHostProgramsLogIsErasedWhole) {
  char path[kPathSize];
  FRD_GetHostLogPath(path);
  EXPECT_EQ(FRD_WriteLog(kPerUser, nullptr, "before", 0), 1);
  EXPECT_EQ(FRD_EraseOldLogs(kPerUser, nullptr), 1);
  EXPECT_EQ(ReadBytes(path), "20160314 09:08:07.065 Previous Log File was erased\r\n");
  EXPECT_EQ(FRD_WriteLog(kAllUsers, nullptr, "after", 0), 1);
  EXPECT_EQ(ReadBytes(path), "20160314 09:08:07.065 Previous Log File was erased\r\nafter\r\n");
  platform::RemoveFile(path);
}

// ---- FRD_EraseOldLogs ----------------------------------------------------------------------

TEST_F(LogTest, FilesOfDaysBeforeTheCutOffGo) {
  SetTime(2016, 3, 31, 10, 20, 30, 400);
  const char* const tag = "ZatLibTestErase";
  const std::string today = UserLog(tag);
  const std::string folder = FolderOf(today) + Sep();
  const std::string erased[] = {"20160228.log",      "1999.log", "20151231.log",
                                "20160228extra.LOG", "2016.log", "0.log"};
  const std::string kept[] = {"20160229.log", "20160229a.log", "20160301.log",
                              "readme.log",   "20160228.txt",  "Z.log"};
  for (const std::string& name : erased) WriteBytes(folder + name, "x");
  for (const std::string& name : kept) WriteBytes(folder + name, "x");
  platform::CreateFolder((folder + "1998.log").c_str());
  EXPECT_EQ(FRD_EraseOldLogs(kPerUser, tag), 1);
  for (const std::string& name : erased) EXPECT_FALSE(Exists(folder + name)) << name;
  for (const std::string& name : kept) EXPECT_TRUE(Exists(folder + name)) << name;
  EXPECT_TRUE(platform::IsFolder((folder + "1998.log").c_str()));
  EXPECT_EQ(ReadBytes(today), "20160331 10:20:30.400 6 log files before 20160229 erased.\r\n");
  for (const std::string& name : kept) platform::RemoveFile((folder + name).c_str());
}

TEST_F(LogTest, AnErasePassWithoutOldFiles) {
  SetTime(2015, 1, 1, 0, 0, 0, 1);
  const char* const tag = "ZatLibTestNone";
  const std::string today = UserLog(tag);
  EXPECT_EQ(FRD_EraseOldLogs(kPerUser, tag), 1);
  // 31 days before the first of January is the first of December.
  EXPECT_EQ(ReadBytes(today), "20150101 00:00:00.001 0 log files before 20141201 erased.\r\n");
}

// ---- FRD_LogFrd ----------------------------------------------------------------------------

TEST_F(LogTest, AServiceLogAbove65536BytesMakesAnErasePass) {
  // A day long ago, so that no real log is old enough to go.
  SetTime(1980, 3, 5, 1, 2, 3, 4);
  char path[kPathSize] = {};
  if (FRD_GetCommonLogPath(kServiceTag, path) == 0 ||
      !File::Open(path, Access::kWrite, Share::kNone, Disposition::kCreateAlways).IsOpen()) {
    GTEST_SKIP() << "no rights for the folder of all users";
  }
  const std::string folder = FolderOf(path) + Sep();
  WriteBytes(folder + "19800202.log", "x");
  WriteBytes(folder + "19800203.log", "x");
  const std::string full(65536, 'f');
  WriteBytes(path, full);
  EXPECT_EQ(FRD_LogFrd("first"), 1);
  EXPECT_TRUE(Exists(folder + "19800202.log"));
  EXPECT_EQ(ReadBytes(path).substr(65536), "19800305 01:02:03.004 first\r\n");
  EXPECT_EQ(FRD_LogFrd("second"), 1);
  // 1980 is a leap year: five days of March, 29 less 3 of February.
  EXPECT_FALSE(Exists(folder + "19800202.log"));
  EXPECT_TRUE(Exists(folder + "19800203.log"));
  EXPECT_EQ(ReadBytes(path).substr(65536),
            "19800305 01:02:03.004 first\r\n"
            "19800305 01:02:03.004 1 log files before 19800203 erased.\r\n"
            "19800305 01:02:03.004 second\r\n");
  platform::RemoveFile((folder + "19800203.log").c_str());
  platform::RemoveFile(path);
}

// ---- FRD_MakPrevDay ------------------------------------------------------------------------

struct Step {
  int year, month, day;
  int before_year, before_month, before_day;
};

void ExpectPreviousDay(const Step& step) {
  DateTime date{};
  date.year = static_cast<uint16_t>(step.year);
  date.month = static_cast<uint16_t>(step.month);
  date.day = static_cast<uint16_t>(step.day);
  date.day_of_week = 5;
  date.hour = 11;
  date.minute = 22;
  date.second = 33;
  date.milliseconds = 444;
  EXPECT_NE(FRD_MakPrevDay(&date), 0);
  EXPECT_EQ(date.year, step.before_year);
  EXPECT_EQ(date.month, step.before_month);
  EXPECT_EQ(date.day, step.before_day);
  // The day of the week and the time of day stay.
  EXPECT_EQ(date.day_of_week, 5);
  EXPECT_EQ(date.hour, 11);
  EXPECT_EQ(date.minute, 22);
  EXPECT_EQ(date.second, 33);
  EXPECT_EQ(date.milliseconds, 444);
}

int PreviousDayOf(int year, int month, int day) {
  DateTime date{};
  date.year = static_cast<uint16_t>(year);
  date.month = static_cast<uint16_t>(month);
  date.day = static_cast<uint16_t>(day);
  return FRD_MakPrevDay(&date);
}

TEST_F(LogTest, PreviousDays) {
  const Step steps[] = {
      {2016, 3, 31, 2016, 3, 30}, {2016, 3, 2, 2016, 3, 1},     {2016, 2, 1, 2016, 1, 31},
      {2016, 3, 1, 2016, 2, 29},  {2000, 3, 1, 2000, 2, 29},    {2016, 5, 1, 2016, 4, 30},
      {2016, 7, 1, 2016, 6, 30},  {2016, 8, 1, 2016, 7, 31},    {2016, 9, 1, 2016, 8, 31},
      {2016, 10, 1, 2016, 9, 30}, {2016, 12, 1, 2016, 11, 30},  {2016, 1, 1, 2015, 12, 31},
      {2000, 1, 1, 1999, 12, 31}, {2016, 12, 31, 2016, 12, 30}, {1601, 1, 2, 1601, 1, 1},
      {2016, 2, 29, 2016, 2, 28},
  };
  for (const Step& step : steps) ExpectPreviousDay(step);
}

TEST_F(LogTest, FebruaryHas28DaysInOrdinaryYears) {
  if (test::UnderWine()) GTEST_SKIP() << "Wine takes February 29 of every year";
  ExpectPreviousDay({2015, 3, 1, 2015, 2, 28});
  ExpectPreviousDay({1900, 3, 1, 1900, 2, 28});
  EXPECT_EQ(PreviousDayOf(2015, 2, 29), 0);
  EXPECT_EQ(PreviousDayOf(1900, 2, 29), 0);
}

TEST_F(LogTest, DatesThatDoNotExistHaveNoPreviousDay) {
  EXPECT_EQ(PreviousDayOf(2016, 3, 0), 0);
  EXPECT_EQ(PreviousDayOf(2016, 3, 32), 0);
  EXPECT_EQ(PreviousDayOf(2016, 2, 30), 0);
  EXPECT_EQ(PreviousDayOf(2016, 4, 31), 0);
  EXPECT_EQ(PreviousDayOf(2016, 0, 10), 0);
  EXPECT_EQ(PreviousDayOf(2016, 13, 1), 0);
  EXPECT_EQ(PreviousDayOf(1600, 1, 10), 0);
}

TEST_F(LogTest, TheDayBeforeTheFirstDayIsALogicError) {
  SetTime(1985, 1, 2, 3, 4, 5, 6);
  const std::string path = UserLog(kServiceTag);
  DateTime first{};
  first.year = 1601;
  first.month = 1;
  first.day = 1;
  EXPECT_EQ(FRD_MakPrevDay(&first), 0);
  EXPECT_EQ(ReadBytes(path).substr(ReadBytes(path).find("Internal")),
            "Internal Logic Error in FRD_MakPrevDay\r\n");
  platform::RemoveFile(path.c_str());
}

TEST_F(LogTest, AYearBackwards) {
  DateTime date{};
  date.year = 2017;
  date.month = 1;
  date.day = 1;
  for (int i = 0; i < 366; ++i) ASSERT_NE(FRD_MakPrevDay(&date), 0);
  EXPECT_EQ(date.year, 2016);
  EXPECT_EQ(date.month, 1);
  EXPECT_EQ(date.day, 1);
}

}  // namespace
}  // namespace zatlib
