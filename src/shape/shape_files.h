// The shape files of the output folder: the polyline of every link. Headerless files of fixed-size
// records, little-endian, and an INI file with what holds for all of them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "network/workstore/feature_code.h"

namespace zatlib {

inline constexpr char kShapeDataFile[] = "shapedat.dat";
inline constexpr char kShapeIndexFile[] = "shapedbl.idx";
// Charset, CoordSys, NumRec, NumShape, MaxShapeLink, MaxNumShape.
inline constexpr char kShapeInfoFile[] = "shapedat.inf";
inline constexpr char kShapeInfoSection[] = "INFORMATION";

// shapedat.dat: the points of a link follow one another in the order of the source, links in
// source order. At most 2^31 - 1 bytes, since the index holds 32-bit offsets.
struct ShapePoint {
  int32_t X;  // longitude, millionths of a degree
  int32_t Y;  // latitude, millionths of a degree
};
static_assert(sizeof(ShapePoint) == 8);
static_assert(offsetof(ShapePoint, X) == 0);
static_assert(offsetof(ShapePoint, Y) == 4);

// shapedbl.idx: in source order while the sources are read, in strictly ascending code order once
// the shapes are finished.
struct ShapeIndexEntry {
  FeatureCode Code;  // the link
  int32_t Offset;    // byte position of its first point in shapedat.dat
  int32_t Count;     // number of its points; 0 or less = none
};
static_assert(sizeof(ShapeIndexEntry) == 16);
static_assert(offsetof(ShapeIndexEntry, Code) == 0);
static_assert(offsetof(ShapeIndexEntry, Offset) == 8);
static_assert(offsetof(ShapeIndexEntry, Count) == 12);

}  // namespace zatlib
