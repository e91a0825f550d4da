// Where the network construction takes node and link records from: an array in memory, or the
// store file by record position. One algorithm runs over either.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include "frd/cancellable.h"
#include "frd/control.h"
#include "frd/memory.h"
#include "frd/work_buffer.h"
#include "network/workstore/store_file.h"
#include "network/workstore/work_stores.h"

namespace zatlib {

inline constexpr int32_t kStatusInterval = 10000;  // records between two texts, through files

// Records that an array by record number has room for: two more than there are.
inline int64_t RoomFor(int64_t count) { return count + 2; }

// Where a node lies, millionths of a degree.
struct NodePlace {
  int32_t X;
  int32_t Y;
};

// The records of a store that are not empty, in file order; a record's number is its place here.
template <typename Record>
struct RecordArray {
  using Held = Record;  // what is held of each record
  PageArray<Held> records;
  int32_t count = 0;

  // Record i; never null.
  Record* At(int32_t i) { return &records[i]; }
  // Records that one Fetch gives at most.
  int32_t AtOnce() { return std::numeric_limits<int32_t>::max(); }
  // The records from record `begin` on, as many as there are.
  const Record* Fetch(int32_t begin, int32_t*) { return At(begin); }
  // A change made to record i is kept in memory only; true.
  bool Write(int32_t) { return true; }
  // Opens what At and Write need; true.
  bool Open(const char*, platform::Access) { return true; }
  void Close() {}
};

// The positions of the records that are not empty, 4 bytes each.
template <typename Record>
struct RecordPositions {
  using Held = uint32_t;  // what is held of each record
  PageArray<Held> positions;
  int32_t count = 0;
  StoreFile<Record> store;
  WorkBuffer<Record> fetched;
  PageArray<NodePlace> places;  // nodes only: a link's ends may lie anywhere in the store

  // Record i, good until the next call; null when it cannot be read.
  Record* At(int32_t i) { return store.At(positions[i]); }
  // Records that one Fetch gives at most: kStatusInterval, fewer where memory is short.
  int32_t AtOnce() {
    fetched.Take(std::min(count, kStatusInterval));
    return static_cast<int32_t>(std::min<int64_t>(fetched.room(), kStatusInterval));
  }
  // Up to `*wanted` records, at most AtOnce(), from record `begin` on, good until the next call;
  // `*wanted` becomes the number of those before the first one that cannot be read.
  const Record* Fetch(int32_t begin, int32_t* wanted) {
    const uint32_t* from = &positions[begin];
    const int32_t asked = *wanted;
    int32_t done = 0;
    while (done < asked) {
      // What lies between is read with them, and closed up.
      const uint32_t first = from[done];
      const int64_t span = std::min<int64_t>(int64_t{from[asked - 1]} - first + 1, AtOnce() - done);
      Record* const out = &fetched[done];
      const int64_t read = store.Read(first, span, out);
      const int32_t before = done;
      for (; done < asked && from[done] - first < read; ++done) {
        if (from[done] - first != static_cast<uint32_t>(done - before)) {
          out[done - before] = out[from[done] - first];
        }
      }
      if (read < span) break;
    }
    *wanted = done;
    return fetched.data();
  }
  // Writes record i, as At(i) gave it and the caller changed it, into the store.
  bool Write(int32_t i) { return store.Write(positions[i]); }
  bool Open(const char* path, platform::Access access) { return store.Open(path, access); }
  void Close() {
    store = StoreFile<Record>();
    fetched.Free();
  }
};

// Position of a record in its store, for messages; an array knows its numbers only.
template <typename Record>
long PositionOf(const RecordArray<Record>&, int32_t number) {
  return number;
}
template <typename Record>
long PositionOf(const RecordPositions<Record>& list, int32_t number) {
  return static_cast<long>(list.positions[number]);
}

// Goes through the records 0 to count - 1 in blocks, with a look at the user between two blocks:
// before each, with a progress text (a %d in it), where there is one; after each else. `body(begin,
// end)` works a block off, or a part of one of at most `at_once` records. Returns 1; 0 on cancel or
// as soon as `body` returns 0.
template <typename Body>
int ForBlocks(int32_t count, const char* progress, int32_t at_once, Body body) {
  const int32_t block = progress == nullptr ? int32_t{kCancelInterval} : kStatusInterval;
  for (int32_t begin = 0; begin < count;) {
    const int32_t end = count - begin > block ? begin + block : count;
    if (progress != nullptr && SetStatusNumber(progress, begin) == 0) return 0;
    for (int32_t part = begin; part < end;) {
      const int32_t part_end = end - part > at_once ? part + at_once : end;
      if (body(part, part_end) == 0) return 0;
      part = part_end;
    }
    if (progress == nullptr && CancelledWithin(begin, end)) return 0;
    begin = end;
  }
  return 1;
}

inline constexpr int64_t kGrain = 0x800;  // records that a thread takes at once

using NodeArray = RecordArray<NodeStoreRecord>;
using LinkArray = RecordArray<LinkStoreRecord>;
using NodePositions = RecordPositions<NodeStoreRecord>;
using LinkPositions = RecordPositions<LinkStoreRecord>;

}  // namespace zatlib
