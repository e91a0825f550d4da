#include "input_zat/name_store.h"

#include "frd/control.h"
#include "frd/log.h"
#include "input_zat/record_readers.h"
#include "network/workstore/name_copy.h"

namespace zatlib {

int BRN_ZAT_SetNodeNameStore(WindowHandle owner, const char* control_file) {
  static const NameStoreTexts kTexts = {kNodeNameStoreFile, "Can't open the NodeNameStorage %s !",
                                        "Can't write the NodeNameStore (%s) at file=%02d !",
                                        "File Error in BRN_ZAT_SetNodeNameStore"};
  // Both sources report a file that cannot be opened with the same text.
  static const NameSource kFromNodes = {"NODE",
                                        true,
                                        BRN_ZAT_ReadNodeNameFromNode,
                                        zat::Node::kName,
                                        "Can't open the node MID (FILE%02d) [%s] !",
                                        kTexts.title};
  static const NameSource kFromNames = {"NODENAME",
                                        false,
                                        BRN_ZAT_ReadNodeName,
                                        zat::NodeName::kName,
                                        "Can't open the node MID (FILE%02d) [%s] !",
                                        kTexts.title};
  if (BRN_BeginStep("Setting Node Name Storage...") == 0) return 0;
  RecordWriter store;
  if (!OpenNameStore(owner, control_file, kTexts, &store)) return 0;
  int64_t count = 0;
  int result = CopyNames(owner, control_file, kTexts, kFromNodes, store, &count);
  LogBuild("Setting Node Name Storage from Node Data end %s : set count = %d", ResultText(result),
           ShownAs<int>(count));
  if (result == 0) return 0;
  result = CopyNames(owner, control_file, kTexts, kFromNames, store, &count);
  LogBuild("Setting Node Name Storage from Node Name Data end %s : set count = %d",
           ResultText(result), ShownAs<int>(count));
  store.Close();
  return result;
}

int BRN_ZAT_SetLinkNameStore(WindowHandle owner, const char* control_file) {
  static const NameStoreTexts kTexts = {kLinkNameStoreFile, "Can't open the Link Name Storage (%s)",
                                        "Can't save the link name storage (%s) at FILE%02d",
                                        "File Error in BRN_ZAT_SetLinkNameStore"};
  static const NameSource kFromNames = {"LINKNAME",
                                        false,
                                        BRN_ZAT_ReadLinkName,
                                        zat::LinkName::kName,
                                        "Can't open the LINKNAME FILE%02d=%s",
                                        kTexts.title};
  if (BRN_BeginStep("Setting Link Name Storage...") == 0) return 0;
  const bool mif_mode = ControlInt(control_file, "LINK", "MIF", 0) != 0;
  const NameSource from_links = {"LINK",
                                 mif_mode,
                                 BRN_ZAT_ReadLinkNameFromLink,
                                 zat::Link::kName,
                                 "Can't open the link data (FILE%02d) [%s] !",
                                 kTexts.title};
  RecordWriter store;
  if (!OpenNameStore(owner, control_file, kTexts, &store)) return 0;
  // These two lines give the result as a number where the node names' say OK or ERROR.
  int64_t count = 0;
  int result = CopyNames(owner, control_file, kTexts, from_links, store, &count);
  LogBuild("Setting Link Name Storage from Link Data end %d : set count = %d", result,
           ShownAs<int>(count));
  if (result == 0) return 0;
  result = CopyNames(owner, control_file, kTexts, kFromNames, store, &count);
  LogBuild("Setting Link Name Storage from Link Name Data end %d : set count = %d", result,
           ShownAs<int>(count));
  store.Close();
  return result;
}

}  // namespace zatlib
