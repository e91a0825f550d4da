// The frame that every step shares: what it knows of the run, how it ends, how it reports, and the
// runner of stages.
#pragma once

#include <cstddef>
#include <type_traits>

#include "frd/control.h"
#include "frd/message_text.h"

namespace zatlib {

// How a step, or a part of one, ended. A failure has been reported where it happened; a cancel is
// told by nobody. The functions with fixed names make 1 or 0 of it.
enum class [[nodiscard]] Outcome{kDone, kFailed, kCancelled};

inline bool IsDone(Outcome outcome) { return outcome == Outcome::kDone; }
inline int AsResult(Outcome outcome) { return IsDone(outcome) ? 1 : 0; }

// Of the look at the user after a block of records (CancelledWithin) or a status text.
inline Outcome CancelledIf(bool cancelled) {
  return cancelled ? Outcome::kCancelled : Outcome::kDone;
}

// What a step failed at: the first half of an error's title.
inline constexpr char kFileError[] = "File Error";
inline constexpr char kMemoryError[] = "Memory Error";
inline constexpr char kLogicError[] = "Logic Error";
inline constexpr char kInternalLogicError[] = "Internal Logic Error";

// A step of the build: made when it begins, from what its function was given. The output folder is
// looked up then; the other keys are read when they are asked for.
class Step {
 public:
  // `name` is the function's, as titles of errors show it.
  Step(WindowHandle owner, const char* control_file, const char* name);

  // A step that is told its output folder; it has no control file.
  static Step InFolder(WindowHandle owner, const char* folder, const char* name);

  WindowHandle owner() const { return owner_; }
  const char* control_file() const { return control_file_; }
  const char* folder() const { return folder_.text; }
  const char* name() const { return name_; }

  // Path of a file in the output folder.
  PathText Path(const char* file) const { return PathIn(folder_.text, file); }

  // [SYSTEM] LOG: the step ends with a summary line.
  bool WantsSummary() const { return zatlib::WantsSummary(control_file_); }

  // Shows the title of the step, or of a part of it, tests for cancel and logs the title.
  Outcome Begin(const char* title) const { return CancelledIf(BRN_BeginStep(title) == 0); }

  // Reports an error under the title "<kind> in <name>"; kFailed.
  template <typename... Values>
  Outcome Fail(const char* kind, MessageText<std::type_identity_t<Values>...> text,
               Values... values) const {
    return Report(Titled(kind).text, platform::kErrorIcon, text.c_str(), values...);
  }

  // The same with a task-modal box, as most steps of stage one show it.
  template <typename... Values>
  Outcome FailModal(const char* kind, MessageText<std::type_identity_t<Values>...> text,
                    Values... values) const {
    return Report(Titled(kind).text, platform::kErrorIcon | platform::kTaskModal, text.c_str(),
                  values...);
  }

  // The same two under a title of their own.
  template <typename... Values>
  Outcome FailAs(const char* title, MessageText<std::type_identity_t<Values>...> text,
                 Values... values) const {
    return Report(title, platform::kErrorIcon, text.c_str(), values...);
  }
  template <typename... Values>
  Outcome FailModalAs(const char* title, MessageText<std::type_identity_t<Values>...> text,
                      Values... values) const {
    return Report(title, platform::kErrorIcon | platform::kTaskModal, text.c_str(), values...);
  }

 private:
  struct Title {
    char text[kMessageSize];
  };
  Step(WindowHandle owner, const char* name) : owner_(owner), control_file_(nullptr), name_(name) {}
  Title Titled(const char* kind) const;
  Outcome Report(const char* title, unsigned flags, const char* format, ...) const;

  WindowHandle owner_;
  const char* control_file_;
  const char* name_;
  PathText folder_;
};

// For texts that have met their values' types (LogText): logs a line.
void LogFormatted(const char* format, ...);

// Logs a summary line or another text of a table.
template <typename... Values>
void LogText(MessageText<std::type_identity_t<Values>...> text, Values... values) {
  LogFormatted(text.c_str(), values...);
}

// A stage of a run: the point of the progress bar that is passed before it (kSamePoint: it goes on
// from the stage before), the function, null where there is only the point, and a status text where
// the driver shows one for it: after a failure too, as the bar goes on.
inline constexpr float kSamePoint = -1.0f;
template <typename... Arguments>
struct Stage {
  float point;
  int (*run)(Arguments...);
  const char* status = nullptr;
};

// Runs the stages in order and returns 1 when all of them returned 1. After `result` 0, a failed
// stage or a cancel no stage runs any more, but the bar passes all points.
template <typename... Arguments, size_t kCount>
int RunStages(const Stage<Arguments...> (&stages)[kCount], int result,
              std::type_identity_t<Arguments>... arguments) {
  for (const Stage<Arguments...>& stage : stages) {
    if (stage.point != kSamePoint && Checkpoint(stage.point) == 0) result = 0;
    if (stage.status != nullptr && BRN_SetStatus(stage.status) == 0) result = 0;
    if (result != 0 && stage.run != nullptr) result = stage.run(arguments...);
  }
  return result;
}

}  // namespace zatlib
