#include "check/mif.h"

#include <algorithm>

#include "platform/code_page.h"
#include "shell/encodings.h"
#include "shell/text.h"

namespace zatmap::check {
namespace {

constexpr uint32_t kPointHeaderLine = 512;  // bytes of a header line of a file of points
constexpr uint32_t kLineFileLine = 1024;    // bytes of any line of a file of lines
constexpr unsigned kWestern = 1252;
constexpr int kNad27 = 62;  // datums, as CoordSys numbers them
constexpr int kTokyo = 97;

constexpr std::string_view kObjects[] = {"point",      "line",      "pline",   "region",
                                         "arc",        "text",      "rect",    "none",
                                         "multipoint", "roundrect", "ellipse", "collection"};

std::string Lower(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
  }
  return lower;
}

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

// The next word, ended by a blank (or a comma, which Point objects allow).
std::string_view NextWord(std::string_view* text) {
  while (!text->empty() && text->front() == ' ') text->remove_prefix(1);
  const size_t end = std::min(text->find_first_of(" ,"), text->size());
  const std::string_view word = text->substr(0, end);
  text->remove_prefix(std::min(end + 1, text->size()));
  return word;
}

// The next field of a point line, as the build takes it: each blank ends one.
std::string_view NextField(std::string_view* text) {
  const size_t end = std::min(text->find(' '), text->size());
  const std::string_view field = text->substr(0, end);
  text->remove_prefix(std::min(end + 1, text->size()));
  return field;
}

bool ContainsAny(std::string_view text, std::initializer_list<std::string_view> words) {
  return std::any_of(words.begin(), words.end(), [&](std::string_view word) {
    return text.find(word) != std::string_view::npos;
  });
}

bool IsNumberLine(std::string_view line) {
  line = Trim(line, kSpacesAndTabs);
  return !line.empty() &&
         ((line[0] >= '0' && line[0] <= '9') || line[0] == '-' || line[0] == '+' || line[0] == '.');
}

}  // namespace

void MifFile::CheckCoordSys(std::string_view line) {
  Findings& findings = source_.findings();
  const Place here{source_.file(), 0, 0, source_.line()};
  const std::string text = Lower(line);
  const size_t projection = text.find("projection");
  const int number = projection == std::string::npos
                         ? 0
                         : zatlib::FRD_ParseInt(std::string_view(text).substr(projection + 10));
  if (number != 1) {
    findings.Add(Kind::kMifCoordSys, here, "%.*s", Size(line), line.data());
    return;
  }
  const size_t comma = text.find(',', projection);
  if (comma == std::string::npos) return;
  const int datum = zatlib::FRD_ParseInt(std::string_view(text).substr(comma + 1));
  if (datum == kTokyo || datum == kNad27) {
    findings.Add(Kind::kMifDatum, here, "%.*s is the %s datum", Size(line), line.data(),
                 datum == kTokyo ? "Tokyo" : "NAD 27");
  }
}

void CompareHeaders(Findings& findings, const MifHeader& nodes, const MifHeader& links,
                    const std::vector<std::string>& link_files) {
  const auto plain = [](const std::string& line) {
    std::string text;
    for (const char c : Lower(line)) {
      if (!IsBlank(c) && c != '\r') text += c;
    }
    return text;
  };
  const std::string of_nodes = plain(nodes.coord_sys);
  const std::string of_links = plain(links.coord_sys);
  // Projections are findings of their own.
  constexpr std::string_view kDegrees = "coordsysearthprojection1,";
  if (link_files.empty() || findings.count(Kind::kMifHeaders) > 0 || of_nodes == of_links ||
      !of_nodes.starts_with(kDegrees) || !of_links.starts_with(kDegrees)) {
    return;
  }
  findings.Add(Kind::kMifCoordSysDiffer, {findings.File(link_files.front()), 0, 0, 0},
               "%.*s, and the nodes have %.*s", Size(links.coord_sys), links.coord_sys.data(),
               Size(nodes.coord_sys), nodes.coord_sys.data());
}

