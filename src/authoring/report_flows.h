// The two flows that show the designer window: a new report on tables the
// user chooses, and an existing report opened for editing, whose changed
// title is carried into the stored report values and back to the host.
// Neither writes a report file, and neither reports an error to anyone.
#pragma once

#include "base/text.h"
#include "catalogue/session_settings.h"
#include "components/services.h"

namespace mervane {

// True only when the designer window was shown (the user chose tables).
bool newVisualReport(const SessionSettings& session, Services& services);

// `repName` comes back as the title after editing, trimmed; unchanged when
// the user did not change the title.
void editVisualReport(const SessionSettings& session, Services& services, Text& repName, const Text& fileName);

// The stored values of section "Reports" whose title is `oldTitle` (both
// trimmed) get `newTitle` (as given), their flag and the rest kept; texts
// without two separators are left alone.
void retitleStoredReports(const SessionSettings& session, Services& services, const Text& oldTitle,
                          const Text& newTitle);

}  // namespace mervane
