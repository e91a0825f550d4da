#include "platform/profile_override.h"

#include <string_view>

namespace zatlib::platform {
namespace {

struct Override {
  std::string section;  // empty: nothing is replaced
  std::string key;
  std::string value;
};
Override g_override;

bool SameName(std::string_view a, std::string_view b) {
  const auto upper = [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; };
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (upper(a[i]) != upper(b[i])) return false;
  }
  return true;
}

}  // namespace

void OverrideProfileValue(const char* section, const char* key, const char* value) {
  g_override = {};
  if (section != nullptr) g_override = {section, key, value};
}

const std::string* OverriddenValue(const char* section, const char* key) {
  if (g_override.section.empty() || section == nullptr || key == nullptr) return nullptr;
  if (!SameName(section, g_override.section) || !SameName(key, g_override.key)) return nullptr;
  return &g_override.value;
}

}  // namespace zatlib::platform
