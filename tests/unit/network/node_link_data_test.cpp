#include "network/node_link_data.h"

#include "network_steps.h"

namespace zatlib::test::network {
namespace {

class NodeLinkDataTest : public SmallStores {};

INSTANTIATE_TEST_SUITE_P(Way, NodeLinkDataTest, ::testing::ValuesIn(kWays));

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

TEST_P(NodeLinkDataTest, ACancelledBuildCreatesNothing) {
  SaveNodes({{.code = 1, .links = {10}}});
  SaveLinks({{.code = 10, .a = 1, .b = 1}});
  ASSERT_EQ(LoadNodes(), 1);
  ASSERT_EQ(LoadLinks(), 1);
  ClearLog();
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(CreateNodeData(), 0);
  EXPECT_EQ(CreateLinkData(), 0);
  EXPECT_EQ(log(), Lines());
  EXPECT_FALSE(Exists(folder_ / "maploc.dat"));
  EXPECT_FALSE(Exists(folder_ / "linkname.dat"));
}

TEST_P(NodeLinkDataTest, ACancelSkipsTheLinkNameFile) {
  SaveStores();
  ASSERT_EQ(LoadLinks(), 1);
  CancelAt(Mark("Creating Link Data"));
  EXPECT_EQ(CreateLinkData(), 0);
  EXPECT_FALSE(Exists(folder_ / "linkname.dat"));
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
