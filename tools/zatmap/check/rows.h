// What the record files of both formats share in `zatmap check`, and the two formats.
#pragma once

#include "check/control.h"
#include "check/network.h"
#include "check/source.h"
#include "frd/files.h"

namespace zatmap::check {

// Everything that the build would read in one format.
void CheckZat(Control& control, int64_t shape_limit);
void CheckMsr(Control& control, int64_t shape_limit);

// The code of a node or link record, with findings for a header line and for codes that are 0.
// `*zeros` counts the records
// without one.
zatlib::FeatureCode StoreCode(const Source& source, const Row& row, int column, int code_length,
                              int64_t* zeros);
void CountZero(const Source& source, const Row& row, int column, int64_t* zeros);

// The speeds of rows without one, km/h.
struct DefaultSpeeds {
  uint16_t a;
  uint16_t b;
};

// The speed that the library takes from a column: 0 gives the default, a negative number 0.
uint16_t SpeedOf(std::string_view field, uint16_t default_speed);

// True for a row of column titles, wherever it stands.
bool IsTitleRow(const Source& source, const Row& row, int column);

// The same, and a finding when it is one.
bool IsHeaderRow(const Source& source, const Row& row, int column);

// A node's name from a row; a finding when nobody has the code.
void CheckNameRow(const Source& source, const Row& row, bool known, int code_column,
                  int name_column);

// A prohibited turn, and what it refers to.
void CheckTurn(const Source& source, const Row& row, const Network& network,
               zatlib::FeatureCode node, zatlib::FeatureCode in_link, zatlib::FeatureCode out_link,
               int first_column);

// Runs every record of a file that is open through `take(source, row)`. Returns their number.
template <typename Take>
int64_t ReadRows(Source& source, const Layout& layout, Take take,
                 uint32_t line_size = zatlib::kLineSize) {
  std::string_view line;
  Row row;
  while (source.Next(line_size, &line)) {
    Split(source, line, layout, &row);
    if (!line.empty() && !IsTitleRow(source, row, 1)) {
      CheckColumns(source, row, layout);
    }
    take(source, row);
  }
  source.Close();
  return source.line();
}

// The same for all files of a section. `*whole` becomes false when one cannot be opened.
template <typename Take>
void ForEachRow(Control& control, const char* section, const Layout& layout, Take take,
                bool* whole = nullptr, uint32_t line_size = zatlib::kLineSize) {
  const std::vector<std::string> files = control.Files(section, false);
  for (size_t i = 0; i < files.size(); ++i) {
    Source source(control.findings());
    if (!control.Open(source, section, static_cast<int>(i + 1), files[i], false)) {
      if (whole != nullptr) *whole = false;
      continue;
    }
    ReadRows(source, layout, take, line_size);
  }
}

}  // namespace zatmap::check
