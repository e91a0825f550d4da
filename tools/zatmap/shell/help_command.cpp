// zatmap help, zatmap completion: what the declarations of the commands tell.
#include "shell/help_command.h"

#include <cstdio>
#include <memory>
#include <string>

#include "shell/command_texts.h"
#include "shell/output.h"

namespace zatmap {
namespace {

struct HelpOptions {
  std::string command;
  bool man = false;
  bool json = false;
};

struct CompletionOptions {
  std::string shell;
};

Json ToJson(const Option& option) {
  Json all = {{"names", NamesOf(option)}, {"help", option.help}};
  if (!IsFlag(option)) all["value"] = option.type;
  if (!option.choices.empty()) all["choices"] = option.choices;
  if (!option.excludes.empty()) all["excludes"] = option.excludes;
  if (option.required) all["required"] = true;
  return all;
}

Json ToJson(const Program&, const Command& command) {
  Json arguments = Json::array();
  for (const Argument& argument : command.arguments) {
    Json entry = {{"name", argument.name}, {"help", argument.help}};
    entry["required"] = argument.required;
    if (!argument.choices.empty()) entry["choices"] = argument.choices;
    arguments.push_back(std::move(entry));
  }
  Json options = Json::array();
  for (const Option& option : AllOptions(command)) {
    if (!option.hidden) options.push_back(ToJson(option));
  }
  Json examples = Json::array();
  for (const Example& example : command.examples) examples.push_back(example.line);
  return {{"name", command.name},
          {"summary", command.summary},
          {"arguments", std::move(arguments)},
          {"options", std::move(options)},
          {"examples", std::move(examples)},
          {"exit_status", {{"0", command.done}, {"1", command.failed}, {"2", "wrong usage"}}}};
}

Json ToJson(const Program& program) {
  Json commands = Json::array();
  for (const Command& command : program.commands) commands.push_back(ToJson(program, command));
  return {{"name", program.name}, {"version", program.version}, {"commands", std::move(commands)}};
}

const Command* FindCommand(const Program& program, const std::string& name) {
  for (const Command& command : program.commands) {
    if (command.name == name) return &command;
  }
  return nullptr;
}

// Calls something that takes (program) or (program, command), whichever the user asked for.
template <typename Make>
auto Of(const Program& program, const Command* command, const Make& make) {
  return command == nullptr ? make(program) : make(program, *command);
}

int RunHelp(const Program& program, const HelpOptions& options) {
  const Command* command = nullptr;
  if (!options.command.empty()) {
    command = FindCommand(program, options.command);
    if (command == nullptr) return NoSuchCommand(program, options.command);
  }
  if (options.json) {
    PrintJson(Of(program, command, [](const auto&... of) { return ToJson(of...); }));
    return kExitDone;
  }
  const std::string text = Of(program, command, [&options](const auto&... of) {
    return options.man ? ManPage(of...) : HelpText(of...);
  });
  std::printf("%s", text.c_str());
  return kExitDone;
}

int RunCompletion(const Program& program, const CompletionOptions& options) {
  const std::string text = options.shell == "bash"  ? BashCompletion(program)
                           : options.shell == "zsh" ? ZshCompletion(program)
                                                    : FishCompletion(program);
  std::printf("%s", text.c_str());
  return kExitDone;
}

std::vector<std::string> CommandNames(const Program& program) {
  std::vector<std::string> names;
  for (const Command& command : program.commands) names.push_back(command.name);
  return names;
}

}  // namespace

Command HelpCommand(const Program* program) {
  const auto options = std::make_shared<HelpOptions>();
  return {.name = "help",
          .summary = "Tell how the commands are used",
          .arguments = {{.name = "COMMAND",
                         .help = "The command to tell about; without it, which there are",
                         .value = &options->command,
                         .required = false,
                         .completes = Completes::kChoices,
                         .choices = CommandNames(*program)}},
          .options = {{.names = "--man",
                       .help = "As a man page, for man -l - or to be installed",
                       .value = &options->man},
                      JsonOption(&options->json, "What the commands take, as one JSON object")},
          .examples = {{"zatmap help build", ""},
                       {"zatmap help --man build | man -l -", ""},
                       {"zatmap help --man build >/usr/local/share/man/man1/zatmap-build.1", ""}},
          .run = [program, options] { return RunHelp(*program, *options); }};
}

Command CompletionCommand(const Program* program) {
  const auto options = std::make_shared<CompletionOptions>();
  return {.name = "completion",
          .summary = "Print what a shell needs to complete the command line",
          .arguments = {{.name = "SHELL",
                         .help = "The shell",
                         .value = &options->shell,
                         .completes = Completes::kChoices,
                         .choices = {"bash", "zsh", "fish"},
                         .only_choices = true}},
          .notes =
              "Bash reads it from its own start file; zsh and fish look for a file of that "
              "name in\ntheir folders of completions.",
          .examples = {{"source <(zatmap completion bash)", "in ~/.bashrc"},
                       {"zatmap completion zsh >~/.zfunc/_zatmap",
                        "in ~/.zshrc before compinit: fpath+=~/.zfunc"},
                       {"zatmap completion fish >~/.config/fish/completions/zatmap.fish", ""}},
          .run = [program, options] { return RunCompletion(*program, *options); }};
}

}  // namespace zatmap
