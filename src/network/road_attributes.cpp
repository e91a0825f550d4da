#include "network/road_attributes.h"

#include <algorithm>

#include "frd/control.h"
#include "platform/profile.h"

namespace zatlib {

int BRN_LoadRoadDef(RoadDefinition* definition, const char* control_file) {
  const PathText path = OutputPath(control_file, kRoadDefinitionFile);
  const auto value = [&](const char* section, const char* key) {
    return platform::ReadProfileInt(section, key, 0, path.c_str());
  };
  *definition = RoadDefinition{};
  definition->toll_kind_count = std::min(value("TOLLROAD", "NUMDEF"), kMaxTollKinds);
  for (int i = 0; i < definition->toll_kind_count; ++i) {
    char key[16];
    FRD_Format(key, sizeof key, "DEF%02d", i + 1);
    definition->toll_kinds[i] = value("TOLLROAD", key);
  }
  definition->highway = value("ROADFLAG", "HIGHWAY");
  definition->pay_road = value("ROADFLAG", "PAYROAD");
  definition->ferry = value("ROADFLAG", "FERRY");
  definition->railroad = value("ROADFLAG", "RAILROAD");
  definition->parking_or_air = value("ROADFLAG", "PARKING");
  if (definition->parking_or_air == 0) definition->parking_or_air = value("ROADFLAG", "AIR");
  definition->toll_gate = value("ROADFLAG", "TOLLGATE");
  definition->pedestrian_or_ship = value("ROADFLAG", "PEDESTRIANWAY");
  if (definition->pedestrian_or_ship == 0) {
    definition->pedestrian_or_ship = value("ROADFLAG", "SHIP");
  }
  return 1;
}

int BRN_SetLinkFlags(int16_t road_flag, const RoadDefinition& definition, LinkNameRecord* record) {
  uint8_t flags = 0;
  if (record->RoadKind < kDummyRoadKind) {
    for (int i = 0; i < definition.toll_kind_count; ++i) {
      if (record->RoadKind == definition.toll_kinds[i]) flags = kFlagTollOrHighway;
    }
  }
  if (road_flag > 0) {
    const struct {
      int32_t value;
      uint8_t flag;
    } pairs[] = {{definition.highway, kFlagTollOrHighway},
                 {definition.pay_road, kFlagPayRoad},
                 {definition.ferry, kFlagFerry},
                 {definition.railroad, kFlagRailroad},
                 {definition.parking_or_air, kFlagParkingOrAir},
                 {definition.toll_gate, kFlagTollGate},
                 {definition.pedestrian_or_ship, kFlagPedestrianOrShip}};
    for (const auto& pair : pairs) {
      if (road_flag == pair.value) flags = static_cast<uint8_t>(flags | pair.flag);
    }
  }
  record->Flags = flags;
  return 1;
}

}  // namespace zatlib
