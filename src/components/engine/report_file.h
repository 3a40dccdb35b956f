// What the engine needs from a report file on disk, kept apart from the
// storage format so the engine's rules can be tested without one.
//
// A report file is a set of named parts. Today the engine reads two of them,
// the title and the application-data text (the summary's comments), and
// writes copies with a new title; every other part travels with the copy
// untouched. When the engine learns its own report definition, it becomes one
// more part read here and one more change carried by ReportChanges.
#pragma once

#include <memory>

#include "base/text.h"
#include "components/report_engine.h"

namespace mervane::engine {

// The summary parts the engine reads when it opens a file.
struct ReportSummary {
  Text title;
  Text comments;  // the application-data text, e.g. "Dept=4;AppData=17;"
};

// What a copy changes against its source; everything else is copied as is.
struct ReportChanges {
  Text title;
};

// One opened report file.
class ReportFile {
 public:
  virtual ~ReportFile() = default;
  virtual const ReportSummary& summary() const = 0;
  // Writes a new report file at `path` holding everything this one holds,
  // with `changes` applied. The file at `path` is replaced only once the new
  // one is complete; on failure (it throws) nothing at `path` has changed.
  // The source file is never written.
  virtual void writeCopy(const Text& path, const ReportChanges& changes) = 0;
};

// Opens report files.
class ReportFiles {
 public:
  virtual ~ReportFiles() = default;
  // Null when the file is missing or is not a readable report file.
  virtual std::unique_ptr<ReportFile> open(const Text& path, OpenMethod method) = 0;
};

}  // namespace mervane::engine
