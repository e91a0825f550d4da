// Interchange flags: the links that toll fare data lists as interchanges, marked in the map.
#pragma once

#include "toll/fare_files.h"

namespace zatlib {

// 1 when the toll fare data in the folder is complete: its five tables can be opened and
// PayData.Inf holds [SYSTEM] Result=OK; else 0. Reports nothing.
int TR_CheckFareData(const char* folder);

// Sets kFlagTollGate in linkname.dat of the folder for exactly the links that TR_LINK.DAT lists as
// interchanges, and copies the flag byte of every node's links into mapattr.dat. Returns 1 or 0 and
// says so in PayData.Inf: [SYSTEM] ICFLAG "OK" or "ERROR", after a failure ICFLAG_ERROR with the
// cause. Nothing is shown or logged. mapattr.dat is written first.
int TR_SetInterchangeFlags(const char* folder);

}  // namespace zatlib
