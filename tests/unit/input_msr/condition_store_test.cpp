#include "input_msr/condition_store.h"

#include <string>

#include "msr_test.h"

namespace zatlib {
namespace {

using test::Bytes;
using test::Exists;
using test::Lines;
using test::Report;
using test::Reported;
using test::RuleRecord;
using test::WriteBytes;

constexpr char kTitle[] = "File Error in BRN_MSR_SetTukoujData";

class ConditionStoreTest : public test::MsrTest {
 protected:
  int RunText(const std::string& text) {
    return BRN_MSR_SetTukoujData(nullptr, WriteControl(text).c_str());
  }
  int Run(const std::vector<std::string>& paths) { return RunText(Files("TUKOUJ", paths)); }

  std::string Store() const { return Output("trafrule.~wk"); }
  const std::string store_ = folder_ / "trafrule.~wk";

  // The condition at `node` of area 3 as the tests write it, and its record.
  static std::string Line(int node) { return "3," + std::to_string(node) + ",6,7,2\r\n"; }
  static std::string Rule(int node) {
    return RuleRecord(3000000000000.0 + node, 3000000000006.0, 3000000000007.0, 2);
  }
};

TEST_F(ConditionStoreTest, TwoFiles) {
  EXPECT_EQ(Run({Source("a.csv", Line(1) + Line(2)), Source("b.csv", "99,5,6,7,1,more")}), 1);
  EXPECT_EQ(Store(), Rule(1) + Rule(2) +
                         RuleRecord(99000000000005.0, 99000000000006.0, 99000000000007.0, 1));
  EXPECT_EQ(log(), Lines{});
}

TEST_F(ConditionStoreTest, CodesOf18Digits) {
  CodeLength(18);
  EXPECT_EQ(Run({Source("a.csv", "3,5,6,7,2\r\n")}), 1);
  EXPECT_EQ(Store(), Bytes()
                         .I64(30000000000000005)
                         .I64(30000000000000006)
                         .I64(30000000000000007)
                         .I16(0)
                         .I16(2)
                         .I32(0)
                         .str());
}

TEST_F(ConditionStoreTest, AFileEndsAtItsFirstLineThatIsNoCondition) {
  const std::string b = Source("b.csv", Line(9));
  for (const char* line : {"", "0,5,6,7,2", "3,0,6,7,2", "3,5,,7,2", "3,5,6", "# note"}) {
    const std::string a = Source("a.csv", Line(1) + line + "\r\n" + Line(2));
    EXPECT_EQ(Run({a, b}), 1);
    EXPECT_EQ(Store(), Rule(1) + Rule(9)) << line;
  }
  EXPECT_EQ(log(), Lines{});
}

TEST_F(ConditionStoreTest, AHeaderLineEndsItsFileAtOnce) {
  EXPECT_EQ(Run({Source("a.csv", "AREA,NODE,IN,OUT,KIND\r\n" + Line(1))}), 1);
  EXPECT_TRUE(Exists(store_));
  EXPECT_EQ(Store(), "");
}

TEST_F(ConditionStoreTest, ALineThatDoesNotFitEndsItsFile) {
  EXPECT_EQ(Run({Source("a.csv", Line(1) + "3,5,6,7,2" + std::string(503, ',') + "\r\n" + Line(2)),
                 Source("b.csv", Line(3))}),
            1);
  EXPECT_EQ(Store(), Rule(1) + Rule(3));
}

TEST_F(ConditionStoreTest, AnEmptyFileHoldsNoCondition) {
  EXPECT_EQ(Run({Source("a.csv", ""), Source("b.csv", Line(1))}), 1);
  EXPECT_EQ(Store(), Rule(1));
}

TEST_F(ConditionStoreTest, AnOldStoreIsReplaced) {
  WriteBytes(store_, std::string(320, 'x'));
  EXPECT_EQ(Run({Source("a.csv", Line(1))}), 1);
  EXPECT_EQ(Store(), Rule(1));
}

TEST_F(ConditionStoreTest, WithoutAFileTheOldStoreIsDeleted) {
  for (const char* text :
       {"", "[TUKOUJ]\r\nFILENUM=0\r\nFILE01=a.csv\r\n", "[TUKOUJ]\r\nFILENUM=-1\r\n"}) {
    WriteBytes(store_, "old");
    EXPECT_EQ(RunText(text), 1);
    EXPECT_FALSE(Exists(store_));
  }
  EXPECT_EQ(log(), Lines{});
}

TEST_F(ConditionStoreTest, AnInvalidCodeLength) {
  WriteBytes(store_, "old");
  CodeLength(16);
  EXPECT_EQ(Run({Source("a.csv", Line(1))}), 0);
  EXPECT_EQ(log(), Lines{Report("The CodeLength = 16 is invalid !",
                                "Logic Error in BRN_MSR_SetTukoujData")});
  EXPECT_EQ(Store(), "old");
}

TEST_F(ConditionStoreTest, AMissingFileSkipsTheLaterOnes) {
  const std::string missing = folder_ / "missing.csv";
  EXPECT_EQ(Run({Source("a.csv", Line(1)), missing, Source("c.csv", Line(3))}), 0);
  EXPECT_EQ(log(), Lines{Report("Can't open TUKOUJ(" + missing + ") !", kTitle)});
  EXPECT_EQ(Store(), Rule(1));
}

TEST_F(ConditionStoreTest, AStoreThatCannotBeCreated) {
  test::MakeFolder(store_);
  EXPECT_EQ(Run({Source("a.csv", Line(1))}), 0);
  EXPECT_EQ(log(), Lines{Report("Can't open the rule storage " + store_ + " !", kTitle)});
}

TEST_F(ConditionStoreTest, CancelIsHeardBeforeTheFirstRecord) {
  const std::string path = Source("a.csv", Line(1));
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(Run({path}), 0);
  EXPECT_EQ(log(), Lines{});
  EXPECT_EQ(Store(), "");
}

#ifndef _WIN32
int SetTukoujData(WindowHandle, int64_t, const char* control_file) {
  return BRN_MSR_SetTukoujData(nullptr, control_file);
}

TEST_F(ConditionStoreTest, TheStatusLineCountsTheRecordsOfAFile) {
  std::string lines;
  for (int i = 1; i <= 10001; ++i) lines += Line(i);
  const std::string control = WriteControl(
      Files("TUKOUJ", {Source("a.csv", lines), Source("b.csv", ""), Source("c.csv", Line(1))}));
  g_silent = 0;
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(FRD_RunDialog(nullptr, SetTukoujData, 0, control.c_str()), 1);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "Initalizing...\n"
            "Reading Tukouj Record (0)...\n"
            "Reading Tukouj Record (10000)...\n"
            "Reading Tukouj Record (0)...\n");
  EXPECT_EQ(log(), Lines{});
}
#endif

TEST_F(ConditionStoreTest, EveryOperationMayFail) {
  const std::string path = Source("a.csv", Line(1) + Line(2));
  const auto fail = [&](platform::Operation operation, platform::WriteFault fault) {
    return FailEach(operation, {.run = [&] { return Run({path}); },
                                .check_good = [this] { EXPECT_EQ(Store(), Rule(1) + Rule(2)); },
                                .write_fault = fault});
  };
  constexpr auto kNothing = platform::WriteFault::kNothingWritten;
  EXPECT_EQ(fail(platform::Operation::kOpen, kNothing),
            (std::set<std::string>{Report("Can't open the rule storage " + store_ + " !", kTitle),
                                   Report("Can't open TUKOUJ(" + path + ") !", kTitle)}));
  EXPECT_EQ(fail(platform::Operation::kRead, kNothing),
            std::set<std::string>{Report("Can't read the file (" + path + ") !", kTitle)});
  const std::string head = "Can't write the RuleStorage (" + store_ + ") at rec=";
  EXPECT_EQ(fail(platform::Operation::kWrite, kNothing),
            std::set<std::string>{Report(head + "1 !", kTitle)});
  // 32 of 64 bytes are there: the second record is missing.
  EXPECT_EQ(fail(platform::Operation::kWrite, platform::WriteFault::kHalfWritten),
            std::set<std::string>{Report(head + "2 !", kTitle)});
}

TEST_F(ConditionStoreTest, TheOneWayStoreIsRemoved) {
  WriteBytes(folder_ / "onewayst.~wk", "old");
  const std::string control = WriteControl("");
  EXPECT_EQ(BRN_MSR_RemoveOneWayStore(control.c_str()), 1);
  EXPECT_FALSE(Exists(folder_ / "onewayst.~wk"));
  EXPECT_EQ(BRN_MSR_RemoveOneWayStore(control.c_str()), 1);
}

}  // namespace
}  // namespace zatlib
