#include "network/build_network.h"

#include <map>

#include "network_steps.h"
#include "platform/memory.h"

namespace zatlib::test::network {
namespace {

constexpr uint64_t kPage = 4096;

// ---- BRN_CheckMemories ---------------------------------------------------------------------

class CheckMemoriesTest : public NetworkTest {
 protected:
  int Check() { return BRN_CheckMemories(nullptr, control()); }

  // Stores of so many records; the check looks at their sizes only.
  void SaveSizes(size_t nodes, size_t links, size_t rest = 0) {
    WriteBytes(folder_ / "nodestr.~wk", std::string(nodes * 96 + rest, '\0'));
    WriteBytes(folder_ / "linkstr.~wk", std::string(links * 48 + rest, '\0'));
  }

  // The log without the line of the memory status, which is checked here.
  Lines CaseLines() {
    Lines lines;
    int status_lines = 0;
    for (const std::string& line : log()) {
      if (line.find("Total Physycal=") != 0) {
        lines.push_back(line);
        continue;
      }
      ++status_lines;
      EXPECT_EQ(lines, Lines{"Checking Memories..."});
      EXPECT_NE(line.find("MB, Available Physycal="), std::string::npos) << line;
      EXPECT_NE(line.find("MB\r\nTotal Paging="), std::string::npos) << line;
      EXPECT_NE(line.find("MB, Available Paging="), std::string::npos) << line;
      EXPECT_EQ(line.substr(line.size() - 2), "MB");
    }
    EXPECT_EQ(status_lines, 1);
    return lines;
  }
};

// For 1,030 nodes and 2,820 links the blocks take, in pages of 4,096 bytes:
//   3N = 3,090: 1             4N = 4,120: 2               N+2 = 1,032: 1
//   4(N+2) = 4,128: 2         8(N+2) = 8,256: 3           16(N+2) = 16,512: 5
//   32(N+2) = 33,024: 9       96(N+2) = 99,072: 25        4(L+2) = 11,288: 3
//   16(L+2) = 45,152: 12      32(L+2) = 90,304: 23        48(L+2) = 135,456: 34
// Case A: 3 + 2 + 12 + 5 + 5 + 9 + 3 + 1 + 3 = 43 pages = 0.168 MB, and 1 page not counted.
// Case B: 3 + 2 + 12 + 5 + 9 + 12 + 23 = 66 pages = 0.258 MB, and 1.
// Case C: 34 + 25 + 12 + 5 + 5 + 9 + 3 + 1 + 3 = 97 pages = 0.379 MB, and 2.
// Case D: 34 + 25 + 12 + 5 + 9 + 12 + 23 = 120 pages = 0.469 MB, and 2.
constexpr size_t kNodes = 1030;
constexpr size_t kLinks = 2820;
constexpr char kCaseA[] = "CASE A: NumNode=1030 NumLink=2820 AllocMem=0.2MB";
constexpr char kCaseB[] = "CASE B: NumNode=1030 NumLink=2820 AllocMem=0.3MB";
constexpr char kCaseC[] = "CASE C: NumNode=1030 NumLink=2820 AllocMem=0.4MB";
constexpr char kCaseD[] = "CASE D: NumNode=1030 NumLink=2820 AllocMem=0.5MB";
constexpr char kNotEnough[] =
    "[Not enough memory for the operation!][Memory Error in Building Road Networks]";

TEST_F(CheckMemoriesTest, TheControlFileMayChoose) {
  SaveSizes(kNodes, kLinks);
  UseControl("BUILDMETHOD=M\r\n");
  EXPECT_EQ(Check(), kMemoryOperation);
  UseControl("BUILDMETHOD=F\r\n");
  EXPECT_EQ(Check(), kFileOperation);
  EXPECT_EQ(log(), (Lines{"Checking Memories...", "Checking Memories..."}));
}

TEST_F(CheckMemoriesTest, OtherMethodsLetTheTrialDecide) {
  SaveSizes(kNodes, kLinks);
  for (const char* method : {"m", "f", "MEMORY", "FM", ""}) {
    ClearLog();
    UseControl(std::string("BUILDMETHOD=") + method + "\r\n");
    EXPECT_EQ(Check(), kMemoryOperation) << method;
    EXPECT_EQ(CaseLines(), (Lines{"Checking Memories...", kCaseA, kCaseB, kCaseC, kCaseD}))
        << method;
  }
}

TEST_F(CheckMemoriesTest, TheMemoryStatusIsLoggedInMegabytes) {
  SaveSizes(1, 1);
  platform::PlayMachine(uint64_t{1536} * 1024 * 1024 + 512 * 1024, 0);
  EXPECT_EQ(Check(), kMemoryOperation);
  ASSERT_GE(log().size(), 2u);
  EXPECT_EQ(log()[1].find("Total Physycal=1536.5MB, Available Physycal="), 0u) << log()[1];
}

TEST_F(CheckMemoriesTest, EachCaseFailsWhenItsBlocksDoNotFit) {
  SaveSizes(kNodes, kLinks);
  const struct {
    uint64_t limit;
    int method;
    Lines lines;
  } machines[] = {
      {44 * kPage - 1, kNotEnoughMemory, {"Checking Memories...", kNotEnough}},
      {44 * kPage, kNotEnoughMemory, {"Checking Memories...", kCaseA, kNotEnough}},
      {67 * kPage - 1, kNotEnoughMemory, {"Checking Memories...", kCaseA, kNotEnough}},
      {67 * kPage, kFileOperation, {"Checking Memories...", kCaseA, kCaseB}},
      {99 * kPage - 1, kFileOperation, {"Checking Memories...", kCaseA, kCaseB}},
      {99 * kPage, kFileOperation, {"Checking Memories...", kCaseA, kCaseB, kCaseC}},
      {122 * kPage - 1, kFileOperation, {"Checking Memories...", kCaseA, kCaseB, kCaseC}},
      {122 * kPage, kMemoryOperation, {"Checking Memories...", kCaseA, kCaseB, kCaseC, kCaseD}},
  };
  for (const auto& machine : machines) {
    ClearLog();
    platform::PlayMachine(0, machine.limit);
    EXPECT_EQ(Check(), machine.method) << machine.limit;
    EXPECT_EQ(CaseLines(), machine.lines) << machine.limit;
  }
}

TEST_F(CheckMemoriesTest, AMachineSmallerThanCaseDTakesFiles) {
  SaveSizes(kNodes, kLinks);
  platform::PlayMachine(120 * kPage, 0);
  EXPECT_EQ(Check(), kMemoryOperation);
  ClearLog();
  platform::PlayMachine(120 * kPage - 1, 0);
  EXPECT_EQ(Check(), kFileOperation);
  EXPECT_EQ(CaseLines(), (Lines{"Checking Memories...", kCaseA, kCaseB, kCaseC, kCaseD,
                                "File Operation is recommended ( Need 0.5MB > Physical 0.5MB )"}));
}

TEST_F(CheckMemoriesTest, TheRefusalOfAnyBlockCounts) {
  SaveSizes(kNodes, kLinks);
  // 10 blocks for case A, 3 more for B, 10 for C and 3 more for D.
  for (int64_t n = 1; n <= 26; ++n) {
    ClearLog();
    EXPECT_EQ(RunWithFault({platform::Operation::kAllocate, n}, [&] { return Check(); }),
              n <= 13 ? kNotEnoughMemory : kFileOperation)
        << "block " << n;
    EXPECT_EQ(Reports(), n <= 13 ? Lines{kNotEnough} : Lines()) << "block " << n;
    EXPECT_EQ(log().back(), n <= 13 ? kNotEnough : n <= 23 ? kCaseB : kCaseC) << "block " << n;
  }
  EXPECT_EQ(RunWithFault({platform::Operation::kAllocate, 27}, [&] { return Check(); }),
            kMemoryOperation);
}

TEST_F(CheckMemoriesTest, AllTrialBlocksAreFreed) {
  SaveSizes(kNodes, kLinks);
  for (int64_t n = 1; n <= 27; ++n) {
    RunWithFault({platform::Operation::kAllocate, n}, [&] { return Check(); });
    // Nothing is left in use: a block of all the memory of this machine fits.
    platform::PlayMachine(0, 122 * kPage);
    void* block = platform::AllocPages(122 * kPage);
    EXPECT_NE(block, nullptr) << "block " << n;
    platform::FreePages(block);
    platform::PlayMachine(0, 0);
  }
}

TEST_F(CheckMemoriesTest, MissingStoresCountAsEmpty) {
  EXPECT_EQ(Check(), kMemoryOperation);
  EXPECT_EQ(CaseLines(),
            (Lines{"Checking Memories...", "CASE A: NumNode=0 NumLink=0 AllocMem=0.0MB",
                   "CASE B: NumNode=0 NumLink=0 AllocMem=0.0MB",
                   "CASE C: NumNode=0 NumLink=0 AllocMem=0.0MB",
                   "CASE D: NumNode=0 NumLink=0 AllocMem=0.0MB"}));
}

TEST_F(CheckMemoriesTest, PartialRecordsDoNotCount) {
  SaveSizes(3, 5, 47);
  EXPECT_EQ(Check(), kMemoryOperation);
  EXPECT_EQ(CaseLines()[1], "CASE A: NumNode=3 NumLink=5 AllocMem=0.0MB");
}

TEST_F(CheckMemoriesTest, ACancelledBuildDoesNotCheck) {
  SaveSizes(kNodes, kLinks);
  UseControl("BUILDMETHOD=M\r\n");
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(Check(), kNotEnoughMemory);
  EXPECT_EQ(log(), Lines());
}

// ---- BRN_BuildNetwork ----------------------------------------------------------------------

class BuildNetworkTest : public BothOperations {
 protected:
  BuildNetworkTest() { UseMethod(); }

