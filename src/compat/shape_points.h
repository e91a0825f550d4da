// All points of a shape by the code of its link. Nothing in the library calls this: the right-turn
// weights look at the ends of shapes only and read those at once (shape/shape_access.h), and a map
// that was built is read without reports to a log (map/shape_table.h). It stays because the errors
// of that opening bear its name, and as the rule for what a shape's end is.
#pragma once

#include "shape/shape_access.h"

namespace zatlib {

// Opens the shapes of an output folder, releasing what the holder held before. Non-zero
// `memory_mode` reads all points into memory (8 bytes each); 0 keeps the data file open and reads
// points on demand. Returns 1, or 0 after reporting a file or memory error under "... in
// SHAPE_OpenShape"; the holder is then closed.
int SHAPE_OpenShape(WindowHandle owner, ShapeHolder* holder, const char* folder, int memory_mode);

// Copies the first points of a link's shape, at most kMaxShapePoints, into `points`, which has room
// for that many. Returns how many; the stored count when that is 0 or less (an empty shape); -1
// when the code is absent, its entry points outside the data, or the data cannot be read; always -1
// for a holder of SHAPE_OpenShapeEnds.
int SHAPE_GetShapePoints(FeatureCode code, ShapePoint* points, ShapeHolder* holder);

}  // namespace zatlib
