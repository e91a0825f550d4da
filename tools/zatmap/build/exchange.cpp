#include "build/exchange.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <vector>

#include "frd/control.h"
#include "frd/files.h"
#include "frd/record_file.h"
#include "platform/file.h"
#include "platform/folder.h"
#include "platform/redirect.h"
#include "shell/made_files.h"
#include "toll/fare_files.h"

namespace zatmap {
namespace {

using zatlib::platform::Access;
using zatlib::platform::Disposition;
using zatlib::platform::File;
using zatlib::platform::FileKind;
using zatlib::platform::SameFileName;
using zatlib::platform::Share;

constexpr char kOldFolder[] = "old";
constexpr char kJournalDraft[] = "journal";
constexpr char kJournalTitle[] = "zatmap exchange 1";

std::string In(const std::string& folder, const char* name) {
  return folder + zatlib::platform::NativeSeparator() + name;
}

bool Exists(const std::string& path) {
  return zatlib::platform::KindOfFile(path.c_str()) != FileKind::kNone;
}

bool Move(const std::string& from, const std::string& to, std::string* error) {
  if (zatlib::platform::MoveOver(from.c_str(), to.c_str())) return true;
  *error = Refused(to + " cannot be replaced");
  return false;
}

// What an exchange file by file has to do. New files that are no longer in `fresh` are in their
// places, so every state in between tells what is left, in both directions.
struct FileExchange {
  ExchangePlaces places;
  std::vector<std::string> names;  // of the new files

  std::string Output(const char* name) const { return In(places.output, name); }
  std::string Fresh(const char* name) const { return In(places.fresh, name); }
  std::string OldFolder() const { return In(places.fresh, kOldFolder); }
  std::string Old(const char* name) const { return In(OldFolder(), name); }

  bool IsNew(const char* name) const {
    return std::any_of(names.begin(), names.end(), [name](const std::string& fresh) {
      return SameFileName(fresh.c_str(), name);
    });
  }
  bool IsInPlace(const char* name) const { return IsNew(name) && !Exists(Fresh(name)); }

