// NewReport, step by step (see new_report.h).
#include "authoring/new_report.h"

#include <optional>

namespace mervane {

namespace {

constexpr int kLoginTimeoutSeconds = 15;

void fillChooser(ForgivingTableChooser& chooser, const ServerDatabase& database) {
  chooser.addDataSetNode(database.name, dataSetCaption(database.name));
  for (const ServerTable& table : database.tables)
    if (!table.systemTable) chooser.addTableNode(database.name, table.name);
}

void addTickedTables(const DataSource& sql, const std::vector<ChooserNodeState>& nodes,
                     ForgivingDatabase& reportDatabase) {
  const DataSource integrated = serverDataSource(sql.server, sql.database, Text(), Text());
  const DataSource login = serverDataSource(sql.server, sql.database, sql.user, sql.password);
  for (const ChooserNodeState& node : nodes) {
    if (!node.checked || node.hasChildren) continue;
    if (!reportDatabase.addOleDbSource(integrated, node.text)) reportDatabase.addOleDbSource(login, node.text);
  }
}

// Everything between the log-on and the disconnection; the chooser is
// unloaded when this returns.
bool chooseAndBuild(const DataSource& sql, ForgivingDatabaseServer& server, const Maker<TableChooser>& loadChooser,
                    ForgivingNewReportWindow& window) {
  window.setHourglass(true);
  server.setLoginTimeout(kLoginTimeoutSeconds);
  if (!server.connectIntegrated(sql.server)) server.connectWithLogin(sql.server, sql.user, sql.password);
  const std::optional<ServerDatabase> database = server.findDatabase(sql.database);

  ForgivingTableChooser chooser(loadChooser);
  if (database) fillChooser(chooser, *database);
  window.setHourglass(false);

  // Without a chooser that shows and answers there is no report.
  if (!chooser.showModal()) return false;
  window.processMessages();
  if (!chooser.okSelected()) return false;

  window.setHourglass(true);
  window.createReport();
  ForgivingDatabase reportDatabase = window.reportDatabase();
  if (reportDatabase) addTickedTables(sql, chooser.nodes(), reportDatabase);
  reportDatabase.reset();
  window.setHourglass(false);
  return true;
}

}  // namespace

Text dataSetCaption(const Text& databaseName) { return u"Current Data Set(" + databaseName + u")"; }

bool buildNewReport(const DataSource& sql, DatabaseServer& databaseServer, const Maker<TableChooser>& loadChooser,
                    NewReportWindow& reportWindow) {
  ForgivingDatabaseServer server(databaseServer);
  ForgivingNewReportWindow window(reportWindow);
  bool built = false;
  try {
    built = chooseAndBuild(sql, server, loadChooser, window);
  } catch (...) {
    // Only a failure outside every step (memory) gets here; the server is
    // still disconnected.
  }
  server.disconnect();
  return built;
}

}  // namespace mervane
