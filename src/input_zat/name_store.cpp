#include "input_zat/name_store.h"

#include "frd/control.h"
#include "frd/log.h"
#include "input_zat/record_copy.h"
#include "input_zat/record_readers.h"
#include "network/workstore/work_stores.h"

namespace zatlib {
namespace {

using NameReader = int (*)(LineReader& file, NameStoreRecord* record, int code_length);

// One list of name sources.
struct NameSource {
  const char* section;
  bool derive_mid;  // the names stand in the ".mid" beside the file named
  NameReader read;
  const char* open_error;  // with %02d (file number) and %s (path)
};

// The texts of one name step. The write errors put store and file number into different texts.
struct NameStep {
  const char* file_title;
  const char* write_error;  // with %s (store) and %02d (file number)
};

// Appends the names of one source to the store; `*count` receives how many. Returns 1 or 0.
int CopyNames(WindowHandle owner, const char* control_file, const NameStep& step,
              const NameSource& source, const char* store_path, RecordWriter& store,
              int64_t* count) {
  const int code_length = BRN_GetCodeLength(control_file);
  const int files = ControlInt(control_file, source.section, "FILENUM", 0);
  const int64_t before = store.count();
  int result = 1;
  for (int i = 1; i <= files && result != 0; ++i) {
    PathText path = ControlFile(control_file, source.section, i);
    if (source.derive_mid) FRD_MakeMidPath(path.c_str(), path.text);
    LineReader data;
    if (!data.Open(path.c_str())) {
      ReportTaskModal(owner, step.file_title, source.open_error, i, path.c_str());
      result = 0;
      break;
    }
    CopyProgress progress;
    const CopyResult copied =
        CopyRecords<NameStoreRecord>(data, store, &progress, [&](NameStoreRecord* record) {
          if (source.read(data, record, code_length) == 0) return ReadResult::kEnd;
          return record->Name[0] != 0 ? ReadResult::kRecord : ReadResult::kUnwanted;
        });
    if (copied == CopyResult::kReadFailed) {
      ReportTaskModal(owner, step.file_title, "Can't read the file (%s) !", path.c_str());
    } else if (copied == CopyResult::kWriteFailed) {
      ReportTaskModal(owner, step.file_title, step.write_error, store_path, i);
    }
    if (copied != CopyResult::kDone) result = 0;
  }
  *count = store.count() - before;
  return result;
}

}  // namespace

int BRN_ZAT_SetNodeNameStore(WindowHandle owner, const char* control_file) {
  if (BRN_BeginStep("Setting Node Name Storage...") == 0) return 0;
  const NameStep step = {"File Error in BRN_ZAT_SetNodeNameStore",
                         "Can't write the NodeNameStore (%s) at file=%02d !"};
  // Both sources report a file that cannot be opened with the same text.
  const char* open_error = "Can't open the node MID (FILE%02d) [%s] !";
  const NameSource from_nodes = {"NODE", true, BRN_ZAT_ReadNodeNameFromNode, open_error};
  const NameSource from_names = {"NODENAME", false, BRN_ZAT_ReadNodeName, open_error};

  const PathText store_path = OutputPath(control_file, kNodeNameStoreFile);
  RecordWriter store;
  if (!store.Open(store_path.c_str(), sizeof(NameStoreRecord), false)) {
    ReportTaskModal(owner, step.file_title, "Can't open the NodeNameStorage %s !",
                    store_path.c_str());
    return 0;
  }
  int64_t count = 0;
  int result = CopyNames(owner, control_file, step, from_nodes, store_path.c_str(), store, &count);
  LogBuild("Setting Node Name Storage from Node Data end %s : set count = %d", ResultText(result),
           static_cast<int>(count));
  if (result == 0) return 0;
  result = CopyNames(owner, control_file, step, from_names, store_path.c_str(), store, &count);
  LogBuild("Setting Node Name Storage from Node Name Data end %s : set count = %d",
           ResultText(result), static_cast<int>(count));
  return result;
}

int BRN_ZAT_SetLinkNameStore(WindowHandle owner, const char* control_file) {
  if (BRN_BeginStep("Setting Link Name Storage...") == 0) return 0;
  const NameStep step = {"File Error in BRN_ZAT_SetLinkNameStore",
                         "Can't save the link name storage (%s) at FILE%02d"};
  const bool mif_mode = ControlInt(control_file, "LINK", "MIF", 0) != 0;
  const NameSource from_links = {"LINK", mif_mode, BRN_ZAT_ReadLinkNameFromLink,
                                 "Can't open the link data (FILE%02d) [%s] !"};
  const NameSource from_names = {"LINKNAME", false, BRN_ZAT_ReadLinkName,
                                 "Can't open the LINKNAME FILE%02d=%s"};

  const PathText store_path = OutputPath(control_file, kLinkNameStoreFile);
  RecordWriter store;
  if (!store.Open(store_path.c_str(), sizeof(NameStoreRecord), false)) {
    ReportTaskModal(owner, step.file_title, "Can't open the Link Name Storage (%s)",
                    store_path.c_str());
    return 0;
  }
  // These two lines give the result as a number where the node names' say OK or ERROR.
  int64_t count = 0;
  int result = CopyNames(owner, control_file, step, from_links, store_path.c_str(), store, &count);
  LogBuild("Setting Link Name Storage from Link Data end %d : set count = %d", result,
           static_cast<int>(count));
  if (result == 0) return 0;
  result = CopyNames(owner, control_file, step, from_names, store_path.c_str(), store, &count);
  LogBuild("Setting Link Name Storage from Link Name Data end %d : set count = %d", result,
           static_cast<int>(count));
  return result;
}

}  // namespace zatlib
