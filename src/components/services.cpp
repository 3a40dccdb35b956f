// Services that a particular set of services does not offer: asking for
// them fails like any other failed call.
#include "components/services.h"

#include <stdexcept>

#include "authoring/designer_window.h"
#include "authoring/details_dialog.h"
#include "maintenance/export_import/archive_window.h"

namespace mervane {

std::unique_ptr<DetailsDialog> Services::loadDetailsDialog() { throw std::runtime_error("no details dialog"); }
std::unique_ptr<ArchiveWindow> Services::loadArchiveWindow() { throw std::runtime_error("no archive window"); }
std::unique_ptr<DesignerWindow> Services::loadDesignerWindow() { throw std::runtime_error("no designer window"); }
void Services::showMessage(const Text&, const Text&) { throw std::runtime_error("no message box"); }

}  // namespace mervane
