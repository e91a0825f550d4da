// The construction steps of both operations behind one set of names: the tests run each twice.
#pragma once

#include "network/dummy_link_check.h"
#include "network/network_data.h"
#include "network/node_link_data.h"
#include "network/store_loading.h"
#include "network_stores.h"

namespace zatlib::test::network {

class BothOperations : public NetworkTest, public ::testing::WithParamInterface<Way> {
 protected:
  BothOperations() { UseLength(GetParam().code_length); }

  bool memory() const { return GetParam().memory; }

  // "(M)" or "(F)", as the titles of the two operations end.
  std::string Mark(const std::string& title) const {
    return title + (memory() ? "(M)..." : "(F)...");
  }

  // The name of a step of this operation: "BRN_..." or "BRN450_...".
  std::string Step(const std::string& name) const { return (memory() ? "BRN_" : "BRN450_") + name; }

  int LoadNodes() {
    return memory() ? BRN_LoadNodeStore(nullptr, &nodes_, control())
                    : BRN450_LoadNodeStorePtr(nullptr, &node_positions_, control());
  }
  int LoadLinks() {
    return memory() ? BRN_LoadLinkStore(nullptr, &links_, control())
                    : BRN450_LoadLinkStorePtr(nullptr, &link_positions_, control());
  }
  int64_t NodeCount() const { return memory() ? nodes_.count : node_positions_.count; }
  int64_t LinkCount() const { return memory() ? links_.count : link_positions_.count; }

  int CreateNodeData() {
    node_index_.assign(static_cast<size_t>(NodeCount()) + 2, {});
    return memory()
               ? BRN_CreateNodeData(nullptr, nodes_, node_index_.data(), control())
               : BRN450_CreateNodeData(nullptr, node_positions_, node_index_.data(), control());
  }
  int CreateLinkData() {
    link_index_.assign(static_cast<size_t>(LinkCount()) + 2, {});
    return memory()
               ? BRN_CreateLinkData(nullptr, links_, link_index_.data(), control())
               : BRN450_CreateLinkData(nullptr, link_positions_, link_index_.data(), control());
  }
  int CheckDummyLinkNodes() {
    return memory()
               ? BRN_CheckDummyLinkNodes(nullptr, nodes_, node_index_.data(), links_, control())
               : BRN450_CheckDummyLinkNodes(nullptr, node_positions_, node_index_.data(),
                                            link_positions_, control());
  }
  int CreateNetworkData() {
    return memory() ? BRN_CreateNetworkData(nullptr, nodes_, node_index_.data(), links_,
                                            link_index_.data(), control())
                    : BRN450_CreateNetworkData(nullptr, node_positions_, node_index_.data(),
                                               link_positions_, link_index_.data(), control());
  }

  // Everything up to the two indexes; the log is empty afterwards.
  void Load() {
    ASSERT_EQ(LoadNodes(), 1);
    ASSERT_EQ(CreateNodeData(), 1);
    ASSERT_EQ(LoadLinks(), 1);
    ASSERT_EQ(CreateLinkData(), 1);
    ClearLog();
  }

  // An index as it would stand in a file.
  static std::string IndexBytes(const std::vector<CodeIndexRecord>& index, int64_t count) {
    return std::string(reinterpret_cast<const char*>(index.data()),
                       static_cast<size_t>(count) * sizeof(CodeIndexRecord));
  }

  NodeArray nodes_;
  LinkArray links_;
  NodePositions node_positions_;
  LinkPositions link_positions_;
  std::vector<CodeIndexRecord> node_index_;
  std::vector<CodeIndexRecord> link_index_;
};

// The same with stores of a few records.
class SmallStores : public BothOperations {
 protected:
  // Three nodes and two links between empty records, with an incomplete record behind them.
  void SaveStores() {
    SaveNodes({{.code = 0, .x = 9},
               {.code = 500, .attr = 0x8001, .city = 13101, .x = 139700000, .y = 35600000},
               {.code = 200, .attr = 7, .x = -70123456, .y = -15000001},
               {.code = 0},
               {.code = 300, .partner = 200, .city = 4000000000, .links = {9}}},
              std::string(95, 'x'));
    SaveLinks(
        {{.code = 3000, .a = 500, .b = 200, .city = 13101, .kind = 3, .value6 = -6, .flag = 4},
         {.code = 0, .kind = 1, .flag = 4},
         {.code = 1000, .a = 200, .b = 300, .city = 13102, .kind = 99, .value6 = 32767, .flag = 0}},
        std::string(47, 'x'));
  }
};

}  // namespace zatlib::test::network
