// Record filters pushed down to a real database (SQLite through its ODBC
// driver): an exact translation selects the very records the formula
// selects, an inexact one at least those, and hostile texts stay data.
#include <sql.h>
#include <sqlext.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <set>

#include "engine/formula/sql_filter.h"

namespace mervane::engine::formula {
namespace {

struct Row {
  int id;
  Value amount;
  Value name;
};

const Row kRows[] = {
    {1, Value(5), Value(u"apple")},     {2, Value(50), Value(u"Apple pie")},
    {3, Value(), Value(u"x'; DROP TABLE t; --")}, {4, Value(500), Value()},
    {5, Value(-5), Value(u"APPLE")},    {6, Value(0), Value(u"a_b%c")},
    {7, Value(50), Value(u"abc")},
};

// The table's name and the columns' names are hostile too.
const Text kTable = u"Ordres \"été\"";
const Text kAmount = u"Montant\"; --";
const Text kName = u"Nom";

class RowContext : public EvaluationContext {
 public:
  explicit RowContext(const Row& row) : row_(row) {}
  std::optional<Value> field(const Text& table, const Text& column) override {
    if (table != kTable) return std::nullopt;
    if (column == kAmount) return row_.amount;
    if (column == kName) return row_.name;
    return std::nullopt;
  }
  std::optional<Value> special(SpecialValue) override { return std::nullopt; }
  const Formula* formula(const Text&) override { return nullptr; }

 private:
  const Row& row_;
};

SQLWCHAR* wide(const Text& text) { return reinterpret_cast<SQLWCHAR*>(const_cast<char16_t*>(text.c_str())); }

Text quoted(const Text& name) {
  Text out = u"\"";
  for (char16_t c : name) out += c == u'"' ? Text(u"\"\"") : Text(1, c);
  return out + u"\"";
}

class SqliteFilter : public ::testing::Test {
 protected:
  void SetUp() override {
    path_ = ::testing::TempDir() + "formula_filter.sqlite";
    std::remove(path_.c_str());
    SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env_);
    SQLSetEnvAttr(env_, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    SQLAllocHandle(SQL_HANDLE_DBC, env_, &dbc_);
    Text connect = u"Driver=SQLite3;Database=" + fromUtf8(path_);
    SQLRETURN rc = SQLDriverConnectW(dbc_, nullptr, wide(connect), SQL_NTS, nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT);
    ASSERT_TRUE(SQL_SUCCEEDED(rc)) << "the SQLite3 ODBC driver is not installed";
    execute(u"CREATE TABLE " + quoted(kTable) + u" (id INTEGER, " + quoted(kAmount) + u" REAL, " + quoted(kName) +
            u" TEXT)");
    for (const Row& row : kRows) {
      execute(u"INSERT INTO " + quoted(kTable) + u" VALUES (" + decimal(row.id) + u", ?, ?)",
              {row.amount, row.name});
    }
  }
  void TearDown() override {
    SQLDisconnect(dbc_);
    SQLFreeHandle(SQL_HANDLE_DBC, dbc_);
    SQLFreeHandle(SQL_HANDLE_ENV, env_);
    std::remove(path_.c_str());
  }

  // Runs a statement with its parameters bound; the ids it selects, if any.
  std::set<int> execute(const Text& sql, const std::vector<Value>& parameters = {}) {
    SQLHSTMT statement = SQL_NULL_HSTMT;
    SQLAllocHandle(SQL_HANDLE_STMT, dbc_, &statement);
    std::vector<double> numbers(parameters.size());
    std::vector<SQLLEN> lengths(parameters.size());
    for (std::size_t i = 0; i < parameters.size(); ++i) {
      const Value& value = parameters[i];
      auto index = static_cast<SQLUSMALLINT>(i + 1);
      if (value.kind() == ValueKind::Text) {
        lengths[i] = static_cast<SQLLEN>(value.text().size() * sizeof(SQLWCHAR));
        SQLBindParameter(statement, index, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR, value.text().size() + 1, 0,
                         wide(value.text()), lengths[i], &lengths[i]);
      } else {
        numbers[i] = value.kind() == ValueKind::Number ? value.number()
                     : value.kind() == ValueKind::Boolean ? (value.boolean() ? 1 : 0) : 0;
        lengths[i] = value.isNull() ? SQL_NULL_DATA : 0;
        SQLBindParameter(statement, index, SQL_PARAM_INPUT, SQL_C_DOUBLE, SQL_DOUBLE, 0, 0, &numbers[i], 0,
                         &lengths[i]);
      }
    }
    SQLRETURN rc = SQLExecDirectW(statement, wide(sql), SQL_NTS);
    EXPECT_TRUE(SQL_SUCCEEDED(rc) || rc == SQL_NO_DATA) << toUtf8(sql);
    std::set<int> ids;
    SQLSMALLINT columns = 0;
    SQLNumResultCols(statement, &columns);
    while (columns > 0 && SQL_SUCCEEDED(SQLFetch(statement))) {
      SQLINTEGER id = 0;
      SQLLEN indicator = 0;
      SQLGetData(statement, 1, SQL_C_SLONG, &id, 0, &indicator);
      ids.insert(id);
    }
    SQLFreeHandle(SQL_HANDLE_STMT, statement);
    return ids;
  }

  std::string path_;
  SQLHENV env_ = SQL_NULL_HANDLE;
  SQLHDBC dbc_ = SQL_NULL_HANDLE;
};

TEST_F(SqliteFilter, DatabaseSelectsWhatTheFormulaSelects) {
  Text amount = fieldReference(kTable, kAmount), name = fieldReference(kTable, kName);
  const Text filters[] = {
      amount + u" > 10",
      u"not (" + amount + u" > 10)",
      amount + u" >= 0 and not IsNull(" + name + u")",
      u"not (" + amount + u" = 50 or IsNull(" + name + u"))",
      amount + u" <> null",
      name + u" = \"apple\"",
      name + u" = \"x'; DROP TABLE t; --\"",
      u"StartsWith(" + name + u", \"app\")",
      u"StartsWith(" + name + u", \"a_b%\") or StartsWith(" + name + u", \"x'\")",
      u"not (" + amount + u" < 0) or " + name + u" = \"abc\"",
      amount + u" > 1 and Len(" + name + u") > 4",
  };
  for (const Text& source : filters) {
    auto formula = Formula::parse(source);
    std::set<int> expected;
    for (const Row& row : kRows) {
      RowContext context(row);
      if (formula->selects(context)) expected.insert(row.id);
    }
    SqlFilter filter = toSqlFilter(*formula, SqlNaming{u"\""});
    ASSERT_FALSE(filter.where.empty()) << toUtf8(source);
    std::set<int> selected = execute(u"SELECT id FROM " + quoted(kTable) + u" WHERE " + filter.where, filter.parameters);
    if (filter.exact) {
      EXPECT_EQ(selected, expected) << toUtf8(source);
    } else {
      EXPECT_TRUE(std::includes(selected.begin(), selected.end(), expected.begin(), expected.end())) << toUtf8(source);
    }
  }
  EXPECT_EQ(execute(u"SELECT id FROM " + quoted(kTable)).size(), std::size(kRows));
}

}  // namespace
}  // namespace mervane::engine::formula
