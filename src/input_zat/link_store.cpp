#include "input_zat/link_store.h"

#include "frd/cancellable.h"
#include "frd/control.h"
#include "frd/log.h"
#include "frd/record_stream.h"
#include "input_zat/record_readers.h"
#include "input_zat/store_table.h"
#include "network/workstore/record_copy.h"
#include "network/workstore/work_stores.h"

namespace zatlib {
namespace {

const AppendTexts kTexts = {"Can't open the link data (FILE%02d) [%s] !",
                            "Can't open the LinkStorage (%s) at %02d !",
                            "Can't write the LinkStorage (%s) at %02d, %d !",
                            "Reading Link Records (%d)...", "File Error in BRN_ZAT_SetLinkStore"};

// A speed row put onto its link. False when its nodes are those of another link.
bool ApplySpeeds(const LinkSpeedRecord& row, LinkStoreRecord* link) {
  if (row.NodeA.IsEmpty() || row.NodeB.IsEmpty() ||
      (row.NodeA == link->NodeA && row.NodeB == link->NodeB)) {
    link->SpeedA = row.SpeedA;
  } else if (row.NodeA == link->NodeB && row.NodeB == link->NodeA) {
    link->SpeedA = row.SpeedB;
  } else {
    return false;
  }
  // Speed B is taken as it stands in both senses: in a reversed row both speeds become the row's
  // speed B. Maps in use were built so.
  link->SpeedB = row.SpeedB;
  link->SpeedFileValue = row.Value;
  return true;
}

}  // namespace

int BRN_ZAT_SetLinkStore(WindowHandle owner, const char* control_file) {
  if (BRN_BeginStep("Setting Link Storage...") == 0) return 0;
  const int files = ControlInt(control_file, "LINK", "FILENUM", 0);
  const bool mif_mode = ControlInt(control_file, "LINK", "MIF", 0) != 0;
  const DefaultSpeeds defaults = ReadDefaultSpeeds(control_file);
  const int code_length = BRN_GetCodeLength(control_file);
  if (!IsValidCodeLength(code_length)) return 0;
  const PathText store_path = OutputPath(control_file, kLinkStoreFile);
  int result = files >= 1 ? 1 : 0;
  if (files >= 1) platform::RemoveFile(store_path.c_str());
  int64_t count = 0;
  for (int i = 1; i <= files && result != 0; ++i) {
    PathText path = ControlFile(control_file, "LINK", i);
    if (mif_mode) FRD_MakeMidPath(path.c_str(), path.text);
    LineSource data;
    const CopyResult copied = AppendFile<LinkStoreRecord>(
        owner, kTexts, i, path.c_str(), store_path.c_str(), data, &count,
        [&](RecordWriter& store, CopyProgress* progress) {
          return CopyRecords<LinkStoreRecord>(
              data, store, progress, [&](Lines& lines, LinkStoreRecord* record) {
                return BRN_ZAT_ReadLinkRecord(lines, record, code_length, defaults) != 0
                           ? ReadResult::kRecord
                           : ReadResult::kEnd;
              });
        });
    if (copied != CopyResult::kDone) result = 0;
  }
  LogBuild("Setting Link Storage end %s : set count = %d", ResultText(result), ShownAs<int>(count));
  return result;
}

int BRN_ZAT_SetLinkSpeedData(WindowHandle owner, const char* control_file) {
  if (BRN_BeginStep("Setting Link Speed...") == 0) return 0;
  const DefaultSpeeds defaults = ReadDefaultSpeeds(control_file);
  const int code_length = BRN_GetCodeLength(control_file);
  if (!IsValidCodeLength(code_length)) {
    ReportTaskModal(owner, "Logic Error in BRN_ZAT_SetLinkSpeedData",
                    "The CodeLength = %d is invalid !", code_length);
    return 0;
  }
  const int files = ControlInt(control_file, "LINKSPEED", "FILENUM", 0);
  if (files < 1) return 1;

  constexpr char kFileTitle[] = "File Error in BRN_ZAT_SetLinkSpeedData";
  constexpr char kMemoryTitle[] = "Memory Error in BRN_ZAT_SetLinkSpeedData";
  constexpr char kMemoryError[] = "Can't allocate the memory for the LinkStore !";
  const PathText store_path = OutputPath(control_file, kLinkStoreFile);
  int result = 1;
  int64_t count = 0;
  StoreTable<LinkStoreRecord> links;
  const StoreTableResult loaded = links.Load(store_path.c_str());
  if (loaded == StoreTableResult::kNoMemory) {
    ReportTaskModal(owner, kMemoryTitle, kMemoryError);
    result = 0;
  } else if (loaded == StoreTableResult::kNotRead) {
    ReportTaskModal(owner, kFileTitle, "Can't open / read the link storage %s !",
                    store_path.c_str());
    result = 0;
  } else {
    result = links.BuildIndex([](const LinkStoreRecord& link) { return link.LinkCode; });
  }
  for (int i = 1; i <= files && result != 0; ++i) {
    const PathText path = ControlFile(control_file, "LINKSPEED", i);
    LineSource file;
    if (!file.Open(path.c_str())) {
      ReportTaskModal(owner, kFileTitle, "Can't open LinkSpeed(%s) !", path.c_str());
      result = 0;
      break;
    }
    RecordStream rows =
        StreamRecords<LinkSpeedRecord>(file, [&](Lines& lines, LinkSpeedRecord* row) {
          if (BRN_ZAT_ReadLinkSpeed(lines, row, code_length, defaults) == 0)
            return ReadResult::kEnd;
          return row->LinkCode.IsEmpty() ? ReadResult::kUnwanted : ReadResult::kRecord;
        });
    RecordRun<LinkSpeedRecord> run;
    for (int64_t read = 0; result != 0 && rows.Next(&run); read += run.read) {
      if (CancelledWithin(read, read + run.read)) result = 0;
      for (int64_t n = 0; n < run.count; ++n) {
        LinkStoreRecord* link = links.Find(run.records[n].LinkCode);
        if (link != nullptr && ApplySpeeds(run.records[n], link)) ++count;
      }
    }
    const SourceEnd end = file.TakeEnd();
    if (end == SourceEnd::kNoMemory) {
      ReportTaskModal(owner, kMemoryTitle, kMemoryError);
      result = 0;
    } else if (end == SourceEnd::kNotRead) {
      ReportUnread(owner, kFileTitle, path.c_str(), end);
      result = 0;
    }
  }
  if (result != 0 && !links.Save(store_path.c_str())) {
    ReportTaskModal(owner, kFileTitle, "Can't write the link storage %s !", store_path.c_str());
    result = 0;
  }
  LogBuild("Setting Link Speed end %s : set counter = %d", ResultText(result), ShownAs<int>(count));
  return result;
}

}  // namespace zatlib
