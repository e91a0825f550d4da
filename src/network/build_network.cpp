#include "network/build_network.h"

#include <initializer_list>

#include "frd/cp932.h"
#include "frd/log.h"
#include "frd/record_file.h"
#include "frd/step.h"
#include "network/dummy_link_check.h"
#include "network/network_data.h"
#include "network/node_link_data.h"
#include "network/store_checks.h"
#include "network/store_loading.h"
#include "platform/profile.h"

namespace zatlib {
namespace {

constexpr uint32_t kMethodSize = 512;  // bytes of the BUILDMETHOD value

double Megabytes(uint64_t bytes) { return static_cast<double>(bytes) / 1024.0 / 1024.0; }

// A block of a trial allocation.
struct TrialBlock {
  int64_t size;  // bytes
  bool counted;  // whether it enters the sum of its case
};

// Blocks held during the choice.
class Trial {
 public:
  // Allocates the blocks in turn; false when one is refused (blocks of no bytes never are).
  // `*sum` grows by the page-rounded sizes of the counted ones.
  bool Allocate(std::initializer_list<TrialBlock> blocks, uint64_t* sum) {
    for (const TrialBlock& block : blocks) {
      if (count_ == kMaxBlocks) return false;
      PageArray<char>& pages = blocks_[count_];
      if (block.size > 0 && !pages.Allocate(block.size)) return false;
      ++count_;
      if (block.counted) *sum += FRD_GetMemSize(pages.data());
    }
    return true;
  }

  uint64_t SizeOf(size_t block) const { return FRD_GetMemSize(blocks_[block].data()); }

  // Frees all but the first `kept` blocks.
  void FreeFrom(size_t kept) {
    while (count_ > kept) blocks_[--count_].Free();
  }

 private:
  static constexpr size_t kMaxBlocks = 16;
  PageArray<char> blocks_[kMaxBlocks];
  size_t count_ = 0;
};

// The steps of one way of building.
struct MemorySteps {
  using Nodes = NodeArray;
  using Links = LinkArray;
  static constexpr auto LoadNodes = BRN_LoadNodeStore;
  static constexpr auto CreateNodes = BRN_CreateNodeData;
  static constexpr auto LoadLinks = BRN_LoadLinkStore;
  static constexpr auto CreateLinks = BRN_CreateLinkData;
  static constexpr auto CheckDummies = BRN_CheckDummyLinkNodes;
  static constexpr auto CreateNetwork = BRN_CreateNetworkData;
};
struct FileSteps {
  using Nodes = NodePositions;
  using Links = LinkPositions;
  static constexpr auto LoadNodes = BRN450_LoadNodeStorePtr;
  static constexpr auto CreateNodes = BRN450_CreateNodeData;
  static constexpr auto LoadLinks = BRN450_LoadLinkStorePtr;
  static constexpr auto CreateLinks = BRN450_CreateLinkData;
  static constexpr auto CheckDummies = BRN450_CheckDummyLinkNodes;
  static constexpr auto CreateNetwork = BRN450_CreateNetworkData;
};

// Records of the stores, those without a code included.
struct StoreCounts {
  int64_t nodes;
  int64_t links;

