// Points a report's SQL tables, and those of its subreports, at the data of
// the current session before the report is shown: the host's own tables get
// the session user's ODBC log-on, every other SQL table the session's SQL
// Server log-on and location.
//
// The report changes in memory only; nothing is saved. Every engine call
// that fails is skipped and the routine goes on with the next one, so a
// report that could not be opened (null) passes through untouched.
#pragma once

#include "base/text.h"
#include "components/report_engine.h"

namespace mervane {

struct ReportLocations {
  Text odbcName;
  Text userName;
  Text userPassword;
  Text sqlServer;
  Text sqlDatabase;
  Text sqlLogin;
  Text sqlPassword;
  Text sqlConnString;
};

void setReportLocations(EngineReport* report, const ReportLocations& session);

// The host's connect text for its own data: the pieces joined as they are.
Text hostConnectText(const ReportLocations& session);

}  // namespace mervane
