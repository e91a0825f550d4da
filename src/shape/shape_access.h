// Reading link shapes back by the code of their link.
#pragma once

#include <cstdint>

#include "frd/code_lookup.h"
#include "frd/memory.h"
#include "frd/parallel.h"
#include "frd/progress.h"
#include "frd/record_file.h"
#include "frd/step.h"
#include "platform/file.h"
#include "shape/shape_files.h"

namespace zatlib {

// Points of one shape that a lookup hands out at most; a longer shape is cut to its first ones.
inline constexpr int kMaxShapePoints = 2048;

// What decides about turns at the ends of a link: the first two and the last two points of its
// shape, of those that a lookup hands out.
struct ShapeEnds {
  ShapePoint First;
  ShapePoint Second;
  ShapePoint BeforeLast;
  ShapePoint Last;
};
static_assert(sizeof(ShapeEnds) == 32);

// Open shape files. Releases itself; empty when default constructed or closed.
class ShapeHolder {
 public:
  ShapeHolder() = default;
  ShapeHolder(const ShapeHolder&) = delete;
  ShapeHolder& operator=(const ShapeHolder&) = delete;

  // Number of links that have an entry, and of points of all links.
  int32_t entry_count() const { return entry_count_; }
  int32_t point_count() const { return point_count_; }

  // The entries, ascending by code.
  const ShapeIndexEntry* entries() const { return index_.data(); }

  // The ends of the shapes by the positions of SHAPE_FindShapeEnds; of one of them.
  const ShapeEnds* ends() const { return ends_.data(); }
  const ShapeEnds& ends(int32_t position) const { return ends_[position]; }

  // Frees the index once the positions of all shapes are known: only ends() works from then on.
  void FreeIndex() {
    lookup_ = CodeLookup();
    index_.Free();
    entry_count_ = 0;
  }

 private:
  friend struct ShapeAccess;
  friend struct ShapePointAccess;

  int32_t entry_count_ = 0;
  PageArray<ShapeIndexEntry> index_;
  CodeLookup lookup_;  // over the index
  int32_t point_count_ = 0;
  PageArray<ShapePoint> points_;  // SHAPE_OpenShape, memory mode
  platform::File data_file_;      // SHAPE_OpenShape, file mode
  PageArray<ShapeEnds> ends_;     // SHAPE_OpenShapeEnds: by position in the index
};

// 1 when all three shape files of the folder can be opened for reading, else 0. Reports nothing.
int SHAPE_CheckShapeFiles(const char* folder);

// Opens the shapes of an output folder, releasing what the holder held before, and keeps 32 bytes
// of every shape, its ends, and not the points (8 bytes each; compat/shape_points.h reads those).
// The data are read once, in the order of the file. When they cannot be read in whole, non-zero
// `memory_mode` fails; else the shapes concerned have no ends. Returns 1, or 0 after reporting a
// file or memory error under "... in SHAPE_OpenShape"; the holder is then closed.
int SHAPE_OpenShapeEnds(WindowHandle owner, ShapeHolder* holder, const char* folder,
                        int memory_mode, Workers& workers);

// For each of `count` codes the position of its shape for ShapeHolder::ends, or -1 where a lookup
// would give fewer than 2 points. Fastest for codes in ascending order.
// Several threads may call it at the same time.
void SHAPE_FindShapeEnds(const FeatureCode* codes, int64_t count, const ShapeHolder& holder,
                         int32_t* positions);

// Frees the buffers, closes the file and clears the holder.
void SHAPE_CloseShape(ShapeHolder* holder);

// A step that opens shapes: the titles of its errors say "SHAPE_OpenShape".
Step ShapeOpening(WindowHandle owner, const char* folder);

// What every opening begins with: releases the holder, loads the index and looks for the data file.
// The holder is closed when that fails.
struct ShapeData {
  PathText path;
  uint64_t size = 0;  // bytes, as the opening has found them
};
Outcome OpenShapeIndex(const Step& step, ShapeHolder* holder, ShapeData* data);

// How every opening ends whose data cannot be had (kNoMemory, kNotOpened or kNotRead): closes the
// holder and reports that.
Outcome FailShapeData(const Step& step, ShapeHolder* holder, const ShapeData& data,
                      FileResult result);

}  // namespace zatlib
