#include "input_msr/section_store.h"

#include <string>

#include "msr_test.h"

namespace zatlib {
namespace {

using test::Bytes;
using test::Concat;
using test::Cp932;
using test::Exists;
using test::Lines;
using test::LinkBytes;
using test::Report;
using test::Reported;
using test::SectionName;
using test::WriteBytes;

constexpr char kHeaderLine[] =
    "LINKCODE,ROADKIND,AREA,CITY,LENGTH,LEVEL,LANES,NODEA,NODEB,WIDTH,SPEEDA,SPEEDB,ROADFLAG\r\n";

class SectionStoreTest : public test::MsrTest {
 protected:
  int RunText(const std::string& text) {
    return BRN_MSR_SetLinkStore(nullptr, WriteControl(text).c_str());
  }
  int Run(const std::vector<std::string>& paths, const std::string& more = "") {
    return RunText(Files("DKUKAN", paths) + more);
  }

  std::string Store() const { return Output("linkstr.~wk"); }

  // The section `code` of area 3 as the tests write it, and its record.
  static std::string Line(int code) {
    return std::to_string(code) + ",2,3,12,300,4,5,6,7,8,60,50,9\r\n";
  }
  static std::string Section(int code) {
    return LinkBytes{
        3000000000000.0 + code, 3000000000006.0, 3000000000007.0, 3012, 60, 50, 300, 2, 4, 8, 5, 9};
  }
};

// ---- Sections ------------------------------------------------------------------------------

TEST_F(SectionStoreTest, TwoFiles) {
  const std::string a = Source("a.csv", Line(1) + Line(2));
  const std::string b = Source("b.csv", "3,1,99,0,10,0,0,1,2,0,30,30,0");
  EXPECT_EQ(Run({a, b}), 1);
  EXPECT_EQ(
      Store(),
      Concat({Section(1), Section(2),
              LinkBytes{99000000000003.0, 99000000000001.0, 99000000000002.0, 0, 30, 30, 10, 1}}));
  EXPECT_EQ(log(), Lines{});
}

TEST_F(SectionStoreTest, AHeaderLineIsAnEmptyRecord) {
  EXPECT_EQ(Run({Source("a.csv", kHeaderLine + Line(1))}), 1);
  EXPECT_EQ(Store(), std::string(48, '\0') + Section(1));
}

TEST_F(SectionStoreTest, DefaultSpeeds) {
  const std::string path =
      Source("a.csv", "1,0,0,0,0,0,0,0,0,0,0,0,0\r\n2,0,0,0,0,0,0,0,0,0,-5,70,0\r\n");
  LinkBytes first{1};
  LinkBytes second{2};
  second.speed_b = 70;
  EXPECT_EQ(Run({path}), 1);
  EXPECT_EQ(Store(), Concat({first, second}));
  first.speed_a = 40;
  first.speed_b = 30;
  EXPECT_EQ(Run({path}, "[DEFAULTSPEED]\r\nSPEEDA=40\r\nSPEEDB=30\r\n"), 1);
  EXPECT_EQ(Store(), Concat({first, second}));
}

TEST_F(SectionStoreTest, WithMifOutputTheMidIsRead) {
  Source("dkukan.mif", Line(8));
  Source("dkukan.mid", Line(1));
  EXPECT_EQ(Run({folder_ / "dkukan.mif"}, "MIFOUTPUT=1\r\n"), 1);
  EXPECT_EQ(Store(), Section(1));
  EXPECT_EQ(Run({folder_ / "dkukan.mif"}, "MIFOUTPUT=-1\r\n"), 1);
  EXPECT_EQ(Store(), Section(1));
  EXPECT_EQ(Run({folder_ / "dkukan.mif"}, "MIFOUTPUT=0\r\n"), 1);
  EXPECT_EQ(Store(), Section(8));
}

TEST_F(SectionStoreTest, WithMifOutputTheMifNeedNotBeThere) {
  Source("dkukan.mid", Line(1));
  EXPECT_EQ(Run({folder_ / "dkukan.mif"}, "MIFOUTPUT=1\r\n"), 1);
  EXPECT_EQ(Store(), Section(1));
}

TEST_F(SectionStoreTest, CodesOf18Digits) {
  CodeLength(18);
  EXPECT_EQ(Run({Source("a.csv", "5,0,3,0,0,0,0,6,0\r\n")}), 1);
  EXPECT_EQ(Store(), Bytes().I64(30000000000000005).I64(30000000000000006).Zero(32).str());
}

TEST_F(SectionStoreTest, AnOldStoreIsDeletedFirst) {
  WriteBytes(folder_ / "linkstr.~wk", std::string(480, 'x'));
  EXPECT_EQ(Run({Source("a.csv", Line(1))}), 1);
  EXPECT_EQ(Store(), Section(1));
}

TEST_F(SectionStoreTest, AnEmptyFileHoldsNoSection) {
  EXPECT_EQ(Run({Source("a.csv", ""), Source("b.csv", Line(1))}), 1);
  EXPECT_EQ(Store(), Section(1));
  EXPECT_EQ(Run({Source("a.csv", "")}), 1);
  EXPECT_TRUE(Exists(folder_ / "linkstr.~wk"));
  EXPECT_EQ(Store(), "");
}

TEST_F(SectionStoreTest, ALineThatDoesNotFitEndsItsFile) {
  EXPECT_EQ(Run({Source("a.csv", Line(1) + std::string(2048, ',') + "\r\n" + Line(2)),
                 Source("b.csv", Line(3))}),
            1);
  EXPECT_EQ(Store(), Section(1) + Section(3));
}

TEST_F(SectionStoreTest, ManySections) {
  std::string lines;
  std::string expected;
  for (int i = 1; i <= 12000; ++i) {
    lines += Line(i);
    expected += Section(i);
  }
  EXPECT_EQ(Run({Source("a.csv", lines)}), 1);
  EXPECT_TRUE(Store() == expected);
}

// ---- Nothing to read -----------------------------------------------------------------------

TEST_F(SectionStoreTest, WithoutAFileTheStepFailsWithoutAMessage) {
  WriteBytes(folder_ / "linkstr.~wk", "old");
  EXPECT_EQ(RunText(""), 0);
  EXPECT_EQ(RunText("[DKUKAN]\r\nFILENUM=0\r\nFILE01=a.csv\r\n"), 0);
  EXPECT_EQ(RunText("[DKUKAN]\r\nFILENUM=-1\r\nFILE01=a.csv\r\n"), 0);
  EXPECT_EQ(log(), Lines{});
  EXPECT_EQ(Store(), "old");
}

TEST_F(SectionStoreTest, AnInvalidCodeLengthFailsWithoutAMessage) {
  WriteBytes(folder_ / "linkstr.~wk", "old");
  const std::string path = Source("a.csv", Line(1));
  for (const int code_length : {16, 0, -14}) {
    CodeLength(code_length);
    EXPECT_EQ(Run({path}), 0);
  }
  EXPECT_EQ(log(), Lines{});
  EXPECT_EQ(Store(), "old");
}

TEST_F(SectionStoreTest, AMissingSecondFileKeepsTheFirstsRecords) {
  const std::string missing = folder_ / "missing.csv";
  EXPECT_EQ(Run({Source("a.csv", Line(1)), missing, Source("c.csv", Line(3))}), 0);
  EXPECT_EQ(log(),
            Lines{Report("Can't open the DKUKAN.CSV(FILE02) [" + missing + "] !", "File Error")});
  EXPECT_EQ(Store(), Section(1));
}

TEST_F(SectionStoreTest, AMissingMid) {
  Source("dkukan.mif", Line(1));
  EXPECT_EQ(Run({folder_ / "dkukan.mif"}, "MIFOUTPUT=1\r\n"), 0);
  EXPECT_EQ(log(),
            Lines{Report("Can't open the DKUKAN.CSV(FILE01) [" + (folder_ / "dkukan.mid") + "] !",
                         "File Error")});
}

TEST_F(SectionStoreTest, AStoreThatCannotBeOpened) {
  test::MakeFolder(folder_ / "linkstr.~wk");
  EXPECT_EQ(Run({Source("a.csv", Line(1))}), 0);
  EXPECT_EQ(log(),
            Lines{Report("Can't open the LinkStorage (" + (folder_ / "linkstr.~wk") + ") at 01 !",
                         "File Error")});
}

// ---- The user ------------------------------------------------------------------------------

TEST_F(SectionStoreTest, CancelIsHeardBeforeTheFirstRecord) {
  const std::string path = Source("a.csv", Line(1));
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(Run({path}), 0);
  EXPECT_EQ(log(), Lines{});
  EXPECT_EQ(Store(), "");
}

TEST_F(SectionStoreTest, SilentModeDoesNotHearTheCancelFlag) {
  FRD_SetCancelled(true);
  EXPECT_EQ(Run({Source("a.csv", Line(1))}), 1);
  EXPECT_EQ(Store(), Section(1));
}

#ifndef _WIN32
int SetLinkStore(WindowHandle, int64_t, const char* control_file) {
  return BRN_MSR_SetLinkStore(nullptr, control_file);
}

TEST_F(SectionStoreTest, TheStatusLineCountsTheRecordsOfAFile) {
  std::string lines;
  for (int i = 1; i <= 10001; ++i) lines += Line(i);
  const std::string control = WriteControl(
      Files("DKUKAN", {Source("a.csv", lines), Source("b.csv", ""), Source("c.csv", Line(1))}));
  g_silent = 0;
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(FRD_RunDialog(nullptr, SetLinkStore, 0, control.c_str()), 1);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "Initalizing...\n"
            "Reading Dkukan Records (0)...\n"
            "Reading Dkukan Records (5000)...\n"
            "Reading Dkukan Records (10000)...\n"
            "Reading Dkukan Records (0)...\n");
  EXPECT_EQ(log(), Lines{});
}
#endif

// ---- A platform that fails -----------------------------------------------------------------

class SectionStoreFaultTest : public SectionStoreTest {
 protected:
  std::set<std::string> Fail(platform::Operation operation,
                             platform::WriteFault fault = platform::WriteFault::kNothingWritten) {
    return FailEach(operation,
                    {.run = [this] { return Run({path_}); },
                     .check_good = [this] { EXPECT_EQ(Store(), Section(1) + Section(2)); },
                     .write_fault = fault});
  }