  // Bytes of an array by node or link number.
  template <typename Record>
  int64_t OfNodes() const {
    return int64_t{sizeof(Record)} * RoomFor(nodes);
  }
  template <typename Record>
  int64_t OfLinks() const {
    return int64_t{sizeof(Record)} * RoomFor(links);
  }
};

void LogCase(char name, const StoreCounts& stores, uint64_t bytes) {
  LogBuild("CASE %c: NumNode=%ld NumLink=%ld AllocMem=%.1lfMB", name, ShownAs<long>(stores.nodes),
           ShownAs<long>(stores.links), Megabytes(bytes));
}

// Takes, for a moment, what one way of building needs, and logs the sums. The first blocks live
// through the whole build: the stores or their positions and the two indexes, and `spare` bytes for
// buffers, which are not counted. First the node data is made beside them, then the network data;
// everything else that the steps hold, and those behind them, fits in one of the two. What only
// makes a step faster is no part of it: without memory it is left out. False when it does not fit.
// `*sum` is that of the network data.
template <typename Steps>
bool Fits(const StoreCounts& stores, int64_t spare, const char* cases, uint64_t* sum) {
  using HeldLink = typename Steps::Links::Held;
  using HeldNode = typename Steps::Nodes::Held;
  constexpr size_t kKept = 5;
  Trial trial;
  *sum = 0;
  if (!trial.Allocate({{spare, false},
                       {stores.OfLinks<HeldLink>(), true},
                       {stores.OfNodes<HeldNode>(), true},
                       {stores.OfLinks<CodeIndexRecord>(), true},
                       {stores.OfNodes<CodeIndexRecord>(), true},
                       {stores.OfNodes<NodeLocation>(), true},
                       {stores.OfNodes<NodeNameRecord>(), true},
                       {stores.OfNodes<SlotBytes>(), true},   // prohibited turns
                       {stores.OfNodes<uint8_t>(), true},     // node attributes
                       {stores.OfNodes<SlotBytes>(), true}},  // connection attributes
                      sum)) {
    return false;
  }
  LogCase(cases[0], stores, *sum);
  trial.FreeFrom(kKept);
  *sum = trial.SizeOf(1) + trial.SizeOf(2) + trial.SizeOf(3) + trial.SizeOf(4);
  if (!trial.Allocate({{stores.OfNodes<NodeLinks>(), true},
                       {stores.OfLinks<LinkNodes>(), true},
                       {stores.OfLinks<DrawingRecord>(), true}},
                      sum)) {
    return false;
  }
  LogCase(cases[1], stores, *sum);
  return true;
}

int ChooseByTrial(WindowHandle owner, const char* control_file) {
  const platform::MemoryStatus memory = platform::GetMemoryStatus();
  LogBuild(
      "Total Physycal=%.1lfMB, Available Physycal=%.1lfMB\r\nTotal Paging=%.1lfMB, Available "
      "Paging=%.1lfMB",
      Megabytes(memory.total_physical), Megabytes(memory.available_physical),
      Megabytes(memory.total_paging), Megabytes(memory.available_paging));
  const StoreCounts stores = {
      CountRecords(OutputPath(control_file, kNodeStoreFile).c_str(), sizeof(NodeStoreRecord)),
      CountRecords(OutputPath(control_file, kLinkStoreFile).c_str(), sizeof(LinkStoreRecord))};
  uint64_t sum = 0;
  if (!Fits<FileSteps>(stores, 3 * stores.nodes, "AB", &sum)) {
    ReportError(owner, "Memory Error in Building Road Networks",
                "Not enough memory for the operation!");
    return kNotEnoughMemory;
  }
  if (!Fits<MemorySteps>(stores, 4 * stores.nodes, "CD", &sum)) return kFileOperation;
  if (Megabytes(sum) > Megabytes(memory.total_physical)) {
    LogBuild("File Operation is recommended ( Need %.1lfMB > Physical %.1lfMB )", Megabytes(sum),
             Megabytes(memory.total_physical));
    return kFileOperation;
  }
  return kMemoryOperation;
}

constexpr MessageText<const char*> kTooFewNodes =
    kCp932<u8"ノードとリンクが不整合であるため計算用道路データが作成できません。%s">;

// What the stages of one way of building hand on to each other.
template <typename Steps>
struct NetworkBuild {
  WindowHandle owner;
  const char* control_file;
  typename Steps::Nodes nodes = {};
  typename Steps::Links links = {};
  PageArray<CodeIndexRecord> node_index = {};
  PageArray<CodeIndexRecord> link_index = {};

  static int LoadNodes(NetworkBuild& build) {
    return Steps::LoadNodes(build.owner, &build.nodes, build.control_file);
  }

  static int CreateNodes(NetworkBuild& build) {
    if (build.nodes.count < 2) {
      char message[kMessageSize];
      FormatText(message, sizeof message, kTooFewNodes, "");
      BRN_ShowError(build.owner, message, kCp932<u8"データエラー">, platform::kErrorIcon);
      return 0;
    }
    if (!build.node_index.Allocate(RoomFor(build.nodes.count))) {
      ReportError(build.owner, "Memory Error",
                  "Can't allocate the memory for NodeIndex : num node=%d", build.nodes.count);
      return 0;
    }
    return Steps::CreateNodes(build.owner, build.nodes, build.node_index.data(),
                              build.control_file);
  }

