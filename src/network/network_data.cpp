#include "network/network_data.h"

#include <algorithm>
#include <atomic>

#include "frd/cancellable.h"
#include "frd/code_lookup.h"
#include "frd/control.h"
#include "frd/files.h"
#include "frd/keyed_table.h"
#include "frd/log.h"
#include "frd/parallel.h"
#include "frd/record_writer.h"
#include "frd/work_buffer.h"
#include "network/connection_cost.h"
#include "platform/file.h"

namespace zatlib {
namespace {

constexpr int32_t kCalcBlock = 0x2000;  // nodes whose calc records are made and written at once
constexpr int kMaxConnectionErrors = 50;

// The texts in which the two ways of checking dummy links differ.
struct DummyCheckTexts {
  const char* status;
  const char* progress;  // with %d; null = no progress
  const char* title;
  const char* file_title;
};

const DummyCheckTexts kDummyCheckInMemory = {
    "Checking the dummy link nodes(M)...", nullptr,
    "Internal Logic Error Found in BRN_CheckDummyLinkNodes",
    "Internal Logic Error Found in BRN_CheckDummyLinkNodes"};
const DummyCheckTexts kDummyCheckThroughFiles = {
    "Checking the dummy link nodes(F)...", "Checking the dummy link nodes(F)...\n%d",
    "Internal Logic Error Found in BRN450_CheckDummyLinkNodes",
    "File Error in BRN450_CheckDummyLinkNode"};

bool IsListed(const NodeStoreRecord& node, FeatureCode link) {
  for (const FeatureCode slot : node.ConnLinkCode) {
    if (slot == link) return true;
  }
  return false;
}

// Makes one end of a dummy link list it. `end` is 'A' or 'B'. Returns 1 or 0 (reported).
template <typename Nodes>
int ListDummyLink(WindowHandle owner, const DummyCheckTexts& texts, Nodes& nodes,
                  const CodeIndexRecord* node_index, FeatureCode node_code, FeatureCode link_code,
                  char end, int code_length) {
  const int32_t number = BRN_FindIndexRecord(node_code, nodes.count, node_index);
  if (number < 0) {
    ReportError(owner, texts.title, "No edging node %c (%s) in the Dummy Link (%s)!", end,
                CodeText(node_code, code_length).c_str(), CodeText(link_code, code_length).c_str());
    return 0;
  }
  NodeStoreRecord* node = nodes.At(number);
  if (node == nullptr) {
    ReportError(owner, texts.title, "Can't seek / read the node storage file at %ld ( ptr=%ld )!",
                static_cast<long>(number), PositionOf(nodes, number));
    return 0;
  }
  if (IsListed(*node, link_code)) return 1;
  for (FeatureCode& slot : node->ConnLinkCode) {
    if (!slot.IsEmpty()) continue;
    slot = link_code;
    if (!nodes.Write(number)) {
      ReportError(owner, texts.title, "Can't seek / write the node storage file at %ld !",
                  static_cast<long>(number));
      return 0;
    }
    return 1;
  }
  return 1;
}

template <typename Nodes, typename Links>
int CheckDummyLinkNodes(WindowHandle owner, const DummyCheckTexts& texts, Nodes& nodes,
                        const CodeIndexRecord* node_index, Links& links, const char* control_file) {
  if (BRN_BeginStep(texts.status) == 0) return 0;
  const int code_length = BRN_GetCodeLength(control_file);
  if (!IsValidCodeLength(code_length)) {
    ReportError(owner, texts.title, "The CodeLength = %d is invalid !", code_length);
    return 0;
  }
  if (links.count < 1) return 1;
  const PathText node_path = OutputPath(control_file, kNodeStoreFile);
  const PathText link_path = OutputPath(control_file, kLinkStoreFile);
  if (!nodes.Open(node_path.c_str(), platform::Access::kReadWrite) ||
      !links.Open(link_path.c_str(), platform::Access::kRead)) {
    ReportError(owner, texts.file_title, "Can't open the node store (%s) or the link store (%s) !",
                node_path.c_str(), link_path.c_str());
    return 0;
  }
  for (int32_t i = 0; i < links.count; ++i) {
    if (texts.progress == nullptr
            ? CancelledAt(i)
            : i % kStatusInterval == 0 && SetStatusNumber(texts.progress, i) == 0) {
      return 0;
    }
    const LinkStoreRecord* link = links.At(i);
    if (link == nullptr) {
      ReportError(owner, texts.title, "Can't seek / read the link storage file at %d ( ptr=%ld )!",
                  i, PositionOf(links, i));
      return 0;
    }
    if (link->RoadKind != kDummyRoadKind) continue;
    if (ListDummyLink(owner, texts, nodes, node_index, link->NodeA, link->LinkCode, 'A',
                      code_length) == 0 ||
        ListDummyLink(owner, texts, nodes, node_index, link->NodeB, link->LinkCode, 'B',
                      code_length) == 0) {
      return 0;
    }
  }
  return 1;
}

// The texts in which the two ways of creating network data differ.
struct NetworkTexts {
  const char* status;
  const char* link_nodes;
  const char* link_nodes_progress;  // with %d; null = no progress
  const char* calc_nodes;           // null = goes on under the step's own title
  const char* calc_nodes_progress;
  const char* cities;
  const char* cities_progress;
  const char* code_length_title;
  const char* logic_title;
  const char* file_title;
};

const NetworkTexts kNetworkInMemory = {"Creating CalcNode(M)...",
                                       "Making LinkNodeIndex(M)...",
                                       nullptr,
                                       "Creating the Road Networks(M)...",
                                       nullptr,
                                       "Setting Node's CityCodes(M)...",
                                       nullptr,
                                       "Logic Error in BRN_CreateNetworkData",
                                       "Internal Logic Error in BRN_CreateNetworkData",
                                       "File Error in BRN_CreateNetworkData"};
const NetworkTexts kNetworkThroughFiles = {"Creating CalcNode(F)...",
                                           "Making LinkNodeIndex(F)...",
                                           "Making LinkNodeIndex(F)...\n%d",
                                           nullptr,
                                           "Creating CalcNode(F)...\n%d",
                                           "Setting Node's CityCodes(F)...",
                                           "Setting Node's CityCodes(F)...\n%d",
                                           "Internal Logic Error Found in BRN450_CreateNetworkData",
                                           "Internal Logic Error in BRN450_CreateNetworkData",
                                           "File Error in BRN450_CreateNetworkData"};

// What one run of the step works with.
template <typename Nodes, typename Links>
struct NetworkBuilder {
  WindowHandle owner;
  const NetworkTexts& texts;
  Nodes& nodes;
  CodeIndexRecord* node_index;
  Links& links;
  const CodeIndexRecord* link_index;
  const char* control_file;
  int code_length = 0;

