#include "build/failure.h"

#include "build/english.h"
#include "frd/log.h"
#include "platform/code_page.h"
#include "platform/refusals.h"

namespace zatmap {
namespace {

using zatlib::platform::Refusal;
using zatlib::platform::RefusedFile;

std::string Readable(const std::string& text) {
  return zatlib::platform::ForTerminal(text.c_str());
}

const char* ReasonText(Refusal why) {
  switch (why) {
    case Refusal::kMissing:
      return "there is no such file";
    case Refusal::kNoFolder:
      return "its folder does not exist";
    case Refusal::kDenied:
      return "permission denied";
    case Refusal::kReadOnly:
      return "it may only be read";
    case Refusal::kInUse:
      return "another program has it open";
    case Refusal::kFolder:
      return "it is a folder";
    case Refusal::kFull:
      return "the disk is full";
    case Refusal::kTooLarge:
      return "the system does not let a file become so large";
    case Refusal::kTooMany:
      return "too many files are open";
    case Refusal::kFaulty:
      return "the disk does not work";
    default:
      return "the system refuses it";
  }
}

std::string ReasonFor(const RefusedFile& file) {
  return Readable(file.path) + ": " + ReasonText(file.why);
}

// Why the file that a message names could not be opened. A message about a .mid may name the file
// beside it: then the last file that was refused is the one.
std::string OpenReason(const std::string& message, const std::vector<RefusedFile>& refused) {
  for (auto file = refused.rbegin(); file != refused.rend(); ++file) {
    if (message.find(file->path) != std::string::npos) return ReasonFor(*file);
  }
  if (refused.empty() || message.find("Can't open") == std::string::npos) return {};
  return ReasonFor(refused.back());
}

}  // namespace

FailureNotes::FailureNotes() {
  zatlib::platform::KeepRefusals(true);
  zatlib::SetLogListener([this](const char* text) {
    const std::string line(text);
    if (line.size() < 4 || line.front() != '[' || line.back() != ']' ||
        line.find("][") == std::string::npos) {
      return;
    }
    const std::lock_guard<std::mutex> guard(mutex_);
    lines_.push_back(line);
  });
}

FailureNotes::~FailureNotes() {
  zatlib::SetLogListener(nullptr);
  zatlib::platform::KeepRefusals(false);
}

std::vector<LibraryMessage> FailureNotes::Messages() const {
  const std::vector<RefusedFile> refused = zatlib::platform::RefusedOpens();
  const std::lock_guard<std::mutex> guard(mutex_);
  std::vector<LibraryMessage> messages;
  for (const std::string& line : lines_) {
    // "[message][title]"
    const size_t middle = line.find("][");
    const std::string text = line.substr(1, middle - 1);
    const std::string title = line.substr(middle + 2, line.size() - middle - 3);
    std::string english = EnglishOf(text);
    if (const std::string of_title = EnglishOf(title); !of_title.empty()) {
      english = of_title + ": " + (english.empty() ? Readable(text) : english);
    }
    messages.push_back({Readable(title), Readable(text), english, OpenReason(text, refused)});
  }
  return messages;
}

std::string FailureNotes::WriteReason() {
  const Refusal why = zatlib::platform::RefusedWrite();
  return why == Refusal::kNone ? std::string() : ReasonText(why);
}

}  // namespace zatmap
