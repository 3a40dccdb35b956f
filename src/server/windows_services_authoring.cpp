// The authoring forms as ports.
#include <stdexcept>

#include "authoring/win/designer_form.h"
#include "authoring/win/details_form.h"
#include "engine/engine.h"
#include "connections/server_catalogue.h"
#include "connections/win/select_tables_form.h"
#include "engine/win/engine_factory.h"
#include "server/windows_services.h"

namespace mervane::server {

// The dialog tests for existing files through this object's file system,
// so it must be let go before the services are.
CopyPorts WindowsServices::copy() {
  return CopyPorts{
      store_,
      files_,
      [] { return createEngineApplication(); },
      [this]() -> std::unique_ptr<DetailsDialog> {
        auto form = std::make_unique<win::DetailsForm>(files_);
        form->load();
        if (!form->hwnd()) throw std::runtime_error("the details dialog cannot be created");
        return form;
      },
      desktop_,
  };
}

DesignerPorts WindowsServices::designer() {
  return DesignerPorts{
      store_,
      []() -> std::unique_ptr<DesignerWindow> {
        authoring::win::DesignerFormParts parts;
        parts.createEngine = [] { return createReportEngine(); };
        parts.createServer = [] { return std::make_unique<OdbcDatabaseServer>(); };
        parts.loadChooser = [] { return loadSelectTablesForm(); };
        auto form = std::make_unique<authoring::win::DesignerForm>(std::move(parts));
        form->load();
        if (!form->hwnd()) throw std::runtime_error("the designer window cannot be created");
        return form;
      },
      desktop_,
  };
}

void WindowsDesktop::setBusyPointer(bool busy) { SetCursor(LoadCursorW(nullptr, busy ? IDC_WAIT : IDC_ARROW)); }

}  // namespace mervane::server
