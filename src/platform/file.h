// Files and folders of the operating system. Paths are 8-bit texts; on POSIX both separators are
// accepted.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace zatlib::platform {

enum class Access { kRead, kWrite, kReadWrite };

// What other opens of the same file are allowed meanwhile. POSIX uses advisory locks, so it
// excludes other users of this library and of flock.
enum class Share { kNone, kRead, kReadWrite };

// kCreateAlways leaves no byte of an earlier file. Windows refuses it for a hidden or system file.
enum class Disposition { kOpenExisting, kOpenAlways, kCreateAlways };

// How the file will be read; a hint to the system's cache, without influence on results.
enum class Hint { kNone, kSequential };

enum class SeekFrom { kBegin, kCurrent, kEnd };

// An open file; closes itself. Not copyable.
class File {
 public:
  File() = default;
  ~File() { Close(); }
  File(File&& other) noexcept : handle_(other.handle_) { other.handle_ = kClosed; }
  File& operator=(File&& other) noexcept;
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  // Opens a file; the result is not open when the system refuses.
  static File Open(const char* path, Access access, Share share, Disposition disposition,
                   Hint hint = Hint::kNone);

  bool IsOpen() const { return handle_ != kClosed; }

  // Reads at most `size` bytes at the current position. Returns false on an error, true else;
  // `*read` receives the byte count, less than `size` only at the end of the file or on an error.
  bool Read(void* data, uint32_t size, uint32_t* read);

  // Reads exactly `size` bytes at a position, whatever the current one is and becomes; false when
  // the file ends before or on an error. Several threads may do so at once.
  bool ReadAt(int64_t position, void* data, uint32_t size) const;

  // Writes `size` bytes at the current position. Returns true when the system took them all;
  // `*written` receives what it took.
  bool Write(const void* data, uint32_t size, uint32_t* written);

  // Moves the position. Returns the new position in bytes from the start, -1 on an error.
  int64_t Seek(int64_t offset, SeekFrom from);

  // Size of the file in bytes, -1 on an error.
  int64_t Size() const;

  // Hands buffered bytes to the system's disk cache (FlushFileBuffers on Windows). Returns true
  // on success.
  bool Flush();

  void Close();

 private:
  static constexpr intptr_t kClosed = -1;
  intptr_t handle_ = kClosed;
};

// Deletes a file; true when it was deleted.
bool RemoveFile(const char* path);

// True when the folder can be entered. Windows makes it the process's current folder for a moment,
// as the log's folder test does.
bool CanEnterFolder(const char* path);

// True when the path names an existing folder.
bool IsFolder(const char* path);

// Creates one folder, parents excluded; true on success.
bool CreateFolder(const char* path);

// True when the file (or folder) exists; `*read_only` receives whether it may not be written.
bool GetAttributes(const char* path, bool* read_only);

// Size in bytes of a file that need not be opened for that, also while others exclude everybody; -1
// when there is no file of that name.
int64_t SizeAtPath(const char* path);

// Calls `visit` with the name (without folder) of every entry of `folder`, folders excluded, whose
// name ends with `suffix` in any case ("" matches all). An empty folder name searches the root of
// the current drive on Windows, and nothing where there are no drives.
void FindFiles(const char* folder, const char* suffix,
               const std::function<void(const char*)>& visit);

// The separator that joined paths get: '\\' on Windows, '/' elsewhere.
char NativeSeparator();

// True for a byte that separates path elements here. Double-byte pairs are the caller's affair.
bool IsSeparator(char c);

// A full path for a path that may be relative to the current folder.
std::string AbsolutePath(const char* path);

// The folder for temporary files, without a closing separator.
std::string TempFolder();

// Full path of the running program, "" when the system does not tell.
std::string ProgramPath();

// Folder for application data: per user (true) or for all users (false). Returns false when the
// system has none.
bool AppDataFolder(bool per_user, std::string* folder);

}  // namespace zatlib::platform
