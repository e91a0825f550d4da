// What a run behind a progress window shows where programs have a terminal and no windows.
#pragma once

namespace zatlib::platform {

// Everything is shown unless a program says otherwise. On Windows `progress` alone counts: without
// it there is neither a window nor a message box.
struct Console {
  bool progress = true;      // the line on a terminal
  bool status_lines = true;  // the status texts, line by line, where standard error is no terminal
  bool messages = true;      // what a message box would say
};

// Takes effect with the next run.
void SetConsole(const Console& console);
const Console& GetConsole();

}  // namespace zatlib::platform
