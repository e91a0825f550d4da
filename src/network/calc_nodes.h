// A part of the network step: mapcalc.dat and the node-link index, in node order. While a block of
// records is written the next one is made.
#pragma once

#include <algorithm>
#include <atomic>

#include "frd/cancellable.h"
#include "frd/record_writer.h"
#include "frd/step.h"
#include "frd/work_buffer.h"
#include "network/connection_cost.h"
#include "network/network_tables.h"

namespace zatlib {

template <typename Nodes, typename Links>
class CalcNodeMaker {
 public:
  CalcNodeMaker(const Step& step, const PartTexts& texts, NetworkTables<Nodes, Links>& tables)
      : step_(step), texts_(texts), tables_(tables) {}

  // The memory for the blocks, as far as there is some.
  void TakeBlocks() {
    for (WorkBuffer<CalcNode>& block : blocks_)
      block.Take(std::min(tables_.nodes.count, Interval()));
  }

  // Needs the link-node records. Fails, reported, where a slot names a link that does not touch its
  // node, where a record cannot be read and where the file cannot be written.
  Outcome Run() {
    if (texts_.title != nullptr) {
      const Outcome begun = step_.Begin(texts_.title);
      if (!IsDone(begun)) return begun;
    }
    const PathText path = step_.Path(kCalcNodeFile);
    RecordWriter file;
    if (!file.Open(path.c_str(), sizeof(CalcNode), false)) {
      return step_.Fail(kFileError, "Can't open the CalcNode File (%s) !", path.c_str());
    }
    const Outcome outcome = WriteBlocks(file);
    tables_.workers.Finish();
    if (!file.Close()) {
      return step_.Fail(kFileError, "Can't write the CalcNode Data(%s) at %ld !", path.c_str(),
                        static_cast<long>(file.failed_record()));
    }
    return outcome;
  }

 private:
  static constexpr int32_t kBlock = 0x2000;  // nodes whose records are made and written at once
  static constexpr int kMaxErrors = 50;      // of connections

  // Nodes between two looks at the user.
  int32_t Interval() const { return texts_.progress.empty() ? kBlock : kStatusInterval; }

  // Nodes from `begin` on whose records are made at once: within an interval.
  int32_t BlockAt(int32_t begin) {
    const int64_t room = std::min(blocks_[0].room(), blocks_[1].room());
    return static_cast<int32_t>(
        std::min<int64_t>({room, tables_.nodes.AtOnce(), Interval() - begin % Interval(),
                           tables_.nodes.count - begin}));
  }

  // A block on its way.
  struct Block {
    int32_t begin = 0;
    int32_t wanted = 0;
    int32_t count = 0;  // fewer than wanted when a node cannot be read
    const NodeStoreRecord* records = nullptr;
    CalcNode* out = nullptr;

    int32_t end() const { return begin + wanted; }
  };

  // A refused write ends the blocks without a word: the file tells of it when it is closed.
  Outcome WriteBlocks(RecordWriter& file) {
    const MessageText<int>& progress = texts_.progress;
    for (Start(0, blocks_[0].data()); work_.wanted > 0;) {
      tables_.workers.Finish();
      if (!progress.empty() && work_.begin % kStatusInterval == 0 &&
          SetStatusNumber(progress, work_.begin) == 0) {
        return Outcome::kCancelled;
      }
      const Block made = work_;
      const int32_t good = ConnectedNodes(made);
      const bool whole = good == made.wanted;
      if (whole) {
        const int next = made.out == blocks_[0].data() ? 1 : 0;
        Start(made.end(), blocks_[next].data());
      }
      if (!file.AppendMany(made.out, good)) return Outcome::kFailed;
      if (!whole) return FailAt(made, good);
      if (progress.empty() && CancelledWithin(made.begin, made.end())) return Outcome::kCancelled;
    }
    return Outcome::kDone;
  }

  // Begins the block at node `begin` on the other processors.
  void Start(int32_t begin, CalcNode* out) {
    work_.begin = begin;
    work_.wanted = BlockAt(begin);
    work_.count = work_.wanted;
    if (work_.wanted > 0) work_.records = tables_.nodes.Fetch(begin, &work_.count);
    work_.out = out;
    connected_ = true;
    tables_.workers.StartRanges(work_.count, kGrain, [this](int64_t first, int64_t limit) {
      for (int64_t i = first; i < limit; ++i) {
        const auto misses = [](FeatureCode) { return false; };
        const auto node = static_cast<int32_t>(work_.begin + i);
        if (!FillSlots(node, work_.records[i], &work_.out[i], misses)) {
          connected_.store(false, std::memory_order_relaxed);
        }
      }
    });
  }

