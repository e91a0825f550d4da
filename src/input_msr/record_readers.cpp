#include "input_msr/record_readers.h"

namespace zatlib {
namespace {

constexpr SourceLayout kDrotenLayout = {msr::kPoints, &SourceColumn::record};
constexpr SourceLayout kNodeNameLayout = {msr::kPoints, &SourceColumn::name_record};
constexpr SourceLayout kDkukanLayout = {msr::kSections, &SourceColumn::record};
constexpr SourceLayout kKukanzLayout = {msr::kSectionNames, &SourceColumn::record};
constexpr SourceLayout kTukoujLayout = {msr::kConditions, &SourceColumn::record};

}  // namespace

int BRN_MSR_ReadDrotenRecord(Lines& lines, NodeStoreRecord* record, int code_length) {
  return ReadSourceRecord<kDrotenLayout>(lines, {code_length}, record);
}

int BRN_MSR_ReadNodeName(Lines& lines, NameStoreRecord* record, int code_length) {
  return ReadSourceRecord<kNodeNameLayout>(lines, {code_length}, record);
}

int BRN_MSR_ReadDkukanRecord(Lines& lines, LinkStoreRecord* record, int code_length,
                             DefaultSpeeds defaults) {
  LineAreas areas;
  if (ReadSourceRecord<kDkukanLayout>(lines, {code_length, defaults}, record, &areas) == 0)
    return 0;
  // Unsigned: a nonsense area number wraps.
  if (static_cast<int32_t>(record->CityCode) >= 1) {
    record->CityCode += static_cast<uint32_t>(areas.area) * uint32_t{msr::kCitiesOfArea};
  }
  return 1;
}

int BRN_MSR_ReadKukanzRecord(Lines& lines, NameStoreRecord* record, int code_length) {
  return ReadSourceRecord<kKukanzLayout>(lines, {code_length}, record);
}

int BRN_MSR_ReadTukoujRecord(Lines& lines, RuleStoreRecord* record, int code_length) {
  LineAreas areas;
  const SourceRules rules = {code_length, {0, 0}, msr::kConditions.line_size};
  if (ReadSourceRecord<kTukoujLayout>(lines, rules, record, &areas) == 0) return 0;
  // A code that is 0 has been left 0.
  const bool valid = areas.area >= 1 && record->NodeCode.bits != 0 && record->InLink.bits != 0 &&
                     record->OutLink.bits != 0;
  return valid ? 1 : 0;
}

}  // namespace zatlib
