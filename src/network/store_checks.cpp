#include "network/store_checks.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <new>
#include <span>
#include <unordered_map>

#include "frd/control.h"
#include "frd/cp932.h"
#include "frd/key_tree.h"
#include "frd/log.h"
#include "frd/long_pass.h"
#include "frd/parallel.h"
#include "frd/record_writer.h"
#include "network/workstore/index_sort.h"
#include "network/workstore/store_file.h"
#include "network/workstore/work_stores.h"
#include "platform/file.h"

namespace zatlib {
namespace {

constexpr int64_t kLeastDummyList = 8192;  // entries of the dummy link list at first, at least

const char* const kNodeDuplicate =
    kCp932<u8"道路点 %s が重複しています。重複を取り除いてください。">;
const char* const kLinkDuplicate =
    kCp932<u8"道路区間 %s が重複しています。重複を取り除いてください。">;

// Reports a duplicate; false when the user wants to see no more of them.
bool ShowDuplicate(WindowHandle owner, const char* format, FeatureCode code, int code_length,
                   const char* title) {
  char message[kMessageSize];
  FRD_Format(message, sizeof message, format, CodeText(code, code_length).c_str());
  return BRN_ShowError(owner, message, title, platform::kOkCancelBox | platform::kErrorIcon) !=
         platform::kAnswerCancel;
}

// The texts of one half of the duplication check.
struct DuplicationTexts {
  const char* status;
  const char* no_memory;  // may take the record count
  const char* not_opened;
  const char* not_read;
  const char* duplicate;
  const char* duplicate_title;
};

// Looks for records of one code in one store. `*duplicates` grows by those found. The visitor gets
// the number of records, then the records, block by block; where memory is short it is asked to
// give its own up. The codes, sorted, stay in `*list`.
// Returns 1, or 0 on cancel, failure or an empty store.
template <typename Record, typename Visitor>
int CheckDuplicates(WindowHandle owner, const char* path, int code_length,
                    const DuplicationTexts& texts, int64_t* duplicates, SortedCodes* list,
                    Visitor& visitor) {
  constexpr char kFileTitle[] = "File Error in BRN_CheckNodeLinkDuplication";
  PageArray<FeatureCode>& codes = list->codes;
  StoreFile<Record> store;
  if (!store.Open(path, platform::Access::kRead)) {
    // A store that does not exist holds no records.
    bool read_only = false;
    if (platform::GetAttributes(path, &read_only)) {
      ReportError(owner, kFileTitle, texts.not_opened, path);
    }
    return 0;
  }
  const int64_t count = store.count();
  if (count < 1) return 0;
  const auto reserve = [&] { return codes.Allocate(static_cast<uint64_t>(count) + 2); };
  if (count > kMaxRecords || (!reserve() && !(visitor.GiveUp() && reserve()))) {
    ReportError(owner, "Memory Error in BRN_CheckNodeLinkDuplication", texts.no_memory,
                ShownAs<long>(count));
    return 0;
  }
  list->count = count;
  visitor.Begin(count);
  for (int64_t i = 0; i < count;) {
    const std::span<const Record> records = store.From(i);
    if (records.empty()) {
      ReportError(owner, kFileTitle, texts.not_read, path, static_cast<long>(i));
      return 0;
    }
    FeatureCode* out = &codes[static_cast<uint64_t>(i)];
    // The code is the first field of either record.
    for (const Record& record : records) *out++ = *reinterpret_cast<const FeatureCode*>(&record);
    visitor.Visit(i, records);
    const int64_t end = i + static_cast<int64_t>(records.size());
    if (CancelledWithin(i, end)) return 0;
    i = end;
  }
  if (BRN_SortIndex(owner, count, codes.data()) == 0) return 0;
  bool listing = true;
  for (int64_t i = 1; i < count && listing; ++i) {
    const auto at = static_cast<uint64_t>(i);
    if (!(codes[at - 1] == codes[at])) continue;
    ++*duplicates;
    listing = ShowDuplicate(owner, texts.duplicate, codes[at], code_length, texts.duplicate_title);
  }
  return 1;
}

// An invalid code length is reported under the name of the node index step here too.
int TakeCodeLength(WindowHandle owner, const char* control_file, const char* title) {
  const int code_length = BRN_GetCodeLength(control_file);
  if (IsValidCodeLength(code_length)) return code_length;
  ReportError(owner, title, "The CodeLength = %d is invalid !", code_length);
  return 0;
}

void ReportShortStore(WindowHandle owner, const char* store, int64_t read, int64_t count) {
  ReportError(owner, "File Error", "Read %s data (%ld) is smaller than %ld!\r\nMaybe A file error!",
              store, static_cast<long>(read), static_cast<long>(count));
}

// Looks for nodes that name a partner.
class PartnerLookup {
 public:
  bool GiveUp() { return false; }
  void Begin(int64_t) {}
  void Visit(int64_t, std::span<const NodeStoreRecord> nodes) {
    for (const NodeStoreRecord& node : nodes) found_ |= !node.PartnerCode.IsEmpty();
  }
  bool found() const { return found_; }

