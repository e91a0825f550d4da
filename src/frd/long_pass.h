// Passes over many records that show no counts: they look at the user now and then, so that a
// cancel is seen within a fraction of a second however large the map is.
#pragma once

#include <cstdint>

#include "frd/control.h"
#include "frd/keyed_table.h"

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

// SortRecords of frd/keyed_table.h. Returns 1, or 0 when the user has cancelled; the records are
// then in no order.
template <typename Record, typename KeyOf>
int SortUnlessCancelled(Record* records, int64_t count, KeyOf key_of) {
  constexpr int64_t kLookInterval = 0x100000;  // keys compared
  struct Cancelled {};
  if (count < kCancelInterval) {
    SortRecords(records, count, key_of);
    return 1;
  }
  int64_t keys = 0;
  try {
    // Only an exception leads out of the middle of a sort.
    SortRecords(records, count, [&keys, &key_of](const Record& record) {
      if (CancelledAt(keys++, kLookInterval)) throw Cancelled();
      return key_of(record);
    });
  } catch (const Cancelled&) {
    return 0;
  }
  return 1;
}

}  // namespace zatlib
