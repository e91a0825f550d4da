// Building the shape files: one source file after the other is appended to the data and the index,
// then the index is sorted, checked and the totals are written.
#pragma once

#include <cstdint>

#include "frd/control.h"
#include "shape/shape_files.h"

namespace zatlib {

// Where the lines of a MID file give the code of their link: columns from 1.
struct ShapeColumns {
  int32_t Code = 1;
  int32_t Area = 0;  // 0: the code is whole
};

// What the builders share; filled by whoever runs them.
struct ShapeContext {
  int32_t CodeLength = 0;           // 14 or 18
  int32_t FileCount = 0;            // number of source files
  int32_t FileIndex = 0;            // the file to read now, from 0
  const PathText* Paths = nullptr;  // the source files
  const char* Folder = nullptr;     // the output folder
  ShapeColumns Columns;             // of the source's lines
  int32_t ShowProgress = 0;         // non-zero: status texts and progress, and cancel is heard
  float ProgressStart = 0.0f;       // where this call's part of the bar begins
  float ProgressStep = 0.0f;        // and how wide it is
};

// Each builder reads the file that `cs->FileIndex` names and appends its shapes to shapedat.dat and
// shapedbl.idx of the output folder; file 0 creates both anew. Returns 1, or 0 after reporting the
// first error under "File Error in <name of the builder>", and without a report when the user has
// cancelled. What was written before an error stays in the files. Points are streamed: a point
// count is never trusted with memory.

// A MIF file and its MID file, whose records hold whole codes. The header's Charset and CoordSys
// lines go to shapedat.inf.
int SHAPE_CreateShapeFileFromZatMif(ShapeContext* cs);

// The same with codes made of an area and a number within it: area x 10^12 + number, for code
// length 18 area x 10^16 + number.
int SHAPE_CreateShapeFileFromMif(ShapeContext* cs);

// A text file of blocks: "code, number of points", then so many lines "X, Y" in degrees. Such files
// have no header: shapedat.inf gets default Charset and CoordSys lines unless it has some.
int SHAPE_CreateShapeFileFromZatText(ShapeContext* cs);

// Sorts shapedbl.idx by code, in memory (16 bytes a link), and writes NumRec, NumShape,
// MaxShapeLink and MaxNumShape to shapedat.inf. Returns 1, or 0 after reporting an error; a code
// that occurs twice is one, and leaves index and totals as they are.
int SHAPE_FinishShapeIndex(ShapeContext* cs);

}  // namespace zatlib
