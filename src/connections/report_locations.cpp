// Table re-pointing: one log-on for the main report, then the table rule for
// every table of the main report and of each subreport one level down.
#include "connections/report_locations.h"

#include "components/forgiving_report_engine.h"

namespace mervane {
namespace {

constexpr char16_t kAdoDriverFile[] = u"crdb_ado.dll";
constexpr char16_t kAdoServerType[] = u"OLE DB (ADO)";
constexpr char16_t kHostDatabaseLower[] = u"halyard";

Text lower(const Text& text) {
  Text result = text;
  for (char16_t& c : result)
    if (c >= u'A' && c <= u'Z') c = static_cast<char16_t>(c - u'A' + u'a');
  return result;
}

// A table of the host's data is named "Halyard" (in any letter case) or
// not named at all.
bool isHostTable(const Text& logOnDatabase) {
  return lower(logOnDatabase) == kHostDatabaseLower || trim(logOnDatabase).empty();
}

void repointTable(ForgivingTable& table, const SessionData& s) {
  if (table.databaseType() != kSqlTableDatabaseType) return;
  if (isHostTable(table.logOnDatabaseName())) {
    const DataSource& host = s.host;
    table.setLogOnInfo(host, kHostDatabase, host.user, host.password);
    return;
  }
  const DataSource& sql = s.sqlLogOn;
  table.setLogOnInfo(sql, sql.database, sql.user, sql.password);
  const Text location = table.location();
  table.setTableLocation(sql.database, location, s.sqlConnection);
}

void repointTables(ForgivingReport& report, const SessionData& s) {
  ForgivingDatabase database = report.database();
  for (ForgivingTable& table : database.tables()) repointTable(table, s);
}

}  // namespace

void setReportLocations(EngineReport* report, const SessionData& s) {
  ForgivingReport main = ForgivingReport::borrowing(report);
  const DataSource& sql = s.sqlLogOn;
  main.database().logOnServerEx(kAdoDriverFile, sql.server, sql.database, sql.user, sql.password, kAdoServerType,
                                s.sqlConnection);
  repointTables(main, s);

  for (ForgivingSection& section : main.sections()) {
    for (ForgivingReportObject& object : section.reportObjects()) {
      if (object.kind() != kSubreportObjectKind) continue;
      ForgivingReport subreport = object.openSubreport();
      repointTables(subreport, s);
    }
  }
}

}  // namespace mervane
