// Data sources to ODBC connection strings; see connection_resolver.h.
#include "engine/data/connection_resolver.h"

#include <algorithm>
#include <array>

namespace mervane::engine::data {
namespace {

// ---------------------------------------------------------------------------
// Small text helpers

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

  Resolution resolve(const DataSource& s) {
    c_.form = s.form;
    for (const Text& n : s.notes) note(n);
    if (!s.problem.empty()) return fail(s.problem);
    if (s.odbc) return resolveOdbc(*s.odbc, s.form);
    Target t{s.form, s.server, s.database, s.user, s.password, s.integrated, s.mustBeDataSource};
    if (s.form == TextForm::OleDb && !s.mustBeDataSource) t.server = trim(t.server);
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

Resolution resolveConnection(TextView connectionText, const OdbcEnvironment& environment, TextView database) {
  return resolveConnection(readDataSource(connectionText), environment, database);
}

Resolution resolveConnection(const DataSource& source, const OdbcEnvironment& environment, TextView database) {
  if (source.blank() && source.problem.empty()) return Resolver(environment, {}).fail(u"The connection text is empty.");
  return Resolver(environment, trim(database)).resolve(source);
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

}  // namespace mervane::engine::data
