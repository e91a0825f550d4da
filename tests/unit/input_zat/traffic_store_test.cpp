#include "input_zat/traffic_store.h"

#include <string>

#include "zat_test.h"

namespace zatlib {
namespace {

using test::Bytes;
using test::Exists;
using test::Lines;
using test::Report;
using test::Reported;
using test::WriteBytes;

// What distinguishes the two steps.
struct Step {
  const char* label;
  int (*run)(WindowHandle owner, const char* control_file);
  const char* name;
  const char* title;
  const char* section;
  const char* store;
  const char* open_error;   // in front of the path
  const char* status;       // in front of the number
  const char* write_error;  // in front of the path
  const char* end;
};

constexpr Step kSteps[] = {
    {"Node", BRN_ZAT_SetNodeTrfData, "BRN_ZAT_SetNodeTrfData", "Setting Node Traffic Rules...",
     "NODETRF", "trafrule.~wk", "Can't open NodeTrf(", "Reading NodeTrf Record (",
     "Can't write the RuleStorage (", "Setting Node Traffic Rules end "},
    {"Link", BRN_ZAT_SetLinkTrfData, "BRN_ZAT_SetLinkTrfData", "Setting Link Traffic Rules...",
     "LINKTRF", "onewayst.~wk", "Can't open LinkTrf(", "Reading LinkTrf Record (",
     "Can't write the OneWayStorage (", "Setting Link Traffic Rules end "},
};

void PrintTo(const Step& step, std::ostream* out) { *out << step.label; }

class TrafficStoreTest : public test::ZatTest, public ::testing::WithParamInterface<Step> {
 protected:
  int Run(const std::string& text) { return GetParam().run(nullptr, WriteControl(text).c_str()); }

  static std::string Files(const std::vector<std::string>& paths) {
    return ZatTest::Files(GetParam().section, paths);
  }

  // A record of either store: three codes, column 4 and, in the one-way store, column 5.
  static std::string Rule(double a, double b, double c, int fourth, int fifth) {
    return Bytes().F64(a).F64(b).F64(c).str() + Flags(fourth, fifth);
  }
  static std::string Flags(int fourth, int fifth) {
    return GetParam().run == BRN_ZAT_SetNodeTrfData ? Bytes().I16(0).I16(fourth).Zero(4).str()
                                                    : Bytes().I16(fourth).I16(fifth).Zero(4).str();
  }

  static std::string Ended(const char* result, int count) {
    return GetParam().end + std::string(result) + " : set count = " + std::to_string(count);
  }

