// The names and values of a control file, and the folder and class files that it names.
#include <cstring>
#include <utility>

#include "check/control.h"
#include "check/words.h"
#include "frd/control.h"
#include "frd/files.h"
#include "network/workstore/work_stores.h"
#include "platform/file_kind.h"
#include "platform/folder.h"
#include "platform/profile.h"
#include "shape/shape_files.h"
#include "toll/fare_files.h"

namespace zatmap::check {
namespace {

using zatlib::SectionOwner;

constexpr uint32_t kClassLine = 1024;  // bytes of a class file's line

}  // namespace

const zatlib::ControlSection* Control::CheckSection(const Line& line) {
  const Place here{file_, line.number, 0, 0};
  std::vector<std::string> names;
  for (const zatlib::ControlSection& section : zatlib::kControlSections) {
    if (Upper(line.section) == section.name) {
      if (section.owner == (msr_ ? SectionOwner::kZat : SectionOwner::kMsr)) {
        findings_.Add(Kind::kSectionOtherFormat, here, "[%s] while the format is %s",
                      line.section.c_str(), msr_ ? "MSR" : "ZAT");
      }
      return &section;
    }
    names.emplace_back(section.name);
  }
  const std::string likely = Likely(Upper(line.section), names);
  if (likely.empty()) {
    findings_.Add(Kind::kSectionUnknown, here, "[%s]", line.section.c_str());
  } else {
    findings_.Add(Kind::kSectionMisspelt, here, "[%s], probably [%s]", line.section.c_str(),
                  likely.c_str());
  }
  return nullptr;
}

const zatlib::ControlKey* Control::CheckKey(const Line& line,
                                            const zatlib::ControlSection& section) {
  int number = -1;
  const std::string key = Upper(line.key);
  const std::string stem = Stem(key, &number);
  std::vector<std::string> names;
  std::string short_number;
  for (const zatlib::ControlKey& known : section.keys) {
    const std::string name(known.name);
    if (!name.ends_with('#')) {
      if (key == name) return &known;
      names.push_back(name);
      continue;
    }
    const std::string bare = name.substr(0, name.size() - 1);
    if (stem == name) {
      const std::string written = Numbered(bare.c_str(), number);
      if (key == written) return &known;
      short_number = written;
    }
    names.push_back(bare + "01");
  }
  const Place here{file_, line.number, 0, 0};
  const std::string likely = short_number.empty() ? Likely(key, names) : short_number;
  if (likely.empty()) {
    findings_.Add(Kind::kKeyUnknown, here, "[%s] %s", line.section.c_str(), line.key.c_str());
  } else {
    findings_.Add(Kind::kKeyMisspelt, here, "[%s] %s, probably %s", line.section.c_str(),
                  line.key.c_str(), likely.c_str());
  }
  return nullptr;
}

void Control::CheckNames() {
  const zatlib::ControlSection* section = nullptr;
  for (const Line& line : lines_) {
    if (!line.counts) continue;
    if (line.key.empty()) {
      section = CheckSection(line);
      continue;
    }
    const zatlib::ControlKey* const key = section != nullptr ? CheckKey(line, *section) : nullptr;
    if (key == nullptr) continue;
    const Place here{file_, line.number, 0, 0};
    if (line.value.find(';') != std::string::npos) {
      findings_.Add(Kind::kValueComment, here, "[%s] %s=%s", line.section.c_str(), line.key.c_str(),
                    line.value.c_str());
    } else if (key->type == zatlib::KeyType::kInteger && !line.value.empty() &&
               !IsInteger(Unquoted(line.value))) {
      findings_.Add(Kind::kValueNumber, here, "[%s] %s=%s counts as %d", line.section.c_str(),
                    line.key.c_str(), line.value.c_str(),
                    Int(line.section.c_str(), line.key.c_str(), 0));
    }
  }
}

// Flags as linkdef.dat gets them: the older names only when the others are empty.
void Control::CheckFlags() {
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
  CheckFlags();
}

void Control::CheckFareFiles() {
  const std::string pay = zatlib::PathIn(folder_.c_str(), zatlib::kFareStatusFile).c_str();
  int fare_files = 0;
  std::string missing;
  for (const char* file : zatlib::kFareFiles) {
    if (Holds(file)) {
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
    if (!has_pay) missing += std::string(missing.empty() ? "" : ", ") + zatlib::kFareStatusFile;
    findings_.Add(Kind::kFareIncomplete, {findings_.File(folder_), 0, 0, 0}, "missing %s",
                  missing.c_str());
  } else if (std::strcmp(result, "OK") != 0) {
    findings_.Add(Kind::kFareIncomplete, {findings_.File(pay), 0, 0, 0},
                  "[SYSTEM] Result=%s, not OK", result);
  }
}

// True when the output folder has the file.
bool Control::Holds(const char* name) const {
  return zatlib::CanOpen(zatlib::PathIn(folder_.c_str(), name).c_str());
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
  if (zatlib::platform::KindOfFile(shown) == zatlib::platform::FileKind::kFile) {
    findings_.Add(Kind::kFolderFile, At("FOLDER", "CALCMAPDIR"), "%s", shown);
    return;
  }
  if (!zatlib::platform::IsFolder(shown)) {
    findings_.Add(Kind::kFolderMissing, At("FOLDER", "CALCMAPDIR"), "%s", shown);
    return;
  }
  folder_ = shown;
  if (!zatlib::platform::MayChangeFolder(shown)) {
    findings_.Add(Kind::kFolderReadOnly, At("FOLDER", "CALCMAPDIR"), "%s", shown);
  }
  const auto leftover = [&](const char* section, const char* file) {
    if (Holds(file)) {
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
  } else if (Int("DKUKAN", "MIFOUTPUT", 0) == 0 && Holds(zatlib::kShapeIndexFile)) {
    findings_.Add(Kind::kFolderLeftover, At("FOLDER", "CALCMAPDIR"),
                  "%s, because [DKUKAN] MIFOUTPUT is 0",
                  zatlib::PathIn(folder_.c_str(), zatlib::kShapeIndexFile).c_str());
  }
  CheckFareFiles();
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

}  // namespace zatmap::check
