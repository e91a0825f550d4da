#include "network/finishing.h"

#include <algorithm>
#include <cstring>

#include "frd/block_reader.h"
#include "frd/cancellable.h"
#include "frd/code_lookup.h"
#include "frd/log.h"
#include "frd/memory.h"
#include "frd/parallel.h"
#include "frd/record_file.h"
#include "frd/record_writer.h"
#include "frd/step.h"
#include "network/network_files.h"

namespace zatlib {
namespace {

constexpr int64_t kBlockRecords = 0x4000;  // records of a file that are read at a time
constexpr int64_t kRecordsOfPart = 2048;   // and that a thread takes at a time

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

// The files of the node attribute step, with their texts.
struct AttributeFile {
  const char* file;
  MessageText<const char*> not_read;
  MessageText<const char*> not_written = "";
};
constexpr AttributeFile kNodeLinks = {.file = kNodeLinkFile,
                                      .not_read = "Can't read the NodeLinkIndex file (%s) !"};
constexpr AttributeFile kLinkNames = {.file = kLinkNameFile,
                                      .not_read = "Can't read the LinkName file (%s) !"};
constexpr AttributeFile kNodeNames = {.file = kNodeNameFile,
                                      .not_read = "Can't read the NodeName file (%s) !",
                                      .not_written = "Can't write the NodeName file (%s) !"};
constexpr AttributeFile kNodeAttributes = {
    .file = kNodeAttributeFile,
    .not_read = "Can't read the NodeAttribute file (%s) !",
    .not_written = "Can't write the NodeAttribute file (%s) !"};
constexpr AttributeFile kCalcAttributes = {
    .file = kConnectionAttributeFile,
    .not_read = "",
    .not_written = "Can't write the CalcAttribute file (%s) !"};

// The node attributes in the making. What is written is held; of the links their flags are enough,
// and the nodes' links pass by.
class AttributeBuilder {
 public:
  explicit AttributeBuilder(const Step& step)
      : step_(step),
        node_count_(CountRecords(step.Path(kNodeLinkFile).c_str(), sizeof(NodeLinks))),
        link_count_(CountRecords(step.Path(kLinkNameFile).c_str(), sizeof(LinkNameRecord))) {}

  int64_t node_count() const { return node_count_; }
  int64_t link_count() const { return link_count_; }

  Outcome Run() {
    BlockReader node_links;
    BlockReader link_names;
    Outcome outcome = Reserve();
    if (IsDone(outcome)) outcome = Open(kNodeLinks, sizeof(NodeLinks), node_count_, &node_links);
    if (IsDone(outcome)) outcome = Load(kNodeNames, node_names_.data());
    if (IsDone(outcome)) outcome = Load(kNodeAttributes, attributes_.data());
    if (IsDone(outcome)) {
      outcome = Open(kLinkNames, sizeof(LinkNameRecord), link_count_, &link_names);
    }
    if (IsDone(outcome)) outcome = TakeFlags(link_names);
    link_names.Close();
    if (IsDone(outcome)) outcome = SetAttributes(node_links);
    if (IsDone(outcome)) outcome = Save(kNodeNames, node_names_.data());
    if (IsDone(outcome)) outcome = Save(kNodeAttributes, attributes_.data());
    if (IsDone(outcome)) outcome = Save(kCalcAttributes, connections_.data());
    return outcome;
  }

 private:
  Outcome Reserve() {
    const auto nodes = static_cast<uint64_t>(node_count_);
    const auto links = static_cast<uint64_t>(link_count_);
    const bool reserved = node_count_ <= kMaxRecords && link_count_ <= kMaxRecords &&
                          node_names_.Allocate(nodes) && attributes_.Allocate(nodes + 2) &&
                          flags_.Allocate(links + 2) && connections_.Allocate(nodes);
    return reserved ? Outcome::kDone : FailMemory();
  }

  Outcome FailMemory() const {
    return step_.Fail(kMemoryError, "Can't allocate the memory for 5 indexes (node=%ld,link=%ld) !",
                      ShownAs<long>(node_count_), ShownAs<long>(link_count_));
  }

