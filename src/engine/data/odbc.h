// ODBC, as the data door uses it: handles that free themselves, a log-on with
// a time limit, statements with bound parameters, and rows read in blocks
// into formula values.
//
// Every failure becomes a DataError whose text is the driver's diagnostics
// in words; a refused log-on (SQLSTATE 28xxx or 08001) is a LogOnRefused.
// Drivers echo connection strings in their messages, so the password of a
// connection is cut out of every text before it leaves here.
//
// This header names no ODBC type: the handles are opaque, so callers never
// see sql.h (which on Windows needs windows.h).
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include "base/text.h"
#include "engine/data/catalogue.h"
#include "engine/data/connection_resolver.h"
#include "engine/formula/value.h"

namespace mervane::engine::data::odbc {

// One ODBC handle of the given type (SQL_HANDLE_ENV, _DBC, _STMT), freed on
// destruction.
class Handle {
 public:
  Handle() = default;
  Handle(short type, void* handle) : type_(type), handle_(handle) {}
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  Handle(Handle&& other) noexcept : type_(other.type_), handle_(other.handle_) { other.handle_ = nullptr; }
  Handle& operator=(Handle&& other) noexcept;
  ~Handle() { reset(); }
  void reset();
  void* get() const { return handle_; }
  short type() const { return type_; }

 private:
  short type_ = 0;
  void* handle_ = nullptr;
};

// The process's ODBC environment (ODBC 3 behaviour), made once.
void* environment();

// What this machine offers the resolver: its data sources (with their own
// database setting), its drivers and, under Wine, the drive mappings.
OdbcEnvironment gatherEnvironment();

// Column kinds as read from a result.
struct Column {
  Text name;
  short sqlType = 0;
  formula::ValueKind kind = formula::ValueKind::Text;
  Text typeName;
};

// The value kind for an ODBC SQL type.
formula::ValueKind kindOfSqlType(short sqlType);

class Connection;

// A statement that has run: its columns and its rows, read in blocks.
class Statement {
 public:
  ~Statement();
  const std::vector<Column>& columns() const { return columns_; }
  // The next row's values, one per column; false after the last.
  bool next(std::vector<formula::Value>& row);
  // Asks a fetch running on another thread to stop (SQLCancel).
  void cancel();

 private:
  friend class Connection;
  Statement(std::shared_ptr<Connection> connection, Handle handle);
  void prepareColumns();
  bool fetchBlock();
  void readCell(std::size_t row, std::size_t column, formula::Value& out);
  formula::Value getData(std::size_t column);

  std::shared_ptr<Connection> connection_;
  Handle statement_;
  std::vector<Column> columns_;
  struct Binding;
  std::vector<std::unique_ptr<Binding>> bindings_;
  bool bound_ = false;  // bound buffers of blockRows_ rows; otherwise SQLGetData row by row
  std::size_t blockRows_ = 0;
  std::size_t rowsInBlock_ = 0;
  std::size_t rowInBlock_ = 0;
  unsigned long long rowsFetched_ = 0;
  bool finished_ = false;
  std::atomic<bool> cancelled_{false};
};

// An open connection. Statements keep it alive.
class Connection : public std::enable_shared_from_this<Connection> {
 public:
  // Connects with `connectionString`, waiting at most `timeoutSeconds`.
  // `secret` (the password it holds) never appears in an error text;
  // `description` names the connection in errors. Throws LogOnRefused or
  // DataError.
  static std::shared_ptr<Connection> open(const Text& connectionString, const Text& secret, const Text& description,
                                          int timeoutSeconds);
  ~Connection();

  // The driver's identifier quote character; blank when it quotes nothing.
  Text identifierQuote();
  // The DBMS name, the database name (SQL_DATABASE_NAME) and the driver's name.
  Text dbmsName();
  Text databaseName();
  Text driverName();
  bool supportsForeignKeys();
  // Runs `sql` with its '?' bound to `parameters`. Throws DataError whose
  // text begins with `context`.
  std::unique_ptr<Statement> execute(const Text& sql, const std::vector<formula::Value>& parameters,
                                     const Text& context);
  // A catalogue call's result: SQLTables, SQLColumns, SQLForeignKeys.
  std::unique_ptr<Statement> tables(const Text& types);
  std::unique_ptr<Statement> columns(const Text& table);
  std::unique_ptr<Statement> foreignKeys(const Text& table);

  // The connection's secret cut out of a text.
  Text scrub(Text text) const;
  const Text& description() const { return description_; }
  void* handle() const { return connection_.get(); }

 private:
  friend class Statement;
  Connection() = default;
  Text info(unsigned short which);
  void newStatement(Handle& out);

  Handle connection_;
  Text secret_;
  Text description_;
  std::mutex mutex_;  // guards the cached quote
  Text quote_;
  bool quoteKnown_ = false;
  unsigned getDataExtensions_ = 0;
};

// The diagnostics of a handle, in words (the driver's messages joined).
Text diagnostics(short type, void* handle, Text* firstState = nullptr);

}  // namespace mervane::engine::data::odbc
