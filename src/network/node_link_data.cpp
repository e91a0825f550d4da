#include "network/node_link_data.h"

#include "frd/parallel.h"
#include "frd/record_file.h"
#include "frd/step.h"
#include "network/road_attributes.h"
#include "network/workstore/index_sort.h"

namespace zatlib {
namespace {

// Calls `fill(number, record)` for every record, on all processors. A record that cannot be read
// is reported.
template <typename Source, typename Fill>
Outcome FillFrom(const Step& step, Source& source, const MessageText<int>& progress, Fill fill) {
  Workers workers;
  return ForBlocks(source.count, progress, source.AtOnce(), [&](int32_t begin, int32_t end) {
    int32_t count = end - begin;
    const auto* records = source.Fetch(begin, &count);
    workers.RunRanges(count, kGrain, [&](int64_t first, int64_t limit) {
      for (int64_t i = first; i < limit; ++i) fill(begin + i, records[i]);
    });
    return count < end - begin ? FailUnreadRecord(step, kFileError, source, begin + count)
                               : Outcome::kDone;
  });
}

// One of the files that node data creation writes.
struct NodeFile {
  const char* status;
  const char* file;
  MessageText<const char*> not_saved;
};
constexpr NodeFile kNames = {.status = "Saving NodeName ...",
                             .file = kNodeNameFile,
                             .not_saved = "Can't save the NodeName : %s"};
constexpr NodeFile kTurns = {.status = "Saving TrafRule...",
                             .file = kTurnTableFile,
                             .not_saved = "Can't save the TrafRule : %s"};
constexpr NodeFile kAttributes = {.status = "Saving NodeAttribute...",
                                  .file = kNodeAttributeFile,
                                  .not_saved = "Can't save the NodeAttribute : %s"};

// Saves a record a node; the memory is given back.
template <typename Record>
Outcome SaveAndFree(const Step& step, const NodeFile& file, PageArray<Record>* records,
                    int32_t count) {
  const Outcome begun = step.Begin(file.status);
  if (!IsDone(begun)) return begun;
  const PathText path = step.Path(file.file);
  const FileResult saved = SaveRecords(path.c_str(), records->data(), count);
  records->Free();
  if (saved == FileResult::kDone) return Outcome::kDone;
  return step.FailAs(kFileError, file.not_saved, path.c_str());
}

// The texts in which the two ways of creating node data, or link data, differ.
struct CreateTexts {
  const char* step;
  const char* status;
  MessageText<int> progress = "";          // records; empty = no progress
  MessageText<int> no_memory;              // records
  const char* saving_locations = nullptr;  // nodes only
  MessageText<long, int> summary;          // records, result
};

constexpr CreateTexts kNodesInMemory = {
    .step = "BRN_CreateNodeData",
    .status = "Creating Node Data(M)...",
    .no_memory =
        "Can't allocate the memory for NodeLoc, NodeName, TrafRule, and NodeAttribute : "
        "num node=%d",
    .saving_locations = "Saving NodeLoc...",
    .summary = "lnNumNode=%ld, BRN_CreateNodeData returns=%d"};
constexpr CreateTexts kNodesThroughFiles = {
    .step = "BRN450_CreateNodeData",
    .status = "Creating Node Data(F)...",
    .progress = "Creating Node Data(F)...\n%d",
    .no_memory = "Can't allocate the memory for NodeLoc, NodeName, TrafRule, and NodeAttribute !",
    .saving_locations = "Saving NodeLoc ...",
    .summary = "lnNumNode=%ld, BRN450_CreateNodeData returns=%d"};

template <typename Nodes>
Outcome MakeNodeFiles(const Step& step, const CreateTexts& texts, Nodes& nodes,
                      CodeIndexRecord* index) {
  const int64_t room = RoomFor(nodes.count);
  PageArray<NodeLocation> locations;
  PageArray<NodeNameRecord> names;
  PageArray<SlotBytes> turns;
  PageArray<uint8_t> attributes;
  if (!locations.Allocate(room) || !names.Allocate(room) || !turns.Allocate(room) ||
      !attributes.Allocate(room)) {
    return step.FailAs(kMemoryError, texts.no_memory, nodes.count);
  }
  const PathText store = step.Path(kNodeStoreFile);
  if (!nodes.Open(store.c_str(), platform::Access::kRead)) {
    return step.Fail(kFileError, "Can't open the NODESTORE(%s) !", store.c_str());
  }
  Outcome outcome =
      FillFrom(step, nodes, texts.progress, [&](int64_t number, const NodeStoreRecord& node) {
        locations[number] = {node.NodeCode, node.X, node.Y};
        names[number].NodeAttrWord = node.NodeAttrWord;
        index[number] = {node.NodeCode, static_cast<int32_t>(number), node.CityCode};
      });
  if (!IsDone(outcome)) return outcome;
  nodes.Close();
  HoldPlaces(nodes, locations.data());
  const NodeFile location_file = {.status = texts.saving_locations,
                                  .file = kNodeLocationFile,
                                  .not_saved = "Can't save the NodeLoc : %s"};
  outcome = SaveAndFree(step, location_file, &locations, nodes.count);
  if (IsDone(outcome)) outcome = SaveAndFree(step, kNames, &names, nodes.count);
  if (IsDone(outcome)) outcome = SaveAndFree(step, kTurns, &turns, nodes.count);
  if (IsDone(outcome)) outcome = SaveAndFree(step, kAttributes, &attributes, nodes.count);
  if (!IsDone(outcome)) return outcome;
  return CancelledIf(BRN_SortCommonIndex(nodes.count, index) == 0);
}

constexpr CreateTexts kLinksInMemory = {
    .step = "BRN_CreateLinkData",
    .status = "Creating Link Data(M)...",
    .no_memory = "Can't allocate the memory for LinkName : num link=%d",
    .summary = "lnNumLink=%ld, BRN_CreateLinkData returns=%d"};
constexpr CreateTexts kLinksThroughFiles = {
    .step = "BRN450_CreateLinkData",
    .status = "Creating Link Data(F)...",
    .progress = "Creating Link Data(F)...\n%d",
    .no_memory = "Can't allocate the memory for LinkName : num link = %d",
    .summary = "lnNumLink=%ld, BRN450_CreateLinkData returns=%d"};

template <typename Links>
Outcome MakeLinkFile(const Step& step, const CreateTexts& texts, Links& links,
                     CodeIndexRecord* index) {
  RoadDefinition definition;
  BRN_LoadRoadDef(&definition, step.control_file());
  PageArray<LinkNameRecord> names;
  if (!names.Allocate(RoomFor(links.count))) {
    return step.Fail(kMemoryError, texts.no_memory, links.count);
  }
  const PathText store = step.Path(kLinkStoreFile);
  if (!links.Open(store.c_str(), platform::Access::kRead)) {
    return step.Fail(kFileError, "Can't open LINKSTORE(%s) !", store.c_str());
  }
  Outcome outcome =
      FillFrom(step, links, texts.progress, [&](int64_t number, const LinkStoreRecord& link) {
        names[number].RoadKind = link.RoadKind;
        names[number].Value6 = link.Value6;
        BRN_SetLinkFlags(link.RoadFlag, definition, &names[number]);
        index[number] = {link.LinkCode, static_cast<int32_t>(number), link.CityCode};
      });
  if (!IsDone(outcome)) return outcome;
  links.Close();
  outcome = step.Begin("Saving LinkName...");
  if (!IsDone(outcome)) return outcome;
  const PathText path = step.Path(kLinkNameFile);
  if (SaveRecords(path.c_str(), names.data(), links.count) != FileResult::kDone) {
    return step.Fail(kFileError, "Can't write the LinkName (%s) rec=%ld !", path.c_str(),
                     static_cast<long>(links.count));
  }
  names.Free();
  return CancelledIf(BRN_SortCommonIndex(links.count, index) == 0);
}

// The step around both: `make(step, texts, source, index)` makes the files.
template <typename Source, typename Make>
int CreateData(const Step& step, const CreateTexts& texts, Source& source, CodeIndexRecord* index,
               Make make) {
  if (!IsDone(step.Begin(texts.status))) return 0;
  const int result = AsResult(make(step, texts, source, index));
  source.Close();
  if (step.WantsSummary()) LogText(texts.summary, static_cast<long>(source.count), result);
  return result;
}

}  // namespace

int BRN_CreateNodeData(WindowHandle owner, NodeArray& nodes, CodeIndexRecord* index,
                       const char* control_file) {
  const Step step(owner, control_file, kNodesInMemory.step);
  return CreateData(step, kNodesInMemory, nodes, index, MakeNodeFiles<NodeArray>);
}

int BRN450_CreateNodeData(WindowHandle owner, NodePositions& nodes, CodeIndexRecord* index,
                          const char* control_file) {
  const Step step(owner, control_file, kNodesThroughFiles.step);
  return CreateData(step, kNodesThroughFiles, nodes, index, MakeNodeFiles<NodePositions>);
}

int BRN_CreateLinkData(WindowHandle owner, LinkArray& links, CodeIndexRecord* index,
                       const char* control_file) {
  const Step step(owner, control_file, kLinksInMemory.step);
  return CreateData(step, kLinksInMemory, links, index, MakeLinkFile<LinkArray>);
}

int BRN450_CreateLinkData(WindowHandle owner, LinkPositions& links, CodeIndexRecord* index,
                          const char* control_file) {
  const Step step(owner, control_file, kLinksThroughFiles.step);
  return CreateData(step, kLinksThroughFiles, links, index, MakeLinkFile<LinkPositions>);
}

}  // namespace zatlib
