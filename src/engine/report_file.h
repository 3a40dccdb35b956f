// What the engine needs from a report file on disk, kept apart from the
// storage format so the engine's rules can be tested without one.
//
// A report file is a set of named parts. The engine reads three of them: the
// title and the application-data text (the summary's comments), and its own
// report definition; it writes copies with a new title and definition, and
// every other part travels with the copy untouched.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

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
  // The definition stream's new bytes; nothing: the source's stream (or its
  // absence) is kept.
  std::optional<std::vector<std::uint8_t>> definition;
};

// One opened report file.
class ReportFile {
 public:
  virtual ~ReportFile() = default;
  virtual const ReportSummary& summary() const = 0;
  // The bytes of the engine's definition stream; nothing when the file has
  // none (a report from another designer). Throws when it cannot be read.
  virtual std::optional<std::vector<std::uint8_t>> definition() = 0;
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
  // Writes a new report file that holds only a summary with `changes.title`
  // and the definition, as safely as ReportFile::writeCopy.
  virtual void create(const Text& path, const ReportChanges& changes) = 0;
};

}  // namespace mervane::engine
