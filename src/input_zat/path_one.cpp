#include "input_zat/path_one.h"

#include "frd/log.h"
#include "frd/step.h"
#include "input_zat/link_store.h"
#include "input_zat/name_store.h"
#include "input_zat/node_store.h"
#include "input_zat/road_definition.h"
#include "input_zat/shape_step.h"
#include "input_zat/traffic_store.h"

namespace zatlib {
namespace {

// The bar's part that the shapes get.
constexpr float kShapeBandStart = 0.25f;
constexpr float kShapeBandWidth = 0.05f;

int CreateShapes(WindowHandle owner, const char* control_file) {
  return BRN_CreateShape(owner, kShapeBandStart, kShapeBandWidth, control_file);
}

constexpr Stage<WindowHandle, const char*> kStages[] = {
    {0.0f, BRN_ZAT_SetNodeStore},        {0.05f, BRN_ZAT_SetNodeNameStore},
    {kSamePoint, BRN_ZAT_SetNodeXYData}, {0.10f, BRN_ZAT_SetLinkStore},
    {0.15f, BRN_ZAT_SetLinkSpeedData},   {kSamePoint, BRN_ZAT_SetLinkNameStore},
    {0.20f, BRN_ZAT_SetNodeTrfData},     {kSamePoint, BRN_ZAT_SetLinkTrfData},
    {kShapeBandStart, CreateShapes},     {kShapeBandStart + kShapeBandWidth, nullptr},
};

}  // namespace

int BRN_ZAT_PathOne(WindowHandle owner, const char* control_file) {
  LogBuild("Path One Start (ZAT format) ");
  const int result = BRN_CreateRoadDef(owner, control_file, Prologue::kWith);
  return RunStages(kStages, result, owner, control_file);
}

}  // namespace zatlib
