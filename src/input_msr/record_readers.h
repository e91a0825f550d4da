// The record readers of the MSR layout: one source line, one record. Codes are composed of an area
// number and a number within the area. A reader returns 1 when a record was read and 0 at the end
// of the file.
#pragma once

#include "frd/files.h"
#include "network/workstore/source_fields.h"
#include "network/workstore/work_stores.h"

namespace zatlib {

// A road point. Columns (from 0) 0: area, 1: code, 2: attribute word, 3: partner's area, 4:
// partner's code, 7 to 14: links. Codes of 0 stay 0.
int BRN_MSR_ReadDrotenRecord(LineReader& file, NodeStoreRecord* record, int code_length);

// A road point's name. Columns 0: area, 1: code, 2: value, 5: name.
int BRN_MSR_ReadNodeName(LineReader& file, NameStoreRecord* record, int code_length);

// A road section. Columns 0: code, 1: road kind, 2: area, 3: city, 4 to 6: link values 3, 4, 5,
// 7 and 8: nodes A and B, 9: link value 6, 10 and 11: speeds A and B, 12: road flag; later columns
// are not read. Codes of 0 stay 0; a city of 1 or more becomes area x 1000 + city.
int BRN_MSR_ReadDkukanRecord(LineReader& file, LinkStoreRecord* record, int code_length,
                             DefaultSpeeds defaults);

// A road section's name. Columns 0: area, 1: code, 2: number, 3: name, 4: value. Unlike a
// section's own code, a code of 0 is composed with the area too.
int BRN_MSR_ReadKukanzRecord(LineReader& file, NameStoreRecord* record, int code_length);

// A traffic condition, in lines of at most 512 bytes. Columns (from 1) 1: area, 2: node, 3:
// arriving link, 4: leaving link, 5: rule kind. 0 also at the first line whose area is below 1 or
// one of whose codes is 0: such a line ends the file.
int BRN_MSR_ReadTukoujRecord(LineReader& file, RuleStoreRecord* record, int code_length);

}  // namespace zatlib
