#include "input_zat/name_store.h"

#include "frd/log.h"
#include "frd/step.h"
#include "input_zat/record_readers.h"
#include "network/workstore/name_copy.h"

namespace zatlib {

int BRN_ZAT_SetNodeNameStore(WindowHandle owner, const char* control_file) {
  static constexpr NameStoreTexts kTexts = {
      .file = kNodeNameStoreFile,
      .not_opened = "Can't open the NodeNameStorage %s !",
      .not_written = "Can't write the NodeNameStore (%s) at file=%02d !"};
  // Both sources report a file that cannot be opened with the same text.
  static constexpr MessageText<int, const char*> kNotOpened =
      "Can't open the node MID (FILE%02d) [%s] !";
  static constexpr NameSource kFromNodes = {.section = "NODE",
                                            .derive_mid = true,
                                            .read = BRN_ZAT_ReadNodeNameFromNode,
                                            .name_column = zat::Node::kName,
                                            .not_opened = kNotOpened};
  static constexpr NameSource kFromNames = {.section = "NODENAME",
                                            .read = BRN_ZAT_ReadNodeName,
                                            .name_column = zat::NodeName::kName,
                                            .not_opened = kNotOpened};
  const Step step(owner, control_file, "BRN_ZAT_SetNodeNameStore");
  if (!IsDone(step.Begin("Setting Node Name Storage..."))) return 0;
  NameStore store(step, kTexts);
  if (!IsDone(store.Open())) return 0;
  int64_t count = 0;
  int result = AsResult(store.Append(kFromNodes, &count));
  LogBuild("Setting Node Name Storage from Node Data end %s : set count = %d", ResultText(result),
           ShownAs<int>(count));
  if (result == 0) return 0;
  result = AsResult(store.Append(kFromNames, &count));
  LogBuild("Setting Node Name Storage from Node Name Data end %s : set count = %d",
           ResultText(result), ShownAs<int>(count));
  store.Close();
  return result;
}

int BRN_ZAT_SetLinkNameStore(WindowHandle owner, const char* control_file) {
  static constexpr NameStoreTexts kTexts = {
      .file = kLinkNameStoreFile,
      .not_opened = "Can't open the Link Name Storage (%s)",
      .not_written = "Can't save the link name storage (%s) at FILE%02d"};
  static constexpr NameSource kFromNames = {.section = "LINKNAME",
                                            .read = BRN_ZAT_ReadLinkName,
                                            .name_column = zat::LinkName::kName,
                                            .not_opened = "Can't open the LINKNAME FILE%02d=%s"};
  const Step step(owner, control_file, "BRN_ZAT_SetLinkNameStore");
  if (!IsDone(step.Begin("Setting Link Name Storage..."))) return 0;
  const NameSource from_links = {.section = "LINK",
                                 .derive_mid = ControlInt(control_file, "LINK", "MIF", 0) != 0,
                                 .read = BRN_ZAT_ReadLinkNameFromLink,
                                 .name_column = zat::Link::kName,
                                 .not_opened = "Can't open the link data (FILE%02d) [%s] !"};
  NameStore store(step, kTexts);
  if (!IsDone(store.Open())) return 0;
  // These two lines give the result as a number where the node names' say OK or ERROR.
  int64_t count = 0;
  int result = AsResult(store.Append(from_links, &count));
  LogBuild("Setting Link Name Storage from Link Data end %d : set count = %d", result,
           ShownAs<int>(count));
  if (result == 0) return 0;
  result = AsResult(store.Append(kFromNames, &count));
  LogBuild("Setting Link Name Storage from Link Name Data end %d : set count = %d", result,
           ShownAs<int>(count));
  store.Close();
  return result;
}

}  // namespace zatlib
