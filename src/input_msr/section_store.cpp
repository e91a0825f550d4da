#include "input_msr/section_store.h"

#include "frd/step.h"
#include "input_msr/record_readers.h"
#include "network/workstore/name_copy.h"
#include "network/workstore/record_copy.h"
#include "platform/file.h"

namespace zatlib {
namespace {

constexpr AppendTexts kTexts = {.data_not_opened = "Can't open the DKUKAN.CSV(FILE%02d) [%s] !",
                                .store_not_opened = "Can't open the LinkStorage (%s) at %02d !",
                                .not_written = "Can't write the LinkStorage (%s) at %02d, %d !",
                                .status = "Reading Dkukan Records (%d)..."};

}  // namespace

int BRN_MSR_SetLinkStore(WindowHandle owner, const char* control_file) {
  const Step step(owner, control_file, "BRN_MSR_SetLinkStore");
  const int files = ControlInt(control_file, "DKUKAN", "FILENUM", 0);
  const int code_length = BRN_GetCodeLength(control_file);
  if (!IsValidCodeLength(code_length) || files < 1) return 0;
  const DefaultSpeeds defaults = ReadDefaultSpeeds(control_file);
  const bool from_mif = ControlInt(control_file, "DKUKAN", "MIFOUTPUT", 0) != 0;
  AppendedStore<LinkStoreRecord> store(step, kTexts, kLinkStoreFile);
  platform::RemoveFile(store.path());
  return AsResult(store.Append({.section = "DKUKAN", .count = files, .derive_mid = from_mif},
                               [code_length, defaults](Lines& lines, LinkStoreRecord* record) {
                                 return AsReadResult(BRN_MSR_ReadDkukanRecord(
                                     lines, record, code_length, defaults));
                               }));
}

int BRN_MSR_SetLinkNameStore(WindowHandle owner, const char* control_file) {
  static constexpr NameStoreTexts kNameTexts = {
      .file = kLinkNameStoreFile,
      .not_opened = "Can't open the Link Name Storage (%s)",
      .not_written = "Can't save the link name storage (%s) at FILE%02d"};
  static constexpr NameSource kSource = {.section = "KUKANZ",
                                         .read = BRN_MSR_ReadKukanzRecord,
                                         .name_column = msr::Kukanz::kName,
                                         .not_opened = "Can't open the Kukanz FILE%02d=%s"};
  const Step step(owner, control_file, "BRN_MSR_SetLinkNameStore");
  if (BRN_SetStatus("Setting Link Name Storage...") == 0) return 0;
  return AsResult(MakeNameStore(step, kNameTexts, kSource));
}

}  // namespace zatlib
