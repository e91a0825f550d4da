// SHA-256 of whole files: beside other work, or several files at once.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/file.h"
#include "platform/sha256.h"
#include "platform/thread.h"

namespace zatmap {

struct HashedFile {
  std::string path;
  bool read = false;  // false: missing, no ordinary file, or it could not be read to its end
  uint64_t bytes = 0;
  std::string sha256;  // 64 small hexadecimal digits
};

// True for a file that can be read to its end: no folder, and neither a pipe nor a device, of which
// even the opening may never come to an end.
bool IsOrdinaryFile(const std::string& path);

// A file that is being hashed. Made by the thread that owns the heap, read by any one.
class HashJob {
 public:
  // Opens the file, if it is an ordinary one.
  explicit HashJob(const std::string& path);

  // Reads it to its end through the buffer. Stops early, as unread, when `stop` becomes true.
  void Read(std::vector<char>& buffer, const std::atomic<bool>& stop);

  HashedFile Take();

 private:
  HashedFile result_;
  zatlib::platform::File file_;
  Sha256 hash_;
};

// Hashes files on a thread of its own while the calling one does something else. That thread takes
// no heap memory (see frd/parallel.h). Ends its work early when it is destroyed.
class BackgroundHashes {
 public:
  explicit BackgroundHashes(std::vector<std::string> paths);
  ~BackgroundHashes();
  BackgroundHashes(const BackgroundHashes&) = delete;
  BackgroundHashes& operator=(const BackgroundHashes&) = delete;

  // Waits for the end; the files in the order in which they were given. To be called once.
  std::vector<HashedFile> Finish();

 private:
  void Run();
  void Join();

  std::vector<std::string> paths_;
  std::vector<HashJob> jobs_;  // for the first paths
  std::vector<char> buffer_;
  std::atomic<bool> stop_ = false;
  zatlib::platform::Thread thread_;
  bool started_ = false;
};

// Hashes files at once, on as many threads as there are processors.
std::vector<HashedFile> HashFiles(const std::vector<std::string>& paths);

}  // namespace zatmap
