// Tables of (key, value) pairs sorted by key: the layout of the code index files too.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <utility>

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

// Maps a double's bits to an unsigned number of the same order (NaNs at the ends), so that a sort
// is safe with any bits.
inline uint64_t SortableBits(double key) {
  uint64_t bits;
  std::memcpy(&bits, &key, sizeof bits);
  constexpr uint64_t kSign = uint64_t{1} << 63;
  return (bits & kSign) != 0 ? ~bits : bits | kSign;
}

inline constexpr int kSortBuckets = 256;

// Swaps the records of [begin, end) into the order of the 8 bits of their key from `shift` on.
// limit[b] becomes the end of bucket b.
template <typename Record, typename BitsOf>
void SplitIntoBuckets(Record* begin, Record* end, int shift, BitsOf bits_of,
                      Record* (&limit)[kSortBuckets]) {
  int64_t counts[kSortBuckets] = {};
  const auto bucket_of = [&](const Record& record) { return (bits_of(record) >> shift) & 0xFF; };
  for (const Record* r = begin; r != end; ++r) ++counts[bucket_of(*r)];
  Record* next[kSortBuckets];  // where the bucket's next record goes
  Record* position = begin;
  for (int b = 0; b < kSortBuckets; ++b) {
    next[b] = position;
    position += counts[b];
    limit[b] = position;
  }
  for (int b = 0; b < kSortBuckets; ++b) {
    while (next[b] != limit[b]) {
      const auto home = bucket_of(*next[b]);
      if (home == static_cast<uint64_t>(b)) {
        ++next[b];
      } else {
        std::swap(*next[b], *next[home]);
        ++next[home];
      }
    }
  }
}

// Sorts [begin, end) ascending by the bits of the key below `shift` + 8: a radix sort, most
// significant bits first, that swaps records into place and needs no second array. Small ranges
// go to a comparison sort.
template <typename Record, typename BitsOf>
void RadixSortRange(Record* begin, Record* end, int shift, BitsOf bits_of) {
  constexpr int64_t kSmallRange = 256;  // records below which comparing is faster
  if (end - begin < kSmallRange) {
    std::sort(begin, end,
              [&](const Record& a, const Record& b) { return bits_of(a) < bits_of(b); });
    return;
  }
  Record* limit[kSortBuckets];
  SplitIntoBuckets(begin, end, shift, bits_of, limit);
  if (shift == 0) return;
  Record* start = begin;
  for (Record* const bucket_end : limit) {
    if (bucket_end - start > 1) {
      RadixSortRange(start, bucket_end, std::max(shift - 8, 0), bits_of);
    }
    start = bucket_end;
  }
}

// What a sort learns from one look at all keys.
struct KeyOrder {
  bool sorted;
  int shift;  // of the first split: codes of one map share their first bits
};

template <typename Record, typename BitsOf>
KeyOrder LookAtKeys(const Record* records, int64_t count, BitsOf bits_of) {
  uint64_t low = bits_of(records[0]);
  uint64_t high = low;
  uint64_t before = low;
  bool sorted = true;
  for (int64_t i = 1; i < count; ++i) {
    const uint64_t bits = bits_of(records[i]);
    sorted = sorted && before <= bits;
    before = bits;
    low = std::min(low, bits);
    high = std::max(high, bits);
  }
  return {sorted, std::max(static_cast<int>(std::bit_width(low ^ high)) - 8, 0)};
}

// Sorts records ascending by the double that `key_of(record)` gives; at once when they are in
// order already. In place; the time grows with count x key length at worst.
template <typename Record, typename KeyOf>
void SortRecords(Record* records, int64_t count, KeyOf key_of) {
  if (count < 2) return;
  const auto bits_of = [&key_of](const Record& record) { return SortableBits(key_of(record)); };
  const KeyOrder order = LookAtKeys(records, count, bits_of);
  if (!order.sorted) RadixSortRange(records, records + count, order.shift, bits_of);
}

}  // namespace zatlib
