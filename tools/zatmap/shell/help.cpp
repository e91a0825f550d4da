// The help texts, made from the declarations of the commands.
#include <algorithm>
#include <sstream>

#include "shell/command_texts.h"

namespace zatmap {
namespace {

constexpr size_t kWidth = 92;  // characters of a line

// The words of a text in lines of at most kWidth, all but the first behind `indent` blanks; `used`
// characters of the first one are taken.
std::string Wrapped(const std::string& text, size_t used, size_t indent) {
  std::string lines;
  std::istringstream words(text);
  std::string word;
  bool first = true;
  while (words >> word) {
    if (!first && used + 1 + word.size() > kWidth) {
      lines += "\n" + std::string(indent, ' ');
      used = indent;
      first = true;
    }
    if (!first) {
      lines += ' ';
      ++used;
    }
    lines += word;
    used += word.size();
    first = false;
  }
  return lines;
}

struct Row {
  std::string left;
  std::string right;
};

// Two columns; a left text that is too wide has a line of its own.
std::string Table(const std::vector<Row>& rows) {
  constexpr size_t kWidest = 24;
  size_t width = 0;
  for (const Row& row : rows) {
    if (row.left.size() <= kWidest) width = std::max(width, row.left.size());
  }
  std::string text;
  for (const Row& row : rows) {
    text += "  " + row.left;
    if (row.left.size() > width) {
      text += "\n" + std::string(width + 4, ' ');
    } else {
      text += std::string(width + 2 - row.left.size(), ' ');
    }
    text += Wrapped(row.right, width + 4, width + 4) + "\n";
  }
  return text;
}

}  // namespace

std::string SynopsisOf(const Command& command) {
  std::string line = "[OPTIONS]";
  for (const Argument& argument : command.arguments) {
    line += argument.required ? " " + argument.name : " [" + argument.name + "]";
  }
  return line;
}

std::string HelpText(const Program& program, const Command& command) {
  std::string text = command.summary + "\n\nUsage: " + program.name + " " + command.name + " " +
                     SynopsisOf(command) + "\n";
  std::vector<Row> rows;
  for (const Argument& argument : command.arguments) rows.push_back({argument.name, argument.help});
  if (!rows.empty()) text += "\n" + Table(rows);
  rows.clear();
  for (const Option& option : AllOptions(command)) {
    if (!option.hidden) rows.push_back({OptionTitle(option), OptionHelp(option)});
  }
  text += "\nOptions:\n" + Table(rows);
  if (!command.notes.empty()) text += "\n" + command.notes + "\n";
  text += "\n" +
          Wrapped("Exit status: 0 " + command.done + ", 1 " + command.failed + ", 2 wrong usage.",
                  0, 2) +
          "\n";
  const bool several = command.examples.size() > 1;
  if (several) text += "Examples:\n";
  for (const Example& example : command.examples) {
    text += (several ? "  " : "Example: ") + example.line + "\n";
    if (!example.tells.empty()) text += "      " + example.tells + "\n";
  }
  return text;
}

std::string HelpText(const Program& program) {
  std::string text = program.summary + "\n\nUsage: " + program.name + " COMMAND ...\n\nCommands:\n";
  std::vector<Row> rows;
  for (const Command& command : program.commands) rows.push_back({command.name, command.summary});
  text += Table(rows);
  text += "\nOptions:\n" +
          Table({{"-h, --help", "Print this help"},
                 {"--version", "Print the version"},
                 {"-C FOLDER", "Work in this folder: relative paths count from there"}});
  return text + "\nExit status: 0 done, 1 failed, cancelled or errors found, 2 wrong usage.\n" +
         "Example: " + program.name + " build control.ini\n" +
         "Each command has a --help with an example: " + program.name + " COMMAND --help\n";
}

}  // namespace zatmap
