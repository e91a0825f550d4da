// The record readers of the ZAT layouts: one source line, one record. A reader returns 1 when a
// record was read and 0 at the end of the file; missing trailing columns leave zeros. Codes are
// parsed by the code length, integers cut to the width of their field.
#pragma once

#include <cstdint>

#include "frd/files.h"
#include "network/workstore/source_fields.h"
#include "network/workstore/work_stores.h"

namespace zatlib {

// Columns (from 1) 1: code, 2: attribute word, 3: partner code, 5 to 12: links, 14 and 15: both
// into X, the later one wins (Y comes from a MIF point or the node XY step).
int BRN_ZAT_ReadNodeRecord(LineReader& file, NodeStoreRecord* record, int code_length);

// Columns 1: code, 2: value, 13: name.
int BRN_ZAT_ReadNodeNameFromNode(LineReader& file, NameStoreRecord* record, int code_length);

// Columns 1: code, 2: value, 3: name.
int BRN_ZAT_ReadNodeName(LineReader& file, NameStoreRecord* record, int code_length);

// A row of a node coordinate file. Columns 1: code, 2: longitude, 3: latitude.
struct NodeXYRecord {
  FeatureCode Code;
  int32_t X;  // millionths of a degree
  int32_t Y;
};
int BRN_ZAT_ReadNodeXY(LineReader& file, NodeXYRecord* record, int code_length);

// Columns 1: code, 2: road kind, 3: city code, 4 to 7: link values 3, 4, 5, 6, 8 and 9: nodes A and
// B, 10 and 11: speeds A and B, 12: road flag. Speeds: 0 takes the default, below 0 gives 0.
int BRN_ZAT_ReadLinkRecord(LineReader& file, LinkStoreRecord* record, int code_length,
                           DefaultSpeeds defaults);

// Columns 1: code, 13: name number, 14: name.
int BRN_ZAT_ReadLinkNameFromLink(LineReader& file, NameStoreRecord* record, int code_length);

// Columns 1: code, 3: name number, 4: name.
int BRN_ZAT_ReadLinkName(LineReader& file, NameStoreRecord* record, int code_length);

// A row of a link speed file. Columns 1: link, 2 and 3: nodes A and B, 4 and 5: speeds A and B (as
// in link records), 6: a value of its own.
struct LinkSpeedRecord {
  FeatureCode LinkCode;
  FeatureCode NodeA;
  FeatureCode NodeB;
  uint16_t SpeedA;
  uint16_t SpeedB;
  uint16_t Value;
};
int BRN_ZAT_ReadLinkSpeed(LineReader& file, LinkSpeedRecord* record, int code_length,
                          DefaultSpeeds defaults);

// Columns 1: node, 2: arriving link, 3: leaving link, 4: rule kind.
int BRN_ZAT_ReadNodeTrf(LineReader& file, RuleStoreRecord* record, int code_length);

// Columns 1: link, 2 and 3: first and second node, 4 and 5: their flags.
int BRN_ZAT_ReadLinkTrf(LineReader& file, OneWayStoreRecord* record, int code_length);

}  // namespace zatlib
