// The database server as the new-report construction sees it: log on to a
// server (Windows log-on first, the SQL login when that fails), find the
// company database by name, list its tables with their system flags, and
// disconnect.
//
// The ODBC implementation reaches the server through the data door: each
// log-on is the data source a new report's tables are added with
// (serverDataSource), which the connection resolver turns into
// an ODBC connection (a SQLite file, an ODBC data source, a SQL Server name). Every attempt to
// reach a server shares one allowance of the login time-out, so a server
// that does not answer costs the caller that long once, not once per
// attempt.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "base/attempt.h"
#include "base/text.h"
#include "components/data_source.h"

namespace mervane {

namespace engine::data {
class DatabaseCatalogue;
}

struct ServerTable {
  Text name;
  bool systemTable = false;
};

struct ServerDatabase {
  Text name;  // as the server reports it
  std::vector<ServerTable> tables;  // in the server's order
};

class DatabaseServer {
 public:
  virtual ~DatabaseServer() = default;
  virtual void setLoginTimeout(int seconds) = 0;
  // Each throws when the server refuses the log-on or cannot be reached.
  virtual void connectIntegrated(const Text& server) = 0;
  virtual void connectWithLogin(const Text& server, const Text& login, const Text& password) = 0;
  // The database of that name on the connected server; nothing when it is
  // not there. Throws when the server cannot be asked.
  virtual std::optional<ServerDatabase> findDatabase(const Text& name) = 0;
  virtual void disconnect() = 0;
};

// The server under the library's failure policy: a call that fails is
// skipped and nothing is raised. A log-on says whether it went through; a
// failed search finds nothing.
class ForgivingDatabaseServer {
 public:
  explicit ForgivingDatabaseServer(DatabaseServer& server) : server_(server) {}

  void setLoginTimeout(int seconds) noexcept { attempt([&] { server_.setLoginTimeout(seconds); }); }
  bool connectIntegrated(const Text& server) noexcept { return attempt([&] { server_.connectIntegrated(server); }); }
  bool connectWithLogin(const Text& server, const Text& login, const Text& password) noexcept {
    return attempt([&] { server_.connectWithLogin(server, login, password); });
  }
  std::optional<ServerDatabase> findDatabase(const Text& name) {
    return attemptOr(std::optional<ServerDatabase>(), [&] { return server_.findDatabase(name); });
  }
  void disconnect() noexcept { attempt([&] { server_.disconnect(); }); }

 private:
  DatabaseServer& server_;
};

class OdbcDatabaseServer final : public DatabaseServer {
 public:
  using Clock = std::chrono::steady_clock;
  // Opens a catalogue for a data source, waiting at most the given seconds
  // for the log-on; throws when it cannot.
  using Opener =
      std::function<std::unique_ptr<engine::data::DatabaseCatalogue>(const DataSource&, int)>;

  OdbcDatabaseServer();  // through engine::data::openCatalogue
  explicit OdbcDatabaseServer(Opener open);
  ~OdbcDatabaseServer() override;

  void setLoginTimeout(int seconds) override;
  void connectIntegrated(const Text& server) override;
  void connectWithLogin(const Text& server, const Text& login, const Text& password) override;
  std::optional<ServerDatabase> findDatabase(const Text& name) override;
  void disconnect() override;

 private:
  std::unique_ptr<engine::data::DatabaseCatalogue> open(const Text& database);
  void connect(const Text& server, std::optional<std::pair<Text, Text>> login);

  Opener open_;
  int timeoutSeconds_ = 15;
  std::optional<Clock::time_point> deadline_;  // of the attempts to reach the server
  bool connected_ = false;
  Text server_;
  std::optional<std::pair<Text, Text>> login_;  // login and password; none for Windows log-on
  std::unique_ptr<engine::data::DatabaseCatalogue> serverCatalogue_;
};

}  // namespace mervane