  static int LoadLinks(NetworkBuild& build) {
    return Steps::LoadLinks(build.owner, &build.links, build.control_file);
  }

  static int CreateLinks(NetworkBuild& build) {
    if (!build.link_index.Allocate(RoomFor(build.links.count))) {
      ReportError(build.owner, "Memory Error",
                  "Can't allocate the memory for LinkIndex : num link=%d", build.links.count);
      return 0;
    }
    return Steps::CreateLinks(build.owner, build.links, build.link_index.data(),
                              build.control_file);
  }

  static int CheckDummies(NetworkBuild& build) {
    return Steps::CheckDummies(build.owner, build.nodes, build.node_index.data(), build.links,
                               build.control_file);
  }

  static int CreateNetwork(NetworkBuild& build) {
    return Steps::CreateNetwork(build.owner, build.nodes, build.node_index.data(), build.links,
                                build.link_index.data(), build.control_file);
  }
};

// Loads the stores and creates the network files; after `result` 0 only the bar goes on.
template <typename Steps>
int CreateFiles(WindowHandle owner, const char* control_file, int result) {
  using Build = NetworkBuild<Steps>;
  static constexpr Stage<Build&> kStages[] = {
      {kSamePoint, Build::LoadNodes},
      {0.55f, Build::CreateNodes},
      {0.6f, Build::LoadLinks},
      {0.65f, Build::CreateLinks},
      {0.7f, Build::CheckDummies},
      {0.75f, Build::CreateNetwork},
      {0.8f, nullptr},
  };
  Build build{owner, control_file};
  return RunStages(kStages, result, build);
}

// The checks of the stores, which hand on what they have found.
struct StoreChecks {
  WindowHandle owner;
  const char* control_file;
  CheckedStores known = {};

  static int Duplicates(StoreChecks& checks) {
    return BRN_CheckNodeLinkDuplication(checks.owner, checks.control_file, &checks.known);
  }
  static int Nodes(StoreChecks& checks) {
    return BRN_CheckNodeStoreFromLinkStore(checks.owner, checks.control_file, &checks.known);
  }
  static int Links(StoreChecks& checks) {
    SortedCodes nodes;
    int result = BRN_MakeDrotenNodeIndex(checks.owner, &nodes, checks.control_file, &checks.known);
    if (result != 0) {
      result = BRN_CheckLinkStore(checks.owner, nodes, checks.control_file, &checks.known);
    }
    if (result != 0) {
      result = BRN_MakeDummyLinks(checks.owner, nodes, checks.control_file, &checks.known);
    }
    return result;
  }
};

constexpr Stage<StoreChecks&> kStoreChecks[] = {
    {0.3f, StoreChecks::Duplicates},
    {0.35f, StoreChecks::Nodes},
    {0.4f, StoreChecks::Links},
    {0.5f, nullptr},
};

// What the checks hold is given back before the build takes memory.
int CheckStores(WindowHandle owner, const char* control_file) {
  StoreChecks checks{owner, control_file};
  return RunStages(kStoreChecks, 1, checks);
}

}  // namespace

int BRN_CheckMemories(WindowHandle owner, const char* control_file) {
  if (BRN_BeginStep("Checking Memories...") == 0) return kNotEnoughMemory;
  char method[kMethodSize];
  platform::ReadProfileString("SYSTEM", "BUILDMETHOD", "", method, sizeof method, control_file);
  if (method[0] == 'M' && method[1] == 0) return kMemoryOperation;
  if (method[0] == 'F' && method[1] == 0) return kFileOperation;
  return ChooseByTrial(owner, control_file);
}

int BRN_BuildNetwork(WindowHandle owner, const char* control_file) {
  if (CheckStores(owner, control_file) == 0) {
    // The bar passes the points of the stages that are left out.
    return CreateFiles<FileSteps>(owner, control_file, 0);
  }
  const int method = BRN_CheckMemories(owner, control_file);
  LogBuild(method == kMemoryOperation ? "*** memory operation ***"
           : method == kFileOperation ? "*** file operation ***"
                                      : "*** memory error ***");
  if (method == kMemoryOperation) return CreateFiles<MemorySteps>(owner, control_file, 1);
  return CreateFiles<FileSteps>(owner, control_file, method == kFileOperation ? 1 : 0);
}

}  // namespace zatlib
