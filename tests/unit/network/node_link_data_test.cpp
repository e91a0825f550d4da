#include "network/node_link_data.h"

#include "network_steps.h"

namespace zatlib::test::network {
namespace {

class NodeLinkDataTest : public BothOperations {
 protected:
  // Three nodes and two links between empty records, with an incomplete record behind them.
  void SaveStores() {
    SaveNodes({{.code = 0, .x = 9},
               {.code = 500, .attr = 0x8001, .city = 13101, .x = 139700000, .y = 35600000},
               {.code = 200, .attr = 7, .x = -70123456, .y = -15000001},
               {.code = 0},
               {.code = 300, .partner = 200, .city = 4000000000, .links = {9}}},
              std::string(95, 'x'));
    SaveLinks(
        {{.code = 3000, .a = 500, .b = 200, .city = 13101, .kind = 3, .value6 = -6, .flag = 4},
         {.code = 0, .kind = 1, .flag = 4},
         {.code = 1000, .a = 200, .b = 300, .city = 13102, .kind = 99, .value6 = 32767, .flag = 0}},
        std::string(47, 'x'));
  }

  std::string StoreTitle(const std::string& kind, const std::string& what) {
    return kind + " Error in " +
           Step(memory() ? "Load" + what + "Store" : "Load" + what + "StorePtr");
  }
};

INSTANTIATE_TEST_SUITE_P(Way, NodeLinkDataTest, ::testing::ValuesIn(kWays));

// ---- loading -------------------------------------------------------------------------------

TEST_P(NodeLinkDataTest, TheRecordsThatAreNotEmptyAreLoadedInFileOrder) {
  SaveStores();
  EXPECT_EQ(LoadNodes(), 1);
  EXPECT_EQ(LoadLinks(), 1);
  ASSERT_EQ(NodeCount(), 3);
  ASSERT_EQ(LinkCount(), 2);
  if (memory()) {
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(nodes_.records.data()), 288),
              FileBytes("nodestr.~wk").substr(96, 192) + FileBytes("nodestr.~wk").substr(384, 96));
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(links_.records.data()), 96),
              FileBytes("linkstr.~wk").substr(0, 48) + FileBytes("linkstr.~wk").substr(96, 48));
  } else {
    EXPECT_EQ(node_positions_.positions[0], 1u);
    EXPECT_EQ(node_positions_.positions[1], 2u);
    EXPECT_EQ(node_positions_.positions[2], 4u);
    EXPECT_EQ(link_positions_.positions[0], 0u);
    EXPECT_EQ(link_positions_.positions[1], 2u);
  }
  EXPECT_EQ(log(), (Lines{Mark("Loading Nodes"), Mark("Loading Links")}));
}

TEST_P(NodeLinkDataTest, LoadingEndsWithASummaryWhenAskedFor) {
  UseControl("LOG=1\r\n");
  SaveStores();
  EXPECT_EQ(LoadNodes(), 1);
  EXPECT_EQ(LoadLinks(), 1);
  EXPECT_EQ(log(),
            memory()
                ? (Lines{"Loading Nodes(M)...",
                         "lnNumNode=3, lnNumRec(NodeStore)=5, BRN_LoadNodeStore returns=1",
                         "Loading Links(M)...",
                         "lnNumLink=2, lnNumRec(LinkStore)=3, BRN_LoadLinkStore returns=1"})
                : (Lines{"Loading Nodes(F)...",
                         "lnNumNode=3, lnNumRec(NodeStore)=5, BRN450_LoadNodeStorePtr returns=1",
                         "Loading Links(F)...",
                         "lnNumLink=2, lnNumRec(LinkStore)=3, BRN450_LoadLinkStorePtr returns=1"}));
}

TEST_P(NodeLinkDataTest, StoresOfEmptyRecordsLoadAsNothing) {
  SaveNodes({{.code = 0}, {.code = 0}});
  SaveLinks({{.code = 0}});
  EXPECT_EQ(LoadNodes(), 1);
  EXPECT_EQ(LoadLinks(), 1);
  EXPECT_EQ(NodeCount(), 0);
  EXPECT_EQ(LinkCount(), 0);
  SaveNodes({});
  SaveLinks({});
  EXPECT_EQ(LoadNodes(), 1);
  EXPECT_EQ(LoadLinks(), 1);
  EXPECT_EQ(NodeCount(), 0);
  EXPECT_EQ(LinkCount(), 0);
  EXPECT_EQ(Reports(), Lines());
}

