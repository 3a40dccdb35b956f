// Connection texts to ODBC connection strings; see connection_resolver.h.
#include "engine/data/connection_resolver.h"

#include <algorithm>
#include <array>

namespace mervane::engine::data {
namespace {

// ---------------------------------------------------------------------------
// Small text helpers

bool startsWithNoCase(TextView text, TextView prefix) {
  return text.size() >= prefix.size() && equalsNoCase(text.substr(0, prefix.size()), prefix);
}

bool endsWithNoCase(TextView text, TextView suffix) {
  return text.size() >= suffix.size() && equalsNoCase(text.substr(text.size() - suffix.size()), suffix);
}

bool containsNoCase(TextView text, TextView part) {
  Text t = upper(text), p = upper(part);
  return t.find(p) != Text::npos;
}

Text quoted(TextView name) { return u"'" + Text(name) + u"'"; }

// A file's name without its folder and its last extension.
Text baseName(TextView path) {
  std::size_t slash = path.find_last_of(u"/\\");
  TextView name = slash == TextView::npos ? path : path.substr(slash + 1);
  std::size_t dot = name.rfind(u'.');
  if (dot != TextView::npos && dot > 0) name = name.substr(0, dot);
  return Text(name);
}

bool looksLikeSqliteFile(TextView name) {
  for (TextView ext : {u".db", u".db3", u".sqlite", u".sqlite3"})
    if (endsWithNoCase(name, ext)) return true;
  return false;
}

bool isYes(std::optional<Text> value) {
  if (!value) return false;
  Text v = trim(*value);
  return equalsNoCase(v, u"SSPI") || equalsNoCase(v, u"true") || equalsNoCase(v, u"yes");
}

// ---------------------------------------------------------------------------
// The host's fixed shapes, split at their own separators. Values before the
// free one end at the first following separator, values after it start at
// the last preceding one, and the free value (the password, or the database
// when there is none) takes whatever is left between, ';' and '=' included.

struct Shape {
  TextView prefix;
  std::vector<TextView> separators;
  std::vector<TextView> keys;  // one per value, as the parsed form names them
  std::size_t freeValue;
  std::vector<Attribute> fixed;  // the attributes the prefix itself sets
};

// Where each value lies in the text: offset and length.
struct Span {
  std::size_t at = 0;
  std::size_t length = 0;
};

std::optional<std::vector<Span>> splitShape(TextView text, const Shape& shape) {
  if (text.substr(0, shape.prefix.size()) != shape.prefix) return std::nullopt;
  const std::size_t count = shape.separators.size() + 1;
  std::vector<Span> values(count);
  std::size_t left = shape.prefix.size();
  for (std::size_t i = 0; i < shape.freeValue; ++i) {
    std::size_t at = text.find(shape.separators[i], left);
    if (at == TextView::npos) return std::nullopt;
    values[i] = {left, at - left};
    left = at + shape.separators[i].size();
  }
  std::size_t right = text.size();
  for (std::size_t i = count - 1; i > shape.freeValue; --i) {
    TextView sep = shape.separators[i - 1];
    if (right < left + sep.size()) return std::nullopt;
    std::size_t at = text.substr(0, right).rfind(sep);
    if (at == TextView::npos || at < left) return std::nullopt;
    values[i] = {at + sep.size(), right - at - sep.size()};
    right = at;
  }
  values[shape.freeValue] = {left, right - left};
  return values;
}

const Shape& hostShape() {
  static const Shape shape{u"ODBC;DATABASE=", {u";UID=", u";PWD=", u";DSN="}, {u"DATABASE", u"UID", u"PWD", u"DSN"}, 2, {}};
  return shape;
}

const std::array<Shape, 2>& oleDbShapes() {
  static const std::array<Shape, 2> shapes{
      Shape{u"Provider=SQLOLEDB.1;Integrated Security=SSPI;Persist Security Info=False;Initial Catalog=",
            {u";Data Source="},
            {u"Initial Catalog", u"Data Source"},
            0,
            {{u"Provider", u"SQLOLEDB.1"}, {u"Integrated Security", u"SSPI"}, {u"Persist Security Info", u"False"}}},
      Shape{u"Provider=SQLOLEDB.1;Password=",
            {u";Persist Security Info=True;User ID=", u";Initial Catalog=", u";Data Source="},
            {u"Password", u"User ID", u"Initial Catalog", u"Data Source"},
            0,
            {{u"Provider", u"SQLOLEDB.1"}, {u"Persist Security Info", u"True"}}},
  };
  return shapes;
}

// The attributes of a text in one of the fixed shapes, split at the shape's
// separators: such texts are plain concatenations of settings, so every value
// is taken exactly as it stands (blanks, quotes and braces included).
std::optional<AttributeList> readShaped(TextView text, const Shape& shape) {
  std::optional<std::vector<Span>> values = splitShape(text, shape);
  if (!values) return std::nullopt;
  AttributeList list;
  for (const Attribute& a : shape.fixed) list.set(a.key, a.value);
  for (std::size_t i = 0; i < values->size(); ++i)
    list.set(shape.keys[i], Text(text.substr((*values)[i].at, (*values)[i].length)));
  return list;
}

// The text of a fixed shape with its password values emptied: the shape
// stays whole, so it reads back the same way, without the password.
std::optional<Text> shapedWithoutPasswords(TextView text, const Shape& shape) {
  std::optional<std::vector<Span>> values = splitShape(text, shape);
  if (!values) return std::nullopt;
  Text out(text);
  for (std::size_t i = values->size(); i-- > 0;)
    if (isSecretKey(shape.keys[i])) out.erase((*values)[i].at, (*values)[i].length);
  return out;
}

bool holdsPassword(TextView key) {
  const Text k = upper(trim(key));
  return k == u"PWD" || k.find(u"PASSWORD") != Text::npos;
}

// An attribute list without its password values, read item by item as the
// attribute reader reads it but never refusing the text: an unclosed quote
// runs to the end, and text after a closing quote belongs to its item. A
// bare password ends at the next ';', so the items without '=' after it are
// taken for the rest of it (a ';' inside an unquoted password) and go too.
Text listWithoutPasswords(TextView text) {
  Text out;
  std::size_t i = 0;
  bool afterBarePassword = false;
  while (i < text.size()) {
    const std::size_t start = i;
    while (i < text.size() && text[i] != u'=' && text[i] != u';') ++i;
    if (i == text.size() || text[i] == u';') {
      if (i < text.size()) ++i;
      if (!afterBarePassword) out.append(text.substr(start, i - start));
      continue;
    }
    const TextView key = text.substr(start, i - start);
    ++i;
    while (i < text.size() && text[i] == u' ') ++i;
    const std::size_t valueStart = i;
    const bool quotedValue = i < text.size() && (text[i] == u'{' || text[i] == u'"' || text[i] == u'\'');
    if (quotedValue) {
      const char16_t close = text[i] == u'{' ? u'}' : text[i];
      for (++i; i < text.size(); ++i) {
        if (text[i] != close) continue;
        if (i + 1 < text.size() && text[i + 1] == close) {
          ++i;  // a doubled closing character stands for itself
          continue;
        }
        ++i;
        break;
      }
    }
    while (i < text.size() && text[i] != u';') ++i;
    const std::size_t valueEnd = i;
    if (i < text.size()) ++i;  // the separator goes with its item
    afterBarePassword = false;
    if (holdsPassword(key)) {
      afterBarePassword = !quotedValue;
      continue;
    }
    if (equalsNoCase(trim(key), u"Extended Properties")) {
      // The OLE DB provider for ODBC carries a whole ODBC string here: it
      // goes through the same, and is quoted again if it lost anything. A
      // value that cannot be read cannot be trusted to be clean: it goes.
      ParsedAttributes item = parseAttributes(text.substr(start, valueEnd - start));
      std::optional<Text> value = item.ok() ? item.list.get(trim(key)) : std::nullopt;
      Text kept = value ? listWithoutPasswords(*value) : Text();
      if (!value || kept != *value) {
        out.append(text.substr(start, valueStart - start));
        if (value) {
          out += u'"';
          for (char16_t c : kept) out += c == u'"' ? Text(u"\"\"") : Text(1, c);
          out += u'"';
        }
        out.append(text.substr(valueEnd, i - valueEnd));
        continue;
      }
    }
    out.append(text.substr(start, i - start));
  }
  return out;
}

// Offsets count from the start of the whole connection text, from 1.
Text syntaxMessage(const SyntaxError& e, std::size_t textStart) {
  return u"The connection text is not a list of attributes: " + e.reason + u" (at character " +
         decimal(static_cast<std::int64_t>(textStart + e.offset) + 1) + u").";
}

// ---------------------------------------------------------------------------
// Resolution

// Where to connect, as the OLE DB strings and the host's text say it.
struct Target {
  TextForm form;
  Text server;  // a data source name or a server name
  Text catalog;
  Text user;
  Text password;
  bool integrated = false;
  bool mustBeDataSource = false;
};

class Resolver {
 public:
  Resolver(const OdbcEnvironment& env, TextView database) : env_(env), database_(database) {}

