#include "check/lengths.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

#include "check/distance.h"

namespace zatmap::check {
namespace {

constexpr double kShort = 20;      // metres; of shorter links whole metres say too little
constexpr size_t kEnough = 20;     // links; fewer say nothing about what lengths are meant to be
constexpr size_t kSample = 16384;  // links that the factor is taken from

// A factor is common when the middle half of the links agree about it. Shapes and the lengths made
// of them agree within a few percent, lengths and the distance of nodes within a third.
constexpr double kSame = 1.05;
constexpr double kSimilar = 1.6;

constexpr double kOdd = 2;         // times too long or too short
constexpr double kOddMetres = 50;  // and by so much
constexpr double kWinding = 5;     // times the distance of its nodes, of a link without a shape
constexpr double kWindingMetres = 1000;
constexpr int64_t kManyPercent = 10;  // of all links, that are odd

struct Unit {
  double factor;  // of metres
  const char* name;
};
constexpr Unit kUnits[] = {{0.001, "kilometres"},
                           {0.000621371, "miles"},
                           {0.1, "tens of metres"},
                           {0.01, "hundreds of metres"},
                           {10, "decimetres"},
                           {100, "centimetres"},
                           {1000, "millimetres"},
                           {3.28084, "feet"},
                           {1.09361, "yards"},
                           {360 / 40030174.0, "degrees"},
                           {360e6 / 40030174.0, "millionths of a degree"}};

// What a link measures, 0 when that is unknown. `*along_shape` tells whether it is its shape.
double Measured(const Network& network, const CheckedLink& link, bool* along_shape) {
  *along_shape = link.shape_length > 0;
  if (*along_shape) return double{link.shape_length};
  if (link.a < 0 || link.b < 0 || (link.marks & kHasShape) != 0) return 0;
  const CheckedNode& a = network.nodes[static_cast<size_t>(link.a)];
  const CheckedNode& b = network.nodes[static_cast<size_t>(link.b)];
  if (!a.placed || !b.placed || !network.IsNear(a.x, a.y) || !network.IsNear(b.x, b.y)) return 0;
  return Metres(a.x, a.y, b.x, b.y);
}

// How the lengths are to what the links measure.
struct Factor {
  double middle = 1;
  double spread = 0;  // of the middle half, its upper end through its lower
  int64_t links = 0;  // that it was taken from
  int64_t seen = 0;   // links with a length, few or many
  int64_t zeros = 0;  // and those of length 0
  const CheckedLink* first = nullptr;
  double first_measured = 0;
  const CheckedLink* first_zero = nullptr;
};

Factor FindFactor(const Network& network) {
  Factor factor;
  std::vector<double> ratios;
  const size_t step = network.links.size() / kSample + 1;
  for (size_t i = 0; i < network.links.size(); i += step) {
    const CheckedLink& link = network.links[i];
    bool along_shape = false;
    if (link.code.IsEmpty()) continue;
    const double measured = Measured(network, link, &along_shape);
    if (measured < kShort) continue;
    if (!(link.written_length > 0)) {
      ++factor.zeros;
      if (factor.first_zero == nullptr) factor.first_zero = &link;
      continue;
    }
    if (factor.first == nullptr) {
      factor.first = &link;
      factor.first_measured = measured;
    }
    ratios.push_back(double{link.written_length} / measured);
  }
  factor.seen = static_cast<int64_t>(ratios.size());
  if (ratios.size() < kEnough) return factor;
  std::sort(ratios.begin(), ratios.end());
  const size_t quarter = ratios.size() / 4;
  factor.middle = ratios[ratios.size() / 2];
  factor.spread = ratios[ratios.size() - 1 - quarter] / ratios[quarter];
  factor.links = static_cast<int64_t>(ratios.size());
  return factor;
}

// What lengths of such a factor are; null when no unit is near.
const char* UnitName(const Network& network, const Factor& factor) {
  const char* name = nullptr;
  double nearest = factor.spread < kSame ? 1.02 : 1.3;
  const auto look_at = [&](double wanted, const char* unit) {
    const double off = std::max(factor.middle / wanted, wanted / factor.middle);
    if (off >= nearest) return;
    nearest = off;
    name = unit;
  };
  for (const Unit& unit : kUnits) look_at(unit.factor, unit.name);
  // Flat maps of the world stretch everything by the latitude.
  const double latitude = network.nodes[static_cast<size_t>(factor.first->a)].y / 1e6;
  const double shrink = std::cos(std::min(std::abs(latitude), 80.0) * std::numbers::pi / 180);
  if (factor.spread < kSame) look_at(1 / shrink, "metres of a Mercator map");
  return name;
}

bool IsCommon(const Factor& factor) {
  if (factor.links == 0) return false;
  const double off = std::max(factor.middle, 1 / factor.middle);
  return (factor.spread < kSame && off > kSame) || (factor.spread < kSimilar && off > kSimilar);
}

bool IsOdd(double written, double measured, bool along_shape) {
  if (measured > kOdd * written + kOddMetres) return true;
  return along_shape ? written > kOdd * measured + kOddMetres
                     : written > kWinding * measured + kWindingMetres;
}

// Calls `tell(link, measured, along_shape)` for every link whose length does not fit.
template <typename Tell>
void ForEachOdd(const Network& network, const Tell& tell) {
  for (const CheckedLink& link : network.links) {
    if (link.code.IsEmpty()) continue;
    bool along_shape = false;
    const double measured = Measured(network, link, &along_shape);
    if (measured <= 0 || link.a == link.b) continue;
    if (IsOdd(double{link.written_length}, measured, along_shape))
      tell(link, measured, along_shape);
  }
}

void ReportOddLengths(const Network& network, int64_t links) {
  Findings& findings = network.findings();
  const int column = network.columns().length;
  int64_t odd = 0;
  const CheckedLink* first = nullptr;
  ForEachOdd(network, [&](const CheckedLink& link, double, bool) {
    if (odd++ == 0) first = &link;
  });
  if (odd * 100 > links * kManyPercent) {
    findings.Add(Kind::kLengthsMixed, {first->file, 0, column, 0},
                 "%lld of %lld links, first record %u", static_cast<long long>(odd),
                 static_cast<long long>(links), first->record);
    return;
  }
  if (odd == 0) return;
  ForEachOdd(network, [&](const CheckedLink& link, double measured, bool along_shape) {
    findings.Add(Kind::kLengthOdd, network.PlaceOf(link, column), "%g m, %s %.0f m",
                 double{link.written_length},
                 along_shape ? "its shape has" : "its nodes are apart by", measured);
  });
}

}  // namespace

bool CheckLengths(const Network& network) {
  const Factor factor = FindFactor(network);
  // Whole kilometres are mostly 0.
  const int64_t looked_at = factor.zeros + factor.seen;
  if (looked_at >= static_cast<int64_t>(kEnough) && factor.zeros > factor.seen) {
    const CheckedLink& zero = *factor.first_zero;
    network.findings().Add(Kind::kLengthUnit, {zero.file, 0, network.columns().length, 0},
                           "0 in %lld of %lld links that measure %.0f m or more, first record %u",
                           static_cast<long long>(factor.zeros), static_cast<long long>(looked_at),
                           kShort, zero.record);
    return false;
  }
  if (!IsCommon(factor)) {
    const auto links = static_cast<int64_t>(
        std::count_if(network.links.begin(), network.links.end(),
                      [](const CheckedLink& link) { return !link.code.IsEmpty(); }));
    if (links >= static_cast<int64_t>(kEnough)) ReportOddLengths(network, links);
    return true;
  }
  const char* const unit = UnitName(network, factor);
  const CheckedLink& first = *factor.first;
  network.findings().Add(Kind::kLengthUnit, {first.file, 0, network.columns().length, 0},
                         "%.3g times what the links measure%s%s; record %u says %g for %.0f m",
                         factor.middle, unit == nullptr ? "" : ", like ",
                         unit == nullptr ? "" : unit, first.record, double{first.written_length},
                         factor.first_measured);
  return false;
}

}  // namespace zatmap::check
