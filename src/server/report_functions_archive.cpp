// ReportFunctions.Export and Import: the reports folder to and from a zip
// archive, through the archive progress window.
#include "maintenance/export_import/export_import.h"
#include "server/report_functions_object.h"
#include "server/windows_services.h"

namespace mervane::server {

HRESULT ReportFunctionsObject::Export(VARIANT_BOOL* result) {
  if (!result) return E_POINTER;
  *result = VARIANT_FALSE;
  return guarded([&] {
    WindowsServices services;
    *result = toVariantBool(exportReports(settings_, services.archive()));
    return S_OK;
  });
}

HRESULT ReportFunctionsObject::Import(VARIANT_BOOL* result) {
  if (!result) return E_POINTER;
  *result = VARIANT_FALSE;
  return guarded([&] {
    WindowsServices services;
    *result = toVariantBool(importReports(settings_, services.archive()));
    return S_OK;
  });
}

}  // namespace mervane::server
