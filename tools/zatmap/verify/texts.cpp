// zatmap verify: the texts of a map - linkdef.dat, shapedat.inf, PayData.Inf - and names.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <map>

#include "platform/profile.h"
#include "shape/shape_files.h"
#include "shell/encodings.h"
#include "shell/ini_text.h"
#include "toll/interchange_flags.h"
#include "verify/verifier.h"

namespace zatmap::verify {
namespace {

using Section = std::map<std::string, const IniLine*>;
using Sections = std::map<std::string, Section>;

constexpr const char* kDefinition = zatlib::kRoadDefinitionFile;

// What a build writes into linkdef.dat.
constexpr const char* kSections[] = {"ATTRIBUTE", "WIDTH", "TOLLROAD", "ROADFLAG", "SYSTEM"};
constexpr const char* kFlagKeys[] = {"HIGHWAY",  "PAYROAD",        "FERRY",        "RAILROAD",
                                     "AIR",      "TOLLGATE",       "SHIP",         "ICWEIGHT",
                                     "RTWEIGHT", "RTWEIGHT_RIGHT", "RTWEIGHT_LEFT"};
constexpr const char* kShapeKeys[] = {"Charset",  "CoordSys",     "NumRec",
                                      "NumShape", "MaxShapeLink", "MaxNumShape"};

template <size_t count>
bool IsOneOf(const std::string& text, const char* const (&names)[count]) {
  return std::find(std::begin(names), std::end(names), text) != std::end(names);
}

Spot SpotOf(const char* file, const IniLine& line) { return {file, line.number, line.offset}; }

bool IsNumber(const std::string& text) {
  const size_t start = !text.empty() && text[0] == '-' ? 1 : 0;
  return text.size() > start && text.find_first_not_of("0123456789", start) == std::string::npos;
}

// Numbered entries DEF01, DEF02, ... and their count.
void CheckEntries(Verifier& v, const char* section, const Section& keys) {
  const auto count = keys.find("NUMDEF");
  if (count == keys.end()) {
    v.Add(Kind::kText, {zatlib::kRoadDefinitionFile}, "[%s] has no NUMDEF", section);
    return;
  }
  const Spot place{zatlib::kRoadDefinitionFile, count->second->number, count->second->offset};
  if (!IsNumber(count->second->value)) {
    v.Add(Kind::kText, place, "[%s] NUMDEF is no number", section);
    return;
  }
  const long long wanted = std::atoll(count->second->value.c_str());
  if (wanted != static_cast<long long>(keys.size()) - 1) {
    v.Add(Kind::kText, place, "[%s] NUMDEF is %lld, but there are %zu entries", section, wanted,
          keys.size() - 1);
    return;
  }
  for (long long i = 1; i <= wanted; ++i) {
    char key[32];
    std::snprintf(key, sizeof key, "DEF%02lld", i);
    if (keys.find(key) == keys.end()) {
      v.Add(Kind::kText, place, "[%s] has no %s", section, key);
    }
  }
}

// A comment that a build writes: the first line, and when it was made.
bool IsKnownComment(const IniLine& line) {
  return line.number == 1 ? line.key == "; Road Definition File for ZATLIB40"
                          : line.key.rfind("; Created ", 0) == 0;
}

// The lines by section and key, with findings for lines that no build writes.
Sections TakeSections(Verifier& v, const std::vector<IniLine>& lines) {
  Sections sections;
  std::string section;
  for (const IniLine& line : lines) {
    const Spot spot = SpotOf(kDefinition, line);
    if (line.kind == IniLine::kSection) {
      section = line.key;
      if (!sections.insert({section, {}}).second) {
        v.Add(Kind::kText, spot, "the section [%s] stands here again", section.c_str());
      }
      if (section != "INFORMATION" && !IsOneOf(section, kSections)) {
        v.Add(Kind::kText, spot, "no build writes a section [%s]", section.c_str());
      }
    } else if (line.kind == IniLine::kKey) {
      if (!sections[section].insert({line.key, &line}).second) {
        v.Add(Kind::kText, spot, "the key %s stands here again", line.key.c_str());
      }
    } else if (line.kind == IniLine::kOther ||
               (line.kind == IniLine::kComment && !IsKnownComment(line))) {
      v.Add(Kind::kText, spot, "no build writes this line");
    }
  }
  return sections;
}

void CheckRoadFlags(Verifier& v, const Section& flags) {
  for (const auto& [name, line] : flags) {
    const bool known = name == "PARKING" || name == "PEDESTRIANWAY" || IsOneOf(name, kFlagKeys);
    const Spot spot = SpotOf(kDefinition, *line);
    if (!known) v.Add(Kind::kText, spot, "no build writes a key %s here", name.c_str());
    if (!line->value.empty() && !IsNumber(line->value)) {
      v.Add(Kind::kTextWarning, spot, "%s is no whole number", name.c_str());
    }
  }
  for (const char* name : kFlagKeys) {
    if (!flags.contains(name)) v.Add(Kind::kText, {kDefinition}, "[ROADFLAG] has no %s", name);
  }
}

void CheckSystem(Verifier& v, const Section& keys) {
  const auto length = keys.find("CODELENGTH");
  if (length == keys.end()) {
    v.Add(Kind::kText, {kDefinition}, "[SYSTEM] has no CODELENGTH");
  } else if (length->second->value != "14" && length->second->value != "18") {
    v.Add(Kind::kText, SpotOf(kDefinition, *length->second), "CODELENGTH is neither 14 nor 18");
  }
  if (keys.size() > 1) {
    v.Add(Kind::kText, {kDefinition}, "[SYSTEM] has keys that no build writes");
  }
}

void CheckRoadDefinition(Verifier& v) {
  if (!HasFile(v.map, kDefinition)) return;
  const std::vector<IniLine> lines = ReadIni(PathOf(v.map, kDefinition));
  Sections sections = TakeSections(v, lines);
  for (const char* name : kSections) {
    if (!sections.contains(name)) {
      v.Add(Kind::kText, {kDefinition}, "the section [%s] is missing", name);
    }
  }
  for (const char* name : {"ATTRIBUTE", "WIDTH", "TOLLROAD"}) {
    if (sections.contains(name)) CheckEntries(v, name, sections[name]);
  }
  CheckRoadFlags(v, sections["ROADFLAG"]);
  for (const auto& [name, line] : sections["INFORMATION"]) {
    if (name == "Charset" || name == "CoordSys") continue;
    v.Add(Kind::kText, SpotOf(kDefinition, *line), "no build writes a key %s here", name.c_str());
  }
  CheckSystem(v, sections["SYSTEM"]);
}

void CheckShapeInformation(Verifier& v) {
  const char* const file = zatlib::kShapeInfoFile;
  if (!HasFile(v.map, file)) return;
  bool in_section = false;
  for (const IniLine& line : ReadIni(PathOf(v.map, file))) {
    const Spot spot = SpotOf(file, line);
    if (line.kind == IniLine::kSection) {
      in_section = line.key == "INFORMATION";
      if (!in_section) v.Add(Kind::kText, spot, "no build writes this section");
    } else if (line.kind == IniLine::kOther || (line.kind == IniLine::kKey && !in_section)) {
      v.Add(Kind::kText, spot, "no build writes this line");
    } else if (line.kind == IniLine::kKey) {
      if (!IsOneOf(line.key, kShapeKeys)) {
        v.Add(Kind::kText, spot, "no build writes a key %s", line.key.c_str());
      }
      if ((line.key == "Charset" || line.key == "CoordSys") && line.value.rfind(line.key, 0) != 0) {
        v.Add(Kind::kTextWarning, spot, "the value does not begin with the word %s",
              line.key.c_str());
      }
    }
  }
}

}  // namespace

void CheckTexts(Verifier& v) {
  CheckRoadDefinition(v);
  CheckShapeInformation(v);
}

void CompareInformation(Verifier& v, const char* key, const std::string& wanted) {
  char value[64];
  zatlib::platform::ReadProfileString("INFORMATION", key, "", value, sizeof value,
                                      PathOf(v.map, zatlib::kShapeInfoFile).c_str());
  if (value == wanted) return;
  v.Add(Kind::kText, {zatlib::kShapeInfoFile}, "%s is \"%s\", but %s has %s", key, value,
        zatlib::kShapeIndexFile, wanted.c_str());
}

void LookAtFares(Verifier& v) {
  char result[16];
  zatlib::platform::ReadProfileString("SYSTEM", "ICFLAG", "", result, sizeof result,
                                      PathOf(v.map, zatlib::kFareStatusFile).c_str());
  if (result[0] == 0) {
    v.tolls = TollFlags::kUntouched;
  } else if (std::strcmp(result, "OK") == 0 && zatlib::TR_CheckFareData(v.map.path.c_str()) != 0) {
    v.tolls = TollFlags::kSet;
  } else {
    v.tolls = TollFlags::kUnknown;
  }
}

void CheckName(Verifier& v, const Spot& spot, const char* name) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(name);
  size_t length = 0;
  while (length < zatlib::kNameSize && bytes[length] != 0) ++length;
  for (size_t i = length; i < zatlib::kNameSize; ++i) {
    if (bytes[i] == 0) continue;
    v.Add(Kind::kName, spot.Behind(i), "a byte behind the end of the name is not zero");
    break;
  }
  const std::string_view text(name, length);
  for (size_t i = 0; i < length;) {
    const Spot here = spot.Behind(i);
    if (bytes[i] < 0x20 || bytes[i] == 0x7f) {
      v.Add(Kind::kNameWarning, here, "a control character in a name");
      return;
    }
    const size_t size = v.code_page == kJapanese ? JapaneseSize(text, i) : 1;
    if (size == 0) {
      v.Add(Kind::kNameWarning, here, "a name that is no text of code page 932");
      return;
    }
    i += size;
  }
}

}  // namespace zatmap::verify
