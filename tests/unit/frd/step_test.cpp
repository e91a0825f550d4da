#include "frd/step.h"

#include <string>
#include <vector>

#include "frd/progress.h"
#include "test_support.h"

namespace zatlib {
namespace {

using Lines = std::vector<std::string>;

class StepTest : public test::LibraryTest {
 protected:
  StepTest()
      : control_(WriteControl("[SYSTEM]\r\nLOG=1\r\n")),
        step_(nullptr, control_.c_str(), "BRN_Walk") {}
  ~StepTest() override {
    g_silent = 1;
    FRD_SetCancelled(false);
  }

  std::string control_;
  Step step_;
};

TEST_F(StepTest, ItKnowsTheOutputFolder) {
  EXPECT_STREQ(step_.folder(), folder_.path().c_str());
  EXPECT_EQ(step_.Path("node.idx").c_str(), folder_ / "node.idx");
  EXPECT_TRUE(step_.WantsSummary());
  EXPECT_FALSE(Step(nullptr, WriteControl("").c_str(), "BRN_Walk").WantsSummary());
}

TEST_F(StepTest, ItMayBeToldTheOutputFolder) {
  const Step step = Step::InFolder(nullptr, "maps", "SHAPE_Walk");
  EXPECT_STREQ(step.folder(), "maps");
  EXPECT_EQ(step.control_file(), nullptr);
  EXPECT_EQ(step.FailModal(kFileError, "No %s", "shape"), Outcome::kFailed);
  EXPECT_EQ(log(), Lines{"[No shape][File Error in SHAPE_Walk]"});
}

TEST_F(StepTest, AFailureIsReportedUnderItsKindAndTheStepsName) {
  EXPECT_EQ(step_.Fail(kFileError, "Can't read %s at %ld", "a.dat", 7L), Outcome::kFailed);
  EXPECT_EQ(step_.FailModal(kMemoryError, "No memory"), Outcome::kFailed);
  EXPECT_EQ(step_.FailAs("File Error", "Can't open %s !", "b.dat"), Outcome::kFailed);
  EXPECT_EQ(step_.FailModalAs("Memory Error", "%d bytes", 5), Outcome::kFailed);
  EXPECT_EQ(log(), Lines({"[Can't read a.dat at 7][File Error in BRN_Walk]",
                          "[No memory][Memory Error in BRN_Walk]",
                          "[Can't open b.dat !][File Error]", "[5 bytes][Memory Error]"}));
}

TEST_F(StepTest, ItBeginsWithItsTitleInTheLogUnlessTheUserHasCancelled) {
  EXPECT_EQ(step_.Begin("Walking..."), Outcome::kDone);
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(step_.Begin("Walking on..."), Outcome::kCancelled);
  EXPECT_EQ(log(), Lines{"Walking..."});
}

TEST_F(StepTest, OnlyDoneIsOne) {
  EXPECT_EQ(AsResult(Outcome::kDone), 1);
  EXPECT_EQ(AsResult(Outcome::kFailed), 0);
  EXPECT_EQ(AsResult(Outcome::kCancelled), 0);
}

TEST_F(StepTest, TextsOfTablesAreCutToTheirBuffer) {
  char text[8];
  FormatText<const char*, int>(text, sizeof text, "%s=%d", "rec", 7);
  EXPECT_STREQ(text, "rec=7");
  FormatText<int>(text, sizeof text, "record %d", 7);
  EXPECT_STREQ(text, "record ");
}

TEST_F(StepTest, TextsOfTablesAreLoggedWithTheirValues) {
  LogText<long, int>("nodes=%ld, returns=%d", 3L, 1);
  LogText<long, int>("nodes=%ld", 3L, 1);
  EXPECT_EQ(log(), Lines({"nodes=3, returns=1", "nodes=3"}));
}

// ---- Stages --------------------------------------------------------------------------------

int Good(std::string* ran) {
  *ran += 'g';
  return 1;
}
int Bad(std::string* ran) {
  *ran += 'b';
  return 0;
}
int Cancelling(std::string* ran) {
  *ran += 'c';
  FRD_SetCancelled(true);
  return 1;
}

TEST_F(StepTest, StagesRunInOrderUntilOneFails) {
  const Stage<std::string*> good[] = {{0.1f, Good}, {kSamePoint, Good}, {0.2f, nullptr}};
  const Stage<std::string*> bad[] = {{0.1f, Good}, {kSamePoint, Bad}, {0.2f, Good}};
  std::string ran;
  EXPECT_EQ(RunStages(good, 1, &ran), 1);
  EXPECT_EQ(ran, "gg");
  ran.clear();
  EXPECT_EQ(RunStages(bad, 1, &ran), 0);
  EXPECT_EQ(ran, "gb");
  ran.clear();
  EXPECT_EQ(RunStages(good, 0, &ran), 0);
  EXPECT_EQ(ran, "");
}

TEST_F(StepTest, ACancelEndsTheStagesAtTheNextPoint) {
  g_silent = 0;
  const Stage<std::string*> stages[] = {
      {0.1f, Cancelling}, {kSamePoint, Good}, {0.2f, Good}, {0.3f, nullptr}};
  std::string ran;
  EXPECT_EQ(RunStages(stages, 1, &ran), 0);
  EXPECT_EQ(ran, "cg");
}

}  // namespace
}  // namespace zatlib
