// The ODBC side of the data door against real databases: the example
// company database in SQLite and the same tables in a private PostgreSQL
// server (make_fixture.sh). Rows and totals are checked against what the
// databases' own command-line clients say for the same question.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <thread>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "components/attribute_list.h"
#include "engine/data/catalogue.h"
#include "engine/data/odbc_data_provider.h"
#include "engine/export/xlsx_writer.h"
#include "engine/formula/formula.h"
#include "odbc_fixture.h"

namespace mervane::engine::data {
namespace {

using formula::Value;
using Op = model::SummaryOperation;
using namespace fixture;

std::string fixtureDir() {
  const char* dir = std::getenv("MERVANE_DATA_FIXTURE");
  return dir ? dir : "";
}

std::map<std::string, std::string> postgresEnv() {
  return mervane::testing::readPostgresEnv(fixtureDir() + "/postgres.env");
}

// What a command prints, one row per line, fields split at tabs.
std::vector<std::vector<std::string>> run(const std::string& command) {
  std::vector<std::vector<std::string>> rows;
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) return rows;
  std::string all;
  char buffer[65536];
  for (std::size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;) all.append(buffer, n);
  pclose(pipe);
  std::istringstream lines(all);
  for (std::string line; std::getline(lines, line);) {
    std::vector<std::string> fields;
    std::size_t start = 0;
    for (std::size_t tab; (tab = line.find('\t', start)) != std::string::npos; start = tab + 1)
      fields.push_back(line.substr(start, tab - start));
    fields.push_back(line.substr(start));
    rows.push_back(std::move(fields));
  }
  return rows;
}

std::string shellQuote(const std::string& s) {
  std::string out = "'";
  for (char c : s) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

// One database the tests run against: how the report reaches it, and its
// own client for the reference answers.
struct Database {
  std::string name;
  Text connection;     // the tables' connect text (no password)
  ServerLogOn logOn;   // the report's log-on
  std::string client;  // a shell command reading SQL on its standard input
};

Database sqliteDatabase() {
  std::string db = fixtureDir() + "/company.db";
  return {"SQLite", u"DRIVER=SQLite3;Database=" + fromUtf8(db), {},
          "sqlite3 -batch -noheader -separator '\t' -nullvalue '' " + shellQuote(db)};
}

Database postgresDatabase() {
  auto env = postgresEnv();
  Database d;
  d.name = "PostgreSQL";
  d.connection = postgresCompany(env);
  d.logOn = postgresLogOn(env);
  d.client = "PGPASSWORD=" + shellQuote(env["PG_PASSWORD"]) + " psql -X -q -At -F '\t' -h 127.0.0.1 -p " +
             env["PGPORT"] + " -U " + env["PG_PASSWORD_USER"] + " company";
  return d;
}

class OdbcData : public ::testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    if (fixtureDir().empty()) GTEST_SKIP() << "MERVANE_DATA_FIXTURE is not set";
    db_ = GetParam() == "SQLite" ? sqliteDatabase() : postgresDatabase();
    provider_ = createOdbcDataProvider({5});
  }

  // The company report: customers, their orders and order lines, grouped by
  // country, by line within a country.
  ReportDocument companyReport() {
    ReportDocument doc;
    auto& data = doc.definition.data;
    for (const char16_t* name : {u"Customers", u"Orders", u"Order Lines"}) data.tables.push_back(sqlTable(name, db_.connection));
    data.links.push_back({field(u"Customers", u"CustomerID"), field(u"Orders", u"CustomerID")});
    data.links.push_back({field(u"Orders", u"OrderID"), field(u"Order Lines", u"OrderID")});
    data.groups.push_back({field(u"Customers", u"Country")});
    data.sortFields.push_back({field(u"Order Lines", u"LineID")});
    doc.logOn = db_.logOn;
    return doc;
  }
  const std::vector<model::FieldRef> fields_{field(u"Customers", u"Name"), field(u"Customers", u"Country"),
                                             field(u"Orders", u"OrderID"), field(u"Order Lines", u"Amount")};
  static constexpr const char* kJoin =
      " FROM \"Customers\" c JOIN \"Orders\" o ON o.\"CustomerID\" = c.\"CustomerID\""
      " JOIN \"Order Lines\" l ON l.\"OrderID\" = o.\"OrderID\" ";

