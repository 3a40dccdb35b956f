// The data door: every connection text a report's tables carry becomes one
// ODBC connection string.
//
// Three kinds of text arrive: OLE DB strings for SQL Server ("Provider=
// SQLOLEDB.1;...;Initial Catalog=...;Data Source=..."), the host's own
// connect text ("ODBC;DATABASE=...;UID=...;PWD=...;DSN=..."), and plain ODBC
// connection strings. The resolver is a pure function of the text and of what
// the machine offers (its data sources and installed drivers, gathered by the
// caller), so every rule below is tested without a database:
//
// - A Data Source that names an ODBC data source uses it. A Data Source that
//   is a SQLite file uses the SQLite driver. Anything else is a SQL Server
//   name, reached through the best SQL Server driver installed.
// - Initial Catalog picks the database. A SQLite data source holds exactly
//   one database, named by its file's base name; another name is a database
//   that is not there.
// - Integrated security connects without a password.
// - Each driver's streaming option is switched on, so rows arrive in blocks
//   instead of the whole result being loaded first.
// - Under Wine the SQLite driver runs on the Unix side and needs Unix paths.
//
// The host's texts are put together from settings without any quoting, so a
// value may hold ';', '=', quotes or blanks. A text in one of those fixed
// shapes is split at the shape's own separators and each value is taken as it
// stands; the password may hold anything, the other values anything but the
// separator that follows them. Other texts are read as attribute lists.
//
// A table pointed at a database reads that database, whatever its text
// names: the resolver takes the database as a setting of its own.
#pragma once

#include <optional>
#include <vector>

#include "base/text.h"
#include "engine/data/attribute_list.h"

namespace mervane::engine::data {

enum class DriverFamily { SqlServer, PostgreSql, Sqlite, Other };

DriverFamily driverFamily(TextView driverName);

struct DataSourceEntry {
  Text name;
  Text driver;
  // The data source's own database setting: the file for SQLite, the
  // database name for a server (empty when the data source names none).
  Text database;
};

// A drive letter and the Unix folder it stands for, as Wine maps them.
struct DriveMapping {
  char16_t letter = u'Z';
  Text unixRoot = u"/";
};

struct OdbcEnvironment {
  std::vector<DataSourceEntry> dataSources;
  std::vector<Text> drivers;
  // Empty on Windows: paths go to the driver as they are. Under Wine, the
  // drive mappings that turn Windows paths into the Unix paths the driver
  // needs; a path on an unmapped drive cannot be handed over.
  std::vector<DriveMapping> unixDrives;
};

enum class TextForm { OleDb, HostConnect, Odbc };

struct OdbcConnection {
  TextForm form = TextForm::Odbc;
  DriverFamily family = DriverFamily::Other;
  Text driver;      // the driver used, named or through the data source
  Text dataSource;  // empty when connecting without one
  Text database;    // empty when the data source's own applies
  Text user;        // empty with integrated security
  bool integrated = false;
  AttributeList attributes;
  std::vector<Text> steps;  // what the resolver decided, in words
  // A SQLite data source whose file the machine's settings do not show (as
  // under Wine, where they live on the Unix side): which database it holds
  // is known only once connected. See confirmDatabase.
  bool databaseUnconfirmed = false;

  // What SQLDriverConnect receives. Holds the password: never log it.
  Text connectionString() const { return formatOdbc(attributes); }
  // The same with every secret replaced, for logs and messages.
  Text redacted() const { return formatOdbc(attributes, true); }
  // The steps and the redacted string, one sentence each.
  Text description() const;
};

struct Resolution {
  std::optional<OdbcConnection> connection;
  Text error;  // why there is no connection; never holds a password
  bool ok() const { return connection.has_value(); }
};

Resolution resolveConnection(TextView connectionText, const OdbcEnvironment& environment);

// The same in the given database, which takes the place of the one the text
// names (empty: the text's own). The host's text names its own database and
// keeps it. A SQLite file holds one database: another name is not there.
Resolution resolveConnection(TextView connectionText, const OdbcEnvironment& environment, TextView database);

// Once connected, for a connection whose database was unconfirmed: its name
// is the base name of the file the driver reports, and it must be the one
// asked for. Returns why not, or nothing (and the connection then knows its
// database).
std::optional<Text> confirmDatabase(OdbcConnection& connection, TextView reportedFile);

// An OLE DB text naming a log-on, in the shapes a new report's tables are
// added with: Windows log-on without a user, the SQL login with one. The
// resolver reads each value back exactly as it was given.
Text logOnConnectText(TextView server, TextView database, TextView user, TextView password);

// The text without the values that hold a password (keys PWD, Password or
// any key containing "password", in any letter case), each read the way the
// resolver reads the text: in the host's and the OLE DB fixed shapes the
// whole free value goes, however many ';', '=', quotes or braces it holds;
// in attribute lists a braced or quoted value goes whole, a bare value with
// the items without '=' that follow it, and the OLE DB provider for ODBC's
// Extended Properties lose theirs too. Everything else stays as it was.
Text withoutPasswords(TextView connectionText);

// SQL Server drivers in order of preference.
const std::vector<Text>& sqlServerDriverPreference();

}  // namespace mervane::engine::data
