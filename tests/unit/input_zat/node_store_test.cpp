#include "input_zat/node_store.h"

#include <string>

#include "zat_test.h"

namespace zatlib {
namespace {

using test::Bytes;
using test::Concat;
using test::Cp932;
using test::Exists;
using test::Lines;
using test::NodeBytes;
using test::Report;
using test::Reported;
using test::RunWithFault;
using test::WriteBytes;

constexpr char kTitle[] = "Setting Node Storage...";
constexpr char kXYTitle[] = "Setting Node XY...";

// As the usual writer prints it.
constexpr char kHeader[] =
    "Version 300\r\n"
    "Charset \"WindowsJapanese\"\r\n"
    "Delimiter \",\"\r\n"
    "CoordSys Earth Projection 1, 104\r\n"
    "Columns 2\r\n"
    "  NODECODE Char(14)\r\n"
    "  ATTR Integer\r\n"
    "Data\r\n"
    "\r\n";

std::string Point(const std::string& x, const std::string& y) {
  return "Point " + x + " " + y + "\r\n    Symbol (35,0,12)\r\n";
}

std::string Ended(const char* result, int count) {
  return "Setting Node Storage end " + std::string(result) +
         " : set counter = " + std::to_string(count);
}

std::string XYEnded(const char* result, int count) {
  return "Setting Node XY end " + std::string(result) + " : set count = " + std::to_string(count);
}

std::string NoPoint(const std::string& mid, int record) {
  return Report(
      Cp932("道路点オブジェクトがありません！\r\n") + mid + " (rec=" + std::to_string(record) + ")",
      "Data Error in BRN_ZAT_ReadNodeRecord");
}

class NodeStoreTest : public test::ZatTest {
 protected:
  int Run(const std::string& text) {
    return BRN_ZAT_SetNodeStore(nullptr, WriteControl(text).c_str());
  }

  static std::string Files(int mif, const std::vector<std::string>& paths) {
    return ZatTest::Files("NODE", paths, mif);
  }