  static std::vector<std::vector<Value>> rows(ReportData& data, const std::vector<model::FieldRef>& fields,
                                              const std::vector<FieldMatch>& match = {}) {
    return allRows(data, fields, match);
  }

  std::vector<std::vector<std::string>> reference(const std::string& sql) {
    return run("echo " + shellQuote(sql) + " | " + db_.client);
  }

  static bool same(const Value& v, const std::string& text) {
    switch (v.kind()) {
      case formula::ValueKind::Null: return text.empty();
      case formula::ValueKind::Number: return !text.empty() && std::fabs(v.number() - std::stod(text)) < 1e-6;
      default: return toUtf8(formula::toText(v)) == text;
    }
  }

  void expectSameRows(const std::vector<std::vector<Value>>& ours, const std::vector<std::vector<std::string>>& theirs) {
    ASSERT_EQ(ours.size(), theirs.size());
    for (std::size_t r = 0; r < ours.size(); ++r) {
      ASSERT_EQ(ours[r].size(), theirs[r].size()) << "row " << r;
      for (std::size_t c = 0; c < ours[r].size(); ++c)
        ASSERT_TRUE(same(ours[r][c], theirs[r][c]))
            << "row " << r << " column " << c << ": " << toUtf8(formula::toText(ours[r][c])) << " vs " << theirs[r][c];
    }
  }

  Database db_;
  std::shared_ptr<DataProvider> provider_;
};

TEST_P(OdbcData, RowsComeInPrintingOrderAsTheDatabaseHasThem) {
  ReportDocument doc = companyReport();
  auto data = provider_->open(doc, doc.definition, u"");
  auto ours = rows(*data, fields_);
  EXPECT_EQ(ours.size(), 1000u);
  expectSameRows(ours, reference(std::string("SELECT c.\"Name\", c.\"Country\", o.\"OrderID\", l.\"Amount\"") + kJoin +
                                 "ORDER BY c.\"Country\", l.\"LineID\";"));
}

TEST_P(OdbcData, FiltersPushedDownOrNotSelectTheSameRecords) {
  struct Case {
    Text filter;
    std::string where;
  };
  std::vector<Case> cases{
      {u"{Order Lines.Quantity} > 10 and not IsNull({Orders.Status})", "l.\"Quantity\" > 10 AND o.\"Status\" IS NOT NULL"},
      {u"Len({Customers.Name}) > 14", "length(c.\"Name\") > 14"},
      {u"{Customers.City} = \"Łódź\" or Len({Customers.Name}) = 10",
       "c.\"City\" = 'Łódź' OR length(c.\"Name\") = 10"},
      {u"{Order Lines.Quantity} > 15 and Len({Customers.Name}) > 12", "l.\"Quantity\" > 15 AND length(c.\"Name\") > 12"},
      {u"{Orders.OrderID} < 0", "o.\"OrderID\" < 0"},
  };
  for (const Case& c : cases) {
    ReportDocument doc = companyReport();
    doc.definition.data.recordFilter = c.filter;
    auto data = provider_->open(doc, doc.definition, u"");
    SCOPED_TRACE(toUtf8(c.filter));
    expectSameRows(rows(*data, fields_),
                   reference(std::string("SELECT c.\"Name\", c.\"Country\", o.\"OrderID\", l.\"Amount\"") + kJoin +
                             "WHERE " + c.where + " ORDER BY c.\"Country\", l.\"LineID\";"));
    // Totals: from the database when the filter went down whole, counted
    // here otherwise; right either way.
    std::vector<SummaryRequest> requests{{field(u"Order Lines", u"Amount"), Op::Sum},
                                         {field(u"Order Lines", u"Amount"), Op::Average},
                                         {field(u"Order Lines", u"Amount"), Op::Count},
                                         {field(u"Customers", u"Country"), Op::DistinctCount},
                                         {field(u"Order Lines", u"Amount"), Op::Maximum},
                                         {field(u"Customers", u"Name"), Op::Minimum}};
    auto totals = data->summaries(requests, {});
    auto expected = reference(std::string("SELECT sum(l.\"Amount\"), avg(l.\"Amount\"), count(l.\"Amount\"), "
                                          "count(DISTINCT c.\"Country\"), max(l.\"Amount\"), min(c.\"Name\")") +
                              kJoin + "WHERE " + c.where + ";");
    ASSERT_EQ(expected.size(), 1u);
    for (std::size_t i = 0; i < totals.size(); ++i)
      EXPECT_TRUE(same(totals[i], expected[0][i]) || (expected[0][i].empty() && totals[i] == Value(0)))
          << i << ": " << toUtf8(formula::toText(totals[i])) << " vs " << expected[0][i];
  }
}