 private:
  bool found_ = false;
};

// True when a pass may rely on looking codes up in the list: codes that are no numbers, which
// stand at its ends, would mislead it.
bool IsOrdered(const SortedCodes& list) {
  const auto last = static_cast<uint64_t>(list.count - 1);
  return list.codes[0].AsDouble() <= list.codes[last].AsDouble();
}

// Looks up the ends of all links while their records pass by.
class EndLookup {
 public:
  // What is found goes to `known`, whose node codes are there; null = nothing is looked up.
  explicit EndLookup(CheckedStores* known) : known_(known) {}

  // Nothing is looked up from now on, and what `known` holds is given back. False when it holds
  // nothing.
  bool GiveUp() {
    if (known_ == nullptr) return false;
    *known_ = CheckedStores();
    known_ = nullptr;
    return true;
  }

  // Without memory for it nothing is looked up.
  void Begin(int64_t links) {
    if (known_ == nullptr) return;
    known_->links = links;
    known_->filled = IsOrdered(known_->nodes) &&
                     known_->ends.Allocate(static_cast<uint64_t>(known_->nodes.count)) &&
                     known_->loose_links.Allocate(static_cast<uint64_t>(links) / 64 + 1);
    if (known_->filled) {
      tree_.Build(known_->nodes.codes.data(), known_->nodes.count);
    } else {
      GiveUp();  // the checks that read for themselves need the memory
    }
  }

  void Visit(int64_t first, std::span<const LinkStoreRecord> links) {
    if (known_ == nullptr) return;
    // Runs that end where a word of 64 links does have words of their own.
    constexpr int64_t kRun = 4096;
    const int64_t end = first + static_cast<int64_t>(links.size());
    const int64_t first_run = first / kRun;
    workers_.Run((end + kRun - 1) / kRun - first_run, [&](int64_t part) {
      const int64_t begin = std::max(first, (first_run + part) * kRun);
      const int64_t limit = std::min(end, (first_run + part + 1) * kRun);
      for (int64_t i = begin; i < limit; ++i) {
        const LinkStoreRecord& link = links[static_cast<size_t>(i - first)];
        // Both are marked, whatever the other one is.
        const bool has_a = Mark(link.NodeA);
        const bool has_b = Mark(link.NodeB);
        if (has_a && has_b) continue;
        known_->loose_links[static_cast<uint64_t>(i) / 64] |= uint64_t{1} << (i % 64);
      }
    });
  }

 private:
  bool Mark(FeatureCode code) const {
    const int64_t at = tree_.Find(code.AsDouble());
    if (at < 0 || code.IsEmpty()) return false;
    const std::atomic_ref<uint8_t> end(known_->ends[static_cast<uint64_t>(at)]);
    if (end.load(std::memory_order_relaxed) == 0) end.store(1, std::memory_order_relaxed);
    return true;
  }

