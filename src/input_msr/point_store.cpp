#include "input_msr/point_store.h"

#include "frd/control.h"
#include "frd/cp932.h"
#include "frd/mif_text.h"
#include "input_msr/record_readers.h"
#include "input_zat/road_definition.h"
#include "network/workstore/name_copy.h"
#include "network/workstore/record_copy.h"
#include "platform/file.h"

namespace zatlib {
namespace {

// "DROTEM" is how the messages have always spelt it.
constexpr char kMidError[] = "Can't open the DROTEM.MID(FILE%02d) [%s] !";

const AppendTexts kTexts = {kMidError, "Can't open the NodeStorage (%s) at %02d !",
                            "Can't write the NodeStorage (%s) at %02d, %d !",
                            "Reading Droten Record (%d)...", "File Error in BRN_MSR_SetNodeStore"};

// One pair of road point files into the store. Returns 1 or 0 (reported).
int CopyPointFile(WindowHandle owner, const char* control_file, int number, const char* store_path,
                  int code_length) {
  const PathText path = ControlFile(control_file, "DROTEN", number);
  LineSource mif;
  if (!mif.Open(path.c_str())) {
    ReportTaskModal(owner, "File Error", "Can't open the DROTEM.MIF(FILE%02d) [%s] !", number,
                    path.c_str());
    return 0;
  }
  PathText mid_path;
  FRD_MakeMidPath(path.c_str(), mid_path.text);
  LineSource mid;
  int64_t count = 0;
  // The header is read when all three files are open: a pair without its MID leaves [INFORMATION]
  // alone, and one without a data line leaves an empty store.
  bool in_header = true;
  const CopyResult result = AppendFile<NodeStoreRecord>(
      owner, kTexts, number, mid_path.c_str(), store_path, mid, &count,
      [&](RecordWriter& store, CopyProgress* progress) {
        if (BRN_SetMifInformation(mif, control_file) == 0) return CopyResult::kStopped;
        in_header = false;
        MifPoints points(mif, MifPointTest::kFirstWord);
        return CopyAmendedRecords<NodeStoreRecord>(
            mid, store, progress,
            [&](Lines& lines, NodeStoreRecord* record) {
              return BRN_MSR_ReadDrotenRecord(lines, record, code_length) != 0 ? ReadResult::kRecord
                                                                               : ReadResult::kEnd;
            },
            [&](NodeStoreRecord* record) {
              // The end of the MIF ends the file as the end of the MID does.
              if (points.Next(&record->X, &record->Y) == MifPoint::kEnd) {
                return IsCutShort(mif.end()) ? ReadResult::kUnfit : ReadResult::kEnd;
              }
              return record->X == 0 && record->Y == 0 ? ReadResult::kUnfit : ReadResult::kRecord;
            });
      });
  if (result == CopyResult::kStopped && in_header) return 0;
  if (result == CopyResult::kStopped && IsCutShort(mif.end())) {
    ReportUnread(owner, kTexts.read_title, path.c_str(), mif.end());
  } else if (result == CopyResult::kStopped) {
    ReportTaskModal(owner, "Data Error in BRN_MSR_ReadDrotenRecord",
                    kCp932<u8"道路点オブジェクトがありません！\r\n%s (rec=%d)">, mid_path.c_str(),
                    static_cast<int>(count + 1));
  }
  return result == CopyResult::kDone ? 1 : 0;
}

}  // namespace

int BRN_MSR_SetNodeStore(WindowHandle owner, const char* control_file) {
  const int files = ControlInt(control_file, "DROTEN", "FILENUM", 0);
  const int code_length = BRN_GetCodeLength(control_file);
  const PathText store_path = OutputPath(control_file, kNodeStoreFile);
  platform::RemoveFile(store_path.c_str());
  for (int i = 1; i <= files; ++i) {
    if (CopyPointFile(owner, control_file, i, store_path.c_str(), code_length) == 0) return 0;
  }
  return 1;
}

int BRN_MSR_SetNodeNameStore(WindowHandle owner, const char* control_file) {
  static const NameStoreTexts kNameTexts = {kNodeNameStoreFile,
                                            "Can't open the NodeNameStorage %s !",
                                            "Can't write the NodeNameStore (%s) at file=%02d !",
                                            "File Error in BRN_MSR_SetNodeNameStore"};
  static const NameSource kSource = {"DROTEN",           true,      BRN_MSR_ReadNodeName,
                                     msr::Droten::kName, kMidError, "File Error"};
  if (BRN_SetStatus("Setting Node Name Storage...") == 0) return 0;
  RecordWriter store;
  if (!OpenNameStore(owner, control_file, kNameTexts, &store)) return 0;
  int64_t count = 0;
  const int result = CopyNames(owner, control_file, kNameTexts, kSource, store, &count);
  store.Close();
  return result;
}

}  // namespace zatlib
