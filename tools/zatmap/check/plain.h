// Rows that are entirely in order, taken apart at once: digits where a number stands, values within
// their range, quotes around whole fields or none. For such a row the checks of check/source.h and
// check/rows.h find nothing, and the values here are theirs. Nothing here may be less strict than
// they are; a row that is in order in another way is read by them all the same.
#pragma once

#include <cstdint>
#include <new>
#include <string_view>
#include <vector>

#include "check/pieces.h"
#include "check/source.h"
#include "network/workstore/feature_code.h"
#include "network/workstore/number_scan.h"
#include "network/workstore/source_layout.h"

namespace zatmap::check {

// What a thread counts of plain rows; sums up.
struct PlainCounts {
  int64_t long_names = 0;  // for which the findings have no room
};

// What a plain row comes to that only has to be in order.
struct NoRecord {};

// What names are held to, as it stands while threads look at rows.
struct NameRules {
  unsigned page = 0;        // the code page
  bool report_long = true;  // a name that is too long is out of the ordinary
};

// Bytes that no text of a plain field holds.
struct TextStops {
  bool is[256] = {};
  consteval TextStops() {
    for (const char c : {',', '\t', '\r', '\n', '"', '\0'})
      is[static_cast<unsigned char>(c)] = true;
  }
};
inline constexpr TextStops kStops;

// The fields of one row, from left to right. What is asked for behind the row's end is empty or 0.
// When a field is out of the ordinary, good() becomes false and the rest does not matter. The
// kLineMargin bytes behind the row can be read.
class PlainRow {
 public:
  explicit PlainRow(const char* row) : p_(row) {}

  // A code of up to `digits` digits, parsed by the code length; the empty code for 0 or nothing.
  zatlib::FeatureCode Code(int code_length) {
    uint64_t value = 0;
    if (!Digits(code_length, &value)) return {};
    return code_length == zatlib::kDecimalCode
               ? zatlib::FeatureCode::FromDouble(static_cast<double>(static_cast<int64_t>(value)))
               : zatlib::FeatureCode::FromInteger(static_cast<int64_t>(value));
  }

  // Up to `most` digits (18 at most).
  uint64_t Whole(int most) {
    uint64_t value = 0;
    Digits(most, &value);
    return value;
  }

  // A whole number within a range; `absent` behind the end of the row, 0 for an empty field. A
  // minus sign stands before a number that is not 0.
  int32_t Number(zatlib::ValueRange range, int32_t absent = 0) {
    if (ended_) return absent;
    const bool quoted = *p_ == '"';
    if (quoted) ++p_;
    const bool negative = *p_ == '-';
    if (negative) ++p_;
    const zatlib::DigitRun run = zatlib::TakeDigits(p_);
    const auto digits = run.end - p_;
    p_ = run.end;
    const auto value = static_cast<int64_t>(run.value);
    const int64_t number = negative ? -value : value;
    if (digits > 9 || (negative && value == 0) || number > range.high ||
        (digits > 0 && number < range.low)) {
      Spoil();
    }
    EndField(quoted);
    return static_cast<int32_t>(number);
  }

  // Degrees in millionths, of at least one digit.
  int32_t Coordinate(zatlib::ValueRange range) {
    if (ended_) {
      Spoil();
      return 0;
    }
    const bool quoted = *p_ == '"';
    if (quoted) ++p_;
    int32_t value = 0;
    const char* const end = zatlib::TakeCoordinate(p_, &value);
    if (end == nullptr || value > range.high || value < range.low) {
      Spoil();
      return 0;
    }
    p_ = end;
    EndField(quoted);
    return value;
  }

  // A field whose text does not matter, without the quotes around it.
  std::string_view Text() {
    if (ended_) return {};
    const bool quoted = *p_ == '"';
    if (quoted) ++p_;
    const char* const begin = p_;
    while (!kStops.is[static_cast<unsigned char>(*p_)]) ++p_;
    const std::string_view text(begin, static_cast<size_t>(p_ - begin));
    if (text.size() > zatlib::kFieldLimit - 2) Spoil();
    EndField(quoted);
    return text;
  }

