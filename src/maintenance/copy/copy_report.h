// CopyReport: a copy of a report in the same folder under a new file name.
//
// The user names the copy in the report details dialog. A Crystal report is
// opened in the engine, given the title from the dialog and saved under the
// new name, and the copy gets its own stored value (title;N;number, never a
// favourite); any other kind is copied byte for byte, never over an existing
// file, and gets no stored value. Every step runs under the library's failure
// policy: a failed step is skipped and the copy goes on.
#pragma once

#include <cstdint>

#include "base/text.h"
#include "catalogue/session_settings.h"
#include "components/desktop.h"
#include "components/file_system.h"
#include "components/maker.h"
#include "components/report_engine.h"
#include "components/settings_store.h"

namespace mervane {

struct CopyRequest {
  Text oldTitle;     // shown in the dialog's title box
  Text oldFileName;  // without folder
  Text repPath;      // the reports folder with its trailing separator
  std::int32_t reportType = 1;  // vdReportType; vdCrystal when the host leaves it out
};

class DetailsDialog;  // the report details dialog, src/authoring/details_dialog.h

// What the copy reaches outside the core; the engine and the dialog are made
// for one call.
struct CopyPorts {
  SettingsStore& store;
  FileSystem& files;
  Maker<EngineApplication> engine;
  Maker<DetailsDialog> dialog;
  Desktop& desktop;
};

// newFileName is the host's in/out argument. It is set to the dialog's file
// name box only when the user confirmed the dialog, and the answer says
// whether that happened; after a cancel it is left as it was.
bool copyReport(const SessionSettings& session, const CopyPorts& ports, const CopyRequest& request, Text& newFileName);

}  // namespace mervane
