// The record readers of the MSR layout: one source line, one record, filled by the table of its
// columns in layouts.h. Codes are composed of an area number and a number within the area. A reader
// returns 1 when a record was read and 0 at the end of the lines.
#pragma once

#include "frd/lines.h"
#include "input_msr/layouts.h"
#include "network/workstore/source_fields.h"
#include "network/workstore/work_stores.h"

namespace zatlib {

// A road point. Codes of 0 stay 0.
int BRN_MSR_ReadDrotenRecord(Lines& lines, NodeStoreRecord* record, int code_length);

// The name in a line of a road point.
int BRN_MSR_ReadNodeName(Lines& lines, NameStoreRecord* record, int code_length);

// A road section; columns behind the last one are not read. Codes of 0 stay 0; a city of 1 or more
// becomes area x 1000 + city.
int BRN_MSR_ReadDkukanRecord(Lines& lines, LinkStoreRecord* record, int code_length,
                             DefaultSpeeds defaults);

// A road section's name. Unlike a section's own code, a code of 0 is composed with the area too.
int BRN_MSR_ReadKukanzRecord(Lines& lines, NameStoreRecord* record, int code_length);

// A traffic condition, in lines of at most 512 bytes. 0 also at the first line whose area is below
// 1 or one of whose codes is 0: such a line ends the file.
int BRN_MSR_ReadTukoujRecord(Lines& lines, RuleStoreRecord* record, int code_length);

}  // namespace zatlib
