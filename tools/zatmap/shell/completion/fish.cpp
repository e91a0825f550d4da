// The completion of fish, made from the declarations of the commands.
#include <string>

#include "shell/command_texts.h"
#include "shell/completion/shell_text.h"

namespace zatmap {
namespace {

// A text in single quotes: there a backslash escapes a quote and itself.
std::string Quoted(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) {
    if (c == '\'' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + "'";
}

// The options of `complete` for a value.
std::string Value(Completes completes, const std::vector<std::string>& choices) {
  if (completes == Completes::kFile) return " -r -F";
  if (completes == Completes::kFolder) return " -x -a '(__fish_complete_directories)'";
  return choices.empty() ? " -x" : " -x -a " + Quoted(Joined(choices, " "));
}

std::string OptionLine(const std::string& begin, const Option& option) {
  std::string line = begin;
  for (const std::string& name : NamesOf(option)) {
    line += name.size() > 2 ? " -l " + name.substr(2) : " -s " + name.substr(1);
  }
  if (!IsFlag(option)) line += Value(option.completes, WordsFor(option));
  return line + " -d " + Quoted(option.help) + "\n";
}

}  // namespace

std::string FishCompletion(const Program& program) {
  const std::string complete = "complete -c " + program.name;
  std::string text =
      "# Completes the command line of zatmap: put it into "
      "~/.config/fish/completions/zatmap.fish\n" +
      complete + " -f\n";
  const std::string first = complete + " -n __fish_use_subcommand";
  text += first + " -s h -l help -d 'Print the help'\n" + first +
          " -l version -d 'Print the version'\n" + first +
          " -s C -x -a '(__fish_complete_directories)' -d 'Work in this folder'\n";
  for (const Command& command : program.commands) {
    text += first + " -a " + command.name + " -d " + Quoted(command.summary) + "\n";
  }
  for (const Command& command : program.commands) {
    const std::string begin = complete + " -n '__fish_seen_subcommand_from " + command.name + "'";
    for (const Option& option : AllOptions(command)) {
      if (!option.hidden) text += OptionLine(begin, option);
    }
    for (const Argument& argument : command.arguments) {
      if (argument.completes == Completes::kFile) {
        text += begin + " -F\n";
      } else if (argument.completes == Completes::kFolder) {
        text += begin + " -a '(__fish_complete_directories)' -d 'Folder'\n";
      } else if (!argument.choices.empty()) {
        text += begin + " -a " + Quoted(Joined(argument.choices, " ")) + " -d " +
                Quoted(argument.name) + "\n";
      }
    }
  }
  return text;
}

}  // namespace zatmap
