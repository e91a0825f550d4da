#include "platform/named_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <string>
#include <thread>

namespace zatlib::platform {

NamedLock::NamedLock(const char* name, uint32_t timeout_ms) {
  // A file of the user's in a place that every process of the user sees, whatever its settings.
  const std::string path =
      "/tmp/." + std::string(name) + "." + std::to_string(static_cast<unsigned long>(::getuid()));
  const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
  if (fd < 0) return;
  handle_ = fd;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
  while (true) {
    if (::flock(fd, LOCK_EX | LOCK_NB) == 0) {
      held_ = true;
      return;
    }
    if (errno != EWOULDBLOCK && errno != EINTR) return;
    if (std::chrono::steady_clock::now() >= deadline) return;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

void NamedLock::Release() {
  if (handle_ < 0) return;
  ::close(static_cast<int>(handle_));  // gives the lock back too
  handle_ = -1;
  held_ = false;
}

}  // namespace zatlib::platform
