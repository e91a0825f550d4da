// Where the network construction takes node and link records from: an array in memory, or the
// store file by record position. One algorithm runs over either.
#pragma once

#include <cstdint>

#include "frd/memory.h"
#include "network/workstore/store_file.h"
#include "network/workstore/work_stores.h"

namespace zatlib {

// The records of a store that are not empty, in file order; a record's number is its place here.
template <typename Record>
struct RecordArray {
  PageArray<Record> records;
  int32_t count = 0;

  // Record i; never null.
  Record* At(int32_t i) { return &records[static_cast<uint64_t>(i)]; }
  // A change made to record i is kept in memory only; true.
  bool Write(int32_t) { return true; }
  // Opens what At and Write need; true.
  bool Open(const char*, platform::Access) { return true; }
  void Close() {}
};

// The positions of the records that are not empty, 4 bytes each.
template <typename Record>
struct RecordPositions {
  PageArray<uint32_t> positions;
  int32_t count = 0;
  StoreFile<Record> store;

  // Record i, good until the next call; null when it cannot be read.
  Record* At(int32_t i) { return store.At(positions[static_cast<uint64_t>(i)]); }
  // Writes record i, as At(i) gave it and the caller changed it, into the store.
  bool Write(int32_t i) { return store.Write(positions[static_cast<uint64_t>(i)]); }
  bool Open(const char* path, platform::Access access) { return store.Open(path, access); }
  void Close() { store = StoreFile<Record>(); }
};

// Position of a record in its store, for messages; an array knows its numbers only.
template <typename Record>
long PositionOf(const RecordArray<Record>&, int32_t number) {
  return number;
}
template <typename Record>
long PositionOf(const RecordPositions<Record>& list, int32_t number) {
  return static_cast<long>(list.positions[static_cast<uint64_t>(number)]);
}

using NodeArray = RecordArray<NodeStoreRecord>;
using LinkArray = RecordArray<LinkStoreRecord>;
using NodePositions = RecordPositions<NodeStoreRecord>;
using LinkPositions = RecordPositions<LinkStoreRecord>;

}  // namespace zatlib
