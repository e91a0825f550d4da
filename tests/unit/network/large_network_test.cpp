// Networks of more records than one block holds: the same maps and log lines on any number of
// threads, with and without what the store checks hand on.
#include <map>

#include "cancel_each.h"
#include "frd/parallel.h"
#include "network/build_network.h"
#include "network/store_checks.h"
#include "network_steps.h"

namespace zatlib::test::network {
namespace {

constexpr int64_t kNodes = 23000;
constexpr int64_t kStep =
    7919;  // prime: i x 7919 modulo the number of nodes takes every value once

const char* const kFiles[] = {"nodestr.~wk", "linkstr.~wk",  "maploc.dat",   "nodename.dat",
                              "maprule.dat", "nodeattr.dat", "linkname.dat", "mapcalc.dat",
                              "node.idx",    "nodelink.idx", "link.idx",     "linknode.idx",
                              "mapdraw.dat"};

class LargeNetworkTest : public BothOperations {
 protected:
  LargeNetworkTest() { UseControl(std::string("LOG=1\r\nBUILDMETHOD=") + (memory() ? "M" : "F")); }
  ~LargeNetworkTest() override { SetThreadCount(0); }

  // Code of the node in place i of the store: in no order when `mixed`.
  static int64_t NodeCode(int64_t i, bool mixed) { return 100 + (mixed ? i * kStep % kNodes : i); }
  static int64_t LinkCode(int64_t i) { return 50000000 + i * 3; }

  // A ring of nodes, each with links to the next one and to one far away. With `damage` every 97th
  // node is no link's end, every 31st link ends nowhere, one node has no code, and every 50th
  // node names a partner.
  void SaveRing(bool mixed, bool damage) {
    std::vector<StoreNode> nodes;
    std::vector<StoreLink> links;
    for (int64_t i = 0; i < kNodes; ++i) {
      nodes.push_back({.code = NodeCode(i, mixed),
                       .attr = static_cast<int>(i % 5),
                       .city = i % 7,
                       .x = 135000000 + i,
                       .y = 35000000 - i});
      if (damage && i % 50 == 3) nodes.back().partner = NodeCode((i + 1000) % kNodes, mixed);
    }
    const auto join = [&](int64_t a, int64_t b) {
      if (damage && (a % 97 == 5 || b % 97 == 5)) return;
      const auto number = static_cast<int64_t>(links.size());
      const bool loose = damage && number % 31 == 8;
      links.push_back({.code = LinkCode(number),
                       .a = NodeCode(a, mixed),
                       .b = loose ? 99999 : NodeCode(b, mixed),
                       .city = 13000 + number % 11,
                       .speed_a = static_cast<int>(number % 60),
                       .speed_b = 30,
                       .value3 = static_cast<int>(number % 900),
                       .kind = static_cast<int>(number % 9),
                       .flag = static_cast<int>(number % 3)});
      nodes[static_cast<size_t>(a)].links.push_back(LinkCode(number));
      nodes[static_cast<size_t>(b)].links.push_back(LinkCode(number));
    };
    for (int64_t i = 0; i < kNodes; ++i) {
      join(i, (i + 1) % kNodes);
      if (i % 2 == 0) join(i, i * 13 % kNodes);
    }
    if (damage) nodes[11000].code = 0;
    SaveNodes(nodes);
    SaveLinks(links);
  }

  std::map<std::string, std::string> Files() {
    std::map<std::string, std::string> files;
    for (const char* name : kFiles) files[name] = FileBytes(name);
    return files;
  }

