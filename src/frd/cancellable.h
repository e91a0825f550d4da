// Passes over many records that show no counts: they look at the user now and then, so that a
// cancel is seen within a fraction of a second however large the map is.
#pragma once

#include <algorithm>
#include <cstdint>

#include "frd/control.h"
#include "frd/keyed_table.h"
#include "frd/parallel.h"

namespace zatlib {

inline constexpr int64_t kCancelInterval = 0x10000;  // records that take some ten milliseconds

// True at the end of every `interval` indexes (a power of two) when the user has cancelled; never
// in silent mode.
inline bool CancelledAt(int64_t index, int64_t interval = kCancelInterval) {
  return (index & (interval - 1)) == interval - 1 && BRN_SetStatus(nullptr) == 0;
}

// The same for a block of indexes that were worked off together.
inline bool CancelledWithin(int64_t begin, int64_t end, int64_t interval = kCancelInterval) {
  return begin / interval != end / interval && BRN_SetStatus(nullptr) == 0;
}

// SortRecords of frd/keyed_table.h, on all processors: `key_of` must be plain computation. Returns
// 1, or 0 when the user has cancelled; the records are then in no order.
template <typename Record, typename KeyOf>
int SortUnlessCancelled(Record* records, int64_t count, KeyOf key_of) {
  constexpr int64_t kLookInterval = 0x100000;  // keys compared
  constexpr int64_t kBatch = 0x40000;          // records sorted between two looks
  struct Cancelled {};
  if (count < kCancelInterval) {
    SortRecords(records, count, key_of);
    return 1;
  }
  int64_t keys = 0;
  const auto looking = [&](const Record& record) {
    if (CancelledAt(keys++, kLookInterval)) throw Cancelled();
    return SortableBits(key_of(record));
  };
  const auto bits_of = [&](const Record& record) { return SortableBits(key_of(record)); };
  try {
    // Only an exception leads out of the middle of a sort.
    const KeyOrder order = LookAtKeys(records, count, looking);
    if (order.sorted) return 1;
    Record* limit[kSortBuckets];
    SplitIntoBuckets(records, records + count, order.shift, looking, limit);
    if (order.shift == 0) return 1;
    const int shift = std::max(order.shift - 8, 0);
    const auto start = [&](int64_t bucket) { return bucket == 0 ? records : limit[bucket - 1]; };
    Workers workers;
    for (int64_t first = 0; first < kSortBuckets;) {
      int64_t end = first + 1;
      while (end < kSortBuckets && limit[end] - start(first) <= kBatch) ++end;
      if (limit[end - 1] - start(first) > kLookInterval) {
        RadixSortRange(start(first), limit[first], shift, looking);
      } else {
        workers.Run(end - first, [&](int64_t part) {
          RadixSortRange(start(first + part), limit[first + part], shift, bits_of);
        });
        if (BRN_SetStatus(nullptr) == 0) return 0;
      }
      first = end;
    }
  } catch (const Cancelled&) {
    return 0;
  }
  return 1;
}

}  // namespace zatlib