TEST_P(NodeLinkDataTest, MissingStoresAndStoresInUseAreReported) {
  const Lines expected{
      Report("Can't open the NODESTORE(%s) !", StoreTitle("File", "Node"), "nodestr.~wk"),
      Report("Can't open LINKSTORE(%s) !", StoreTitle("File", "Link"), "linkstr.~wk")};
  EXPECT_EQ(LoadNodes(), 0);
  EXPECT_EQ(LoadLinks(), 0);
  EXPECT_EQ(Reports(), expected);
  SaveStores();
  ClearLog();
  const platform::File nodes = Lock("nodestr.~wk");
  const platform::File links = Lock("linkstr.~wk");
  EXPECT_EQ(LoadNodes(), 0);
  EXPECT_EQ(LoadLinks(), 0);
  EXPECT_EQ(NodeCount(), 0);
  EXPECT_EQ(LinkCount(), 0);
  EXPECT_EQ(Reports(), expected);
}

TEST_P(NodeLinkDataTest, FailedLoadsEndWithASummaryToo) {
  UseControl("LOG=1\r\n");
  EXPECT_EQ(LoadNodes(), 0);
  EXPECT_EQ(log().back(), "lnNumNode=0, lnNumRec(NodeStore)=0, " +
                              std::string(memory() ? "BRN_LoadNodeStore returns=0"
                                                   : "BRN450_LoadNodeStorePtr returns=0"));
}

TEST_P(NodeLinkDataTest, StoresThatCannotBeReadAreReported) {
  const auto prepare = [&] { SaveStores(); };
  EXPECT_EQ(FailEach(platform::Operation::kRead,
                     {.prepare = prepare, .run = [&] { return LoadNodes(); }}),
            LineSet{Report("Can't read the NodeStore(%s) at 0!", StoreTitle("File", "Node"),
                           "nodestr.~wk")});
  EXPECT_EQ(FailEach(platform::Operation::kRead,
                     {.prepare = prepare, .run = [&] { return LoadLinks(); }}),
            LineSet{Report("Can't read the LINKSTORE(%s) at 0 !", StoreTitle("File", "Link"),
                           "linkstr.~wk")});
}

TEST_P(NodeLinkDataTest, MissingMemoryForTheStoresIsReported) {
  const auto prepare = [&] { SaveStores(); };
  const LineSet nodes = FailEach(platform::Operation::kAllocate,
                                 {.prepare = prepare, .run = [&] { return LoadNodes(); }});
  const LineSet links = FailEach(platform::Operation::kAllocate,
                                 {.prepare = prepare, .run = [&] { return LoadLinks(); }});
  if (memory()) {
    EXPECT_EQ(nodes.count("[Can't allocate the memory for NodeStore (rec=5) !]"
                          "[File Error in BRN_LoadNodeStore]"),
              1u);
    EXPECT_EQ(links.count("[Can't allocate the memory for the LinkStore (rec=3)!]"
                          "[Memory Error in BRN_LoadLinkStore]"),
              1u);
  } else {
    EXPECT_EQ(nodes.count("[Can't allocate the memory for NodeStorePtr (rec=5) !]"
                          "[File Error in BRN450_LoadNodeStorePtr]"),
              1u);
    EXPECT_EQ(links.count("[Can't allocate the memory for the LinkStorePtr (rec=3)!]"
                          "[Memory Error in BRN450_LoadLinkStorePtr]"),
              1u);
  }
}

// ---- node data -----------------------------------------------------------------------------

