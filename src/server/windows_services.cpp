#include "server/windows_services.h"

#include "base/win/form.h"
#include "catalogue/win/calculating_form.h"
#include "engine/win/engine_factory.h"
#include "components/win/host_components.h"

namespace mervane::server {

SettingsStore& WindowsServices::settingsStore() { return threadSettingsStore(); }

std::unique_ptr<EngineApplication> WindowsServices::createEngine() { return createEngineApplication(); }

std::unique_ptr<LegacyReportService> WindowsServices::createLegacyReportService() {
  return mervane::createLegacyReportService();
}

std::unique_ptr<ReportPropertyReader> WindowsServices::createReportPropertyReader() {
  return mervane::createReportPropertyReader();
}

std::unique_ptr<ScanWindow> WindowsServices::loadScanWindow() {
  auto form = std::make_unique<win::CalculatingForm>();
  form->load();
  return form;
}

void WindowsServices::processMessages() { win::processMessages(); }

}  // namespace mervane::server
