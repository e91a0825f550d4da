#include "check/network_causes.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace zatmap::check {
namespace {

constexpr int64_t kEnough = 5;    // records that say something about all of them
constexpr int64_t kCodes = 40;    // codes that do so
constexpr int64_t kMissing = 20;  // of which so many are missing where a file was cut off

// "720 of 731"
std::string Of(int64_t count, int64_t all) {
  return std::to_string(count) + " of " + std::to_string(all);
}

// Hides findings in all files that hold nodes.
void HideInNodes(Network& network, std::initializer_list<Kind> kinds) {
  uint32_t last = UINT32_MAX;
  for (const CheckedNode& node : network.nodes) {
    if (node.file != last) network.findings().Hide(node.file, kinds);
    last = node.file;
  }
}

// What is told of lengths beside shapes.
void HideLengths(Findings& findings) {
  findings.Hide({Kind::kLengthUnit, Kind::kLengthOdd, Kind::kLengthsMixed});
}

// What is told of how far one gets.
void HideReach(Findings& findings) {
  findings.Hide({Kind::kIsland, Kind::kNotReached, Kind::kNotLeft, Kind::kOneWayShare});
}

void LookAtNodeLists(Network& network) {
  int64_t nodes = 0;
  for (const CheckedNode& node : network.nodes) {
    if (std::any_of(node.links, node.links + zatlib::kSlots,
                    [](zatlib::FeatureCode code) { return !code.IsEmpty(); })) {
      return;
    }
    ++nodes;
  }
  if (nodes < kEnough || network.links.empty()) return;
  network.findings().Add(Kind::kNodeListsMissing,
                         {network.nodes.front().file, 0, network.columns().links, 0},
                         "none of %lld nodes", static_cast<long long>(nodes));
  HideInNodes(network, {Kind::kColumnsMissing});
  network.findings().Hide({Kind::kLinkNotListed});
  HideReach(network.findings());
}

// What follows when codes fit nowhere.
void HideReferences(Findings& findings) {
  findings.Hide({Kind::kLinkNodeMissing, Kind::kNodeUnused, Kind::kLinkNotListed,
                 Kind::kNodeLinkMissing, Kind::kNodeLinkOther, Kind::kRuleUnknown,
                 Kind::kRuleNotAtNode, Kind::kRowUnknown, Kind::kSpeedNodes, Kind::kOneWayNodes,
                 Kind::kShapeUnknown, Kind::kShapeMissing});
  HideReach(findings);
}

void LookAtReferences(Network& network) {
  if (!network.nodes_whole || !network.links_whole) return;
  LookAtNodeLists(network);
  Findings& findings = network.findings();
  int64_t ends = 0;
  int64_t unknown = 0;
  const CheckedLink* first = nullptr;
  for (const CheckedLink& link : network.links) {
    if (link.code.IsEmpty()) continue;
    ends += 2;
    const int missing = (link.a < 0 ? 1 : 0) + (link.b < 0 ? 1 : 0);
    unknown += missing;
    if (missing > 0 && first == nullptr) first = &link;
  }
  if (ends >= kCodes && unknown * 10 >= ends * 9) {
    const CheckedNode& node = network.nodes.front();
    findings.Add(Kind::kCodesDiffer, {first->file, first->record, network.columns().node_a, 0},
                 "%s nodes of the links are unknown, the first is %s; the nodes of %s are like %s",
                 Of(unknown, ends).c_str(),
                 network.TextOf(first->a < 0 ? first->node_a : first->node_b).c_str(),
                 findings.PathOf(node.file).c_str(), network.TextOf(node.code).c_str());
    HideReferences(findings);
    return;
  }
  if (unknown >= kMissing && unknown * 10 >= ends) {
    findings.Add(Kind::kNodesCut, {first->file, first->record, network.columns().node_a, 0},
                 "%s nodes of the links are not there", Of(unknown, ends).c_str());
    findings.Hide({Kind::kLinkNodeMissing, Kind::kNodeLinkOther, Kind::kRuleUnknown,
                   Kind::kRowUnknown, Kind::kRuleNotAtNode});
    HideReach(findings);
    return;
  }
  int64_t listed = 0;
  unknown = 0;
  const CheckedNode* lists = nullptr;
  zatlib::FeatureCode example;
  for (const CheckedNode& node : network.nodes) {
    for (const zatlib::FeatureCode code : node.links) {
      if (code.IsEmpty()) continue;
      ++listed;
      if (network.FindLink(code) >= 0) continue;
      if (unknown++ == 0) {
        lists = &node;
        example = code;
      }
    }
  }
  if (listed < kCodes || unknown < kMissing || network.links.empty()) return;
  if (unknown * 10 >= listed && unknown * 10 < listed * 9) {
    findings.Add(Kind::kLinksCut, {lists->file, lists->record, network.columns().links, 0},
                 "%s links that nodes list are not there, the first is %s",
                 Of(unknown, listed).c_str(), network.TextOf(example).c_str());
    findings.Hide({Kind::kNodeLinkMissing, Kind::kNodeUnused, Kind::kRuleUnknown, Kind::kRowUnknown,
                   Kind::kShapeMissing, Kind::kShapeUnknown});
    HideReach(findings);
    return;
  }
  if (unknown * 10 < listed * 9) return;
  const CheckedLink& link = network.links.front();
  findings.Add(Kind::kCodesDiffer, {lists->file, lists->record, network.columns().links, 0},
               "%s links that nodes list are unknown, the first is %s; the links of %s are like %s",
               Of(unknown, listed).c_str(), network.TextOf(example).c_str(),
               findings.PathOf(link.file).c_str(), network.TextOf(link.code).c_str());
  HideReferences(findings);
}

void LookAtSpeeds(Network& network) {
  int64_t directions = 0;
  int64_t closed = 0;
  for (const CheckedLink& link : network.links) {
    if (link.code.IsEmpty()) continue;
    directions += 2;
    closed += ((link.marks & kClosedOnA) != 0 ? 1 : 0) + ((link.marks & kClosedOnB) != 0 ? 1 : 0);
  }
  if (directions < 2 * kEnough || closed * 2 < directions) return;
  network.findings().Add(Kind::kSpeedsNegative,
                         {network.links.front().file, 0, network.columns().speed_a, 0},
                         "in %s directions", Of(closed, directions).c_str());
  network.findings().Hide({Kind::kSpeedNegative, Kind::kSpeedZero, Kind::kSpeedsEqual});
  HideReach(network.findings());
}

void LookAtLengths(Network& network) {
  int64_t links = 0;
  for (const CheckedLink& link : network.links) {
    if (link.code.IsEmpty()) continue;
    if (link.length != 0) return;
    ++links;
  }
  if (links < kEnough) return;
  network.findings().Add(Kind::kLengthsZero,
                         {network.links.front().file, 0, network.columns().length, 0}, "%lld links",
                         static_cast<long long>(links));
  network.findings().Hide({Kind::kLengthEmpty});
  // Lengths below a metre, such as kilometres, are told by their unit.
  if (std::none_of(network.links.begin(), network.links.end(),
                   [](const CheckedLink& link) { return link.written_length > 0; })) {
    HideLengths(network.findings());
  }
}

}  // namespace

