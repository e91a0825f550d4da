#include "frd/text.h"
#include "interface/driver/build_driver.h"
#include "interface/entry/run_modes.h"
#include "interface/entry/version.h"
#include "platform/process.h"
#include "zatlib.h"

using zatlib::OwnerRule;
using zatlib::RunEntry;
using zatlib::SilentRule;

namespace {

constexpr size_t kBannerSize = 34;  // bytes that a caller's buffer holds
// Hosts compare with this number, so that a new one is a break for them.
static_assert(zatlib::kVersionNumber == 4085);
static_assert(sizeof zatlib::kBanner <= kBannerSize);

}  // namespace

extern "C" {

#if defined(_WIN32)
int DllMain(void* module, unsigned long reason, void* reserved);
int DllMain(void* module, unsigned long reason, void*) {
  constexpr unsigned long kProcessAttach = 1;
  if (reason == kProcessAttach) zatlib::platform::SetModuleHandle(module);
  return 1;
}
#endif

int ZAT_NWB_GetLibVersion(char* banner) {
  if (banner != nullptr) zatlib::FRD_CopyText(banner, kBannerSize, zatlib::kBanner);
  return zatlib::kVersionNumber;
}

void* ZAT_NWB_GetLibInstance(void) { return zatlib::platform::ModuleHandle(); }

int ZAT_NWB_BuildRoadNetworks400(void* owner, const char* control_file) {
  return RunEntry(owner, OwnerRule::kNullOrDead, SilentRule::kRead, zatlib::BRN_BuildRoadNetworks,
                  zatlib::kFormatMsr, control_file);
}

int ZAT_NWB_BuildRoadNetworksEx(void* owner, const char* control_file) {
  return RunEntry(owner, OwnerRule::kNullOrDead, SilentRule::kRead, zatlib::BRN_BuildRoadNetworks,
                  zatlib::BRN_GetFormat(control_file), control_file);
}

int ZAT_NWB_BRN400_PathTwo(void* owner, char* control_file) {
  return RunEntry(owner, OwnerRule::kNull, SilentRule::kRead, zatlib::BRN_PathTwo,
                  zatlib::kFormatZat, control_file);
}

int ZAT_NWB_BRN400_PathOneZAT(void* owner, const char* control_file) {
  return RunEntry(owner, OwnerRule::kNull, SilentRule::kNever, zatlib::BRN_PathOneZat,
                  zatlib::kFormatZat, control_file);
}

int ZAT_NWB_BRN400_PathOneMSR(void* owner, const char* control_file) {
  return RunEntry(owner, OwnerRule::kNull, SilentRule::kNever, zatlib::BRN_PathOneMsr,
                  zatlib::kFormatZat, control_file);
}

}  // extern "C"
