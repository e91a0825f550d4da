// MIF files: the header, and point objects. Line objects belong to the shape builders.
#pragma once

#include <cstdint>

#include "frd/line_source.h"
#include "frd/record_stream.h"

namespace zatlib {

// Reads header lines (each of at most `line_size` bytes, its end included) up to the one that
// contains "DATA", "Data" or "data", and writes the lines that contain Charset or CoordSys, whole,
// to [INFORMATION] of the INI file `info_path`. The tests are plain substring searches. Returns 1
// when the data line was found, 0 when the file ended first; reports nothing.
int ReadMifHeader(LineSource& mif, uint32_t line_size, const char* info_path);

// What ReadMifPoint met.
enum class MifPoint {
  kPoint,  // x and y are set
  kNone,   // an object without geometry
  kEnd     // no object left
};

// By what a line is taken for an object: the two formats' readers differ.
enum class MifPointTest {
  kFirstLetters,  // the line's first letters are Point or none
  kFirstWord      // the line's first word is Point or none; blanks may stand before it
};

// Reads lines up to the next Point or NONE object (any case); other lines are skipped.
// Coordinates in millionths of a degree.
MifPoint ReadMifPoint(Lines& mif, MifPointTest test, int32_t* x, int32_t* y);

// The Point and NONE objects of a file one after the other, as ReadMifPoint gives them, read on all
// processors.
class MifPoints {
 public:
  // `mif` is open, its header read. It is read to its end.
  MifPoints(LineSource& mif, MifPointTest test) : objects_(mif, Read{test}) {}

  // The next object; x and y are set for a point only.
  MifPoint Next(int32_t* x, int32_t* y);

 private:
  struct Object {
    MifPoint kind;
    int32_t x;
    int32_t y;
  };
  struct Read {
    MifPointTest test;
    ReadResult operator()(Lines& lines, Object* object) const {
      object->kind = ReadMifPoint(lines, test, &object->x, &object->y);
      return object->kind == MifPoint::kEnd ? ReadResult::kEnd : ReadResult::kRecord;
    }
  };
  RecordCursor<Object, Read> objects_;
};

}  // namespace zatlib
