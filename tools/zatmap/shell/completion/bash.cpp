// The completion of bash, made from the declarations of the commands.
#include <string>

#include "shell/command_texts.h"
#include "shell/completion/shell_text.h"

namespace zatmap {
namespace {

// The helpers of the script. A value behind "=" is a word of its own for bash.
constexpr const char* kHelpers =
    R"(# Completes the command line of zatmap: source <(zatmap completion bash)

_zatmap_words() {
  mapfile -t COMPREPLY < <(compgen -W "$1" -- "$cur")
}

_zatmap_files() {
  compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <(compgen -f -- "$cur")
}

_zatmap_folders() {
  compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <(compgen -d -- "$cur")
}

)";

// The line that completes a value.
std::string Call(Completes completes, const std::vector<std::string>& choices) {
  if (completes == Completes::kFile) return "_zatmap_files";
  if (completes == Completes::kFolder) return "_zatmap_folders";
  if (choices.empty()) return ":";
  return "_zatmap_words " + SingleQuoted(Joined(choices, " "));
}

// The case of one command: values of its options, then options, then arguments by their number.
std::string Case(const Command& command) {
  std::string values;
  std::string with_value;
  std::vector<std::string> names;
  for (const Option& option : AllOptions(command)) {
    if (option.hidden) continue;
    const std::vector<std::string> own = NamesOf(option);
    names.insert(names.end(), own.begin(), own.end());
    if (IsFlag(option)) continue;
    const std::string pattern = Joined(own, "|");
    with_value += (with_value.empty() ? "" : "|") + pattern;
    values +=
        "        " + pattern + ") " + Call(option.completes, WordsFor(option)) + "; return ;;\n";
  }
  std::string text = "    " + command.name + ")\n";
  text += "      case $before in\n" + values + "      esac\n";
  text += "      if [[ $cur == -* ]]; then\n        _zatmap_words " +
          SingleQuoted(Joined(names, " ")) + "\n        return\n      fi\n";
  if (command.arguments.empty()) return text + "      ;;\n";
  text += "      _zatmap_count '" + with_value + "'\n      case $count in\n";
  for (size_t i = 0; i < command.arguments.size(); ++i) {
    const Argument& argument = command.arguments[i];
    text += "        " + std::to_string(i) + ") " + Call(argument.completes, argument.choices) +
            " ;;\n";
  }
  return text + "      esac\n      ;;\n";
}

}  // namespace

std::string BashCompletion(const Program& program) {
  std::vector<std::string> first;
  for (const Command& command : program.commands) first.push_back(command.name);
  for (const char* option : {"--help", "--version", "-C"}) first.emplace_back(option);
  std::string text = kHelpers;
  // How many arguments stand before the word that is completed: "$1" are the options with values.
  text += R"(_zatmap_count() {
  local i
  count=0
  for ((i = at + 1; i < COMP_CWORD; ++i)); do
    case ${COMP_WORDS[i]} in
      =) ((++i)) ;;
      -*) [[ "|$1|" == *"|${COMP_WORDS[i]}|"* && ${COMP_WORDS[i + 1]} != = ]] && ((++i)) ;;
      *) ((++count)) ;;
    esac
  done
}

_zatmap() {
  local cur=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} at=1 count=0
  if [[ $cur == = ]]; then
    cur=
  elif [[ $before == = ]]; then
    before=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  COMPREPLY=()
  while [[ ${COMP_WORDS[at]} == -C && $at -lt $COMP_CWORD ]]; do ((at += 2)); done
  if ((at > COMP_CWORD)); then
    _zatmap_folders
    return
  fi
  if ((at == COMP_CWORD)); then
)";
  text += "    _zatmap_words " + SingleQuoted(Joined(first, " ")) + "\n    return\n  fi\n";
  text += "  case ${COMP_WORDS[at]} in\n";
  for (const Command& command : program.commands) text += Case(command);
  return text + "  esac\n}\n\ncomplete -F _zatmap " + program.name + "\n";
}

}  // namespace zatmap
