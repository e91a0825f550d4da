#include "check/source.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

#include "platform/code_page.h"
#include "platform/file_kind.h"
#include "shell/encodings.h"
#include "shell/text.h"

namespace zatmap::check {
namespace {

using zatlib::FeatureCode;

constexpr uint32_t kBlock = 1 << 20;  // bytes of one system read
constexpr size_t kSlack = 4096;       // more than the longest line with its end

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool AllDigits(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), IsDigit);
}

// True when the bytes are whole characters of code page 932.
bool IsJapaneseText(std::string_view text) {
  size_t at = 0;
  while (at < text.size()) {
    const size_t size = JapaneseSize(text, at);
    if (size == 0) return false;
    at += size;
  }
  return true;
}

// True when the text holds at least one character of several bytes, and all of them are UTF-8.
bool IsUtf8Text(std::string_view text) {
  bool wide = false;
  size_t at = 0;
  while (at < text.size()) {
    const size_t size = Utf8Size(text, at);
    if (size == 0) return false;
    wide = wide || size > 1;
    at += size;
  }
  return wide;
}

}  // namespace

bool Source::Open(const std::string& path, bool mif) {
  file_ = findings_->File(path);
  // Opening a pipe would wait for a writer, and a device has no end.
  if (zatlib::platform::KindOfFile(path.c_str()) != zatlib::platform::FileKind::kFile) return false;
  handle_ = zatlib::platform::File::Open(
      path.c_str(), zatlib::platform::Access::kRead, zatlib::platform::Share::kRead,
      zatlib::platform::Disposition::kOpenExisting, zatlib::platform::Hint::kSequential);
  if (!handle_.IsOpen()) return false;
  if (!block_.Allocate(kBlock + kSlack)) return false;
  position_ = end_ = block_.data();
  at_end_ = file_ended_ = refused_ = false;
  rest_.clear();
  rest_at_ = 0;
  size_ = handle_.Size();
  read_ = 0;
  title_ = "zatmap: reading " + path;
  progress_ = std::make_unique<TerminalProgress>(title_.c_str());
  line_ = lf_count_ = lf_first_ = cr_count_ = cr_first_ = 0;
  if (!Fill(3)) return true;
  const std::string_view start(position_, static_cast<size_t>(end_ - position_));
  if (start.starts_with("\xef\xbb\xbf")) {
    findings_->Add(mif ? Kind::kByteOrderMarkMif : Kind::kByteOrderMark, {file_, 1, 0, 0},
                   "bytes EF BB BF");
    position_ += 3;
  }
  return true;
}

// Reads up to `size` bytes and notes the end of the file.
uint32_t Source::ReadOn(char* to, uint32_t size) {
  if (rest_at_ < rest_.size()) {
    const size_t taken = std::min<size_t>(size, rest_.size() - rest_at_);
    std::memcpy(to, rest_.data() + rest_at_, taken);
    rest_at_ += taken;
    return static_cast<uint32_t>(taken);
  }
  uint32_t read = 0;
  if (!file_ended_) {
    refused_ = !handle_.Read(to, size, &read);
    file_ended_ = refused_ || read < size;
    read_ += read;
  }
  at_end_ = file_ended_;
  return read;
}

// Makes `wanted` bytes available unless the file ends before. False when nothing is left.
bool Source::Fill(size_t wanted) {
  if (static_cast<size_t>(end_ - position_) < wanted && !at_end_) {
    const auto left = static_cast<size_t>(end_ - position_);
    if (left > 0) std::memmove(block_.data(), position_, left);
    position_ = block_.data();
    end_ = position_ + left;
    while (static_cast<size_t>(end_ - position_) < wanted && !at_end_) {
      end_ += ReadOn(end_, kBlock);
    }
  }
  return position_ < end_;
}

// Moves behind the end of the line that begins at the position.
void Source::SkipLine() {
  while (Fill(2)) {
    char* const found =
        std::find_if(position_, end_, [](char c) { return c == '\r' || c == '\n'; });
    position_ = found;
    if (found == end_) continue;
    const bool cr = *position_++ == '\r';
    if (cr && Fill(1) && *position_ == '\n') ++position_;
    return;
  }
}

char* Source::QuotedEnd(char* begin, char* window_end, char* physical_end, bool* embedded) {
  bool quoted = false;
  *embedded = false;
  for (char* p = begin; p < window_end; ++p) {
    if (*p == '"') {
      quoted = !quoted;
    } else if (*p == '\r' || *p == '\n') {
      if (!quoted) return p;
      *embedded = true;
    }
  }
  // A line of that length with line ends in it is none that anybody meant.
  if (!quoted && (!*embedded || physical_end == nullptr)) return nullptr;
  // Not closed: the build joins all of it; here the next line begins where it seems to.
  char* const shown_end = physical_end != nullptr ? physical_end : window_end;
  findings_->Add(Kind::kQuoteOpen, Here(), "%.*s",
                 Size({begin, static_cast<size_t>(shown_end - begin)}), begin);
  *embedded = false;
  return physical_end;
}

