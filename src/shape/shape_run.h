// The link shape step that both input formats share.
#pragma once

#include "frd/step.h"
#include "shape/shape_builder.h"

namespace zatlib {

// The step's name in the title of its own error, in both formats.
inline constexpr char kShapeStep[] = "BRN_CreateShape";

// Where the shapes come from: the files FILE01, FILE02, ... of a section of the control file, each
// read by `build`, and where their lines hold the codes.
struct ShapeSource {
  const char* section;
  int (*build)(ShapeContext* cs);
  ShapeColumns columns = {};
};

// A part of the progress bar, in fractions of the whole.
struct ShapeBand {
  float start;
  float width;
};

// Builds the shape files of the output folder from [section] FILE01 to FILEnn, nn = FILENUM, and
// finishes them. The band of the progress bar is shared evenly by the files but for its last 0.01,
// which the finishing gets. Returns 1, also when FILENUM is below 1 (no shape file is then
// written); 0 when the code length is neither 14 nor 18 (no message), when the list of paths cannot
// be allocated (a Memory Error of the step), or when a builder or the finishing failed.
int RunShapeSource(const Step& step, int code_length, const ShapeSource& source, ShapeBand band);

}  // namespace zatlib
