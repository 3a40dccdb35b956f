#include "server/windows_services.h"

#include "base/win/form.h"
#include "catalogue/win/calculating_form.h"
#include "components/win/host_components.h"
#include "engine/win/engine_factory.h"

namespace mervane::server {

void ThreadSettingsStore::remove(const Text& root, const Text& section, const Text& key) {
  threadSettingsStore().remove(root, section, key);
}
std::vector<SettingsStore::Row> ThreadSettingsStore::readAll(const Text& root, const Text& section) {
  return threadSettingsStore().readAll(root, section);
}
Text ThreadSettingsStore::read(const Text& root, const Text& section, const Text& key, const Text& fallback) {
  return threadSettingsStore().read(root, section, key, fallback);
}
void ThreadSettingsStore::write(const Text& root, const Text& section, const Text& key, const Text& value) {
  threadSettingsStore().write(root, section, key, value);
}

void WindowsDesktop::processMessages() { win::processMessages(); }

ScanPorts WindowsServices::scan() {
  return ScanPorts{
      store_,
      files_,
      [] { return createEngineApplication(); },
      [] { return createLegacyReportService(); },
      [] { return createReportPropertyReader(); },
      []() -> std::unique_ptr<ScanWindow> {
        auto form = std::make_unique<win::CalculatingForm>();
        form->load();
        return form;
      },
      desktop_,
  };
}

}  // namespace mervane::server
