// The first check, which looks for codes that two records share and, while the stores pass by, at
// what the later checks want to know.
#include <algorithm>
#include <atomic>
#include <span>

#include "frd/cancellable.h"
#include "frd/code_lookup.h"
#include "frd/cp932.h"
#include "frd/parallel.h"
#include "frd/record_writer.h"
#include "network/duplicate_report.h"
#include "network/store_checks.h"
#include "network/workstore/code_length.h"
#include "network/workstore/index_sort.h"
#include "network/workstore/store_file.h"
#include "network/workstore/work_stores.h"
#include "platform/file.h"

namespace zatlib {
namespace {

// One half of the duplication check.
struct DuplicationTexts {
  const char* status;
  const char* store;
  MessageText<long> no_memory;  // records
  MessageText<const char*> not_opened;
  MessageText<const char*, long> not_read;  // and the record
  MessageText<const char*> duplicate;
  const char* duplicate_title;
};

constexpr DuplicationTexts kNodeTexts = {
    .status = "Checking Node Duplication...",
    .store = kNodeStoreFile,
    .no_memory = "Can't allocate the index memory for NODESTORE!",
    .not_opened = "Can't open NODESTORE(%s) !",
    .not_read = "Can't read the NODESTORE(%s) at %ld !",
    .duplicate = kNodeDuplicate,
    .duplicate_title = kCp932<u8"道路点データの重複エラー">};
constexpr DuplicationTexts kLinkTexts = {
    .status = "Checking Link Duplication...",
    .store = kLinkStoreFile,
    .no_memory = "Can't allocate the memory for the Index (rec=%ld)!",
    .not_opened = "Can't open LINKSTORE(%s) !",
    .not_read = "Can't read the LINKSTORE(%s) at %ld !",
    .duplicate = kLinkDuplicate,
    .duplicate_title = kCp932<u8"道路区間データの重複エラー">};

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
    known_->filled = IsOrdered(known_->nodes) && known_->ends.Allocate(known_->nodes.count) &&
                     known_->loose_links.Allocate(links / 64 + 1);
    if (known_->filled) {
      lookup_.Build(known_->nodes.codes.data(), known_->nodes.count);
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
        known_->loose_links[i / 64] |= uint64_t{1} << (i % 64);
      }
    });
  }

 private:
  bool Mark(FeatureCode code) const {
    const int64_t at = lookup_.Find(code.AsDouble());
    if (at < 0 || code.IsEmpty()) return false;
    const std::atomic_ref<uint8_t> end(known_->ends[at]);
    if (end.load(std::memory_order_relaxed) == 0) end.store(1, std::memory_order_relaxed);
    return true;
  }

  CheckedStores* known_;
  CodeLookup lookup_;
  Workers workers_;
};

// Takes the codes of a store, sorted, into `*list`. The visitor gets the number of records, then
// the records, block by block; where memory is short it is asked to give its own up. A store
// without a record fails without a word.
template <typename Record, typename Visitor>
Outcome TakeCodes(const Step& step, const DuplicationTexts& texts, SortedCodes* list,
                  Visitor& visitor) {
  const PathText path = step.Path(texts.store);
  PageArray<FeatureCode>& codes = list->codes;
  StoreFile<Record> store;
  if (!store.Open(path.c_str(), platform::Access::kRead)) {
    // A store that does not exist holds no records.
    bool read_only = false;
    if (!platform::GetAttributes(path.c_str(), &read_only)) return Outcome::kFailed;
    return step.Fail(kFileError, texts.not_opened, path.c_str());
  }
  const int64_t count = store.count();
  if (count < 1) return Outcome::kFailed;
  const auto reserve = [&] { return codes.Allocate(count + 2); };
  if (count > kMaxRecords || (!reserve() && !(visitor.GiveUp() && reserve()))) {
    return step.Fail(kMemoryError, texts.no_memory, ShownAs<long>(count));
  }
  list->count = count;
  visitor.Begin(count);
  for (int64_t i = 0; i < count;) {
    const std::span<const Record> records = store.From(i);
    if (records.empty()) {
      return step.Fail(kFileError, texts.not_read, path.c_str(), static_cast<long>(i));
    }
    FeatureCode* out = &codes[i];
    for (const Record& record : records) *out++ = CodeOf(record);
    visitor.Visit(i, records);
    const int64_t end = i + static_cast<int64_t>(records.size());
    if (CancelledWithin(i, end)) return Outcome::kCancelled;
    i = end;
  }
  return CancelledIf(BRN_SortIndex(step.owner(), count, codes.data()) == 0);
}

// Reports the codes that stand twice; returns how many were.
int64_t ReportDuplicates(const Step& step, const DuplicationTexts& texts, const SortedCodes& list,
                         int code_length) {
  int64_t duplicates = 0;
  bool listing = true;
  for (int64_t i = 1; i < list.count && listing; ++i) {
    if (!(list.codes[i - 1] == list.codes[i])) continue;
    ++duplicates;
    listing =
        ShowDuplicate(step, texts.duplicate, {list.codes[i], code_length}, texts.duplicate_title);
  }
  return duplicates;
}

Outcome CheckDuplication(const Step& step, CheckedStores* known) {
  int code_length = 0;
  Outcome outcome = TakeCodeLength(step, kCodeLengthTitle, &code_length);
  if (!IsDone(outcome)) return outcome;
  SortedCodes nodes;
  PartnerLookup partners;
  outcome = TakeCodes<NodeStoreRecord>(step, kNodeTexts, &nodes, partners);
  if (!IsDone(outcome)) return outcome;
  int64_t duplicates = ReportDuplicates(step, kNodeTexts, nodes, code_length);
  if (known != nullptr && duplicates == 0) {
    known->nodes = std::move(nodes);
    known->has_partners = partners.found();
  } else {
    nodes.codes.Free();
    known = nullptr;
  }
  outcome = step.Begin(kLinkTexts.status);
  if (!IsDone(outcome)) return outcome;
  SortedCodes links;
  EndLookup lookup(known);
  outcome = TakeCodes<LinkStoreRecord>(step, kLinkTexts, &links, lookup);
  if (!IsDone(outcome)) return outcome;
  duplicates += ReportDuplicates(step, kLinkTexts, links, code_length);
  return duplicates == 0 ? Outcome::kDone : Outcome::kFailed;
}

}  // namespace

int BRN_CodeExists(FeatureCode code, int64_t count, const FeatureCode* codes) {
  const int64_t found =
      FindNarrowed(count, code.AsDouble(), [codes](int64_t i) { return codes[i].AsDouble(); });
  return found < 0 ? 0 : 1;
}

int BRN_CheckNodeLinkDuplication(WindowHandle owner, const char* control_file,
                                 CheckedStores* known) {
  const Step step(owner, control_file, "BRN_CheckNodeLinkDuplication");
  if (!IsDone(step.Begin(kNodeTexts.status))) return 0;
  return AsResult(CheckDuplication(step, known));
}

}  // namespace zatlib
