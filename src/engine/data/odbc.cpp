// ODBC handles, log-on, statements and block fetch (see odbc.h).
//
// Rows are read into column-wise bound buffers, in blocks when the driver
// can re-read a cell of a block (SQL_GD_BLOCK), one row at a time when it
// can re-read only a bound cell (SQL_GD_BOUND): a text longer than its
// buffer is then fetched whole with SQLGetData (after SQLSetPos in a block).
// Drivers that can do neither are read row by row with SQLGetData alone.
#include "engine/data/odbc.h"

#include <algorithm>
#include <cstring>

#include "engine/data/odbc_api.h"

namespace mervane::engine::data::odbc {
namespace {

constexpr SQLULEN kBlockRows = 512;
constexpr std::size_t kTextChars = 256;  // bound text buffer, in UTF-16 code units (without the NUL)

bool refusedState(const Text& state) {
  return state.starts_with(u"28") || state == u"08001";
}

formula::DateTime toDate(const SQL_TIMESTAMP_STRUCT& t) {
  double days = static_cast<double>(formula::dayNumber(t.year, t.month, t.day));
  double seconds = t.hour * 3600.0 + t.minute * 60.0 + t.second + t.fraction / 1e9;
  return formula::DateTime{days + seconds / 86400.0};
}

}  // namespace

// ---------------------------------------------------------------------------
// Handles and diagnostics

Handle& Handle::operator=(Handle&& other) noexcept {
  if (this != &other) {
    reset();
    type_ = other.type_;
    handle_ = other.handle_;
    other.handle_ = nullptr;
  }
  return *this;
}

void Handle::reset() {
  if (!handle_) return;
  if (type_ == SQL_HANDLE_DBC) SQLDisconnect(handle_);
  SQLFreeHandle(type_, handle_);
  handle_ = nullptr;
}

void* environment() {
  static Handle env = [] {
    SQLHANDLE h = SQL_NULL_HANDLE;
    if (!succeeded(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &h))) return Handle();
    SQLSetEnvAttr(h, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(static_cast<std::intptr_t>(SQL_OV_ODBC3)), 0);
    return Handle(SQL_HANDLE_ENV, h);
  }();
  if (!env.get()) throw DataError(u"The ODBC driver manager cannot be started on this machine.");
  return env.get();
}

Text diagnostics(short type, void* handle, Text* firstState) {
  Text out;
  for (SQLSMALLINT record = 1; record <= 8; ++record) {
    SQLWCHAR state[6] = {};
    SQLINTEGER native = 0;
    SQLWCHAR message[1024] = {};
    SQLSMALLINT length = 0;
    SQLRETURN rc = SQLGetDiagRecW(type, handle, record, state, &native, message, 1024, &length);
    if (!succeeded(rc)) break;
    Text stateText(reinterpret_cast<const char16_t*>(state), 5);
    if (record == 1 && firstState) *firstState = stateText;
    Text text = trim(Text(reinterpret_cast<const char16_t*>(message)));
    // Driver managers and drivers prefix their names in brackets: keep the words.
    while (text.starts_with(u"[")) {
      std::size_t close = text.find(u']');
      if (close == Text::npos) break;
      text = trim(TextView(text).substr(close + 1));
    }
    if (text.empty() || out.find(text) != Text::npos) continue;
    if (!out.empty()) out += u" ";
    out += text;
    if (!out.empty() && out.back() != u'.') out += u".";
  }
  return out.empty() ? Text(u"The driver gave no reason.") : out;
}

// ---------------------------------------------------------------------------
// Environment