TEST_P(OdbcData, SubreportMatchesSelectTheLinkedRecords) {
  ReportDocument doc = companyReport();
  auto data = provider_->open(doc, doc.definition, u"");
  auto ours = rows(*data, fields_, {{field(u"Orders", u"CustomerID"), Value(17)}});
  expectSameRows(ours, reference(std::string("SELECT c.\"Name\", c.\"Country\", o.\"OrderID\", l.\"Amount\"") + kJoin +
                                 "WHERE o.\"CustomerID\" = 17 ORDER BY c.\"Country\", l.\"LineID\";"));
  auto byCity = data->summaries({{field(u"Order Lines", u"Amount"), Op::Count}},
                                {{field(u"Customers", u"City"), Value(u"Łódź")}});
  auto expected = reference(std::string("SELECT count(*)") + kJoin + "WHERE c.\"City\" = 'Łódź';");
  EXPECT_TRUE(same(byCity[0], expected.at(0).at(0)));
  EXPECT_TRUE(rows(*data, fields_, {{field(u"Customers", u"City"), Value()}}).empty());
}

TEST_P(OdbcData, AwkwardNamesNullsLongTextsAndInjectionsComeThroughIntact) {
  const Text table = u"Straße \"Ø\" 1";
  ReportDocument doc;
  doc.definition.data.tables.push_back(sqlTable(table, db_.connection));
  doc.definition.data.sortFields.push_back({field(table, u"Id")});
  doc.logOn = db_.logOn;
  auto data = provider_->open(doc, doc.definition, u"");
  auto all = rows(*data, {field(table, u"Id"), field(table, u"Näme mit Leerzeichen"), field(table, u"Quote\"d"),
                          field(table, u"Long Text"), field(table, u"Amount")});
  ASSERT_EQ(all.size(), 3u);
  ASSERT_EQ(all[0][3].kind(), formula::ValueKind::Text);
  EXPECT_EQ(all[0][3].text().size(), 1048576u);
  EXPECT_EQ(all[0][3].text().substr(0, 8), u"Ünïcödé ");
  EXPECT_EQ(all[0][3].text().back(), u' ');
  EXPECT_EQ(all[0][1], Value(u"Ärger"));
  EXPECT_EQ(all[0][2], Value(u"say \"hi\""));
  EXPECT_EQ(all[1], (std::vector<Value>{2, Value(), Value(), Value(), Value()}));
  EXPECT_EQ(all[2][1], Value(u"x'); DROP TABLE Customers; --"));

  doc.definition.data.recordFilter =
      formula::fieldReference(table, u"Näme mit Leerzeichen") + u" = \"x'); DROP TABLE Customers; --\"";
  auto filtered = provider_->open(doc, doc.definition, u"");
  auto one = rows(*filtered, {field(table, u"Id")});
  ASSERT_EQ(one.size(), 1u);
  EXPECT_EQ(one[0][0], Value(3));
  EXPECT_EQ(reference("SELECT count(*) FROM \"Customers\";").at(0).at(0), "200");

  ReportDocument empty;
  empty.definition.data.tables.push_back(sqlTable(u"Empty", db_.connection));
  empty.logOn = db_.logOn;
  auto none = provider_->open(empty, empty.definition, u"");
  EXPECT_TRUE(rows(*none, {field(u"Empty", u"Name")}).empty());
  auto totals = none->summaries({{field(u"Empty", u"Id"), Op::Sum}, {field(u"Empty", u"Id"), Op::Count}}, {});
  EXPECT_EQ(totals, (std::vector<Value>{Value(), Value(0)}));
}

