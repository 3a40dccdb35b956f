#include "maintenance/copy/copy_report.h"

#include <optional>

#include "authoring/details_dialog.h"
#include "base/attempt.h"
#include "catalogue/report_kinds.h"
#include "catalogue/stored_value.h"

namespace mervane {

namespace {

constexpr auto kCrystal = static_cast<std::int32_t>(ReportType::Crystal);
constexpr auto kVardo = static_cast<std::int32_t>(ReportType::Vardo);

// The Crystal copy: open, re-title, save under the new name, then the copy's
// stored value, written even when the open or the save failed.
void copyThroughEngine(const SessionSettings& session, Services& services, EngineApplication* engine,
                       const CopyRequest& request, const Text& newFileName, const std::optional<Text>& title) {
  std::unique_ptr<EngineReport> report;
  attempt([&] { if (engine) report = engine->openReport(request.repPath + request.oldFileName); });
  attempt([&] { if (report && title) report->setTitle(*title); });
  attempt([&] { if (report) report->saveAs(request.repPath + newFileName, kReportFileFormat); });
  std::int32_t applicationData = 0;
  attempt([&] { if (report) applicationData = applicationDataFromText(report->applicationDataText()); });
  report.reset();
  attempt([&] {
    if (!title) return;
    services.settingsStore().write(session.registryPath, kReportsSection, request.repPath + newFileName,
                                   StoredValue::compose(*title, u'N', applicationData));
  });
}

}  // namespace

bool copyReport(const SessionSettings& session, Services& services, const CopyRequest& request, Text& newFileName) {
  // The engine is made on every call, whatever the kind, and let go last.
  std::unique_ptr<EngineApplication> engine;
  attempt([&] { engine = services.createEngine(); });

  std::unique_ptr<DetailsDialog> dialog;
  attempt([&] { dialog = services.loadDetailsDialog(); });
  // Without a dialog nobody confirmed anything: nothing is copied.
  if (!dialog) return false;

  attempt([&] { dialog->setAppName(session.appName); });
  attempt([&] { dialog->setRepPath(request.repPath); });
  attempt([&] { dialog->setRepType(request.reportType); });
  attempt([&] { dialog->setTitle(request.oldTitle); });
  if (request.reportType == kVardo) attempt([&] { dialog->disableTitle(); });
  attempt([&] { dialog->showModal(); });
  attempt([&] { services.processMessages(); });

  // A dialog whose answer cannot be read counts as cancelled.
  const bool confirmed = attemptValue([&] { return dialog->okSelected(); }).value_or(false);
  if (confirmed) {
    const std::optional<Text> boxName = attemptValue([&] { return dialog->fileName(); });
    if (boxName) newFileName = *boxName;
    if (request.reportType == kCrystal) {
      const std::optional<Text> title = attemptValue([&] { return dialog->title(); });
      copyThroughEngine(session, services, engine.get(), request, newFileName, title);
    } else if (boxName) {
      attempt([&] { services.fileSystem().copyFile(request.repPath + request.oldFileName, request.repPath + *boxName); });
    }
  }

  dialog.reset();
  engine.reset();
  return confirmed;
}

}  // namespace mervane
