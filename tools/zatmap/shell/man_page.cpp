// Man pages, made from the declarations of the commands.
#include <string>

#include "shell/command_texts.h"

namespace zatmap {
namespace {

// A text as roff takes it: no letter of it is a request or an escape, hyphens can be copied.
std::string Roff(const std::string& text) {
  std::string roff;
  bool begins = true;
  for (const char c : text) {
    if (begins && (c == '.' || c == '\'')) roff += "\\&";
    if (c == '\\') {
      roff += "\\e";
    } else if (c == '-') {
      roff += "\\-";
    } else {
      roff += c;
    }
    begins = c == '\n';
  }
  return roff;
}

std::string Bold(const std::string& text) { return "\\fB" + Roff(text) + "\\fR"; }
std::string Italic(const std::string& text) { return "\\fI" + Roff(text) + "\\fR"; }

std::string Lower(std::string text) {
  if (!text.empty() && text[0] >= 'A' && text[0] <= 'Z') text[0] += 'a' - 'A';
  return text;
}

std::string Capitals(std::string text) {
  for (char& c : text) {
    if (c >= 'a' && c <= 'z') c -= 'a' - 'A';
  }
  return text;
}

std::string Section(const std::string& title, const std::string& text) {
  return text.empty() ? "" : ".SH " + title + "\n" + text;
}

// A paragraph behind a title that hangs out; both are roff already.
std::string Tagged(const std::string& tag, const std::string& text) {
  return ".TP\n" + tag + "\n" + text + "\n";
}

std::string Head(const Program& program, const std::string& page, const std::string& summary) {
  return ".TH \"" + Capitals(page) + "\" \"1\" \"\" \"" + program.name + " " + program.version +
         "\" \"" + program.name + "\"\n" +
         Section("NAME", Roff(page) + " \\- " + Roff(summary) + "\n");
}

// The pages of all commands but one, and that of the program.
std::string SeeAlso(const Program& program, const std::string& but) {
  std::string text = but.empty() ? "" : Bold(program.name) + "(1)";
  for (const Command& command : program.commands) {
    if (command.name == but) continue;
    text += (text.empty() ? "" : ",\n") + Bold(program.name + "-" + command.name) + "(1)";
  }
  return text + "\n";
}

std::string OptionList(const std::vector<Option>& options) {
  std::string text;
  for (const Option& option : options) {
    if (option.hidden) continue;
    std::string tag;
    for (const std::string& name : NamesOf(option)) tag += (tag.empty() ? "" : ", ") + Bold(name);
    if (!IsFlag(option)) tag += " " + Italic(option.type);
    text += Tagged(tag, Roff(OptionHelp(option)) + ".");
  }
  return text;
}

std::string ExampleList(const std::vector<Example>& examples) {
  std::string text;
  for (const Example& example : examples) {
    text += text.empty() ? "" : ".PP\n";
    if (!example.tells.empty()) text += Roff(example.tells) + ":\n.PP\n";
    text += ".nf\n.RS\n" + Roff(example.line) + "\n.RE\n.fi\n";
  }
  return text;
}

std::string ExitStatus(const std::string& done, const std::string& failed) {
  return Tagged("0", Roff(done) + ".") + Tagged("1", Roff(failed) + ".") +
         Tagged("2", "wrong usage.");
}

// The lines of the notes are filled anew.
std::string Notes(const std::string& notes) { return notes.empty() ? "" : Roff(notes) + "\n"; }

}  // namespace

std::string ManPage(const Program& program, const Command& command) {
  std::string arguments;
  for (const Argument& argument : command.arguments) {
    arguments += Tagged(Italic(argument.name), Roff(argument.help) + ".");
  }
  return Head(program, program.name + "-" + command.name, Lower(command.summary)) +
         Section("SYNOPSIS",
                 Bold(program.name + " " + command.name) + " " + Roff(SynopsisOf(command)) + "\n") +
         Section("DESCRIPTION", Roff(command.summary) + ".\n" +
                                    (command.notes.empty() ? "" : ".PP\n" + Notes(command.notes))) +
         Section("ARGUMENTS", arguments) + Section("OPTIONS", OptionList(AllOptions(command))) +
         Section("EXIT STATUS", ExitStatus(command.done, command.failed)) +
         Section("EXAMPLES", ExampleList(command.examples)) +
         Section("SEE ALSO", SeeAlso(program, command.name));
}

std::string ManPage(const Program& program) {
  std::string commands;
  for (const Command& command : program.commands) {
    commands += Tagged(Bold(command.name), Roff(command.summary) + ".");
  }
  std::string variables;
  for (const Variable& variable : program.variables) {
    variables += Tagged(Bold(variable.name), Roff(variable.help) + ".");
  }
  return Head(program, program.name, "build and look at calc map data") +
         Section("SYNOPSIS", Bold(program.name) + " " + Italic("COMMAND") + " ...\n") +
         Section("DESCRIPTION", Roff(program.summary) + "\n") + Section("COMMANDS", commands) +
         Section("EXIT STATUS", ExitStatus("done", "failed, cancelled or errors found")) +
         Section("ENVIRONMENT", variables) + Section("SEE ALSO", SeeAlso(program, ""));
}

}  // namespace zatmap
