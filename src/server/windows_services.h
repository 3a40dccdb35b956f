// The ports of a running library, built for each call into it: the host's
// components through COM, the Win32 file system, the library's own engine
// and forms, each operation given only the ports it uses.
#pragma once

#include "authoring/report_flows.h"
#include "catalogue/catalogue_scan.h"
#include "components/desktop.h"
#include "components/win/win32_file_system.h"
#include "maintenance/copy/copy_report.h"
#include "maintenance/export_import/export_import.h"

namespace mervane::server {

// The host's settings store of this thread, reached afresh by every call: a
// store that cannot be made fails that call alone, as any failed call does.
class ThreadSettingsStore final : public SettingsStore {
 public:
  void remove(const Text& root, const Text& section, const Text& key) override;
  std::vector<Row> readAll(const Text& root, const Text& section) override;
  Text read(const Text& root, const Text& section, const Text& key, const Text& fallback) override;
  void write(const Text& root, const Text& section, const Text& key, const Text& value) override;
};

class WindowsDesktop final : public Desktop {
 public:
  void processMessages() override;
  void setBusyPointer(bool busy) override;                         // windows_services_authoring.cpp
  void showMessage(const Text& text, const Text& title) override;  // windows_services_maintenance.cpp
};

class WindowsServices {
 public:
  SettingsStore& store() { return store_; }
  FileSystem& files() { return files_; }
  Desktop& desktop() { return desktop_; }

  ScanPorts scan();
  CopyPorts copy();          // windows_services_authoring.cpp
  DesignerPorts designer();  // windows_services_authoring.cpp
  ArchivePorts archive();    // windows_services_maintenance.cpp

 private:
  ThreadSettingsStore store_;
  win::Win32FileSystem files_;
  WindowsDesktop desktop_;
};

}  // namespace mervane::server
