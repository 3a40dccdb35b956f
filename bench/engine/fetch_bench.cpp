// How fast rows come out of the database: the ODBC driver alone (the bare
// driver calls, block fetch into bound buffers) against our RowCursor over
// the same query, the grouped company report (customers, orders and order
// lines, grouped by country, by line within it).
//
//   bench_fetch LABEL CONNECT_TEXT [USER PASSWORD]
//
// prints, for example,
//   fetch-all-ms sqlite 1000000: 1234 ms (first row 2 ms, 1000000 rows)
//   cursor-all-ms sqlite 1000000: 1500 ms (first row 3 ms, 1000000 rows)
#include <chrono>
#include <ctime>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "engine/data/connection_resolver.h"
#include "engine/data/odbc.h"
#include "engine/data/odbc_api.h"
#include "engine/data/odbc_data_provider.h"

using namespace mervane;
using namespace mervane::engine;
using Clock = std::chrono::steady_clock;

namespace {

double ms(Clock::duration d) { return std::chrono::duration<double, std::milli>(d).count(); }
// Processor time of this process (the driver runs in it), in ms: on a shared
// machine the wall clock also counts other people's work.
double cpuMs() { return 1000.0 * static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

const char16_t* kQuery =
    u"SELECT \"Customers\".\"Name\", \"Customers\".\"Country\", \"Orders\".\"OrderID\", \"Orders\".\"OrderDate\", "
    u"\"Order Lines\".\"Quantity\", \"Order Lines\".\"Amount\" FROM \"Customers\" AS \"Customers\" INNER JOIN "
    u"\"Orders\" AS \"Orders\" ON \"Customers\".\"CustomerID\" = \"Orders\".\"CustomerID\" INNER JOIN "
    u"\"Order Lines\" AS \"Order Lines\" ON \"Orders\".\"OrderID\" = \"Order Lines\".\"OrderID\" "
    u"ORDER BY \"Customers\".\"Country\" ASC, \"Order Lines\".\"LineID\" ASC";

// The bare driver: block fetch of 1,000 rows into column-wise bound buffers.
void driverAlone(const std::string& label, const Text& connectionString) {
  using namespace engine::data::odbc;
  SQLHDBC dbc = SQL_NULL_HANDLE;
  SQLAllocHandle(SQL_HANDLE_DBC, environment(), &dbc);
  Text text = connectionString;
  if (!succeeded(SQLDriverConnectW(dbc, nullptr, wide(text), SQL_NTS, nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT))) {
    std::printf("fetch-all-ms %s: cannot connect: %s\n", label.c_str(),
                toUtf8(diagnostics(SQL_HANDLE_DBC, dbc)).c_str());
    return;
  }
  SQLHSTMT stmt = SQL_NULL_HANDLE;
  SQLAllocHandle(SQL_HANDLE_STMT, dbc, &stmt);
  constexpr SQLULEN rows = 1000;
  SQLULEN fetched = 0;
  SQLSetStmtAttr(stmt, SQL_ATTR_ROW_ARRAY_SIZE, reinterpret_cast<SQLPOINTER>(rows), 0);
  SQLSetStmtAttr(stmt, SQL_ATTR_ROWS_FETCHED_PTR, &fetched, 0);
  auto start = Clock::now();
  double cpu = cpuMs();
  Text query = kQuery;
  if (!succeeded(SQLExecDirectW(stmt, wide(query), SQL_NTS))) {
    std::printf("fetch-all-ms %s: query failed: %s\n", label.c_str(),
                toUtf8(diagnostics(SQL_HANDLE_STMT, stmt)).c_str());
    return;
  }
  std::vector<SQLWCHAR> name(rows * 128), country(rows * 8), date(rows * 32);
  std::vector<double> order(rows), quantity(rows), amount(rows);
  std::vector<SQLLEN> ind(rows * 6);
  SQLBindCol(stmt, 1, SQL_C_WCHAR, name.data(), 128 * sizeof(SQLWCHAR), &ind[0]);
  SQLBindCol(stmt, 2, SQL_C_WCHAR, country.data(), 8 * sizeof(SQLWCHAR), &ind[rows]);
  SQLBindCol(stmt, 3, SQL_C_DOUBLE, order.data(), 0, &ind[2 * rows]);
  SQLBindCol(stmt, 4, SQL_C_WCHAR, date.data(), 32 * sizeof(SQLWCHAR), &ind[3 * rows]);
  SQLBindCol(stmt, 5, SQL_C_DOUBLE, quantity.data(), 0, &ind[4 * rows]);
  SQLBindCol(stmt, 6, SQL_C_DOUBLE, amount.data(), 0, &ind[5 * rows]);
  unsigned long long total = 0;
  double first = -1;
  while (succeeded(SQLFetchScroll(stmt, SQL_FETCH_NEXT, 0))) {
    if (first < 0) first = ms(Clock::now() - start);
    total += fetched;
  }
  double all = ms(Clock::now() - start);
  std::printf("fetch-all-ms %s: %.0f ms (first row %.1f ms, %llu rows, processor %.0f ms)\n", label.c_str(), all, first,
              total, cpuMs() - cpu);
  SQLFreeHandle(SQL_HANDLE_STMT, stmt);
  SQLDisconnect(dbc);
  SQLFreeHandle(SQL_HANDLE_DBC, dbc);
}

model::FieldRef field(const char16_t* table, const char16_t* column) {
  model::FieldRef f;
  f.table = table;
  f.column = column;
  return f;
}

// Our cursor over the same report.
void cursor(const std::string& label, const Text& connectText, const Text& user, const Text& password) {
  ReportDocument doc;
  auto& data = doc.definition.data;
  for (const char16_t* name : {u"Customers", u"Orders", u"Order Lines"}) {
    model::Table t;
    t.alias = t.location = name;
    t.connection = readDataSource(connectText);
    data.tables.push_back(t);
  }
  data.links.push_back({field(u"Customers", u"CustomerID"), field(u"Orders", u"CustomerID")});
  data.links.push_back({field(u"Orders", u"OrderID"), field(u"Order Lines", u"OrderID")});
  data.groups.push_back({field(u"Customers", u"Country")});
  data.sortFields.push_back({field(u"Order Lines", u"LineID")});
  doc.logOn.user = user;
  doc.logOn.password = password;
  doc.logOn.given = !user.empty();
  try {
    auto provider = engine::data::createOdbcDataProvider();
    auto reportData = provider->open(doc, doc.definition, u"");
    auto start = Clock::now();
    double cpu = cpuMs();
    auto rows = reportData->rows({field(u"Customers", u"Name"), field(u"Customers", u"Country"),
                                  field(u"Orders", u"OrderID"), field(u"Orders", u"OrderDate"),
                                  field(u"Order Lines", u"Quantity"), field(u"Order Lines", u"Amount")},
                                 {});
    std::vector<formula::Value> row;
    unsigned long long total = 0;
    double first = -1;
    while (rows->next(row)) {
      if (first < 0) first = ms(Clock::now() - start);
      ++total;
    }
    double all = ms(Clock::now() - start);
    std::printf("cursor-all-ms %s: %.0f ms (first row %.1f ms, %llu rows, processor %.0f ms)\n", label.c_str(), all,
                first, total, cpuMs() - cpu);
  } catch (const engine::data::DataError& e) {
    std::printf("cursor-all-ms %s: %s\n", label.c_str(), e.what());
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: bench_fetch LABEL CONNECT_TEXT [USER PASSWORD]\n");
    return 2;
  }
  std::string label = argv[1];
  Text connectText = fromUtf8(argv[2]);
  Text user = argc > 3 ? fromUtf8(argv[3]) : Text(), password = argc > 4 ? fromUtf8(argv[4]) : Text();
  engine::data::Resolution r = engine::data::resolveConnection(connectText, engine::data::odbc::gatherEnvironment());
  if (!r.ok()) {
    std::fprintf(stderr, "%s\n", toUtf8(r.error).c_str());
    return 1;
  }
  AttributeList attributes = r.connection->attributes;
  if (!user.empty()) {
    attributes.set(u"UID", user);
    attributes.set(u"PWD", password);
  }
  driverAlone(label, formatOdbc(attributes));
  cursor(label, connectText, user, password);
  return 0;
}
