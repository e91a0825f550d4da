#include "input_zat/record_readers.h"

namespace zatlib {
namespace {

using enum FieldKind;

constexpr SourceLayout kNodeLayout = {{1, kCode, offsetof(NodeStoreRecord, NodeCode)},
                                      {2, kWord, offsetof(NodeStoreRecord, NodeAttrWord)},
                                      {3, kCode, offsetof(NodeStoreRecord, PartnerCode)},
                                      {5, kCode, offsetof(NodeStoreRecord, ConnLinkCode)},
                                      {6, kCode, offsetof(NodeStoreRecord, ConnLinkCode) + 8},
                                      {7, kCode, offsetof(NodeStoreRecord, ConnLinkCode) + 16},
                                      {8, kCode, offsetof(NodeStoreRecord, ConnLinkCode) + 24},
                                      {9, kCode, offsetof(NodeStoreRecord, ConnLinkCode) + 32},
                                      {10, kCode, offsetof(NodeStoreRecord, ConnLinkCode) + 40},
                                      {11, kCode, offsetof(NodeStoreRecord, ConnLinkCode) + 48},
                                      {12, kCode, offsetof(NodeStoreRecord, ConnLinkCode) + 56},
                                      // Both into X, the later one wins; Y has no column.
                                      {14, kCoordinate, offsetof(NodeStoreRecord, X)},
                                      {15, kCoordinate, offsetof(NodeStoreRecord, X)}};

constexpr SourceLayout kNodeNameInNodeLayout = {{1, kCode, offsetof(NameStoreRecord, Code)},
                                                {2, kWord, offsetof(NameStoreRecord, NodeValue)},
                                                {13, kName, offsetof(NameStoreRecord, Name)}};

constexpr SourceLayout kNodeNameLayout = {{1, kCode, offsetof(NameStoreRecord, Code)},
                                          {2, kWord, offsetof(NameStoreRecord, NodeValue)},
                                          {3, kName, offsetof(NameStoreRecord, Name)}};

constexpr SourceLayout kNodeXYLayout = {{1, kCode, offsetof(NodeXYRecord, Code)},
                                        {2, kCoordinate, offsetof(NodeXYRecord, X)},
                                        {3, kCoordinate, offsetof(NodeXYRecord, Y)}};

constexpr SourceLayout kLinkLayout = {{1, kCode, offsetof(LinkStoreRecord, LinkCode)},
                                      {2, kWord, offsetof(LinkStoreRecord, RoadKind)},
                                      {3, kLong, offsetof(LinkStoreRecord, CityCode)},
                                      {4, kWord, offsetof(LinkStoreRecord, Value3)},
                                      {5, kWord, offsetof(LinkStoreRecord, Value4)},
                                      {6, kWord, offsetof(LinkStoreRecord, Value5)},
                                      {7, kWord, offsetof(LinkStoreRecord, Value6)},
                                      {8, kCode, offsetof(LinkStoreRecord, NodeA)},
                                      {9, kCode, offsetof(LinkStoreRecord, NodeB)},
                                      {10, kSpeedA, offsetof(LinkStoreRecord, SpeedA)},
                                      {11, kSpeedB, offsetof(LinkStoreRecord, SpeedB)},
                                      {12, kWord, offsetof(LinkStoreRecord, RoadFlag)}};

constexpr SourceLayout kLinkNameInLinkLayout = {{1, kCode, offsetof(NameStoreRecord, Code)},
                                                {13, kByte, offsetof(NameStoreRecord, LinkNumber)},
                                                {14, kName, offsetof(NameStoreRecord, Name)}};

constexpr SourceLayout kLinkNameLayout = {{1, kCode, offsetof(NameStoreRecord, Code)},
                                          {3, kByte, offsetof(NameStoreRecord, LinkNumber)},
                                          {4, kName, offsetof(NameStoreRecord, Name)}};

constexpr SourceLayout kLinkSpeedLayout = {{1, kCode, offsetof(LinkSpeedRecord, LinkCode)},
                                           {2, kCode, offsetof(LinkSpeedRecord, NodeA)},
                                           {3, kCode, offsetof(LinkSpeedRecord, NodeB)},
                                           {4, kSpeedA, offsetof(LinkSpeedRecord, SpeedA)},
                                           {5, kSpeedB, offsetof(LinkSpeedRecord, SpeedB)},
                                           {6, kWord, offsetof(LinkSpeedRecord, Value)}};

constexpr SourceLayout kNodeTrfLayout = {{1, kCode, offsetof(RuleStoreRecord, NodeCode)},
                                         {2, kCode, offsetof(RuleStoreRecord, InLink)},
                                         {3, kCode, offsetof(RuleStoreRecord, OutLink)},
                                         {4, kWord, offsetof(RuleStoreRecord, Kind)}};

constexpr SourceLayout kLinkTrfLayout = {{1, kCode, offsetof(OneWayStoreRecord, LinkCode)},
                                         {2, kCode, offsetof(OneWayStoreRecord, FirstNode)},
                                         {3, kCode, offsetof(OneWayStoreRecord, SecondNode)},
                                         {4, kWord, offsetof(OneWayStoreRecord, FirstFlag)},
                                         {5, kWord, offsetof(OneWayStoreRecord, SecondFlag)}};

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
