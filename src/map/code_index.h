// Codes: as texts, and looked up in the sorted indexes of a map.
#pragma once

#include <cstdint>
#include <string>

#include "map/map_folder.h"
#include "map/record_files.h"
#include "network/network_files.h"

namespace zatlib::map {

// A code as people read it: its digits without leading zeros for whole numbers, else as messages
// print it.
std::string CodeDigits(FeatureCode code, int code_length);

// Reads a code of up to 18 digits. False when the text is something else.
bool ParseCodeDigits(const std::string& text, int code_length, FeatureCode* code);

// node.idx, link.idx or shapedbl.idx, whose records of 16 bytes begin with their codes in ascending
// order. Looks up in the file; several threads may do so at once.
class CodeIndex {
 public:
  // False when the file cannot be opened; nothing is found then.
  bool Open(const MapFolder& folder, const char* name);

  int64_t count() const { return file_.count(); }

  // Record `position` of the index; false when there is none.
  bool Read(int64_t position, CodeIndexRecord* record) const;

  // The position of a code in the index, -1 when it is absent.
  int64_t Position(FeatureCode code) const;

  // The record number that node.idx or link.idx gives for a code, -1 when it is absent.
  int64_t Number(FeatureCode code) const;

 private:
  RecordFile file_;
};

}  // namespace zatlib::map