  CheckedStores* known_;
  KeyTree tree_;
  Workers workers_;
};

// Collects the end nodes of all links, sorted. Returns 1 or 0 (reported).
int CollectEndNodes(WindowHandle owner, const char* path, const CheckedStores* known,
                    SortedCodes* ends) {
  // A store that cannot be opened must not pass for one without links: every node would be killed.
  StoreFile<LinkStoreRecord> links;
  if (!links.Open(path, platform::Access::kRead)) {
    ReportError(owner, "File Error in BRN_CheckNodeStoreFromLinkStore",
                "Can't open LINKSTORE(%s) !", path);
    return 0;
  }
  const int64_t count = links.count();
  // The ends are marked already; only the user hears of a list that would be sorted now.
  if (known != nullptr) return BRN_SortIndex(owner, 0, nullptr);
  if (!ends->codes.Allocate(static_cast<uint64_t>(count) * 2 + 2)) {
    ReportError(owner, "Memory Error in BRN_CheckNodeStoreFromLinkStore",
                "Can't allocate the memory for the Index (rec=%ld)!", static_cast<long>(count));
    return 0;
  }
  for (int64_t i = 0; i < count; ++i) {
    if (CancelledAt(i)) return 0;
    const LinkStoreRecord* link = links.At(i);
    if (link == nullptr) {
      ReportShortStore(owner, "LinkStorage", i, count);
      return 0;
    }
    ends->codes[static_cast<uint64_t>(ends->count++)] = link->NodeA;
    ends->codes[static_cast<uint64_t>(ends->count++)] = link->NodeB;
  }
  return BRN_SortIndex(owner, ends->count, ends->codes.data());
}

// The codes of the nodes that are some link's end: those that were not killed.
void TakeUsedCodes(CheckedStores* known, SortedCodes* list) {
  list->codes = std::move(known->nodes.codes);
  FeatureCode* out = list->codes.data();
  for (uint64_t i = 0; i < static_cast<uint64_t>(known->nodes.count); ++i) {
    if (known->ends[i] != 0) *out++ = list->codes[i];
  }
  list->count = out - list->codes.data();
  known->nodes.count = 0;
}

// Kills the nodes that are no link's end. Returns 1 or 0 (reported).
int KillUnusedNodes(WindowHandle owner, const char* path, const SortedCodes& ends,
                    const CheckedStores* known, int64_t* node_count, int64_t* killed) {
  StoreFile<NodeStoreRecord> nodes;
  if (!nodes.Open(path, platform::Access::kReadWrite)) {
    ReportError(owner, "File Error in BRN_CheckNodeStoreFromLinkStore",
                "Can't open NODESTORE(%s) !", path);
    return 0;
  }
  *node_count = nodes.count();
  KeyTree tree;
  if (known == nullptr) {
    tree.Build(ends.codes.data(), ends.count);
  } else {
    const uint8_t* marks = known->ends.data();
    if (nodes.count() == known->nodes.count &&
        std::memchr(marks, 0, static_cast<size_t>(known->nodes.count)) == nullptr) {
      return 1;
    }
    tree.Build(known->nodes.codes.data(), known->nodes.count);
  }
  const auto is_end = [&](FeatureCode code, int64_t record) {
    if (known == nullptr) return tree.Find(code.AsDouble()) >= 0;
    const int64_t at = tree.FindFrom(code.AsDouble(), record);
    return at >= 0 && known->ends[static_cast<uint64_t>(at)] != 0;
  };
  for (int64_t i = 0; i < nodes.count(); ++i) {
    if (CancelledAt(i)) return 0;
    NodeStoreRecord* node = nodes.At(i);
    if (node == nullptr) {
      ReportShortStore(owner, "NodeStorage", i, nodes.count());
      return 0;
    }
    if (!node->NodeCode.IsEmpty() && is_end(node->NodeCode, i)) continue;
    node->NodeCode = FeatureCode{};
    node->PartnerCode = FeatureCode{};
    ++*killed;
    if (!nodes.Write(i)) {
      ReportError(owner, "File Error", "Can't write NodeStore(%s) at %ld !", path,
                  static_cast<long>(i));
      return 0;
    }
  }
  return 1;
}

// Number of the first link from `i` on of which an end is no node; the number of links when there
// is none.
int64_t NextLooseLink(const CheckedStores& known, int64_t i) {
  auto word = static_cast<uint64_t>(i) / 64;
  const uint64_t last = static_cast<uint64_t>(known.links) / 64;
  uint64_t bits = known.loose_links[word] >> (i % 64) << (i % 64);
  while (bits == 0 && word < last) bits = known.loose_links[++word];
  return bits == 0 ? known.links : static_cast<int64_t>(word * 64) + std::countr_zero(bits);
}

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
    return entries_.Allocate(static_cast<uint64_t>(wanted)) ||
           entries_.Allocate(static_cast<uint64_t>(wanted / 10));
  }

  const Entry* Find(FeatureCode a, FeatureCode b) const {
    const auto found = by_pair_.find(PairOf(a, b));
    return found == by_pair_.end() ? nullptr : &entries_[found->second];
  }

