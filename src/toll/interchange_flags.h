// Interchange flags: the links that toll fare data lists as interchanges, marked in the map.
#pragma once

#include <cstddef>
#include <cstdint>

#include "network/workstore/feature_code.h"

namespace zatlib {

inline constexpr char kFareLinkFile[] = "TR_LINK.DAT";
inline constexpr char kFareStatusFile[] = "PayData.Inf";  // [SYSTEM] Result, ICFLAG, ICFLAG_ERROR

// TR_LINK.DAT
struct FareLinkRecord {
  FeatureCode LinkCode;
  uint8_t reserved1[16];
  int16_t Valid;        // 1 or more = the record counts
  uint8_t Interchange;  // 1 = interchange link
  uint8_t reserved2[5];
};
static_assert(sizeof(FareLinkRecord) == 32);
static_assert(offsetof(FareLinkRecord, Valid) == 24);
static_assert(offsetof(FareLinkRecord, Interchange) == 26);

// 1 when the toll fare data in the folder is complete: its five tables can be opened and
// PayData.Inf holds [SYSTEM] Result=OK; else 0. Reports nothing.
int TR_CheckFareData(const char* folder);

// Sets kFlagTollGate in linkname.dat of the folder for exactly the links that TR_LINK.DAT lists as
// interchanges, and copies the flag byte of every node's links into mapattr.dat. Returns 1 or 0 and
// says so in PayData.Inf: [SYSTEM] ICFLAG "OK" or "ERROR", after a failure ICFLAG_ERROR with the
// cause. Nothing is shown or logged. mapattr.dat is written first.
int TR_SetInterchangeFlags(const char* folder);

}  // namespace zatlib
