// The connections a report's SQL tables read through, for the ODBC data
// provider (odbc_data_provider.h says when each log-on is tried).
//
// A database that takes a log-on is tried first without one (integrated
// security); when it refuses and a user and password are known (the
// table's log-on, else the report's), again with them. Tables reaching the
// same connection string share one connection while anyone holds it. A
// refused integrated log-on is remembered for the pool's life: the next
// table, and the next run, go straight to the known log-on.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>

#include "engine/data/connection_resolver.h"
#include "engine/data/odbc.h"
#include "engine/document.h"

namespace mervane::engine::data {

class ConnectionPool {
 public:
  explicit ConnectionPool(int logOnTimeoutSeconds) : logOnTimeoutSeconds_(logOnTimeoutSeconds) {}

  // The connection of one SQL table of the document (main report or
  // subreport), read from its data source (table_connection.h) as it is.
  // Throws DataError (LogOnRefused for a refused log-on).
  std::shared_ptr<odbc::Connection> connect(const ReportDocument& document, const model::Table& table);

 private:
  const OdbcEnvironment& environment();
  std::shared_ptr<odbc::Connection> pooled(const Text& connectionString, const Text& secret, const Text& description);

  int logOnTimeoutSeconds_;
  std::mutex mutex_;
  std::optional<OdbcEnvironment> environment_;
  std::map<Text, std::weak_ptr<odbc::Connection>> pool_;  // by connection string
  std::map<Text, Text> refusedIntegrated_;                 // integrated connection string -> why
};

}  // namespace mervane::engine::data
