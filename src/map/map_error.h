// What can be wrong with a map that is read, as a value. Nothing in this folder prints, logs or
// asks: the caller decides what a person gets to see.
#pragma once

#include <cstdint>

namespace zatlib::map {

enum class ErrorKind {
  kNone,
  kNoFolder,     // the path names no folder
  kPathTooLong,  // the names of the map's files would not fit into a path
  kNoMap,        // the folder holds no file of a map
  kUnreadable,   // the file is missing, or the system refused to read it, or memory for it
  kSize,         // the file has not as many records as the others say
  kReference,    // the record leads to a record that does not exist
};

struct Error {
  ErrorKind kind = ErrorKind::kNone;
  const char* file = "";  // name of the file in the map's folder, "" = the folder itself
  int64_t record = -1;    // record number in it, -1 = the file as a whole

  bool ok() const { return kind == ErrorKind::kNone; }
};

}  // namespace zatlib::map
