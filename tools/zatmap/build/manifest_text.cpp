// The text of the manifest: writing it, and reading what may be anybody's.
#include <algorithm>
#include <cmath>
#include <limits>

#include "build/manifest.h"
#include "frd/control.h"
#include "map/record_fields.h"
#include "platform/file_kind.h"

namespace zatmap {
namespace {

using zatlib::platform::File;

constexpr int kFormat = 1;                // of the file
constexpr int64_t kMostBytes = 16 << 20;  // of a file that is read
constexpr size_t kMostText = 4096;        // bytes of one text in it
constexpr size_t kHashDigits = 64;
constexpr unsigned kMostCodePage = 65535;

// -- Writing --------------------------------------------------------------------------------------

Json HashJson(uint64_t bytes, const std::string& sha256) {
  return {{"bytes", bytes}, {"sha256", sha256}};
}

Json SourceJson(const ManifestSource& source) {
  Json entry = Json::object();
  if (!source.section.empty()) {
    entry["section"] = source.section;
    entry["number"] = source.number;
  }
  entry["path"] = source.path;
  entry.update(HashJson(source.bytes, source.sha256));
  return entry;
}

// -- Reading
// ---------------------------------------------------------------------------------------

// Takes members out of an object that somebody may have written who means harm: the first one that
// is missing or of another kind is the fault, and everything after it stays as it was.
class Members {
 public:
  Members(const Json& object, std::string where, std::string* fault)
      : object_(object), where_(std::move(where)), fault_(fault) {
    if (fault_->empty() && !object_.is_object()) *fault_ = where_ + " is no object";
  }

  void Text(const char* name, std::string* text) {
    const Json* value = Find(name);
    if (value == nullptr) return;
    if (!value->is_string() || value->get_ref<const std::string&>().size() > kMostText) {
      Fail(name, "is no text");
      return;
    }
    *text = value->get<std::string>();
    // It will be shown on a terminal.
    std::replace_if(
        text->begin(), text->end(),
        [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }, '?');
  }

  void Hash(std::string* text) {
    Text("sha256", text);
    const bool digits = std::all_of(text->begin(), text->end(), [](char c) {
      return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
    });
    if (text->size() != kHashDigits || !digits) Fail("sha256", "is no SHA-256");
  }

  template <typename Number>
  void Count(const char* name, Number* number,
             uint64_t most = static_cast<uint64_t>(std::numeric_limits<Number>::max())) {
    const Json* value = Find(name);
    if (value == nullptr) return;
    if (!value->is_number_unsigned() || value->get<uint64_t>() > most) {
      Fail(name, "is no number in its range");
      return;
    }
    *number = static_cast<Number>(value->get<uint64_t>());
  }

  void Seconds(const char* name, double* number) {
    const Json* value = Find(name);
    if (value == nullptr) return;
    if (!value->is_number() || !std::isfinite(value->get<double>()) || value->get<double>() < 0) {
      Fail(name, "is no number of seconds");
      return;
    }
    *number = value->get<double>();
  }

  void Flag(const char* name, bool* flag) {
    const Json* value = Find(name);
    if (value == nullptr) return;
    if (!value->is_boolean()) {
      Fail(name, "is neither true nor false");
      return;
    }
    *flag = value->get<bool>();
  }

  // An object or a list of the object; an empty one after a fault.
  const Json& Child(const char* name) {
    static const Json kNothing = Json::object();
    const Json* value = Find(name);
    return value != nullptr ? *value : kNothing;
  }

  void Fail(const char* name, const char* what) {
    if (fault_->empty()) *fault_ = (where_.empty() ? "" : where_ + ": ") + name + " " + what;
  }

 private:
  const Json* Find(const char* name) {
    if (!fault_->empty()) return nullptr;
    const auto found = object_.find(name);
    if (found != object_.end()) return &*found;
    Fail(name, "is missing");
    return nullptr;
  }

