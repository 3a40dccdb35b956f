// A database's tables, columns and foreign keys through ODBC's catalogue
// calls (see catalogue.h).
//
// Drivers differ in what they list: SQLite's lists its own bookkeeping
// tables (sqlite_sequence) as tables, so names starting with "sqlite_" are
// left out; PostgreSQL's lists the current schema's tables when no schema is
// named. Only tables typed TABLE are asked for, so views and system tables
// never appear.
#include "engine/data/catalogue.h"

#include <algorithm>

#include "engine/data/odbc.h"
#include "engine/data/odbc_api.h"

namespace mervane::engine::data {
namespace {

Text textAt(const std::vector<formula::Value>& row, std::size_t column) {
  if (column >= row.size() || row[column].kind() != formula::ValueKind::Text) return Text();
  return row[column].text();
}

std::int32_t numberAt(const std::vector<formula::Value>& row, std::size_t column) {
  if (column >= row.size() || row[column].kind() != formula::ValueKind::Number) return 0;
  const double n = row[column].number();
  return n > 0 && n < 1e9 ? static_cast<std::int32_t>(n) : 0;
}

// A column's size and decimals from what SQLColumns gives (COLUMN_SIZE and
// DECIMAL_DIGITS). Drivers differ for all but decimal types: integers are
// sized by their type, floating numbers by the 15 digits a double holds
// (the size they give is in bits for some), and texts of no fixed length
// have no size.
void sizeColumn(CatalogueColumn& column, short sqlType, std::int32_t size, std::int32_t decimals) {
  constexpr std::int32_t kLongestText = 8000;
  switch (sqlType) {
    case SQL_TINYINT: column.size = 3; return;
    case SQL_SMALLINT: column.size = 5; return;
    case SQL_INTEGER: column.size = 10; return;
    case SQL_BIGINT: column.size = 19; return;
    case SQL_REAL: case SQL_FLOAT: case SQL_DOUBLE: column.size = 15; return;
    case SQL_DECIMAL: case SQL_NUMERIC:
      column.size = size;
      column.decimals = size > 0 ? std::clamp(decimals, 0, size) : 0;
      return;
    case SQL_LONGVARCHAR: case SQL_WLONGVARCHAR: return;
    default:
      if (size <= kLongestText) column.size = size;
  }
}

class OdbcCatalogue final : public DatabaseCatalogue {
 public:
  OdbcCatalogue(std::shared_ptr<odbc::Connection> connection, OdbcConnection resolved)
      : connection_(std::move(connection)), resolved_(std::move(resolved)) {}

  Text databaseName() override {
    if (resolved_.family == DriverFamily::Sqlite && !resolved_.database.empty()) return resolved_.database;
    Text name = connection_->databaseName();
    return name.empty() ? resolved_.database : name;
  }

  std::vector<Text> tables() override {
    std::vector<Text> out;
    auto statement = connection_->tables(u"TABLE");
    std::vector<formula::Value> row;
    while (statement->next(row)) {
      Text name = textAt(row, 2), type = textAt(row, 3);
      if (name.empty() || !equalsNoCase(type, u"TABLE")) continue;
      if (resolved_.family == DriverFamily::Sqlite && upper(name).starts_with(u"SQLITE_")) continue;
      out.push_back(std::move(name));
    }
    return out;
  }

  std::vector<CatalogueColumn> columns(const Text& table) override {
    std::vector<CatalogueColumn> out;
    auto statement = connection_->columns(table);
    std::vector<formula::Value> row;
    while (statement->next(row)) {
      if (textAt(row, 2) != table) continue;
      CatalogueColumn column;
      column.name = textAt(row, 3);
      short type = row.size() > 4 && row[4].kind() == formula::ValueKind::Number
                       ? static_cast<short>(row[4].number())
                       : static_cast<short>(0);
      column.kind = odbc::kindOfSqlType(type);
      column.typeName = textAt(row, 5);
      sizeColumn(column, type, numberAt(row, 6), numberAt(row, 8));
      out.push_back(std::move(column));
    }
    return out;
  }

  std::vector<ForeignKey> foreignKeys(const Text& table) override {
    std::vector<ForeignKey> out;
    if (!connection_->supportsForeignKeys()) return out;
    std::unique_ptr<odbc::Statement> statement;
    try {
      statement = connection_->foreignKeys(table);
    } catch (const DataError&) {
      return out;  // the driver keeps no keys for this table
    }
    std::vector<formula::Value> row;
    while (statement->next(row)) {
      ForeignKey key{textAt(row, 6), textAt(row, 7), textAt(row, 2), textAt(row, 3)};
      if (key.table != table || key.column.empty()) continue;
      out.push_back(std::move(key));
    }
    return out;
  }

 private:
  std::shared_ptr<odbc::Connection> connection_;
  OdbcConnection resolved_;
};

}  // namespace

std::unique_ptr<DatabaseCatalogue> openCatalogue(const DataSource& source, int timeoutSeconds) {
  Resolution resolution = resolveConnection(source, odbc::gatherEnvironment());
  if (!resolution.ok()) throw DataError(resolution.error);
  OdbcConnection resolved = std::move(*resolution.connection);
  Text secret = resolved.attributes.get(u"PWD").value_or(Text());
  auto connection = odbc::Connection::open(resolved.connectionString(), secret,
                                           u"the database (" + resolved.redacted() + u")", timeoutSeconds);
  if (std::optional<Text> error = confirmDatabase(resolved, connection->databaseName())) throw DataError(*error);
  return std::make_unique<OdbcCatalogue>(std::move(connection), std::move(resolved));
}

}  // namespace mervane::engine::data
