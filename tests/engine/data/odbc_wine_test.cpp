// The data door from a Windows program under Wine: the drivers run on the
// Unix side, so a SQLite file named by its Windows path must reach the
// driver as a Unix path, and PostgreSQL's log-on fallback must work the same.
// Argument 1: the data fixture's folder (make_fixture.sh), as a Windows path.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>

#include "components/attribute_list.h"
#include "engine/data/catalogue.h"
#include "engine/data/odbc.h"
#include "engine/data/odbc_data_provider.h"
#include "odbc_fixture.h"

namespace mervane::engine::data {
namespace {

using formula::Value;
using namespace fixture;

std::string g_fixture;

std::map<std::string, std::string> postgresEnv() {
  return mervane::testing::readPostgresEnv(g_fixture + "\\postgres.env");
}

ReportDocument customers(const Text& connection) {
  ReportDocument doc;
  doc.definition.data.tables.push_back(sqlTable(u"Customers", connection));
  doc.definition.data.sortFields.push_back({field(u"Customers", u"CustomerID")});
  return doc;
}

std::vector<std::vector<Value>> rows(const ReportDocument& doc) {
  auto data = createOdbcDataProvider({5})->open(doc, doc.definition, u"");
  return allRows(*data, {field(u"Customers", u"CustomerID"), field(u"Customers", u"City")});
}

TEST(OdbcUnderWine, SeesTheDriversAndTheDriveMappings) {
  OdbcEnvironment env = odbc::gatherEnvironment();
  EXPECT_NE(std::find(env.drivers.begin(), env.drivers.end(), u"SQLite3"), env.drivers.end());
  auto z = std::find_if(env.unixDrives.begin(), env.unixDrives.end(), [](const DriveMapping& d) { return d.letter == u'Z'; });
  ASSERT_NE(z, env.unixDrives.end()) << "Wine maps Z: to the Unix root";
  EXPECT_EQ(z->unixRoot.front(), u'/');
}

TEST(OdbcUnderWine, ReadsASqliteFileNamedByItsWindowsPath) {
  Text path = fromUtf8(g_fixture + "\\company.db");
  auto all = rows(customers(u"DRIVER=SQLite3;Database=" + path));
  ASSERT_EQ(all.size(), 200u);
  EXPECT_EQ(all[0][0], Value(1));
  auto catalogue = openCatalogue(readDataSource(u"Provider=SQLOLEDB.1;Data Source=" + path + u";Initial Catalog=company"), 5);
  EXPECT_EQ(catalogue->tables().size(), 6u);
  EXPECT_THROW(rows(customers(u"DRIVER=SQLite3;Database=" + fromUtf8(g_fixture + "\\missing.db"))), DataError);
}

TEST(OdbcUnderWine, PostgresLogOnFallsBackToTheKnownLogOn) {
  auto env = postgresEnv();
  ASSERT_FALSE(env["PGPORT"].empty());
  ReportDocument doc = customers(postgresCompany(env));
  EXPECT_THROW(rows(doc), LogOnRefused);
  doc.logOn = postgresLogOn(env);
  auto all = rows(doc);
  ASSERT_EQ(all.size(), 200u);
  EXPECT_EQ(all[1][1], Value(u"Göteborg"));
}

// A company table re-pointed without a connection string at "Halyard", a
// SQLite data source of the tests' odbc.ini whose file Wine does not show:
// the database it is pointed at is checked once connected.
TEST(OdbcUnderWine, RepointedTableOnASqliteDataSourceReadsOnlyItsDatabase) {
  for (const char16_t* database : {u"HALYARD", u"archive"}) {
    ReportDocument doc;
    model::Table t = sqlTable(u"Users");
    t.logOn = {u"Halyard", database, u"sa", {}, {}};
    t.subLocation = database;
    doc.definition.data.tables.push_back(t);
    auto read = [&] {
      auto data = createOdbcDataProvider({5})->open(doc, doc.definition, u"");
      auto cursor = data->rows({field(u"Users", u"Login")}, {});
      std::vector<Value> row;
      return cursor->next(row);
    };
    if (database == Text(u"archive"))
      EXPECT_THROW(read(), DataError);
    else
      EXPECT_TRUE(read());
  }
}

}  // namespace
}  // namespace mervane::engine::data

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  if (argc > 1) mervane::engine::data::g_fixture = argv[1];
  return RUN_ALL_TESTS();
}
