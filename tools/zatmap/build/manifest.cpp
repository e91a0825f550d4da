#include "build/manifest.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <ctime>

#include "frd/control.h"
#include "frd/record_file.h"
#include "interface/entry/version.h"
#include "map/record_fields.h"
#include "network/network_files.h"
#include "platform/code_page.h"
#include "shape/shape_files.h"

namespace zatmap {
namespace {

using zatlib::platform::File;

std::string In(const std::string& folder, const char* name) {
  return zatlib::PathIn(folder.c_str(), name).c_str();
}

std::string InUtf8(const std::string& text) { return zatlib::platform::ForTerminal(text.c_str()); }

std::string CurrentFolder() {
  const std::string here = zatlib::platform::AbsolutePath(".");
  return InUtf8(here.ends_with("/.") ? here.substr(0, here.size() - 2) : here);
}

std::string TimeNow() {
  const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  char text[32] = "";
  const std::tm* parts = std::gmtime(&now);
  if (parts != nullptr) std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", parts);
  return text;
}

// What the manifest says of a build before it begins.
Manifest ManifestOf(const BuildRequest& request) {
  Manifest manifest;
  manifest.version = zatlib::kVersionText;
  manifest.current_folder = CurrentFolder();
  manifest.code_page = zatlib::platform::CodePage();
  manifest.is_msr = IsMsr(request);
  manifest.msr_option = request.msr;
  manifest.stage = request.stage;
  manifest.fare_data = HasFareData(request);
  return manifest;
}

ManifestSource SourceOf(const SourceFile& file, const HashedFile& hash) {
  return {file.section, file.number, InUtf8(file.path), hash.bytes, hash.sha256};
}

// Bits that are set in a file of the map.
int64_t CountBits(const std::string& path) {
  File file =
      File::Open(path.c_str(), zatlib::platform::Access::kRead, zatlib::platform::Share::kReadWrite,
                 zatlib::platform::Disposition::kOpenExisting);
  std::vector<unsigned char> block(1 << 18);
  int64_t count = 0;
  uint32_t got = 0;
  while (file.IsOpen() && file.Read(block.data(), static_cast<uint32_t>(block.size()), &got) &&
         got > 0) {
    for (uint32_t i = 0; i < got; ++i) count += std::popcount(block[i]);
  }
  return count;
}

MapCounts CountsOf(const std::string& folder) {
  const auto records = [&folder](const char* name, size_t size) {
    return zatlib::CountRecords(In(folder, name).c_str(), size);
  };
  return {.nodes = records(zatlib::kCalcNodeFile, sizeof(zatlib::CalcNode)),
          .links = records(zatlib::kLinkNodeFile, sizeof(zatlib::LinkNodes)),
          .shapes = records(zatlib::kShapeIndexFile, sizeof(zatlib::ShapeIndexEntry)),
          .shape_points = records(zatlib::kShapeDataFile, sizeof(zatlib::ShapePoint)),
          .prohibited_turns = CountBits(In(folder, zatlib::kTurnTableFile)),
          .weighted_turns = CountBits(In(folder, zatlib::kRightTurnWeightFile))};
}

std::vector<std::string> PathsOf(const std::vector<SourceFile>& files) {
  std::vector<std::string> paths;
  paths.reserve(files.size());
  for (const SourceFile& file : files) paths.push_back(file.path);
  return paths;
}

// The sources of a request, the control file in front.
std::vector<SourceFile> WithControl(const BuildRequest& request) {
  std::vector<SourceFile> files = ListSources(request);
  files.insert(files.begin(), SourceFile{"", 0, request.control_file});
  return files;
}

// The work stores of a first half that made none of some.
bool MayBeMissing(const SourceFile& file) { return file.section == kStoreSection; }

// The first difference in what was asked for, "" for none.
std::string OptionDifference(const Manifest& now, const Manifest& then) {
  if (now.version != then.version) return "it was built by version " + then.version;
  if (now.code_page != then.code_page) {
    return "it was built with code page " + std::to_string(then.code_page);
  }
  if (now.stage != then.stage) return "it was built with --stage " + then.stage;
  if (now.msr_option != then.msr_option || now.is_msr != then.is_msr) {
    return std::string("it was built from data in the ") + (then.is_msr ? "MSR" : "ZAT") +
           " layout";
  }
  if (now.fare_data != then.fare_data) return "the toll fare data came or went";
  return "";
}

// The first file of the map that is not there with the size that the manifest tells.
std::string MapDifference(const std::string& folder, const Manifest& manifest) {
  std::vector<std::string> names;
  for (const ManifestFile& file : manifest.files) {
    names.push_back(file.name);
    const int64_t size = zatlib::platform::SizeAtPath(In(folder, file.name.c_str()).c_str());
    if (size < 0) return file.name + " is missing";
    if (static_cast<uint64_t>(size) != file.bytes) return file.name + " has another size";
  }
  for (const std::string& name : MapFilesIn(folder)) {
    if (std::find(names.begin(), names.end(), name) == names.end()) {
      return name + " was not there after the build";
    }
  }
  return "";
}

// The first source that is not the one of the manifest. Files are read only when all sizes agree.
std::string SourceDifference(const BuildRequest& request, const Manifest& manifest) {
  std::vector<SourceFile> files = WithControl(request);
  std::vector<ManifestSource> then = manifest.sources;
  then.insert(then.begin(), manifest.control);
  std::erase_if(files, [](const SourceFile& file) {
    return MayBeMissing(file) && zatlib::platform::SizeAtPath(file.path.c_str()) < 0;
  });
  for (size_t i = 0; i < files.size(); ++i) {
    if (i >= then.size() || files[i].section != then[i].section ||
        files[i].number != then[i].number) {
      return "the control file names other files";
    }
    const int64_t size = zatlib::platform::SizeAtPath(files[i].path.c_str());
    if (size < 0) return files[i].path + " is missing";
    if (static_cast<uint64_t>(size) != then[i].bytes) return files[i].path + " has changed";
  }
  if (files.size() != then.size()) return "the control file names other files";
  const std::vector<HashedFile> hashes = HashFiles(PathsOf(files));
  for (size_t i = 0; i < files.size(); ++i) {
    if (!hashes[i].read) return files[i].path + " cannot be read";
    if (hashes[i].sha256 != then[i].sha256) return files[i].path + " has changed";
  }
  return "";
}

}  // namespace

std::vector<std::string> MapFilesIn(const std::string& folder) {
  std::vector<std::string> names = {zatlib::kRoadDefinitionFile, zatlib::kShapeInfoFile};
  for (const zatlib::map::FileLayout& layout : zatlib::map::FileLayouts()) {
    if (layout.rows != zatlib::map::Rows::kStore) names.emplace_back(layout.name);
  }
  std::erase_if(names, [&folder](const std::string& name) {
    return zatlib::platform::SizeAtPath(In(folder, name.c_str()).c_str()) < 0;
  });
  std::sort(names.begin(), names.end());
  return names;
}

unsigned ManifestCodePage(const std::string& folder) {
  Manifest manifest;
  std::string fault;
  return ReadManifest(folder, &manifest, &fault) == ManifestState::kRead ? manifest.code_page : 0;
}

void RemoveManifest(const std::string& folder) {
  zatlib::platform::RemoveFile(In(folder, kManifestFile).c_str());
}

bool IsUpToDate(const BuildRequest& request, std::string* reason) {
  Manifest then;
  std::string fault;
  switch (ReadManifest(request.folder, &then, &fault)) {
    case ManifestState::kNone:
      *reason = std::string("there is no ") + kManifestFile;
      return false;
    case ManifestState::kMalformed:
      *reason = std::string(kManifestFile) + ": " + fault;
      return false;
    case ManifestState::kRead:
      break;
  }
  if (zatlib::platform::SizeAtPath(In(request.folder, kExchangeFile).c_str()) >= 0) {
    *reason = "the exchange of its files was interrupted";
    return false;
  }
  *reason = OptionDifference(ManifestOf(request), then);
  if (reason->empty()) *reason = MapDifference(request.folder, then);
  if (reason->empty()) *reason = SourceDifference(request, then);
  if (!reason->empty()) return false;
  *reason = then.built;
  return true;
}

MapRecorder::MapRecorder(const BuildRequest& request)
    : manifest_(ManifestOf(request)),
      sources_(WithControl(request)),
      hashes_(std::make_unique<BackgroundHashes>(PathsOf(sources_))) {}

MapRecorder::~MapRecorder() = default;

bool MapRecorder::Write(const std::string& folder, double seconds, std::string* fault) {
  const std::string path = In(folder, kManifestFile);
  RemoveManifest(folder);
  manifest_.seconds = seconds;
  const std::vector<HashedFile> hashes = hashes_->Finish();
  for (size_t i = 0; i < hashes.size(); ++i) {
    if (!hashes[i].read) {
      if (MayBeMissing(sources_[i])) continue;
      *fault = sources_[i].path + " cannot be read";
      return false;
    }
    const ManifestSource source = SourceOf(sources_[i], hashes[i]);
    if (i == 0) {
      manifest_.control = source;
    } else {
      manifest_.sources.push_back(source);
    }
  }
  const std::vector<std::string> names = MapFilesIn(folder);
  std::vector<std::string> paths;
  paths.reserve(names.size());
  for (const std::string& name : names) paths.push_back(In(folder, name.c_str()));
  const std::vector<HashedFile> files = HashFiles(paths);
  for (size_t i = 0; i < names.size(); ++i) {
    if (!files[i].read) {
      *fault = paths[i] + " cannot be read";
      return false;
    }
    manifest_.files.push_back({names[i], files[i].bytes, files[i].sha256});
  }
  manifest_.counts = CountsOf(folder);
  manifest_.built = TimeNow();
  if (SaveText(path, JsonText(ManifestJson(manifest_), 2) + "\n")) return true;
  *fault = path + " cannot be written";
  return false;
}

}  // namespace zatmap
