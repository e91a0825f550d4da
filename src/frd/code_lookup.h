// Fast lookups in a sorted table: the distance of a key from the smallest one leads through a
// table of starts to the few records that can hold it. Where keys lie in clusters, as codes made of
// an area and a number do, a crowded stretch has a table of its own. Costs 1 byte a record of the
// table, up to 2 where the keys are clustered.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frd/keyed_table.h"
#include "frd/memory.h"

namespace zatlib {

class CodeLookup {
 public:
  CodeLookup() = default;

  // Takes a table of `count` records of `stride` bytes, sorted ascending by the double at the
  // start of each. The table must stay where it is and as it is. Without memory for the starts
  // the lookups work all the same, only slower; so they do in a table that is not sorted.
  void Build(const void* table, size_t stride, int64_t count);
  template <typename Record>
  void Build(const Record* table, int64_t count) {
    Build(table, sizeof(Record), count);
  }

  int64_t count() const { return count_; }

  // Position of the record that FindNarrowed finds for the key, or -1.
  int64_t Find(double key) const {
    if (starts_ == nullptr) return FindPlain(key);
    if (!(key >= first_ && key <= last_)) return -1;
    const uint32_t start = starts_[SlotOf(key, base_, scale_)];
    if ((start & kCrowded) != 0) return FindCrowded(start & ~kCrowded, key);
    // A key no larger than the last one: the scan ends within the table.
    return Settle(Skip(start, key), key);
  }

  // The same, for keys that follow each other about as the records do: looks at the record `hint`
  // and the next ones first.
  int64_t FindFrom(double key, int64_t hint) const {
    constexpr int64_t kNear = 4;  // records that one or two cache lines hold
    if (starts_ != nullptr && !twins_ && hint >= 0 && hint + kNear <= count_) {
      for (int64_t i = hint; i < hint + kNear; ++i) {
        if (KeyAt(i) == key) return i;
      }
    }
    return Find(key);
  }

 private:
  static constexpr uint32_t kCrowded = 0x80000000u;  // a start that leads to a stretch
  static constexpr int64_t kCrowd = 32;              // records of a slot from which it has its own

  static constexpr double kLargestScale = 1e300;

  // The table of a crowded slot; its own starts lie behind it.
  struct Stretch {
    uint64_t base;  // as base_
    double scale;
    double first;  // smallest and largest key
    double last;
  };
  static constexpr uint32_t kStretchSize = sizeof(Stretch) / sizeof(uint32_t);

  double KeyAt(int64_t i) const {
    double key;
    std::memcpy(&key, table_ + static_cast<size_t>(i) * stride_, sizeof key);
    return key;
  }

  // Where a table that begins with this key counts distances from.
  uint64_t BaseOf(double key) const {
    if (!by_value_) return SortableBits(key + 0.0);  // one zero, not two
    uint64_t bits;
    std::memcpy(&bits, &key, sizeof bits);
    return bits;
  }

  double Distance(double key, uint64_t base) const {
    if (!by_value_) {
      return static_cast<double>(static_cast<int64_t>((SortableBits(key + 0.0) - base) >> 1));
    }
    double first;
    std::memcpy(&first, &base, sizeof first);
    return key - first;
  }

  size_t SlotOf(double key, uint64_t base, double scale) const {
    return static_cast<size_t>(static_cast<int64_t>(Distance(key, base) * scale));
  }

  // First record from `position` on that is not smaller than the key.
  int64_t Skip(int64_t position, double key) const {
    // As many as a slot has on average are counted without a branch, which would be mispredicted.
    if (position + 4 <= count_) {
      const int64_t smaller = (KeyAt(position) < key) + (KeyAt(position + 1) < key) +
                              (KeyAt(position + 2) < key) + (KeyAt(position + 3) < key);
      position += smaller;
      if (smaller < 4) return position;
    }
    while (KeyAt(position) < key) ++position;
    return position;
  }

  // The answer when `position` is the first record that is not smaller than the key.
  int64_t Settle(int64_t position, double key) const {
    if (!(KeyAt(position) == key)) return -1;
    // Of several equal records the narrowing of a plain lookup decides which one is met.
    return twins_ ? FindPlain(key) : position;
  }

  double ScaleFor(uint32_t slots, double last, uint64_t base) const {
    const double scale = (slots - 1) / Distance(last, base);
    return scale < kLargestScale ? scale : 0.0;  // keys that are equal, or nearly so, share a slot
  }

  int64_t FindPlain(double key) const;
  int64_t FindCrowded(uint32_t offset, double key) const;
  template <typename Settled>
  bool FillStarts(uint32_t* starts, uint32_t slots, int64_t begin, int64_t end,
                  const Stretch& stretch, Settled settled);

  const char* table_ = nullptr;
  size_t stride_ = sizeof(double);
  int64_t count_ = 0;
  const uint32_t* starts_ = nullptr;  // null: plain lookups
  double first_ = 0.0;
  double last_ = 0.0;
  uint64_t base_ = 0;
  double scale_ = 0.0;
  bool by_value_ = false;  // distances of values, not of bits
  bool twins_ = false;     // some keys occur more than once
  PageArray<uint32_t> storage_;
};

}  // namespace zatlib
