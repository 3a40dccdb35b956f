// The report engine as the library drives it: an application object that
// opens reports, and reports whose title, application-data text and file can
// be read and written. Calls may fail (they throw); every caller ignores the
// engine's failures and goes on, as the operations require.
#pragma once

#include <memory>

#include "base/text.h"

namespace mervane {

// Open methods and file formats the library passes to the engine.
enum class OpenMethod : int { Default = 0, ByTemporaryCopy = 1 };
constexpr int kReportFileFormat = 1792;  // save-as: a report file of the engine's own format

class EngineReport {
 public:
  virtual ~EngineReport() = default;
  virtual Text title() = 0;
  virtual void setTitle(const Text& title) = 0;
  // The report's application-data text (its summary comments), which may
  // hold "AppData=<number>;".
  virtual Text applicationDataText() = 0;
  // Writes the report, as it now stands, to a new file; the source file is
  // not changed.
  virtual void saveAs(const Text& path, int format) = 0;
};

class EngineApplication {
 public:
  virtual ~EngineApplication() = default;
  // Null when the file cannot be opened as a report.
  virtual std::unique_ptr<EngineReport> openReport(const Text& path, OpenMethod method = OpenMethod::Default) = 0;
};

}  // namespace mervane