  std::string StorePath() const { return folder_ / GetParam().store; }
  std::string Store() const { return Output(GetParam().store); }
};

INSTANTIATE_TEST_SUITE_P(Steps, TrafficStoreTest, ::testing::ValuesIn(kSteps),
                         [](const auto& tested) { return tested.param.label; });

TEST_P(TrafficStoreTest, RecordsAreStoredAsTheyAreRead) {
  const std::string path = Source("rules.txt",
                                  "10000020000001,11,12,2,3\r\n"
                                  "0,0,0,0,0\r\n"
                                  "1,2,3\r\n"
                                  "4,5,6,9,-1\r\n"
                                  "\r\n"
                                  "\"7\"\t\"8\",\"9\",\"2\",\"1\"");
  EXPECT_EQ(Run(Files({path})), 1);
  EXPECT_EQ(Store(), Rule(10000020000001.0, 11, 12, 2, 3) + Rule(0, 0, 0, 0, 0) +
                         Rule(1, 2, 3, 0, 0) + Rule(4, 5, 6, 9, -1) + Rule(0, 0, 0, 0, 0) +
                         Rule(7, 8, 9, 2, 1));
  EXPECT_EQ(log(), (Lines{GetParam().title, Ended("OK", 6)}));
}

TEST_P(TrafficStoreTest, TwoFiles) {
  const std::string a = Source("a.txt", "1001,11,12,2,0\r\n");
  const std::string b = Source("b.txt", "1002,12,13,0,2\r\n");
  EXPECT_EQ(Run(Files({a, b})), 1);
  EXPECT_EQ(Store(), Rule(1001, 11, 12, 2, 0) + Rule(1002, 12, 13, 0, 2));
  EXPECT_EQ(log(), (Lines{GetParam().title, Ended("OK", 2)}));
}

TEST_P(TrafficStoreTest, CodesOf18Digits) {
  CodeLength(18);
  const std::string path =
      Source("a.txt", "100000000000000001,100000000000000002,100000000000000003,2,1\r\n");
  EXPECT_EQ(Run(Files({path})), 1);
  EXPECT_EQ(Store(),
            Bytes().I64(100000000000000001).I64(100000000000000002).I64(100000000000000003).str() +
                Flags(2, 1));
}

TEST_P(TrafficStoreTest, WithoutFilesNoStoreIsMade) {
  EXPECT_EQ(Run(""), 1);
  EXPECT_EQ(Run("[" + std::string(GetParam().section) + "]\r\nFILENUM=-1\r\nFILE01=x\r\n"), 1);
  EXPECT_EQ(log(), (Lines{GetParam().title, GetParam().title}));
  EXPECT_FALSE(Exists(StorePath()));
}

TEST_P(TrafficStoreTest, AnOldStoreIsReplaced) {
  WriteBytes(StorePath(), std::string(320, 'x'));
  EXPECT_EQ(Run(Files({Source("a.txt", "1,2,3,2,2\r\n")})), 1);
  EXPECT_EQ(Store(), Rule(1, 2, 3, 2, 2));
}

TEST_P(TrafficStoreTest, AnEmptyFileMakesAnEmptyStore) {
  EXPECT_EQ(Run(Files({Source("a.txt", "")})), 1);
  EXPECT_TRUE(Exists(StorePath()));
  EXPECT_EQ(Store(), "");
  EXPECT_EQ(log(), (Lines{GetParam().title, Ended("OK", 0)}));
}

TEST_P(TrafficStoreTest, ALineThatDoesNotFitEndsItsFile) {
  const std::string a = Source("a.txt", "1,2,3,2,2\r\n" + std::string(2048, ',') + "\r\n4\r\n");
  const std::string b = Source("b.txt", "5,6,7,2,2\r\n");
  EXPECT_EQ(Run(Files({a, b})), 1);
  EXPECT_EQ(Store(), Rule(1, 2, 3, 2, 2) + Rule(5, 6, 7, 2, 2));
}

TEST_P(TrafficStoreTest, AnInvalidCodeLengthIsReported) {
  CodeLength(16);
  EXPECT_EQ(Run(Files({Source("a.txt", "1,2,3,2,2\r\n")})), 0);
  EXPECT_EQ(Run(""), 0);  // it is tested before the number of files
  const std::string report =
      Report("The CodeLength = 16 is invalid !", "Logic Error in " + std::string(GetParam().name));
  EXPECT_EQ(log(), (Lines{GetParam().title, report, GetParam().title, report}));
  EXPECT_FALSE(Exists(StorePath()));
}

TEST_P(TrafficStoreTest, AMissingFile) {
  const std::string path = folder_ / "missing.txt";
  EXPECT_EQ(Run(Files({path})), 0);
  EXPECT_EQ(log(), (Lines{GetParam().title,
                          Report(GetParam().open_error + path + ") !",
                                 "File Error in " + std::string(GetParam().name)),
                          Ended("ERROR", 0)}));
}

TEST_P(TrafficStoreTest, AMissingSecondFile) {
  const std::string path = folder_ / "missing.txt";
  EXPECT_EQ(Run(Files({Source("a.txt", "1,2,3,2,2\r\n"), path, Source("c.txt", "4\r\n")})), 0);
  EXPECT_EQ(log(), (Lines{GetParam().title,
                          Report(GetParam().open_error + path + ") !",
                                 "File Error in " + std::string(GetParam().name)),
                          Ended("ERROR", 1)}));
  EXPECT_EQ(Store(), Rule(1, 2, 3, 2, 2));
}

TEST_P(TrafficStoreTest, AStoreThatSomebodyElseHasForHimself) {
  WriteBytes(StorePath(), "old");
  {
    const platform::File holder = Hold(StorePath());
    EXPECT_EQ(Run(Files({Source("a.txt", "1,2,3,2,2\r\n")})), 0);
  }
  // Both steps call their store so.
  EXPECT_EQ(log(),
            (Lines{GetParam().title, Report("Can't open the rule storage " + StorePath() + " !",
                                            "File Error in " + std::string(GetParam().name))}));
  EXPECT_EQ(Store(), "old");
}

TEST_P(TrafficStoreTest, ACancelledRunDoesNotBegin) {
  const std::string control = Files({Source("a.txt", "1,2,3,2,2\r\n")});
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(Run(control), 0);
  EXPECT_EQ(log(), Lines{});
  EXPECT_FALSE(Exists(StorePath()));
}

TEST_P(TrafficStoreTest, CancelIsHeardBeforeTheFirstRecord) {
  const std::string control = Files({Source("a.txt", "1,2,3,2,2\r\n")});
  CancelAt(GetParam().title);
  EXPECT_EQ(Run(control), 0);
  EXPECT_EQ(log(), (Lines{GetParam().title, Ended("ERROR", 0)}));
  EXPECT_EQ(Store(), "");
}

#ifndef _WIN32
int RunStep(WindowHandle, int64_t number, const char* control_file) {
  return kSteps[number].run(nullptr, control_file);
}

TEST_P(TrafficStoreTest, TheStatusLineCountsTheRecords) {
  std::string lines;
  for (int i = 0; i <= 20000; ++i) lines += "1,2,3,2,2\r\n";
  const std::string control = WriteControl(Files({Source("a.txt", lines)}));
  g_silent = 0;
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(
      FRD_RunDialog(nullptr, RunStep, GetParam().run == kSteps[0].run ? 0 : 1, control.c_str()), 1);
  const std::string status = GetParam().status;
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "Initalizing...\n" + std::string(GetParam().title) + "\n" + status + "0)...\n" +
                status + "10000)...\n" + status + "20000)...\n");
  EXPECT_EQ(log(), (Lines{GetParam().title, Ended("OK", 20001)}));
}
#endif

TEST_P(TrafficStoreTest, AfterAFailedWriteOnlyWholeRecordsCount) {
  const std::string path = Source("a.txt", "1,2,3,2,2\r\n4,5,6,2,2\r\n");
  const auto logs = LogsOfFailures(platform::Operation::kWrite,
                                   {.run = [&] { return Run(Files({path})); },
                                    .write_fault = platform::WriteFault::kHalfWritten});
  ASSERT_EQ(logs.size(), 1u);
  EXPECT_EQ(logs[0].back(), Ended("ERROR", 1));
}

TEST_P(TrafficStoreTest, EveryOperationMayFail) {
  const std::string path = Source("a.txt", "1,2,3,2,2\r\n4,5,6,2,2\r\n");
  const auto run = [&] { return Run(Files({path})); };
  const auto check = [&] {
    EXPECT_EQ(Store(), Rule(1, 2, 3, 2, 2) + Rule(4, 5, 6, 2, 2));
    EXPECT_EQ(log(), (Lines{GetParam().title, Ended("OK", 2)}));
  };
  const std::string title = "File Error in " + std::string(GetParam().name);
  auto reports = FailEach(platform::Operation::kOpen, {.run = run, .check_good = check});
  EXPECT_EQ(reports.size(), 2u);
  EXPECT_EQ(reports.count(Report(GetParam().open_error + path + ") !", title)), 1u);
  reports = FailEach(platform::Operation::kRead, {.run = run, .check_good = check});
  EXPECT_EQ(reports.size(), 1u);
  EXPECT_TRUE(Reported(reports, "Can't read the file (" + path + ") !"));
  reports = FailEach(platform::Operation::kWrite, {.run = run, .check_good = check});
  EXPECT_EQ(reports.size(), 1u);
  EXPECT_TRUE(Reported(reports, GetParam().write_error + StorePath() + ") at rec=0 !"));
  // One of the two records is there.
  reports = FailEach(
      platform::Operation::kWrite,
      {.run = run, .check_good = check, .write_fault = platform::WriteFault::kHalfWritten});
  EXPECT_EQ(reports.size(), 1u);
  EXPECT_TRUE(Reported(reports, GetParam().write_error + StorePath() + ") at rec=1 !"));
  FailEach(platform::Operation::kAllocate, {.run = run, .check_good = check});
}

}  // namespace
}  // namespace zatlib
