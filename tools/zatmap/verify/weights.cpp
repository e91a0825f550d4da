// zatmap verify: rtweight.dat, computed anew.
#include "frd/parallel.h"
#include "rtweight/turn_rule.h"
#include "shell/terminal_progress.h"
#include "verify/verifier.h"

namespace zatmap::verify {
namespace {

// The weights of one node; `*weights` is zero before.
void MakeWeights(const CalcNode& node, const NodeLinks& links, const std::vector<Ends>& ends,
                 const zatlib::TurnLimits& limits, SlotBytes* weights) {
  zatlib::NodeTurns turns;
  while (turns.slots < kSlots && node.OtherNode[turns.slots] >= 0) ++turns.slots;
  if (turns.slots < 3) return;
  for (int s = 0; s < turns.slots; ++s) {
    turns.neighbour[s] = node.OtherNode[s];
    const int32_t link = links.Link[s];
    if (link < 0 || link >= std::ssize(ends) || !ends[static_cast<size_t>(link)].usable) continue;
    const Ends& shape = ends[static_cast<size_t>(link)];
    turns.ends[s] = zatlib::EndsOfShape({shape.first, shape.second, shape.before_last, shape.last});
  }
  for (int a = 0; a < turns.slots; ++a) {
    for (int b = 0; b < turns.slots; ++b) {
      if (zatlib::MM_SUB_IsWeightedTurn(turns.neighbour[a], turns, turns.neighbour[b], limits) !=
          0) {
        weights->Slot[a] = static_cast<uint8_t>(weights->Slot[a] | 0x80 >> b);
      }
    }
  }
}

// Nodes whose weights are made at a time, on all processors.
constexpr size_t kBatch = 1 << 16;
constexpr int64_t kGrain = 1 << 12;

// Consecutive nodes of the three files.
struct Batch {
  std::vector<SlotBytes> weights;
  std::vector<CalcNode> nodes;
  std::vector<NodeLinks> links;
  std::vector<SlotBytes> wanted;
};

// What the nodes from `first` on have, against what they should have.
void Compare(Verifier& v, int64_t first, const Batch& batch) {
  for (size_t i = 0; i < batch.wanted.size(); ++i) {
    const SlotBytes& weight = batch.weights[i];
    const SlotBytes& wanted = batch.wanted[i];
    for (int s = 0; s < kSlots; ++s) {
      if (weight.Slot[s] == wanted.Slot[s]) continue;
      v.Add(Kind::kWeight,
            AtSlot<SlotBytes, uint8_t>(zatlib::kRightTurnWeightFile,
                                       first + static_cast<int64_t>(i), 0, s),
            "turns from slot %d: 0x%02x; the shapes make 0x%02x", s, weight.Slot[s],
            wanted.Slot[s]);
    }
  }
}

// The readers at the next node of each file.
struct Readers {
  RecordReader<SlotBytes> weights;
  RecordReader<CalcNode> nodes;
  RecordReader<NodeLinks> links;

  bool Open(const MapFolder& map) {
    return weights.Open(map, zatlib::kRightTurnWeightFile) &&
           nodes.Open(map, zatlib::kCalcNodeFile) && links.Open(map, zatlib::kNodeLinkFile);
  }

  // False behind the last node that all three have.
  bool Next(Batch* batch) {
    batch->weights.clear();
    batch->nodes.clear();
    batch->links.clear();
    SlotBytes weight;
    CalcNode node;
    NodeLinks link;
    while (batch->weights.size() < kBatch && weights.Next(&weight) && nodes.Next(&node) &&
           links.Next(&link)) {
      batch->weights.push_back(weight);
      batch->nodes.push_back(node);
      batch->links.push_back(link);
    }
    batch->wanted.assign(batch->weights.size(), SlotBytes{});
    return !batch->wanted.empty();
  }
};

}  // namespace

void CheckWeights(Verifier& v, const std::vector<Ends>& ends) {
  Readers readers;
  if (!v.has_shapes || !readers.Open(v.map)) return;
  const zatlib::TurnLimits limits = zatlib::ReadTurnLimits(v.map.path.c_str());
  v.totals.weights_checked = true;
  TerminalProgress progress("verify: right-turn weights");
  zatlib::Workers workers;
  Batch batch;
  for (int64_t first = 0; readers.Next(&batch); first += std::ssize(batch.wanted)) {
    progress.Now(first, v.map.nodes);
    workers.RunRanges(std::ssize(batch.wanted), kGrain, [&](int64_t begin, int64_t end) {
      for (auto i = static_cast<size_t>(begin); i < static_cast<size_t>(end); ++i) {
        MakeWeights(batch.nodes[i], batch.links[i], ends, limits, &batch.wanted[i]);
      }
    });
    Compare(v, first, batch);
  }
}

}  // namespace zatmap::verify
