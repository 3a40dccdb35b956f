// A new report on 200 of the 2,000 tables of a SQLite database, as NewReport
// builds it once the user has confirmed the chooser:
//   new-report-200-of-2000-tables-ms  adding the ticked tables and linking
//                                     them (median of five rounds)
//   new-report-log-on-and-list-ms     logging on and listing the tables for
//                                     the chooser, before it is shown
// Each table refers to the one ten before it, half of them by a declared
// foreign key, half only by a column named after its key; all share "Name"
// and "City". Every tenth table is ticked, so each ticked table but the
// first links to the one before: the count of links shows they were made.
//
//   bench_new_report [WORK_FOLDER]   (the database is made there with sqlite3)
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "authoring/new_report.h"
#include "engine/data/catalogue.h"
#include "engine/engine.h"

namespace mervane {
namespace {

using Clock = std::chrono::steady_clock;
constexpr int kTables = 2000;
constexpr int kTicked = 200;
constexpr int kRounds = 5;

double ms(Clock::duration d) { return std::chrono::duration<double, std::milli>(d).count(); }

std::string tableName(int i) { return "Table" + std::to_string(i); }

// Table i refers to table i - 10.
bool makeDatabase(const std::string& path) {
  const std::string script = path + ".sql";
  std::ofstream sql(script);
  sql << "BEGIN;\n";
  for (int i = 0; i < kTables; ++i) {
    const std::string name = tableName(i);
    sql << "CREATE TABLE " << name << " (" << name << "ID INTEGER PRIMARY KEY, Name TEXT, City TEXT, Amount NUMERIC";
    if (i >= 10) {
      const std::string parent = tableName(i - 10);
      sql << ", " << parent << "ID INTEGER";
      if (i / 10 % 2 == 0) sql << " REFERENCES " << parent << "(" << parent << "ID)";
    }
    sql << ");\n";
  }
  sql << "COMMIT;\n";
  sql.close();
  std::filesystem::remove(path);
  const std::string command = "sqlite3 '" + path + "' < '" + script + "'";
  const bool made = std::system(command.c_str()) == 0;
  std::filesystem::remove(script);
  return made;
}

class TickingChooser final : public TableChooser {
 public:
  void addDataSetNode(const Text&, const Text& caption) override { nodes_.push_back({caption, false, true}); }
  void addTableNode(const Text&, const Text& text) override { nodes_.push_back({text, false, false}); }
  void showModal() override {
    // Every tenth table, as a person ticks tables spread over the list.
    for (std::size_t i = 1; i < nodes_.size(); i += kTables / kTicked) nodes_[i].checked = true;
    shown = Clock::now();
  }
  bool okSelected() override { return true; }
  std::vector<ChooserNodeState> nodes() override { return nodes_; }
  static inline Clock::time_point shown;

 private:
  std::vector<ChooserNodeState> nodes_;
};

class Window final : public NewReportWindow {
 public:
  explicit Window(engine::Engine& engine) : engine_(engine) {}
  void setHourglass(bool) override {}
  void processMessages() override {}
  void createReport() override { report = engine_.newReport(); }
  std::shared_ptr<EngineDatabase> reportDatabase() override { return report ? report->database() : nullptr; }
  std::unique_ptr<EngineReport> report;

 private:
  engine::Engine& engine_;
};

void report(const char* name, std::vector<double> values, const char* what) {
  std::sort(values.begin(), values.end());
  std::printf("%s: %.0f ms (slowest %.0f ms, %s)\n", name, values[values.size() / 2], values.back(), what);
}

}  // namespace
}  // namespace mervane

int main(int argc, char** argv) {
  using namespace mervane;
  const std::filesystem::path folder = argc > 1 ? argv[1] : std::filesystem::temp_directory_path();
  const std::string path = (folder / "two-thousand-tables.db").string();
  if (!makeDatabase(path)) {
    std::fputs("cannot make the database (is sqlite3 installed?)\n", stderr);
    return 1;
  }
  engine::EngineParts parts;
  parts.catalogues = [](const DataSource& connect) { return engine::data::openCatalogue(connect); };
  engine::Engine engine(parts);
  // A SQLite file stands as the server; the database is its base name.
  const DataSource sql = serverDataSource(fromUtf8(path), u"two-thousand-tables", Text(), Text());

  std::vector<double> build, listing;
  std::size_t tables = 0, links = 0;
  for (int round = 0; round < kRounds; ++round) {
    OdbcDatabaseServer server;
    Window window(engine);
    const Clock::time_point start = Clock::now();
    const bool made = buildNewReport(sql, server, [] { return std::make_unique<TickingChooser>(); }, window);
    const Clock::time_point end = Clock::now();
    if (!made || !window.report) {
      std::fputs("no report was made\n", stderr);
      return 1;
    }
    listing.push_back(ms(TickingChooser::shown - start));
    build.push_back(ms(end - TickingChooser::shown));
    const auto& data = static_cast<engine::Report&>(*window.report).document().definition.data;
    tables = data.tables.size();
    links = data.links.size();
  }
  const std::string what = std::to_string(tables) + " tables, " + std::to_string(links) + " links";
  report("new-report-200-of-2000-tables-ms", build, what.c_str());
  report("new-report-log-on-and-list-ms", listing, "2000 tables");
  std::filesystem::remove(path);
  return 0;
}
