#include "map/graph.h"

#include "map/components.h"
#include "map/route.h"
#include "small_map.h"

namespace zatlib::test {
namespace {

using map::ConnectionOf;
using map::Graph;

// What may follow a connection, as "node.slot".
std::string Next(const Graph& graph, int64_t node, int slot) {
  std::string text;
  graph.ForEachNext(node, slot, [&](int64_t n, int s) {
    text += std::to_string(n) + "." + std::to_string(s) + " ";
  });
  return text;
}

TEST_F(SmallMap, ConnectionsLeadOnWhereTheTurnTableAllows) {
  Graph graph;
  ASSERT_TRUE(graph.Load(Open()).ok());
  EXPECT_EQ(graph.nodes(), 5);
  EXPECT_EQ(graph.used(0), 2);
  EXPECT_EQ(graph.used(4), 0);
  EXPECT_EQ(graph.other(ConnectionOf(1, 1)), 2);
  EXPECT_EQ(graph.link(ConnectionOf(1, 1)), 1);
  EXPECT_EQ(graph.cost(ConnectionOf(1, 1)), 20);
  EXPECT_EQ(graph.length(ConnectionOf(1, 0)), 7);
  EXPECT_EQ(graph.ArrivalSlot(0, 0), 0);
  EXPECT_EQ(graph.ArrivalSlot(3, 1), 1);
  EXPECT_TRUE(graph.IsProhibited(1, 0, 1));
  EXPECT_FALSE(graph.IsProhibited(1, 1, 0));
  EXPECT_FALSE(graph.IsProhibited(1, -1, 1));
  EXPECT_EQ(Next(graph, 0, 0), "1.0 ");      // by 201: not into 202
  EXPECT_EQ(Next(graph, 2, 0), "1.0 1.1 ");  // by 202: into both
}

TEST_F(SmallMap, AClosedConnectionIsNotTaken) {
  std::string calc = Read("mapcalc.dat");
  calc.replace(64 + 32, 2, "\xff\xff");
  Write("mapcalc.dat", calc);
  Graph graph;
  ASSERT_TRUE(graph.Load(Open()).ok());
  EXPECT_FALSE(graph.IsOpen(1, 0));
  EXPECT_EQ(Next(graph, 2, 0), "1.1 ");
}

TEST_F(SmallMap, AnArrivalWithoutTheSameLinkIsByTheFirstSlotBack) {
  Put("nodelink.idx", 32, 3);  // node 1 holds another link in its slot toward node 0
  Graph graph;
  ASSERT_TRUE(graph.Load(Open()).ok());
  EXPECT_EQ(graph.ArrivalSlot(0, 0), 0);
  Put("mapcalc.dat", 64, 2);  // and its slot leads elsewhere
  ASSERT_TRUE(graph.Load(Open()).ok());
  EXPECT_EQ(graph.ArrivalSlot(0, 0), -1);
}

TEST_F(SmallMap, AGraphThatDoesNotFitTogetherIsAnError) {
  Graph graph;
  Put("mapcalc.dat", 64 * 3 + 4, 5);
  EXPECT_EQ(Told(graph.Load(Open())), "reference mapcalc.dat 3");
  Write("maprule.dat", Bytes().Zero(32));
  EXPECT_EQ(Told(graph.Load(Open())), "size maprule.dat -1");
  Write("nodelink.idx", NodeLinkRecord({}));
  EXPECT_EQ(Told(graph.Load(Open())), "size nodelink.idx -1");
  platform::RemoveFile((folder_ / "nodelink.idx").c_str());
  EXPECT_EQ(Told(graph.Load(Open())), "unreadable nodelink.idx -1");
}

// Node 0 has eight links, all to node 1.
TEST_F(SmallMap, AllEightSlotsMayBeUsed) {
  std::vector<Connection> there, back;
  std::vector<int64_t> links;
  for (int i = 0; i < 8; ++i) {
    there.push_back({1, 10 + i, 0});
    back.push_back({0, 10 + i, 0});
    links.push_back(i);
  }
  Write("mapcalc.dat", CalcConnections(there) + CalcConnections(back));
  Write("nodelink.idx", NodeLinkRecord(links) + NodeLinkRecord(links));
  Write("maprule.dat",
        Bytes().Zero(15).I8(0xFD));  // who comes by the last slot may leave by 6 only
  Graph graph;
  ASSERT_TRUE(graph.Load(Open()).ok());
  EXPECT_EQ(graph.used(0), 8);
  EXPECT_EQ(graph.ArrivalSlot(0, 7), 7);
  EXPECT_EQ(Next(graph, 0, 7), "1.6 ");
  EXPECT_EQ(Next(graph, 0, 6), "1.0 1.1 1.2 1.3 1.4 1.5 1.6 1.7 ");
  const map::Route route = map::FindRoute(graph, 0, 1);
  EXPECT_EQ(route.cost, 10u);
  const map::Components parts = map::FindComponents(graph);
  EXPECT_EQ(parts.joined_parts, 1);
  EXPECT_EQ(parts.largest_circuit, 2);
  EXPECT_EQ(parts.unreachable, 0);
}

// The same number of a link at both nodes, but the other one's slot leads elsewhere.
TEST_F(SmallMap, ASlotOfTheSameLinkMustLeadBack) {
  Put("mapcalc.dat", 64, 3);  // node 1 leaves by 201 to node 3
  Put("mapcalc.dat", 68, 0);  // and by 202 to node 0
  Graph graph;
  ASSERT_TRUE(graph.Load(Open()).ok());
  EXPECT_EQ(graph.ArrivalSlot(0, 0), 1);
}

}  // namespace
}  // namespace zatlib::test
