// Why a build failed: what the library has reported, in English, with the system's reasons.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "build/report.h"

namespace zatmap {

// The error reports of the library from construction on, as the log gets them, and why the system
// refused files meanwhile. One at a time.
class FailureNotes {
 public:
  FailureNotes();
  ~FailureNotes();
  FailureNotes(const FailureNotes&) = delete;
  FailureNotes& operator=(const FailureNotes&) = delete;

  // The messages so far, explained.
  std::vector<LibraryMessage> Messages() const;

  // Why a write was refused, "the disk is full"; empty when none was.
  static std::string WriteReason();

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
};

}  // namespace zatmap
