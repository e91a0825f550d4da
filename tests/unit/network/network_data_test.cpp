#include "network/network_data.h"

#include "network_steps.h"

namespace zatlib::test::network {
namespace {

// ---- BRN_FindIndexRecord ------------------------------------------------

TEST(FindIndexRecordTest, NumbersAreFoundInIndexesOfAnyLength) {
  for (const int64_t count : {0, 1, 2, 511, 512, 513, 514, 1024, 1025, 4097}) {
    std::vector<CodeIndexRecord> index;
    for (int64_t i = 0; i < count; ++i) {
      index.push_back({FeatureCode::FromDouble(static_cast<double>(i * 2 + 2)),
                       static_cast<int32_t>(count - i), 7});
    }
    int wrong = 0;
    for (int64_t code = 0; code <= count * 2 + 3; ++code) {
      const bool known = code > 0 && code % 2 == 0 && code <= count * 2;
      const int64_t expected = known ? count - (code / 2 - 1) : -1;
      if (BRN_FindIndexRecord(FeatureCode::FromDouble(static_cast<double>(code)), count,
                              index.data()) != expected) {
        ++wrong;
      }
    }
    EXPECT_EQ(wrong, 0) << count << " records";
  }
}

TEST(FindIndexRecordTest, LongCodesAreToldApart) {
  const CodeIndexRecord index[] = {{FeatureCode::FromInteger(100000000000000001), 5, 0},
                                   {FeatureCode::FromInteger(100000000000000002), 6, 0}};
  EXPECT_EQ(BRN_FindIndexRecord(FeatureCode::FromInteger(100000000000000001), 2, index), 5);
  EXPECT_EQ(BRN_FindIndexRecord(FeatureCode::FromInteger(100000000000000002), 2, index), 6);
  EXPECT_EQ(BRN_FindIndexRecord(FeatureCode::FromInteger(100000000000000003), 2, index), -1);
}

// ---- the steps -----------------------------------------------------------------------------

class NetworkDataTest : public BothOperations {
 protected:
  std::string Title() const { return "Internal Logic Error in " + Step("CreateNetworkData"); }

