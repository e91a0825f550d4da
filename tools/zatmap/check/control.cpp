#include "check/control.h"

#include <algorithm>
#include <cstring>

#include "frd/control.h"
#include "interface/driver/build_driver.h"
#include "network/workstore/work_stores.h"
#include "platform/profile.h"
#include "shape/shape_files.h"
#include "shell/ini_text.h"
#include "shell/text.h"

namespace zatmap::check {
namespace {

using zatlib::ControlInt;

// The sections, whose they are, and their keys. '#' stands for a number of two digits or more, ':i'
// marks keys that hold a whole number.
enum class Owner { kBoth, kZat, kMsr };
struct SectionNames {
  const char* name;
  Owner owner;
  std::vector<const char*> keys;
};

const std::vector<SectionNames>& KnownSections() {
  static const std::vector<SectionNames> kSections = {
      {"SYSTEM",
       Owner::kBoth,
       {"FORMAT", "SILENTMODE:i", "CODELENGTH:i", "BUILDMETHOD", "DEBUG:i", "LOG:i", "THREADS:i"}},
      {"FOLDER", Owner::kBoth, {"CALCMAPDIR"}},
      {"TUKOUJ", Owner::kBoth, {"NOTADDONEWAY:i", "FILENUM:i", "FILE#"}},
      {"ATTRIBUTE", Owner::kBoth, {"FILENUM:i", "FILE#"}},
      {"WIDTH", Owner::kBoth, {"FILENUM:i", "FILE#"}},
      {"TOLLROAD", Owner::kBoth, {"NUMDEF:i", "DEF#"}},
      {"ROADFLAG",
       Owner::kBoth,
       {"HIGHWAY:i", "PAYROAD:i", "FERRY:i", "RAILROAD:i", "TOLLGATE:i", "PARKING:i", "AIR:i",
        "PEDESTRIANWAY:i", "SHIP:i", "RTWEIGHT_RIGHT:i", "RTWEIGHT_LEFT:i", "RTWEIGHT:i",
        "ICWEIGHT:i"}},
      {"DEFAULTSPEED", Owner::kBoth, {"SPEEDA:i", "SPEEDB:i"}},
      {"NODE", Owner::kZat, {"FILENUM:i", "FILE#", "MIF:i"}},
      {"NODENAME", Owner::kZat, {"FILENUM:i", "FILE#"}},
      {"NODEXY", Owner::kZat, {"FILENUM:i", "FILE#"}},
      {"LINK", Owner::kZat, {"FILENUM:i", "FILE#", "MIF:i"}},
      {"LINKSPEED", Owner::kZat, {"FILENUM:i", "FILE#"}},
      {"LINKNAME", Owner::kZat, {"FILENUM:i", "FILE#"}},
      {"NODETRF", Owner::kZat, {"FILENUM:i", "FILE#"}},
      {"LINKTRF", Owner::kZat, {"FILENUM:i", "FILE#"}},
      {"LINKSHAPE", Owner::kZat, {"FILENUM:i", "FILE#"}},
      {"DROTEN", Owner::kMsr, {"FILENUM:i", "FILE#"}},
      {"DKUKAN", Owner::kMsr, {"FILENUM:i", "FILE#", "MIFOUTPUT:i"}},
      {"KUKANZ", Owner::kMsr, {"FILENUM:i", "FILE#"}},
  };
  return kSections;
}

constexpr size_t kValueSize = 4096;
constexpr uint32_t kClassLine = 1024;  // bytes of a class file's line
constexpr int kFileKeys = 9999;        // numbered keys that are looked for at most
constexpr const char* kFareFiles[] = {"TR_FARE2.DAT", "TR_FARE2.IDX", "TR_FARE3.DAT", "TR_LINK.DAT",
                                      "TR_NAME.DAT"};

std::string Upper(std::string_view text) {
  std::string upper(text);
  for (char& c : upper) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
  }
  return upper;
}

// Letters to change, add, remove or exchange with their neighbour to turn one word into the other.
int Distance(const std::string& a, const std::string& b) {
  std::vector<std::vector<int>> d(a.size() + 1, std::vector<int>(b.size() + 1));
  for (size_t i = 0; i <= a.size(); ++i) d[i][0] = static_cast<int>(i);
  for (size_t j = 0; j <= b.size(); ++j) d[0][j] = static_cast<int>(j);
  for (size_t i = 1; i <= a.size(); ++i) {
    for (size_t j = 1; j <= b.size(); ++j) {
      d[i][j] = std::min(
          {d[i - 1][j] + 1, d[i][j - 1] + 1, d[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
      }
    }
  }
  return d[a.size()][b.size()];
}

// The word of a list that is probably meant, "" when none is near.
std::string Likely(const std::string& word, const std::vector<std::string>& words) {
  std::string best;
  int best_distance = word.size() <= 4 ? 2 : 3;
  for (const std::string& candidate : words) {
    const int distance = Distance(word, candidate);
    if (distance < best_distance) {
      best_distance = distance;
      best = candidate;
    }
  }
  return best;
}

// A key with its number taken off: "FILE03" is "FILE#". `*number` is -1 without one.
std::string Stem(const std::string& key, int* number) {
  size_t digits = key.size();
  while (digits > 0 && key[digits - 1] >= '0' && key[digits - 1] <= '9') --digits;
  *number = digits < key.size() ? zatlib::FRD_ParseInt(key.substr(digits)) : -1;
  return digits < key.size() ? key.substr(0, digits) + "#" : key;
}

std::string Numbered(const char* stem, int number) {
  char text[32];
  zatlib::FRD_Format(text, sizeof text, "%s%02d", stem, number);
  return text;
}

bool IsInteger(std::string_view text) {
  text = Trim(text, kBlanksAndLineEnds);
  if (!text.empty() && (text.front() == '-' || text.front() == '+')) text.remove_prefix(1);
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::string Unquoted(std::string_view value) {
  if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
      value.back() == value.front()) {
    value = value.substr(1, value.size() - 2);
  }
  return std::string(value);
}

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
  if (!zatlib::CanOpen(name_.c_str())) {
    findings_.Add(Kind::kControlMissing, {file_, 0, 0, 0}, "%s", path_.c_str());
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
  } else if (text.starts_with("\xff\xfe") || text.starts_with("\xfe\xff")) {
    findings_.Add(Kind::kWideText, {file_, 1, 0, 0}, "bytes %s",
                  text[0] == '\xff' ? "FF FE" : "FE FF");
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

void Control::CheckNames() {
  std::vector<std::string> section_names;
  for (const SectionNames& known : KnownSections()) section_names.push_back(known.name);
  const SectionNames* known = nullptr;
  for (const Line& line : lines_) {
    const Place here{file_, line.number, 0, 0};
    if (!line.counts) continue;
    if (line.key.empty()) {
      known = nullptr;
      for (const SectionNames& names : KnownSections()) {
        if (Upper(line.section) == names.name) known = &names;
      }
      if (known == nullptr) {
        const std::string likely = Likely(Upper(line.section), section_names);
        if (likely.empty()) {
          findings_.Add(Kind::kSectionUnknown, here, "[%s]", line.section.c_str());
        } else {
          findings_.Add(Kind::kSectionMisspelt, here, "[%s], probably [%s]", line.section.c_str(),
                        likely.c_str());
        }
      } else if (known->owner == (msr_ ? Owner::kZat : Owner::kMsr)) {
        findings_.Add(Kind::kSectionOtherFormat, here, "[%s] while the format is %s",
                      line.section.c_str(), msr_ ? "MSR" : "ZAT");
      }
      continue;
    }
    if (known == nullptr) continue;
    int number = -1;
    const std::string key = Upper(line.key);
    const std::string stem = Stem(key, &number);
    bool good = false;
    bool whole = false;
    std::vector<std::string> key_names;
    std::string short_number;
    for (const char* pattern : known->keys) {
      std::string name(pattern);
      const bool is_whole = name.ends_with(":i");
      if (is_whole) name.resize(name.size() - 2);
      if (name.ends_with('#')) {
        const std::string bare = name.substr(0, name.size() - 1);
        if (stem == name) {
          const std::string written = Numbered(bare.c_str(), number);
          good = good || key == written;
          if (key != written) short_number = written;
        }
        key_names.push_back(bare + "01");
      } else {
        good = good || key == name;
        key_names.push_back(name);
      }
      if (good && key == name) whole = is_whole;
    }
    if (!good) {
      std::string likely = short_number.empty() ? Likely(key, key_names) : short_number;
      if (likely.empty()) {
        findings_.Add(Kind::kKeyUnknown, here, "[%s] %s", line.section.c_str(), line.key.c_str());
      } else {
        findings_.Add(Kind::kKeyMisspelt, here, "[%s] %s, probably %s", line.section.c_str(),
                      line.key.c_str(), likely.c_str());
      }
      continue;
    }
    const size_t comment = line.value.find(';');
    if (comment != std::string::npos) {
      findings_.Add(Kind::kValueComment, here, "[%s] %s=%s", line.section.c_str(), line.key.c_str(),
                    line.value.c_str());
    } else if (whole && !line.value.empty() && !IsInteger(Unquoted(line.value))) {
      findings_.Add(Kind::kValueNumber, here, "[%s] %s=%s counts as %d", line.section.c_str(),
                    line.key.c_str(), line.value.c_str(),
                    Int(line.section.c_str(), line.key.c_str(), 0));
    }
  }
}

void Control::CheckValues() {
  const auto unknown_value = [this](const char* section, const char* key, const char* meaning) {
    findings_.Add(Kind::kValueUnknown, At(section, key), "[%s] %s=%s counts as %s", section, key,
                  Text(section, key).c_str(), meaning);
  };
  const std::string format = Upper(Text("SYSTEM", "FORMAT"));
  if (!format.empty() && format != "ZAT" && format != "MSR") {
    unknown_value("SYSTEM", "FORMAT", "ZAT");
  }
  const int silent = Int("SYSTEM", "SILENTMODE", 0);
  if (silent != 0 && silent != 1) unknown_value("SYSTEM", "SILENTMODE", "0");
  const std::string method = Text("SYSTEM", "BUILDMETHOD");
  if (!method.empty() && method != "M" && method != "F") {
    unknown_value("SYSTEM", "BUILDMETHOD", "none");
  }
  code_length_ = Int("SYSTEM", "CODELENGTH", zatlib::kDecimalCode);
  if (!zatlib::IsValidCodeLength(code_length_)) {
    findings_.Add(Kind::kCodeLength, At("SYSTEM", "CODELENGTH"), "CODELENGTH=%d", code_length_);
    code_length_ = code_length_ > 16 ? zatlib::kIntegerCode : zatlib::kDecimalCode;
  }

  // Flags as linkdef.dat gets them: the older names only when the others are empty.
  const char* const names[][2] = {{"HIGHWAY", ""},          {"PAYROAD", ""},    {"FERRY", ""},
                                  {"RAILROAD", ""},         {"PARKING", "AIR"}, {"TOLLGATE", ""},
                                  {"PEDESTRIANWAY", "SHIP"}};
  std::vector<std::pair<int, std::string>> flags;
  for (const auto& name : names) {
    std::string key = name[0];
    std::string value = Text("ROADFLAG", key.c_str());
    if (value.empty() && name[1][0] != 0) {
      key = name[1];
      value = Text("ROADFLAG", key.c_str());
    }
    if (value.empty()) continue;
    const int flag = zatlib::FRD_ParseInt(value);
    if (flag <= 0) continue;
    for (const auto& [other_flag, other_key] : flags) {
      if (other_flag == flag) {
        findings_.Add(Kind::kFlagClash, At("ROADFLAG", key.c_str()), "%s=%d and %s=%d",
                      other_key.c_str(), flag, key.c_str(), flag);
      }
    }
    flags.emplace_back(flag, key);
  }
}

void Control::CheckFolder() {
  const std::string value = Text("FOLDER", "CALCMAPDIR");
  if (value.size() >= zatlib::kPathSize) {
    findings_.Add(Kind::kPathLong, At("FOLDER", "CALCMAPDIR"), "[FOLDER] CALCMAPDIR has %zu bytes",
                  value.size());
  }
  if (value.size() < 2) {
    findings_.Add(Kind::kFolderDefault, At("FOLDER", "CALCMAPDIR"), "[FOLDER] CALCMAPDIR=%s",
                  value.c_str());
  }
  char folder[zatlib::kPathSize];
  zatlib::BRN_GetCalcMapDir(path_.c_str(), folder);
  const char* const shown = folder[0] == 0 ? "." : folder;
  if (!zatlib::platform::IsFolder(shown)) {
    findings_.Add(Kind::kFolderMissing, At("FOLDER", "CALCMAPDIR"), "%s", shown);
    return;
  }
  folder_ = shown;
  const auto present = [this](const char* name) {
    return zatlib::CanOpen(zatlib::PathIn(folder_.c_str(), name).c_str());
  };
  const auto leftover = [&](const char* section, const char* file) {
    if (present(file)) {
      findings_.Add(Kind::kFolderLeftover, At("FOLDER", "CALCMAPDIR"),
                    "%s, because there is no [%s]", zatlib::PathIn(folder_.c_str(), file).c_str(),
                    section);
    }
  };
  if (!msr_) {
    if (Int("NODETRF", "FILENUM", 0) < 1) leftover("NODETRF", zatlib::kRuleStoreFile);
    if (Int("LINKTRF", "FILENUM", 0) < 1) leftover("LINKTRF", zatlib::kOneWayStoreFile);
    if (Int("LINK", "MIF", 0) == 0 && Int("LINKSHAPE", "FILENUM", 0) < 1) {
      leftover("LINKSHAPE", zatlib::kShapeIndexFile);
    }
  } else if (Int("DKUKAN", "MIFOUTPUT", 0) == 0 && present(zatlib::kShapeIndexFile)) {
    findings_.Add(Kind::kFolderLeftover, At("FOLDER", "CALCMAPDIR"),
                  "%s, because [DKUKAN] MIFOUTPUT is 0",
                  zatlib::PathIn(folder_.c_str(), zatlib::kShapeIndexFile).c_str());
  }

  const std::string pay = zatlib::PathIn(folder_.c_str(), "PayData.Inf").c_str();
  int fare_files = 0;
  std::string missing;
  for (const char* file : kFareFiles) {
    if (present(file)) {
      ++fare_files;
    } else {
      missing += missing.empty() ? "" : ", ";
      missing += file;
    }
  }
  const bool has_pay = zatlib::CanOpen(pay.c_str());
  if (fare_files == 0 && !has_pay) return;
  char result[64] = {};
  zatlib::platform::ReadProfileString("SYSTEM", "Result", "", result, sizeof result, pay.c_str());
  if (!missing.empty() || !has_pay) {
    if (!has_pay) missing += std::string(missing.empty() ? "" : ", ") + "PayData.Inf";
    findings_.Add(Kind::kFareIncomplete, {findings_.File(folder_), 0, 0, 0}, "missing %s",
                  missing.c_str());
  } else if (std::strcmp(result, "OK") != 0) {
    findings_.Add(Kind::kFareIncomplete, {findings_.File(pay), 0, 0, 0},
                  "[SYSTEM] Result=%s, not OK", result);
  }
}

// The files of road and width classes.
void Control::CheckClasses(const char* section) {
  const int files = Int(section, "FILENUM", 0);
  if (files > 1) {
    findings_.Add(Kind::kValueUnknown, At(section, "FILENUM"), "[%s] FILENUM=%d counts as none",
                  section, files);
  }
  if (files != 1) return;
  const std::string path = Text(section, "FILE01");
  if (path.empty()) {
    findings_.Add(Kind::kKeyMissing, At(section, "FILE01"), "[%s] FILE01", section);
    return;
  }
  Source source(findings_);
  if (!Open(source, section, 1, path, false)) return;
  std::string_view line;
  while (source.Next(kClassLine, &line)) {
    if (line.find(',') == std::string_view::npos) {
      findings_.Add(Kind::kColumnsMissing, source.Here(), "no comma between code and label");
    }
  }
  source.Close();
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

bool Control::Open(Source& source, const char* section, int number, const std::string& path,
                   bool mif) {
  return source.Open(path, mif) || ReportNotOpened(Kind::kFileMissing, section, number, path);
}

bool Control::OpenMid(Source& data, const char* section, int number, const std::string& path) {
  char name[zatlib::kPathSize];
  zatlib::FRD_SplitPath(path.c_str(), nullptr, name);
  zatlib::PathText mid;
  zatlib::FRD_MakeMidPath(path.c_str(), mid.text);
  if (std::strchr(name, '.') == nullptr) {
    const std::string key = Numbered("FILE", number);
    findings_.Add(Kind::kMidPath, At(section, key.c_str()), "%s gives %s", path.c_str(),
                  mid.c_str());
  }
  return data.Open(mid.c_str(), false) ||
         ReportNotOpened(Kind::kMidMissing, section, number, mid.c_str());
}

}  // namespace zatmap::check