  Resolution fail(Text message) {
    Resolution r;
    r.error = std::move(message);
    return r;
  }

  Resolution done() {
    Resolution r;
    r.connection = std::move(c_);
    return r;
  }

  void note(Text step) { c_.steps.push_back(std::move(step)); }

  const DataSourceEntry* findDataSource(TextView name) const {
    for (const DataSourceEntry& d : env_.dataSources)
      if (equalsNoCase(d.name, name)) return &d;
    return nullptr;
  }

  bool installed(TextView driver) const {
    return std::any_of(env_.drivers.begin(), env_.drivers.end(), [&](const Text& d) { return equalsNoCase(d, driver); });
  }

  // The first installed driver of the family; for SQLite one for version 3
  // first (Debian also lists the driver for SQLite 2 files, often without
  // its library).
  std::optional<Text> firstDriverOf(DriverFamily family) const {
    if (family == DriverFamily::Sqlite)
      for (const Text& d : env_.drivers)
        if (containsNoCase(d, u"SQLite3") || containsNoCase(d, u"SQLite 3")) return d;
    for (const Text& d : env_.drivers)
      if (driverFamily(d) == family) return d;
    return std::nullopt;
  }

  // A Windows path in the form the driver reads: unchanged on Windows, on
  // Wine's Unix side through the drive mappings.
  std::optional<Text> driverPath(TextView path) const {
    if (env_.unixDrives.empty() || path.empty() || path.front() == u'/') return Text(path);
    if (path.size() >= 2 && path[1] == u':') {
      for (const DriveMapping& m : env_.unixDrives) {
        if (upperChar(m.letter) != upperChar(path[0])) continue;
        Text root = m.unixRoot;
        while (!root.empty() && root.back() == u'/') root.pop_back();
        Text rest(path.substr(2));
        std::replace(rest.begin(), rest.end(), u'\\', u'/');
        if (rest.empty() || rest.front() != u'/') rest.insert(rest.begin(), u'/');
        return root + rest;
      }
      return std::nullopt;
    }
    if (path.starts_with(u"\\\\")) return std::nullopt;  // network shares are not visible to the Unix side
    Text relative(path);
    std::replace(relative.begin(), relative.end(), u'\\', u'/');
    return relative;
  }

