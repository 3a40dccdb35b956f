// NewVisualReport and EditVisualReport: the designer window from creation
// to unloading, each step's failure ignored.
#include "authoring/report_flows.h"

#include <memory>

#include "authoring/designer_window.h"
#include "base/attempt.h"
#include "catalogue/catalogue_scan.h"

namespace mervane {
namespace {

// The session's connection settings, read once, go to the window as one
// value.
void configure(DesignerWindow& window, const SessionSettings& s) {
  attempt([&] { window.setSessionData(readSessionData(s)); });
}

}  // namespace

bool newVisualReport(const SessionSettings& session, const DesignerPorts& ports) {
  std::unique_ptr<DesignerWindow> window;
  if (!attempt([&] { window = ports.window(); }) || !window) return false;
  configure(*window, session);
  bool ready = false;
  if (!attempt([&] { ready = window->newReport(); }) || !ready) return false;
  attempt([&] { window->showModal(); });
  attempt([&] { ports.desktop.processMessages(); });
  return true;
}

void editVisualReport(const SessionSettings& session, const DesignerPorts& ports, Text& repName, const Text& fileName) {
  attempt([&] { ports.desktop.setBusyPointer(true); });
  Text newTitle;
  bool opened = false;
  {
    std::unique_ptr<DesignerWindow> window;
    attempt([&] { window = ports.window(); });
    if (window) {
      attempt([&] { window->setCaption(u"Edit Report - " + fileName); });
      configure(*window, session);
      attempt([&] { window->openReport(fileName, repName); });
      attempt([&] { ports.desktop.setBusyPointer(false); });
      attempt([&] { window->showModal(); });
      attempt([&] { ports.desktop.processMessages(); });
      attempt([&] { newTitle = window->reportTitle(); });
      attempt([&] { opened = window->hasReport(); });
    }
    attempt([&] { ports.desktop.setBusyPointer(false); });
  }  // the window unloads here

  // A report that never opened reads back an empty title: that is not the
  // user's change, so no stored title is wiped and the host keeps its name.
  if (!opened && newTitle.empty()) return;
  if (trim(newTitle) == trim(repName)) return;
  retitleStoredReports(session, ports.store, repName, newTitle);
  repName = trim(newTitle);
}

void retitleStoredReports(const SessionSettings& session, SettingsStore& store, const Text& oldTitle,
                          const Text& newTitle) {
  std::vector<SettingsStore::Row> rows;
  if (!attempt([&] { rows = store.readAll(session.registryPath, kReportsSection); })) return;
  const Text old = trim(oldTitle);
  for (const auto& [key, text] : rows) {
    std::optional<StoredValue::Parts> parts = StoredValue::split(text);
    if (!parts || trim(parts->title) != old) continue;
    parts->title = newTitle;
    const Text& storedKey = key;
    attempt([&] {
      store.write(session.registryPath, kReportsSection, storedKey, parts->joined());
    });
  }
}

}  // namespace mervane
