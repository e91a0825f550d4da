// Why the system refused a file. The steps tell what they could not do; a program that explains a
// failure also wants to say why. Nothing is kept unless it asks for that.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zatlib::platform {

enum class Refusal : uint8_t {
  kNone,
  kMissing,   // there is no such file
  kNoFolder,  // the folder that the file is to stand in does not exist
  kDenied,    // permission
  kReadOnly,  // the disk, or a file that may not be written
  kInUse,     // another program has it open and excludes this one
  kFolder,    // it is a folder
  kFull,      // the disk is full, or what the user may use of it
  kTooLarge,  // a limit on the size of a file
  kTooMany,   // too many files are open
  kFaulty,    // the disk does not read or write
  kOther
};

struct RefusedFile {
  std::string path;  // as it was asked for
  Refusal why = Refusal::kNone;
};

// Starts or ends keeping; both forget what was kept.
void KeepRefusals(bool keep);

// The files that could not be opened since then, the oldest first; the last 100 of them.
std::vector<RefusedFile> RefusedOpens();

// Why the last refused write was; kNone when there was none.
Refusal RefusedWrite();

// For the back ends: the system's last error, taken while it still is that of the refused call.
// Without keeping they cost one load of a flag.
void NoteRefusedOpen(const char* path);
void NoteRefusedWrite();

// What the number of a system error means; one function in each back end.
Refusal LastRefusal(const char* path);

}  // namespace zatlib::platform
