#include "input_zat/link_store.h"

#include <string>

#include "zat_test.h"

namespace zatlib {
namespace {

using test::Bytes;
using test::Concat;
using test::Exists;
using test::Lines;
using test::LinkBytes;
using test::Report;
using test::Reported;
using test::RunWithFault;
using test::WriteBytes;

constexpr char kTitle[] = "Setting Link Storage...";
constexpr char kSpeedTitle[] = "Setting Link Speed...";

// A link store record with what the tests set.
LinkBytes Link(double code, double node_a, double node_b, int speed_a, int speed_b,
               int speed_file_value) {
  LinkBytes link = {code, node_a, node_b, 0, speed_a, speed_b};
  link.speed_file_value = speed_file_value;
  return link;
}

std::string Ended(const char* result, int count) {
  return "Setting Link Storage end " + std::string(result) +
         " : set count = " + std::to_string(count);
}

std::string SpeedEnded(const char* result, int count) {
  return "Setting Link Speed end " + std::string(result) +
         " : set counter = " + std::to_string(count);
}

class LinkStoreTest : public test::ZatTest {
 protected:
  int Run(const std::string& text) {
    return BRN_ZAT_SetLinkStore(nullptr, WriteControl(text).c_str());
  }
  std::string Store() const { return Output("linkstr.~wk"); }
};

// ---- Links ---------------------------------------------------------------------------------

TEST_F(LinkStoreTest, ATextFile) {
  const std::string path = Source("links.txt",
                                  "10000020000001,4,13101,300,400,500,600,11,12,60,50,9\r\n"
                                  "10000020000002,-1,0,65535,1,2,-3,12,13\r\n");
  EXPECT_EQ(Run(Files("LINK", {path})), 1);
  EXPECT_EQ(Store(), Bytes()
                         .F64(10000020000001.0)
                         .F64(11)
                         .F64(12)
                         .I32(13101)
                         .I16(0)
                         .I16(60)
                         .I16(50)
                         .I16(300)
                         .I16(4)
                         .I16(400)
                         .I16(600)
                         .I16(500)
                         .I16(9)
                         .I16(0)
                         .F64(10000020000002.0)
                         .F64(12)
                         .F64(13)
                         .I32(0)
                         .I16(0)
                         .I16(0)
                         .I16(0)
                         .I16(65535)
                         .I16(0xFFFF)
                         .I16(1)
                         .I16(0xFFFD)
                         .I16(2)
                         .I16(0)
                         .I16(0)
                         .str());
  EXPECT_EQ(log(), (Lines{kTitle, Ended("OK", 2)}));
}

TEST_F(LinkStoreTest, DefaultSpeeds) {
  const std::string path = Source("links.txt",
                                  "1,,,,,,,11,12,0,0\r\n"
                                  "2,,,,,,,11,12,,\r\n"
                                  "3,,,,,,,11,12,-3,-4\r\n"
                                  "4,,,,,,,11,12,60,70\r\n"
                                  "5,,,,,,,11,12,1,65535\r\n");
  EXPECT_EQ(Run(Files("LINK", {path}) + "[DEFAULTSPEED]\r\nSPEEDA=40\r\nSPEEDB=30\r\n"), 1);
  EXPECT_EQ(Store(), Concat({Link(1, 11, 12, 40, 30, 0), Link(2, 11, 12, 40, 30, 0),
                             Link(3, 11, 12, 0, 0, 0), Link(4, 11, 12, 60, 70, 0),
                             Link(5, 11, 12, 1, 65535, 0)}));
}

TEST_F(LinkStoreTest, TheMidOfAMifIsRead) {
  // The MIF itself is not opened by this step: it need not be there.
  Source("links.mid", "1,,,,,,,11,12,60,50\r\n");
  EXPECT_EQ(Run("[LINK]\r\nMIF=1\r\nFILENUM=1\r\nFILE01=" + (folder_ / "links.mif") + "\r\n"), 1);
  EXPECT_EQ(Store(), std::string(Link(1, 11, 12, 60, 50, 0)));
  EXPECT_FALSE(Exists(folder_ / "linkdef.dat"));
  EXPECT_EQ(log(), (Lines{kTitle, Ended("OK", 1)}));
}

TEST_F(LinkStoreTest, TwoFilesAndAnOldStore) {
  WriteBytes(folder_ / "linkstr.~wk", std::string(480, 'x'));
  const std::string a = Source("a.txt", "1\r\n2\r\n");
  const std::string b = Source("b.txt", "3");
  EXPECT_EQ(Run(Files("LINK", {a, b})), 1);
  EXPECT_EQ(Store(),
            Concat({Link(1, 0, 0, 0, 0, 0), Link(2, 0, 0, 0, 0, 0), Link(3, 0, 0, 0, 0, 0)}));
  EXPECT_EQ(log(), (Lines{kTitle, Ended("OK", 3)}));
}

TEST_F(LinkStoreTest, CodesOf18Digits) {
  CodeLength(18);
  const std::string path = Source("a.txt",
                                  "100000000000000001,,,,,,,100000000000000002,"
                                  "100000000000000003,5,6\r\n");
  EXPECT_EQ(Run(Files("LINK", {path})), 1);
  EXPECT_EQ(Store(), Bytes()
                         .I64(100000000000000001)
                         .I64(100000000000000002)
                         .I64(100000000000000003)
                         .Zero(6)
                         .I16(5)
                         .I16(6)
                         .Zero(14)
                         .str());
}

TEST_F(LinkStoreTest, ALineThatDoesNotFitEndsItsFile) {
  const std::string a = Source("a.txt", "1\r\n2" + std::string(2047, ',') + "\r\n3\r\n");
  EXPECT_EQ(Run(Files("LINK", {a})), 1);
  EXPECT_EQ(Store(), std::string(Link(1, 0, 0, 0, 0, 0)));
}

TEST_F(LinkStoreTest, ManyRecords) {
  std::string lines;
  std::string expected;
  for (int i = 1; i <= 50000; ++i) {
    lines += std::to_string(i) + ",,,,,,,,,7\r\n";
    expected += std::string(Link(static_cast<double>(i), 0, 0, 7, 0, 0));
  }
  EXPECT_EQ(Run(Files("LINK", {Source("a.txt", lines)})), 1);
  EXPECT_TRUE(Store() == expected);
}

TEST_F(LinkStoreTest, WithoutALinkFileTheStepFails) {
  WriteBytes(folder_ / "linkstr.~wk", "old");
  EXPECT_EQ(Run(""), 0);
  EXPECT_EQ(Run("[LINK]\r\nFILENUM=0\r\nFILE01=a.txt\r\n"), 0);
  EXPECT_EQ(log(), (Lines{kTitle, Ended("ERROR", 0), kTitle, Ended("ERROR", 0)}));
  EXPECT_EQ(Store(), "old");
}

TEST_F(LinkStoreTest, AnInvalidCodeLengthFailsWithoutAMessage) {
  WriteBytes(folder_ / "linkstr.~wk", "old");
  CodeLength(16);
  EXPECT_EQ(Run(Files("LINK", {Source("a.txt", "1\r\n")})), 0);
  EXPECT_EQ(log(), (Lines{kTitle}));
  EXPECT_EQ(Store(), "old");
}

TEST_F(LinkStoreTest, AMissingFile) {
  WriteBytes(folder_ / "linkstr.~wk", "old");
  const std::string path = folder_ / "missing.txt";
  EXPECT_EQ(Run(Files("LINK", {path})), 0);
  EXPECT_EQ(
      log(),
      (Lines{kTitle, Report("Can't open the link data (FILE01) [" + path + "] !", "File Error"),
             Ended("ERROR", 0)}));
  EXPECT_FALSE(Exists(folder_ / "linkstr.~wk"));
}

TEST_F(LinkStoreTest, AMissingMidOfTheSecondFile) {
  Source("a.mid", "1\r\n");
  Source("b.mif", "Data\r\n");
  EXPECT_EQ(Run("[LINK]\r\nMIF=1\r\nFILENUM=2\r\nFILE01=" + (folder_ / "a.mif") +
                "\r\nFILE02=" + (folder_ / "b.mif") + "\r\n"),
            0);
  EXPECT_EQ(log(),
            (Lines{kTitle,
                   Report("Can't open the link data (FILE02) [" + (folder_ / "b.mid") + "] !",
                          "File Error"),
                   Ended("ERROR", 1)}));
  EXPECT_EQ(Store(), std::string(Link(1, 0, 0, 0, 0, 0)));
}

TEST_F(LinkStoreTest, AStoreThatCannotBeOpened) {
  test::MakeFolder(folder_ / "linkstr.~wk");
  EXPECT_EQ(Run(Files("LINK", {Source("a.txt", "1\r\n")})), 0);
  ASSERT_EQ(log().size(), 3u);
  EXPECT_TRUE(
      Reported(log(), "Can't open the LinkStorage (" + (folder_ / "linkstr.~wk") + ") at 01 !"));
  EXPECT_EQ(log().back(), Ended("ERROR", 0));
}

TEST_F(LinkStoreTest, CancelIsHeardBeforeTheFirstRecord) {
  const std::string control = Files("LINK", {Source("a.txt", "1\r\n")});
  CancelAt(kTitle);
  EXPECT_EQ(Run(control), 0);
  EXPECT_EQ(log(), (Lines{kTitle, Ended("ERROR", 0)}));
  EXPECT_EQ(Store(), "");
}

TEST_F(LinkStoreTest, ACancelledRunDoesNotBegin) {
  WriteBytes(folder_ / "linkstr.~wk", "old");
  const std::string control = Files("LINK", {Source("a.txt", "1\r\n")});
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(Run(control), 0);
  EXPECT_EQ(log(), Lines{});
  EXPECT_EQ(Store(), "old");
}

#ifndef _WIN32
int SetLinkStore(WindowHandle, int64_t, const char* control_file) {
  return BRN_ZAT_SetLinkStore(nullptr, control_file);
}

TEST_F(LinkStoreTest, TheStatusLineCountsTheRecordsOfAFile) {
  std::string lines;
  for (int i = 1; i <= 5001; ++i) lines += std::to_string(i) + "\r\n";
  const std::string control =
      WriteControl(Files("LINK", {Source("a.txt", lines), Source("b.txt", "9000\r\n")}));
  g_silent = 0;
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(FRD_RunDialog(nullptr, SetLinkStore, 0, control.c_str()), 1);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "Initalizing...\n"
            "Setting Link Storage...\n"
            "Reading Link Records (0)...\n"
            "Reading Link Records (5000)...\n"
            "Reading Link Records (0)...\n");
  EXPECT_EQ(log(), (Lines{kTitle, Ended("OK", 5002)}));
}
#endif

TEST_F(LinkStoreTest, AfterAFailedWriteOnlyWholeRecordsCount) {
  const std::string path = Source("a.txt", "1\r\n2\r\n3\r\n4\r\n");
  const auto logs = LogsOfFailures(platform::Operation::kWrite,
                                   {.run = [&] { return Run(Files("LINK", {path})); },
                                    .write_fault = platform::WriteFault::kHalfWritten});
  ASSERT_EQ(logs.size(), 1u);
  EXPECT_EQ(logs[0].back(), Ended("ERROR", 2));
}

TEST_F(LinkStoreTest, EveryOperationMayFail) {
  const std::string path = Source("a.txt", "1\r\n2\r\n3\r\n4\r\n");
  const std::string store = folder_ / "linkstr.~wk";
  const auto run = [&] { return Run(Files("LINK", {path})); };
  const auto check = [&] {
    EXPECT_EQ(Store(), Concat({Link(1, 0, 0, 0, 0, 0), Link(2, 0, 0, 0, 0, 0),
                               Link(3, 0, 0, 0, 0, 0), Link(4, 0, 0, 0, 0, 0)}));
    EXPECT_EQ(log().back(), Ended("OK", 4));
  };
  auto reports = FailEach(platform::Operation::kOpen, {.run = run, .check_good = check});
  EXPECT_EQ(reports.size(), 2u);
  EXPECT_TRUE(Reported(reports, "Can't open the link data (FILE01) [" + path + "] !"));
  EXPECT_TRUE(Reported(reports, "Can't open the LinkStorage (" + store + ") at 01 !"));
  reports = FailEach(platform::Operation::kRead, {.run = run, .check_good = check});
  EXPECT_EQ(reports.size(), 1u);
  EXPECT_TRUE(Reported(reports, "Can't read the file (" + path + ") !"));
  reports = FailEach(platform::Operation::kWrite, {.run = run, .check_good = check});
  EXPECT_EQ(reports.size(), 1u);
  EXPECT_TRUE(Reported(reports, "Can't write the LinkStorage (" + store + ") at 01, 0 !"));
  // Half of four records: the third one is missing.
  reports = FailEach(
      platform::Operation::kWrite,
      {.run = run, .check_good = check, .write_fault = platform::WriteFault::kHalfWritten});
  EXPECT_EQ(reports.size(), 1u);
  EXPECT_TRUE(Reported(reports, "Can't write the LinkStorage (" + store + ") at 01, 2 !"));
  reports = FailEach(platform::Operation::kSeek, {.run = run, .check_good = check});
  EXPECT_TRUE(Reported(reports, "Can't open the LinkStorage (" + store + ") at 01 !"));
  FailEach(platform::Operation::kAllocate, {.run = run, .check_good = check});
}

// ---- Speeds --------------------------------------------------------------------------------

class LinkSpeedTest : public test::ZatTest {
 protected:
  LinkSpeedTest() {
    WriteBytes(folder_ / "linkstr.~wk",
               Concat({Link(300, 11, 12, 1, 2, 0), Link(100, 12, 13, 3, 4, 0),
                       Link(200, 13, 14, 5, 6, 0)}));
  }

