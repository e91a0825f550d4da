// The completion of zsh, made from the declarations of the commands.
#include <string>

#include "shell/command_texts.h"
#include "shell/completion/shell_text.h"

namespace zatmap {
namespace {

// A text with a backslash before what has a meaning where zsh describes an option.
std::string Escaped(const std::string& text, const char* special) {
  std::string escaped;
  for (const char c : text) {
    if (c == '\\' || std::string(special).find(c) != std::string::npos) escaped += '\\';
    escaped += c;
  }
  return escaped;
}

// What completes a value: the end of such a description.
std::string Action(Completes completes, const std::vector<std::string>& choices) {
  if (completes == Completes::kFile) return "_files";
  if (completes == Completes::kFolder) return "_files -/";
  if (choices.empty()) return " ";
  return "(" + Joined(choices, " ") + ")";
}

// One line for each name of an option. Several names exclude each other.
std::string OptionSpecs(const Option& option) {
  std::string specs;
  const std::vector<std::string> names = NamesOf(option);
  const bool again =
      option.names == "-C" || std::holds_alternative<std::vector<std::string>*>(option.value);
  for (const std::string& name : names) {
    std::string spec = again ? "*" : "(" + Joined(names, " ") + ")";
    spec += name;
    if (!IsFlag(option)) spec += name.size() > 2 ? "=" : "+";
    spec += "[" + Escaped(option.help, "[]:") + "]";
    if (!IsFlag(option)) {
      spec += ":" + Escaped(option.type, ":") + ":" + Action(option.completes, WordsFor(option));
    }
    specs += " \\\n        " + SingleQuoted(spec);
  }
  return specs;
}

std::string Case(const Command& command) {
  std::string text = "    " + command.name + ")\n      _arguments -s";
  for (const Option& option : AllOptions(command)) {
    if (!option.hidden) text += OptionSpecs(option);
  }
  for (size_t i = 0; i < command.arguments.size(); ++i) {
    const Argument& argument = command.arguments[i];
    const std::string spec = std::to_string(i + 1) + (argument.required ? ":" : "::") +
                             Escaped(argument.name, ":") + ":" +
                             Action(argument.completes, argument.choices);
    text += " \\\n        " + SingleQuoted(spec);
  }
  return text + "\n      ;;\n";
}

}  // namespace

std::string ZshCompletion(const Program& program) {
  std::string text = "#compdef " + program.name + R"(
# Completes the command line of zatmap: put it into a folder of $fpath under the name _zatmap.

_zatmap() {
  local curcontext=$curcontext state
  local -a line commands
  commands=(
)";
  for (const Command& command : program.commands) {
    text += "    " + SingleQuoted(command.name + ":" + Escaped(command.summary, ":")) + "\n";
  }
  text += R"(  )
  _arguments -C \
    '(- *)'{-h,--help}'[Print the help]' \
    '(- *)--version[Print the version]' \
    '*-C+[Work in this folder]:FOLDER:_files -/' \
    '1:command:->command' \
    '*::argument:->argument'
  if [[ $state == command ]]; then
    _describe command commands
    return
  fi
  [[ $state == argument ]] || return
  case $words[1] in
)";
  for (const Command& command : program.commands) text += Case(command);
  return text + R"(  esac
}

if [[ $funcstack[1] == _zatmap ]]; then
  _zatmap "$@"
else
  compdef _zatmap zatmap
fi
)";
}

}  // namespace zatmap
