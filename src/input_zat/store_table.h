// A whole work store in memory with an index of its codes, for the steps that amend stored
// records.
#pragma once

#include <cstdint>

#include "frd/files.h"
#include "frd/keyed_table.h"
#include "frd/memory.h"
#include "network/workstore/feature_code.h"
#include "network/workstore/index_sort.h"

namespace zatlib {

enum class StoreTableResult { kLoaded, kNoMemory, kNotRead };

template <typename Record>
class StoreTable {
 public:
  // Reads the file (its size plus 64 bytes of memory) and reserves count + 2 index entries.
  StoreTableResult Load(const char* path) {
    size_ = FileSize(path);
    count_ = static_cast<int64_t>(size_ / sizeof(Record));
    if (!image_.Allocate(size_ + kSlack) || !index_.Allocate(static_cast<uint64_t>(count_) + 2)) {
      return StoreTableResult::kNoMemory;
    }
    platform::File file =
        platform::File::Open(path, platform::Access::kRead, platform::Share::kRead,
                             platform::Disposition::kOpenExisting, platform::Hint::kSequential);
    if (!file.IsOpen() || !ReadExactly(file, image_.data(), size_)) {
      return StoreTableResult::kNotRead;
    }
    return StoreTableResult::kLoaded;
  }

  // Fills and sorts the index; `code_of` gives a record's code. Returns 1, 0 on cancel.
  template <typename CodeOf>
  int BuildIndex(CodeOf code_of) {
    for (int64_t i = 0; i < count_; ++i) {
      index_[static_cast<uint64_t>(i)] = {code_of(records()[i]).AsDouble(), static_cast<int32_t>(i),
                                          0};
    }
    return BRN_SortCommonIndex(count_, index_.data());
  }

  // The record of a code, null when there is none.
  Record* Find(FeatureCode code) {
    const int32_t position = FRD_FindByKey(index_.data(), count_, code.AsDouble());
    return position < 0 ? nullptr : &records()[position];
  }

  // Writes the whole image back; false when the system refuses.
  bool Save(const char* path) { return SaveFile(path, image_.data(), size_) == SaveResult::kSaved; }

 private:
  static constexpr uint64_t kSlack = 64;
  Record* records() { return reinterpret_cast<Record*>(image_.data()); }

  uint64_t size_ = 0;
  int64_t count_ = 0;
  PageArray<char> image_;
  PageArray<KeyedRecord> index_;
};

}  // namespace zatlib
