#include "traffic/one_way_links.h"

#include <gtest/gtest.h>

#include "cancel_each.h"
#include "fault_each.h"
#include "frd/parallel.h"
#include "platform/clock.h"
#include "platform/fault.h"
#include "platform/file.h"
#include "records.h"

namespace zatlib::test {
namespace {

using platform::Operation;

const char* const kInputs[] = {"mapcalc.dat", "nodelink.idx", "maprule.dat", "linknode.idx"};

// A record of mapcalc.dat whose lengths must stay.
std::string Calc(const std::vector<int64_t>& others, const std::vector<int>& costs = {}) {
  return CalcRecord(others, costs, {7, 7, 7, 7, 7, 7, 7, 7});
}

// Node 0 with three neighbours: link 0 leads from it to node 1, link 1 from node 2 to it, link 2
// from it to node 3.
class OneWayLinksTest : public LibraryTest {
 protected:
  OneWayLinksTest() {
    calc_ = {Calc({1, 2, 3}, {11, 12, 13}), Calc({0}, {21}), Calc({0}, {31}), Calc({0}, {41})};
    node_link_ = {NodeLinkRecord({0, 1, 2}), NodeLinkRecord({0}), NodeLinkRecord({1}),
                  NodeLinkRecord({2})};
    link_node_ = {LinkNodeRecord(0, 1, 40, 50), LinkNodeRecord(2, 0, 60, 70),
                  LinkNodeRecord(0, 3, 80, 90)};
    turns_ = {Turns("00 00 00 00 00 00 00 00"), Turns("00 00 00 00 00 00 00 00"),
              Turns("00 00 00 00 00 00 00 00"), Turns("00 00 00 00 00 00 00 00")};
  }

  static std::string Join(const std::vector<std::string>& records) {
    std::string bytes;
    for (const std::string& record : records) bytes += record;
    return bytes;
  }
  void WriteInputs() {
    WriteBytes(folder_ / "mapcalc.dat", Join(calc_));
    WriteBytes(folder_ / "nodelink.idx", Join(node_link_));
    WriteBytes(folder_ / "maprule.dat", Join(turns_));
    WriteBytes(folder_ / "linknode.idx", Join(link_node_));
  }
  int RunOnly() { return BRN_TRF_AddOneWayLinks(nullptr, folder_.path().c_str()); }
  int Run() {
    WriteInputs();
    return RunOnly();
  }
  // That the files hold what the records of the fixture now say.
  void ExpectTables() {
    EXPECT_EQ(ReadBytes(folder_ / "mapcalc.dat"), Join(calc_));
    EXPECT_EQ(ReadBytes(folder_ / "nodelink.idx"), Join(node_link_));
    EXPECT_EQ(ReadBytes(folder_ / "maprule.dat"), Join(turns_));
    EXPECT_EQ(ReadBytes(folder_ / "linknode.idx"), Join(link_node_));
  }
  std::string ErrorLine(const std::string& before, const std::string& name,
                        const std::string& title) {
    return "[" + before + (folder_ / name) + " !][" + title + "]";
  }