  std::string Store() const { return Output("nodestr.~wk"); }
};

// ---- Text files ----------------------------------------------------------------------------

TEST_F(NodeStoreTest, ATextFile) {
  const std::string path = Source("nodes.txt",
                                  "10000020000001,7,10000020000002,0,11,12\r\n"
                                  "10000020000002,8,,,13,,15,,,,,,Name,139.6917,35.5\r\n");
  EXPECT_EQ(Run(Files(0, {path})), 1);
  EXPECT_EQ(Store(), Concat({NodeBytes{10000020000001.0, 10000020000002.0, 7, 0, 0, {11, 12}},
                             NodeBytes{10000020000002.0, 0, 8, 35500000, 0, {13, 0, 15}}}));
  EXPECT_EQ(log(), (Lines{kTitle, Ended("OK", 2)}));
}

TEST_F(NodeStoreTest, TheSecondFilesRecordsFollowTheFirsts) {
  const std::string a = Source("a.txt", "1\r\n2\r\n");
  const std::string b = Source("b.txt", "3");
  EXPECT_EQ(Run(Files(0, {a, b})), 1);
  EXPECT_EQ(Store(), Concat({NodeBytes{1, 0, 0, 0, 0, {}}, NodeBytes{2, 0, 0, 0, 0, {}},
                             NodeBytes{3, 0, 0, 0, 0, {}}}));
  EXPECT_EQ(log(), (Lines{kTitle, Ended("OK", 3)}));
}

TEST_F(NodeStoreTest, AnOldStoreIsDeletedFirst) {
  WriteBytes(folder_ / "nodestr.~wk", std::string(960, 'x'));
  const std::string path = Source("a.txt", "1\r\n");
  EXPECT_EQ(Run(Files(0, {path})), 1);
  EXPECT_EQ(Store(), std::string(NodeBytes{1, 0, 0, 0, 0, {}}));
}

TEST_F(NodeStoreTest, CodesOf18Digits) {
  CodeLength(18);
  const std::string path = Source("a.txt", "100000000000000001,,,,100000000000000002\r\n");
  EXPECT_EQ(Run(Files(0, {path})), 1);
  EXPECT_EQ(Store(),
            Bytes().I64(100000000000000001).Zero(24).I64(100000000000000002).Zero(56).str());
}

TEST_F(NodeStoreTest, AnEmptyFileGivesAnEmptyStore) {
  const std::string path = Source("a.txt", "");
  EXPECT_EQ(Run(Files(0, {path})), 1);
  EXPECT_TRUE(Exists(folder_ / "nodestr.~wk"));
  EXPECT_EQ(Store(), "");
  EXPECT_EQ(log(), (Lines{kTitle, Ended("OK", 0)}));
}

TEST_F(NodeStoreTest, ABlankLineIsAnEmptyRecord) {
  const std::string path = Source("a.txt", "1\r\n\r\n2\r\n");
  EXPECT_EQ(Run(Files(0, {path})), 1);
  EXPECT_EQ(Store(), Concat({NodeBytes{1, 0, 0, 0, 0, {}}, std::string(96, '\0'),
                             NodeBytes{2, 0, 0, 0, 0, {}}}));
}

TEST_F(NodeStoreTest, ALineThatDoesNotFitEndsItsFile) {
  const std::string a = Source("a.txt", "1\r\n2" + std::string(2047, ',') + "\r\n3\r\n");
  const std::string b = Source("b.txt", "4\r\n");
  EXPECT_EQ(Run(Files(0, {a, b})), 1);
  EXPECT_EQ(Store(), Concat({NodeBytes{1, 0, 0, 0, 0, {}}, NodeBytes{4, 0, 0, 0, 0, {}}}));
  EXPECT_EQ(log(), (Lines{kTitle, Ended("OK", 2)}));
}

TEST_F(NodeStoreTest, AFileWithLfOnlyReadsAsEmptyOnceItIsLong) {
  std::string lines;
  for (int i = 1; i <= 400; ++i) lines += std::to_string(i) + ",1,2\n";
  const std::string path = Source("a.txt", lines);
  EXPECT_EQ(Run(Files(0, {path})), 1);
  EXPECT_EQ(Store(), "");
  EXPECT_EQ(log(), (Lines{kTitle, Ended("OK", 0)}));
}

TEST_F(NodeStoreTest, ManyRecords) {
  std::string lines;
  std::string expected;
  for (int i = 1; i <= 20000; ++i) {
    lines += std::to_string(i) + ",1\r\n";
    expected += std::string(NodeBytes{static_cast<double>(i), 0, 1, 0, 0, {}});
  }
  const std::string path = Source("a.txt", lines);
  EXPECT_EQ(Run(Files(0, {path})), 1);
  EXPECT_TRUE(Store() == expected);
  EXPECT_EQ(log(), (Lines{kTitle, Ended("OK", 20000)}));
}

// ---- MIF files -----------------------------------------------------------------------------

TEST_F(NodeStoreTest, AMifPair) {
  const std::string mif =
      Pair("nodes", kHeader + Point("7.425153", "43.739716") + Point("-0.000001", "35.5"),
           "\"10000020000001\",7\r\n\"10000020000002\",8,,,,,,,,,,,,9,10\r\n");
  EXPECT_EQ(Run(Files(1, {mif})), 1);
  EXPECT_EQ(Store(), Concat({NodeBytes{10000020000001.0, 0, 7, 7425153, 43739716, {}},
                             NodeBytes{10000020000002.0, 0, 8, -1, 35500000, {}}}));
  EXPECT_EQ(log(), (Lines{kTitle, Ended("OK", 2)}));
  EXPECT_EQ(Output("linkdef.dat"),
            "[INFORMATION]\r\n"
            "Charset=Charset \"WindowsJapanese\"\r\n"
            "CoordSys=CoordSys Earth Projection 1, 104\r\n");
}

TEST_F(NodeStoreTest, AnyNumberButZeroMeansMif) {
  const std::string mif = Pair("nodes", kHeader + Point("1", "2"), "1\r\n");
  EXPECT_EQ(Run(Files(-1, {mif})), 1);
  EXPECT_EQ(Store(), std::string(NodeBytes{1, 0, 0, 1000000, 2000000, {}}));
}

TEST_F(NodeStoreTest, ObjectsInCapitalsWithOtherLinesBetween) {
  const std::string mif = Pair("nodes",
                               "VERSION 300\r\nDATA\r\n"
                               "POINT 1 2\r\n    SYMBOL (35,0,12)\r\n\r\n"
                               "point 3 4\r\n"
                               "Pline 2\r\n5 6\r\n7 8\r\n    Pen (1,2,0)\r\n"
                               "Point 9.5,10.25",
                               "1\r\n2\r\n3\r\n");
  EXPECT_EQ(Run(Files(1, {mif})), 1);
  EXPECT_EQ(Store(), Concat({NodeBytes{1, 0, 0, 1000000, 2000000, {}},
                             NodeBytes{2, 0, 0, 3000000, 4000000, {}},
                             NodeBytes{3, 0, 0, 9500000, 10250000, {}}}));
}

TEST_F(NodeStoreTest, TwoPairs) {
  const std::string a = Pair(
      "a", "Charset \"Neutral\"\r\nCoordSys Earth Projection 1, 97\r\nData\r\n" + Point("1", "2"),
      "1\r\n");
  const std::string b =
      Pair("b", "Charset \"WindowsJapanese\"\r\nData\r\n" + Point("3", "4"), "2\r\n");
  EXPECT_EQ(Run(Files(1, {a, b})), 1);
  EXPECT_EQ(Store(), Concat({NodeBytes{1, 0, 0, 1000000, 2000000, {}},
                             NodeBytes{2, 0, 0, 3000000, 4000000, {}}}));
  // The last file's lines win; what it lacks stays.
  EXPECT_EQ(Output("linkdef.dat"),
            "[INFORMATION]\r\n"
            "Charset=Charset \"WindowsJapanese\"\r\n"
            "CoordSys=CoordSys Earth Projection 1, 97\r\n");
}

TEST_F(NodeStoreTest, TheMidMayEndBeforeTheMif) {
  const std::string mif = Pair("nodes", kHeader + Point("1", "2") + Point("3", "4"), "1\r\n");
  EXPECT_EQ(Run(Files(1, {mif})), 1);
  EXPECT_EQ(Store(), std::string(NodeBytes{1, 0, 0, 1000000, 2000000, {}}));
  EXPECT_EQ(log(), (Lines{kTitle, Ended("OK", 1)}));
}

TEST_F(NodeStoreTest, TheMifMustNotEndBeforeTheMid) {
  const std::string mif = Pair("nodes", kHeader + Point("1", "2"), "1\r\n2\r\n");
  EXPECT_EQ(Run(Files(1, {mif})), 0);
  EXPECT_EQ(log(), (Lines{kTitle, NoPoint(folder_ / "nodes.mid", 2), Ended("ERROR", 1)}));
  EXPECT_EQ(Store(), std::string(NodeBytes{1, 0, 0, 1000000, 2000000, {}}));
}

TEST_F(NodeStoreTest, TheThirdObjectIsNone) {
  const std::string mif =
      Pair("nodes", kHeader + Point("1", "2") + Point("3", "4") + "NONE\r\n" + Point("5", "6"),
           "1\r\n2\r\n3\r\n4\r\n");
  EXPECT_EQ(Run(Files(1, {mif})), 0);
  EXPECT_EQ(log(), (Lines{kTitle, NoPoint(folder_ / "nodes.mid", 3), Ended("ERROR", 2)}));
  EXPECT_EQ(Store(), Concat({NodeBytes{1, 0, 0, 1000000, 2000000, {}},
                             NodeBytes{2, 0, 0, 3000000, 4000000, {}}}));
}

TEST_F(NodeStoreTest, RecordsOfTheSecondFileCountFromOne) {
  const std::string a = Pair("a", kHeader + Point("1", "2"), "1\r\n");
  const std::string b = Pair("b", kHeader + Point("3", "4") + "none\r\n", "2\r\n3\r\n");
  EXPECT_EQ(Run(Files(1, {a, b})), 0);
  EXPECT_EQ(log(), (Lines{kTitle, NoPoint(folder_ / "b.mid", 2), Ended("ERROR", 2)}));
}

TEST_F(NodeStoreTest, APointAtZeroIsNoPoint) {
  const std::string mif = Pair("nodes", kHeader + Point("0", "0"), "1\r\n");
  EXPECT_EQ(Run(Files(1, {mif})), 0);
  EXPECT_EQ(log(), (Lines{kTitle, NoPoint(folder_ / "nodes.mid", 1), Ended("ERROR", 0)}));
}

TEST_F(NodeStoreTest, OneCoordinateMayBeZero) {
  const std::string mif =
      Pair("nodes", kHeader + Point("0", "51.5") + Point("32.5", "0"), "1\r\n2\r\n");
  EXPECT_EQ(Run(Files(1, {mif})), 1);
  EXPECT_EQ(Store(),
            Concat({NodeBytes{1, 0, 0, 0, 51500000, {}}, NodeBytes{2, 0, 0, 32500000, 0, {}}}));
}

TEST_F(NodeStoreTest, AHeaderWithoutDataEndsTheStep) {
  const std::string a = Pair("a", "Version 300\r\nCharset \"Neutral\"\r\n", "1\r\n");
  const std::string b = Pair("b", kHeader + Point("1", "2"), "1\r\n");
  EXPECT_EQ(Run(Files(1, {a, b})), 0);
  EXPECT_EQ(
      log(),
      (Lines{kTitle,
             Report("Can't read the MIF file header : ", "File Error in BRN_SetMifInformation"),
             Ended("ERROR", 0)}));
}

TEST_F(NodeStoreTest, AMifWithLfOnlyHasNoHeader) {
  std::string header = "Version 300\nCharset \"Neutral\"\nDelimiter \",\"\nColumns 30\n";
  for (int i = 0; i < 30; ++i) header += "  COLUMN" + std::to_string(i) + " Char(20)\n";
  const std::string mif = Pair("nodes", header + "Data\n\nPoint 1 2\n", "1\n");
  EXPECT_EQ(Run(Files(1, {mif})), 0);
  EXPECT_EQ(
      log(),
      (Lines{kTitle,
             Report("Can't read the MIF file header : ", "File Error in BRN_SetMifInformation"),
             Ended("ERROR", 0)}));
}

TEST_F(NodeStoreTest, CoordinatesColumnsDoNotReplaceTheObject) {
  const std::string mif = Pair("nodes", kHeader + Point("1", "2"), "1,,,,,,,,,,,,,139.5,35.5\r\n");
  EXPECT_EQ(Run(Files(1, {mif})), 1);
  EXPECT_EQ(Store(), std::string(NodeBytes{1, 0, 0, 1000000, 2000000, {}}));
}

// ---- Nothing to read -----------------------------------------------------------------------

TEST_F(NodeStoreTest, WithoutANodeFileTheStepFails) {
  WriteBytes(folder_ / "nodestr.~wk", "old");
  EXPECT_EQ(Run(""), 0);
  EXPECT_EQ(log(), (Lines{kTitle, Ended("ERROR", 0)}));
  ClearLog();
  EXPECT_EQ(Run("[NODE]\r\nFILENUM=0\r\nFILE01=a.txt\r\n"), 0);
  EXPECT_EQ(log(), (Lines{kTitle, Ended("ERROR", 0)}));
  ClearLog();
  EXPECT_EQ(Run("[NODE]\r\nFILENUM=-1\r\n"), 0);
  EXPECT_EQ(log(), (Lines{kTitle, Ended("ERROR", 0)}));
  EXPECT_EQ(Store(), "old");
}

TEST_F(NodeStoreTest, AnInvalidCodeLengthFailsWithoutAMessage) {
  WriteBytes(folder_ / "nodestr.~wk", "old");
  const std::string path = Source("a.txt", "1\r\n");
  for (const int code_length : {16, 0, -14}) {
    CodeLength(code_length);
    ClearLog();
    EXPECT_EQ(Run(Files(0, {path})), 0);
    EXPECT_EQ(log(), (Lines{kTitle}));
  }
  EXPECT_EQ(Store(), "old");
}

TEST_F(NodeStoreTest, AMissingTextFile) {
  WriteBytes(folder_ / "nodestr.~wk", "old");
  const std::string path = folder_ / "missing.txt";
  EXPECT_EQ(Run(Files(0, {path})), 0);
  EXPECT_EQ(log(), (Lines{kTitle,
                          Report("Can't open the node MID (FILE01) [" + path + "] !", "File Error"),
                          Ended("ERROR", 0)}));
  EXPECT_FALSE(Exists(folder_ / "nodestr.~wk"));
}

TEST_F(NodeStoreTest, AMissingSecondFileKeepsTheFirstsRecords) {
  const std::string a = Source("a.txt", "1\r\n2\r\n");
  const std::string missing = folder_ / "missing.txt";
  const std::string c = Source("c.txt", "3\r\n");
  EXPECT_EQ(Run(Files(0, {a, missing, c})), 0);
  EXPECT_EQ(
      log(),
      (Lines{kTitle, Report("Can't open the node MID (FILE02) [" + missing + "] !", "File Error"),
             Ended("ERROR", 2)}));
  EXPECT_EQ(Store(), Concat({NodeBytes{1, 0, 0, 0, 0, {}}, NodeBytes{2, 0, 0, 0, 0, {}}}));
}

TEST_F(NodeStoreTest, AFileThatTheControlFileDoesNotName) {
  EXPECT_EQ(Run("[NODE]\r\nFILENUM=1\r\n"), 0);
  EXPECT_EQ(log(), (Lines{kTitle, Report("Can't open the node MID (FILE01) [] !", "File Error"),
                          Ended("ERROR", 0)}));
}

TEST_F(NodeStoreTest, AMissingMif) {
  const std::string path = folder_ / "missing.mif";
  Source("missing.mid", "1\r\n");
  EXPECT_EQ(Run(Files(1, {path})), 0);
  EXPECT_EQ(log(), (Lines{kTitle,
                          Report("Can't open the node MIF (FILE01) [" + path + "] !", "File Error"),
                          Ended("ERROR", 0)}));
}

TEST_F(NodeStoreTest, AMissingMid) {
  const std::string path = Source("nodes.mif", kHeader + Point("1", "2"));
  EXPECT_EQ(Run(Files(1, {path})), 0);
  EXPECT_EQ(log(),
            (Lines{kTitle,
                   Report("Can't open the node MID (FILE01) [" + (folder_ / "nodes.mid") + "] !",
                          "File Error"),
                   Ended("ERROR", 0)}));
  // The header was read before.
  EXPECT_TRUE(Exists(folder_ / "linkdef.dat"));
}

TEST_F(NodeStoreTest, AStoreThatCannotBeOpened) {
  test::MakeFolder(folder_ / "nodestr.~wk");
  const std::string path = Source("a.txt", "1\r\n");
  EXPECT_EQ(Run(Files(0, {path})), 0);
  EXPECT_EQ(log(),
            (Lines{kTitle,
                   Report("Can't open the NodeStorage (" + (folder_ / "nodestr.~wk") + ") at 01 !",
                          "File Error"),
                   Ended("ERROR", 0)}));
}

TEST_F(NodeStoreTest, SourcesThatSomebodyElseHasForHimself) {
  const std::string path = Source("a.txt", "1\r\n");
  const platform::File holder = Hold(path);
  EXPECT_EQ(Run(Files(0, {path})), 0);
  EXPECT_EQ(log(), (Lines{kTitle,
                          Report("Can't open the node MID (FILE01) [" + path + "] !", "File Error"),
                          Ended("ERROR", 0)}));
}

// ---- The user ------------------------------------------------------------------------------

TEST_F(NodeStoreTest, ACancelledRunDoesNotBegin) {
  WriteBytes(folder_ / "nodestr.~wk", "old");
  const std::string path = Source("a.txt", "1\r\n");
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(Run(Files(0, {path})), 0);
  EXPECT_EQ(log(), Lines{});
  EXPECT_EQ(Store(), "old");
}

TEST_F(NodeStoreTest, CancelIsHeardBeforeTheFirstRecord) {
  const std::string path = Source("a.txt", "1\r\n2\r\n");
  CancelAt(kTitle);
  EXPECT_EQ(Run(Files(0, {path})), 0);
  EXPECT_EQ(log(), (Lines{kTitle, Ended("ERROR", 0)}));
  EXPECT_EQ(Store(), "");
}

TEST_F(NodeStoreTest, CancelIsHeardBeforeARecordIsJudged) {
  // The first point is missing; the user has gone before that is looked at.
  const std::string path = Pair("a", std::string(kHeader) + "none\r\n", "1\r\n");
  CancelAt(kTitle);
  EXPECT_EQ(Run(Files(1, {path})), 0);
  EXPECT_EQ(log(), (Lines{kTitle, Ended("ERROR", 0)}));
  EXPECT_EQ(Store(), "");
}

TEST_F(NodeStoreTest, SilentModeDoesNotHearTheCancelFlag) {
  const std::string path = Source("a.txt", "1\r\n");
  FRD_SetCancelled(true);
  EXPECT_EQ(Run(Files(0, {path})), 1);
  EXPECT_EQ(log(), (Lines{kTitle, Ended("OK", 1)}));
}

#ifndef _WIN32
int SetNodeStore(WindowHandle, int64_t, const char* control_file) {
  return BRN_ZAT_SetNodeStore(nullptr, control_file);
}

TEST_F(NodeStoreTest, TheStatusLineCountsTheRecordsOfAFile) {
  std::string lines;
  for (int i = 1; i <= 10001; ++i) lines += std::to_string(i) + "\r\n";
  const std::string control =
      WriteControl(Files(0, {Source("a.txt", lines), Source("b.txt", "20000\r\n")}));
  g_silent = 0;
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(FRD_RunDialog(nullptr, SetNodeStore, 0, control.c_str()), 1);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "Initalizing...\n"
            "Setting Node Storage...\n"
            "Reading Node Record (0)...\n"
            "Reading Node Record (5000)...\n"
            "Reading Node Record (10000)...\n"
            "Reading Node Record (0)...\n");
  // What is only shown is not logged.
  EXPECT_EQ(log(), (Lines{kTitle, Ended("OK", 10002)}));
}

TEST_F(NodeStoreTest, ErrorsAreShownOutsideSilentMode) {
  const std::string control = WriteControl(Files(0, {folder_ / "missing.txt"}));
  g_silent = 0;
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(BRN_ZAT_SetNodeStore(nullptr, control.c_str()), 0);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "File Error: Can't open the node MID (FILE01) [" + (folder_ / "missing.txt") + "] !\n");
}
#endif