OdbcEnvironment gatherEnvironment() {
  OdbcEnvironment result;
  void* env = environment();
  SQLUSMALLINT direction = SQL_FETCH_FIRST;
  for (;;) {
    SQLWCHAR name[SQL_MAX_DSN_LENGTH + 1] = {}, driver[512] = {};
    SQLSMALLINT nameLength = 0, driverLength = 0;
    SQLRETURN rc = SQLDataSourcesW(env, direction, name, SQL_MAX_DSN_LENGTH + 1, &nameLength, driver, 512, &driverLength);
    if (!succeeded(rc)) break;
    direction = SQL_FETCH_NEXT;
    DataSourceEntry entry{Text(reinterpret_cast<const char16_t*>(name)), Text(reinterpret_cast<const char16_t*>(driver)),
                          Text()};
    SQLWCHAR database[1024] = {};
    Text key = u"Database", none;
    SQLGetPrivateProfileStringW(wide(entry.name), wide(key), wide(none), database, 1024, wide(Text(u"odbc.ini")));
    entry.database = Text(reinterpret_cast<const char16_t*>(database));
    result.dataSources.push_back(std::move(entry));
  }
  direction = SQL_FETCH_FIRST;
  for (;;) {
    SQLWCHAR driver[512] = {}, attributes[2048] = {};
    SQLSMALLINT driverLength = 0, attributesLength = 0;
    SQLRETURN rc = SQLDriversW(env, direction, driver, 512, &driverLength, attributes, 2048, &attributesLength);
    if (!succeeded(rc)) break;
    direction = SQL_FETCH_NEXT;
    result.drivers.emplace_back(reinterpret_cast<const char16_t*>(driver));
  }
#ifdef _WIN32
  // Under Wine the drivers run on the Unix side and need Unix paths.
  HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
  HMODULE kernel = GetModuleHandleW(L"kernel32.dll");
  if (ntdll && kernel && GetProcAddress(ntdll, "wine_get_version")) {
    using UnixName = char*(CDECL*)(LPCWSTR);
    auto unixName = reinterpret_cast<UnixName>(reinterpret_cast<void*>(GetProcAddress(kernel, "wine_get_unix_file_name")));
    // One question for the drives there are: asking each letter's type
    // costs Wine a look at the file system per letter.
    const DWORD drives = GetLogicalDrives();
    for (wchar_t letter = L'A'; unixName && letter <= L'Z'; ++letter) {
      if (!(drives & (1u << (letter - L'A')))) continue;
      wchar_t root[] = {letter, L':', L'\\', 0};
      char* path = unixName(root);
      if (!path) continue;
      result.unixDrives.push_back(DriveMapping{static_cast<char16_t>(letter), fromUtf8(path)});
      HeapFree(GetProcessHeap(), 0, path);
    }
  }
#endif
  return result;
}

formula::ValueKind kindOfSqlType(short sqlType) {
  switch (sqlType) {
    case SQL_DECIMAL: case SQL_NUMERIC: case SQL_SMALLINT: case SQL_INTEGER: case SQL_REAL: case SQL_FLOAT:
    case SQL_DOUBLE: case SQL_TINYINT: case SQL_BIGINT:
      return formula::ValueKind::Number;
    case SQL_BIT:
      return formula::ValueKind::Boolean;
    case SQL_TYPE_DATE: case SQL_TYPE_TIMESTAMP: case SQL_DATE: case SQL_TIMESTAMP:
      return formula::ValueKind::Date;
    default:
      return formula::ValueKind::Text;
  }
}

// ---------------------------------------------------------------------------
// Connection

