// Whole builds of networks of a few nodes and links: every byte of the map and every line of the
// log written out by hand. Each case runs for both code lengths and both operations.
#include "platform/code_page.h"
#include "platform/memory.h"
#include "small_build.h"

namespace zatlib::test {
namespace {

class SmallNetworks : public SmallBuild, public ::testing::WithParamInterface<Way> {
 protected:
  SmallNetworks() {
    UseLength(GetParam().code_length);
    UseMethod(GetParam().memory ? "M" : "F");
    story_.code_length = code_length_;
    story_.memory = GetParam().memory;
  }

  // A code as the messages print it: all of its digits.
  std::string Printed(int64_t n) const { return std::to_string(Number(n)); }

  Story story_;
};

INSTANTIATE_TEST_SUITE_P(BothLengthsAndOperations, SmallNetworks, ::testing::ValuesIn(kWays),
                         NameOf);

// ---------------------------------------------------------------------------------------------
// Three nodes in a row, 101 - 102 - 103, in no order of codes, with every kind of plain input.

class PlainNetwork : public SmallNetworks {
 protected:
  void MakeSources() {
    Nodes({"@103,7,0,2,@202,0,0,0,0,0,0,0,\"North\"", "@101,5,0,1,@201,,,,,,,,South",
           "@102,6,0,2,@201,@202"},
          {"@101,139.5,35.25", "@102\t139.6\t35.125", "@103,\"139.75\",\"-0.5\"", "@999,1,2"});
    Source("NODENAME", "names.txt", {"@103,3,Top", "@999,1,Nowhere", "@102,1,"});
    Links({"@202,3,13101,100,2,1,4,@102,@103,60,0,0,1,Main St",
           "@201,1,13102,250,3,2,-5,@101,@102,-5,,2,2,\"Ring\""});
    Source("LINKSPEED", "speeds.txt", {"@201,@102,@101,50,36,9", "@201,@102,@103,1,1,1"});
    Source("LINKNAME", "linknames.txt", {"@201,x,7,Belt"});
    Set("DEFAULTSPEED", "SPEEDB=30");
    Set("ROADFLAG", "PAYROAD=2");
    story_.nodes = 3;
    story_.node_names = 2;
    story_.more_node_names = 2;
    story_.coordinates = 3;
    story_.links = 2;
    story_.speeds = 1;
    story_.link_names = 2;
    story_.more_link_names = 1;
  }

