// Where one table reads its data; see table_connection.h.
#include "engine/data/table_connection.h"

namespace mervane::engine::data {

DataSource tableDataSource(const ReportDocument& document, const model::Table& table) {
  if (table.connection.given()) return table.connection;
  if (document.logOn.connection.given()) return document.logOn.connection;
  const model::LogOn& own = table.logOn;
  if (!isBlank(own.server)) return serverDataSource(own.server, own.database, own.user, own.password);
  const ServerLogOn& report = document.logOn;
  if (report.given && !isBlank(report.server))
    return serverDataSource(report.server, report.database, report.user, report.password);
  return DataSource();
}

Resolution resolveTable(const ReportDocument& document, const model::Table& table, const OdbcEnvironment& environment) {
  Resolution resolution;
  const DataSource source = tableDataSource(document, table);
  if (source.blank()) {
    resolution.error = u"The table '" + table.alias + u"' has no connection, and the report has no log-on.";
    return resolution;
  }
  const Text database = table.type == model::DatabaseType::SqlTable ? trim(table.subLocation) : Text();
  resolution = resolveConnection(source, environment, database);
  if (!resolution.ok() && !database.empty()) {
    // The data source reaches a database file that does not hold the
    // database the table is pointed at. The table's log-on names where that
    // database lives; a table without one keeps the file its source names.
    const model::LogOn& own = table.logOn;
    Resolution other =
        isBlank(own.server)
            ? resolveConnection(source, environment)
            : resolveConnection(serverDataSource(own.server, database, own.user, own.password), environment, database);
    if (other.ok()) return other;
  }
  if (!resolution.ok()) resolution.error = u"The table '" + table.alias + u"' cannot be reached: " + resolution.error;
  return resolution;
}

}  // namespace mervane::engine::data
