// The engine's database, table, section and report-object objects.
//
// Adding a table reads the database's catalogue: the table must be there.
// A table added to a report that already has tables is linked to each table
// it is not yet joined to, where the data says how: by a foreign key either
// way, else by a column that names the other table's key ("CustomerID" of
// Orders to "CustomerID" of Customers). Columns that merely share a name
// ("Name", "City") say nothing about how rows belong together: a join on
// them would drop nearly every row, so such tables stay unlinked for the
// user to link.
#include "engine/engine_objects.h"

#include <algorithm>
#include <optional>
#include <set>
#include <stdexcept>
#include <unordered_map>

#include "engine/data/report_data.h"

namespace mervane::engine {

namespace {

bool sameName(TextView a, TextView b) { return equalsNoCase(a, b); }

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

// Letters and digits only, in capitals: "Order Lines" and "ORDER_LINES"
// read alike.
Text plainName(TextView name) {
  Text out;
  for (char16_t c : upper(Text(name)))
    if ((c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c > 0x7F) out += c;
  return out;
}

// True for a column that names the table's own key: the table's name, or
// the name of one of its rows, followed by "ID" ("CustomerID" and
// "customer_id" of Customers, "CategoryId" of Categories, "OrderLineID" of
// Order Lines).
bool namesKeyOf(TextView column, TextView table) {
  const std::size_t dot = table.rfind(u'.');
  if (dot != TextView::npos) table = table.substr(dot + 1);  // a schema's table
  const Text c = plainName(column), t = plainName(table);
  if (c.size() < 3 || !c.ends_with(u"ID") || t.empty()) return false;
  const Text stem = c.substr(0, c.size() - 2);
  if (stem == t || stem + u"S" == t || stem + u"ES" == t) return true;
  return stem.ends_with(u"Y") && t.ends_with(u"IES") && stem.substr(0, stem.size() - 1) == t.substr(0, t.size() - 3);
}

// A link between two tables of one database by a foreign key either way,
// from the table that holds the key to the one that refers to it.
std::optional<model::TableLink> linkByForeignKey(CatalogueCache& catalogue, const model::Table& a,
                                                 const model::Table& b) {
  for (const auto& [child, parent] : {std::pair{&a, &b}, std::pair{&b, &a}})
    for (const data::ForeignKey& key : catalogue.foreignKeys(child->location))
      if (sameName(key.referencedTable, parent->location))
        return model::TableLink{{parent->alias, key.referencedColumn}, {child->alias, key.column}, {}, {}};
  return std::nullopt;
}

// A link by a column of one table that names the other table's key and
// that the other table has, of the same kind.
std::optional<model::TableLink> linkByKeyName(CatalogueCache& catalogue, const model::Table& a,
                                              const model::Table& b) {
  for (const auto& [child, parent] : {std::pair{&a, &b}, std::pair{&b, &a}}) {
    const std::vector<data::CatalogueColumn>& childColumns = catalogue.columns(child->location);
    for (const data::CatalogueColumn& key : catalogue.columns(parent->location)) {
      if (!namesKeyOf(key.name, parent->location)) continue;
      for (const data::CatalogueColumn& column : childColumns)
        if (sameName(column.name, key.name) && column.kind == key.kind)
          return model::TableLink{{parent->alias, key.name}, {child->alias, column.name}, {}, {}};
    }
  }
  return std::nullopt;
}

// Which tables the links already join, as a group number per alias.
class JoinedGroups {
 public:
  explicit JoinedGroups(const model::Data& data) {
    for (const model::Table& t : data.tables) group_[caseFoldKey(t.alias)] = next_++;
    for (const model::TableLink& l : data.links) join(l.from.table, l.to.table);
  }
  bool joined(const Text& a, const Text& b) { return groupOf(a) == groupOf(b); }
  void join(const Text& a, const Text& b) {
    const int from = groupOf(a), to = groupOf(b);
    for (auto& [alias, group] : group_)
      if (group == from) group = to;
  }

 private:
  int groupOf(const Text& alias) {
    auto [at, added] = group_.try_emplace(caseFoldKey(alias), next_);
    if (added) ++next_;
    return at->second;
  }
  std::unordered_map<Text, int> group_;
  int next_ = 0;
};

}  // namespace

model::Table catalogueTable(const model::ReportDefinition& definition, CatalogueCache& catalogue,
                            const DataSource& connection, const Text& name) {
  model::Table added;
  added.alias = uniqueAlias(definition, name);
  added.type = model::DatabaseType::SqlTable;
  added.location = name;
  added.connection = connection;
  added.logOn.database = catalogue.databaseName();
  return added;
}

std::vector<model::TableLink> proposeLinks(const model::Data& data, const model::Table& added, CatalogueCache& catalogue) {
  std::vector<model::TableLink> links;
  try {
    JoinedGroups groups(data);
    for (const model::Table& existing : data.tables) {
      if (existing.type != model::DatabaseType::SqlTable || existing.connection != added.connection) continue;
      if (groups.joined(existing.alias, added.alias)) continue;
      std::optional<model::TableLink> link = linkByForeignKey(catalogue, existing, added);
      if (!link) link = linkByKeyName(catalogue, existing, added);
      if (!link) continue;
      links.push_back(*link);
      groups.join(existing.alias, added.alias);
    }
  } catch (const std::exception&) {
    links.clear();
  }
  return links;
}

// ---- database ----

std::vector<std::shared_ptr<EngineTable>> DatabaseObject::tables() {
  std::vector<std::shared_ptr<EngineTable>> result;
  for (std::size_t i = 0; i < definition_.data.tables.size(); ++i)
    result.push_back(std::make_shared<TableObject>(definition_, i));
  return result;
}

CatalogueCache& DatabaseObject::catalogue(const DataSource& connection) {
  auto found = std::find_if(catalogues_.begin(), catalogues_.end(),
                            [&](const CatalogueEntry& entry) { return entry.connection == connection; });
  if (found == catalogues_.end()) {
    // A log-on that failed fails again at once, with the same reason.
    std::shared_ptr<CatalogueCache> opened;
    Text failure;
    try {
      opened = std::make_shared<CatalogueCache>(report_.parts().catalogues(connection));
    } catch (const data::DataError& error) {
      failure = error.message();
    } catch (const std::exception& error) {
      failure = fromUtf8(error.what());
    }
    found = catalogues_.insert(catalogues_.end(), CatalogueEntry{connection, std::move(opened), std::move(failure)});
  }
  if (!found->catalogue) throw data::DataError(found->failure);
  return *found->catalogue;
}

void DatabaseObject::addOleDbSource(const DataSource& connection, const Text& table) {
  if (!report_.parts().catalogues) throw data::DataError(u"This engine has no access to databases.");
  CatalogueCache& catalogue = this->catalogue(connection);
  std::optional<Text> found = catalogue.find(table);
  if (!found) throw data::DataError(u"The database has no table \"" + table + u"\".");

  model::Table added = catalogueTable(definition_, catalogue, connection, *found);
  // Linking is a convenience: a catalogue that cannot say leaves the table
  // unlinked, for the user to link.
  std::vector<model::TableLink> links = proposeLinks(definition_.data, added, catalogue);
  definition_.data.tables.push_back(added);
  definition_.data.links.insert(definition_.data.links.end(), links.begin(), links.end());
  report_.markChanged();
}

void DatabaseObject::logOnServerEx(const Text& /*driverFile*/, const Text& server, const Text& database,
                                   const Text& user, const Text& password, const Text& /*serverType*/,
                                   const DataSource& connection) {
  report_.document().logOn = ServerLogOn{server, database, user, password, connection, true};
}

// ---- table ----

model::Table& TableObject::table() {
  if (index_ >= definition_.data.tables.size()) throw std::out_of_range("the table is no longer in the report");
  return definition_.data.tables[index_];
}

void TableObject::setLogOnInfo(const DataSource& server, const Text& database, const Text& user,
                               const Text& password) {
  model::Table& t = table();
  // A whole connection in place of a server (the host's data, "ODBC;
  // DATABASE=...;UID=...;PWD=...;DSN=...") is the table's connection, and
  // the table names it by its text.
  const bool wholeConnection = server.form == TextForm::HostConnect;
  t.logOn.server = wholeConnection ? server.connectText() : server.server;
  t.logOn.database = database;
  t.logOn.user = user;
  t.logOn.password = password;
  if (wholeConnection) t.connection = server;
}

void TableObject::setTableLocation(const Text& location, const Text& subLocation, const DataSource& connectBuffer) {
  model::Table& t = table();
  t.subLocation = location;
  if (!subLocation.empty()) t.location = subLocation;
  t.connection = connectBuffer;
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
  return std::make_shared<DatabaseObject>(main_, *subreport_.definition);
}

std::vector<std::shared_ptr<EngineSection>> SubreportReport::sections() {
  std::vector<std::shared_ptr<EngineSection>> result;
  for (std::size_t i = 0; i < subreport_.definition->sections.size(); ++i)
    result.push_back(std::make_shared<SectionObject>(main_, *subreport_.definition, i));
  return result;
}

}  // namespace mervane::engine