  void UseMethod(const std::string& more = "") {
    UseControl(std::string("BUILDMETHOD=") + (memory() ? "M" : "F") + "\r\n" + more);
  }

  int Build() { return BRN_BuildNetwork(nullptr, control()); }

  // A network with an orphan (node 4), a link to nowhere (300, which leaves node 5 alone) and a
  // node that names a partner which does not name it back (1 and 3).
  void SaveTown() {
    SaveNodes({{.code = 1, .partner = 3, .attr = 11, .x = 1000, .y = 2000, .links = {100}},
               {.code = 2, .attr = 12, .x = 1100, .y = 2100, .links = {100, 200}},
               {.code = 3, .x = 1200, .y = 2200, .links = {200}},
               {.code = 4, .attr = 14, .x = 1, .y = 1, .links = {100}},
               {.code = 5, .attr = 15, .x = 1300, .y = 2300, .links = {300}}});
    SaveLinks(
        {{.code = 100,
          .a = 1,
          .b = 2,
          .city = 11,
          .speed_a = 36,
          .speed_b = 72,
          .value3 = 10,
          .kind = 2,
          .value4 = 8,
          .value6 = 9,
          .value5 = 7,
          .flag = 0},
         {.code = 200,
          .a = 2,
          .b = 3,
          .city = 12,
          .speed_a = 9999,
          .speed_b = 9999,
          .value3 = 100,
          .kind = 1,
          .flag = 5},
         {.code = 300, .a = 5, .b = 6, .city = 13, .speed_a = 10, .speed_b = 10, .value3 = 1}});
    UseLength(form_.length, "[TOLLROAD]\r\nNUMDEF=1\r\nDEF01=2\r\n[ROADFLAG]\r\nTOLLGATE=5\r\n");
  }

