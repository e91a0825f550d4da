#include "map/components.h"

#include "small_map.h"

namespace zatlib::test {
namespace {

using map::Components;
using map::FindComponents;
using map::Graph;

TEST_F(SmallMap, AllButTheLonelyNodeHangTogether) {
  Graph graph;
  ASSERT_TRUE(graph.Load(Open()).ok());
  std::vector<int64_t> told;
  const Components parts = FindComponents(graph, [&](int64_t done, int64_t all) {
    EXPECT_EQ(all, 5);
    told.push_back(done);
  });
  EXPECT_EQ(parts.joined_parts, 2);
  EXPECT_EQ(parts.largest_part, 4);
  EXPECT_EQ(parts.largest_circuit, 4);
  EXPECT_EQ(parts.unreachable, 1);
  EXPECT_EQ(told, (std::vector<int64_t>{0, 1, 2, 3, 4}));
}

// 102 is closed for those who come from 103 and nothing but 201 leads to 101: with both ends of 203
// and 204 closed the rest falls apart.
TEST_F(SmallMap, ClosedConnectionsPartTheMap) {
  std::string calc = Read("mapcalc.dat");
  calc.replace(34, 2, "\xff\xff");           // 101 to 104
  calc.replace(64 * 3 + 32, 2, "\xff\xff");  // 104 to 101
  calc.replace(64 * 3 + 34, 2, "\xff\xff");  // 104 to 103
  calc.replace(64 * 2 + 34, 2, "\xff\xff");  // 103 to 104
  Write("mapcalc.dat", calc);
  Write("maprule.dat", Bytes().Zero(8).I8(0x40).I8(0x80).Zero(30));  // straight on is prohibited
  Graph graph;
  ASSERT_TRUE(graph.Load(Open()).ok());
  const Components parts = FindComponents(graph);
  EXPECT_EQ(parts.joined_parts, 2);     // links join, directions aside
  EXPECT_EQ(parts.largest_circuit, 2);  // there and back along one link
  EXPECT_EQ(parts.unreachable, 3);
}

// 101 and 102 are joined both ways; from 102 one gets to 103 and on to 104, never back.
TEST_F(SmallMap, WhatOneOnlyGetsToIsReachableButInNoCircuit) {
  Write("mapcalc.dat", CalcConnections({{1, 10, 0}}) + CalcConnections({{0, 10, 0}, {2, 20, 0}}) +
                           CalcConnections({{1, 65535, 0}, {3, 100, 0}}) +
                           CalcConnections({{2, 65535, 0}}) + CalcConnections({}));
  Write("nodelink.idx", NodeLinkRecord({0}) + NodeLinkRecord({0, 1}) + NodeLinkRecord({1, 2}) +
                            NodeLinkRecord({2}) + NodeLinkRecord({}));
  Write("maprule.dat", Bytes().Zero(40));
  Graph graph;
  ASSERT_TRUE(graph.Load(Open()).ok());
  const Components parts = FindComponents(graph);
  EXPECT_EQ(parts.joined_parts, 2);
  EXPECT_EQ(parts.largest_part, 4);
  EXPECT_EQ(parts.largest_circuit, 2);
  EXPECT_EQ(parts.unreachable, 1);  // 105
}

// From 102 one gets to 101 and on to 104, never back: no two connections make a circuit.
TEST_F(SmallMap, AWayIntoWhatHasBeenLeftIsNoCircuit) {
  Write("mapcalc.dat", CalcConnections({{3, 10, 0}}) + CalcConnections({{0, 10, 0}}) +
                           CalcConnections({}) + CalcConnections({{0, 65535, 0}}) +
                           CalcConnections({}));
  Write("nodelink.idx", NodeLinkRecord({0}) + NodeLinkRecord({1}) + NodeLinkRecord({}) +
                            NodeLinkRecord({0}) + NodeLinkRecord({}));
  Write("maprule.dat", Bytes().Zero(40));
  Graph graph;
  ASSERT_TRUE(graph.Load(Open()).ok());
  const Components parts = FindComponents(graph);
  EXPECT_EQ(parts.joined_parts, 3);
  EXPECT_EQ(parts.largest_part, 3);
  EXPECT_EQ(parts.largest_circuit, 2);  // the ends of the first connection
  EXPECT_EQ(parts.unreachable, 3);
}

TEST(ComponentsTest, AMapWithoutNodesHasNone) {
  const Components parts = FindComponents(Graph());
  EXPECT_EQ(parts.joined_parts, 0);
  EXPECT_EQ(parts.largest_circuit, 0);
  EXPECT_EQ(parts.unreachable, 0);
}

}  // namespace
}  // namespace zatlib::test
