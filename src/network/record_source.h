// Where the network construction takes node and link records from: an array in memory, or the
// store file by record position. One algorithm runs over either.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <span>

#include "frd/cancellable.h"
#include "frd/control.h"
#include "frd/memory.h"
#include "frd/step.h"
#include "frd/work_buffer.h"
#include "network/network_files.h"
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
template <typename StoreRecord>
struct RecordArray {
  using Record = StoreRecord;
  using Held = Record;  // what is held of each record
  PageArray<Held> records;
  int32_t count = 0;

  // Takes memory for so many records; false when there is none.
  bool Reserve(int64_t room) { return records.Allocate(room); }
  void Free() { records.Free(); }
  // Takes those of some records of the store from `position` on that are not empty behind the
  // `*kept` taken before. Returns how many it has looked at; 0 when the first one cannot be read.
  int64_t Keep(StoreFile<Record>& store, int64_t position, int64_t* kept) {
    // Straight to where they stay; the empty ones are closed up.
    Record* out = At(static_cast<int32_t>(*kept));
    const int64_t read = store.Read(position, kCancelInterval, out);
    Record* const end = out + read;
    Record* from = out;
    while (from != end && !CodeOf(*from).IsEmpty()) ++from;
    Record* to = from;
    for (; from != end; ++from) {
      if (!CodeOf(*from).IsEmpty()) *to++ = *from;
    }
    *kept += to - out;
    return read;
  }

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
template <typename StoreRecord>
struct RecordPositions {
  using Record = StoreRecord;
  using Held = uint32_t;  // what is held of each record
  PageArray<Held> positions;
  int32_t count = 0;
  StoreFile<Record> store;
  WorkBuffer<Record> fetched;
  PageArray<NodePlace> places;  // nodes only: a link's ends may lie anywhere in the store

  // As those of RecordArray.
  bool Reserve(int64_t room) { return positions.Allocate(room); }
  void Free() { positions.Free(); }
  int64_t Keep(StoreFile<Record>& from, int64_t position, int64_t* kept) {
    const std::span<const Record> seen = from.From(position);
    for (const Record& record : seen) {
      if (!CodeOf(record).IsEmpty()) positions[(*kept)++] = static_cast<uint32_t>(position);
      ++position;
    }
    return static_cast<int64_t>(seen.size());
  }

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
// before each, with a progress text of records, where there is one; after each else. `body(begin,
// end)` works a block off, or a part of one of at most `at_once` records; the first outcome of it
// that is not kDone is the end.
template <typename Body>
Outcome ForBlocks(int32_t count, const MessageText<int>& progress, int32_t at_once, Body body) {
  const int32_t block = progress.empty() ? int32_t{kCancelInterval} : kStatusInterval;
  for (int32_t begin = 0; begin < count;) {
    const int32_t end = count - begin > block ? begin + block : count;
    if (!progress.empty() && SetStatusNumber(progress, begin) == 0) {
      return Outcome::kCancelled;
    }
    for (int32_t part = begin; part < end;) {
      const int32_t part_end = end - part > at_once ? part + at_once : end;
      const Outcome outcome = body(part, part_end);
      if (!IsDone(outcome)) return outcome;
      part = part_end;
    }
    if (progress.empty() && CancelledWithin(begin, end)) return Outcome::kCancelled;
    begin = end;
  }
  return Outcome::kDone;
}

inline constexpr int64_t kGrain = 0x800;  // records that a thread takes at once

using NodeArray = RecordArray<NodeStoreRecord>;
using LinkArray = RecordArray<LinkStoreRecord>;
using NodePositions = RecordPositions<NodeStoreRecord>;
using LinkPositions = RecordPositions<LinkStoreRecord>;

// Where nodes are read from the store, their places are kept at hand if there is memory for them.
inline void HoldPlaces(NodeArray&, const NodeLocation*) {}
inline void HoldPlaces(NodePositions& nodes, const NodeLocation* locations) {
  if (!nodes.places.Allocate(nodes.count)) return;
  for (int32_t i = 0; i < nodes.count; ++i) {
    nodes.places[i] = {locations[i].X, locations[i].Y};
  }
}

// Gives the places back. False when none are held.
inline bool DropPlaces(NodeArray&) { return false; }
inline bool DropPlaces(NodePositions& nodes) {
  const bool held = static_cast<bool>(nodes.places);
  nodes.places.Free();
  return held;
}

// Where node i lies; false when it would have to be read from the store.
inline bool PlaceAtHand(const NodeArray& nodes, int32_t i, NodePlace* place) {
  const NodeStoreRecord& node = nodes.records[i];
  *place = {node.X, node.Y};
  return true;
}
inline bool PlaceAtHand(const NodePositions& nodes, int32_t i, NodePlace* place) {
  if (!nodes.places) return false;
  *place = nodes.places[i];
  return true;
}

// The same, read from the store where it must be; false when it cannot be.
template <typename Nodes>
bool PlaceOf(Nodes& nodes, int32_t i, NodePlace* place) {
  if (PlaceAtHand(nodes, i, place)) return true;
  const NodeStoreRecord* const node = nodes.At(i);
  if (node == nullptr) return false;
  *place = {node->X, node->Y};
  return true;
}

// A record that At or Fetch could not read: its number, and its position in the store.
template <typename Record>
inline constexpr MessageText<int, long> kRecordNotRead =
    "Can't seek / read the node storage file at %d ( ptr=%ld )!";
template <>
inline constexpr MessageText<int, long> kRecordNotRead<LinkStoreRecord> =
    "Can't seek / read the link storage file at %d ( ptr=%ld )!";

// Reports it; `kind` as in Step::Fail.
template <typename Source>
Outcome FailUnreadRecord(const Step& step, const char* kind, const Source& source, int32_t number) {
  return step.Fail(kind, kRecordNotRead<typename Source::Record>, number,
                   PositionOf(source, number));
}

}  // namespace zatlib
