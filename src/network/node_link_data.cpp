#include "network/node_link_data.h"

#include <cstring>
#include <span>

#include "frd/cancellable.h"
#include "frd/control.h"
#include "frd/files.h"
#include "frd/log.h"
#include "frd/parallel.h"
#include "frd/record_writer.h"
#include "network/road_attributes.h"
#include "network/workstore/index_sort.h"

namespace zatlib {
namespace {

// The texts of one load step.
struct LoadTexts {
  const char* status;
  const char* store;
  const char* no_memory;  // with %ld (records)
  const char* memory_title;
  const char* not_opened;  // with %s
  const char* not_read;    // with %s, %ld
  const char* file_title;
  const char* summary;  // with %ld (kept), %ld (records), %d (result)
};

// Keeps the records of a store that are not empty. `reserve(records)` makes room for count + 2.
// `keep(store, position, kept so far, &kept now)` takes some records from a position on and returns
// how many it has looked at; 0 = the record cannot be read.
template <typename Record, typename Reserve, typename Keep>
int LoadStore(WindowHandle owner, const LoadTexts& texts, const char* control_file,
              int32_t* kept_count, Reserve reserve, Keep keep) {
  *kept_count = 0;
  if (BRN_BeginStep(texts.status) == 0) return 0;
  const PathText path = OutputPath(control_file, texts.store);
  StoreFile<Record> store;
  int64_t count = 0;
  int64_t kept = 0;
  int result = 1;
  if (!store.Open(path.c_str(), platform::Access::kRead)) {
    ReportError(owner, texts.file_title, texts.not_opened, path.c_str());
    result = 0;
  } else {
    count = store.count();
    if (count > kMaxRecords || !reserve(RoomFor(count))) {
      ReportError(owner, texts.memory_title, texts.no_memory, ShownAs<long>(count));
      result = 0;
    }
  }
  for (int64_t i = 0; i < count && result != 0;) {
    const int64_t seen = keep(store, i, &kept);
    if (seen == 0) {
      ReportError(owner, texts.file_title, texts.not_read, path.c_str(), static_cast<long>(i));
      result = 0;
    } else if (CancelledWithin(i, i + seen)) {
      result = 0;
    }
    i += seen;
  }
  if (result == 0) kept = 0;
  *kept_count = static_cast<int32_t>(kept);
  if (WantsSummary(control_file)) {
    LogBuild(texts.summary, ShownAs<long>(kept), ShownAs<long>(count), result);
  }
  return result;
}

FeatureCode CodeOfNode(const NodeStoreRecord& node) { return node.NodeCode; }
FeatureCode CodeOfLink(const LinkStoreRecord& link) { return link.LinkCode; }

template <typename Record, typename CodeOf>
int LoadRecords(WindowHandle owner, const LoadTexts& texts, const char* control_file,
                RecordArray<Record>* array, CodeOf code_of) {
  const int result = LoadStore<Record>(
      owner, texts, control_file, &array->count,
      [array](int64_t records) { return array->records.Allocate(records); },
      [array, code_of](StoreFile<Record>& store, int64_t position, int64_t* kept) {
        // Straight to where they stay; the empty ones are closed up.
        Record* out = array->At(static_cast<int32_t>(*kept));
        const int64_t read = store.Read(position, kCancelInterval, out);
        Record* const end = out + read;
        Record* from = out;
        while (from != end && !code_of(*from).IsEmpty()) ++from;
        Record* to = from;
        for (; from != end; ++from) {
          if (!code_of(*from).IsEmpty()) *to++ = *from;
        }
        *kept += to - out;
        return read;
      });
  if (result == 0) array->records.Free();
  return result;
}

template <typename Record, typename CodeOf>
int LoadPositions(WindowHandle owner, const LoadTexts& texts, const char* control_file,
                  RecordPositions<Record>* list, CodeOf code_of) {
  const int result = LoadStore<Record>(
      owner, texts, control_file, &list->count,
      [list](int64_t records) { return list->positions.Allocate(records); },
      [list, code_of](StoreFile<Record>& store, int64_t position, int64_t* kept) {
        const std::span<const Record> records = store.From(position);
        for (const Record& record : records) {
          if (!code_of(record).IsEmpty()) {
            list->positions[(*kept)++] = static_cast<uint32_t>(position);
          }
          ++position;
        }
        return static_cast<int64_t>(records.size());
      });
  if (result == 0) list->positions.Free();
  return result;
}

// Where nodes are read from the store, their places are kept at hand if there is memory for them.
void HoldPlaces(NodeArray&, const NodeLocation*) {}
void HoldPlaces(NodePositions& nodes, const NodeLocation* locations) {
  if (!nodes.places.Allocate(nodes.count)) return;
  for (int32_t i = 0; i < nodes.count; ++i) {
    nodes.places[i] = {locations[i].X, locations[i].Y};
  }
}

// The texts in which the two ways of creating node data differ.
struct NodeDataTexts {
  const char* status;
  const char* progress;  // with %d; null = no progress
  const char* no_memory;
  const char* not_opened;  // with %s
  const char* not_read;    // with %d (node), %ld (position)
  const char* file_title;
  const char* save_locations;
  const char* summary;  // with %ld, %d
};

// Calls `fill(number, record)` for every record, on all processors, and `not_read(number)` for the
// first one that cannot be read. Returns 1; 0 on cancel or when a record cannot be read.
template <typename Source, typename Fill, typename NotRead>
int FillFrom(Source& source, const char* progress, Fill fill, NotRead not_read) {
  Workers workers;
  return ForBlocks(source.count, progress, source.AtOnce(), [&](int32_t begin, int32_t end) {
    int32_t count = end - begin;
    const auto* records = source.Fetch(begin, &count);
    workers.RunRanges(count, kGrain, [&](int64_t first, int64_t limit) {
      for (int64_t i = first; i < limit; ++i) fill(begin + i, records[i]);
    });
    if (count < end - begin) {
      not_read(begin + count);
      return 0;
    }
    return 1;
  });
}

// One of the files that node data creation writes.
template <typename Record>
int SaveArray(WindowHandle owner, const char* status, const char* name, const char* error,
              const char* control_file, PageArray<Record>* array, int32_t count) {
  if (BRN_BeginStep(status) == 0) return 0;
  const PathText path = OutputPath(control_file, name);
  const SaveResult saved =
      SaveFile(path.c_str(), array->data(), static_cast<uint64_t>(count) * sizeof(Record));
  array->Free();
  if (saved == SaveResult::kSaved) return 1;
  ReportError(owner, "File Error", error, path.c_str());
  return 0;
}

template <typename Nodes>
int FillNodeData(WindowHandle owner, const NodeDataTexts& texts, Nodes& nodes,
                 CodeIndexRecord* index, const char* control_file) {
  const int64_t room = RoomFor(nodes.count);
  PageArray<NodeLocation> locations;
  PageArray<NodeNameRecord> names;
  PageArray<SlotBytes> turns;
  PageArray<uint8_t> attributes;
  if (!locations.Allocate(room) || !names.Allocate(room) || !turns.Allocate(room) ||
      !attributes.Allocate(room)) {
    ReportError(owner, "Memory Error", texts.no_memory, nodes.count);
    return 0;
  }
  const PathText store = OutputPath(control_file, kNodeStoreFile);
  if (!nodes.Open(store.c_str(), platform::Access::kRead)) {
    ReportError(owner, texts.file_title, texts.not_opened, store.c_str());
    return 0;
  }
  const auto fill = [&](int64_t number, const NodeStoreRecord& node) {
    locations[number] = {node.NodeCode, node.X, node.Y};
    names[number].NodeAttrWord = node.NodeAttrWord;
    index[number] = {node.NodeCode, static_cast<int32_t>(number), node.CityCode};
  };
  const auto not_read = [&](int32_t i) {
    ReportError(owner, texts.file_title, texts.not_read, i, PositionOf(nodes, i));
  };
  if (FillFrom(nodes, texts.progress, fill, not_read) == 0) return 0;
  nodes.Close();
  HoldPlaces(nodes, locations.data());
  if (SaveArray(owner, texts.save_locations, kNodeLocationFile, "Can't save the NodeLoc : %s",
                control_file, &locations, nodes.count) == 0 ||
      SaveArray(owner, "Saving NodeName ...", kNodeNameFile, "Can't save the NodeName : %s",
                control_file, &names, nodes.count) == 0 ||
      SaveArray(owner, "Saving TrafRule...", kTurnTableFile, "Can't save the TrafRule : %s",
                control_file, &turns, nodes.count) == 0 ||
      SaveArray(owner, "Saving NodeAttribute...", kNodeAttributeFile,
                "Can't save the NodeAttribute : %s", control_file, &attributes, nodes.count) == 0) {
    return 0;
  }
  return BRN_SortCommonIndex(nodes.count, reinterpret_cast<KeyedRecord*>(index));
}

template <typename Nodes>
int CreateNodeData(WindowHandle owner, const NodeDataTexts& texts, Nodes& nodes,
                   CodeIndexRecord* index, const char* control_file) {
  if (BRN_BeginStep(texts.status) == 0) return 0;
  const int result = FillNodeData(owner, texts, nodes, index, control_file);
  nodes.Close();
  if (WantsSummary(control_file)) {
    LogBuild(texts.summary, static_cast<long>(nodes.count), result);
  }
  return result;
}

// The texts in which the two ways of creating link data differ.
struct LinkDataTexts {
  const char* status;
  const char* progress;  // with %d; null = no progress
  const char* no_memory;
  const char* memory_title;
  const char* not_opened;  // with %s
  const char* not_read;    // with %d (link), %ld (position)
  const char* file_title;
  const char* summary;  // with %ld, %d
};

template <typename Links>
int FillLinkData(WindowHandle owner, const LinkDataTexts& texts, Links& links,
                 CodeIndexRecord* index, const char* control_file) {
  RoadDefinition definition;
  BRN_LoadRoadDef(&definition, control_file);
  PageArray<LinkNameRecord> names;
  if (!names.Allocate(RoomFor(links.count))) {
    ReportError(owner, texts.memory_title, texts.no_memory, links.count);
    return 0;
  }
  const PathText store = OutputPath(control_file, kLinkStoreFile);
  if (!links.Open(store.c_str(), platform::Access::kRead)) {
    ReportError(owner, texts.file_title, texts.not_opened, store.c_str());
    return 0;
  }
  const auto fill = [&](int64_t number, const LinkStoreRecord& link) {
    names[number].RoadKind = link.RoadKind;
    names[number].Value6 = link.Value6;
    BRN_SetLinkFlags(link.RoadFlag, definition, &names[number]);
    index[number] = {link.LinkCode, static_cast<int32_t>(number), link.CityCode};
  };
  const auto not_read = [&](int32_t i) {
    ReportError(owner, texts.file_title, texts.not_read, i, PositionOf(links, i));
  };
  if (FillFrom(links, texts.progress, fill, not_read) == 0) return 0;
  links.Close();
  if (BRN_BeginStep("Saving LinkName...") == 0) return 0;
  const PathText path = OutputPath(control_file, kLinkNameFile);
  if (SaveFile(path.c_str(), names.data(),
               static_cast<uint64_t>(links.count) * sizeof(LinkNameRecord)) != SaveResult::kSaved) {
    ReportError(owner, texts.file_title, "Can't write the LinkName (%s) rec=%ld !", path.c_str(),
                static_cast<long>(links.count));
    return 0;
  }
  names.Free();
  return BRN_SortCommonIndex(links.count, reinterpret_cast<KeyedRecord*>(index));
}

template <typename Links>
int CreateLinkData(WindowHandle owner, const LinkDataTexts& texts, Links& links,
                   CodeIndexRecord* index, const char* control_file) {
  if (BRN_BeginStep(texts.status) == 0) return 0;
  const int result = FillLinkData(owner, texts, links, index, control_file);
  links.Close();
  if (WantsSummary(control_file)) {
    LogBuild(texts.summary, static_cast<long>(links.count), result);
  }
  return result;
}

}  // namespace

int BRN_LoadNodeStore(WindowHandle owner, NodeArray* nodes, const char* control_file) {
  static const LoadTexts kTexts = {
      "Loading Nodes(M)...",
      kNodeStoreFile,
      "Can't allocate the memory for NodeStore (rec=%ld) !",
      "File Error in BRN_LoadNodeStore",
      "Can't open the NODESTORE(%s) !",
      "Can't read the NodeStore(%s) at %ld!",
      "File Error in BRN_LoadNodeStore",
      "lnNumNode=%ld, lnNumRec(NodeStore)=%ld, BRN_LoadNodeStore returns=%d"};
  return LoadRecords(owner, kTexts, control_file, nodes, CodeOfNode);
}

int BRN_LoadLinkStore(WindowHandle owner, LinkArray* links, const char* control_file) {
  static const LoadTexts kTexts = {
      "Loading Links(M)...",
      kLinkStoreFile,
      "Can't allocate the memory for the LinkStore (rec=%ld)!",
      "Memory Error in BRN_LoadLinkStore",
      "Can't open LINKSTORE(%s) !",
      "Can't read the LINKSTORE(%s) at %ld !",
      "File Error in BRN_LoadLinkStore",
      "lnNumLink=%ld, lnNumRec(LinkStore)=%ld, BRN_LoadLinkStore returns=%d"};
  return LoadRecords(owner, kTexts, control_file, links, CodeOfLink);
}

int BRN450_LoadNodeStorePtr(WindowHandle owner, NodePositions* nodes, const char* control_file) {
  static const LoadTexts kTexts = {
      "Loading Nodes(F)...",
      kNodeStoreFile,
      "Can't allocate the memory for NodeStorePtr (rec=%ld) !",
      "File Error in BRN450_LoadNodeStorePtr",
      "Can't open the NODESTORE(%s) !",
      "Can't read the NodeStore(%s) at %ld!",
      "File Error in BRN450_LoadNodeStorePtr",
      "lnNumNode=%ld, lnNumRec(NodeStore)=%ld, BRN450_LoadNodeStorePtr returns=%d"};
  return LoadPositions(owner, kTexts, control_file, nodes, CodeOfNode);
}

int BRN450_LoadLinkStorePtr(WindowHandle owner, LinkPositions* links, const char* control_file) {
  static const LoadTexts kTexts = {
      "Loading Links(F)...",
      kLinkStoreFile,
      "Can't allocate the memory for the LinkStorePtr (rec=%ld)!",
      "Memory Error in BRN450_LoadLinkStorePtr",
      "Can't open LINKSTORE(%s) !",
      "Can't read the LINKSTORE(%s) at %ld !",
      "File Error in BRN450_LoadLinkStorePtr",
      "lnNumLink=%ld, lnNumRec(LinkStore)=%ld, BRN450_LoadLinkStorePtr returns=%d"};
  return LoadPositions(owner, kTexts, control_file, links, CodeOfLink);
}

int BRN_CreateNodeData(WindowHandle owner, NodeArray& nodes, CodeIndexRecord* index,
                       const char* control_file) {
  static const NodeDataTexts kTexts = {
      "Creating Node Data(M)...",
      nullptr,
      "Can't allocate the memory for NodeLoc, NodeName, TrafRule, and NodeAttribute : num node=%d",
      "",
      "",
      "",
      "Saving NodeLoc...",
      "lnNumNode=%ld, BRN_CreateNodeData returns=%d"};
  return CreateNodeData(owner, kTexts, nodes, index, control_file);
}

int BRN450_CreateNodeData(WindowHandle owner, NodePositions& nodes, CodeIndexRecord* index,
                          const char* control_file) {
  static const NodeDataTexts kTexts = {
      "Creating Node Data(F)...",
      "Creating Node Data(F)...\n%d",
      "Can't allocate the memory for NodeLoc, NodeName, TrafRule, and NodeAttribute !",
      "Can't open the NODESTORE(%s) !",
      "Can't seek / read the node storage file at %d ( ptr=%ld )!",
      "File Error in BRN450_CreateNodeData",
      "Saving NodeLoc ...",
      "lnNumNode=%ld, BRN450_CreateNodeData returns=%d"};
  return CreateNodeData(owner, kTexts, nodes, index, control_file);
}

int BRN_CreateLinkData(WindowHandle owner, LinkArray& links, CodeIndexRecord* index,
                       const char* control_file) {
  static const LinkDataTexts kTexts = {"Creating Link Data(M)...",
                                       nullptr,
                                       "Can't allocate the memory for LinkName : num link=%d",
                                       "Memory Error in BRN_CreateLinkData",
                                       "",
                                       "",
                                       "File Error in BRN_CreateLinkData",
                                       "lnNumLink=%ld, BRN_CreateLinkData returns=%d"};
  return CreateLinkData(owner, kTexts, links, index, control_file);
}

int BRN450_CreateLinkData(WindowHandle owner, LinkPositions& links, CodeIndexRecord* index,
                          const char* control_file) {
  static const LinkDataTexts kTexts = {"Creating Link Data(F)...",
                                       "Creating Link Data(F)...\n%d",
                                       "Can't allocate the memory for LinkName : num link = %d",
                                       "Memory Error in BRN450_CreateLinkData",
                                       "Can't open LINKSTORE(%s) !",
                                       "Can't seek / read the link storage file at %d ( ptr=%ld )!",
                                       "File Error in BRN450_CreateLinkData",
                                       "lnNumLink=%ld, BRN450_CreateLinkData returns=%d"};
  return CreateLinkData(owner, kTexts, links, index, control_file);
}

}  // namespace zatlib
