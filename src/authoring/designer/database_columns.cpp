// The field list's columns read from each table's database through ODBC.
// Kept apart from the rest of the field list so that the designer's tests
// link without a database.
#include <algorithm>
#include <utility>
#include <vector>

#include "authoring/designer/field_list.h"
#include "engine/data/catalogue.h"
#include "engine/data/table_connection.h"

namespace mervane::authoring::designer {

namespace {

class DatabaseColumns final : public ColumnSource {
 public:
  explicit DatabaseColumns(int timeoutSeconds) : timeout_(timeoutSeconds) {}
  std::optional<std::vector<FieldColumn>> columns(const engine::ReportDocument& document,
                                                  const model::Table& table) override {
    if (table.type != model::DatabaseType::SqlTable || table.location.empty()) return std::nullopt;
    const DataSource source = engine::data::tableDataSource(document, table);
    if (!source.given()) return std::nullopt;
    // One connection per database, not per table; a database that did not
    // answer is not asked again.
    auto known = std::find_if(catalogues_.begin(), catalogues_.end(),
                              [&](const auto& entry) { return entry.first == source; });
    if (known == catalogues_.end()) {
      std::unique_ptr<engine::data::DatabaseCatalogue> opened;
      try {
        opened = engine::data::openCatalogue(source, timeout_);
      } catch (...) {
      }
      known = catalogues_.insert(catalogues_.end(), {source, std::move(opened)});
    }
    if (!known->second) return std::nullopt;
    try {
      std::vector<FieldColumn> listed;
      for (const auto& c : known->second->columns(table.location)) listed.push_back({c.name, {c.kind, c.size, c.decimals}});
      if (listed.empty()) return std::nullopt;
      return listed;
    } catch (...) {
      return std::nullopt;
    }
  }

 private:
  int timeout_;
  std::vector<std::pair<DataSource, std::unique_ptr<engine::data::DatabaseCatalogue>>> catalogues_;
};

}  // namespace

std::unique_ptr<ColumnSource> databaseColumns(int timeoutSeconds) { return std::make_unique<DatabaseColumns>(timeoutSeconds); }

}  // namespace mervane::authoring::designer
