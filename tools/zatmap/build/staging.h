// Building aside: the files of a build come into being in a folder of their own, and replace those
// of the output folder once they are complete.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "build/exchange.h"
#include "platform/folder.h"

namespace zatmap {

// An output folder under construction. From Open to Commit or the end, whatever asks for
// <output folder>/<name of a file that a build makes> gets it in folder() instead
// (platform/redirect.h), so the library builds, and zatmap verifies, under the paths of the output
// folder. Only one at a time in a process, and for each output folder only one at all.
class Staging {
 public:
  // Makes the output folder when it is missing, finishes an exchange that was interrupted in it,
  // clears what a killed build left beside it, and begins with an empty folder. Null, with the
  // reason in `*error`, when the system refuses or another build is at work there.
  static std::unique_ptr<Staging> Open(const std::string& output_folder, std::string* error);

  // Abandons what was not committed: the output folder is as it was.
  ~Staging();
  Staging(const Staging&) = delete;
  Staging& operator=(const Staging&) = delete;

  // The folder in which the new files lie.
  const std::string& folder() const { return places_.fresh; }

  // Puts the new files in place of the old ones: files that the build did not make are gone
  // then, everything else that lies in the output folder stays. False, with the reason in `*error`
  // and the old files in their places, when the system refuses.
  bool Commit(std::string* error);

 private:
  Staging() = default;
  bool MakeOutput(const std::string& path, std::string* error);
  bool TakePlace(std::string* error);
  bool Begin(std::string* error);
  bool KeepFareStatus(std::string* error);
  void DropFareStatus();
  void RemoveMadeFolders();

  zatlib::platform::NameHold hold_;
  ExchangePlaces places_;
  std::vector<std::string> made_folders_;  // the output folder and its parents, as far as made here
  std::string fare_status_;                // PayData.Inf as it was
};

}  // namespace zatmap