  // The files of the town, written out.
  std::map<std::string, std::string> TownFiles() {
    const int64_t dummy = form_.Dummy(1);
    return {
        {"maploc.dat",
         LocationRecord(form_.Code(1), 1000, 2000) + LocationRecord(form_.Code(2), 1100, 2100) +
             LocationRecord(form_.Code(3), 1200, 2200) + LocationRecord(form_.Code(5), 1300, 2300)},
        {"nodename.dat", NodeNameBytes("", 11, 0) + NodeNameBytes("", 12, 0) +
                             NodeNameBytes("", 0, 0) + NodeNameBytes("", 15, 0)},
        {"maprule.dat", std::string(32, '\0')},
        {"nodeattr.dat", std::string(4, '\0')},
        {"linkname.dat", LinkNameBytes("", 0, 0x01, 0, 2, 9) + LinkNameBytes("", 0, 0x20, 0, 1, 0) +
                             LinkNameBytes("", 0, 0, 0, 99, 0)},
        // 10 x 360 / 36 = 100 and back at 72: 50; 100 x 360 / 9999 = 3.6, rounded 4, and back
        // above the limit: 0; dummy links have no length.
        {"mapcalc.dat", CalcRecord({1, 2}, {100, 0}, {10, 0}) +
                            CalcRecord({0, 2}, {50, 4}, {10, 100}) +
                            CalcRecord({1, 0}, {0, 0}, {100, 0}) + CalcRecord({}, {}, {})},
        {"nodelink.idx", NodeLinkRecord({0, 2}) + NodeLinkRecord({0, 1}) + NodeLinkRecord({1, 2}) +
                             NodeLinkRecord({})},
        {"node.idx", IndexRecord(form_.Code(1), 0, 11) + IndexRecord(form_.Code(2), 1, 11) +
                         IndexRecord(form_.Code(3), 2, 12) + IndexRecord(form_.Code(5), 3, 0)},
        {"link.idx", IndexRecord(form_.Code(100), 0, 11) + IndexRecord(form_.Code(200), 1, 12) +
                         IndexRecord(form_.Code(dummy), 2, 99000)},
        {"linknode.idx", LinkNodeRecord(0, 1, 36, 72, 10) + LinkNodeRecord(1, 2, 9999, 9999, 100) +
                             LinkNodeRecord(0, 2, 0, 0, 0)},
        {"mapdraw.dat", DrawRecord(form_.Code(100), 0, 2, 8, 1000, 1100, 2000, 2100) +
                            DrawRecord(form_.Code(200), 1, 1, 0, 1100, 1200, 2100, 2200) +
                            DrawRecord(form_.Code(dummy), 2, 99, 99, 1000, 1200, 2000, 2200)},
    };
  }

