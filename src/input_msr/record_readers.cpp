#include "input_msr/record_readers.h"

namespace zatlib {
namespace {

constexpr SourceLayout kDrotenLayout = {msr::kPoints, &SourceColumn::record};
constexpr SourceLayout kNodeNameLayout = {msr::kPoints, &SourceColumn::name_record};
constexpr SourceLayout kDkukanLayout = {msr::kSections, &SourceColumn::record};
constexpr SourceLayout kKukanzLayout = {msr::kSectionNames, &SourceColumn::record};
constexpr SourceLayout kTukoujLayout = {msr::kConditions, &SourceColumn::record};

}  // namespace

int BRN_MSR_ReadDrotenRecord(LineReader& file, NodeStoreRecord* record, int code_length) {
  return ReadSourceRecord<kDrotenLayout>(file, {code_length}, record);
}

int BRN_MSR_ReadNodeName(LineReader& file, NameStoreRecord* record, int code_length) {
  return ReadSourceRecord<kNodeNameLayout>(file, {code_length}, record);
}

int BRN_MSR_ReadDkukanRecord(LineReader& file, LinkStoreRecord* record, int code_length,
                             DefaultSpeeds defaults) {
  LineAreas areas;
  if (ReadSourceRecord<kDkukanLayout>(file, {code_length, defaults}, record, &areas) == 0) return 0;
  // Unsigned: a nonsense area number wraps.
  if (static_cast<int32_t>(record->CityCode) >= 1) {
    record->CityCode += static_cast<uint32_t>(areas.area) * uint32_t{msr::kCitiesOfArea};
  }
  return 1;
}

int BRN_MSR_ReadKukanzRecord(LineReader& file, NameStoreRecord* record, int code_length) {
  return ReadSourceRecord<kKukanzLayout>(file, {code_length}, record);
}

int BRN_MSR_ReadTukoujRecord(LineReader& file, RuleStoreRecord* record, int code_length) {
  LineAreas areas;
  const SourceRules rules = {code_length, {0, 0}, msr::kConditions.line_size};
  if (ReadSourceRecord<kTukoujLayout>(file, rules, record, &areas) == 0) return 0;
  // A code that is 0 has been left 0.
  const bool valid = areas.area >= 1 && record->NodeCode.bits != 0 && record->InLink.bits != 0 &&
                     record->OutLink.bits != 0;
  return valid ? 1 : 0;
}

}  // namespace zatlib