TEST_P(NodeLinkDataTest, NodeDataIsWrittenInRecordOrder) {
  UseControl("LOG=1\r\n");
  SaveStores();
  ASSERT_EQ(LoadNodes(), 1);
  ClearLog();
  EXPECT_EQ(CreateNodeData(), 1);
  EXPECT_EQ(FileBytes("maploc.dat"), LocationRecord(form_.Code(500), 139700000, 35600000) +
                                         LocationRecord(form_.Code(200), -70123456, -15000001) +
                                         LocationRecord(form_.Code(300), 0, 0));
  EXPECT_EQ(FileBytes("nodename.dat"),
            NodeNameBytes("", 0x8001, 0) + NodeNameBytes("", 7, 0) + NodeNameBytes("", 0, 0));
  EXPECT_EQ(FileBytes("maprule.dat"), std::string(24, '\0'));
  EXPECT_EQ(FileBytes("nodeattr.dat"), std::string(3, '\0'));
  EXPECT_EQ(IndexBytes(node_index_, 3), IndexRecord(form_.Code(200), 1, 0) +
                                            IndexRecord(form_.Code(300), 2, 4000000000) +
                                            IndexRecord(form_.Code(500), 0, 13101));
  EXPECT_FALSE(Exists(folder_ / "node.idx"));
  if (memory()) {
    EXPECT_EQ(log(), (Lines{"Creating Node Data(M)...", "Saving NodeLoc...", "Saving NodeName ...",
                            "Saving TrafRule...", "Saving NodeAttribute...",
                            "lnNumNode=3, BRN_CreateNodeData returns=1"}));
  } else {
    EXPECT_EQ(log(), (Lines{"Creating Node Data(F)...", "Saving NodeLoc ...", "Saving NodeName ...",
                            "Saving TrafRule...", "Saving NodeAttribute...",
                            "lnNumNode=3, BRN450_CreateNodeData returns=1"}));
  }
}

TEST_P(NodeLinkDataTest, NodeDataReplacesEarlierFiles) {
  SaveStores();
  for (const char* name : {"maploc.dat", "nodename.dat", "maprule.dat", "nodeattr.dat"}) {
    WriteBytes(folder_ / name, std::string(5000, 'x'));
  }
  ASSERT_EQ(LoadNodes(), 1);
  EXPECT_EQ(CreateNodeData(), 1);
  EXPECT_EQ(FileBytes("maploc.dat").size(), 48u);
  EXPECT_EQ(FileBytes("nodename.dat").size(), 96u);
  EXPECT_EQ(FileBytes("maprule.dat").size(), 24u);
  EXPECT_EQ(FileBytes("nodeattr.dat").size(), 3u);
}

TEST_P(NodeLinkDataTest, NodeFilesThatCannotBeSavedAreReported) {
  SaveStores();
  ASSERT_EQ(LoadNodes(), 1);
  const LineSet expected{Report("Can't save the NodeLoc : %s", "File Error", "maploc.dat"),
                         Report("Can't save the NodeName : %s", "File Error", "nodename.dat"),
                         Report("Can't save the TrafRule : %s", "File Error", "maprule.dat"),
                         Report("Can't save the NodeAttribute : %s", "File Error", "nodeattr.dat")};
  EXPECT_EQ(
      FailEach(platform::Operation::kWrite, {.prepare = [] {},
                                             .run = [&] { return CreateNodeData(); },
                                             .write_fault = platform::WriteFault::kHalfWritten}),
      expected);
  LineSet locked;
  for (const char* name : {"maploc.dat", "nodename.dat", "maprule.dat", "nodeattr.dat"}) {
    ClearLog();
    const platform::File lock = Lock(name);
    EXPECT_EQ(CreateNodeData(), 0);
    ASSERT_EQ(Reports().size(), 1u) << name;
    EXPECT_EQ(log().back(), Reports()[0]) << "a later file was tried";
    locked.insert(Reports()[0]);
  }
  EXPECT_EQ(locked, expected);
}

TEST_P(NodeLinkDataTest, MissingMemoryForNodeDataIsReported) {
  SaveStores();
  ASSERT_EQ(LoadNodes(), 1);
  const LineSet reports = FailEach(platform::Operation::kAllocate,
                                   {.prepare = [] {}, .run = [&] { return CreateNodeData(); }});
  EXPECT_EQ(reports.count(memory() ? "[Can't allocate the memory for NodeLoc, NodeName, TrafRule, "
                                     "and NodeAttribute : num node=3][Memory Error]"
                                   : "[Can't allocate the memory for NodeLoc, NodeName, TrafRule, "
                                     "and NodeAttribute !][Memory Error]"),
            1u);
}

