#include "check/network.h"

#include <algorithm>

#include "network/connection_cost.h"
#include "network/network_files.h"

namespace zatmap::check {
namespace {

using zatlib::FeatureCode;
using zatlib::KeyedRecord;
using zatlib::kSlots;

constexpr int64_t kMargin = 10000;  // millionths of a degree around nodes that lie close together
constexpr int64_t kSpread = 10;     // how many times the middle half's width counts as near
constexpr size_t kEnoughNodes = 5;  // fewer say nothing about where the map lies

// Whether an open connection of this length and speed costs as much as a closed one.
bool Saturates(uint16_t length, uint16_t speed, int limit) {
  return speed != 0 && zatlib::ConnectionCost(length, speed, limit) == zatlib::kClosedCost;
}

}  // namespace

template <typename Item>
void Network::Index(std::vector<Item>& items, int code_column, std::vector<KeyedRecord>* index,
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
  struct Pair {
    uint64_t nodes;
    uint32_t link;
  };
  std::vector<Pair> pairs;
  pairs.reserve(links.size());
  for (size_t i = 0; i < links.size(); ++i) {
    const CheckedLink& link = links[i];
    if (link.a < 0 || link.b < 0 || link.a == link.b) continue;
    const auto low = static_cast<uint64_t>(std::min(link.a, link.b));
    const auto high = static_cast<uint64_t>(std::max(link.a, link.b));
    pairs.push_back({low << 32 | high, static_cast<uint32_t>(i)});
  }
  std::sort(pairs.begin(), pairs.end(),
            [](const Pair& a, const Pair& b) { return a.nodes < b.nodes; });
  for (size_t i = 1; i < pairs.size(); ++i) {
    if (pairs[i].nodes != pairs[i - 1].nodes) continue;
    links[pairs[i].link].marks |= kParallel;
    links[pairs[i - 1].link].marks |= kParallel;
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

void Network::CheckReferences() {
  std::vector<uint32_t> degree(nodes.size());
  for (CheckedLink& link : links) {
    if (link.code.IsEmpty()) continue;
    link.a = FindNode(link.node_a);
    link.b = FindNode(link.node_b);
    for (const int end : {0, 1}) {
      const int32_t node = end == 0 ? link.a : link.b;
      if (node >= 0) {
        if (end == 0 || link.a != link.b) ++degree[static_cast<size_t>(node)];
      } else if (nodes_whole) {
        const FeatureCode code = end == 0 ? link.node_a : link.node_b;
        findings_.Add(Kind::kLinkNodeMissing,
                      PlaceOf(link, end == 0 ? columns_.node_a : columns_.node_b), "node %c %s",
                      end == 0 ? 'A' : 'B', code.IsEmpty() ? "0" : TextOf(code).c_str());
      }
    }
  }
  for (size_t i = 0; i < nodes.size(); ++i) {
    if (nodes[i].code.IsEmpty()) continue;
    CheckSlots(nodes[i], static_cast<int32_t>(i));
    if (degree[i] > static_cast<uint32_t>(kSlots)) {
      findings_.Add(Kind::kNodeLinksMany, PlaceOf(nodes[i], 0), "node %s has %u links",
                    TextOf(nodes[i].code).c_str(), degree[i]);
    } else if (degree[i] == 0 && links_whole) {
      findings_.Add(Kind::kNodeUnused, PlaceOf(nodes[i], 0), "node %s",
                    TextOf(nodes[i].code).c_str());
    }
  }
  for (const CheckedLink& link : links) {
    if (link.code.IsEmpty()) continue;
    for (const int end : {0, 1}) {
      const int32_t node = end == 0 ? link.a : link.b;
      const uint8_t mark = end == 0 ? kListedAtA : kListedAtB;
      // A node with more links than it can list is a finding already.
      if (node < 0 || (link.marks & mark) != 0 || (end == 1 && link.a == link.b) ||
          degree[static_cast<size_t>(node)] > static_cast<uint32_t>(kSlots)) {
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
  for (const CheckedLink& link : links) {
    if (link.code.IsEmpty()) continue;
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
  std::vector<int32_t> values;
  values.reserve(nodes.size());
  const auto middle_half = [&](auto value_of, int64_t* low, int64_t* high) {
    values.clear();
    for (const CheckedNode& node : nodes) {
      if (node.placed) values.push_back(value_of(node));
    }
    if (values.size() < kEnoughNodes) return;
    const size_t quarter = values.size() / 4;
    const auto at = [&](size_t position) {
      const auto place = values.begin() + static_cast<std::ptrdiff_t>(position);
      std::nth_element(values.begin(), place, values.end());
      return int64_t{*place};
    };
    const int64_t first = at(quarter);
    const int64_t last = at(values.size() - 1 - quarter);
    const int64_t margin = (last - first) * kSpread + kMargin;
    *low = first - margin;
    *high = last + margin;
  };
  middle_half([](const CheckedNode& node) { return node.x; }, &bounds_.low_x, &bounds_.high_x);
  middle_half([](const CheckedNode& node) { return node.y; }, &bounds_.low_y, &bounds_.high_y);
  for (const CheckedNode& node : nodes) {
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
