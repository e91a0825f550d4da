#include "check/plain_msr.h"

#include "input_msr/layouts.h"
#include "network/workstore/work_stores.h"

namespace zatmap::check {
namespace {

using zatlib::FeatureCode;

namespace msr = zatlib::msr;

// Digits of a number within an area: those that its codes keep apart, or that a double holds.
constexpr int kDecimalDigits = 12;
constexpr int kIntegerDigits = 15;

template <const zatlib::SourceTable& kTable, int kColumn>
int32_t Number(PlainRow& row, int32_t absent = 0) {
  constexpr zatlib::ValueRange kRange = kTable[kColumn].range;
  return row.Number(kRange, absent);
}

template <const zatlib::SourceTable& kTable>
bool Ends(PlainRow& row) {
  row.PassRest();
  constexpr int kNeeded = kTable.Needed();
  return row.good() && row.columns() >= kNeeded;
}

double WithinArea(PlainRow& row, int code_length) {
  return static_cast<double>(
      row.Whole(code_length == zatlib::kDecimalCode ? kDecimalDigits : kIntegerDigits));
}

// The code that an area and a number give; empty when the number is 0.
FeatureCode CodeOf(int32_t area, double number, int code_length) {
  return number == 0.0 ? FeatureCode{} : zatlib::ComposeCode(area, number, code_length);
}

}  // namespace

bool TakePlainPoint(PlainRow& row, const PlainRules& rules, CheckedNode* node,
                    PlainCounts* counts) {
  using msr::Droten;
  const int code_length = rules.network.code_length();
  *node = {};
  const int32_t area = Number<msr::kPoints, Droten::kArea>(row);
  const double number = WithinArea(row, code_length);
  if (area == 0 || number == 0.0) return false;
  node->code = CodeOf(area, number, code_length);
  Number<msr::kPoints, Droten::kAttribute>(row);
  const int32_t partner_area = Number<msr::kPoints, Droten::kPartnerArea>(row);
  node->partner = CodeOf(partner_area, WithinArea(row, code_length), code_length);
  row.Name(rules.names, counts);
  row.Text();
  for (FeatureCode& link : node->links) {
    link = CodeOf(area, WithinArea(row, code_length), code_length);
  }
  return Ends<msr::kPoints>(row);
}

bool TakePlainSection(PlainRow& row, const PlainRules& rules, CheckedLink* link, PlainCounts*) {
  using msr::Dkukan;
  const int code_length = rules.network.code_length();
  *link = {};
  const double number = WithinArea(row, code_length);
  if (Number<msr::kSections, Dkukan::kKind>(row) >= zatlib::kDummyRoadKind) return false;
  const int32_t area = Number<msr::kSections, Dkukan::kArea>(row);
  if (area == 0 || number == 0.0) return false;
  link->code = CodeOf(area, number, code_length);
  Number<msr::kSections, Dkukan::kCity>(row);
  const int32_t length = Number<msr::kSections, Dkukan::kLength>(row);
  if (length == 0) return false;  // it may be empty
  link->length = static_cast<uint16_t>(length);
  link->written_length = static_cast<float>(length);
  Number<msr::kSections, Dkukan::kValue4>(row);
  Number<msr::kSections, Dkukan::kValue5>(row);
  link->node_a = CodeOf(area, WithinArea(row, code_length), code_length);
  link->node_b = CodeOf(area, WithinArea(row, code_length), code_length);
  Number<msr::kSections, Dkukan::kValue6>(row);
  const int32_t a = Number<msr::kSections, Dkukan::kSpeedA>(row, kAbsent);
  const int32_t b = Number<msr::kSections, Dkukan::kSpeedB>(row, kAbsent);
  if ((a < 0 && a != kAbsent) || (b < 0 && b != kAbsent)) return false;
  SetPlainSpeeds(a, b, rules.defaults, link);
  Number<msr::kSections, Dkukan::kFlag>(row);
  return Ends<msr::kSections>(row);
}

bool TakePlainSectionName(PlainRow& row, const PlainRules& rules, PlainCounts* counts) {
  using msr::Kukanz;
  const int code_length = rules.network.code_length();
  const int32_t area = Number<msr::kSectionNames, Kukanz::kArea>(row);
  const double number = WithinArea(row, code_length);
  Number<msr::kSectionNames, Kukanz::kNameNumber>(row);
  const PlainRow at_name = row;
  if (!row.Text().empty()) {
    if (rules.network.FindLink(zatlib::ComposeCode(area, number, code_length)) < 0) return false;
    row = at_name;
    row.Name(rules.names, counts);
  }
  Number<msr::kSectionNames, Kukanz::kValue>(row);
  return Ends<msr::kSectionNames>(row);
}

bool TakePlainCondition(PlainRow& row, const PlainRules& rules, CheckedTurn* turn) {
  using msr::Tukouj;
  const int code_length = rules.network.code_length();
  const int32_t area = Number<msr::kConditions, Tukouj::kArea>(row);
  const double numbers[] = {WithinArea(row, code_length), WithinArea(row, code_length),
                            WithinArea(row, code_length)};
  const int32_t kind = Number<msr::kConditions, Tukouj::kKind>(row);
  if (!Ends<msr::kConditions>(row) || area == 0) return false;
  for (const double number : numbers) {
    if (number == 0.0) return false;
  }
  return FitsPlainTurn(rules.network, zatlib::ComposeCode(area, numbers[0], code_length),
                       zatlib::ComposeCode(area, numbers[1], code_length),
                       zatlib::ComposeCode(area, numbers[2], code_length), kind, turn);
}

}  // namespace zatmap::check
