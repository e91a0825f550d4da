// zatmap verify: the files of a map against its manifest, which tells more than they tell of each
// other.
#include "build/manifest.h"

#include <algorithm>
#include <cinttypes>

#include "frd/files.h"
#include "verify/verifier.h"

namespace zatmap::verify {
namespace {

void CompareFile(Verifier& v, const ManifestFile& file, const HashedFile& found) {
  if (!found.read) {
    v.Add(Kind::kMissing, {file.name.c_str()}, "the file is missing; build the map again");
    v.missing.push_back(file.name);
  } else if (found.bytes != file.bytes) {
    v.Add(Kind::kChanged, {file.name.c_str()},
          "%" PRIu64 " bytes, and the build wrote %" PRIu64 "; build the map again", found.bytes,
          file.bytes);
  } else if (found.sha256 != file.sha256) {
    v.Add(Kind::kChanged, {file.name.c_str()},
          "the bytes are not those that the build wrote; build the map again");
  }
}

}  // namespace

void CheckManifest(Verifier& v) {
  Manifest manifest;
  std::string fault;
  const ManifestState state = ReadManifest(v.map.path, &manifest, &fault);
  if (state == ManifestState::kNone) return;
  if (state == ManifestState::kMalformed) {
    v.Add(Kind::kManifest, {kManifestFile},
          "the manifest cannot be used: %s; build the map again, or delete the file",
          fault.c_str());
    return;
  }
  std::vector<std::string> paths;
  for (const ManifestFile& file : manifest.files) {
    paths.push_back(zatlib::map::PathOf(v.map, file.name.c_str()));
  }
  const std::vector<HashedFile> found = HashFiles(paths);
  for (size_t i = 0; i < found.size(); ++i) CompareFile(v, manifest.files[i], found[i]);
  for (const std::string& name : MapFilesIn(v.map.path)) {
    const auto named = [&name](const ManifestFile& file) { return file.name == name; };
    if (std::none_of(manifest.files.begin(), manifest.files.end(), named)) {
      v.Add(Kind::kExtra, {name.c_str()},
            "the build wrote no such file: it is of another build; build the map again");
    }
  }
  v.totals.built = manifest.built;
}

}  // namespace zatmap::verify