// What a header line says about the file.
void MifFile::CheckHeaderLine(std::string_view line, MifHeader* header) {
  Findings& findings = source_.findings();
  const Place here{source_.file(), 0, 0, source_.line()};
  if (line.empty() || IsBlank(line.front())) return;  // a column
  if (ContainsAny(line, {"Charset", "charset"})) {
    header->charset = std::string(line);
    const std::string name = Lower(line);
    const unsigned page = zatlib::platform::CodePage();
    const bool fits = (page == kJapanese && name.find("windowsjapanese") != std::string::npos) ||
                      (page == kWestern && name.find("windowslatin1") != std::string::npos) ||
                      (page != kJapanese && page != kWestern);
    if (!fits) {
      findings.Add(Kind::kMifCharset, here, "%.*s while the code page is %u", Size(line),
                   line.data(), page);
    }
  } else if (ContainsAny(line, {"CoordSys", "Coordsys", "coordsys"})) {
    header->coord_sys = std::string(line);
    CheckCoordSys(line);
  } else if (Lower(line).starts_with("transform")) {
    std::string numbers = Lower(line).substr(9);
    numbers.erase(std::remove_if(numbers.begin(), numbers.end(), IsBlank), numbers.end());
    if (numbers != "1,1,0,0" && numbers != "0,0,0,0") {
      findings.Add(Kind::kMifTransform, here, "%.*s", Size(line), line.data());
    }
  } else if (Lower(line).starts_with("delimiter")) {
    const size_t quote = line.find('"');
    const char c =
        quote != std::string_view::npos && quote + 1 < line.size() ? line[quote + 1] : ',';
    if (c != ',' && c != '\t') {
      findings.Add(Kind::kMifDelimiter, here, "%.*s", Size(line), line.data());
    }
  }
}

bool MifFile::Open(Control& control, const char* section, int number, const std::string& path,
                   MifHeader* last_header) {
  if (!control.Open(source_, section, number, path, true)) return false;
  Findings& findings = source_.findings();
  const uint32_t limit = use_ == MifUse::kLines ? kLineFileLine : kPointHeaderLine;
  MifHeader header;
  std::string_view line;
  bool ended = false;  // for the build
  bool at_data = false;
  while (!at_data && source_.Next(limit, &line)) {
    const Place here{source_.file(), 0, 0, source_.line()};
    CheckHeaderLine(line, &header);
    at_data = Lower(Trim(line, kSpacesAndTabs)) == "data";
    if (!ended && !at_data && ContainsAny(line, {"DATA", "Data", "data"})) {
      findings.Add(Kind::kMifDataColumn, here, "%.*s", Size(Trim(line, kSpacesAndTabs)),
                   Trim(line, kSpacesAndTabs).data());
    } else if (ended) {
      std::string_view rest = line;
      const std::string word = Lower(NextWord(&rest));
      const bool taken = use_ == MifUse::kMsrPoints ? word == "point" || word == "none"
                         : use_ == MifUse::kZatPoints
                             ? Lower(line).starts_with("point") || Lower(line).starts_with("none")
                             : line.starts_with("Pline") || line.starts_with("Line");
      if (taken) {
        findings.Add(Kind::kMifPointColumn, here, "%.*s", Size(Trim(line, kSpacesAndTabs)),
                     Trim(line, kSpacesAndTabs).data());
      }
    }
    ended = ended || ContainsAny(line, {"DATA", "Data", "data"});
  }
  const Place whole{source_.file(), 0, 0, 0};
  if (!ended) {
    findings.Add(Kind::kMifNoData, whole, "%lld lines", static_cast<long long>(source_.line()));
    source_.Close();
    return false;
  }
  if (header.coord_sys.empty()) findings.Add(Kind::kMifNoCoordSys, whole, "the build goes on");
  if (header.charset.empty()) findings.Add(Kind::kMifCharset, whole, "there is no Charset line");
  if (last_header->seen &&
      (header.charset != last_header->charset || header.coord_sys != last_header->coord_sys)) {
    const bool charset = header.charset != last_header->charset;
    const std::string& text = charset ? header.charset : header.coord_sys;
    findings.Add(Kind::kMifHeaders, whole, "%s",
                 text.empty() ? (charset ? "no Charset" : "no CoordSys") : text.c_str());
  }
  header.seen = true;
  *last_header = header;
  return true;
}

