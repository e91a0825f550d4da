// A whole work store in memory with an index of its codes, for the steps that amend stored
// records.
#pragma once

#include <cstdint>

#include "frd/code_lookup.h"
#include "frd/files.h"
#include "frd/keyed_table.h"
#include "frd/memory.h"
#include "frd/record_file.h"
#include "frd/record_writer.h"
#include "network/workstore/feature_code.h"
#include "network/workstore/index_sort.h"

namespace zatlib {

enum class StoreTableResult { kLoaded, kNoMemory, kNotRead };

template <typename Record>
class StoreTable {
 public:
  // Reads the file (its size plus kFileMargin bytes of memory) and reserves count + 2 index
  // entries. A store that cannot be opened is never taken for an empty one: Save would empty it.
  // More than kMaxRecords records count as no memory.
  StoreTableResult Load(const char* path) {
    constexpr uint64_t kMostBytes = (static_cast<uint64_t>(kMaxRecords) + 1) * sizeof(Record) - 1;
    const FileResult loaded = LoadFile(path, &image_, {.most_bytes = kMostBytes});
    if (loaded == FileResult::kNoMemory) return StoreTableResult::kNoMemory;
    if (loaded != FileResult::kDone) return StoreTableResult::kNotRead;
    count_ = image_.count<Record>();
    return index_.Allocate(count_ + 2) ? StoreTableResult::kLoaded : StoreTableResult::kNoMemory;
  }

  // Fills and sorts the index; `code_of` gives a record's code. Returns 1, 0 on cancel.
  template <typename CodeOf>
  int BuildIndex(CodeOf code_of) {
    for (int64_t i = 0; i < count_; ++i) {
      index_[i] = {code_of(records()[i]).AsDouble(), static_cast<int32_t>(i), 0};
    }
    const int result = BRN_SortCommonIndex(count_, index_.data());
    lookup_.Build(index_.data(), count_);
    return result;
  }

  // The record of a code, null when there is none.
  Record* Find(FeatureCode code) {
    const int64_t found = lookup_.Find(code.AsDouble());
    return found < 0 ? nullptr : &records()[index_[found].value];
  }

  // Writes the whole image back; false when the system refuses.
  bool Save(const char* path) {
    return SaveFile(path, image_.bytes.data(), image_.size) == SaveResult::kSaved;
  }

 private:
  Record* records() { return image_.records<Record>(); }

  int64_t count_ = 0;
  WholeFile image_;
  PageArray<KeyedRecord> index_;
  CodeLookup lookup_;
};

}  // namespace zatlib