  PageArray<NodeLinks> node_links{};     // N + 2
  PageArray<LinkNodes> link_nodes{};     // L + 2
  PageArray<DrawingRecord> drawings{};   // L + 2
  PageArray<uint32_t> cities{};          // N + 2: city of the link in the first slot; empty where
                                         // memory is short
  WorkBuffer<CalcNode> calc_nodes[2]{};  // a block that is written, one that is made
  int connection_errors = 0;
  CodeLookup node_lookup{};  // over node_index
  CodeLookup link_lookup{};  // over link_index
  Workers workers{};

  // What the step cannot do without: no more than the choice between memory and files has tried.
  bool Reserve() {
    return node_links.Allocate(RoomFor(nodes.count)) && link_nodes.Allocate(RoomFor(links.count)) &&
           drawings.Allocate(RoomFor(links.count));
  }

  // What makes it fast, as far as there is memory.
  void ReserveMore() {
    for (WorkBuffer<CalcNode>& block : calc_nodes) {
      block.Take(std::min(nodes.count, CalcInterval()));
    }
    nodes.AtOnce();
    links.AtOnce();
    node_lookup.Build(node_index, nodes.count);
    link_lookup.Build(link_index, links.count);
    cities.Allocate(RoomFor(nodes.count));
  }

  // Nodes between two looks at the user while calc records are made.
  int32_t CalcInterval() const {
    return texts.calc_nodes_progress == nullptr ? kCalcBlock : kStatusInterval;
  }

  // Nodes from `begin` on whose calc records are made at once: within an interval.
  int32_t CalcBlock(int32_t begin) {
    const int64_t room = std::min(calc_nodes[0].room(), calc_nodes[1].room());
    return static_cast<int32_t>(std::min<int64_t>(
        {room, nodes.AtOnce(), CalcInterval() - begin % CalcInterval(), nodes.count - begin}));
  }

  // What BRN_FindIndexRecord finds.
  static int32_t NumberOf(const CodeLookup& lookup, const CodeIndexRecord* index,
                          FeatureCode code) {
    const int64_t found = lookup.Find(code.AsDouble());
    return found < 0 ? -1 : index[found].Number;
  }

