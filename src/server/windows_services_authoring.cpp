// The authoring forms as services.
#include "server/windows_services.h"

#include "authoring/details_dialog.h"

namespace mervane::server {

std::unique_ptr<DetailsDialog> WindowsServices::loadDetailsDialog() { return Services::loadDetailsDialog(); }

}  // namespace mervane::server