// ---- A platform that fails -----------------------------------------------------------------

class NodeStoreFaultTest : public NodeStoreTest {
 protected:
  NodeStoreFaultTest()
      : mif_(Pair("nodes", kHeader + Point("1", "2") + Point("3", "4") + Point("5", "6"),
                  "1\r\n2\r\n3\r\n")),
        expected_(Concat({NodeBytes{1, 0, 0, 1000000, 2000000, {}},
                          NodeBytes{2, 0, 0, 3000000, 4000000, {}},
                          NodeBytes{3, 0, 0, 5000000, 6000000, {}}})) {}

  std::set<std::string> Fail(platform::Operation operation,
                             platform::WriteFault fault = platform::WriteFault::kNothingWritten) {
    return FailEach(operation, {.run = [this] { return Run(Files(1, {mif_})); },
                                .check_good =
                                    [this] {
                                      EXPECT_EQ(Store(), expected_);
                                      EXPECT_EQ(log().back(), Ended("OK", 3));
                                    },
                                .write_fault = fault});
  }

  std::string mif_;
  std::string expected_;
};

TEST_F(NodeStoreFaultTest, EveryOpenMayFail) {
  EXPECT_EQ(Fail(platform::Operation::kOpen),
            (std::set<std::string>{
                Report("Can't open the node MIF (FILE01) [" + mif_ + "] !", "File Error"),
                Report("Can't open the node MID (FILE01) [" + (folder_ / "nodes.mid") + "] !",
                       "File Error"),
                Report("Can't open the NodeStorage (" + (folder_ / "nodestr.~wk") + ") at 01 !",
                       "File Error")}));
}

