// Buffers that records pass through: as large as is good where there is memory, smaller where it is
// short, and never none. So a file whose records find no large buffer is read and written all the
// same, in smaller parts.
#pragma once

#include <cstdint>

#include "frd/memory.h"

namespace zatlib {

template <typename Record>
class WorkBuffer {
 public:
  // Takes page memory for `wanted` records; a half, a quarter ... of it where the allocator
  // refuses, and in the end what the buffer holds in itself. A buffer that has been taken stays.
  void Take(int64_t wanted) {
    while (!IsTaken()) {
      if (wanted <= kOwnRecords) {
        room_ = kOwnRecords;
      } else if (pages_.Allocate(wanted)) {
        room_ = wanted;
      }
      wanted /= 2;
    }
  }

  bool IsTaken() const { return room_ > 0; }

  // Records that it has room for; 0 = not taken.
  int64_t room() const { return room_; }

  Record* data() { return pages_ ? pages_.data() : own_; }
  Record& operator[](int64_t i) { return data()[i]; }

  // Gives it back, to be taken anew.
  void Free() {
    pages_.Free();
    room_ = 0;
  }

 private:
  static constexpr int64_t kOwnRecords = 4096 / sizeof(Record);
  static_assert(kOwnRecords > 0);

  PageArray<Record> pages_;
  int64_t room_ = 0;
  Record own_[kOwnRecords] = {};
};

}  // namespace zatlib
