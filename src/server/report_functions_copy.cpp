// ReportFunctions.CopyReport: the details dialog, then the copy.
#include "maintenance/copy/copy_report.h"
#include "server/report_functions_object.h"
#include "server/windows_services.h"

namespace mervane::server {

HRESULT ReportFunctionsObject::CopyReport(BSTR OldRepName, BSTR OldRepFileName, BSTR RepPath, BSTR* NewFileName,
                                          vdReportType iReportType) {
  return guarded([&] {
    const CopyRequest request{win::toText(OldRepName), win::toText(OldRepFileName), win::toText(RepPath),
                              static_cast<std::int32_t>(iReportType)};
    Text newFileName = NewFileName ? win::toText(*NewFileName) : Text();
    bool confirmed = false;
    {
      WindowsServices services;
      confirmed = copyReport(settings_, services.copy(), request, newFileName);
    }
    // The host's string is replaced only after a confirmed dialog.
    if (confirmed && NewFileName) {
      BSTR answer = win::allocBstr(newFileName);
      SysFreeString(*NewFileName);
      *NewFileName = answer;
    }
    return S_OK;
  });
}

}  // namespace mervane::server