  std::vector<std::string> calc_;
  std::vector<std::string> node_link_;
  std::vector<std::string> link_node_;
  std::vector<std::string> turns_;
};

TEST_F(OneWayLinksTest, OpenLinksStayAsTheyAre) {
  EXPECT_EQ(Run(), 1);
  ExpectTables();
  EXPECT_EQ(log(), Lines{});
}

TEST_F(OneWayLinksTest, ALinkBarredAtItsStartLosesSpeedA) {
  turns_[0] = Turns("80 80 80 00 00 00 00 00");
  EXPECT_EQ(Run(), 1);
  calc_[0] = Calc({1, 2, 3}, {65535, 12, 13});
  link_node_[0] = LinkNodeRecord(0, 1, 0, 50);
  ExpectTables();
}

TEST_F(OneWayLinksTest, ALinkBarredAtItsEndLosesSpeedB) {
  turns_[0] = Turns("40 40 40 00 00 00 00 00");
  EXPECT_EQ(Run(), 1);
  calc_[0] = Calc({1, 2, 3}, {11, 65535, 13});
  link_node_[1] = LinkNodeRecord(2, 0, 60, 0);
  ExpectTables();
}

TEST_F(OneWayLinksTest, EveryBarredConnectionIsClosed) {
  turns_[0] = Turns("E0 FF E0 00 00 00 00 00");
  turns_[3] = Turns("80 00 00 00 00 00 00 00");
  EXPECT_EQ(Run(), 1);
  calc_[0] = Calc({1, 2, 3}, {65535, 65535, 65535});
  calc_[3] = Calc({0}, {65535});
  link_node_[0] = LinkNodeRecord(0, 1, 0, 50);
  link_node_[1] = LinkNodeRecord(2, 0, 60, 0);
  link_node_[2] = LinkNodeRecord(0, 3, 0, 0);
  ExpectTables();
}

// The arrival over the link itself counts like any other: slot 0 in the first case.
TEST_F(OneWayLinksTest, OneArrivalWithoutTheBitKeepsTheConnectionOpen) {
  for (const char* turns : {"00 80 80 00 00 00 00 00", "80 00 80 00 00 00 00 00",
                            "80 80 7F 00 00 00 00 00", "80 80 00 80 80 80 80 80"}) {
    turns_[0] = Turns(turns);
    EXPECT_EQ(Run(), 1);
    ExpectTables();
  }
}

TEST_F(OneWayLinksTest, EmptySlotsNeedNoBit) {
  turns_[1] = Turns("80 00 00 00 00 00 00 00");
  EXPECT_EQ(Run(), 1);
  calc_[1] = Calc({0}, {65535});
  link_node_[0] = LinkNodeRecord(0, 1, 40, 0);
  ExpectTables();
}

// Slot 1 has no link: slot 2 is not looked at, and arrivals end at slot 0 too.
TEST_F(OneWayLinksTest, ASlotWithoutLinkEndsTheNodesScan) {
  node_link_[0] = NodeLinkRecord({0, -1, 2});
  turns_[0] = Turns("A0 00 20 00 00 00 00 00");
  EXPECT_EQ(Run(), 1);
  calc_[0] = Calc({1, 2, 3}, {65535, 12, 13});
  link_node_[0] = LinkNodeRecord(0, 1, 0, 50);
  ExpectTables();
}

TEST_F(OneWayLinksTest, ASlotWithoutNeighbourEndsTheNodesScan) {
  calc_[0] = Calc({1, -1, 3}, {11, 12, 13});
  turns_[0] = Turns("A0 00 20 00 00 00 00 00");
  EXPECT_EQ(Run(), 1);
  calc_[0] = Calc({1, -1, 3}, {65535, 12, 13});
  link_node_[0] = LinkNodeRecord(0, 1, 0, 50);
  ExpectTables();
}

TEST_F(OneWayLinksTest, ALinkThatDoesNotEndAtTheNodeStaysOpen) {
  link_node_[0] = LinkNodeRecord(1, 2, 40, 50);
  turns_[0] = Turns("80 80 80 00 00 00 00 00");
  EXPECT_EQ(Run(), 1);
  ExpectTables();
}

TEST_F(OneWayLinksTest, ALoopLosesSpeedAOnly) {
  link_node_[0] = LinkNodeRecord(0, 0, 40, 50);
  calc_[0] = Calc({0, 0, 3}, {11, 12, 13});
  node_link_[0] = NodeLinkRecord({0, 0, 2});
  turns_[0] = Turns("C0 C0 C0 00 00 00 00 00");
  EXPECT_EQ(Run(), 1);
  link_node_[0] = LinkNodeRecord(0, 0, 0, 50);
  calc_[0] = Calc({0, 0, 3}, {65535, 65535, 13});
  ExpectTables();
}

// Eight occupied slots: slot 7 is barred by all eight arrivals, slot 6 by seven of them.
TEST_F(OneWayLinksTest, AllEightSlotsTakePart) {
  calc_ = {Calc({1, 2, 3, 4, 5, 6, 7, 8}, {1, 2, 3, 4, 5, 6, 7, 8})};
  node_link_ = {NodeLinkRecord({0, 1, 2, 3, 4, 5, 6, 7})};
  turns_ = {Turns("03 03 03 03 03 03 03 01")};
  link_node_.clear();
  for (int i = 0; i < 8; ++i) link_node_.push_back(LinkNodeRecord(0, i + 1));
  EXPECT_EQ(Run(), 1);
  calc_ = {Calc({1, 2, 3, 4, 5, 6, 7, 8}, {1, 2, 3, 4, 5, 6, 7, 65535})};
  link_node_[7] = LinkNodeRecord(0, 8, 0, 50);
  ExpectTables();
}

TEST_F(OneWayLinksTest, WithoutNodesTheTablesAreWrittenBackAsTheyWere) {
  calc_.clear();
  node_link_.clear();
  turns_.clear();
  EXPECT_EQ(Run(), 1);
  ExpectTables();
}

TEST_F(OneWayLinksTest, WildLinkNumbersAreLeftAlone) {
  turns_[0] = Turns("E0 E0 E0 00 00 00 00 00");
  node_link_[0] = NodeLinkRecord({3, -2, 2147483647});
  EXPECT_EQ(Run(), 1);
  ExpectTables();
}

TEST_F(OneWayLinksTest, TablesThatWereCutShortAreNotReadBeyondTheirEnd) {
  for (std::string& turns : turns_) turns = Turns("FF FF FF FF FF FF FF FF");
  for (const char* name : kInputs) {
    for (const size_t size : {size_t{0}, size_t{7}, size_t{31}}) {
      WriteInputs();
      const std::string whole = ReadBytes(folder_ / name);
      WriteBytes(folder_ / name, whole.substr(0, size));
      EXPECT_EQ(RunOnly(), 1) << name << " " << size;
      EXPECT_EQ(ReadBytes(folder_ / name).size(), size);
    }
  }
}

TEST_F(OneWayLinksTest, AMissingFileIsReported) {
  for (const char* name : kInputs) {
    WriteInputs();
    ASSERT_TRUE(platform::RemoveFile((folder_ / name).c_str()));
    ClearLog();
    EXPECT_EQ(RunOnly(), 0);
    EXPECT_EQ(log(), Lines{ErrorLine("Can't open ", name, "File Error")});
  }
}

TEST_F(OneWayLinksTest, FilesAreLoadedInTheirOrder) {
  turns_[0] = Turns("80 80 80 00 00 00 00 00");
  WriteInputs();
  for (int i = 0; i < 4; ++i) {
    ClearLog();
    EXPECT_EQ(RunWithFault({Operation::kOpen, i + 1}, [&] { return RunOnly(); }), 0);
    EXPECT_EQ(log(), Lines{ErrorLine("Can't open ", kInputs[i], "File Error")});
    ClearLog();
    EXPECT_EQ(RunWithFault({Operation::kRead, i + 1}, [&] { return RunOnly(); }), 0);
    EXPECT_EQ(log(), Lines{ErrorLine("Can't read ", kInputs[i], "File Error")});
    ClearLog();
    EXPECT_EQ(RunWithFault({Operation::kAllocate, i + 1}, [&] { return RunOnly(); }), 0);
    EXPECT_EQ(log(), Lines{ErrorLine("Can't allocate memory for ", kInputs[i], "Memory Error")});
  }
  ExpectTables();
}

// A chain of 50000 nodes, more than two blocks: link i leads from node i to node i + 1, which lies
// in slot 1 of node i. Leaving an even node forward and an odd one backward is barred.
class LongOneWayChainTest : public OneWayLinksTest {
 protected:
  static constexpr int kNodes = 50000;