TEST_P(NodeLinkDataTest, ACancelSkipsTheLaterNodeFiles) {
  SaveStores();
  ASSERT_EQ(LoadNodes(), 1);
  CancelAt("Saving NodeName ...");
  EXPECT_EQ(CreateNodeData(), 0);
  EXPECT_EQ(log(),
            (Lines{Mark("Creating Node Data"),
                   memory() ? "Saving NodeLoc..." : "Saving NodeLoc ...", "Saving NodeName ..."}));
  EXPECT_TRUE(Exists(folder_ / "maploc.dat"));
  EXPECT_FALSE(Exists(folder_ / "maprule.dat"));
  EXPECT_FALSE(Exists(folder_ / "nodeattr.dat"));
}

// ---- link data -----------------------------------------------------------------------------

TEST_P(NodeLinkDataTest, LinkDataIsWrittenInRecordOrder) {
  UseLength(form_.length,
            "[TOLLROAD]\r\nNUMDEF=2\r\nDEF01=99\r\nDEF02=3\r\n"
            "[ROADFLAG]\r\nRAILROAD=4\r\n");
  UseControl("LOG=1\r\n");
  SaveStores();
  ASSERT_EQ(LoadLinks(), 1);
  ClearLog();
  EXPECT_EQ(CreateLinkData(), 1);
  EXPECT_EQ(FileBytes("linkname.dat"),
            LinkNameBytes("", 0, 0x09, 0, 3, -6) + LinkNameBytes("", 0, 0, 0, 99, 32767));
  EXPECT_EQ(IndexBytes(link_index_, 2),
            IndexRecord(form_.Code(1000), 1, 13102) + IndexRecord(form_.Code(3000), 0, 13101));
  EXPECT_FALSE(Exists(folder_ / "link.idx"));
  EXPECT_EQ(log(), (Lines{Mark("Creating Link Data"), "Saving LinkName...",
                          "lnNumLink=2, " + Step("CreateLinkData returns=1")}));
}

TEST_P(NodeLinkDataTest, ALinkNameFileThatCannotBeSavedIsReported) {
  SaveStores();
  ASSERT_EQ(LoadLinks(), 1);
  const LineSet expected{Report("Can't write the LinkName (%s) rec=2 !",
                                "File Error in " + Step("CreateLinkData"), "linkname.dat")};
  EXPECT_EQ(
      FailEach(platform::Operation::kWrite, {.prepare = [] {},
                                             .run = [&] { return CreateLinkData(); },
                                             .write_fault = platform::WriteFault::kHalfWritten}),
      expected);
  ClearLog();
  const platform::File lock = Lock("linkname.dat");
  EXPECT_EQ(CreateLinkData(), 0);
  EXPECT_EQ(Reports(), Lines(expected.begin(), expected.end()));
}

TEST_P(NodeLinkDataTest, MissingMemoryForLinkDataIsReported) {
  SaveStores();
  ASSERT_EQ(LoadLinks(), 1);
  const LineSet reports = FailEach(platform::Operation::kAllocate,
                                   {.prepare = [] {}, .run = [&] { return CreateLinkData(); }});
  EXPECT_EQ(reports.count(memory() ? "[Can't allocate the memory for LinkName : num link=2]"
                                     "[Memory Error in BRN_CreateLinkData]"
                                   : "[Can't allocate the memory for LinkName : num link = 2]"
                                     "[Memory Error in BRN450_CreateLinkData]"),
            1u);
}

TEST_P(NodeLinkDataTest, ACancelSkipsTheLinkNameFile) {
  SaveStores();
  ASSERT_EQ(LoadLinks(), 1);
  CancelAt(Mark("Creating Link Data"));
  EXPECT_EQ(CreateLinkData(), 0);
  EXPECT_FALSE(Exists(folder_ / "linkname.dat"));
}

TEST_P(NodeLinkDataTest, ACancelledBuildLoadsNothing) {
  SaveStores();
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(LoadNodes(), 0);
  EXPECT_EQ(LoadLinks(), 0);
  EXPECT_EQ(NodeCount(), 0);
  EXPECT_EQ(LinkCount(), 0);
  EXPECT_EQ(log(), Lines());
}

// ---- through files only --------------------------------------------------------------------

class ThroughFilesTest : public NodeLinkDataTest {};

INSTANTIATE_TEST_SUITE_P(Way, ThroughFilesTest, ::testing::Values(Way{14, false}, Way{18, false}));

