#include "interface/driver/build_driver.h"

#include <cstring>
#include <string>

#include "frd/log.h"
#include "frd/parallel.h"
#include "frd/step.h"
#include "input_msr/path_one.h"
#include "input_zat/path_one.h"
#include "network/build_network.h"
#include "network/finishing.h"
#include "network/workstore/work_stores.h"
#include "platform/file.h"
#include "platform/profile.h"
#include "rtweight/right_turn_weight.h"
#include "toll/interchange_flags.h"
#include "traffic/one_way_links.h"
#include "traffic/traffic_rules.h"

namespace zatlib {
namespace {

constexpr uint32_t kFormatSize = 64;  // bytes of the FORMAT value

// The interchange flags; neither step's result is the build's.
void SetInterchangeFlags(const char* folder) {
  if (TR_CheckFareData(folder) != 0) TR_SetInterchangeFlags(folder);
}

// [SYSTEM] THREADS.
void TakeThreadCount(const char* control_file) {
  SetThreadCount(ControlInt(control_file, "SYSTEM", "THREADS", 0));
}

void DeleteWorkStores(const char* folder) {
  for (const char* name : {kNodeStoreFile, kLinkStoreFile, kNodeNameStoreFile, kLinkNameStoreFile,
                           kRuleStoreFile, kOneWayStoreFile}) {
    platform::RemoveFile(PathIn(folder, name).c_str());
  }
}

int AddOneWayLinks(WindowHandle owner, const char* control_file) {
  if (ControlInt(control_file, "TUKOUJ", "NOTADDONEWAY", 0) != 0) return 1;
  char folder[kPathSize];
  BRN_GetCalcMapDir(control_file, folder);
  return BRN_TRF_AddOneWayLinks(owner, folder);
}

constexpr Stage<WindowHandle, const char*> kPathTwo[] = {
    {0.3f, BRN_BuildNetwork},
    {0.8f, BRN_FinishNodeAttribute},
    {0.825f, BRN_FinishNodeName},
    {0.85f, BRN_FinishLinkName},
    {0.9f, BRN_TRF_AddTrafficRules},
    {kSamePoint, AddOneWayLinks},
    {kSamePoint, MM_CreateRightTurnWeight, "Creating Right Turn Weight..."},
    {0.95f, nullptr},
};

}  // namespace

int64_t BRN_GetFormat(const char* control_file) {
  char text[kFormatSize];
  platform::ReadProfileString("SYSTEM", "FORMAT", "ZAT", text, sizeof text, control_file);
  for (char* p = text; *p != 0; ++p) {
    if (*p >= 'a' && *p <= 'z') *p = static_cast<char>(*p - 'a' + 'A');
  }
  return std::strcmp(text, "MSR") == 0 ? kFormatMsr : kFormatZat;
}

int BRN_PathOneZat(WindowHandle owner, int64_t, const char* control_file) {
  TakeThreadCount(control_file);
  return BRN_ZAT_PathOne(owner, control_file);
}

int BRN_PathOneMsr(WindowHandle owner, int64_t, const char* control_file) {
  TakeThreadCount(control_file);
  return BRN_MSR_PathOne(owner, control_file);
}

int BRN_BuildRoadNetworks(WindowHandle owner, int64_t format, const char* control_file) {
  TakeThreadCount(control_file);
  FRD_EraseOldLogs(kPerUser, kBuildTag);
  LogBuild("Building Road Networks Start. ");
  int result = Checkpoint(0.0f);
  char folder[kPathSize];
  BRN_GetCalcMapDir(control_file, folder);
  if (result != 0) {
    result = format == kFormatMsr ? BRN_MSR_PathOne(owner, control_file)
                                  : BRN_ZAT_PathOne(owner, control_file);
  }
  if (Checkpoint(0.3f) == 0) result = 0;
  if (result != 0) result = BRN_PathTwo(owner, format, control_file);
  if (result != 0) {
    if (BRN_SetStatus("Setting IC Flags...") == 0 || Checkpoint(0.95f) == 0) {
      result = 0;
    } else {
      SetInterchangeFlags(folder);
    }
  }
  if (Checkpoint(1.0f) == 0) result = 0;
  if (result == 0) {
    LogBuild("End Error.");
    return 0;
  }
  if (ControlInt(control_file, "SYSTEM", "DEBUG", 0) == 0) DeleteWorkStores(folder);
  LogBuild("End OK.");
  return result;
}

int BRN_PathTwo(WindowHandle owner, int64_t, const char* control_file) {
  TakeThreadCount(control_file);
  LogBuild("Path Two Start. ");
  return RunStages(kPathTwo, 1, owner, control_file);
}

}  // namespace zatlib
