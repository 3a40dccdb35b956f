// The archive window and message boxes as services.
#include "server/windows_services.h"

#include "maintenance/export_import/archive_window.h"

namespace mervane::server {

std::unique_ptr<ArchiveWindow> WindowsServices::loadArchiveWindow() { return Services::loadArchiveWindow(); }

void WindowsServices::showMessage(const Text& text, const Text& title) { Services::showMessage(text, title); }

}  // namespace mervane::server
