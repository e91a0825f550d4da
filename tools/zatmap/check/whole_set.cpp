#include "check/whole_set.h"

#include <algorithm>
#include <tuple>
#include <vector>

#include "check/lengths.h"
#include "check/network_causes.h"
#include "check/reach.h"
#include "check/road_net.h"

namespace zatmap::check {
namespace {

// Fewer links say nothing about what is usual.
constexpr size_t kEnoughRecords = 20;

// A town has some hundred links; of fewer, equal speeds or one-way links alone may be meant so.
constexpr int64_t kEnoughLinks = 100;

constexpr int kFast = 200;        // km/h; no road is signed for more, and few databases say more
constexpr int kWalking = 20;      // km/h; towns have one link in ten that is so slow
constexpr int kSlow = 40;         // km/h; a network without a faster road is not one of km/h
constexpr int kUnitPercent = 30;  // of all directions; one column of two is half of them
constexpr int kMostlyPercent = 90;
constexpr int kOneWayPercent = 95;  // the middle of a city of one-way streets has 85

Place WholeFile(const CheckedLink& link, int column) { return {link.file, 0, column, 0}; }

// The first link that is there; null when none is.
const CheckedLink* FirstLink(const Network& network) {
  for (const CheckedLink& link : network.links) {
    if (!link.code.IsEmpty()) return &link;
  }
  return nullptr;
}

// What the speeds that are not 0 have in common. One direction is one speed.
struct Speeds {
  int64_t count = 0;
  int64_t fast = 0;
  int64_t walking = 0;
  int64_t odd_fives = 0;  // 5, 15, 25, ...
  uint16_t least = UINT16_MAX;
  uint16_t most = 0;

