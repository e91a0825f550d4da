#include "map/route.h"

#include "small_map.h"

namespace zatlib::test {
namespace {

using map::ConnectionOf;
using map::FindRoute;
using map::Graph;
using map::Route;

TEST_F(SmallMap, TheCheapestRouteObeysProhibitedTurns) {
  Graph graph;
  ASSERT_TRUE(graph.Load(Open()).ok());
  const Route there = FindRoute(graph, 0, 2);
  ASSERT_TRUE(there.found);
  EXPECT_EQ(there.cost, 200u);  // by 104
  EXPECT_EQ(there.connections,
            (std::vector<map::Connection>{ConnectionOf(0, 1), ConnectionOf(3, 1)}));
  const Route back = FindRoute(graph, 2, 0);
  ASSERT_TRUE(back.found);
  EXPECT_EQ(back.cost, 30u);  // by 102
  EXPECT_EQ(back.connections,
            (std::vector<map::Connection>{ConnectionOf(2, 0), ConnectionOf(1, 0)}));
}

// Straight from 101 to 102 is dearer than by 104; and 101 is closed toward 105.
TEST_F(SmallMap, TheCheapestWayMayHaveMoreLinks) {
  Write("mapcalc.dat",
        CalcConnections({{1, 50, 0}, {3, 10, 0}, {4, 65535, 0}}) +
            CalcConnections({{0, 50, 0}, {2, 20, 0}, {3, 10, 0}}) + CalcConnections({{1, 20, 0}}) +
            CalcConnections({{0, 10, 0}, {1, 10, 0}}) + CalcConnections({{0, 10, 0}}));
  Write("nodelink.idx", NodeLinkRecord({0, 2, 4}) + NodeLinkRecord({0, 1, 3}) +
                            NodeLinkRecord({1}) + NodeLinkRecord({2, 3}) + NodeLinkRecord({4}));
  Write("maprule.dat", Bytes().Zero(40));
  Graph graph;
  ASSERT_TRUE(graph.Load(Open()).ok());
  const Route route = FindRoute(graph, 0, 2);
  ASSERT_TRUE(route.found);
  EXPECT_EQ(route.cost, 40u);
  EXPECT_EQ(route.connections, (std::vector<map::Connection>{ConnectionOf(0, 1), ConnectionOf(3, 1),
                                                             ConnectionOf(1, 1)}));
  EXPECT_FALSE(FindRoute(graph, 0, 4).found);
}

TEST_F(SmallMap, ThereMayBeNoRouteOrNoneNeeded) {
  Graph graph;
  ASSERT_TRUE(graph.Load(Open()).ok());
  EXPECT_FALSE(FindRoute(graph, 0, 4).found);
  const Route stay = FindRoute(graph, 4, 4);
  EXPECT_TRUE(stay.found);
  EXPECT_EQ(stay.cost, 0u);
  EXPECT_TRUE(stay.connections.empty());
}

}  // namespace
}  // namespace zatlib::test