  LongOneWayChainTest() {
    calc_.clear();
    node_link_.clear();
    turns_.clear();
    link_node_.clear();
    for (int i = 0; i < kNodes; ++i) {
      calc_.push_back(Calc({i > 0 ? i - 1 : kNodes, i + 1}, {11, 12}));
      node_link_.push_back(NodeLinkRecord({i > 0 ? i - 1 : kNodes, i}));
      turns_.push_back(Turns(i % 2 == 0 ? "40 40 00 00 00 00 00 00" : "80 80 00 00 00 00 00 00"));
      link_node_.push_back(LinkNodeRecord(i, i + 1, 40, 50));
    }
  }
  ~LongOneWayChainTest() override { SetThreadCount(0); }
};

// Links with an even number lose both speeds, and no other link loses any.
TEST_F(LongOneWayChainTest, AnyNumberOfThreadsGivesTheSame) {
  std::string calc;
  std::string link_node;
  for (int i = 0; i < kNodes; ++i) {
    const bool even = i % 2 == 0;
    calc += Calc({i > 0 ? i - 1 : kNodes, i + 1}, {even ? 11 : 65535, even ? 65535 : 12});
    link_node += even ? LinkNodeRecord(i, i + 1, 0, 0) : LinkNodeRecord(i, i + 1, 40, 50);
  }
  for (const int threads : {1, 2, 5}) {
    SetThreadCount(threads);
    EXPECT_EQ(Run(), 1);
    EXPECT_TRUE(ReadBytes(folder_ / "mapcalc.dat") == calc) << threads;
    EXPECT_TRUE(ReadBytes(folder_ / "linknode.idx") == link_node) << threads;
  }
}

// The second blocks of the node links and of the turns, in the order of their reads.
TEST_F(LongOneWayChainTest, AFileThatCannotBeReadOnIsReported) {
  WriteInputs();
  const struct {
    int number;
    const char* name;
  } rows[] = {{5, "maprule.dat"}, {6, "nodelink.idx"}, {7, "maprule.dat"}, {8, "nodelink.idx"}};
  for (const auto& row : rows) {
    ClearLog();
    EXPECT_EQ(RunWithFault({Operation::kRead, row.number}, [&] { return RunOnly(); }), 0);
    EXPECT_EQ(log(), Lines{ErrorLine("Can't read ", row.name, "File Error")});
  }
  EXPECT_TRUE(ReadBytes(folder_ / "mapcalc.dat") == Join(calc_));
}

TEST_F(OneWayLinksTest, TablesThatCannotBeCreatedAreReported) {
  turns_[0] = Turns("80 80 80 00 00 00 00 00");
  for (const char* name : {"linknode.idx", "mapcalc.dat"}) {
    WriteInputs();
    ClearLog();
    const platform::File reader =
        platform::File::Open((folder_ / name).c_str(), platform::Access::kRead,
                             platform::Share::kRead, platform::Disposition::kOpenExisting);
    ASSERT_TRUE(reader.IsOpen());
    EXPECT_EQ(RunOnly(), 0);
    EXPECT_EQ(log(), Lines{ErrorLine("Can't open ", name, "File Error")});
    EXPECT_EQ(ReadBytes(folder_ / "mapcalc.dat"), Join(calc_));
  }
}

TEST_F(OneWayLinksTest, AFailedLinkTableLeavesTheNodesUnwritten) {
  turns_[0] = Turns("80 80 80 00 00 00 00 00");
  WriteInputs();
  platform::StepTickCount(5000);  // the wait before the second try passes at once
  EXPECT_EQ(RunWithFault({Operation::kWrite, 1, true}, [&] { return RunOnly(); }), 0);
  EXPECT_EQ(log(), Lines{ErrorLine("Can't write ", "linknode.idx", "File Error")});
  EXPECT_EQ(ReadBytes(folder_ / "mapcalc.dat"), Join(calc_));
}

// Four nodes of 64 bytes; the second number is the size of linknode.idx, three links of 16 bytes.
TEST_F(OneWayLinksTest, AFailedNodeTableIsReportedWithTwoSizes) {
  turns_[0] = Turns("80 80 80 00 00 00 00 00");
  WriteInputs();
  EXPECT_EQ(RunWithFault({Operation::kWrite, 2, true, platform::WriteFault::kHalfWritten},
                         [&] { return RunOnly(); }),
            0);
  EXPECT_EQ(log(), Lines{"[Can't write " + (folder_ / "mapcalc.dat") +
                         " !\r\n(org/written=256/48)][File Error]"});
  link_node_[0] = LinkNodeRecord(0, 1, 0, 50);
  EXPECT_EQ(ReadBytes(folder_ / "linknode.idx"), Join(link_node_));
}

// 25,000 nodes without links: they are counted on the status line.
TEST_F(OneWayLinksTest, ACancelWithinALongRunIsHeard) {
  calc_.assign(25000, Calc({}));
  node_link_.assign(25000, NodeLinkRecord({}));
  turns_.assign(25000, std::string(8, '\0'));
  const std::string calc = Join(calc_);
  const int failed = CancelAtEach(
      Operation::kRead, 1, [&] { WriteInputs(); }, [&] { return RunOnly(); }, log());
  EXPECT_GT(failed, 2);
  EXPECT_TRUE(ReadBytes(folder_ / "mapcalc.dat") == calc);
  // Whatever cannot be read is reported.
  RunWithEachFault(
      {Operation::kRead},
      [&] {
        WriteInputs();
        ClearLog();
      },
      [&] { return RunOnly(); },
      [&](int64_t read, int result) {
        EXPECT_EQ(result, read == 0 ? 1 : 0);
        EXPECT_EQ(Reports().size(), read == 0 ? 0u : 1u);
      });
}

TEST_F(OneWayLinksTest, ACancelledRunWritesNothing) {
  turns_[0] = Turns("80 80 80 00 00 00 00 00");
  WriteInputs();
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(RunOnly(), 0);
  ExpectTables();
  EXPECT_EQ(log(), Lines{});
}

#ifndef _WIN32  // the progress window prints its status lines there
TEST_F(OneWayLinksTest, TheStatusLineMovesEveryTenThousandNodes) {
  calc_.assign(10001, Calc({}));
  node_link_.assign(10001, NodeLinkRecord({}));
  turns_.assign(10001, std::string(8, '\0'));
  WriteInputs();
  g_silent = 0;
  ::testing::internal::CaptureStderr();
  const int result = FRD_RunDialog(
      nullptr,
      [](WindowHandle window, int64_t, const char* folder) {
        return BRN_TRF_AddOneWayLinks(window, folder);
      },
      0, folder_.path().c_str());
  const std::string shown = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(result, 1);
  EXPECT_EQ(shown,
            "Initalizing...\n"
            "Initializing...\n"
            "Checking One Way Link 10000\n"
            "Checking One Way Link 10001\n"
            "Writing Tables...\n");
}
#endif

}  // namespace
}  // namespace zatlib::test
