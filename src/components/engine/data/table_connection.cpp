// Where one table reads its data; see table_connection.h.
#include "components/engine/data/table_connection.h"

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
  const bool located = table.type == model::DatabaseType::SqlTable;
  resolution = resolveConnection(text, environment, located ? table.subLocation : Text());
  if (!resolution.ok()) resolution.error = u"The table '" + table.alias + u"' cannot be reached: " + resolution.error;
  return resolution;
}

}  // namespace mervane::engine::data
