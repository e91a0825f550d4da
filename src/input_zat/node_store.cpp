#include "input_zat/node_store.h"

#include "frd/log.h"
#include "frd/step.h"
#include "input_zat/record_readers.h"
#include "input_zat/road_definition.h"
#include "input_zat/store_table.h"
#include "network/workstore/point_copy.h"
#include "network/workstore/record_copy.h"
#include "network/workstore/work_stores.h"
#include "platform/file.h"

namespace zatlib {
namespace {

constexpr AppendTexts kTexts = {.data_not_opened = "Can't open the node MID (FILE%02d) [%s] !",
                                .store_not_opened = "Can't open the NodeStorage (%s) at %02d !",
                                .not_written = "Can't write the NodeStorage (%s) at %02d, %d !",
                                .status = "Reading Node Record (%d)..."};

// Every node of a MIF carries a point.
constexpr PointRules kPointRules = {.test = MifPointTest::kFirstLetters,
                                    .may_end = false,
                                    .unfit_title = "Data Error in BRN_ZAT_ReadNodeRecord"};

using NodeStore = AppendedStore<NodeStoreRecord>;

// Reads nodes by the code length.
auto NodeReader(int code_length) {
  return [code_length](Lines& lines, NodeStoreRecord* record) {
    return AsReadResult(BRN_ZAT_ReadNodeRecord(lines, record, code_length));
  };
}

// The nodes of a MID file, with the points of its MIF file.
Outcome AppendMifNodes(const Step& step, int number, int code_length, NodeStore& store) {
  const PathText path = ControlFile(step.control_file(), "NODE", number);
  LineSource mif;
  if (!mif.Open(path.c_str())) {
    return step.FailModalAs(kFileError, "Can't open the node MIF (FILE%02d) [%s] !", number,
                            path.c_str());
  }
  if (BRN_SetMifInformation(mif, step.control_file()) == 0) return Outcome::kFailed;
  PathText mid_path;
  FRD_MakeMidPath(path.c_str(), mid_path.text);
  NodePoints points(step, kPointRules, mif, mid_path.c_str());
  return store.AppendAmended(
      number, mid_path.c_str(), NodeReader(code_length), [] { return Outcome::kDone; }, points);
}

// The same for all files.
Outcome AppendAllMifNodes(const Step& step, int files, int code_length, NodeStore& store) {
  Outcome outcome = Outcome::kDone;
  for (int i = 1; i <= files && IsDone(outcome); ++i) {
    outcome = AppendMifNodes(step, i, code_length, store);
  }
  return outcome;
}

constexpr MessageText<> kTableMemory =
    "Can't allocate the memory for the node store and the index !";

using NodeTable = StoreTable<NodeStoreRecord>;

Outcome LoadNodes(const Step& step, NodeTable* nodes) {
  const FileResult loaded = nodes->Load(step.Path(kNodeStoreFile).c_str());
  if (loaded == FileResult::kNoMemory) return step.Fail(kMemoryError, kTableMemory);
  if (loaded != FileResult::kDone) {
    return step.Fail(kFileError, "Can't read the node store and the index !");
  }
  return nodes->BuildIndex();
}

// Only the first file counts, whatever FILENUM says.
Outcome SetPlaces(const Step& step, int code_length, NodeTable& nodes, int64_t* count) {
  const PathText path = ControlFile(step.control_file(), "NODEXY", 1);
  LineSource file;
  if (!file.Open(path.c_str())) {
    return step.FailModal(kFileError, "Can't open the Node XY data (FILE%02d) [%s] !", 1,
                          path.c_str());
  }
  const Outcome put = PutRows<NodeXYRecord>(
      file,
      [code_length](Lines& lines, NodeXYRecord* row) {
        if (BRN_ZAT_ReadNodeXY(lines, row, code_length) == 0) return ReadResult::kEnd;
        return row->Code.IsEmpty() ? ReadResult::kUnwanted : ReadResult::kRecord;
      },
      [&nodes, count](const NodeXYRecord& row) {
        NodeStoreRecord* node = nodes.Find(row.Code);
        if (node == nullptr) return;
        node->X = row.X;
        node->Y = row.Y;
        ++*count;
      });
  const SourceEnd end = file.TakeEnd();
  if (end == SourceEnd::kNoMemory) return step.Fail(kMemoryError, kTableMemory);
  return end == SourceEnd::kNotRead ? FailUnread(step, path.c_str(), end) : put;
}

Outcome SaveNodes(const Step& step, const NodeTable& nodes) {
  const FileResult saved = nodes.Save(step.Path(kNodeStoreFile).c_str());
  if (saved == FileResult::kDone) return Outcome::kDone;
  return step.FailModal(kFileError, "Can't write the node store !");
}

}  // namespace

int BRN_ZAT_SetNodeStore(WindowHandle owner, const char* control_file) {
  const Step step(owner, control_file, "BRN_ZAT_SetNodeStore");
  if (!IsDone(step.Begin("Setting Node Storage..."))) return 0;
  const int files = ControlInt(control_file, "NODE", "FILENUM", 0);
  const bool mif_mode = ControlInt(control_file, "NODE", "MIF", 0) != 0;
  const int code_length = BRN_GetCodeLength(control_file);
  if (!IsValidCodeLength(code_length)) return 0;
  NodeStore store(step, kTexts, kNodeStoreFile);
  if (files >= 1) platform::RemoveFile(store.path());
  const Outcome outcome =
      files < 1  ? Outcome::kFailed
      : mif_mode ? AppendAllMifNodes(step, files, code_length, store)
                 : store.Append({.section = "NODE", .count = files}, NodeReader(code_length));
  const int result = AsResult(outcome);
  LogBuild("Setting Node Storage end %s : set counter = %d", ResultText(result),
           ShownAs<int>(store.count()));
  return result;
}

int BRN_ZAT_SetNodeXYData(WindowHandle owner, const char* control_file) {
  const Step step(owner, control_file, "BRN_ZAT_SetNodeXYData");
  if (!IsDone(step.Begin("Setting Node XY..."))) return 0;
  if (ControlInt(control_file, "NODE", "MIF", 0) != 0) return 1;
  if (ControlInt(control_file, "NODEXY", "FILENUM", 0) < 1) return 1;
  const int code_length = BRN_GetCodeLength(control_file);
  if (!IsValidCodeLength(code_length)) return 0;
  NodeTable nodes;
  int64_t count = 0;
  Outcome outcome = LoadNodes(step, &nodes);
  if (IsDone(outcome)) outcome = SetPlaces(step, code_length, nodes, &count);
  if (IsDone(outcome)) outcome = SaveNodes(step, nodes);
  const int result = AsResult(outcome);
  LogBuild("Setting Node XY end %s : set count = %d", ResultText(result), ShownAs<int>(count));
  return result;
}

}  // namespace zatlib
