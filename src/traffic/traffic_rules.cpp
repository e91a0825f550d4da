#include "traffic/traffic_rules.h"

#include <algorithm>

#include "frd/control.h"
#include "frd/key_tree.h"
#include "frd/keyed_table.h"
#include "frd/log.h"
#include "network/network_files.h"
#include "network/workstore/work_stores.h"
#include "traffic/table_file.h"

namespace zatlib {
namespace {

constexpr uint16_t kTurnProhibited = 2;    // rule kind that is applied
constexpr uint16_t kTravelProhibited = 2;  // one-way flag that is applied
constexpr int64_t kProgressRecords = 10000;

static_assert(sizeof(CodeIndexRecord) == sizeof(KeyedRecord));

// The network as the rules see it: counts that hold for every table, whatever its file's size.
struct Network {
  TableFile calc_file;
  TableFile node_index_file;
  TableFile rule_file;
  TableFile link_index_file;
  TableFile link_node_file;

  const CalcNode* nodes = nullptr;
  int64_t node_count = 0;
  const LinkNodes* links = nullptr;
  int64_t link_count = 0;
  SlotBytes* turns = nullptr;
  int64_t turn_count = 0;  // nodes that have turn bytes
  const KeyedRecord* node_index = nullptr;
  int64_t node_index_count = 0;
  const KeyedRecord* link_index = nullptr;
  int64_t link_index_count = 0;
  KeyTree node_tree;
  KeyTree link_tree;

  // Record number of a node or link, -1 when the code is not given or unknown.
  int64_t FindNode(FeatureCode code) const { return Find(node_tree, node_index, node_count, code); }
  int64_t FindLink(FeatureCode code) const { return Find(link_tree, link_index, link_count, code); }

  // What FRD_FindByKey finds.
  static int64_t Find(const KeyTree& tree, const KeyedRecord* index, int64_t limit,
                      FeatureCode code) {
    if (code.IsEmpty()) return -1;
    const int64_t found = tree.Find(code.AsDouble());
    if (found < 0) return -1;
    const int64_t number = index[found].value;
    return number < limit ? number : -1;
  }

  // True when the number is that of a node whose slots and turn bytes are there.
  bool HasTurns(int64_t node) const { return node >= 0 && node < node_count && node < turn_count; }