  Outcome FailRead(const AttributeFile& file) const {
    return step_.Fail(kFileError, file.not_read, step_.Path(file.file).c_str());
  }

  // Opens a file that must hold as many records as were counted.
  Outcome Open(const AttributeFile& file, uint32_t record_size, int64_t count,
               BlockReader* reader) const {
    const FileResult opened =
        reader->Open(step_.Path(file.file).c_str(), record_size, kBlockRecords);
    if (opened == FileResult::kNoMemory) return FailMemory();
    const bool whole = opened == FileResult::kDone && reader->count() == count;
    return whole ? Outcome::kDone : FailRead(file);
  }

  // A record a node, of a file that may hold more.
  template <typename Record>
  Outcome Load(const AttributeFile& file, Record* records) const {
    const FileResult loaded = LoadRecords(step_.Path(file.file).c_str(), records, node_count_);
    return loaded == FileResult::kDone ? Outcome::kDone : FailRead(file);
  }

  template <typename Record>
  Outcome Save(const AttributeFile& file, const Record* records) const {
    // Several large files in a row.
    if (CancelledWithin(0, node_count_)) return Outcome::kCancelled;
    const PathText path = step_.Path(file.file);
    if (SaveRecords(path.c_str(), records, node_count_) == FileResult::kDone) {
      return Outcome::kDone;
    }
    return step_.Fail(kFileError, file.not_written, path.c_str());
  }

  Outcome TakeFlags(BlockReader& link_names) {
    while (link_names.records_in_block() > 0) {
      const int64_t first = link_names.first();
      const int64_t count = link_names.records_in_block();
      const auto* const names = link_names.records<LinkNameRecord>();
      NodeFlags* const out = flags_.data() + first;
      StartParts(workers_, count, [=](int64_t i) { out[i] = FlagsForNodes(names[i]); });
      link_names.Advance();
      workers_.Finish();
      if (link_names.failed()) return FailRead(kLinkNames);
      if (CancelledWithin(first, first + count)) return Outcome::kCancelled;
    }
    return Outcome::kDone;
  }

  Outcome SetAttributes(BlockReader& node_links) {
    while (node_links.records_in_block() > 0) {
      const int64_t first = node_links.first();
      const int64_t count = node_links.records_in_block();
      const auto* const links = node_links.records<NodeLinks>();
      StartParts(workers_, count, [this, first, links](int64_t i) {
        const auto node = static_cast<uint64_t>(first + i);
        const uint8_t attribute =
            NodeAttribute(links[i], flags_.data(), link_count_, &connections_[node]);
        attributes_[node] = attribute;
        node_names_[node].Attribute = attribute;
      });
      node_links.Advance();
      workers_.Finish();
      if (node_links.failed()) return FailRead(kNodeLinks);
      if (CancelledWithin(first, first + count)) return Outcome::kCancelled;
    }
    return Outcome::kDone;
  }

  const Step& step_;
  int64_t node_count_;
  int64_t link_count_;
  PageArray<NodeNameRecord> node_names_;
  PageArray<uint8_t> attributes_;
  PageArray<NodeFlags> flags_;
  PageArray<SlotBytes> connections_;
  Workers workers_;
};

// The files and texts of one name step.
struct NameTexts {
  const char* step;
  const char* status;
  const char* store;
  const char* index;
  const char* names;
  MessageText<long> store_memory;
  MessageText<const char*> store_error;
  MessageText<long> index_memory;
  MessageText<const char*> index_error;
  MessageText<long> names_memory;
  MessageText<const char*> names_error;
  MessageText<const char*> save_error;
  MessageText<long, int, long, int> summary;  // records, stored names, hits, result
};

// Puts the stored names of one kind into the name records, with `put(store record, name record)`.
template <typename Name, typename Put>
class NameStep {
 public:
  NameStep(const Step& step, const NameTexts& texts, Put put)
      : step_(step), texts_(texts), put_(put) {}

