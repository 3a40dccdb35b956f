// The database server through ODBC against the data tests' databases: the
// example company database in SQLite (with tables named with spaces, quotes
// and accents) and a private PostgreSQL server on which Windows log-on is
// refused for one data source and accepted for another. The tree the
// new-report construction fills from them, and the awkward settings a host
// may pass, each ending in a tree or an empty one, quickly. Also a report's
// company table re-pointed at those databases and read.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <map>
#include <set>

#include "authoring/new_report.h"
#include "engine/data/odbc_data_provider.h"
#include "engine/engine.h"
#include "connections/report_locations.h"
#include "connections/server_catalogue.h"
#include "../support/postgres_env.h"

namespace mervane {
namespace {

std::string fixtureDir() {
  const char* dir = std::getenv("MERVANE_DATA_FIXTURE");
  return dir ? dir : "";
}

std::map<std::string, std::string> postgresEnv() {
  return mervane::testing::readPostgresEnv(fixtureDir() + "/postgres.env");
}

// A chooser that keeps what it is given and answers Cancel.
struct RecordingChooser : TableChooser {
  std::vector<std::pair<Text, Text>>& added;  // (key or parent key, text)
  explicit RecordingChooser(std::vector<std::pair<Text, Text>>& a) : added(a) {}
  void addDataSetNode(const Text& key, const Text& caption) override { added.emplace_back(key, caption); }
  void addTableNode(const Text& parentKey, const Text& text) override { added.emplace_back(parentKey, text); }
  void showModal() override {}
  bool okSelected() override { return false; }
  std::vector<ChooserNodeState> nodes() override { return {}; }
};

struct QuietWindow : NewReportWindow {
  void setHourglass(bool) override {}
  void processMessages() override {}
  void createReport() override {}
  std::shared_ptr<EngineDatabase> reportDatabase() override { return nullptr; }
};

// The session's SQL settings.
struct Sql {
  Text server, database, login, password;
};

// The tree NewReport fills for these settings, and how long it took.
std::vector<std::pair<Text, Text>> chooserTree(const Sql& sql, std::chrono::milliseconds* took = nullptr) {
  std::vector<std::pair<Text, Text>> added;
  OdbcDatabaseServer server;
  QuietWindow window;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(buildNewReport(serverDataSource(sql.server, sql.database, sql.login, sql.password),
                              server, [&] { return std::make_unique<RecordingChooser>(added); }, window));
  if (took)
    *took = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
  return added;
}

// The data sources the tests name as servers, in an odbc.ini of their own:
// "company_sqlite" (the example database), and on the PostgreSQL server "pg_trust", which logs on without a
// password (Windows log-on works), and "pg_password", which has no user of
// its own, so Windows log-on is refused and the SQL login is needed.
class ServerCatalogueOdbcTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (fixtureDir().empty()) GTEST_SKIP() << "MERVANE_DATA_FIXTURE is not set";
    env_ = postgresEnv();
    const std::string ini = fixtureDir() + "/chooser-odbc.ini";
    std::ofstream out(ini);
    out << "[company_sqlite]\nDriver=SQLite3\nDatabase=" << fixtureDir() << "/company.db\n";
    for (const char* name : {"pg_trust", "pg_password"}) {
      out << "[" << name << "]\nDriver=PostgreSQL Unicode\nServername=127.0.0.1\nPort=" << env_["PGPORT"]
          << "\nDatabase=company\n";
      if (std::string(name) == "pg_trust") out << "Username=" << env_["PG_TRUST_USER"] << "\n";
    }
    out.close();
    setenv("ODBCINI", ini.c_str(), 1);
  }
  std::map<std::string, std::string> env_;
};

const std::vector<Text> kCompanyTables = {u"Customers", u"Products", u"Orders", u"Order Lines", u"Straße \"Ø\" 1",
                                          u"Empty"};

