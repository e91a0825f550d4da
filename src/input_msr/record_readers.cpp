#include "input_msr/record_readers.h"

namespace zatlib {
namespace {

using enum FieldKind;

constexpr uint32_t kTukoujLineSize = 512;
constexpr uint32_t kCityFactor = 1000;

// Columns are counted from 1 in all tables.
constexpr SourceLayout kDrotenLayout = {
    {1, kArea, 0},
    {2, kAreaCode, offsetof(NodeStoreRecord, NodeCode)},
    {3, kWord, offsetof(NodeStoreRecord, NodeAttrWord)},
    {4, kPartnerArea, 0},
    {5, kPartnerCode, offsetof(NodeStoreRecord, PartnerCode)},
    {8, kAreaCode, offsetof(NodeStoreRecord, ConnLinkCode)},
    {9, kAreaCode, offsetof(NodeStoreRecord, ConnLinkCode) + 8},
    {10, kAreaCode, offsetof(NodeStoreRecord, ConnLinkCode) + 16},
    {11, kAreaCode, offsetof(NodeStoreRecord, ConnLinkCode) + 24},
    {12, kAreaCode, offsetof(NodeStoreRecord, ConnLinkCode) + 32},
    {13, kAreaCode, offsetof(NodeStoreRecord, ConnLinkCode) + 40},
    {14, kAreaCode, offsetof(NodeStoreRecord, ConnLinkCode) + 48},
    {15, kAreaCode, offsetof(NodeStoreRecord, ConnLinkCode) + 56}};

constexpr SourceLayout kNodeNameLayout = {{1, kArea, 0},
                                          {2, kAreaCode, offsetof(NameStoreRecord, Code)},
                                          {3, kWord, offsetof(NameStoreRecord, NodeValue)},
                                          {6, kName, offsetof(NameStoreRecord, Name)}};

// Later columns of a road section are not looked at, so they may be longer than a field.
constexpr SourceLayout kDkukanLayout = {{{1, kAreaCode, offsetof(LinkStoreRecord, LinkCode)},
                                         {2, kWord, offsetof(LinkStoreRecord, RoadKind)},
                                         {3, kArea, 0},
                                         {4, kLong, offsetof(LinkStoreRecord, CityCode)},
                                         {5, kWord, offsetof(LinkStoreRecord, Value3)},
                                         {6, kWord, offsetof(LinkStoreRecord, Value4)},
                                         {7, kWord, offsetof(LinkStoreRecord, Value5)},
                                         {8, kAreaCode, offsetof(LinkStoreRecord, NodeA)},
                                         {9, kAreaCode, offsetof(LinkStoreRecord, NodeB)},
                                         {10, kWord, offsetof(LinkStoreRecord, Value6)},
                                         {11, kSpeedA, offsetof(LinkStoreRecord, SpeedA)},
                                         {12, kSpeedB, offsetof(LinkStoreRecord, SpeedB)},
                                         {13, kWord, offsetof(LinkStoreRecord, RoadFlag)}},
                                        false};

constexpr SourceLayout kKukanzLayout = {{1, kArea, 0},
                                        {2, kFullCode, offsetof(NameStoreRecord, Code)},
                                        {3, kByte, offsetof(NameStoreRecord, LinkNumber)},
                                        {4, kName, offsetof(NameStoreRecord, Name)},
                                        {5, kWord, offsetof(NameStoreRecord, LinkValue)}};

constexpr SourceLayout kTukoujLayout = {{1, kArea, 0},
                                        {2, kAreaCode, offsetof(RuleStoreRecord, NodeCode)},
                                        {3, kAreaCode, offsetof(RuleStoreRecord, InLink)},
                                        {4, kAreaCode, offsetof(RuleStoreRecord, OutLink)},
                                        {5, kWord, offsetof(RuleStoreRecord, Kind)}};

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
    record->CityCode += static_cast<uint32_t>(areas.area) * kCityFactor;
  }
  return 1;
}

int BRN_MSR_ReadKukanzRecord(LineReader& file, NameStoreRecord* record, int code_length) {
  return ReadSourceRecord<kKukanzLayout>(file, {code_length}, record);
}

int BRN_MSR_ReadTukoujRecord(LineReader& file, RuleStoreRecord* record, int code_length) {
  LineAreas areas;
  const SourceRules rules = {code_length, {0, 0}, kTukoujLineSize};
  if (ReadSourceRecord<kTukoujLayout>(file, rules, record, &areas) == 0) return 0;
  // A code that is 0 has been left 0.
  const bool valid = areas.area >= 1 && record->NodeCode.bits != 0 && record->InLink.bits != 0 &&
                     record->OutLink.bits != 0;
  return valid ? 1 : 0;
}

}  // namespace zatlib
