#include "network/finishing.h"

#include <tuple>

#include "cancel_each.h"
#include "frd/parallel.h"
#include "network_stores.h"

namespace zatlib::test::network {
namespace {

class FinishingTest : public BothLengths {
 protected:
  int FinishAttributes() { return BRN_FinishNodeAttribute(nullptr, control()); }
  int FinishNodeNames() { return BRN_FinishNodeName(nullptr, control()); }
  int FinishLinkNames() { return BRN_FinishLinkName(nullptr, control()); }

  void Save(const std::string& name, const std::string& bytes) {
    WriteBytes(folder_ / name, bytes);
  }

  // Nodes with these link numbers, links with these (flags, road kind) pairs.
  void SaveNetwork(const std::vector<std::vector<int64_t>>& nodes,
                   const std::vector<std::pair<int, int>>& links) {
    std::string node_links;
    std::string node_names;
    for (const auto& node : nodes) {
      node_links += NodeLinkRecord(node);
      node_names += NodeNameBytes("name", 0x1234, 0);
    }
    std::string link_names;
    for (const auto& [flags, kind] : links) {
      link_names += LinkNameBytes("road", 7, flags, 8, kind, 9);
    }
    Save("nodelink.idx", node_links);
    Save("nodename.dat", node_names);
    Save("nodeattr.dat", std::string(nodes.size(), '\0'));
    Save("linkname.dat", link_names);
  }

