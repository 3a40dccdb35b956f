// The engine's report objects against a fake report file: what a report
// reads, what a save carries to the file, and what it refuses.
#include "engine/engine.h"

#include <gtest/gtest.h>

#include <map>
#include <vector>

#include "engine/data/catalogue.h"

namespace mervane::engine {
namespace {

struct Saved {
  Text path;
  Text title;
};

class FakeFile : public ReportFile {
 public:
  FakeFile(ReportSummary summary, std::vector<Saved>& saves) : summary_(std::move(summary)), saves_(saves) {}
  const ReportSummary& summary() const override { return summary_; }
  std::optional<std::vector<std::uint8_t>> definition() override { return std::nullopt; }
  void writeCopy(const Text& path, const ReportChanges& changes) override { saves_.push_back({path, changes.title}); }

 private:
  ReportSummary summary_;
  std::vector<Saved>& saves_;
};

class FakeFiles : public ReportFiles {
 public:
  std::unique_ptr<ReportFile> open(const Text& path, OpenMethod method) override {
    methods.push_back(method);
    if (path == u"missing.rpt") return nullptr;
    return std::make_unique<FakeFile>(ReportSummary{u"Sales; 2023", u"Dept=4;AppData=17;"}, saves);
  }
  void create(const Text& path, const ReportChanges& changes) override { saves.push_back({path, changes.title}); }
  std::vector<OpenMethod> methods;
  std::vector<Saved> saves;
};

TEST(Engine, ReportsSaveTheirOwnTitleInTheFormatAskedFor) {
  auto files = std::make_shared<FakeFiles>();
  Engine engine(EngineParts{files, nullptr, {}});
  EXPECT_EQ(engine.openReport(u"missing.rpt"), nullptr);
  auto first = engine.openReport(u"a.rpt", OpenMethod::ByTemporaryCopy);
  auto second = engine.openReport(u"a.rpt");
  ASSERT_TRUE(first && second);
  EXPECT_EQ(files->methods.back(), OpenMethod::Default);
  EXPECT_EQ(files->methods[1], OpenMethod::ByTemporaryCopy);

  // A new title lives in its own report until saved; the text stays.
  first->setTitle(u"Sales 2");
  EXPECT_EQ(second->title(), u"Sales; 2023");
  EXPECT_EQ(first->applicationDataText(), u"Dept=4;AppData=17;");
  for (int format : {0, 1791, 1793}) EXPECT_THROW(first->saveAs(u"b.rpt", format), UnsupportedFormat);
  EXPECT_TRUE(files->saves.empty());
  first->saveAs(u"b.rpt", kReportFileFormat);
  second->saveAs(u"c.rpt", kReportFileFormat);
  ASSERT_EQ(files->saves.size(), 2u);
  EXPECT_EQ(files->saves[0].path, u"b.rpt");
  EXPECT_EQ(files->saves[0].title, u"Sales 2");
  EXPECT_EQ(files->saves[1].title, u"Sales; 2023");
}

// A database as its catalogue tells it, counting what it is asked.
struct FakeDatabase {
  struct Table {
    std::vector<data::CatalogueColumn> columns;
    std::vector<data::ForeignKey> keys;
  };
  std::map<Text, Table> tables;
  int opens = 0, listings = 0, columnReads = 0;
};

class FakeCatalogue : public data::DatabaseCatalogue {
 public:
  explicit FakeCatalogue(FakeDatabase& db) : db_(db) {}
  Text databaseName() override { return u"shop"; }
  std::vector<Text> tables() override {
    ++db_.listings;
    std::vector<Text> names;
    for (const auto& [name, table] : db_.tables) names.push_back(name);
    return names;
  }
  std::vector<data::CatalogueColumn> columns(const Text& table) override {
    ++db_.columnReads;
    return db_.tables.at(table).columns;
  }
  std::vector<data::ForeignKey> foreignKeys(const Text& table) override { return db_.tables.at(table).keys; }

 private:
  FakeDatabase& db_;
};

data::CatalogueColumn number(Text name) { return {std::move(name), formula::ValueKind::Number, u"integer"}; }
data::CatalogueColumn text(Text name) { return {std::move(name), formula::ValueKind::Text, u"text"}; }

Text shown(const model::TableLink& l) { return l.from.table + u"." + l.from.column + u"=" + l.to.table + u"." + l.to.column; }

// Tables are linked by declared keys and by columns named after another
// table's key, never by columns that merely share a name; one log-on and
// one listing serve every table added, and a refused log-on is not tried
// again for each table.
TEST(Engine, NewTablesAreLinkedOnlyWhereTheDataSaysHow) {
  FakeDatabase db;
  db.tables[u"customers"] = {{number(u"customer_id"), text(u"name"), text(u"city")}, {}};
  db.tables[u"Products"] = {{number(u"ProductID"), text(u"Name"), number(u"ID")}, {}};
  db.tables[u"orders"] = {{number(u"order_id"), number(u"customer_id"), text(u"city")}, {}};
  db.tables[u"Order Lines"] = {{number(u"LineID"), number(u"order_id"), number(u"ProductRef")},
                               {{u"Order Lines", u"ProductRef", u"Products", u"ProductID"}}};
  db.tables[u"warehouses"] = {{number(u"ID"), text(u"name"), text(u"city")}, {}};
  db.tables[u"categories"] = {{number(u"category_id"), text(u"name")}, {}};
  db.tables[u"products_by_category"] = {{number(u"category_id"), number(u"customer_id")}, {}};

  const DataSource shop = readDataSource(u"DSN=shop"), refused = readDataSource(u"DSN=refused");
  Engine engine(EngineParts{std::make_shared<FakeFiles>(), nullptr, [&](const DataSource& connect) {
                              ++db.opens;
                              if (connect == refused) throw data::LogOnRefused(u"Login failed.");
                              return std::make_unique<FakeCatalogue>(db);
                            }});
  auto report = engine.create();
  auto database = report->database();
  for (const char16_t* name : {u"customers", u"Products", u"warehouses", u"orders", u"ORDER LINES"})
    database->addOleDbSource(shop, name);
  EXPECT_THROW(database->addOleDbSource(shop, u"nothing"), data::DataError);
  for (int i = 0; i < 3; ++i) EXPECT_THROW(database->addOleDbSource(refused, u"orders"), data::DataError);
  EXPECT_EQ(db.opens, 2);
  EXPECT_EQ(db.listings, 1);

  auto& definition = report->document().definition;
  std::vector<Text> links;
  for (const auto& l : definition.data.links) links.push_back(shown(l));
  // Order Lines joins orders and products both: the report's rows hang
  // together. Warehouses shares only "ID", "name" and "city" with the others.
  EXPECT_EQ(links, (std::vector<Text>{u"customers.customer_id=orders.customer_id",
                                      u"Products.ProductID=Order Lines.ProductRef",
                                      u"orders.order_id=Order Lines.order_id"}));
  EXPECT_EQ(definition.data.tables[4].alias, u"Order Lines");

  // A table between two unlinked tables joins them both.
  auto other = engine.create();
  auto otherDatabase = other->database();
  for (const char16_t* name : {u"categories", u"customers", u"products_by_category"})
    otherDatabase->addOleDbSource(shop, name);
  links.clear();
  for (const auto& l : other->document().definition.data.links) links.push_back(shown(l));
  EXPECT_EQ(links, (std::vector<Text>{u"categories.category_id=products_by_category.category_id",
                                      u"customers.customer_id=products_by_category.customer_id"}));
}

}  // namespace
}  // namespace mervane::engine
