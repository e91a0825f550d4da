#include "map/barriers.h"

#include "small_map.h"

namespace zatlib::test {
namespace {

using map::Connection;
using map::ConnectionOf;
using map::ExplainNoRoute;
using map::Graph;
using map::NoRoute;

TEST_F(SmallMap, NoLinkLeadsToAnIsland) {
  Graph graph;
  ASSERT_TRUE(graph.Load(Open()).ok());
  const NoRoute why = ExplainNoRoute(graph, 0, 4);
  EXPECT_FALSE(why.joined);
  EXPECT_EQ(why.from_part, 4);
  EXPECT_EQ(why.to_part, 1);
  EXPECT_EQ(why.reached, 4);
  EXPECT_EQ(why.reaching, 1);
  EXPECT_FALSE(why.way_back);
  EXPECT_TRUE(why.barriers.empty());
}

// From 102 one gets to 103 and on to 104, never back.
TEST_F(SmallMap, OneWayLinksBarTheWayBack) {
  Write("mapcalc.dat", CalcConnections({{1, 10, 0}}) + CalcConnections({{0, 10, 0}, {2, 20, 0}}) +
                           CalcConnections({{1, 65535, 0}, {3, 100, 0}}) +
                           CalcConnections({{2, 65535, 0}}) + CalcConnections({}));
  Write("nodelink.idx", NodeLinkRecord({0}) + NodeLinkRecord({0, 1}) + NodeLinkRecord({1, 2}) +
                            NodeLinkRecord({2}) + NodeLinkRecord({}));
  Write("maprule.dat", Bytes().Zero(40));
  Graph graph;
  ASSERT_TRUE(graph.Load(Open()).ok());
  const NoRoute why = ExplainNoRoute(graph, 3, 0);
  EXPECT_TRUE(why.joined);
  EXPECT_EQ(why.from_part, 4);
  EXPECT_EQ(why.to_part, 4);
  EXPECT_EQ(why.reached, 1);   // nothing but 104 itself
  EXPECT_EQ(why.reaching, 2);  // 101 and 102
  EXPECT_TRUE(why.way_back);
  ASSERT_EQ(why.barriers.size(), 2u);
  EXPECT_EQ(why.barriers[0].connection, ConnectionOf(3, 0));
  EXPECT_FALSE(why.barriers[0].is_turn);
  EXPECT_EQ(why.barriers[1].connection, ConnectionOf(2, 0));
  EXPECT_FALSE(why.barriers[1].is_turn);
}

// 203 and 204 are closed on the way by 104: the prohibited turn at 102 is the one barrier.
TEST_F(SmallMap, TheWayWithTheFewestBarriersIsTold) {
  std::string calc = Read("mapcalc.dat");
  calc.replace(34, 2, "\xff\xff");           // 101 to 104
  calc.replace(64 * 3 + 34, 2, "\xff\xff");  // 104 to 103
  Write("mapcalc.dat", calc);
  Graph graph;
  ASSERT_TRUE(graph.Load(Open()).ok());
  const NoRoute why = ExplainNoRoute(graph, 0, 2);
  EXPECT_TRUE(why.joined);
  EXPECT_EQ(why.reached, 2);   // 101 and 102
  EXPECT_EQ(why.reaching, 2);  // 102 and 103
  EXPECT_TRUE(why.way_back);   // by 102
  ASSERT_EQ(why.barriers.size(), 1u);
  EXPECT_TRUE(why.barriers[0].is_turn);
  EXPECT_EQ(why.barriers[0].before, ConnectionOf(0, 0));
  EXPECT_EQ(why.barriers[0].connection, ConnectionOf(1, 1));
}

}  // namespace
}  // namespace zatlib::test