  void credentials(const Target& t, bool sqlServer) {
    c_.integrated = t.integrated;
    if (c_.family == DriverFamily::Sqlite) {
      note(u"SQLite databases take no log-on: no user name or password is sent");
      return;
    }
    if (t.integrated) {
      if (sqlServer) c_.attributes.set(u"Trusted_Connection", u"yes");
      note(u"Integrated security: connecting without a user name or password");
      return;
    }
    c_.user = t.user;
    c_.attributes.set(u"UID", t.user);
    c_.attributes.set(u"PWD", t.password);
    note(u"Logging on as " + quoted(t.user));
  }

  void streaming() {
    if (c_.family == DriverFamily::PostgreSql) {
      c_.attributes.set(u"UseDeclareFetch", u"1");
      std::optional<Text> fetch = c_.attributes.get(u"Fetch");
      std::optional<std::int32_t> rows = fetch ? parseLong(*fetch) : std::nullopt;
      if (!rows || *rows <= 0) c_.attributes.set(u"Fetch", u"1000");
      note(u"Rows stream in blocks (UseDeclareFetch=1, Fetch=" + *c_.attributes.get(u"Fetch") + u")");
    } else if (c_.family == DriverFamily::Sqlite) {
      c_.attributes.set(u"NoCreat", u"1");
      c_.attributes.set(u"StepAPI", u"1");
      note(u"Rows stream one step at a time (StepAPI=1); a missing file is not created (NoCreat=1)");
    }
  }

