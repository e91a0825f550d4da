#include "input_zat/record_readers.h"

namespace zatlib {
namespace {

constexpr SourceLayout kNodeLayout = {zat::kNodes, &SourceColumn::record};
constexpr SourceLayout kNodeNameInNodeLayout = {zat::kNodes, &SourceColumn::name_record};
constexpr SourceLayout kNodeNameLayout = {zat::kNodeNames, &SourceColumn::record};
constexpr SourceLayout kNodeXYLayout = {zat::kNodePlaces, &SourceColumn::record};
constexpr SourceLayout kLinkLayout = {zat::kLinks, &SourceColumn::record};
constexpr SourceLayout kLinkNameInLinkLayout = {zat::kLinks, &SourceColumn::name_record};
constexpr SourceLayout kLinkNameLayout = {zat::kLinkNames, &SourceColumn::record};
constexpr SourceLayout kLinkSpeedLayout = {zat::kLinkSpeeds, &SourceColumn::record};
constexpr SourceLayout kNodeTrfLayout = {zat::kTurns, &SourceColumn::record};
constexpr SourceLayout kLinkTrfLayout = {zat::kOneWays, &SourceColumn::record};

}  // namespace

int BRN_ZAT_ReadNodeRecord(Lines& lines, NodeStoreRecord* record, int code_length) {
  return ReadSourceRecord<kNodeLayout>(lines, {code_length}, record);
}

int BRN_ZAT_ReadNodeNameFromNode(Lines& lines, NameStoreRecord* record, int code_length) {
  return ReadSourceRecord<kNodeNameInNodeLayout>(lines, {code_length}, record);
}

int BRN_ZAT_ReadNodeName(Lines& lines, NameStoreRecord* record, int code_length) {
  return ReadSourceRecord<kNodeNameLayout>(lines, {code_length}, record);
}

int BRN_ZAT_ReadNodeXY(Lines& lines, NodeXYRecord* record, int code_length) {
  return ReadSourceRecord<kNodeXYLayout>(lines, {code_length}, record);
}

int BRN_ZAT_ReadLinkRecord(Lines& lines, LinkStoreRecord* record, int code_length,
                           DefaultSpeeds defaults) {
  return ReadSourceRecord<kLinkLayout>(lines, {code_length, defaults}, record);
}

int BRN_ZAT_ReadLinkNameFromLink(Lines& lines, NameStoreRecord* record, int code_length) {
  return ReadSourceRecord<kLinkNameInLinkLayout>(lines, {code_length}, record);
}

int BRN_ZAT_ReadLinkName(Lines& lines, NameStoreRecord* record, int code_length) {
  return ReadSourceRecord<kLinkNameLayout>(lines, {code_length}, record);
}

int BRN_ZAT_ReadLinkSpeed(Lines& lines, LinkSpeedRecord* record, int code_length,
                          DefaultSpeeds defaults) {
  return ReadSourceRecord<kLinkSpeedLayout>(lines, {code_length, defaults}, record);
}

int BRN_ZAT_ReadNodeTrf(Lines& lines, RuleStoreRecord* record, int code_length) {
  return ReadSourceRecord<kNodeTrfLayout>(lines, {code_length}, record);
}

int BRN_ZAT_ReadLinkTrf(Lines& lines, OneWayStoreRecord* record, int code_length) {
  return ReadSourceRecord<kLinkTrfLayout>(lines, {code_length}, record);
}

}  // namespace zatlib
