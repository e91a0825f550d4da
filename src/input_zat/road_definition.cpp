#include "input_zat/road_definition.h"

#include <algorithm>
#include <string>

#include "frd/cp932.h"
#include "frd/log.h"
#include "frd/mif_text.h"
#include "frd/source_report.h"
#include "frd/step.h"
#include "network/workstore/work_stores.h"
#include "platform/clock.h"
#include "platform/profile.h"

namespace zatlib {
namespace {

constexpr uint32_t kClassLineSize = 1024;  // bytes of a class file's line
constexpr uint32_t kHeaderLineSize = 512;  // bytes of a MIF header line
constexpr uint32_t kTollValueSize = 1024;  // bytes of a toll class value
constexpr uint32_t kFlagValueSize = 512;   // bytes of a road flag value
// Entries of a list between two looks at the window. They only keep it alive: a file that is begun
// is written whole, and a cancel is heard behind it.
constexpr int64_t kEntriesPerLook = 256;

// A built-in list of classes: code as it stands in the link data, comma, label.
struct ClassList {
  const char* section;
  MessageText<const char*> not_opened;
  const char* const* entries;
  int count;
};

const char* const kRoadClasses[] = {
    kCp932<u8"01,高速自動車国道">,
    kCp932<u8"02,都市高速道路">,
    kCp932<u8"03,一般国道">,
    kCp932<u8"04,主要地方道(都道府県道)">,
    kCp932<u8"05,主要地方道(指定市道)">,
    kCp932<u8"06,一般都道府県道">,
    kCp932<u8"07,指定市の一般市道">,
    kCp932<u8"09,その他の道路">,
    kCp932<u8"00,未調査">,
};
const char* const kWidthClasses[] = {
    kCp932<u8"1,幅員13.0m以上">,
    kCp932<u8"2,幅員5.5m以上～13.0m未満">,
    kCp932<u8"3,幅員3.0m以上～5.5m未満">,
    kCp932<u8"4,幅員3.0m未満">,
    kCp932<u8"0,未調査">,
};
constexpr ClassList kRoadClassList = {.section = "ATTRIBUTE",
                                      .not_opened = "Can't open the Attribute File (%s) !",
                                      .entries = kRoadClasses,
                                      .count = std::size(kRoadClasses)};
constexpr ClassList kWidthClassList = {.section = "WIDTH",
                                       .not_opened = "Can't open the Width Definition File (%s) !",
                                       .entries = kWidthClasses,
                                       .count = std::size(kWidthClasses)};

// A road flag: the key written, the control file's key, the older key read when that is empty, and
// the default. The file keeps the older names AIR and SHIP.
struct RoadFlagKey {
  const char* key;
  const char* source;
  const char* older_source;
  const char* default_value;
};
const RoadFlagKey kRoadFlags[] = {
    {"HIGHWAY", "HIGHWAY", nullptr, ""},
    {"PAYROAD", "PAYROAD", nullptr, ""},
    {"FERRY", "FERRY", nullptr, ""},
    {"RAILROAD", "RAILROAD", nullptr, ""},
    {"AIR", "PARKING", "AIR", ""},
    {"TOLLGATE", "TOLLGATE", nullptr, ""},
    {"SHIP", "PEDESTRIANWAY", "SHIP", ""},
    {"ICWEIGHT", "ICWEIGHT", nullptr, "0"},
    {"RTWEIGHT", "RTWEIGHT", nullptr, "0"},
    {"RTWEIGHT_RIGHT", "RTWEIGHT_RIGHT", nullptr, "45"},
    {"RTWEIGHT_LEFT", "RTWEIGHT_LEFT", nullptr, "135"},
};

// The file's sections, written key by key.
struct DefinitionFile {
  const char* path;
  bool whole = true;  // false when the system refused a key

