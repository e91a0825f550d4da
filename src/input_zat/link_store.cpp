#include "input_zat/link_store.h"

#include "frd/log.h"
#include "frd/step.h"
#include "input_zat/record_readers.h"
#include "input_zat/store_table.h"
#include "network/workstore/code_length.h"
#include "network/workstore/record_copy.h"
#include "network/workstore/work_stores.h"
#include "platform/file.h"

namespace zatlib {
namespace {

constexpr AppendTexts kTexts = {.data_not_opened = "Can't open the link data (FILE%02d) [%s] !",
                                .store_not_opened = "Can't open the LinkStorage (%s) at %02d !",
                                .not_written = "Can't write the LinkStorage (%s) at %02d, %d !",
                                .status = "Reading Link Records (%d)..."};

constexpr MessageText<> kTableMemory = "Can't allocate the memory for the LinkStore !";

using LinkTable = StoreTable<LinkStoreRecord>;

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

Outcome LoadLinks(const Step& step, LinkTable* links) {
  const PathText path = step.Path(kLinkStoreFile);
  const FileResult loaded = links->Load(path.c_str());
  if (loaded == FileResult::kNoMemory) return step.FailModal(kMemoryError, kTableMemory);
  if (loaded != FileResult::kDone) {
    return step.FailModal(kFileError, "Can't open / read the link storage %s !", path.c_str());
  }
  return links->BuildIndex();
}

// Puts the rows of one speed file onto the links; `*count` grows by those that fit.
Outcome SetSpeeds(const Step& step, int number, const SourceRules& rules, LinkTable& links,
                  int64_t* count) {
  const PathText path = ControlFile(step.control_file(), "LINKSPEED", number);
  LineSource file;
  if (!file.Open(path.c_str())) {
    return step.FailModal(kFileError, "Can't open LinkSpeed(%s) !", path.c_str());
  }
  const Outcome put = PutRows<LinkSpeedRecord>(
      file,
      [&rules](Lines& lines, LinkSpeedRecord* row) {
        if (BRN_ZAT_ReadLinkSpeed(lines, row, rules.code_length, rules.defaults) == 0) {
          return ReadResult::kEnd;
        }
        return row->LinkCode.IsEmpty() ? ReadResult::kUnwanted : ReadResult::kRecord;
      },
      [&links, count](const LinkSpeedRecord& row) {
        LinkStoreRecord* link = links.Find(row.LinkCode);
        if (link != nullptr && ApplySpeeds(row, link)) ++*count;
      });
  const SourceEnd end = file.TakeEnd();
  if (end == SourceEnd::kNoMemory) return step.FailModal(kMemoryError, kTableMemory);
  return end == SourceEnd::kNotRead ? FailUnread(step, path.c_str(), end) : put;
}

Outcome SaveLinks(const Step& step, const LinkTable& links) {
  const PathText path = step.Path(kLinkStoreFile);
  if (links.Save(path.c_str()) == FileResult::kDone) return Outcome::kDone;
  return step.FailModal(kFileError, "Can't write the link storage %s !", path.c_str());
}

}  // namespace

int BRN_ZAT_SetLinkStore(WindowHandle owner, const char* control_file) {
  const Step step(owner, control_file, "BRN_ZAT_SetLinkStore");
  if (!IsDone(step.Begin("Setting Link Storage..."))) return 0;
  const int files = ControlInt(control_file, "LINK", "FILENUM", 0);
  const bool mif_mode = ControlInt(control_file, "LINK", "MIF", 0) != 0;
  const DefaultSpeeds defaults = ReadDefaultSpeeds(control_file);
  const int code_length = BRN_GetCodeLength(control_file);
  if (!IsValidCodeLength(code_length)) return 0;
  AppendedStore<LinkStoreRecord> store(step, kTexts, kLinkStoreFile);
  if (files >= 1) platform::RemoveFile(store.path());
  const Outcome outcome =
      files < 1 ? Outcome::kFailed
                : store.Append({.section = "LINK", .count = files, .derive_mid = mif_mode},
                               [code_length, defaults](Lines& lines, LinkStoreRecord* record) {
                                 return AsReadResult(
                                     BRN_ZAT_ReadLinkRecord(lines, record, code_length, defaults));
                               });
  const int result = AsResult(outcome);
  LogBuild("Setting Link Storage end %s : set count = %d", ResultText(result),
           ShownAs<int>(store.count()));
  return result;
}

int BRN_ZAT_SetLinkSpeedData(WindowHandle owner, const char* control_file) {
  const Step step(owner, control_file, "BRN_ZAT_SetLinkSpeedData");
  if (!IsDone(step.Begin("Setting Link Speed..."))) return 0;
  SourceRules rules = {.code_length = 0, .defaults = ReadDefaultSpeeds(control_file)};
  if (!IsDone(TakeCodeLengthModal(step, &rules.code_length))) return 0;
  const int files = ControlInt(control_file, "LINKSPEED", "FILENUM", 0);
  if (files < 1) return 1;
  LinkTable links;
  int64_t count = 0;
  Outcome outcome = LoadLinks(step, &links);
  for (int i = 1; i <= files && IsDone(outcome); ++i) {
    outcome = SetSpeeds(step, i, rules, links, &count);
  }
  if (IsDone(outcome)) outcome = SaveLinks(step, links);
  const int result = AsResult(outcome);
  LogBuild("Setting Link Speed end %s : set counter = %d", ResultText(result), ShownAs<int>(count));
  return result;
}

}  // namespace zatlib