bool Source::Next(uint32_t limit, std::string_view* line) {
  if (!Fill(limit + 1)) return false;
  ++line_;
  progress_->At(read_, size_);
  char* const begin = position_;
  const size_t window = std::min<size_t>(limit, static_cast<size_t>(end_ - begin));
  char* const window_end = begin + window;
  // Most lines end with the first CR LF and hold no quote.
  auto* end = static_cast<char*>(
      std::memchr(begin, '\n', std::min<size_t>(window + 1, static_cast<size_t>(end_ - begin))));
  char* const stop = end != nullptr ? end : window_end;
  auto* const cr = static_cast<char*>(std::memchr(begin, '\r', static_cast<size_t>(stop - begin)));
  if (cr != nullptr) end = cr;
  if (end != nullptr && end >= window_end) end = nullptr;
  char* const physical_end = end;  // where the line ends if quotes do not count
  has_quote_ =
      std::memchr(begin, '"', static_cast<size_t>((end != nullptr ? end : window_end) - begin)) !=
      nullptr;
  bool embedded = false;
  if (has_quote_) end = QuotedEnd(begin, window_end, physical_end, &embedded);
  if (end == nullptr && window == limit) {
    findings_->Add(Kind::kLineLong, Here(), "more than %u bytes", limit);
    // Skipping the rest moves the block.
    long_line_.assign(begin, window);
    *line = long_line_;
    position_ = window_end;
    SkipLine();
    return true;
  }
  if (end == nullptr) {
    end = window_end;
    position_ = window_end;
  } else if (*end == '\n') {
    if (lf_count_++ == 0) lf_first_ = line_;
    position_ = end + 1;
  } else if (end + 1 < end_ && end[1] != '\n') {
    if (cr_count_++ == 0) cr_first_ = line_;
    position_ = end + 1;
  } else {
    position_ = std::min(end + 2, end_);
  }
  if (embedded) {
    findings_->Add(Kind::kBreakInQuotes, Here(), "%.*s",
                   Size({begin, static_cast<size_t>(physical_end - begin)}), begin);
    end = std::remove_if(begin, end, [](char c) { return c == '\r' || c == '\n'; });
  }
  *line = std::string_view(begin, static_cast<size_t>(end - begin));
  return true;
}

void Source::BeginPieces() {
  rest_.assign(position_, end_);
  rest_at_ = 0;
  position_ = end_;
}

size_t Source::Take(char* to, size_t size) {
  size_t taken = 0;
  while (taken < size && !IsUsedUp()) {
    taken += ReadOn(to + taken, static_cast<uint32_t>(size - taken));
  }
  progress_->Now(read_, size_);
  return taken;
}

void Source::Reread(char* begin, char* end) {
  position_ = begin;
  end_ = end;
  at_end_ = true;
}

void Source::GoOn(std::vector<char> rest) {
  rest.insert(rest.end(), rest_.begin() + static_cast<std::ptrdiff_t>(rest_at_), rest_.end());
  rest_ = std::move(rest);
  rest_at_ = 0;
  position_ = end_ = block_.data();
  at_end_ = false;
}

void Source::Close() {
  if (refused_) {
    findings_->Add(Kind::kFileRead, {file_, line_ + 1, 0, 0}, "behind line %lld",
                   static_cast<long long>(line_));
  }
  if (lf_count_ > 0) {
    findings_->Add(Kind::kLfLineEnd, {file_, lf_first_, 0, 0}, "%lld of %lld lines",
                   static_cast<long long>(lf_count_), static_cast<long long>(line_));
  }
  if (cr_count_ > 0) {
    findings_->Add(Kind::kCrLineEnd, {file_, cr_first_, 0, 0}, "%lld of %lld lines",
                   static_cast<long long>(cr_count_), static_cast<long long>(line_));
  }
  handle_.Close();
  progress_.reset();
}

