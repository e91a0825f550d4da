// The arguments and options that several commands have.
#include <charconv>

#include "platform/code_page.h"
#include "shell/command_line.h"

namespace zatmap {
namespace {

bool g_code_page_given = false;

std::string TakeCodePage(const std::string& text) {
  unsigned page = 0;
  const char* end = text.data() + text.size();
  const auto [at, error] = std::from_chars(text.data(), end, page);
  g_code_page_given = error == std::errc() && at == end && zatlib::platform::SetCodePage(page);
  if (g_code_page_given) return "";
  return "takes the number of a code page that the system knows, like 932, 1252 or 65001 (UTF-8), "
         "not " +
         text;
}

}  // namespace

Argument MapArgument(std::string* folder) {
  return {
      .name = "DIR", .help = "Folder of the map", .value = folder, .completes = Completes::kFolder};
}

Argument ControlFileArgument(std::string* file) {
  return {.name = "CONTROL.INI",
          .help = "Control file (INI)",
          .value = file,
          .completes = Completes::kFile};
}

Option JsonOption(bool* json, const std::string& help) {
  return {.names = "--json", .help = help, .value = json};
}

Option StrictOption(bool* strict) {
  return {.names = "--strict", .help = "Exit with 1 for warnings too", .value = strict};
}

Option MsrOption(bool* msr) {
  return {.names = "--msr",
          .help = "The data are in the MSR layout, whatever [SYSTEM] FORMAT says",
          .value = msr};
}

Option OutputOption(std::string* file, const std::string& help) {
  return {.names = "-o,--output",
          .help = help,
          .value = file,
          .type = "FILE",
          .completes = Completes::kFile};
}

Option OverwriteOption(bool* overwrite) {
  return {.names = "--overwrite", .help = "Replace a file that exists", .value = overwrite};
}

Option BoundsOption(std::string* bounds) {
  return {.names = "--bbox",
          .help = "Only what lies in this rectangle, in degrees",
          .value = bounds,
          .type = "WEST,SOUTH,EAST,NORTH"};
}

Option CodePageOption() {
  return {.names = "--code-page",
          .help = "Code page of names and other texts, like 932, 1252 or 65001 (UTF-8)",
          .value = TakeCodePage,
          .type = "N"};
}

bool IsCodePageGiven() { return g_code_page_given; }

}  // namespace zatmap
