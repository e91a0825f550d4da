#include "network/store_checks.h"

#include <bit>
#include <cstring>

#include "frd/cancellable.h"
#include "frd/code_lookup.h"
#include "frd/log.h"
#include "network/duplicate_report.h"
#include "network/workstore/code_length.h"
#include "network/workstore/index_sort.h"
#include "network/workstore/store_file.h"
#include "network/workstore/work_stores.h"

namespace zatlib {
namespace {

const CheckedStores& Known(const CheckedStores* known) {
  static const CheckedStores kNothing;
  return known != nullptr && known->filled ? *known : kNothing;
}

Outcome FailShort(const Step& step, const char* store, int64_t read, int64_t count) {
  return step.FailAs(kFileError, "Read %s data (%ld) is smaller than %ld!\r\nMaybe A file error!",
                     store, static_cast<long>(read), static_cast<long>(count));
}

// The nodes that are some link's end: codes, sorted, of which those count that have their mark, or
// all where there are no marks.
class EndNodes {
 public:
  // Takes what the first check found, or collects the ends of all links.
  Outcome Take(const Step& step, const CheckedStores& known);

  // True when each of the `nodes` records of the store is known to be an end.
  bool AreAll(int64_t nodes) const {
    return marks_ != nullptr && lookup_.count() == nodes &&
           std::memchr(marks_, 0, static_cast<size_t>(nodes)) == nullptr;
  }

  // `record` is where the code stands in the store: codes often come in their order.
  bool Contains(FeatureCode code, int64_t record) const {
    if (code.IsEmpty()) return false;
    const int64_t at = lookup_.FindFrom(code.AsDouble(), record);
    return at >= 0 && (marks_ == nullptr || marks_[at] != 0);
  }

 private:
  Outcome Collect(const Step& step, StoreFile<LinkStoreRecord>& links);