  const std::string path_ = Source("a.csv", Line(1) + Line(2));
  const std::string store_ = folder_ / "linkstr.~wk";
};

TEST_F(SectionStoreFaultTest, EveryOpenMayFail) {
  EXPECT_EQ(Fail(platform::Operation::kOpen),
            (std::set<std::string>{
                Report("Can't open the DKUKAN.CSV(FILE01) [" + path_ + "] !", "File Error"),
                Report("Can't open the LinkStorage (" + store_ + ") at 01 !", "File Error")}));
}

TEST_F(SectionStoreFaultTest, EveryReadMayFail) {
  EXPECT_TRUE(Reported(Fail(platform::Operation::kRead), "Can't read the file (" + path_ + ") !"));
}

TEST_F(SectionStoreFaultTest, EveryWriteMayFail) {
  const std::string head = "Can't write the LinkStorage (" + store_ + ") at 01, ";
  EXPECT_EQ(Fail(platform::Operation::kWrite),
            std::set<std::string>{Report(head + "0 !", "File Error")});
  // 48 of 96 bytes are there: the second record is missing.
  EXPECT_EQ(Fail(platform::Operation::kWrite, platform::WriteFault::kHalfWritten),
            std::set<std::string>{Report(head + "1 !", "File Error")});
}

TEST_F(SectionStoreFaultTest, EverySeekMayFail) {
  EXPECT_EQ(Fail(platform::Operation::kSeek),
            std::set<std::string>{
                Report("Can't open the LinkStorage (" + store_ + ") at 01 !", "File Error")});
}

// ---- Names ---------------------------------------------------------------------------------

class SectionNameStoreTest : public test::MsrTest {
 protected:
  int Run(const std::vector<std::string>& paths) {
    return BRN_MSR_SetLinkNameStore(nullptr, WriteControl(Files("KUKANZ", paths)).c_str());
  }

