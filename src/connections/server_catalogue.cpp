// The database server through the data door's catalogue (see
// server_catalogue.h).
#include "connections/server_catalogue.h"

#include "engine/data/catalogue.h"

namespace mervane {

using engine::data::DatabaseCatalogue;
using engine::data::DataError;

Text integratedConnectionString(const Text& database, const Text& server) {
  return u"Provider=SQLOLEDB.1;Integrated Security=SSPI;Persist Security Info=False;Initial Catalog=" + database +
         u";Data Source=" + server;
}

Text loginConnectionString(const Text& login, const Text& password, const Text& database, const Text& server) {
  return u"Provider=SQLOLEDB.1;Password=" + password + u";Persist Security Info=True;User ID=" + login +
         u";Initial Catalog=" + database + u";Data Source=" + server;
}

OdbcDatabaseServer::OdbcDatabaseServer()
    : OdbcDatabaseServer([](const Text& text, int seconds) { return engine::data::openCatalogue(text, seconds); }) {}

OdbcDatabaseServer::OdbcDatabaseServer(Opener open) : open_(std::move(open)) {}

OdbcDatabaseServer::~OdbcDatabaseServer() = default;

void OdbcDatabaseServer::setLoginTimeout(int seconds) { timeoutSeconds_ = seconds; }

std::unique_ptr<DatabaseCatalogue> OdbcDatabaseServer::open(const Text& connectText) {
  if (timeoutSeconds_ <= 0) return open_(connectText, 0);  // no time-out asked for
  const Clock::time_point now = Clock::now();
  if (!deadline_) deadline_ = now + std::chrono::seconds(timeoutSeconds_);
  const auto left = std::chrono::ceil<std::chrono::seconds>(*deadline_ - now).count();
  if (left <= 0) throw DataError(u"The database server did not answer in time.");
  std::unique_ptr<DatabaseCatalogue> catalogue = open_(connectText, static_cast<int>(left));
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
  serverCatalogue_ = open(login_ ? loginConnectionString(login_->first, login_->second, Text(), server_)
                                 : integratedConnectionString(Text(), server_));
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
    other = open(login_ ? loginConnectionString(login_->first, login_->second, name, server_)
                        : integratedConnectionString(name, server_));
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