  // Three nodes in a triangle with one broken side:
  //
  //   500 (number 0) --1000--> 200 (number 1) --2000--> 300 (number 2) --3000--> 500
  //
  // The links have the numbers 1, 2 and 0. 200 lists a link that does not exist.
  void SaveTriangle() {
    SaveNodes({{.code = 0, .links = {1000}},
               {.code = 500, .city = 77, .x = 135000000, .y = 35000000, .links = {1000, 0, 3000}},
               {.code = 200, .x = 135001000, .y = 35000500, .links = {0, 1000, 9999, 0, 2000}},
               {.code = 300, .x = -1, .y = -2, .links = {2000, 3000}}},
              std::string(10, 'x'));
    SaveLinks({{.code = 3000,
                .a = 300,
                .b = 500,
                .city = 13101,
                .speed_a = 60,
                .speed_b = 0,
                .value3 = 120,
                .kind = 1,
                .value4 = 4,
                .value6 = 6,
                .value5 = 5},
               {.code = 0, .a = 300, .b = 500},
               {.code = 1000,
                .a = 500,
                .b = 200,
                .city = 13102,
                .speed_a = 40,
                .speed_b = 36,
                .value3 = 100,
                .kind = 3,
                .value4 = 65535},
               {.code = 2000,
                .a = 200,
                .b = 300,
                .city = 13103,
                .speed_a = 30,
                .speed_b = 9999,
                .value3 = 65535,
                .kind = -5}});
  }
};

INSTANTIATE_TEST_SUITE_P(Way, NetworkDataTest, ::testing::ValuesIn(kWays));

TEST_P(NetworkDataTest, ATriangleByteByByte) {
  SaveTriangle();
  Load();
  EXPECT_EQ(CheckDummyLinkNodes(), 1);
  EXPECT_EQ(log(), Lines{Mark("Checking the dummy link nodes")});
  ClearLog();
  EXPECT_EQ(CreateNetworkData(), 1);

  // 500: along 1000 at 40: 100 x 360 / 40 = 900; back along 3000 at 0: closed.
  // 200: back along 1000 at 36: 1000; along 2000 at 30: above the highest cost.
  // 300: back along 2000 at 9999, above the limit there: 0; along 3000 at 60: 720.
  EXPECT_EQ(FileBytes("mapcalc.dat"), CalcRecord({1, 2}, {900, 65535}, {100, 120}) +
                                          CalcRecord({0, 2}, {1000, 65535}, {100, 65535}) +
                                          CalcRecord({1, 0}, {0, 720}, {65535, 120}));
  EXPECT_EQ(FileBytes("nodelink.idx"),
            NodeLinkRecord({1, 0}) + NodeLinkRecord({1, 2}) + NodeLinkRecord({2, 0}));
  EXPECT_EQ(FileBytes("node.idx"), IndexRecord(form_.Code(200), 1, 13102) +
                                       IndexRecord(form_.Code(300), 2, 13103) +
                                       IndexRecord(form_.Code(500), 0, 13102));
  EXPECT_EQ(FileBytes("link.idx"), IndexRecord(form_.Code(1000), 1, 13102) +
                                       IndexRecord(form_.Code(2000), 2, 13103) +
                                       IndexRecord(form_.Code(3000), 0, 13101));
  EXPECT_EQ(FileBytes("linknode.idx"), LinkNodeRecord(2, 0, 60, 0, 120) +
                                           LinkNodeRecord(0, 1, 40, 36, 100) +
                                           LinkNodeRecord(1, 2, 30, 9999, 65535));
  EXPECT_EQ(
      FileBytes("mapdraw.dat"),
      DrawRecord(form_.Code(3000), 0, 1, 4, -1, 135000000, -2, 35000000) +
          DrawRecord(form_.Code(1000), 1, 3, 65535, 135000000, 135001000, 35000000, 35000500) +
          DrawRecord(form_.Code(2000), 2, -5, 0, 135001000, -1, 35000500, -2));
  EXPECT_EQ(Reports(), Lines());
  if (memory()) {
    EXPECT_EQ(log(), (Lines{"Creating CalcNode(M)...", "Making LinkNodeIndex(M)...",
                            "Creating the Road Networks(M)...", "Setting Node's CityCodes(M)..."}));
  } else {
    EXPECT_EQ(log(), (Lines{"Creating CalcNode(F)...", "Making LinkNodeIndex(F)...",
                            "Setting Node's CityCodes(F)..."}));
  }
}

TEST_P(NetworkDataTest, EightSlotsArePackedInTheirOrder) {
  // Node 1 lists eight codes, of which 11, 13 and 18 exist.
  SaveNodes({{.code = 1, .links = {10, 11, 0, 13, 14, 15, 16, 18}},
             {.code = 2, .links = {0, 0, 0, 0, 0, 0, 0, 18}},
             {.code = 3, .links = {13, 12, 11}},
             {.code = 4, .city = 0}});
  SaveLinks({{.code = 18, .a = 1, .b = 2, .city = 8, .speed_a = 10, .speed_b = 20, .value3 = 1},
             {.code = 11, .a = 1, .b = 3, .city = 9, .speed_a = 30, .speed_b = 40, .value3 = 2},
             {.code = 13, .a = 3, .b = 1, .city = 10, .speed_a = 50, .speed_b = 60, .value3 = 3}});
  Load();
  EXPECT_EQ(CreateNetworkData(), 1);
  // 2 x 360 / 30 = 24; 3 x 360 / 60 = 18; 1 x 360 / 10 = 36; 1 x 360 / 20 = 18;
  // 3 x 360 / 50 = 21.6, rounded 22; 2 x 360 / 40 = 18.
  EXPECT_EQ(FileBytes("mapcalc.dat"),
            CalcRecord({2, 2, 1}, {24, 18, 36}, {2, 3, 1}) + CalcRecord({0}, {18}, {1}) +
                CalcRecord({0, 0}, {22, 18}, {3, 2}) + CalcRecord({}, {}, {}));
  EXPECT_EQ(FileBytes("nodelink.idx"), NodeLinkRecord({1, 2, 0}) + NodeLinkRecord({0}) +
                                           NodeLinkRecord({2, 1}) + NodeLinkRecord({}));
  EXPECT_EQ(FileBytes("node.idx"),
            IndexRecord(form_.Code(1), 0, 9) + IndexRecord(form_.Code(2), 1, 8) +
                IndexRecord(form_.Code(3), 2, 10) + IndexRecord(form_.Code(4), 3, 0));
}

TEST_P(NetworkDataTest, EightUsedSlotsStay) {
  std::vector<StoreLink> links;
  std::vector<int64_t> codes;
  std::vector<int64_t> numbers;
  for (int i = 0; i < 8; ++i) {
    codes.push_back(10 + i);
    numbers.push_back(i);
    links.push_back({.code = 10 + i, .a = 1, .b = 2, .speed_a = 360, .speed_b = 0, .value3 = i});
  }
  SaveNodes({{.code = 1, .links = codes}, {.code = 2}});
  SaveLinks(links);
  Load();
  EXPECT_EQ(CreateNetworkData(), 1);
  EXPECT_EQ(FileBytes("mapcalc.dat"), CalcRecord({1, 1, 1, 1, 1, 1, 1, 1}, {0, 1, 2, 3, 4, 5, 6, 7},
                                                 {0, 1, 2, 3, 4, 5, 6, 7}) +
                                          CalcRecord({}, {}, {}));
  EXPECT_EQ(FileBytes("nodelink.idx"), NodeLinkRecord(numbers) + NodeLinkRecord({}));
}

TEST_P(NetworkDataTest, CostsAtTheLimits) {
  // Along (A to B) and back (B to A) over five links of their own.
  SaveNodes(
      {{.code = 1, .links = {11, 12, 13, 14, 15}}, {.code = 2, .links = {11, 12, 13, 14, 15}}});
  SaveLinks({{.code = 11, .a = 1, .b = 2, .speed_a = 9999, .speed_b = 9999, .value3 = 1000},
             {.code = 12, .a = 1, .b = 2, .speed_a = 10001, .speed_b = 9998, .value3 = 1000},
             {.code = 13, .a = 1, .b = 2, .speed_a = 360, .speed_b = 0, .value3 = 65534},
             {.code = 14, .a = 1, .b = 2, .speed_a = 360, .speed_b = 360, .value3 = 65535},
             {.code = 15, .a = 1, .b = 2, .speed_a = 0, .speed_b = 1, .value3 = 0}});
  Load();
  EXPECT_EQ(CreateNetworkData(), 1);
  EXPECT_EQ(
      FileBytes("mapcalc.dat"),
      CalcRecord({1, 1, 1, 1, 1}, {36, 0, 65534, 65535, 0}, {1000, 1000, 65534, 65535, 0}) +
          CalcRecord({0, 0, 0, 0, 0}, {0, 36, 65535, 65535, 0}, {1000, 1000, 65534, 65535, 0}));
}

TEST_P(NetworkDataTest, ALinkFromANodeToItselfIsLeftThroughNodeA) {
  SaveNodes({{.code = 1, .links = {11}}, {.code = 2}});
  SaveLinks({{.code = 11, .a = 1, .b = 1, .speed_a = 36, .speed_b = 72, .value3 = 10}});
  Load();
  EXPECT_EQ(CreateNetworkData(), 1);
  EXPECT_EQ(FileBytes("mapcalc.dat"), CalcRecord({0}, {100}, {10}) + CalcRecord({}, {}, {}));
}

TEST_P(NetworkDataTest, WithoutLinksEveryNodeStandsAlone) {
  SaveNodes({{.code = 2, .links = {5}}, {.code = 1}});
  SaveLinks({});
  Load();
  EXPECT_EQ(CheckDummyLinkNodes(), 1);
  EXPECT_EQ(CreateNetworkData(), 1);
  EXPECT_EQ(FileBytes("mapcalc.dat"), CalcRecord({}, {}, {}) + CalcRecord({}, {}, {}));
  EXPECT_EQ(FileBytes("nodelink.idx"), NodeLinkRecord({}) + NodeLinkRecord({}));
  EXPECT_EQ(FileBytes("node.idx"),
            IndexRecord(form_.Code(1), 1, 0) + IndexRecord(form_.Code(2), 0, 0));
  for (const char* name : {"link.idx", "linknode.idx", "mapdraw.dat"}) {
    EXPECT_TRUE(Exists(folder_ / name)) << name;
    EXPECT_EQ(FileBytes(name), "") << name;
  }
}

TEST_P(NetworkDataTest, EarlierFilesAreReplaced) {
  const std::pair<const char*, size_t> files[] = {{"mapcalc.dat", 192}, {"node.idx", 48},
                                                  {"nodelink.idx", 96}, {"link.idx", 48},
                                                  {"linknode.idx", 48}, {"mapdraw.dat", 96}};
  for (const auto& file : files) WriteBytes(folder_ / file.first, std::string(5000, 'x'));
  SaveTriangle();
  Load();
  EXPECT_EQ(CreateNetworkData(), 1);
  for (const auto& [name, size] : files) EXPECT_EQ(FileBytes(name).size(), size) << name;
}

// ---- errors of the network data ------------------------------------------------------------

TEST_P(NetworkDataTest, NetworkDataRefusesAnInvalidCodeLength) {
  SaveTriangle();
  Load();
  UseLength(16);
  EXPECT_EQ(CreateNetworkData(), 0);
  EXPECT_EQ(Reports(),
            Lines{memory() ? "[The CodeLength = 16 is invalid !]"
                             "[Logic Error in BRN_CreateNetworkData]"
                           : "[The CodeLength = 16 is invalid !]"
                             "[Internal Logic Error Found in BRN450_CreateNetworkData]"});
  EXPECT_FALSE(Exists(folder_ / "mapcalc.dat"));
}

TEST_P(NetworkDataTest, ALinkWithoutItsNodesStopsTheStep) {
  SaveNodes({{.code = 1}, {.code = 2}});
  SaveLinks(
      {{.code = 70, .a = 1, .b = 2}, {.code = 71, .a = 2, .b = 8}, {.code = 72, .a = 9, .b = 9}});
  Load();
  EXPECT_EQ(CreateNetworkData(), 0);
  EXPECT_EQ(Reports(),
            Lines{Report("Can't find the edging Nodes : Link=" + form_.Digits(71) +
                             "(1), NodesA/B=" + form_.Digits(2) + "(1)/" + form_.Digits(8) + "(-1)",
                         Title())});
  EXPECT_FALSE(Exists(folder_ / "mapcalc.dat"));
  EXPECT_FALSE(Exists(folder_ / "node.idx"));
}

TEST_P(NetworkDataTest, ConnectionErrorsEndTheStepAfterTheSlotsOfTheNode) {
  // Node 3 lists two links that end elsewhere, and so does node 4.
  SaveNodes({{.code = 1, .links = {11, 12}},
             {.code = 2, .links = {11, 12}},
             {.code = 3, .links = {0, 11, 13, 12}},
             {.code = 4, .links = {11, 13}}});
  SaveLinks(
      {{.code = 11, .a = 1, .b = 2}, {.code = 12, .a = 2, .b = 1}, {.code = 13, .a = 3, .b = 4}});
  Load();
  EXPECT_EQ(CreateNetworkData(), 0);
  Lines errors;
  for (const std::string& line : log()) {
    if (IsReport(line) || line.find("Error") == 0) errors.push_back(line);
  }
  ASSERT_EQ(errors.size(), 3u);
  std::sort(errors.begin(), errors.end());
  EXPECT_EQ(errors,
            (Lines{"Error connection : Node=" + form_.Digits(3) + " => Link=" + form_.Digits(11),
                   "Error connection : Node=" + form_.Digits(3) + " => Link=" + form_.Digits(12),
                   Report("Unexpected NodeCode. Network connection error. ", Title())}));
  EXPECT_FALSE(Exists(folder_ / "node.idx"));
  EXPECT_FALSE(Exists(folder_ / "nodelink.idx"));
}

TEST_P(NetworkDataTest, NetworkFilesThatCannotBeWrittenAreReported) {
  SaveTriangle();
  Load();
  LineSet expected{Report("Can't write the NodeIndex file(%s)", "File Error", "node.idx"),
                   Report("Can't write the NodeLinkIndex file(%s)", "File Error", "nodelink.idx"),
                   Report("Can't write the LinkIndex file(%s)", "File Error", "link.idx"),
                   Report("Can't write the LinkNodeIndex file(%s)", "File Error", "linknode.idx"),
                   Report("Can't write the DrawMap file(%s)", "File Error", "mapdraw.dat")};
  LineSet written =
      FailEach(platform::Operation::kWrite, {.prepare = [] {},
                                             .run = [&] { return CreateNetworkData(); },
                                             .write_fault = platform::WriteFault::kHalfWritten});
  int calc_nodes = 0;
  for (const char* at : {"0", "1", "2"}) {
    const std::string message = std::string("Can't write the CalcNode Data(%s) at ") + at + " !";
    for (const std::string& title :
         {std::string("File Error"), "File Error in " + Step("CreateNetworkData")}) {
      calc_nodes += static_cast<int>(written.erase(Report(message, title, "mapcalc.dat")));
    }
  }
  EXPECT_GE(calc_nodes, 1);
  EXPECT_EQ(written, expected);

  expected.insert(Report("Can't open the CalcNode File (%s) !",
                         "File Error in " + Step("CreateNetworkData"), "mapcalc.dat"));
  LineSet locked;
  for (const char* name :
       {"mapcalc.dat", "node.idx", "nodelink.idx", "link.idx", "linknode.idx", "mapdraw.dat"}) {
    ClearLog();
    const platform::File lock = Lock(name);
    EXPECT_EQ(CreateNetworkData(), 0) << name;
    ASSERT_EQ(Reports().size(), 1u) << name;
    locked.insert(Reports()[0]);
  }
  EXPECT_EQ(locked, expected);
}

TEST_P(NetworkDataTest, MissingMemoryForNetworkDataIsReported) {
  SaveTriangle();
  Load();
  const LineSet reports = FailEach(platform::Operation::kAllocate,
                                   {.prepare = [] {}, .run = [&] { return CreateNetworkData(); }});
  EXPECT_EQ(CountMessages(reports,
                          "Can't allocate the momories for NodeLinkIndex, LinkNodeIndex, "
                          "DrawMapL!"),
            1);
}

TEST_P(NetworkDataTest, ACancelStopsTheSteps) {
  SaveTriangle();
  Load();
  CancelAt(Mark("Making LinkNodeIndex"));
  EXPECT_EQ(CreateNetworkData(), 0);
  EXPECT_EQ(log()[0], Mark("Creating CalcNode"));
  EXPECT_EQ(log().back(), Mark("Making LinkNodeIndex"));
  EXPECT_FALSE(Exists(folder_ / "node.idx"));
  ClearLog();
  CancelAt("");
  FRD_SetCancelled(true);
  EXPECT_EQ(CheckDummyLinkNodes(), 0);
  EXPECT_EQ(CreateNetworkData(), 0);
  EXPECT_EQ(log(), Lines());
}

// ---- through files only --------------------------------------------------------------------

class NetworkThroughFilesTest : public NetworkDataTest {};

INSTANTIATE_TEST_SUITE_P(Way, NetworkThroughFilesTest,
                         ::testing::Values(Way{14, false}, Way{18, false}));

TEST_P(NetworkThroughFilesTest, StoresThatHaveGoneAreReported) {
  SaveTriangle();
  Load();
  const std::string nodes = FileBytes("nodestr.~wk");
  platform::RemoveFile((folder_ / "nodestr.~wk").c_str());
  const std::string both = "[Can't open the node store (" + (folder_ / "nodestr.~wk") +
                           ") or the link store (" + (folder_ / "linkstr.~wk") +
                           ") !][File Error in BRN450_CheckDummyLinkNode]";
  EXPECT_EQ(CheckDummyLinkNodes(), 0);
  EXPECT_EQ(CreateNetworkData(), 0);
  WriteBytes(folder_ / "nodestr.~wk", nodes);
  platform::RemoveFile((folder_ / "linkstr.~wk").c_str());
  EXPECT_EQ(CheckDummyLinkNodes(), 0);
  EXPECT_EQ(CreateNetworkData(), 0);
  EXPECT_EQ(Reports(), (Lines{both,
                              Report("Can't open the node store (%s) !",
                                     "File Error in BRN450_CreateNetworkData", "nodestr.~wk"),
                              both,
                              Report("Can't open the link store (%s) !",
                                     "File Error in BRN450_CreateNetworkData", "linkstr.~wk")}));
}

TEST_P(NetworkThroughFilesTest, AStoreThatHasBecomeShorterStopsTheStep) {
  SaveTriangle();
  Load();
  const std::string nodes = FileBytes("nodestr.~wk");
  WriteBytes(folder_ / "nodestr.~wk", nodes.substr(0, 3 * 96));
  EXPECT_EQ(CreateNetworkData(), 0);
  EXPECT_EQ(Reports(), Lines{"[Can't seek / read the node storage file at 2 ( ptr=3 )!]"
                             "[File Error in BRN450_CreateNetworkData]"});
  WriteBytes(folder_ / "nodestr.~wk", nodes);
  WriteBytes(folder_ / "linkstr.~wk", FileBytes("linkstr.~wk").substr(0, 3 * 48));
  ClearLog();
  EXPECT_EQ(CreateNetworkData(), 0);
  EXPECT_EQ(Reports(), Lines{"[Can't seek / read the link storage file at 2 ( ptr=3 )!]"
                             "[File Error in BRN450_CreateNetworkData]"});
  ClearLog();
  SaveLinks({{.code = 71, .a = 1, .b = 2, .kind = 1}});
  EXPECT_EQ(CheckDummyLinkNodes(), 0);
  EXPECT_EQ(Reports().size(), 1u);
}

TEST_P(NetworkThroughFilesTest, PlacesOfNodesGiveWayToWhatTheStepNeeds) {
  SaveTriangle();
  Load();
  ASSERT_TRUE(static_cast<bool>(node_positions_.places));
  ASSERT_EQ(CreateNetworkData(), 1);
  const std::string drawing = FileBytes("mapdraw.dat");
  const LineSet reports = FailEach(platform::Operation::kAllocate,
                                   {.prepare = [&] { Load(); },
                                    .run =
                                        [&] {
                                          const int result = CreateNetworkData();
                                          if (result != 0) {
                                            EXPECT_EQ(FileBytes("mapdraw.dat"), drawing);
                                          }
                                          return result;
                                        }});
  EXPECT_EQ(CountMessages(reports,
                          "Can't allocate the momories for NodeLinkIndex, LinkNodeIndex, "
                          "DrawMapL!"),
            0);
}

TEST_P(NetworkThroughFilesTest, ACancelDuringTheCityCodesKeepsTheIndexesUnwritten) {
  SaveTriangle();
  Load();
  CancelAt(Mark("Setting Node's CityCodes"));
  EXPECT_EQ(CreateNetworkData(), 0);
  EXPECT_TRUE(Exists(folder_ / "mapcalc.dat"));
  EXPECT_FALSE(Exists(folder_ / "node.idx"));
}

#ifndef _WIN32
TEST_P(NetworkThroughFilesTest, ManyRecordsAreCountedOnTheStatusLine) {
  std::vector<StoreNode> nodes;
  std::vector<StoreLink> links;
  for (int64_t i = 1; i <= 10005; ++i) {
    nodes.push_back({.code = i, .links = {i}});
    links.push_back({.code = i, .a = i, .b = i});
  }
  SaveNodes(nodes);
  SaveLinks(links);
  Load();
  const Lines shown = Shown([&] {
    EXPECT_EQ(CheckDummyLinkNodes(), 1);
    EXPECT_EQ(CreateNetworkData(), 1);
  });
  for (const char* text :
       {"Checking the dummy link nodes(F)...", "Checking the dummy link nodes(F)... 10000",
        "Creating CalcNode(F)...", "Making LinkNodeIndex(F)...", "Making LinkNodeIndex(F)... 10000",
        "Setting Node's CityCodes(F)...", "Setting Node's CityCodes(F)... 10000"}) {
    EXPECT_EQ(std::count(shown.begin(), shown.end(), text), 1) << text;
  }
  EXPECT_EQ(std::count_if(log().begin(), log().end(),
                          [](const std::string& line) { return line.find('\n') != line.npos; }),
            0);
}
#endif

}  // namespace
}  // namespace zatlib::test::network
