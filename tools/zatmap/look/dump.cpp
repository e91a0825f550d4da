// zatmap dump: the records of a file, readable, with field names.
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "commands.h"
#include "frd/files.h"
#include "map/code_index.h"
#include "map/record_fields.h"
#include "map/record_files.h"
#include "shape/shape_files.h"
#include "shell/ini_text.h"
#include "shell/open_map.h"
#include "shell/output.h"

namespace zatmap {
namespace {

using zatlib::map::CodeDigits;
using zatlib::map::CodeIndex;
using zatlib::map::Field;
using zatlib::map::FieldNumber;
using zatlib::map::FieldType;
using zatlib::map::FileLayout;
using zatlib::map::FileLayouts;
using zatlib::map::PathOf;
using zatlib::map::Rows;
using zatlib::map::TextFiles;

enum class Form { kText, kCsv, kJson };

struct DumpOptions {
  std::string folder;
  std::string file;
  std::string code;
  std::string range;
  int64_t record = -1;
  bool csv = false;
  bool json = false;
  bool fields = false;
};

// The records to print: from first to last, or with `has_code` those of them that hold a code.
struct Selection {
  int64_t first = 0;
  int64_t last = INT64_MAX;
  bool has_code = false;
  zatlib::FeatureCode code;
};

// Value `index` of a field as text.
std::string ValueText(const Field& field, const char* record, uint32_t index, int code_length) {
  const char* bytes = record + field.offset + size_t{field.width} * index;
  const int64_t number = FieldNumber(field, bytes);
  switch (field.type) {
    case FieldType::kCode:
      return CodeDigits({static_cast<uint64_t>(number)}, code_length);
    case FieldType::kDegrees:
      return Degrees(static_cast<int32_t>(number));
    case FieldType::kText:
      return NameText(bytes);
    case FieldType::kBits: {
      std::string bits;
      for (int bit = 0x80; bit != 0; bit >>= 1) bits += (number & bit) != 0 ? '1' : '0';
      return bits;
    }
    default:
      return std::to_string(number);
  }
}

// The same for JSON: codes, names and bits are texts, coordinates numbers of degrees.
Json ValueJson(const Field& field, const char* record, uint32_t index, int code_length) {
  const char* bytes = record + field.offset + size_t{field.width} * index;
  switch (field.type) {
    case FieldType::kCode:
    case FieldType::kText:
    case FieldType::kBits:
      return ValueText(field, record, index, code_length);
    case FieldType::kDegrees:
      return static_cast<double>(FieldNumber(field, bytes)) / 1000000.0;
    default:
      return FieldNumber(field, bytes);
  }
}

class RecordPrinter {
 public:
  RecordPrinter(const FileLayout& layout, Form form, int code_length)
      : layout_(layout), form_(form), code_length_(code_length) {
    if (form_ == Form::kJson) output_.Add("[");
    if (form_ != Form::kCsv) return;
    std::string header = "record";
    for (const Field& field : layout_.fields) {
      for (uint32_t i = 0; field.type != FieldType::kZero && i < field.count; ++i) {
        header += std::string(",") + field.name + (field.count > 1 ? std::to_string(i) : "");
      }
    }
    output_.Add(header + "\n");
  }

  void Print(int64_t number, const char* record) {
    if (form_ == Form::kJson) {
      output_.Add(std::string(printed_++ == 0 ? "\n" : ",\n") + JsonText(Object(number, record)));
      return;
    }
    const bool csv = form_ == Form::kCsv;
    std::string line = std::to_string(number) + (csv ? "" : ":");
    for (const Field& field : layout_.fields) {
      if (field.type == FieldType::kZero) continue;
      if (!csv) line += std::string(" ") + field.name + "=";
      for (uint32_t i = 0; i < field.count; ++i) {
        const std::string value = ValueText(field, record, i, code_length_);
        if (csv || i > 0) line += ',';
        if (csv) {
          line += CsvField(value);
        } else {
          line += field.type == FieldType::kText ? '"' + value + '"' : value;
        }
      }
    }
    output_.Add(line + "\n");
  }

  void End() {
    if (form_ == Form::kJson) output_.Add(printed_ == 0 ? "]\n" : "\n]\n");
  }

 private:
  Json Object(int64_t number, const char* record) const {
    Json object;
    object["record"] = number;
    for (const Field& field : layout_.fields) {
      if (field.type == FieldType::kZero) continue;
      if (field.count == 1) {
        object[field.name] = ValueJson(field, record, 0, code_length_);
        continue;
      }
      Json values = Json::array();
      for (uint32_t i = 0; i < field.count; ++i) {
        values.push_back(ValueJson(field, record, i, code_length_));
      }
      object[field.name] = std::move(values);
    }
    return object;
  }