bool MifFile::NextRaw(std::string_view* line) {
  if (holding_) {
    holding_ = false;
    *line = held_;
    return true;
  }
  return source_.Next(use_ == MifUse::kLines ? kLineFileLine : zatlib::kLineSize, line);
}

// The next line that opens an object; `*word` receives its first word.
bool MifFile::NextObject(std::string_view* line, std::string_view* word) {
  while (NextRaw(line)) {
    if (line->empty() || IsNumberLine(*line)) continue;
    std::string_view rest = Trim(*line, kSpacesAndTabs);
    *word = NextWord(&rest);
    const std::string lower = Lower(*word);
    if (std::find(std::begin(kObjects), std::end(kObjects), lower) == std::end(kObjects)) continue;
    ++objects_;
    return true;
  }
  return false;
}

bool MifFile::NextPoint(int32_t* x, int32_t* y, bool* good) {
  std::string_view line;
  std::string_view word;
  *good = false;
  if (!NextObject(&line, &word)) return false;
  Findings& findings = source_.findings();
  const Place here = Here();
  const std::string lower = Lower(word);
  const bool indented = IsBlank(line.front()) && use_ != MifUse::kMsrPoints;
  if (lower == "none" && !indented) {
    findings.Add(Kind::kMifNone, here, "%.*s", Size(line), line.data());
    return true;
  }
  if (lower != "point" || indented) {
    findings.Add(Kind::kMifSkipped, here, "%.*s", Size(line), line.data());
    return true;
  }
  std::string_view rest = Trim(line, kSpacesAndTabs);
  NextWord(&rest);
  const std::string_view x_text = NextWord(&rest);
  const std::string_view y_text = NextWord(&rest);
  if (x_text.empty() || y_text.empty()) {
    findings.Add(Kind::kMifPoints, here, "%.*s", Size(line), line.data());
    return true;
  }
  *x = CheckedCoordinate(findings, here.At(1), x_text, false);
  *y = CheckedCoordinate(findings, here.At(2), y_text, true);
  if (*x == 0 && *y == 0) {
    findings.Add(Kind::kMifPointZero, here, "%.*s", Size(line), line.data());
    return true;
  }
  *good = true;
  return true;
}

// The build takes a line to end at a zero byte.
void MifFile::CutAtZeroByte(Place here, std::string_view* line) {
  const size_t end = line->find('\0');
  if (end == std::string_view::npos) return;
  source_.findings().Add(Kind::kNulByte, here, "behind %d bytes of the line",
                         static_cast<int>(end));
  line->remove_suffix(line->size() - end);
}

