#include "network/store_loading.h"

#include "network_steps.h"

namespace zatlib::test::network {
namespace {

class StoreLoadingTest : public SmallStores {
 protected:
  std::string StoreTitle(const std::string& kind, const std::string& what) {
    return kind + " Error in " +
           Step(memory() ? "Load" + what + "Store" : "Load" + what + "StorePtr");
  }
};

INSTANTIATE_TEST_SUITE_P(Way, StoreLoadingTest, ::testing::ValuesIn(kWays));

TEST_P(StoreLoadingTest, TheRecordsThatAreNotEmptyAreLoadedInFileOrder) {
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

TEST_P(StoreLoadingTest, LoadingEndsWithASummaryWhenAskedFor) {
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

TEST_P(StoreLoadingTest, StoresOfEmptyRecordsLoadAsNothing) {
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

TEST_P(StoreLoadingTest, MissingStoresAndStoresInUseAreReported) {
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

TEST_P(StoreLoadingTest, FailedLoadsEndWithASummaryToo) {
  UseControl("LOG=1\r\n");
  EXPECT_EQ(LoadNodes(), 0);
  EXPECT_EQ(log().back(), "lnNumNode=0, lnNumRec(NodeStore)=0, " +
                              std::string(memory() ? "BRN_LoadNodeStore returns=0"
                                                   : "BRN450_LoadNodeStorePtr returns=0"));
}

TEST_P(StoreLoadingTest, StoresThatCannotBeReadAreReported) {
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

TEST_P(StoreLoadingTest, MissingMemoryForTheStoresIsReported) {
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

TEST_P(StoreLoadingTest, ACancelledBuildLoadsNothing) {
  SaveStores();
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(LoadNodes(), 0);
  EXPECT_EQ(LoadLinks(), 0);
  EXPECT_EQ(NodeCount(), 0);
  EXPECT_EQ(LinkCount(), 0);
  EXPECT_EQ(log(), Lines());
}

}  // namespace
}  // namespace zatlib::test::network
