#include "input_zat/shape_step.h"

#include "frd/control.h"
#include "network/workstore/feature_code.h"
#include "shape/shape_run.h"

namespace zatlib {

int BRN_CreateShape(WindowHandle, float band_start, float band_width, const char* control_file) {
  if (BRN_BeginStep("Setting Link Shape...") == 0) return 0;
  const bool from_mif = ControlInt(control_file, "LINK", "MIF", 0) != 0;
  const ShapeSource source = from_mif ? ShapeSource{"LINK", SHAPE_CreateShapeFileFromZatMif}
                                      : ShapeSource{"LINKSHAPE", SHAPE_CreateShapeFileFromZatText};
  return RunShapeSource(control_file, BRN_GetCodeLength(control_file), source, band_start,
                        band_width);
}

}  // namespace zatlib
