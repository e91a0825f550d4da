// What a build came to, and how that is told.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "check/findings.h"

namespace zatmap {

enum class BuildEnd : uint8_t {
  kBuilt,
  kUnchanged,  // the map was there already
  kRefused,    // before anything was read: control file, source files or output folder will not do
  kErrors,     // the data have errors, and nothing was built
  kFailed,
  kCancelled
};

// A message of the library in UTF-8, and what zatmap adds to it.
struct LibraryMessage {
  std::string title;
  std::string text;
  std::string english;  // of texts in Japanese; else empty
  std::string reason;   // why the system refused the file that the text names; may be empty
};

struct BuildReport {
  BuildEnd end = BuildEnd::kFailed;
  std::vector<std::string> reasons;  // what zatmap itself says about the end, a line each
  std::vector<LibraryMessage> messages;
  std::optional<check::Findings> findings;  // when the data were checked, before the build or after
  bool forced = false;                      // the build went on in spite of errors
  std::string control;                      // as the user wrote it
  std::string check_command;                // lists all findings; "zatmap check control.ini"
  std::string folder;                       // full path of the output folder
  std::string log;                          // path of the build log; empty when there is none
  bool stores = false;                      // work stores and no map
  int64_t nodes = 0;
  int64_t links = 0;
  uint64_t bytes = 0;
  double seconds = 0;  // of the library's work
  std::string built;   // when a map that is unchanged was built
};

// How much is printed.
struct BuildOutput {
  bool json = false;
  bool quiet = false;  // nothing but failures
};

// Prints the report: results on standard output, failures on standard error; as JSON all of it as
// one object on standard output.
void PrintReport(const BuildReport& report, const BuildOutput& output);

// The first findings that stop a build, causes first and a few of each kind: lines for people.
std::vector<std::string> FirstErrors(const check::Findings& findings);

// Errors that stop a build.
int64_t ErrorCount(const check::Findings& findings);

}  // namespace zatmap
