// The plain rows of the ZAT layouts: check/plain.h.
#pragma once

#include <atomic>

#include "check/network.h"
#include "check/plain.h"
#include "input_zat/layouts.h"
#include "network/workstore/source_fields.h"

namespace zatmap::check {

// What rows are held to besides their layout, as it stands while threads look at rows.
struct PlainRules {
  const Network& network;
  NameRules names = {};
  zatlib::DefaultSpeeds defaults = {0, 0};
  bool names_in_nodes = false;  // node rows with names
  // Null, or until it is true a longitude in a node row is out of the ordinary.
  const std::atomic<bool>* x_reported = nullptr;
};

bool TakePlainNode(PlainRow& row, const PlainRules& rules, CheckedNode* node, PlainCounts* counts);
bool TakePlainLink(PlainRow& row, const PlainRules& rules, CheckedLink* link, PlainCounts* counts);

// A name of a node, in a .mid or a file of its own, or of a link.
bool TakePlainMidName(PlainRow& row, const PlainRules& rules, PlainCounts* counts);
bool TakePlainNodeName(PlainRow& row, const PlainRules& rules, PlainCounts* counts);
bool TakePlainLinkName(PlainRow& row, const PlainRules& rules, PlainCounts* counts);

// The coordinates of a node.
struct PlainPlace {
  int32_t node;
  int32_t x;
  int32_t y;
};
bool TakePlainPlace(PlainRow& row, const PlainRules& rules, PlainPlace* place);

// The speeds that a link gets.
struct PlainSpeeds {
  int32_t link;
  uint16_t a;
  uint16_t b;
  uint8_t marks;  // kClosedOnA, kClosedOnB
};
bool TakePlainSpeeds(PlainRow& row, const PlainRules& rules, PlainSpeeds* speeds);

// Turns and one-way rows, without their places.
bool TakePlainTurn(PlainRow& row, const PlainRules& rules, CheckedTurn* turn);
bool TakePlainOneWay(PlainRow& row, const PlainRules& rules, CheckedOneWay* one_way);

// Shared by both formats. A speed of a row is kAbsent behind the row's end.
inline constexpr int32_t kAbsent = INT32_MIN;
uint16_t PlainSpeed(int32_t speed, uint16_t default_speed);
void SetPlainSpeeds(int32_t a, int32_t b, zatlib::DefaultSpeeds defaults, CheckedLink* link);

// A turn between parts that are there and fit.
bool FitsPlainTurn(const Network& network, zatlib::FeatureCode node, zatlib::FeatureCode in_link,
                   zatlib::FeatureCode out_link, int32_t kind, CheckedTurn* turn);

}  // namespace zatmap::check
