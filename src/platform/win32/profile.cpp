#include "platform/profile.h"

#include <windows.h>

#include "platform/fault.h"
#include "platform/profile_override.h"
#include "platform/redirect.h"
#include "platform/refusals.h"

namespace zatlib::platform {

int ReadProfileInt(const char* section, const char* key, int default_value, const char* file) {
  if (ShouldFail(Operation::kReadValue)) return default_value;
  return static_cast<int>(
      ::GetPrivateProfileIntA(section, key, default_value, Redirected(file).c_str()));
}

uint32_t ReadProfileString(const char* section, const char* key, const char* default_value,
                           char* out, uint32_t size, const char* file) {
  if (ShouldFail(Operation::kReadValue) && size > 0) {
    ::lstrcpynA(out, default_value, static_cast<int>(size));
    return static_cast<uint32_t>(::lstrlenA(out));
  }
  if (const std::string* const other = OverriddenValue(section, key);
      other != nullptr && size > 0) {
    ::lstrcpynA(out, other->c_str(), static_cast<int>(size));
    return static_cast<uint32_t>(::lstrlenA(out));
  }
  return ::GetPrivateProfileStringA(section, key, default_value, out, size,
                                    Redirected(file).c_str());
}

bool SaveProfileString(const char* section, const char* key, const char* value, const char* file) {
  if (ShouldFail(Operation::kWriteValue)) return false;
  if (::WritePrivateProfileStringA(section, key, value, Redirected(file).c_str()) != 0) return true;
  NoteRefusedOpen(file);
  return false;
}

int CountryCode() { return static_cast<int>(::GetProfileIntA("intl", "iCountry", 1)); }

}  // namespace zatlib::platform