  std::string NameRecord(int64_t code, const std::string& name, int number = 0, int value = 0,
                         int node_value = 0) {
    return NameBytes{form_.Code(code), name, number, node_value, value, 0x5151};
  }
};

INSTANTIATE_TEST_SUITE_P(CodeLength, FinishingTest, ::testing::Values(14, 18));

// ---- BRN_FinishNodeAttribute ---------------------------------------------------------------

TEST_P(FinishingTest, ANodeKeepsItsFlagsWhenEveryLinkHasSome) {
  // Links: 0 toll, 1 toll, 2 plain, 3 dummy, 4 ferry and pay road, 5 dummy with flags.
  SaveNetwork({{0, 2}, {0, 1}, {3, 5}, {}, {0, 3, 4}, {2}, {4, 3, 2}, {0, 1, 4, 0, 1, 4, 0, 1}},
              {{0x01, 1}, {0x01, 1}, {0, 2}, {0, 99}, {0x06, 3}, {0x7F, 100}});
  EXPECT_EQ(FinishAttributes(), 1);
  EXPECT_EQ(FileBytes("nodeattr.dat"), std::string("\x00\x01\x00\x00\x07\x00\x00\x07", 8));
  std::string names;
  for (const int attribute : {0, 1, 0, 0, 7, 0, 0, 7}) {
    names += NodeNameBytes("name", 0x1234, attribute);
  }
  EXPECT_EQ(FileBytes("nodename.dat"), names);
  EXPECT_EQ(FileBytes("mapattr.dat"),
            std::string("\x01\0\0\0\0\0\0\0", 8) + std::string("\x01\x01\0\0\0\0\0\0", 8) +
                std::string(8, '\0') + std::string(8, '\0') +
                std::string("\x01\0\x06\0\0\0\0\0", 8) + std::string(8, '\0') +
                std::string("\x06\0\0\0\0\0\0\0", 8) +
                std::string("\x01\x01\x06\x01\x01\x06\x01\x01", 8));
  EXPECT_EQ(log(), Lines{"Finishing Node Attribute..."});
}

TEST_P(FinishingTest, TheHighestRoadKindThatCountsIs98) {
  SaveNetwork({{0}, {1}, {2}}, {{0x02, 98}, {0x02, 99}, {0x02, -1}});
  EXPECT_EQ(FinishAttributes(), 1);
  EXPECT_EQ(FileBytes("nodeattr.dat"), std::string("\x02\x00\x02", 3));
  EXPECT_EQ(FileBytes("mapattr.dat"), std::string("\x02\0\0\0\0\0\0\0", 8) + std::string(8, '\0') +
                                          std::string("\x02\0\0\0\0\0\0\0", 8));
}

TEST_P(FinishingTest, LinkNumbersOutsideTheTableCountForNothing) {
  SaveNetwork({{0, 1, -5, 0x7FFFFFFF}}, {{0x04, 1}});
  EXPECT_EQ(FinishAttributes(), 1);
  EXPECT_EQ(FileBytes("nodeattr.dat"), "\x04");
  EXPECT_EQ(FileBytes("mapattr.dat"), std::string("\x04\0\0\0\0\0\0\0", 8));
}

TEST_P(FinishingTest, EarlierAttributesAreReplaced) {
  SaveNetwork({{0}, {}}, {{0, 1}});
  Save("nodeattr.dat", "\x11\x22");
  Save("nodename.dat", NodeNameBytes("a", 1, 0x11) + NodeNameBytes("b", 2, 0x22));
  EXPECT_EQ(FinishAttributes(), 1);
  EXPECT_EQ(FileBytes("nodeattr.dat"), std::string(2, '\0'));
  EXPECT_EQ(FileBytes("nodename.dat"), NodeNameBytes("a", 1, 0) + NodeNameBytes("b", 2, 0));
}

TEST_P(FinishingTest, AttributesEndWithASummaryWhenAskedFor) {
  UseControl("LOG=1\r\n");
  SaveNetwork({{0}, {0}, {}}, {{1, 1}, {0, 1}});
  EXPECT_EQ(FinishAttributes(), 1);
  EXPECT_EQ(log(), (Lines{"Finishing Node Attribute...",
                          "lnNumNode=3, lnNumLink=2, BRN_FinishNodeAttriute returns=1"}));
  platform::RemoveFile((folder_ / "linkname.dat").c_str());
  ClearLog();
  EXPECT_EQ(FinishAttributes(), 0);
  EXPECT_EQ(log().back(), "lnNumNode=3, lnNumLink=0, BRN_FinishNodeAttriute returns=0");
}

TEST_P(FinishingTest, AttributesReportMissingFiles) {
  const std::pair<const char*, const char*> files[] = {
      {"nodelink.idx", "Can't read the NodeLinkIndex file (%s) !"},
      {"nodename.dat", "Can't read the NodeName file (%s) !"},
      {"nodeattr.dat", "Can't read the NodeAttribute file (%s) !"},
      {"linkname.dat", "Can't read the LinkName file (%s) !"},
  };
  for (const auto& [name, message] : files) {
    SaveNetwork({{0}, {0}}, {{1, 1}});
    const Lines expected{Report(message, "File Error in BRN_FinishNodeAttribute", name)};
    ClearLog();
    {
      const platform::File lock = Lock(name);
      EXPECT_EQ(FinishAttributes(), 0) << name;
    }
    EXPECT_EQ(Reports(), expected);
    platform::RemoveFile((folder_ / name).c_str());
    ClearLog();
    EXPECT_EQ(FinishAttributes(), 0) << name;
    EXPECT_EQ(Reports(), expected);
    EXPECT_FALSE(Exists(folder_ / "mapattr.dat"));
  }
}

TEST_P(FinishingTest, AttributesReportFilesThatAreTooShort) {
  SaveNetwork({{0}, {0}}, {{1, 1}});
  Save("nodename.dat", NodeNameBytes("a", 1, 0));
  EXPECT_EQ(FinishAttributes(), 0);
  SaveNetwork({{0}, {0}}, {{1, 1}});
  Save("nodeattr.dat", "\x01");
  EXPECT_EQ(FinishAttributes(), 0);
  EXPECT_EQ(Reports(), (Lines{Report("Can't read the NodeName file (%s) !",
                                     "File Error in BRN_FinishNodeAttribute", "nodename.dat"),
                              Report("Can't read the NodeAttribute file (%s) !",
                                     "File Error in BRN_FinishNodeAttribute", "nodeattr.dat")}));
}

TEST_P(FinishingTest, AttributesReportWhatCannotBeReadOrWritten) {
  const auto prepare = [&] { SaveNetwork({{0}, {0}}, {{1, 1}}); };
  const auto run = [&] { return FinishAttributes(); };
  EXPECT_EQ(FailEach(platform::Operation::kRead, {.prepare = prepare, .run = run}),
            (LineSet{Report("Can't read the NodeLinkIndex file (%s) !",
                            "File Error in BRN_FinishNodeAttribute", "nodelink.idx"),
                     Report("Can't read the NodeName file (%s) !",
                            "File Error in BRN_FinishNodeAttribute", "nodename.dat"),
                     Report("Can't read the NodeAttribute file (%s) !",
                            "File Error in BRN_FinishNodeAttribute", "nodeattr.dat"),
                     Report("Can't read the LinkName file (%s) !",
                            "File Error in BRN_FinishNodeAttribute", "linkname.dat")}));
  EXPECT_EQ(
      FailEach(platform::Operation::kWrite,
               {.prepare = prepare, .run = run, .write_fault = platform::WriteFault::kHalfWritten}),
      (LineSet{Report("Can't write the NodeName file (%s) !",
                      "File Error in BRN_FinishNodeAttribute", "nodename.dat"),
               Report("Can't write the NodeAttribute file (%s) !",
                      "File Error in BRN_FinishNodeAttribute", "nodeattr.dat"),
               Report("Can't write the CalcAttribute file (%s) !",
                      "File Error in BRN_FinishNodeAttribute", "mapattr.dat")}));
}

// 40000 nodes and links, more than one block of any file: node i has the links i and 39999 - i.
// Link k is plain for k = 0, 4, 8..., toll (1) for 1, 5..., a dummy for 2, 6... and a ferry (4) for
// 3, 7... 39999 - i is 3, 2, 1, 0 behind a multiple of 4 for i = 0, 1, 2, 3 and so on.
TEST_P(FinishingTest, AttributesOfManyNodes) {
  std::vector<std::vector<int64_t>> nodes;
  std::vector<std::pair<int, int>> links;
  std::string attributes;
  std::string connections;
  for (int i = 0; i < 40000; ++i) {
    nodes.push_back({i, 39999 - i});
    links.push_back(std::vector<std::pair<int, int>>{{0, 1}, {1, 1}, {1, 99}, {4, 98}}[i % 4u]);
    // Plain and ferry; toll and dummy; dummy and toll; ferry and plain.
    attributes += std::string("\0\1\1\0", 4)[i % 4u];
    connections += std::string("\0\4\1\0\0\1\4\0", 8).substr(i % 4u * 2, 2) + std::string(6, '\0');
  }
  for (const int threads : {1, 2, 5}) {
    SetThreadCount(threads);
    SaveNetwork(nodes, links);
    EXPECT_EQ(FinishAttributes(), 1);
    EXPECT_TRUE(FileBytes("nodeattr.dat") == attributes) << threads;
    EXPECT_TRUE(FileBytes("mapattr.dat") == connections) << threads;
    EXPECT_EQ(Record(FileBytes("nodename.dat"), 39997, 32), NodeNameBytes("name", 0x1234, 1));
  }
  SetThreadCount(0);
  // The second block of the links' names, and that of the nodes' links.
  for (const auto& [number, message, name] :
       {std::tuple{5, "Can't read the LinkName file (%s) !", "linkname.dat"},
        std::tuple{7, "Can't read the NodeLinkIndex file (%s) !", "nodelink.idx"}}) {
    ClearLog();
    EXPECT_EQ(
        RunWithFault({platform::Operation::kRead, number}, [&] { return FinishAttributes(); }), 0);
    EXPECT_EQ(Reports(), Lines{Report(message, "File Error in BRN_FinishNodeAttribute", name)});
  }
}

TEST_P(FinishingTest, AttributesReportMissingMemory) {
  EXPECT_EQ(FailEach(platform::Operation::kAllocate, {.prepare =
                                                          [&] {
                                                            SaveNetwork({{0}, {0}}, {{1, 1}});
                                                          },
                                                      .run = [&] { return FinishAttributes(); }}),
            LineSet{"[Can't allocate the memory for 5 indexes (node=2,link=1) !]"
                    "[Memory Error in BRN_FinishNodeAttribute]"});
}

// ---- BRN_FinishNodeName --------------------------------------------------------------------

TEST_P(FinishingTest, NodeNamesGoToTheirNodes) {
  const std::string full = "abcdefghijklmnopqrst";
  Save("nnamestr.~wk", NameRecord(10, "first") + NameRecord(40, "nobody") + NameRecord(30, full) +
                           NameRecord(10, "later", 1, 2, 3) + std::string(39, 'x'));
  Save("node.idx", IndexRecord(form_.Code(10), 2, 0) + IndexRecord(form_.Code(20), 0, 0) +
                       IndexRecord(form_.Code(30), 1, 0));
  Save("nodename.dat",
       NodeNameBytes("", 1, 2) +
           Bytes().Text("old name before that", 20).Text("garbage!", 8).I16(3).I8(4).I8(0).str() +
           NodeNameBytes("", 5, 6));
  EXPECT_EQ(FinishNodeNames(), 1);
  EXPECT_EQ(FileBytes("nodename.dat"),
            NodeNameBytes("", 1, 2) + NodeNameBytes(full, 3, 4) + NodeNameBytes("later", 5, 6));
  EXPECT_EQ(log(), Lines{"Finishing Node Name..."});
}

TEST_P(FinishingTest, NamesAreCutAtByte20) {
  Save("nnamestr.~wk",
       Bytes().Text(form_.Code(10), 8).Text("abcdefghijklmnopqrstUVWXYZ", 32).str());
  Save("node.idx", IndexRecord(form_.Code(10), 0, 0));
  Save("nodename.dat", NodeNameBytes("", 1, 0));
  EXPECT_EQ(FinishNodeNames(), 1);
  EXPECT_EQ(FileBytes("nodename.dat"), NodeNameBytes("abcdefghijklmnopqrst", 1, 0));
}

TEST_P(FinishingTest, NodeNamesEndWithASummaryWhenAskedFor) {
  UseControl("LOG=1\r\n");
  Save("nnamestr.~wk", NameRecord(10, "a") + NameRecord(40, "b") + NameRecord(10, "c"));
  Save("node.idx", IndexRecord(form_.Code(10), 1, 0) + IndexRecord(form_.Code(20), 0, 0));
  Save("nodename.dat", std::string(64, '\0'));
  EXPECT_EQ(FinishNodeNames(), 1);
  EXPECT_EQ(log(), (Lines{"Finishing Node Name...",
                          "lnNumNode=2, Storage=3, HitNodeName=2, BRN_FinishNodeName returns=1"}));
}

TEST_P(FinishingTest, NodeNamesWithoutAnyNameLeaveTheFileAsItIs) {
  Save("nnamestr.~wk", "");
  Save("node.idx", IndexRecord(form_.Code(10), 0, 0));
  Save("nodename.dat", NodeNameBytes("kept", 1, 2));
  EXPECT_EQ(FinishNodeNames(), 1);
  EXPECT_EQ(FileBytes("nodename.dat"), NodeNameBytes("kept", 1, 2));
}

TEST_P(FinishingTest, NodeNumbersOutsideTheTableDoNoHarm) {
  Save("nnamestr.~wk", NameRecord(10, "a") + NameRecord(20, "b"));
  Save("node.idx", IndexRecord(form_.Code(10), 0x7FFFFFFF, 0) + IndexRecord(form_.Code(20), -2, 0));
  Save("nodename.dat", NodeNameBytes("kept", 1, 2) + NodeNameBytes("too", 3, 4));
  FinishNodeNames();
  EXPECT_EQ(FileBytes("nodename.dat"), NodeNameBytes("kept", 1, 2) + NodeNameBytes("too", 3, 4));
}

TEST_P(FinishingTest, NamesOfManyNodesAreFound) {
  std::string store;
  std::string index;
  std::string expected;
  for (int64_t i = 0; i < 3000; ++i) {
    index += IndexRecord(form_.Code(i * 2 + 2), i, 0);
    if (i % 3 == 0) store += NameRecord(i * 2 + 2, "n" + std::to_string(i));
    store += NameRecord(i * 2 + 1, "unknown");
    expected += NodeNameBytes(i % 3 == 0 ? "n" + std::to_string(i) : "", 0, 0);
  }
  Save("nnamestr.~wk", store);
  Save("node.idx", index);
  Save("nodename.dat", std::string(3000 * 32, '\0'));
  UseControl("LOG=1\r\n");
  EXPECT_EQ(FinishNodeNames(), 1);
  EXPECT_EQ(FileBytes("nodename.dat"), expected);
  EXPECT_EQ(log().back(),
            "lnNumNode=3000, Storage=4000, HitNodeName=1000, BRN_FinishNodeName returns=1");
}

// 20000 nodes with two names each, more than one block of names: first "a" and the number, then, in
// another block, "b" for every second node.
TEST_P(FinishingTest, LaterNamesOverwriteEarlierOnesOfAnotherBlock) {
  std::string store;
  std::string later;
  std::string index;
  std::string expected;
  for (int i = 0; i < 20000; ++i) {
    const std::string name = "a" + std::to_string(i);
    store += NameRecord(10 + i, name);
    if (i % 2 == 1) later += NameRecord(10 + i, "b");
    index += IndexRecord(form_.Code(10 + i), i, 0);
    expected += NodeNameBytes(i % 2 == 1 ? "b" : name, 0, 0);
  }
  UseControl("LOG=1\r\n");
  Save("nnamestr.~wk", store + later);
  Save("node.idx", index);
  for (const int threads : {1, 2, 5}) {
    SetThreadCount(threads);
    Save("nodename.dat", std::string(20000 * 32, '\0'));
    EXPECT_EQ(FinishNodeNames(), 1);
    EXPECT_TRUE(FileBytes("nodename.dat") == expected) << threads;
    EXPECT_EQ(log().back(),
              "lnNumNode=20000, Storage=30000, HitNodeName=30000, BRN_FinishNodeName returns=1");
  }
  SetThreadCount(0);
  // The second block of names, behind the first one, the index and the records.
  Save("nodename.dat", std::string(20000 * 32, '\0'));
  ClearLog();
  EXPECT_EQ(RunWithFault({platform::Operation::kRead, 4}, [&] { return FinishNodeNames(); }), 0);
  EXPECT_EQ(Reports(), Lines{Report("Can't open / read the NodeNameStore(%s)!",
                                    "File Error in BRN_FinishNodeName", "nnamestr.~wk")});
  EXPECT_EQ(log().back(),
            "lnNumNode=20000, Storage=30000, HitNodeName=0, BRN_FinishNodeName returns=0");
  EXPECT_TRUE(FileBytes("nodename.dat") == std::string(20000 * 32, '\0'));
}

TEST_P(FinishingTest, NodeNamesReportWhatIsMissing) {
  const auto prepare = [&] {
    Save("nnamestr.~wk", NameRecord(10, "a"));
    Save("node.idx", IndexRecord(form_.Code(10), 0, 0));
    Save("nodename.dat", NodeNameBytes("", 0, 0));
  };
  const auto run = [&] { return FinishNodeNames(); };
  const std::pair<const char*, const char*> files[] = {
      {"nnamestr.~wk", "Can't open / read the NodeNameStore(%s)!"},
      {"node.idx", "Can't open / read the NodeIndex(%s)!"},
      {"nodename.dat", "Can't open / read the NodeName (%s) !"},
  };
  LineSet all;
  for (const auto& [name, message] : files) {
    prepare();
    platform::RemoveFile((folder_ / name).c_str());
    ClearLog();
    EXPECT_EQ(FinishNodeNames(), 0) << name;
    EXPECT_EQ(Reports(), Lines{Report(message, "File Error in BRN_FinishNodeName", name)});
    prepare();
    ClearLog();
    const platform::File lock = Lock(name);
    EXPECT_EQ(FinishNodeNames(), 0) << name;
    EXPECT_EQ(Reports(), Lines{Report(message, "File Error in BRN_FinishNodeName", name)});
    all.insert(Report(message, "File Error in BRN_FinishNodeName", name));
  }
  EXPECT_EQ(FailEach(platform::Operation::kRead, {.prepare = prepare, .run = run}), all);
  EXPECT_EQ(
      FailEach(platform::Operation::kWrite,
               {.prepare = prepare, .run = run, .write_fault = platform::WriteFault::kHalfWritten}),
      LineSet{Report("Can't save the NodeName (%s) !", "File Error in BRN_FinishNodeName",
                     "nodename.dat")});
  EXPECT_EQ(FailEach(platform::Operation::kAllocate, {.prepare = prepare, .run = run}),
            (LineSet{"[Can't allocate the memory for NodeNameStore : num store = 1]"
                     "[Memory Error in BRN_FinishNodeName]",
                     "[Can't allocate the memory for NodeIndex : num node = 1]"
                     "[Memory Error in BRN_FinishNodeName]",
                     "[Can't allocate the memory for NodeName : num node = 1]"
                     "[Memory Error in BRN_FinishNodeName]"}));
}

// ---- BRN_FinishLinkName --------------------------------------------------------------------

TEST_P(FinishingTest, LinkNamesGoToTheirLinksWithTheirValues) {
  Save("lnamestr.~wk", NameRecord(10, "first", 1, 1) + NameRecord(40, "nobody", 2, 2) +
                           NameRecord(30, "abcdefghijklmnopqrst", 255, 65535) +
                           NameRecord(10, "later", 3, 0x1234, 9) + std::string(39, 'x'));
  Save("link.idx", IndexRecord(form_.Code(10), 2, 0) + IndexRecord(form_.Code(20), 0, 0) +
                       IndexRecord(form_.Code(30), 1, 0));
  Save("linkname.dat", LinkNameBytes("", 0, 0x41, 0, 3, -4) +
                           Bytes()
                               .Text("old name before that", 20)
                               .I16(0x7777)
                               .I8(5)
                               .I8(6)
                               .I16(7)
                               .I16(8)
                               .I16(9)
                               .str() +
                           LinkNameBytes("", 0, 0, 0, 99, 0));
  EXPECT_EQ(FinishLinkNames(), 1);
  EXPECT_EQ(FileBytes("linkname.dat"),
            LinkNameBytes("", 0, 0x41, 0, 3, -4) +
                LinkNameBytes("abcdefghijklmnopqrst", 255, 6, 65535, 8, 9) +
                LinkNameBytes("later", 3, 0, 0x1234, 99, 0));
  EXPECT_EQ(log(), Lines{"Finishing Link Name..."});
}

TEST_P(FinishingTest, LinkNamesEndWithASummaryWhenAskedFor) {
  UseControl("LOG=1\r\n");
  Save("lnamestr.~wk", NameRecord(10, "a") + NameRecord(40, "b"));
  Save("link.idx", IndexRecord(form_.Code(10), 1, 0) + IndexRecord(form_.Code(20), 0, 0));
  Save("linkname.dat", std::string(60, '\0'));
  EXPECT_EQ(FinishLinkNames(), 1);
  EXPECT_EQ(log(), (Lines{"Finishing Link Name...",
                          "lnNumLink=2, Storage=2, HitLinkName=1, BRN_FinishLinkName returns=1"}));
}

TEST_P(FinishingTest, LinkNumbersOutsideTheNameTableDoNoHarm) {
  Save("lnamestr.~wk", NameRecord(10, "a") + NameRecord(20, "b"));
  Save("link.idx", IndexRecord(form_.Code(10), 2, 0) + IndexRecord(form_.Code(20), -1, 0));
  const std::string names = LinkNameBytes("x", 1, 2, 3, 4, 5) + LinkNameBytes("y", 1, 2, 3, 4, 5);
  Save("linkname.dat", names);
  FinishLinkNames();
  EXPECT_EQ(FileBytes("linkname.dat"), names);
}

TEST_P(FinishingTest, LinkNamesReportWhatIsMissing) {
  const auto prepare = [&] {
    Save("lnamestr.~wk", NameRecord(10, "a"));
    Save("link.idx", IndexRecord(form_.Code(10), 0, 0));
    Save("linkname.dat", LinkNameBytes("", 0, 0, 0, 0, 0));
  };
  const auto run = [&] { return FinishLinkNames(); };
  const std::pair<const char*, const char*> files[] = {
      {"lnamestr.~wk", "Can't open / read the LinkNameStore(%s)!"},
      {"link.idx", "Can't open / read the LinkIndex(%s)!"},
      {"linkname.dat", "Can't open / read the LinkName (%s) !"},
  };
  LineSet all;
  for (const auto& [name, message] : files) {
    prepare();
    platform::RemoveFile((folder_ / name).c_str());
    ClearLog();
    EXPECT_EQ(FinishLinkNames(), 0) << name;
    EXPECT_EQ(Reports(), Lines{Report(message, "File Error in BRN_FinishLinkName", name)});
    all.insert(Report(message, "File Error in BRN_FinishLinkName", name));
  }
  EXPECT_EQ(FailEach(platform::Operation::kRead, {.prepare = prepare, .run = run}), all);
  EXPECT_EQ(
      FailEach(platform::Operation::kWrite,
               {.prepare = prepare, .run = run, .write_fault = platform::WriteFault::kHalfWritten}),
      LineSet{Report("Can't save the LinkName (%s) !", "File Error in BRN_FinishLinkName",
                     "linkname.dat")});
  EXPECT_EQ(FailEach(platform::Operation::kAllocate, {.prepare = prepare, .run = run}),
            (LineSet{"[Can't allocate the memory for LinkNameStore : num store = 1]"
                     "[Memory Error in BRN_FinishLinkName]",
                     "[Can't allocate the memory for LinkIndex : num link = 1]"
                     "[Memory Error in BRN_FinishLinkName]",
                     "[Can't allocate the memory for LinkName : num link = 1]"
                     "[Memory Error in BRN_FinishLinkName]"}));
}

TEST_P(FinishingTest, ACancelIsHeardWhileTheLinksAreRead) {
  SaveNetwork({{0}, {0}}, {{1, 1}});
  WriteBytes(folder_ / "linkname.dat", std::string(70000 * 30, '\0'));
  CancelAt("Finishing Node Attribute...");
  EXPECT_EQ(FinishAttributes(), 0);
  EXPECT_FALSE(Exists(folder_ / "mapattr.dat"));
  EXPECT_EQ(log(), Lines{"Finishing Node Attribute..."});
}

TEST_P(FinishingTest, ACancelOrARefusedReadIsHeardWhileManyRecordsAreFinished) {
  constexpr int kCount = 70000;
  std::string node_links, node_names, link_names, store, index;
  for (int i = 0; i < kCount; ++i) {
    node_links += NodeLinkRecord({i});
    node_names += NodeNameBytes("", 0, 0);
    link_names += LinkNameBytes("", 0, 1, 0, 1, 0);
    store += NameRecord(i + 1, "name");
    index += IndexRecord(form_.Code(i + 1), i);
  }
  Save("nodelink.idx", node_links);
  Save("nodeattr.dat", std::string(kCount, '\0'));
  Save("nnamestr.~wk", store);
  Save("lnamestr.~wk", store);
  Save("node.idx", index);
  Save("link.idx", index);
  const auto prepare = [&] {
    Save("nodename.dat", node_names);
    Save("linkname.dat", link_names);
    ClearLog();
  };
  const auto cancelled = [&](auto run) {
    return CancelAtEach(platform::Operation::kRead, 1, prepare, run, log());
  };
  const std::function<int()> steps[] = {[&] { return FinishAttributes(); },
                                        [&] { return FinishNodeNames(); },
                                        [&] { return FinishLinkNames(); }};
  for (const auto& step : steps) {
    EXPECT_GT(cancelled(step), 0);
    // Whatever cannot be read is reported.
    EXPECT_FALSE(FailEach(platform::Operation::kRead, {.prepare = prepare, .run = step}).empty());
  }
}

TEST_P(FinishingTest, ACancelledBuildFinishesNothing) {
  SaveNetwork({{0}, {0}}, {{1, 1}});
  Save("nnamestr.~wk", NameRecord(10, "a"));
  Save("lnamestr.~wk", NameRecord(10, "a"));
  Save("node.idx", IndexRecord(form_.Code(10), 0, 0));
  Save("link.idx", IndexRecord(form_.Code(10), 0, 0));
  const std::string node_names = FileBytes("nodename.dat");
  const std::string link_names = FileBytes("linkname.dat");
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(FinishAttributes(), 0);
  EXPECT_EQ(FinishNodeNames(), 0);
  EXPECT_EQ(FinishLinkNames(), 0);
  EXPECT_EQ(FileBytes("nodename.dat"), node_names);
  EXPECT_EQ(FileBytes("linkname.dat"), link_names);
  EXPECT_FALSE(Exists(folder_ / "mapattr.dat"));
  EXPECT_EQ(log(), Lines());
}

}  // namespace
}  // namespace zatlib::test::network
