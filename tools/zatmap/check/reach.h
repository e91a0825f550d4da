// How far one gets in the network that the sources describe.
#pragma once

#include "check/network.h"
#include "check/road_net.h"

namespace zatmap::check {

// A finding for every part that no road joins with the largest part, for every group of nodes that
// cannot be reached from where one gets from everywhere to everywhere, and for every group that one
// cannot leave for there.
void CheckReach(const Network& network, const RoadNet& net);

}  // namespace zatmap::check