  // The SQLite rule: a file holds one database, named by its base name.
  std::optional<Text> checkSqliteCatalog(const Target& t, TextView file, TextView where) {
    Text name = baseName(file);
    if (!t.catalog.empty() && !file.empty() && !equalsNoCase(trim(t.catalog), name))
      return u"There is no database " + quoted(t.catalog) + u" in " + Text(where) + u": its only database is " +
             quoted(name) + u".";
    c_.database = name.empty() ? t.catalog : name;
    c_.databaseUnconfirmed = file.empty();
    return std::nullopt;
  }

  Resolution resolveTarget(Target t) {
    c_.form = t.form;
    if (!database_.empty() && t.form != TextForm::HostConnect && !equalsNoCase(database_, t.catalog)) {
      note(u"The table is pointed at the database " + quoted(database_));
      t.catalog = database_;
    }
    if (isBlank(t.server)) return fail(u"The connection names no data source or server.");
    if (const DataSourceEntry* dsn = findDataSource(t.server)) return throughDataSource(t, *dsn);
    if (t.mustBeDataSource) return fail(u"There is no ODBC data source named " + quoted(t.server) + u".");
    if (looksLikeSqliteFile(t.server)) return throughSqliteFile(t);
    return throughSqlServer(t);
  }

  Resolution throughDataSource(const Target& t, const DataSourceEntry& dsn) {
    if (!installed(dsn.driver))
      return fail(u"The ODBC data source " + quoted(dsn.name) + u" uses the driver " + quoted(dsn.driver) +
                  u", which is not installed.");
    c_.family = driverFamily(dsn.driver);
    c_.driver = dsn.driver;
    c_.dataSource = dsn.name;
    c_.attributes.set(u"DSN", dsn.name);
    note(u"Using the ODBC data source " + quoted(dsn.name) + u" (driver " + quoted(dsn.driver) + u")");
    if (c_.family == DriverFamily::Sqlite) {
      if (auto error = checkSqliteCatalog(t, dsn.database, u"the data source " + quoted(dsn.name))) return fail(*error);
    } else if (!t.catalog.empty()) {
      c_.database = t.catalog;
      c_.attributes.set(u"DATABASE", t.catalog);
      note(u"Database " + quoted(t.catalog));
    }
    credentials(t, c_.family == DriverFamily::SqlServer);
    streaming();
    return done();
  }

