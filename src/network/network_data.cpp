#include "network/network_data.h"

#include "frd/keyed_table.h"
#include "frd/record_file.h"
#include "frd/step.h"
#include "network/calc_nodes.h"
#include "network/link_nodes.h"
#include "network/network_tables.h"
#include "network/workstore/code_length.h"

namespace zatlib {
namespace {

// The texts in which the two ways of creating network data differ.
struct NetworkTexts {
  const char* step;
  const char* status;
  PartTexts link_nodes;
  PartTexts calc_nodes;
  PartTexts cities;
  const char* code_length_title;
};

constexpr NetworkTexts kInMemory = {.step = "BRN_CreateNetworkData",
                                    .status = "Creating CalcNode(M)...",
                                    .link_nodes = {.title = "Making LinkNodeIndex(M)..."},
                                    .calc_nodes = {.title = "Creating the Road Networks(M)..."},
                                    .cities = {.title = "Setting Node's CityCodes(M)..."},
                                    .code_length_title = "Logic Error in BRN_CreateNetworkData"};
constexpr NetworkTexts kThroughFiles = {
    .step = "BRN450_CreateNetworkData",
    .status = "Creating CalcNode(F)...",
    .link_nodes = {.title = "Making LinkNodeIndex(F)...",
                   .progress = "Making LinkNodeIndex(F)...\n%d"},
    .calc_nodes = {.progress = "Creating CalcNode(F)...\n%d"},
    .cities = {.title = "Setting Node's CityCodes(F)...",
               .progress = "Setting Node's CityCodes(F)...\n%d"},
    .code_length_title = "Internal Logic Error Found in BRN450_CreateNetworkData"};

// A file that is saved when all of the network is made.
struct NetworkFile {
  const char* file;
  MessageText<const char*> not_written;
};
constexpr NetworkFile kNodeIndex = {.file = kNodeIndexFile,
                                    .not_written = "Can't write the NodeIndex file(%s)"};
constexpr NetworkFile kNodeLinks = {.file = kNodeLinkFile,
                                    .not_written = "Can't write the NodeLinkIndex file(%s)"};
constexpr NetworkFile kLinkIndex = {.file = kLinkIndexFile,
                                    .not_written = "Can't write the LinkIndex file(%s)"};
constexpr NetworkFile kLinkNodes = {.file = kLinkNodeFile,
                                    .not_written = "Can't write the LinkNodeIndex file(%s)"};
constexpr NetworkFile kDrawings = {.file = kDrawingFile,
                                   .not_written = "Can't write the DrawMap file(%s)"};

// One run of the step.
template <typename Nodes, typename Links>
class NetworkBuilder {
 public:
  NetworkBuilder(const Step& step, const NetworkTexts& texts, NetworkTables<Nodes, Links>& tables)
      : step_(step), texts_(texts), tables_(tables) {}

  Outcome Run() {
    Outcome outcome = step_.Begin(texts_.status);
    if (IsDone(outcome)) {
      outcome = TakeCodeLength(step_, texts_.code_length_title, &tables_.code_length);
    }
    if (IsDone(outcome)) outcome = Open(tables_.nodes, kNodeStoreFile, kNoNodeStore);
    if (IsDone(outcome)) outcome = Open(tables_.links, kLinkStoreFile, kNoLinkStore);
    // Places save time only: they give way.
    if (IsDone(outcome) && !tables_.Reserve() &&
        !(DropPlaces(tables_.nodes) && tables_.Reserve())) {
      outcome =
          step_.FailAs("Memory Error in BRN_CreateNetworkData",
                       "Can't allocate the momories for NodeLinkIndex, LinkNodeIndex, DrawMapL!");
    }
    if (IsDone(outcome)) outcome = MakeTables();
    if (IsDone(outcome)) outcome = SetCities();
    if (IsDone(outcome)) outcome = SaveTables();
    return outcome;
  }

 private:
  static constexpr MessageText<const char*> kNoNodeStore = "Can't open the node store (%s) !";
  static constexpr MessageText<const char*> kNoLinkStore = "Can't open the link store (%s) !";

  template <typename Source>
  Outcome Open(Source& source, const char* store, const MessageText<const char*>& not_opened) {
    const PathText path = step_.Path(store);
    if (source.Open(path.c_str(), platform::Access::kRead)) return Outcome::kDone;
    return step_.Fail(kFileError, not_opened, path.c_str());
  }