  int Run(const std::string& text) {
    return BRN_ZAT_SetLinkSpeedData(nullptr, WriteControl(text).c_str());
  }

  // The step over one file with this content.
  int Speeds(const std::string& content, const std::string& more = "") {
    return Run(Files("LINKSPEED", {Source("speeds.txt", content)}) + more);
  }

  std::string Store() const { return Output("linkstr.~wk"); }

  // The store with other content for link 100.
  static std::string With(const LinkBytes& changed) {
    return Concat({Link(300, 11, 12, 1, 2, 0), changed, Link(200, 13, 14, 5, 6, 0)});
  }
};

TEST_F(LinkSpeedTest, ARowInTheLinksOwnSense) {
  EXPECT_EQ(Speeds("100,12,13,30,50,7\r\n"), 1);
  EXPECT_EQ(Store(), With(Link(100, 12, 13, 30, 50, 7)));
  EXPECT_EQ(log(), (Lines{kSpeedTitle, SpeedEnded("OK", 1)}));
}

TEST_F(LinkSpeedTest, AReversedRowGivesBothSpeedsItsSpeedB) {
  EXPECT_EQ(Speeds("100,13,12,30,50,7\r\n"), 1);
  EXPECT_EQ(Store(), With(Link(100, 12, 13, 50, 50, 7)));
  EXPECT_EQ(log(), (Lines{kSpeedTitle, SpeedEnded("OK", 1)}));
}

TEST_F(LinkSpeedTest, ARowWithoutNodesIsInTheLinksOwnSense) {
  EXPECT_EQ(Speeds("100,0,0,30,50,7\r\n"), 1);
  EXPECT_EQ(Store(), With(Link(100, 12, 13, 30, 50, 7)));
  EXPECT_EQ(Speeds("100,,,31,51,8\r\n"), 1);
  EXPECT_EQ(Store(), With(Link(100, 12, 13, 31, 51, 8)));
}

TEST_F(LinkSpeedTest, OneNodeMissingIsEnough) {
  EXPECT_EQ(Speeds("100,13,0,30,50,7\r\n"), 1);
  EXPECT_EQ(Store(), With(Link(100, 12, 13, 30, 50, 7)));
  EXPECT_EQ(Speeds("100,0,99,31,51,8\r\n"), 1);
  EXPECT_EQ(Store(), With(Link(100, 12, 13, 31, 51, 8)));
}

TEST_F(LinkSpeedTest, ARowWithForeignNodesIsIgnored) {
  EXPECT_EQ(Speeds("100,12,14,30,50,7\r\n100,11,12,30,50,7\r\n100,13,11,30,50,7\r\n"), 1);
  EXPECT_EQ(Store(), With(Link(100, 12, 13, 3, 4, 0)));
  EXPECT_EQ(log(), (Lines{kSpeedTitle, SpeedEnded("OK", 0)}));
}

TEST_F(LinkSpeedTest, RowsOfUnknownLinksAreIgnored) {
  EXPECT_EQ(Speeds("150,12,13,30,50,7\r\n0,12,13,30,50,7\r\n\r\n"), 1);
  EXPECT_EQ(Store(), With(Link(100, 12, 13, 3, 4, 0)));
  EXPECT_EQ(log(), (Lines{kSpeedTitle, SpeedEnded("OK", 0)}));
}

TEST_F(LinkSpeedTest, SpeedsOfARow) {
  EXPECT_EQ(Speeds("100,12,13,0,-5\r\n", "[DEFAULTSPEED]\r\nSPEEDA=40\r\nSPEEDB=30\r\n"), 1);
  EXPECT_EQ(Store(), With(Link(100, 12, 13, 40, 0, 0)));
}

TEST_F(LinkSpeedTest, AllFilesOfTheSection) {
  const std::string a = Source("a.txt", "100,12,13,30,50,7\r\n300,12,11,60,70,8");
  const std::string b = Source("b.txt", "100,12,13,31,51,9\r\n");
  EXPECT_EQ(Run(Files("LINKSPEED", {a, b})), 1);
  EXPECT_EQ(Store(), Concat({Link(300, 11, 12, 70, 70, 8), Link(100, 12, 13, 31, 51, 9),
                             Link(200, 13, 14, 5, 6, 0)}));
  EXPECT_EQ(log(), (Lines{kSpeedTitle, SpeedEnded("OK", 3)}));
}

TEST_F(LinkSpeedTest, CodesOf18Digits) {
  CodeLength(18);
  const auto link = [](int a, int b) {
    return Bytes()
        .I64(100000000000000001)
        .I64(100000000000000002)
        .I64(100000000000000003)
        .Zero(6)
        .I16(a)
        .I16(b)
        .Zero(14)
        .str();
  };
  WriteBytes(folder_ / "linkstr.~wk", link(1, 2));
  EXPECT_EQ(Speeds("100000000000000001,100000000000000003,100000000000000002,30,50\r\n"
                   "100000000000000002,0,0,60,60\r\n"),
            1);
  EXPECT_EQ(Store(), link(50, 50));
  EXPECT_EQ(log(), (Lines{kSpeedTitle, SpeedEnded("OK", 1)}));
}

TEST_F(LinkSpeedTest, WithoutAFileTheStoreIsLeftAlone) {
  const std::string before = Store();
  EXPECT_EQ(Run(""), 1);
  EXPECT_EQ(Run("[LINKSPEED]\r\nFILENUM=0\r\nFILE01=x\r\n"), 1);
  EXPECT_EQ(Store(), before);
  EXPECT_EQ(log(), (Lines{kSpeedTitle, kSpeedTitle}));
  platform::RemoveFile((folder_ / "linkstr.~wk").c_str());
  EXPECT_EQ(Run(""), 1);
  EXPECT_FALSE(Exists(folder_ / "linkstr.~wk"));
}

TEST_F(LinkSpeedTest, AnInvalidCodeLengthIsReported) {
  CodeLength(16);
  const std::string before = Store();
  EXPECT_EQ(Speeds("100,12,13,30,50,7\r\n"), 0);
  EXPECT_EQ(Run(""), 0);  // it is tested before the number of files
  const std::string report =
      Report("The CodeLength = 16 is invalid !", "Logic Error in BRN_ZAT_SetLinkSpeedData");
  EXPECT_EQ(log(), (Lines{kSpeedTitle, report, kSpeedTitle, report}));
  EXPECT_EQ(Store(), before);
}

TEST_F(LinkSpeedTest, AMissingFile) {
  const std::string path = folder_ / "missing.txt";
  EXPECT_EQ(Run(Files("LINKSPEED", {path})), 0);
  EXPECT_TRUE(Reported(log(), "Can't open LinkSpeed(" + path + ") !"));
  EXPECT_EQ(log().size(), 3u);
  EXPECT_EQ(log().back(), SpeedEnded("ERROR", 0));
  EXPECT_EQ(Store(), With(Link(100, 12, 13, 3, 4, 0)));
}

TEST_F(LinkSpeedTest, AMissingStore) {
  platform::RemoveFile((folder_ / "linkstr.~wk").c_str());
  EXPECT_EQ(Speeds("100,12,13,30,50,7\r\n"), 0);
  ASSERT_GE(log().size(), 2u);
  EXPECT_EQ(log()[1],
            Report("Can't open / read the link storage " + (folder_ / "linkstr.~wk") + " !",
                   "File Error in BRN_ZAT_SetLinkSpeedData"));
}

TEST_F(LinkSpeedTest, AStoreThatSomebodyElseHasForHimself) {
  const platform::File holder = Hold(folder_ / "linkstr.~wk");
  EXPECT_EQ(Speeds("100,12,13,30,50,7\r\n"), 0);
  ASSERT_GE(log().size(), 2u);
  EXPECT_EQ(log()[1],
            Report("Can't open / read the link storage " + (folder_ / "linkstr.~wk") + " !",
                   "File Error in BRN_ZAT_SetLinkSpeedData"));
}

TEST_F(LinkSpeedTest, AStoreThatSomebodyElseReads) {
  const platform::File holder = HoldForReading(folder_ / "linkstr.~wk");
  EXPECT_EQ(Speeds("100,12,13,30,50,7\r\n"), 0);
  EXPECT_TRUE(Reported(log(), "Can't write the link storage " + (folder_ / "linkstr.~wk") + " !"));
  EXPECT_EQ(Store(), With(Link(100, 12, 13, 3, 4, 0)));
}

TEST_F(LinkSpeedTest, WithoutMemory) {
  for (const int nth : {1, 2}) {
    ClearLog();
    const std::string control = Files("LINKSPEED", {Source("speeds.txt", "100,,,1,1\r\n")});
    EXPECT_EQ(
        RunWithFault({platform::Operation::kAllocate, nth, true}, [&] { return Run(control); }), 0);
    ASSERT_GE(log().size(), 2u);
    EXPECT_EQ(log()[1], Report("Can't allocate the memory for the LinkStore !",
                               "Memory Error in BRN_ZAT_SetLinkSpeedData"));
  }
}

TEST_F(LinkSpeedTest, ACancelledRunDoesNotBegin) {
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(Speeds("100,12,13,30,50,7\r\n"), 0);
  EXPECT_EQ(log(), Lines{});
  EXPECT_EQ(Store(), With(Link(100, 12, 13, 3, 4, 0)));
}

TEST_F(LinkSpeedTest, CancelIsHeardByTheSort) {
  CancelAt(kSpeedTitle);
  EXPECT_EQ(Speeds("100,12,13,30,50,7\r\n"), 0);
  EXPECT_EQ(Store(), With(Link(100, 12, 13, 3, 4, 0)));
  for (const std::string& line : log()) EXPECT_NE(line[0], '[') << line;
}

TEST_F(LinkSpeedTest, EveryOperationMayFail) {
  const std::string before = Store();
  const std::string path = Source("speeds.txt", "100,12,13,30,50,7\r\n");
  const std::string store = folder_ / "linkstr.~wk";
  const auto run = [&] {
    WriteBytes(store, before);
    return Run(Files("LINKSPEED", {path}));
  };
  const auto check = [&] { EXPECT_EQ(Store(), With(Link(100, 12, 13, 30, 50, 7))); };
  auto reports = FailEach(platform::Operation::kOpen, {.run = run, .check_good = check});
  EXPECT_TRUE(Reported(reports, "Can't open / read the link storage " + store + " !"));
  EXPECT_TRUE(Reported(reports, "Can't open LinkSpeed(" + path + ") !"));
  EXPECT_TRUE(Reported(reports, "Can't write the link storage " + store + " !"));
  reports = FailEach(platform::Operation::kRead, {.run = run, .check_good = check});
  EXPECT_TRUE(Reported(reports, "Can't open / read the link storage " + store + " !"));
  EXPECT_TRUE(Reported(reports, "Can't read the file (" + path + ") !"));
  reports = FailEach(platform::Operation::kAllocate, {.run = run, .check_good = check});
  EXPECT_TRUE(Reported(reports, "Can't allocate the memory for the LinkStore !"));
  reports =
      FailEach(platform::Operation::kWrite, {.run = run, .check_good = check, .sticky = true});
  EXPECT_TRUE(Reported(reports, "Can't write the link storage " + store + " !"));
  reports = FailEach(
      platform::Operation::kWrite,
      {.run = run, .check_good = check, .write_fault = platform::WriteFault::kHalfWritten});
  EXPECT_TRUE(Reported(reports, "Can't write the link storage " + store + " !"));
}

}  // namespace
}  // namespace zatlib
