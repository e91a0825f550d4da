// Names from the files of one section into a name store.
#pragma once

#include "frd/lines.h"
#include "frd/progress.h"
#include "frd/record_writer.h"
#include "network/workstore/work_stores.h"

namespace zatlib {

// One list of name sources.
struct NameSource {
  const char* section;
  bool derive_mid;  // the names stand in the ".mid" beside the file named
  int (*read)(Lines& lines, NameStoreRecord* record, int code_length);
  int name_column;         // of the name in the line, from 1
  const char* data_error;  // a file cannot be opened; with %02d (file), %s (path)
  const char* data_title;
};

// A name store and its texts.
struct NameStoreTexts {
  const char* file;
  const char* store_error;  // with %s (store)
  const char* write_error;  // with %s (store), %02d (file)
  const char* title;        // of the error reports
};

// Makes the store anew. False when it cannot be created (reported).
bool OpenNameStore(WindowHandle owner, const char* control_file, const NameStoreTexts& texts,
                   RecordWriter* store);

// Appends the names of FILE01 to FILEnn; empty names are left out. Returns 1; 0 on failure
// (reported). `*count` receives how many were appended.
int CopyNames(WindowHandle owner, const char* control_file, const NameStoreTexts& texts,
              const NameSource& source, RecordWriter& store, int64_t* count);

}  // namespace zatlib