  // A name. Where long ones are not out of the ordinary they are counted.
  void Name(const NameRules& rules, PlainCounts* counts) {
    const std::string_view name = Text();
    if (name.size() > zatlib::kNameSize) {
      if (rules.report_long) Spoil();
      ++counts->long_names;
    }
    if (!IsGoodName(name, rules.page)) Spoil();
  }

  // The columns behind the last one that is asked for.
  void PassRest() {
    while (!ended_) Text();
  }

  int columns() const { return columns_; }
  bool good() const { return good_; }

  // The CR at the end of a row that is good and was read to its end.
  const char* end() const { return p_; }

  // For who finds a value out of the ordinary.
  void Spoil() {
    static constexpr char kEnd[16] = "\r\n";
    good_ = false;
    ended_ = true;
    p_ = kEnd;
  }

 private:
  bool Digits(int most, uint64_t* value) {
    if (ended_) return false;
    const bool quoted = *p_ == '"';
    if (quoted) ++p_;
    const zatlib::DigitRun run = zatlib::TakeDigits(p_);
    const auto digits = run.end - p_;
    p_ = run.end;
    if (digits > most) Spoil();
    EndField(quoted);
    *value = run.value;
    return digits > 0 && good_;
  }

  // Behind the text of a field: its closing quote and its delimiter.
  void EndField(bool quoted) {
    if (quoted) {
      if (*p_ != '"') return Spoil();
      ++p_;
    }
    ++columns_;
    if (*p_ == ',' || *p_ == '\t') {
      ++p_;
    } else if (p_[0] == '\r' && p_[1] == '\n') {
      ended_ = true;
    } else {
      Spoil();
    }
  }

  const char* p_;
  int columns_ = 0;
  bool ended_ = false;
  bool good_ = true;
};

// What a thread makes of a piece of rows. `Record` is what a plain row comes to.
template <typename Record>
struct RowWork {
  static constexpr int64_t kRecords = 4096;
  static constexpr size_t kOthers = 1024;

  // A row that is not plain, behind so many of the records.
  struct Other {
    int64_t records;
    char* begin;
    char* end;
  };

  zatlib::PageArray<Record> records;  // of plain rows
  std::vector<Other> others;
  int64_t record_count = 0;
  size_t other_count = 0;
  PlainCounts counts;
  char* next = nullptr;  // behind the last row looked at
  bool stopped = false;  // from there on lines do not end as they should

  void Begin() {
    if (!records && !records.Allocate(kRecords)) throw std::bad_alloc();
    others.resize(kOthers);
    next = nullptr;
  }
};

// The end of the row at `begin`, behind its CR LF; null when it is not sure to end at the first
// line end, or is longer than `limit` bytes with its CR.
char* EndOfRow(char* begin, char* end, uint32_t limit);

// Sorts the rows of a piece. `take(row, &record, &counts)` takes a PlainRow apart and returns
// whether it is in order; it is called on any thread, takes no memory and changes nothing else.
template <typename Record, typename TakeRow>
void LookAtRows(const Piece& piece, uint32_t limit, const TakeRow& take, RowWork<Record>* work) {
  char* p = work->next != nullptr ? work->next : piece.begin;
  work->record_count = work->other_count = 0;
  work->counts = {};
  work->stopped = false;
  while (p < piece.end && work->record_count < RowWork<Record>::kRecords &&
         work->other_count < RowWork<Record>::kOthers) {
    PlainRow row(p);
    const PlainCounts before = work->counts;
    if (take(row, &work->records[work->record_count], &work->counts) && row.good() &&
        row.end() - p < int64_t{limit} && row.end() + 2 <= piece.end) {
      ++work->record_count;
      p += row.end() + 2 - p;
      continue;
    }
    work->counts = before;
    char* const end = EndOfRow(p, piece.end, limit);
    if (end == nullptr) {
      work->stopped = true;
      break;
    }
    work->others[work->other_count++] = {work->record_count, p, end};
    p = end;
  }
  work->next = p;
}

}  // namespace zatmap::check
