// What only all records together tell: lengths beside shapes, speeds, one-way links, rules that
// contradict each other, and how far one gets.
#pragma once

#include "check/network.h"

namespace zatmap::check {

// Called once, when everything has been read and the speeds are final.
void CheckWholeSet(const Network& network);

}  // namespace zatmap::check
