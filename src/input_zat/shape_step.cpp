#include "input_zat/shape_step.h"

#include "frd/step.h"
#include "input_zat/layouts.h"
#include "network/workstore/feature_code.h"
#include "shape/shape_run.h"

namespace zatlib {
namespace {

constexpr ShapeSource kFromMif = {.section = zat::kLinks.section,
                                  .build = SHAPE_CreateShapeFileFromZatMif,
                                  .columns = {.Code = zat::Link::kCode}};
// The builder takes the columns of the two kinds of lines as they stand.
constexpr ShapeSource kFromText = {.section = zat::kShapeHeads.section,
                                   .build = SHAPE_CreateShapeFileFromZatText};
static_assert(zat::ShapeHead::kLink == 1 && zat::ShapeHead::kPointCount == 2);
static_assert(zat::ShapePoint::kLongitude == 1 && zat::ShapePoint::kLatitude == 2);

}  // namespace

int BRN_CreateShape(WindowHandle, float band_start, float band_width, const char* control_file) {
  const Step step(nullptr, control_file, kShapeStep);
  if (!IsDone(step.Begin("Setting Link Shape..."))) return 0;
  const bool from_mif = ControlInt(control_file, "LINK", "MIF", 0) != 0;
  return RunShapeSource(step, BRN_GetCodeLength(control_file), from_mif ? kFromMif : kFromText,
                        {.start = band_start, .width = band_width});
}

}  // namespace zatlib