  const NodeStoreRecord* NodeAt(int32_t i) {
    const NodeStoreRecord* node = nodes.At(i);
    if (node == nullptr) ReportNode(i);
    return node;
  }

  void ReportNode(int32_t i) {
    ReportError(owner, texts.file_title,
                "Can't seek / read the node storage file at %d ( ptr=%ld )!", i,
                PositionOf(nodes, i));
  }

  void ReportLink(int32_t i) {
    ReportError(owner, texts.file_title,
                "Can't seek / read the link storage file at %d ( ptr=%ld )!", i,
                PositionOf(links, i));
  }

  // Where node i lies; false when it would have to be read from the store.
  static bool PlaceAtHand(const NodeArray& array, int32_t i, NodePlace* place) {
    const NodeStoreRecord& node = array.records[i];
    *place = {node.X, node.Y};
    return true;
  }
  static bool PlaceAtHand(const NodePositions& list, int32_t i, NodePlace* place) {
    if (!list.places) return false;
    *place = list.places[i];
    return true;
  }

  // The same, read from the store where it must be; false when it cannot be (reported).
  bool PlaceOf(int32_t i, NodePlace* place) {
    if (PlaceAtHand(nodes, i, place)) return true;
    const NodeStoreRecord* node = NodeAt(i);
    if (node == nullptr) return false;
    *place = {node->X, node->Y};
    return true;
  }

  // Gives the places back. False when none are held.
  static bool DropPlaces(NodeArray&) { return false; }
  static bool DropPlaces(NodePositions& list) {
    const bool held = static_cast<bool>(list.places);
    list.places.Free();
    return held;
  }

  // The link-node record of link i and what the link itself gives its drawing record. False when
  // an end is missing; its number is then -1.
  bool FillLinkNodes(int64_t i, const LinkStoreRecord& link) {
    const int32_t a = NumberOf(node_lookup, node_index, link.NodeA);
    const int32_t b = NumberOf(node_lookup, node_index, link.NodeB);
    link_nodes[i] = {a, b, link.SpeedA, link.SpeedB, link.Value3, 0};
    DrawingRecord& drawing = drawings[i];
    drawing.LinkCode = link.LinkCode;
    drawing.Link = static_cast<int32_t>(i);
    drawing.RoadKind = link.RoadKind;
    drawing.Value4 = link.Value4;
    return a >= 0 && b >= 0;
  }

  void SetPlaces(int64_t i, NodePlace a, NodePlace b) {
    DrawingRecord& drawing = drawings[i];
    drawing.XA = a.X;
    drawing.YA = a.Y;
    drawing.XB = b.X;
    drawing.YB = b.Y;
  }

  // Link i alone. Returns 1 or 0 (reported).
  int MakeLinkNode(int32_t i, const LinkStoreRecord& link) {
    const bool whole = FillLinkNodes(i, link);
    const LinkNodes& ends = link_nodes[i];
    if (!whole) {
      ReportError(owner, texts.logic_title,
                  "Can't find the edging Nodes : Link=%s(%ld), NodesA/B=%s(%ld)/%s(%ld)",
                  CodeText(link.LinkCode, code_length).c_str(), static_cast<long>(i),
                  CodeText(link.NodeA, code_length).c_str(), static_cast<long>(ends.NodeA),
                  CodeText(link.NodeB, code_length).c_str(), static_cast<long>(ends.NodeB));
      return 0;
    }
    NodePlace a;
    NodePlace b;
    if (!PlaceOf(ends.NodeA, &a) || !PlaceOf(ends.NodeB, &b)) return 0;
    SetPlaces(i, a, b);
    return 1;
  }

