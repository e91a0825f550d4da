#include "check/file_kind.h"

#include <algorithm>

#include "frd/control.h"
#include "frd/text.h"
#include "platform/file_kind.h"
#include "shell/text.h"

namespace zatmap::check {
namespace {

using zatlib::platform::FileKind;

struct Signature {
  size_t offset;
  std::string_view bytes;
  const char* name;
};

// The first that fits counts.
constexpr Signature kSignatures[] = {
    {0, "\x1f\x8b", "a file compressed by gzip: unpack it (gunzip)"},
    {0, "BZh", "a file compressed by bzip2: unpack it (bunzip2)"},
    {0,
     "\xfd"
     "7zXZ",
     "a file compressed by xz: unpack it (unxz)"},
    {0, "\x28\xb5\x2f\xfd", "a file compressed by zstd: unpack it (unzstd)"},
    {0, "7z\xbc\xaf\x27\x1c", "a 7-Zip archive: unpack it"},
    {0, "Rar!", "a RAR archive: unpack it"},
    {0, "PAR1", "a Parquet file"},
    {0, "ARROW1", "an Arrow file"},
    {0, "fgb", "a FlatGeobuf file"},
    {0, "\xd0\xcf\x11\xe0", "a document of Office, such as an Excel table"},
    {0, "%PDF", "a PDF document"},
    {0, "\x89PNG", "a picture"},
    {0, "\xff\xd8\xff", "a picture"},
    {0, std::string_view("II*\0", 4), "a TIFF picture"},
    {0, std::string_view("MM\0*", 4), "a TIFF picture"},
    {0,
     "\x7f"
     "ELF",
     "a program"},
    {0, std::string_view("\0\0\x27\x0a", 4), "a shapefile"},
    {4, "\x0a\x09OSMHeader", "OpenStreetMap data (.osm.pbf)"},
    {257, "ustar", "a tar archive: unpack it"},
};

bool Has(std::string_view head, size_t offset, std::string_view bytes) {
  return head.size() >= offset + bytes.size() && head.substr(offset, bytes.size()) == bytes;
}

bool Contains(std::string_view head, std::string_view text) {
  return head.find(text) != std::string_view::npos;
}

const char* NameOfZip(std::string_view head) {
  if (Contains(head, "xl/") || Contains(head, "[Content_Types].xml")) {
    return "an Excel table or another document of Office";
  }
  if (Contains(head, "opendocument")) return "a LibreOffice document";
  if (Contains(head, ".kml")) return "a KMZ file: unpack it";
  return "a zip archive: unpack it (unzip)";
}

// A dBASE table, the .dbf of a shapefile: version, date, a header that ends with 0D.
bool IsDbf(std::string_view head) {
  const auto byte = [&](size_t at) { return static_cast<unsigned char>(head[at]); };
  constexpr std::string_view kVersions = "\x03\x30\x31\x83\x8b\xf5";
  if (head.size() < 66 || kVersions.find(head[0]) == std::string_view::npos) return false;
  const size_t header = byte(8) + size_t{256} * byte(9);
  return byte(2) >= 1 && byte(2) <= 12 && byte(3) >= 1 && byte(3) <= 31 && header > 32 &&
         header <= head.size() && head[header - 1] == '\r';
}

// Texts of other kinds.
const char* NameOfText(std::string_view head) {
  const std::string start = LowerCase(Trim(head.substr(0, 4096), kControlCharacters));
  if (start.starts_with("{")) {
    return Contains(start, "\"type\"") ? "a GeoJSON file" : "a JSON file";
  }
  if (start.starts_with("[{") || start.starts_with("[\n")) return "a JSON file";
  if (start.starts_with("!table")) return "a MapInfo table (.tab): export it as MIF";
  if (start.starts_with("<!doctype html") || start.starts_with("<html")) return "a web page";
  if (!start.starts_with("<")) return nullptr;
  if (Contains(start, "<osm")) return "OpenStreetMap data (.osm)";
  if (Contains(start, "<kml")) return "a KML file";
  if (Contains(start, "opengis.net/gml")) return "a GML file";
  return start.starts_with("<?xml") ? "an XML file" : nullptr;
}

// Texts of two bytes a character that do not say so; null when they are not.
const char* NameOfWideText(std::string_view head) {
  if (head.size() < 8) return nullptr;
  size_t zeros[2] = {};
  for (size_t i = 0; i < head.size(); ++i) zeros[i % 2] += head[i] == '\0' ? 1 : 0;
  const size_t half = head.size() / 2;
  if (zeros[1] * 10 > half * 6 && zeros[0] * 10 < half) return "UTF-16LE";
  if (zeros[0] * 10 > half * 6 && zeros[1] * 10 < half) return "UTF-16BE";
  return nullptr;
}

// Many bytes that no text has.
bool IsBinary(std::string_view head) {
  const auto odd = std::count_if(head.begin(), head.end(), [](char c) {
    return static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\r' && c != '\n' &&
           c != '\x1a' && c != '\f';
  });
  return odd >= 16 && static_cast<size_t>(odd) * 20 > head.size();
}

bool HasExtension(const std::string& path, std::string_view extension) {
  return LowerCase(path).ends_with(extension);
}

}  // namespace

const char* NameOfBytes(std::string_view head) {
  if (head.starts_with(std::string_view("SQLite format 3\0", 16))) {
    return Has(head, 68, "GPKG") || Has(head, 68, "GP1") ? "a GeoPackage (a database of SQLite)"
                                                         : "a database of SQLite";
  }
  if (head.starts_with("PK\x03\x04")) return NameOfZip(head);
  for (const Signature& signature : kSignatures) {
    if (Has(head, signature.offset, signature.bytes)) return signature.name;
  }
  if (IsDbf(head)) return "a dBASE table, as a shapefile has (.dbf)";
  if (const char* name = NameOfText(head)) return name;
  return nullptr;
}

bool IsMif(const FileSample& sample) {
  bool version = false;
  int words = 0;
  for (size_t i = 0; i < std::min<size_t>(sample.lines().size(), 40); ++i) {
    const std::string line = LowerCase(Trim(sample.lines()[i], kSpacesAndTabs));
    version = version || line.starts_with("version ");
    for (const char* word : {"charset ", "delimiter ", "coordsys ", "columns ", "data"}) {
      if (line.starts_with(word)) ++words;
    }
  }
  return (version && words > 0) || words > 1;
}

bool MayOpen(Findings& findings, const std::string& path) {
  const FileKind kind = zatlib::platform::KindOfFile(path.c_str());
  if (kind == FileKind::kFile || kind == FileKind::kNone) return true;
  findings.Add(Kind::kFileNotRegular, {findings.File(path), 0, 0, 0}, "%s",
               kind == FileKind::kFolder ? "a folder"
               : kind == FileKind::kPipe ? "a pipe"
                                         : "a device");
  return false;
}

bool IsOfUse(Findings& findings, const FileSample& sample, FileRole role, const std::string& path,
             const std::string& named) {
  const std::string_view head = sample.head();
  const uint32_t file = findings.File(path);
  const Place whole{file, 0, 0, 0};
  const bool big = head.starts_with("\xfe\xff");
  if (big || head.starts_with("\xff\xfe")) {
    findings.Add(Kind::kWideText, {file, 1, 0, 0}, "bytes %s", big ? "FE FF" : "FF FE");
    return false;
  }
  if (const char* wide = NameOfWideText(head)) {
    findings.Add(Kind::kWideText, {file, 1, 0, 0}, "%s without a byte order mark", wide);
    return false;
  }
  const char* const name = NameOfBytes(head);
  if (name != nullptr || IsBinary(head)) {
    findings.Add(Kind::kFileKind, whole, "%s", name != nullptr ? name : "bytes that are no text");
    return false;
  }
  const bool mif = IsMif(sample);
  if (role != FileRole::kMif && mif) {
    findings.Add(Kind::kMifAsText, whole, "%s", named.c_str());
    return false;
  }
  if (role != FileRole::kMif || mif || head.empty()) return true;
  // An empty file or a few words of a header are for the reader of MIF files to tell.
  const bool rows = !sample.lines().empty() && FieldsOf(sample.lines().front()).size() > 2;
  if (!rows && !HasExtension(path, ".mid")) return true;
  zatlib::PathText mid;
  zatlib::FRD_MakeMidPath(path.c_str(), mid.text);
  if (path != mid.c_str()) findings.Hide(findings.File(mid.c_str()), {Kind::kMifMidMissing});
  findings.Add(Kind::kTextAsMif, whole, "%s %s", named.c_str(),
               HasExtension(path, ".mid") ? "is the .mid: name the .mif beside it"
                                          : "holds rows of columns");
  return false;
}

}  // namespace zatmap::check