TEST_F(NodeStoreFaultTest, EveryReadMayFail) {
  const auto reports = Fail(platform::Operation::kRead);
  EXPECT_TRUE(Reported(reports, "Can't read the MIF file header : "));
  EXPECT_TRUE(Reported(reports, "Can't read the file (" + (folder_ / "nodes.mid") + ") !"));
}

TEST_F(NodeStoreFaultTest, EveryWriteMayFail) {
  const std::string head =
      "Can't write the NodeStorage (" + (folder_ / "nodestr.~wk") + ") at 01, ";
  auto reports = Fail(platform::Operation::kWrite);
  EXPECT_EQ(reports.size(), 1u);
  EXPECT_TRUE(Reported(reports, head + "0 !"));
  // 144 of 288 bytes are there: the second record is broken.
  reports = Fail(platform::Operation::kWrite, platform::WriteFault::kHalfWritten);
  EXPECT_EQ(reports.size(), 1u);
  EXPECT_TRUE(Reported(reports, head + "1 !"));
}

TEST_F(NodeStoreTest, AfterAFailedWriteOnlyWholeRecordsCount) {
  std::string lines;
  for (int i = 1; i <= 11000; ++i) lines += std::to_string(i) + "\r\n";
  const std::string control = Files(0, {Source("a.txt", lines)});
  const auto run = [&] { return Run(control); };
  // Blocks of 10922 and of 78 records of 96 bytes.
  using Fault = platform::WriteFault;
  const std::pair<Fault, std::vector<int>> cases[] = {{Fault::kNothingWritten, {0, 10922}},
                                                      {Fault::kHalfWritten, {5461, 10961}}};
  for (const auto& [fault, counts] : cases) {
    std::vector<Lines> expected;
    for (const int count : counts) {
      expected.push_back({kTitle,
                          Report("Can't write the NodeStorage (" + (folder_ / "nodestr.~wk") +
                                     ") at 01, " + std::to_string(count) + " !",
                                 "File Error"),
                          Ended("ERROR", count)});
    }
    EXPECT_EQ(LogsOfFailures(platform::Operation::kWrite, {.run = run, .write_fault = fault}),
              expected);
  }
}