  // linkdef.dat without its second line and without the empty lines that some systems put between
  // sections.
  Lines RoadDefinition() const {
    Lines lines;
    std::string text = Out("linkdef.dat");
    size_t number = 0;
    for (size_t end; (end = text.find("\r\n")) != std::string::npos; text.erase(0, end + 2)) {
      if (number++ != 1 && end != 0) lines.push_back(text.substr(0, end));
    }
    EXPECT_EQ(text, "") << "an open last line";
    return lines;
  }
};

INSTANTIATE_TEST_SUITE_P(BothLengthsAndOperations, PlainNetwork, ::testing::ValuesIn(kWays),
                         NameOf);

TEST_P(PlainNetwork, EveryByteOfTheMap) {
  MakeSources();
  ASSERT_EQ(Build(), 1);
  ExpectNames(MapFiles());
  ExpectSourcesUntouched();

  // Node records 0, 1, 2 are 103, 101, 102; link records 0, 1 are 202, 201.
  ExpectFile("maploc.dat",
             All({Location(103, 139750000, -500000), Location(101, 139500000, 35250000),
                  Location(102, 139600000, 35125000)}));
  ExpectFile("node.idx", All({IndexRecord(Code(101), 1, 13102), IndexRecord(Code(102), 2, 13102),
                              IndexRecord(Code(103), 0, 13101)}));
  ExpectFile("link.idx", All({IndexRecord(Code(201), 1, 13102), IndexRecord(Code(202), 0, 13101)}));
  // 202: 100 at 60 forth and at the default of 30 back. 201: 250 at the 36 of the speed file, which
  // names the link backwards, both ways.
  ExpectFile("mapcalc.dat",
             All({CalcConnections({{2, 1200, 100}}), CalcConnections({{2, 2500, 250}}),
                  CalcConnections({{1, 2500, 250}, {0, 600, 100}})}));
  ExpectFile("nodelink.idx",
             All({NodeLinkRecord({0}), NodeLinkRecord({1}), NodeLinkRecord({1, 0})}));
  ExpectFile("linknode.idx",
             All({LinkNodeRecord(2, 0, 60, 30, 100), LinkNodeRecord(1, 2, 36, 36, 250)}));
  ExpectFile("mapdraw.dat",
             All({DrawRecord(Code(202), 0, 3, 2, 139600000, 139750000, 35125000, -500000),
                  DrawRecord(Code(201), 1, 1, 3, 139500000, 139600000, 35250000, 35125000)}));
  // The later name of a node or link wins.
  ExpectFile("nodename.dat", All({NodeNameBytes("Top", 7, 0), NodeNameBytes("South", 5, 3),
                                  NodeNameBytes("", 6, 0)}));
  ExpectFile("linkname.dat",
             All({LinkNameBytes("Main St", 1, 0, 0, 3, 4), LinkNameBytes("Belt", 7, 3, 0, 1, -5)}));
  ExpectFile("maprule.dat", std::string(24, '\0'));
  ExpectFile("nodeattr.dat", Bytes().I8(0).I8(3).I8(0));
  ExpectFile("mapattr.dat", All({SlotRecord({0}), SlotRecord({3}), SlotRecord({3, 0})}));
}

TEST_P(PlainNetwork, EveryLineOfTheLog) {
  MakeSources();
  ASSERT_EQ(Build(), 1);
  ExpectLog(story_.Whole());
}

TEST_P(PlainNetwork, SummaryLinesOfTheNetworkSteps) {
  MakeSources();
  Set("SYSTEM", "LOG=1");
  ASSERT_EQ(Build(), 1);
  const std::string brn = GetParam().memory ? "BRN_" : "BRN450_";
  const std::string load_nodes =
      GetParam().memory ? "BRN_LoadNodeStore" : "BRN450_LoadNodeStorePtr";
  const std::string load_links =
      GetParam().memory ? "BRN_LoadLinkStore" : "BRN450_LoadLinkStorePtr";
  Lines expected = story_.PathOne() + story_.Duplication() + story_.Repairs();
  expected.insert(std::find(expected.begin(), expected.end(), "Checking Link Data ..."),
                  "lnNumIndex=3, lnNumNodeStore=3, BRN_MakeDrotenNodeIndex returns=1");
  expected = expected + story_.Choice() + story_.LoadedNodes() +
             Lines{"lnNumNode=3, lnNumRec(NodeStore)=3, " + load_nodes + " returns=1"} +
             story_.NodeData() + Lines{"lnNumNode=3, " + brn + "CreateNodeData returns=1"} +
             Lines{story_.Mark("Loading Links"),
                   "lnNumLink=2, lnNumRec(LinkStore)=2, " + load_links + " returns=1",
                   story_.Mark("Creating Link Data"), "Saving LinkName...",
                   "lnNumLink=2, " + brn + "CreateLinkData returns=1"} +
             story_.Connections() + story_.CityCodes() +
             Lines{"Finishing Node Attribute...",
                   "lnNumNode=3, lnNumLink=2, BRN_FinishNodeAttriute returns=1",
                   "Finishing Node Name...",
                   "lnNumNode=3, Storage=4, HitNodeName=3, BRN_FinishNodeName returns=1",
                   "Finishing Link Name...",
                   "lnNumLink=2, Storage=3, HitLinkName=3, BRN_FinishLinkName returns=1",
                   "End of RuleStore section OK : set count = 0",
                   "End of OneWayStore section OK : set count = 0",
                   "BRN_TRF_AddTrafficRules returns OK",
                   "End OK."};
  ExpectLog(expected);
}

TEST_P(PlainNetwork, TheRoadDefinition) {
  MakeSources();
  ASSERT_EQ(Build(), 1);
  const std::string text = Out("linkdef.dat");
  const std::string head = "; Road Definition File for ZATLIB40\r\n; Created ";
  ASSERT_EQ(text.substr(0, head.size()), head);
#ifndef _WIN32
  EXPECT_EQ(text.substr(head.size(), 30), "Thu,Mar 31 2016, PM 15:04:05\r\n");
#endif
  EXPECT_EQ(RoadDefinition(), (Lines{"; Road Definition File for ZATLIB40",
                                     "[ATTRIBUTE]",
                                     "NUMDEF=9",
                                     Cp932("DEF01=01,高速自動車国道"),
                                     Cp932("DEF02=02,都市高速道路"),
                                     Cp932("DEF03=03,一般国道"),
                                     Cp932("DEF04=04,主要地方道(都道府県道)"),
                                     Cp932("DEF05=05,主要地方道(指定市道)"),
                                     Cp932("DEF06=06,一般都道府県道"),
                                     Cp932("DEF07=07,指定市の一般市道"),
                                     Cp932("DEF08=09,その他の道路"),
                                     Cp932("DEF09=00,未調査"),
                                     "[WIDTH]",
                                     "NUMDEF=5",
                                     Cp932("DEF01=1,幅員13.0m以上"),
                                     Cp932("DEF02=2,幅員5.5m以上～13.0m未満"),
                                     Cp932("DEF03=3,幅員3.0m以上～5.5m未満"),
                                     Cp932("DEF04=4,幅員3.0m未満"),
                                     Cp932("DEF05=0,未調査"),
                                     "[TOLLROAD]",
                                     "NUMDEF=2",
                                     "DEF01=01",
                                     "DEF02=02",
                                     "[ROADFLAG]",
                                     "HIGHWAY=",
                                     "PAYROAD=2",
                                     "FERRY=",
                                     "RAILROAD=",
                                     "AIR=",
                                     "TOLLGATE=",
                                     "SHIP=",
                                     "ICWEIGHT=0",
                                     "RTWEIGHT=0",
                                     "RTWEIGHT_RIGHT=45",
                                     "RTWEIGHT_LEFT=135",
                                     "[SYSTEM]",
                                     "CODELENGTH=" + std::to_string(code_length_)}));
}

TEST_P(PlainNetwork, TheWorkStoresStayOnRequest) {
  MakeSources();
  Set("SYSTEM", "DEBUG=1");
  ASSERT_EQ(Build(), 1);
  // Without rule files there are no rule stores.
  ExpectNames(MapFiles() + Lines{"nodestr.~wk", "linkstr.~wk", "nnamestr.~wk", "lnamestr.~wk"});
  const auto node = [this](int64_t n, int word, int x, int y, const Lines& links) {
    std::string codes = All(links);
    codes.resize(64);
    return Code(n) + RawCode(0) + Bytes().I16(word).Zero(2).I32(0).I32(x).I32(y).str() + codes;
  };
  ExpectFile("nodestr.~wk", All({node(103, 7, 139750000, -500000, {Code(202)}),
                                 node(101, 5, 139500000, 35250000, {Code(201)}),
                                 node(102, 6, 139600000, 35125000, {Code(201), Code(202)})}));
  ExpectFile("linkstr.~wk",
             All({Code(202), Code(102), Code(103),
                  Bytes().I32(13101).I16(0).I16(60).I16(30).I16(100).I16(3).I16(2).I16(4).I16(1),
                  Bytes().I16(0).I16(0), Code(201), Code(101), Code(102),
                  Bytes().I32(13102).I16(9).I16(36).I16(36).I16(250).I16(1).I16(3).I16(-5).I16(2),
                  Bytes().I16(2).I16(0)}));
  ExpectFile("nnamestr.~wk", All({Code(103), Bytes().Text("North", 20).Zero(8).I16(7).Zero(2),
                                  Code(101), Bytes().Text("South", 20).Zero(8).I16(5).Zero(2),
                                  Code(103), Bytes().Text("Top", 20).Zero(8).I16(3).Zero(2),
                                  Code(999), Bytes().Text("Nowhere", 20).Zero(8).I16(1).Zero(2)}));
  ExpectFile("lnamestr.~wk", All({Code(202), Bytes().Text("Main St", 20).Zero(2).I8(1).Zero(9),
                                  Code(201), Bytes().Text("Ring", 20).Zero(2).I8(2).Zero(9),
                                  Code(201), Bytes().Text("Belt", 20).Zero(2).I8(7).Zero(9)}));
}

// A control file that leaves the choice to the library: a lower-case "m" is none.
TEST_F(SmallBuild, TheTrialOfTheMemoryIsLogged) {
  for (const bool small_machine : {false, true}) {
    ClearLog();
    const std::string nodes = folder_ / "nodes.mid";
    WriteBytes(nodes, "1,0,0,1,11\r\n2,0,0,1,11\r\n");
    WriteBytes(folder_ / "links.txt", "11,3,5,10,0,0,0,1,2,36,36\r\n");
    const std::string control =
        WriteControl("[SYSTEM]\r\nBUILDMETHOD=m\r\n[FOLDER]\r\nCALCMAPDIR=" + out() +
                     "\r\n[NODE]\r\nFILENUM=1\r\nFILE01=" + nodes +
                     "\r\n[LINK]\r\nFILENUM=1\r\nFILE01=" + (folder_ / "links.txt") + "\r\n");
    platform::PlayMachine(small_machine ? 16384 : 0, 0);
    ASSERT_EQ(BRN_BuildRoadNetworks(nullptr, kFormatZat, control.c_str()), 1);
    platform::PlayMachine(0, 0);

    Story story;
    story.nodes = 2;
    story.links = 1;
    story.memory = !small_machine;
    Lines expected = story.PathOne() + story.Duplication() + story.Repairs() +
                     Lines{"Checking Memories...",
                           "Total ",
                           "CASE A: NumNode=2 NumLink=1 AllocMem=0.0MB",
                           "CASE B: NumNode=2 NumLink=1 AllocMem=0.0MB",
                           "CASE C: NumNode=2 NumLink=1 AllocMem=0.0MB",
                           "CASE D: NumNode=2 NumLink=1 AllocMem=0.0MB"};
    // Seven blocks of one page each are 28,672 bytes: more than a machine with 16,384 has.
    if (small_machine) {
      expected.push_back("File Operation is recommended ( Need 0.0MB > Physical 0.0MB )");
      expected.push_back("*** file operation ***");
    } else {
      expected.push_back("*** memory operation ***");
    }
    expected = expected + story.LoadedNodes() + story.NodeData() + story.LinkData() +
               story.Connections() + story.CityCodes() + story.Finish() + Lines{"End OK."};
    Lines heard(log().begin() + 1, log().end());
    for (std::string& line : heard) {
      if (line.compare(0, 15, "Total Physycal=") == 0) {
        EXPECT_NE(line.find("MB, Available Physycal="), std::string::npos) << line;
        EXPECT_NE(line.find("MB\r\nTotal Paging="), std::string::npos) << line;
        EXPECT_NE(line.find("MB, Available Paging="), std::string::npos) << line;
        line = "Total ";
      }
    }
    EXPECT_EQ(heard, expected);
  }
}

// ---------------------------------------------------------------------------------------------

TEST_P(SmallNetworks, DummyLinksJoinPartners) {
  // 2 and 3 name each other; 5 names 4, which does not name it back; 1 names nobody who exists.
  Nodes({"@1,1,@999,2,@11,@13", "@2,1,@3,1,@11", "@3,1,@2,1,@12", "@4,1,0,1,@12", "@5,1,@4,1,@13"},
        {"@1,1,10", "@2,2,20", "@3,3,30", "@4,4,40", "@5,5,50"});
  Links({"@11,3,7,10,1,0,0,@1,@2,36,36", "@12,3,8,20,1,0,0,@3,@4,36,36",
         "@13,3,9,30,1,0,0,@5,@1,36,36"});
  ASSERT_EQ(Build(), 1);
  ExpectNames(MapFiles());
  ExpectFile("maploc.dat", All({Location(1, 1000000, 10000000), Location(2, 2000000, 20000000),
                                Location(3, 3000000, 30000000), Location(4, 4000000, 40000000),
                                Location(5, 5000000, 50000000)}));
  ExpectFile("node.idx", All({IndexRecord(Code(1), 0, 7), IndexRecord(Code(2), 1, 7),
                              IndexRecord(Code(3), 2, 8), IndexRecord(Code(4), 3, 8),
                              IndexRecord(Code(5), 4, 9)}));
  ExpectFile("link.idx", All({IndexRecord(Code(11), 0, 7), IndexRecord(Code(12), 1, 8),
                              IndexRecord(Code(13), 2, 9), IndexRecord(DummyCode(1), 3, 99000),
                              IndexRecord(DummyCode(2), 4, 99000)}));
  ExpectFile("mapcalc.dat", All({CalcConnections({{1, 100, 10}, {4, 300, 30}}),
                                 CalcConnections({{0, 100, 10}, {2, 0, 0}}),
                                 CalcConnections({{3, 200, 20}, {1, 0, 0}}),
                                 CalcConnections({{2, 200, 20}, {4, 0, 0}}),
                                 CalcConnections({{0, 300, 30}, {3, 0, 0}})}));
  ExpectFile("nodelink.idx",
             All({NodeLinkRecord({0, 2}), NodeLinkRecord({0, 3}), NodeLinkRecord({1, 3}),
                  NodeLinkRecord({1, 4}), NodeLinkRecord({2, 4})}));
  ExpectFile("linknode.idx",
             All({LinkNodeRecord(0, 1, 36, 36, 10), LinkNodeRecord(2, 3, 36, 36, 20),
                  LinkNodeRecord(4, 0, 36, 36, 30), LinkNodeRecord(1, 2, 0, 0, 0),
                  LinkNodeRecord(4, 3, 0, 0, 0)}));
  ExpectFile("mapdraw.dat",
             All({DrawRecord(Code(11), 0, 3, 1, 1000000, 2000000, 10000000, 20000000),
                  DrawRecord(Code(12), 1, 3, 1, 3000000, 4000000, 30000000, 40000000),
                  DrawRecord(Code(13), 2, 3, 1, 5000000, 1000000, 50000000, 10000000),
                  DrawRecord(DummyCode(1), 3, 99, 99, 2000000, 3000000, 20000000, 30000000),
                  DrawRecord(DummyCode(2), 4, 99, 99, 5000000, 4000000, 50000000, 40000000)}));
  const std::string plain_name = NodeNameBytes("", 1, 0);
  ExpectFile("nodename.dat", All({plain_name, plain_name, plain_name, plain_name, plain_name}));
  const std::string plain_link = LinkNameBytes("", 0, 0, 0, 3, 0);
  const std::string dummy_link = LinkNameBytes("", 0, 0, 0, 99, 0);
  ExpectFile("linkname.dat", All({plain_link, plain_link, plain_link, dummy_link, dummy_link}));
  ExpectFile("maprule.dat", std::string(40, '\0'));
  ExpectFile("nodeattr.dat", std::string(5, '\0'));
  ExpectFile("mapattr.dat", std::string(40, '\0'));
  story_.nodes = story_.coordinates = 5;
  story_.links = 3;
  story_.dummies = 2;
  ExpectLog(story_.Whole());
}

TEST_P(SmallNetworks, ADummyLinkFindsNoRoomAtAFullNode) {
  // Node 1 has eight links; its dummy link to 2 is made and listed at 2 alone.
  Nodes({"@1,1,@2,8,@11,@12,@13,@14,@15,@16,@17,@18", "@2,1,@1,1,@19", "@3,1,0,1,@19"}, {"@1,1,1"});
  Links({"@19,3,7,10,1,0,0,@2,@3,36,36", "@20,3,7,10,1,0,0,@1,@1,36,36"});
  ASSERT_EQ(Build(), 1);
  // The links 11 to 18 do not exist.
  ExpectFile("nodelink.idx",
             All({NodeLinkRecord({}), NodeLinkRecord({0, 2}), NodeLinkRecord({0})}));
  ExpectFile("linknode.idx",
             All({LinkNodeRecord(1, 2, 36, 36, 10), LinkNodeRecord(0, 0, 36, 36, 10),
                  LinkNodeRecord(0, 1, 0, 0, 0)}));
  ExpectFile("link.idx", All({IndexRecord(Code(19), 0, 7), IndexRecord(Code(20), 1, 7),
                              IndexRecord(DummyCode(1), 2, 99000)}));
  ExpectFile("mapcalc.dat", All({CalcConnections({}), CalcConnections({{2, 100, 10}, {0, 0, 0}}),
                                 CalcConnections({{1, 100, 10}})}));
  ExpectFile("node.idx", All({IndexRecord(Code(1), 0, 0), IndexRecord(Code(2), 1, 7),
                              IndexRecord(Code(3), 2, 7)}));
  story_.nodes = 3;
  story_.coordinates = 1;
  story_.links = 2;
  story_.dummies = 1;
  ExpectLog(story_.Whole());
}

TEST_P(SmallNetworks, OrphansAreKilled) {
  // No link names node 3; link 12 ends at a node that does not exist.
  Nodes({"@1,4,0,2,@12,@11", "@3,5,0,1,@11", "@2,6,0,1,@11"}, {"@1,1,10", "@2,2,20", "@3,3,30"});
  Links({"@12,3,8,20,1,0,0,@1,@9,36,36", "@11,3,7,10,1,0,0,@1,@2,36,72"});
  Set("SYSTEM", "DEBUG=1");
  ASSERT_EQ(Build(), 1);
  ExpectNames(MapFiles() + Lines{"nodestr.~wk", "linkstr.~wk", "nnamestr.~wk", "lnamestr.~wk"});
  ExpectFile("maploc.dat", All({Location(1, 1000000, 10000000), Location(2, 2000000, 20000000)}));
  ExpectFile("node.idx", All({IndexRecord(Code(1), 0, 7), IndexRecord(Code(2), 1, 7)}));
  ExpectFile("link.idx", IndexRecord(Code(11), 0, 7));
  ExpectFile("mapcalc.dat", All({CalcConnections({{1, 100, 10}}), CalcConnections({{0, 50, 10}})}));
  ExpectFile("nodelink.idx", All({NodeLinkRecord({0}), NodeLinkRecord({0})}));
  ExpectFile("linknode.idx", LinkNodeRecord(0, 1, 36, 72, 10));
  ExpectFile("mapdraw.dat", DrawRecord(Code(11), 0, 3, 1, 1000000, 2000000, 10000000, 20000000));
  ExpectFile("nodename.dat", All({NodeNameBytes("", 4, 0), NodeNameBytes("", 6, 0)}));
  ExpectFile("linkname.dat", LinkNameBytes("", 0, 0, 0, 3, 0));
  ExpectFile("maprule.dat", std::string(16, '\0'));
  ExpectFile("nodeattr.dat", std::string(2, '\0'));
  ExpectFile("mapattr.dat", std::string(16, '\0'));
  // In the stores the killed records lost their codes and nothing else.
  EXPECT_EQ(
      Hex(Record(Out("nodestr.~wk"), 1, 96)),
      Hex(All({std::string(16, '\0'), Bytes().I16(5).Zero(2).I32(0).I32(3000000).I32(30000000),
               Code(11), std::string(56, '\0')})));
  EXPECT_EQ(Hex(Record(Out("linkstr.~wk"), 0, 48).substr(0, 24)),
            Hex(All({std::string(8, '\0'), Code(1), Code(9)})));
  story_.nodes = story_.coordinates = 3;
  story_.links = 2;
  story_.killed_nodes = 1;
  story_.killed_links = 1;
  ExpectLog(story_.Whole());
}

TEST_P(SmallNetworks, UsedSlotsMoveDownInTheirOrder) {
  // Node 1 lists its three links between empty slots and links that do not exist.
  Nodes({"@1,0,0,3,0,@13,@77,,@11,@78,0,@12", "@2,0,0,1,,,,,,,,@11", "@3,0,0,1,@79,@12",
         "@4,0,0,1,@13"},
        {"@1,1,1", "@2,2,2", "@3,3,3", "@4,4,4"});
  Links({"@11,3,7,10,1,0,0,@1,@2,36,36", "@12,3,8,20,1,0,0,@3,@1,36,72",
         "@13,3,9,30,1,0,0,@1,@4,36,36"});
  ASSERT_EQ(Build(), 1);
  ExpectFile("mapcalc.dat", All({CalcConnections({{3, 300, 30}, {1, 100, 10}, {2, 100, 20}}),
                                 CalcConnections({{0, 100, 10}}), CalcConnections({{0, 200, 20}}),
                                 CalcConnections({{0, 300, 30}})}));
  ExpectFile("nodelink.idx", All({NodeLinkRecord({2, 0, 1}), NodeLinkRecord({0}),
                                  NodeLinkRecord({1}), NodeLinkRecord({2})}));
  // The city of the first slot after the move.
  ExpectFile("node.idx", All({IndexRecord(Code(1), 0, 9), IndexRecord(Code(2), 1, 7),
                              IndexRecord(Code(3), 2, 8), IndexRecord(Code(4), 3, 9)}));
  story_.nodes = story_.coordinates = 4;
  story_.links = 3;
  ExpectLog(story_.Whole());
}

TEST_P(SmallNetworks, CostsAtTheirLimits) {
  // A star of eight links that leave node 1 through their end A; costs are length x 360 / speed,
  // rounded.
  Nodes({"@1,0,0,8,@11,@12,@13,@14,@15,@16,@17,@18", "@2,0,0,1,@11", "@3,0,0,1,@12", "@4,0,0,1,@13",
         "@5,0,0,1,@14", "@6,0,0,1,@15", "@7,0,0,1,@16", "@8,0,0,1,@17", "@9,0,0,1,@18"},
        {});
  Links({"@11,3,1,100,0,0,0,@1,@2,9999,9999", "@12,3,1,100,0,0,0,@1,@3,10000,9998",
         "@13,3,1,100,0,0,0,@1,@4,10001,10000", "@14,3,1,65534,0,0,0,@1,@5,360,720",
         "@15,3,1,65535,0,0,0,@1,@6,360,36", "@16,3,1,0,0,0,0,@1,@7,0,36",
         "@17,3,1,10,0,0,0,@1,@8,-1,-5", "@18,3,1,1,0,0,0,@1,@9,720,721"});
  Set("DEFAULTSPEED", "SPEEDA=0");
  ASSERT_EQ(Build(), 1);
  ExpectFile("mapcalc.dat",
             All({CalcConnections({{1, 4, 100},        // 3.6004 + 0.5
                                   {2, 4, 100},        // 3.6 + 0.5: 10000 is still costed through A
                                   {3, 0, 100},        // 10001 is above the limit
                                   {4, 65534, 65534},  // 65534.5 is below 65535
                                   {5, 65535, 65535},  // 65535.5 is not
                                   {6, 0, 0},          // no length costs nothing, also at speed 0
                                   {7, 65535, 10},     // speed 0
                                   {8, 1, 1}}),        // 0.5 + 0.5
                  CalcConnections({{0, 0, 100}}),      // 9999 is above the limit through B
                  CalcConnections({{0, 4, 100}}),      // 9998 is not: 3.6007 + 0.5
                  CalcConnections({{0, 0, 100}}),      //
                  CalcConnections({{0, 32767, 65534}}),  // 32767 + 0.5
                  CalcConnections({{0, 65535, 65535}}),  // 655350 is saturated
                  CalcConnections({{0, 0, 0}}),          //
                  CalcConnections({{0, 65535, 10}}),     //
                  CalcConnections({{0, 0, 1}})}));       // 0.4993 + 0.5
  ExpectFile("linknode.idx",
             All({LinkNodeRecord(0, 1, 9999, 9999, 100), LinkNodeRecord(0, 2, 10000, 9998, 100),
                  LinkNodeRecord(0, 3, 10001, 10000, 100), LinkNodeRecord(0, 4, 360, 720, 65534),
                  LinkNodeRecord(0, 5, 360, 36, 65535), LinkNodeRecord(0, 6, 0, 36, 0),
                  LinkNodeRecord(0, 7, 0, 0, 10), LinkNodeRecord(0, 8, 720, 721, 1)}));
  story_.nodes = 9;
  story_.coordinates = 0;
  story_.links = 8;
  ExpectLog(story_.Whole());
}

TEST_P(SmallNetworks, LinkFlagsAndNodeAttributes) {
  Nodes({"@1,0,0,3,@11,@15,@16", "@2,0,0,4,@11,@12,@17,@18", "@3,0,0,3,@12,@13,@16",
         "@4,0,0,3,@13,@14,@18", "@5,0,0,4,@14,@15,@17,@19", "@6,0,0,1,@19"},
        {});
  Links({"@11,2,1,10,0,0,0,@1,@2,36,36,0", "@12,1,1,10,0,0,0,@2,@3,36,36,2",
         "@13,3,1,10,0,0,0,@3,@4,36,36,3", "@14,3,1,10,0,0,0,@4,@5,36,36,0",
         "@15,99,1,10,0,0,0,@5,@1,36,36,6", "@16,3,1,10,0,0,0,@1,@3,36,36,7",
         "@17,3,1,10,0,0,0,@2,@5,36,36,5", "@18,3,1,10,0,0,0,@2,@4,36,36,-1",
         "@19,99,1,10,0,0,0,@5,@6,36,36,1"});
  for (const char* line : {"NUMDEF=3", "DEF01=01", "DEF02=2", "DEF03=99"}) Set("TOLLROAD", line);
  for (const char* line :
       {"HIGHWAY=1", "PAYROAD=2", "FERRY=3", "RAILROAD=3", "AIR=5", "TOLLGATE=6", "SHIP=7"}) {
    Set("ROADFLAG", line);
  }
  ASSERT_EQ(Build(), 1);
  // Kind 99 never counts as a toll road, but its road flag does. Flag 3 stands for two meanings.
  ExpectFile("linkname.dat",
             All({LinkNameBytes("", 0, 0x01, 0, 2, 0), LinkNameBytes("", 0, 0x03, 0, 1, 0),
                  LinkNameBytes("", 0, 0x0C, 0, 3, 0), LinkNameBytes("", 0, 0x00, 0, 3, 0),
                  LinkNameBytes("", 0, 0x20, 0, 99, 0), LinkNameBytes("", 0, 0x40, 0, 3, 0),
                  LinkNameBytes("", 0, 0x10, 0, 3, 0), LinkNameBytes("", 0, 0x00, 0, 3, 0),
                  LinkNameBytes("", 0, 0x01, 0, 99, 0)}));
  // Links of kind 99 give nothing to their nodes, and one link without flags takes all away.
  ExpectFile("mapattr.dat", All({SlotRecord({0x01, 0, 0x40}), SlotRecord({0x01, 0x03, 0x10, 0}),
                                 SlotRecord({0x03, 0x0C, 0x40}), SlotRecord({0x0C, 0, 0}),
                                 SlotRecord({0, 0, 0x10, 0}), SlotRecord({0})}));
  ExpectFile("nodeattr.dat", Bytes().I8(0x41).I8(0).I8(0x4F).I8(0).I8(0).I8(0));
  ExpectFile("nodename.dat",
             All({NodeNameBytes("", 0, 0x41), NodeNameBytes("", 0, 0), NodeNameBytes("", 0, 0x4F),
                  NodeNameBytes("", 0, 0), NodeNameBytes("", 0, 0), NodeNameBytes("", 0, 0)}));
  story_.nodes = 6;
  story_.coordinates = 0;
  story_.links = 9;
  ExpectLog(story_.Whole());
}

TEST_P(SmallNetworks, ANameIsCutBetweenCharacters) {
  if (platform::CodePage() != 932) GTEST_SKIP() << "needs code page 932";
  const std::string nineteen = "1234567890123456789";
  const std::string a = Cp932("あ");
  Nodes({"@1,0,0,1,@11,,,,,,,," + nineteen + a,
         "@2,0,0,1,@11,,,,,,,," + nineteen.substr(1) + a + "x"},
        {});
  Links({"@11,3,1,10,0,0,0,@1,@2,36,36,0,1," + Cp932("大通り一丁目二丁目三丁目")});
  Source("NODENAME", "names.txt", {"@1,0," + nineteen + a + "more"});
  ASSERT_EQ(Build(), 1);
  ExpectFile("nodename.dat",
             All({NodeNameBytes(nineteen, 0, 0), NodeNameBytes("234567890123456789" + a, 0, 0)}));
  ExpectFile("linkname.dat", LinkNameBytes(Cp932("大通り一丁目二丁目三"), 1, 0, 0, 3, 0));
  story_.nodes = story_.node_names = 2;
  story_.more_node_names = story_.links = story_.link_names = 1;
  story_.coordinates = 0;
  ExpectLog(story_.Whole());
}

TEST_P(SmallNetworks, AConnectionErrorEndsTheBuild) {
  // Node 2 lists two links that end elsewhere.
  Nodes({"@1,0,0,1,@11", "@2,0,0,3,@12,@11,@13", "@3,0,0,2,@12,@13", "@4,0,0,1,@12"}, {});
  Links({"@11,3,1,10,0,0,0,@1,@2,36,36", "@12,3,1,10,0,0,0,@3,@4,36,36",
         "@13,3,1,10,0,0,0,@4,@3,36,36"});
  EXPECT_EQ(Build(), 0);
  ExpectSourcesUntouched();
  story_.nodes = 4;
  story_.coordinates = 0;
  story_.links = 3;
  const std::string step = GetParam().memory ? "BRN_CreateNetworkData" : "BRN450_CreateNetworkData";
  ExpectLog(story_.PathOne() + story_.Duplication() + story_.Repairs() + story_.Choice() +
            story_.LoadedNodes() + story_.NodeData() + story_.LinkData() + story_.Connections() +
            Lines{"[Unexpected NodeCode. Network connection error. ][Internal Logic Error in " +
                      step + "]",
                  "Error connection : Node=" + Printed(2) + " => Link=" + Printed(12),
                  "Error connection : Node=" + Printed(2) + " => Link=" + Printed(13),
                  "End Error."});
  // What was written before stays, and so do the stores.
  EXPECT_EQ(Hex(Record(Out("mapcalc.dat"), 0, 64)), Hex(CalcConnections({{1, 100, 10}})));
  ExpectNames({"linkdef.dat", "linkname.dat", "mapcalc.dat", "maploc.dat", "maprule.dat",
               "nodeattr.dat", "nodename.dat", "nodestr.~wk", "linkstr.~wk", "nnamestr.~wk",
               "lnamestr.~wk"});
}

TEST_P(SmallNetworks, OneNodeIsNoNetwork) {
  Nodes({"@1,0,0,1,@11"}, {});
  Links({"@11,3,1,10,0,0,0,@1,@1,36,36"});
  EXPECT_EQ(Build(), 0);
  story_.nodes = story_.links = 1;
  story_.coordinates = 0;
  ExpectLog(story_.PathOne() + story_.Duplication() + story_.Repairs() + story_.Choice() +
            story_.LoadedNodes() +
            Lines{Cp932("[ノードとリンクが不整合であるため計算用道路データが作成できません。]"
                        "[データエラー]"),
                  "End Error."});
  ExpectNames({"linkdef.dat", "nodestr.~wk", "linkstr.~wk", "nnamestr.~wk", "lnamestr.~wk"});
}

TEST_P(SmallNetworks, NoNodeThatALinkNamesIsNoNetwork) {
  Nodes({"@1,0,0,1,@11", "@2,0,0,1,@11"}, {});
  Links({"@11,3,1,10,0,0,0,@8,@9,36,36"});
  EXPECT_EQ(Build(), 0);
  story_.nodes = story_.killed_nodes = 2;
  story_.links = story_.killed_links = 1;
  story_.coordinates = 0;
  ExpectLog(story_.PathOne() + story_.Duplication() + story_.Repairs() + story_.Choice() +
            story_.LoadedNodes() +
            Lines{Cp932("[ノードとリンクが不整合であるため計算用道路データが作成できません。]"
                        "[データエラー]"),
                  "End Error."});
}

TEST_P(SmallNetworks, DuplicatesOfNodesAndLinksAreListed) {
  Nodes({"@1,0,0,1,@11", "@2,0,0,1,@11", "@1,0,0,1,@11", "@1,0,0,1,@11"}, {});
  Links({"@12,3,1,10,0,0,0,@1,@2,36,36", "@11,3,1,10,0,0,0,@1,@2,36,36",
         "@12,3,1,10,0,0,0,@1,@2,36,36"});
  EXPECT_EQ(Build(), 0);
  story_.nodes = 4;
  story_.links = 3;
  story_.coordinates = 0;
  const auto duplicate = [](const std::string& object, const std::string& code,
                            const std::string& title) {
    return "[" + object + " " + code + Cp932(" が重複しています。重複を取り除いてください。][") +
           title + "]";
  };
  const std::string node =
      duplicate(Cp932("道路点"), Printed(1), Cp932("道路点データの重複エラー"));
  const std::string link =
      duplicate(Cp932("道路区間"), Printed(12), Cp932("道路区間データの重複エラー"));
  ExpectLog(story_.PathOne() + Lines{"Path Two Start. ", "Checking Node Duplication...", node, node,
                                     "Checking Link Duplication...", link, "End Error."});
}

TEST_P(SmallNetworks, ADuplicateLinkAloneEndsTheBuild) {
  Nodes({"@1,0,0,1,@11", "@2,0,0,1,@11"}, {});
  Links({"@11,3,1,10,0,0,0,@1,@2,36,36", "@11,3,1,10,0,0,0,@2,@1,36,36"});
  EXPECT_EQ(Build(), 0);
  story_.nodes = story_.links = 2;
  story_.coordinates = 0;
  ExpectLog(
      story_.PathOne() + story_.Duplication() +
      Lines{Cp932("[道路区間 ") + Printed(11) +
                Cp932(" が重複しています。重複を取り除いてください。][道路区間データの重複エラー]"),
            "End Error."});
}

// ---------------------------------------------------------------------------------------------
// A junction 1 with the neighbours 2, 3 and 4 in its slots 0, 1 and 2.

class Junction : public SmallNetworks {
 protected:
  void MakeSources() { MakeSources("@1,0,0,3,@11,@12,@13", "@2,0,0,1,@11"); }
  void MakeSources(const std::string& node_1, const std::string& node_2) {
    Nodes({node_1, node_2, "@3,0,0,1,@12", "@4,0,0,1,@13"},
          {"@1,135,35", "@2,134.999,34.999", "@3,135.002,34.998", "@4,135.001,35.001"});
    Links({"@11,3,1,10,0,0,0,@1,@2,36,36", "@12,3,1,20,0,0,0,@1,@3,36,72",
           "@13,3,1,30,0,0,0,@4,@1,36,36"});
    story_.nodes = story_.coordinates = 4;
    story_.links = 3;
  }
  void MakeRules() {
    Source("NODETRF", "rules.txt",
           {"@1,@12,@13,2",  // from 3 to 4: prohibited
            "@1,@11,@12,1",  // another kind of rule
            "@1,@11,@99,2",  // no such link
            "@2,@12,@11,2",  // 12 does not touch node 2
            "@1,@11,@13"});  // no kind
    Source("LINKTRF", "oneways.txt",
           {"@13,@4,@1,2,0",    // not from 4 to 1
            "@12,@3,@1,0,2",    // named backwards: not from 1 to 3
            "@11,@1,@3,2,2",    // 3 is no end of it
            "@98,@1,@2,2,2"});  // no such link
    story_.rules = 5;
    story_.one_ways = 4;
    story_.rule_bits = 1;
    story_.one_way_bits = 4;  // one arrival at node 4, three at node 1
  }
  void ExpectTurns() const {
    ExpectFile("maprule.dat", All({SlotRecord({0x40, 0x60, 0x40}), SlotRecord({}), SlotRecord({}),
                                   SlotRecord({0x80})}));
  }
};

INSTANTIATE_TEST_SUITE_P(BothLengthsAndOperations, Junction, ::testing::ValuesIn(kWays), NameOf);

TEST_P(Junction, RestrictionsAndClosedDirections) {
  MakeSources();
  MakeRules();
  ASSERT_EQ(Build(), 1);
  ExpectNames(MapFiles());
  ExpectSourcesUntouched();
  ExpectTurns();
  // Link 12 (record 1) is closed at its start 1, link 13 (record 2) at its start 4.
  ExpectFile("linknode.idx", All({LinkNodeRecord(0, 1, 36, 36, 10), LinkNodeRecord(0, 2, 0, 72, 20),
                                  LinkNodeRecord(3, 0, 0, 36, 30)}));
  ExpectFile("mapcalc.dat", All({CalcConnections({{1, 100, 10}, {2, 65535, 20}, {3, 300, 30}}),
                                 CalcConnections({{0, 100, 10}}), CalcConnections({{0, 100, 20}}),
                                 CalcConnections({{0, 65535, 30}})}));
  ExpectFile("nodelink.idx", All({NodeLinkRecord({0, 1, 2}), NodeLinkRecord({0}),
                                  NodeLinkRecord({1}), NodeLinkRecord({2})}));
  ExpectLog(story_.Whole());
}

// Link 14 lies beside 11: the slots of node 1 lead to 2, 2, 3 and 4, those of node 2 to 1 and 1.
// The later slot of a neighbour counts as long as the other neighbour has not come.
TEST_P(Junction, RulesAtParallelLinks) {
  MakeSources("@1,0,0,4,@11,@14,@12,@13", "@2,0,0,2,@11,@14");
  Source("LINK", "more_links.txt", {"@14,3,1,15,0,0,0,@2,@1,36,36"});
  Source("NODETRF", "rules.txt",
         {"@1,@11,@12,2",    // slot 1 to slot 2
          "@1,@13,@14,2",    // slot 3 to slot 1
          "@1,@11,@14,2",    // both known at slot 0
          "@2,@14,@11,2"});  // the same at node 2
  ASSERT_EQ(Build(), 1);
  ExpectFile("maprule.dat", All({SlotRecord({0x80, 0x20, 0, 0x40}), SlotRecord({0x80}),
                                 SlotRecord({}), SlotRecord({})}));
  story_.links = story_.rules = story_.rule_bits = 4;
  ExpectLog(story_.Whole());
}

// Nodes 1 and 2 are partners, joined by link 11 and by a dummy link. It takes the first empty slot
// of the node: at 1 the gap behind 11, so that the slots lead to 2, 2, 3 and 4.
TEST_P(Junction, RulesAtADummyLinkInAGap) {
  MakeSources("@1,0,@2,4,@11,0,@12,@13", "@2,0,@1,1,@11");
  Source("NODETRF", "rules.txt",
         {"@1,@11,@12,2",    // slot 1 to slot 2
          "@1,@13,@11,2"});  // slot 3 to slot 1
  ASSERT_EQ(Build(), 1);
  ExpectFile("nodelink.idx", All({NodeLinkRecord({0, 3, 1, 2}), NodeLinkRecord({0, 3}),
                                  NodeLinkRecord({1}), NodeLinkRecord({2})}));
  ExpectFile("maprule.dat",
             All({SlotRecord({0, 0x20, 0, 0x40}), SlotRecord({}), SlotRecord({}), SlotRecord({})}));
  story_.dummies = 1;
  story_.rules = story_.rule_bits = 2;
  ExpectLog(story_.Whole());
}

// The same without a gap: the slots of node 1 lead to 2, 3, 4 and 2.
TEST_P(Junction, RulesAtADummyLinkBehindTheOthers) {
  MakeSources("@1,0,@2,3,@11,@12,@13", "@2,0,@1,1,@11");
  Source("NODETRF", "rules.txt",
         {"@1,@11,@12,2",    // slot 0 to slot 1
          "@1,@13,@11,2"});  // slot 2 to slot 0
  ASSERT_EQ(Build(), 1);
  ExpectFile("nodelink.idx", All({NodeLinkRecord({0, 1, 2, 3}), NodeLinkRecord({0, 3}),
                                  NodeLinkRecord({1}), NodeLinkRecord({2})}));
  ExpectFile("maprule.dat",
             All({SlotRecord({0x40, 0, 0x80, 0}), SlotRecord({}), SlotRecord({}), SlotRecord({})}));
  story_.dummies = 1;
  story_.rules = story_.rule_bits = 2;
  ExpectLog(story_.Whole());
}

TEST_P(Junction, ClosedDirectionsAreLeftToTheTurnsOnRequest) {
  MakeSources();
  MakeRules();
  Set("TUKOUJ", "NOTADDONEWAY=1");
  ASSERT_EQ(Build(), 1);
  ExpectTurns();
  ExpectFile("linknode.idx",
             All({LinkNodeRecord(0, 1, 36, 36, 10), LinkNodeRecord(0, 2, 36, 72, 20),
                  LinkNodeRecord(3, 0, 36, 36, 30)}));
  ExpectFile("mapcalc.dat", All({CalcConnections({{1, 100, 10}, {2, 200, 20}, {3, 300, 30}}),
                                 CalcConnections({{0, 100, 10}}), CalcConnections({{0, 100, 20}}),
                                 CalcConnections({{0, 300, 30}})}));
  ExpectLog(story_.Whole());
}

TEST_P(Junction, TheRuleStoresStayOnRequest) {
  MakeSources();
  Source("NODETRF", "rules.txt", {"@1,@12,@13,2,5", "@1,@11,@13"});
  Source("LINKTRF", "oneways.txt", {"@13,@4,@1,2,0", "@12,0,,0,2"});
  Set("SYSTEM", "DEBUG=1");
  ASSERT_EQ(Build(), 1);
  ExpectNames(MapFiles() + WorkStores());
  ExpectFile("trafrule.~wk", All({Code(1), Code(12), Code(13), Bytes().I16(0).I16(2).Zero(4),
                                  Code(1), Code(11), Code(13), Bytes().I16(0).I16(0).Zero(4)}));
  ExpectFile("onewayst.~wk",
             All({Code(13), Code(4), Code(1), Bytes().I16(2).I16(0).Zero(4), Code(12), RawCode(0),
                  RawCode(0), Bytes().I16(0).I16(2).Zero(4)}));
  story_.rules = story_.one_ways = 2;
  story_.rule_bits = 1;
  story_.one_way_bits = 2;  // both ends of a link have one arrival here: node 4 and node 3
  ExpectLog(story_.Whole());
}

TEST_P(Junction, ShapesAndRightTurns) {
  MakeSources();
  // 2 lies south-west of the junction, 3 south-east, 4 north-east. Link 12 has a bend.
  Source("LINKSHAPE", "shapes.txt",
         {"@13,2", "135.001,35.001", "135,35",                //
          "@11,2", "135.000000,35.000000", "134.999,34.999",  //
          "@12,3", "135,35", "135.001,34.999", "135.002,34.998"});
  ASSERT_EQ(Build(), 1);
  ExpectNames(MapFiles() + ShapeFiles() + Lines{"rtweight.dat"});
  ExpectFile("shapedat.dat", Bytes()
                                 .I32(135001000)
                                 .I32(35001000)
                                 .I32(135000000)
                                 .I32(35000000)
                                 .I32(135000000)
                                 .I32(35000000)
                                 .I32(134999000)
                                 .I32(34999000)
                                 .I32(135000000)
                                 .I32(35000000)
                                 .I32(135001000)
                                 .I32(34999000)
                                 .I32(135002000)
                                 .I32(34998000));
  ExpectFile("shapedbl.idx", All({IndexRecord(Code(11), 16, 2), IndexRecord(Code(12), 32, 3),
                                  IndexRecord(Code(13), 0, 2)}));
  // Codes of 18 digits are printed as the doubles that their bytes are: next to nothing.
  EXPECT_EQ(Out("shapedat.inf"),
            "[INFORMATION]\r\n"
            "Charset=Charset \"WindowsJapanese\"\r\n"
            "CoordSys=CoordSys Earth Projection 1, 1015\r\n"
            "NumRec=3\r\nNumShape=7\r\nMaxShapeLink=" +
                (code_length_ == 14 ? Printed(12) : std::string("00000000000000")) +
                "\r\nMaxNumShape=3\r\n");
  // From 2: back to 2 and right to 3. From 3: back, and right to 4. From 4: back; 3 is a left turn
  // of 90 degrees.
  ExpectFile("rtweight.dat",
             All({SlotRecord({0xC0, 0x60, 0x20}), SlotRecord({}), SlotRecord({}), SlotRecord({})}));
  story_.shapes = true;
  ExpectLog(story_.Whole());
}

TEST_P(Junction, LeftTurnsCountFromTheirOwnAngle) {
  MakeSources();
  Source("LINKSHAPE", "shapes.txt",
         {"@11,2", "135,35", "134.999,34.999", "@12,2", "135,35", "135.002,34.998", "@13,2",
          "135.001,35.001", "135,35"});
  Set("ROADFLAG", "RTWEIGHT_LEFT=80");
  Set("ROADFLAG", "RTWEIGHT_RIGHT=100");
  ASSERT_EQ(Build(), 1);
  // From 3 left to 2 and from 4 left to 3; the right turns of 90 degrees are too small now.
  ExpectFile("rtweight.dat",
             All({SlotRecord({0x80, 0xC0, 0x60}), SlotRecord({}), SlotRecord({}), SlotRecord({})}));
}

TEST_P(Junction, InterchangesOfTheFareData) {
  MakeSources();
  Source("LINKNAME", "names.txt", {"@11,,1,Gate"});
  Set("ROADFLAG", "TOLLGATE=0");
  for (const char* name : {"TR_FARE2.DAT", "TR_FARE2.IDX", "TR_FARE3.DAT", "TR_NAME.DAT"}) {
    WriteBytes(OutPath(name), "");
  }
  const auto fare = [this](int64_t n, int field, int interchange) {
    return Code(n) + Bytes().Zero(16).I16(field).I8(interchange).Zero(5).str();
  };
  // 11 and 13 are interchanges; 12 is none for want of either mark; 99 does not exist.
  const std::string fares =
      All({fare(13, 1, 1), fare(12, 0, 1), fare(12, 5, 0), fare(99, 1, 1), fare(11, 300, 1)});
  WriteBytes(OutPath("TR_LINK.DAT"), fares);
  WriteBytes(OutPath("PayData.Inf"), "[SYSTEM]\r\nResult=OK\r\n");
  ASSERT_EQ(Build(), 1);
  ExpectFile("linkname.dat",
             All({LinkNameBytes("Gate", 1, 0x20, 0, 3, 0), LinkNameBytes("", 0, 0, 0, 3, 0),
                  LinkNameBytes("", 0, 0x20, 0, 3, 0)}));
  ExpectFile("mapattr.dat", All({SlotRecord({0x20, 0, 0x20}), SlotRecord({0x20}), SlotRecord({}),
                                 SlotRecord({0x20})}));
  // The nodes' own attributes are not touched.
  ExpectFile("nodeattr.dat", std::string(4, '\0'));
  EXPECT_EQ(Out("PayData.Inf"), "[SYSTEM]\r\nResult=OK\r\nICFLAG=OK\r\n");
  ExpectFile("TR_LINK.DAT", fares);
  story_.more_link_names = 1;
  ExpectLog(story_.Whole());
}

TEST_P(Junction, ATollGateThatIsNoInterchangeOfTheFareDataLosesItsFlag) {
  Nodes({"@1,0,0,2,@11,@12", "@2,0,0,1,@11", "@3,0,0,1,@12"}, {});
  Links({"@11,3,1,10,0,0,0,@1,@2,36,36,6", "@12,99,1,10,0,0,0,@1,@3,36,36,2"});
  Set("ROADFLAG", "TOLLGATE=6");
  Set("ROADFLAG", "PAYROAD=2");
  for (const char* name : {"TR_FARE2.DAT", "TR_FARE2.IDX", "TR_FARE3.DAT", "TR_NAME.DAT"}) {
    WriteBytes(OutPath(name), "");
  }
  WriteBytes(OutPath("TR_LINK.DAT"), Code(77) + Bytes().Zero(16).I16(1).I8(1).Zero(5).str());
  WriteBytes(OutPath("PayData.Inf"), "[SYSTEM]\r\nResult=OK\r\n");
  ASSERT_EQ(Build(), 1);
  ExpectFile("linkname.dat",
             All({LinkNameBytes("", 0, 0, 0, 3, 0), LinkNameBytes("", 0, 0x02, 0, 99, 0)}));
  // The flags of links of kind 99 are copied here, unlike before.
  ExpectFile("mapattr.dat", All({SlotRecord({0, 0x02}), SlotRecord({}), SlotRecord({0x02})}));
  ExpectFile("nodeattr.dat", Bytes().I8(0x20).I8(0x20).I8(0));
}

}  // namespace
}  // namespace zatlib::test
