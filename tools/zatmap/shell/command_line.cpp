// Turns declarations of commands into what parses them. Nobody else includes the parser: it takes
// the compiler longer than all of a command.
#include "shell/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cstdio>
#include <deque>

#include "platform/working_folder.h"
#include "shell/command_texts.h"

namespace zatmap {
namespace {

std::string g_entered;  // what -C has entered

// What was given for an option or argument.
struct Given {
  CLI::Option* parsed = nullptr;
  // What the parser fills: a flag, a value, a list. All but flags are asked for their values.
  int64_t count = 0;
  std::string text;
  std::vector<std::string> list;
  bool any() const { return parsed->count() > 0; }
  const std::vector<std::string>& values() const { return parsed->results(); }
};

bool OneOf(const std::string& word, const std::vector<std::string>& words) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

// What is wrong with a word that is none of the choices, without the name of what takes them.
std::string WrongChoice(const std::string& word, const std::vector<std::string>& choices) {
  const std::string nearest = Nearest(word, choices);
  return " takes " + Alternatives(choices) + ", not " + word +
         (nearest.empty() ? "." : "; did you mean " + nearest + "?");
}

template <typename Number>
bool ParseNumber(const std::string& text, Number* number) {
  const char* end = text.data() + text.size();
  const auto [at, error] = std::from_chars(text.data(), end, *number);
  return error == std::errc() && at == end;
}

template <typename Number>
std::string StoreNumber(const Option& option, const std::string& text, Number* target) {
  Number number{};
  if (ParseNumber(text, &number) && static_cast<double>(number) >= option.least &&
      static_cast<double>(number) <= option.most) {
    *target = number;
    return "";
  }
  std::string range = "of at least " + std::to_string(static_cast<int64_t>(option.least));
  if (option.most < 1e15) {
    range = "from " + std::to_string(static_cast<int64_t>(option.least)) + " to " +
            std::to_string(static_cast<int64_t>(option.most));
  }
  return " takes a number " + range + ", not " + text + ".";
}

std::vector<std::string> SplitAtCommas(const std::vector<std::string>& values) {
  std::vector<std::string> parts;
  for (const std::string& value : values) {
    for (size_t begin = 0; begin <= value.size();) {
      const size_t end = std::min(value.find(',', begin), value.size());
      if (end > begin) parts.push_back(value.substr(begin, end - begin));
      begin = end + 1;
    }
  }
  return parts;
}

// Hands what was given to where the declaration wants it; what is wrong with it, without the
// option's name, "" when nothing is.
std::string Store(const Option& option, const Given& given) {
  if (const auto* flag = std::get_if<bool*>(&option.value)) {
    **flag = given.count > 0;
    return "";
  }
  std::vector<std::string> values = given.values();
  if (const auto* list = std::get_if<std::vector<std::string>*>(&option.value)) {
    values = SplitAtCommas(values);
    **list = values;
  }
  for (const std::string& value : values) {
    if (!option.choices.empty() && !OneOf(value, option.choices)) {
      return WrongChoice(value, option.choices);
    }
  }
  if (const auto* text = std::get_if<std::string*>(&option.value)) **text = values.back();
  if (const auto* number = std::get_if<int64_t*>(&option.value)) {
    return StoreNumber(option, values.back(), *number);
  }
  if (const auto* number = std::get_if<double*>(&option.value)) {
    return StoreNumber(option, values.back(), *number);
  }
  if (const auto* take = std::get_if<std::function<std::string(std::string)>>(&option.value)) {
    const std::string wrong = (*take)(values.back());
    return wrong.empty() ? "" : " " + wrong + ".";
  }
  return "";
}

// One command with what was given to it.
class Parse {
 public:
  Parse(const Program& program, const Command& command)
      : program_(program), command_(command), options_(AllOptions(command)) {
    // "/data/out" is a path on Windows too.
    app_.allow_windows_style_options(false);
    app_.set_help_flag();
    app_.allow_extras();
    for (const Option& option : options_) Add(option);
    for (const Argument& argument : command.arguments) {
      Given& given = arguments_.emplace_back();
      given.parsed = app_.add_option(argument.name, given.text);
    }
  }