  std::string Store() const { return Output("lnamestr.~wk"); }
  const std::string store_ = folder_ / "lnamestr.~wk";
  static constexpr char kTitle[] = "File Error in BRN_MSR_SetLinkNameStore";
};

TEST_F(SectionNameStoreTest, TheNamesOfTwoFiles) {
  const std::string a =
      Source("a.csv", "AREA,LINKCODE,KIND,\"\",LEVEL\r\n3,1,2,\"" + Cp932("環状八号線") +
                          "\",3\r\n3,2,1,\"\",3\r\n3,3\r\n3,1,1,Ring Road,4\r\n");
  const std::string b = Source("b.csv", "99,7,5,East,65535");
  EXPECT_EQ(Run({a, b}), 1);
  EXPECT_EQ(Store(), Concat({SectionName(3000000000001.0, Cp932("環状八号線"), 2, 3),
                             SectionName(3000000000001.0, "Ring Road", 1, 4),
                             SectionName(99000000000007.0, "East", 5, 65535)}));
  EXPECT_EQ(log(), Lines{});
}

TEST_F(SectionNameStoreTest, CodesOf18Digits) {
  CodeLength(18);
  EXPECT_EQ(Run({Source("a.csv", "3,5,1,N,2\r\n3,0,1,N,2\r\n")}), 1);
  const auto name = [](int64_t code) {
    return Bytes().I64(code).Text("N", 20).Zero(2).I8(1).Zero(1).I16(2).Zero(6).str();
  };
  EXPECT_EQ(Store(), name(30000000000000005) + name(30000000000000000));
}

TEST_F(SectionNameStoreTest, WithoutAFileTheStoreIsThereAndEmpty) {
  WriteBytes(store_, std::string(400, 'x'));
  EXPECT_EQ(Run({}), 1);
  EXPECT_TRUE(Exists(store_));
  EXPECT_EQ(Store(), "");
}

TEST_F(SectionNameStoreTest, AMissingFile) {
  const std::string missing = folder_ / "missing.csv";
  EXPECT_EQ(Run({Source("a.csv", "3,1,1,N\r\n"), missing, Source("c.csv", "3,2,1,N\r\n")}), 0);
  EXPECT_EQ(log(), Lines{Report("Can't open the Kukanz FILE02=" + missing, kTitle)});
  EXPECT_EQ(Store(), SectionName(3000000000001.0, "N", 1, 0));
}

TEST_F(SectionNameStoreTest, AStoreThatCannotBeOpened) {
  test::MakeFolder(store_);
  EXPECT_EQ(Run({Source("a.csv", "3,1,1,N\r\n")}), 0);
  EXPECT_EQ(log(), Lines{Report("Can't open the Link Name Storage (" + store_ + ")", kTitle)});
}

TEST_F(SectionNameStoreTest, ACancelledRunDoesNotBegin) {
  WriteBytes(store_, "old");
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(Run({Source("a.csv", "3,1,1,N\r\n")}), 0);
  EXPECT_EQ(Store(), "old");
  EXPECT_EQ(log(), Lines{});
}

#ifndef _WIN32
int SetLinkNameStore(WindowHandle, int64_t, const char* control_file) {
  return BRN_MSR_SetLinkNameStore(nullptr, control_file);
}

TEST_F(SectionNameStoreTest, TheTitleIsShownAndNotLogged) {
  const std::string control = WriteControl(Files("KUKANZ", {Source("a.csv", "3,1,1,N\r\n")}));
  g_silent = 0;
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(FRD_RunDialog(nullptr, SetLinkNameStore, 0, control.c_str()), 1);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "Initalizing...\n"
            "Setting Link Name Storage...\n");
  EXPECT_EQ(log(), Lines{});
}
#endif

TEST_F(SectionNameStoreTest, EveryOperationMayFail) {
  const std::string path = Source("a.csv", "3,1,1,N\r\n");
  const auto fail = [&](platform::Operation operation) {
    return FailEach(
        operation,
        {.run = [&] { return Run({path}); },
         .check_good = [this] { EXPECT_EQ(Store(), SectionName(3000000000001.0, "N", 1, 0)); }});
  };
  EXPECT_EQ(
      fail(platform::Operation::kOpen),
      (std::set<std::string>{Report("Can't open the Link Name Storage (" + store_ + ")", kTitle),
                             Report("Can't open the Kukanz FILE01=" + path, kTitle)}));
  EXPECT_EQ(fail(platform::Operation::kRead),
            std::set<std::string>{Report("Can't read the file (" + path + ") !", kTitle)});
  EXPECT_EQ(fail(platform::Operation::kWrite),
            std::set<std::string>{
                Report("Can't save the link name storage (" + store_ + ") at FILE01", kTitle)});
}

}  // namespace
}  // namespace zatlib
