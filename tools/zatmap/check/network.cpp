#include "check/network.h"

#include <algorithm>
#include <array>
#include <atomic>

#include "frd/parallel.h"
#include "network/connection_cost.h"
#include "network/network_files.h"

namespace zatmap::check {
namespace {

using zatlib::FeatureCode;
using zatlib::KeyedRecord;
using zatlib::kSlots;

constexpr int64_t kRange = 1 << 14;  // links that a thread looks at at a time
constexpr int64_t kMargin = 10000;   // millionths of a degree around nodes that lie close together
constexpr int64_t kSpread = 10;      // how many times the middle half's width counts as near
constexpr size_t kEnoughNodes = 5;   // fewer say nothing about where the map lies

// Whether an open connection of this length and speed costs as much as a closed one.
bool Saturates(uint16_t length, uint16_t speed, int limit) {
  return speed != 0 && zatlib::ConnectionCost(length, speed, limit) == zatlib::kClosedCost;
}

// The value that would stand at a position if all were sorted.
int64_t ValueAt(const std::vector<int32_t>& values, size_t position) {
  constexpr int kBuckets = 4096;
  const auto [low, high] = std::minmax_element(values.begin(), values.end());
  const int64_t first = *low;
  const int64_t width = (*high - first) / kBuckets + 1;
  const auto bucket_of = [&](int32_t value) {
    return static_cast<size_t>((value - first) / width);
  };
  std::array<size_t, kBuckets> counts{};
  for (const int32_t value : values) ++counts[bucket_of(value)];
  size_t bucket = 0;
  for (; position >= counts[bucket]; ++bucket) position -= counts[bucket];
  std::vector<int32_t> within;
  within.reserve(counts[bucket]);
  for (const int32_t value : values) {
    if (bucket_of(value) == bucket) within.push_back(value);
  }
  const auto place = within.begin() + static_cast<std::ptrdiff_t>(position);
  std::nth_element(within.begin(), place, within.end());
  return *place;
}

// Where the middle half of the values lies, and around it.
void FindBounds(const std::vector<int32_t>& values, int64_t* low, int64_t* high) {
  const size_t quarter = values.size() / 4;
  const int64_t first = ValueAt(values, quarter);
  const int64_t last = ValueAt(values, values.size() - 1 - quarter);
  const int64_t margin = (last - first) * kSpread + kMargin;
  *low = first - margin;
  *high = last + margin;
}

}  // namespace

template <typename Item>
void Network::Index(PageVector<Item>& items, int code_column, std::vector<KeyedRecord>* index,
                    zatlib::CodeLookup* lookup) {
  const double reserved = zatlib::DummyLinkCode(0, code_length_).AsDouble();
  index->reserve(items.size());
  for (size_t i = 0; i < items.size(); ++i) {
    const Item& item = items[i];
    if (item.code.IsEmpty()) continue;
    index->push_back({item.code.AsDouble(), static_cast<int32_t>(i), 0});
    if (item.code.AsDouble() >= reserved) {
      findings_.Add(Kind::kCodeReserved, PlaceOf(item, code_column), "%s",
                    TextOf(item.code).c_str());
    }
  }
  const auto before = [](const KeyedRecord& a, const KeyedRecord& b) {
    return a.key < b.key || (a.key == b.key && a.value < b.value);
  };
  if (!std::is_sorted(index->begin(), index->end(), before)) {
    std::sort(index->begin(), index->end(), before);
  }
  size_t kept = 0;
  for (size_t i = 0; i < index->size(); ++i) {
    const KeyedRecord entry = (*index)[i];
    if (kept == 0 || entry.key != (*index)[kept - 1].key) {
      (*index)[kept++] = entry;
      continue;
    }
    // From here on the second one is not there: what it says of others is not to be doubled.
    Item& item = items[static_cast<size_t>(entry.value)];
    const Item& first = items[static_cast<size_t>((*index)[kept - 1].value)];
    findings_.Add(Kind::kCodeTwice, PlaceOf(item, code_column), "%s, first at %s:%u",
                  TextOf(item.code).c_str(), findings_.PathOf(first.file).c_str(), first.record);
    item.code = {};
  }
  index->resize(kept);
  lookup->Build(index->data(), static_cast<int64_t>(index->size()));
}

bool Network::IndexNodes() {
  Index(nodes, columns_.node_code, &node_index_, &node_lookup_);
  return !node_index_.empty();
}

bool Network::IndexLinks() {
  Index(links, columns_.link_code, &link_index_, &link_lookup_);
  return !link_index_.empty();
}

int32_t Network::Find(const std::vector<KeyedRecord>& index, const zatlib::CodeLookup& lookup,
                      FeatureCode code) const {
  if (code.IsEmpty()) return -1;
  const int64_t found = lookup.Find(code.AsDouble());
  return found < 0 ? -1 : index[static_cast<size_t>(found)].value;
}

int32_t Network::FindNode(FeatureCode code) const { return Find(node_index_, node_lookup_, code); }
int32_t Network::FindLink(FeatureCode code) const { return Find(link_index_, link_lookup_, code); }

void Network::MarkParallelLinks() {
  // The links by the first of their nodes; there are few of each.
  struct Other {
    int32_t node;
    uint32_t link;
  };
  const auto joins = [](const CheckedLink& link) {
    return link.a >= 0 && link.b >= 0 && link.a != link.b;
  };
  std::vector<uint32_t> ends(nodes.size() + 1);
  for (const CheckedLink& link : links) {
    if (joins(link)) ++ends[static_cast<size_t>(std::min(link.a, link.b))];
  }
  uint32_t sum = 0;
  for (uint32_t& end : ends) sum = end += sum;
  std::vector<Other> others(sum);
  for (size_t i = links.size(); i-- > 0;) {
    const CheckedLink& link = links[i];
    if (!joins(link)) continue;
    others[--ends[static_cast<size_t>(std::min(link.a, link.b))]] = {std::max(link.a, link.b),
                                                                     static_cast<uint32_t>(i)};
  }
  for (size_t node = 0; node < nodes.size(); ++node) {
    const auto begin = others.begin() + ends[node];
    const auto end = others.begin() + ends[node + 1];
    if (end - begin < 2) continue;
    std::sort(begin, end, [](const Other& x, const Other& y) { return x.node < y.node; });
    for (auto other = begin + 1; other < end; ++other) {
      if (other->node != other[-1].node) continue;
      links[other->link].marks |= kParallel;
      links[other[-1].link].marks |= kParallel;
    }
  }
}

// The links that a node lists.
void Network::CheckSlots(CheckedNode& node, int32_t number) {
  for (int slot = 0; slot < kSlots; ++slot) {
    const FeatureCode code = node.links[slot];
    if (code.IsEmpty()) continue;
    const int column = columns_.links + slot;
    const int32_t found = FindLink(code);
    if (found < 0) {
      if (links_whole) {
        findings_.Add(Kind::kNodeLinkMissing, PlaceOf(node, column), "%s", TextOf(code).c_str());
      }
      continue;
    }
    CheckedLink& link = links[static_cast<size_t>(found)];
    const bool at_a = link.node_a == node.code;
    const bool at_b = link.node_b == node.code;
    if (at_a) link.marks |= kListedAtA;
    if (at_b) link.marks |= kListedAtB;
    if (!at_a && !at_b) {
      // A link without its nodes is left out of the map before anybody looks where it ends.
      if (link.a >= 0 && link.b >= 0) {
        findings_.Add(Kind::kNodeLinkOther, PlaceOf(node, column), "link %s at %s:%u",
                      TextOf(code).c_str(), findings_.PathOf(link.file).c_str(), link.record);
      }
      continue;
    }
    if (at_a && at_b) continue;
    for (int other = 0; other < slot; ++other) {
      if (node.links[other] == code) {
        findings_.Add(Kind::kNodeLinkTwice, PlaceOf(node, column), "link %s", TextOf(code).c_str());
        break;
      }
    }
  }
  if (node.partner.IsEmpty()) return;
  const int32_t partner = FindNode(node.partner);
  if (partner < 0) {
    if (nodes_whole) {
      findings_.Add(Kind::kPartnerMissing, PlaceOf(node, columns_.partner), "%s",
                    TextOf(node.partner).c_str());
    }
  } else if (partner == number) {
    findings_.Add(Kind::kPartnerMissing, PlaceOf(node, columns_.partner), "%s is the node itself",
                  TextOf(node.partner).c_str());
  } else if (std::none_of(node.links, node.links + kSlots,
                          [](FeatureCode code) { return code.IsEmpty(); })) {
    findings_.Add(Kind::kPartnerFull, PlaceOf(node, columns_.partner), "partner %s",
                  TextOf(node.partner).c_str());
  }
}

Network::Seen Network::FindEnds(std::vector<Degree>* degrees) {
  std::atomic<bool> missing = false;
  std::atomic<bool> unlisted = false;
  const auto add = [&](const CheckedLink& link, int32_t node) {
    const CheckedNode& at = nodes[static_cast<size_t>(node)];
    const bool listed = std::find(at.links, at.links + kSlots, link.code) != at.links + kSlots;
    Degree& degree = (*degrees)[static_cast<size_t>(node)];
    std::atomic_ref(degree.links).fetch_add(1, std::memory_order_relaxed);
    if (listed) std::atomic_ref(degree.listed).fetch_add(1, std::memory_order_relaxed);
    return listed;
  };
  zatlib::Workers workers;
  workers.RunRanges(static_cast<int64_t>(links.size()), kRange, [&](int64_t begin, int64_t end) {
    for (int64_t i = begin; i < end; ++i) {
      CheckedLink& link = links[static_cast<size_t>(i)];
      if (link.code.IsEmpty()) continue;
      link.a = FindNode(link.node_a);
      link.b = FindNode(link.node_b);
      const bool at_a = link.a >= 0 && add(link, link.a);
      const bool at_b = link.b >= 0 && (link.b == link.a ? at_a : add(link, link.b));
      if (at_a) link.marks |= kListedAtA;
      if (at_b) link.marks |= kListedAtB;
      if (link.a < 0 || link.b < 0) missing = true;
      if (!at_a || !at_b) unlisted = true;
    }
  });
  return {missing, unlisted};
}

bool Network::IsInOrder(const CheckedNode& node, const Degree& degree) const {
  const auto empty = std::count_if(node.links, node.links + kSlots,
                                   [](FeatureCode code) { return code.IsEmpty(); });
  // As many links that end here and are listed as entries: each entry is another one of them.
  return kSlots - empty == int64_t{degree.listed} && node.partner.IsEmpty() &&
         degree.links <= uint32_t{kSlots} && (degree.links > 0 || !links_whole);
}

void Network::CheckReferences() {
  std::vector<Degree> degrees(nodes.size());
  const Seen seen = FindEnds(&degrees);
  for (const CheckedLink& link : links) {
    if (!seen.missing || !nodes_whole) break;
    if (link.code.IsEmpty()) continue;
    for (const int end : {0, 1}) {
      if ((end == 0 ? link.a : link.b) >= 0) continue;
      const FeatureCode code = end == 0 ? link.node_a : link.node_b;
      findings_.Add(Kind::kLinkNodeMissing,
                    PlaceOf(link, end == 0 ? columns_.node_a : columns_.node_b), "node %c %s",
                    end == 0 ? 'A' : 'B', code.IsEmpty() ? "0" : TextOf(code).c_str());
    }
  }
  for (size_t i = 0; i < nodes.size(); ++i) {
    const uint32_t degree = degrees[i].links;
    if (nodes[i].code.IsEmpty() || IsInOrder(nodes[i], degrees[i])) continue;
    CheckSlots(nodes[i], static_cast<int32_t>(i));
    if (degree > static_cast<uint32_t>(kSlots)) {
      findings_.Add(Kind::kNodeLinksMany, PlaceOf(nodes[i], 0), "node %s has %u links",
                    TextOf(nodes[i].code).c_str(), degree);
    } else if (degree == 0 && links_whole) {
      findings_.Add(Kind::kNodeUnused, PlaceOf(nodes[i], 0), "node %s",
                    TextOf(nodes[i].code).c_str());
    }
  }
  for (const CheckedLink& link : links) {
    if (!seen.unlisted) break;
    if (link.code.IsEmpty()) continue;
    for (const int end : {0, 1}) {
      const int32_t node = end == 0 ? link.a : link.b;
      const uint8_t mark = end == 0 ? kListedAtA : kListedAtB;
      // A node with more links than it can list is a finding already.
      if (node < 0 || (link.marks & mark) != 0 || (end == 1 && link.a == link.b) ||
          degrees[static_cast<size_t>(node)].links > static_cast<uint32_t>(kSlots)) {
        continue;
      }
      const CheckedNode& at = nodes[static_cast<size_t>(node)];
      findings_.Add(Kind::kLinkNotListed,
                    PlaceOf(link, end == 0 ? columns_.node_a : columns_.node_b),
                    "node %s at %s:%u does not list link %s", TextOf(at.code).c_str(),
                    findings_.PathOf(at.file).c_str(), at.record, TextOf(link.code).c_str());
    }
  }
  MarkParallelLinks();
}

void Network::CheckCosts() {
  // Far below the limit in both directions, as nearly all links are.
  const auto is_cheap = [](const CheckedLink& link) {
    const uint32_t work = uint32_t{link.length} * 360;
    return work < 65000u * link.speed_a && work < 65000u * link.speed_b;
  };
  for (const CheckedLink& link : links) {
    if (is_cheap(link) || link.code.IsEmpty()) continue;
    const bool a = Saturates(link.length, link.speed_a, zatlib::kSpeedLimitA);
    const bool b = Saturates(link.length, link.speed_b, zatlib::kSpeedLimitB);
    if (a || b) {
      findings_.Add(Kind::kCostSaturated, PlaceOf(link, columns_.length), "%u m at %u km/h",
                    link.length, a ? link.speed_a : link.speed_b);
    }
    if (link.speed_a == 0 && (link.marks & kClosedOnA) == 0) {
      findings_.Add(Kind::kSpeedZero, PlaceOf(link, columns_.speed_a), "from A to B");
    }
    if (link.speed_b == 0 && (link.marks & kClosedOnB) == 0) {
      findings_.Add(Kind::kSpeedZero, PlaceOf(link, columns_.speed_b), "from B to A");
    }
  }
}

void Network::CheckPlaces() {
  std::vector<int32_t> values[2];
  for (std::vector<int32_t>& axis : values) axis.reserve(nodes.size());
  for (const CheckedNode& node : nodes) {
    if (!node.placed) continue;
    values[0].push_back(node.x);
    values[1].push_back(node.y);
  }
  if (values[0].size() >= kEnoughNodes) {
    FindBounds(values[0], &bounds_.low_x, &bounds_.high_x);
    FindBounds(values[1], &bounds_.low_y, &bounds_.high_y);
  }
  bool near = true;
  for (size_t i = 0; i < values[0].size(); ++i) near &= bounds_.Holds(values[0][i], values[1][i]);
  for (const CheckedNode& node : nodes) {
    if (near) break;
    if (node.placed) CheckPoint({node.place_file, node.place_record, 0, 0}, node.x, node.y);
  }
}

bool Network::CheckPoint(Place here, int32_t x, int32_t y) const {
  if (bounds_.Holds(x, y)) return true;
  findings_.Add(bounds_.Holds(y, x) ? Kind::kCoordSwapped : Kind::kCoordFar, here, "%.6f %.6f",
                x / 1e6, y / 1e6);
  return false;
}

}  // namespace zatmap::check
