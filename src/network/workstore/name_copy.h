// Names from the files of one section into a name store.
#pragma once

#include "frd/lines.h"
#include "frd/record_writer.h"
#include "frd/step.h"
#include "network/workstore/work_stores.h"

namespace zatlib {

// One list of name sources.
struct NameSource {
  const char* section;
  bool derive_mid = false;  // the names stand in the ".mid" beside the file named
  int (*read)(Lines& lines, NameStoreRecord* record, int code_length);
  int name_column;                           // of the name in the line, from 1
  MessageText<int, const char*> not_opened;  // number of the file, its path
  bool title_names_step = true;              // of that report; else it says "File Error" only
};

// A name store and its texts.
struct NameStoreTexts {
  const char* file;
  MessageText<const char*> not_opened;        // store
  MessageText<const char*, int> not_written;  // store, number of the file
};

// A name store in the making.
class NameStore {
 public:
  NameStore(const Step& step, const NameStoreTexts& texts) : step_(step), texts_(texts) {}

  // Makes the store anew. kFailed when it cannot be created.
  Outcome Open();

  // Appends the names of FILE01 to FILEnn; empty names are left out. `*count` receives how many
  // were appended, also when an outcome is not kDone.
  Outcome Append(const NameSource& source, int64_t* count);

  void Close() { store_.Close(); }

 private:
  Outcome AppendFile(const NameSource& source, int number, int code_length);

  const Step& step_;
  const NameStoreTexts& texts_;
  RecordWriter store_;
};

// Makes a store of one list of names. A store that could not be made whole is left as it is.
Outcome MakeNameStore(const Step& step, const NameStoreTexts& texts, const NameSource& source);

}  // namespace zatlib
