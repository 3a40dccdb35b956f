// Points a report's SQL tables, and those of its subreports, at the data of
// the current session before the report is shown: the host's own tables get
// the session user's ODBC log-on, every other SQL table the session's SQL
// Server log-on and location.
//
// The report changes in memory only; nothing is saved. Every engine call
// that fails is skipped and the routine goes on with the next one, so a
// report that could not be opened (null) passes through untouched.
#pragma once

#include "components/report_engine.h"
#include "connections/session_data.h"

namespace mervane {

// The host's data goes to a table as one whole connection (the engine
// names it by its "ODBC;DATABASE=Halyard;UID=...;PWD=...;DSN=..." text),
// the SQL Server's as its server, database, login and password, then its
// connection string.
void setReportLocations(EngineReport* report, const SessionData& session);

}  // namespace mervane