std::shared_ptr<Connection> Connection::open(const Text& connectionString, const Text& secret, const Text& description,
                                             int timeoutSeconds) {
  std::shared_ptr<Connection> c(new Connection());
  c->secret_ = secret;
  c->description_ = description;
  SQLHANDLE dbc = SQL_NULL_HANDLE;
  if (!succeeded(SQLAllocHandle(SQL_HANDLE_DBC, environment(), &dbc)))
    throw DataError(u"Cannot connect to " + description + u": the driver manager has no room for another connection.");
  c->connection_ = Handle(SQL_HANDLE_DBC, dbc);
  SQLSetConnectAttrW(dbc, SQL_ATTR_LOGIN_TIMEOUT,
                     reinterpret_cast<SQLPOINTER>(static_cast<std::intptr_t>(std::max(1, timeoutSeconds))), 0);
  SQLWCHAR out[2048] = {};
  SQLSMALLINT outLength = 0;
  SQLRETURN rc = SQLDriverConnectW(dbc, nullptr, wide(connectionString), SQL_NTS, out, 2048, &outLength,
                                   SQL_DRIVER_NOPROMPT);
  std::memset(out, 0, sizeof out);  // the completed string holds the password
  if (!succeeded(rc)) {
    Text state;
    Text why = c->scrub(diagnostics(SQL_HANDLE_DBC, dbc, &state));
    // Freed here, once: the handle's owner lets go of it (a disconnect of a
    // handle that never connected is refused and harmless).
    c->connection_ = Handle();
    Text message = u"Cannot connect to " + description + u": " + why;
    if (refusedState(state)) throw LogOnRefused(message);
    throw DataError(message);
  }
  SQLUINTEGER extensions = 0;
  SQLGetInfoW(dbc, SQL_GETDATA_EXTENSIONS, &extensions, sizeof extensions, nullptr);
  c->getDataExtensions_ = extensions;
  return c;
}

Connection::~Connection() = default;

Text Connection::scrub(Text text) const {
  if (secret_.size() >= 2) {
    for (std::size_t at = text.find(secret_); at != Text::npos; at = text.find(secret_, at + 4)) text.replace(at, secret_.size(), u"****");
  }
  // "PWD=..." as drivers echo it.
  for (TextView key : {TextView(u"PWD="), TextView(u"Password=")}) {
    Text upperText = upper(text), upperKey = upper(key);
    for (std::size_t at = upperText.find(upperKey); at != Text::npos; at = upperText.find(upperKey, at + 1)) {
      std::size_t start = at + key.size();
      std::size_t end = text.find(u';', start);
      if (end == Text::npos) end = text.size();
      text.replace(start, end - start, u"****");
      upperText = upper(text);
    }
  }
  return text;
}

Text Connection::info(unsigned short which) {
  SQLWCHAR buffer[512] = {};
  SQLSMALLINT length = 0;
  if (!succeeded(SQLGetInfoW(connection_.get(), which, buffer, sizeof buffer, &length))) return Text();
  return Text(reinterpret_cast<const char16_t*>(buffer));
}

Text Connection::identifierQuote() {
  std::lock_guard lock(mutex_);
  if (!quoteKnown_) {
    quote_ = info(SQL_IDENTIFIER_QUOTE_CHAR);
    quoteKnown_ = true;
  }
  return quote_;
}

Text Connection::dbmsName() { return info(SQL_DBMS_NAME); }
Text Connection::databaseName() { return info(SQL_DATABASE_NAME); }
Text Connection::driverName() { return info(SQL_DRIVER_NAME); }

bool Connection::supportsForeignKeys() {
  SQLUSMALLINT supported = SQL_FALSE;
  return succeeded(SQLGetFunctions(connection_.get(), SQL_API_SQLFOREIGNKEYS, &supported)) && supported == SQL_TRUE;
}

void Connection::newStatement(Handle& out) {
  SQLHANDLE stmt = SQL_NULL_HANDLE;
  if (!succeeded(SQLAllocHandle(SQL_HANDLE_STMT, connection_.get(), &stmt)))
    throw DataError(u"The connection to " + description_ + u" can take no further query: " +
                    scrub(diagnostics(SQL_HANDLE_DBC, connection_.get())));
  out = Handle(SQL_HANDLE_STMT, stmt);
}

