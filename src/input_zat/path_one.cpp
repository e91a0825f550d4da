#include "input_zat/path_one.h"

#include "frd/control.h"
#include "frd/log.h"
#include "input_zat/link_store.h"
#include "input_zat/name_store.h"
#include "input_zat/node_store.h"
#include "input_zat/road_definition.h"
#include "input_zat/shape_step.h"
#include "input_zat/traffic_store.h"

namespace zatlib {
namespace {

constexpr float kShapeBandStart = 0.25f;
constexpr float kShapeBandWidth = 0.05f;

}  // namespace

int BRN_ZAT_PathOne(WindowHandle owner, const char* control_file) {
  LogBuild("Path One Start (ZAT format) ");
  int result = BRN_CreateRoadDef(owner, control_file, Prologue::kWith);

  // A failed step skips the later steps; the bar moves on all the same.
  if (Checkpoint(0.0f) == 0) result = 0;
  if (result != 0) result = BRN_ZAT_SetNodeStore(owner, control_file);

  if (Checkpoint(0.05f) == 0) result = 0;
  if (result != 0) result = BRN_ZAT_SetNodeNameStore(owner, control_file);
  if (result != 0) result = BRN_ZAT_SetNodeXYData(owner, control_file);

  if (Checkpoint(0.10f) == 0) result = 0;
  if (result != 0) result = BRN_ZAT_SetLinkStore(owner, control_file);

  if (Checkpoint(0.15f) == 0) result = 0;
  if (result != 0) result = BRN_ZAT_SetLinkSpeedData(owner, control_file);
  if (result != 0) result = BRN_ZAT_SetLinkNameStore(owner, control_file);

  if (Checkpoint(0.20f) == 0) result = 0;
  if (result != 0) result = BRN_ZAT_SetNodeTrfData(owner, control_file);
  if (result != 0) result = BRN_ZAT_SetLinkTrfData(owner, control_file);

  if (Checkpoint(0.25f) == 0) {
    Checkpoint(0.30f);
    return 0;
  }
  if (result != 0) {
    result = BRN_CreateShape(owner, kShapeBandStart, kShapeBandWidth, control_file);
  }
  if (Checkpoint(0.30f) == 0) result = 0;
  return result;
}

}  // namespace zatlib
