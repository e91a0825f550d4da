#include "check/rows.h"

#include <algorithm>
#include <cstring>

#include "platform/code_page.h"
#include "shell/encodings.h"

namespace zatmap::check {
namespace {

using zatlib::FeatureCode;
using zatlib::FieldKind;
using zatlib::kProhibited;

void ReportNoRecords(Findings& findings, bool whole, const std::vector<std::string>& files,
                     const char* none) {
  if (whole && !files.empty()) {
    findings.Add(Kind::kNoRecords, {findings.File(files[0]), 0, 0, 0}, "%s", none);
  }
}

}  // namespace

char* EndOfRow(char* begin, char* end, uint32_t limit) {
  auto* const lf = static_cast<char*>(std::memchr(begin, '\n', static_cast<size_t>(end - begin)));
  if (lf == nullptr || lf == begin || lf[-1] != '\r' || lf - begin > int64_t{limit}) return nullptr;
  if (std::memchr(begin, '\r', static_cast<size_t>(lf - 1 - begin)) != nullptr) return nullptr;
  return std::count(begin, lf, '"') % 2 == 0 ? lf + 1 : nullptr;
}

NameRules CurrentNameRules(const Findings& findings) {
  return {zatlib::platform::CodePage(), findings.HasRoom(Kind::kNameLong)};
}

void Count(const Source& source, const PlainCounts& counts) {
  if (counts.long_names > 0) {
    source.findings().Count(Kind::kNameLong, source.file(), counts.long_names);
  }
}

Numbers CheckedNumbers(const Source& source, const Row& row, const zatlib::SourceTable& table,
                       std::initializer_list<RangeKind> kinds) {
  Numbers numbers = {};
  for (const zatlib::SourceColumn& column : table.columns) {
    if (column.kind != FieldKind::kWord && column.kind != FieldKind::kLong &&
        column.kind != FieldKind::kByte && column.kind != FieldKind::kSpeedA &&
        column.kind != FieldKind::kSpeedB) {
      continue;
    }
    Kind kind = Kind::kNumberRange;
    for (const RangeKind& other : kinds) {
      if (other.column == column.number) kind = other.kind;
    }
    numbers[static_cast<size_t>(column.number)] = CheckedNumber(source, row, column, kind);
  }
  return numbers;
}

RowSpeeds SpeedsOf(const Row& row, int column_a, int column_b, zatlib::DefaultSpeeds defaults) {
  const auto closed = [&](int column) { return row[column].find('-') != std::string_view::npos; };
  RowSpeeds speeds = {0, 0, closed(column_a), closed(column_b)};
  if (row.count >= column_a) speeds.a = zatlib::SpeedOf(row[column_a], defaults.a);
  if (row.count >= column_b) speeds.b = zatlib::SpeedOf(row[column_b], defaults.b);
  return speeds;
}

void CheckNegativeSpeeds(const Source& source, const Row& row, int column_a, int column_b) {
  for (const int column : {column_a, column_b}) {
    if (row[column].find('-') == std::string_view::npos) continue;
    source.findings().Add(Kind::kSpeedNegative, source.Here(column), "%.*s", Size(row[column]),
                          row[column].data());
  }
}

void TakeLinkNumbers(const Source& source, const Row& row, const Numbers& numbers,
                     const NetworkColumns& columns, zatlib::DefaultSpeeds defaults,
                     CheckedLink* link) {
  const int32_t kind = numbers[static_cast<size_t>(columns.kind)];
  if (kind >= zatlib::kDummyRoadKind) {
    source.findings().Add(Kind::kKindReserved, source.Here(columns.kind), "kind %d", kind);
  }
  const int32_t length = numbers[static_cast<size_t>(columns.length)];
  const std::string_view written = row[columns.length];
  link->length = static_cast<uint16_t>(length);
  link->written_length = written.find('.') == std::string_view::npos
                             ? static_cast<float>(length)
                             : static_cast<float>(zatlib::FRD_ParseDouble(written));
  if (written.empty() && row.count > columns.length) {
    source.findings().Add(Kind::kLengthEmpty, source.Here(columns.length), "\"\"");
  }
  const RowSpeeds speeds = SpeedsOf(row, columns.speed_a, columns.speed_b, defaults);
  CheckNegativeSpeeds(source, row, columns.speed_a, columns.speed_b);
  link->speed_a = speeds.a;
  link->speed_b = speeds.b;
  if (speeds.closed_a) link->marks |= kClosedOnA;
  if (speeds.closed_b) link->marks |= kClosedOnB;
}

void TakePoint(MifFile& mif, CheckedNode* node) {
  if (!mif.NextPoint(&node->x, &node->y, &node->placed)) return;
  const Place here = mif.Here();
  node->place_file = here.file;
  node->place_record = static_cast<uint32_t>(here.record);
}

void EndNodes(Network& network, const std::vector<std::string>& files, const char* none) {
  if (network.IndexNodes()) return;
  ReportNoRecords(network.findings(), network.nodes_whole, files, none);
  network.nodes_whole = false;
}

void EndLinks(Network& network, const std::vector<std::string>& files, const char* none) {
  if (network.IndexLinks()) return;
  ReportNoRecords(network.findings(), network.links_whole, files, none);
  network.links_whole = false;
}

bool IsTitleRow(const Source& source, const Row& row, int column) {
  return IsTitle(row[column]) && (source.line() == 1 || IsTitle(row[column + 1]));
}

bool IsHeaderRow(const Source& source, const Row& row, int column) {
  if (!IsTitleRow(source, row, column)) return false;
  source.findings().Add(Kind::kHeaderLine, source.Here(column), "\"%.*s\"", Size(row[column]),
                        row[column].data());
  return true;
}

void CountZero(const Source& source, const Row& row, int column, int64_t* zeros) {
  const bool title = IsTitleRow(source, row, column);
  const bool first = ++*zeros == 1;
  const Kind kind = title ? (first ? Kind::kHeaderLine : Kind::kHeaderLineTwice)
                          : (first ? Kind::kCodeZero : Kind::kCodeZeroTwice);
  if (row.IsEmpty()) {
    source.findings().Add(kind, source.Here(column), "an empty line");
  } else {
    source.findings().Add(kind, source.Here(column), "\"%.*s\"", Size(row[column]),
                          row[column].data());
  }
}

FeatureCode StoreCode(const Source& source, const Row& row, int column, int code_length,
                      int64_t* zeros) {
  const std::string_view field = row[column];
  if (IsTitleRow(source, row, column)) {
    CountZero(source, row, column, zeros);
    return {};
  }
  const FeatureCode code = CheckedCode(source, row, column, code_length);
  if (code.IsEmpty() && field.find_first_not_of(" 0+") == std::string_view::npos) {
    CountZero(source, row, column, zeros);
  }
  return code;
}

void CheckNameRow(const Source& source, const Row& row, bool known, int code_column,
                  int name_column) {
  // Rows without a name are nobody's business.
  if (row[name_column].empty() || IsHeaderRow(source, row, code_column)) return;
  if (!known) {
    source.findings().Add(Kind::kRowUnknown, source.Here(code_column), "%.*s",
                          Size(row[code_column]), row[code_column].data());
  }
  CheckName(source, row, name_column);
}

void LookAtUnknownRows(Findings& findings, uint32_t file, int64_t rows) {
  constexpr int64_t kEnough = 5;
  const int64_t unknown = std::max(findings.CountIn(file, Kind::kRowUnknown),
                                   findings.CountIn(file, Kind::kRuleUnknown));
  if (rows < kEnough || unknown * 10 < rows * 9 || findings.Hides(file, Kind::kRowUnknown)) return;
  findings.Add(Kind::kCodesDiffer, {file, 1, kFirstColumn, 0},
               "hardly a code of its %lld rows is among the nodes and links",
               static_cast<long long>(rows));
  findings.Hide(file, {Kind::kRowUnknown, Kind::kRuleUnknown});
  findings.Hide({Kind::kCoordMissing});
}

void CheckTurn(const Source& source, const Row& row, Network& network, const TurnCodes& turn,
               const TurnColumns& columns) {
  Findings& findings = source.findings();
  const int32_t kind = CheckedNumber(source, row, columns.kind);
  const CheckedTurn taken = {network.FindNode(turn.node),
                             network.FindLink(turn.links[0]),
                             network.FindLink(turn.links[1]),
                             kind,
                             source.file(),
                             static_cast<uint32_t>(source.line())};
  if (taken.node >= 0 && taken.in_link >= 0 && taken.out_link >= 0) network.turns.push_back(taken);
  if (static_cast<uint16_t>(kind) != kProhibited) {
    findings.Add(Kind::kRuleKind, source.Here(columns.kind.number), "kind %d", kind);
    return;
  }
  if (taken.node < 0) {
    if (network.nodes_whole) {
      findings.Add(Kind::kRuleUnknown, source.Here(columns.node), "node %.*s",
                   Size(row[columns.node]), row[columns.node].data());
    }
    return;
  }
  bool parallel = false;
  for (int i = 0; i < 2; ++i) {
    const int column = columns.links[i];
    const int32_t found = i == 0 ? taken.in_link : taken.out_link;
    if (found < 0) {
      if (network.links_whole) {
        findings.Add(Kind::kRuleUnknown, source.Here(column), "link %.*s", Size(row[column]),
                     row[column].data());
      }
      continue;
    }
    const CheckedLink& link = network.links[static_cast<size_t>(found)];
    if (!(link.node_a == turn.node) && !(link.node_b == turn.node)) {
      findings.Add(Kind::kRuleNotAtNode, source.Here(column), "link %.*s at %s:%u",
                   Size(row[column]), row[column].data(), findings.PathOf(link.file).c_str(),
                   link.record);
    } else if ((link.marks & kParallel) != 0 && !parallel) {
      parallel = true;
      findings.Add(Kind::kRuleParallel, source.Here(column), "link %.*s", Size(row[column]),
                   row[column].data());
    }
  }
}

}  // namespace zatmap::check