  // Grows by doubling when the reservation is used up.
  bool Add(const Entry& entry) {
    const uint64_t count = by_pair_.size();
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
  std::unordered_map<Pair, uint64_t, PairHash> by_pair_;
};

// The counts of the dummy link step's summary.
struct DummyLinkCounts {
  int64_t visited = 0;
  int64_t nodes = 0;
  int64_t links = 0;
  int64_t made = 0;
};

int JoinPartners(WindowHandle owner, const SortedCodes& list, const char* control_file,
                 const CheckedStores* known, int code_length, DummyLinkCounts* counts) {
  constexpr char kFileTitle[] = "File Error in BRN_MakeDummyLinks";
  const PathText link_path = OutputPath(control_file, kLinkStoreFile);
  const PathText node_path = OutputPath(control_file, kNodeStoreFile);
  platform::File links =
      platform::File::Open(link_path.c_str(), platform::Access::kReadWrite, platform::Share::kRead,
                           platform::Disposition::kOpenExisting);
  if (!links.IsOpen()) {
    ReportError(owner, kFileTitle, "Can't open the LinkStore(%s) !", link_path.c_str());
    return 0;
  }
  counts->links = links.Size() / static_cast<int64_t>(sizeof(LinkStoreRecord));
  StoreFile<NodeStoreRecord> nodes;
  if (!nodes.Open(node_path.c_str(), platform::Access::kReadWrite)) {
    ReportError(owner, kFileTitle, "Can't open the NODESTORE(%s) !", node_path.c_str());
    return 0;
  }
  counts->nodes = nodes.count();
  DummyLinkList made;
  if (!made.Reserve(counts->links)) {
    ReportError(owner, "Memory Error in BRN_MakeDummyLinks",
                "Can't allocate memory for the DummyLink Storage : num link store = %ld",
                static_cast<long>(counts->links));
    return 0;
  }
  if (known != nullptr && known->filled && !known->has_partners) {
    counts->visited = nodes.count();
    return 1;
  }
  for (int64_t i = 0; i < nodes.count(); ++i) {
    if (CancelledAt(i)) return 0;
    NodeStoreRecord* node = nodes.At(i);
    // What cannot be read lies behind the end of the file.
    if (node == nullptr) break;
    ++counts->visited;
    if (node->NodeCode.IsEmpty() || node->PartnerCode.IsEmpty()) continue;
    if (const auto* joined = made.Find(node->NodeCode, node->PartnerCode)) {
      AddToFreeSlot(node, joined->link);
      if (!nodes.Write(i)) {
        ReportError(owner, "File Error", "Can't write the NODESTORE(%s)!", node_path.c_str());
        return 0;
      }
      continue;
    }
    if (BRN_CodeExists(node->PartnerCode, list.count, list.codes.data()) == 0) continue;
    LinkStoreRecord link{};
    link.LinkCode = DummyLinkCode(counts->made + 1, code_length);
    link.NodeA = node->NodeCode;
    link.NodeB = node->PartnerCode;
    link.CityCode = kDummyCityCode;
    link.RoadKind = kDummyRoadKind;
    link.Value4 = kDummyValue4;
    uint32_t written = 0;
    if (counts->links >= kMaxRecords || links.Seek(0, platform::SeekFrom::kEnd) < 0 ||
        !links.Write(&link, sizeof link, &written) || written != sizeof link) {
      ReportError(owner, "File Error", "Can't append the LINKSTORE(%s)", link_path.c_str());
      return 0;
    }
    ++counts->made;
    ++counts->links;
    AddToFreeSlot(node, link.LinkCode);
    if (!nodes.Write(i)) {
      ReportError(owner, "File Error", "Can't write the NODESTR.WRK(%s)!", node_path.c_str());
      return 0;
    }
    if (!made.Add({link.LinkCode, link.NodeA, link.NodeB})) {
      ReportError(owner, "Memory Error", "Can't re-allocate the memory for DummyLinkIndex at %ld!",
                  static_cast<long>(counts->made));
      return 0;
    }
  }
  return 1;
}

}  // namespace

int BRN_CodeExists(FeatureCode code, int64_t count, const FeatureCode* codes) {
  return FindNarrowed(count, code.AsDouble(), [codes](int64_t i) { return codes[i].AsDouble(); }) <
                 0
             ? 0
             : 1;
}

