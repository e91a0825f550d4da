// The tables of the documents, for the tests that hold them to the code.
#pragma once

#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "test_support.h"

namespace zatlib::test {

using Cells = std::vector<std::string>;

struct DocumentTable {
  std::string heading;      // the heading above it, without its #
  Cells titles;             // of the columns
  std::vector<Cells> rows;  // without titles and ruler
};

// The tables of docs/<name>, in order. Empty when the document cannot be read.
inline std::vector<DocumentTable> DocumentTables(const std::string& name) {
  const char* const folder = std::getenv("ZATLIB_SOURCE_DIR");
  std::vector<DocumentTable> tables;
  if (folder == nullptr) return tables;
  std::istringstream lines(ReadBytes(std::string(folder) + "/docs/" + name));
  std::string heading;
  bool in_table = false;
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with("| ")) {
      in_table = in_table && line.starts_with("|--");
      if (line.starts_with("#")) heading = line.substr(line.find_first_not_of("# "));
      continue;
    }
    Cells cells;
    for (size_t at = 1, end; (end = line.find('|', at)) != std::string::npos; at = end + 1) {
      const std::string cell = line.substr(at, end - at);
      const size_t first = cell.find_first_not_of(' ');
      cells.push_back(first == std::string::npos
                          ? ""
                          : cell.substr(first, cell.find_last_not_of(' ') + 1 - first));
    }
    if (in_table) {
      tables.back().rows.push_back(cells);
    } else {
      tables.push_back({heading, cells, {}});
      in_table = true;
    }
  }
  return tables;
}

}  // namespace zatlib::test
