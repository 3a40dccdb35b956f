// The archive window and message boxes as ports.
#include <stdexcept>

#include "maintenance/export_import/win/archive_dialogs.h"
#include "maintenance/export_import/win/archive_form.h"
#include "server/windows_services.h"

namespace mervane::server {

ArchivePorts WindowsServices::archive() {
  return ArchivePorts{
      []() -> std::unique_ptr<ArchiveWindow> {
        auto form = std::make_unique<win::ArchiveForm>();
        form->load();
        if (!form->hwnd()) throw std::runtime_error("the archive window cannot be created");
        return form;
      },
      desktop_,
  };
}

void WindowsDesktop::showMessage(const Text& text, const Text& title) { win::showExclamation(text, title); }

}  // namespace mervane::server
