#include "build/staging.h"

#include "frd/control.h"
#include "frd/record_file.h"
#include "platform/file.h"
#include "platform/redirect.h"
#include "shell/made_files.h"
#include "toll/fare_files.h"

namespace zatmap {
namespace {

using zatlib::platform::FileKind;
using zatlib::platform::NameHold;

constexpr char kFreshEnd[] = ".zatmap-new";
constexpr char kHoldEnd[] = ".zatmap-lock";

std::string In(const std::string& folder, const std::string& name) {
  const bool separated = !folder.empty() && zatlib::platform::IsSeparator(folder.back());
  return separated ? folder + name : folder + zatlib::platform::NativeSeparator() + name;
}

// Where the new files and the file that holds the output folder lie: beside it, ".out.zatmap-new",
// or in it, ".zatmap-new".
struct Place {
  std::string folder;
  std::string prefix;

  std::string Fresh() const { return In(folder, prefix + kFreshEnd); }
  std::string Hold() const { return In(folder, prefix + kHoldEnd); }
};

// The places for an output folder without links, the better one first. The root has none beside.
std::vector<Place> PlacesFor(const std::string& output) {
  std::vector<Place> places;
  size_t name = output.size();
  while (name > 0 && !zatlib::platform::IsSeparator(output[name - 1])) --name;
  if (name > 0 && name < output.size()) {
    // The root keeps its separator.
    std::string parent = output.substr(0, name);
    places.push_back({parent, "." + output.substr(name)});
  }
  places.push_back({output, ""});
  return places;
}

bool ReadText(const std::string& path, std::string* text) {
  zatlib::WholeFile file;
  if (zatlib::LoadFile(path.c_str(), &file) != zatlib::FileResult::kDone) return false;
  text->assign(file.bytes.data(), file.size);
  return true;
}

}  // namespace

std::unique_ptr<Staging> Staging::Open(const std::string& output_folder, std::string* error) {
  std::unique_ptr<Staging> staging(new Staging);
  const std::string output = output_folder.empty() ? "." : output_folder;
  if (!staging->MakeOutput(output, error) || !staging->TakePlace(error) || !staging->Begin(error)) {
    return nullptr;
  }
  return staging;
}

Staging::~Staging() {
  zatlib::platform::ClearRedirect();
  std::string error;
  // Where an exchange could neither be finished nor undone, the old files lie there.
  if (!places_.fresh.empty() && !IsExchanging(places_)) ClearAway(places_, &error);
  hold_.Release();
  RemoveMadeFolders();
}

// Makes the folder and those above it, as far as they are missing.
bool Staging::MakeOutput(const std::string& path, std::string* error) {
  std::vector<std::string> missing;
  std::string folder = path;
  while (zatlib::platform::KindOfFile(folder.c_str()) == FileKind::kNone) {
    missing.push_back(folder);
    char parent[zatlib::kPathSize];
    zatlib::FRD_SplitPath(folder.c_str(), parent, nullptr);
    if (parent[0] == 0 || folder == parent) break;
    folder = parent;
  }
  for (size_t i = missing.size(); i-- > 0;) {
    if (!zatlib::platform::CreateFolder(missing[i].c_str())) {
      *error = Refused("the output folder " + missing[i] + " cannot be made");
      return false;
    }
    made_folders_.push_back(missing[i]);
  }
  if (!zatlib::platform::IsFolder(path.c_str())) {
    *error = path + " is no folder: [FOLDER] CALCMAPDIR has to name one";
    return false;
  }
  places_.output = zatlib::platform::RealPath(path.c_str());
  if (places_.output.empty() || !zatlib::platform::MayChangeFolder(places_.output.c_str())) {
    *error = Refused("the output folder " + path + " cannot be written");
    return false;
  }
  return true;
}

// Takes the output folder for this process and decides where the new files are made: beside it, on
// the same file system and with the same rights, or else in it. What an interrupted build left in
// either place is finished and cleared away.
bool Staging::TakePlace(std::string* error) {
  const std::vector<Place> all = PlacesFor(places_.output);
  for (const Place& place : all) {
    const NameHold::Answer answer = hold_.Take(place.Hold());
    if (answer == NameHold::Answer::kHeld) break;
    *error = answer == NameHold::Answer::kHeldByAnother
                 ? "another build is at work in " + places_.output + "; wait for its end"
                 : Refused(place.Hold() + " cannot be written");
    if (answer == NameHold::Answer::kHeldByAnother || &place == &all.back()) return false;
  }
  for (const Place& place : all) {
    const ExchangePlaces left{places_.output, place.Fresh()};
    if (!FinishExchange(left, error)) return false;
    // Where that is refused, the next place is taken.
    ClearAway(left, error);
  }
  DisarmJournal(places_.output);
  for (const Place& place : all) {
    const std::string fresh = place.Fresh();
    if (zatlib::platform::SameFileSystem(place.folder.c_str(), places_.output.c_str()) &&
        zatlib::platform::MakeFolder(fresh.c_str())) {
      places_.fresh = fresh;
      if (place.prefix.empty() ||
          zatlib::platform::TakeRightsOf(places_.output.c_str(), fresh.c_str())) {
        return true;
      }
      // Made in the output folder the files get what its rights hand down.
      zatlib::platform::RemoveFolder(fresh.c_str());
    }
    *error = Refused("the folder " + fresh + " cannot be made");
    places_.fresh.clear();
  }
  return false;
}

bool Staging::Begin(std::string* error) {
  if (!KeepFareStatus(error)) return false;
  if (zatlib::platform::SetRedirect(places_.output.c_str(), places_.fresh.c_str(), MadeFiles())) {
    return true;
  }
  *error = Refused("the output folder " + places_.output + " cannot be read");
  return false;
}

// The build reads the status of the fare data and changes a key of it: it gets a copy.
bool Staging::KeepFareStatus(std::string* error) {
  const std::string status = In(places_.output, zatlib::kFareStatusFile);
  if (!ReadText(status, &fare_status_)) return true;
  const std::string copy = In(places_.fresh, zatlib::kFareStatusFile);
  if (zatlib::SaveBytes(copy.c_str(), fare_status_.data(), fare_status_.size()) ==
      zatlib::FileResult::kDone) {
    return true;
  }
  *error = Refused(copy + " cannot be written");
  return false;
}

// A status that the build has left alone, or that its owner has changed meanwhile, stays as it is.
void Staging::DropFareStatus() {
  std::string now;
  std::string built;
  const std::string copy = In(places_.fresh, zatlib::kFareStatusFile);
  if (!ReadText(copy, &built)) return;
  const bool same_as_before =
      ReadText(In(places_.output, zatlib::kFareStatusFile), &now) && now == fare_status_;
  if (built == fare_status_ || !same_as_before) zatlib::platform::RemoveEntry(copy.c_str());
}

bool Staging::Commit(std::string* error) {
  zatlib::platform::ClearRedirect();
  DropFareStatus();
  KeepRights(places_);
  std::string left;
  if (CanExchangeWhole(places_) && ExchangeWhole(places_)) {
    ClearAway(places_, &left);  // what stays is cleared away by the next build
  } else if (ExchangeFiles(places_, error)) {
    ClearAway(places_, &left);
  } else {
    return false;
  }
  made_folders_.clear();
  return true;
}

// Those that stand empty; the others have found a use meanwhile.
void Staging::RemoveMadeFolders() {
  while (!made_folders_.empty()) {
    zatlib::platform::RemoveFolder(made_folders_.back().c_str());
    made_folders_.pop_back();
  }
}

}  // namespace zatmap
