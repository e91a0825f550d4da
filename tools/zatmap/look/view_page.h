// The page of `zatmap view`, in pieces: what stands before the data of a map, and behind them. A
// null pointer ends each list.
#pragma once

namespace zatmap {

extern const char* const kPage_head[];
extern const char* const kPage_tail[];

}  // namespace zatmap