  Outcome MakeTables() {
    LinkNodeMaker<Nodes, Links> link_nodes(step_, texts_.link_nodes, tables_);
    CalcNodeMaker<Nodes, Links> calc_nodes(step_, texts_.calc_nodes, tables_);
    calc_nodes.TakeBlocks();
    tables_.ReserveMore();
    const Outcome outcome = link_nodes.Run();
    if (!IsDone(outcome)) return outcome;
    // They have done their duty.
    DropPlaces(tables_.nodes);
    tables_.node_lookup = CodeLookup();
    return calc_nodes.Run();
  }

  // The city of a node is that of the link in its first slot.
  Outcome SetCities() {
    const Outcome begun = step_.Begin(texts_.cities.title);
    if (!IsDone(begun)) return begun;
    const auto set = [&](int32_t begin, int32_t end) {
      if (!tables_.cities) return SetCitiesFromLinks(begin, end);
      tables_.workers.RunRanges(end - begin, kGrain, [&](int64_t first, int64_t limit) {
        for (int64_t i = begin + first; i < begin + limit; ++i) {
          CodeIndexRecord& entry = tables_.node_index[i];
          if (tables_.node_links[entry.Number].Link[0] != -1) {
            entry.CityCode = tables_.cities[entry.Number];
          }
        }
      });
      return Outcome::kDone;
    };
    return ForBlocks(tables_.nodes.count, texts_.cities.progress, tables_.nodes.count, set);
  }

  // The same from the links' own records.
  Outcome SetCitiesFromLinks(int32_t begin, int32_t end) {
    for (int32_t i = begin; i < end; ++i) {
      CodeIndexRecord& entry = tables_.node_index[i];
      const int32_t number = tables_.node_links[entry.Number].Link[0];
      if (number == -1) continue;
      const LinkStoreRecord* const link = tables_.links.At(number);
      if (link == nullptr) return FailUnreadRecord(step_, kFileError, tables_.links, number);
      entry.CityCode = link->CityCode;
    }
    return Outcome::kDone;
  }

  template <typename Record>
  Outcome Save(const NetworkFile& file, const Record* records, int32_t count) const {
    // Several large files in a row.
    if (BRN_SetStatus(nullptr) == 0) return Outcome::kCancelled;
    const PathText path = step_.Path(file.file);
    if (SaveRecords(path.c_str(), records, count) == FileResult::kDone) return Outcome::kDone;
    return step_.FailAs(kFileError, file.not_written, path.c_str());
  }

  Outcome SaveTables() const {
    const int32_t nodes = tables_.nodes.count;
    const int32_t links = tables_.links.count;
    Outcome outcome = Save(kNodeIndex, tables_.node_index, nodes);
    if (IsDone(outcome)) outcome = Save(kNodeLinks, tables_.node_links.data(), nodes);
    if (IsDone(outcome)) outcome = Save(kLinkIndex, tables_.link_index, links);
    if (IsDone(outcome)) outcome = Save(kLinkNodes, tables_.link_nodes.data(), links);
    if (IsDone(outcome)) outcome = Save(kDrawings, tables_.drawings.data(), links);
    return outcome;
  }

  const Step& step_;
  const NetworkTexts& texts_;
  NetworkTables<Nodes, Links>& tables_;
};

template <typename Nodes, typename Links>
int CreateNetworkData(const Step& step, const NetworkTexts& texts,
                      NetworkTables<Nodes, Links>& tables) {
  NetworkBuilder<Nodes, Links> builder(step, texts, tables);
  const int result = AsResult(builder.Run());
  tables.nodes.Close();
  tables.links.Close();
  return result;
}

}  // namespace

int32_t BRN_FindIndexRecord(FeatureCode code, int64_t count, const CodeIndexRecord* index) {
  const int64_t found = FindNarrowed(count, code.AsDouble(),
                                     [index](int64_t i) { return CodeOf(index[i]).AsDouble(); });
  return found < 0 ? -1 : index[found].Number;
}

int BRN_CreateNetworkData(WindowHandle owner, NodeArray& nodes, CodeIndexRecord* node_index,
                          LinkArray& links, const CodeIndexRecord* link_index,
                          const char* control_file) {
  const Step step(owner, control_file, kInMemory.step);
  NetworkTables<NodeArray, LinkArray> tables{nodes, node_index, links, link_index};
  return CreateNetworkData(step, kInMemory, tables);
}

int BRN450_CreateNetworkData(WindowHandle owner, NodePositions& nodes, CodeIndexRecord* node_index,
                             LinkPositions& links, const CodeIndexRecord* link_index,
                             const char* control_file) {
  const Step step(owner, control_file, kThroughFiles.step);
  NetworkTables<NodePositions, LinkPositions> tables{nodes, node_index, links, link_index};
  return CreateNetworkData(step, kThroughFiles, tables);
}

}  // namespace zatlib