  struct Outcome {
    int result;
    Lines log;
    std::map<std::string, std::string> files;
    bool operator==(const Outcome&) const = default;
  };
  Outcome BuildOn(int threads) {
    SetThreadCount(threads);
    ClearLog();
    const int result = BRN_BuildNetwork(nullptr, control());
    return {result, log(), Files()};
  }
};

INSTANTIATE_TEST_SUITE_P(Way, LargeNetworkTest,
                         ::testing::Values(Way{14, true}, Way{14, false}, Way{18, true},
                                           Way{18, false}));

TEST_P(LargeNetworkTest, AnyNumberOfThreadsMakesTheSameMap) {
  for (const bool mixed : {false, true}) {
    for (const bool damage : {false, true}) {
      SaveRing(mixed, damage);
      const Outcome alone = BuildOn(1);
      EXPECT_EQ(alone.result, 1);
      EXPECT_EQ(alone.files.at("mapcalc.dat").size(), alone.files.at("maploc.dat").size() * 4);
      for (const int threads : {2, 4}) {
        SaveRing(mixed, damage);
        EXPECT_TRUE(BuildOn(threads) == alone) << threads << mixed << damage;
      }
    }
  }
}

TEST_P(LargeNetworkTest, TheMapOfARing) {
  SaveRing(true, false);
  ASSERT_EQ(BuildOn(4).result, 1);
  // Node 10 has link 14 to node 9, link 15 to node 11, link 16 to node 130 and link 2656 to node
  // 1770 (13 x 1770 = 23010), in that order.
  EXPECT_EQ(Record(FileBytes("nodelink.idx"), 10, 32), NodeLinkRecord({14, 15, 16, 2656}));
  // Its costs: 14 x 360 / 30, 15 x 360 / 15, 16 x 360 / 16, 856 x 360 / 30.
  EXPECT_EQ(Record(FileBytes("mapcalc.dat"), 10, 64),
            CalcRecord({9, 11, 130, 1770}, {168, 360, 360, 10272}, {14, 15, 16, 856}));
  EXPECT_EQ(Record(FileBytes("linknode.idx"), 16, 16), LinkNodeRecord(10, 130, 16, 30, 16));
  EXPECT_EQ(
      Record(FileBytes("mapdraw.dat"), 16, 32),
      DrawRecord(form_.Code(LinkCode(16)), 16, 7, 0, 135000010, 135000130, 34999990, 34999870));
  EXPECT_EQ(Record(FileBytes("maploc.dat"), 10, 16),
            LocationRecord(form_.Code(NodeCode(10, true)), 135000010, 34999990));
  EXPECT_EQ(Record(FileBytes("linkname.dat"), 16, 30), LinkNameBytes("", 0, 0, 0, 7, 0));
  // The smallest code is that of node 0; its first link is the ring's first.
  EXPECT_EQ(Record(FileBytes("node.idx"), 0, 16),
            std::string(Bytes().Text(form_.Code(100), 8).I32(0).I32(13000)));
}

TEST_P(LargeNetworkTest, ChecksThatReadForThemselvesRepairTheSame) {
  for (const bool mixed : {false, true}) {
    SaveRing(mixed, true);
    ClearLog();
    CheckedStores known;
    SortedCodes list;
    ASSERT_EQ(BRN_CheckNodeLinkDuplication(nullptr, control(), &known), 1);
    ASSERT_EQ(BRN_CheckNodeStoreFromLinkStore(nullptr, control(), &known), 1);
    ASSERT_EQ(BRN_MakeDrotenNodeIndex(nullptr, &list, control(), &known), 1);
    ASSERT_EQ(BRN_CheckLinkStore(nullptr, list, control(), &known), 1);
    const auto files = Files();
    const Lines lines = log();

    SaveRing(mixed, true);
    ClearLog();
    SortedCodes own;
    ASSERT_EQ(BRN_CheckNodeLinkDuplication(nullptr, control()), 1);
    ASSERT_EQ(BRN_CheckNodeStoreFromLinkStore(nullptr, control()), 1);
    ASSERT_EQ(BRN_MakeDrotenNodeIndex(nullptr, &own, control()), 1);
    ASSERT_EQ(BRN_CheckLinkStore(nullptr, own, control()), 1);
    EXPECT_TRUE(Files() == files);
    EXPECT_EQ(log(), lines);
    ASSERT_EQ(own.count, list.count);
    EXPECT_EQ(std::memcmp(own.codes.data(), list.codes.data(), static_cast<size_t>(own.count) * 8),
              0);
    // Of the 23,000 nodes 238 (5, 102, ... 22994) were left out, 5 have links to those or into the
    // void only (2623, 8637, 13681, 14651 and 20665), and one has no code.
    EXPECT_EQ(own.count, kNodes - 244);
  }
}

TEST_P(LargeNetworkTest, AConnectionErrorEndsTheCalcNodesAtItsNode) {
  for (const int threads : {1, 4}) {
    SetThreadCount(threads);
    SaveRing(false, false);
    ASSERT_NO_FATAL_FAILURE(Load());
    // Nodes 15,000 and 18,000 list links of others; the first one ends the pass.
    std::string store = FileBytes("nodestr.~wk");
    for (const size_t node : {size_t{15000}, size_t{18000}}) {
      store.replace(node * 96 + 32 + 6 * 8, 8, form_.Code(LinkCode(2)));
      store.replace(node * 96 + 32 + 7 * 8, 8, form_.Code(LinkCode(4)));
    }
    WriteBytes(folder_ / "nodestr.~wk", store);
    if (memory()) {
      ASSERT_EQ(LoadNodes(), 1);
      ClearLog();
    }
    EXPECT_EQ(CreateNetworkData(), 0);
    EXPECT_EQ(FileBytes("mapcalc.dat").size(), 15000u * 64);
    const Lines lines = log();
    ASSERT_GE(lines.size(), 3u);
    EXPECT_EQ(Lines(lines.end() - 3, lines.end()),
              (Lines{"[Unexpected NodeCode. Network connection error. ][Internal Logic Error in " +
                         Step("CreateNetworkData") + "]",
                     "Error connection : Node=" + form_.Digits(15100) +
                         " => Link=" + form_.Digits(LinkCode(2)),
                     "Error connection : Node=" + form_.Digits(15100) +
                         " => Link=" + form_.Digits(LinkCode(4))}));
  }
}

TEST_P(LargeNetworkTest, TheFirstLinkWithoutAnEndIsReported) {
  for (const int threads : {1, 4}) {
    SetThreadCount(threads);
    SaveRing(false, false);
    std::string store = FileBytes("linkstr.~wk");
    for (const size_t link : {size_t{12345}, size_t{12346}, size_t{30000}}) {
      store.replace(link * 48 + 16, 8, form_.Code(99999));
    }
    WriteBytes(folder_ / "linkstr.~wk", store);
    ASSERT_NO_FATAL_FAILURE(Load());
    EXPECT_EQ(CreateNetworkData(), 0);
    // Link 12,345 is the 8,231st node's only one: links 3k and 3k + 1 begin at node 2k.
    EXPECT_EQ(log().back(), "[Can't find the edging Nodes : Link=" + form_.Digits(LinkCode(12345)) +
                                "(12345), NodesA/B=" + form_.Digits(100 + 8230) + "(8230)/" +
                                form_.Digits(99999) + "(-1)][Internal Logic Error in " +
                                Step("CreateNetworkData") + "]");
  }
}

// 70,000 nodes and links: the user is looked at within the passes, too.
class CancelledNetworkTest : public LargeNetworkTest {
 protected:
  CancelledNetworkTest() {
    for (int64_t i = 1; i <= 70000; ++i) {
      node_store_ += NodeRecord(
          form_, {.code = i, .partner = i % 1000 == 0 ? i - 1 : 0, .links = {i, i % 70000 + 1}});
      link_store_ +=
          LinkRecord(form_, {.code = i % 70000 + 1, .a = i, .b = i % 70000 + 1, .value3 = 5});
    }
  }
  void SaveStores() {
    WriteBytes(folder_ / "nodestr.~wk", node_store_);
    WriteBytes(folder_ / "linkstr.~wk", link_store_);
  }

