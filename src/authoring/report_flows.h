// The two flows that show the designer window: a new report on tables the
// user chooses, and an existing report opened for editing, whose changed
// title is carried into the stored report values and back to the host.
// Neither writes a report file, and neither reports an error to anyone.
#pragma once

#include "base/text.h"
#include "catalogue/session_settings.h"
#include "components/desktop.h"
#include "components/maker.h"
#include "components/settings_store.h"

namespace mervane {

class DesignerWindow;  // the designer window, src/authoring/designer_window.h

// What the flows reach outside the core; the window is made for one call.
struct DesignerPorts {
  SettingsStore& store;
  Maker<DesignerWindow> window;
  Desktop& desktop;
};

// True only when the designer window was shown (the user chose tables).
bool newVisualReport(const SessionSettings& session, const DesignerPorts& ports);

// `repName` comes back as the title after editing, trimmed; unchanged when
// the user did not change the title.
void editVisualReport(const SessionSettings& session, const DesignerPorts& ports, Text& repName, const Text& fileName);

// The stored values of section "Reports" whose title is `oldTitle` (both
// trimmed) get `newTitle` (as given), their flag and the rest kept; texts
// without two separators are left alone.
void retitleStoredReports(const SessionSettings& session, SettingsStore& store, const Text& oldTitle,
                          const Text& newTitle);

}  // namespace mervane
