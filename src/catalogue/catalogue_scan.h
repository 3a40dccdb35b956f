// The catalogue scan (GetReports) and the favourites list (GetFavourites).
//
// The scan walks the reports folder, picks report files by extension, takes
// each report's title and application data from its stored value, from the
// report engine (storing them on first sight), or from the host's Vardo
// readers, and adds one item per report to the host's collection while a
// small window shows its progress.
//
// The stored per-report values are described in stored_value.h.
#pragma once

#include <cstdint>
#include <optional>

#include "base/text.h"
#include "catalogue/report_list.h"
#include "catalogue/session_settings.h"
#include "catalogue/stored_value.h"
#include "components/services.h"

namespace mervane {

// GetReports. reports may be null (the host passed Nothing): the scan still
// runs and still stores the values of first-seen Crystal reports.
void scanCatalogue(const SessionSettings& session, Services& services, ReportList* reports);

// GetFavourites: one item per stored value whose flag is "Y".
void listFavourites(const SessionSettings& session, Services& services, ReportList* reports, bool stripPath);

// The folder-relative name prefix of older-format reports for this session.
Text legacyNamePrefix(const SessionSettings& session);

}  // namespace mervane