TEST_P(ThroughFilesTest, StoresThatHaveGoneAreReported) {
  SaveStores();
  ASSERT_EQ(LoadNodes(), 1);
  ASSERT_EQ(LoadLinks(), 1);
  platform::RemoveFile((folder_ / "nodestr.~wk").c_str());
  platform::RemoveFile((folder_ / "linkstr.~wk").c_str());
  EXPECT_EQ(CreateNodeData(), 0);
  EXPECT_EQ(CreateLinkData(), 0);
  EXPECT_EQ(Reports(), (Lines{Report("Can't open the NODESTORE(%s) !",
                                     "File Error in BRN450_CreateNodeData", "nodestr.~wk"),
                              Report("Can't open LINKSTORE(%s) !",
                                     "File Error in BRN450_CreateLinkData", "linkstr.~wk")}));
}

TEST_P(ThroughFilesTest, StoresThatHaveBecomeShorterAreReported) {
  SaveStores();
  ASSERT_EQ(LoadNodes(), 1);
  ASSERT_EQ(LoadLinks(), 1);
  WriteBytes(folder_ / "nodestr.~wk", FileBytes("nodestr.~wk").substr(0, 4 * 96 + 50));
  WriteBytes(folder_ / "linkstr.~wk", FileBytes("linkstr.~wk").substr(0, 2 * 48));
  EXPECT_EQ(CreateNodeData(), 0);
  EXPECT_EQ(CreateLinkData(), 0);
  EXPECT_EQ(Reports(), (Lines{"[Can't seek / read the node storage file at 2 ( ptr=4 )!]"
                              "[File Error in BRN450_CreateNodeData]",
                              "[Can't seek / read the link storage file at 1 ( ptr=2 )!]"
                              "[File Error in BRN450_CreateLinkData]"}));
}

TEST_P(ThroughFilesTest, RecordsThatCannotBeReadAreReported) {
  SaveStores();
  ASSERT_EQ(LoadNodes(), 1);
  ASSERT_EQ(LoadLinks(), 1);
  const LineSet node{
      "[Can't seek / read the node storage file at 0 ( ptr=1 )!]"
      "[File Error in BRN450_CreateNodeData]"};
  const LineSet link{
      "[Can't seek / read the link storage file at 0 ( ptr=0 )!]"
      "[File Error in BRN450_CreateLinkData]"};
  for (const platform::Operation operation :
       {platform::Operation::kRead, platform::Operation::kSeek}) {
    EXPECT_EQ(FailEach(operation, {.prepare = [] {}, .run = [&] { return CreateNodeData(); }}),
              node);
    EXPECT_EQ(FailEach(operation, {.prepare = [] {}, .run = [&] { return CreateLinkData(); }}),
              link);
  }
}

#ifndef _WIN32
TEST_P(ThroughFilesTest, ManyRecordsAreCountedOnTheStatusLine) {
  std::vector<StoreNode> nodes;
  std::vector<StoreLink> links;
  for (int64_t i = 1; i <= 20005; ++i) {
    nodes.push_back({.code = i});
    links.push_back({.code = i, .a = i, .b = i});
  }
  SaveNodes(nodes);
  SaveLinks(links);
  ASSERT_EQ(LoadNodes(), 1);
  ASSERT_EQ(LoadLinks(), 1);
  ClearLog();
  const Lines shown = Shown([&] {
    EXPECT_EQ(CreateNodeData(), 1);
    EXPECT_EQ(CreateLinkData(), 1);
  });
  for (const char* text :
       {"Creating Node Data(F)... 10000", "Creating Node Data(F)... 20000", "Saving NodeLoc ...",
        "Saving NodeAttribute...", "Sorting The Common Index", "Creating Link Data(F)... 10000",
        "Creating Link Data(F)... 20000", "Saving LinkName..."}) {
    EXPECT_EQ(std::count(shown.begin(), shown.end(), text),
              std::string(text) == "Sorting The Common Index" ? 2 : 1)
        << text;
  }
  EXPECT_EQ(log(), (Lines{"Creating Node Data(F)...", "Saving NodeLoc ...", "Saving NodeName ...",
                          "Saving TrafRule...", "Saving NodeAttribute...",
                          "Creating Link Data(F)...", "Saving LinkName..."}));
}
#endif

}  // namespace
}  // namespace zatlib::test::network
