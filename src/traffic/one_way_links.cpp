#include "traffic/one_way_links.h"

#include <algorithm>

#include "frd/control.h"
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
  TableFile nodes;         // CalcNode
  TableReader node_links;  // NodeLinks
  TableReader turns;       // SlotBytes
  TableFile links;         // LinkNodes
};

int LoadTables(WindowHandle owner, const char* folder, Tables* tables) {
  if (LoadTable(owner, folder, kCalcNodeFile, &tables->nodes) == 0 ||
      OpenTable(owner, folder, kNodeLinkFile, sizeof(NodeLinks), kBlockNodes,
                &tables->node_links) == 0 ||
      OpenTable(owner, folder, kTurnTableFile, sizeof(SlotBytes), kBlockNodes, &tables->turns) ==
          0) {
    return 0;
  }
  return LoadTable(owner, folder, kLinkNodeFile, &tables->links,
                   {&tables->node_links.blocks, &tables->turns.blocks});
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

// Shows each number of nodes in (begin, end] that is due to be shown; 0 when the user has
// cancelled.
int ShowNodes(int64_t begin, int64_t end, int64_t node_count) {
  for (int64_t n = begin; n < end;) {
    n = std::min((n / kProgressNodes + 1) * kProgressNodes, end);
    if ((n % kProgressNodes == 0 || n == node_count) &&
        SetStatusNumber("Checking One Way Link %d", n) == 0) {
      return 0;
    }
  }
  return 1;
}

int CloseAllConnections(WindowHandle owner, Tables* tables) {
  auto* const nodes = tables->nodes.records<CalcNode>();
  auto* const links = tables->links.records<LinkNodes>();
  const int64_t node_count = tables->nodes.count<CalcNode>();
  const int64_t link_count = tables->links.count<LinkNodes>();
  BlockReader& node_links = tables->node_links.blocks;
  BlockReader& turns = tables->turns.blocks;
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
    const TableReader* unread = nullptr;
    if (end < known) {
      if (end == turns.end() && !turns.Advance()) unread = &tables->turns;
      if (end == node_links.end() && !node_links.Advance()) unread = &tables->node_links;
    }
    workers.Finish();
    if (unread != nullptr) return ReportNotRead(owner, unread->path);
    if (ShowNodes(first, end, node_count) == 0) return 0;
  }
  return ShowNodes(known, node_count, node_count);
}

int SaveTables(WindowHandle owner, const Tables& tables) {
  const SaveResult links = SaveTable(owner, tables.links);
  if (links == SaveResult::kNotWritten) {
    ReportError(owner, "File Error", "Can't write %s !", tables.links.path.c_str());
  }
  if (links != SaveResult::kSaved) return 0;
  const SaveResult nodes = SaveTable(owner, tables.nodes);
  if (nodes == SaveResult::kNotWritten) {
    // The second number has always been the size of the file read last, not what was written.
    ReportError(owner, "File Error", "Can't write %s !\r\n(org/written=%lld/%lld)",
                tables.nodes.path.c_str(), static_cast<long long>(tables.nodes.size()),
                static_cast<long long>(tables.links.size()));
  }
  return nodes == SaveResult::kSaved ? 1 : 0;
}

}  // namespace

int BRN_TRF_AddOneWayLinks(WindowHandle owner, const char* folder) {
  if (BRN_SetStatus("Initializing...") == 0) return 0;
  Tables tables;
  if (LoadTables(owner, folder, &tables) == 0) return 0;
  if (CloseAllConnections(owner, &tables) == 0) return 0;
  tables.turns.blocks.Close();
  tables.node_links.blocks.Close();
  if (BRN_SetStatus("Writing Tables...") == 0) return 0;
  return SaveTables(owner, tables);
}

}  // namespace zatlib
