#include "network/store_loading.h"

#include "frd/record_writer.h"
#include "frd/step.h"

namespace zatlib {
namespace {

// The texts of one load step.
struct LoadTexts {
  const char* step;
  const char* status;
  const char* store;
  const char* memory_kind;      // of the title
  MessageText<long> no_memory;  // records
  MessageText<const char*> not_opened;
  MessageText<const char*, long> not_read;  // and the record
  MessageText<long, long, int> summary;     // records kept, records, result
};

constexpr LoadTexts kNodesInMemory = {
    .step = "BRN_LoadNodeStore",
    .status = "Loading Nodes(M)...",
    .store = kNodeStoreFile,
    .memory_kind = kFileError,
    .no_memory = "Can't allocate the memory for NodeStore (rec=%ld) !",
    .not_opened = "Can't open the NODESTORE(%s) !",
    .not_read = "Can't read the NodeStore(%s) at %ld!",
    .summary = "lnNumNode=%ld, lnNumRec(NodeStore)=%ld, BRN_LoadNodeStore returns=%d"};
constexpr LoadTexts kLinksInMemory = {
    .step = "BRN_LoadLinkStore",
    .status = "Loading Links(M)...",
    .store = kLinkStoreFile,
    .memory_kind = kMemoryError,
    .no_memory = "Can't allocate the memory for the LinkStore (rec=%ld)!",
    .not_opened = "Can't open LINKSTORE(%s) !",
    .not_read = "Can't read the LINKSTORE(%s) at %ld !",
    .summary = "lnNumLink=%ld, lnNumRec(LinkStore)=%ld, BRN_LoadLinkStore returns=%d"};
constexpr LoadTexts kNodesThroughFiles = {
    .step = "BRN450_LoadNodeStorePtr",
    .status = "Loading Nodes(F)...",
    .store = kNodeStoreFile,
    .memory_kind = kFileError,
    .no_memory = "Can't allocate the memory for NodeStorePtr (rec=%ld) !",
    .not_opened = "Can't open the NODESTORE(%s) !",
    .not_read = "Can't read the NodeStore(%s) at %ld!",
    .summary = "lnNumNode=%ld, lnNumRec(NodeStore)=%ld, BRN450_LoadNodeStorePtr returns=%d"};
constexpr LoadTexts kLinksThroughFiles = {
    .step = "BRN450_LoadLinkStorePtr",
    .status = "Loading Links(F)...",
    .store = kLinkStoreFile,
    .memory_kind = kMemoryError,
    .no_memory = "Can't allocate the memory for the LinkStorePtr (rec=%ld)!",
    .not_opened = "Can't open LINKSTORE(%s) !",
    .not_read = "Can't read the LINKSTORE(%s) at %ld !",
    .summary = "lnNumLink=%ld, lnNumRec(LinkStore)=%ld, BRN450_LoadLinkStorePtr returns=%d"};

// What a load has counted.
struct LoadCounts {
  int64_t records = 0;
  int64_t kept = 0;  // those that are not empty
};

template <typename Source>
Outcome KeepRecords(const Step& step, const LoadTexts& texts, Source& source, LoadCounts* counts) {
  const PathText path = step.Path(texts.store);
  StoreFile<typename Source::Record> store;
  if (!store.Open(path.c_str(), platform::Access::kRead)) {
    return step.Fail(kFileError, texts.not_opened, path.c_str());
  }
  const int64_t count = store.count();
  counts->records = count;
  if (count > kMaxRecords || !source.Reserve(RoomFor(count))) {
    return step.Fail(texts.memory_kind, texts.no_memory, ShownAs<long>(count));
  }
  for (int64_t i = 0; i < count;) {
    const int64_t seen = source.Keep(store, i, &counts->kept);
    if (seen == 0) {
      return step.Fail(kFileError, texts.not_read, path.c_str(), static_cast<long>(i));
    }
    if (CancelledWithin(i, i + seen)) return Outcome::kCancelled;
    i += seen;
  }
  return Outcome::kDone;
}

template <typename Source>
int LoadStore(WindowHandle owner, const LoadTexts& texts, Source* source,
              const char* control_file) {
  source->count = 0;
  const Step step(owner, control_file, texts.step);
  if (!IsDone(step.Begin(texts.status))) return 0;
  LoadCounts counts;
  const int result = AsResult(KeepRecords(step, texts, *source, &counts));
  if (result == 0) {
    counts.kept = 0;
    source->Free();
  }
  source->count = static_cast<int32_t>(counts.kept);
  if (step.WantsSummary()) {
    LogText(texts.summary, ShownAs<long>(counts.kept), ShownAs<long>(counts.records), result);
  }
  return result;
}

}  // namespace

int BRN_LoadNodeStore(WindowHandle owner, NodeArray* nodes, const char* control_file) {
  return LoadStore(owner, kNodesInMemory, nodes, control_file);
}

int BRN_LoadLinkStore(WindowHandle owner, LinkArray* links, const char* control_file) {
  return LoadStore(owner, kLinksInMemory, links, control_file);
}

int BRN450_LoadNodeStorePtr(WindowHandle owner, NodePositions* nodes, const char* control_file) {
  return LoadStore(owner, kNodesThroughFiles, nodes, control_file);
}

int BRN450_LoadLinkStorePtr(WindowHandle owner, LinkPositions* links, const char* control_file) {
  return LoadStore(owner, kLinksThroughFiles, links, control_file);
}

}  // namespace zatlib
