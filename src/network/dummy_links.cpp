#include <algorithm>
#include <new>
#include <unordered_map>

#include "frd/cancellable.h"
#include "frd/log.h"
#include "frd/record_writer.h"
#include "network/store_checks.h"
#include "network/workstore/code_length.h"
#include "network/workstore/store_file.h"
#include "network/workstore/work_stores.h"
#include "platform/file.h"

namespace zatlib {
namespace {

constexpr int64_t kLeastDummyList = 8192;  // entries of the dummy link list at first, at least

// Puts a dummy link into the first empty slot; nothing when all eight are used.
void AddToFreeSlot(NodeStoreRecord* node, FeatureCode link) {
  for (FeatureCode& slot : node->ConnLinkCode) {
    if (slot.IsEmpty()) {
      slot = link;
      return;
    }
  }
}

// The dummy links made so far. The list has the sizes that the memory of a build was planned with;
// a table over it answers which pair has its link already.
class DummyLinkList {
 public:
  struct Entry {
    FeatureCode link, node_a, node_b;
  };

  bool Reserve(int64_t link_count) {
    const int64_t wanted = std::max(link_count / 100, kLeastDummyList);
    return entries_.Allocate(wanted) || entries_.Allocate(wanted / 10);
  }

  const Entry* Find(FeatureCode a, FeatureCode b) const {
    const auto found = by_pair_.find(PairOf(a, b));
    return found == by_pair_.end() ? nullptr : &entries_[found->second];
  }

  // Grows by doubling when the reservation is used up.
  bool Add(const Entry& entry) {
    const auto count = static_cast<int64_t>(by_pair_.size());
    if (count == entries_.size() && !entries_.Grow(count * 2)) return false;
    entries_[count] = entry;
    try {
      by_pair_.emplace(PairOf(entry.node_a, entry.node_b), count);
    } catch (const std::bad_alloc&) {
      return false;
    }
    return true;
  }

 private:
  struct Pair {
    uint64_t low, high;
    bool operator==(const Pair&) const = default;
  };
  struct PairHash {
    size_t operator()(const Pair& pair) const {
      return static_cast<size_t>((pair.low * 0x9E3779B97F4A7C15u) ^ (pair.high >> 7) ^ pair.high);
    }
  };
  // Either order names the same pair.
  static Pair PairOf(FeatureCode a, FeatureCode b) {
    return {std::min(a.bits, b.bits), std::max(a.bits, b.bits)};
  }

  PageArray<Entry> entries_;
  std::unordered_map<Pair, int64_t, PairHash> by_pair_;
};

// The counts of the dummy link step's summary.
struct DummyLinkCounts {
  int64_t visited = 0;
  int64_t nodes = 0;
  int64_t links = 0;
  int64_t made = 0;
};

// Joins the nodes that name a partner.
class PartnerJoiner {
 public:
  PartnerJoiner(const Step& step, const SortedCodes& codes, int code_length)
      : step_(step), codes_(codes), code_length_(code_length) {}

  const DummyLinkCounts& counts() const { return counts_; }

  // `none` when no node is known to name a partner.
  Outcome Run(bool none) {
    const Outcome opened = Open();
    if (!IsDone(opened)) return opened;
    if (none) {
      counts_.visited = nodes_.count();
      return Outcome::kDone;
    }
    for (int64_t i = 0; i < nodes_.count(); ++i) {
      if (CancelledAt(i)) return Outcome::kCancelled;
      NodeStoreRecord* node = nodes_.At(i);
      // What cannot be read lies behind the end of the file.
      if (node == nullptr) break;
      ++counts_.visited;
      if (node->NodeCode.IsEmpty() || node->PartnerCode.IsEmpty()) continue;
      const Outcome joined = Join(i, node);
      if (!IsDone(joined)) return joined;
    }
    return Outcome::kDone;
  }