  bool TakeOldAway(std::string* error) const;
  bool PutNewInPlace(std::string* error) const;
  bool Undo(std::string* error) const;
  bool GoOn(std::string* error) const {
    return TakeOldAway(error) && PutNewInPlace(error) && RemoveJournal(error);
  }
  bool RemoveJournal(std::string* error) const;
  bool WriteJournal(std::string* error) const;
};

bool FileExchange::TakeOldAway(std::string* error) const {
  if (!Exists(OldFolder()) && !zatlib::platform::MakeFolder(OldFolder().c_str())) {
    *error = Refused("the folder " + OldFolder() + " cannot be made");
    return false;
  }
  for (const char* name : MadeFiles()) {
    // The status of the fare data is another program's; it is replaced, never taken away.
    if (SameFileName(name, zatlib::kFareStatusFile) && !IsNew(name)) continue;
    if (IsInPlace(name) || !Exists(Output(name))) continue;
    if (!Move(Output(name), Old(name), error)) return false;
  }
  return true;
}

bool FileExchange::PutNewInPlace(std::string* error) const {
  const auto made = MadeFiles();
  for (size_t i = made.size(); i-- > 0;) {
    const char* name = made[i];
    if (IsNew(name) && Exists(Fresh(name)) && !Move(Fresh(name), Output(name), error)) return false;
  }
  return true;
}

bool FileExchange::Undo(std::string* error) const {
  const auto made = MadeFiles();
  for (const char* name : made) {
    if (!IsInPlace(name) || !Exists(Output(name))) continue;
    if (!Move(Output(name), Fresh(name), error)) return false;
  }
  for (size_t i = made.size(); i-- > 0;) {
    if (Exists(Old(made[i])) && !Move(Old(made[i]), Output(made[i]), error)) return false;
  }
  return RemoveJournal(error);
}

bool FileExchange::RemoveJournal(std::string* error) const {
  const std::string journal = Output(kExchangeFile);
  if (!Exists(journal) || zatlib::platform::RemoveEntry(journal.c_str())) return true;
  *error = Refused(journal + " cannot be removed");
  return false;
}

// Written elsewhere and moved: it is there as a whole or not at all.
bool FileExchange::WriteJournal(std::string* error) const {
  std::string text = std::string(kJournalTitle) + "\n" + places.fresh + "\n";
  for (const std::string& name : names) text += name + "\n";
  const std::string draft = Fresh(kJournalDraft);
  File file = File::Open(draft.c_str(), Access::kWrite, Share::kNone, Disposition::kCreateAlways);
  uint32_t written = 0;
  if (!file.IsOpen() || !file.Write(text.data(), static_cast<uint32_t>(text.size()), &written)) {
    *error = Refused(draft + " cannot be written");
    return false;
  }
  file.Close();
  return Move(draft, Output(kExchangeFile), error);
}

// The lines of the journal; none when it is not there or is no journal.
std::vector<std::string> JournalLines(const std::string& output) {
  zatlib::WholeFile file;
  if (zatlib::LoadFile(In(output, kExchangeFile).c_str(), &file) != zatlib::FileResult::kDone) {
    return {};
  }
  std::vector<std::string> lines;
  std::string_view text(file.bytes.data(), file.size);
  for (size_t end = 0; (end = text.find('\n')) != std::string_view::npos;) {
    lines.emplace_back(text.substr(0, end));
    text.remove_prefix(end + 1);
  }
  if (lines.size() < 2 || lines[0] != kJournalTitle) return {};
  return lines;
}

// Removes what lies in a folder and is a build's; moves the rest to the output folder.
bool EmptyFolder(const std::string& folder, const std::string& output, std::string* error) {
  std::vector<std::string> names;
  zatlib::platform::ListFolder(folder.c_str(), [&names](const char* name, FileKind) {
    if (!SameFileName(name, kOldFolder)) names.emplace_back(name);
  });
  bool good = true;
  for (const std::string& name : names) {
    const std::string path = In(folder, name.c_str());
    if (IsMadeFile(name.c_str()) || name == kJournalDraft || name == kExchangeFile) {
      if (zatlib::platform::RemoveEntry(path.c_str())) continue;
      *error = Refused(path + " cannot be removed");
    } else if (Exists(In(output, name.c_str()))) {
      *error = path + " is no file of a build: move it away";
    } else if (Move(path, In(output, name.c_str()), error)) {
      continue;
    }
    good = false;
  }
  return good;
}

bool RemoveEmpty(const std::string& folder, std::string* error) {
  if (zatlib::platform::RemoveFolder(folder.c_str())) return true;
  *error = Refused("the folder " + folder + " cannot be removed");
  return false;
}

}  // namespace

std::string Refused(const std::string& text) {
  return text + ": " + zatlib::platform::LastErrorText();
}

void KeepRights(const ExchangePlaces& places) {
  for (const char* name : MadeFiles()) {
    const std::string fresh = In(places.fresh, name);
    const std::string old = In(places.output, name);
    if (Exists(fresh) && Exists(old)) {
      zatlib::platform::TakeRightsOf(old.c_str(), fresh.c_str());
    }
  }
}

bool CanExchangeWhole(const ExchangePlaces& places) {
  // Who stands in a folder that goes away stands nowhere.
  if (zatlib::platform::FolderKey(".") == zatlib::platform::FolderKey(places.output.c_str())) {
    return false;
  }
  bool only_map = true;
  const bool listed =
      zatlib::platform::ListFolder(places.output.c_str(), [&](const char* name, FileKind kind) {
        const bool map_file = IsMadeFile(name) && !SameFileName(name, zatlib::kFareStatusFile);
        if (kind != FileKind::kFile || !(map_file || SameFileName(name, kExchangeFile))) {
          only_map = false;
        }
      });
  return listed && only_map &&
         zatlib::platform::TakeRightsOf(places.output.c_str(), places.fresh.c_str());
}

bool ExchangeWhole(const ExchangePlaces& places) {
  return zatlib::platform::ExchangeFolders(places.fresh.c_str(), places.output.c_str());
}

bool ExchangeFiles(const ExchangePlaces& places, std::string* error) {
  FileExchange exchange{places, {}};
  for (const char* name : MadeFiles()) {
    if (Exists(exchange.Fresh(name))) exchange.names.emplace_back(name);
  }
  if (!exchange.WriteJournal(error)) return false;
  if (exchange.GoOn(error)) return true;
  std::string second;
  if (!exchange.Undo(&second)) *error += "; the next build finishes the exchange (" + second + ")";
  return false;
}

bool IsExchanging(const ExchangePlaces& places) {
  const std::vector<std::string> lines = JournalLines(places.output);
  return !lines.empty() && lines[1] == places.fresh;
}

bool FinishExchange(const ExchangePlaces& places, std::string* error) {
  const std::vector<std::string> lines = JournalLines(places.output);
  if (lines.empty() || lines[1] != places.fresh ||
      !zatlib::platform::IsFolder(places.fresh.c_str())) {
    return true;
  }
  const FileExchange exchange{places, {lines.begin() + 2, lines.end()}};
  std::string second;
  return exchange.GoOn(error) || exchange.Undo(&second);
}

void DisarmJournal(const std::string& output) {
  const std::string journal = In(output, kExchangeFile);
  const std::string text = std::string(kJournalTitle) + "\n\n";
  if (Exists(journal)) zatlib::SaveBytes(journal.c_str(), text.data(), text.size());
}

bool ClearAway(const ExchangePlaces& places, std::string* error) {
  const std::string old = In(places.fresh, kOldFolder);
  const FileKind kind = zatlib::platform::KindOfFile(places.fresh.c_str());
  if (kind == FileKind::kNone) return true;
  if (kind != FileKind::kFolder || zatlib::platform::IsLink(places.fresh.c_str())) {
    if (zatlib::platform::RemoveEntry(places.fresh.c_str())) return true;
    *error = Refused(places.fresh + " cannot be removed");
    return false;
  }
  if (Exists(old) && !(EmptyFolder(old, places.output, error) && RemoveEmpty(old, error))) {
    return false;
  }
  return EmptyFolder(places.fresh, places.output, error) && RemoveEmpty(places.fresh, error);
}

}  // namespace zatmap