void ShapeEnds::AddMissed(Place place, Offset offset) {
  if (missed++ == 0) first_missed = place;
  if (offsets.size() < kMaxOffsets) offsets.push_back(offset);
}

void LookAtNetwork(Network& network) {
  LookAtReferences(network);
  LookAtLengths(network);
  LookAtSpeeds(network);
}

namespace {

// How badly lengths of shapes fit those of the links: the middle of the ratios' logarithms, beside
// their own middle. Negative without lengths.
double Misfit(const Network& network, float CheckedLink::*measured) {
  constexpr size_t kSample = 16384;  // links
  std::vector<double> ratios;
  const size_t step = network.links.size() / kSample + 1;
  for (size_t i = 0; i < network.links.size(); i += step) {
    const CheckedLink& link = network.links[i];
    if (link.length < 20 || link.*measured <= 0) continue;
    ratios.push_back(std::log(link.*measured / link.length));
  }
  if (static_cast<int64_t>(ratios.size()) < kEnough) return -1;
  const auto middle = [&ratios] {
    const auto at = ratios.begin() + static_cast<std::ptrdiff_t>(ratios.size() / 2);
    std::nth_element(ratios.begin(), at, ratios.end());
    return *at;
  };
  const double centre = middle();
  for (double& ratio : ratios) ratio = std::fabs(ratio - centre);
  return middle();
}

// Which of nodes and shapes have longitude and latitude exchanged.
void ReportExchanged(Network& network, const ShapeEnds& ends) {
  Findings& findings = network.findings();
  const double as_is = Misfit(network, &CheckedLink::shape_length);
  const double exchanged = Misfit(network, &CheckedLink::swapped_length);
  const std::string share = Of(ends.swapped, ends.checked);
  if (as_is < 0 || std::max(as_is, exchanged) < 2 * std::min(as_is, exchanged) + 0.002) {
    findings.Add(Kind::kCoordSwapped, ends.first_swapped,
                 "the ends of %s shapes are their nodes with longitude and latitude exchanged",
                 share.c_str());
    return;
  }
  const auto placed = std::find_if(network.nodes.begin(), network.nodes.end(),
                                   [](const CheckedNode& node) { return node.placed; });
  if (as_is < exchanged && placed != network.nodes.end()) {
    int64_t nodes = 0;
    for (const CheckedNode& node : network.nodes) nodes += node.placed ? 1 : 0;
    findings.Add(Kind::kCoordExchanged, {placed->place_file, 0, 0, 0},
                 "%lld nodes; the shapes in %s are right: they are as long as their links",
                 static_cast<long long>(nodes), findings.PathOf(ends.first_swapped.file).c_str());
  } else {
    findings.Add(
        Kind::kCoordExchanged, {ends.first_swapped.file, 0, 0, 0},
        "%s shapes; the nodes are right: read like them, shapes are as long as their links",
        share.c_str());
  }
  findings.Hide({Kind::kCoordSwapped, Kind::kCoordFar, Kind::kShapeEnds});
  HideLengths(findings);
}

// Shapes that all lie beside the nodes by the same way.
void ReportShifted(Network& network, const ShapeEnds& ends) {
  using Offset = ShapeEnds::Offset;
  constexpr double kMetresOfDegree = 0.1112;  // metres of a millionth of a degree
  const auto middle = [&](int32_t Offset::*axis) {
    std::vector<int32_t> values;
    for (const Offset& offset : ends.offsets) values.push_back(offset.*axis);
    const auto at = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), at, values.end());
    return *at;
  };
  const int32_t x = middle(&Offset::x);
  const int32_t y = middle(&Offset::y);
  constexpr double kLeast = 5;  // millionths: less is rounding
  const double size = std::hypot(x, y);
  if (size < kLeast) return;
  const double tolerance = std::max(kLeast, size / 5);
  const auto alike =
      std::count_if(ends.offsets.begin(), ends.offsets.end(), [&](const Offset& offset) {
        return std::hypot(double{1} * offset.x - x, double{1} * offset.y - y) <= tolerance;
      });
  if (static_cast<size_t>(alike) * 10 < ends.offsets.size() * 8) return;
  network.findings().Add(Kind::kCoordShifted, {ends.first_missed.file, 0, 0, 0},
                         "by %.6f, %.6f degrees, some %.0f metres, in %s shapes", x / 1e6, y / 1e6,
                         size * kMetresOfDegree, Of(ends.missed, ends.checked).c_str());
  network.findings().Hide({Kind::kShapeEnds});
}