namespace {

// Parameter values kept alive while the statement runs.
struct ParameterBuffer {
  double number = 0;
  unsigned char bit = 0;
  SQL_TIMESTAMP_STRUCT timestamp{};
  SQL_DATE_STRUCT date{};
  Text text;
  SQLLEN indicator = 0;
};

void bindParameters(SQLHANDLE stmt, const std::vector<formula::Value>& parameters,
                    std::vector<ParameterBuffer>& buffers) {
  buffers.resize(parameters.size());
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    const formula::Value& v = parameters[i];
    ParameterBuffer& b = buffers[i];
    SQLUSMALLINT number = static_cast<SQLUSMALLINT>(i + 1);
    SQLRETURN rc = SQL_ERROR;
    switch (v.kind()) {
      case formula::ValueKind::Number:
        b.number = v.number();
        rc = SQLBindParameter(stmt, number, SQL_PARAM_INPUT, SQL_C_DOUBLE, SQL_DOUBLE, 15, 0, &b.number, 0, nullptr);
        break;
      case formula::ValueKind::Boolean:
        b.bit = v.boolean() ? 1 : 0;
        rc = SQLBindParameter(stmt, number, SQL_PARAM_INPUT, SQL_C_BIT, SQL_BIT, 1, 0, &b.bit, 0, nullptr);
        break;
      case formula::ValueKind::Date: {
        formula::CivilTime t = formula::civil(v.date());
        if (t.hour == 0 && t.minute == 0 && t.second == 0) {
          // A day goes as a date: a database keeping its dates as texts
          // ("2026-03-01") then compares a day with a day, not with that
          // day's midnight written out (which sorts after it).
          b.date = SQL_DATE_STRUCT{static_cast<SQLSMALLINT>(t.year), static_cast<SQLUSMALLINT>(t.month),
                                   static_cast<SQLUSMALLINT>(t.day)};
          rc = SQLBindParameter(stmt, number, SQL_PARAM_INPUT, SQL_C_TYPE_DATE, SQL_TYPE_DATE, 10, 0, &b.date, 0,
                                nullptr);
          break;
        }
        b.timestamp = SQL_TIMESTAMP_STRUCT{static_cast<SQLSMALLINT>(t.year), static_cast<SQLUSMALLINT>(t.month),
                                           static_cast<SQLUSMALLINT>(t.day), static_cast<SQLUSMALLINT>(t.hour),
                                           static_cast<SQLUSMALLINT>(t.minute), static_cast<SQLUSMALLINT>(t.second), 0};
        rc = SQLBindParameter(stmt, number, SQL_PARAM_INPUT, SQL_C_TYPE_TIMESTAMP, SQL_TYPE_TIMESTAMP, 19, 0,
                              &b.timestamp, 0, nullptr);
        break;
      }
      case formula::ValueKind::Text:
      case formula::ValueKind::Null:
        b.text = v.kind() == formula::ValueKind::Text ? v.text() : Text();
        b.indicator = v.isNull() ? SQL_NULL_DATA : static_cast<SQLLEN>(b.text.size() * sizeof(SQLWCHAR));
        rc = SQLBindParameter(stmt, number, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR,
                              std::max<SQLULEN>(1, b.text.size()), 0, wide(b.text),
                              static_cast<SQLLEN>((b.text.size() + 1) * sizeof(SQLWCHAR)), &b.indicator);
        break;
    }
    if (!succeeded(rc)) throw DataError(u"A value of the query cannot be handed to the driver: " +
                                        diagnostics(SQL_HANDLE_STMT, stmt));
  }
}

}  // namespace

std::unique_ptr<Statement> Connection::execute(const Text& sql, const std::vector<formula::Value>& parameters,
                                               const Text& context) {
  Handle stmt;
  newStatement(stmt);
  std::vector<ParameterBuffer> buffers;
  bindParameters(stmt.get(), parameters, buffers);
  SQLRETURN rc = SQLExecDirectW(stmt.get(), wide(sql), SQL_NTS);
  if (!succeeded(rc) && rc != SQL_NO_DATA)
    throw DataError(context + scrub(diagnostics(SQL_HANDLE_STMT, stmt.get())));
  SQLFreeStmt(stmt.get(), SQL_RESET_PARAMS);
  std::unique_ptr<Statement> result(new Statement(shared_from_this(), std::move(stmt)));
  result->prepareColumns();
  return result;
}

namespace {

// A catalogue argument taken literally: the pattern characters escaped.
Text literalPattern(const Text& name, const Text& escape) {
  if (escape.empty()) return name;
  Text out;
  for (char16_t c : name) {
    if (c == u'_' || c == u'%' || c == escape[0]) out += escape[0];
    out += c;
  }
  return out;
}

}  // namespace

