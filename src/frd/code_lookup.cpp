#include "frd/code_lookup.h"

#include <algorithm>

namespace zatlib {
namespace {

constexpr int64_t kLeastCount = 9;  // records from which a table of starts pays
constexpr int64_t kRecordsPerSlot = 4;
constexpr double kWholeLimit = 9007199254740992.0;  // 2^53; below it doubles hold whole numbers

}  // namespace

int64_t CodeLookup::FindPlain(double key) const {
  return FindNarrowed(count_, key, [this](int64_t i) { return KeyAt(i); });
}

int64_t CodeLookup::FindCrowded(uint32_t offset, double key) const {
  Stretch stretch;
  std::memcpy(&stretch, storage_.data() + offset, sizeof stretch);
  if (!(key >= stretch.first && key <= stretch.last)) return -1;
  const uint32_t* starts =
      storage_.data() + offset + kStretchSize + SlotOf(key, stretch.base, stretch.scale);
  int64_t low = starts[0];
  int64_t high = starts[1];
  while (high - low > kCrowd) {
    const int64_t middle = (low + high) / 2;
    if (KeyAt(middle) < key) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return Settle(Skip(low, key), key);
}

// Sets starts[0] to starts[slots] for the records `begin` to `end`, which are those of `stretch`.
template <typename Settled>
bool CodeLookup::FillStarts(uint32_t* starts, uint32_t slots, int64_t begin, int64_t end,
                            const Stretch& stretch, Settled settled) {
  size_t filled = 0;  // starts that are set
  for (int64_t i = begin; i < end; ++i) {
    const double key = KeyAt(i);
    if (!settled(key)) return false;
    const size_t slot = SlotOf(key, stretch.base, stretch.scale);
    while (filled <= slot) starts[filled++] = static_cast<uint32_t>(i);
  }
  while (filled <= slots) starts[filled++] = static_cast<uint32_t>(end);
  return true;
}

void CodeLookup::Build(const void* table, size_t stride, int64_t count) {
  table_ = static_cast<const char*>(table);
  stride_ = stride;
  count_ = count;
  starts_ = nullptr;
  twins_ = false;
  storage_.Free();
  if (count < kLeastCount || count > INT32_MAX) return;
  // Room for the worst case, of which little is touched as a rule: every slot with records crowded.
  const auto slots = static_cast<uint32_t>(count / kRecordsPerSlot);
  const int64_t stretches = count / (kCrowd + 1) + 1;
  const int64_t room = slots + 1 + stretches * (kStretchSize + 2) + count / kRecordsPerSlot;
  if (!storage_.Allocate(room)) return;
  first_ = KeyAt(0);
  last_ = KeyAt(count - 1);
  by_value_ = first_ >= 0.0 && last_ >= 1.0 && last_ <= kWholeLimit;
  if (!(first_ <= last_)) return;
  base_ = BaseOf(first_);
  scale_ = ScaleFor(slots, last_, base_);
  uint32_t* const starts = storage_.data();
  double before = first_;
  int64_t equal = -1;  // the first record equals itself
  const Stretch whole{base_, scale_, first_, last_};
  const bool sorted = FillStarts(starts, slots, 0, count, whole, [&](double key) {
    if (!(before <= key && key <= last_)) return false;
    equal += key == before;
    before = key;
    return true;
  });
  if (!sorted) return;
  twins_ = equal > 0;
  uint32_t used = slots + 1;
  uint32_t begin = starts[0];
  for (uint32_t slot = 0; slot < slots; ++slot) {
    const uint32_t end = starts[slot + 1];
    if (int64_t{end} - begin > kCrowd) {
      const double first = KeyAt(begin);
      const double last = KeyAt(end - 1);
      const uint32_t own_slots = (end - begin) / kRecordsPerSlot + 1;
      Stretch stretch{BaseOf(first), 0.0, first, last};
      stretch.scale = ScaleFor(own_slots, last, stretch.base);
      std::memcpy(starts + used, &stretch, sizeof stretch);
      FillStarts(starts + used + kStretchSize, own_slots, begin, end, stretch,
                 [](double) { return true; });
      starts[slot] = kCrowded | used;
      used += kStretchSize + own_slots + 1;
    }
    begin = end;
  }
  starts_ = starts;
}

}  // namespace zatlib
