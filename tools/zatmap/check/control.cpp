#include "check/control.h"

#include <algorithm>
#include <cstring>

#include "check/causes.h"
#include "check/words.h"
#include "frd/control.h"
#include "frd/files.h"
#include "interface/driver/build_driver.h"
#include "platform/file_kind.h"
#include "platform/profile.h"
#include "shell/ini_text.h"

namespace zatmap::check {
namespace {

using zatlib::ControlInt;

constexpr size_t kValueSize = 4096;
constexpr int kFileKeys = 9999;  // numbered keys that are looked for at most

}  // namespace

Control::Control(Findings& findings, const std::string& path, bool msr)
    : findings_(findings),
      name_(path),
      path_(zatlib::platform::AbsolutePath(path.c_str())),
      file_(findings.File(path)),
      msr_(msr) {}

int Control::Int(const char* section, const char* key, int default_value) const {
  return ControlInt(path_.c_str(), section, key, default_value);
}

std::string Control::Text(const char* section, const char* key) const {
  std::string text(kValueSize, '\0');
  text.resize(zatlib::platform::ReadProfileString(section, key, "", text.data(), kValueSize,
                                                  path_.c_str()));
  return text;
}

const Control::Line* Control::Find(const char* section, const char* key) const {
  for (const Line& line : lines_) {
    if (line.counts && Upper(line.section) == section && Upper(line.key) == key) return &line;
  }
  return nullptr;
}

Place Control::At(const char* section, const char* key) const {
  const Line* line = Find(section, key);
  if (line == nullptr) line = Find(section, "");
  return {file_, line != nullptr ? line->number : 0, 0, 0};
}

bool Control::Check() {
  if (!MayOpen(findings_, name_)) return false;
  if (!zatlib::CanOpen(name_.c_str())) {
    findings_.Add(Kind::kControlMissing, {file_, 0, 0, 0}, "%s", path_.c_str());
    return false;
  }
  FileSample sample;
  // Nothing of it can be taken for a section.
  if (sample.Read(name_) && !sample.head().empty() &&
      !IsOfUse(findings_, sample, FileRole::kControl, name_, "")) {
    return false;
  }
  if (zatlib::BRN_GetFormat(path_.c_str()) == zatlib::kFormatMsr) msr_ = true;
  ReadLines();
  CheckNames();
  CheckValues();
  CheckFolder();
  CheckClasses("ATTRIBUTE");
  CheckClasses("WIDTH");
  return true;
}

// The lines as the profile calls see them: any line end, the first section of a name.
void Control::ReadLines() {
  std::string text;
  zatlib::platform::File file = zatlib::platform::File::Open(
      name_.c_str(), zatlib::platform::Access::kRead, zatlib::platform::Share::kRead,
      zatlib::platform::Disposition::kOpenExisting);
  std::vector<char> block(1 << 16);
  uint32_t read = 0;
  while (file.Read(block.data(), static_cast<uint32_t>(block.size()), &read) && read > 0) {
    text.append(block.data(), read);
  }
  if (text.starts_with("\xef\xbb\xbf")) {
    findings_.Add(Kind::kByteOrderMark, {file_, 1, 0, 0}, "bytes EF BB BF");
    text.erase(0, 3);
  }

  std::string section;
  bool counts = false;
  std::vector<std::string> seen;
  for (const IniLine& line : IniLines(text, IniStyle::kForgiving)) {
    const Place here{file_, line.number, 0, 0};
    if (line.kind == IniLine::kBlank || line.kind == IniLine::kComment) continue;
    if (line.kind == IniLine::kSection) {
      section = line.key;
      const std::string name = Upper(section);
      counts = std::find(seen.begin(), seen.end(), name) == seen.end();
      if (counts) {
        seen.push_back(name);
        lines_.push_back({section, "", "", line.number, true});
      } else {
        findings_.Add(Kind::kSectionTwice, here, "[%s]", section.c_str());
      }
      continue;
    }
    if (line.kind == IniLine::kOther && line.text.starts_with('[')) {
      findings_.Add(Kind::kSectionBracket, here, "%.*s", Size(line.text), line.text.data());
      findings_.Hide(file_, {Kind::kKeyTwice, Kind::kFileNumber});
      continue;
    }
    if (line.kind == IniLine::kOther || section.empty()) {
      findings_.Add(Kind::kControlLine, here, "%.*s",
                    static_cast<int>(std::min<size_t>(line.text.size(), 80)), line.text.data());
      continue;
    }
    if (counts && Find(Upper(section).c_str(), Upper(line.key).c_str()) != nullptr) {
      findings_.Add(Kind::kKeyTwice, here, "[%s] %s", section.c_str(), line.key.c_str());
      continue;
    }
    lines_.push_back({section, line.key, line.value, line.number, counts});
  }
}

std::vector<std::string> Control::Files(const char* section, bool mandatory) {
  std::vector<std::string> files;
  if (!HasSection(section)) {
    if (mandatory) findings_.Add(Kind::kSectionMissing, {file_, 0, 0, 0}, "[%s]", section);
    return files;
  }
  const int count = Int(section, "FILENUM", 0);
  const bool has_count = Find(section, "FILENUM") != nullptr;
  if (count < 1 && (mandatory || (Find(section, "FILE01") != nullptr && !has_count))) {
    findings_.Add(Kind::kKeyMissing, At(section, "FILENUM"), "[%s] FILENUM", section);
  }
  if (has_count && count < 1 && Find(section, "FILE01") != nullptr) {
    findings_.Add(Kind::kFileNumZero, At(section, "FILENUM"), "[%s] FILENUM=%s", section,
                  Text(section, "FILENUM").c_str());
    return files;
  }
  int read = count;
  if (std::strcmp(section, "NODEXY") == 0 && count > 1) {
    findings_.Add(Kind::kNodeXYFiles, At(section, "FILENUM"), "[NODEXY] FILENUM=%d", count);
    read = 1;
  }
  for (int i = 1; i <= std::min(read, kFileKeys); ++i) {
    const std::string key = Numbered("FILE", i);
    const std::string path = Text(section, key.c_str());
    if (path.empty()) {
      findings_.Add(Kind::kKeyMissing, At(section, key.c_str()), "[%s] %s", section, key.c_str());
      break;
    }
    if (path.size() >= zatlib::kPathSize) {
      findings_.Add(Kind::kPathLong, At(section, key.c_str()), "[%s] %s has %zu bytes", section,
                    key.c_str(), path.size());
    }
    files.push_back(path.substr(0, zatlib::kPathSize - 1));
  }
  if (!has_count) return files;
  for (const Line& line : lines_) {
    int number = -1;
    if (line.counts && Upper(line.section) == section &&
        Stem(Upper(line.key), &number) == "FILE#" && number > std::max(count, 0)) {
      findings_.Add(Kind::kFileNumber, {file_, line.number, 0, 0}, "[%s] %s=%s while FILENUM=%d",
                    section, line.key.c_str(), line.value.c_str(), count);
    }
  }
  return files;
}

// The finding for a file that cannot be opened. Always false.
bool Control::ReportNotOpened(Kind kind, const char* section, int number, const std::string& path) {
  char folder[zatlib::kPathSize];
  char name[zatlib::kPathSize];
  zatlib::FRD_SplitPath(path.c_str(), folder, name);
  const std::string key = Numbered("FILE", number);
  const Place source = At(section, key.c_str());
  std::string other;
  const bool bare = folder[0] == 0 && !path.starts_with('/');
  zatlib::platform::FindFiles(
      bare             ? "."
      : folder[0] == 0 ? "/"
                       : folder,
      "", [&](const char* entry) {
        if (other.empty() && Upper(entry) == Upper(name) && std::strcmp(entry, name) != 0) {
          other = entry;
        }
      });
  const uint32_t file = findings_.File(path);
  if (zatlib::platform::KindOfFile(path.c_str()) == zatlib::platform::FileKind::kFile) {
    kind = Kind::kFileDenied;
  }
  if (!other.empty()) {
    findings_.Add(Kind::kFileCase, {file, 0, 0, 0}, "there is %s ([%s] %s, %s line %lld)",
                  other.c_str(), section, key.c_str(), name_.c_str(),
                  static_cast<long long>(source.record));
  } else {
    findings_.Add(kind, {file, 0, 0, 0}, "[%s] %s, %s line %lld", section, key.c_str(),
                  name_.c_str(), static_cast<long long>(source.record));
  }
  return false;
}

bool Control::LookAt(const char* section, int number, const std::string& path, FileRole role) {
  return LookAtSource(findings_, {section, number, path, role, code_length_, msr_});
}

bool Control::Open(Source& source, const char* section, int number, const std::string& path,
                   bool mif) {
  if (!LookAt(section, number, path, mif ? FileRole::kMif : FileRole::kRows)) return false;
  return source.Open(path, mif) || ReportNotOpened(Kind::kFileMissing, section, number, path);
}

bool Control::OpenMid(Source& data, const char* section, int number, const std::string& path,
                      bool mif) {
  char name[zatlib::kPathSize];
  zatlib::FRD_SplitPath(path.c_str(), nullptr, name);
  zatlib::PathText mid;
  zatlib::FRD_MakeMidPath(path.c_str(), mid.text);
  if (std::strchr(name, '.') == nullptr) {
    const std::string key = Numbered("FILE", number);
    findings_.Add(Kind::kMidPath, At(section, key.c_str()), "%s gives %s", path.c_str(),
                  mid.c_str());
  }
  if (!LookAt(section, number, mid.c_str(), mif ? FileRole::kMid : FileRole::kNames)) return false;
  return data.Open(mid.c_str(), false) ||
         ReportNotOpened(mif ? Kind::kMifMidMissing : Kind::kMidMissing, section, number,
                         mid.c_str());
}

}  // namespace zatmap::check
