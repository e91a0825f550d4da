// What the declarations of commands tell of themselves.
#include <algorithm>
#include <cinttypes>
#include <cstdio>

#include "shell/command_line.h"
#include "shell/likely.h"

namespace zatmap {
namespace {

// The value that an option has when nobody gives it; "" when there is none.
std::string DefaultOf(const Option& option) {
  if (const auto* text = std::get_if<std::string*>(&option.value)) return **text;
  char shown[64] = "";
  if (const auto* number = std::get_if<int64_t*>(&option.value)) {
    const auto value = static_cast<double>(**number);
    if (value < option.least || value > option.most) return "";
    std::snprintf(shown, sizeof shown, "%" PRId64, **number);
  }
  if (const auto* number = std::get_if<double*>(&option.value)) {
    if (**number < option.least || **number > option.most) return "";
    std::snprintf(shown, sizeof shown, "%.10g", **number);
  }
  return shown;
}

// The only word that begins like this one; "" when there is none or there are several.
std::string Beginning(const std::string& word, const std::vector<std::string>& words) {
  std::string only;
  for (const std::string& candidate : words) {
    if (word.size() < 2 || !candidate.starts_with(word)) continue;
    if (!only.empty()) return "";
    only = candidate;
  }
  return only;
}

}  // namespace

std::vector<Option> AllOptions(const Command& command) {
  std::vector<Option> options = command.options;
  options.push_back({.names = "-C",
                     .help = "Work in this folder: relative paths count from there",
                     .type = "FOLDER",
                     .completes = Completes::kFolder});
  options.push_back({.names = "-h,--help", .help = "Print this help"});
  return options;
}

std::vector<std::string> NamesOf(const Option& option) {
  std::vector<std::string> names;
  size_t begin = 0;
  while (begin <= option.names.size()) {
    const size_t end = std::min(option.names.find(',', begin), option.names.size());
    names.push_back(option.names.substr(begin, end - begin));
    begin = end + 1;
  }
  return names;
}

std::string OptionTitle(const Option& option) {
  std::string title;
  for (const std::string& name : NamesOf(option)) title += (title.empty() ? "" : ", ") + name;
  return option.type.empty() ? title : title + " " + option.type;
}

std::string OptionHelp(const Option& option) {
  std::string choices;
  for (const std::string& choice : option.choices)
    choices += (choices.empty() ? "" : ", ") + choice;
  std::string help = option.help;
  if (!choices.empty()) help += ": " + choices;
  const std::string standard = DefaultOf(option);
  if (!standard.empty()) help += " (default " + standard + ")";
  if (option.required) help += " (required)";
  return help;
}

bool IsFlag(const Option& option) { return option.type.empty(); }

std::string Alternatives(const std::vector<std::string>& words) {
  std::string text;
  for (size_t i = 0; i < words.size(); ++i) {
    if (i > 0) text += i + 1 == words.size() ? " or " : ", ";
    text += words[i];
  }
  return text;
}

std::string Nearest(const std::string& word, const std::vector<std::string>& words) {
  const std::string likely = Likely(word, words);
  return likely.empty() ? Beginning(word, words) : likely;
}

}  // namespace zatmap
