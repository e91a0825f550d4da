// The plain rows of the MSR layouts: check/plain.h.
#pragma once

#include "check/plain_zat.h"

namespace zatmap::check {

bool TakePlainPoint(PlainRow& row, const PlainRules& rules, CheckedNode* node, PlainCounts* counts);
bool TakePlainSection(PlainRow& row, const PlainRules& rules, CheckedLink* link,
                      PlainCounts* counts);
bool TakePlainSectionName(PlainRow& row, const PlainRules& rules, PlainCounts* counts);
bool TakePlainCondition(PlainRow& row, const PlainRules& rules, CheckedTurn* turn);

}  // namespace zatmap::check
