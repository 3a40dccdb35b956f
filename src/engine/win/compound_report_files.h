// Report files as OLE compound files: the summary is read from the standard
// SummaryInformation property set (title and comments), the engine's
// definition from its own stream "ReportDefinition", and a copy is the whole
// storage copied into a new compound file with a new title (and, when the
// report was changed, a new definition stream).
//
// Opening:
//  - OpenMethod::Default reads the summary and closes the file before open()
//    returns (read-only, others may read meanwhile); a later save reopens it.
//  - OpenMethod::ByTemporaryCopy takes the whole file into memory at open;
//    the report never goes back to the file.
//  - No report: a missing file, a folder, anything that is not a compound
//    file, and a compound file whose summary stream reads short (a truncated
//    file can open and then give short reads).
//  - A compound file without a summary, or with one that is not a readable
//    property set, opens as a report with an empty title and text; a copy of
//    it gets a new summary.
// Saving checks that every stream of the source reads in full, writes the
// copy to a temporary file beside the target and renames it into place.
#pragma once

#include "engine/report_file.h"

namespace mervane::engine {

class CompoundReportFiles final : public ReportFiles {
 public:
  std::unique_ptr<ReportFile> open(const Text& path, OpenMethod method) override;
  void create(const Text& path, const ReportChanges& changes) override;
};

}  // namespace mervane::engine
