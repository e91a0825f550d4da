#include "shell/ini_text.h"

#include <algorithm>

#include "frd/record_file.h"
#include "shell/text.h"

namespace zatmap {
namespace {

constexpr uint64_t kMaxSize = 16u << 20;  // bytes of a file that is looked at

std::string_view BlanksOf(IniStyle style) {
  return style == IniStyle::kWritten ? kControlCharacters : kBlanksAndLineEnds;
}

// Fills in what a line is; its text is known. `written` is the stricter style.
void Judge(IniLine* line, IniStyle style) {
  const std::string_view text = line->text;
  const bool written = style == IniStyle::kWritten;
  const size_t bracket = text.rfind(']');
  const size_t equals = text.find('=');
  line->kind = IniLine::kOther;
  line->key = text;
  if (text.empty()) {
    line->kind = IniLine::kBlank;
  } else if (text.front() == ';') {
    line->kind = IniLine::kComment;
  } else if (text.front() == '[' && bracket != std::string_view::npos &&
             (!written || bracket + 1 == text.size())) {
    line->kind = IniLine::kSection;
    const std::string_view name = text.substr(1, bracket - 1);
    line->key = written ? name : Trim(name, BlanksOf(style));
  } else if (equals != std::string_view::npos && (!written || equals > 0)) {
    line->kind = IniLine::kKey;
    line->key = Trim(text.substr(0, equals), BlanksOf(style));
    line->value = Trim(text.substr(equals + 1), BlanksOf(style));
  }
}

}  // namespace

std::vector<IniLine> IniLines(std::string_view text, IniStyle style) {
  std::vector<IniLine> lines;
  for (size_t at = 0; at < text.size();) {
    const size_t end = std::min(text.find('\n', at), text.size());
    IniLine line{
        static_cast<int>(lines.size()) + 1, static_cast<int64_t>(at), IniLine::kOther, {}, {}, {}};
    line.text = Trim(text.substr(at, end - at), BlanksOf(style));
    Judge(&line, style);
    lines.push_back(std::move(line));
    at = end + 1;
  }
  return lines;
}

std::vector<IniLine> ReadIni(const std::string& path) {
  zatlib::WholeFile file;
  if (zatlib::LoadFile(path.c_str(), &file, {.most_bytes = kMaxSize}) !=
      zatlib::FileResult::kDone) {
    return {};
  }
  return IniLines({file.bytes.data(), file.size}, IniStyle::kWritten);
}

}  // namespace zatmap