 private:
  std::string node_store_;
  std::string link_store_;
};

INSTANTIATE_TEST_SUITE_P(Way, CancelledNetworkTest,
                         ::testing::Values(Way{14, true}, Way{14, false}));

TEST_P(CancelledNetworkTest, ACancelWithinAPassIsHeard) {
  const auto build = [&](const std::string& cancel_at) {
    SaveStores();
    CancelAt(cancel_at);
    const int result = BRN_BuildNetwork(nullptr, control());
    FRD_SetCancelled(false);
    return result;
  };
  ASSERT_EQ(build(""), 1);
  const Lines lines = log();
  for (size_t i = 0; i < lines.size(); ++i) {
    if (lines[i].find("returns=") != std::string::npos) continue;
    EXPECT_EQ(build(lines[i]), 0) << lines[i];
    // The step may end with its summary or its choice; no other one begins and nothing is reported.
    ASSERT_GE(log().size(), i + 1);
    for (size_t k = i + 1; k < log().size(); ++k) {
      EXPECT_TRUE(log()[k].find("returns=") != std::string::npos || log()[k].find("*** ") == 0)
          << lines[i] << ": " << log()[k];
    }
  }
}

TEST_P(CancelledNetworkTest, ACancelWithinACheckThatReadsForItselfIsHeard) {
  if (!memory()) return;  // the checks are the same
  SaveStores();
  SortedCodes nodes;
  ASSERT_EQ(BRN_MakeDrotenNodeIndex(nullptr, &nodes, control()), 1);
  const std::function<int()> checks[] = {
      [&] { return BRN_CheckNodeLinkDuplication(nullptr, control()); },
      [&] { return BRN_CheckNodeStoreFromLinkStore(nullptr, control()); },
      [&] {
        SortedCodes list;
        return BRN_MakeDrotenNodeIndex(nullptr, &list, control());
      },
      [&] { return BRN_CheckLinkStore(nullptr, nodes, control()); },
      [&] { return BRN_MakeDummyLinks(nullptr, nodes, control()); }};
  for (const auto& check : checks) {
    const auto prepare = [&] {
      SaveStores();
      ClearLog();
    };
    EXPECT_GT(CancelAtEach(platform::Operation::kRead, 1, prepare, check, log()), 0)
        << &check - checks;
  }
}

TEST_P(LargeNetworkTest, PlacesAreReadFromTheStoreWithoutMemoryForThem) {
  SaveRing(true, false);
  ASSERT_NO_FATAL_FAILURE(Load());
  ASSERT_EQ(CreateNetworkData(), 1);
  const auto files = Files();
  platform::RemoveFile((folder_ / "mapdraw.dat").c_str());
  // They are given back as soon as they have been used.
  ASSERT_FALSE(static_cast<bool>(node_positions_.places));
  ASSERT_EQ(CreateNetworkData(), 1);
  EXPECT_TRUE(Files() == files);
  if (memory()) return;
  // Links are read first, then places of nodes all over the store.
  int of_nodes = 0;
  for (const int64_t read : {1, 10, 100, 1000}) {
    ClearLog();
    EXPECT_EQ(RunWithFault({platform::Operation::kRead, read}, [&] { return CreateNetworkData(); }),
              0);
    ASSERT_EQ(Reports().size(), 1u) << read;
    of_nodes += Reports()[0].find("[Can't seek / read the node storage file at ") == 0 ? 1 : 0;
  }
  EXPECT_GT(of_nodes, 1);
}

}  // namespace
}  // namespace zatlib::test::network
