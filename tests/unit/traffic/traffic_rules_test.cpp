#include "traffic/traffic_rules.h"

#include <gtest/gtest.h>

#include <utility>

#include "fault_each.h"
#include "frd/log.h"
#include "frd/parallel.h"
#include "platform/clock.h"
#include "platform/fault.h"
#include "platform/file.h"
#include "records.h"

namespace zatlib::test {
namespace {

using platform::Operation;

Lines EndLines(int rules, int one_ways) {
  return {"End of RuleStore section OK : set count = " + std::to_string(rules),
          "End of OneWayStore section OK : set count = " + std::to_string(one_ways),
          "BRN_TRF_AddTrafficRules returns OK"};
}

// A crossing. Node numbers with their codes, and the links with theirs:
//
//                 1 (400)
//                    | link 0 (1000): 0 -> 1
//   4 (100) ------ 0 (500) ------ 2 (300)
//      link 3 (4000)     link 1 (2000): 2 -> 0
//           4 -> 0   | link 2 (3000): 0 -> 3
//                 3 (200)
//
// Node 0 has the neighbours 1, 2, 3, 4 in its slots 0 to 3; the others have node 0 in slot 0.
class TrafficRulesTest : public LibraryTest {
 protected:
  TrafficRulesTest() {
    control_ = WriteControl("[SYSTEM]\r\n");
    WriteBytes(folder_ / "mapcalc.dat", CalcRecord({1, 2, 3, 4}) + CalcRecord({0}) +
                                            CalcRecord({0}) + CalcRecord({0}) + CalcRecord({0}));
    WriteBytes(folder_ / "node.idx", IndexRecord(100, 4) + IndexRecord(200, 3) +
                                         IndexRecord(300, 2) + IndexRecord(400, 1) +
                                         IndexRecord(500, 0));
    WriteBytes(folder_ / "link.idx", IndexRecord(1000, 0) + IndexRecord(2000, 1) +
                                         IndexRecord(3000, 2) + IndexRecord(4000, 3));
    WriteBytes(folder_ / "linknode.idx", LinkNodeRecord(0, 1) + LinkNodeRecord(2, 0) +
                                             LinkNodeRecord(0, 3) + LinkNodeRecord(4, 0));
    WriteBytes(folder_ / "maprule.dat", std::string(40, '\0'));
  }

  void WriteRules(const std::string& bytes) { WriteBytes(folder_ / "trafrule.~wk", bytes); }
  void WriteOneWays(const std::string& bytes) { WriteBytes(folder_ / "onewayst.~wk", bytes); }
  int Run() { return BRN_TRF_AddTrafficRules(nullptr, control_.c_str()); }
  std::string NodeTurnBytes(size_t node) {
    return Record(ReadBytes(folder_ / "maprule.dat"), node, 8);
  }
  std::string OutPath(const std::string& name) {
    return (folder_ / "out") + platform::NativeSeparator() + name;
  }
  std::string ErrorLine(const std::string& before, const std::string& name,
                        const std::string& title) {
    return "[" + before + (folder_ / name) + " !][" + title + "]";
  }

