#include "traffic/traffic_rules.h"

#include <algorithm>
#include <atomic>
#include <limits>
#include <span>

#include "frd/code_lookup.h"
#include "frd/log.h"
#include "frd/memory.h"
#include "frd/parallel.h"
#include "frd/work_buffer.h"
#include "network/network_files.h"
#include "network/workstore/work_stores.h"
#include "traffic/table_file.h"

namespace zatlib {
namespace {

constexpr int64_t kProgressRecords = 10000;
constexpr int64_t kBlockRecords = 0x4000;                     // of a network file, read at a time
constexpr int64_t kBlockStoreRecords = 4 * kProgressRecords;  // of a store, likewise
constexpr int64_t kRecordsOfPart = kProgressRecords / 4;      // that a thread takes at a time
constexpr int64_t kRoomForStores = 0x10000;                   // bytes for the blocks of a store
static_assert(kProgressRecords % kRecordsOfPart == 0);

// The nodes of a link.
struct EndNodes {
  int32_t a;
  int32_t b;
};

// The network as the rules see it: counts that hold for every table, whatever its file's size.
struct Network {
  WholeFile node_index_file;
  WholeFile turn_file;
  WholeFile link_index_file;

  // The neighbours of node n in slot order, from neighbours[starts[n]] to that of starts[n + 1].
  PageArray<uint32_t> starts;
  PageArray<int32_t> neighbours;
  int64_t node_count = 0;
  PageArray<EndNodes> links;
  int64_t link_count = 0;
  SlotBytes* turns = nullptr;
  int64_t turn_count = 0;  // nodes that have turn bytes
  const CodeIndexRecord* node_index = nullptr;
  const CodeIndexRecord* link_index = nullptr;
  CodeLookup node_lookup;
  CodeLookup link_lookup;

  // Record number of a node or link, -1 when the code is not given or unknown. `hint` is where in
  // the index it may stand.
  int64_t FindNode(FeatureCode code, int64_t hint) const {
    return Find(node_lookup, node_index, node_count, code, &hint);
  }
  // The hint goes on to what stands behind the link found.
  int64_t FindLink(FeatureCode code, int64_t* hint) const {
    return Find(link_lookup, link_index, link_count, code, hint);
  }

  static int64_t Find(const CodeLookup& lookup, const CodeIndexRecord* index, int64_t limit,
                      FeatureCode code, int64_t* hint) {
    if (code.IsEmpty()) return -1;
    const int64_t found = lookup.FindFrom(code.AsDouble(), *hint);
    if (found < 0) return -1;
    *hint = found + 1;
    const int64_t number = index[found].Number;
    return number < limit ? number : -1;
  }

  const EndNodes& LinkAt(int64_t link) const { return links[link]; }

  // True when the number is that of a node whose slots and turn bytes are there.
  bool HasTurns(int64_t node) const { return node >= 0 && node < node_count && node < turn_count; }

  // The neighbours in the occupied connection slots of a node.
  std::span<const int32_t> Neighbours(int64_t node) const {
    const uint32_t* const start = starts.data() + node;
    return {neighbours.data() + start[0], neighbours.data() + start[1]};
  }

