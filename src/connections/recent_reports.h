// The recent-reports list: at most ten entries, newest first, kept in the
// settings store's section "RecentReports" under keys "1", "2", ... with the
// value "<title>,<file path>". The list ends at the first number whose value
// is empty; a blank value or the placeholder "DELETED" keeps its number but
// is not listed.
#pragma once

#include <cstdint>

#include "catalogue/report_list.h"
#include "catalogue/session_settings.h"
#include "components/settings_store.h"

namespace mervane {

inline constexpr char16_t kRecentReportsSection[] = u"RecentReports";

// Puts the report first. 1 when the list was rewritten, 0 when the report
// already stood first (nothing written).
std::int16_t addRecentReport(const SessionSettings& session, SettingsStore& store, const Text& fileName,
                             const Text& reportTitle);

// Appends the list to reports (may be null), marking favourites by bare file
// name, and trims a stored list longer than ten.
void listRecentReports(const SessionSettings& session, SettingsStore& store, ReportList* reports);

// Drops entry index and closes the gap; numbers above 10 and below 1 change
// nothing.
void removeRecentReport(const SessionSettings& session, SettingsStore& store, std::int16_t index);

}  // namespace mervane