  // Link-node records and drawing records, in link order.
  int MakeLinkNodes() {
    if (BRN_BeginStep(texts.link_nodes) == 0) return 0;
    const int32_t at_once = links.AtOnce();
    const auto make = [&](int32_t begin, int32_t end) {
      int32_t count = end - begin;
      const LinkStoreRecord* records = links.Fetch(begin, &count);
      std::atomic<bool> whole{true};
      workers.RunRanges(count, kGrain, [&](int64_t first, int64_t limit) {
        for (int64_t i = first; i < limit; ++i) {
          bool good = FillLinkNodes(begin + i, records[i]);
          if (good) {
            const LinkNodes& ends = link_nodes[begin + i];
            NodePlace a;
            NodePlace b;
            good = PlaceAtHand(nodes, ends.NodeA, &a) && PlaceAtHand(nodes, ends.NodeB, &b);
            if (good) SetPlaces(begin + i, a, b);
          }
          if (!good) whole.store(false, std::memory_order_relaxed);
        }
      });
      // Whatever is not plain is done once more, link by link in order.
      for (int32_t i = 0; i < count && !whole; ++i) {
        if (MakeLinkNode(begin + i, records[i]) == 0) return 0;
      }
      if (count < end - begin) {
        ReportLink(begin + count);
        return 0;
      }
      return 1;
    };
    return ForBlocks(links.count, texts.link_nodes_progress, at_once, make);
  }

  // One connection error: the first is shown, all are logged. False when there are too many.
  bool CountConnectionError(FeatureCode node, FeatureCode link) {
    if (++connection_errors == 1) {
      ReportError(owner, texts.logic_title, "Unexpected NodeCode. Network connection error. %s",
                  "");
    }
    LogBuild("Error connection : Node=%s => Link=%s", CodeText(node, code_length).c_str(),
             CodeText(link, code_length).c_str());
    if (connection_errors <= kMaxConnectionErrors) return true;
    ReportError(owner, "Internal Logic Error in BRN450_CreateNetworkData",
                "The number of network connection erros exceeds 50.\nThe process is canceled.%s",
                "");
    return false;
  }

