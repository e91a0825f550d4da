// Source files as `zatmap check` reads them: the records that the library's line reader gives, with
// a finding for everything that it passes over in silence. Behind such a place the reading goes on
// where a person would expect the next record, so that one fault does not hide the others.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "check/findings.h"
#include "frd/lines.h"
#include "frd/memory.h"
#include "network/workstore/feature_code.h"
#include "network/workstore/source_layout.h"
#include "platform/file.h"
#include "shell/terminal_progress.h"

namespace zatmap::check {

class Source {
 public:
  explicit Source(Findings& findings) : findings_(&findings) {}

  // Opens the file; false when the system refuses (no finding). `mif` says that it is a MIF file,
  // whose first line is never a record.
  bool Open(const std::string& path, bool mif);

  // The next line of at most `limit` bytes (its CR included), as a view that stays good until the
  // next call. False at the end of the file. A longer line is a finding and comes cut.
  bool Next(uint32_t limit, std::string_view* line);

  // Findings that take the whole file: call it once, behind the last line.
  void Close();

  // For who reads the file in pieces (check/pieces.h). BeginPieces comes before the first Take,
  // which reads on to `to` and returns how many bytes there were, less than `size` only at the end.
  // IsUsedUp: there are no more.
  void BeginPieces();
  size_t Take(char* to, size_t size);
  bool IsUsedUp() const { return file_ended_ && rest_at_ == rest_.size(); }

  // `count` lines of a piece have been read elsewhere.
  void Pass(int64_t count) { line_ += count; }

  // The next lines are those of [begin, end), and none behind them.
  void Reread(char* begin, char* end);

  // Ends the pieces: the next lines are those of `rest`, and then those of the file.
  void GoOn(std::vector<char> rest);

  uint32_t file() const { return file_; }
  int64_t line() const { return line_; }  // number of the line read last, from 1
  int64_t size() const { return size_; }  // bytes of the file
  Place Here(int column = 0) const { return {file_, line_, column, 0}; }
  bool has_quote() const { return has_quote_; }  // of the line read last
  Findings& findings() const { return *findings_; }

 private:
  bool Fill(size_t wanted);
  uint32_t ReadOn(char* to, uint32_t size);
  void SkipLine();

  // The end of a line with quotes, between which line ends do not count (`*embedded`: there are
  // some). A finding when one is not closed: the line then ends where it seems to, at
  // `physical_end`. Null when it does not end before `window_end`.
  char* QuotedEnd(char* begin, char* window_end, char* physical_end, bool* embedded);

  Findings* findings_;
  std::string title_;  // of the progress
  std::unique_ptr<TerminalProgress> progress_;
  int64_t size_ = 0;  // bytes of the file
  int64_t read_ = 0;  // bytes read of it
  zatlib::platform::File handle_;
  zatlib::PageArray<char> block_;
  char* position_ = nullptr;
  char* end_ = nullptr;
  bool at_end_ = false;      // nothing follows what is in memory
  bool file_ended_ = false;  // the system has no more
  bool refused_ = false;     // a read
  std::vector<char> rest_;   // read from the file already, before what the system has
  size_t rest_at_ = 0;
  bool has_quote_ = false;
  uint32_t file_ = 0;
  int64_t line_ = 0;
  std::string long_line_;  // the start of a line that is too long
  int64_t lf_count_ = 0;   // lines that end with LF alone
  int64_t lf_first_ = 0;
  int64_t cr_count_ = 0;  // lines that end with CR alone
  int64_t cr_first_ = 0;
};

// The fields of one record.
struct Row {
  static constexpr int kMaxFields = 64;  // more than any layout has
  int count = 0;                         // fields of the record, also beyond kMaxFields
  std::string_view fields[kMaxFields];

  // True for the record of an empty line.
  bool IsEmpty() const { return count == 1 && fields[0].empty(); }

  // Field of a column (from 1), empty when the record ends before it.
  std::string_view operator[](int column) const {
    return column <= count && column <= kMaxFields ? fields[column - 1] : std::string_view{};
  }
};

// How far a file's records are read: all columns of their table, or those up to one of them.
struct Layout {
  int needed;  // columns that a record must have
  int last;    // the last column that is read
  int taken;   // columns beyond this one are not even looked at
  uint32_t line_size;

  constexpr Layout(const zatlib::SourceTable& table)  // NOLINT: a table is a layout
      : Layout(table, table.Last(), table.Needed()) {}
  constexpr Layout(const zatlib::SourceTable& table, int last_column, int needed_column)
      : needed(needed_column),
        last(last_column),
        taken(table.reads_rest ? INT32_MAX : last_column),
        line_size(table.line_size) {}
};

// Takes a record apart. Fields split by a comma inside quotes come in one piece.
void Split(const Source& source, std::string_view line, const Layout& layout, Row* row);

// A finding when the row has fewer columns than its layout needs.
void CheckColumns(const Source& source, const Row& row, const Layout& layout);

// The code of a column; the empty code, with a finding, for what is no code. An empty field or 0
// is no finding here.
zatlib::FeatureCode CheckedCode(const Source& source, const Row& row, int column, int code_length);

// A whole number of a column, with findings for other texts and for numbers outside of its range.
// Returns what the library reads.
int32_t CheckedNumber(const Source& source, const Row& row, const zatlib::SourceColumn& column,
                      Kind range_kind = Kind::kNumberRange);

// A coordinate. `latitude` says which limit holds. Returns millionths of a degree as they are
// meant, as far as that can be told.
int32_t CheckedCoordinate(Findings& findings, Place here, std::string_view text, bool latitude);

// True when the bytes of a name are no finding under a code page.
bool IsGoodName(std::string_view name, unsigned page);

// A name: its length and its bytes.
void CheckName(const Source& source, const Row& row, int column);

// Bytes of a text that a finding shows ("%.*s"): 80 at most.
inline int Size(std::string_view text) {
  return static_cast<int>(std::min<size_t>(text.size(), 80));
}

// True when the text can be taken for the title of a column.
bool IsTitle(std::string_view text);

}  // namespace zatmap::check
