// What a database holds, read through ODBC's catalogue calls: its tables,
// their columns and foreign keys. The table chooser lists the tables, the
// designer's field list the columns, and a new report links its tables by
// the foreign keys.
#pragma once

#include <memory>
#include <vector>

#include "base/text.h"
#include "engine/data/report_data.h"
#include "engine/formula/value.h"

namespace mervane::engine::data {

struct CatalogueColumn {
  Text name;
  formula::ValueKind kind = formula::ValueKind::Text;  // how the engine reads it
  Text typeName;                                       // as the database names it
  // The longest value as characters: the declared length of a text, the
  // digits of a number (`decimals` of them after the point), the length of
  // a date written out (more than 10 when it holds a time). 0 when the
  // database does not say, or a text has no limit.
  std::int32_t size = 0;
  std::int32_t decimals = 0;
};

struct ForeignKey {
  Text table;  // the table that holds the key
  Text column;
  Text referencedTable;
  Text referencedColumn;
};

class DatabaseCatalogue {
 public:
  virtual ~DatabaseCatalogue() = default;
  // The database's own name, as its connection reports it (for SQLite the
  // file's base name).
  virtual Text databaseName() = 0;
  // User tables in the order the database lists them: no views, no system
  // tables, no driver bookkeeping tables.
  virtual std::vector<Text> tables() = 0;
  virtual std::vector<CatalogueColumn> columns(const Text& table) = 0;
  // The keys of `table` that refer to other tables; empty where the driver
  // does not report them.
  virtual std::vector<ForeignKey> foreignKeys(const Text& table) = 0;
};

// Connects to the database that `connection` names, waiting at most
// `timeoutSeconds` for the log-on.
// Throws DataError (a refused log-on says so, so that the caller can try
// another one).
std::unique_ptr<DatabaseCatalogue> openCatalogue(const DataSource& connection, int timeoutSeconds = 15);

// The refusal of a log-on, as opposed to any other failure.
class LogOnRefused : public DataError {
 public:
  using DataError::DataError;
};

}  // namespace mervane::engine::data
