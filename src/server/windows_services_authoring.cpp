// The authoring forms as services.
#include <stdexcept>

#include "authoring/win/details_form.h"
#include "server/windows_services.h"

namespace mervane::server {

// The dialog tests for existing files through this object's file system,
// so it must be let go before the services are.
std::unique_ptr<DetailsDialog> WindowsServices::loadDetailsDialog() {
  auto form = std::make_unique<win::DetailsForm>(files_);
  form->load();
  if (!form->hwnd()) throw std::runtime_error("the details dialog cannot be created");
  return form;
}

}  // namespace mervane::server