TEST_F(NodeStoreFaultTest, EverySeekMayFail) {
  EXPECT_EQ(Fail(platform::Operation::kSeek),
            (std::set<std::string>{
                Report("Can't open the NodeStorage (" + (folder_ / "nodestr.~wk") + ") at 01 !",
                       "File Error")}));
}

TEST_F(NodeStoreFaultTest, EveryAllocationMayFail) { Fail(platform::Operation::kAllocate); }

// ---- Node coordinates ----------------------------------------------------------------------

class NodeXYTest : public test::ZatTest {
 protected:
  NodeXYTest() { WriteBytes(folder_ / "nodestr.~wk", Concat({first_, second_, third_})); }

  int Run(const std::string& text) {
    return BRN_ZAT_SetNodeXYData(nullptr, WriteControl(text).c_str());
  }

  std::string File(const std::string& content) {
    return "[NODEXY]\r\nFILENUM=1\r\nFILE01=" + Source("xy.txt", content) + "\r\n";
  }

  std::string Store() const { return Output("nodestr.~wk"); }

  // In the order of the source files, not of the codes.
  const std::string first_ = NodeBytes{30, 10, 3, 7, 0, {300, 301}};
  const std::string second_ = NodeBytes{10, 0, 1, 0, 0, {300}};
  const std::string third_ = NodeBytes{20, 0, 2, 0, 0, {301}};
};