 private:
  Outcome Open() {
    links_ = platform::File::Open(link_path_.c_str(), platform::Access::kReadWrite,
                                  platform::Share::kRead, platform::Disposition::kOpenExisting);
    if (!links_.IsOpen()) {
      return step_.Fail(kFileError, "Can't open the LinkStore(%s) !", link_path_.c_str());
    }
    counts_.links = links_.Size() / static_cast<int64_t>(sizeof(LinkStoreRecord));
    if (!nodes_.Open(node_path_.c_str(), platform::Access::kReadWrite)) {
      return step_.Fail(kFileError, "Can't open the NODESTORE(%s) !", node_path_.c_str());
    }
    counts_.nodes = nodes_.count();
    if (made_.Reserve(counts_.links)) return Outcome::kDone;
    return step_.Fail(kMemoryError,
                      "Can't allocate memory for the DummyLink Storage : num link store = %ld",
                      static_cast<long>(counts_.links));
  }

  Outcome Join(int64_t record, NodeStoreRecord* node) {
    if (const auto* joined = made_.Find(node->NodeCode, node->PartnerCode)) {
      AddToFreeSlot(node, joined->link);
      if (nodes_.Write(record)) return Outcome::kDone;
      return step_.FailAs(kFileError, "Can't write the NODESTORE(%s)!", node_path_.c_str());
    }
    if (BRN_CodeExists(node->PartnerCode, codes_.count, codes_.codes.data()) == 0) {
      return Outcome::kDone;
    }
    const LinkStoreRecord link = DummyLink(*node);
    if (!Append(link)) {
      return step_.FailAs(kFileError, "Can't append the LINKSTORE(%s)", link_path_.c_str());
    }
    ++counts_.made;
    ++counts_.links;
    AddToFreeSlot(node, link.LinkCode);
    if (!nodes_.Write(record)) {
      return step_.FailAs(kFileError, "Can't write the NODESTR.WRK(%s)!", node_path_.c_str());
    }
    if (made_.Add({link.LinkCode, link.NodeA, link.NodeB})) return Outcome::kDone;
    return step_.FailAs(kMemoryError, "Can't re-allocate the memory for DummyLinkIndex at %ld!",
                        static_cast<long>(counts_.made));
  }

  LinkStoreRecord DummyLink(const NodeStoreRecord& node) const {
    LinkStoreRecord link{};
    link.LinkCode = DummyLinkCode(counts_.made + 1, code_length_);
    link.NodeA = node.NodeCode;
    link.NodeB = node.PartnerCode;
    link.CityCode = kDummyCityCode;
    link.RoadKind = kDummyRoadKind;
    link.Value4 = kDummyValue4;
    return link;
  }

  bool Append(const LinkStoreRecord& link) {
    uint32_t written = 0;
    return counts_.links < kMaxRecords && links_.Seek(0, platform::SeekFrom::kEnd) >= 0 &&
           links_.Write(&link, sizeof link, &written) && written == sizeof link;
  }

  const Step& step_;
  const SortedCodes& codes_;
  int code_length_;
  PathText link_path_ = step_.Path(kLinkStoreFile);
  PathText node_path_ = step_.Path(kNodeStoreFile);
  platform::File links_;
  StoreFile<NodeStoreRecord> nodes_;
  DummyLinkList made_;
  DummyLinkCounts counts_;
};

}  // namespace

int BRN_MakeDummyLinks(WindowHandle owner, const SortedCodes& nodes, const char* control_file,
                       const CheckedStores* known) {
  const Step step(owner, control_file, "BRN_MakeDummyLinks");
  if (!IsDone(step.Begin("Making Dummy Link..."))) return 0;
  int code_length = 0;
  if (!IsDone(TakeCodeLength(step, "Logic Error in BRN_MakeDummyLinks", &code_length))) return 0;
  PartnerJoiner joiner(step, nodes, code_length);
  const bool none = known != nullptr && known->filled && !known->has_partners;
  const int result = AsResult(joiner.Run(none));
  const DummyLinkCounts& counts = joiner.counts();
  LogBuild(
      "lnCtr=%ld lnNumNodeStore=%ld lnNumLinkStore=%ld lnDummyCtr=%ld, BRN_MakeDummyLinks "
      "returns=%d",
      ShownAs<long>(counts.visited), ShownAs<long>(counts.nodes), ShownAs<long>(counts.links),
      ShownAs<long>(counts.made), result);
  return result;
}

}  // namespace zatlib
