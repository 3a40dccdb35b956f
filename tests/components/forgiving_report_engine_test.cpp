// The engine's objects under the failure policy: whichever object is missing
// or whichever call fails, the caller gets an empty value and goes on, and a
// borrowed report is used but never let go.
#include "components/forgiving_report_engine.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace mervane {
namespace {

struct Table : EngineTable {
  bool failing = false;
  DataSource logOn;
  void fail() {
    if (failing) throw std::runtime_error("table");
  }
  int databaseType() override { return fail(), kSqlTableDatabaseType; }
  Text logOnDatabaseName() override { return fail(), u"Halyard"; }
  Text location() override { return fail(), u"Orders"; }
  void setLogOnInfo(const DataSource& server, const Text&, const Text&, const Text&) override {
    fail(), logOn = server;
  }
  void setTableLocation(const Text&, const Text&, const DataSource&) override { fail(); }
};

struct Database : EngineDatabase {
  std::vector<std::shared_ptr<EngineTable>> list;
  std::vector<std::shared_ptr<EngineTable>> tables() override { return list; }
  void addOleDbSource(const DataSource&, const Text&) override { throw std::runtime_error("unreachable"); }
  void logOnServerEx(const Text&, const Text&, const Text&, const Text&, const Text&, const Text&,
                     const DataSource&) override {}
};

struct Report : EngineReport {
  std::shared_ptr<Database> data = std::make_shared<Database>();
  bool* destroyed = nullptr;
  ~Report() override {
    if (destroyed) *destroyed = true;
  }
  Text title() override { throw std::runtime_error("title"); }
  void setTitle(const Text&) override {}
  Text applicationDataText() override { return u"AppData=3;"; }
  void saveAs(const Text&, int) override { throw std::runtime_error("disk full"); }
  std::shared_ptr<EngineDatabase> database() override { return data; }
  std::vector<std::shared_ptr<EngineSection>> sections() override { return {nullptr}; }
};

TEST(ForgivingReportEngine, MissingObjectsAndFailedCallsGiveEmptyValues) {
  ForgivingEngine none([]() -> std::unique_ptr<EngineApplication> { throw std::runtime_error("not registered"); });
  EXPECT_FALSE(none);
  ForgivingReport nothing = none.openReport(u"C:\\r\\a.rpt");
  EXPECT_FALSE(nothing);
  EXPECT_EQ(nothing.title(), u"");
  EXPECT_TRUE(nothing.database().tables().empty());
  EXPECT_FALSE(nothing.saveAs(u"C:\\r\\b.rpt", kReportFileFormat));

  Report report;
  auto healthy = std::make_shared<Table>(), failing = std::make_shared<Table>();
  failing->failing = true;
  report.data->list = {healthy, nullptr, failing};
  ForgivingReport borrowed = ForgivingReport::borrowing(&report);
  EXPECT_EQ(borrowed.title(), u"");
  EXPECT_EQ(borrowed.applicationDataText(), u"AppData=3;");
  EXPECT_FALSE(borrowed.saveAs(u"C:\\r\\b.rpt", kReportFileFormat));

  std::vector<ForgivingTable> tables = borrowed.database().tables();
  ASSERT_EQ(tables.size(), 3u);
  EXPECT_EQ(tables[0].databaseType(), kSqlTableDatabaseType);
  EXPECT_TRUE(tables[0].setLogOnInfo(readDataSource(u"ODBC;DSN=Halyard"), u"", u"", u""));
  EXPECT_EQ(healthy->logOn.text, u"ODBC;DSN=Halyard");
  for (ForgivingTable* t : {&tables[1], &tables[2]}) {
    EXPECT_EQ(t->databaseType(), 0);
    EXPECT_EQ(t->location(), u"");
    EXPECT_FALSE(t->setLogOnInfo(readDataSource(u"x"), u"", u"", u""));
  }

  std::vector<ForgivingSection> sections = borrowed.sections();
  ASSERT_EQ(sections.size(), 1u);
  EXPECT_TRUE(sections[0].reportObjects().empty());

  bool destroyed = false;
  report.destroyed = &destroyed;
  borrowed.reset();
  EXPECT_FALSE(destroyed);
  report.destroyed = nullptr;
}

}  // namespace
}  // namespace mervane