bool MifFile::ReadPline(std::string_view line, ShapeChecker& shapes) {
  Findings& findings = source_.findings();
  const Place head = Here();
  constexpr size_t kBehindPline = 6;  // the word and one blank
  const int32_t count =
      line.size() > kBehindPline ? zatlib::FRD_ParseInt(line.substr(kBehindPline)) : 0;
  std::string_view point;
  int32_t read = 0;
  for (; read < count; ++read) {
    if (!NextRaw(&point)) {
      findings.Add(Kind::kMifPoints, head, "%d points, %d lines to the end of the file", count,
                   read);
      return true;
    }
    if (!IsNumberLine(point)) {
      findings.Add(Kind::kMifPoints, head, "%d points, %d follow", count, read);
      held_ = std::string(point);
      holding_ = true;
      return true;
    }
    const Place here = Here();
    CutAtZeroByte(here, &point);
    std::string_view rest = point;
    std::string_view x_text = NextField(&rest);
    std::string_view y_text = NextField(&rest);
    if (x_text.empty() || y_text.empty()) {
      rest = point;
      x_text = NextWord(&rest);
      y_text = NextWord(&rest);
      const Kind kind = x_text.empty() || y_text.empty() ? Kind::kMifPoints : Kind::kMifBlank;
      findings.Add(kind, here, "\"%.*s\"", Size(point), point.data());
      if (kind == Kind::kMifPoints) continue;
    }
    const int32_t x = CheckedCoordinate(findings, here.At(1), x_text, false);
    const int32_t y = CheckedCoordinate(findings, here.At(2), y_text, true);
    if (x == 0 && y == 0) {
      findings.Add(Kind::kMifPointZero, here, "%.*s", Size(point), point.data());
    }
    shapes.Point(here, x, y);
  }
  int32_t surplus = 0;
  while (NextRaw(&point)) {
    if (!IsNumberLine(point)) {
      held_ = std::string(point);
      holding_ = true;
      break;
    }
    ++surplus;
  }
  if (surplus > 0) {
    findings.Add(Kind::kMifPoints, head, "%d points, %d more follow", count, surplus);
  }
  return true;
}

bool MifFile::NextLine(ShapeChecker& shapes, zatlib::FeatureCode code, bool* good) {
  std::string_view line;
  std::string_view word;
  *good = false;
  if (!NextObject(&line, &word)) return false;
  Findings& findings = source_.findings();
  const Place here = Here();
  // Just these letters count; a longer word that begins so would do as well.
  if (word == "Pline" && line.starts_with("Pline")) {
    std::string_view rest = line.substr(word.size());
    *good = true;
    shapes.Begin(code, here);
    if (Lower(NextWord(&rest)) == "multiple") {
      findings.Add(Kind::kMifMultiple, here, "%.*s", Size(line), line.data());
      return true;
    }
    ReadPline(std::string(line), shapes);
    shapes.End();
    return true;
  }
  if (word == "Line" && line.starts_with("Line")) {
    *good = true;
    shapes.Begin(code, here);
    CutAtZeroByte(here, &line);
    std::string_view rest = line;
    NextWord(&rest);
    bool blank = false;  // too many
    const auto next = [&rest, &blank] {
      blank = blank || rest.starts_with(' ');
      return NextWord(&rest);
    };
    for (int i = 0; i < 2; ++i) {
      const std::string_view x_text = next();
      const std::string_view y_text = next();
      if (x_text.empty() || y_text.empty()) {
        findings.Add(Kind::kMifPoints, here, "%.*s", Size(line), line.data());
        return true;
      }
      const int32_t x = CheckedCoordinate(findings, here.At(2 * i + 1), x_text, false);
      const int32_t y = CheckedCoordinate(findings, here.At(2 * i + 2), y_text, true);
      if (x == 0 || y == 0) {
        findings.Add(Kind::kMifZeroAxis, here.At(2 * i + (x == 0 ? 1 : 2)), "%.*s", Size(line),
                     line.data());
      }
      shapes.Point(here, x, y);
    }
    if (blank) findings.Add(Kind::kMifBlank, here, "\"%.*s\"", Size(line), line.data());
    shapes.End();
    return true;
  }
  findings.Add(Kind::kMifSkipped, here, "%.*s", Size(line), line.data());
  return true;
}

void MifFile::Close(int64_t records) {
  const int64_t first = std::min(objects_, records) + 1;
  std::string_view line;
  std::string_view word;
  while (NextObject(&line, &word)) {
  }
  if (objects_ != records) {
    source_.findings().Add(Kind::kMifCount, {source_.file(), first, 0, 0},
                           "%lld objects and %lld records", static_cast<long long>(objects_),
                           static_cast<long long>(records));
  }
  source_.Close();
}

}  // namespace zatmap::check
