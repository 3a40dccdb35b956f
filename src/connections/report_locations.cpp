// Table re-pointing: one log-on for the main report, then the table rule for
// every table of the main report and of each subreport one level down.
#include "connections/report_locations.h"

#include <memory>
#include <vector>

#include "base/attempt.h"

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

void repointTable(EngineTable& table, const SessionData& s) {
  int type = 0;
  attempt([&] { type = table.databaseType(); });
  if (type != kSqlTableDatabaseType) return;

  Text database;
  attempt([&] { database = table.logOnDatabaseName(); });
  const DataSource& host = s.host;
  if (isHostTable(database)) {
    attempt([&] { table.setLogOnInfo(host, kHostDatabase, host.user, host.password); });
    return;
  }
  const DataSource& sql = s.sqlLogOn;
  attempt([&] { table.setLogOnInfo(sql, sql.database, sql.user, sql.password); });
  Text location;
  attempt([&] { location = table.location(); });
  attempt([&] { table.setTableLocation(sql.database, location, s.sqlConnection); });
}

void repointTables(EngineReport& report, const SessionData& s) {
  std::shared_ptr<EngineDatabase> database;
  attempt([&] { database = report.database(); });
  if (!database) return;
  std::vector<std::shared_ptr<EngineTable>> tables;
  attempt([&] { tables = database->tables(); });
  for (const auto& table : tables)
    if (table) repointTable(*table, s);
}

}  // namespace

void setReportLocations(EngineReport* report, const SessionData& s) {
  if (!report) return;
  const DataSource& sql = s.sqlLogOn;
  attempt([&] {
    report->database()->logOnServerEx(kAdoDriverFile, sql.server, sql.database, sql.user, sql.password,
                                      kAdoServerType, s.sqlConnection);
  });
  repointTables(*report, s);

  std::vector<std::shared_ptr<EngineSection>> sections;
  attempt([&] { sections = report->sections(); });
  for (const auto& section : sections) {
    std::vector<std::shared_ptr<EngineReportObject>> objects;
    attempt([&] { objects = section->reportObjects(); });
    for (const auto& object : objects) {
      int kind = 0;
      attempt([&] { kind = object->kind(); });
      if (kind != kSubreportObjectKind) continue;
      std::shared_ptr<EngineReport> subreport;
      attempt([&] { subreport = object->openSubreport(); });
      if (subreport) repointTables(*subreport, s);
    }
  }
}

}  // namespace mervane
