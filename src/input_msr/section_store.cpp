#include "input_msr/section_store.h"

#include "frd/control.h"
#include "input_msr/record_readers.h"
#include "network/workstore/name_copy.h"
#include "network/workstore/record_copy.h"
#include "platform/file.h"

namespace zatlib {
namespace {

const AppendTexts kTexts = {"Can't open the DKUKAN.CSV(FILE%02d) [%s] !",
                            "Can't open the LinkStorage (%s) at %02d !",
                            "Can't write the LinkStorage (%s) at %02d, %d !",
                            "Reading Dkukan Records (%d)...", "File Error in BRN_MSR_SetLinkStore"};

}  // namespace

int BRN_MSR_SetLinkStore(WindowHandle owner, const char* control_file) {
  const int files = ControlInt(control_file, "DKUKAN", "FILENUM", 0);
  const int code_length = BRN_GetCodeLength(control_file);
  if (!IsValidCodeLength(code_length) || files < 1) return 0;
  const DefaultSpeeds defaults = ReadDefaultSpeeds(control_file);
  const bool from_mif = ControlInt(control_file, "DKUKAN", "MIFOUTPUT", 0) != 0;
  const PathText store_path = OutputPath(control_file, kLinkStoreFile);
  platform::RemoveFile(store_path.c_str());
  int64_t count = 0;
  for (int i = 1; i <= files; ++i) {
    PathText path = ControlFile(control_file, "DKUKAN", i);
    if (from_mif) FRD_MakeMidPath(path.c_str(), path.text);
    LineSource data;
    const CopyResult copied = AppendFile<LinkStoreRecord>(
        owner, kTexts, i, path.c_str(), store_path.c_str(), data, &count,
        [&](RecordWriter& store, CopyProgress* progress) {
          return CopyRecords<LinkStoreRecord>(
              data, store, progress, [&](Lines& lines, LinkStoreRecord* record) {
                return BRN_MSR_ReadDkukanRecord(lines, record, code_length, defaults) != 0
                           ? ReadResult::kRecord
                           : ReadResult::kEnd;
              });
        });
    if (copied != CopyResult::kDone) return 0;
  }
  return 1;
}

int BRN_MSR_SetLinkNameStore(WindowHandle owner, const char* control_file) {
  static const NameStoreTexts kNameTexts = {kLinkNameStoreFile,
                                            "Can't open the Link Name Storage (%s)",
                                            "Can't save the link name storage (%s) at FILE%02d",
                                            "File Error in BRN_MSR_SetLinkNameStore"};
  static const NameSource kSource = {"KUKANZ",
                                     false,
                                     BRN_MSR_ReadKukanzRecord,
                                     msr::Kukanz::kName,
                                     "Can't open the Kukanz FILE%02d=%s",
                                     kNameTexts.title};
  if (BRN_SetStatus("Setting Link Name Storage...") == 0) return 0;
  RecordWriter store;
  if (!OpenNameStore(owner, control_file, kNameTexts, &store)) return 0;
  int64_t count = 0;
  const int result = CopyNames(owner, control_file, kNameTexts, kSource, store, &count);
  store.Close();
  return result;
}

}  // namespace zatlib
