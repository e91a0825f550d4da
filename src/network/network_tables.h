// What the parts of the network step work on together, in memory: the records that come from the
// stores, and the tables that become files.
#pragma once

#include "frd/code_lookup.h"
#include "frd/memory.h"
#include "frd/parallel.h"
#include "network/network_files.h"
#include "network/record_source.h"

namespace zatlib {

// Title and progress text of a part of the step.
struct PartTexts {
  const char* title = nullptr;     // null = goes on under the step's own title
  MessageText<int> progress = "";  // records; empty = no progress
};

// N = nodes, L = links.
template <typename Nodes, typename Links>
struct NetworkTables {
  Nodes& nodes;
  CodeIndexRecord* node_index;
  Links& links;
  const CodeIndexRecord* link_index;
  int code_length = 0;
  Workers workers{};

  PageArray<NodeLinks> node_links{};    // N + 2
  PageArray<LinkNodes> link_nodes{};    // L + 2
  PageArray<DrawingRecord> drawings{};  // L + 2
  PageArray<uint32_t> cities{};         // N + 2: city of the link in the first slot; empty where
                                        // memory is short
  CodeLookup node_lookup{};             // over node_index
  CodeLookup link_lookup{};             // over link_index

  // A run that a failure has left behind may still be at the tables.
  ~NetworkTables() { workers.Finish(); }

  // What the step cannot do without: no more than the choice between memory and files has tried.
  bool Reserve() {
    return node_links.Allocate(RoomFor(nodes.count)) && link_nodes.Allocate(RoomFor(links.count)) &&
           drawings.Allocate(RoomFor(links.count));
  }

  // What makes it fast, as far as there is memory.
  void ReserveMore() {
    nodes.AtOnce();
    links.AtOnce();
    node_lookup.Build(node_index, nodes.count);
    link_lookup.Build(link_index, links.count);
    cities.Allocate(RoomFor(nodes.count));
  }
};

}  // namespace zatlib