  // Records of the index, names in the store, and those that found their record.
  int64_t count() const { return count_; }
  int64_t stored() const { return stored_; }
  int64_t hits() const { return hits_; }

  Outcome Run() {
    Outcome outcome = OpenStore();
    if (IsDone(outcome)) outcome = LoadIndex();
    if (IsDone(outcome)) outcome = LoadNames();
    if (IsDone(outcome)) outcome = PutNames();
    if (!IsDone(outcome)) return outcome;
    if (CancelledWithin(0, count_)) return Outcome::kCancelled;
    const PathText path = step_.Path(texts_.names);
    if (SaveRecords(path.c_str(), names_.data(), count_) == FileResult::kDone) {
      return Outcome::kDone;
    }
    return step_.Fail(kFileError, texts_.save_error, path.c_str());
  }

 private:
  Outcome FailStore() const {
    return step_.Fail(kFileError, texts_.store_error, step_.Path(texts_.store).c_str());
  }

  Outcome OpenStore() {
    const PathText path = step_.Path(texts_.store);
    stored_ = CountRecords(path.c_str(), sizeof(NameStoreRecord));
    const FileResult opened =
        stored_ > kMaxRecords ? FileResult::kNoMemory
                              : store_.Open(path.c_str(), sizeof(NameStoreRecord), kBlockRecords);
    if (opened == FileResult::kNoMemory) {
      return step_.Fail(kMemoryError, texts_.store_memory, ShownAs<long>(stored_));
    }
    const bool whole = opened == FileResult::kDone && store_.count() == stored_;
    return whole ? Outcome::kDone : FailStore();
  }

  // An index that could not be opened when its records were counted, but can now, must not pass for
  // an empty one.
  Outcome LoadIndex() {
    const PathText path = step_.Path(texts_.index);
    count_ = CountRecords(path.c_str(), sizeof(CodeIndexRecord));
    if (count_ > kMaxRecords || !index_.Allocate(count_)) {
      return step_.Fail(kMemoryError, texts_.index_memory, ShownAs<long>(count_));
    }
    if (CountRecords(path.c_str(), sizeof(CodeIndexRecord)) != count_ ||
        LoadRecords(path.c_str(), index_.data(), count_) != FileResult::kDone) {
      return step_.Fail(kFileError, texts_.index_error, path.c_str());
    }
    return Outcome::kDone;
  }

  Outcome LoadNames() {
    if (!names_.Allocate(count_)) {
      return step_.Fail(kMemoryError, texts_.names_memory, static_cast<long>(count_));
    }
    const PathText path = step_.Path(texts_.names);
    if (LoadRecords(path.c_str(), names_.data(), count_) != FileResult::kDone) {
      return step_.Fail(kFileError, texts_.names_error, path.c_str());
    }
    return Outcome::kDone;
  }

  // One after another, since a later name overwrites an earlier one.
  void PutBlock(const CodeLookup& lookup, const NameStoreRecord* records, int64_t count) {
    for (int64_t i = 0; i < count; ++i) {
      const int64_t found = lookup.Find(CodeOf(records[i]).AsDouble());
      const int32_t number = found < 0 ? -1 : index_[found].Number;
      if (number < 0 || number >= count_) continue;
      put_(records[i], &names_[number]);
      ++hits_;
    }
  }

  Outcome PutNames() {
    CodeLookup lookup;
    lookup.Build(index_.data(), count_);
    Workers workers;
    while (store_.records_in_block() > 0) {
      const int64_t first = store_.first();
      const int64_t count = store_.records_in_block();
      const auto* const records = store_.records<NameStoreRecord>();
      workers.Start(1, [&, count, records](int64_t) { PutBlock(lookup, records, count); });
      store_.Advance();
      workers.Finish();
      if (store_.failed()) {
        hits_ = 0;
        return FailStore();
      }
      if (CancelledWithin(first, first + count)) return Outcome::kCancelled;
    }
    return Outcome::kDone;
  }

