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

int BRN_ZAT_ReadNodeRecord(LineReader& file, NodeStoreRecord* record, int code_length) {
  return ReadSourceRecord<kNodeLayout>(file, {code_length}, record);
}

int BRN_ZAT_ReadNodeNameFromNode(LineReader& file, NameStoreRecord* record, int code_length) {
  return ReadSourceRecord<kNodeNameInNodeLayout>(file, {code_length}, record);
}

int BRN_ZAT_ReadNodeName(LineReader& file, NameStoreRecord* record, int code_length) {
  return ReadSourceRecord<kNodeNameLayout>(file, {code_length}, record);
}

int BRN_ZAT_ReadNodeXY(LineReader& file, NodeXYRecord* record, int code_length) {
  return ReadSourceRecord<kNodeXYLayout>(file, {code_length}, record);
}

int BRN_ZAT_ReadLinkRecord(LineReader& file, LinkStoreRecord* record, int code_length,
                           DefaultSpeeds defaults) {
  return ReadSourceRecord<kLinkLayout>(file, {code_length, defaults}, record);
}

int BRN_ZAT_ReadLinkNameFromLink(LineReader& file, NameStoreRecord* record, int code_length) {
  return ReadSourceRecord<kLinkNameInLinkLayout>(file, {code_length}, record);
}

int BRN_ZAT_ReadLinkName(LineReader& file, NameStoreRecord* record, int code_length) {
  return ReadSourceRecord<kLinkNameLayout>(file, {code_length}, record);
}

int BRN_ZAT_ReadLinkSpeed(LineReader& file, LinkSpeedRecord* record, int code_length,
                          DefaultSpeeds defaults) {
  return ReadSourceRecord<kLinkSpeedLayout>(file, {code_length, defaults}, record);
}

int BRN_ZAT_ReadNodeTrf(LineReader& file, RuleStoreRecord* record, int code_length) {
  return ReadSourceRecord<kNodeTrfLayout>(file, {code_length}, record);
}

int BRN_ZAT_ReadLinkTrf(LineReader& file, OneWayStoreRecord* record, int code_length) {
  return ReadSourceRecord<kLinkTrfLayout>(file, {code_length}, record);
}

}  // namespace zatlib
