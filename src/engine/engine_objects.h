// The engine's database, table, section and report-object objects: views
// onto a report's definition, as the library's calls reach them. Each holds
// its report by reference and is valid while the report is.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <unordered_map>
#include <vector>

#include "engine/data/catalogue.h"
#include "engine/engine.h"

namespace mervane::engine {

// One connection's catalogue, each answer asked for once.
class CatalogueCache {
 public:
  explicit CatalogueCache(std::unique_ptr<data::DatabaseCatalogue> catalogue) : catalogue_(std::move(catalogue)) {}

  const Text& databaseName() {
    if (!databaseName_) databaseName_ = catalogue_->databaseName();
    return *databaseName_;
  }
  // The database's tables, in its own order.
  const std::vector<Text>& tables() {
    find(Text());
    return listed_;
  }
  // The table's name as the database spells it; nothing when it has none.
  std::optional<Text> find(const Text& table) {
    if (!tables_) {
      tables_.emplace();
      listed_ = catalogue_->tables();
      for (const Text& name : listed_) {
        byFoldedName_.emplace(caseFoldKey(name), name);
        tables_->insert(name);
      }
    }
    if (tables_->count(table)) return table;
    auto found = byFoldedName_.find(caseFoldKey(table));
    if (found == byFoldedName_.end()) return std::nullopt;
    return found->second;
  }
  const std::vector<data::CatalogueColumn>& columns(const Text& table) {
    auto found = columns_.find(table);
    if (found == columns_.end()) found = columns_.emplace(table, catalogue_->columns(table)).first;
    return found->second;
  }
  const std::vector<data::ForeignKey>& foreignKeys(const Text& table) {
    auto found = keys_.find(table);
    if (found == keys_.end()) found = keys_.emplace(table, catalogue_->foreignKeys(table)).first;
    return found->second;
  }

 private:
  std::unique_ptr<data::DatabaseCatalogue> catalogue_;
  std::optional<Text> databaseName_;
  std::optional<std::set<Text>> tables_;
  std::vector<Text> listed_;
  std::unordered_map<Text, Text> byFoldedName_;  // the first table of each case-folded name
  std::map<Text, std::vector<data::CatalogueColumn>> columns_;
  std::map<Text, std::vector<data::ForeignKey>> keys_;
};

// A table of the catalogue's database as a report adds it: its alias
// unique in the report, its connection and database.
model::Table catalogueTable(const model::ReportDefinition& definition, CatalogueCache& catalogue,
                            const DataSource& connection, const Text& name);
// The links proposed for a table being added: to each table of the same
// connection it is not yet joined to, by a foreign key either way, else by
// a column that names the other table's key. None where the catalogue
// cannot say.
std::vector<model::TableLink> proposeLinks(const model::Data& data, const model::Table& added, CatalogueCache& catalogue);

// Tables added through one database object share the catalogue of each
// connection: one log-on, the table list read once, each table's
// columns and keys read once; a log-on that failed is not tried again.
// The connections close when the object goes.
class DatabaseObject final : public EngineDatabase {
 public:
  DatabaseObject(Report& report, model::ReportDefinition& definition) : report_(report), definition_(definition) {}
  std::vector<std::shared_ptr<EngineTable>> tables() override;
  void addOleDbSource(const DataSource& connection, const Text& table) override;
  void logOnServerEx(const Text& driverFile, const Text& server, const Text& database, const Text& user,
                     const Text& password, const Text& serverType, const DataSource& connection) override;

 private:
  CatalogueCache& catalogue(const DataSource& connection);

  Report& report_;
  model::ReportDefinition& definition_;
  struct CatalogueEntry {
    DataSource connection;
    std::shared_ptr<CatalogueCache> catalogue;  // null when the log-on failed
    Text failure;
  };
  std::vector<CatalogueEntry> catalogues_;  // one per connection
};

class TableObject final : public EngineTable {
 public:
  TableObject(model::ReportDefinition& definition, std::size_t index) : definition_(definition), index_(index) {}
  int databaseType() override { return static_cast<int>(table().type); }
  Text logOnDatabaseName() override { return table().logOn.database; }
  Text location() override { return table().location; }
  void setLogOnInfo(const DataSource& server, const Text& database, const Text& user, const Text& password) override;
  void setTableLocation(const Text& location, const Text& subLocation, const DataSource& connectBuffer) override;

 private:
  model::Table& table();

  model::ReportDefinition& definition_;
  std::size_t index_;
};

class SectionObject final : public EngineSection {
 public:
  SectionObject(Report& report, model::ReportDefinition& definition, std::size_t index)
      : report_(report), definition_(definition), index_(index) {}
  std::vector<std::shared_ptr<EngineReportObject>> reportObjects() override;

 private:
  Report& report_;
  model::ReportDefinition& definition_;
  std::size_t index_;
};

class ReportObjectObject final : public EngineReportObject {
 public:
  ReportObjectObject(Report& report, model::ReportObject& object) : report_(report), object_(object) {}
  int kind() override { return static_cast<int>(object_.kind); }
  std::shared_ptr<EngineReport> openSubreport() override;

 private:
  Report& report_;
  model::ReportObject& object_;
};

// A subreport, as a report of its own: its title is the subreport's name;
// it is saved with its main report, never alone.
class SubreportReport final : public EngineReport {
 public:
  SubreportReport(Report& main, model::Subreport& subreport) : main_(main), subreport_(subreport) {}
  Text title() override { return subreport_.name; }
  void setTitle(const Text& title) override { subreport_.name = title; }
  Text applicationDataText() override { return Text(); }
  void saveAs(const Text& path, int format) override;
  std::shared_ptr<EngineDatabase> database() override;
  std::vector<std::shared_ptr<EngineSection>> sections() override;

 private:
  Report& main_;
  model::Subreport& subreport_;
};

}  // namespace mervane::engine