std::unique_ptr<Statement> Connection::tables(const Text& types) {
  Handle stmt;
  newStatement(stmt);
  Text typeList = types;
  if (!succeeded(SQLTablesW(stmt.get(), nullptr, 0, nullptr, 0, nullptr, 0, wide(typeList), SQL_NTS)))
    throw DataError(u"The tables of " + description_ + u" cannot be listed: " +
                    scrub(diagnostics(SQL_HANDLE_STMT, stmt.get())));
  std::unique_ptr<Statement> result(new Statement(shared_from_this(), std::move(stmt)));
  result->prepareColumns();
  return result;
}

std::unique_ptr<Statement> Connection::columns(const Text& table) {
  Handle stmt;
  newStatement(stmt);
  Text pattern = literalPattern(table, info(SQL_SEARCH_PATTERN_ESCAPE));
  if (!succeeded(SQLColumnsW(stmt.get(), nullptr, 0, nullptr, 0, wide(pattern), SQL_NTS, nullptr, 0)))
    throw DataError(u"The columns of table '" + table + u"' cannot be listed: " +
                    scrub(diagnostics(SQL_HANDLE_STMT, stmt.get())));
  std::unique_ptr<Statement> result(new Statement(shared_from_this(), std::move(stmt)));
  result->prepareColumns();
  return result;
}

std::unique_ptr<Statement> Connection::foreignKeys(const Text& table) {
  Handle stmt;
  newStatement(stmt);
  Text name = table;
  if (!succeeded(SQLForeignKeysW(stmt.get(), nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0, wide(name),
                                 SQL_NTS)))
    throw DataError(u"The foreign keys of table '" + table + u"' cannot be listed: " +
                    scrub(diagnostics(SQL_HANDLE_STMT, stmt.get())));
  std::unique_ptr<Statement> result(new Statement(shared_from_this(), std::move(stmt)));
  result->prepareColumns();
  return result;
}

// ---------------------------------------------------------------------------
// Statement

struct Statement::Binding {
  SQLSMALLINT cType = SQL_C_WCHAR;
  SQLLEN elementSize = 0;
  std::vector<unsigned char> buffer;
  std::vector<SQLLEN> indicators;
};

Statement::Statement(std::shared_ptr<Connection> connection, Handle handle)
    : connection_(std::move(connection)), statement_(std::move(handle)) {}

Statement::~Statement() {
  if (statement_.get()) SQLFreeStmt(statement_.get(), SQL_CLOSE);
}

