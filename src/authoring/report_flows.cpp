// NewVisualReport and EditVisualReport: the designer window from creation
// to unloading, each step's failure ignored.
#include "authoring/report_flows.h"

#include "authoring/designer_window.h"
#include "catalogue/catalogue_scan.h"
#include "components/forgiving_desktop.h"
#include "components/forgiving_settings_store.h"

namespace mervane {

bool newVisualReport(const SessionSettings& session, const DesignerPorts& ports) {
  ForgivingDesignerWindow window(ports.window);
  if (!window) return false;
  window.setSessionData(readSessionData(session));
  if (!window.newReport()) return false;
  window.showModal();
  ForgivingDesktop(ports.desktop).processMessages();
  return true;
}

void editVisualReport(const SessionSettings& session, const DesignerPorts& ports, Text& repName, const Text& fileName) {
  ForgivingDesktop desktop(ports.desktop);
  desktop.setBusyPointer(true);
  Text newTitle;
  bool opened = false;
  {
    ForgivingDesignerWindow window(ports.window);
    if (window) {
      window.setCaption(u"Edit Report - " + fileName);
      window.setSessionData(readSessionData(session));
      window.openReport(fileName, repName);
      desktop.setBusyPointer(false);
      window.showModal();
      desktop.processMessages();
      newTitle = window.reportTitle();
      opened = window.hasReport();
    }
    desktop.setBusyPointer(false);
  }  // the window unloads here

  // A report that never opened reads back an empty title: that is not the
  // user's change, so no stored title is wiped and the host keeps its name.
  if (!opened && newTitle.empty()) return;
  if (trim(newTitle) == trim(repName)) return;
  retitleStoredReports(session, ports.store, repName, newTitle);
  repName = trim(newTitle);
}

void retitleStoredReports(const SessionSettings& session, SettingsStore& settings, const Text& oldTitle,
                          const Text& newTitle) {
  ForgivingSettingsStore store(settings);
  const std::optional<std::vector<SettingsStore::Row>> rows = store.readAll(session.registryPath, kReportsSection);
  if (!rows) return;
  const Text old = trim(oldTitle);
  for (const auto& [key, text] : *rows) {
    std::optional<StoredValue::Parts> parts = StoredValue::split(text);
    if (!parts || trim(parts->title) != old) continue;
    parts->title = newTitle;
    store.write(session.registryPath, kReportsSection, key, parts->joined());
  }
}

}  // namespace mervane