  void ExpectTownFiles() {
    for (const auto& [name, bytes] : TownFiles()) EXPECT_EQ(FileBytes(name), bytes) << name;
  }
};

INSTANTIATE_TEST_SUITE_P(Way, BuildNetworkTest, ::testing::ValuesIn(kWays));

TEST_P(BuildNetworkTest, ATownFileByFile) {
  SaveTown();
  EXPECT_EQ(Build(), 1);
  ExpectTownFiles();
  EXPECT_FALSE(Exists(folder_ / "mapattr.dat"));
  const int64_t dummy = form_.Dummy(1);
  const std::string third =
      memory() ? NodeRecord(form_, {.code = 3, .x = 1200, .y = 2200, .links = {200}})
               : NodeRecord(form_, {.code = 3, .x = 1200, .y = 2200, .links = {200, dummy}});
  EXPECT_EQ(
      FileBytes("nodestr.~wk"),
      NodeRecord(
          form_,
          {.code = 1, .partner = 3, .attr = 11, .x = 1000, .y = 2000, .links = {100, dummy}}) +
          NodeRecord(form_, {.code = 2, .attr = 12, .x = 1100, .y = 2100, .links = {100, 200}}) +
          third + NodeRecord(form_, {.code = 0, .attr = 14, .x = 1, .y = 1, .links = {100}}) +
          NodeRecord(form_, {.code = 5, .attr = 15, .x = 1300, .y = 2300, .links = {300}}));
  EXPECT_EQ(
      FileBytes("linkstr.~wk").substr(96),
      LinkRecord(
          form_,
          {.code = 0, .a = 5, .b = 6, .city = 13, .speed_a = 10, .speed_b = 10, .value3 = 1}) +
          LinkRecord(form_,
                     {.code = dummy, .a = 1, .b = 3, .city = 99000, .kind = 99, .value4 = 99}));
}

TEST_P(BuildNetworkTest, TheLogOfATown) {
  SaveTown();
  const Lines start{"Checking Node Duplication...",
                    "Checking Link Duplication...",
                    "Checking Node Data (P1)...",
                    "Checking Node Data (P2)...",
                    "NodeStore=5, Killed Node=1, BRN_CheckNodeStoreFromLinkStore returns=OK",
                    "Making Node Index ...",
                    "Checking Link Data ...",
                    "LinkStore=3 Killed Links=1, BRN_CheckLinkStore returns=OK",
                    "Making Dummy Link...",
                    "lnCtr=5 lnNumNodeStore=5 lnNumLinkStore=4 lnDummyCtr=1, "
                    "BRN_MakeDummyLinks returns=1",
                    "Checking Memories..."};
  Lines rest;
  if (memory()) {
    rest = {"*** memory operation ***",
            "Loading Nodes(M)...",
            "Creating Node Data(M)...",
            "Saving NodeLoc...",
            "Saving NodeName ...",
            "Saving TrafRule...",
            "Saving NodeAttribute...",
            "Loading Links(M)...",
            "Creating Link Data(M)...",
            "Saving LinkName...",
            "Checking the dummy link nodes(M)...",
            "Creating CalcNode(M)...",
            "Making LinkNodeIndex(M)...",
            "Creating the Road Networks(M)...",
            "Setting Node's CityCodes(M)..."};
  } else {
    rest = {"*** file operation ***",
            "Loading Nodes(F)...",
            "Creating Node Data(F)...",
            "Saving NodeLoc ...",
            "Saving NodeName ...",
            "Saving TrafRule...",
            "Saving NodeAttribute...",
            "Loading Links(F)...",
            "Creating Link Data(F)...",
            "Saving LinkName...",
            "Checking the dummy link nodes(F)...",
            "Creating CalcNode(F)...",
            "Making LinkNodeIndex(F)...",
            "Setting Node's CityCodes(F)..."};
  }
  Lines expected = start;
  expected.insert(expected.end(), rest.begin(), rest.end());
  EXPECT_EQ(Build(), 1);
  EXPECT_EQ(log(), expected);
}

TEST_P(BuildNetworkTest, TheLogOfATownWithSummaries) {
  SaveTown();
  UseMethod("LOG=1\r\n");
  Lines expected{"Checking Node Duplication...",
                 "Checking Link Duplication...",
                 "Checking Node Data (P1)...",
                 "Checking Node Data (P2)...",
                 "NodeStore=5, Killed Node=1, BRN_CheckNodeStoreFromLinkStore returns=OK",
                 "Making Node Index ...",
                 "lnNumIndex=4, lnNumNodeStore=5, BRN_MakeDrotenNodeIndex returns=1",
                 "Checking Link Data ...",
                 "LinkStore=3 Killed Links=1, BRN_CheckLinkStore returns=OK",
                 "Making Dummy Link...",
                 "lnCtr=5 lnNumNodeStore=5 lnNumLinkStore=4 lnDummyCtr=1, "
                 "BRN_MakeDummyLinks returns=1",
                 "Checking Memories..."};
  const Lines rest =
      memory() ? Lines{"*** memory operation ***",
                       "Loading Nodes(M)...",
                       "lnNumNode=4, lnNumRec(NodeStore)=5, BRN_LoadNodeStore returns=1",
                       "Creating Node Data(M)...",
                       "Saving NodeLoc...",
                       "Saving NodeName ...",
                       "Saving TrafRule...",
                       "Saving NodeAttribute...",
                       "lnNumNode=4, BRN_CreateNodeData returns=1",
                       "Loading Links(M)...",
                       "lnNumLink=3, lnNumRec(LinkStore)=4, BRN_LoadLinkStore returns=1",
                       "Creating Link Data(M)...",
                       "Saving LinkName...",
                       "lnNumLink=3, BRN_CreateLinkData returns=1",
                       "Checking the dummy link nodes(M)...",
                       "Creating CalcNode(M)...",
                       "Making LinkNodeIndex(M)...",
                       "Creating the Road Networks(M)...",
                       "Setting Node's CityCodes(M)..."}
               : Lines{"*** file operation ***",
                       "Loading Nodes(F)...",
                       "lnNumNode=4, lnNumRec(NodeStore)=5, BRN450_LoadNodeStorePtr returns=1",
                       "Creating Node Data(F)...",
                       "Saving NodeLoc ...",
                       "Saving NodeName ...",
                       "Saving TrafRule...",
                       "Saving NodeAttribute...",
                       "lnNumNode=4, BRN450_CreateNodeData returns=1",
                       "Loading Links(F)...",
                       "lnNumLink=3, lnNumRec(LinkStore)=4, BRN450_LoadLinkStorePtr returns=1",
                       "Creating Link Data(F)...",
                       "Saving LinkName...",
                       "lnNumLink=3, BRN450_CreateLinkData returns=1",
                       "Checking the dummy link nodes(F)...",
                       "Creating CalcNode(F)...",
                       "Making LinkNodeIndex(F)...",
                       "Setting Node's CityCodes(F)..."};
  expected.insert(expected.end(), rest.begin(), rest.end());
  EXPECT_EQ(Build(), 1);
  EXPECT_EQ(log(), expected);
}

TEST_P(BuildNetworkTest, DuplicatesStopTheBuild) {
  SaveNodes({{.code = 1}, {.code = 2}, {.code = 1}});
  SaveLinks({{.code = 100, .a = 1, .b = 2}});
  EXPECT_EQ(Build(), 0);
  EXPECT_EQ(log(), (Lines{"Checking Node Duplication...",
                          Cp932("[道路点 ") + form_.Digits(1) +
                              Cp932(" が重複しています。重複を取り除いてください。]"
                                    "[道路点データの重複エラー]"),
                          "Checking Link Duplication..."}));
}

TEST_P(BuildNetworkTest, FewerThanTwoNodesAreADataError) {
  SaveNodes({{.code = 1, .links = {100}}, {.code = 2}});
  SaveLinks({{.code = 100, .a = 1, .b = 1}});
  EXPECT_EQ(Build(), 0);
  EXPECT_EQ(log().back(),
            Cp932("[ノードとリンクが不整合であるため計算用道路データが作成できません。]"
                  "[データエラー]"));
  EXPECT_EQ(Reports().size(), 1u);
  EXPECT_FALSE(Exists(folder_ / "maploc.dat"));
}

TEST_P(BuildNetworkTest, NodesWithoutAnyLinkAreADataError) {
  SaveNodes({{.code = 1}, {.code = 2}});
  SaveLinks({{.code = 100, .a = 8, .b = 9}});
  EXPECT_EQ(Build(), 0);
  EXPECT_EQ(Reports(),
            Lines{Cp932("[ノードとリンクが不整合であるため計算用道路データが作成できません。]"
                        "[データエラー]")});
}

TEST_P(BuildNetworkTest, TwoNodesAreANetwork) {
  SaveNodes({{.code = 1, .links = {100}}, {.code = 2, .links = {100}}});
  SaveLinks({{.code = 100, .a = 1, .b = 2, .speed_a = 36, .speed_b = 36, .value3 = 1}});
  EXPECT_EQ(Build(), 1);
  EXPECT_EQ(FileBytes("mapcalc.dat"), CalcRecord({1}, {10}, {1}) + CalcRecord({0}, {10}, {1}));
}

TEST_P(BuildNetworkTest, TheLackOfMemoryStopsTheBuild) {
  // Let one allocation after the other fail until it is one of the trial's.
  UseControl("");
  Lines lines;
  for (int64_t n = 1; n < 200 && lines.empty(); ++n) {
    SaveTown();
    platform::RemoveFile((folder_ / "maploc.dat").c_str());
    ClearLog();
    const int result = RunWithFault({platform::Operation::kAllocate, n}, [&] { return Build(); });
    if (log().back() == "*** memory error ***") {
      EXPECT_EQ(result, 0);
      lines = log();
    }
  }
  ASSERT_GE(lines.size(), 2u);
  EXPECT_EQ(lines[lines.size() - 2], kNotEnough);
  EXPECT_FALSE(Exists(folder_ / "maploc.dat"));
}

// What can fail is the same for both code lengths.
class BuildFaultTest : public BuildNetworkTest {};

INSTANTIATE_TEST_SUITE_P(Way, BuildFaultTest, ::testing::Values(Way{14, true}, Way{14, false}));

TEST_P(BuildFaultTest, WhateverFailsIsReportedAndStopsTheBuild) {
  const auto prepare = [&] { SaveTown(); };
  const auto run = [&] { return Build(); };
  FailEach(platform::Operation::kOpen, {.prepare = prepare, .run = run});
  FailEach(platform::Operation::kRead, {.prepare = prepare, .run = run});
  FailEach(platform::Operation::kSeek, {.prepare = prepare, .run = run});
  FailEach(platform::Operation::kWrite,
           {.prepare = prepare, .run = run, .write_fault = platform::WriteFault::kHalfWritten});
  const LineSet memory_reports =
      FailEach(platform::Operation::kAllocate, {.prepare = prepare, .run = run});
  EXPECT_EQ(memory_reports.count("[Can't allocate the memory for NodeIndex : num node=4]"
                                 "[Memory Error]"),
            1u);
  EXPECT_EQ(memory_reports.count("[Can't allocate the memory for LinkIndex : num link=3]"
                                 "[Memory Error]"),
            1u);
  ClearLog();
  EXPECT_EQ(Build(), 1);
}

TEST_P(BuildNetworkTest, NoMemoryIsLeftInUse) {
  SaveTown();
  const uint64_t before = platform::PagesInUse();
  EXPECT_EQ(Build(), 1);
  EXPECT_EQ(platform::PagesInUse(), before);
}

TEST_P(BuildNetworkTest, ACancelAnywhereStopsTheBuildBeforeTheNextStep) {
  SaveTown();
  EXPECT_EQ(Build(), 1);
  const Lines lines = log();
  for (size_t i = 0; i < lines.size(); ++i) {
    if (lines[i].find("Killed") != std::string::npos) continue;
    SaveTown();
    CancelAt(lines[i]);
    const int result = Build();
    FRD_SetCancelled(false);
    EXPECT_EQ(result, 0) << lines[i];
    // A step that has begun may end with its summary or its choice; no other step begins.
    ASSERT_GE(log().size(), i + 1);
    for (size_t k = i + 1; k < log().size(); ++k) {
      EXPECT_TRUE(log()[k].find("returns=") != std::string::npos || log()[k].find("*** ") == 0)
          << lines[i] << ": " << log()[k];
    }
  }
}

TEST_P(BuildNetworkTest, ManyNodesGiveTheSameNetwork) {
  // A ring of nodes in scattered order: every record has its place, whatever way it is read.
  constexpr int64_t kCount = 20011;  // a prime
  std::vector<StoreNode> nodes;
  std::vector<StoreLink> links;
  for (int64_t i = 0; i < kCount; ++i) {
    const int64_t at = i * 7001 % kCount;  // position on the ring
    const int64_t before = (at + kCount - 1) % kCount;
    nodes.push_back({.code = at + 1, .links = {1000000 + at, 1000000 + before}});
  }
  for (int64_t at = 0; at < kCount; ++at) {
    links.push_back({.code = 1000000 + at,
                     .a = at + 1,
                     .b = (at + 1) % kCount + 1,
                     .city = 100 + at,
                     .speed_a = 36,
                     .speed_b = 18,
                     .value3 = static_cast<int>(at % 100)});
  }
  SaveNodes(nodes);
  SaveLinks(links);
  ASSERT_EQ(Build(), 1);
  std::vector<int64_t> number(static_cast<size_t>(kCount));
  for (int64_t i = 0; i < kCount; ++i) number[static_cast<size_t>(i * 7001 % kCount)] = i;
  const std::string calc = FileBytes("mapcalc.dat");
  const std::string index = FileBytes("node.idx");
  ASSERT_EQ(calc.size(), static_cast<size_t>(kCount) * 64);
  int wrong = 0;
  for (int64_t at = 0; at < kCount; ++at) {
    const int64_t before = (at + kCount - 1) % kCount;
    const int64_t after = (at + 1) % kCount;
    const auto length = static_cast<int>(at % 100);
    const auto length_before = static_cast<int>(before % 100);
    const int64_t own = number[static_cast<size_t>(at)];
    if (Record(calc, static_cast<size_t>(own), 64) !=
        CalcRecord({number[static_cast<size_t>(after)], number[static_cast<size_t>(before)]},
                   {length * 10, length_before * 20}, {length, length_before})) {
      ++wrong;
    }
    if (Record(index, static_cast<size_t>(at), 16) !=
        IndexRecord(form_.Code(at + 1), own, 100 + at)) {
      ++wrong;
    }
  }
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace zatlib::test::network
