#include "map/built_map.h"

#include "small_map.h"

namespace zatlib::test {
namespace {

using map::BuiltMap;

FeatureCode Code(double code) { return FeatureCode::FromDouble(code); }

std::string Line(const std::vector<ShapePoint>& points) {
  std::string text;
  for (const ShapePoint& p : points) text += std::to_string(p.X) + "," + std::to_string(p.Y) + " ";
  return text;
}

TEST_F(SmallMap, AMapAnswersByCodeAndByNumber) {
  BuiltMap map;
  ASSERT_TRUE(map.Load(Open()).ok());
  EXPECT_EQ(map.nodes(), 5);
  EXPECT_EQ(map.links(), 4);
  EXPECT_EQ(map.FindNode(Code(104)), 3);
  EXPECT_EQ(map.FindNode(Code(201)), -1);
  EXPECT_EQ(map.FindLink(Code(204)), 3);
  EXPECT_EQ(map.FindLink(Code(104)), -1);
  EXPECT_EQ(map.node_code(1), "102");
  EXPECT_EQ(map.link_code(0), "201");
  EXPECT_STREQ(map.node_name(4).Name, "E");
  EXPECT_EQ(map.link_name(0).NameNumber, 4);
  EXPECT_EQ(map.node_city(1), 13002u);
  EXPECT_EQ(map.city(0), 13101u);
  EXPECT_EQ(map.drawing(0).Value4, 2);
  EXPECT_EQ(map.weights(0), nullptr);
  EXPECT_EQ(map.CostFromA(0), 10);
  EXPECT_EQ(map.CostFromB(1), 20);
}

TEST_F(SmallMap, ALinkThatANodeDoesNotListHasNoCostThere) {
  Put("linknode.idx", 4, 4);  // 201 ends at 105
  BuiltMap map;
  ASSERT_TRUE(map.Load(Open()).ok());
  EXPECT_EQ(map.CostFromA(0), 10);
  EXPECT_EQ(map.CostFromB(0), -1);
}

TEST_F(SmallMap, AMapTellsWhereItsNodesAreAndWhatItsLinksJoin) {
  Write("linkdef.dat", "[SYSTEM]\r\nCODELENGTH=18\r\n");
  BuiltMap map;
  ASSERT_TRUE(map.Load(Open()).ok());
  EXPECT_EQ(map.code_length(), 18);
  EXPECT_EQ(map.graph().nodes(), 5);
  EXPECT_EQ(map.graph().turns(1).Slot[0], 0x40);
  EXPECT_EQ(map.location(3).X, 1000);
  EXPECT_EQ(map.location(3).Y, 1000);
  EXPECT_EQ(map.link(1).NodeA, 1);
  EXPECT_EQ(map.link(1).NodeB, 2);
  EXPECT_EQ(map.CostFromA(1), 20);  // the second slot of 102
}

TEST_F(SmallMap, CitiesOfRecordsThatDoNotExistAreNobodys) {
  Write("node.idx", IndexRecord(101, 0, 13001) + IndexRecord(102, -1, 13002) +
                        IndexRecord(103, 5, 13003) + IndexRecord(104, 3) + IndexRecord(105, 4));
  BuiltMap map;
  ASSERT_TRUE(map.Load(Open()).ok());
  EXPECT_EQ(map.node_city(0), 13001u);
  EXPECT_EQ(map.node_city(1), 0u);
  EXPECT_EQ(map.FindNode(Code(102)), -1);
  EXPECT_EQ(map.FindNode(Code(103)), -1);
}

TEST_F(SmallMap, AMapWithoutLinkEndsIsTold) {
  platform::RemoveFile((folder_ / "linknode.idx").c_str());
  BuiltMap map;
  EXPECT_EQ(Told(map.Load(Open())), "unreadable linknode.idx -1");
}

TEST_F(SmallMap, AShapeFromNodeAStaysAsItIs) {
  Write("shapedat.dat", Bytes().I32(0).I32(0).I32(500).I32(50).I32(1000).I32(0).I32(7).I32(7));
  BuiltMap map;
  ASSERT_TRUE(map.Load(Open()).ok());
  std::vector<ShapePoint> points;
  map.LinkPoints(0, &points);
  EXPECT_EQ(Line(points), "0,0 500,50 1000,0 ");
}

TEST_F(SmallMap, TheNearestNodeIsFoundByDegrees) {
  BuiltMap map;
  ASSERT_TRUE(map.Load(Open()).ok());
  EXPECT_EQ(map.NearestNode(0.0019, 0.0001), 2);
  EXPECT_EQ(map.NearestNode(0.001, 0.0005), 1);  // as far from 104, which comes later
  EXPECT_EQ(map.NearestNode(-80, -80), 0);
}

TEST_F(SmallMap, LinksRunFromNodeAToNodeB) {
  BuiltMap map;
  ASSERT_TRUE(map.Load(Open()).ok());
  std::vector<ShapePoint> points;
  map.LinkPoints(0, &points);
  EXPECT_EQ(Line(points), "0,0 500,50 1000,0 ");  // drawn the other way
  map.LinkPoints(2, &points);
  EXPECT_EQ(Line(points), "0,0 1000,1000 ");  // no shape
  map.LinkPoints(3, &points);
  EXPECT_EQ(Line(points), "1000,1000 2000,0 ");  // a shape of one point
}

TEST_F(SmallMap, WeightsAreThereWhenTheMapHasThem) {
  Write("rtweight.dat", Bytes().I8(0x20).Zero(39));
  BuiltMap map;
  ASSERT_TRUE(map.Load(Open()).ok());
  ASSERT_NE(map.weights(4), nullptr);
  EXPECT_EQ(map.weights(0)->Slot[0], 0x20);
}

TEST_F(SmallMap, WhatDoesNotFitTogetherIsTold) {
  BuiltMap map;
  const auto damaged = [&](const char* name, const std::string& bytes) {
    const std::string whole = Read(name);
    Write(name, bytes);
    const std::string told = Told(map.Load(Open()));
    Write(name, whole);
    return told;
  };
  EXPECT_EQ(damaged("maploc.dat", ""), "size maploc.dat -1");
  EXPECT_EQ(damaged("nodename.dat", Read("nodename.dat") + NodeNameBytes("", 0, 0)),
            "size nodename.dat -1");
  EXPECT_EQ(damaged("linkname.dat", LinkNameBytes("", 0, 0, 0, 0, 0)), "size linkname.dat -1");
  EXPECT_EQ(damaged("mapdraw.dat", ""), "size mapdraw.dat -1");
  EXPECT_EQ(damaged("linknode.idx", LinkNodeRecord(0, 1) + LinkNodeRecord(1, 5) +
                                        LinkNodeRecord(0, 3) + LinkNodeRecord(3, 2)),
            "reference linknode.idx 1");
  EXPECT_EQ(damaged("nodelink.idx", NodeLinkRecord({0, 2}) + NodeLinkRecord({0, 4}) +
                                        NodeLinkRecord({1, 3}) + NodeLinkRecord({2, 3}) +
                                        NodeLinkRecord({})),
            "reference nodelink.idx 1");
  EXPECT_EQ(damaged("maprule.dat", ""), "size maprule.dat -1");
  EXPECT_EQ(damaged("linknode.idx", LinkNodeRecord(-1, 1) + LinkNodeRecord(1, 2) +
                                        LinkNodeRecord(0, 3) + LinkNodeRecord(3, 2)),
            "reference linknode.idx 0");
  platform::RemoveFile((folder_ / "linkname.dat").c_str());
  EXPECT_EQ(Told(map.Load(Open())), "unreadable linkname.dat -1");
}

}  // namespace
}  // namespace zatlib::test
