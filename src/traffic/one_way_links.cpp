#include "traffic/one_way_links.h"

#include <algorithm>

#include "frd/control.h"
#include "network/network_files.h"
#include "traffic/table_file.h"

namespace zatlib {
namespace {

constexpr int64_t kProgressNodes = 10000;

struct Tables {
  TableFile nodes;       // CalcNode
  TableFile node_links;  // NodeLinks
  TableFile turns;       // SlotBytes
  TableFile links;       // LinkNodes
};

int LoadTables(WindowHandle owner, const char* folder, Tables* tables) {
  const struct {
    const char* name;
    TableFile* table;
  } files[] = {
      {kCalcNodeFile, &tables->nodes},
      {kNodeLinkFile, &tables->node_links},
      {kTurnTableFile, &tables->turns},
      {kLinkNodeFile, &tables->links},
  };
  for (const auto& file : files) {
    if (LoadTable(owner, folder, file.name, file.table) == 0) return 0;
  }
  return 1;
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

int CloseAllConnections(Tables* tables) {
  auto* nodes = tables->nodes.records<CalcNode>();
  const auto* node_links = tables->node_links.records<NodeLinks>();
  const auto* turns = tables->turns.records<SlotBytes>();
  const int64_t node_count = tables->nodes.count<CalcNode>();
  // Nodes beyond the end of a table that is too short have no links or no turns.
  const int64_t known = std::min(
      {tables->node_links.count<NodeLinks>(), tables->turns.count<SlotBytes>(), kMaxRecords});
  for (int64_t n = 0; n < node_count; ++n) {
    if (n < known) {
      CloseConnections(static_cast<int32_t>(n), &nodes[n], node_links[n], turns[n],
                       tables->links.records<LinkNodes>(), tables->links.count<LinkNodes>());
    }
    if (((n + 1) % kProgressNodes == 0 || n + 1 == node_count) &&
        SetStatusNumber("Checking One Way Link %d", n + 1) == 0) {
      return 0;
    }
  }
  return 1;
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
  if (CloseAllConnections(&tables) == 0) return 0;
  tables.turns.Free();
  tables.node_links.Free();
  if (BRN_SetStatus("Writing Tables...") == 0) return 0;
  return SaveTables(owner, tables);
}

}  // namespace zatlib
