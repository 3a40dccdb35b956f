// NewReport, step by step (see new_report.h).
#include "authoring/new_report.h"

#include <optional>

namespace mervane {

namespace {

constexpr int kLoginTimeoutSeconds = 15;

// Runs one step; a failure is passed over. True when the step went through.
template <typename Step>
bool attempt(Step&& step) {
  try {
    step();
    return true;
  } catch (...) {
    return false;
  }
}

void fillChooser(TableChooser& chooser, const ServerDatabase& database) {
  attempt([&] { chooser.addDataSetNode(database.name, dataSetCaption(database.name)); });
  for (const ServerTable& table : database.tables) {
    if (table.systemTable) continue;
    attempt([&] { chooser.addTableNode(database.name, table.name); });
  }
}

void addTickedTables(const DataSource& sql, const std::vector<ChooserNodeState>& nodes,
                     EngineDatabase& reportDatabase) {
  const DataSource integrated = engine::data::serverDataSource(sql.server, sql.database, Text(), Text());
  const DataSource login = engine::data::serverDataSource(sql.server, sql.database, sql.user, sql.password);
  for (const ChooserNodeState& node : nodes) {
    if (!node.checked || node.hasChildren) continue;
    if (attempt([&] { reportDatabase.addOleDbSource(integrated, node.text); })) continue;
    attempt([&] { reportDatabase.addOleDbSource(login, node.text); });
  }
}

}  // namespace

Text dataSetCaption(const Text& databaseName) { return u"Current Data Set(" + databaseName + u")"; }

bool buildNewReport(const DataSource& sql, DatabaseServer& server,
                    const std::function<std::unique_ptr<TableChooser>()>& loadChooser, NewReportWindow& window) {
  bool result = false;
  std::unique_ptr<TableChooser> chooser;
  try {
    attempt([&] { window.setHourglass(true); });

    attempt([&] { server.setLoginTimeout(kLoginTimeoutSeconds); });
    if (!attempt([&] { server.connectIntegrated(sql.server); }))
      attempt([&] { server.connectWithLogin(sql.server, sql.user, sql.password); });
    std::optional<ServerDatabase> database;
    attempt([&] { database = server.findDatabase(sql.database); });

    attempt([&] { chooser = loadChooser(); });
    if (chooser && database) fillChooser(*chooser, *database);

    attempt([&] { window.setHourglass(false); });
    // Without a chooser that shows and answers there is no report.
    bool confirmed = false;
    if (chooser && attempt([&] { chooser->showModal(); })) {
      attempt([&] { window.processMessages(); });
      attempt([&] { confirmed = chooser->okSelected(); });
    }

    if (confirmed) {
      attempt([&] { window.setHourglass(true); });
      attempt([&] { window.createReport(); });
      std::shared_ptr<EngineDatabase> reportDatabase;
      attempt([&] { reportDatabase = window.reportDatabase(); });
      std::vector<ChooserNodeState> nodes;
      if (reportDatabase && attempt([&] { nodes = chooser->nodes(); })) addTickedTables(sql, nodes, *reportDatabase);
      reportDatabase.reset();
      attempt([&] { window.setHourglass(false); });
      result = true;
    }
  } catch (...) {
    // Only a failure outside every step (memory) gets here; the clean-up
    // below still runs.
  }
  attempt([&] { chooser.reset(); });
  attempt([&] { server.disconnect(); });
  return result;
}

}  // namespace mervane
