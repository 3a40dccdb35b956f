// The designer window's NewReport: a new, empty report on tables of the
// company database that the user ticks in the table chooser.
//
// Log on to the session's server (Windows log-on first, the SQL login when
// that fails), list the database's user tables in the chooser under one
// data-set node, show it, and when the user confirms have the window make a
// new report and add each ticked node without children as a table source:
// first with the Windows log-on connection string, then with the SQL login
// one, a table that fails both being left out. Every step's failure is
// passed over and the next step follows; the chooser is unloaded and the
// server disconnected whatever happens.
#pragma once

#include <functional>
#include <memory>

#include "base/text.h"
#include "components/forgiving_report_engine.h"
#include "connections/server_catalogue.h"
#include "connections/table_chooser.h"

namespace mervane {

// What the construction needs of the designer window.
class NewReportWindow {
 public:
  virtual ~NewReportWindow() = default;
  virtual void setHourglass(bool on) = 0;
  virtual void processMessages() = 0;
  // Asks the engine application for a new report, makes it the window's
  // current report and gives it to the designer, then to the viewer.
  virtual void createReport() = 0;
  // The current report's collection of data sources; null without a report.
  virtual std::shared_ptr<EngineDatabase> reportDatabase() = 0;
};

// The window under the library's failure policy: a call that fails is
// skipped and nothing is raised; a failed read gives an empty database.
class ForgivingNewReportWindow {
 public:
  explicit ForgivingNewReportWindow(NewReportWindow& window) : window_(window) {}

  void setHourglass(bool on) noexcept { attempt([&] { window_.setHourglass(on); }); }
  void processMessages() noexcept { attempt([&] { window_.processMessages(); }); }
  void createReport() noexcept { attempt([&] { window_.createReport(); }); }
  ForgivingDatabase reportDatabase() {
    return ForgivingDatabase(attemptOr(std::shared_ptr<EngineDatabase>(), [&] { return window_.reportDatabase(); }));
  }

 private:
  NewReportWindow& window_;
};

// The data-set node's caption for a database.
Text dataSetCaption(const Text& databaseName);

// True when the report was made (the window can be shown); false when the
// user cancelled, or the chooser could not be loaded, shown or asked.
// Never throws.
// `sql` is the session's SQL Server log-on (its server, database, login and
// password).
bool buildNewReport(const DataSource& sql, DatabaseServer& server, const Maker<TableChooser>& loadChooser,
                    NewReportWindow& window);

}  // namespace mervane