  void Write(const char* section, const char* key, const char* value) {
    whole = platform::SaveProfileString(section, key, value, path) && whole;
  }
  void WriteNumber(const char* section, const char* key, int64_t number) {
    char text[32];
    FRD_Format(text, sizeof text, "%ld", static_cast<long>(number));
    Write(section, key, text);
  }
  void WriteEntry(const char* section, int64_t number, const char* value) {
    char key[32];
    FRD_Format(key, sizeof key, "DEF%02d", static_cast<int>(number));
    Write(section, key, value);
  }
};

// The two comment lines, in a file made anew. False when it cannot be created.
bool WriteHeader(const char* path) {
  platform::File file = platform::File::Open(path, platform::Access::kWrite, platform::Share::kNone,
                                             platform::Disposition::kCreateAlways);
  if (!file.IsOpen()) return false;
  const platform::DateTime now = platform::LocalTime();
  const std::string parts[] = {"; Road Definition File for ZATLIB40\r\n; Created ",
                               platform::RoadDefinitionDate(now) + ", ",
                               platform::RoadDefinitionTime(now) + "\r\n"};
  for (const std::string& part : parts) {
    uint32_t written = 0;
    file.Write(part.data(), static_cast<uint32_t>(part.size()), &written);
  }
  file.Flush();
  return true;
}

// The classes of a file, one a line, and their count behind them.
Outcome WriteClassFile(const Step& step, const ClassList& list, DefinitionFile& definition) {
  const PathText source = ControlFile(step.control_file(), list.section, 1);
  LineSource file;
  if (!file.Open(source.c_str())) {
    return step.FailModal(kFileError, list.not_opened, source.c_str());
  }
  int64_t count = 0;
  std::string_view line;
  while (FRD_ReadLine(file, kClassLineSize, &line) != 0) {
    std::string value(line.substr(0, line.find('\0')));
    std::replace(value.begin(), value.end(), '"', ' ');
    definition.WriteEntry(list.section, ++count, value.c_str());
    if (count % kEntriesPerLook == 0) BRN_SetStatus(nullptr);
  }
  if (IsCutShort(file.end())) return FailUnread(step, source.c_str(), file.end());
  definition.WriteNumber(list.section, "NUMDEF", count);
  return Outcome::kDone;
}

Outcome WriteClasses(const Step& step, const ClassList& list, DefinitionFile& definition) {
  if (ControlInt(step.control_file(), list.section, "FILENUM", 0) == 1) {
    return WriteClassFile(step, list, definition);
  }
  definition.WriteNumber(list.section, "NUMDEF", list.count);
  for (int i = 0; i < list.count; ++i) {
    definition.WriteEntry(list.section, i + 1, list.entries[i]);
  }
  return Outcome::kDone;
}

void WriteTollRoads(const char* control_file, DefinitionFile& definition) {
  const int count = ControlInt(control_file, "TOLLROAD", "NUMDEF", 0);
  if (count < 1) {
    definition.WriteNumber("TOLLROAD", "NUMDEF", 2);
    definition.WriteEntry("TOLLROAD", 1, "01");
    definition.WriteEntry("TOLLROAD", 2, "02");
    return;
  }
  definition.WriteNumber("TOLLROAD", "NUMDEF", count);
  for (int64_t i = 1; i <= count; ++i) {
    char key[32];
    FRD_Format(key, sizeof key, "DEF%02d", static_cast<int>(i));
    char value[kTollValueSize];
    platform::ReadProfileString("TOLLROAD", key, "", value, sizeof value, control_file);
    definition.Write("TOLLROAD", key, value);
    if (i % kEntriesPerLook == 0) BRN_SetStatus(nullptr);
  }
}

void WriteRoadFlags(const char* control_file, DefinitionFile& definition) {
  for (const RoadFlagKey& flag : kRoadFlags) {
    char value[kFlagValueSize];
    platform::ReadProfileString("ROADFLAG", flag.source, flag.default_value, value, sizeof value,
                                control_file);
    if (value[0] == 0 && flag.older_source != nullptr) {
      platform::ReadProfileString("ROADFLAG", flag.older_source, flag.default_value, value,
                                  sizeof value, control_file);
    }
    definition.Write("ROADFLAG", flag.key, value);
  }
}

}  // namespace

int BRN_CreateRoadDef(WindowHandle, const char* control_file, Prologue prologue) {
  const Step step(nullptr, control_file, "BRN_CreateRoadDef");
  if (prologue == Prologue::kWith && !IsDone(step.Begin("Setting Road Definition..."))) return 0;
  const PathText path = step.Path(kRoadDefinitionFile);
  DefinitionFile definition{path.c_str()};
  const bool created = WriteHeader(path.c_str());
  if (!created) {
    // The profile writes below create the file themselves; it then lacks the comment lines only.
    static_cast<void>(
        step.FailModal(kFileError, "Can't open the Road Definition File (%s) !", path.c_str()));
  }
  if (!IsDone(WriteClasses(step, kRoadClassList, definition))) return 0;
  if (!IsDone(WriteClasses(step, kWidthClassList, definition))) return 0;
  WriteTollRoads(control_file, definition);
  WriteRoadFlags(control_file, definition);
  const int code_length = ControlInt(control_file, "SYSTEM", "CODELENGTH", kDecimalCode);
  definition.WriteNumber("SYSTEM", "CODELENGTH", code_length);
  LogBuild("CODELENGTH=%d", code_length);
  if (created && !definition.whole) {
    // Every later step asks this file for the code length and would take a missing one for 14.
    return AsResult(
        step.FailModal(kFileError, "Can't write the Road Definition File (%s) !", path.c_str()));
  }
  return 1;
}

int BRN_SetMifInformation(LineSource& mif, const char* control_file) {
  const Step step(nullptr, control_file, "BRN_SetMifInformation");
  if (ReadMifHeader(mif, kHeaderLineSize, step.Path(kRoadDefinitionFile).c_str()) != 0) return 1;
  if (mif.end() == SourceEnd::kNoMemory) {
    return AsResult(FailUnread(step, mif.path().c_str(), mif.end()));
  }
  // The text's place for the file has always been left empty here.
  return AsResult(step.FailModal(kFileError, "Can't read the MIF file header : %s", ""));
}

}  // namespace zatlib