  const Step& step_;
  const NameTexts& texts_;
  Put put_;
  BlockReader store_;
  PageArray<CodeIndexRecord> index_;
  PageArray<Name> names_;
  int64_t count_ = 0;
  int64_t stored_ = 0;
  int64_t hits_ = 0;
};

template <typename Name, typename Put>
int RunNameStep(WindowHandle owner, const char* control_file, const NameTexts& texts, Put put) {
  const Step step(owner, control_file, texts.step);
  if (!IsDone(step.Begin(texts.status))) return 0;
  NameStep<Name, Put> names(step, texts, put);
  const int result = AsResult(names.Run());
  if (step.WantsSummary()) {
    LogText(texts.summary, ShownAs<long>(names.count()), ShownAs<int>(names.stored()),
            ShownAs<long>(names.hits()), result);
  }
  return result;
}

}  // namespace

int BRN_FinishNodeAttribute(WindowHandle owner, const char* control_file) {
  const Step step(owner, control_file, "BRN_FinishNodeAttribute");
  if (!IsDone(step.Begin("Finishing Node Attribute..."))) return 0;
  AttributeBuilder attributes(step);
  const int result = AsResult(attributes.Run());
  if (step.WantsSummary()) {
    LogBuild("lnNumNode=%ld, lnNumLink=%ld, BRN_FinishNodeAttriute returns=%d",
             ShownAs<long>(attributes.node_count()), ShownAs<long>(attributes.link_count()),
             result);
  }
  return result;
}

int BRN_FinishNodeName(WindowHandle owner, const char* control_file) {
  static constexpr NameTexts kTexts = {
      .step = "BRN_FinishNodeName",
      .status = "Finishing Node Name...",
      .store = kNodeNameStoreFile,
      .index = kNodeIndexFile,
      .names = kNodeNameFile,
      .store_memory = "Can't allocate the memory for NodeNameStore : num store = %ld",
      .store_error = "Can't open / read the NodeNameStore(%s)!",
      .index_memory = "Can't allocate the memory for NodeIndex : num node = %ld",
      .index_error = "Can't open / read the NodeIndex(%s)!",
      .names_memory = "Can't allocate the memory for NodeName : num node = %ld",
      .names_error = "Can't open / read the NodeName (%s) !",
      .save_error = "Can't save the NodeName (%s) !",
      .summary = "lnNumNode=%ld, Storage=%d, HitNodeName=%ld, BRN_FinishNodeName returns=%d"};
  return RunNameStep<NodeNameRecord>(owner, control_file, kTexts,
                                     [](const NameStoreRecord& stored, NodeNameRecord* name) {
                                       std::memcpy(name->Name, stored.Name, sizeof name->Name);
                                       std::memset(name->reserved1, 0, sizeof name->reserved1);
                                     });
}

int BRN_FinishLinkName(WindowHandle owner, const char* control_file) {
  static constexpr NameTexts kTexts = {
      .step = "BRN_FinishLinkName",
      .status = "Finishing Link Name...",
      .store = kLinkNameStoreFile,
      .index = kLinkIndexFile,
      .names = kLinkNameFile,
      .store_memory = "Can't allocate the memory for LinkNameStore : num store = %ld",
      .store_error = "Can't open / read the LinkNameStore(%s)!",
      .index_memory = "Can't allocate the memory for LinkIndex : num link = %ld",
      .index_error = "Can't open / read the LinkIndex(%s)!",
      .names_memory = "Can't allocate the memory for LinkName : num link = %ld",
      .names_error = "Can't open / read the LinkName (%s) !",
      .save_error = "Can't save the LinkName (%s) !",
      .summary = "lnNumLink=%ld, Storage=%d, HitLinkName=%ld, BRN_FinishLinkName returns=%d"};
  return RunNameStep<LinkNameRecord>(owner, control_file, kTexts,
                                     [](const NameStoreRecord& stored, LinkNameRecord* name) {
                                       std::memcpy(name->Name, stored.Name, sizeof name->Name);
                                       name->reserved = 0;
                                       name->NameNumber = stored.LinkNumber;
                                       name->NameValue = stored.LinkValue;
                                     });
}

}  // namespace zatlib