namespace {

// The quotes of a record whose fields have been taken apart: rejoins what a comma split.
void JoinQuoted(const Source& source, const Layout& layout, Row* row) {
  // `raw` reaches from the field's first byte to the byte behind its last one, quotes included.
  const int fields = std::min(row->count, Row::kMaxFields);
  int put = 0;
  for (int i = 0; i < fields; ++i, ++put) {
    std::string_view raw = row->fields[i];
    const bool opens = raw.starts_with('"');
    const bool closes = raw.size() > 1 && raw.ends_with('"');
    if (opens && !closes) {
      int last = i + 1;
      while (last < fields && !row->fields[last].ends_with('"') &&
             !row->fields[last].starts_with('"')) {
        ++last;
      }
      if (last < fields && row->fields[last].ends_with('"') &&
          (row->fields[last].size() == 1 || !row->fields[last].starts_with('"'))) {
        const std::string_view tail = row->fields[last];
        raw = std::string_view(raw.data(),
                               static_cast<size_t>(tail.data() + tail.size() - raw.data()));
        source.findings().Add(put + 1 < layout.last ? Kind::kCommaInQuotes : Kind::kCommaInName,
                              source.Here(put + 1), "%.*s", Size(raw), raw.data());
        row->count -= last - i;
        i = last;
      }
    }
    if (raw.starts_with('"')) raw.remove_prefix(1);
    if (raw.ends_with('"')) raw.remove_suffix(1);
    if (raw.find('"') != std::string_view::npos) {
      source.findings().Add(Kind::kQuoteInField, source.Here(put + 1), "%.*s", Size(raw),
                            raw.data());
    }
    row->fields[put] = raw;
  }
}

}  // namespace

void Split(const Source& source, std::string_view line, const Layout& layout, Row* row) {
  const char* p = line.data();
  const char* const end = p + line.size();
  row->count = 0;
  while (true) {
    const char* const begin = p;
    while (p < end && *p != ',' && *p != '\t' && *p != '\0') ++p;
    const auto length = static_cast<size_t>(p - begin);
    const int column = ++row->count;
    if (length > zatlib::kFieldLimit && column <= layout.taken &&
        length - (*begin == '"' ? 1 : 0) > zatlib::kFieldLimit) {
      source.findings().Add(Kind::kFieldLong, source.Here(column), "%zu bytes",
                            length - (*begin == '"' ? 1 : 0));
    }
    if (column <= Row::kMaxFields) row->fields[column - 1] = std::string_view(begin, length);
    if (p == end) break;
    if (*p == '\0') {
      source.findings().Add(Kind::kNulByte, source.Here(column), "behind %d bytes of the record",
                            static_cast<int>(p - line.data()));
      break;
    }
    ++p;
  }
  if (source.has_quote()) JoinQuoted(source, layout, row);
}

void CheckColumns(const Source& source, const Row& row, const Layout& layout) {
  if (row.count >= layout.needed) return;
  source.findings().Add(Kind::kColumnsMissing, source.Here(row.count + 1), "%d of %d", row.count,
                        layout.needed);
}

bool IsTitle(std::string_view text) {
  return !text.empty() &&
         ((text[0] >= 'A' && text[0] <= 'Z') || (text[0] >= 'a' && text[0] <= 'z') ||
          text[0] == '_' || text[0] == '#' || static_cast<unsigned char>(text[0]) >= 0x80);
}

FeatureCode CheckedCode(const Source& source, const Row& row, int column, int code_length) {
  const std::string_view field = row[column];
  const FeatureCode code = zatlib::ParseCode(field, code_length);
  // Up to 13 digits: neither too long nor in the reserved range.
  if (field.size() < 14 && AllDigits(field)) return code;
  std::string_view digits = Trim(field, kSpaces);
  if (digits.empty()) return {};
  if (digits.front() == '+') digits.remove_prefix(1);
  const size_t point = digits.find('.');
  if (point != std::string_view::npos && AllDigits(digits.substr(0, point)) &&
      digits.find_first_not_of('0', point + 1) == std::string_view::npos) {
    source.findings().Add(Kind::kCodeFloat, source.Here(column), "%.*s", Size(field), field.data());
    digits = digits.substr(0, point);
  }
  if (!AllDigits(digits)) {
    source.findings().Add(Kind::kCodeText, source.Here(column), "\"%.*s\"", Size(field),
                          field.data());
    return {};
  }
  while (digits.size() > 1 && digits.front() == '0') digits.remove_prefix(1);
  if (static_cast<int>(digits.size()) > code_length) {
    source.findings().Add(Kind::kCodeLong, source.Here(column), "%.*s has %zu digits", Size(digits),
                          digits.data(), digits.size());
  }
  return code;
}

int32_t CheckedNumber(const Source& source, const Row& row, const zatlib::SourceColumn& column,
                      Kind range_kind) {
  const int32_t low = column.range.low;
  const int32_t high = column.range.high;
  const std::string_view field = row[column.number];
  if (field.size() < 5 && AllDigits(field)) {
    int32_t value = 0;
    for (const char c : field) value = value * 10 + (c - '0');
    if (value >= low && value <= high) return value;
  }
  const int32_t value = zatlib::FRD_ParseInt(field);
  std::string_view digits = Trim(field, kSpaces);
  if (digits.empty()) return 0;
  if (digits.front() == '+' || digits.front() == '-') digits.remove_prefix(1);
  if (!AllDigits(digits)) {
    source.findings().Add(Kind::kNumberText, source.Here(column.number), "\"%.*s\" counts as %d",
                          Size(field), field.data(), value);
  } else if (value < low || value > high || digits.size() > 10) {
    const Kind kind =
        range_kind == Kind::kLengthRange && value < low ? Kind::kLengthNegative : range_kind;
    source.findings().Add(kind, source.Here(column.number), "%.*s", Size(field), field.data());
  }
  return value;
}

