#include "platform/profile.h"

#include <windows.h>

namespace zatlib::platform {

int ReadProfileInt(const char* section, const char* key, int default_value, const char* file) {
  return static_cast<int>(::GetPrivateProfileIntA(section, key, default_value, file));
}

uint32_t ReadProfileString(const char* section, const char* key, const char* default_value,
                           char* out, uint32_t size, const char* file) {
  return ::GetPrivateProfileStringA(section, key, default_value, out, size, file);
}

bool SaveProfileString(const char* section, const char* key, const char* value, const char* file) {
  return ::WritePrivateProfileStringA(section, key, value, file) != 0;
}

int CountryCode() { return static_cast<int>(::GetProfileIntA("intl", "iCountry", 1)); }

}  // namespace zatlib::platform