  void Add(uint16_t speed) {
    if (speed == 0) return;
    ++count;
    if (speed > kFast) ++fast;
    if (speed <= kWalking) ++walking;
    if (speed % 10 == 5) ++odd_fives;
    least = std::min(least, speed);
    most = std::max(most, speed);
  }
};

void ReportFastLinks(const Network& network) {
  const NetworkColumns& columns = network.columns();
  for (const CheckedLink& link : network.links) {
    if (link.code.IsEmpty()) continue;
    const bool a = link.speed_a > kFast;
    if (!a && link.speed_b <= kFast) continue;
    network.findings().Add(Kind::kSpeedHigh,
                           network.PlaceOf(link, a ? columns.speed_a : columns.speed_b), "%u km/h",
                           a ? link.speed_a : link.speed_b);
  }
}

void CheckSpeeds(const Network& network) {
  Speeds speeds;
  for (const CheckedLink& link : network.links) {
    if (link.code.IsEmpty()) continue;
    speeds.Add(link.speed_a);
    speeds.Add(link.speed_b);
  }
  const CheckedLink* const first = FirstLink(network);
  if (first == nullptr || speeds.count == 0) return;
  Findings& findings = network.findings();
  const Place here = WholeFile(*first, network.columns().speed_a);
  const auto percent = [&](int64_t part) { return part * 100 / speeds.count; };
  if (speeds.count >= kEnoughLinks && percent(speeds.fast) >= kUnitPercent) {
    findings.Add(Kind::kSpeedUnit, here, "%lld of %lld are above %d km/h, up to %u",
                 static_cast<long long>(speeds.fast), static_cast<long long>(speeds.count), kFast,
                 speeds.most);
    return;
  }
  if (speeds.fast > 0) ReportFastLinks(network);
  if (speeds.count < 2 * kEnoughLinks) return;
  if (speeds.least == speeds.most) {
    findings.Add(Kind::kSpeedsEqual, here, "%u km/h in %lld directions of links", speeds.most,
                 static_cast<long long>(speeds.count));
  } else if (speeds.most <= kSlow && percent(speeds.walking) >= kMostlyPercent) {
    findings.Add(Kind::kSpeedsLow, here,
                 "%lld of %lld are at most %d, none is above %u: like metres a second",
                 static_cast<long long>(speeds.walking), static_cast<long long>(speeds.count),
                 kWalking, speeds.most);
  } else if (percent(speeds.odd_fives) >= 50 && speeds.most <= 85) {
    findings.Add(Kind::kSpeedsLow, here,
                 "%lld of %lld end in 5, none is above %u: like miles an hour",
                 static_cast<long long>(speeds.odd_fives), static_cast<long long>(speeds.count),
                 speeds.most);
  }
}

void CheckOneWayShare(const Network& network, const RoadNet& net) {
  if (net.passable() < kEnoughLinks || net.one_way() * 100 < net.passable() * kOneWayPercent)
    return;
  const CheckedLink* const first = FirstLink(network);
  const uint32_t file = network.one_ways.empty() ? first->file : network.one_ways.front().file;
  network.findings().Add(Kind::kOneWayShare, {file, 0, 0, 0}, "%lld of %lld links",
                         static_cast<long long>(net.one_way()),
                         static_cast<long long>(net.passable()));
}

// The numbers of the rows by what `key` says of them, and in their order where it says the same.
template <typename Row, typename Key>
std::vector<uint32_t> SortedBy(const std::vector<Row>& rows, const Key& key) {
  std::vector<uint32_t> numbers(rows.size());
  for (size_t i = 0; i < numbers.size(); ++i) numbers[i] = static_cast<uint32_t>(i);
  const auto before = [&](uint32_t a, uint32_t b) {
    const auto left = key(rows[a]);
    const auto right = key(rows[b]);
    return left < right || (left == right && a < b);
  };
  if (!std::is_sorted(numbers.begin(), numbers.end(), before)) {
    std::sort(numbers.begin(), numbers.end(), before);
  }
  return numbers;
}

// Calls `compare(first, later)` for the first row of every key and each later one.
template <typename Row, typename Key, typename Compare>
void ForEachTwice(const std::vector<Row>& rows, const Key& key, const Compare& compare) {
  const Row* first = nullptr;
  for (const uint32_t number : SortedBy(rows, key)) {
    const Row& row = rows[number];
    if (first != nullptr && key(*first) == key(row)) {
      compare(*first, row);
    } else {
      first = &row;
    }
  }
}

void CheckTurns(const Network& network) {
  ForEachTwice(
      network.turns,
      [](const CheckedTurn& turn) { return std::tie(turn.node, turn.in_link, turn.out_link); },
      [&](const CheckedTurn& first, const CheckedTurn& later) {
        if (first.kind == later.kind) return;
        network.findings().Add(Kind::kRuleTwice, {later.file, later.record, 0, 0},
                               "kind %d, but %d at %s:%u", later.kind, first.kind,
                               network.findings().PathOf(first.file).c_str(), first.record);
      });
}

const char* DirectionText(const CheckedOneWay& row) {
  if (row.closes_a) return row.closes_b ? "both directions" : "from A to B";
  return row.closes_b ? "from B to A" : "nothing";
}

void CheckOneWays(const Network& network) {
  ForEachTwice(
      network.one_ways, [](const CheckedOneWay& row) { return row.link; },
      [&](const CheckedOneWay& first, const CheckedOneWay& later) {
        if (first.closes_a == later.closes_a && first.closes_b == later.closes_b) return;
        const bool against = first.closes_a != first.closes_b && later.closes_a != later.closes_b &&
                             first.closes_a != later.closes_a;
        const CheckedLink& link = network.links[static_cast<size_t>(first.link)];
        network.findings().Add(
            against ? Kind::kOneWayAgainst : Kind::kRuleTwice, {later.file, later.record, 0, 0},
            "link %s: closes %s, but %s at %s:%u", network.TextOf(link.code).c_str(),
            DirectionText(later), DirectionText(first),
            network.findings().PathOf(first.file).c_str(), first.record);
      });
}

}  // namespace

void CheckWholeSet(const Network& network) {
  CheckTurns(network);
  CheckOneWays(network);
  // Of records that are missing nothing can be told.
  if (!network.nodes_whole || !network.links_whole) return;
  if (network.links.size() < kEnoughRecords) return;
  const bool metres = CheckLengths(network);
  HideExplainedLengths(network);
  CheckSpeeds(network);
  const RoadNet net(network);
  CheckOneWayShare(network, net);
  // Links that are closed by a length of another unit, and nodes whose links do not come together,
  // have been told of.
  const auto links = static_cast<int64_t>(network.links.size());
  if (metres && net.links() * 100 >= links * kMostlyPercent) CheckReach(network, net);
}

}  // namespace zatmap::check