int BRN_CheckNodeLinkDuplication(WindowHandle owner, const char* control_file,
                                 CheckedStores* known) {
  static const DuplicationTexts kNodeTexts = {"Checking Node Duplication...",
                                              "Can't allocate the index memory for NODESTORE!",
                                              "Can't open NODESTORE(%s) !",
                                              "Can't read the NODESTORE(%s) at %ld !",
                                              kNodeDuplicate,
                                              kCp932<u8"道路点データの重複エラー">};
  static const DuplicationTexts kLinkTexts = {"Checking Link Duplication...",
                                              "Can't allocate the memory for the Index (rec=%ld)!",
                                              "Can't open LINKSTORE(%s) !",
                                              "Can't read the LINKSTORE(%s) at %ld !",
                                              kLinkDuplicate,
                                              kCp932<u8"道路区間データの重複エラー">};
  if (BRN_BeginStep(kNodeTexts.status) == 0) return 0;
  const int code_length =
      TakeCodeLength(owner, control_file, "Logic Error in BRN_MakeDrotenNodeIndex");
  if (code_length == 0) return 0;
  int64_t duplicates = 0;
  SortedCodes nodes;
  PartnerLookup partners;
  if (CheckDuplicates<NodeStoreRecord>(owner, OutputPath(control_file, kNodeStoreFile).c_str(),
                                       code_length, kNodeTexts, &duplicates, &nodes,
                                       partners) == 0) {
    return 0;
  }
  if (known != nullptr && duplicates == 0) {
    known->nodes = std::move(nodes);
    known->has_partners = partners.found();
  } else {
    nodes.codes.Free();
    known = nullptr;
  }
  if (BRN_BeginStep(kLinkTexts.status) == 0) return 0;
  SortedCodes links;
  EndLookup lookup(known);
  if (CheckDuplicates<LinkStoreRecord>(owner, OutputPath(control_file, kLinkStoreFile).c_str(),
                                       code_length, kLinkTexts, &duplicates, &links, lookup) == 0) {
    return 0;
  }
  return duplicates == 0 ? 1 : 0;
}

int BRN_CheckNodeStoreFromLinkStore(WindowHandle owner, const char* control_file,
                                    const CheckedStores* known) {
  if (known != nullptr && !known->filled) known = nullptr;
  if (BRN_BeginStep("Checking Node Data (P1)...") == 0) return 0;
  const PathText link_path = OutputPath(control_file, kLinkStoreFile);
  const PathText node_path = OutputPath(control_file, kNodeStoreFile);
  SortedCodes ends;
  int64_t node_count = 0;
  int64_t killed = 0;
  int result = CollectEndNodes(owner, link_path.c_str(), known, &ends);
  if (result != 0) result = BRN_BeginStep("Checking Node Data (P2)...");
  if (result != 0)
    result = KillUnusedNodes(owner, node_path.c_str(), ends, known, &node_count, &killed);
  LogBuild("NodeStore=%ld, Killed Node=%ld, BRN_CheckNodeStoreFromLinkStore returns=%s",
           static_cast<long>(node_count), static_cast<long>(killed), ResultText(result));
  return result;
}

int BRN_MakeDrotenNodeIndex(WindowHandle owner, SortedCodes* list, const char* control_file,
                            CheckedStores* known) {
  constexpr char kTitle[] = "File Error in BRN_MakeDrotenNodeIndex";
  list->codes.Free();
  list->count = 0;
  if (BRN_BeginStep("Making Node Index ...") == 0) return 0;
  const int code_length =
      TakeCodeLength(owner, control_file, "Logic Error in BRN_MakeDrotenNodeIndex");
  if (code_length == 0) return 0;
  const PathText path = OutputPath(control_file, kNodeStoreFile);
  StoreFile<NodeStoreRecord> nodes;
  int64_t count = 0;
  int result = 1;
  if (!nodes.Open(path.c_str(), platform::Access::kRead)) {
    // The text has always named the link store here.
    ReportError(owner, kTitle, "Can't open LINKSTR.WRK(%s) !", path.c_str());
    result = 0;
  } else {
    count = nodes.count();
    if (known != nullptr && known->filled && known->nodes.count == count) {
      TakeUsedCodes(known, list);
    } else if (!list->codes.Allocate(static_cast<uint64_t>(count) + 2)) {
      ReportError(owner, kTitle, "Can't allocate the memory for Index (rec=%ld) !",
                  static_cast<long>(count));
      result = 0;
    } else {
      known = nullptr;
    }
  }
  for (int64_t i = 0; i < count && result != 0 && known == nullptr; ++i) {
    if (CancelledAt(i)) result = 0;
    const NodeStoreRecord* node = nodes.At(i);
    if (node == nullptr) {
      ReportError(owner, kTitle, "Can't read the NodeStore(%s) at %ld!", path.c_str(),
                  static_cast<long>(i));
      result = 0;
    } else if (!node->NodeCode.IsEmpty()) {
      list->codes[static_cast<uint64_t>(list->count++)] = node->NodeCode;
    }
  }
  if (result != 0) result = BRN_SortIndex(owner, list->count, list->codes.data());
  bool listing = result != 0;
  for (int64_t i = 1; i < list->count && listing; ++i) {
    const auto at = static_cast<uint64_t>(i);
    if (!(list->codes[at - 1] == list->codes[at])) continue;
    // The code shown counts up from the smallest one; it is not the duplicate's own.
    const FeatureCode shown =
        FeatureCode::FromDouble(list->codes[0].AsDouble() + static_cast<double>(i) - 1.0);
    listing =
        ShowDuplicate(owner, kNodeDuplicate, shown, code_length, kCp932<u8"道路点重複チェック">);
  }
  if (result == 0) {
    list->codes.Free();
    list->count = 0;
  }
  if (WantsSummary(control_file)) {
    LogBuild("lnNumIndex=%ld, lnNumNodeStore=%ld, BRN_MakeDrotenNodeIndex returns=%d",
             static_cast<long>(list->count), static_cast<long>(count), result);
  }
  return result;
}

