// Texts for scripts of shells.
#pragma once

#include <string>
#include <vector>

#include "shell/command_line.h"

namespace zatmap {

// A text in single quotes as bash and zsh read it.
inline std::string SingleQuoted(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) {
    if (c == '\'') {
      quoted += "'\\''";
    } else {
      quoted += c;
    }
  }
  return quoted + "'";
}

// The words with something between them.
inline std::string Joined(const std::vector<std::string>& words, const char* between) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : between) + word;
  return text;
}

// The words that complete the value of an option.
inline const std::vector<std::string>& WordsFor(const Option& option) {
  return option.choices.empty() ? option.suggests : option.choices;
}

}  // namespace zatmap
