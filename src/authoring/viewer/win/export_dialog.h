// The Export dialog: the format, the pages, then where to save (the
// standard save dialog, the report's title as the proposed name).
#pragma once

#include <windows.h>

#include <optional>

#include "authoring/viewer/win/export_job.h"

namespace mervane::viewer::win {

// Modal to `owner`. The page range offers "Current page (n)" for
// `currentPage`, and pages up to the last known (`pageCount` once counted).
// Without `wholeData` (pages that are not a whole report's, such as an
// on-demand subreport's), the formats made from the report's data rather
// than its pages are not offered. Nothing when the user cancels either
// dialog.
std::optional<ExportRequest> askExport(HWND owner, const Text& title, std::int32_t currentPage,
                                       std::int32_t pagesKnown, std::optional<std::int32_t> pageCount,
                                       bool wholeData = true);

// The Export dialog's caption and control ids, for tests.
inline constexpr wchar_t kExportCaption[] = L"Export";
enum ExportDialogControl {
  kExportFormatLabel = 300,
  kExportFormat,
  kExportRangeFrame,
  kExportAllPages,
  kExportCurrentPage,
  kExportPagesFromTo,
  kExportFrom,
  kExportToLabel,
  kExportTo,
};

}  // namespace mervane::viewer::win
