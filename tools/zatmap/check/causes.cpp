#include "check/causes.h"

#include <algorithm>

#include "check/source.h"
#include "check/words.h"
#include "input_msr/layouts.h"
#include "input_zat/layouts.h"
#include "shell/text.h"

namespace zatmap::check {

std::string SourceFile::Named() const { return "[" + section + "] " + Numbered("FILE", number); }

const zatlib::SourceTable* SourceFile::Table() const {
  if (role == FileRole::kMif) return nullptr;
  const auto find = [this](const auto& tables) -> const zatlib::SourceTable* {
    for (const zatlib::SourceTable* table : tables) {
      if (section == table->section) return table;
    }
    return nullptr;
  };
  return msr ? find(zatlib::msr::kTables) : find(zatlib::zat::kTables);
}

std::string ShareText(const FileSample& sample, size_t count, size_t of, const char* what) {
  const std::string all = std::to_string(of) + " " + what;
  if (count == of) return (sample.whole() ? "all " : "all of the first ") + all;
  return std::to_string(count) + (sample.whole() ? " of " : " of the first ") + all;
}

bool IsDataLine(std::string_view line) {
  const std::string_view text = Trim(line, "\" \t");
  return !text.empty() && !IsTitle(text);
}

namespace {

bool IsNumberLike(std::string_view text) {
  text = Trim(text, "\" ");
  return !text.empty() && text.find_first_not_of("0123456789.,+-eE") == std::string_view::npos &&
         text.find_first_of("0123456789") != std::string_view::npos;
}

// Whether `delimiter` seems to separate the fields of a line.
bool Separates(char delimiter, std::string_view line, int needed) {
  const std::string_view first = line.substr(0, line.find_first_of(",\t"));
  // A blank may stand in a field; not where nothing else separates.
  if (delimiter == ' ' && first.size() != line.size()) return false;
  const size_t at = first.find(delimiter);
  if (at == std::string_view::npos || !IsNumberLike(first.substr(0, at))) {
    // 43;7,2;... has its decimals behind commas.
    return false;
  }
  const auto count = std::count(line.begin(), line.end(), delimiter);
  return count >= std::max(needed - 1, 1);
}

}  // namespace

bool LookAtDelimiter(Findings& findings, const FileSample& sample, const SourceFile& source) {
  const zatlib::SourceTable* const table = source.Table();
  if (table == nullptr) return true;
  for (const char delimiter : {';', '|', '^', '~', '!', ':', ' '}) {
    size_t rows = 0;
    size_t fit = 0;
    for (std::string_view line : sample.lines()) {
      line = Trim(line, " \x1a");
      if (!IsDataLine(line)) continue;
      ++rows;
      if (Separates(delimiter, line, table->Needed())) ++fit;
    }
    if (rows == 0 || fit * 10 < rows * 9) continue;
    const std::string share = ShareText(sample, fit, rows, "rows");
    if (delimiter == ' ') {
      findings.Add(Kind::kDelimiter, {findings.File(source.path), 0, 0, 0},
                   "a blank separates the fields in %s", share.c_str());
    } else {
      findings.Add(Kind::kDelimiter, {findings.File(source.path), 0, 0, 0},
                   "'%c' separates the fields in %s", delimiter, share.c_str());
    }
    return false;
  }
  return true;
}

// A last line that has no end and lacks columns.
void LookAtEnd(Findings& findings, const FileSample& sample, const SourceFile& source) {
  const zatlib::SourceTable* const table = source.Table();
  const std::string_view line = Trim(sample.last_line(), " \x1a");
  if (table == nullptr || source.HoldsShapes() || line.empty() ||
      static_cast<int>(FieldsOf(line).size()) >= table->Needed()) {
    return;
  }
  const uint32_t file = findings.File(source.path);
  findings.Add(Kind::kFileCut,
               {file, sample.whole() ? static_cast<int64_t>(sample.lines().size()) : 0, 0, 0},
               "%.*s", static_cast<int>(std::min<size_t>(line.size(), 80)), line.data());
  findings.Hide(
      file, {Kind::kColumnsMissing, Kind::kQuoteOpen, Kind::kLinkNodeMissing, Kind::kSpeedZero});
}

bool LookAtSource(Findings& findings, const SourceFile& source) {
  if (!MayOpen(findings, source.path)) return false;
  FileSample sample;
  if (!sample.Read(source.path)) return true;
  const Place whole{findings.File(source.path), 0, 0, 0};
  if (!IsOfUse(findings, sample, source.role, source.path, source.Named())) return false;
  if (sample.head().empty()) {
    // Names beside a text file of nodes need not be; nodes, links and shapes are missed later.
    if (source.section == "NODEXY") {
      findings.Add(Kind::kNoRecords, whole, "no coordinates");
      return false;
    }
    const zatlib::SourceTable* const table = source.Table();
    if (source.role == FileRole::kRows && table != nullptr && source.section != "NODE" &&
        source.section != "LINK" && source.section != "DKUKAN" && !source.HoldsShapes()) {
      findings.Add(Kind::kFileEmpty, whole, "%s", source.Named().c_str());
    }
    return true;
  }
  LookAtEncoding(findings, sample, source);
  if (source.role == FileRole::kNames) return LookAtDelimiter(findings, sample, source);
  LookAtEnd(findings, sample, source);
  if (!LookAtDelimiter(findings, sample, source) || !LookAtCodes(findings, sample, source) ||
      !LookAtCoordinates(findings, sample, source) || !LookAtColumns(findings, sample, source)) {
    return false;
  }
  LookAtNumbers(findings, sample, source);
  return true;
}

}  // namespace zatmap::check
