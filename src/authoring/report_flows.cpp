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

bool newVisualReport(const SessionSettings& session, Services& services) {
  std::unique_ptr<DesignerWindow> window;
  if (!attempt([&] { window = services.loadDesignerWindow(); }) || !window) return false;
  configure(*window, session);
  bool ready = false;
  if (!attempt([&] { ready = window->newReport(); }) || !ready) return false;
  attempt([&] { window->showModal(); });
  attempt([&] { services.processMessages(); });
  return true;
}

void editVisualReport(const SessionSettings& session, Services& services, Text& repName, const Text& fileName) {
  attempt([&] { services.setBusyPointer(true); });
  Text newTitle;
  bool opened = false;
  {
    std::unique_ptr<DesignerWindow> window;
    attempt([&] { window = services.loadDesignerWindow(); });
    if (window) {
      attempt([&] { window->setCaption(u"Edit Report - " + fileName); });
      configure(*window, session);
      attempt([&] { window->openReport(fileName, repName); });
      attempt([&] { services.setBusyPointer(false); });
      attempt([&] { window->showModal(); });
      attempt([&] { services.processMessages(); });
      attempt([&] { newTitle = window->reportTitle(); });
      attempt([&] { opened = window->hasReport(); });
    }
    attempt([&] { services.setBusyPointer(false); });
  }  // the window unloads here

  // A report that never opened reads back an empty title: that is not the
  // user's change, so no stored title is wiped and the host keeps its name.
  if (!opened && newTitle.empty()) return;
  if (trim(newTitle) == trim(repName)) return;
  retitleStoredReports(session, services, repName, newTitle);
  repName = trim(newTitle);
}

void retitleStoredReports(const SessionSettings& session, Services& services, const Text& oldTitle,
                          const Text& newTitle) {
  std::vector<SettingsStore::Row> rows;
  if (!attempt([&] { rows = services.settingsStore().readAll(session.registryPath, kReportsSection); })) return;
  const Text old = trim(oldTitle);
  for (const auto& [key, text] : rows) {
    const std::size_t first = text.find(u';');
    if (first == Text::npos) continue;
    const std::size_t second = text.find(u';', first + 1);
    if (second == Text::npos) continue;
    if (trim(text.substr(0, first)) != old) continue;
    const Text flag = text.substr(first + 1, second - first - 1);
    const Text rest = text.substr(second + 1);
    const Text& storedKey = key;
    attempt([&] {
      services.settingsStore().write(session.registryPath, kReportsSection, storedKey,
                                     newTitle + u";" + flag + u";" + rest);
    });
  }
}

}  // namespace mervane
