// The catalogue scan (GetReports) and the favourites list (GetFavourites).
//
// The scan walks the reports folder, picks report files by extension, takes
// each report's title and application data from its stored value, from the
// report engine (storing them on first sight), or from the host's Vardo
// readers, and adds one item per report to the host's collection while a
// small window shows its progress.
//
// Stored per-report value, section "Reports", key = the file's full path:
//   <title>;<flag>;<application data>      e.g.  Monthly sales;N;0
// The title may itself hold ";": values are taken apart from their end.
#pragma once

#include <cstdint>
#include <optional>

#include "base/text.h"
#include "catalogue/report_list.h"
#include "catalogue/session_settings.h"
#include "components/services.h"

namespace mervane {

inline constexpr char16_t kReportsSection[] = u"Reports";

// GetReports. reports may be null (the host passed Nothing): the scan still
// runs and still stores the values of first-seen Crystal reports.
void scanCatalogue(const SessionSettings& session, Services& services, ReportList* reports);

// GetFavourites: one item per stored value whose flag is "Y".
void listFavourites(const SessionSettings& session, Services& services, ReportList* reports, bool stripPath);

// The parts of the stored-value format, as the scan reads them.
struct StoredValue {
  // Application data: the text after the last ";" as a number, else 0.
  static std::int32_t applicationData(TextView value);
  // Title: the value without its last ";", the flag and the ";" before it;
  // nothing when the value is too short to hold them.
  static std::optional<Text> title(TextView value);
  // The favourite test: the character after the first ";" is exactly "Y".
  static bool isFavourite(TextView value);
  static Text compose(TextView title, char16_t flag, std::int32_t applicationData);
};

// "AppData=<n>;" inside a report's application-data text; 0 when absent or
// not a number.
std::int32_t applicationDataFromText(TextView text);

// The folder-relative name prefix of older-format reports for this session.
Text legacyNamePrefix(const SessionSettings& session);

}  // namespace mervane
