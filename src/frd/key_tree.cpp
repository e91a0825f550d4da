#include "frd/key_tree.h"

namespace zatlib {

void KeyTree::Build(const void* table, size_t stride, int64_t count) {
  table_ = static_cast<const char*>(table);
  stride_ = stride;
  count_ = count;
  levels_ = 0;
  storage_.Free();
  int64_t total = 0;
  for (int64_t n = count; n > kFanOut;) {
    n = (n + kFanOut - 1) / kFanOut;
    total += n;
  }
  if (total == 0 || !storage_.Allocate(static_cast<uint64_t>(total))) return;
  double* out = storage_.data();
  int64_t below_count = count;
  const double* below = nullptr;  // null: the table itself
  while (below_count > kFanOut) {
    const int64_t n = (below_count + kFanOut - 1) / kFanOut;
    for (int64_t i = 0; i < n; ++i) {
      out[i] = below == nullptr ? KeyAt(i * kFanOut) : below[i * kFanOut];
    }
    level_[levels_++] = {out, n};
    below = out;
    below_count = n;
    out += n;
  }
}

}  // namespace zatlib
