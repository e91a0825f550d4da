#include "network/store_checks.h"

#include <numeric>

#include "network_stores.h"

namespace zatlib::test::network {
namespace {

constexpr char kDuplicationTitle[] = "File Error in BRN_CheckNodeLinkDuplication";

class StoreChecksTest : public BothLengths {
 protected:
  int CheckDuplication() { return BRN_CheckNodeLinkDuplication(nullptr, control()); }
  int CheckNodes() { return BRN_CheckNodeStoreFromLinkStore(nullptr, control()); }
  int MakeIndex() { return BRN_MakeDrotenNodeIndex(nullptr, &list_, control()); }
  int CheckLinks() { return BRN_CheckLinkStore(nullptr, list_, control()); }
  int MakeDummies() { return BRN_MakeDummyLinks(nullptr, list_, control()); }

  // The sorted list of these codes (given in ascending order).
  void UseList(const std::vector<int64_t>& codes) {
    ASSERT_TRUE(list_.codes.Allocate(codes.size() + 2));
    list_.count = static_cast<int64_t>(codes.size());
    for (size_t i = 0; i < codes.size(); ++i) {
      list_.codes[i] = form_.length == 14 ? FeatureCode::FromDouble(static_cast<double>(codes[i]))
                                          : FeatureCode::FromInteger(codes[i]);
    }
  }

  std::string NodeTwice(const std::string& digits) {
    return "[" + Cp932("道路点 ") + digits +
           Cp932(" が重複しています。重複を取り除いてください。][道路点データの重複エラー]");
  }
  std::string LinkTwice(const std::string& digits) {
    return "[" + Cp932("道路区間 ") + digits +
           Cp932(" が重複しています。重複を取り除いてください。][道路区間データの重複エラー]");
  }