void Statement::prepareColumns() {
  SQLSMALLINT count = 0;
  if (!succeeded(SQLNumResultCols(statement_.get(), &count)) || count <= 0) {
    finished_ = true;
    return;
  }
  for (SQLSMALLINT i = 1; i <= count; ++i) {
    SQLWCHAR name[512] = {};
    SQLSMALLINT nameLength = 0, type = 0, digits = 0, nullable = 0;
    SQLULEN size = 0;
    SQLDescribeColW(statement_.get(), i, name, 512, &nameLength, &type, &size, &digits, &nullable);
    Column c;
    c.name = Text(reinterpret_cast<const char16_t*>(name));
    c.sqlType = type;
    c.kind = kindOfSqlType(type);
    columns_.push_back(std::move(c));
  }
  // Bound buffers need SQLGetData on bound columns (for long texts); blocks
  // of more than one row need it on any row of the block as well.
  const unsigned extensions = connection_->getDataExtensions_;
  bound_ = (extensions & SQL_GD_BOUND) != 0;
  if (!bound_) return;
  blockRows_ = 1;
  SQLSetStmtAttrW(statement_.get(), SQL_ATTR_ROW_BIND_TYPE, reinterpret_cast<SQLPOINTER>(SQL_BIND_BY_COLUMN), 0);
  if (extensions & SQL_GD_BLOCK) {
    SQLSetStmtAttrW(statement_.get(), SQL_ATTR_ROW_ARRAY_SIZE, reinterpret_cast<SQLPOINTER>(kBlockRows), 0);
    SQLULEN granted = 1;
    SQLGetStmtAttrW(statement_.get(), SQL_ATTR_ROW_ARRAY_SIZE, &granted, 0, nullptr);
    blockRows_ = std::max<SQLULEN>(1, granted);
  }
  SQLSetStmtAttrW(statement_.get(), SQL_ATTR_ROWS_FETCHED_PTR, &rowsFetched_, 0);
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    auto b = std::make_unique<Binding>();
    switch (columns_[i].kind) {
      case formula::ValueKind::Number: b->cType = SQL_C_DOUBLE; b->elementSize = sizeof(double); break;
      case formula::ValueKind::Boolean: b->cType = SQL_C_BIT; b->elementSize = 1; break;
      case formula::ValueKind::Date: b->cType = SQL_C_TYPE_TIMESTAMP; b->elementSize = sizeof(SQL_TIMESTAMP_STRUCT); break;
      default: b->cType = SQL_C_WCHAR; b->elementSize = (kTextChars + 1) * sizeof(SQLWCHAR); break;
    }
    b->buffer.assign(static_cast<std::size_t>(b->elementSize) * blockRows_, 0);
    b->indicators.assign(blockRows_, 0);
    if (!succeeded(SQLBindCol(statement_.get(), static_cast<SQLUSMALLINT>(i + 1), b->cType, b->buffer.data(),
                              b->elementSize, b->indicators.data())))
      throw DataError(u"The rows of " + connection_->description() + u" cannot be read: " +
                      connection_->scrub(diagnostics(SQL_HANDLE_STMT, statement_.get())));
    bindings_.push_back(std::move(b));
  }
}

void Statement::cancel() {
  cancelled_ = true;
  if (statement_.get()) SQLCancel(statement_.get());
}

bool Statement::fetchBlock() {
  rowsFetched_ = 0;
  SQLRETURN rc = SQLFetchScroll(statement_.get(), SQL_FETCH_NEXT, 0);
  if (rc == SQL_NO_DATA) return false;
  if (!succeeded(rc)) {
    if (cancelled_) return false;
    throw DataError(u"Reading the rows of " + connection_->description() + u" failed: " +
                    connection_->scrub(diagnostics(SQL_HANDLE_STMT, statement_.get())));
  }
  rowsInBlock_ = static_cast<std::size_t>(rowsFetched_);
  rowInBlock_ = 0;
  return rowsInBlock_ > 0;
}

formula::Value Statement::getData(std::size_t column) {
  SQLHANDLE s = statement_.get();
  SQLUSMALLINT number = static_cast<SQLUSMALLINT>(column + 1);
  SQLLEN indicator = 0;
  auto failed = [&] {
    return DataError(u"Reading the rows of " + connection_->description() + u" failed: " +
                     connection_->scrub(diagnostics(SQL_HANDLE_STMT, s)));
  };
  switch (columns_[column].kind) {
    case formula::ValueKind::Number: {
      double d = 0;
      if (!succeeded(SQLGetData(s, number, SQL_C_DOUBLE, &d, sizeof d, &indicator))) throw failed();
      return indicator == SQL_NULL_DATA ? formula::Value() : formula::Value(d);
    }
    case formula::ValueKind::Boolean: {
      unsigned char bit = 0;
      if (!succeeded(SQLGetData(s, number, SQL_C_BIT, &bit, sizeof bit, &indicator))) throw failed();
      return indicator == SQL_NULL_DATA ? formula::Value() : formula::Value(bit != 0);
    }
    case formula::ValueKind::Date: {
      SQL_TIMESTAMP_STRUCT t{};
      if (!succeeded(SQLGetData(s, number, SQL_C_TYPE_TIMESTAMP, &t, sizeof t, &indicator))) throw failed();
      return indicator == SQL_NULL_DATA ? formula::Value() : formula::Value(toDate(t));
    }
    default: break;
  }
  // Texts in pieces until the driver has handed over all of it.
  Text text;
  std::vector<SQLWCHAR> piece(4097);
  for (;;) {
    SQLRETURN rc = SQLGetData(s, number, SQL_C_WCHAR, piece.data(), static_cast<SQLLEN>(piece.size() * sizeof(SQLWCHAR)),
                              &indicator);
    if (rc == SQL_NO_DATA) break;
    if (!succeeded(rc)) throw failed();
    if (indicator == SQL_NULL_DATA) return formula::Value();
    std::size_t chars = 0;
    if (indicator == SQL_NO_TOTAL || indicator >= static_cast<SQLLEN>((piece.size() - 1) * sizeof(SQLWCHAR)))
      chars = piece.size() - 1;
    else
      chars = static_cast<std::size_t>(indicator) / sizeof(SQLWCHAR);
    text.append(reinterpret_cast<const char16_t*>(piece.data()), chars);
    if (rc == SQL_SUCCESS) break;
    // The driver said how much is left: take the rest in one piece.
    if (indicator != SQL_NO_TOTAL) {
      std::size_t left = static_cast<std::size_t>(indicator) / sizeof(SQLWCHAR) - chars;
      if (left + 1 > piece.size()) piece.resize(left + 1);
    }
  }
  return formula::Value(std::move(text));
}

