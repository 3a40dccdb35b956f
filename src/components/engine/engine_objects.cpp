// The engine's database, table, section and report-object objects.
//
// Adding a table reads the database's catalogue: the table must be there,
// and a table added to a report that already has tables is linked to the
// first of them it can be linked to, by the database's foreign keys where
// it reports them, otherwise by a column of the same name and kind (names
// ending in "ID" first).
#include "components/engine/engine_objects.h"

#include <algorithm>
#include <stdexcept>

#include "components/engine/data/report_data.h"

namespace mervane::engine {
namespace {

bool sameName(TextView a, TextView b) { return upper(Text(a)) == upper(Text(b)); }

bool endsWithId(TextView name) { return name.size() >= 2 && sameName(name.substr(name.size() - 2), u"ID"); }

Text uniqueAlias(const model::ReportDefinition& definition, const Text& name) {
  auto taken = [&](const Text& alias) {
    return std::any_of(definition.data.tables.begin(), definition.data.tables.end(),
                       [&](const model::Table& t) { return sameName(t.alias, alias); });
  };
  if (!taken(name)) return name;
  for (int n = 2;; ++n) {
    Text alias = name + u"_" + decimal(n);
    if (!taken(alias)) return alias;
  }
}

// A link from `existing` to the new table, by a foreign key either way.
std::optional<model::TableLink> linkByForeignKey(data::DatabaseCatalogue& catalogue, const model::Table& existing,
                                                 const model::Table& added) {
  for (const data::ForeignKey& key : catalogue.foreignKeys(added.location))
    if (sameName(key.referencedTable, existing.location))
      return model::TableLink{{existing.alias, key.referencedColumn}, {added.alias, key.column}, {}, {}};
  for (const data::ForeignKey& key : catalogue.foreignKeys(existing.location))
    if (sameName(key.referencedTable, added.location))
      return model::TableLink{{existing.alias, key.column}, {added.alias, key.referencedColumn}, {}, {}};
  return std::nullopt;
}

std::optional<model::TableLink> linkBySameColumn(data::DatabaseCatalogue& catalogue, const model::Table& existing,
                                                 const model::Table& added) {
  std::vector<data::CatalogueColumn> mine = catalogue.columns(added.location);
  std::vector<data::CatalogueColumn> theirs = catalogue.columns(existing.location);
  for (bool idsOnly : {true, false})
    for (const data::CatalogueColumn& a : mine) {
      if (idsOnly && !endsWithId(a.name)) continue;
      for (const data::CatalogueColumn& b : theirs)
        if (sameName(a.name, b.name) && a.kind == b.kind)
          return model::TableLink{{existing.alias, b.name}, {added.alias, a.name}, {}, {}};
    }
  return std::nullopt;
}

}  // namespace

// ---- database ----

std::vector<std::shared_ptr<EngineTable>> DatabaseObject::tables() {
  std::vector<std::shared_ptr<EngineTable>> result;
  for (std::size_t i = 0; i < definition_.data.tables.size(); ++i)
    result.push_back(std::make_shared<TableObject>(report_, definition_, subreport_, i));
  return result;
}

void DatabaseObject::addOleDbSource(const Text& connectionString, const Text& table) {
  const CatalogueOpener& open = report_.parts().catalogues;
  if (!open) throw data::DataError(u"This engine has no access to databases.");
  std::unique_ptr<data::DatabaseCatalogue> catalogue = open(connectionString);
  std::vector<Text> names = catalogue->tables();
  auto found = std::find(names.begin(), names.end(), table);
  if (found == names.end())
    found = std::find_if(names.begin(), names.end(), [&](const Text& n) { return sameName(n, table); });
  if (found == names.end()) throw data::DataError(u"The database has no table \"" + table + u"\".");

  model::Table added;
  added.alias = uniqueAlias(definition_, *found);
  added.type = model::DatabaseType::SqlTable;
  added.location = *found;
  added.connection = connectionString;
  added.logOn.database = catalogue->databaseName();

  // Linking is a convenience: a catalogue that cannot say leaves the table
  // unlinked, for the user to link.
  try {
    for (const model::Table& existing : definition_.data.tables) {
      if (existing.type != model::DatabaseType::SqlTable || existing.connection != connectionString) continue;
      std::optional<model::TableLink> link = linkByForeignKey(*catalogue, existing, added);
      if (!link) link = linkBySameColumn(*catalogue, existing, added);
      if (link) {
        definition_.data.links.push_back(*link);
        break;
      }
    }
  } catch (const std::exception&) {
  }
  definition_.data.tables.push_back(added);
  report_.document().secrets[TableKey{subreport_, added.alias}].connectText = connectionString;
  report_.markChanged();
}

void DatabaseObject::logOnServerEx(const Text& /*driverFile*/, const Text& server, const Text& database,
                                   const Text& user, const Text& password, const Text& /*serverType*/,
                                   const Text& connectionString) {
  report_.document().logOn = ServerLogOn{server, database, user, password, connectionString, true};
}

// ---- table ----

model::Table& TableObject::table() {
  if (index_ >= definition_.data.tables.size()) throw std::out_of_range("the table is no longer in the report");
  return definition_.data.tables[index_];
}

TableSecrets& TableObject::secrets() { return report_.document().secrets[TableKey{subreport_, table().alias}]; }

void TableObject::setLogOnInfo(const Text& server, const Text& database, const Text& user, const Text& password) {
  model::Table& t = table();
  t.logOn.server = server;
  t.logOn.database = database;
  t.logOn.user = user;
  TableSecrets& s = secrets();
  s.password = password;
  // A whole connect text in place of a server name is the table's
  // connection (the host's "ODBC;DATABASE=...;UID=...;PWD=...;DSN=...").
  if (server.size() >= 5 && sameName(TextView(server).substr(0, 5), u"ODBC;")) {
    t.connection = server;
    s.connectText = server;
  }
}

void TableObject::setTableLocation(const Text& location, const Text& subLocation, const Text& connectBuffer) {
  model::Table& t = table();
  t.subLocation = location;
  if (!subLocation.empty()) t.location = subLocation;
  t.connection = connectBuffer;
  secrets().connectText = connectBuffer;
}

// ---- sections and their objects ----

std::vector<std::shared_ptr<EngineReportObject>> SectionObject::reportObjects() {
  if (index_ >= definition_.sections.size()) throw std::out_of_range("the section is no longer in the report");
  std::vector<std::shared_ptr<EngineReportObject>> result;
  for (model::ReportObject& object : definition_.sections[index_].objects)
    result.push_back(std::make_shared<ReportObjectObject>(report_, object));
  return result;
}

std::shared_ptr<EngineReport> ReportObjectObject::openSubreport() {
  if (object_.kind != model::ObjectKind::Subreport) throw std::logic_error("not a subreport object");
  if (!object_.subreport.definition) throw std::runtime_error("the subreport object holds no report");
  return std::make_shared<SubreportReport>(report_, object_.subreport);
}

void SubreportReport::saveAs(const Text&, int) { throw std::logic_error("a subreport is saved with its report"); }

std::shared_ptr<EngineDatabase> SubreportReport::database() {
  return std::make_shared<DatabaseObject>(main_, *subreport_.definition, subreport_.name);
}

std::vector<std::shared_ptr<EngineSection>> SubreportReport::sections() {
  std::vector<std::shared_ptr<EngineSection>> result;
  for (std::size_t i = 0; i < subreport_.definition->sections.size(); ++i)
    result.push_back(std::make_shared<SectionObject>(main_, *subreport_.definition, i));
  return result;
}

}  // namespace mervane::engine
