#include "check/file_sample.h"

#include <algorithm>

#include "platform/file.h"
#include "shell/text.h"

namespace zatmap::check {
namespace {

constexpr uint32_t kHead = 1 << 18;  // bytes that are looked at
constexpr uint32_t kTail = 4096;     // of the end, for the last line

}  // namespace

bool FileSample::Read(const std::string& path) {
  zatlib::platform::File file = zatlib::platform::File::Open(
      path.c_str(), zatlib::platform::Access::kRead, zatlib::platform::Share::kRead,
      zatlib::platform::Disposition::kOpenExisting);
  if (!file.IsOpen()) return false;
  head_.resize(kHead);
  uint32_t read = 0;
  if (!file.Read(head_.data(), kHead, &read)) return false;
  head_.resize(read);
  whole_ = read < kHead;
  tail_ = head_;
  if (!whole_) {
    const int64_t from = std::max<int64_t>(file.Size() - kTail, 0);
    tail_.resize(kTail);
    if (file.Seek(from, zatlib::platform::SeekFrom::kBegin) != from ||
        !file.Read(tail_.data(), kTail, &read)) {
      return false;
    }
    tail_.resize(read);
  }
  const size_t end = tail_.find_last_of("\r\n");
  if (end != std::string::npos) tail_.erase(0, end + 1);
  Cut();
  return true;
}

void FileSample::Cut() {
  lines_.clear();
  std::string_view rest = head_;
  if (rest.starts_with("\xef\xbb\xbf")) rest.remove_prefix(3);
  while (!rest.empty()) {
    if (lines_.size() == kMaxLines) {
      whole_ = false;
      return;
    }
    const size_t end = rest.find_first_of("\r\n");
    if (end == std::string_view::npos) {
      if (whole_) lines_.push_back(rest);
      return;
    }
    lines_.push_back(rest.substr(0, end));
    const bool two = rest[end] == '\r' && end + 1 < rest.size() && rest[end + 1] == '\n';
    rest.remove_prefix(end + (two ? 2 : 1));
  }
}

std::vector<std::string_view> FieldsOf(std::string_view line) {
  std::vector<std::string_view> fields;
  size_t begin = 0;
  bool quoted = false;
  for (size_t at = 0; at <= line.size(); ++at) {
    if (at < line.size() && line[at] == '"') quoted = !quoted;
    if (at < line.size() && (quoted || (line[at] != ',' && line[at] != '\t'))) continue;
    std::string_view field = Trim(line.substr(begin, at - begin), kSpaces);
    if (field.size() > 1 && field.front() == '"' && field.back() == '"') {
      field = field.substr(1, field.size() - 2);
    }
    fields.push_back(field);
    begin = at + 1;
  }
  return fields;
}

std::string LowerCase(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
  }
  return lower;
}

bool IsDigits(std::string_view text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace zatmap::check
