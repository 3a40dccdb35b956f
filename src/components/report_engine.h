// The report engine as the library drives it: an application object that
// opens and makes reports; reports with a title, an application-data text,
// a file, a database of tables and sections of report objects.
//
// The shape follows the engine's automation objects, so that the library's
// code reads like the calls it makes (report.database().tables(),
// table.setLogOnInfo(...), object.openSubreport()). Calls may fail (they
// throw); every caller ignores the engine's failures and goes on, as the
// operations require.
//
// The codes callers pass and compare, in one place:
//   kReportFileFormat (1792)       save-as: a report file of the engine's own format
//   OpenMethod::ByTemporaryCopy (1) open: the file is read into memory at once
//   kSubreportObjectKind (5)       a report object that holds a subreport
//   kSqlTableDatabaseType (2)      a table of a SQL database
// (engine/model/report_definition.h gives the same numbers to its own kinds.)
#pragma once

#include <memory>
#include <vector>

#include "base/text.h"
#include "components/data_source.h"

namespace mervane {

enum class OpenMethod : int { Default = 0, ByTemporaryCopy = 1 };
constexpr int kReportFileFormat = 1792;
constexpr int kSubreportObjectKind = 5;
constexpr int kSqlTableDatabaseType = 2;

class EngineReport;

// One table of a report's database.
class EngineTable {
 public:
  virtual ~EngineTable() = default;
  virtual int databaseType() = 0;
  // The database named by the table's log-on information.
  virtual Text logOnDatabaseName() = 0;
  // The table's name where it lives.
  virtual Text location() = 0;
  // The log-on the table's data is read with: the server named by `server`
  // (its server name), unless `server` is a whole connection (the host's
  // "ODBC;..." data), which becomes the table's connection.
  virtual void setLogOnInfo(const DataSource& server, const Text& database, const Text& user,
                            const Text& password) = 0;
  // Points the table at table `subLocation` (its name; empty keeps the name)
  // of database `location`, reached through `connectBuffer`.
  virtual void setTableLocation(const Text& location, const Text& subLocation, const DataSource& connectBuffer) = 0;
};

// A report's collection of data sources.
class EngineDatabase {
 public:
  virtual ~EngineDatabase() = default;
  // The tables, in the report's order. The objects stay valid while the
  // report does.
  virtual std::vector<std::shared_ptr<EngineTable>> tables() = 0;
  // Adds table `table` of the database that `connection` reaches.
  // Throws when the database cannot be reached or has no such table.
  virtual void addOleDbSource(const DataSource& connection, const Text& table) = 0;
  // The log-on for the whole report.
  virtual void logOnServerEx(const Text& driverFile, const Text& server, const Text& database, const Text& user,
                             const Text& password, const Text& serverType, const DataSource& connection) = 0;
};

class EngineReportObject {
 public:
  virtual ~EngineReportObject() = default;
  virtual int kind() = 0;
  // The subreport a subreport object holds, as a report; throws for other
  // kinds.
  virtual std::shared_ptr<EngineReport> openSubreport() = 0;
};

class EngineSection {
 public:
  virtual ~EngineSection() = default;
  virtual std::vector<std::shared_ptr<EngineReportObject>> reportObjects() = 0;
};

class EngineReport {
 public:
  virtual ~EngineReport() = default;
  virtual Text title() = 0;
  virtual void setTitle(const Text& title) = 0;
  // The report's application-data text (its summary comments), which may
  // hold "AppData=<number>;".
  virtual Text applicationDataText() = 0;
  // Writes the report, as it now stands, to a new file; the source file is
  // not changed.
  virtual void saveAs(const Text& path, int format) = 0;
  virtual std::shared_ptr<EngineDatabase> database() = 0;
  // In printing order.
  virtual std::vector<std::shared_ptr<EngineSection>> sections() = 0;
};

class EngineApplication {
 public:
  virtual ~EngineApplication() = default;
  // Null when the file cannot be opened as a report.
  virtual std::unique_ptr<EngineReport> openReport(const Text& path, OpenMethod method = OpenMethod::Default) = 0;
  // An empty report.
  virtual std::unique_ptr<EngineReport> newReport() = 0;
};

}  // namespace mervane
