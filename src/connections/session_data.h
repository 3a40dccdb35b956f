// The session's data as one value. The host's properties name two places a
// report reads from: the host's own data (an ODBC data source, logged on to
// as the session's user) and the company database on SQL Server (server,
// database, SQL login, and its OLE DB connection string). They are read once,
// here, where they come in, and pass as they are through the flows, the
// designer window and the table re-pointing to the data door.
#pragma once

#include "catalogue/session_settings.h"
#include "components/report_engine.h"

namespace mervane {

// The database name of the host's data, as its tables and connect text
// give it.
constexpr char16_t kHostDatabase[] = u"Halyard";

struct SessionData {
  // The host's data: ODBC data source, database "Halyard", the session's
  // user and password.
  DataSource host;
  // The company database's server, database, SQL login and password.
  DataSource sqlLogOn;
  // The company database's OLE DB connection string, read.
  DataSource sqlConnection;
};

SessionData readSessionData(const SessionSettings& settings);

}  // namespace mervane
