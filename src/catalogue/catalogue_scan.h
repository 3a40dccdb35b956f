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
#include "catalogue/scan_window.h"
#include "components/desktop.h"
#include "components/file_system.h"
#include "components/host_readers.h"
#include "components/maker.h"
#include "components/report_engine.h"
#include "components/settings_store.h"

namespace mervane {

// What the scan reaches outside the core. The components and the window are
// made for one scan.
struct ScanPorts {
  SettingsStore& store;
  FileSystem& files;
  Maker<EngineApplication> engine;
  Maker<LegacyReportService> legacyService;
  Maker<ReportPropertyReader> propertyReader;
  Maker<ScanWindow> window;
  Desktop& desktop;
};

// GetReports. reports may be null (the host passed Nothing): the scan still
// runs and still stores the values of first-seen Crystal reports.
void scanCatalogue(const SessionSettings& session, const ScanPorts& ports, ReportList* reports);

// GetFavourites: one item per stored value whose flag is "Y".
void listFavourites(const SessionSettings& session, SettingsStore& store, ReportList* reports, bool stripPath);

// The folder-relative name prefix of older-format reports for this session.
Text legacyNamePrefix(const SessionSettings& session);

}  // namespace mervane
