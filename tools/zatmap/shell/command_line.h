// The command line: what a subcommand declares of itself, and the program that runs them. From the
// declarations come the parsing, the help, the man pages and the completions of shells.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <variant>
#include <vector>

namespace zatmap {

inline constexpr int kExitDone = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitUsage = 2;

// Where the value of an argument or option goes. What it holds when it is declared is the default,
// which the help shows: a text that is not empty, a number within its range. A flag makes a bool
// true. A list takes every value that is given, whether the option stands there several times or
// its values have commas between them. A function is called with the value; it returns what is
// wrong with it, like "takes the number of a code page, not x", and "" when nothing is.
using Target = std::variant<std::monostate, bool*, std::string*, int64_t*, double*,
                            std::vector<std::string>*, std::function<std::string(std::string)>>;

// What completes a value in a shell; kChoices are those of `choices`.
enum class Completes { kNothing, kFile, kFolder, kChoices };

// A value that stands without the name of an option, like DIR.
struct Argument {
  std::string name;
  std::string help;  // begins with a capital letter, ends without a full stop
  Target value{};    // a text
  bool required = true;
  Completes completes = Completes::kNothing;
  std::vector<std::string> choices{};  // what completes it
  bool only_choices = false;           // and nothing else is taken
};

struct Option {
  std::string names;  // "--max", "-o,--output"
  std::string help;   // as above; the default and the choices are added to it
  Target value{};
  std::string type{};                   // what the help calls the value: "N", "FILE"; "" for a flag
  std::vector<std::string> choices{};   // the texts that are taken, all when there are none
  std::vector<std::string> suggests{};  // what completes it beside them; the command checks it
  double least = 0;                     // the range of a number
  double most = 1e15;
  std::vector<std::string> excludes{};  // the options that cannot stand beside it, like "--csv"
  bool required = false;
  bool hidden = false;  // from help, man pages and completions
  Completes completes = Completes::kNothing;
};

struct Example {
  std::string line;   // "zatmap info out"
  std::string tells;  // what it does, where the line does not tell; may be empty
};

struct Command {
  std::string name;
  std::string summary;  // one line for the list of commands: "Tell what a map holds"
  std::vector<Argument> arguments{};
  std::vector<Option> options{};  // --help and -C come by themselves
  std::string notes{};            // what else a user has to know, lines of at most 92 characters
  std::vector<Example> examples{};
  std::string done = "done";      // what the exit status 0 says
  std::string failed = "failed";  // what 1 says; 2 is wrong usage everywhere
  std::function<int()> run{};     // returns the exit status
};

// A variable of the environment that a program looks at.
struct Variable {
  std::string name;
  std::string help;
};

struct Program {
  std::string name;
  std::string summary;
  std::string version;
  std::vector<Variable> variables{};
  std::vector<Command> commands;
};

// Runs the command that the arguments name and returns its exit status; kExitUsage, with a message
// on standard error, when they do not fit its declaration.
int RunProgram(const Program& program, int argc, char** argv);

// Tells on standard error that a program has no such command, and which may be meant; returns
// kExitUsage.
int NoSuchCommand(const Program& program, const std::string& name);

// Options and arguments that several commands have: declared here once.
Argument MapArgument(std::string* folder);
Argument ControlFileArgument(std::string* file);
Option JsonOption(bool* json, const std::string& help = "Print one JSON object");
Option StrictOption(bool* strict);
Option MsrOption(bool* msr);
Option OutputOption(std::string* file, const std::string& help);
Option OverwriteOption(bool* overwrite);
Option BoundsOption(std::string* bounds);

// --code-page N, for what reads or prints names: takes effect by itself. What opens a map takes the
// map's own without it (shell/open_map.h).
Option CodePageOption();

// True when --code-page was given.
bool IsCodePageGiven();

// The folder that -C has entered, as it was given; "" when there was none. Several are joined.
const std::string& EnteredFolder();

// A word of a command line as a person types it: in quotes when it holds a blank.
std::string QuotedWord(const std::string& word);

// What the parser, the help, the man pages and the completions ask of the declarations.

// The options of a command with those that every command has: --help and -C.
std::vector<Option> AllOptions(const Command& command);

// The names of an option one by one: "-o" and "--output".
std::vector<std::string> NamesOf(const Option& option);

// The option as the help shows it: "-o, --output FILE"; its text with choices and default.
std::string OptionTitle(const Option& option);
std::string OptionHelp(const Option& option);

// True for what stands without a value.
bool IsFlag(const Option& option);

// The words of a list as a sentence names them: "a, b or c".
std::string Alternatives(const std::vector<std::string>& words);

// The word of a list that is probably meant: likely (shell/likely.h), or the only one that begins
// so; "" when there is none.
std::string Nearest(const std::string& word, const std::vector<std::string>& words);

}  // namespace zatmap
