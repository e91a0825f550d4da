// What `zatmap check` knows of the control file.
#pragma once

#include <string>
#include <vector>

#include "check/file_kind.h"
#include "check/findings.h"
#include "check/source.h"
#include "interface/driver/control_keys.h"
#include "network/workstore/source_fields.h"

namespace zatmap::check {

class Control {
 public:
  // `path` as the user wrote it. `msr` forces the format, as `zatmap build --msr` does.
  Control(Findings& findings, const std::string& path, bool msr);

  // Reads the file and checks names and values. False when it cannot be read (a finding).
  bool Check();

  bool msr() const { return msr_; }
  int code_length() const { return code_length_; }

  // A value as the library reads it.
  int Int(const char* section, const char* key, int default_value) const;
  std::string Text(const char* section, const char* key) const;

  // [DEFAULTSPEED], km/h.
  zatlib::DefaultSpeeds Speeds() const { return zatlib::ReadDefaultSpeeds(path_.c_str()); }

  // The files of an input section, FILE01 first, with findings for missing keys. A section that is
  // not there has none; `mandatory` makes that a finding.
  std::vector<std::string> Files(const char* section, bool mandatory);

  // Opens file `number` (from 1) of a section; a finding when it is not there or of no use.
  bool Open(Source& source, const char* section, int number, const std::string& path, bool mif);

  // Opens the .mid beside file `number` of a section; `path` is the file's own path and `data` the
  // source of the .mid. `mif`: it holds the columns of a MIF file, else names beside a text file.
  bool OpenMid(Source& data, const char* section, int number, const std::string& path, bool mif);

  // The output folder, "" when it does not exist.
  const std::string& folder() const { return folder_; }

  Findings& findings() const { return findings_; }

  // The place of a key, of its section when the key is missing, or of the file.
  Place At(const char* section, const char* key) const;

 private:
  struct Line {
    std::string section;
    std::string key;  // empty: the line opens the section
    std::string value;
    int64_t number;
    bool counts;  // the first section of its name
  };

  void ReadLines();
  void CheckNames();

  // The section or key of a line; null, with a finding, when there is none of its name.
  const zatlib::ControlSection* CheckSection(const Line& line);
  const zatlib::ControlKey* CheckKey(const Line& line, const zatlib::ControlSection& section);

  void CheckValues();
  void CheckFlags();
  void CheckFolder();
  void CheckFareFiles();
  void CheckClasses(const char* section);
  const Line* Find(const char* section, const char* key) const;
  bool Holds(const char* name) const;
  bool HasSection(const char* section) const { return Find(section, "") != nullptr; }
  bool LookAt(const char* section, int number, const std::string& path, FileRole role);
  bool ReportNotOpened(Kind kind, const char* section, int number, const std::string& path);

  Findings& findings_;
  std::string name_;  // as the user wrote it
  std::string path_;  // for the library
  uint32_t file_;
  bool msr_;
  int code_length_ = 14;
  std::string folder_;
  std::vector<Line> lines_;
};

}  // namespace zatmap::check
