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
#pragma once

#include <optional>
#include <vector>

#include "base/text.h"
#include "components/engine/data/attribute_list.h"

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

// SQL Server drivers in order of preference.
const std::vector<Text>& sqlServerDriverPreference();

}  // namespace mervane::engine::data