  PageArray<FeatureCode> collected_;
  int64_t count_ = 0;
  const uint8_t* marks_ = nullptr;
  CodeLookup lookup_;
};

Outcome EndNodes::Take(const Step& step, const CheckedStores& known) {
  // A store that cannot be opened must not pass for one without links: every node would be killed.
  const PathText path = step.Path(kLinkStoreFile);
  StoreFile<LinkStoreRecord> links;
  if (!links.Open(path.c_str(), platform::Access::kRead)) {
    return step.Fail(kFileError, "Can't open LINKSTORE(%s) !", path.c_str());
  }
  if (!known.filled) {
    const Outcome outcome = Collect(step, links);
    if (!IsDone(outcome)) return outcome;
  }
  // What is sorted already only shows that it would be.
  if (BRN_SortIndex(step.owner(), count_, collected_.data()) == 0) return Outcome::kCancelled;
  if (known.filled) {
    marks_ = known.ends.data();
    lookup_.Build(known.nodes.codes.data(), known.nodes.count);
  } else {
    lookup_.Build(collected_.data(), count_);
  }
  return Outcome::kDone;
}

Outcome EndNodes::Collect(const Step& step, StoreFile<LinkStoreRecord>& links) {
  const int64_t count = links.count();
  if (!collected_.Allocate(count * 2 + 2)) {
    return step.Fail(kMemoryError, "Can't allocate the memory for the Index (rec=%ld)!",
                     static_cast<long>(count));
  }
  for (int64_t i = 0; i < count; ++i) {
    if (CancelledAt(i)) return Outcome::kCancelled;
    const LinkStoreRecord* link = links.At(i);
    if (link == nullptr) return FailShort(step, "LinkStorage", i, count);
    collected_[count_++] = link->NodeA;
    collected_[count_++] = link->NodeB;
  }
  return Outcome::kDone;
}

// What a check saw and killed.
struct KillCounts {
  int64_t records = 0;
  int64_t killed = 0;
};

// Kills the nodes that are no link's end.
Outcome KillUnusedNodes(const Step& step, const EndNodes& ends, KillCounts* counts) {
  const PathText path = step.Path(kNodeStoreFile);
  StoreFile<NodeStoreRecord> nodes;
  if (!nodes.Open(path.c_str(), platform::Access::kReadWrite)) {
    return step.Fail(kFileError, "Can't open NODESTORE(%s) !", path.c_str());
  }
  counts->records = nodes.count();
  if (ends.AreAll(nodes.count())) return Outcome::kDone;
  for (int64_t i = 0; i < nodes.count(); ++i) {
    if (CancelledAt(i)) return Outcome::kCancelled;
    NodeStoreRecord* node = nodes.At(i);
    if (node == nullptr) return FailShort(step, "NodeStorage", i, nodes.count());
    if (ends.Contains(node->NodeCode, i)) continue;
    node->NodeCode = FeatureCode{};
    node->PartnerCode = FeatureCode{};
    ++counts->killed;
    if (!nodes.Write(i)) {
      return step.FailAs(kFileError, "Can't write NodeStore(%s) at %ld !", path.c_str(),
                         static_cast<long>(i));
    }
  }
  return Outcome::kDone;
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

// The same, read from the store.
Outcome ReadCodes(const Step& step, StoreFile<NodeStoreRecord>& nodes, SortedCodes* list) {
  if (!list->codes.Allocate(nodes.count() + 2)) {
    return step.Fail(kFileError, "Can't allocate the memory for Index (rec=%ld) !",
                     static_cast<long>(nodes.count()));
  }
  for (int64_t i = 0; i < nodes.count(); ++i) {
    if (CancelledAt(i)) return Outcome::kCancelled;
    const NodeStoreRecord* node = nodes.At(i);
    if (node == nullptr) {
      return step.Fail(kFileError, "Can't read the NodeStore(%s) at %ld!",
                       step.Path(kNodeStoreFile).c_str(), static_cast<long>(i));
    }
    if (!node->NodeCode.IsEmpty()) {
      list->codes[list->count++] = node->NodeCode;
    }
  }
  return Outcome::kDone;
}

void ReportDuplicateNodes(const Step& step, const SortedCodes& list, int code_length) {
  bool listing = true;
  for (int64_t i = 1; i < list.count && listing; ++i) {
    if (!(list.codes[i - 1] == list.codes[i])) continue;
    // The code shown counts up from the smallest one; it is not the duplicate's own.
    const FeatureCode shown =
        FeatureCode::FromDouble(list.codes[0].AsDouble() + static_cast<double>(i) - 1.0);
    listing =
        ShowDuplicate(step, kNodeDuplicate, {shown, code_length}, kCp932<u8"道路点重複チェック">);
  }
}

// Lists the codes of the nodes that are left; `*records` receives how many the store holds.
Outcome ListNodes(const Step& step, int code_length, CheckedStores* known, SortedCodes* list,
                  int64_t* records) {
  const PathText path = step.Path(kNodeStoreFile);
  StoreFile<NodeStoreRecord> nodes;
  if (!nodes.Open(path.c_str(), platform::Access::kRead)) {
    // The text has always named the link store here.
    return step.Fail(kFileError, "Can't open LINKSTR.WRK(%s) !", path.c_str());
  }
  *records = nodes.count();
  if (known != nullptr && known->filled && known->nodes.count == nodes.count()) {
    TakeUsedCodes(known, list);
  } else {
    const Outcome read = ReadCodes(step, nodes, list);
    if (!IsDone(read)) return read;
  }
  if (BRN_SortIndex(step.owner(), list->count, list->codes.data()) == 0) return Outcome::kCancelled;
  ReportDuplicateNodes(step, *list, code_length);
  return Outcome::kDone;
}

// Number of the first link from `i` on that may have an end which is no node; `links` when there is
// none. Where nothing is known that is every link.
int64_t NextSuspect(const CheckedStores& known, int64_t i, int64_t links) {
  if (known.links != links || !known.filled) return i;
  auto word = static_cast<uint64_t>(i) / 64;
  const uint64_t last = static_cast<uint64_t>(links) / 64;
  uint64_t bits = known.loose_links[word] >> (i % 64) << (i % 64);
  while (bits == 0 && word < last) bits = known.loose_links[++word];
  return bits == 0 ? links : static_cast<int64_t>(word * 64) + std::countr_zero(bits);
}

// Kills the links of which an end is not in the list.
Outcome KillLooseLinks(const Step& step, const SortedCodes& nodes, const CheckedStores& known,
                       KillCounts* counts) {
  const PathText path = step.Path(kLinkStoreFile);
  StoreFile<LinkStoreRecord> links;
  if (!links.Open(path.c_str(), platform::Access::kReadWrite)) {
    return step.Fail(kFileError, "Can't open LINKSTORE(%s) !", path.c_str());
  }
  const int64_t count = links.count();
  counts->records = count;
  CodeLookup lookup;
  for (int64_t i = 0; i < count; ++i) {
    const int64_t next = NextSuspect(known, i, count);
    if (CancelledWithin(i, next < count ? next + 1 : next)) return Outcome::kCancelled;
    if (next == count) break;
    i = next;
    // Most maps have no such link, and need no lookups.
    if (lookup.count() != nodes.count) lookup.Build(nodes.codes.data(), nodes.count);
    LinkStoreRecord* link = links.At(i);
    if (link == nullptr) return FailShort(step, "LinkStorage", i, count);
    if (lookup.Find(link->NodeA.AsDouble()) >= 0 && lookup.Find(link->NodeB.AsDouble()) >= 0)
      continue;
    link->LinkCode = FeatureCode{};
    ++counts->killed;
    if (!links.Write(i)) {
      return step.FailAs(kFileError, "Can't write LINKSTR.WRK(%s) at %ld !", path.c_str(),
                         static_cast<long>(i));
    }
  }
  return Outcome::kDone;
}

}  // namespace

int BRN_CheckNodeStoreFromLinkStore(WindowHandle owner, const char* control_file,
                                    const CheckedStores* known) {
  const Step step(owner, control_file, "BRN_CheckNodeStoreFromLinkStore");
  if (!IsDone(step.Begin("Checking Node Data (P1)..."))) return 0;
  EndNodes ends;
  KillCounts counts;
  Outcome outcome = ends.Take(step, Known(known));
  if (IsDone(outcome)) outcome = step.Begin("Checking Node Data (P2)...");
  if (IsDone(outcome)) outcome = KillUnusedNodes(step, ends, &counts);
  const int result = AsResult(outcome);
  LogBuild("NodeStore=%ld, Killed Node=%ld, BRN_CheckNodeStoreFromLinkStore returns=%s",
           static_cast<long>(counts.records), static_cast<long>(counts.killed), ResultText(result));
  return result;
}

int BRN_MakeDrotenNodeIndex(WindowHandle owner, SortedCodes* list, const char* control_file,
                            CheckedStores* known) {
  *list = SortedCodes();
  const Step step(owner, control_file, "BRN_MakeDrotenNodeIndex");
  if (!IsDone(step.Begin("Making Node Index ..."))) return 0;
  int code_length = 0;
  if (!IsDone(TakeCodeLength(step, kCodeLengthTitle, &code_length))) return 0;
  int64_t records = 0;
  const int result = AsResult(ListNodes(step, code_length, known, list, &records));
  if (result == 0) *list = SortedCodes();
  if (step.WantsSummary()) {
    LogBuild("lnNumIndex=%ld, lnNumNodeStore=%ld, BRN_MakeDrotenNodeIndex returns=%d",
             static_cast<long>(list->count), static_cast<long>(records), result);
  }
  return result;
}

int BRN_CheckLinkStore(WindowHandle owner, const SortedCodes& nodes, const char* control_file,
                       const CheckedStores* known) {
  const Step step(owner, control_file, "BRN_CheckLinkStore");
  if (!IsDone(step.Begin("Checking Link Data ..."))) return 0;
  KillCounts counts;
  const int result = AsResult(KillLooseLinks(step, nodes, Known(known), &counts));
  LogBuild("LinkStore=%ld Killed Links=%ld, BRN_CheckLinkStore returns=%s",
           static_cast<long>(counts.records), static_cast<long>(counts.killed), ResultText(result));
  return result;
}

}  // namespace zatlib
