#include "maintenance/copy/copy_report.h"

#include <optional>

#include "authoring/details_dialog.h"
#include "catalogue/report_kinds.h"
#include "catalogue/stored_value.h"
#include "components/forgiving_desktop.h"
#include "components/forgiving_file_system.h"
#include "components/forgiving_report_engine.h"
#include "components/forgiving_settings_store.h"

namespace mervane {

namespace {

constexpr auto kCrystal = static_cast<std::int32_t>(ReportType::Crystal);
constexpr auto kVardo = static_cast<std::int32_t>(ReportType::Vardo);

// The Crystal copy: open, re-title, save under the new name, then the copy's
// stored value, written even when the open or the save failed.
void copyThroughEngine(const SessionSettings& session, SettingsStore& store, ForgivingEngine& engine,
                       const CopyRequest& request, const Text& newFileName, const std::optional<Text>& title) {
  ForgivingReport report = engine.openReport(request.repPath + request.oldFileName);
  if (title) report.setTitle(*title);
  report.saveAs(request.repPath + newFileName, kReportFileFormat);
  const std::int32_t applicationData = applicationDataFromText(report.applicationDataText());
  report.reset();
  if (title)
    ForgivingSettingsStore(store).write(session.registryPath, kReportsSection, request.repPath + newFileName,
                                        StoredValue::compose(*title, u'N', applicationData));
}

}  // namespace

bool copyReport(const SessionSettings& session, const CopyPorts& ports, const CopyRequest& request,
                Text& newFileName) {
  // The engine is made on every call, whatever the kind, and let go last.
  ForgivingEngine engine(ports.engine);

  ForgivingDetailsDialog dialog(ports.dialog);
  // Without a dialog nobody confirmed anything: nothing is copied.
  if (!dialog) return false;

  dialog.setAppName(session.appName);
  dialog.setRepPath(request.repPath);
  dialog.setRepType(request.reportType);
  dialog.setTitle(request.oldTitle);
  if (request.reportType == kVardo) dialog.disableTitle();
  dialog.showModal();
  ForgivingDesktop(ports.desktop).processMessages();

  // A dialog whose answer cannot be read counts as cancelled.
  const bool confirmed = dialog.okSelected();
  if (confirmed) {
    const std::optional<Text> boxName = dialog.fileName();
    if (boxName) newFileName = *boxName;
    if (request.reportType == kCrystal) {
      copyThroughEngine(session, ports.store, engine, request, newFileName, dialog.title());
    } else if (boxName) {
      ForgivingFileSystem(ports.files).copyFile(request.repPath + request.oldFileName, request.repPath + *boxName);
    }
  }

  dialog.reset();
  engine.reset();
  return confirmed;
}

}  // namespace mervane
