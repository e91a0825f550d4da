// Causes: what is wrong with a source file as a whole, told from its beginning before it is read
// row by row. A cause is one finding, which stands for all that would follow from it.
#pragma once

#include <string>

#include "check/file_kind.h"
#include "check/file_sample.h"
#include "check/findings.h"
#include "network/workstore/source_layout.h"

namespace zatmap::check {

// A file that the control file names.
struct SourceFile {
  std::string section;  // "NODE"
  int number;           // of FILE01: 1
  std::string path;
  FileRole role;
  int code_length;
  bool msr;

  std::string Named() const;                 // "[NODE] FILE01"
  const zatlib::SourceTable* Table() const;  // of its rows, null for objects
  bool HoldsShapes() const { return section == "LINKSHAPE"; }
};

// Looks at the file before it is read. False, with a finding, when reading it is of no use: what
// follows would say nothing that the finding does not say. True also when it cannot be opened.
bool LookAtSource(Findings& findings, const SourceFile& source);

// The parts of it, each with its findings. Those that return false have found something with which
// reading the rows is of no use.
bool LookAtDelimiter(Findings& findings, const FileSample& sample, const SourceFile& source);
bool LookAtCoordinates(Findings& findings, const FileSample& sample, const SourceFile& source);
bool LookAtCodes(Findings& findings, const FileSample& sample, const SourceFile& source);
bool LookAtColumns(Findings& findings, const FileSample& sample, const SourceFile& source);
void LookAtNumbers(Findings& findings, const FileSample& sample, const SourceFile& source);
void LookAtEnd(Findings& findings, const FileSample& sample, const SourceFile& source);
void LookAtEncoding(Findings& findings, const FileSample& sample, const SourceFile& source);

// "all 965 rows", "720 of 965 rows", or of the first rows where the sample is not all of the file.
std::string ShareText(const FileSample& sample, size_t count, size_t of, const char* what);

// True when the line is neither empty nor a row of column titles.
bool IsDataLine(std::string_view line);

}  // namespace zatmap::check
