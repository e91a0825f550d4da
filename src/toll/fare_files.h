// The toll fare data that may lie in the folder of a map: the tables that belong to it, and the one
// whose records are read.
#pragma once

#include <cstddef>
#include <cstdint>

#include "network/workstore/feature_code.h"

namespace zatlib {

inline constexpr char kFareLinkFile[] = "TR_LINK.DAT";
inline constexpr char kFareStatusFile[] = "PayData.Inf";  // [SYSTEM] Result, ICFLAG, ICFLAG_ERROR

// The tables without which the data are not complete.
inline constexpr const char* kFareFiles[] = {"TR_FARE2.DAT", "TR_FARE2.IDX", "TR_FARE3.DAT",
                                             kFareLinkFile, "TR_NAME.DAT"};

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

}  // namespace zatlib