  Resolution throughSqliteFile(const Target& t) {
    std::optional<Text> driver = firstDriverOf(DriverFamily::Sqlite);
    if (!driver)
      return fail(u"The database file " + quoted(t.server) + u" needs the SQLite ODBC driver, which is not installed.");
    std::optional<Text> path = driverPath(t.server);
    if (!path) return fail(u"The database file " + quoted(t.server) + u" is on a drive the driver cannot reach.");
    c_.family = DriverFamily::Sqlite;
    c_.driver = *driver;
    c_.attributes.set(u"DRIVER", *driver);
    c_.attributes.set(u"Database", *path);
    note(u"Opening the SQLite file " + quoted(*path) + u" through the driver " + quoted(*driver));
    if (auto error = checkSqliteCatalog(t, *path, u"the file " + quoted(*path))) return fail(*error);
    credentials(t, false);
    streaming();
    return done();
  }

  Resolution throughSqlServer(const Target& t) {
    std::optional<Text> driver;
    for (const Text& preferred : sqlServerDriverPreference())
      if (!driver && installed(preferred)) driver = preferred;
    if (!driver) {
      Text looked;
      for (const Text& preferred : sqlServerDriverPreference())
        looked += (looked.empty() ? u"" : u", ") + quoted(preferred);
      return fail(quoted(t.server) + u" is not an ODBC data source, and no SQL Server ODBC driver is installed " +
                  u"to reach it as a server (looked for " + looked + u").");
    }
    c_.family = DriverFamily::SqlServer;
    c_.driver = *driver;
    c_.attributes.set(u"DRIVER", *driver);
    c_.attributes.set(u"SERVER", t.server);
    note(quoted(t.server) + u" is not an ODBC data source: connecting to it as a SQL Server through the driver " +
         quoted(*driver));
    if (!t.catalog.empty()) {
      c_.database = t.catalog;
      c_.attributes.set(u"DATABASE", t.catalog);
      note(u"Database " + quoted(t.catalog));
    }
    credentials(t, true);
    return done();
  }

  Resolution resolveOleDb(const AttributeList& a) {
    c_.form = TextForm::OleDb;
    Text provider = trim(a.get(u"Provider").value_or(Text()));
    if (startsWithNoCase(provider, u"MSDASQL")) {
      note(u"OLE DB provider for ODBC: using its ODBC settings");
      if (std::optional<Text> extended = a.get(u"Extended Properties")) {
        ParsedAttributes inner = parseAttributes(*extended);
        if (!inner.ok()) return fail(u"The Extended Properties of the OLE DB text are not a list of attributes: " +
                                     inner.error->reason + u".");
        return resolveOdbc(inner.list, TextForm::OleDb);
      }
      Target t{TextForm::OleDb, a.get(u"Data Source").value_or(Text()), a.get(u"Initial Catalog").value_or(Text()),
               a.get(u"User ID").value_or(Text()), a.get(u"Password").value_or(Text()), false, true};
      t.integrated = t.user.empty() && t.password.empty();
      return resolveTarget(t);
    }
    if (!provider.empty() && !startsWithNoCase(provider, u"SQLOLEDB") && !startsWithNoCase(provider, u"SQLNCLI") &&
        !startsWithNoCase(provider, u"MSOLEDBSQL"))
      return fail(u"The OLE DB provider " + quoted(provider) + u" cannot be reached through ODBC.");
    Target t{TextForm::OleDb, trim(a.get(u"Data Source").value_or(Text())), a.get(u"Initial Catalog").value_or(Text()),
             a.get(u"User ID").value_or(Text()), a.get(u"Password").value_or(Text())};
    t.integrated = isYes(a.get(u"Integrated Security")) || isYes(a.get(u"Trusted_Connection"));
    if (!t.integrated && t.user.empty()) {
      t.integrated = true;
      note(u"No user name given: connecting as the current user");
    }
    return resolveTarget(t);
  }

  Resolution resolveHost(const AttributeList& a) {
    Target t{TextForm::HostConnect, a.get(u"DSN").value_or(Text()), a.get(u"DATABASE").value_or(Text()),
             a.get(u"UID").value_or(Text()), a.get(u"PWD").value_or(Text()), false, true};
    t.integrated = t.user.empty() && t.password.empty();
    return resolveTarget(t);
  }

