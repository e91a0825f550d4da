// zatmap verify: rtweight.dat, computed anew.
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

}  // namespace

void CheckWeights(Verifier& v, const std::vector<Ends>& ends) {
  const char* const file = zatlib::kRightTurnWeightFile;
  RecordReader<SlotBytes> weights;
  RecordReader<CalcNode> nodes;
  RecordReader<NodeLinks> node_links;
  if (!v.has_shapes || !weights.Open(v.map, file) || !nodes.Open(v.map, zatlib::kCalcNodeFile) ||
      !node_links.Open(v.map, zatlib::kNodeLinkFile)) {
    return;
  }
  const zatlib::TurnLimits limits = zatlib::ReadTurnLimits(v.map.path.c_str());
  v.totals.weights_checked = true;
  TerminalProgress progress("verify: right-turn weights");
  SlotBytes weight;
  CalcNode node;
  NodeLinks links;
  for (int64_t n = 0; weights.Next(&weight) && nodes.Next(&node) && node_links.Next(&links); ++n) {
    progress.At(n, v.map.nodes);
    SlotBytes wanted{};
    MakeWeights(node, links, ends, limits, &wanted);
    for (int s = 0; s < kSlots; ++s) {
      if (weight.Slot[s] == wanted.Slot[s]) continue;
      v.Add(Kind::kWeight, AtSlot<SlotBytes, uint8_t>(file, n, 0, s),
            "turns from slot %d: 0x%02x; the shapes make 0x%02x", s, weight.Slot[s],
            wanted.Slot[s]);
    }
  }
}

}  // namespace zatmap::verify