TEST_P(OdbcData, MissingTablesAndFieldsAreErrorsInWords) {
  ReportDocument doc = companyReport();
  doc.definition.data.tables[1].location = u"Orders Gone";
  auto data = provider_->open(doc, doc.definition, u"");
  try {
    rows(*data, fields_);
    FAIL() << "no error";
  } catch (const DataError& e) {
    EXPECT_NE(e.message().find(u"Orders Gone"), Text::npos) << e.what();
  }
  ReportDocument other = companyReport();
  auto ok = provider_->open(other, other.definition, u"");
  EXPECT_THROW(rows(*ok, {field(u"Nowhere", u"X")}), DataError);
  EXPECT_THROW(rows(*ok, {field(u"Customers", u"No Such Column")}), DataError);
  other.definition.data.recordFilter = u"{Customers.Name} = ";
  EXPECT_THROW(provider_->open(other, other.definition, u""), DataError);
}

TEST_P(OdbcData, TextFilesJoinTheDatabasesRows) {
  std::string csv = ::testing::TempDir() + "regions-" + GetParam() + ".csv";
  std::ofstream(csv) << "Country,Region Name,Rank\nPL,\"Ost, Polen\",1\nDE,Mitte,2\nCH,Süd,3\n";
  ReportDocument doc = companyReport();
  model::Table regions;
  regions.alias = u"Regions";
  regions.type = model::DatabaseType::DelimitedTextFile;
  regions.location = fromUtf8(csv);
  doc.definition.data.tables.push_back(regions);
  doc.definition.data.links.push_back(
      {field(u"Customers", u"Country"), field(u"Regions", u"Country"), model::JoinType::LeftOuter});
  doc.definition.data.sortFields.insert(doc.definition.data.sortFields.begin(), {field(u"Regions", u"Rank")});
  doc.definition.data.recordFilter = u"{Regions.Rank} <= 2 or IsNull({Regions.Rank})";
  auto data = provider_->open(doc, doc.definition, u"");
  auto ours = rows(*data, {field(u"Customers", u"Name"), field(u"Orders", u"OrderID"), field(u"Regions", u"Region Name")});
  auto theirs = reference(std::string("SELECT c.\"Name\", o.\"OrderID\", CASE c.\"Country\" WHEN 'PL' THEN 'Ost, Polen' "
                                      "WHEN 'DE' THEN 'Mitte' ELSE '' END") + kJoin +
                          "WHERE c.\"Country\" <> 'CH' ORDER BY c.\"Country\", "
                          "CASE c.\"Country\" WHEN 'PL' THEN 1 WHEN 'DE' THEN 2 ELSE 0 END, l.\"LineID\";");
  expectSameRows(ours, theirs);

  // A text file as the report's only table.
  ReportDocument fileOnly;
  fileOnly.definition.data.tables.push_back(regions);
  fileOnly.definition.data.sortFields.push_back({field(u"Regions", u"Region Name"), model::SortDirection::Descending});
  auto file = provider_->open(fileOnly, fileOnly.definition, u"");
  auto names = rows(*file, {field(u"Regions", u"Region Name")});
  EXPECT_EQ(names, (std::vector<std::vector<Value>>{{u"Süd"}, {u"Ost, Polen"}, {u"Mitte"}}));
  EXPECT_EQ(file->summaries({{field(u"Regions", u"Rank"), Op::Sum}}, {}), (std::vector<Value>{6}));
}

TEST_P(OdbcData, GroupsOnFormulasAreOrderedByTheEngine) {
  ReportDocument doc = companyReport();
  doc.definition.formulas.push_back({u"Band", u"if {Order Lines.Quantity} > 10 then \"big\" else \"small\""});
  doc.definition.data.groups = {{field(u"", u"Band"), model::SortDirection::Descending}};
  auto data = provider_->open(doc, doc.definition, u"");
  expectSameRows(rows(*data, {field(u"Order Lines", u"LineID"), field(u"Order Lines", u"Quantity")}),
                 reference(std::string("SELECT l.\"LineID\", l.\"Quantity\"") + kJoin +
                           "ORDER BY CASE WHEN l.\"Quantity\" > 10 THEN 1 ELSE 0 END, l.\"LineID\";"));
  doc.definition.data.groups = {{field(u"", u"Missing")}};
  auto broken = provider_->open(doc, doc.definition, u"");
  EXPECT_THROW(rows(*broken, fields_), DataError);
}

