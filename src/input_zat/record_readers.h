// The record readers of the ZAT layouts: one source line, one record, filled by the table of its
// columns in layouts.h. A reader returns 1 when a record was read and 0 at the end of the lines;
// missing trailing columns leave zeros. Codes are parsed by the code length, integers cut to the
// width of their field.
#pragma once

#include "frd/lines.h"
#include "input_zat/layouts.h"
#include "network/workstore/source_fields.h"
#include "network/workstore/work_stores.h"

namespace zatlib {

// A node. X gets the later of two columns; Y comes from a MIF point or the node XY step.
int BRN_ZAT_ReadNodeRecord(Lines& lines, NodeStoreRecord* record, int code_length);

// The name in a line of a node.
int BRN_ZAT_ReadNodeNameFromNode(Lines& lines, NameStoreRecord* record, int code_length);

// A line of a file of node names.
int BRN_ZAT_ReadNodeName(Lines& lines, NameStoreRecord* record, int code_length);

// A line of a file of node coordinates.
int BRN_ZAT_ReadNodeXY(Lines& lines, NodeXYRecord* record, int code_length);

// A link. Speeds: 0 takes the default, below 0 gives 0.
int BRN_ZAT_ReadLinkRecord(Lines& lines, LinkStoreRecord* record, int code_length,
                           DefaultSpeeds defaults);

// The name in a line of a link.
int BRN_ZAT_ReadLinkNameFromLink(Lines& lines, NameStoreRecord* record, int code_length);

// A line of a file of link names.
int BRN_ZAT_ReadLinkName(Lines& lines, NameStoreRecord* record, int code_length);

// A line of a file of link speeds; the speeds as in links.
int BRN_ZAT_ReadLinkSpeed(Lines& lines, LinkSpeedRecord* record, int code_length,
                          DefaultSpeeds defaults);

// A prohibited turn.
int BRN_ZAT_ReadNodeTrf(Lines& lines, RuleStoreRecord* record, int code_length);

// A one-way link.
int BRN_ZAT_ReadLinkTrf(Lines& lines, OneWayStoreRecord* record, int code_length);

}  // namespace zatlib