int32_t CheckedCoordinate(Findings& findings, Place here, std::string_view text, bool latitude) {
  const int32_t limit = (latitude ? zatlib::kLatitudes : zatlib::kLongitudes).high;
  // Plain numbers first: a sign, digits, a point, up to six decimals.
  {
    const char* p = text.data();
    const char* const end = p + text.size();
    const bool negative = p < end && *p == '-';
    if (negative) ++p;
    int64_t value = 0;
    const char* const digits = p;
    while (p < end && IsDigit(*p) && p - digits < 4) value = value * 10 + (*p++ - '0');
    int decimals = 0;
    const bool whole = p > digits;
    if (p < end && *p == '.') {
      ++p;
      while (p < end && IsDigit(*p) && decimals < 6) {
        value = value * 10 + (*p++ - '0');
        ++decimals;
      }
    }
    if (whole && p == end) {
      for (; decimals < 6; ++decimals) value *= 10;
      if (value <= limit) return static_cast<int32_t>(negative ? -value : value);
    }
  }
  const std::string_view trimmed = Trim(text, kSpaces);
  if (trimmed.empty()) return 0;
  std::string_view number = trimmed;
  if (number.front() == '+') number.remove_prefix(1);
  double degrees = 0;
  const auto parsed = std::from_chars(number.data(), number.data() + number.size(), degrees);
  const bool is_number = parsed.ec == std::errc() && parsed.ptr == number.data() + number.size() &&
                         std::isfinite(degrees) && !number.starts_with("+");
  if (!is_number) {
    findings.Add(Kind::kCoordText, here, "\"%.*s\"", Size(text), text.data());
    const int32_t value = zatlib::FRD_ParseFixed6(text);
    return std::clamp(value, -limit, limit);
  }
  const double millionths = std::clamp(std::round(degrees * 1e6), -2147483647.0, 2147483647.0);
  const size_t point = number.find('.');
  if (number.find_first_of("eE") != std::string_view::npos) {
    findings.Add(Kind::kCoordExponent, here, "%.*s counts as %.6f", Size(text), text.data(),
                 zatlib::FRD_ParseFixed6(text) / 1e6);
  } else if (point != std::string_view::npos && number.size() - point - 1 > 6) {
    findings.Add(Kind::kCoordDecimals, here, "%.*s counts as %.6f", Size(text), text.data(),
                 zatlib::FRD_ParseFixed6(text) / 1e6);
  } else if (text.size() > 32) {
    findings.Add(Kind::kCoordText, here, "%.*s has more than 32 characters", Size(text),
                 text.data());
  }
  if (std::fabs(millionths) > limit) {
    findings.Add(Kind::kCoordRange, here, "%s %.*s", latitude ? "latitude" : "longitude",
                 Size(text), text.data());
  }
  return static_cast<int32_t>(millionths);
}

bool IsGoodName(std::string_view name, unsigned page) {
  if (std::none_of(name.begin(), name.end(),
                   [](char c) { return static_cast<unsigned char>(c) >= 0x80; })) {
    return true;
  }
  if (page == kUtf8) return IsUtf8Text(name);
  return !IsUtf8Text(name) && (page != kJapanese || IsJapaneseText(name));
}

void CheckName(const Source& source, const Row& row, int column) {
  const std::string_view name = row[column];
  if (name.size() > zatlib::kNameSize) {
    source.findings().Add(Kind::kNameLong, source.Here(column), "%zu bytes, \"%.*s\"", name.size(),
                          Size(name), name.data());
  }
  if (std::all_of(name.begin(), name.end(),
                  [](char c) { return static_cast<unsigned char>(c) < 0x80; })) {
    return;
  }
  const unsigned page = zatlib::platform::CodePage();
  if (IsUtf8Text(name)) {
    if (page == kUtf8) return;
    source.findings().Add(Kind::kNameUtf8, source.Here(column), "\"%.*s\"", Size(name),
                          name.data());
  } else if (page == kUtf8 || (page == kJapanese && !IsJapaneseText(name))) {
    source.findings().Add(Kind::kNameCodePage, source.Here(column), "\"%.*s\"", Size(name),
                          name.data());
  }
}

}  // namespace zatmap::check
