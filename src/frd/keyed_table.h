// Tables of (key, value) pairs sorted by key: the layout of the code index files too.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace zatlib {

// A record of a keyed table, 16 bytes.
struct KeyedRecord {
  double key;
  int32_t value;
  uint32_t extra;  // not used by the operations here
};
static_assert(sizeof(KeyedRecord) == 16);

// Where the narrowing of a lookup ends; below it the records were scanned one by one when the
// operations were defined, and the first equal one of that range is the answer still.
inline constexpr int64_t kLinearRange = 512;

// Position of the first record equal to `key` within the range that halving leaves (at most 512
// records; the upper half is kept while key >= the middle key), or -1. `key_of(i)` is the key of
// record i; the records are sorted ascending.
template <typename KeyOf>
int64_t FindNarrowed(int64_t count, double key, KeyOf key_of) {
  int64_t low = 0;
  int64_t high = count;
  while (high - low > kLinearRange) {
    const int64_t middle = (low + high) / 2;
    if (key >= key_of(middle)) {
      low = middle;
    } else {
      high = middle;
    }
  }
  const int64_t end = high;
  while (low < high) {
    const int64_t middle = (low + high) / 2;
    if (key_of(middle) < key) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return low < end && key_of(low) == key ? low : -1;
}

// The value of a record whose key equals `key`, or -1.
int32_t FRD_FindByKey(const KeyedRecord* table, int64_t count, double key);

// Index of the first record whose key equals `key`, or -1.
int64_t FRD_FindFirstByKey(double key, int64_t count, const KeyedRecord* table);

// Sorts ascending by key, in place; equal keys keep no particular order. Returns 1.
int FRD_SortByKey(int64_t count, KeyedRecord* table);

// Maps a double's bits to an unsigned number of the same order (NaNs at the ends), so that a sort
// is safe with any bits.
inline uint64_t SortableBits(double key) {
  uint64_t bits;
  std::memcpy(&bits, &key, sizeof bits);
  constexpr uint64_t kSign = uint64_t{1} << 63;
  return (bits & kSign) != 0 ? ~bits : bits | kSign;
}

// Sorts records ascending by the double that `key_of(record)` gives; at once when they are in
// order already. O(n log n) at worst, in place.
template <typename Record, typename KeyOf>
void SortRecords(Record* records, int64_t count, KeyOf key_of) {
  const auto less = [&key_of](const Record& a, const Record& b) {
    return SortableBits(key_of(a)) < SortableBits(key_of(b));
  };
  if (std::is_sorted(records, records + count, less)) return;
  std::sort(records, records + count, less);
}

}  // namespace zatlib
