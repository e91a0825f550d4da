#include "rtweight/turn_kernel.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace zatlib::test {
namespace {

// Nodes with the links in their slots and the shapes of those, as the step holds them.
class TurnKernelTest : public ::testing::Test {
 protected:
  TurnKernelTest() : limits_{std::cos(std::acos(-1.0) / 4), std::cos(std::acos(-1.0) * 3 / 4)} {}

  // A node whose neighbours are numbered from 1 and reached by the shapes, each with a link of its
  // own.
  void AddNode(const std::vector<ShapeEnds>& shapes) {
    CalcNode node = {};
    NodeLinks links = {};
    for (size_t s = 0; s < kSlots; ++s) {
      const bool used = s < shapes.size();
      node.OtherNode[s] = used ? static_cast<int32_t>(s) + 1 : -1;
      links.Link[s] = used ? AddLink(shapes[s]) : -1;
    }
    nodes_.push_back(node);
    links_.push_back(links);
  }

  int32_t AddLink(const ShapeEnds& shape) {
    shape_of_link_.push_back(static_cast<int32_t>(shapes_.size()));
    shapes_.push_back(shape);
    return static_cast<int32_t>(shape_of_link_.size()) - 1;
  }

  std::vector<SlotBytes> Weigh() const {
    std::vector<SlotBytes> weights(nodes_.size(), SlotBytes{{9, 9, 9, 9, 9, 9, 9, 9}});
    const auto count = static_cast<int64_t>(nodes_.size());
    const TurnShapes shapes = {shape_of_link_.data(), static_cast<int64_t>(shape_of_link_.size()),
                               shapes_.data()};
    const NodeBlock block = {nodes_.data(), links_.data(), with_links_ < 0 ? count : with_links_};
    WeighNodes(block, 0, count, shapes, limits_, weights.data());
    return weights;
  }

  // The same turn by turn.
  SlotBytes ByTheRule(size_t n) const {
    NodeTurns turns;
    for (; turns.slots < kSlots && nodes_[n].OtherNode[turns.slots] >= 0; ++turns.slots) {
      turns.neighbour[turns.slots] = nodes_[n].OtherNode[turns.slots];
      const int32_t link = links_[n].Link[turns.slots];
      const int32_t shape = link < 0 ? -1 : shape_of_link_[static_cast<size_t>(link)];
      if (shape >= 0) turns.ends[turns.slots] = EndsOfShape(shapes_[static_cast<size_t>(shape)]);
    }
    SlotBytes weights = {};
    for (int a = 0; a < turns.slots; ++a) {
      for (int b = 0; b < turns.slots; ++b) {
        if (MM_SUB_IsWeightedTurn(turns.neighbour[a], turns, turns.neighbour[b], limits_) != 0) {
          weights.Slot[a] = static_cast<uint8_t>(weights.Slot[a] | 0x80 >> b);
        }
      }
    }
    return weights;
  }

  static std::vector<int> Bytes(const SlotBytes& weights) {
    return {std::begin(weights.Slot), std::end(weights.Slot)};
  }

  std::vector<CalcNode> nodes_;
  std::vector<NodeLinks> links_;
  std::vector<int32_t> shape_of_link_;
  std::vector<ShapeEnds> shapes_;
  TurnLimits limits_;
  int64_t with_links_ = -1;  // nodes with an entry in links_; -1 = all
};

// A shape of one segment from a place to the origin, in millionths of a degree.
ShapeEnds ToOrigin(int32_t x, int32_t y) { return {{x, y}, {0, 0}, {x, y}, {0, 0}}; }

// From the south-west, the south-east, the north-east and the north-west: the turns to the right
// and back.
const std::vector<ShapeEnds> kCross = {ToOrigin(-1000000, -1000000), ToOrigin(1000000, -1000000),
                                       ToOrigin(1000000, 1000000), ToOrigin(-1000000, 1000000)};
const std::vector<int> kCrossWeights = {0xC0, 0x60, 0x30, 0x90, 0, 0, 0, 0};
const std::vector<int> kNoWeights = {0, 0, 0, 0, 0, 0, 0, 0};

TEST_F(TurnKernelTest, ACrossAmongNodesThatAreNone) {
  AddNode({kCross[0], kCross[1]});
  AddNode(kCross);
  AddNode({});
  const std::vector<SlotBytes> weights = Weigh();
  EXPECT_EQ(Bytes(weights[0]), kNoWeights);
  EXPECT_EQ(Bytes(weights[1]), kCrossWeights);
  EXPECT_EQ(Bytes(weights[2]), kNoWeights);
}

TEST_F(TurnKernelTest, NodesBehindTheLastEntryOfTheirLinksHaveNone) {
  AddNode(kCross);
  AddNode(kCross);
  with_links_ = 1;
  const std::vector<SlotBytes> weights = Weigh();
  EXPECT_EQ(Bytes(weights[0]), kCrossWeights);
  EXPECT_EQ(Bytes(weights[1]), kNoWeights);
}

TEST_F(TurnKernelTest, LinksBehindTheLastShapeHaveNone) {
  AddNode(kCross);
  links_[0].Link[3] = 4;
  EXPECT_EQ(Bytes(Weigh()[0]), (std::vector<int>{0xC0, 0x60, 0x20, 0, 0, 0, 0, 0}));
}

// Coordinates so small that places, directions and ends coincide every now and then; some shapes
// are missing, some neighbours are reached twice.
TEST_F(TurnKernelTest, NodesOfAllKindsHaveTheWeightsOfTheRule) {
  std::mt19937 random(20);
  const auto below = [&random](unsigned limit) { return static_cast<int32_t>(random() % limit); };
  for (int n = 0; n < 20000; ++n) {
    std::vector<ShapeEnds> shapes;
    for (int s = 0, slots = 3 + below(6); s < slots; ++s) {
      const ShapePoint meeting = {below(20) == 0 ? 1 : 0, 0};
      const ShapePoint second = {below(9) - 4, below(9) - 4};
      const ShapePoint other = {below(15) == 0 ? 0 : 100 + below(50), below(50)};
      const ShapePoint beside = {other.X + below(9) - 4, other.Y + below(9) - 4};
      if (below(2) == 0) {
        shapes.push_back({meeting, second, beside, other});
      } else {
        shapes.push_back({other, beside, second, meeting});
      }
    }
    AddNode(shapes);
    if (below(10) == 0) nodes_.back().OtherNode[2] = nodes_.back().OtherNode[0];
    if (below(10) == 0) links_.back().Link[1] = -1;
    if (below(10) == 0) shape_of_link_.back() = -1;
  }
  const std::vector<SlotBytes> weights = Weigh();
  int64_t weighted = 0;
  for (size_t n = 0; n < nodes_.size(); ++n) {
    const std::vector<int> rule = Bytes(ByTheRule(n));
    ASSERT_EQ(Bytes(weights[n]), rule) << n;
    if (rule != kNoWeights) ++weighted;
  }
  EXPECT_GT(weighted, 10000);
}

}  // namespace
}  // namespace zatlib::test
