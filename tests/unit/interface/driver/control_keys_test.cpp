#include "interface/driver/control_keys.h"

#include <map>
#include <set>

#include "documents.h"

namespace zatlib {
namespace {

#ifndef _WIN32                                    // the documents are not there
using Keys = std::map<std::string, std::string>;  // type by name

std::string TypeText(KeyType type) {
  switch (type) {
    case KeyType::kInteger:
      return "integer";
    case KeyType::kText:
      return "text";
    case KeyType::kPath:
      return "path";
  }
  return "";
}

// FILE01 as FILE#.
std::string Pattern(std::string key) {
  if (key.find_first_of("0123456789") == std::string::npos) return key;
  return key.substr(0, key.find_first_of("0123456789")) + "#";
}

// The names of a cell that stand in backquotes.
std::vector<std::string> Quoted(const std::string& cell) {
  std::vector<std::string> names;
  for (size_t at = 0; (at = cell.find('`', at)) != std::string::npos;) {
    const size_t end = cell.find('`', at + 1);
    names.push_back(cell.substr(at + 1, end - at - 1));
    at = end + 1;
  }
  return names;
}

// The word that a type begins with; several keys of one row have their types behind semicolons, the
// last of which holds for the rest.
std::vector<std::string> Types(const std::string& cell) {
  std::vector<std::string> types;
  for (size_t at = 0; at != std::string::npos;) {
    at = cell.find_first_not_of("; ", at);
    types.push_back(cell.substr(at, cell.find_first_of(",; ", at) - at));
    at = cell.find(';', at);
  }
  return types;
}

TEST(ControlKeysTest, TheDocumentsListTheKeys) {
  std::map<std::string, Keys> documented;
  for (const char* document : {"control-file.md", "msr-layout.md"}) {
    for (const test::DocumentTable& table : test::DocumentTables(document)) {
      if (table.titles != test::Cells{"section", "key", "type, default", "meaning"}) continue;
      for (const test::Cells& row : table.rows) {
        const std::vector<std::string> keys = Quoted(row[1]);
        const std::vector<std::string> types = Types(row[2]);
        for (size_t i = 0; i < keys.size(); ++i) {
          const std::string& type = types[std::min(i, types.size() - 1)];
          Keys& of_section = documented[Quoted(row[0]).at(0)];
          const auto [known, added] = of_section.emplace(Pattern(keys[i]), type);
          EXPECT_EQ(known->second, type) << row[0] << " " << keys[i];
        }
      }
    }
  }
  std::map<std::string, Keys> listed;
  for (const ControlSection& section : kControlSections) {
    for (const ControlKey& key : section.keys) {
      listed[section.name].emplace(key.name, TypeText(key.type));
    }
  }
  EXPECT_EQ(documented, listed);
}
#endif

TEST(ControlKeysTest, EachSectionAndEachOfItsKeysIsListedOnce) {
  std::set<std::string> sections;
  for (const ControlSection& section : kControlSections) {
    EXPECT_TRUE(sections.insert(section.name).second) << section.name;
    std::set<std::string> keys;
    for (const ControlKey& key : section.keys) {
      EXPECT_TRUE(keys.insert(key.name).second) << key.name;
    }
  }
  EXPECT_EQ(sections.size(), 20u);
}

}  // namespace
}  // namespace zatlib