TEST_P(OdbcData, TheCatalogueListsTablesColumnsAndKeys) {
  Text connect = db_.connection;
  if (GetParam() == "PostgreSQL") connect += u";UID=" + db_.logOn.user + u";PWD=" + odbcValue(db_.logOn.password);
  auto catalogue = openCatalogue(readDataSource(connect), 5);
  EXPECT_EQ(catalogue->databaseName(), u"company");
  auto tables = catalogue->tables();
  std::sort(tables.begin(), tables.end());
  EXPECT_EQ(tables, (std::vector<Text>{u"Customers", u"Empty", u"Order Lines", u"Orders", u"Products", u"Straße \"Ø\" 1"}));
  auto columns = catalogue->columns(u"Customers");
  ASSERT_EQ(columns.size(), 6u);
  EXPECT_EQ(columns[1].name, u"Name");
  EXPECT_EQ(columns[1].kind, formula::ValueKind::Text);
  EXPECT_EQ(columns[5].kind, formula::ValueKind::Number);
  EXPECT_EQ(catalogue->columns(u"Straße \"Ø\" 1")[2].name, u"Quote\"d");
  auto keys = catalogue->foreignKeys(u"Orders");
  ASSERT_EQ(keys.size(), 1u) << "the driver lists the keys of Orders";
  EXPECT_EQ(keys[0].column, u"CustomerID");
  EXPECT_EQ(keys[0].referencedTable, u"Customers");
}