TEST_F(NodeXYTest, SetsTheCoordinatesOfStoredNodes) {
  EXPECT_EQ(Run(File("10,139.5,35.5\r\n30,-1.5,-2.5\r\n")), 1);
  EXPECT_EQ(Store(), Concat({NodeBytes{30, 10, 3, -1500000, -2500000, {300, 301}},
                             NodeBytes{10, 0, 1, 139500000, 35500000, {300}}, third_}));
  EXPECT_EQ(log(), (Lines{kXYTitle, XYEnded("OK", 2)}));
}

TEST_F(NodeXYTest, UnknownCodesAndEmptyOnesAreSkipped) {
  EXPECT_EQ(Run(File("11,1,2\r\n0,3,4\r\n\r\n20,5,6")), 1);
  EXPECT_EQ(Store(), Concat({first_, second_, NodeBytes{20, 0, 2, 5000000, 6000000, {301}}}));
  EXPECT_EQ(log(), (Lines{kXYTitle, XYEnded("OK", 1)}));
}

TEST_F(NodeXYTest, TheLastOfTwoRowsForANodeStays) {
  EXPECT_EQ(Run(File("20,1,2\r\n20,3,4\r\n")), 1);
  EXPECT_EQ(Store(), Concat({first_, second_, NodeBytes{20, 0, 2, 3000000, 4000000, {301}}}));
  EXPECT_EQ(log(), (Lines{kXYTitle, XYEnded("OK", 2)}));
}

