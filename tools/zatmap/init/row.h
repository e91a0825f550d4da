// A line of a source file, made by the table of its columns.
#pragma once

#include <string>
#include <vector>

#include "network/workstore/source_layout.h"

namespace zatmap::init {

class Row {
 public:
  explicit Row(const zatlib::SourceTable& table)
      : table_(table), fields_(static_cast<size_t>(table.Last())) {}

  Row& Set(int column, const std::string& text) {
    const size_t at = static_cast<size_t>(column) - 1;
    const zatlib::FieldKind kind = table_[column].kind;
    fields_[at] = kind == zatlib::FieldKind::kName ? "\"" + text + "\"" : text;
    used_ = at + 1 > used_ ? at + 1 : used_;
    return *this;
  }
  Row& Set(int column, int64_t value) { return Set(column, std::to_string(value)); }

  // The fields up to the last one that was set, with commas between them and CR LF. Whole numbers
  // that were not set are 0.
  std::string Text() const {
    std::string text;
    for (size_t i = 0; i < used_; ++i) {
      const zatlib::FieldKind kind = table_[static_cast<int>(i) + 1].kind;
      const bool empty = kind == zatlib::FieldKind::kName || kind == zatlib::FieldKind::kIgnored;
      if (i > 0) text += ',';
      text += !fields_[i].empty() ? fields_[i] : empty ? "" : "0";
    }
    return text + "\r\n";
  }

 private:
  const zatlib::SourceTable& table_;
  std::vector<std::string> fields_;
  size_t used_ = 0;
};

}  // namespace zatmap::init
