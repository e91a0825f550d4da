// Lengths of links beside what their shapes measure.
#pragma once

#include "check/network.h"

namespace zatmap::check {

// One finding when all lengths are off by a factor, as those in another unit are; else one for each
// that does not fit, or one for all when many do not. A link without a shape is measured between
// its nodes. False when they are no metres, so that costs say nothing.
bool CheckLengths(const Network& network);

}  // namespace zatmap::check