  const FileLayout& layout_;
  Form form_;
  int code_length_;
  int64_t printed_ = 0;
  Output output_;
};

int Usage(const std::string& message) {
  std::fprintf(stderr, "zatmap: %s\n", message.c_str());
  return kExitUsage;
}

int Failed(const std::string& message) {
  std::fprintf(stderr, "zatmap: %s\n", message.c_str());
  return kExitFailed;
}

bool ParseNumber(const std::string& text, int64_t* number) {
  if (text.empty() || text.size() > 15 ||
      text.find_first_not_of("0123456789") != std::string::npos) {
    return false;
  }
  *number = std::atoll(text.c_str());
  return true;
}

// "A..B", both counted.
bool ParseRange(const std::string& text, Selection* selection) {
  const size_t dots = text.find("..");
  return dots != std::string::npos && ParseNumber(text.substr(0, dots), &selection->first) &&
         ParseNumber(text.substr(dots + 2), &selection->last) &&
         selection->first <= selection->last;
}

// The points of a link's shape. False when the map does not know it.
bool SelectShape(const MapFolder& map, zatlib::FeatureCode link, Selection* selection) {
  CodeIndex index;
  zatlib::map::RecordFile entries;
  zatlib::ShapeIndexEntry entry{};
  if (!index.Open(map, zatlib::kShapeIndexFile) ||
      !entries.Open(PathOf(map, zatlib::kShapeIndexFile), sizeof entry) ||
      !entries.Read(index.Position(link), &entry) || entry.Offset < 0) {
    return false;
  }
  selection->first = entry.Offset / static_cast<int64_t>(sizeof(zatlib::ShapePoint));
  selection->last = selection->first + entry.Count - 1;
  return true;
}

// The records that belong to a code. False when the map does not know it.
bool SelectCode(const MapFolder& map, const FileLayout& layout, zatlib::FeatureCode code,
                Selection* selection) {
  int64_t record = -1;
  CodeIndex index;
  switch (layout.rows) {
    case Rows::kStore:
      selection->has_code = true;
      selection->code = code;
      return true;
    case Rows::kNode:
      if (index.Open(map, zatlib::kNodeIndexFile)) record = index.Number(code);
      break;
    case Rows::kLink:
      if (index.Open(map, zatlib::kLinkIndexFile)) record = index.Number(code);
      break;
    case Rows::kNodeIndex:
    case Rows::kLinkIndex:
    case Rows::kShapeIndex:
      if (index.Open(map, layout.name)) record = index.Position(code);
      break;
    case Rows::kShapePoint:
      return SelectShape(map, code, selection);
  }
  selection->first = selection->last = record;
  return record >= 0;
}

// True when one of the record's codes is the one looked for.
bool HoldsCode(const FileLayout& layout, const char* record, zatlib::FeatureCode code) {
  for (const Field& field : layout.fields) {
    for (uint32_t i = 0; field.type == FieldType::kCode && i < field.count; ++i) {
      const int64_t bits = FieldNumber(field, record + field.offset + size_t{field.width} * i);
      if (zatlib::FeatureCode{static_cast<uint64_t>(bits)} == code) return true;
    }
  }
  return false;
}

int DumpRecords(const MapFolder& map, const FileLayout& layout, const Selection& selection,
                Form form) {
  const std::string path = PathOf(map, layout.name);
  zatlib::map::ByteReader stream;
  if (!stream.Open(path, layout.record_size, selection.first * layout.record_size)) {
    return Failed(path + " cannot be read.");
  }
  RecordPrinter printer(layout, form, map.code_length);
  for (int64_t n = selection.first; n <= selection.last; ++n) {
    const char* record = stream.Next();
    if (record == nullptr) break;
    if (!selection.has_code || HoldsCode(layout, record, selection.code)) printer.Print(n, record);
  }
  printer.End();
  return kExitDone;
}

int DumpText(const std::string& path, Form form) {
  if (!zatlib::CanOpen(path.c_str())) return Failed(path + " cannot be read.");
  Output output;
  Json all = Json::object();
  std::string section;
  if (form == Form::kCsv) output.Add("section,key,value\n");
  for (const IniLine& line : ReadIni(path)) {
    const std::string key = CleanText(line.key, Unclean::kQuestionMark);
    const std::string value = CleanText(line.value, Unclean::kQuestionMark);
    if (line.kind == IniLine::kSection) section = key;
    if (form == Form::kJson) {
      if (line.kind == IniLine::kSection) all[section];
      if (line.kind == IniLine::kKey && !all[section].contains(key)) all[section][key] = value;
    } else if (form == Form::kCsv) {
      if (line.kind == IniLine::kKey) {
        output.Add(CsvField(section) + "," + CsvField(key) + "," + CsvField(value) + "\n");
      }
    } else if (line.kind == IniLine::kSection) {
      output.Add("[" + key + "]\n");
    } else {
      output.Add(line.kind == IniLine::kKey ? key + "=" + value + "\n" : key + "\n");
    }
  }
  if (form == Form::kJson) {
    output.Add(JsonText(all, 2) + "\n");
  }
  return kExitDone;
}

int DumpFields(const FileLayout& layout, bool json) {
  if (json) {
    Json fields = Json::array();
    for (const Field& field : layout.fields) {
      fields.push_back({{"offset", field.offset},
                        {"width", field.width},
                        {"count", field.count},
                        {"type", zatlib::map::TypeName(field.type)},
                        {"name", field.name}});
    }
    PrintJson(fields);
    return kExitDone;
  }
  std::printf("offset,width,count,type,name\n");
  for (const Field& field : layout.fields) {
    std::printf("%u,%u,%u,%s,%s\n", field.offset, field.width, field.count,
                zatlib::map::TypeName(field.type), field.name);
  }
  return kExitDone;
}

int RunDump(const DumpOptions& options) {
  const char* name = zatlib::map::FindFileName(options.file);
  if (name == nullptr) {
    std::string names;
    for (const FileLayout& layout : FileLayouts()) names += std::string(" ") + layout.name;
    for (const char* text : TextFiles()) names += std::string(" ") + text;
    return Usage(options.file + " is no file of a map. The files are:" + names);
  }
  const FileLayout* layout = zatlib::map::FindLayout(name);
  if (options.fields) {
    return layout == nullptr ? Usage(options.file + " is a text without fields.")
                             : DumpFields(*layout, options.json);
  }
  MapFolder map;
  if (!OpenMap(options.folder, &map)) return kExitFailed;
  const Form form = options.json ? Form::kJson : options.csv ? Form::kCsv : Form::kText;
  const bool selects = !options.code.empty() || !options.range.empty() || options.record >= 0;
  if (layout == nullptr) {
    return selects ? Usage(options.file + " is a text; it has no records to choose from.")
                   : DumpText(PathOf(map, name), form);
  }
  Selection selection;
  if (options.record >= 0) selection.first = selection.last = options.record;
  if (!options.range.empty() && !ParseRange(options.range, &selection)) {
    return Usage("--range takes two record numbers, like 0..99.");
  }
  if (!zatlib::map::HasFile(map, name)) return Failed(PathOf(map, name) + " does not exist.");
  if (!options.code.empty()) {
    zatlib::FeatureCode code;
    if (!zatlib::map::ParseCodeDigits(options.code, map.code_length, &code)) {
      return Usage("--code takes a number of up to 18 digits.");
    }
    if (!SelectCode(map, *layout, code, &selection)) {
      return Failed("the map has no record for code " + options.code + " in " + name + ".");
    }
  }
  const int64_t count = zatlib::map::CountRecords(map, name, layout->record_size);
  if ((options.record >= 0 || !options.range.empty()) && selection.first >= count) {
    return Failed(std::string(name) + " has " + std::to_string(count) +
                  " records, numbered from 0.");
  }
  return DumpRecords(map, *layout, selection, form);
}

// What chooses records: one of them at most.
std::vector<Option> SelectionOptions(DumpOptions* options) {
  return {{.names = "--code",
           .help = "Only the record of this node or link; in work stores every record that holds "
                   "the code",
           .value = &options->code,
           .type = "CODE",
           .excludes = {"--record", "--range"}},
          {.names = "--record",
           .help = "Only this record, from 0",
           .value = &options->record,
           .type = "N",
           .excludes = {"--range"}},
          {.names = "--range",
           .help = "Only records A to B, like 0..99",
           .value = &options->range,
           .type = "A..B"}};
}

std::vector<std::string> FileNames() {
  std::vector<std::string> names;
  for (const FileLayout& layout : FileLayouts()) names.push_back(layout.name);
  for (const char* text : TextFiles()) names.push_back(text);
  return names;
}

}  // namespace

Command DumpCommand() {
  const auto options = std::make_shared<DumpOptions>();
  std::vector<Option> all = SelectionOptions(options.get());
  all.push_back({.names = "--csv", .help = "Comma-separated values", .value = &options->csv});
  Option json = JsonOption(&options->json, "A JSON array of objects");
  json.excludes = {"--csv"};
  all.push_back(json);
  all.push_back({.names = "--fields",
                 .help = "Print the fields of the file's records instead: offset, width, count, "
                         "type",
                 .value = &options->fields});
  all.push_back(CodePageOption());
  return {.name = "dump",
          .summary = "Print the records of a file of a map",
          .arguments = {MapArgument(&options->folder),
                        {.name = "FILE",
                         .help = "File of it: mapcalc.dat, link.idx, nodestr.~wk ...",
                         .value = &options->file,
                         .completes = Completes::kChoices,
                         .choices = FileNames()}},
          .options = all,
          .notes = "Codes and names are texts, coordinates degrees. Names come out in UTF-8.",
          .examples = {{"zatmap dump out mapcalc.dat --code 10000010000001 --json", ""}},
          .run = [options] { return RunDump(*options); }};
}

}  // namespace zatmap