int BRN_CheckLinkStore(WindowHandle owner, const SortedCodes& nodes, const char* control_file,
                       const CheckedStores* known) {
  if (BRN_BeginStep("Checking Link Data ...") == 0) return 0;
  const PathText path = OutputPath(control_file, kLinkStoreFile);
  StoreFile<LinkStoreRecord> links;
  int64_t killed = 0;
  int result = 1;
  if (!links.Open(path.c_str(), platform::Access::kReadWrite)) {
    ReportError(owner, "File Error in BRN_CheckLinkStore", "Can't open LINKSTORE(%s) !",
                path.c_str());
    result = 0;
  }
  if (known != nullptr && (!known->filled || known->links != links.count())) known = nullptr;
  KeyTree tree;
  if (known == nullptr) tree.Build(nodes.codes.data(), nodes.count);
  for (int64_t i = 0; i < links.count() && result != 0; ++i) {
    if (known != nullptr) {
      const int64_t next = NextLooseLink(*known, i);
      if (CancelledWithin(i, next)) result = 0;
      if (next == links.count() || result == 0) break;
      i = next;
    } else if (CancelledAt(i)) {
      result = 0;
    }
    LinkStoreRecord* link = links.At(i);
    if (link == nullptr) {
      ReportShortStore(owner, "LinkStorage", i, links.count());
      result = 0;
      break;
    }
    if (known == nullptr && tree.Find(link->NodeA.AsDouble()) >= 0 &&
        tree.Find(link->NodeB.AsDouble()) >= 0) {
      continue;
    }
    link->LinkCode = FeatureCode{};
    ++killed;
    if (!links.Write(i)) {
      ReportError(owner, "File Error", "Can't write LINKSTR.WRK(%s) at %ld !", path.c_str(),
                  static_cast<long>(i));
      result = 0;
    }
  }
  LogBuild("LinkStore=%ld Killed Links=%ld, BRN_CheckLinkStore returns=%s",
           static_cast<long>(links.count()), static_cast<long>(killed), ResultText(result));
  return result;
}

int BRN_MakeDummyLinks(WindowHandle owner, const SortedCodes& nodes, const char* control_file,
                       const CheckedStores* known) {
  if (BRN_BeginStep("Making Dummy Link...") == 0) return 0;
  const int code_length = TakeCodeLength(owner, control_file, "Logic Error in BRN_MakeDummyLinks");
  if (code_length == 0) return 0;
  DummyLinkCounts counts;
  const int result = JoinPartners(owner, nodes, control_file, known, code_length, &counts);
  LogBuild(
      "lnCtr=%ld lnNumNodeStore=%ld lnNumLinkStore=%ld lnDummyCtr=%ld, BRN_MakeDummyLinks "
      "returns=%d",
      ShownAs<long>(counts.visited), ShownAs<long>(counts.nodes), ShownAs<long>(counts.links),
      ShownAs<long>(counts.made), result);
  return result;
}

}  // namespace zatlib