  SortedCodes list_;
};

INSTANTIATE_TEST_SUITE_P(CodeLength, StoreChecksTest, ::testing::Values(14, 18));

// ---- BRN_CheckNodeLinkDuplication ----------------------------------------------------------

TEST_P(StoreChecksTest, StoresWithoutDuplicatesPass) {
  SaveNodes({{.code = 3}, {.code = 1}, {.code = 2}});
  SaveLinks({{.code = 3}, {.code = 1}});
  const std::string nodes = FileBytes("nodestr.~wk");
  const std::string links = FileBytes("linkstr.~wk");
  EXPECT_EQ(CheckDuplication(), 1);
  EXPECT_EQ(log(), (Lines{"Checking Node Duplication...", "Checking Link Duplication..."}));
  EXPECT_EQ(FileBytes("nodestr.~wk"), nodes);
  EXPECT_EQ(FileBytes("linkstr.~wk"), links);
}

TEST_P(StoreChecksTest, AnEmptyNodeStoreFailsWithoutAMessage) {
  SaveNodes({});
  SaveLinks({{.code = 1}});
  EXPECT_EQ(CheckDuplication(), 0);
  EXPECT_EQ(log(), Lines{"Checking Node Duplication..."});
}

TEST_P(StoreChecksTest, ANodeStoreOfLessThanARecordIsEmpty) {
  SaveNodes({}, std::string(95, 'x'));
  SaveLinks({{.code = 1}});
  EXPECT_EQ(CheckDuplication(), 0);
  EXPECT_EQ(Reports(), Lines());
}

TEST_P(StoreChecksTest, EveryDuplicateIsListed) {
  SaveNodes({{.code = 20}, {.code = 10}, {.code = 20}, {.code = 30}, {.code = 10}, {.code = 10}});
  SaveLinks({{.code = 7}, {.code = 8}, {.code = 8}, {.code = 7}});
  EXPECT_EQ(CheckDuplication(), 0);
  EXPECT_EQ(log(), (Lines{"Checking Node Duplication...", NodeTwice(form_.Digits(10)),
                          NodeTwice(form_.Digits(10)), NodeTwice(form_.Digits(20)),
                          "Checking Link Duplication...", LinkTwice(form_.Digits(7)),
                          LinkTwice(form_.Digits(8))}));
}

#ifndef _WIN32
TEST_P(StoreChecksTest, DuplicatesAreShownUnlessSilent) {
  SaveNodes({{.code = 10}, {.code = 10}, {.code = 20}, {.code = 20}});
  SaveLinks({{.code = 7}});
  g_silent = 0;
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(CheckDuplication(), 0);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "道路点データの重複エラー: 道路点 " + form_.Digits(10) +
                " が重複しています。重複を取り除いてください。\n"
                "道路点データの重複エラー: 道路点 " +
                form_.Digits(20) + " が重複しています。重複を取り除いてください。\n");
  EXPECT_EQ(Reports(), (Lines{NodeTwice(form_.Digits(10)), NodeTwice(form_.Digits(20))}));
}
#endif

TEST_P(StoreChecksTest, DuplicateLinksAloneFailToo) {
  SaveNodes({{.code = 1}, {.code = 2}});
  SaveLinks({{.code = 5}, {.code = 5}});
  EXPECT_EQ(CheckDuplication(), 0);
  EXPECT_EQ(Reports(), Lines{LinkTwice(form_.Digits(5))});
}

TEST_P(StoreChecksTest, ZeroCodesCountAsDuplicatesOfEachOther) {
  SaveNodes({{.code = 0}, {.code = 1}, {.code = 0}});
  SaveLinks({{.code = 0}, {.code = 0}});
  EXPECT_EQ(CheckDuplication(), 0);
  EXPECT_EQ(Reports(), (Lines{NodeTwice(form_.Digits(0)), LinkTwice(form_.Digits(0))}));
}

TEST_P(StoreChecksTest, APartialRecordAtTheEndIsNotCompared) {
  SaveNodes({{.code = 1}, {.code = 2}}, NodeRecord(form_, {.code = 1}).substr(0, 95));
  SaveLinks({{.code = 1}, {.code = 2}}, LinkRecord(form_, {.code = 2}).substr(0, 47));
  EXPECT_EQ(CheckDuplication(), 1);
  EXPECT_EQ(Reports(), Lines());
}

TEST_F(NetworkTest, LongCodesThatDifferInTheLastDigitAreNoDuplicates) {
  UseLength(18);
  SaveNodes({{.code = 100000000000000001}, {.code = 100000000000000002}});
  SaveLinks({{.code = 999999999999999998}, {.code = 999999999999999999}});
  EXPECT_EQ(BRN_CheckNodeLinkDuplication(nullptr, control()), 1);
  EXPECT_EQ(Reports(), Lines());
}

TEST_F(NetworkTest, DuplicatesArePrintedWithAllDigits) {
  UseLength(18);
  SaveNodes({{.code = 123456789012345678}, {.code = 123456789012345678}});
  SaveLinks({{.code = 1}});
  EXPECT_EQ(BRN_CheckNodeLinkDuplication(nullptr, control()), 0);
  EXPECT_EQ(Reports(), Lines{Cp932("[道路点 123456789012345678 が重複しています。重複を取り除いて"
                                   "ください。][道路点データの重複エラー]")});
  ClearLog();
  UseLength(14);
  SaveNodes({{.code = 12345678901234}, {.code = 12345678901234}});
  EXPECT_EQ(BRN_CheckNodeLinkDuplication(nullptr, control()), 0);
  EXPECT_EQ(Reports(), Lines{Cp932("[道路点 12345678901234 が重複しています。重複を取り除いて"
                                   "ください。][道路点データの重複エラー]")});
}

TEST_P(StoreChecksTest, StoresInUseCannotBeCheckedForDuplicates) {
  SaveNodes({{.code = 1}, {.code = 2}});
  SaveLinks({{.code = 1}, {.code = 2}});
  {
    const platform::File lock = Lock("linkstr.~wk");
    EXPECT_EQ(CheckDuplication(), 0);
  }
  const platform::File lock = Lock("nodestr.~wk");
  EXPECT_EQ(CheckDuplication(), 0);
  EXPECT_EQ(Reports(),
            (Lines{Report("Can't open LINKSTORE(%s) !", kDuplicationTitle, "linkstr.~wk"),
                   Report("Can't open NODESTORE(%s) !", kDuplicationTitle, "nodestr.~wk")}));
}

TEST_P(StoreChecksTest, MissingStoresHoldNoRecords) {
  SaveLinks({{.code = 1}});
  EXPECT_EQ(CheckDuplication(), 0);
  EXPECT_EQ(log(), Lines{"Checking Node Duplication..."});
}

TEST_P(StoreChecksTest, DuplicationCheckReportsWhatCannotBeOpened) {
  const LineSet reports =
      FailEach(platform::Operation::kOpen, {.prepare =
                                                [&] {
                                                  SaveNodes({{.code = 1}, {.code = 2}});
                                                  SaveLinks({{.code = 1}, {.code = 2}});
                                                },
                                            .run = [&] { return CheckDuplication(); }});
  EXPECT_EQ(reports,
            (LineSet{Report("Can't open NODESTORE(%s) !", kDuplicationTitle, "nodestr.~wk"),
                     Report("Can't open LINKSTORE(%s) !", kDuplicationTitle, "linkstr.~wk")}));
}

TEST_P(StoreChecksTest, DuplicationCheckReportsWhatCannotBeRead) {
  const LineSet reports =
      FailEach(platform::Operation::kRead, {.prepare =
                                                [&] {
                                                  SaveNodes({{.code = 1}, {.code = 2}});
                                                  SaveLinks({{.code = 1}, {.code = 2}});
                                                },
                                            .run = [&] { return CheckDuplication(); }});
  EXPECT_EQ(
      reports,
      (LineSet{Report("Can't read the NODESTORE(%s) at 0 !", kDuplicationTitle, "nodestr.~wk"),
               Report("Can't read the LINKSTORE(%s) at 0 !", kDuplicationTitle, "linkstr.~wk")}));
}

TEST_P(StoreChecksTest, DuplicationCheckReportsMissingMemory) {
  const LineSet reports = FailEach(platform::Operation::kAllocate,
                                   {.prepare =
                                        [&] {
                                          SaveNodes({{.code = 1}, {.code = 2}, {.code = 3}});
                                          SaveLinks({{.code = 1}, {.code = 2}});
                                        },
                                    .run = [&] { return CheckDuplication(); }});
  EXPECT_EQ(reports.count(Report("Can't allocate the index memory for NODESTORE!",
                                 "Memory Error in BRN_CheckNodeLinkDuplication")),
            1u);
  EXPECT_EQ(reports.count(Report("Can't allocate the memory for the Index (rec=2)!",
                                 "Memory Error in BRN_CheckNodeLinkDuplication")),
            1u);
}

TEST_P(StoreChecksTest, WhatTheDuplicationCheckHandsOnGivesWayToItsOwnNeeds) {
  // Refused are, one at a time, what it cannot do without and what it does for the next checks.
  int without = 0;
  const LineSet reports =
      FailEach(platform::Operation::kAllocate,
               {.prepare =
                    [&] {
                      SaveNodes({{.code = 1}, {.code = 2}, {.code = 3}});
                      SaveLinks({{.code = 1, .a = 1, .b = 2}, {.code = 2, .a = 2, .b = 3}});
                    },
                .run =
                    [&] {
                      CheckedStores known;
                      const int result = BRN_CheckNodeLinkDuplication(nullptr, control(), &known);
                      if (result != 0 && !known.filled) {
                        ++without;
                        EXPECT_FALSE(static_cast<bool>(known.nodes.codes));
                        EXPECT_FALSE(static_cast<bool>(known.ends));
                        EXPECT_EQ(known.nodes.count, 0);
                      }
                      return result;
                    }});
  // The codes of the links, the marks of the ends and the bits of the links.
  EXPECT_EQ(without, 3);
  EXPECT_EQ(CountMessages(reports, "Can't allocate the index memory for NODESTORE!"), 1);
  EXPECT_EQ(CountMessages(reports, "Can't allocate the memory for the Index (rec=2)!"), 0);
}

TEST_P(StoreChecksTest, DuplicationCheckRefusesAnInvalidCodeLength) {
  SaveNodes({{.code = 1}, {.code = 2}});
  SaveLinks({{.code = 1}, {.code = 2}});
  UseLength(16);
  EXPECT_EQ(CheckDuplication(), 0);
  ASSERT_EQ(Reports().size(), 1u);
  EXPECT_EQ(Reports()[0].find("[The CodeLength = 16 is invalid !][Logic Error in BRN_"), 0u);
}

TEST_P(StoreChecksTest, ACancelStopsTheDuplicationCheck) {
  SaveNodes({{.code = 1}, {.code = 2}});
  SaveLinks({{.code = 1}, {.code = 2}});
  CancelAt("Checking Node Duplication...");
  EXPECT_EQ(CheckDuplication(), 0);
  EXPECT_EQ(log(), Lines{"Checking Node Duplication..."});
}

// ---- BRN_CheckNodeStoreFromLinkStore -------------------------------------------------------

TEST_P(StoreChecksTest, NodesWithoutLinksAreKilled) {
  const StoreNode orphan{.code = 4,
                         .partner = 1,
                         .attr = 9,
                         .city = 8,
                         .x = 7,
                         .y = 6,
                         .links = {11, 12, 13, 14, 15, 16, 17, 18}};
  SaveNodes({{.code = 1, .partner = 2, .links = {10}}, orphan, {.code = 2}, {.code = 3}});
  SaveLinks({{.code = 10, .a = 1, .b = 2}, {.code = 20, .a = 2, .b = 5}});
  const std::string links = FileBytes("linkstr.~wk");
  EXPECT_EQ(CheckNodes(), 1);
  StoreNode killed = orphan;
  killed.code = 0;
  killed.partner = 0;
  EXPECT_EQ(FileBytes("nodestr.~wk"), NodeRecord(form_, {.code = 1, .partner = 2, .links = {10}}) +
                                          NodeRecord(form_, killed) +
                                          NodeRecord(form_, {.code = 2}) +
                                          NodeRecord(form_, {.code = 0}));
  EXPECT_EQ(FileBytes("linkstr.~wk"), links);
  EXPECT_EQ(log(),
            (Lines{"Checking Node Data (P1)...", "Checking Node Data (P2)...",
                   "NodeStore=4, Killed Node=2, BRN_CheckNodeStoreFromLinkStore returns=OK"}));
}

TEST_P(StoreChecksTest, ARecordWithoutCodeCountsAsKilledAndLosesItsPartner) {
  SaveNodes({{.code = 0, .partner = 1, .attr = 5, .links = {10}}, {.code = 1}});
  // A link names code 0 too: an empty record is no end of it.
  SaveLinks({{.code = 10, .a = 0, .b = 1}});
  EXPECT_EQ(CheckNodes(), 1);
  EXPECT_EQ(FileBytes("nodestr.~wk"), NodeRecord(form_, {.code = 0, .attr = 5, .links = {10}}) +
                                          NodeRecord(form_, {.code = 1}));
  EXPECT_EQ(log().back(), "NodeStore=2, Killed Node=1, BRN_CheckNodeStoreFromLinkStore returns=OK");
}

TEST_P(StoreChecksTest, PartialRecordsAreNeitherReadNorChanged) {
  const std::string partial_node = NodeRecord(form_, {.code = 9}).substr(0, 95);
  SaveNodes({{.code = 1}, {.code = 2}}, partial_node);
  SaveLinks({{.code = 10, .a = 1, .b = 1}},
            LinkRecord(form_, {.code = 11, .a = 2, .b = 2}).substr(0, 47));
  EXPECT_EQ(CheckNodes(), 1);
  EXPECT_EQ(FileBytes("nodestr.~wk"),
            NodeRecord(form_, {.code = 1}) + NodeRecord(form_, {.code = 0}) + partial_node);
  EXPECT_EQ(log().back(), "NodeStore=2, Killed Node=1, BRN_CheckNodeStoreFromLinkStore returns=OK");
}

TEST_P(StoreChecksTest, AnEmptyLinkStoreKillsEveryNode) {
  SaveNodes({{.code = 1}, {.code = 2}});
  SaveLinks({});
  EXPECT_EQ(CheckNodes(), 1);
  EXPECT_EQ(FileBytes("nodestr.~wk"),
            NodeRecord(form_, {.code = 0}) + NodeRecord(form_, {.code = 0}));
  EXPECT_EQ(log().back(), "NodeStore=2, Killed Node=2, BRN_CheckNodeStoreFromLinkStore returns=OK");
}

TEST_P(StoreChecksTest, ManyNodesAreFoundAmongManyLinkEnds) {
  std::vector<StoreNode> nodes;
  std::vector<StoreLink> links;
  for (int64_t i = 1; i <= 30000; ++i) nodes.push_back({.code = i});
  // Every third node is named, in falling order.
  for (int64_t i = 30000; i > 0; i -= 6) links.push_back({.code = i, .a = i, .b = i - 3});
  SaveNodes(nodes);
  SaveLinks(links);
  EXPECT_EQ(CheckNodes(), 1);
  EXPECT_EQ(log().back(),
            "NodeStore=30000, Killed Node=20000, BRN_CheckNodeStoreFromLinkStore returns=OK");
  const std::string bytes = FileBytes("nodestr.~wk");
  int wrong = 0;
  for (int64_t i = 1; i <= 30000; ++i) {
    const StoreNode node{.code = i % 3 == 0 ? i : 0};
    if (Record(bytes, static_cast<size_t>(i - 1), 96) != NodeRecord(form_, node)) ++wrong;
  }
  EXPECT_EQ(wrong, 0);
}

TEST_P(StoreChecksTest, NodeCheckReportsMissingStores) {
  SaveNodes({{.code = 1}});
  EXPECT_EQ(CheckNodes(), 0);
  EXPECT_EQ(Reports(),
            Lines{Report("Can't open LINKSTORE(%s) !",
                         "File Error in BRN_CheckNodeStoreFromLinkStore", "linkstr.~wk")});
  EXPECT_NE(log().back().find("BRN_CheckNodeStoreFromLinkStore returns=ERROR"), std::string::npos);
  ClearLog();
  platform::RemoveFile((folder_ / "nodestr.~wk").c_str());
  SaveLinks({{.code = 10, .a = 1, .b = 1}});
  EXPECT_EQ(CheckNodes(), 0);
  EXPECT_EQ(Reports(),
            Lines{Report("Can't open NODESTORE(%s) !",
                         "File Error in BRN_CheckNodeStoreFromLinkStore", "nodestr.~wk")});
  EXPECT_NE(log().back().find("BRN_CheckNodeStoreFromLinkStore returns=ERROR"), std::string::npos);
}

TEST_P(StoreChecksTest, NodeCheckReportsStoresInUse) {
  SaveNodes({{.code = 1}});
  SaveLinks({{.code = 10, .a = 1, .b = 1}});
  {
    const platform::File lock = Lock("nodestr.~wk");
    EXPECT_EQ(CheckNodes(), 0);
  }
  EXPECT_EQ(Reports(),
            Lines{Report("Can't open NODESTORE(%s) !",
                         "File Error in BRN_CheckNodeStoreFromLinkStore", "nodestr.~wk")});
}

TEST_P(StoreChecksTest, NodeCheckReportsWhatCannotBeReadOrWritten) {
  const auto prepare = [&] {
    SaveNodes({{.code = 1}, {.code = 2}});
    SaveLinks({{.code = 10, .a = 1, .b = 1}, {.code = 11, .a = 1, .b = 1}});
  };
  EXPECT_EQ(FailEach(platform::Operation::kRead,
                     {.prepare = prepare, .run = [&] { return CheckNodes(); }}),
            (LineSet{Report("Read LinkStorage data (0) is smaller than 2!\r\nMaybe A file error!",
                            "File Error"),
                     Report("Read NodeStorage data (0) is smaller than 2!\r\nMaybe A file error!",
                            "File Error")}));
  const LineSet written =
      FailEach(platform::Operation::kWrite, {.prepare = prepare,
                                             .run = [&] { return CheckNodes(); },
                                             .write_fault = platform::WriteFault::kHalfWritten});
  EXPECT_EQ(written,
            (LineSet{Report("Can't write NodeStore(%s) at 1 !", "File Error", "nodestr.~wk")}));
}

TEST_P(StoreChecksTest, NodeCheckReportsMissingMemory) {
  const LineSet reports =
      FailEach(platform::Operation::kAllocate,
               {.prepare =
                    [&] {
                      SaveNodes({{.code = 1}, {.code = 2}});
                      SaveLinks({{.code = 10, .a = 1, .b = 1}, {.code = 11, .a = 1, .b = 1}});
                    },
                .run = [&] { return CheckNodes(); }});
  const bool found =
      reports.count(Report("Can't allocate the memory for the Index (rec=2)!",
                           "Memory Error in BRN_CheckNodeStoreFromLinkStore")) == 1 ||
      reports.count(Report("Can't allocate the memory for the Index (rec=4)!",
                           "Memory Error in BRN_CheckNodeStoreFromLinkStore")) == 1;
  EXPECT_TRUE(found);
}

TEST_P(StoreChecksTest, ACancelStopsTheNodeCheck) {
  SaveNodes({{.code = 1}, {.code = 2}});
  SaveLinks({{.code = 10, .a = 1, .b = 1}});
  const std::string nodes = FileBytes("nodestr.~wk");
  CancelAt("Checking Node Data (P1)...");
  EXPECT_EQ(CheckNodes(), 0);
  EXPECT_EQ(log()[0], "Checking Node Data (P1)...");
  EXPECT_EQ(std::count(log().begin(), log().end(), "Checking Node Data (P2)..."), 0);
  EXPECT_EQ(FileBytes("nodestr.~wk"), nodes);
}

// ---- BRN_MakeDrotenNodeIndex ---------------------------------------------------------------

TEST_P(StoreChecksTest, TheNodeIndexHoldsTheCodesInOrder) {
  SaveNodes({{.code = 30}, {.code = 0}, {.code = 10}, {.code = 20}, {.code = 0}},
            std::string(50, 'x'));
  EXPECT_EQ(MakeIndex(), 1);
  ASSERT_EQ(list_.count, 3);
  const std::string bytes(reinterpret_cast<const char*>(list_.codes.data()), 24);
  EXPECT_EQ(bytes, form_.Code(10) + form_.Code(20) + form_.Code(30));
  EXPECT_EQ(log(), Lines{"Making Node Index ..."});
}

TEST_P(StoreChecksTest, TheNodeIndexStepEndsWithASummaryWhenAskedFor) {
  UseControl("LOG=1\r\n");
  SaveNodes({{.code = 30}, {.code = 0}, {.code = 10}});
  EXPECT_EQ(MakeIndex(), 1);
  EXPECT_EQ(log(), (Lines{"Making Node Index ...",
                          "lnNumIndex=2, lnNumNodeStore=3, BRN_MakeDrotenNodeIndex returns=1"}));
}

TEST_F(NetworkTest, TheNodeIndexStepShowsAnOddCodeForDuplicates) {
  // Smallest code 500, pairs at the positions 1, 3 and 4 of 500 500 700 700 700.
  SaveNodes({{.code = 700}, {.code = 500}, {.code = 700}, {.code = 500}, {.code = 700}});
  SortedCodes list;
  EXPECT_EQ(BRN_MakeDrotenNodeIndex(nullptr, &list, control()), 1);
  EXPECT_EQ(list.count, 5);
  const auto line = [](const char* digits) {
    return Cp932("[道路点 ") + digits +
           Cp932(" が重複しています。重複を取り除いてください。][道路点重複チェック]");
  };
  EXPECT_EQ(log(), (Lines{"Making Node Index ...", line("00000000000500"), line("00000000000502"),
                          line("00000000000503")}));
}

TEST_F(NetworkTest, TheOddCodeOfLongCodesIsComputedAsADouble) {
  UseLength(18);
  // The smallest code, 5, is a double next to nothing; with position 2 the sum is 1.0, whose bits
  // are 0x3FF0000000000000.
  SaveNodes({{.code = 7}, {.code = 5}, {.code = 7}});
  SortedCodes list;
  EXPECT_EQ(BRN_MakeDrotenNodeIndex(nullptr, &list, control()), 1);
  EXPECT_EQ(Reports(), Lines{Cp932("[道路点 4607182418800017408 が重複しています。重複を取り除いて"
                                   "ください。][道路点重複チェック]")});
}

TEST_P(StoreChecksTest, TheNodeIndexStepNamesTheOtherStoreWhenItsOwnIsMissing) {
  EXPECT_EQ(MakeIndex(), 0);
  EXPECT_EQ(list_.count, 0);
  EXPECT_EQ(Reports(), Lines{Report("Can't open LINKSTR.WRK(%s) !",
                                    "File Error in BRN_MakeDrotenNodeIndex", "nodestr.~wk")});
}

TEST_P(StoreChecksTest, TheNodeIndexStepReportsAStoreThatCannotBeRead) {
  EXPECT_EQ(FailEach(platform::Operation::kRead, {.prepare =
                                                      [&] {
                                                        SaveNodes({{.code = 1}, {.code = 2}});
                                                      },
                                                  .run = [&] { return MakeIndex(); }}),
            LineSet{Report("Can't read the NodeStore(%s) at 0!",
                           "File Error in BRN_MakeDrotenNodeIndex", "nodestr.~wk")});
}

TEST_P(StoreChecksTest, TheNodeIndexStepReportsMissingMemory) {
  const LineSet reports =
      FailEach(platform::Operation::kAllocate, {.prepare =
                                                    [&] {
                                                      SaveNodes({{.code = 1}, {.code = 2}});
                                                    },
                                                .run = [&] { return MakeIndex(); }});
  EXPECT_EQ(reports.count(Report("Can't allocate the memory for Index (rec=2) !",
                                 "File Error in BRN_MakeDrotenNodeIndex")),
            1u);
}

TEST_P(StoreChecksTest, TheNodeIndexStepRefusesAnInvalidCodeLength) {
  SaveNodes({{.code = 1}, {.code = 2}});
  for (const int length : {16, 0}) {
    UseLength(length);
    ClearLog();
    EXPECT_EQ(MakeIndex(), 0);
    EXPECT_EQ(Reports(),
              Lines{Report("The CodeLength = " + std::to_string(length) + " is invalid !",
                           "Logic Error in BRN_MakeDrotenNodeIndex")});
  }
  WriteBytes(folder_ / "linkdef.dat", "[SYSTEM]\r\nCODELENGTH=garbage\r\n");
  ClearLog();
  EXPECT_EQ(MakeIndex(), 0);
  EXPECT_EQ(Reports(), Lines{"[The CodeLength = 0 is invalid !]"
                             "[Logic Error in BRN_MakeDrotenNodeIndex]"});
}

TEST_F(NetworkTest, WithoutACodeLengthCodesHaveFourteenDigits) {
  WriteBytes(folder_ / "linkdef.dat", "");
  SaveNodes({{.code = 2}, {.code = 1}});
  SortedCodes list;
  EXPECT_EQ(BRN_MakeDrotenNodeIndex(nullptr, &list, control()), 1);
  EXPECT_EQ(list.count, 2);
  EXPECT_EQ(list.codes[0].AsDouble(), 1.0);
}

TEST_P(StoreChecksTest, ACancelStopsTheNodeIndexStep) {
  SaveNodes({{.code = 1}, {.code = 2}});
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(MakeIndex(), 0);
  EXPECT_EQ(list_.count, 0);
  EXPECT_EQ(log(), Lines());
}

// ---- BRN_CodeExists ------------------------------------------------------------------------

TEST_P(StoreChecksTest, CodesAreFoundInListsOfAnyLength) {
  for (const int64_t count : {1, 2, 511, 512, 513, 514, 1024, 1025, 5000}) {
    std::vector<int64_t> codes;
    for (int64_t i = 1; i <= count; ++i) codes.push_back(i * 2);
    UseList(codes);
    int wrong = 0;
    for (int64_t code = 0; code <= count * 2 + 3; ++code) {
      const FeatureCode wanted = form_.length == 14
                                     ? FeatureCode::FromDouble(static_cast<double>(code))
                                     : FeatureCode::FromInteger(code);
      const int expected = code > 0 && code % 2 == 0 && code <= count * 2 ? 1 : 0;
      if (BRN_CodeExists(wanted, list_.count, list_.codes.data()) != expected) ++wrong;
    }
    EXPECT_EQ(wrong, 0) << count << " codes";
  }
}

TEST_P(StoreChecksTest, NothingIsFoundInAnEmptyList) {
  EXPECT_EQ(BRN_CodeExists(FeatureCode::FromDouble(1), 0, nullptr), 0);
}

// ---- BRN_CheckLinkStore --------------------------------------------------------------------

TEST_P(StoreChecksTest, LinksWithAMissingEndAreKilled) {
  UseList({1, 2, 3});
  const StoreLink lost_a{.code = 11,
                         .a = 4,
                         .b = 2,
                         .city = 5,
                         .speed_a = 6,
                         .speed_b = 7,
                         .value3 = 8,
                         .kind = 9,
                         .value4 = 10,
                         .value6 = 11,
                         .value5 = 12,
                         .flag = 13};
  const StoreLink lost_b{.code = 12, .a = 1, .b = 4};
  const StoreLink lost_both{.code = 13, .a = 0, .b = 5};
  const std::string partial(47, 'x');
  SaveLinks({{.code = 10, .a = 1, .b = 2},
             lost_a,
             lost_b,
             {.code = 0, .a = 2, .b = 3},
             lost_both,
             {.code = 14, .a = 3, .b = 3}},
            partial);
  EXPECT_EQ(CheckLinks(), 1);
  StoreLink killed_a = lost_a;
  StoreLink killed_b = lost_b;
  StoreLink killed_both = lost_both;
  killed_a.code = killed_b.code = killed_both.code = 0;
  EXPECT_EQ(FileBytes("linkstr.~wk"),
            LinkRecord(form_, {.code = 10, .a = 1, .b = 2}) + LinkRecord(form_, killed_a) +
                LinkRecord(form_, killed_b) + LinkRecord(form_, {.code = 0, .a = 2, .b = 3}) +
                LinkRecord(form_, killed_both) + LinkRecord(form_, {.code = 14, .a = 3, .b = 3}) +
                partial);
  EXPECT_EQ(log(), (Lines{"Checking Link Data ...",
                          "LinkStore=6 Killed Links=3, BRN_CheckLinkStore returns=OK"}));
}

TEST_P(StoreChecksTest, WithoutNodesEveryLinkIsKilled) {
  SaveLinks({{.code = 10, .a = 1, .b = 2}});
  UseList({});
  EXPECT_EQ(CheckLinks(), 1);
  EXPECT_EQ(FileBytes("linkstr.~wk"), LinkRecord(form_, {.code = 0, .a = 1, .b = 2}));
  EXPECT_EQ(log().back(), "LinkStore=1 Killed Links=1, BRN_CheckLinkStore returns=OK");
}

TEST_P(StoreChecksTest, LinkCheckReportsAMissingStoreAndOneInUse) {
  UseList({1, 2});
  EXPECT_EQ(CheckLinks(), 0);
  const Lines expected{
      Report("Can't open LINKSTORE(%s) !", "File Error in BRN_CheckLinkStore", "linkstr.~wk")};
  EXPECT_EQ(Reports(), expected);
  EXPECT_NE(log().back().find("BRN_CheckLinkStore returns=ERROR"), std::string::npos);
  SaveLinks({{.code = 10, .a = 1, .b = 2}});
  ClearLog();
  const platform::File lock = Lock("linkstr.~wk");
  EXPECT_EQ(CheckLinks(), 0);
  EXPECT_EQ(Reports(), expected);
}

TEST_P(StoreChecksTest, LinkCheckReportsWhatCannotBeReadOrWritten) {
  UseList({1, 2});
  const auto prepare = [&] {
    SaveLinks({{.code = 10, .a = 1, .b = 2}, {.code = 11, .a = 1, .b = 3}});
  };
  EXPECT_EQ(FailEach(platform::Operation::kRead,
                     {.prepare = prepare, .run = [&] { return CheckLinks(); }}),
            LineSet{Report("Read LinkStorage data (0) is smaller than 2!\r\nMaybe A file error!",
                           "File Error")});
  EXPECT_EQ(
      FailEach(platform::Operation::kWrite, {.prepare = prepare,
                                             .run = [&] { return CheckLinks(); },
                                             .write_fault = platform::WriteFault::kHalfWritten}),
      LineSet{Report("Can't write LINKSTR.WRK(%s) at 1 !", "File Error", "linkstr.~wk")});
}

// ---- BRN_MakeDummyLinks --------------------------------------------------------------------

// The record of the k-th dummy link, field by field.
std::string DummyRecord(const CodeForm& form, int64_t k, int64_t a, int64_t b) {
  return LinkRecord(
      form, {.code = form.Dummy(k), .a = a, .b = b, .city = 99000, .kind = 99, .value4 = 99});
}

TEST_P(StoreChecksTest, PartnersThatNameEachOtherShareOneDummyLink) {
  SaveNodes(
      {{.code = 1, .partner = 2, .links = {10}}, {.code = 2, .partner = 1, .links = {11, 12}}});
  SaveLinks({{.code = 10, .a = 1, .b = 2}});
  UseList({1, 2});
  EXPECT_EQ(MakeDummies(), 1);
  const int64_t dummy = GetParam() == 14 ? 99000000000001 : 990000000000000001;
  EXPECT_EQ(FileBytes("linkstr.~wk"),
            LinkRecord(form_, {.code = 10, .a = 1, .b = 2}) + DummyRecord(form_, 1, 1, 2));
  EXPECT_EQ(FileBytes("nodestr.~wk"),
            NodeRecord(form_, {.code = 1, .partner = 2, .links = {10, dummy}}) +
                NodeRecord(form_, {.code = 2, .partner = 1, .links = {11, 12, dummy}}));
  EXPECT_EQ(log(), (Lines{"Making Dummy Link...",
                          "lnCtr=2 lnNumNodeStore=2 lnNumLinkStore=2 lnDummyCtr=1, "
                          "BRN_MakeDummyLinks returns=1"}));
}

TEST_P(StoreChecksTest, AOneSidedPartnerIsListedByTheNamingNodeOnly) {
  SaveNodes({{.code = 1, .links = {10}}, {.code = 2, .partner = 1, .links = {10, 0, 12}}});
  SaveLinks({});
  UseList({1, 2});
  EXPECT_EQ(MakeDummies(), 1);
  EXPECT_EQ(FileBytes("linkstr.~wk"), DummyRecord(form_, 1, 2, 1));
  EXPECT_EQ(FileBytes("nodestr.~wk"),
            NodeRecord(form_, {.code = 1, .links = {10}}) +
                NodeRecord(form_, {.code = 2, .partner = 1, .links = {10, form_.Dummy(1), 12}}));
}

TEST_P(StoreChecksTest, AMissingPartnerGetsNoDummyLink) {
  SaveNodes({{.code = 1, .partner = 9}, {.code = 0, .partner = 1}, {.code = 2}});
  SaveLinks({{.code = 10, .a = 1, .b = 2}});
  UseList({1, 2});
  const std::string nodes = FileBytes("nodestr.~wk");
  const std::string links = FileBytes("linkstr.~wk");
  EXPECT_EQ(MakeDummies(), 1);
  EXPECT_EQ(FileBytes("nodestr.~wk"), nodes);
  EXPECT_EQ(FileBytes("linkstr.~wk"), links);
  EXPECT_EQ(log().back(),
            "lnCtr=3 lnNumNodeStore=3 lnNumLinkStore=1 lnDummyCtr=0, BRN_MakeDummyLinks returns=1");
}

TEST_P(StoreChecksTest, ANodeWithoutAFreeSlotStillGetsItsDummyLink) {
  const std::vector<int64_t> full{11, 12, 13, 14, 15, 16, 17, 18};
  SaveNodes({{.code = 1, .partner = 2, .links = full},
             {.code = 2, .partner = 1, .links = full},
             {.code = 3, .partner = 1}});
  SaveLinks({});
  UseList({1, 2, 3});
  EXPECT_EQ(MakeDummies(), 1);
  EXPECT_EQ(FileBytes("linkstr.~wk"), DummyRecord(form_, 1, 1, 2) + DummyRecord(form_, 2, 3, 1));
  EXPECT_EQ(FileBytes("nodestr.~wk"),
            NodeRecord(form_, {.code = 1, .partner = 2, .links = full}) +
                NodeRecord(form_, {.code = 2, .partner = 1, .links = full}) +
                NodeRecord(form_, {.code = 3, .partner = 1, .links = {form_.Dummy(2)}}));
  EXPECT_EQ(log().back(),
            "lnCtr=3 lnNumNodeStore=3 lnNumLinkStore=2 lnDummyCtr=2, BRN_MakeDummyLinks returns=1");
}

TEST_P(StoreChecksTest, SeveralNodesMayNameOnePartner) {
  SaveNodes({{.code = 1, .partner = 2},
             {.code = 3, .partner = 2},
             {.code = 2, .partner = 3},
             {.code = 4, .partner = 1}});
  SaveLinks({});
  UseList({1, 2, 3, 4});
  EXPECT_EQ(MakeDummies(), 1);
  EXPECT_EQ(FileBytes("linkstr.~wk"), DummyRecord(form_, 1, 1, 2) + DummyRecord(form_, 2, 3, 2) +
                                          DummyRecord(form_, 3, 4, 1));
  EXPECT_EQ(FileBytes("nodestr.~wk"),
            NodeRecord(form_, {.code = 1, .partner = 2, .links = {form_.Dummy(1)}}) +
                NodeRecord(form_, {.code = 3, .partner = 2, .links = {form_.Dummy(2)}}) +
                NodeRecord(form_, {.code = 2, .partner = 3, .links = {form_.Dummy(2)}}) +
                NodeRecord(form_, {.code = 4, .partner = 1, .links = {form_.Dummy(3)}}));
}

TEST_P(StoreChecksTest, APartialNodeRecordIsNotVisited) {
  const std::string partial = NodeRecord(form_, {.code = 2, .partner = 1}).substr(0, 95);
  SaveNodes({{.code = 1}}, partial);
  SaveLinks({});
  UseList({1, 2});
  EXPECT_EQ(MakeDummies(), 1);
  EXPECT_EQ(FileBytes("linkstr.~wk"), "");
  EXPECT_EQ(FileBytes("nodestr.~wk"), NodeRecord(form_, {.code = 1}) + partial);
}

TEST_P(StoreChecksTest, DummyLinksWithoutStores) {
  UseList({1, 2});
  EXPECT_EQ(MakeDummies(), 0);
  EXPECT_EQ(Reports(), Lines{Report("Can't open the LinkStore(%s) !",
                                    "File Error in BRN_MakeDummyLinks", "linkstr.~wk")});
  SaveLinks({});
  ClearLog();
  EXPECT_EQ(MakeDummies(), 0);
  EXPECT_EQ(Reports(), Lines{Report("Can't open the NODESTORE(%s) !",
                                    "File Error in BRN_MakeDummyLinks", "nodestr.~wk")});
}

TEST_P(StoreChecksTest, DummyLinksWithStoresInUse) {
  UseList({1, 2});
  SaveNodes({{.code = 1}});
  SaveLinks({});
  {
    const platform::File lock = Lock("linkstr.~wk");
    EXPECT_EQ(MakeDummies(), 0);
  }
  const platform::File lock = Lock("nodestr.~wk");
  EXPECT_EQ(MakeDummies(), 0);
  EXPECT_EQ(Reports(), (Lines{Report("Can't open the LinkStore(%s) !",
                                     "File Error in BRN_MakeDummyLinks", "linkstr.~wk"),
                              Report("Can't open the NODESTORE(%s) !",
                                     "File Error in BRN_MakeDummyLinks", "nodestr.~wk")}));
}

// Nodes that cannot be read are as those behind the end of the file: without a word the pairs met
// before keep their dummy links.
TEST_P(StoreChecksTest, DummyLinksEndWithTheNodesThatCanBeRead) {
  UseList({1, 2});
  SaveNodes({{.code = 1, .partner = 2}, {.code = 2}});
  SaveLinks({});
  EXPECT_EQ(RunWithFault({platform::Operation::kRead}, [&] { return MakeDummies(); }), 1);
  EXPECT_EQ(FileBytes("linkstr.~wk"), "");
  EXPECT_EQ(log(), (Lines{"Making Dummy Link...",
                          "lnCtr=0 lnNumNodeStore=2 lnNumLinkStore=0 lnDummyCtr=0, "
                          "BRN_MakeDummyLinks returns=1"}));

  std::vector<int64_t> codes(200);
  std::iota(codes.begin(), codes.end(), 1);
  UseList(codes);
  const auto save = [&] {
    std::vector<StoreNode> nodes;
    for (const int64_t code : codes) nodes.push_back({.code = code});
    nodes[0].partner = 2;
    nodes[199].partner = 199;
    SaveNodes(nodes);
    SaveLinks({});
  };
  save();
  platform::CountOperations();
  EXPECT_EQ(MakeDummies(), 1);
  EXPECT_EQ(FileBytes("linkstr.~wk"),
            DummyRecord(form_, 1, 1, 2) + DummyRecord(form_, 2, 200, 199));
  const int64_t reads = platform::OperationCount(platform::Operation::kRead);
  ASSERT_GT(reads, 1);
  save();
  EXPECT_EQ(RunWithFault({platform::Operation::kRead, reads}, [&] { return MakeDummies(); }), 1);
  EXPECT_EQ(FileBytes("linkstr.~wk"), DummyRecord(form_, 1, 1, 2));
  EXPECT_EQ(Reports(), Lines{});
}

TEST_P(StoreChecksTest, ARefusedOpenKillsNothing) {
  for (int64_t n = 1; n < 20; ++n) {
    SaveNodes({{.code = 1}, {.code = 2}});
    SaveLinks({{.code = 10, .a = 1, .b = 2}});
    UseList({1, 2});
    const std::string nodes = FileBytes("nodestr.~wk");
    const std::string links = FileBytes("linkstr.~wk");
    RunWithFault({platform::Operation::kOpen, n}, [&] { return CheckNodes(); });
    RunWithFault({platform::Operation::kOpen, n}, [&] { return CheckLinks(); });
    EXPECT_EQ(FileBytes("nodestr.~wk"), nodes) << "open " << n;
    EXPECT_EQ(FileBytes("linkstr.~wk"), links) << "open " << n;
  }
}

TEST_P(StoreChecksTest, DummyLinksReportWhatCannotBeWritten) {
  UseList({1, 2});
  EXPECT_EQ(FailEach(platform::Operation::kWrite,
                     {.prepare =
                          [&] {
                            SaveNodes({{.code = 1, .partner = 2}, {.code = 2, .partner = 1}});
                            SaveLinks({});
                          },
                      .run = [&] { return MakeDummies(); },
                      .write_fault = platform::WriteFault::kHalfWritten}),
            (LineSet{Report("Can't write the NODESTORE(%s)!", "File Error", "nodestr.~wk"),
                     Report("Can't write the NODESTR.WRK(%s)!", "File Error", "nodestr.~wk"),
                     Report("Can't append the LINKSTORE(%s)", "File Error", "linkstr.~wk")}));
}

TEST_P(StoreChecksTest, TheDummyLinkListMakesDoWithATenthOfTheMemory) {
  // Each allocation fails once: the list of 8,192 entries gets a tenth of that instead.
  UseList({1, 2});
  const LineSet reports = FailEach(platform::Operation::kAllocate,
                                   {.prepare =
                                        [&] {
                                          SaveNodes({{.code = 1, .partner = 2}, {.code = 2}});
                                          SaveLinks({{.code = 10, .a = 1, .b = 2}});
                                        },
                                    .run = [&] { return MakeDummies(); }});
  EXPECT_EQ(
      reports.count(Report("Can't allocate memory for the DummyLink Storage : num link store = 1",
                           "Memory Error in BRN_MakeDummyLinks")),
      0u);
}

TEST_P(StoreChecksTest, DummyLinksReportMissingMemory) {
  UseList({1, 2});
  SaveNodes({{.code = 1, .partner = 2}, {.code = 2}});
  SaveLinks({{.code = 10, .a = 1, .b = 2}});
  LineSet reports;
  for (int64_t n = 1; n < 20; ++n) {
    ClearLog();
    RunWithFault({platform::Operation::kAllocate, n, true}, [&] { return MakeDummies(); });
    for (const std::string& report : Reports()) reports.insert(report);
  }
  EXPECT_EQ(
      reports.count(Report("Can't allocate memory for the DummyLink Storage : num link store = 1",
                           "Memory Error in BRN_MakeDummyLinks")),
      1u);
}

TEST_P(StoreChecksTest, AListOfDummyLinksThatCannotGrowIsReported) {
  constexpr int64_t kNodes = 8194;  // two more than the first reservation holds
  std::vector<int64_t> codes;
  std::vector<StoreNode> nodes;
  for (int64_t i = 1; i <= kNodes + 1; ++i) {
    codes.push_back(i);
    nodes.push_back({.code = i, .partner = i > 1 ? 1 : 0});
  }
  UseList(codes);
  SaveLinks({});
  SaveNodes(nodes);
  EXPECT_EQ(MakeDummies(), 1);
  EXPECT_EQ(log().back(),
            "lnCtr=8195 lnNumNodeStore=8195 lnNumLinkStore=8194 lnDummyCtr=8194, "
            "BRN_MakeDummyLinks returns=1");
  EXPECT_EQ(FileBytes("linkstr.~wk").size(), 8194u * 48);
  EXPECT_EQ(Record(FileBytes("linkstr.~wk"), 8193, 48), DummyRecord(form_, 8194, 8195, 1));
  EXPECT_EQ(Record(FileBytes("nodestr.~wk"), 8194, 96),
            NodeRecord(form_, {.code = 8195, .partner = 1, .links = {form_.Dummy(8194)}}));
  const LineSet reports =
      FailEach(platform::Operation::kAllocate, {.prepare =
                                                    [&] {
                                                      SaveLinks({});
                                                      SaveNodes(nodes);
                                                    },
                                                .run = [&] { return MakeDummies(); }});
  const std::string begin = "[Can't re-allocate the memory for DummyLinkIndex at ";
  EXPECT_EQ(std::count_if(reports.begin(), reports.end(),
                          [&](const std::string& line) {
                            return line.find(begin) == 0 &&
                                   line.find("!][Memory Error]") != std::string::npos;
                          }),
            1);
}

TEST_P(StoreChecksTest, DummyLinksRefuseAnInvalidCodeLength) {
  SaveNodes({{.code = 1, .partner = 2}, {.code = 2}});
  SaveLinks({});
  UseList({1, 2});
  UseLength(15);
  EXPECT_EQ(MakeDummies(), 0);
  EXPECT_EQ(Reports(),
            Lines{"[The CodeLength = 15 is invalid !][Logic Error in BRN_MakeDummyLinks]"});
  EXPECT_EQ(FileBytes("linkstr.~wk"), "");
}

TEST_P(StoreChecksTest, ACancelledBuildChecksAndMakesNothing) {
  UseList({1});
  SaveNodes({{.code = 1, .partner = 1}});
  SaveLinks({{.code = 10, .a = 1, .b = 2}});
  const std::string nodes = FileBytes("nodestr.~wk");
  const std::string links = FileBytes("linkstr.~wk");
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(CheckDuplication(), 0);
  EXPECT_EQ(CheckLinks(), 0);
  EXPECT_EQ(MakeDummies(), 0);
  EXPECT_EQ(FileBytes("nodestr.~wk"), nodes);
  EXPECT_EQ(FileBytes("linkstr.~wk"), links);
  EXPECT_EQ(Reports(), Lines());
}

}  // namespace
}  // namespace zatlib::test::network