TEST_F(NodeXYTest, OnlyTheFirstFileIsRead) {
  const std::string a = Source("a.txt", "10,1,2\r\n");
  const std::string b = Source("b.txt", "20,3,4\r\n");
  EXPECT_EQ(Run("[NODEXY]\r\nFILENUM=2\r\nFILE01=" + a + "\r\nFILE02=" + b + "\r\n"), 1);
  EXPECT_EQ(Store(), Concat({first_, NodeBytes{10, 0, 1, 1000000, 2000000, {300}}, third_}));
  EXPECT_EQ(log(), (Lines{kXYTitle, XYEnded("OK", 1)}));
}

TEST_F(NodeXYTest, CodesOf18Digits) {
  CodeLength(18);
  const auto node = [](int64_t code, int64_t x, int64_t y) {
    return Bytes().I64(code).Zero(16).I32(x).I32(y).Zero(64).str();
  };
  WriteBytes(folder_ / "nodestr.~wk",
             node(100000000000000002, 0, 0) + node(100000000000000001, 0, 0));
  EXPECT_EQ(Run(File("100000000000000001,1,2\r\n")), 1);
  EXPECT_EQ(Store(), node(100000000000000002, 0, 0) + node(100000000000000001, 1000000, 2000000));
}

TEST_F(NodeXYTest, ManyNodes) {
  const auto node = [](int i, int64_t x) {
    return std::string(NodeBytes{static_cast<double>(i), 0, 0, x, 0, {}});
  };
  std::string store;
  std::string rows;
  std::string expected;
  for (int i = 2000; i > 0; --i) {
    store += node(i, 0);
    expected += node(i, i % 4 == 0 ? i * 1000000 : 0);
  }
  for (int i = 4; i <= 2000; i += 4) rows += std::to_string(i) + "," + std::to_string(i) + "\r\n";
  WriteBytes(folder_ / "nodestr.~wk", store);
  EXPECT_EQ(Run(File(rows)), 1);
  EXPECT_TRUE(Store() == expected);
  EXPECT_EQ(log(), (Lines{kXYTitle, XYEnded("OK", 500)}));
}

TEST_F(NodeXYTest, APartialRecordAtTheEndStays) {
  WriteBytes(folder_ / "nodestr.~wk", second_ + "rest");
  EXPECT_EQ(Run(File("10,1,2\r\n")), 1);
  EXPECT_EQ(Store(), std::string(NodeBytes{10, 0, 1, 1000000, 2000000, {300}}) + "rest");
}

TEST_F(NodeXYTest, WithMifNodesNothingIsDone) {
  const std::string before = Store();
  EXPECT_EQ(Run("[NODE]\r\nMIF=1\r\n" + File("10,1,2\r\n")), 1);
  EXPECT_EQ(Store(), before);
  EXPECT_EQ(log(), (Lines{kXYTitle}));
}

TEST_F(NodeXYTest, WithoutAFileNothingIsDone) {
  const std::string before = Store();
  EXPECT_EQ(Run(""), 1);
  EXPECT_EQ(Run("[NODEXY]\r\nFILENUM=-1\r\nFILE01=x\r\n"), 1);
  // A code length is not asked for before.
  CodeLength(16);
  EXPECT_EQ(Run("[NODEXY]\r\nFILENUM=0\r\nFILE01=x\r\n"), 1);
  EXPECT_EQ(Store(), before);
  EXPECT_EQ(log(), (Lines{kXYTitle, kXYTitle, kXYTitle}));
}

TEST_F(NodeXYTest, AnInvalidCodeLengthFailsWithoutAMessage) {
  CodeLength(16);
  const std::string before = Store();
  EXPECT_EQ(Run(File("10,1,2\r\n")), 0);
  EXPECT_EQ(Store(), before);
  EXPECT_EQ(log(), (Lines{kXYTitle}));
}

TEST_F(NodeXYTest, AMissingFile) {
  const std::string before = Store();
  const std::string path = folder_ / "missing.txt";
  EXPECT_EQ(Run("[NODEXY]\r\nFILENUM=3\r\nFILE01=" + path + "\r\n"), 0);
  EXPECT_TRUE(Reported(log(), "Can't open the Node XY data (FILE01) [" + path + "] !"));
  EXPECT_EQ(log().back(), XYEnded("ERROR", 0));
  EXPECT_EQ(log().size(), 3u);
  EXPECT_EQ(Store(), before);
}

TEST_F(NodeXYTest, AMissingStore) {
  platform::RemoveFile((folder_ / "nodestr.~wk").c_str());
  EXPECT_EQ(Run(File("10,1,2\r\n")), 0);
  ASSERT_GE(log().size(), 2u);
  EXPECT_EQ(log()[1], Report("Can't read the node store and the index !",
                             "File Error in BRN_ZAT_SetNodeXYData"));
}