  // Stores the values. False when the command shall not run; then `*status` is the exit status.
  bool Take(std::vector<std::string> words, int* status) {
    *status = kExitUsage;
    std::reverse(words.begin(), words.end());
    try {
      app_.parse(words);
    } catch (const CLI::ArgumentMismatch& error) {
      const std::string what = error.what();
      const std::string name = what.substr(0, what.find(": "));
      Complain(name + (GivenTo(name).any() ? " can be given once only." : " needs a value."));
      return false;
    } catch (const CLI::ParseError& error) {
      Complain(std::string(error.what()) + ".");
      return false;
    }
    if (GivenTo("--help").any()) {
      std::printf("%s", HelpText(program_, command_).c_str());
      *status = kExitDone;
      return false;
    }
    return NothingIsUnknown() && NothingIsMissing() && NothingIsExcluded() && StoreAll() &&
           EnterFolder(status);
  }

 private:
  void Add(const Option& option) {
    Given& given = given_.emplace_back();
    if (IsFlag(option)) {
      given.parsed = app_.add_flag(option.names, given.count);
    } else if (std::holds_alternative<std::vector<std::string>*>(option.value)) {
      given.parsed = app_.add_option(option.names, given.list)->allow_extra_args(false);
    } else {
      given.parsed = app_.add_option(option.names, given.text);
    }
    if (!IsFlag(option)) given.parsed->type_name(option.type);
  }

  const Given& GivenTo(const std::string& name) const {
    for (size_t i = 0; i < options_.size(); ++i) {
      for (const std::string& other : NamesOf(options_[i])) {
        if (other == name) return given_[i];
      }
    }
    return given_.front();
  }

  void Complain(const std::string& what) const {
    std::fprintf(stderr, "zatmap: %s\nzatmap %s --help tells more.\n", what.c_str(),
                 command_.name.c_str());
  }

  bool NothingIsUnknown() const {
    std::vector<std::string> rest = app_.remaining();
    // What stands before the arguments that may begin with a hyphen.
    const auto mark = std::find(rest.begin(), rest.end(), "--");
    if (mark != rest.end()) rest.erase(mark);
    if (rest.empty()) return true;
    const std::string& word = rest.front();
    if (word.size() < 2 || word[0] != '-') {
      Complain(word + " is one argument too many for " + command_.name + ".");
      return false;
    }
    std::vector<std::string> names;
    for (const Option& option : options_) {
      if (option.hidden) continue;
      for (const std::string& name : NamesOf(option)) names.push_back(name);
    }
    const std::string name = word.substr(0, word.find('='));
    const std::string nearest = Nearest(name, names);
    Complain(command_.name + " has no option " + name +
             (nearest.empty() ? "." : "; did you mean " + nearest + "?"));
    return false;
  }

  bool NothingIsMissing() const {
    for (size_t i = 0; i < arguments_.size(); ++i) {
      const Argument& argument = command_.arguments[i];
      if (!argument.required || arguments_[i].any()) continue;
      Complain(argument.name + " is missing: " + Lower(argument.help) + ".");
      return false;
    }
    for (size_t i = 0; i < options_.size(); ++i) {
      if (!options_[i].required || given_[i].any()) continue;
      Complain(NamesOf(options_[i]).front() + " is required: " + Lower(options_[i].help) + ".");
      return false;
    }
    return true;
  }

  bool NothingIsExcluded() const {
    for (size_t i = 0; i < options_.size(); ++i) {
      if (!given_[i].any()) continue;
      for (const std::string& other : options_[i].excludes) {
        if (!GivenTo(other).any()) continue;
        Complain(NamesOf(options_[i]).back() + " excludes " + other + ".");
        return false;
      }
    }
    return true;
  }

