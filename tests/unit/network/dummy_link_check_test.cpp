#include "network/dummy_link_check.h"

#include "network_steps.h"

namespace zatlib::test::network {
namespace {

class DummyLinkCheckTest : public BothOperations {
 protected:
  std::string FoundTitle() const {
    return "Internal Logic Error Found in " + Step("CheckDummyLinkNodes");
  }
};

INSTANTIATE_TEST_SUITE_P(Way, DummyLinkCheckTest, ::testing::ValuesIn(kWays));

TEST_P(DummyLinkCheckTest, BothEndsOfADummyLinkListIt) {
  const int64_t d1 = form_.Dummy(1);
  const int64_t d2 = form_.Dummy(2);
  const std::vector<int64_t> full{51, 52, 53, 54, 55, 56, 57, 58};
  SaveNodes({{.code = 0},
             {.code = 1, .links = {d1, 0, 60}},
             {.code = 2, .links = {61, 0, 62}},
             {.code = 3, .links = full},
             {.code = 4}});
  SaveLinks({{.code = d1, .a = 1, .b = 2, .city = 99000, .kind = 99, .value4 = 99},
             {.code = d2, .a = 4, .b = 3, .city = 99000, .kind = 99, .value4 = 99},
             {.code = 70, .a = 1, .b = 4, .kind = 98}});
  Load();
  const std::string before = FileBytes("nodestr.~wk");
  EXPECT_EQ(CheckDummyLinkNodes(), 1);
  const std::string after = NodeRecord(form_, {.code = 1, .links = {d1, 0, 60}}) +
                            NodeRecord(form_, {.code = 2, .links = {61, d1, 62}}) +
                            NodeRecord(form_, {.code = 3, .links = full}) +
                            NodeRecord(form_, {.code = 4, .links = {d2}});
  if (memory()) {
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(nodes_.records.data()), 4 * 96), after);
    EXPECT_EQ(FileBytes("nodestr.~wk"), before);
  } else {
    EXPECT_EQ(FileBytes("nodestr.~wk"), before.substr(0, 96) + after);
  }
  EXPECT_EQ(log(), Lines{Mark("Checking the dummy link nodes")});

  EXPECT_EQ(CreateNetworkData(), 1);
  EXPECT_EQ(FileBytes("nodelink.idx"),
            NodeLinkRecord({0}) + NodeLinkRecord({0}) + NodeLinkRecord({}) + NodeLinkRecord({1}));
  EXPECT_EQ(FileBytes("mapcalc.dat"), CalcRecord({1}, {0}, {0}) + CalcRecord({0}, {0}, {0}) +
                                          CalcRecord({}, {}, {}) + CalcRecord({2}, {0}, {0}));
  EXPECT_EQ(FileBytes("node.idx"),
            IndexRecord(form_.Code(1), 0, 99000) + IndexRecord(form_.Code(2), 1, 99000) +
                IndexRecord(form_.Code(3), 2, 0) + IndexRecord(form_.Code(4), 3, 99000));
}

TEST_P(DummyLinkCheckTest, EveryLinkOfRoadKind99IsADummyLink) {
  SaveNodes({{.code = 1}, {.code = 2}});
  SaveLinks({{.code = 70,
              .a = 1,
              .b = 2,
              .city = 5,
              .speed_a = 36,
              .speed_b = 18,
              .value3 = 1,
              .kind = 99}});
  Load();
  EXPECT_EQ(CheckDummyLinkNodes(), 1);
  EXPECT_EQ(CreateNetworkData(), 1);
  EXPECT_EQ(FileBytes("mapcalc.dat"), CalcRecord({1}, {10}, {1}) + CalcRecord({0}, {20}, {1}));
}

TEST_P(DummyLinkCheckTest, SeveralDummyLinksAtANodeTakeItsFreeSlotsInLinkOrder) {
  SaveNodes({{.code = 1, .links = {0, 9}}, {.code = 2}, {.code = 3}});
  SaveLinks({{.code = 72, .a = 2, .b = 1, .kind = 99}, {.code = 71, .a = 1, .b = 3, .kind = 99}});
  Load();
  EXPECT_EQ(CheckDummyLinkNodes(), 1);
  EXPECT_EQ(CreateNetworkData(), 1);
  EXPECT_EQ(FileBytes("nodelink.idx"),
            NodeLinkRecord({0, 1}) + NodeLinkRecord({0}) + NodeLinkRecord({1}));
}

TEST_P(DummyLinkCheckTest, ADummyLinkWithoutItsNodesIsReported) {
  SaveNodes({{.code = 1}, {.code = 2}});
  SaveLinks({{.code = 70, .a = 5, .b = 6, .kind = 1}, {.code = 71, .a = 8, .b = 2, .kind = 99}});
  Load();
  EXPECT_EQ(CheckDummyLinkNodes(), 0);
  EXPECT_EQ(Reports(), Lines{Report("No edging node A (" + form_.Digits(8) +
                                        ") in the Dummy Link (" + form_.Digits(71) + ")!",
                                    FoundTitle())});
  SaveLinks({{.code = 72, .a = 1, .b = 9, .kind = 99}});
  Load();
  EXPECT_EQ(CheckDummyLinkNodes(), 0);
  EXPECT_EQ(Reports(), Lines{Report("No edging node B (" + form_.Digits(9) +
                                        ") in the Dummy Link (" + form_.Digits(72) + ")!",
                                    FoundTitle())});
}

TEST_P(DummyLinkCheckTest, AnInvalidCodeLengthIsRefused) {
  SaveNodes({{.code = 1}, {.code = 2}});
  SaveLinks({{.code = 71, .a = 1, .b = 2, .kind = 99}});
  Load();
  UseLength(16);
  EXPECT_EQ(CheckDummyLinkNodes(), 0);
  ASSERT_EQ(Reports().size(), 1u);
  EXPECT_EQ(Reports()[0].find("[The CodeLength = 16 is invalid !]["), 0u);
}

class DummyLinksThroughFilesTest : public DummyLinkCheckTest {};

INSTANTIATE_TEST_SUITE_P(Way, DummyLinksThroughFilesTest,
                         ::testing::Values(Way{14, false}, Way{18, false}));

TEST_P(DummyLinksThroughFilesTest, NodeRecordsThatCannotBeReadOrWrittenBackAreReported) {
  const auto prepare = [&] {
    SaveNodes({{.code = 0}, {.code = 1, .links = {71}}, {.code = 2}});
    SaveLinks({{.code = 71, .a = 1, .b = 2, .kind = 99}});
  };
  prepare();
  Load();
  EXPECT_EQ(
      FailEach(platform::Operation::kWrite, {.prepare = prepare,
                                             .run = [&] { return CheckDummyLinkNodes(); },
                                             .write_fault = platform::WriteFault::kHalfWritten}),
      LineSet{Report("Can't seek / write the node storage file at 1 !", FoundTitle())});
  prepare();
  WriteBytes(folder_ / "nodestr.~wk", FileBytes("nodestr.~wk").substr(0, 2 * 96));
  ClearLog();
  EXPECT_EQ(CheckDummyLinkNodes(), 0);
  EXPECT_EQ(Reports(),
            Lines{Report("Can't seek / read the node storage file at 1 ( ptr=2 )!", FoundTitle())});
}

}  // namespace
}  // namespace zatlib::test::network
