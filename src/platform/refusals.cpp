#include "platform/refusals.h"

#include <atomic>
#include <mutex>

namespace zatlib::platform {
namespace {

constexpr size_t kKept = 100;

std::atomic<bool> g_keep{false};
std::mutex g_mutex;
std::vector<RefusedFile> g_opens;
Refusal g_write = Refusal::kNone;

}  // namespace

void KeepRefusals(bool keep) {
  const std::lock_guard<std::mutex> guard(g_mutex);
  g_opens.clear();
  g_write = Refusal::kNone;
  g_keep = keep;
}

std::vector<RefusedFile> RefusedOpens() {
  const std::lock_guard<std::mutex> guard(g_mutex);
  return g_opens;
}

Refusal RefusedWrite() {
  const std::lock_guard<std::mutex> guard(g_mutex);
  return g_write;
}

void NoteRefusedOpen(const char* path) {
  if (!g_keep.load(std::memory_order_relaxed)) return;
  const Refusal why = LastRefusal(path);
  const std::lock_guard<std::mutex> guard(g_mutex);
  if (g_opens.size() == kKept) g_opens.erase(g_opens.begin());
  g_opens.push_back({path, why});
}

void NoteRefusedWrite() {
  if (!g_keep.load(std::memory_order_relaxed)) return;
  const Refusal why = LastRefusal(nullptr);
  const std::lock_guard<std::mutex> guard(g_mutex);
  g_write = why;
}

}  // namespace zatlib::platform