  const Json& object_;
  std::string where_;
  std::string* fault_;
};

void TakeSource(const Json& object, const std::string& where, bool named, ManifestSource* source,
                std::string* fault) {
  Members members(object, where, fault);
  if (named) {
    members.Text("section", &source->section);
    members.Count("number", &source->number);
  }
  members.Text("path", &source->path);
  members.Count("bytes", &source->bytes);
  members.Hash(&source->sha256);
}

void TakeCounts(const Json& object, MapCounts* counts, std::string* fault) {
  Members members(object, "counts", fault);
  members.Count("nodes", &counts->nodes);
  members.Count("links", &counts->links);
  members.Count("shapes", &counts->shapes);
  members.Count("shape_points", &counts->shape_points);
  members.Count("prohibited_turns", &counts->prohibited_turns);
  members.Count("weighted_turns", &counts->weighted_turns);
}

void TakeOptions(const Json& object, Manifest* manifest, std::string* fault) {
  Members members(object, "options", fault);
  std::string format;
  members.Text("format", &format);
  if (format != "ZAT" && format != "MSR") members.Fail("format", "is neither ZAT nor MSR");
  manifest->is_msr = format == "MSR";
  members.Flag("msr", &manifest->msr_option);
  members.Text("stage", &manifest->stage);
  members.Flag("fare_data", &manifest->fare_data);
}

// The files of the map. Their names go into paths, so each has to be that of a file of a map.
void TakeFiles(const Json& list, std::vector<ManifestFile>* files, std::string* fault) {
  for (size_t i = 0; i < list.size() && fault->empty(); ++i) {
    const std::string where = "files, entry " + std::to_string(i + 1);
    ManifestFile file;
    Members members(list[i], where, fault);
    members.Text("name", &file.name);
    members.Count("bytes", &file.bytes);
    members.Hash(&file.sha256);
    const char* known = zatlib::map::FindFileName(file.name);
    if (known == nullptr || file.name != known) members.Fail("name", "is no file of a map");
    const auto twice = [&file](const ManifestFile& other) { return other.name == file.name; };
    if (std::any_of(files->begin(), files->end(), twice)) members.Fail("name", "is there twice");
    files->push_back(std::move(file));
  }
}

const Json& ListOf(Members& members, const char* name) {
  static const Json kEmpty = Json::array();
  const Json& list = members.Child(name);
  if (list.is_array()) return list;
  members.Fail(name, "is no list");
  return kEmpty;
}

void TakeAll(const Json& all, Manifest* manifest, std::string* fault) {
  Members members(all, "", fault);
  if (!fault->empty()) {
    *fault = "it is no JSON object";
    return;
  }
  int format = 0;
  members.Count("format", &format);
  if (fault->empty() && format != kFormat) {
    *fault = "its format is " + std::to_string(format) + "; this zatmap knows 1";
  }
  members.Text("version", &manifest->version);
  members.Text("built", &manifest->built);
  members.Seconds("seconds", &manifest->seconds);
  members.Text("folder", &manifest->current_folder);
  members.Count("code_page", &manifest->code_page, kMostCodePage);
  TakeOptions(members.Child("options"), manifest, fault);
  TakeCounts(members.Child("counts"), &manifest->counts, fault);
  TakeSource(members.Child("control"), "control", false, &manifest->control, fault);
  const Json& sources = ListOf(members, "sources");
  for (size_t i = 0; i < sources.size() && fault->empty(); ++i) {
    ManifestSource source;
    TakeSource(sources[i], "sources, entry " + std::to_string(i + 1), true, &source, fault);
    manifest->sources.push_back(std::move(source));
  }
  TakeFiles(ListOf(members, "files"), &manifest->files, fault);
}

// The text of the file; false when it cannot be read or is too large.
bool LoadText(const std::string& path, std::string* text) {
  File file =
      File::Open(path.c_str(), zatlib::platform::Access::kRead, zatlib::platform::Share::kReadWrite,
                 zatlib::platform::Disposition::kOpenExisting);
  if (!file.IsOpen()) return false;
  const int64_t size = file.Size();
  if (size < 0 || size > kMostBytes) return false;
  text->resize(static_cast<size_t>(size));
  uint32_t read = 0;
  return file.Read(text->data(), static_cast<uint32_t>(size), &read) && read == text->size();
}

}  // namespace

Json ManifestJson(const Manifest& manifest) {
  Json all;
  all["format"] = kFormat;
  all["version"] = manifest.version;
  all["built"] = manifest.built;
  all["seconds"] = std::round(manifest.seconds * 1000) / 1000;
  all["folder"] = manifest.current_folder;
  all["code_page"] = manifest.code_page;
  all["options"] = {{"format", manifest.is_msr ? "MSR" : "ZAT"},
                    {"msr", manifest.msr_option},
                    {"stage", manifest.stage},
                    {"fare_data", manifest.fare_data}};
  const MapCounts& counts = manifest.counts;
  all["counts"] = {{"nodes", counts.nodes},
                   {"links", counts.links},
                   {"shapes", counts.shapes},
                   {"shape_points", counts.shape_points},
                   {"prohibited_turns", counts.prohibited_turns},
                   {"weighted_turns", counts.weighted_turns}};
  all["control"] = SourceJson(manifest.control);
  Json sources = Json::array();
  for (const ManifestSource& source : manifest.sources) sources.push_back(SourceJson(source));
  all["sources"] = std::move(sources);
  Json files = Json::array();
  for (const ManifestFile& file : manifest.files) {
    Json entry = {{"name", file.name}};
    entry.update(HashJson(file.bytes, file.sha256));
    files.push_back(std::move(entry));
  }
  all["files"] = std::move(files);
  return all;
}

ManifestState ReadManifest(const std::string& folder, Manifest* manifest, std::string* fault) {
  const std::string path = zatlib::PathIn(folder.c_str(), kManifestFile).c_str();
  *manifest = {};
  fault->clear();
  std::string text;
  if (zatlib::platform::KindOfFile(path.c_str()) == zatlib::platform::FileKind::kNone) {
    return ManifestState::kNone;
  }
  if (!IsOrdinaryFile(path)) {
    *fault = "it is no ordinary file";
  } else if (!LoadText(path, &text)) {
    *fault = "it cannot be read, or it is too large";
  } else {
    const Json all = Json::parse(text, nullptr, false);
    TakeAll(all, manifest, fault);
  }
  return fault->empty() ? ManifestState::kRead : ManifestState::kMalformed;
}

}  // namespace zatmap
