#include "platform/redirect.h"

#include <atomic>
#include <cstring>
#include <vector>

#include "platform/file.h"

namespace zatlib::platform {
namespace {

struct Redirect {
  std::atomic<bool> set{false};
  std::string key;
  std::string target;
  std::vector<std::string> names;
};
Redirect g_redirect;

bool IsSet() { return g_redirect.set.load(std::memory_order_acquire); }

char Folded(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool IsAnySeparator(char c) { return c == '/' || c == '\\'; }

}  // namespace

bool SameFileName(const char* a, const char* b) {
  if (NativeSeparator() == '/') return std::strcmp(a, b) == 0;
  for (; *a != 0 && *b != 0; ++a, ++b) {
    if (Folded(*a) != Folded(*b)) return false;
  }
  return *a == *b;
}

bool SetRedirect(const char* folder, const char* target, std::span<const char* const> names) {
  ClearRedirect();
  g_redirect.key = FolderKey(folder);
  if (g_redirect.key.empty()) return false;
  g_redirect.target = target;
  g_redirect.names.assign(names.begin(), names.end());
  g_redirect.set.store(true, std::memory_order_release);
  return true;
}

void ClearRedirect() { g_redirect.set.store(false, std::memory_order_release); }

Redirected::Redirected(const char* path) : path_(path) {
  if (!IsSet() || path == nullptr) return;
  // A separator's byte may be the second of a character only in front of other names than those of
  // the list, or in a folder that is not the one.
  const char* name = path;
  for (const char* p = path; *p != 0; ++p) {
    if (IsAnySeparator(*p)) name = p + 1;
  }
  if (name == path || !IsRedirectedName(name)) return;
  const std::string folder(path, static_cast<size_t>(name - path));
  if (RedirectTarget(folder.c_str()) == nullptr) return;
  elsewhere_ = g_redirect.target + NativeSeparator() + name;
  path_ = elsewhere_.c_str();
}

const char* RedirectTarget(const char* folder) {
  if (!IsSet() || FolderKey(folder) != g_redirect.key) return nullptr;
  return g_redirect.target.c_str();
}

bool IsRedirectedName(const char* name) {
  if (!IsSet()) return false;
  for (const std::string& listed : g_redirect.names) {
    if (SameFileName(name, listed.c_str())) return true;
  }
  return false;
}

}  // namespace zatlib::platform
