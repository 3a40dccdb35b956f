// The Services of a running library: the host's components through COM,
// the Win32 file system, the library's own engine and forms.
#pragma once

#include "components/win/win32_file_system.h"
#include "components/services.h"

namespace mervane::server {

class WindowsServices : public Services {
 public:
  SettingsStore& settingsStore() override;
  FileSystem& fileSystem() override { return files_; }
  std::unique_ptr<EngineApplication> createEngine() override;
  std::unique_ptr<LegacyReportService> createLegacyReportService() override;
  std::unique_ptr<ReportPropertyReader> createReportPropertyReader() override;
  std::unique_ptr<ScanWindow> loadScanWindow() override;
  std::unique_ptr<DetailsDialog> loadDetailsDialog() override;    // windows_services_authoring.cpp
  std::unique_ptr<DesignerWindow> loadDesignerWindow() override;  // windows_services_authoring.cpp
  void setBusyPointer(bool busy) override;                         // windows_services_authoring.cpp
  std::unique_ptr<ArchiveWindow> loadArchiveWindow() override;    // windows_services_maintenance.cpp
  void showMessage(const Text& text, const Text& title) override;  // windows_services_maintenance.cpp
  void processMessages() override;

 private:
  win::Win32FileSystem files_;
};

}  // namespace mervane::server