// Nodes and shapes that are exchanged alike: only the lengths of the links tell.
void LookForAllExchanged(Network& network) {
  constexpr double kFits = 0.02;
  const double as_is = Misfit(network, &CheckedLink::shape_length);
  const double exchanged = Misfit(network, &CheckedLink::swapped_length);
  if (as_is < 0 || exchanged > kFits || as_is < 3 * exchanged + kFits) return;
  const auto placed = std::find_if(network.nodes.begin(), network.nodes.end(),
                                   [](const CheckedNode& node) { return node.placed; });
  if (placed == network.nodes.end()) return;
  network.findings().Add(
      Kind::kCoordExchanged, {placed->place_file, 0, 0, 0},
      "and in the shapes too: with the two exchanged, shapes are as long as their "
      "links");
  HideLengths(network.findings());
}

}  // namespace

void LookAtEnds(Network& network, const ShapeEnds& ends) {
  if (ends.swapped > 0) {
    ReportExchanged(network, ends);
  } else {
    LookForAllExchanged(network);
  }
  if (ends.missed >= kEnough && ends.missed * 10 >= ends.checked * 8) ReportShifted(network, ends);
}

void LookAtMissingShapes(Network& network) {
  int64_t links = 0;
  int64_t missing = 0;
  int64_t behind = 0;  // links behind the first one without a shape
  const CheckedLink* first = nullptr;
  for (const CheckedLink& link : network.links) {
    if (link.code.IsEmpty()) continue;
    ++links;
    const bool lacks = (link.marks & kHasShape) == 0;
    if (lacks && first == nullptr) first = &link;
    if (first != nullptr) ++behind;
    if (lacks) ++missing;
  }
  if (missing < 2 * kEnough || missing * 20 < links || missing == links ||
      missing * 10 < behind * 9) {
    return;
  }
  network.findings().Add(Kind::kShapesCut, network.PlaceOf(*first, 0),
                         "from link %s on %lld of %lld links have none",
                         network.TextOf(first->code).c_str(), static_cast<long long>(missing),
                         static_cast<long long>(links));
  network.findings().Hide({Kind::kShapeMissing});
}

}  // namespace zatmap::check
