// One source file on its way into the shape files: what its readers share, and how it ends.
#pragma once

#include "frd/line_source.h"
#include "frd/step.h"
#include "shape/shape_builder.h"
#include "shape/shape_output.h"

namespace zatlib {

// How the reading of a source file ended.
enum class Reading {
  kAtEnd,
  kBad,         // on an error, which the copy's problem holds
  kNotWritten,  // on a failed write, which the output knows
  kCancelled
};

// An error of a source, kept until all that came before it is written.
struct SourceProblem {
  const char* kind = kFileError;
  bool plain_box = false;  // leaves the host's windows usable
  char text[kMessageSize] = {};

  template <typename... Values>
  Reading Set(MessageText<std::type_identity_t<Values>...> message, Values... values) {
    FormatText<Values...>(text, sizeof text, message, values...);
    return Reading::kBad;
  }
  // No memory for the lines of a file.
  Reading SetNoMemory(const char* path);
};

class ShapeCopy {
 public:
  // `name` is the builder's. A MIF file has a MID file beside it.
  enum class Source { kText, kMif };
  ShapeCopy(const ShapeContext& context, const char* name, Source source);

  const ShapeContext& context() const { return context_; }
  const Step& step() const { return step_; }
  const char* path() const { return context_.Paths[context_.FileIndex].c_str(); }
  const char* mid_path() const { return mid_path_.c_str(); }
  int code_length() const { return context_.CodeLength; }
  ShapeOutput& output() { return output_; }
  SourceProblem& problem() { return problem_; }

  // Shows that the file is begun, with its number and the number of files. kDone or kCancelled.
  Outcome ShowStart(MessageText<int, int> text) const;

  // True after every so many records, when progress is shown.
  bool IsTimeToShow(int64_t record) const;

  // Opens the output files.
  Outcome Open();

  // Closes them behind a reading. Whatever came first in the order of the records is reported: a
  // write that failed before a bad record goes before it. A field of `fields` that is too long ends
  // the process here.
  Outcome Close(Reading reading, const LineSource& fields);

 private:
  Outcome FailWrite() const;

  const ShapeContext& context_;
  Step step_;
  Source source_;
  PathText mid_path_;
  SourceProblem problem_;
  ShapeOutput output_;
};

// The length to which messages print codes.
int CodeTextLength(const ShapeContext& context);

}  // namespace zatlib
