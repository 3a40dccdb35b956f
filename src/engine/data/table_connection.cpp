// Where one table reads its data; see table_connection.h.
#include "engine/data/table_connection.h"

namespace mervane::engine::data {

Text tableConnectText(const ReportDocument& document, const Text& subreport, const model::Table& table) {
  const TableSecrets* secrets = document.secretsFor(TableKey{subreport, table.alias});
  if (secrets && !secrets->connectText.empty()) return secrets->connectText;
  if (!table.connection.empty()) return table.connection;
  if (!document.logOn.connectionString.empty()) return document.logOn.connectionString;
  if (!isBlank(table.logOn.server))
    return logOnConnectText(table.logOn.server, table.logOn.database, table.logOn.user,
                            secrets ? secrets->password : Text());
  if (document.logOn.given && !isBlank(document.logOn.server))
    return logOnConnectText(document.logOn.server, document.logOn.database, document.logOn.user,
                            document.logOn.password);
  return Text();
}

Resolution resolveTable(const ReportDocument& document, const Text& subreport, const model::Table& table,
                        const OdbcEnvironment& environment) {
  Resolution resolution;
  const Text text = tableConnectText(document, subreport, table);
  if (isBlank(text)) {
    resolution.error = u"The table '" + table.alias + u"' has no connection, and the report has no log-on.";
    return resolution;
  }
  const Text database = table.type == model::DatabaseType::SqlTable ? trim(table.subLocation) : Text();
  resolution = resolveConnection(text, environment, database);
  if (!resolution.ok() && !database.empty()) {
    // The text reaches a database file that does not hold the database the
    // table is pointed at. The table's log-on names where that database
    // lives; a table without one keeps the file its text names.
    const TableSecrets* secrets = document.secretsFor(TableKey{subreport, table.alias});
    Resolution other = isBlank(table.logOn.server)
                           ? resolveConnection(text, environment)
                           : resolveConnection(logOnConnectText(table.logOn.server, database, table.logOn.user,
                                                                secrets ? secrets->password : Text()),
                                               environment, database);
    if (other.ok()) return other;
  }
  if (!resolution.ok()) resolution.error = u"The table '" + table.alias + u"' cannot be reached: " + resolution.error;
  return resolution;
}

}  // namespace mervane::engine::data
