// INI files ("profiles"): case-insensitive names, blanks trimmed, the first match wins.
// A read that the system (or an armed fault) refuses gives the default.
#pragma once

#include <cstdint>

namespace zatlib::platform {

// The integer value of a key; `default_value` when file, section or key is missing or the value is
// empty. Parsing stops at the first character that is no digit. A null file is the system's own
// profile.
int ReadProfileInt(const char* section, const char* key, int default_value, const char* file);

// Copies a key's value, or the default, cut to size - 1 bytes and terminated, into `out`. One pair
// of quotes around the value is dropped. Returns the length copied.
uint32_t ReadProfileString(const char* section, const char* key, const char* default_value,
                           char* out, uint32_t size, const char* file);

// Sets a key, keeping the rest of the file as it is; new keys go to the end of their section, new
// sections to the end of the file. Creates the file when it is missing. True on success; a refused
// write leaves the file as it is.
bool SaveProfileString(const char* section, const char* key, const char* value, const char* file);

// The country code that the system's settings hold ([intl] iCountry, default 1; Japan is 81).
int CountryCode();

}  // namespace zatlib::platform
