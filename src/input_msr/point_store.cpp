#include "input_msr/point_store.h"

#include "frd/step.h"
#include "input_msr/record_readers.h"
#include "input_zat/road_definition.h"
#include "network/workstore/name_copy.h"
#include "network/workstore/point_copy.h"
#include "network/workstore/record_copy.h"
#include "platform/file.h"

namespace zatlib {
namespace {

// "DROTEM" is how the messages have always spelt it.
constexpr MessageText<int, const char*> kMidNotOpened =
    "Can't open the DROTEM.MID(FILE%02d) [%s] !";

constexpr AppendTexts kTexts = {.data_not_opened = kMidNotOpened,
                                .store_not_opened = "Can't open the NodeStorage (%s) at %02d !",
                                .not_written = "Can't write the NodeStorage (%s) at %02d, %d !",
                                .status = "Reading Droten Record (%d)..."};

constexpr PointRules kPointRules = {.test = MifPointTest::kFirstWord,
                                    .may_end = true,
                                    .unfit_title = "Data Error in BRN_MSR_ReadDrotenRecord"};

// One pair of road point files into the store.
Outcome AppendPoints(const Step& step, int number, int code_length,
                     AppendedStore<NodeStoreRecord>& store) {
  const PathText path = ControlFile(step.control_file(), "DROTEN", number);
  LineSource mif;
  if (!mif.Open(path.c_str())) {
    return step.FailModalAs(kFileError, "Can't open the DROTEM.MIF(FILE%02d) [%s] !", number,
                            path.c_str());
  }
  PathText mid_path;
  FRD_MakeMidPath(path.c_str(), mid_path.text);
  NodePoints points(step, kPointRules, mif, mid_path.c_str());
  // The header is read when all three files are open: a pair without its MID leaves [INFORMATION]
  // alone, and one without a data line leaves an empty store.
  return store.AppendAmended(
      number, mid_path.c_str(),
      [code_length](Lines& lines, NodeStoreRecord* record) {
        return AsReadResult(BRN_MSR_ReadDrotenRecord(lines, record, code_length));
      },
      [&] {
        const int read = BRN_SetMifInformation(mif, step.control_file());
        return read != 0 ? Outcome::kDone : Outcome::kFailed;
      },
      points);
}

}  // namespace

int BRN_MSR_SetNodeStore(WindowHandle owner, const char* control_file) {
  const Step step(owner, control_file, "BRN_MSR_SetNodeStore");
  const int files = ControlInt(control_file, "DROTEN", "FILENUM", 0);
  const int code_length = BRN_GetCodeLength(control_file);
  AppendedStore<NodeStoreRecord> store(step, kTexts, kNodeStoreFile);
  platform::RemoveFile(store.path());
  for (int i = 1; i <= files; ++i) {
    if (!IsDone(AppendPoints(step, i, code_length, store))) return 0;
  }
  return 1;
}

int BRN_MSR_SetNodeNameStore(WindowHandle owner, const char* control_file) {
  static constexpr NameStoreTexts kNameTexts = {
      .file = kNodeNameStoreFile,
      .not_opened = "Can't open the NodeNameStorage %s !",
      .not_written = "Can't write the NodeNameStore (%s) at file=%02d !"};
  static constexpr NameSource kSource = {.section = "DROTEN",
                                         .derive_mid = true,
                                         .read = BRN_MSR_ReadNodeName,
                                         .name_column = msr::Droten::kName,
                                         .not_opened = kMidNotOpened,
                                         .title_names_step = false};
  const Step step(owner, control_file, "BRN_MSR_SetNodeNameStore");
  if (BRN_SetStatus("Setting Node Name Storage...") == 0) return 0;
  return AsResult(MakeNameStore(step, kNameTexts, kSource));
}

}  // namespace zatlib
