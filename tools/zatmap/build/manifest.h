// The manifest of a map: zatmap.json in its folder, which tells from what and how `zatmap build`
// has made it, with the hashes of its sources and of its files. docs/zatmap-build.md describes it.
// A map without one is a map like any other.
//
//     MapRecorder recorder(request);                 // before the build: begins to hash the
//     sources
//     ... the build, into `folder` or aside ...
//     recorder.Write(folder_of_the_new_map, seconds)  // before the new map takes its place
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "build/file_hashes.h"
#include "build/sources.h"
#include "shell/made_files.h"
#include "shell/output.h"

namespace zatmap {

// Texts of a manifest are in UTF-8.
struct ManifestSource {
  std::string section;
  int number = 0;
  std::string path;
  uint64_t bytes = 0;
  std::string sha256;
};

struct ManifestFile {
  std::string name;
  uint64_t bytes = 0;
  std::string sha256;
};

struct MapCounts {
  int64_t nodes = 0;
  int64_t links = 0;
  int64_t shapes = 0;
  int64_t shape_points = 0;
  int64_t prohibited_turns = 0;
  int64_t weighted_turns = 0;
};

struct Manifest {
  std::string version;  // of zatmap
  std::string built;    // UTC, "2026-11-21T22:47:41Z"
  double seconds = 0;
  std::string current_folder;  // what relative paths count from
  unsigned code_page = 0;
  bool is_msr = false;
  bool msr_option = false;  // --msr
  std::string stage;
  bool fare_data = false;  // complete: the build marked the interchanges
  MapCounts counts;
  ManifestSource control;
  std::vector<ManifestSource> sources;
  std::vector<ManifestFile> files;  // of the map, by name
};

enum class ManifestState : uint8_t { kNone, kRead, kMalformed };

// Reads the manifest of a map. `*fault` receives what is wrong with a malformed one, which then may
// be filled in part.
ManifestState ReadManifest(const std::string& folder, Manifest* manifest, std::string* fault);

// The manifest as the file holds it.
Json ManifestJson(const Manifest& manifest);

// The code page of the map's texts when its manifest tells; else 0.
unsigned ManifestCodePage(const std::string& folder);

// Deletes the manifest of a folder, if there is one.
void RemoveManifest(const std::string& folder);

// True when the map in the request's folder is the one that the request would build: control file,
// sources, code page, options and version are those of its manifest, by their contents, and its
// files are there with their sizes. `*reason` receives the first difference, or the time of the
// build.
bool IsUpToDate(const BuildRequest& request, std::string* reason);

// The names of the files of a map that lie in a folder, sorted; work stores, fare data and the
// manifest are none.
std::vector<std::string> MapFilesIn(const std::string& folder);

// Accompanies a build. Hashes the sources from its construction on, on a thread of its own.
class MapRecorder {
 public:
  explicit MapRecorder(const BuildRequest& request);
  ~MapRecorder();

  // Writes the manifest of the map that stands in `folder`, once the build has succeeded; `seconds`
  // is what the build took. False when a file could not be read or the manifest not be written;
  // `*fault` receives why, and no manifest is left.
  bool Write(const std::string& folder, double seconds, std::string* fault);

 private:
  Manifest manifest_;
  std::vector<SourceFile> sources_;
  std::unique_ptr<BackgroundHashes> hashes_;
};

}  // namespace zatmap
