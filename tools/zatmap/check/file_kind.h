// What kind of file a path names, before anybody reads it as rows: folders and pipes, compressed
// files, data bases, files of other programs, MIF files where rows are wanted and the reverse.
#pragma once

#include <string>
#include <string_view>

#include "check/file_sample.h"
#include "check/findings.h"

namespace zatmap::check {

// What the control file takes a file for.
enum class FileRole {
  kRows,    // lines of columns
  kMif,     // the objects of a MIF file
  kMid,     // the columns beside them
  kNames,   // the names beside a text file of nodes
  kControl  // the control file
};

// What the bytes at the beginning of a file belong to, for people: "a GeoPackage ...". Null when
// they can be text.
const char* NameOfBytes(std::string_view head);

// True for the header of a MIF file.
bool IsMif(const FileSample& sample);

// False, with a finding, when the path names something that must not be opened.
bool MayOpen(Findings& findings, const std::string& path);

// False, with a finding, when there is no use in reading the file in that role. `named` says where
// the control file names it: "[NODE] FILE01".
bool IsOfUse(Findings& findings, const FileSample& sample, FileRole role, const std::string& path,
             const std::string& named);

}  // namespace zatmap::check