TEST_F(ServerCatalogueOdbcTest, SqliteDatabaseListsItsTablesInCreationOrder) {
  auto tree = chooserTree({u"company_sqlite", u"Company", u"", u""});
  ASSERT_EQ(tree.size(), 1 + kCompanyTables.size());
  // The database's own name (the file's), not the one asked for.
  EXPECT_EQ(tree[0], std::make_pair(Text(u"company"), Text(u"Current Data Set(company)")));
  for (std::size_t i = 0; i < kCompanyTables.size(); ++i) EXPECT_EQ(tree[i + 1].second, kCompanyTables[i]);
}

TEST_F(ServerCatalogueOdbcTest, AwkwardSettingsGiveAnEmptyTreeQuickly) {
  const Sql cases[] = {
      {u"", u"", u"", u""},
      {u"no-such-server.invalid", u"company", u"sa", u"x"},
      {u"company_sqlite", u"Other", u"sa", u"x"},
      {u"company_sqlite", u"com'pa\"ny", u"", u""},
      {u"company_sqlite", u"company;Driver=x", u"", u""},
      {u"company_sqlite", u"Société", u"", u""},
  };
  for (const Sql& sql : cases) {
    std::chrono::milliseconds took{};
    EXPECT_TRUE(chooserTree(sql, &took).empty()) << toUtf8(sql.server) << " / " << toUtf8(sql.database);
    EXPECT_LT(took.count(), 15000);
  }
  // A password of a thousand characters is only a password.
  Sql longPassword{u"company_sqlite", u"company", u"sa", Text(1000, u'p')};
  EXPECT_EQ(chooserTree(longPassword).size(), 1 + kCompanyTables.size());
}

// A company table made on another server, re-pointed at the session's data
// as the designer window does on opening, then read: its first customer's
// city, or why it cannot be read.
struct Settings {
  Text odbcName, userName, userPassword, sqlServer, sqlDatabase, sqlLogin, sqlPassword, sqlConnString;
};

Text firstCity(const Settings& given) {
  SessionSettings session;
  session.odbcServer = given.odbcName;
  session.userName = given.userName;
  session.userPassword = given.userPassword;
  session.sqlServer = given.sqlServer;
  session.sqlDatabase = given.sqlDatabase;
  session.sqlLogin = given.sqlLogin;
  session.sqlPassword = given.sqlPassword;
  session.sqlConnString = given.sqlConnString;
  engine::Engine engine(engine::EngineParts{nullptr, nullptr, {}});
  std::unique_ptr<engine::Report> report = engine.create();
  engine::ReportDocument& doc = report->document();
  engine::model::Table table;
  table.alias = table.location = u"Customers";
  table.logOn = {u"oldserver", u"oldcompany", u"olduser", {}, {}};
  table.connection = readDataSource(
      u"Provider=SQLOLEDB.1;Integrated Security=SSPI;Initial Catalog=oldcompany;Data Source=oldserver");
  doc.definition.data.tables.push_back(table);
  using engine::model::FieldRef;
  doc.definition.data.sortFields.push_back({FieldRef{u"Customers", u"CustomerID", {}}});
  setReportLocations(report.get(), readSessionData(session));
  try {
    auto data = engine::data::createOdbcDataProvider({5})->open(doc, doc.definition, u"");
    auto rows = data->rows({FieldRef{u"Customers", u"City", {}}}, {});
    std::vector<engine::formula::Value> row;
    return rows->next(row) ? row[0].text() : Text(u"no rows");
  } catch (const engine::data::DataError& e) {
    return e.message();
  }
}

