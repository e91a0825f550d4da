#include "check/rows.h"

#include <algorithm>

namespace zatmap::check {
namespace {

using zatlib::FeatureCode;

constexpr int32_t kMostWord = 65535;
constexpr int32_t kProhibited = 2;

}  // namespace

uint16_t SpeedOf(std::string_view field, uint16_t default_speed) {
  const int32_t speed = zatlib::FRD_ParseInt(field);
  if (speed < 0) return 0;
  return speed == 0 ? default_speed : static_cast<uint16_t>(speed);
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
  if (row.count == 1 && row[1].empty()) {
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

void CheckTurn(const Source& source, const Row& row, const Network& network, FeatureCode node,
               FeatureCode in_link, FeatureCode out_link, int first_column) {
  Findings& findings = source.findings();
  const int32_t kind = CheckedNumber(source, row, first_column + 3, 0, kMostWord);
  if ((kind & kMostWord) != kProhibited) {
    findings.Add(Kind::kRuleKind, source.Here(first_column + 3), "kind %d", kind);
    return;
  }
  const int32_t at = network.FindNode(node);
  if (at < 0) {
    if (network.nodes_whole) {
      findings.Add(Kind::kRuleUnknown, source.Here(first_column), "node %.*s",
                   Size(row[first_column]), row[first_column].data());
    }
    return;
  }
  const FeatureCode codes[] = {in_link, out_link};
  bool parallel = false;
  for (int i = 0; i < 2; ++i) {
    const int column = first_column + 1 + i;
    const int32_t found = network.FindLink(codes[i]);
    if (found < 0) {
      if (network.links_whole) {
        findings.Add(Kind::kRuleUnknown, source.Here(column), "link %.*s", Size(row[column]),
                     row[column].data());
      }
      continue;
    }
    const CheckedLink& link = network.links[static_cast<size_t>(found)];
    if (!(link.node_a == node) && !(link.node_b == node)) {
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
