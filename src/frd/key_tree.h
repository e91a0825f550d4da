// Fast lookups in a sorted table: every eighth key of a level stands in the level above it, so a
// lookup touches one or two cache lines a level instead of one for every halving. Costs about 1.15
// bytes a record of the table.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frd/keyed_table.h"
#include "frd/memory.h"

namespace zatlib {

class KeyTree {
 public:
  KeyTree() = default;

  // Takes a table of `count` records of `stride` bytes, sorted ascending by the double at the
  // start of each. The table must stay where it is and as it is. Without memory for the levels
  // the lookups work all the same, only slower.
  void Build(const void* table, size_t stride, int64_t count);
  template <typename Record>
  void Build(const Record* table, int64_t count) {
    Build(table, sizeof(Record), count);
  }

  int64_t count() const { return count_; }

  // Position of the record that FindNarrowed finds for the key, or -1.
  int64_t Find(double key) const {
    int64_t block = 0;
    for (int level = levels_ - 1; level >= 0; --level) {
      const Level& keys = level_[level];
      const int64_t end =
          block * kFanOut + kFanOut < keys.count ? block * kFanOut + kFanOut : keys.count;
      int64_t position = block * kFanOut;
      while (position < end && keys.keys[position] < key) ++position;
      block = position > 0 ? position - 1 : 0;
    }
    const int64_t end = block * kFanOut + kFanOut < count_ ? block * kFanOut + kFanOut : count_;
    int64_t position = block * kFanOut;
    if (levels_ == 0) return FindNarrowed(count_, key, [this](int64_t i) { return KeyAt(i); });
    while (position < end && KeyAt(position) < key) ++position;
    if (position >= count_ || !(KeyAt(position) == key)) return -1;
    // Of several equal records the narrowing of a plain lookup decides which one is met.
    if (position + 1 < count_ && KeyAt(position + 1) == key) {
      return FindNarrowed(count_, key, [this](int64_t i) { return KeyAt(i); });
    }
    return position;
  }

 private:
  static constexpr int64_t kFanOut = 8;
  static constexpr int kMaxLevels = 12;  // 8^12 records are more than a table can hold

  struct Level {
    const double* keys;
    int64_t count;
  };

  double KeyAt(int64_t i) const {
    double key;
    std::memcpy(&key, table_ + static_cast<size_t>(i) * stride_, sizeof key);
    return key;
  }

  const char* table_ = nullptr;
  size_t stride_ = sizeof(double);
  int64_t count_ = 0;
  int levels_ = 0;
  Level level_[kMaxLevels] = {};
  PageArray<double> storage_;
};

}  // namespace zatlib
