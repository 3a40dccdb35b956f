// The viewer control's print and export jobs (viewer_jobs.cpp): what the
// window and an export's thread share. Printing is printing::win::PrintJob,
// exporting viewer::win::ExportJob (export_job.h).
#pragma once

#include <windows.h>

#include "authoring/viewer/win/viewer_control.h"

namespace mervane::viewer::win {

// Posted to the viewer window as an export goes on, and when it ends.
constexpr UINT kExportProgress = WM_APP + 3;

}  // namespace mervane::viewer::win
