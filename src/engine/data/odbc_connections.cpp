// Connecting a report's SQL tables; see odbc_connections.h.
#include "engine/data/odbc_connections.h"

#include "engine/data/table_connection.h"

namespace mervane::engine::data {

const OdbcEnvironment& ConnectionPool::environment() {
  std::lock_guard lock(mutex_);
  if (!environment_) environment_ = odbc::gatherEnvironment();
  return *environment_;
}

std::shared_ptr<odbc::Connection> ConnectionPool::connect(const ReportDocument& document, const model::Table& table) {
  Resolution resolution = resolveTable(document, table, environment());
  if (!resolution.ok()) throw DataError(resolution.error);
  OdbcConnection& resolved = *resolution.connection;
  // A data source whose database shows only once connected is checked then.
  auto confirmed = [&](std::shared_ptr<odbc::Connection> connection) {
    if (std::optional<Text> error = confirmDatabase(resolved, connection->databaseName()))
      throw DataError(u"The table '" + table.alias + u"' cannot be reached: " + *error);
    return connection;
  };

  // The log-on to fall back on: the table's, else the report's.
  Text user = !table.logOn.user.empty() ? table.logOn.user : resolved.user;
  Text password = table.logOn.password;
  if (user.empty() && document.logOn.given) {
    user = document.logOn.user;
    password = document.logOn.password;
  } else if (password.empty() && document.logOn.given && equalsNoCase(user, document.logOn.user)) {
    password = document.logOn.password;
  }

  AttributeList given = resolved.attributes;
  // A report reads its rows from the start as they come: PostgreSQL's
  // compiling of a big query's expressions (JIT) costs more before the
  // first row than it saves. A server that does not know the setting
  // says so and runs the query all the same.
  if (resolved.family == DriverFamily::PostgreSql && !given.has(u"ConnSettings"))
    given.set(u"ConnSettings", u"SET jit TO off");
  Text givenPassword = given.get(u"PWD").value_or(Text());
  bool takesLogOn = resolved.family != DriverFamily::Sqlite && givenPassword.empty();
  Text description = u"the database of table '" + table.alias + u"' (" + resolved.redacted() + u")";

  if (!takesLogOn) return confirmed(pooled(formatOdbc(given), givenPassword, description));
  AttributeList integrated = given;
  integrated.erase(u"UID");
  integrated.erase(u"PWD");
  if (resolved.family == DriverFamily::SqlServer) integrated.set(u"Trusted_Connection", u"yes");
  // A server that refused the integrated log-on once is not asked again
  // for the next table, nor by the next run of the report.
  const Text integratedString = formatOdbc(integrated);
  std::optional<Text> refusal;
  {
    std::lock_guard lock(mutex_);
    auto found = refusedIntegrated_.find(integratedString);
    if (found != refusedIntegrated_.end()) refusal = found->second;
  }
  if (!refusal) {
    try {
      return confirmed(pooled(integratedString, Text(), description));
    } catch (const LogOnRefused& refused) {
      std::lock_guard lock(mutex_);
      refusedIntegrated_[integratedString] = refused.message();
      refusal = refused.message();
    }
  }
  if (user.empty()) throw LogOnRefused(*refusal);
  AttributeList withLogOn = given;
  withLogOn.erase(u"Trusted_Connection");
  withLogOn.set(u"UID", user);
  withLogOn.set(u"PWD", password);
  return confirmed(pooled(formatOdbc(withLogOn), password, description));
}

std::shared_ptr<odbc::Connection> ConnectionPool::pooled(const Text& connectionString, const Text& secret,
                                                       const Text& description) {
  {
    std::lock_guard lock(mutex_);
    auto found = pool_.find(connectionString);
    if (found != pool_.end())
      if (auto alive = found->second.lock()) return alive;
  }
  auto connection = odbc::Connection::open(connectionString, secret, description, logOnTimeoutSeconds_);
  std::lock_guard lock(mutex_);
  pool_[connectionString] = connection;
  return connection;
}

}  // namespace mervane::engine::data
