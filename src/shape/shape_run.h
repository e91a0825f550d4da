// The link shape step that both input formats share.
#pragma once

#include "shape/shape_builder.h"

namespace zatlib {

// Where the shapes come from: the files FILE01, FILE02, ... of a section of the control file, each
// read by `build`.
struct ShapeSource {
  const char* section;
  int (*build)(ShapeContext* cs);
};

// Builds the shape files of the output folder from [section] FILE01 to FILEnn, nn = FILENUM, and
// finishes them. The band of the progress bar is shared evenly by the files but for its last 0.01,
// which the finishing gets. Returns 1, also when FILENUM is below 1 (no shape file is then
// written); 0 when the code length is neither 14 nor 18 (no message), when the list of paths cannot
// be allocated ("Memory Error in BRN_CreateShape"), or when a builder or the finishing failed.
int RunShapeSource(const char* control_file, int code_length, const ShapeSource& source,
                   float band_start, float band_width);

}  // namespace zatlib