  // Prohibits turns at a node; several threads may do so at the same time.
  void Prohibit(int64_t node, size_t arrival_slot, unsigned departures) const {
    std::atomic_ref<uint8_t>(turns[node].Slot[arrival_slot])
        .fetch_or(static_cast<uint8_t>(departures), std::memory_order_relaxed);
  }
};

// kDone when the file was read to its end, block by block; else reports that.
Outcome TellRead(const Step& step, const char* file, const BlockReader& blocks) {
  return TellResult(step, file, blocks.failed() ? FileResult::kNotRead : FileResult::kDone);
}

// Reads what the rules need of mapcalc.dat: a fraction of its size, since most slots are empty.
Outcome LoadNeighbours(const Step& step, Workers& workers, Network* network) {
  BlockReader blocks;
  const Outcome opened = OpenTable(step, kCalcNodeFile, sizeof(CalcNode), kBlockRecords, &blocks);
  if (!IsDone(opened)) return opened;
  const int64_t count = blocks.count();
  // Room for all slots: pages that nothing is written to cost no memory.
  const auto reserve = [&] {
    return network->starts.Allocate(count + 1) && network->neighbours.Allocate(count * kSlots);
  };
  if (!reserve() && !(blocks.Shrink() && reserve())) {
    return TellResult(step, kCalcNodeFile, FileResult::kNoMemory);
  }
  network->node_count = count;
  uint32_t* const starts = network->starts.data();
  int32_t* const neighbours = network->neighbours.data();
  int64_t used = 0;
  while (blocks.records_in_block() > 0) {
    const auto* const nodes = blocks.records<CalcNode>();
    const int64_t first = blocks.first();
    const int64_t in_block = blocks.records_in_block();
    // More connections than two for each possible link are no network.
    if (used + in_block * kSlots > std::numeric_limits<uint32_t>::max()) {
      return TellResult(step, kCalcNodeFile, FileResult::kNoMemory);
    }
    workers.Start(1, [&, nodes, first, in_block](int64_t) {
      for (int64_t i = 0; i < in_block; ++i) {
        const int32_t* const other = nodes[i].OtherNode;
        for (int slot = 0; slot < kSlots && other[slot] != -1; ++slot) {
          neighbours[used++] = other[slot];
        }
        starts[first + i + 1] = static_cast<uint32_t>(used);
      }
    });
    blocks.Advance();
    workers.Finish();
  }
  return TellRead(step, kCalcNodeFile, blocks);
}

// Reads the nodes of all links.
Outcome LoadLinks(const Step& step, Network* network) {
  BlockReader blocks;
  const Outcome opened = OpenTable(step, kLinkNodeFile, sizeof(LinkNodes), kBlockRecords, &blocks);
  if (!IsDone(opened)) return opened;
  if (!network->links.Allocate(blocks.count())) {
    return TellResult(step, kLinkNodeFile, FileResult::kNoMemory);
  }
  network->link_count = blocks.count();
  for (; blocks.records_in_block() > 0; blocks.Advance()) {
    const auto* const links = blocks.records<LinkNodes>();
    std::transform(links, links + blocks.records_in_block(), network->links.data() + blocks.first(),
                   [](const LinkNodes& link) {
                     return EndNodes{link.NodeA, link.NodeB};
                   });
  }
  return TellRead(step, kLinkNodeFile, blocks);
}

Outcome LoadNetwork(const Step& step, Workers& workers, Network* network) {
  Outcome outcome = LoadNeighbours(step, workers, network);
  if (IsDone(outcome)) outcome = LoadTable(step, kNodeIndexFile, &network->node_index_file);
  if (IsDone(outcome)) outcome = LoadTable(step, kTurnTableFile, &network->turn_file);
  if (IsDone(outcome)) outcome = LoadTable(step, kLinkIndexFile, &network->link_index_file);
  if (IsDone(outcome)) outcome = LoadLinks(step, network);
  if (!IsDone(outcome)) return outcome;
  network->turns = network->turn_file.records<SlotBytes>();
  network->turn_count = network->turn_file.count<SlotBytes>();
  network->node_index = network->node_index_file.records<CodeIndexRecord>();
  network->link_index = network->link_index_file.records<CodeIndexRecord>();
  // The tables for look-ups save time only: they leave what the blocks of the stores need at least.
  WorkBuffer<char> for_stores;
  for_stores.Take(kRoomForStores);
  network->node_lookup.Build(
      network->node_index,
      std::min(network->node_count, network->node_index_file.count<CodeIndexRecord>()));
  network->link_lookup.Build(
      network->link_index,
      std::min(network->link_count, network->link_index_file.count<CodeIndexRecord>()));
  return Outcome::kDone;
}

// Where the links of the records before have led to, one a thread.
struct Hints {
  int64_t in_link = 0;
  int64_t out_link = 0;
};

// The node at the other end of a link; false when the link does not touch `node`.
bool FarNode(const EndNodes& link, int64_t node, int32_t* far_node) {
  if (link.a == node) {
    *far_node = link.b;
  } else if (link.b == node) {
    *far_node = link.a;
  } else {
    return false;
  }
  return true;
}

// The connection slots of a turn.
struct Turn {
  size_t arrival = 0;
  size_t departure = 0;
};

// Walks the slots until both neighbours are known; until then a later slot of one of them, that of
// a parallel link, takes the place of an earlier one. False when one of them is not there.
bool FindTurn(std::span<const int32_t> others, int32_t in_node, int32_t out_node, Turn* turn) {
  bool in_known = false;
  bool out_known = false;
  for (size_t slot = 0; slot < others.size(); ++slot) {
    if (others[slot] == in_node) {
      turn->arrival = slot;
      in_known = true;
    }
    if (others[slot] == out_node) {
      turn->departure = slot;
      out_known = true;
    }
    if (in_known && out_known) return true;
  }
  return false;
}

// Sets the bit of the turn that a rule prohibits and returns 1; 0 when the rule does not fit the
// network.
int Apply(const Network& network, const RuleStoreRecord& rule, Hints* hints) {
  if (rule.Kind != kProhibited) return 0;
  const int64_t in_link = network.FindLink(rule.InLink, &hints->in_link);
  if (in_link < 0) return 0;
  const int64_t out_link = network.FindLink(rule.OutLink, &hints->out_link);
  if (out_link < 0) return 0;
  const EndNodes& in_ends = network.LinkAt(in_link);
  // In most maps a node stands in the index where its number says.
  const int64_t node = network.FindNode(rule.NodeCode, in_ends.a);
  if (!network.HasTurns(node)) return 0;
  int32_t in_node = -1;
  int32_t out_node = -1;
  if (!FarNode(in_ends, node, &in_node)) return 0;
  if (!FarNode(network.LinkAt(out_link), node, &out_node)) return 0;
  Turn turn;
  if (!FindTurn(network.Neighbours(node), in_node, out_node, &turn)) return 0;
  network.Prohibit(node, turn.arrival, 0x80u >> turn.departure);
  return 1;
}

// Bars leaving `node` toward `far_node`, from whatever direction the vehicle has come, the link
// itself included. Returns the number of turn bytes that took the bit.
int CloseDirection(const Network& network, int64_t node, int64_t far_node) {
  if (!network.HasTurns(node)) return 0;
  const auto others = network.Neighbours(node);
  unsigned closed = 0;
  for (size_t slot = 0; slot < others.size(); ++slot) {
    if (others[slot] == far_node) closed = 0x80u >> slot;
  }
  if (closed == 0) return 0;
  for (size_t slot = 0; slot < others.size(); ++slot) network.Prohibit(node, slot, closed);
  return static_cast<int>(others.size());
}

// Applies one record of the one-way storage; returns the number of bits set.
int Apply(const Network& network, const OneWayStoreRecord& record, Hints* hints) {
  const int64_t number = network.FindLink(record.LinkCode, &hints->in_link);
  if (number < 0) return 0;
  const EndNodes& link = network.LinkAt(number);
  const int64_t first = network.FindNode(record.FirstNode, link.a);
  const int64_t second = network.FindNode(record.SecondNode, link.b);
  uint16_t flag_a = record.FirstFlag;
  uint16_t flag_b = record.SecondFlag;
  const bool nodes_given = first >= 0 && second >= 0;
  const bool in_link_order = link.a == first && link.b == second;
  if (nodes_given && !in_link_order) {
    if (link.a != second || link.b != first) return 0;
    std::swap(flag_a, flag_b);
  }
  int count = 0;
  if (flag_a == kProhibited) count += CloseDirection(network, link.a, link.b);
  if (flag_b == kProhibited) count += CloseDirection(network, link.b, link.a);
  return count;
}

// One store's way into the turn table.
struct Section {
  const char* store;                  // file name
  MessageText<int, int> status;       // set count, record number from 1
  MessageText<const char*, int> end;  // OK or ERROR, set count
};

constexpr Section kRuleSection = {.store = kRuleStoreFile,
                                  .status = "Checking RuleStorage %d / %d",
                                  .end = "End of RuleStore section %s : set count = %d"};
constexpr Section kOneWaySection = {.store = kOneWayStoreFile,
                                    .status = "Checking OneWayStorage %d / %d",
                                    .end = "End of OneWayStore section %s : set count = %d"};

// Shows how far a section is.
Outcome ShowSection(const Section& section, int64_t set_count, int64_t record) {
  char text[128];
  const char* shown = nullptr;
  if (g_silent == 0 && FRD_IsDialogOpen()) {
    FormatText(text, sizeof text, section.status, ShownAs<int>(set_count), ShownAs<int>(record));
    shown = text;
  }
  return CancelledIf(BRN_SetStatus(shown) == 0);
}

// Applies a block of records on all threads. `set_counts` receives how many bits each part of
// kRecordsOfPart has set. The bits add up to the same in any order.
template <typename Record>
void StartBlock(const Network& network, const Record* records, int64_t count, Workers& workers,
                int64_t* set_counts) {
  workers.StartRanges(count, kRecordsOfPart, [=, &network](int64_t begin, int64_t end) {
    Hints hints;
    int64_t set_count = 0;
    for (int64_t i = begin; i < end; ++i) set_count += Apply(network, records[i], &hints);
    set_counts[begin / kRecordsOfPart] = set_count;
  });
}

// Opens a work store. One that is missing or shorter than a record has no records, which is no
// error, also where it could not be opened.
Outcome OpenStore(const Step& step, const char* file, uint32_t record_size, BlockReader* store) {
  const PathText path = step.Path(file);
  bool read_only = false;
  if (!platform::GetAttributes(path.c_str(), &read_only)) return Outcome::kDone;
  const int64_t size = platform::SizeAtPath(path.c_str());
  if (size >= 0 && size < record_size) return Outcome::kDone;
  return OpenTable(step, file, record_size, kBlockStoreRecords, store);
}

// Applies all records of a store and shows how far it is. `*set_count` grows by the bits set;
// nothing of a store that cannot be read counts.
template <typename Record>
Outcome ApplyStore(const Step& step, const Network& network, const Section& section,
                   Workers& workers, int64_t* set_count) {
  BlockReader blocks;
  const Outcome opened = OpenStore(step, section.store, sizeof(Record), &blocks);
  if (!IsDone(opened)) return opened;
  const int64_t count = blocks.count();
  int64_t set_counts[kBlockStoreRecords / kRecordsOfPart] = {};
  while (blocks.records_in_block() > 0) {
    const int64_t first = blocks.first();
    const int64_t in_block = blocks.records_in_block();
    StartBlock(network, blocks.records<Record>(), in_block, workers, set_counts);
    blocks.Advance();
    workers.Finish();
    for (int64_t done = 0; done < in_block;) {
      *set_count += set_counts[done / kRecordsOfPart];
      done = std::min(done + kRecordsOfPart, in_block);
      const int64_t record = first + done;
      if (record % kProgressRecords != 0 && record != count) continue;
      const Outcome shown = ShowSection(section, *set_count, record);
      if (!IsDone(shown)) return shown;
    }
  }
  if (blocks.failed()) *set_count = 0;
  return TellRead(step, section.store, blocks);
}

// Runs a store through the network and logs the section's end; after the failure of an earlier one
// that is all.
template <typename Record>
Outcome RunSection(const Step& step, const Network& network, const Section& section,
                   Outcome earlier, Workers& workers) {
  int64_t set_count = 0;
  const Outcome outcome =
      IsDone(earlier) ? ApplyStore<Record>(step, network, section, workers, &set_count) : earlier;
  // A one-way record sets up to 16 bits.
  LogText(section.end, ResultText(AsResult(outcome)), ShownAs<int>(set_count));
  return outcome;
}

Outcome SaveTurns(const Step& step, const WholeFile& turns) {
  if (BRN_SetStatus("Writing TrafRule File...") == 0) return Outcome::kCancelled;
  const PathText path = step.Path(kTurnTableFile);
  return TellResult(step, kTurnTableFile, SaveBytes(path.c_str(), turns.bytes.data(), turns.size));
}

Outcome AddTrafficRules(const Step& step) {
  if (BRN_SetStatus("Initializing...") == 0) return Outcome::kCancelled;
  Workers workers;
  Network network;
  Outcome outcome = LoadNetwork(step, workers, &network);
  if (!IsDone(outcome)) return outcome;
  outcome = RunSection<RuleStoreRecord>(step, network, kRuleSection, outcome, workers);
  outcome = RunSection<OneWayStoreRecord>(step, network, kOneWaySection, outcome, workers);
  return IsDone(outcome) ? SaveTurns(step, network.turn_file) : outcome;
}

}  // namespace

int BRN_TRF_AddTrafficRules(WindowHandle owner, const char* control_file) {
  const Step step(owner, control_file, "BRN_TRF_AddTrafficRules");
  const int result = AsResult(AddTrafficRules(step));
  LogBuild("BRN_TRF_AddTrafficRules returns %s", ResultText(result));
  return result;
}

}  // namespace zatlib
