// Codes that are not written as codes, and columns that do not stand where they should.
#include <algorithm>
#include <map>

#include "check/causes.h"
#include "input_zat/layouts.h"
#include "shell/text.h"

namespace zatmap::check {
namespace {

using zatlib::FieldKind;
using zatlib::SourceColumn;
using zatlib::SourceTable;

constexpr size_t kEnough = 5;      // rows that say something about all of them
constexpr size_t kCodeDigits = 8;  // codes of fewer digits are no different from other numbers

using Fields = std::vector<std::string_view>;

std::vector<Fields> RowsOf(const FileSample& sample) {
  std::vector<Fields> rows;
  for (const std::string_view line : sample.lines()) {
    if (IsDataLine(line) && line.front() != '\x1a') rows.push_back(FieldsOf(line));
  }
  return rows;
}

// "5.2e+13"
bool IsScientific(std::string_view text) {
  const size_t e = text.find_first_of("eE");
  if (e == std::string_view::npos || e == 0) return false;
  std::string_view power = text.substr(e + 1);
  if (!power.empty() && (power.front() == '+' || power.front() == '-')) power.remove_prefix(1);
  return IsDigits(power) &&
         text.substr(0, e).find_first_not_of("0123456789.") == std::string_view::npos;
}

// A code without the ".0" that programs add which take it for a floating-point number.
std::string_view WithoutPoint(std::string_view text) {
  const size_t point = text.find('.');
  if (point == std::string_view::npos ||
      text.find_first_not_of('0', point + 1) != std::string_view::npos) {
    return text;
  }
  return text.substr(0, point);
}

// What a table wants in a column, as far as shifted columns can be told by it.
enum class Wanted { kCode, kCodeOrNone, kNumber, kCoordinate, kAnything };

// The wants by column, from 0.
std::vector<Wanted> WantsOf(const SourceTable& table) {
  std::vector<Wanted> wants;
  for (const SourceColumn& column : table.columns) {
    for (int i = 0; i < column.count; ++i) {
      Wanted wanted = Wanted::kAnything;
      switch (column.kind) {
        case FieldKind::kCode:
          wanted = column.number == 1 ? Wanted::kCode : Wanted::kCodeOrNone;
          break;
        case FieldKind::kWord:
        case FieldKind::kLong:
        case FieldKind::kByte:
        case FieldKind::kSpeedA:
        case FieldKind::kSpeedB:
          wanted = Wanted::kNumber;
          break;
        case FieldKind::kCoordinate:
          wanted = Wanted::kCoordinate;
          break;
        default:
          break;
      }
      wants.push_back(wanted);
    }
  }
  return wants;
}

// Number of digits of most long whole numbers of the rows: that of the codes. 0 when there are
// hardly any.
size_t DigitsOfCodes(const std::vector<Fields>& rows) {
  std::map<size_t, size_t> counts;
  for (const Fields& row : rows) {
    for (const std::string_view field : row) {
      const std::string_view digits = WithoutPoint(field);
      if (IsDigits(digits) && digits.size() >= kCodeDigits) ++counts[digits.size()];
    }
  }
  size_t best = 0;
  for (const auto& [digits, count] : counts) {
    if (count * 2 >= rows.size() && (best == 0 || count > counts[best])) best = digits;
  }
  return best;
}

bool Fits(Wanted wanted, std::string_view field, size_t digits) {
  const std::string_view code = WithoutPoint(field);
  const bool is_code = code.size() == digits && IsDigits(code);
  switch (wanted) {
    case Wanted::kCode:
      return is_code;
    case Wanted::kCodeOrNone:
      return is_code || field.empty() || code == "0";
    case Wanted::kNumber: {
      std::string_view number = field;
      if (!number.empty() && number.front() == '-') number.remove_prefix(1);
      return field.empty() ||
             (!is_code && number.size() < 11 && number.find(':') == std::string_view::npos &&
              number.find_first_not_of("0123456789.") == std::string_view::npos);
    }
    case Wanted::kCoordinate:
      return field.empty() ||
             (field.find('.') != std::string_view::npos &&
              field.find_first_not_of("0123456789.-+eE") == std::string_view::npos);
    case Wanted::kAnything:
      return true;
  }
  return true;
}

// Columns of rows against the wants of their table, moved by `shift` from column `from` (0-based)
// on: 1 = one too many there, -1 = one is missing there.
struct Shift {
  size_t from;
  int shift;
};

// Share of the columns of all rows that fit, in thousandths; only those that the table needs. Codes
// count as often as all others together: numbers fit nearly everywhere.
size_t Score(const std::vector<Fields>& rows, const std::vector<Wanted>& wants, size_t digits,
             Shift shift) {
  size_t fit = 0;
  size_t all = 0;
  for (const Fields& row : rows) {
    for (size_t column = 0; column < wants.size(); ++column) {
      if (wants[column] == Wanted::kAnything) continue;
      size_t at = column;
      if (column >= shift.from) {
        // The missing column itself is nowhere.
        if (shift.shift < 0 && column == shift.from) continue;
        at = shift.shift > 0 ? column + 1 : column - (shift.shift < 0 ? 1 : 0);
      }
      const std::string_view field = at < row.size() ? row[at] : std::string_view{};
      // A code where a number should be says as much as a number where a code should be.
      const bool telling = wants[column] == Wanted::kCode || wants[column] == Wanted::kCodeOrNone ||
                           Fits(Wanted::kCode, field, digits);
      const size_t weight = telling ? 8 : 1;
      all += weight;
      if (Fits(wants[column], field, digits)) fit += weight;
    }
  }
  return all == 0 ? 1000 : fit * 1000 / all;
}

// The name of a column (from 1) of a table.
std::string NameOf(const SourceTable& table, int column) {
  const SourceColumn& entry = table[column];
  return entry.name;
}

}  // namespace

bool LookAtCodes(Findings& findings, const FileSample& sample, const SourceFile& source) {
  const SourceTable* const table = source.Table();
  if (table == nullptr) return true;
  std::vector<Fields> rows = RowsOf(sample);
  // The heads of shapes: points have no whole number behind the first one.
  if (source.HoldsShapes()) {
    std::erase_if(rows, [](const Fields& row) { return row.size() < 2 || !IsDigits(row[1]); });
  }
  if (rows.size() < kEnough) return true;
  const Place first{findings.File(source.path), 1, 1, 0};
  for (const SourceColumn& column : table->columns) {
    if (column.kind != FieldKind::kCode && column.kind != FieldKind::kAreaCode) continue;
    const auto at = static_cast<size_t>(column.number - 1);
    size_t scientific = 0;
    size_t too_long = 0;
    std::map<size_t, size_t> lengths;
    std::string_view example;
    for (const Fields& row : rows) {
      if (at >= row.size()) continue;
      const std::string_view digits = WithoutPoint(row[at]);
      if (IsScientific(row[at])) {
        if (scientific++ == 0) example = row[at];
      } else if (IsDigits(digits) && digits.size() > static_cast<size_t>(source.code_length)) {
        ++lengths[digits.size()];
        if (too_long++ == 0) example = digits;
      }
    }
    if (scientific * 10 >= rows.size() * 8) {
      findings.Add(Kind::kCodeScientific, first.At(column.number), "%.*s in %s: %s",
                   static_cast<int>(example.size()), example.data(),
                   NameOf(*table, column.number).c_str(),
                   ShareText(sample, scientific, rows.size(), "rows").c_str());
      return false;
    }
    if (too_long * 10 < rows.size() * 8 || column.kind != FieldKind::kCode) continue;
    findings.Add(Kind::kCodesLong, first.At(column.number),
                 "%.*s has %zu digits, and CODELENGTH is %d: %s", static_cast<int>(example.size()),
                 example.data(), example.size(), source.code_length,
                 ShareText(sample, too_long, rows.size(), "rows").c_str());
    return false;
  }
  return true;
}

void LookAtNumbers(Findings& findings, const FileSample& sample, const SourceFile& source) {
  const SourceTable* const table = source.Table();
  if (table == nullptr) return;
  const std::vector<Fields> rows = RowsOf(sample);
  if (rows.size() < 2 * kEnough) return;
  const uint32_t file = findings.File(source.path);
  for (const SourceColumn& column : table->columns) {
    const bool speed = column.kind == FieldKind::kSpeedA || column.kind == FieldKind::kSpeedB;
    const bool length = std::string_view(column.range.unit) == "m";
    if (!speed && !length) continue;
    const auto at = static_cast<size_t>(column.number - 1);
    std::vector<std::string_view> texts;
    size_t fractions = 0;
    for (const Fields& row : rows) {
      if (at >= row.size() || row[at].empty()) continue;
      std::string_view number = WithoutPoint(row[at]);
      if (number.front() == '-') number.remove_prefix(1);
      if (IsDigits(number)) continue;
      texts.push_back(row[at]);
      if (number.find_first_not_of("0123456789.") == std::string_view::npos) ++fractions;
    }
    if (texts.size() * 10 < rows.size() * 8) continue;
    findings.Add(fractions == texts.size() ? Kind::kColumnFractions : Kind::kColumnText,
                 {file, 0, column.number, 0}, "%s is like \"%.*s\" in %s", column.name,
                 static_cast<int>(std::min<size_t>(texts[0].size(), 40)), texts[0].data(),
                 ShareText(sample, texts.size(), rows.size(), "rows").c_str());
    findings.Hide(file, {Kind::kNumberText});
  }
}

namespace {

// Heads of shapes that have a column in front: no point has a whole number of many digits there.
bool LookAtShapeHeads(Findings& findings, const FileSample& sample, const SourceFile& source,
                      const std::vector<Fields>& rows) {
  size_t heads = 0;
  size_t moved = 0;
  for (const Fields& row : rows) {
    if (row.size() < 2 || !IsDigits(row[1])) continue;
    ++heads;
    if (row.size() == 3 && row[1].size() >= kCodeDigits && IsDigits(row[2])) ++moved;
  }
  if (moved == 0 || moved * 10 < heads * 9) return true;
  findings.Add(Kind::kColumnsShifted, {findings.File(source.path), 1, 1, 0},
               "one column too many from column 1 on in %s: link code stands in column 2 instead "
               "of 1",
               ShareText(sample, moved, heads, "first lines of shapes").c_str());
  return false;
}

}  // namespace

bool LookAtColumns(Findings& findings, const FileSample& sample, const SourceFile& source) {
  const SourceTable* const table = source.Table();
  if (table == nullptr || source.msr) return true;
  std::vector<Fields> rows = RowsOf(sample);
  if (source.HoldsShapes()) return LookAtShapeHeads(findings, sample, source, rows);
  if (rows.size() < kEnough) return true;
  const size_t digits = DigitsOfCodes(rows);
  if (digits == 0) return true;
  std::vector<Wanted> wants = WantsOf(*table);
  // Text nodes have their coordinates and names, if any, elsewhere; the number of links, which
  // nobody reads, is a number all the same.
  if (source.section == "NODE") {
    wants.resize(zatlib::zat::Node::kName - 1);
    wants[zatlib::zat::Node::kLinkCount - 1] = Wanted::kNumber;
  }
  constexpr size_t kGood = 970;
  constexpr size_t kGain = 60;
  const size_t as_is = Score(rows, wants, digits, {wants.size(), 0});
  if (as_is >= kGood) return true;
  Shift best = {0, 0};
  size_t best_score = 0;
  size_t last = 0;  // the last place that is as good
  for (const int shift : {1, -1}) {
    for (size_t from = 0; from < static_cast<size_t>(table->Needed()); ++from) {
      const size_t score = Score(rows, wants, digits, {from, shift});
      if (score > best_score) {
        best_score = score;
        best = {from, shift};
      }
      if (score == best_score && shift == best.shift) last = from;
    }
  }
  if (best_score < kGood || best_score < as_is + kGain) return true;
  // The first code column behind the place shows it best.
  const int from = static_cast<int>(best.from) + 1;
  int shown = from;
  for (size_t column = best.from; column < wants.size(); ++column) {
    if (best.shift < 0 && column == best.from) continue;
    if (wants[column] != Wanted::kCode && wants[column] != Wanted::kCodeOrNone) continue;
    shown = static_cast<int>(column) + 1;
    break;
  }
  std::string where = "column " + std::to_string(from);
  if (last != best.from) {
    where = "one of the columns " + std::to_string(from) + " to " + std::to_string(last + 1);
  }
  const std::string fault =
      best.shift > 0 ? "one column too many from " + where + " on" : where + " is missing";
  findings.Add(Kind::kColumnsShifted, {findings.File(source.path), 1, from, 0},
               "%s in %s: %s stands in column %d instead of %d", fault.c_str(),
               ShareText(sample, rows.size(), rows.size(), "rows").c_str(),
               NameOf(*table, shown).c_str(), shown + best.shift, shown);
  return false;
}

}  // namespace zatmap::check
