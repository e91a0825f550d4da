// The values that turn a link's road kind and road flag into its flag byte.
#pragma once

#include <cstdint>

#include "network/network_files.h"

namespace zatlib {

inline constexpr int kMaxTollKinds = 10;  // toll road kinds that are read; more are left out

// From linkdef.dat; every value defaults to 0.
struct RoadDefinition {
  int32_t toll_kind_count = 0;
  int32_t toll_kinds[kMaxTollKinds] = {};
  int32_t highway = 0;
  int32_t pay_road = 0;
  int32_t ferry = 0;
  int32_t railroad = 0;
  int32_t parking_or_air = 0;  // PARKING, or AIR when that is 0
  int32_t toll_gate = 0;
  int32_t pedestrian_or_ship = 0;  // PEDESTRIANWAY, or SHIP when that is 0
};

// Reads linkdef.dat of the output folder. Returns 1.
int BRN_LoadRoadDef(RoadDefinition* definition, const char* control_file);

// Sets the record's flag byte from its road kind (already in the record) and the link's road flag.
// Returns 1.
int BRN_SetLinkFlags(int16_t road_flag, const RoadDefinition& definition, LinkNameRecord* record);

}  // namespace zatlib