  // Number of occupied connection slots of a node.
  int SlotCount(int64_t node) const {
    const int32_t* other = nodes[node].OtherNode;
    return static_cast<int>(std::find(other, other + kSlots, -1) - other);
  }
};

int LoadNetwork(WindowHandle owner, const char* folder, Network* network) {
  const struct {
    const char* name;
    TableFile* table;
  } files[] = {
      {kCalcNodeFile, &network->calc_file},      {kNodeIndexFile, &network->node_index_file},
      {kTurnTableFile, &network->rule_file},     {kLinkIndexFile, &network->link_index_file},
      {kLinkNodeFile, &network->link_node_file},
  };
  for (const auto& file : files) {
    if (LoadTable(owner, folder, file.name, file.table) == 0) return 0;
  }
  network->nodes = network->calc_file.records<CalcNode>();
  network->node_count = network->calc_file.count<CalcNode>();
  network->links = network->link_node_file.records<LinkNodes>();
  network->link_count = network->link_node_file.count<LinkNodes>();
  network->turns = network->rule_file.records<SlotBytes>();
  network->turn_count = network->rule_file.count<SlotBytes>();
  network->node_index = network->node_index_file.records<KeyedRecord>();
  network->node_index_count =
      std::min(network->node_count, network->node_index_file.count<KeyedRecord>());
  network->link_index = network->link_index_file.records<KeyedRecord>();
  network->link_index_count =
      std::min(network->link_count, network->link_index_file.count<KeyedRecord>());
  network->node_tree.Build(network->node_index, network->node_index_count);
  network->link_tree.Build(network->link_index, network->link_index_count);
  return 1;
}

// The node at the other end of a link; false when the link does not touch `node`.
bool FarNode(const LinkNodes& link, int64_t node, int32_t* far_node) {
  if (link.NodeA == node) {
    *far_node = link.NodeB;
  } else if (link.NodeB == node) {
    *far_node = link.NodeA;
  } else {
    return false;
  }
  return true;
}

// Sets the bit of the turn that a rule prohibits; false when the rule does not fit the network.
bool ApplyRule(const Network& network, const RuleStoreRecord& rule) {
  if (rule.Kind != kTurnProhibited) return false;
  const int64_t node = network.FindNode(rule.NodeCode);
  const int64_t in_link = network.FindLink(rule.InLink);
  const int64_t out_link = network.FindLink(rule.OutLink);
  if (!network.HasTurns(node) || in_link < 0 || out_link < 0) return false;
  int32_t in_node = -1;
  int32_t out_node = -1;
  if (!FarNode(network.links[in_link], node, &in_node)) return false;
  if (!FarNode(network.links[out_link], node, &out_node)) return false;
  const int32_t* other = network.nodes[node].OtherNode;
  const int32_t* const end = other + network.SlotCount(node);
  const int32_t* const in_slot = std::find(other, end, in_node);
  const int32_t* const out_slot = std::find(other, end, out_node);
  if (in_slot == end || out_slot == end) return false;
  network.turns[node].Slot[in_slot - other] |= static_cast<uint8_t>(0x80 >> (out_slot - other));
  return true;
}

// Bars leaving `node` toward `far_node`, from whatever direction the vehicle has come, the link
// itself included. Returns the number of turn bytes that took the bit.
int CloseDirection(const Network& network, int64_t node, int64_t far_node) {
  if (!network.HasTurns(node)) return 0;
  const int slots = network.SlotCount(node);
  int closed = -1;
  for (int slot = 0; slot < slots; ++slot) {
    if (network.nodes[node].OtherNode[slot] == far_node) closed = slot;
  }
  if (closed < 0) return 0;
  for (int slot = 0; slot < slots; ++slot) {
    network.turns[node].Slot[slot] |= static_cast<uint8_t>(0x80 >> closed);
  }
  return slots;
}

// Applies one record of the one-way storage; returns the number of bits set.
int ApplyOneWay(const Network& network, const OneWayStoreRecord& record) {
  const int64_t number = network.FindLink(record.LinkCode);
  if (number < 0) return 0;
  const LinkNodes& link = network.links[number];
  const int64_t first = network.FindNode(record.FirstNode);
  const int64_t second = network.FindNode(record.SecondNode);
  uint16_t flag_a = record.FirstFlag;
  uint16_t flag_b = record.SecondFlag;
  const bool nodes_given = first >= 0 && second >= 0;
  const bool in_link_order = link.NodeA == first && link.NodeB == second;
  if (nodes_given && !in_link_order) {
    if (link.NodeA != second || link.NodeB != first) return 0;
    std::swap(flag_a, flag_b);
  }
  int count = 0;
  if (flag_a == kTravelProhibited) count += CloseDirection(network, link.NodeA, link.NodeB);
  if (flag_b == kTravelProhibited) count += CloseDirection(network, link.NodeB, link.NodeA);
  return count;
}

// One store's way into the turn table.
struct Section {
  const char* store;   // file name
  const char* status;  // set count, record number from 1
  const char* end;     // OK or ERROR, set count
};

constexpr Section kRuleSection = {kRuleStoreFile, "Checking RuleStorage %d / %d",
                                  "End of RuleStore section %s : set count = %d"};
constexpr Section kOneWaySection = {kOneWayStoreFile, "Checking OneWayStorage %d / %d",
                                    "End of OneWayStore section %s : set count = %d"};

// Shows how far a section is; 0 when the user has cancelled.
int ShowSection(const Section& section, int64_t set_count, int64_t record) {
  if (g_silent != 0 || !FRD_IsDialogOpen()) return BRN_SetStatus(nullptr);
  char text[128];
  FRD_Format(text, sizeof text, section.status, ShownAs<int>(set_count), ShownAs<int>(record));
  return BRN_SetStatus(text);
}

// Runs a store's records through `apply`, which tells how many bits each has set, and logs the
// section's end. `wanted` 0 skips the work, as after the failure of an earlier section. Returns 1
// or 0.
template <typename Record, typename Apply>
int RunSection(WindowHandle owner, const char* folder, const Section& section, int wanted,
               Apply apply) {
  TableFile store;
  int64_t set_count = 0;
  int result = wanted != 0 ? LoadStore(owner, folder, section.store, &store) : 0;
  if (result != 0) {
    const Record* records = store.records<Record>();
    const int64_t count = store.count<Record>();
    for (int64_t i = 0; i < count && result != 0; ++i) {
      set_count += apply(records[i]);
      if ((i + 1) % kProgressRecords == 0 || i + 1 == count) {
        result = ShowSection(section, set_count, i + 1);
      }
    }
  }
  // A one-way record sets up to 16 bits.
  LogBuild(section.end, ResultText(result), ShownAs<int>(set_count));
  return result;
}

int SaveTurns(WindowHandle owner, const TableFile& turns) {
  if (BRN_SetStatus("Writing TrafRule File...") == 0) return 0;
  const SaveResult result = SaveTable(owner, turns);
  if (result == SaveResult::kNotWritten) {
    ReportError(owner, "File Error", "Can't write %s !", turns.path.c_str());
  }
  return result == SaveResult::kSaved ? 1 : 0;
}

int AddTrafficRules(WindowHandle owner, const char* folder) {
  if (BRN_SetStatus("Initializing...") == 0) return 0;
  Network network;
  if (LoadNetwork(owner, folder, &network) == 0) return 0;
  const int rules_done = RunSection<RuleStoreRecord>(
      owner, folder, kRuleSection, 1,
      [&](const RuleStoreRecord& rule) { return ApplyRule(network, rule) ? 1 : 0; });
  const int all_done = RunSection<OneWayStoreRecord>(
      owner, folder, kOneWaySection, rules_done,
      [&](const OneWayStoreRecord& record) { return ApplyOneWay(network, record); });
  return all_done != 0 ? SaveTurns(owner, network.rule_file) : 0;
}

}  // namespace

int BRN_TRF_AddTrafficRules(WindowHandle owner, const char* control_file) {
  char folder[kPathSize];
  BRN_GetCalcMapDir(control_file, folder);
  const int result = AddTrafficRules(owner, folder);
  LogBuild("BRN_TRF_AddTrafficRules returns %s", ResultText(result));
  return result;
}

}  // namespace zatlib