  Resolution resolveOdbc(const AttributeList& given, TextForm form) {
    c_.form = form;
    c_.attributes = given;
    std::optional<Text> driver = given.get(u"DRIVER");
    std::optional<Text> dsnName = given.get(u"DSN");
    if (driver && !driver->empty()) {
      if (!installed(*driver)) return fail(u"The ODBC driver " + quoted(*driver) + u" is not installed.");
      c_.driver = *driver;
      note(u"Using the ODBC driver " + quoted(*driver));
    } else if (dsnName && !dsnName->empty()) {
      const DataSourceEntry* dsn = findDataSource(*dsnName);
      if (!dsn) return fail(u"There is no ODBC data source named " + quoted(*dsnName) + u".");
      if (!installed(dsn->driver))
        return fail(u"The ODBC data source " + quoted(dsn->name) + u" uses the driver " + quoted(dsn->driver) +
                    u", which is not installed.");
      c_.driver = dsn->driver;
      c_.dataSource = dsn->name;
      note(u"Using the ODBC data source " + quoted(dsn->name) + u" (driver " + quoted(dsn->driver) + u")");
    } else {
      return fail(u"The ODBC connection string names neither a driver nor a data source.");
    }
    c_.family = driverFamily(c_.driver);
    if (c_.family == DriverFamily::Sqlite) {
      Text file;
      if (std::optional<Text> named = given.get(u"Database")) {
        std::optional<Text> path = driverPath(*named);
        if (!path) return fail(u"The database file " + quoted(*named) + u" is on a drive the driver cannot reach.");
        c_.attributes.set(u"Database", *path);
        file = *path;
      } else if (const DataSourceEntry* dsn = findDataSource(c_.dataSource)) {
        file = dsn->database;
      }
      Target t{form, {}, database_};
      if (auto error = checkSqliteCatalog(t, file, file.empty() ? u"the data source " + quoted(c_.dataSource)
                                                                  : u"the file " + quoted(file)))
        return fail(*error);
    } else if (!database_.empty()) {
      c_.database = database_;
      c_.attributes.set(u"DATABASE", database_);
      note(u"The table is pointed at the database " + quoted(database_));
    } else {
      c_.database = given.get(u"DATABASE").value_or(Text());
    }
    c_.user = given.get(u"UID").value_or(Text());
    c_.integrated = isYes(given.get(u"Trusted_Connection")) || (!given.has(u"UID") && !given.has(u"PWD"));
    streaming();
    return done();
  }