  std::string control_;
};

TEST_F(TrafficRulesTest, WithoutStoresTheTurnTableStaysAsItIs) {
  const std::string before = std::string("\xFF\x01", 2) + std::string(38, '\x10');
  WriteBytes(folder_ / "maprule.dat", before);
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(ReadBytes(folder_ / "maprule.dat"), before);
  EXPECT_EQ(log(), EndLines(0, 0));
}

TEST_F(TrafficRulesTest, AStoreShorterThanARecordHoldsNone) {
  WriteRules(RuleRecord(500, 1000, 3000).substr(0, 31));
  WriteOneWays("");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(ReadBytes(folder_ / "maprule.dat"), std::string(40, '\0'));
  EXPECT_EQ(log(), EndLines(0, 0));
}

// Whoever keeps such a store from being opened keeps nothing from the map.
TEST_F(TrafficRulesTest, AStoreWithoutARecordNeedNotBeOpened) {
  for (const char* const name : {"trafrule.~wk", "onewayst.~wk"}) {
    for (const size_t size : {0, 1, 31, 32}) {
      WriteRules("");
      WriteOneWays("");
      WriteBytes(folder_ / name, std::string(size, '\0'));
      const platform::File holder =
          platform::File::Open((folder_ / name).c_str(), platform::Access::kReadWrite,
                               platform::Share::kNone, platform::Disposition::kOpenExisting);
      ASSERT_TRUE(holder.IsOpen());
      ClearLog();
      EXPECT_EQ(Run(), size < 32 ? 1 : 0) << name << size;
      if (size < 32) {
        EXPECT_EQ(log(), EndLines(0, 0));
      } else {
        EXPECT_NE(std::ranges::find(log(), ErrorLine("Can't open ", name, "File Error")),
                  log().end());
      }
    }
  }
}

TEST_F(TrafficRulesTest, APartialRecordAtTheEndIsIgnored) {
  WriteRules(RuleRecord(500, 1000, 3000) + RuleRecord(500, 2000, 3000).substr(0, 31));
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(ReadBytes(folder_ / "maprule.dat"), Turns("20") + std::string(39, '\0'));
  EXPECT_EQ(log(), EndLines(1, 0));
}

// Arriving from node 1 (slot 0) and leaving to node 3 (slot 2): bit 0x20 in byte 0. Arriving from
// node 4 (slot 3), whose link ends at the node, and leaving to node 2 (slot 1): bit 0x40 in byte 3.
TEST_F(TrafficRulesTest, ARuleSetsTheBitOfItsTurn) {
  WriteRules(RuleRecord(500, 1000, 3000) + RuleRecord(500, 4000, 2000));
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(ReadBytes(folder_ / "maprule.dat"),
            Turns("20 00 00 40 00 00 00 00") + std::string(32, '\0'));
  EXPECT_EQ(log(), EndLines(2, 0));
}

TEST_F(TrafficRulesTest, ARuleMayProhibitTheUTurn) {
  WriteRules(RuleRecord(500, 3000, 3000) + RuleRecord(200, 3000, 3000));
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(NodeTurnBytes(0), Turns("00 00 20 00 00 00 00 00"));
  EXPECT_EQ(NodeTurnBytes(3), Turns("80 00 00 00 00 00 00 00"));
  EXPECT_EQ(log(), EndLines(2, 0));
}

TEST_F(TrafficRulesTest, BitsAreAddedAndNeverCleared) {
  WriteBytes(folder_ / "maprule.dat", Turns("81 00 00 00 00 00 00 02") + std::string(32, '\x08'));
  WriteRules(RuleRecord(500, 1000, 2000) + RuleRecord(500, 1000, 2000));
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(ReadBytes(folder_ / "maprule.dat"),
            Turns("C1 00 00 00 00 00 00 02") + std::string(32, '\x08'));
  EXPECT_EQ(log(), EndLines(2, 0));
}

TEST_F(TrafficRulesTest, OnlyKindTwoIsApplied) {
  WriteRules(RuleRecord(500, 1000, 3000, 0) + RuleRecord(500, 1000, 3000, 1) +
             RuleRecord(500, 1000, 3000, 3) + RuleRecord(500, 1000, 3000, 0x0200));
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(ReadBytes(folder_ / "maprule.dat"), std::string(40, '\0'));
  EXPECT_EQ(log(), EndLines(0, 0));
}

TEST_F(TrafficRulesTest, ARuleWithAnUnknownCodeIsSkipped) {
  WriteRules(RuleRecord(501, 1000, 3000) + RuleRecord(500, 1001, 3000) +
             RuleRecord(500, 1000, 3001) + RuleRecord(0, 1000, 3000) + RuleRecord(500, 0, 3000) +
             RuleRecord(500, 1000, 0));
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(ReadBytes(folder_ / "maprule.dat"), std::string(40, '\0'));
  EXPECT_EQ(log(), EndLines(0, 0));
}

TEST_F(TrafficRulesTest, ARuleWhoseLinksDoNotTouchItsNodeIsSkipped) {
  WriteRules(RuleRecord(400, 3000, 1000) + RuleRecord(400, 1000, 3000));
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(ReadBytes(folder_ / "maprule.dat"), std::string(40, '\0'));
  EXPECT_EQ(log(), EndLines(0, 0));
}

TEST_F(TrafficRulesTest, TheSlotListEndsAtTheFirstEmptySlot) {
  WriteBytes(folder_ / "mapcalc.dat", CalcRecord({1, 2, -1, 3, 4}) + CalcRecord({0}) +
                                          CalcRecord({0}) + CalcRecord({0}) + CalcRecord({0}));
  WriteRules(RuleRecord(500, 1000, 3000) + RuleRecord(500, 4000, 2000) +
             RuleRecord(500, 2000, 1000));
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(NodeTurnBytes(0), Turns("00 80 00 00 00 00 00 00"));
  EXPECT_EQ(log(), EndLines(1, 0));
}

// Node 0 meets nodes 1 to 9, of which its slots hold 1 to 8.
TEST_F(TrafficRulesTest, TheEighthNeighbourHasRulesAndTheNinthHasNone) {
  std::string calc = CalcRecord({1, 2, 3, 4, 5, 6, 7, 8});
  std::string node_index = IndexRecord(500, 0);
  std::string link_index;
  std::string link_node;
  for (int i = 1; i <= 9; ++i) {
    calc += CalcRecord({0});
    node_index += IndexRecord(500 + i, i);
    link_index += IndexRecord(1000 * i, i - 1);
    link_node += LinkNodeRecord(0, i);
  }
  WriteBytes(folder_ / "mapcalc.dat", calc);
  WriteBytes(folder_ / "node.idx", node_index);
  WriteBytes(folder_ / "link.idx", link_index);
  WriteBytes(folder_ / "linknode.idx", link_node);
  WriteBytes(folder_ / "maprule.dat", std::string(80, '\0'));
  WriteRules(RuleRecord(500, 8000, 8000) + RuleRecord(500, 9000, 1000) +
             RuleRecord(500, 1000, 9000));
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(NodeTurnBytes(0), Turns("00 00 00 00 00 00 00 01"));
  EXPECT_EQ(log(), EndLines(1, 0));
}

// Slots are walked until both neighbours are known, and until then a later slot of a neighbour
// takes the place of an earlier one. In the slot lists 1 is the node of link 1000 and 3 that of
// link 3000.
TEST_F(TrafficRulesTest, AtParallelLinksALaterSlotCountsUntilBothNeighboursAreKnown) {
  const struct {
    std::vector<int64_t> slots;
    double in_link, out_link;
    const char* turns;
  } rows[] = {
      // The parallel links come first: the last one before the other neighbour counts.
      {{1, 2, 1, 3}, 1000, 3000, "00 00 10 00 00 00 00 00"},
      {{1, 2, 1, 3}, 3000, 1000, "00 00 00 20 00 00 00 00"},
      {{1, 1, 1, 3}, 1000, 3000, "00 00 10 00 00 00 00 00"},
      {{1, 1, 1, 1, 1, 1, 1, 3}, 1000, 3000, "00 00 00 00 00 00 01 00"},
      {{1, 1, 1, 1, 1, 1, 1, 3}, 3000, 1000, "00 00 00 00 00 00 00 02"},
      // They come last: the first one ends the walk.
      {{3, 1, 2, 1}, 1000, 3000, "00 80 00 00 00 00 00 00"},
      {{3, 1, 2, 1}, 3000, 1000, "40 00 00 00 00 00 00 00"},
      // One on each side of the other neighbour.
      {{1, 3, 1}, 1000, 3000, "40 00 00 00 00 00 00 00"},
      {{1, 3, 1}, 3000, 1000, "00 80 00 00 00 00 00 00"},
      // Parallel links on both sides.
      {{1, 1, 3, 3}, 1000, 3000, "00 20 00 00 00 00 00 00"},
      {{3, 3, 1, 1}, 1000, 3000, "00 00 40 00 00 00 00 00"},
      {{1, 1, 3, 3}, 3000, 1000, "00 00 40 00 00 00 00 00"},
      {{3, 3, 1, 1}, 3000, 1000, "00 20 00 00 00 00 00 00"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.turns);
    WriteBytes(folder_ / "mapcalc.dat", CalcRecord(row.slots) + CalcRecord({0, 0}) +
                                            CalcRecord({0}) + CalcRecord({0}) + CalcRecord({0}));
    WriteBytes(folder_ / "maprule.dat", std::string(40, '\0'));
    WriteRules(RuleRecord(500, row.in_link, row.out_link));
    ClearLog();
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(ReadBytes(folder_ / "maprule.dat"), Turns(row.turns) + std::string(32, '\0'));
    EXPECT_EQ(log(), EndLines(1, 0));
  }
}

// What lies behind an empty slot neither completes a turn nor takes the place of a slot before it.
TEST_F(TrafficRulesTest, AnEmptySlotEndsTheWalkOverParallelLinks) {
  const struct {
    std::vector<int64_t> slots;
    const char* turns;
    int set;
  } rows[] = {
      {{1, 1, -1, 3}, "00 00 00 00 00 00 00 00", 0},
      {{3, 3, -1, 1}, "00 00 00 00 00 00 00 00", 0},
      {{1, 1, 3, -1, 1, 3}, "00 20 00 00 00 00 00 00", 1},
  };
  for (const auto& row : rows) {
    WriteBytes(folder_ / "mapcalc.dat", CalcRecord(row.slots) + CalcRecord({0, 0}) +
                                            CalcRecord({0}) + CalcRecord({0}) + CalcRecord({0}));
    WriteBytes(folder_ / "maprule.dat", std::string(40, '\0'));
    WriteRules(RuleRecord(500, 1000, 3000));
    ClearLog();
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(NodeTurnBytes(0), Turns(row.turns));
    EXPECT_EQ(log(), EndLines(row.set, 0));
  }
}

// Both neighbours are the same node, so that its first slot makes both known: the turn back and the
// turn from one parallel link into the other.
TEST_F(TrafficRulesTest, ATurnBetweenParallelLinksTakesTheirFirstSlotTwice) {
  WriteBytes(folder_ / "mapcalc.dat", CalcRecord({2, 1, 1, 3}) + CalcRecord({0, 0}) +
                                          CalcRecord({0}) + CalcRecord({0}) + CalcRecord({0}));
  WriteBytes(folder_ / "link.idx", IndexRecord(1000, 0) + IndexRecord(2000, 1) +
                                       IndexRecord(3000, 2) + IndexRecord(5000, 3));
  WriteBytes(folder_ / "linknode.idx", LinkNodeRecord(0, 1) + LinkNodeRecord(2, 0) +
                                           LinkNodeRecord(0, 3) + LinkNodeRecord(1, 0));
  for (const auto& [in_link, out_link] : {std::pair{1000, 1000}, {1000, 5000}, {5000, 1000}}) {
    WriteBytes(folder_ / "maprule.dat", std::string(40, '\0'));
    WriteRules(RuleRecord(500, in_link, out_link));
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(ReadBytes(folder_ / "maprule.dat"),
              Turns("00 40 00 00 00 00 00 00") + std::string(32, '\0'));
  }
}

// Nodes 0 and 1 are partners and have a link of their own besides: the dummy link leads to the same
// neighbour and counts as a parallel link does, whichever of the two the rule names.
TEST_F(TrafficRulesTest, ADummyLinkBesideARealOneIsAParallelLink) {
  const double dummy = 99000000000001;
  WriteBytes(folder_ / "link.idx", IndexRecord(1000, 0) + IndexRecord(2000, 1) +
                                       IndexRecord(3000, 2) + IndexRecord(dummy, 3));
  WriteBytes(folder_ / "linknode.idx", LinkNodeRecord(0, 1) + LinkNodeRecord(2, 0) +
                                           LinkNodeRecord(0, 3) + LinkNodeRecord(0, 1));
  const struct {
    std::vector<int64_t> slots;
    double in_link, out_link;
    const char* turns;
  } rows[] = {
      // The dummy link in a gap between the two, then behind them.
      {{1, 1, 3}, 1000, 3000, "00 20 00 00 00 00 00 00"},
      {{1, 1, 3}, dummy, 3000, "00 20 00 00 00 00 00 00"},
      {{1, 1, 3}, 3000, 1000, "00 00 40 00 00 00 00 00"},
      {{1, 1, 3}, 3000, dummy, "00 00 40 00 00 00 00 00"},
      {{1, 3, 1}, 1000, 3000, "40 00 00 00 00 00 00 00"},
      {{1, 3, 1}, dummy, 3000, "40 00 00 00 00 00 00 00"},
      {{1, 3, 1}, 3000, dummy, "00 80 00 00 00 00 00 00"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.turns);
    WriteBytes(folder_ / "mapcalc.dat", CalcRecord(row.slots) + CalcRecord({0, 0}) +
                                            CalcRecord({0}) + CalcRecord({0}) + CalcRecord({0}));
    WriteBytes(folder_ / "maprule.dat", std::string(40, '\0'));
    WriteRules(RuleRecord(500, row.in_link, row.out_link));
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(ReadBytes(folder_ / "maprule.dat"), Turns(row.turns) + std::string(32, '\0'));
  }
}

TEST_F(TrafficRulesTest, CodesOfEighteenDigitsAreToldApart) {
  const int64_t node = 100000000000000001;
  WriteBytes(folder_ / "node.idx", Bytes().I64(node).I32(0).I32(0).str() +
                                       Bytes().I64(node + 1).I32(1).I32(0).str() +
                                       Bytes().I64(node + 2).I32(2).I32(0).str() +
                                       Bytes().I64(node + 3).I32(3).I32(0).str() +
                                       Bytes().I64(node + 4).I32(4).I32(0).str());
  const int64_t link = 200000000000000001;
  WriteBytes(folder_ / "link.idx", Bytes().I64(link).I32(0).I32(0).str() +
                                       Bytes().I64(link + 1).I32(1).I32(0).str() +
                                       Bytes().I64(link + 2).I32(2).I32(0).str() +
                                       Bytes().I64(link + 3).I32(3).I32(0).str());
  WriteRules(Bytes().I64(node).I64(link + 1).I64(link + 3).I16(0).I16(2).I32(0));
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(ReadBytes(folder_ / "maprule.dat"), Turns("00 10") + std::string(38, '\0'));
  EXPECT_EQ(log(), EndLines(1, 0));
}

// A chain of 3000 nodes, so that the code lookup has to narrow its range.
TEST_F(TrafficRulesTest, CodesAreFoundInLongIndexes) {
  std::string calc;
  std::string node_index;
  std::string link_index;
  std::string link_node;
  std::string rules;
  for (int i = 0; i < 3000; ++i) {
    calc += i == 0 ? CalcRecord({1}) : CalcRecord({i - 1, i + 1 < 3000 ? i + 1 : -1});
    node_index += IndexRecord(7 + 2 * i, i);
    link_index += IndexRecord(100000 + 3 * i, i);
    link_node += LinkNodeRecord(i, i + 1);
    if (i > 0 && i < 2999) rules += RuleRecord(7 + 2 * i, 100000 + 3 * (i - 1), 100000 + 3 * i);
  }
  WriteBytes(folder_ / "mapcalc.dat", calc);
  WriteBytes(folder_ / "node.idx", node_index);
  WriteBytes(folder_ / "link.idx", link_index);
  WriteBytes(folder_ / "linknode.idx", link_node);
  WriteBytes(folder_ / "maprule.dat", std::string(24000, '\0'));
  WriteRules(rules);
  EXPECT_EQ(Run(), 1);
  std::string expected(8, '\0');
  for (int i = 1; i < 2999; ++i) expected += Turns("40 00 00 00 00 00 00 00");
  EXPECT_EQ(ReadBytes(folder_ / "maprule.dat"), expected + std::string(8, '\0'));
  EXPECT_EQ(log(), EndLines(2998, 0));
}

// A chain of 50000 nodes, more than one block of any file: link i leads from node i to node i + 1,
// which lies in slot 1 of node i (in slot 0 of the first one).
class LongChainTest : public TrafficRulesTest {
 protected:
  static constexpr int kNodes = 50000;

