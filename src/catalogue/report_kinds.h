// Report kinds and file extensions.
//
// A file's extension alone decides whether it is a report and of which kind:
// one table of eleven extensions, tested in a fixed order, serves the
// catalogue scan, the report details dialog and the export.
#pragma once

#include <array>
#include <string_view>

#include "base/text.h"

namespace mervane {

// The public enumeration vdReportType.
enum class ReportType : int { Crystal = 1, Vardo = 2 };

enum class ReportFamily {
  None,         // not a report
  Crystal,      // RPT, opened through the report engine
  VardoOlder,   // SRT SLY SLT SLB STM, read by the legacy report service
  VardoNewer,   // REPORT LAYOUT LABEL TEMPLATE LETTER, read by the property reader
};

struct ReportExtension {
  std::u16string_view upperName;  // as compared: "RPT"
  ReportFamily family;
};

// The eleven extensions in the order the catalogue scan tests them.
extern const std::array<ReportExtension, 11> kReportExtensions;

// The eleven export patterns' extensions, lower case, in the export's order
// (which differs from the scan's order for the newer family).
extern const std::array<std::u16string_view, 11> kExportExtensions;

// The text after the last '.', or the whole name when it has none.
// Not trimmed, not upper-cased.
Text extensionOf(TextView fileName);

// Classifies a file name: upper-cased extension compared exactly with the table.
ReportFamily classifyFileName(TextView fileName);

// The text stored in ReportItem.ReportType for a family: "Crystal" or "Vardo"
// (empty for None).
Text kindText(ReportFamily family);

}  // namespace mervane
