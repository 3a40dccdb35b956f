// Services: everything outside the core that the library's operations reach,
// gathered in one place. The Windows build supplies the real ones (the host's
// components through COM, the file system, the forms); the tests supply
// their own.
#pragma once

#include <memory>

#include "components/file_system.h"
#include "components/host_readers.h"
#include "components/report_engine.h"
#include "components/settings_store.h"

namespace mervane {

class DetailsDialog;  // the report details dialog, src/authoring/details_dialog.h
class ArchiveWindow;  // the archive progress window, src/maintenance/export_import/archive_window.h
class DesignerWindow;  // the designer window, src/authoring/designer_window.h

// The small modeless window that shows the catalogue scan's progress.
class ScanWindow {
 public:
  virtual ~ScanWindow() = default;
  virtual void setMaximum(std::int32_t maximum) = 0;
  virtual void setValue(std::int32_t value) = 0;
  virtual std::int32_t value() = 0;
  virtual void setLabel(const Text& text) = 0;
  virtual void show() = 0;  // modeless
  virtual void close() = 0;
};

class Services {
 public:
  virtual ~Services() = default;
  // The shared settings store of this thread; throws when unavailable.
  virtual SettingsStore& settingsStore() = 0;
  virtual FileSystem& fileSystem() = 0;
  // New component objects for one call; each throws when it cannot be made.
  virtual std::unique_ptr<EngineApplication> createEngine() = 0;
  virtual std::unique_ptr<LegacyReportService> createLegacyReportService() = 0;
  virtual std::unique_ptr<ReportPropertyReader> createReportPropertyReader() = 0;
  virtual std::unique_ptr<ScanWindow> loadScanWindow() = 0;
  // Loaded (not shown) forms for one call; each throws when it cannot be made.
  virtual std::unique_ptr<DetailsDialog> loadDetailsDialog();
  virtual std::unique_ptr<ArchiveWindow> loadArchiveWindow();
  virtual std::unique_ptr<DesignerWindow> loadDesignerWindow();
  // An OK-only message box with the exclamation icon.
  virtual void showMessage(const Text& text, const Text& title);
  // Lets waiting window messages be processed once.
  virtual void processMessages() = 0;
  // The hourglass pointer on (true) or the normal pointer back (false).
  virtual void setBusyPointer(bool /*busy*/) {}
};

}  // namespace mervane
