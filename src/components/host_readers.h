// The host's components that read Vardo reports, as the catalogue scan uses
// them. Any call may fail (it throws); the scan treats each failure as a
// value it could not get.
#pragma once

#include <cstdint>
#include <memory>

#include "base/text.h"

namespace mervane {

// Reads one older-format report at a time: name it, load it, read it.
class LegacyReportDefinition {
 public:
  virtual ~LegacyReportDefinition() = default;
  virtual void setName(const Text& folderRelativeName) = 0;
  virtual void load() = 0;
  virtual Text title() = 0;
  virtual std::int32_t applicationData() = 0;
};

// The legacy report service: takes the host's "ProgramReports" setting and
// hands out its report definition object.
class LegacyReportService {
 public:
  virtual ~LegacyReportService() = default;
  virtual void setProgramReports(const Text& value) = 0;
  virtual std::unique_ptr<LegacyReportDefinition> reportDefinition() = 0;
};

// Reads newer-format reports by full path.
class ReportPropertyReader {
 public:
  virtual ~ReportPropertyReader() = default;
  virtual Text title(const Text& fullPath) = 0;
  virtual Text property(const Text& fullPath, const Text& name) = 0;
};

}  // namespace mervane