 private:
  const OdbcEnvironment& env_;
  const Text database_;  // the database asked for in place of the text's; empty: the text's
  OdbcConnection c_;
};

}  // namespace

DriverFamily driverFamily(TextView driverName) {
  if (containsNoCase(driverName, u"SQLite")) return DriverFamily::Sqlite;
  if (containsNoCase(driverName, u"PostgreSQL") || containsNoCase(driverName, u"psqlODBC"))
    return DriverFamily::PostgreSql;
  if (containsNoCase(driverName, u"SQL Server") || containsNoCase(driverName, u"SQL Native Client"))
    return DriverFamily::SqlServer;
  return DriverFamily::Other;
}

const std::vector<Text>& sqlServerDriverPreference() {
  static const std::vector<Text> order{u"ODBC Driver 18 for SQL Server", u"ODBC Driver 17 for SQL Server",
                                       u"SQL Server Native Client 11.0", u"SQL Server"};
  return order;
}

Text OdbcConnection::description() const {
  Text out;
  for (const Text& step : steps) out += step + u". ";
  out += u"Connection string: " + redacted();
  return out;
}

Resolution resolveConnection(TextView connectionText, const OdbcEnvironment& environment) {
  return resolveConnection(connectionText, environment, TextView());
}

Resolution resolveConnection(TextView connectionText, const OdbcEnvironment& environment, TextView database) {
  Resolver resolver(environment, trim(database));
  TextView text = connectionText;
  while (!text.empty() && (text.front() == u' ' || text.front() == u'\t')) text.remove_prefix(1);
  if (text.empty()) return resolver.fail(u"The connection text is empty.");
  // The driver reads the connection string up to its first NUL: whatever
  // followed would be lost without a word.
  if (text.find(u'\0') != TextView::npos)
    return resolver.fail(u"The connection text holds a NUL character, which would cut it short.");
  const std::size_t start = connectionText.size() - text.size();

  if (startsWithNoCase(text, u"ODBC;")) {
    TextView body = text.substr(5);
    if (std::optional<AttributeList> shaped = readShaped(text, hostShape())) return resolver.resolveHost(*shaped);
    ParsedAttributes parsed = parseAttributes(body);
    if (!parsed.ok()) return resolver.fail(syntaxMessage(*parsed.error, start + 5));
    bool hostKeysOnly = std::all_of(parsed.list.items().begin(), parsed.list.items().end(), [](const Attribute& a) {
      return equalsNoCase(a.key, u"DATABASE") || equalsNoCase(a.key, u"UID") || equalsNoCase(a.key, u"PWD") ||
             equalsNoCase(a.key, u"DSN");
    });
    if (hostKeysOnly && parsed.list.has(u"DSN")) return resolver.resolveHost(parsed.list);
    return resolver.resolveOdbc(parsed.list, TextForm::HostConnect);
  }

  for (const Shape& shape : oleDbShapes())
    if (std::optional<AttributeList> shaped = readShaped(text, shape)) return resolver.resolveOleDb(*shaped);
  ParsedAttributes parsed = parseAttributes(text);
  if (!parsed.ok()) return resolver.fail(syntaxMessage(*parsed.error, start));
  const AttributeList& list = parsed.list;
  if (list.has(u"Provider") || list.has(u"Data Source") || list.has(u"Initial Catalog"))
    return resolver.resolveOleDb(list);
  return resolver.resolveOdbc(list, TextForm::Odbc);
}

std::optional<Text> confirmDatabase(OdbcConnection& connection, TextView reportedFile) {
  if (!connection.databaseUnconfirmed) return std::nullopt;
  const Text name = baseName(reportedFile);
  if (name.empty()) return std::nullopt;  // the driver does not say: nothing to hold against it
  if (!connection.database.empty() && !equalsNoCase(trim(connection.database), name))
    return u"There is no database " + quoted(connection.database) + u" in the data source " +
           quoted(connection.dataSource) + u": its only database is " + quoted(name) + u".";
  connection.database = name;
  connection.databaseUnconfirmed = false;
  return std::nullopt;
}

Text logOnConnectText(TextView server, TextView database, TextView user, TextView password) {
  if (user.empty())
    return u"Provider=SQLOLEDB.1;Integrated Security=SSPI;Persist Security Info=False;Initial Catalog=" +
           Text(database) + u";Data Source=" + Text(server);
  return u"Provider=SQLOLEDB.1;Password=" + Text(password) + u";Persist Security Info=True;User ID=" + Text(user) +
         u";Initial Catalog=" + Text(database) + u";Data Source=" + Text(server);
}

Text withoutPasswords(TextView connectionText) {
  std::size_t lead = 0;
  while (lead < connectionText.size() && (connectionText[lead] == u' ' || connectionText[lead] == u'\t')) ++lead;
  const TextView text = connectionText.substr(lead);
  const Text blanks(connectionText.substr(0, lead));
  if (startsWithNoCase(text, u"ODBC;")) {
    if (std::optional<Text> shaped = shapedWithoutPasswords(text, hostShape())) return blanks + *shaped;
    return blanks + Text(text.substr(0, 5)) + listWithoutPasswords(text.substr(5));
  }
  for (const Shape& shape : oleDbShapes())
    if (std::optional<Text> shaped = shapedWithoutPasswords(text, shape)) return blanks + *shaped;
  return blanks + listWithoutPasswords(text);
}

}  // namespace mervane::engine::data
