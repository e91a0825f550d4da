// Whole files and folders: what a path names, moving, exchanging and removing them, who holds a
// folder, and why the system refused. Nothing here is redirected (platform/redirect.h): these are
// the calls that put in place what was made elsewhere.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "platform/file_kind.h"

namespace zatlib::platform {

// True when the path itself is a link, wherever it leads.
bool IsLink(const char* path);

// The path of something that exists, without links and full; "" when the system refuses.
std::string RealPath(const char* path);

// Calls `visit` with every entry of a folder but "." and "..", in order of their names. A link is
// kDevice here, wherever it leads. False when the folder cannot be read.
bool ListFolder(const char* folder, const std::function<void(const char*, FileKind)>& visit);

// Creates one folder that only its owner enters; false when there is something of that name.
bool MakeFolder(const char* path);

// Removes a file or a link, not what it leads to / an empty folder. True on success.
bool RemoveEntry(const char* path);
bool RemoveFolder(const char* path);

// Moves a file in one step within a file system, and replaces a file that is there.
bool MoveOver(const char* from, const char* to);

// Exchanges two folders in one step, so that neither path is without one at any moment. False where
// the system or the file system cannot: Windows has no such call.
bool ExchangeFolders(const char* a, const char* b);

// True when the process may make and remove entries of the folder.
bool MayChangeFolder(const char* folder);

// True when files can be moved from one folder into the other.
bool SameFileSystem(const char* a, const char* b);

// Gives `to` the rights of `from`, which are those that a file or folder keeps when it is replaced:
// mode and group. False when more belongs to them that `to` cannot get: another owner, access
// lists. On Windows files have those of their folder, and nothing is done.
bool TakeRightsOf(const char* from, const char* to);

// Why the last call that failed did, in English: "permission denied". Ask at once.
std::string LastErrorText();

// Holds a name against other processes, by a file of that name which goes with it. The system gives
// it back when the process ends, however it does; the file may stay then, and hold nobody up.
class NameHold {
 public:
  NameHold() = default;
  ~NameHold() { Release(); }
  NameHold(NameHold&& other) noexcept;
  NameHold& operator=(NameHold&& other) noexcept;
  NameHold(const NameHold&) = delete;
  NameHold& operator=(const NameHold&) = delete;

  enum class Answer { kHeld, kHeldByAnother, kRefused };
  Answer Take(const std::string& path);
  void Release();

 private:
  intptr_t handle_ = -1;
  std::string path_;
};

}  // namespace zatlib::platform
