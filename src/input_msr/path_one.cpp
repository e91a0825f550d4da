#include "input_msr/path_one.h"

#include "frd/control.h"
#include "frd/log.h"
#include "input_msr/condition_store.h"
#include "input_msr/point_store.h"
#include "input_msr/section_store.h"
#include "input_zat/road_definition.h"
#include "network/workstore/feature_code.h"
#include "shape/shape_run.h"

namespace zatlib {
namespace {

constexpr float kShapeBandStart = 0.25f;
constexpr float kShapeBandWidth = 0.05f;

// Link shapes from the [DKUKAN] MIF files. Without MIFOUTPUT there is nothing to do.
int CreateShapes(const char* control_file) {
  if (ControlInt(control_file, "DKUKAN", "MIFOUTPUT", 0) == 0) return 1;
  return RunShapeSource(control_file, BRN_GetCodeLength(control_file),
                        {"DKUKAN", SHAPE_CreateShapeFileFromMif}, kShapeBandStart, kShapeBandWidth);
}

}  // namespace

int BRN_MSR_PathOne(WindowHandle owner, const char* control_file) {
  LogBuild("Path One Start (MSR format) ");
  // The road definition starts writing at once here, and its errors have no owner window.
  int result = BRN_CreateRoadDef(nullptr, control_file, Prologue::kWithout);

  if (Checkpoint(0.0f) == 0) result = 0;
  if (result != 0) result = BRN_MSR_SetNodeStore(owner, control_file);

  if (Checkpoint(0.05f) == 0) result = 0;
  if (result != 0) result = BRN_MSR_SetNodeNameStore(owner, control_file);

  if (Checkpoint(0.1f) == 0) result = 0;
  if (result != 0) result = BRN_MSR_SetLinkStore(owner, control_file);

  if (Checkpoint(0.15f) == 0) result = 0;
  if (result != 0) result = BRN_MSR_SetLinkNameStore(owner, control_file);

  if (Checkpoint(0.2f) == 0) result = 0;
  if (result != 0) result = BRN_MSR_SetTukoujData(owner, control_file);
  if (result != 0) result = BRN_MSR_RemoveOneWayStore(control_file);

  if (Checkpoint(0.25f) == 0) result = 0;
  if (result != 0) result = CreateShapes(control_file);

  if (Checkpoint(0.3f) == 0) result = 0;
  return result;
}

}  // namespace zatlib
