#include "network/finishing.h"

#include <algorithm>
#include <cstring>

#include "frd/block_reader.h"
#include "frd/control.h"
#include "frd/files.h"
#include "frd/key_tree.h"
#include "frd/log.h"
#include "frd/long_pass.h"
#include "frd/memory.h"
#include "frd/parallel.h"
#include "network/network_data.h"
#include "network/network_files.h"

namespace zatlib {
namespace {

constexpr int64_t kBlockRecords = 0x4000;  // records of a file that are read at a time
constexpr int64_t kRecordsOfPart = 2048;   // and that a thread takes at a time

// Reads the first `count` records of a file of the output folder; false when it cannot be opened
// or is shorter.
template <typename Record>
bool LoadFile(const char* path, PageArray<Record>* records, int64_t count) {
  platform::File file =
      platform::File::Open(path, platform::Access::kRead, platform::Share::kRead,
                           platform::Disposition::kOpenExisting, platform::Hint::kSequential);
  return file.IsOpen() &&
         ReadExactly(file, records->data(), static_cast<uint64_t>(count) * sizeof(Record));
}

// The same for a file that gave the count itself. One that could not be opened when its records
// were counted, but can now, must not pass for an empty one.
template <typename Record>
bool LoadCounted(const char* path, PageArray<Record>* records, int64_t count) {
  return static_cast<int64_t>(FileSize(path) / sizeof(Record)) == count &&
         LoadFile(path, records, count);
}

template <typename Record>
bool SaveRecords(const char* path, const PageArray<Record>& records, int64_t count) {
  return SaveFile(path, records.data(), static_cast<uint64_t>(count) * sizeof(Record)) ==
         SaveResult::kSaved;
}

int64_t CountRecords(const char* path, size_t size) {
  return static_cast<int64_t>(FileSize(path) / size);
}

// A link's flags as the nodes take them; kDummyFlags for a dummy link, which no node counts.
using NodeFlags = uint16_t;
constexpr NodeFlags kDummyFlags = 0x100;

NodeFlags FlagsForNodes(const LinkNameRecord& link) {
  return link.RoadKind >= kDummyRoadKind ? kDummyFlags : link.Flags;
}

// The attribute of one node from its links' flags, and the flags of its slots.
uint8_t NodeAttribute(const NodeLinks& links, const NodeFlags* flags_of, int64_t link_count,
                      SlotBytes* slots) {
  unsigned attribute = 0;
  bool plain = false;
  for (int s = 0; s < kSlots; ++s) {
    const int32_t link = links.Link[s];
    slots->Slot[s] = 0;
    if (link < 0 || link >= link_count) continue;
    const NodeFlags flags = flags_of[link];
    if (flags == kDummyFlags) continue;
    slots->Slot[s] = static_cast<uint8_t>(flags);
    plain = plain || flags == 0;
    attribute |= flags;
  }
  // One link without flags makes the node an ordinary one.
  return plain ? 0 : static_cast<uint8_t>(attribute);
}

// Calls body(i) for the records of a block, on the threads beside the calling one.
template <typename Body>
void StartParts(Workers& workers, int64_t count, Body body) {
  workers.StartRanges(count, kRecordsOfPart, [body](int64_t begin, int64_t end) {
    for (int64_t i = begin; i < end; ++i) body(i);
  });
}

int FinishNodeAttribute(WindowHandle owner, const char* control_file, int64_t* node_count,
                        int64_t* link_count) {
  constexpr char kFileTitle[] = "File Error in BRN_FinishNodeAttribute";
  const PathText node_link_path = OutputPath(control_file, kNodeLinkFile);
  const PathText node_name_path = OutputPath(control_file, kNodeNameFile);
  const PathText attribute_path = OutputPath(control_file, kNodeAttributeFile);
  const PathText link_name_path = OutputPath(control_file, kLinkNameFile);
  const PathText connection_path = OutputPath(control_file, kConnectionAttributeFile);
  const int64_t n = CountRecords(node_link_path.c_str(), sizeof(NodeLinks));
  const int64_t l = CountRecords(link_name_path.c_str(), sizeof(LinkNameRecord));
  *node_count = n;
  *link_count = l;
  const auto fail_memory = [owner, n, l] {
    ReportError(owner, "Memory Error in BRN_FinishNodeAttribute",
                "Can't allocate the memory for 5 indexes (node=%ld,link=%ld) !", ShownAs<long>(n),
                ShownAs<long>(l));
    return 0;
  };
  // What is written is held; of the links their flags are enough, and the nodes' links pass by.
  PageArray<NodeNameRecord> node_names;
  PageArray<uint8_t> attributes;
  PageArray<NodeFlags> flags;
  PageArray<SlotBytes> connections;
  if (n > kMaxRecords || l > kMaxRecords || !node_names.Allocate(static_cast<uint64_t>(n)) ||
      !attributes.Allocate(static_cast<uint64_t>(n) + 2) ||
      !flags.Allocate(static_cast<uint64_t>(l) + 2) ||
      !connections.Allocate(static_cast<uint64_t>(n))) {
    return fail_memory();
  }
  const auto fail_links = [&] {
    ReportError(owner, kFileTitle, "Can't read the NodeLinkIndex file (%s) !",
                node_link_path.c_str());
    return 0;
  };
  const auto fail_names = [&] {
    ReportError(owner, kFileTitle, "Can't read the LinkName file (%s) !", link_name_path.c_str());
    return 0;
  };
  BlockReader node_links;
  LoadResult opened = node_links.Open(node_link_path.c_str(), sizeof(NodeLinks), kBlockRecords);
  if (opened == LoadResult::kNoMemory) return fail_memory();
  if (opened != LoadResult::kLoaded || node_links.count() != n) return fail_links();
  if (!LoadFile(node_name_path.c_str(), &node_names, n)) {
    ReportError(owner, kFileTitle, "Can't read the NodeName file (%s) !", node_name_path.c_str());
    return 0;
  }
  if (!LoadFile(attribute_path.c_str(), &attributes, n)) {
    ReportError(owner, kFileTitle, "Can't read the NodeAttribute file (%s) !",
                attribute_path.c_str());
    return 0;
  }
  BlockReader link_names;
  opened = link_names.Open(link_name_path.c_str(), sizeof(LinkNameRecord), kBlockRecords);
  if (opened == LoadResult::kNoMemory) return fail_memory();
  if (opened != LoadResult::kLoaded || link_names.count() != l) return fail_names();

  Workers workers;
  while (link_names.records_in_block() > 0) {
    const int64_t first = link_names.first();
    const int64_t count = link_names.records_in_block();
    const auto* const names = link_names.records<LinkNameRecord>();
    NodeFlags* const out = flags.data() + first;
    StartParts(workers, count, [=](int64_t i) { out[i] = FlagsForNodes(names[i]); });
    link_names.Advance();
    workers.Finish();
    if (!link_names.failed() && CancelledWithin(first, first + count)) return 0;
  }
  if (link_names.failed()) return fail_names();
  link_names.Close();
  while (node_links.records_in_block() > 0) {
    const int64_t first = node_links.first();
    const int64_t count = node_links.records_in_block();
    const auto* const links = node_links.records<NodeLinks>();
    StartParts(workers, count, [=, &node_names, &attributes, &flags, &connections](int64_t i) {
      const auto node = static_cast<uint64_t>(first + i);
      const uint8_t attribute = NodeAttribute(links[i], flags.data(), l, &connections[node]);
      attributes[node] = attribute;
      node_names[node].Attribute = attribute;
    });
    node_links.Advance();
    workers.Finish();
    if (node_links.failed()) return fail_links();
    if (CancelledWithin(first, first + count)) return 0;
  }
  if (!SaveRecords(node_name_path.c_str(), node_names, n)) {
    ReportError(owner, kFileTitle, "Can't write the NodeName file (%s) !", node_name_path.c_str());
    return 0;
  }
  if (!SaveRecords(attribute_path.c_str(), attributes, n)) {
    ReportError(owner, kFileTitle, "Can't write the NodeAttribute file (%s) !",
                attribute_path.c_str());
    return 0;
  }
  if (!SaveRecords(connection_path.c_str(), connections, n)) {
    ReportError(owner, kFileTitle, "Can't write the CalcAttribute file (%s) !",
                connection_path.c_str());
    return 0;
  }
  return 1;
}

// The files and texts of one name step.
struct NameTexts {
  const char* status;
  const char* store;
  const char* index;
  const char* names;
  const char* memory_title;
  const char* file_title;
  const char* store_memory;  // with %ld
  const char* store_error;   // with %s, as the other errors
  const char* index_memory;
  const char* index_error;
  const char* names_memory;
  const char* names_error;
  const char* save_error;
  const char* summary;  // with %ld (records), %d (store), %ld (hits), %d (result)
};

struct NameCounts {
  int64_t records = 0;
  int64_t stored = 0;
  int64_t hits = 0;
};

// Puts the stored names of one kind into the name records, with `put(store record, name record)`.
template <typename Name, typename Put>
int FinishNames(WindowHandle owner, const char* control_file, const NameTexts& texts,
                NameCounts* counts, Put put) {
  const PathText store_path = OutputPath(control_file, texts.store);
  const PathText index_path = OutputPath(control_file, texts.index);
  const PathText names_path = OutputPath(control_file, texts.names);
  BlockReader store;
  PageArray<CodeIndexRecord> index;
  PageArray<Name> names;
  counts->stored = CountRecords(store_path.c_str(), sizeof(NameStoreRecord));
  const auto fail_store = [&] {
    ReportError(owner, texts.file_title, texts.store_error, store_path.c_str());
    return 0;
  };
  const LoadResult opened =
      counts->stored > kMaxRecords
          ? LoadResult::kNoMemory
          : store.Open(store_path.c_str(), sizeof(NameStoreRecord), kBlockRecords);
  if (opened == LoadResult::kNoMemory) {
    ReportError(owner, texts.memory_title, texts.store_memory, ShownAs<long>(counts->stored));
    return 0;
  }
  if (opened != LoadResult::kLoaded || store.count() != counts->stored) return fail_store();
  counts->records = CountRecords(index_path.c_str(), sizeof(CodeIndexRecord));
  const int64_t n = counts->records;
  if (n > kMaxRecords || !index.Allocate(static_cast<uint64_t>(n))) {
    ReportError(owner, texts.memory_title, texts.index_memory, ShownAs<long>(n));
    return 0;
  }
  if (!LoadCounted(index_path.c_str(), &index, n)) {
    ReportError(owner, texts.file_title, texts.index_error, index_path.c_str());
    return 0;
  }
  if (!names.Allocate(static_cast<uint64_t>(n))) {
    ReportError(owner, texts.memory_title, texts.names_memory, static_cast<long>(n));
    return 0;
  }
  if (!LoadFile(names_path.c_str(), &names, n)) {
    ReportError(owner, texts.file_title, texts.names_error, names_path.c_str());
    return 0;
  }
  KeyTree tree;
  tree.Build(index.data(), n);
  Workers workers;
  while (store.records_in_block() > 0) {
    const int64_t first = store.first();
    const int64_t count = store.records_in_block();
    const auto* const records = store.records<NameStoreRecord>();
    // One after another, since a later name overwrites an earlier one.
    workers.Start(1, [&, count, records](int64_t) {
      for (int64_t i = 0; i < count; ++i) {
        const int64_t found = tree.Find(records[i].Code.AsDouble());
        const int32_t number = found < 0 ? -1 : index[static_cast<uint64_t>(found)].Number;
        if (number < 0 || number >= n) continue;
        put(records[i], &names[static_cast<uint64_t>(number)]);
        ++counts->hits;
      }
    });
    store.Advance();
    workers.Finish();
    if (store.failed()) {
      counts->hits = 0;
      return fail_store();
    }
    if (CancelledWithin(first, first + count)) return 0;
  }
  if (!SaveRecords(names_path.c_str(), names, n)) {
    ReportError(owner, texts.file_title, texts.save_error, names_path.c_str());
    return 0;
  }
  return 1;
}

template <typename Name, typename Put>
int RunNameStep(WindowHandle owner, const char* control_file, const NameTexts& texts, Put put) {
  if (BRN_BeginStep(texts.status) == 0) return 0;
  NameCounts counts;
  const int result = FinishNames<Name>(owner, control_file, texts, &counts, put);
  if (WantsSummary(control_file)) {
    LogBuild(texts.summary, ShownAs<long>(counts.records), ShownAs<int>(counts.stored),
             ShownAs<long>(counts.hits), result);
  }
  return result;
}

}  // namespace

int BRN_FinishNodeAttribute(WindowHandle owner, const char* control_file) {
  if (BRN_BeginStep("Finishing Node Attribute...") == 0) return 0;
  int64_t node_count = 0;
  int64_t link_count = 0;
  const int result = FinishNodeAttribute(owner, control_file, &node_count, &link_count);
  if (WantsSummary(control_file)) {
    LogBuild("lnNumNode=%ld, lnNumLink=%ld, BRN_FinishNodeAttriute returns=%d",
             ShownAs<long>(node_count), ShownAs<long>(link_count), result);
  }
  return result;
}

int BRN_FinishNodeName(WindowHandle owner, const char* control_file) {
  static const NameTexts kTexts = {
      "Finishing Node Name...",
      kNodeNameStoreFile,
      kNodeIndexFile,
      kNodeNameFile,
      "Memory Error in BRN_FinishNodeName",
      "File Error in BRN_FinishNodeName",
      "Can't allocate the memory for NodeNameStore : num store = %ld",
      "Can't open / read the NodeNameStore(%s)!",
      "Can't allocate the memory for NodeIndex : num node = %ld",
      "Can't open / read the NodeIndex(%s)!",
      "Can't allocate the memory for NodeName : num node = %ld",
      "Can't open / read the NodeName (%s) !",
      "Can't save the NodeName (%s) !",
      "lnNumNode=%ld, Storage=%d, HitNodeName=%ld, BRN_FinishNodeName returns=%d"};
  return RunNameStep<NodeNameRecord>(owner, control_file, kTexts,
                                     [](const NameStoreRecord& stored, NodeNameRecord* name) {
                                       std::memcpy(name->Name, stored.Name, sizeof name->Name);
                                       std::memset(name->reserved1, 0, sizeof name->reserved1);
                                     });
}

int BRN_FinishLinkName(WindowHandle owner, const char* control_file) {
  static const NameTexts kTexts = {
      "Finishing Link Name...",
      kLinkNameStoreFile,
      kLinkIndexFile,
      kLinkNameFile,
      "Memory Error in BRN_FinishLinkName",
      "File Error in BRN_FinishLinkName",
      "Can't allocate the memory for LinkNameStore : num store = %ld",
      "Can't open / read the LinkNameStore(%s)!",
      "Can't allocate the memory for LinkIndex : num link = %ld",
      "Can't open / read the LinkIndex(%s)!",
      "Can't allocate the memory for LinkName : num link = %ld",
      "Can't open / read the LinkName (%s) !",
      "Can't save the LinkName (%s) !",
      "lnNumLink=%ld, Storage=%d, HitLinkName=%ld, BRN_FinishLinkName returns=%d"};
  return RunNameStep<LinkNameRecord>(owner, control_file, kTexts,
                                     [](const NameStoreRecord& stored, LinkNameRecord* name) {
                                       std::memcpy(name->Name, stored.Name, sizeof name->Name);
                                       name->reserved = 0;
                                       name->NameNumber = stored.LinkNumber;
                                       name->NameValue = stored.LinkValue;
                                     });
}

}  // namespace zatlib
