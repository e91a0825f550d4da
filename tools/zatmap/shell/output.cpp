#include "shell/output.h"

#include <cinttypes>
#include <cstdlib>
#include <cstring>

#include "frd/text.h"
#include "platform/code_page.h"
#include "platform/file.h"
#include "shell/encodings.h"

namespace zatmap {
namespace {

double InDegrees(int32_t value) { return value / 1000000.0; }

}  // namespace

std::string CleanText(const std::string& text, Unclean unclean) {
  const std::string shown = zatlib::platform::ForTerminal(text.c_str());
  std::string clean;
  for (size_t i = 0; i < shown.size();) {
    const size_t size = Utf8Size(shown, i);
    const auto byte = static_cast<unsigned char>(shown[i]);
    const bool hex = unclean == Unclean::kHex;
    if (size != 0 && byte >= 0x20 && !(hex && byte == 0x7f)) {
      clean.append(shown, i, size);
      i += size;
      continue;
    }
    char code[8] = "?";
    if (hex) std::snprintf(code, sizeof code, "\\x%02X", byte);
    clean += code;
    ++i;
  }
  return clean;
}

std::string NameText(const char* name) {
  std::string text(name, zatlib::kNameSize);
  text.resize(std::strlen(text.c_str()));
  return CleanText(text, Unclean::kQuestionMark);
}

std::string Degrees(int32_t value) {
  char text[32];
  const int64_t size = std::abs(int64_t{value});
  std::snprintf(text, sizeof text, "%s%" PRId64 ".%06" PRId64, value < 0 ? "-" : "", size / 1000000,
                size % 1000000);
  return text;
}

std::string JsonText(const Json& value, int indent) {
  return value.dump(indent, ' ', false, Json::error_handler_t::replace);
}

void PrintJson(const Json& value, int indent) {
  std::printf("%s\n", JsonText(value, indent).c_str());
}

Json LineGeometry(std::span<const zatlib::ShapePoint> points) {
  Json list = Json::array();
  for (const zatlib::ShapePoint& point : points) {
    list.push_back({InDegrees(point.X), InDegrees(point.Y)});
  }
  return {{"type", "LineString"}, {"coordinates", std::move(list)}};
}

Json PointGeometry(const zatlib::ShapePoint& point) {
  return {{"type", "Point"}, {"coordinates", {InDegrees(point.X), InDegrees(point.Y)}}};
}

Json Feature(Json properties, Json geometry) {
  return {{"type", "Feature"},
          {"properties", std::move(properties)},
          {"geometry", std::move(geometry)}};
}

std::string CsvField(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"') quoted += '"';
    quoted += c;
  }
  return quoted + "\"";
}

bool SaveText(const std::string& path, const std::string& text) {
  using zatlib::platform::File;
  bool done = false;
  {
    File file =
        File::Open(path.c_str(), zatlib::platform::Access::kWrite, zatlib::platform::Share::kNone,
                   zatlib::platform::Disposition::kCreateAlways);
    uint32_t written = 0;
    done = file.IsOpen() && file.Write(text.data(), static_cast<uint32_t>(text.size()), &written) &&
           written == text.size() && file.Flush();
  }
  if (!done) zatlib::platform::RemoveFile(path.c_str());
  return done;
}

bool Output::Open(const std::string& path) {
  file_ = std::fopen(path.c_str(), "wb");
  return file_ != nullptr;
}

void Output::Write() {
  good_ = good_ && std::fwrite(text_.data(), 1, text_.size(), file_) == text_.size();
  text_.clear();
}

bool Output::Close() {
  if (file_ == nullptr) return good_;
  Write();
  good_ = std::fflush(file_) == 0 && good_;
  if (file_ != stdout) good_ = std::fclose(file_) == 0 && good_;
  file_ = nullptr;
  return good_;
}

}  // namespace zatmap