TEST_F(NodeXYTest, AStoreThatSomebodyElseHasForHimself) {
  const platform::File holder = Hold(folder_ / "nodestr.~wk");
  EXPECT_EQ(Run(File("10,1,2\r\n")), 0);
  ASSERT_GE(log().size(), 2u);
  EXPECT_EQ(log()[1], Report("Can't read the node store and the index !",
                             "File Error in BRN_ZAT_SetNodeXYData"));
}

TEST_F(NodeXYTest, AStoreThatSomebodyElseReads) {
  const std::string before = Store();
  const std::string control = File("10,1,2\r\n");
  const platform::File holder = HoldForReading(folder_ / "nodestr.~wk");
  EXPECT_EQ(Run(control), 0);
  EXPECT_TRUE(Reported(log(), "Can't write the node store !"));
  EXPECT_EQ(Store(), before);
}

TEST_F(NodeXYTest, WithoutMemory) {
  const std::string control = File("10,1,2\r\n");
  EXPECT_EQ(RunWithFault({platform::Operation::kAllocate, 1, true}, [&] { return Run(control); }),
            0);
  ASSERT_GE(log().size(), 2u);
  EXPECT_EQ(log()[1], Report("Can't allocate the memory for the node store and the index !",
                             "Memory Error in BRN_ZAT_SetNodeXYData"));
  platform::ClearFaults();
  ClearLog();
  EXPECT_EQ(RunWithFault({platform::Operation::kAllocate, 2, true}, [&] { return Run(control); }),
            0);
  ASSERT_GE(log().size(), 2u);
  EXPECT_EQ(log()[1], Report("Can't allocate the memory for the node store and the index !",
                             "Memory Error in BRN_ZAT_SetNodeXYData"));
}

TEST_F(NodeXYTest, CancelAtTheStart) {
  const std::string before = Store();
  const std::string control = File("10,1,2\r\n");
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(Run(control), 0);
  EXPECT_EQ(log(), Lines{});
  EXPECT_EQ(Store(), before);
}

TEST_F(NodeXYTest, CancelIsHeardByTheSort) {
  const std::string before = Store();
  const std::string control = File("10,1,2\r\n");
  CancelAt(kXYTitle);
  EXPECT_EQ(Run(control), 0);
  EXPECT_EQ(Store(), before);
  for (const std::string& line : log()) EXPECT_NE(line[0], '[') << line;
}

TEST_F(NodeXYTest, EveryOperationMayFail) {
  const std::string before = Store();
  const std::string control = File("10,1,2\r\n");
  const auto run = [&] {
    WriteBytes(folder_ / "nodestr.~wk", before);
    return Run(control);
  };
  const std::string good = Concat({first_, NodeBytes{10, 0, 1, 1000000, 2000000, {300}}, third_});
  const auto check = [&] { EXPECT_EQ(Store(), good); };
  EXPECT_TRUE(Reported(FailEach(platform::Operation::kOpen, {.run = run, .check_good = check}),
                       "Can't write the node store !"));
  EXPECT_TRUE(Reported(FailEach(platform::Operation::kRead, {.run = run, .check_good = check}),
                       "Can't read the node store and the index !"));
  EXPECT_TRUE(Reported(FailEach(platform::Operation::kRead, {.run = run, .check_good = check}),
                       "Can't read the file (" + (folder_ / "xy.txt") + ") !"));
  EXPECT_TRUE(Reported(FailEach(platform::Operation::kAllocate, {.run = run, .check_good = check}),
                       "Can't allocate the memory for the node store and the index !"));
  // A write that is refused twice, and one that is broken off.
  EXPECT_TRUE(Reported(
      FailEach(platform::Operation::kWrite, {.run = run, .check_good = check, .sticky = true}),
      "Can't write the node store !"));
  EXPECT_TRUE(Reported(
      FailEach(
          platform::Operation::kWrite,
          {.run = run, .check_good = check, .write_fault = platform::WriteFault::kHalfWritten}),
      "Can't write the node store !"));
}

TEST_F(NodeXYTest, AWriteThatSucceedsAtTheSecondTryIsDoubled) {
  const std::string before = Store();
  const std::string good = Concat({first_, NodeBytes{10, 0, 1, 1000000, 2000000, {300}}, third_});
  const std::string control = File("10,1,2\r\n");
  bool doubled = false;
  FailEach(platform::Operation::kWrite, {.run =
                                             [&] {
                                               WriteBytes(folder_ / "nodestr.~wk", before);
                                               return Run(control);
                                             },
                                         .check_good =
                                             [&] {
                                               if (Store() == good + good) {
                                                 doubled = true;
                                               } else {
                                                 EXPECT_EQ(Store(), good);
                                               }
                                             }});
  EXPECT_TRUE(doubled);
}

}  // namespace
}  // namespace zatlib
