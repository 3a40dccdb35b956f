// The data door: every data source a report's tables read (components/data_source.h)
// becomes one ODBC connection string.
//
// The resolver is a pure function of the data source and of what the machine
// offers (its data sources and installed drivers, gathered by the caller), so
// every rule below is tested without a database:
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
// A table pointed at a database reads that database, whatever its text
// names: the resolver takes the database as a setting of its own.
#pragma once

#include <optional>
#include <vector>

#include "base/text.h"
#include "components/attribute_list.h"
#include "components/data_source.h"

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

// The data source in the given database, which takes the place of the one
// it names (empty: its own). The host's data names its own database and
// keeps it. A SQLite file holds one database: another name is not there.
Resolution resolveConnection(const DataSource& source, const OdbcEnvironment& environment,
                             TextView database = {});

// The same for a connection text, read by readDataSource.
Resolution resolveConnection(TextView connectionText, const OdbcEnvironment& environment, TextView database = {});

// Once connected, for a connection whose database was unconfirmed: its name
// is the base name of the file the driver reports, and it must be the one
// asked for. Returns why not, or nothing (and the connection then knows its
// database).
std::optional<Text> confirmDatabase(OdbcConnection& connection, TextView reportedFile);

// SQL Server drivers in order of preference.
const std::vector<Text>& sqlServerDriverPreference();

}  // namespace mervane::engine::data
