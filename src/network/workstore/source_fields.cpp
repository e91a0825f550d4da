#include "network/workstore/source_fields.h"

#include "frd/control.h"

namespace zatlib {

DefaultSpeeds ReadDefaultSpeeds(const char* control_file) {
  return {static_cast<uint16_t>(ControlInt(control_file, "DEFAULTSPEED", "SPEEDA", 0)),
          static_cast<uint16_t>(ControlInt(control_file, "DEFAULTSPEED", "SPEEDB", 0))};
}

}  // namespace zatlib
