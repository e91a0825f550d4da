// A value that takes the place of what an INI file says, for programs that let their user name an
// output folder beside the control file.
#pragma once

#include <string>

namespace zatlib::platform {

// From now on every read of this key as a text gives `value`, whatever the file says; sections and
// keys compare without case. Null as the section: no value is replaced any more. There is one such
// key.
void OverrideProfileValue(const char* section, const char* key, const char* value);

// The value that replaces this key's; null for none.
const std::string* OverriddenValue(const char* section, const char* key);

}  // namespace zatlib::platform