  // Number of nodes of the block just made before the first one with a connection error.
  int32_t ConnectedNodes(const Block& made) {
    if (connected_) return made.count;
    int32_t good = 0;
    CalcNode calc;
    const auto misses = [](FeatureCode) { return false; };
    while (good < made.count && FillSlots(made.begin + good, made.records[good], &calc, misses)) {
      ++good;
    }
    return good;
  }

  // Reports why a block ends behind `good` nodes.
  Outcome FailAt(const Block& made, int32_t good) {
    const int32_t number = made.begin + good;
    if (good == made.count) return FailUnreadRecord(step_, kFileError, tables_.nodes, number);
    const NodeStoreRecord& node = made.records[good];
    CalcNode calc;
    FillSlots(number, node, &calc,
              [&](FeatureCode link) { return CountConnectionError(node.NodeCode, link); });
    return Outcome::kFailed;
  }

  // One connection error: the first is shown, all are logged. False when there are too many.
  bool CountConnectionError(FeatureCode node, FeatureCode link) {
    static constexpr MessageText<const char*, const char*> kError =
        "Error connection : Node=%s => Link=%s";
    if (++errors_ == 1) {
      (void)step_.Fail(kInternalLogicError, "Unexpected NodeCode. Network connection error. ");
    }
    LogText(kError, CodeText(node, tables_.code_length).c_str(),
            CodeText(link, tables_.code_length).c_str());
    if (errors_ <= kMaxErrors) return true;
    (void)step_.FailAs("Internal Logic Error in BRN450_CreateNetworkData",
                       "The number of network connection erros exceeds 50.\nThe process is "
                       "canceled.");
    return false;
  }

  // Fills the eight slots of node i; what stands in a slot of which the node is no end is handed to
  // `misses(link code)`, which tells whether to go on. True when there is none.
  template <typename Misses>
  bool FillSlots(int32_t i, const NodeStoreRecord& node, CalcNode* calc, Misses misses) {
    NetworkTables<Nodes, Links>& tables = tables_;
    *calc = CalcNode{};
    NodeLinks& slot_links = tables.node_links[i];
    bool connected = true;
    bool has_city = false;
    for (int s = 0; s < kSlots; ++s) {
      calc->OtherNode[s] = -1;
      slot_links.Link[s] = -1;
      const FeatureCode code = node.ConnLinkCode[s];
      if (code.IsEmpty()) continue;
      const int64_t found = tables.link_lookup.Find(code.AsDouble());
      if (found < 0) continue;
      const CodeIndexRecord& entry = tables.link_index[found];
      const int32_t link = entry.Number;
      if (link < 0) continue;
      if (!has_city && tables.cities) tables.cities[i] = entry.CityCode;
      has_city = true;
      const LinkNodes& ends = tables.link_nodes[link];
      slot_links.Link[s] = link;
      calc->Length[s] = ends.Value3;
      if (ends.NodeA == i) {
        calc->OtherNode[s] = ends.NodeB;
        calc->Cost[s] = ConnectionCost(ends.Value3, ends.SpeedA, kSpeedLimitA);
      } else if (ends.NodeB == i) {
        calc->OtherNode[s] = ends.NodeA;
        calc->Cost[s] = ConnectionCost(ends.Value3, ends.SpeedB, kSpeedLimitB);
      } else {
        connected = false;
        if (!misses(code)) return false;
      }
    }
    PackSlots(calc, &slot_links);
    return connected;
  }

  // Moves used slots down over empty ones; their order stays.
  static void PackSlots(CalcNode* calc, NodeLinks* slot_links) {
    int used = 0;
    for (int s = 0; s < kSlots; ++s) {
      if (slot_links->Link[s] < 0) continue;
      if (s != used) {
        calc->OtherNode[used] = calc->OtherNode[s];
        calc->Cost[used] = calc->Cost[s];
        calc->Length[used] = calc->Length[s];
        slot_links->Link[used] = slot_links->Link[s];
        calc->OtherNode[s] = -1;
        calc->Cost[s] = 0;
        calc->Length[s] = 0;
        slot_links->Link[s] = -1;
      }
      ++used;
    }
  }

  const Step& step_;
  const PartTexts& texts_;
  NetworkTables<Nodes, Links>& tables_;
  WorkBuffer<CalcNode> blocks_[2];  // one that is written, one that is made
  Block work_;
  std::atomic<bool> connected_{true};
  int errors_ = 0;
};

}  // namespace zatlib
