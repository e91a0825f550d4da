#include "input_msr/path_one.h"

#include "frd/log.h"
#include "frd/step.h"
#include "input_msr/condition_store.h"
#include "input_msr/layouts.h"
#include "input_msr/point_store.h"
#include "input_msr/section_store.h"
#include "input_zat/road_definition.h"
#include "network/workstore/feature_code.h"
#include "shape/shape_run.h"

namespace zatlib {
namespace {

// The bar's part that the shapes get.
constexpr float kShapeBandStart = 0.25f;
constexpr float kShapeBandWidth = 0.05f;

constexpr ShapeSource kShapeSource = {
    .section = msr::kSections.section,
    .build = SHAPE_CreateShapeFileFromMif,
    .columns = {.Code = msr::Dkukan::kCode, .Area = msr::Dkukan::kArea}};

// Link shapes from the [DKUKAN] MIF files. Without MIFOUTPUT there is nothing to do.
int CreateShapes(WindowHandle, const char* control_file) {
  if (ControlInt(control_file, "DKUKAN", "MIFOUTPUT", 0) == 0) return 1;
  const Step step(nullptr, control_file, kShapeStep);
  return RunShapeSource(step, BRN_GetCodeLength(control_file), kShapeSource,
                        {.start = kShapeBandStart, .width = kShapeBandWidth});
}

int RemoveOneWayStore(WindowHandle, const char* control_file) {
  return BRN_MSR_RemoveOneWayStore(control_file);
}

constexpr Stage<WindowHandle, const char*> kStages[] = {
    {0.0f, BRN_MSR_SetNodeStore},    {0.05f, BRN_MSR_SetNodeNameStore},
    {0.1f, BRN_MSR_SetLinkStore},    {0.15f, BRN_MSR_SetLinkNameStore},
    {0.2f, BRN_MSR_SetTukoujData},   {kSamePoint, RemoveOneWayStore},
    {kShapeBandStart, CreateShapes}, {kShapeBandStart + kShapeBandWidth, nullptr},
};

}  // namespace

int BRN_MSR_PathOne(WindowHandle owner, const char* control_file) {
  LogBuild("Path One Start (MSR format) ");
  // The road definition starts writing at once here.
  const int result = BRN_CreateRoadDef(nullptr, control_file, Prologue::kWithout);
  return RunStages(kStages, result, owner, control_file);
}

}  // namespace zatlib
