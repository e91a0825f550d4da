#include "traffic/one_way_links.h"

#include <algorithm>

#include "frd/parallel.h"
#include "frd/record_writer.h"
#include "network/network_files.h"
#include "traffic/table_file.h"

namespace zatlib {
namespace {

constexpr int64_t kProgressNodes = 10000;
constexpr int64_t kBlockNodes =
    2 * kProgressNodes;                 // nodes whose links and turns are read at a time
constexpr int64_t kNodesOfPart = 2500;  // nodes that a thread takes at a time

// What is written again is held, what is only read passes by.
struct Tables {
  WholeFile nodes;         // CalcNode
  BlockReader node_links;  // NodeLinks
  BlockReader turns;       // SlotBytes
  WholeFile links;         // LinkNodes
};

Outcome LoadTables(const Step& step, Tables* tables) {
  Outcome outcome = LoadTable(step, kCalcNodeFile, &tables->nodes);
  if (IsDone(outcome)) {
    outcome = OpenTable(step, kNodeLinkFile, sizeof(NodeLinks), kBlockNodes, &tables->node_links);
  }
  if (IsDone(outcome)) {
    outcome = OpenTable(step, kTurnTableFile, sizeof(SlotBytes), kBlockNodes, &tables->turns);
  }
  if (!IsDone(outcome)) return outcome;
  return LoadTable(step, kLinkNodeFile, &tables->links, {&tables->node_links, &tables->turns});
}

// Closes the connections of one node that no arrival there may take.
void CloseConnections(int32_t number, CalcNode* node, const NodeLinks& node_links,
                      const SlotBytes& turns, LinkNodes* links, int64_t link_count) {
  int slots = 0;
  while (slots < kSlots && node->OtherNode[slots] != -1 && node_links.Link[slots] != -1) ++slots;
  // A connection is closed when every arrival has its bit.
  unsigned closed = 0xFF;
  for (int arrival = 0; arrival < slots; ++arrival) closed &= turns.Slot[arrival];
  for (int slot = 0; slot < slots; ++slot) {
    if ((closed & (0x80u >> slot)) == 0) continue;
    const int32_t link_number = node_links.Link[slot];
    if (link_number < 0 || link_number >= link_count) continue;
    LinkNodes& link = links[link_number];
    if (link.NodeA == number) {
      link.SpeedA = 0;
    } else if (link.NodeB == number) {
      link.SpeedB = 0;
    } else {
      continue;
    }
    node->Cost[slot] = kClosedCost;
  }
}

// Shows each number of nodes in (begin, end] that is due to be shown.
Outcome ShowNodes(int64_t begin, int64_t end, int64_t node_count) {
  for (int64_t n = begin; n < end;) {
    n = std::min((n / kProgressNodes + 1) * kProgressNodes, end);
    if ((n % kProgressNodes == 0 || n == node_count) &&
        SetStatusNumber("Checking One Way Link %d", n) == 0) {
      return Outcome::kCancelled;
    }
  }
  return Outcome::kDone;
}

Outcome CloseAllConnections(const Step& step, Tables* tables) {
  auto* const nodes = tables->nodes.records<CalcNode>();
  auto* const links = tables->links.records<LinkNodes>();
  const int64_t node_count = tables->nodes.count<CalcNode>();
  const int64_t link_count = tables->links.count<LinkNodes>();
  BlockReader& node_links = tables->node_links;
  BlockReader& turns = tables->turns;
  // Nodes beyond the end of a table that is too short have no links or no turns.
  const int64_t known = std::min({node_count, node_links.count(), turns.count(), kMaxRecords});
  Workers workers;
  for (int64_t first = 0, end = 0; first < known; first = end) {
    // Where memory is short, the blocks of one reader are smaller than those of the other.
    end = std::min({node_links.end(), turns.end(), known});
    const auto* const links_of = node_links.records<NodeLinks>() + (first - node_links.first());
    const auto* const turns_of = turns.records<SlotBytes>() + (first - turns.first());
    // A link's two speeds belong to its two nodes, so no two threads write to one place.
    workers.StartRanges(end - first, kNodesOfPart, [=](int64_t begin, int64_t limit) {
      for (int64_t n = begin; n < limit; ++n) {
        CloseConnections(static_cast<int32_t>(first + n), &nodes[first + n], links_of[n],
                         turns_of[n], links, link_count);
      }
    });
    const char* unread = nullptr;
    if (end < known) {
      if (end == turns.end() && !turns.Advance()) unread = kTurnTableFile;
      if (end == node_links.end() && !node_links.Advance()) unread = kNodeLinkFile;
    }
    workers.Finish();
    if (unread != nullptr) return TellResult(step, unread, FileResult::kNotRead);
    const Outcome shown = ShowNodes(first, end, node_count);
    if (!IsDone(shown)) return shown;
  }
  return ShowNodes(known, node_count, node_count);
}

FileResult SaveTable(const Step& step, const char* file, const WholeFile& table) {
  return SaveBytes(step.Path(file).c_str(), table.bytes.data(), table.size);
}

Outcome SaveTables(const Step& step, const Tables& tables) {
  const Outcome links =
      TellResult(step, kLinkNodeFile, SaveTable(step, kLinkNodeFile, tables.links));
  if (!IsDone(links)) return links;
  const FileResult nodes = SaveTable(step, kCalcNodeFile, tables.nodes);
  if (nodes != FileResult::kNotWritten) return TellResult(step, kCalcNodeFile, nodes);
  // The second number has always been the size of the file read last, not what was written.
  return step.FailAs(kFileError, "Can't write %s !\r\n(org/written=%lld/%lld)",
                     step.Path(kCalcNodeFile).c_str(), static_cast<long long>(tables.nodes.size),
                     static_cast<long long>(tables.links.size));
}

Outcome AddOneWayLinks(const Step& step) {
  Outcome outcome = CancelledIf(BRN_SetStatus("Initializing...") == 0);
  Tables tables;
  if (IsDone(outcome)) outcome = LoadTables(step, &tables);
  if (IsDone(outcome)) outcome = CloseAllConnections(step, &tables);
  tables.turns.Close();
  tables.node_links.Close();
  if (IsDone(outcome)) outcome = CancelledIf(BRN_SetStatus("Writing Tables...") == 0);
  return IsDone(outcome) ? SaveTables(step, tables) : outcome;
}

}  // namespace

int BRN_TRF_AddOneWayLinks(WindowHandle owner, const char* folder) {
  return AsResult(AddOneWayLinks(Step::InFolder(owner, folder, "BRN_TRF_AddOneWayLinks")));
}

}  // namespace zatlib
