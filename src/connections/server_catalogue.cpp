// The database server through the data door's catalogue (see
// server_catalogue.h).
#include "connections/server_catalogue.h"

#include "engine/data/catalogue.h"

namespace mervane {

using engine::data::DatabaseCatalogue;
using engine::data::DataError;

OdbcDatabaseServer::OdbcDatabaseServer()
    : OdbcDatabaseServer([](const DataSource& source, int seconds) {
        return engine::data::openCatalogue(source, seconds);
      }) {}

OdbcDatabaseServer::OdbcDatabaseServer(Opener open) : open_(std::move(open)) {}

OdbcDatabaseServer::~OdbcDatabaseServer() = default;

void OdbcDatabaseServer::setLoginTimeout(int seconds) { timeoutSeconds_ = seconds; }

// The database on the server, with the log-on it was connected with.
std::unique_ptr<DatabaseCatalogue> OdbcDatabaseServer::open(const Text& database) {
  const DataSource source = login_
                                              ? serverDataSource(server_, database, login_->first,
                                                                               login_->second)
                                              : serverDataSource(server_, database, Text(), Text());
  if (timeoutSeconds_ <= 0) return open_(source, 0);  // no time-out asked for
  const Clock::time_point now = Clock::now();
  if (!deadline_) deadline_ = now + std::chrono::seconds(timeoutSeconds_);
  const auto left = std::chrono::ceil<std::chrono::seconds>(*deadline_ - now).count();
  if (left <= 0) throw DataError(u"The database server did not answer in time.");
  std::unique_ptr<DatabaseCatalogue> catalogue = open_(source, static_cast<int>(left));
  if (!catalogue) throw DataError(u"The database server gave no answer.");
  deadline_.reset();  // it answered: the next attempt has the whole time-out again
  return catalogue;
}

void OdbcDatabaseServer::connect(const Text& server, std::optional<std::pair<Text, Text>> login) {
  serverCatalogue_.reset();
  connected_ = false;
  server_ = server;
  login_ = std::move(login);
  // The server's own database: the log-on is checked here, as a server
  // connection would, before any database is asked for.
  serverCatalogue_ = open(Text());
  connected_ = true;
}

void OdbcDatabaseServer::connectIntegrated(const Text& server) { connect(server, std::nullopt); }

void OdbcDatabaseServer::connectWithLogin(const Text& server, const Text& login, const Text& password) {
  connect(server, std::make_pair(login, password));
}

std::optional<ServerDatabase> OdbcDatabaseServer::findDatabase(const Text& name) {
  if (!connected_) throw DataError(u"Not connected to a database server.");
  if (trim(name).empty()) return std::nullopt;
  std::unique_ptr<DatabaseCatalogue> other;
  DatabaseCatalogue* catalogue = serverCatalogue_.get();
  if (!equalsNoCase(catalogue->databaseName(), name)) {
    other = open(name);
    catalogue = other.get();
  }
  ServerDatabase database;
  database.name = catalogue->databaseName();
  if (database.name.empty()) database.name = name;
  // The catalogue lists user tables only: views, system tables and the
  // drivers' bookkeeping tables are left out there.
  for (Text& table : catalogue->tables()) database.tables.push_back(ServerTable{std::move(table), false});
  return database;
}

void OdbcDatabaseServer::disconnect() {
  serverCatalogue_.reset();
  connected_ = false;
  deadline_.reset();
}

}  // namespace mervane