// Without a connection string the table is reached through the session's
// server, database and log-on; the database the table is pointed at is the
// one it reads, whichever the connection string names.
TEST_F(ServerCatalogueOdbcTest, RepointedTableReadsTheSessionsDatabase) {
  const Text city = firstCity({u"Halyard", u"ana", u"pw", u"company_sqlite", u"company", u"sa", u"pw;1", u""});
  ASSERT_EQ(firstCity({u"Halyard", u"ana", u"pw", u"company_sqlite", u"company", u"", u"", u""}), city);
  EXPECT_FALSE(city.empty());
  EXPECT_EQ(city.find(u"connection"), Text::npos) << toUtf8(city);
  for (const Text& named : {logOnConnectText(u"company_sqlite", u"archive", u"", u""),
                           logOnConnectText(u"company_sqlite", u"company", u"", u""),
                           Text(u"Driver={SQLite3};Database=/nowhere/archive.db")})
    EXPECT_EQ(firstCity({u"Halyard", u"ana", u"pw", u"company_sqlite", u"company", u"", u"", named}), city);
  // Without a server, the file the connection string names is the database.
  const Text file = u"Driver={SQLite3};Database=" + fromUtf8(fixtureDir()) + u"/company.db";
  EXPECT_EQ(firstCity({u"Halyard", u"ana", u"pw", u"", u"Company DB", u"", u"", file}), city);
  // A database the data source does not hold cannot be read, as on a server.
  const Text missing = firstCity({u"Halyard", u"ana", u"pw", u"company_sqlite", u"archive", u"", u"", u""});
  EXPECT_NE(missing.find(u"no database 'archive'"), Text::npos) << toUtf8(missing);
}

class ServerCataloguePostgresTest : public ServerCatalogueOdbcTest {
 protected:
  void SetUp() override {
    ServerCatalogueOdbcTest::SetUp();
    if (!IsSkipped() && env_["PGPORT"].empty()) GTEST_SKIP() << "no PostgreSQL server in the fixture";
  }
};

TEST_F(ServerCataloguePostgresTest, WindowsLogOnWhereTheServerAcceptsItSqlLoginWhereNot) {
  auto trusted = chooserTree({u"pg_trust", u"company", u"", u""});
  ASSERT_EQ(trusted.size(), 1 + kCompanyTables.size());
  EXPECT_EQ(trusted[0].second, u"Current Data Set(company)");

  // Windows log-on refused: the SQL login lists the tables. In the server's
  // order (by name), the same tables.
  Sql sql{u"pg_password", u"company", fromUtf8(env_["PG_PASSWORD_USER"]), fromUtf8(env_["PG_PASSWORD"])};
  auto listed = chooserTree(sql);
  ASSERT_EQ(listed.size(), 1 + kCompanyTables.size());
  std::set<Text> names;
  for (std::size_t i = 1; i < listed.size(); ++i) names.insert(listed[i].second);
  EXPECT_EQ(names, std::set<Text>(kCompanyTables.begin(), kCompanyTables.end()));

  // The wrong password, or a database the server does not have: empty.
  for (Text wrong : {Text(u"wrong"), Text(1000, u'p')}) {
    sql.password = wrong;
    EXPECT_TRUE(chooserTree(sql).empty());
  }
  EXPECT_TRUE(chooserTree({u"pg_trust", u"nowhere", u"", u""}).empty());
}

TEST_F(ServerCataloguePostgresTest, ServerThatNeverAnswersCostsOneTimeOut) {
  // A port that takes connections and never says a word.
  const int listener = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), length), 0);
  ASSERT_EQ(listen(listener, 8), 0);
  getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length);
  {
    std::ofstream out(fixtureDir() + "/chooser-odbc.ini", std::ios::app);
    out << "[silent]\nDriver=PostgreSQL Unicode\nServername=127.0.0.1\nPort=" << ntohs(address.sin_port)
        << "\nDatabase=company\n";
  }
  OdbcDatabaseServer server;
  server.setLoginTimeout(2);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_ANY_THROW(server.connectIntegrated(u"silent"));
  EXPECT_ANY_THROW(server.connectWithLogin(u"silent", u"sa", u"x"));
  EXPECT_ANY_THROW(server.findDatabase(u"company"));
  const auto took = std::chrono::steady_clock::now() - start;
  EXPECT_GT(took, std::chrono::milliseconds(1500));
  EXPECT_LT(took, std::chrono::milliseconds(3500));
  close(listener);
}

}  // namespace
}  // namespace mervane
