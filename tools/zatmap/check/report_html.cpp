#include <algorithm>
#include <set>
#include <string_view>

#include "check/report_files.h"
#include "check/report_page.h"
#include "check/report_text.h"

namespace zatmap::check {
namespace {

constexpr size_t kRowBytes = 400;  // of a row that are shown

// A text of the sources as HTML that is nothing but text.
std::string Html(std::string_view source) {
  std::string html;
  for (const char c : CleanText(std::string(source), Unclean::kHex)) {
    switch (c) {
      case '&':
        html += "&amp;";
        break;
      case '<':
        html += "&lt;";
        break;
      case '>':
        html += "&gt;";
        break;
      case '"':
        html += "&quot;";
        break;
      case '\'':
        html += "&#39;";
        break;
      default:
        html += c;
    }
  }
  return html;
}

std::string Number(int64_t number) { return std::to_string(number); }

const char* ClassOf(Severity severity) { return severity == Severity::kError ? "e" : "w"; }

// Where a column of a row begins and ends. Fields stand between commas or tabs, in MIF files also
// between blanks.
std::pair<size_t, size_t> ColumnOf(std::string_view row, int column) {
  const bool tables = row.find_first_of(",\t") != std::string_view::npos;
  const std::string_view separators = tables ? ",\t" : " ";
  size_t begin = 0;
  for (int i = 1; i < column; ++i) {
    const size_t end = row.find_first_of(separators, begin);
    if (end == std::string_view::npos) return {row.size(), row.size()};
    begin = end + 1;
  }
  return {begin, std::min(row.find_first_of(separators, begin), row.size())};
}

// The row with its column marked, and no more of it than fits.
std::string RowHtml(std::string_view row, int column) {
  auto [begin, end] = column > 0 ? ColumnOf(row, column) : std::pair<size_t, size_t>(0, 0);
  const size_t from = begin > kRowBytes / 2 ? begin - kRowBytes / 2 : 0;
  const size_t to = std::min(row.size(), from + kRowBytes);
  end = std::clamp(end, begin, std::max(begin, to));
  std::string html = from > 0 ? "\xe2\x80\xa6" : "";
  html += Html(row.substr(from, std::min(begin, to) - from));
  if (column > 0) {
    const std::string field = Html(row.substr(std::min(begin, row.size()), end - begin));
    html += "<mark>" + (field.empty() ? std::string("&nbsp;") : field) + "</mark>";
  }
  if (end < to) html += Html(row.substr(end, to - end));
  if (to < row.size()) html += "\xe2\x80\xa6";
  return html;
}

// What takes a whole file comes before single rows, errors before all warnings: it explains them.
std::vector<const Finding*> Ordered(const Chosen& chosen) {
  std::vector<const Finding*> ordered;
  for (const Finding& finding : chosen.findings) ordered.push_back(&finding);
  const auto rank = [](const Finding* finding) {
    const bool warning = InfoOf(finding->kind).severity == Severity::kWarning;
    return (warning ? 2 : 0) + (finding->place.record > 0 ? 1 : 0);
  };
  std::stable_sort(ordered.begin(), ordered.end(),
                   [&](const Finding* a, const Finding* b) { return rank(a) < rank(b); });
  return ordered;
}

void AddKinds(const Chosen& chosen, Output& out) {
  out.Add(
      "<h2>Kinds</h2>\n<table>\n<thead><tr><th class=\"n\">found</th><th class=\"n\">shown</th>"
      "<th>severity</th><th>what is wrong</th><th>what to do</th><th></th></tr></thead>\n"
      "<tbody>\n");
  for (const Severity severity : {Severity::kError, Severity::kWarning}) {
    for (const KindInfo& info : Kinds()) {
      const auto kind = static_cast<size_t>(info.kind);
      if (info.severity != severity || chosen.counts[kind] == 0) continue;
      const char* const name = SeverityText(severity);
      out.Add("<tr><td class=\"n\">" + Number(chosen.counts[kind]) + "</td><td class=\"n\">" +
              Number(chosen.shown[kind]) + "</td><td class=\"" + name + "\">" + name + "</td><td>" +
              Html(info.text) + "</td><td>" + Html(info.advice) +
              "</td><td><button type=\"button\" data-k=\"" + info.id + "\">" + info.id +
              "</button></td></tr>\n");
    }
  }
  out.Add("</tbody>\n</table>\n");
}

void AddFilters(const Report& report, Output& out) {
  std::set<Kind> kinds;
  std::set<uint32_t> files;
  for (const Finding& finding : report.chosen.findings) {
    kinds.insert(finding.kind);
    files.insert(finding.place.file);
  }
  out.Add(
      "<h2>Findings</h2>\n<form hidden>\n<label>Severity<select name=\"severity\">"
      "<option value=\"\">all</option><option value=\"e\">errors</option>"
      "<option value=\"w\">warnings</option></select></label>\n"
      "<label>Kind<select name=\"kind\"><option value=\"\">all</option>");
  for (const Kind kind : kinds) {
    const std::string id = InfoOf(kind).id;
    out.Add("<option value=\"" + id + "\">" + id + "</option>");
  }
  out.Add("</select></label>\n<label>File<select name=\"file\"><option value=\"\">all</option>");
  for (const uint32_t file : files) {
    out.Add("<option value=\"" + Number(file) + "\">" + Html(report.findings.PathOf(file)) +
            "</option>");
  }
  out.Add(
      "</select></label>\n<label>Text<input name=\"text\" type=\"search\"></label>\n"
      "<button type=\"reset\">Show all</button> <span id=\"shown\"></span>\n</form>\n");
}

void AddFinding(const Report& report, const Finding& finding, const RowTexts& rows, Output& out) {
  const KindInfo& info = InfoOf(finding.kind);
  const Place& place = finding.place;
  const std::string letter = ClassOf(info.severity);
  std::string where = Html(report.findings.PathOf(place.file));
  if (place.record > 0) where += ", record " + Number(place.record);
  if (place.line > 0 && place.line != place.record) where += " (line " + Number(place.line) + ")";
  if (place.column > 0) where += ", column " + Number(place.column);
  out.Add("<article class=\"" + letter + "\" data-s=\"" + letter + "\" data-k=\"" + info.id +
          "\" data-f=\"" + Number(place.file) + "\">\n<p class=\"place\">" + where + "</p>\n");
  out.Add("<p><span class=\"" + std::string(SeverityText(info.severity)) + "\">" +
          SeverityText(info.severity) + "</span> " + Html(info.text) + ": " + Html(finding.detail) +
          "</p>\n<p class=\"advice\">" + Html(info.advice) + "</p>\n");
  if (const std::string* const row = rows.Of(finding)) {
    out.Add("<pre>" + RowHtml(*row, place.column) + "</pre>\n");
  }
  out.Add("</article>\n");
}

}  // namespace

void WriteHtml(const Report& report, const RowTexts& rows, Output& out) {
  const Chosen& chosen = report.chosen;
  const std::string control = Html(report.control_file);
  out.Add(kPageHead);
  out.Add("<title>" + control + ": " + CountsText(chosen.errors, chosen.warnings) +
          "</title>\n</head>\n<body>\n<h1>Check of " + control + "</h1>\n<p><span class=\"" +
          (chosen.errors > 0 ? "error" : "none") + "\">" +
          CountsText(chosen.errors, chosen.warnings) + "</span>. " +
          "An error makes the build fail or gives a map that does not say what the sources say; a "
          "warning is something that the build passes over and that may be meant so.</p>\n");
  if (chosen.more > 0) {
    out.Add("<p>" + Number(chosen.more) + " findings more are counted but not shown.</p>\n");
  }
  if (chosen.left_out > 0) {
    out.Add("<p>" + Number(chosen.left_out) + " findings of other kinds are left out.</p>\n");
  }
  if (chosen.errors + chosen.warnings > 0) AddKinds(chosen, out);
  AddFilters(report, out);
  out.Add("<main>\n");
  for (const Finding* finding : Ordered(chosen)) AddFinding(report, *finding, rows, out);
  out.Add("</main>\n");
  out.Add(kPageTail);
}

}  // namespace zatmap::check