  // Fills the eight slots of node i; what stands in a slot of which the node is no end is handed to
  // `misses(link code)`. Returns 1, or 0 when that returns 0 or has been called.
  template <typename Misses>
  int FillSlots(int32_t i, const NodeStoreRecord& node, CalcNode* calc, Misses misses) {
    *calc = CalcNode{};
    NodeLinks& slot_links = node_links[i];
    int result = 1;
    bool has_city = false;
    for (int s = 0; s < kSlots; ++s) {
      calc->OtherNode[s] = -1;
      slot_links.Link[s] = -1;
      const FeatureCode code = node.ConnLinkCode[s];
      if (code.IsEmpty()) continue;
      const int64_t found = link_lookup.Find(code.AsDouble());
      if (found < 0) continue;
      const int32_t link = link_index[found].Number;
      if (link < 0) continue;
      if (!has_city && cities) cities[i] = link_index[found].CityCode;
      has_city = true;
      const LinkNodes& ends = link_nodes[link];
      slot_links.Link[s] = link;
      calc->Length[s] = ends.Value3;
      if (ends.NodeA == i) {
        calc->OtherNode[s] = ends.NodeB;
        calc->Cost[s] = ConnectionCost(ends.Value3, ends.SpeedA, kSpeedLimitA);
      } else if (ends.NodeB == i) {
        calc->OtherNode[s] = ends.NodeA;
        calc->Cost[s] = ConnectionCost(ends.Value3, ends.SpeedB, kSpeedLimitB);
      } else {
        result = 0;
        if (misses(code) == 0) return 0;
      }
    }
    PackSlots(calc, &slot_links);
    return result;
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

  // One block of calc nodes on its way.
  struct CalcWork {
    int32_t begin = 0;
    int32_t wanted = 0;
    int32_t count = 0;  // fewer than wanted when a node cannot be read
    const NodeStoreRecord* records = nullptr;
    CalcNode* out = nullptr;
    std::atomic<bool> connected{true};
  };

  // Begins the block at node `begin` on the other processors.
  void StartCalcNodes(int32_t begin, CalcNode* out, CalcWork* work) {
    work->begin = begin;
    work->wanted = CalcBlock(begin);
    work->count = work->wanted;
    if (work->wanted > 0) work->records = nodes.Fetch(begin, &work->count);
    work->out = out;
    work->connected = true;
    workers.StartRanges(work->count, kGrain, [this, work](int64_t first, int64_t limit) {
      for (int64_t i = first; i < limit; ++i) {
        const auto misses = [](FeatureCode) { return 0; };
        const auto node = static_cast<int32_t>(work->begin + i);
        if (FillSlots(node, work->records[i], &work->out[i], misses) == 0) {
          work->connected.store(false, std::memory_order_relaxed);
        }
      }
    });
  }

  // Number of nodes of a finished block before the first one with a connection error.
  int32_t ConnectedNodes(const CalcWork& work) {
    int32_t good = 0;
    CalcNode calc;
    const auto misses = [](FeatureCode) { return 0; };
    while (!work.connected && good < work.count &&
           FillSlots(work.begin + good, work.records[good], &calc, misses) != 0) {
      ++good;
    }
    return work.connected ? work.count : good;
  }

  // Reports all connection errors of a node.
  void ReportConnectionErrors(int32_t i, const NodeStoreRecord& node) {
    CalcNode calc;
    FillSlots(i, node, &calc,
              [&](FeatureCode link) { return CountConnectionError(node.NodeCode, link) ? 1 : 0; });
  }

  // mapcalc.dat and the node-link index, in node order. While a block is written the next one is
  // made.
  int MakeCalcNodes() {
    if (texts.calc_nodes != nullptr && BRN_BeginStep(texts.calc_nodes) == 0) return 0;
    const PathText path = OutputPath(control_file, kCalcNodeFile);
    RecordWriter file;
    if (!file.Open(path.c_str(), sizeof(CalcNode), false)) {
      ReportError(owner, texts.file_title, "Can't open the CalcNode File (%s) !", path.c_str());
      return 0;
    }
    const char* const progress = texts.calc_nodes_progress;
    int result = 1;
    bool writing = true;
    CalcWork work;
    StartCalcNodes(0, calc_nodes[0].data(), &work);
    while (work.wanted > 0 && result != 0 && writing) {
      workers.Finish();
      if (progress != nullptr && work.begin % kStatusInterval == 0 &&
          SetStatusNumber(progress, work.begin) == 0) {
        result = 0;
        break;
      }
      const CalcWork made{work.begin, work.wanted, work.count, work.records, work.out};
      const int32_t good = ConnectedNodes(work);
      const bool whole = good == made.wanted;
      if (whole) {
        const int next = made.out == calc_nodes[0].data() ? 1 : 0;
        StartCalcNodes(made.begin + made.wanted, calc_nodes[next].data(), &work);
      }
      writing = file.AppendMany(made.out, good);
      if (!whole) {
        result = 0;
        if (writing && good < made.count) {
          ReportConnectionErrors(made.begin + good, made.records[good]);
        } else if (writing) {
          ReportNode(made.begin + good);
        }
      } else if (progress == nullptr && CancelledWithin(made.begin, made.begin + made.wanted)) {
        result = 0;
      }
    }
    workers.Finish();
    if (!file.Close()) {
      ReportError(owner, texts.file_title, "Can't write the CalcNode Data(%s) at %ld !",
                  path.c_str(), static_cast<long>(file.failed_record()));
      result = 0;
    }
    return result;
  }

  // The city of a node is that of the link in its first slot.
  int SetCities() {
    if (BRN_BeginStep(texts.cities) == 0) return 0;
    const auto set = [&](int32_t begin, int32_t end) {
      if (!cities) return SetCitiesFromLinks(begin, end);
      workers.RunRanges(end - begin, kGrain, [&](int64_t first, int64_t limit) {
        for (int64_t i = begin + first; i < begin + limit; ++i) {
          const auto node = static_cast<uint64_t>(node_index[i].Number);
          if (node_links[node].Link[0] != -1) node_index[i].CityCode = cities[node];
        }
      });
      return 1;
    };
    return ForBlocks(nodes.count, texts.cities_progress, nodes.count, set);
  }

  // The same from the links' own records. Returns 1; 0 when one cannot be read (reported).
  int SetCitiesFromLinks(int32_t begin, int32_t end) {
    for (int32_t i = begin; i < end; ++i) {
      const int32_t number = node_links[node_index[i].Number].Link[0];
      if (number == -1) continue;
      const LinkStoreRecord* link = links.At(number);
      if (link == nullptr) {
        ReportLink(number);
        return 0;
      }
      node_index[i].CityCode = link->CityCode;
    }
    return 1;
  }

  int Save(const char* name, const char* error, const void* data, uint64_t size) {
    // Several large files in a row.
    if (BRN_SetStatus(nullptr) == 0) return 0;
    const PathText path = OutputPath(control_file, name);
    if (SaveFile(path.c_str(), data, size) == SaveResult::kSaved) return 1;
    ReportError(owner, "File Error", error, path.c_str());
    return 0;
  }

  int SaveIndexes() {
    const auto node_count = static_cast<uint64_t>(nodes.count);
    const auto link_count = static_cast<uint64_t>(links.count);
    return Save(kNodeIndexFile, "Can't write the NodeIndex file(%s)", node_index,
                node_count * sizeof(CodeIndexRecord)) != 0 &&
                   Save(kNodeLinkFile, "Can't write the NodeLinkIndex file(%s)", node_links.data(),
                        node_count * sizeof(NodeLinks)) != 0 &&
                   Save(kLinkIndexFile, "Can't write the LinkIndex file(%s)", link_index,
                        link_count * sizeof(CodeIndexRecord)) != 0 &&
                   Save(kLinkNodeFile, "Can't write the LinkNodeIndex file(%s)", link_nodes.data(),
                        link_count * sizeof(LinkNodes)) != 0 &&
                   Save(kDrawingFile, "Can't write the DrawMap file(%s)", drawings.data(),
                        link_count * sizeof(DrawingRecord)) != 0
               ? 1
               : 0;
  }

  int Run() {
    if (BRN_BeginStep(texts.status) == 0) return 0;
    code_length = BRN_GetCodeLength(control_file);
    if (!IsValidCodeLength(code_length)) {
      ReportError(owner, texts.code_length_title, "The CodeLength = %d is invalid !", code_length);
      return 0;
    }
    const PathText node_path = OutputPath(control_file, kNodeStoreFile);
    if (!nodes.Open(node_path.c_str(), platform::Access::kRead)) {
      ReportError(owner, texts.file_title, "Can't open the node store (%s) !", node_path.c_str());
      return 0;
    }
    const PathText link_path = OutputPath(control_file, kLinkStoreFile);
    if (!links.Open(link_path.c_str(), platform::Access::kRead)) {
      ReportError(owner, texts.file_title, "Can't open the link store (%s) !", link_path.c_str());
      return 0;
    }
    // Places save time only: they give way.
    if (!Reserve() && !(DropPlaces(nodes) && Reserve())) {
      ReportError(owner, "Memory Error in BRN_CreateNetworkData",
                  "Can't allocate the momories for NodeLinkIndex, LinkNodeIndex, DrawMapL!");
      return 0;
    }
    ReserveMore();
    if (MakeLinkNodes() == 0) return 0;
    // They have done their duty.
    DropPlaces(nodes);
    node_lookup = CodeLookup();
    return MakeCalcNodes() != 0 && SetCities() != 0 && SaveIndexes() != 0 ? 1 : 0;
  }
};

template <typename Nodes, typename Links>
int CreateNetworkData(WindowHandle owner, const NetworkTexts& texts, Nodes& nodes,
                      CodeIndexRecord* node_index, Links& links, const CodeIndexRecord* link_index,
                      const char* control_file) {
  NetworkBuilder<Nodes, Links> builder{owner, texts,      nodes,       node_index,
                                       links, link_index, control_file};
  const int result = builder.Run();
  nodes.Close();
  links.Close();
  return result;
}

}  // namespace

int32_t BRN_FindIndexRecord(FeatureCode code, int64_t count, const CodeIndexRecord* index) {
  const int64_t found =
      FindNarrowed(count, code.AsDouble(), [index](int64_t i) { return index[i].Code.AsDouble(); });
  return found < 0 ? -1 : index[found].Number;
}

int BRN_CheckDummyLinkNodes(WindowHandle owner, NodeArray& nodes, const CodeIndexRecord* node_index,
                            LinkArray& links, const char* control_file) {
  return CheckDummyLinkNodes(owner, kDummyCheckInMemory, nodes, node_index, links, control_file);
}

int BRN450_CheckDummyLinkNodes(WindowHandle owner, NodePositions& nodes,
                               const CodeIndexRecord* node_index, LinkPositions& links,
                               const char* control_file) {
  const int result =
      CheckDummyLinkNodes(owner, kDummyCheckThroughFiles, nodes, node_index, links, control_file);
  nodes.Close();
  links.Close();
  return result;
}

int BRN_CreateNetworkData(WindowHandle owner, NodeArray& nodes, CodeIndexRecord* node_index,
                          LinkArray& links, const CodeIndexRecord* link_index,
                          const char* control_file) {
  return CreateNetworkData(owner, kNetworkInMemory, nodes, node_index, links, link_index,
                           control_file);
}

int BRN450_CreateNetworkData(WindowHandle owner, NodePositions& nodes, CodeIndexRecord* node_index,
                             LinkPositions& links, const CodeIndexRecord* link_index,
                             const char* control_file) {
  return CreateNetworkData(owner, kNetworkThroughFiles, nodes, node_index, links, link_index,
                           control_file);
}

}  // namespace zatlib
