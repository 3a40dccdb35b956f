// Export and import: every report file of the reports folder into one zip
// archive that the user names in a save dialog, and every file of an archive
// that the user picks in an open dialog back into the reports folder. The
// archive window shows the run; a message confirms that files were processed.
#pragma once

#include "catalogue/session_settings.h"
#include "components/desktop.h"
#include "components/maker.h"
#include "maintenance/export_import/archive_window.h"

namespace mervane {

// The reports folder without its one trailing "\".
Text reportsFolder(const Text& path);

// The archiver's file list: for each report extension in the export's order,
// the folder, "\*.", the extension and "|" ("C:\R\*.rpt|C:\R\*.srt|...").
Text reportFileList(const Text& path);

// What export and import reach outside the core; the window is made for one
// call.
struct ArchivePorts {
  Maker<ArchiveWindow> window;
  Desktop& desktop;
};

// True when the archiver reported at least one file processed.
bool exportReports(const SessionSettings& session, const ArchivePorts& ports);
bool importReports(const SessionSettings& session, const ArchivePorts& ports);

}  // namespace mervane