  LongChainTest() {
    std::string calc;
    std::string node_index;
    std::string link_index;
    std::string link_node;
    for (int i = 0; i < kNodes; ++i) {
      calc += i == 0 ? CalcRecord({1}) : CalcRecord({i - 1, i + 1 < kNodes ? i + 1 : -1});
      node_index += IndexRecord(7 + 2 * i, i);
      if (i + 1 == kNodes) continue;
      link_index += IndexRecord(100000 + 3 * i, i);
      link_node += LinkNodeRecord(i, i + 1);
    }
    WriteBytes(folder_ / "mapcalc.dat", calc);
    WriteBytes(folder_ / "node.idx", node_index);
    WriteBytes(folder_ / "link.idx", link_index);
    WriteBytes(folder_ / "linknode.idx", link_node);
    ClearTurns();
  }
  ~LongChainTest() override { SetThreadCount(0); }

  void ClearTurns() { WriteBytes(folder_ / "maprule.dat", std::string(8 * kNodes, '\0')); }

  // Straight on is prohibited at every inner node, and links with an odd number may not be entered
  // at their start.
  void WriteStores(bool backwards) {
    std::vector<std::string> rules;
    std::vector<std::string> one_ways;
    for (int i = 0; i + 1 < kNodes; ++i) {
      const double link = 100000 + 3 * i;
      if (i > 0) rules.push_back(RuleRecord(7 + 2 * i, link - 3, link));
      one_ways.push_back(OneWayRecord(link, 7 + 2 * i, 9 + 2 * i, i % 2 == 1 ? 2 : 0, 0));
    }
    if (backwards) {
      std::reverse(rules.begin(), rules.end());
      std::reverse(one_ways.begin(), one_ways.end());
    }
    std::string bytes;
    for (const std::string& rule : rules) bytes += rule;
    WriteRules(bytes);
    bytes.clear();
    for (const std::string& one_way : one_ways) bytes += one_way;
    WriteOneWays(bytes);
  }
};

// Straight on from slot 0 is bit 0x40. At odd nodes the one-way link bars it from slot 1, too:
// 24999 nodes with two bits each.
TEST_F(LongChainTest, AnyNumberOfThreadsAndAnyOrderGiveTheSame) {
  std::string expected(8, '\0');
  for (int i = 1; i + 1 < kNodes; ++i) {
    expected += Turns(i % 2 == 1 ? "40 40 00 00 00 00 00 00" : "40 00 00 00 00 00 00 00");
  }
  expected += std::string(8, '\0');
  for (const int threads : {1, 2, 5}) {
    for (const bool backwards : {false, true}) {
      SetThreadCount(threads);
      ClearTurns();
      WriteStores(backwards);
      ClearLog();
      EXPECT_EQ(Run(), 1);
      EXPECT_TRUE(ReadBytes(folder_ / "maprule.dat") == expected) << threads;
      EXPECT_EQ(log(), EndLines(49998, 49998));
    }
  }
}

TEST_F(LongChainTest, AFileThatCannotBeReadOnIsReported) {
  WriteStores(false);
  platform::CountOperations();
  EXPECT_EQ(Run(), 1);
  ClearTurns();
  // The last reads: 4 blocks of links, 2 of rules, 2 of one-way links.
  const int64_t reads = platform::OperationCount(Operation::kRead);
  const Lines rules_failed = {"End of RuleStore section ERROR : set count = 0",
                              "End of OneWayStore section ERROR : set count = 0",
                              "BRN_TRF_AddTrafficRules returns ERROR"};
  const struct {
    int64_t number;
    Lines lines;
  } rows[] = {
      {2, {ErrorLine("Can't read ", "mapcalc.dat", "File Error"), rules_failed[2]}},
      {reads - 4, {ErrorLine("Can't read ", "linknode.idx", "File Error"), rules_failed[2]}},
      {reads - 2,
       {ErrorLine("Can't read ", "trafrule.~wk", "File Error"), rules_failed[0], rules_failed[1],
        rules_failed[2]}},
      {reads,
       {"End of RuleStore section OK : set count = 49998",
        ErrorLine("Can't read ", "onewayst.~wk", "File Error"), rules_failed[1], rules_failed[2]}},
  };
  for (const auto& row : rows) {
    ClearLog();
    EXPECT_EQ(RunWithFault({Operation::kRead, row.number}, [&] { return Run(); }), 0);
    EXPECT_EQ(log(), row.lines);
    EXPECT_TRUE(ReadBytes(folder_ / "maprule.dat") == std::string(8 * kNodes, '\0'));
  }
}

// Leaving node 0 toward node 1 (slot 0: bit 0x80) is barred from all of its four slots.
TEST_F(TrafficRulesTest, AOneWayFlagBarsTheLinkFromEveryDirection) {
  WriteOneWays(OneWayRecord(1000, 500, 400, 2, 0));
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(ReadBytes(folder_ / "maprule.dat"),
            Turns("80 80 80 80 00 00 00 00") + std::string(32, '\0'));
  EXPECT_EQ(log(), EndLines(0, 4));
}

TEST_F(TrafficRulesTest, TheSecondFlagBarsTheOtherEnd) {
  WriteOneWays(OneWayRecord(1000, 500, 400, 0, 2));
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(NodeTurnBytes(0), std::string(8, '\0'));
  EXPECT_EQ(NodeTurnBytes(1), Turns("80 00 00 00 00 00 00 00"));
  EXPECT_EQ(log(), EndLines(0, 1));
}

TEST_F(TrafficRulesTest, BothFlagsBarTheLinkFromBothEnds) {
  WriteOneWays(OneWayRecord(1000, 500, 400, 2, 2));
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(NodeTurnBytes(0), Turns("80 80 80 80 00 00 00 00"));
  EXPECT_EQ(NodeTurnBytes(1), Turns("80 00 00 00 00 00 00 00"));
  EXPECT_EQ(log(), EndLines(0, 5));
}

// Link 0 runs from node 500 to node 400: the record names them the other way round, and what it
// says of its first node (400) holds for node 400.
TEST_F(TrafficRulesTest, ReversedNodesHaveTheirFlagsExchanged) {
  WriteOneWays(OneWayRecord(1000, 400, 500, 2, 0));
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(NodeTurnBytes(0), std::string(8, '\0'));
  EXPECT_EQ(NodeTurnBytes(1), Turns("80 00 00 00 00 00 00 00"));
  EXPECT_EQ(log(), EndLines(0, 1));
}

// Link 1 runs from node 300 to node 500. Without both nodes the flags belong to the link's own
// ends in the link's order, even when the one node given says otherwise.
TEST_F(TrafficRulesTest, AMissingNodeCodeFallsBackToTheLinksOwnNodes) {
  for (const auto& [first, second] : {std::pair{0.0, 0.0}, std::pair{500.0, 0.0},
                                      std::pair{0.0, 300.0}, std::pair{500.0, 12345.0}}) {
    WriteBytes(folder_ / "maprule.dat", std::string(40, '\0'));
    ClearLog();
    WriteOneWays(OneWayRecord(2000, first, second, 2, 0));
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(NodeTurnBytes(0), std::string(8, '\0')) << first << " " << second;
    EXPECT_EQ(NodeTurnBytes(2), Turns("80 00 00 00 00 00 00 00")) << first << " " << second;
    EXPECT_EQ(log(), EndLines(0, 1));
  }
}

TEST_F(TrafficRulesTest, ANodeIndexWithAnEmptyCodeIsNotAskedForIt) {
  WriteBytes(folder_ / "node.idx", IndexRecord(0, 3) + IndexRecord(200, 3) + IndexRecord(300, 2) +
                                       IndexRecord(400, 1) + IndexRecord(500, 0));
  // Were node code 0 found, the pair would not fit the link and the record would be skipped.
  WriteOneWays(OneWayRecord(1000, 500, 0, 2, 0));
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(NodeTurnBytes(0), Turns("80 80 80 80 00 00 00 00"));
}

TEST_F(TrafficRulesTest, AOneWayRecordThatDoesNotFitItsLinkIsSkipped) {
  WriteOneWays(OneWayRecord(1000, 500, 300, 2, 2) + OneWayRecord(1000, 300, 400, 2, 2) +
               OneWayRecord(1000, 500, 500, 2, 2) + OneWayRecord(1001, 500, 400, 2, 2) +
               OneWayRecord(0, 500, 400, 2, 2));
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(ReadBytes(folder_ / "maprule.dat"), std::string(40, '\0'));
  EXPECT_EQ(log(), EndLines(0, 0));
}

TEST_F(TrafficRulesTest, OnlyFlagTwoBars) {
  WriteOneWays(OneWayRecord(1000, 500, 400, 1, 3) + OneWayRecord(1000, 400, 500, 0, 4));
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(ReadBytes(folder_ / "maprule.dat"), std::string(40, '\0'));
  EXPECT_EQ(log(), EndLines(0, 0));
}

TEST_F(TrafficRulesTest, AOneWayLinkBesideAParallelOneTakesTheLastSlotOfTheNeighbour) {
  WriteBytes(folder_ / "mapcalc.dat", CalcRecord({1, 2, 1, 3}) + CalcRecord({0, 0}) +
                                          CalcRecord({0}) + CalcRecord({0}) + CalcRecord({0}));
  WriteOneWays(OneWayRecord(1000, 500, 400, 2, 0));
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(NodeTurnBytes(0), Turns("20 20 20 20 00 00 00 00"));
  EXPECT_EQ(log(), EndLines(0, 4));
}

// A link from node 0 to itself stands in two slots of the node; both flags close the later one.
TEST_F(TrafficRulesTest, ALoopIsClosedAtItsLastSlot) {
  WriteBytes(folder_ / "mapcalc.dat", CalcRecord({0, 1, 0}) + CalcRecord({0}) + CalcRecord({0}) +
                                          CalcRecord({0}) + CalcRecord({0}));
  WriteBytes(folder_ / "linknode.idx", LinkNodeRecord(0, 0) + LinkNodeRecord(0, 1));
  WriteBytes(folder_ / "link.idx", IndexRecord(1000, 0) + IndexRecord(2000, 1));
  WriteOneWays(OneWayRecord(1000, 500, 500, 2, 2));
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(NodeTurnBytes(0), Turns("20 20 20 00 00 00 00 00"));
  EXPECT_EQ(log(), EndLines(0, 6));
}

TEST_F(TrafficRulesTest, RulesAndOneWaysAddUp) {
  WriteRules(RuleRecord(500, 1000, 3000));
  WriteOneWays(OneWayRecord(1000, 500, 400, 2, 0));
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(NodeTurnBytes(0), Turns("A0 80 80 80 00 00 00 00"));
  EXPECT_EQ(log(), EndLines(1, 4));
}

TEST_F(TrafficRulesTest, TheOutputFolderIsThatOfTheControlFile) {
  MakeFolder(folder_ / "out");
  for (const char* name : {"mapcalc.dat", "node.idx", "maprule.dat", "link.idx", "linknode.idx"}) {
    WriteBytes(OutPath(name), ReadBytes(folder_ / name));
    WriteBytes(folder_ / name, "");
  }
  WriteBytes(OutPath("trafrule.~wk"), RuleRecord(500, 1000, 3000));
  control_ = WriteControl("[FOLDER]\r\nCALCMAPDIR=" + (folder_ / "out") + "\r\n");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(ReadBytes(OutPath("maprule.dat")), Turns("20") + std::string(39, '\0'));
  EXPECT_EQ(ReadBytes(folder_ / "maprule.dat"), "");
}

// Numbers that lead out of the tables are met with silence.
TEST_F(TrafficRulesTest, WildNumbersAreSkipped) {
  WriteBytes(folder_ / "node.idx", IndexRecord(100, -7) + IndexRecord(200, 5) +
                                       IndexRecord(300, 2147483647) + IndexRecord(400, 1) +
                                       IndexRecord(500, 0));
  WriteBytes(folder_ / "link.idx", IndexRecord(1000, 4) + IndexRecord(2000, -2) +
                                       IndexRecord(3000, 2) + IndexRecord(4000, 3));
  WriteBytes(folder_ / "linknode.idx", LinkNodeRecord(0, 1) + LinkNodeRecord(2, 0) +
                                           LinkNodeRecord(0, 1000000) + LinkNodeRecord(-1, -2));
  WriteRules(RuleRecord(100, 3000, 3000) + RuleRecord(200, 3000, 3000) +
             RuleRecord(300, 3000, 3000) + RuleRecord(500, 1000, 3000) +
             RuleRecord(500, 2000, 3000) + RuleRecord(500, 3000, 3000));
  WriteOneWays(OneWayRecord(3000, 0, 0, 2, 2) + OneWayRecord(4000, 0, 0, 2, 2));
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(ReadBytes(folder_ / "maprule.dat"), std::string(40, '\0'));
  EXPECT_EQ(log(), EndLines(0, 0));
}

TEST_F(TrafficRulesTest, TablesThatWereCutShortAreNotReadBeyondTheirEnd) {
  WriteRules(RuleRecord(500, 1000, 3000) + RuleRecord(400, 1000, 1000));
  WriteOneWays(OneWayRecord(4000, 100, 500, 2, 2));
  for (const auto& [name, size] :
       {std::pair{"mapcalc.dat", 63u}, std::pair{"node.idx", 17u}, std::pair{"link.idx", 5u},
        std::pair{"linknode.idx", 31u}, std::pair{"maprule.dat", 7u}}) {
    const std::string whole = ReadBytes(folder_ / name);
    WriteBytes(folder_ / name, whole.substr(0, size));
    EXPECT_EQ(Run(), 1) << name;
    EXPECT_EQ(ReadBytes(folder_ / "maprule.dat").size(),
              std::string(name) == "maprule.dat" ? 7u : 40u);
    WriteBytes(folder_ / name, whole);
  }
}

TEST_F(TrafficRulesTest, AMissingNetworkFileIsReported) {
  for (const char* name : {"mapcalc.dat", "node.idx", "maprule.dat", "link.idx", "linknode.idx"}) {
    const std::string whole = ReadBytes(folder_ / name);
    ASSERT_TRUE(platform::RemoveFile((folder_ / name).c_str()));
    ClearLog();
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(log(), (Lines{ErrorLine("Can't open ", name, "File Error"),
                            "BRN_TRF_AddTrafficRules returns ERROR"}));
    WriteBytes(folder_ / name, whole);
  }
}

TEST_F(TrafficRulesTest, NetworkFilesAreLoadedInTheirOrder) {
  const char* const names[] = {"mapcalc.dat", "node.idx", "maprule.dat", "link.idx",
                               "linknode.idx"};
  for (int i = 0; i < 5; ++i) {
    ClearLog();
    EXPECT_EQ(RunWithFault({Operation::kRead, i + 1}, [&] { return Run(); }), 0);
    EXPECT_EQ(log(), (Lines{ErrorLine("Can't read ", names[i], "File Error"),
                            "BRN_TRF_AddTrafficRules returns ERROR"}));
    ClearLog();
    EXPECT_EQ(RunWithFault({Operation::kOpen, i + 1}, [&] { return Run(); }), 0);
    EXPECT_EQ(log(), (Lines{ErrorLine("Can't open ", names[i], "File Error"),
                            "BRN_TRF_AddTrafficRules returns ERROR"}));
  }
}

// The nodes take a block of the file and two tables of neighbours, the links a block and a table.
TEST_F(TrafficRulesTest, NoMemoryIsReportedForEveryBlock) {
  const char* const names[] = {"mapcalc.dat", "mapcalc.dat", "mapcalc.dat",  "node.idx",
                               "maprule.dat", "link.idx",    "linknode.idx", "linknode.idx"};
  for (int i = 0; i < 8; ++i) {
    ClearLog();
    EXPECT_EQ(RunWithFault({Operation::kAllocate, i + 1}, [&] { return Run(); }), 0);
    EXPECT_EQ(log(), (Lines{ErrorLine("Can't allocate memory for ", names[i], "Memory Error"),
                            "BRN_TRF_AddTrafficRules returns ERROR"}));
  }
}

TEST_F(TrafficRulesTest, AFailedRuleStoreSkipsTheOneWays) {
  WriteRules(RuleRecord(500, 1000, 3000));
  WriteOneWays(OneWayRecord(1000, 500, 400, 2, 2));
  const Lines ends = {"End of RuleStore section ERROR : set count = 0",
                      "End of OneWayStore section ERROR : set count = 0",
                      "BRN_TRF_AddTrafficRules returns ERROR"};
  const struct {
    Operation operation;
    const char* text;
    const char* title;
    int number;
  } rows[] = {{Operation::kOpen, "Can't open ", "File Error", 6},
              {Operation::kRead, "Can't read ", "File Error", 6},
              {Operation::kAllocate, "Can't allocate memory for ", "Memory Error", 10}};
  for (const auto& row : rows) {
    ClearLog();
    EXPECT_EQ(RunWithFault({row.operation, row.number}, [&] { return Run(); }), 0);
    Lines expected = ends;
    expected.insert(expected.begin(), ErrorLine(row.text, "trafrule.~wk", row.title));
    EXPECT_EQ(log(), expected);
    EXPECT_EQ(ReadBytes(folder_ / "maprule.dat"), std::string(40, '\0'));
  }
}

TEST_F(TrafficRulesTest, AFailedOneWayStoreLeavesTheTableUnwritten) {
  WriteRules(RuleRecord(500, 1000, 3000));
  WriteOneWays(OneWayRecord(1000, 500, 400, 2, 2));
  const Lines ends = {"End of OneWayStore section ERROR : set count = 0",
                      "BRN_TRF_AddTrafficRules returns ERROR"};
  EXPECT_EQ(RunWithFault({Operation::kRead, 7}, [&] { return Run(); }), 0);
  EXPECT_EQ(log(),
            (Lines{"End of RuleStore section OK : set count = 1",
                   ErrorLine("Can't read ", "onewayst.~wk", "File Error"), ends[0], ends[1]}));
  EXPECT_EQ(ReadBytes(folder_ / "maprule.dat"), std::string(40, '\0'));

  ClearLog();
  EXPECT_EQ(RunWithFault({Operation::kAllocate, 11}, [&] { return Run(); }), 0);
  EXPECT_EQ(log()[1], ErrorLine("Can't allocate memory for ", "onewayst.~wk", "Memory Error"));

  // A folder of that name exists and cannot be opened as a file.
  ClearLog();
  platform::ClearFaults();
  ASSERT_TRUE(platform::RemoveFile((folder_ / "onewayst.~wk").c_str()));
  MakeFolder(folder_ / "onewayst.~wk");
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(log()[1], ErrorLine("Can't open ", "onewayst.~wk", "File Error"));
  EXPECT_EQ(ReadBytes(folder_ / "maprule.dat"), std::string(40, '\0'));
}

TEST_F(TrafficRulesTest, ATableThatCannotBeCreatedIsReported) {
  WriteRules(RuleRecord(500, 1000, 3000));
  const platform::File reader =
      platform::File::Open((folder_ / "maprule.dat").c_str(), platform::Access::kRead,
                           platform::Share::kRead, platform::Disposition::kOpenExisting);
  ASSERT_TRUE(reader.IsOpen());
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(log(), (Lines{"End of RuleStore section OK : set count = 1",
                          "End of OneWayStore section OK : set count = 0",
                          ErrorLine("Can't open ", "maprule.dat", "File Error"),
                          "BRN_TRF_AddTrafficRules returns ERROR"}));
  EXPECT_EQ(ReadBytes(folder_ / "maprule.dat"), std::string(40, '\0'));
}

TEST_F(TrafficRulesTest, ATableThatCannotBeWrittenIsReported) {
  platform::StepTickCount(5000);  // the wait before the second try passes at once
  for (const auto fault :
       {platform::WriteFault::kNothingWritten, platform::WriteFault::kHalfWritten}) {
    WriteBytes(folder_ / "maprule.dat", std::string(40, '\0'));
    ClearLog();
    EXPECT_EQ(RunWithFault({Operation::kWrite, 1, true, fault}, [&] { return Run(); }), 0);
    EXPECT_EQ(log(), (Lines{"End of RuleStore section OK : set count = 0",
                            "End of OneWayStore section OK : set count = 0",
                            ErrorLine("Can't write ", "maprule.dat", "File Error"),
                            "BRN_TRF_AddTrafficRules returns ERROR"}));
  }
}

TEST_F(TrafficRulesTest, ACancelledRunChangesNothing) {
  WriteRules(RuleRecord(500, 1000, 3000));
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(log(), (Lines{"BRN_TRF_AddTrafficRules returns ERROR"}));
  EXPECT_EQ(ReadBytes(folder_ / "maprule.dat"), std::string(40, '\0'));
}

TEST_F(TrafficRulesTest, CancelIsNoticedAtTheEndOfASection) {
  WriteRules(RuleRecord(500, 1000, 3000));
  WriteOneWays(OneWayRecord(1000, 500, 400, 2, 0));
  g_silent = 0;
  Lines lines;
  SetLogListener([&lines](const char* text) {
    lines.emplace_back(text);
    FRD_SetCancelled(true);
  });
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(lines, (Lines{"End of RuleStore section OK : set count = 1",
                          "End of OneWayStore section ERROR : set count = 4",
                          "BRN_TRF_AddTrafficRules returns ERROR"}));
  EXPECT_EQ(ReadBytes(folder_ / "maprule.dat"), std::string(40, '\0'));
}

TEST_F(TrafficRulesTest, CancelIsNoticedBeforeTheTableIsWritten) {
  WriteRules(RuleRecord(500, 1000, 3000));
  CancelAt("End of OneWayStore section");
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(log(), (Lines{"End of RuleStore section OK : set count = 1",
                          "End of OneWayStore section OK : set count = 0",
                          "BRN_TRF_AddTrafficRules returns ERROR"}));
  EXPECT_EQ(ReadBytes(folder_ / "maprule.dat"), std::string(40, '\0'));
}

#ifndef _WIN32  // the progress window prints its status lines there
TEST_F(TrafficRulesTest, TheStatusLineMovesEveryTenThousandRecords) {
  std::string rules;
  for (int i = 0; i < 10000; ++i) rules += RuleRecord(500, 1000, 3000, i < 3 ? 1 : 2);
  WriteRules(rules + RuleRecord(500, 1000, 3000));
  WriteOneWays(OneWayRecord(1000, 500, 400, 2, 0) + OneWayRecord(1, 500, 400, 2, 0));
  g_silent = 0;
  ::testing::internal::CaptureStderr();
  const int result = FRD_RunDialog(
      nullptr,
      [](WindowHandle window, int64_t, const char* control) {
        return BRN_TRF_AddTrafficRules(window, control);
      },
      0, control_.c_str());
  const std::string shown = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(result, 1);
  EXPECT_EQ(shown,
            "Initalizing...\n"
            "Initializing...\n"
            "Checking RuleStorage 9997 / 10000\n"
            "Checking RuleStorage 9998 / 10001\n"
            "Checking OneWayStorage 4 / 2\n"
            "Writing TrafRule File...\n");
  EXPECT_EQ(log(), EndLines(9998, 4));
}
#endif

}  // namespace
}  // namespace zatlib::test
