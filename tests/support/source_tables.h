// What the tables of source columns must be, and how the documents show them.
#pragma once

#include <string>

#include "documents.h"
#include "network/workstore/source_layout.h"

namespace zatlib::test {

// "5 to 12" for several columns.
inline std::string NumberText(const SourceColumn& column) {
  const std::string first = std::to_string(column.number);
  if (column.count == 1) return first;
  return first + " to " + std::to_string(column.number + column.count - 1);
}

// What a column may hold: "code", "0 to 65535 m", "up to 65535 km/h".
inline std::string ValuesText(const SourceColumn& column) {
  switch (column.kind) {
    case FieldKind::kIgnored:
      return "not read";
    case FieldKind::kCode:
      return "code";
    case FieldKind::kAreaCode:
    case FieldKind::kPartnerCode:
    case FieldKind::kFullCode:
      return "number";
    case FieldKind::kName:
      return "text";
    case FieldKind::kCoordinate:
      return std::to_string(column.range.low / 1000000) + " to " +
             std::to_string(column.range.high / 1000000) + " degrees";
    default:
      break;
  }
  const bool open = column.range.low == INT32_MIN && column.range.high != INT32_MAX;
  const std::string unit = *column.range.unit == 0 ? "" : std::string(" ") + column.range.unit;
  return (open ? "up " : std::to_string(column.range.low) + " ") + "to " +
         std::to_string(column.range.high) + unit;
}

// The rows of a table in its document: column, name, values, whether it is needed; the content
// behind them is the document's own.
inline std::vector<Cells> DocumentedRows(const SourceTable& table) {
  std::vector<Cells> rows;
  for (const SourceColumn& column : table.columns) {
    rows.push_back({NumberText(column), column.name, ValuesText(column),
                    column.presence == Presence::kNeeded ? "yes" : ""});
  }
  return rows;
}

// Expects the document to show these tables in this order, each below a heading that ends with its
// section, and no other one of source columns.
template <size_t kCount>
void ExpectDocumented(const SourceTable* const (&tables)[kCount], const std::string& document) {
  std::vector<DocumentTable> shown = DocumentTables(document);
  std::erase_if(shown, [](const DocumentTable& table) {
    return table.titles != Cells{"column", "name", "values", "needed", "content"};
  });
  ASSERT_EQ(shown.size(), kCount);
  for (size_t i = 0; i < kCount; ++i) {
    SCOPED_TRACE(tables[i]->section);
    std::string section = shown[i].heading.substr(shown[i].heading.rfind(' ') + 1);
    std::erase_if(section, [](char c) { return c < 'A' || c > 'Z'; });
    EXPECT_EQ(section, tables[i]->section);
    for (Cells& row : shown[i].rows) {
      ASSERT_EQ(row.size(), 5u) << row[0];
      row.pop_back();
    }
    EXPECT_EQ(shown[i].rows, DocumentedRows(*tables[i]));
  }
}

// Expects every column to stand in its place and to hold together.
inline void ExpectWellFormed(const SourceTable& table) {
  SCOPED_TRACE(table.section);
  int next = 1;
  bool needed = true;
  ASSERT_FALSE(table.columns.empty());
  for (const SourceColumn& column : table.columns) {
    SCOPED_TRACE(column.name);
    EXPECT_EQ(column.number, next) << "a gap or an overlap";
    EXPECT_TRUE(column.count == 1 || (column.count > 1 && (column.kind == FieldKind::kCode ||
                                                           column.kind == FieldKind::kAreaCode)));
    EXPECT_LE(column.range.low, column.range.high);
    EXPECT_TRUE(needed || column.presence == Presence::kOptional) << "behind one that is not";
    needed = column.presence == Presence::kNeeded;
    if (column.kind == FieldKind::kIgnored) {
      EXPECT_EQ(column.record, kNoField);
      EXPECT_EQ(column.name_record, kNoField);
    }
    EXPECT_EQ(&table[column.number], &column);
    EXPECT_EQ(&table[column.number + column.count - 1], &column);
    next = column.number + column.count;
  }
  EXPECT_EQ(table.Last(), next - 1);
  EXPECT_LE(table.Last(), SourceLayout::kMaxColumns);
}

}  // namespace zatlib::test
