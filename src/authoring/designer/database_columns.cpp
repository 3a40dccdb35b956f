// The field list's columns read from each table's database through ODBC.
// Kept apart from the rest of the field list so that the designer's tests
// link without a database.
#include <map>

#include "authoring/designer/field_list.h"
#include "engine/data/catalogue.h"

namespace mervane::authoring::designer {

namespace {

class DatabaseColumns final : public ColumnSource {
 public:
  explicit DatabaseColumns(int timeoutSeconds) : timeout_(timeoutSeconds) {}
  std::optional<std::vector<FieldColumn>> columns(const engine::ReportDocument& document,
                                                  const model::Table& table) override {
    if (table.type != model::DatabaseType::SqlTable || table.location.empty()) return std::nullopt;
    const Text connect = connectTextFor(document, table);
    if (connect.empty()) return std::nullopt;
    // One connection per database, not per table; a database that did not
    // answer is not asked again.
    auto known = catalogues_.find(connect);
    if (known == catalogues_.end()) {
      std::unique_ptr<engine::data::DatabaseCatalogue> opened;
      try {
        opened = engine::data::openCatalogue(connect, timeout_);
      } catch (...) {
      }
      known = catalogues_.emplace(connect, std::move(opened)).first;
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
  std::map<Text, std::unique_ptr<engine::data::DatabaseCatalogue>> catalogues_;
};

}  // namespace

std::unique_ptr<ColumnSource> databaseColumns(int timeoutSeconds) { return std::make_unique<DatabaseColumns>(timeoutSeconds); }

}  // namespace mervane::authoring::designer
