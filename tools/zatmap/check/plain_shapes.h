// The shapes of text files that are entirely in order: check/plain.h.
#pragma once

#include "check/network.h"
#include "check/plain.h"

namespace zatmap::check {

// A block of lines: a link, whole points near the nodes, not too few and not too many of them.
struct PlainShape {
  zatlib::FeatureCode code;
  int32_t link;    // its place, -1 when there is none
  int32_t points;  // also the number of lines behind the first
  int32_t first_x;
  int32_t first_y;
  int32_t last_x;
  int32_t last_y;
  float length;  // metres
  float swapped_length;
  bool meets;  // it goes from one node of the link to the other, and both have coordinates
  char* begin;
  char* end;
};

// Pieces begin with lines that can only be the first ones of a block.
extern const CutRule kAtShapes;

// Sorts the blocks of a piece: records are in order, others are whole but have to be checked. It
// stops at a block that is not whole.
void LookAtShapes(const Piece& piece, const Network& network, RowWork<PlainShape>* work);

}  // namespace zatmap::check
