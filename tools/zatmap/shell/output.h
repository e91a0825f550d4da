// What subcommands write: clean texts, JSON, GeoJSON, and files in large pieces.
#pragma once

#include <cstdio>
#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <string_view>

#include "shape/shape_files.h"

namespace zatmap {

using Json = nlohmann::ordered_json;

// What stands for bytes that are no text of the code page, and for control characters: \xHH where
// people look for them, "?" in names and messages.
enum class Unclean { kHex, kQuestionMark };

// A text of the code page in UTF-8, on one line. kHex also replaces the byte 7F.
std::string CleanText(const std::string& text, Unclean unclean);

// A name of 20 bytes, up to its end, with "?" for what is no text.
std::string NameText(const char* name);

// Millionths of a degree with six decimals.
std::string Degrees(int32_t value);

// A JSON value as text: on one line, or with `indent` spaces a level. Bytes that are no UTF-8 are
// replaced.
std::string JsonText(const Json& value, int indent = -1);

// Writes a JSON value and a line end to standard output.
void PrintJson(const Json& value, int indent = 2);

// GeoJSON: geometries in degrees and features of a collection.
Json LineGeometry(std::span<const zatlib::ShapePoint> points);
Json PointGeometry(const zatlib::ShapePoint& point);
Json Feature(Json properties, Json geometry);

// A field of a CSV line, in quotes where it needs them.
std::string CsvField(const std::string& text);

// Writes a text as a file, in place of an old one. False, and no file, when that fails.
bool SaveText(const std::string& path, const std::string& text);

// A file, or standard output, that is written in large pieces.
class Output {
 public:
  Output() : file_(stdout) {}
  ~Output() { Close(); }
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  // Writes to a file instead of standard output. False when it cannot be created.
  bool Open(const std::string& path);

  void Add(std::string_view text) {
    text_ += text;
    if (text_.size() >= kPiece) Write();
  }

  // False once something could not be written.
  bool good() const { return good_; }

  // Writes what is left. False when not everything could be written.
  bool Close();

 private:
  static constexpr size_t kPiece = 1u << 16;  // bytes

  void Write();

  std::FILE* file_;
  std::string text_;
  bool good_ = true;
};

}  // namespace zatmap