  bool StoreAll() const {
    for (size_t i = 0; i < options_.size(); ++i) {
      if (!given_[i].any()) continue;
      const std::string wrong = Store(options_[i], given_[i]);
      if (wrong.empty()) continue;
      Complain(NamesOf(options_[i]).back() + wrong);
      return false;
    }
    for (size_t i = 0; i < arguments_.size(); ++i) {
      const Argument& argument = command_.arguments[i];
      const auto* text = std::get_if<std::string*>(&argument.value);
      if (!arguments_[i].any() || text == nullptr) continue;
      **text = arguments_[i].values().back();
      if (!argument.only_choices || OneOf(**text, argument.choices)) continue;
      Complain(argument.name + WrongChoice(**text, argument.choices));
      return false;
    }
    return true;
  }

  bool EnterFolder(int* status) const {
    const Given& given = GivenTo("-C");
    if (!given.any()) return true;
    for (const std::string& folder : given.values()) {
      if (zatlib::platform::EnterFolder(folder.c_str())) {
        g_entered = g_entered.empty() ? folder : g_entered + "/" + folder;
        continue;
      }
      std::fprintf(stderr, "zatmap: -C %s: there is no such folder, or it cannot be entered.\n",
                   folder.c_str());
      *status = kExitFailed;
      return false;
    }
    return true;
  }

  static std::string Lower(std::string text) {
    if (text.size() > 1 && text[1] >= 'a' && text[0] >= 'A' && text[0] <= 'Z') text[0] += 'a' - 'A';
    return text;
  }

  const Program& program_;
  const Command& command_;
  std::vector<Option> options_;
  CLI::App app_;
  // In the order of the declarations; the parser holds on to their places.
  std::deque<Given> given_;
  std::deque<Given> arguments_;
};

}  // namespace

const std::string& EnteredFolder() { return g_entered; }

std::string QuotedWord(const std::string& word) {
  return word.find_first_of(" '()&;") == std::string::npos ? word : "\"" + word + "\"";
}

int RunProgram(const Program& program, int argc, char** argv) {
  std::vector<std::string> words(argv + 1, argv + argc);
  std::vector<std::string> folder;  // -C and its value, before the command as behind it
  while (words.size() >= 2 && words[0] == "-C") {
    folder.insert(folder.end(), words.begin(), words.begin() + 2);
    words.erase(words.begin(), words.begin() + 2);
  }
  const std::string first = words.empty() ? "" : words.front();
  if (first == "-h" || first == "--help") {
    std::printf("%s", HelpText(program).c_str());
    return kExitDone;
  }
  if (first == "--version") {
    std::printf("%s %s\n", program.name.c_str(), program.version.c_str());
    return kExitDone;
  }
  for (const Command& command : program.commands) {
    if (command.name != first) continue;
    words.erase(words.begin());
    words.insert(words.begin(), folder.begin(), folder.end());
    int status = kExitUsage;
    return Parse(program, command).Take(words, &status) ? command.run() : status;
  }
  if (!first.empty() && first[0] != '-') return NoSuchCommand(program, first);
  if (first.empty()) {
    std::fprintf(stderr, "zatmap: a command is missing.\n");
  } else {
    std::fprintf(stderr, "zatmap: %s is no option that stands before a command.\n", first.c_str());
  }
  std::fprintf(stderr, "zatmap --help lists the commands.\n");
  return kExitUsage;
}

int NoSuchCommand(const Program& program, const std::string& name) {
  std::vector<std::string> names;
  for (const Command& command : program.commands) names.push_back(command.name);
  const std::string nearest = Nearest(name, names);
  std::fprintf(stderr, "zatmap: there is no command %s%s\nzatmap --help lists the commands.\n",
               name.c_str(), nearest.empty() ? "." : ("; did you mean " + nearest + "?").c_str());
  return kExitUsage;
}

}  // namespace zatmap
