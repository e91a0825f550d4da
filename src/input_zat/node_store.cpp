#include "input_zat/node_store.h"

#include "frd/cancellable.h"
#include "frd/control.h"
#include "frd/cp932.h"
#include "frd/log.h"
#include "frd/mif_text.h"
#include "frd/record_stream.h"
#include "input_zat/record_readers.h"
#include "input_zat/road_definition.h"
#include "input_zat/store_table.h"
#include "network/workstore/record_copy.h"
#include "network/workstore/work_stores.h"

namespace zatlib {
namespace {

const AppendTexts kTexts = {"Can't open the node MID (FILE%02d) [%s] !",
                            "Can't open the NodeStorage (%s) at %02d !",
                            "Can't write the NodeStorage (%s) at %02d, %d !",
                            "Reading Node Record (%d)...", "File Error in BRN_ZAT_SetNodeStore"};

// One node file into the open store; `*count` grows by the records copied. Returns 1 or 0.
int CopyNodeFile(WindowHandle owner, const char* control_file, int number, bool mif_mode,
                 const char* store_path, int code_length, int64_t* count) {
  const PathText path = ControlFile(control_file, "NODE", number);
  PathText data_path = path;
  LineSource mif;
  if (mif_mode) {
    if (!mif.Open(path.c_str())) {
      ReportTaskModal(owner, "File Error", "Can't open the node MIF (FILE%02d) [%s] !", number,
                      path.c_str());
      return 0;
    }
    if (BRN_SetMifInformation(mif, control_file) == 0) return 0;
    FRD_MakeMidPath(path.c_str(), data_path.text);
  }
  LineSource data;
  const int64_t before = *count;
  const CopyResult result = AppendFile<NodeStoreRecord>(
      owner, kTexts, number, data_path.c_str(), store_path, data, count,
      [&](RecordWriter& store, CopyProgress* progress) {
        const auto read = [&](Lines& lines, NodeStoreRecord* record) {
          return BRN_ZAT_ReadNodeRecord(lines, record, code_length) != 0 ? ReadResult::kRecord
                                                                         : ReadResult::kEnd;
        };
        if (!mif_mode) return CopyRecords<NodeStoreRecord>(data, store, progress, read);
        // Every node of a MIF carries a point.
        MifPoints points(mif, MifPointTest::kFirstLetters);
        return CopyAmendedRecords<NodeStoreRecord>(
            data, store, progress, read, [&](NodeStoreRecord* record) {
              if (points.Next(&record->X, &record->Y) == MifPoint::kEnd) return ReadResult::kUnfit;
              return record->X == 0 && record->Y == 0 ? ReadResult::kUnfit : ReadResult::kRecord;
            });
      });
  if (result == CopyResult::kStopped && IsCutShort(mif.end())) {
    ReportUnread(owner, kTexts.read_title, path.c_str(), mif.end());
  } else if (result == CopyResult::kStopped) {
    ReportTaskModal(owner, "Data Error in BRN_ZAT_ReadNodeRecord",
                    kCp932<u8"道路点オブジェクトがありません！\r\n%s (rec=%d)">, data_path.c_str(),
                    static_cast<int>(*count - before + 1));
  }
  return result == CopyResult::kDone ? 1 : 0;
}

}  // namespace

int BRN_ZAT_SetNodeStore(WindowHandle owner, const char* control_file) {
  if (BRN_BeginStep("Setting Node Storage...") == 0) return 0;
  const int files = ControlInt(control_file, "NODE", "FILENUM", 0);
  const bool mif_mode = ControlInt(control_file, "NODE", "MIF", 0) != 0;
  const int code_length = BRN_GetCodeLength(control_file);
  if (!IsValidCodeLength(code_length)) return 0;
  const PathText store_path = OutputPath(control_file, kNodeStoreFile);
  int result = files >= 1 ? 1 : 0;
  if (files >= 1) platform::RemoveFile(store_path.c_str());
  int64_t count = 0;
  for (int i = 1; i <= files && result != 0; ++i) {
    result =
        CopyNodeFile(owner, control_file, i, mif_mode, store_path.c_str(), code_length, &count);
  }
  LogBuild("Setting Node Storage end %s : set counter = %d", ResultText(result),
           ShownAs<int>(count));
  return result;
}

int BRN_ZAT_SetNodeXYData(WindowHandle owner, const char* control_file) {
  if (BRN_BeginStep("Setting Node XY...") == 0) return 0;
  if (ControlInt(control_file, "NODE", "MIF", 0) != 0) return 1;
  if (ControlInt(control_file, "NODEXY", "FILENUM", 0) < 1) return 1;
  const int code_length = BRN_GetCodeLength(control_file);
  if (!IsValidCodeLength(code_length)) return 0;

  constexpr char kMemoryTitle[] = "Memory Error in BRN_ZAT_SetNodeXYData";
  constexpr char kMemoryError[] = "Can't allocate the memory for the node store and the index !";
  const PathText store_path = OutputPath(control_file, kNodeStoreFile);
  int result = 1;
  int64_t count = 0;
  StoreTable<NodeStoreRecord> nodes;
  const StoreTableResult loaded = nodes.Load(store_path.c_str());
  if (loaded == StoreTableResult::kNoMemory) {
    ReportError(owner, kMemoryTitle, kMemoryError);
    result = 0;
  } else if (loaded == StoreTableResult::kNotRead) {
    ReportError(owner, "File Error in BRN_ZAT_SetNodeXYData",
                "Can't read the node store and the index !");
    result = 0;
  } else {
    result = nodes.BuildIndex([](const NodeStoreRecord& node) { return node.NodeCode; });
  }
  if (result != 0) {
    // Only the first file counts, whatever FILENUM says.
    const PathText path = ControlFile(control_file, "NODEXY", 1);
    LineSource file;
    if (!file.Open(path.c_str())) {
      ReportTaskModal(owner, "File Error in BRN_ZAT_SetNodeXYData",
                      "Can't open the Node XY data (FILE%02d) [%s] !", 1, path.c_str());
      result = 0;
    } else {
      RecordStream rows = StreamRecords<NodeXYRecord>(file, [&](Lines& lines, NodeXYRecord* row) {
        if (BRN_ZAT_ReadNodeXY(lines, row, code_length) == 0) return ReadResult::kEnd;
        return row->Code.IsEmpty() ? ReadResult::kUnwanted : ReadResult::kRecord;
      });
      RecordRun<NodeXYRecord> run;
      for (int64_t read = 0; result != 0 && rows.Next(&run); read += run.read) {
        if (CancelledWithin(read, read + run.read)) result = 0;
        for (int64_t i = 0; i < run.count; ++i) {
          const NodeXYRecord& row = run.records[i];
          NodeStoreRecord* node = nodes.Find(row.Code);
          if (node == nullptr) continue;
          node->X = row.X;
          node->Y = row.Y;
          ++count;
        }
      }
      const SourceEnd end = file.TakeEnd();
      if (end == SourceEnd::kNoMemory) {
        ReportError(owner, kMemoryTitle, kMemoryError);
        result = 0;
      } else if (end == SourceEnd::kNotRead) {
        ReportUnread(owner, "File Error in BRN_ZAT_SetNodeXYData", path.c_str(), end);
        result = 0;
      }
    }
  }
  if (result != 0 && !nodes.Save(store_path.c_str())) {
    ReportTaskModal(owner, "File Error in BRN_ZAT_SetNodeXYData", "Can't write the node store !");
    result = 0;
  }
  LogBuild("Setting Node XY end %s : set count = %d", ResultText(result), ShownAs<int>(count));
  return result;
}

}  // namespace zatlib
