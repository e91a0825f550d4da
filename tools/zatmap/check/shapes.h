// Link shapes as `zatmap check` sees them, from MIF files and from text files.
#pragma once

#include <vector>

#include "check/control.h"
#include "check/network.h"
#include "check/network_causes.h"
#include "check/plain_shapes.h"

namespace zatmap::check {

class ShapeChecker {
 public:
  // `limit` is the greatest number of bytes that all points together may have.
  ShapeChecker(Network& network, int64_t limit) : network_(network), limit_(limit) {}

  bool Knows(zatlib::FeatureCode link) const { return network_.FindLink(link) >= 0; }

  void Begin(zatlib::FeatureCode code, Place place);
  void Point(Place here, int32_t x, int32_t y);
  void End();

  // The same for a shape that is in order; false when it has to be checked point by point.
  bool Take(const PlainShape& shape, Place place);

  Network& network() const { return network_; }

  // Links without a shape, shapes of one unknown code; call it once, behind all files.
  void Finish();

 private:
  struct UnknownShape {
    zatlib::FeatureCode code;
    Place place;
  };

  void EndAt(int32_t found);
  void CheckEnds(const CheckedLink& link);

  Network& network_;
  int64_t limit_;
  int64_t bytes_ = 0;
  int64_t shapes_ = 0;
  ShapeEnds ends_;
  std::vector<UnknownShape> unknown_;

  zatlib::FeatureCode code_;
  Place place_;
  int64_t points_ = 0;
  int64_t exchanged_points_ = 0;  // near with longitude and latitude exchanged
  bool meets_ = false;            // its ends are known to be the nodes of its link
  bool far_ = false;              // a point lies far from the nodes
  double length_ = 0;             // metres
  double swapped_length_ = 0;
  int32_t first_x_ = 0;
  int32_t first_y_ = 0;
  int32_t last_x_ = 0;
  int32_t last_y_ = 0;
};

// The [LINKSHAPE] files.
void CheckShapeTexts(Control& control, ShapeChecker& shapes, int code_length);

}  // namespace zatmap::check