// The Excel export of the data only, read back by openpyxl: every record,
// numbers as numbers and texts as texts, as the database has them.
TEST_P(OdbcData, ExcelDataOnlyHoldsTheDatabaseRowsTyped) {
  ReportDocument doc = companyReport();
  model::Section details;
  details.kind = model::SectionKind::Details;
  const model::FieldRef columns[] = {field(u"Customers", u"Name"), field(u"Customers", u"Country"),
                                     field(u"Orders", u"OrderID"), field(u"Order Lines", u"Amount")};
  for (int i = 0; i < 4; ++i) {
    model::ReportObject o;
    o.kind = model::ObjectKind::DatabaseField;
    o.field = columns[i];
    o.x = i * 2000;
    details.objects.push_back(o);
  }
  details.objects[3].format.numberFormat = u"#,##0.00";
  doc.definition.sections.push_back(details);
  const std::string path = ::testing::TempDir() + "data-only-" + GetParam() + ".xlsx";
  {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    ASSERT_TRUE(exporting::writeXlsxData(doc, *provider_, out, {}, {u"Lines"}));
  }
  std::map<std::string, std::vector<std::string>> cells;  // "A2": type, value
  for (auto& line : run("/usr/bin/python3 " MERVANE_XLSX_DUMP " " + shellQuote(path)))
    if (line.size() == 4) cells[line[0].substr(line[0].find('!') + 1)] = {line[1], line[2]};
  auto theirs = reference(std::string("SELECT c.\"Name\", c.\"Country\", o.\"OrderID\", l.\"Amount\"") + kJoin +
                          "ORDER BY c.\"Country\", l.\"LineID\"");
  ASSERT_GT(theirs.size(), 10u);
  EXPECT_EQ(cells["A1"], (std::vector<std::string>{"s", "Name"}));
  EXPECT_EQ(cells["D1"], (std::vector<std::string>{"s", "Amount"}));
  EXPECT_EQ(cells.count("A" + std::to_string(theirs.size() + 2)), 0u);
  for (std::size_t r = 0; r < theirs.size(); ++r) {
    const std::string row = std::to_string(r + 2);
    EXPECT_EQ(cells["A" + row], (std::vector<std::string>{"s", theirs[r][0]})) << row;
    EXPECT_EQ(cells["B" + row], (std::vector<std::string>{"s", theirs[r][1]})) << row;
    for (const char* column : {"C", "D"}) {
      const auto& cell = cells[column + row];
      ASSERT_EQ(cell.size(), 2u) << column << row;
      EXPECT_EQ(cell[0], "n") << column << row;
      EXPECT_NEAR(std::stod(cell[1]), std::stod(theirs[r][*column == 'C' ? 2 : 3]), 1e-9) << column << row;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Databases, OdbcData, ::testing::Values("SQLite", "PostgreSQL"),
                         [](const auto& info) { return info.param; });

// ---------------------------------------------------------------------------
// Log-on: integrated first, then the known log-on; refusals and dead servers.

class OdbcLogOn : public ::testing::Test {
 protected:
  void SetUp() override {
    if (fixtureDir().empty()) GTEST_SKIP() << "MERVANE_DATA_FIXTURE is not set";
    pg_ = postgresDatabase();
  }
  static ReportDocument customers(const Text& connection) {
    ReportDocument doc;
    doc.definition.data.tables.push_back(sqlTable(u"Customers", connection));
    return doc;
  }
  static std::size_t count(DataProvider& provider, const ReportDocument& doc) {
    return allRows(*provider.open(doc, doc.definition, u""), {field(u"Customers", u"Name")}).size();
  }
  Database pg_;
};

TEST_F(OdbcLogOn, IntegratedIsRefusedThenTheKnownLogOnIsUsed) {
  auto provider = createOdbcDataProvider({5});
  ReportDocument doc = customers(pg_.connection);
  EXPECT_THROW(provider->open(doc, doc.definition, u""), LogOnRefused);  // no log-on known
  doc.logOn = pg_.logOn;
  EXPECT_EQ(count(*provider, doc), 200u);

  // The table's own user with the password of its log-on.
  ReportDocument own = customers(pg_.connection + u";UID=" + pg_.logOn.user);
  own.definition.data.tables[0].logOn.password = pg_.logOn.password;
  EXPECT_EQ(count(*provider, own), 200u);

  // A role the server trusts: the user alone is enough.
  ReportDocument trusted = customers(pg_.connection + u";UID=mervane_trust");
  EXPECT_EQ(count(*provider, trusted), 200u);

  // The table's connection is read as it is, password and all, before the
  // report's log-on.
  ReportDocument given = customers(pg_.connection + u";UID=" + pg_.logOn.user + u";PWD=" + odbcValue(pg_.logOn.password));
  given.logOn = pg_.logOn;
  given.logOn.user = u"nobody";
  EXPECT_EQ(count(*provider, given), 200u);
}

TEST_F(OdbcLogOn, AWrongPasswordIsRefusedWithoutShowingIt) {
  auto provider = createOdbcDataProvider({5});
  ReportDocument doc = customers(pg_.connection);
  doc.logOn = pg_.logOn;
  doc.logOn.password = u"Wrong;Secret=42";
  try {
    provider->open(doc, doc.definition, u"");
    FAIL() << "no error";
  } catch (const LogOnRefused& e) {
    EXPECT_EQ(e.message().find(u"Wrong;Secret"), Text::npos) << e.what();
    EXPECT_NE(e.message().find(u"Customers"), Text::npos) << e.what();
  }
  EXPECT_THROW(openCatalogue(readDataSource(pg_.connection + u";UID=mervane_pw;PWD=Wrong"), 5), LogOnRefused);
}

TEST_F(OdbcLogOn, ADeadOrSilentServerIsAnErrorWithinTheTimeout) {
  // A port nobody listens on, and one that accepts but never answers.
  int closed = socket(AF_INET, SOCK_STREAM, 0), silent = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  ASSERT_EQ(bind(closed, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  getsockname(closed, reinterpret_cast<sockaddr*>(&address), &length);
  int closedPort = ntohs(address.sin_port);
  close(closed);
  address.sin_port = 0;
  ASSERT_EQ(bind(silent, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  listen(silent, 4);
  getsockname(silent, reinterpret_cast<sockaddr*>(&address), &length);
  int silentPort = ntohs(address.sin_port);

  auto provider = createOdbcDataProvider({2});
  for (int port : {closedPort, silentPort}) {
    ReportDocument doc = customers(u"DRIVER={PostgreSQL Unicode};SERVER=127.0.0.1;PORT=" + decimal(port) +
                                   u";DATABASE=company");
    doc.logOn = pg_.logOn;
    auto start = std::chrono::steady_clock::now();
    EXPECT_THROW(provider->open(doc, doc.definition, u""), DataError) << port;
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(8)) << port;
  }
  close(silent);

  ReportDocument missing = customers(u"DRIVER=SQLite3;Database=/nonexistent/folder/company.db");
  EXPECT_THROW(provider->open(missing, missing.definition, u""), DataError);
  ReportDocument nothing = customers(u"");
  EXPECT_THROW(provider->open(nothing, nothing.definition, u""), DataError);
}

}  // namespace
}  // namespace mervane::engine::data
