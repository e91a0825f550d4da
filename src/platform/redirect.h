// Sends files of one folder elsewhere: what is asked of <folder>/<name> happens to <target>/<name>,
// for a list of names. A program builds aside so, while everybody goes on to name, see and log the
// paths of the folder. Unset by default; then the question costs one load of a flag.
//
// Every call of the platform that opens, reads, writes, looks for or deletes a file by its path
// asks here, INI files included. FindFiles lists the files of the target in place of the listed
// names. AbsolutePath does not: it names a file and touches none. A path without any folder is
// taken as it is; the files of a folder are always asked for with one.
#pragma once

#include <span>
#include <string>

namespace zatlib::platform {

// From now on the listed names of `folder`, which must exist, lie in `target`. Replaces an earlier
// redirect. No other thread may use files meanwhile. False when the folder is none.
bool SetRedirect(const char* folder, const char* target, std::span<const char* const> names);

// Everything lies where it is asked for again.
void ClearRedirect();

// The path that the system gets for the one that was asked for.
class Redirected {
 public:
  explicit Redirected(const char* path);
  Redirected(const Redirected&) = delete;
  Redirected& operator=(const Redirected&) = delete;
  const char* c_str() const { return path_; }

 private:
  const char* path_;
  std::string elsewhere_;
};

// The folder in which the listed files of this one lie; null when that is this one.
const char* RedirectTarget(const char* folder);

// True when the name is one of those that lie elsewhere.
bool IsRedirectedName(const char* name);

// Whether two names are those of one file, as the system compares them: case counts where it does
// for files. One of them is plain ASCII.
bool SameFileName(const char* a, const char* b);

// A text that two paths of the same existing folder share, "" when there is no such folder. It asks
// the system for the folder as it is named.
std::string FolderKey(const char* folder);

}  // namespace zatlib::platform
