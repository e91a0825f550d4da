// A part of the network step: the link-node records (linknode.idx) and the drawing records
// (mapdraw.dat), in link order.
#pragma once

#include <atomic>

#include "frd/step.h"
#include "network/network_tables.h"

namespace zatlib {

template <typename Nodes, typename Links>
class LinkNodeMaker {
 public:
  LinkNodeMaker(const Step& step, const PartTexts& texts, NetworkTables<Nodes, Links>& tables)
      : step_(step), texts_(texts), tables_(tables) {}

  // Fails, reported, where a link's end is missing or a record cannot be read.
  Outcome Run() {
    const Outcome begun = step_.Begin(texts_.title);
    if (!IsDone(begun)) return begun;
    return ForBlocks(tables_.links.count, texts_.progress, tables_.links.AtOnce(),
                     [this](int32_t begin, int32_t end) { return MakeBlock(begin, end); });
  }

 private:
  Outcome MakeBlock(int32_t begin, int32_t end) {
    int32_t count = end - begin;
    const LinkStoreRecord* records = tables_.links.Fetch(begin, &count);
    std::atomic<bool> whole{true};
    tables_.workers.RunRanges(count, kGrain, [&](int64_t first, int64_t limit) {
      for (int64_t i = first; i < limit; ++i) {
        bool good = SetEnds(begin + i, records[i]);
        if (good) {
          const LinkNodes& ends = tables_.link_nodes[begin + i];
          NodePlace a;
          NodePlace b;
          good = PlaceAtHand(tables_.nodes, ends.NodeA, &a) &&
                 PlaceAtHand(tables_.nodes, ends.NodeB, &b);
          if (good) SetPlaces(begin + i, a, b);
        }
        if (!good) whole.store(false, std::memory_order_relaxed);
      }
    });
    // Whatever is not plain is done once more, link by link in order.
    for (int32_t i = 0; i < count && !whole; ++i) {
      const Outcome outcome = MakeOne(begin + i, records[i]);
      if (!IsDone(outcome)) return outcome;
    }
    if (count < end - begin)
      return FailUnreadRecord(step_, kFileError, tables_.links, begin + count);
    return Outcome::kDone;
  }

  // What BRN_FindIndexRecord finds.
  int32_t NumberOf(FeatureCode node) const {
    const int64_t found = tables_.node_lookup.Find(node.AsDouble());
    return found < 0 ? -1 : tables_.node_index[found].Number;
  }

  // The link-node record of link i and what the link itself gives its drawing record. False when
  // an end is missing; its number is then -1.
  bool SetEnds(int64_t i, const LinkStoreRecord& link) {
    const int32_t a = NumberOf(link.NodeA);
    const int32_t b = NumberOf(link.NodeB);
    tables_.link_nodes[i] = {a, b, link.SpeedA, link.SpeedB, link.Value3, 0};
    DrawingRecord& drawing = tables_.drawings[i];
    drawing.LinkCode = link.LinkCode;
    drawing.Link = static_cast<int32_t>(i);
    drawing.RoadKind = link.RoadKind;
    drawing.Value4 = link.Value4;
    return a >= 0 && b >= 0;
  }

  void SetPlaces(int64_t i, NodePlace a, NodePlace b) {
    DrawingRecord& drawing = tables_.drawings[i];
    drawing.XA = a.X;
    drawing.YA = a.Y;
    drawing.XB = b.X;
    drawing.YB = b.Y;
  }

  // Link i alone.
  Outcome MakeOne(int32_t i, const LinkStoreRecord& link) {
    const bool whole = SetEnds(i, link);
    const LinkNodes& ends = tables_.link_nodes[i];
    if (!whole) {
      const int length = tables_.code_length;
      return step_.Fail(kInternalLogicError,
                        "Can't find the edging Nodes : Link=%s(%ld), NodesA/B=%s(%ld)/%s(%ld)",
                        CodeText(link.LinkCode, length).c_str(), static_cast<long>(i),
                        CodeText(link.NodeA, length).c_str(), static_cast<long>(ends.NodeA),
                        CodeText(link.NodeB, length).c_str(), static_cast<long>(ends.NodeB));
    }
    NodePlace places[2];
    const int32_t numbers[] = {ends.NodeA, ends.NodeB};
    for (int end = 0; end < 2; ++end) {
      if (!PlaceOf(tables_.nodes, numbers[end], &places[end])) {
        return FailUnreadRecord(step_, kFileError, tables_.nodes, numbers[end]);
      }
    }
    SetPlaces(i, places[0], places[1]);
    return Outcome::kDone;
  }

  const Step& step_;
  const PartTexts& texts_;
  NetworkTables<Nodes, Links>& tables_;
};

}  // namespace zatlib