void Statement::readCell(std::size_t row, std::size_t column, formula::Value& out) {
  const Binding& b = *bindings_[column];
  SQLLEN indicator = b.indicators[row];
  if (indicator == SQL_NULL_DATA) {
    out = formula::Value();
    return;
  }
  const unsigned char* cell = b.buffer.data() + static_cast<std::size_t>(b.elementSize) * row;
  switch (b.cType) {
    case SQL_C_DOUBLE: {
      double d;
      std::memcpy(&d, cell, sizeof d);
      out = formula::Value(d);
      return;
    }
    case SQL_C_BIT: out = formula::Value(*cell != 0); return;
    case SQL_C_TYPE_TIMESTAMP: {
      SQL_TIMESTAMP_STRUCT t;
      std::memcpy(&t, cell, sizeof t);
      out = formula::Value(toDate(t));
      return;
    }
    default: break;
  }
  const SQLLEN capacity = static_cast<SQLLEN>(kTextChars * sizeof(SQLWCHAR));
  if (indicator == SQL_NO_TOTAL || indicator > capacity) {
    // Longer than its buffer: read the whole cell again.
    if (blockRows_ > 1 && !succeeded(SQLSetPos(statement_.get(), static_cast<SQLSETPOSIROW>(row + 1), SQL_POSITION, SQL_LOCK_NO_CHANGE)))
      throw DataError(u"A long text of " + connection_->description() + u" cannot be read whole: " +
                      connection_->scrub(diagnostics(SQL_HANDLE_STMT, statement_.get())));
    out = getData(column);
    return;
  }
  out = formula::Value(Text(reinterpret_cast<const char16_t*>(cell), static_cast<std::size_t>(indicator) / sizeof(SQLWCHAR)));
}

bool Statement::next(std::vector<formula::Value>& row) {
  if (finished_ || cancelled_) return false;
  if (bound_) {
    if (rowInBlock_ >= rowsInBlock_ && !fetchBlock()) {
      finished_ = true;
      return false;
    }
    row.resize(columns_.size());
    for (std::size_t c = 0; c < columns_.size(); ++c) readCell(rowInBlock_, c, row[c]);
    ++rowInBlock_;
    return true;
  }
  SQLRETURN rc = SQLFetch(statement_.get());
  if (rc == SQL_NO_DATA) {
    finished_ = true;
    return false;
  }
  if (!succeeded(rc)) {
    if (cancelled_) return false;
    throw DataError(u"Reading the rows of " + connection_->description() + u" failed: " +
                    connection_->scrub(diagnostics(SQL_HANDLE_STMT, statement_.get())));
  }
  row.resize(columns_.size());
  for (std::size_t c = 0; c < columns_.size(); ++c) row[c] = getData(c);
  return true;
}

}  // namespace mervane::engine::data::odbc
