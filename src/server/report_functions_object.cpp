#include "server/report_functions_object.h"

#include "authoring/report_flows.h"
#include "catalogue/catalogue_scan.h"
#include "connections/recent_reports.h"
#include "maintenance/delete_report.h"
#include "server/com_report_list.h"
#include "server/windows_services.h"

namespace mervane::server {

namespace {
const IID kReportFunctionsV0 = {0x378004BF, 0x4EA6, 0x452A, {0xA8, 0xA2, 0x82, 0xDF, 0x4A, 0x2D, 0x03, 0x60}};
const IID kReportFunctionsV1 = {0xA257575B, 0xEDF5, 0x4CD7, {0xB3, 0x91, 0xD5, 0xD6, 0xF0, 0x23, 0x14, 0x1B}};
const IID kReportFunctionsV2 = {0x04D075D2, 0xFF89, 0x4FC6, {0xB9, 0xBB, 0xE3, 0xFA, 0x38, 0xBF, 0x0B, 0xF3}};

HRESULT store(Text& field, BSTR value) {
  return guarded([&] {
    field = win::toText(value);
    return S_OK;
  });
}
}  // namespace

std::span<const IID* const> ReportFunctionsObject::earlierInterfaceIds() {
  static const IID* const ids[] = {&kReportFunctionsV0, &kReportFunctionsV1, &kReportFunctionsV2};
  return ids;
}

HRESULT ReportFunctionsObject::put_SqlConnString(BSTR value) { return store(settings_.sqlConnString, value); }
HRESULT ReportFunctionsObject::put_SqlDatabase(BSTR value) { return store(settings_.sqlDatabase, value); }
HRESULT ReportFunctionsObject::put_SqlLogin(BSTR value) { return store(settings_.sqlLogin, value); }
HRESULT ReportFunctionsObject::put_SqlPassword(BSTR value) { return store(settings_.sqlPassword, value); }
HRESULT ReportFunctionsObject::put_SqlServer(BSTR value) { return store(settings_.sqlServer, value); }
HRESULT ReportFunctionsObject::get_SqlServer(BSTR* value) { return putOut(value, settings_.sqlServer); }
HRESULT ReportFunctionsObject::put_UserPassword(BSTR value) { return store(settings_.userPassword, value); }
HRESULT ReportFunctionsObject::put_AppName(BSTR value) { return store(settings_.appName, value); }
HRESULT ReportFunctionsObject::put_Path(BSTR value) { return store(settings_.path, value); }
HRESULT ReportFunctionsObject::put_UserName(BSTR value) { return store(settings_.userName, value); }
HRESULT ReportFunctionsObject::put_OdbcServer(BSTR value) { return store(settings_.odbcServer, value); }
HRESULT ReportFunctionsObject::put_ParenthWnd(LONG value) {
  settings_.parentHwnd = value;
  return S_OK;
}
HRESULT ReportFunctionsObject::put_Module(BSTR value) { return store(settings_.module, value); }
HRESULT ReportFunctionsObject::put_RegistryPath(BSTR value) { return store(settings_.registryPath, value); }

HRESULT ReportFunctionsObject::NewVisualReport(VARIANT_BOOL* result) {
  if (!result) return E_POINTER;
  *result = VARIANT_FALSE;
  return guarded([&] {
    WindowsServices services;
    *result = toVariantBool(newVisualReport(settings_, services.designer()));
    return S_OK;
  });
}

HRESULT ReportFunctionsObject::DeleteReport(BSTR RepPath, BSTR RepFileName, VARIANT_BOOL* result) {
  if (!result) return E_POINTER;
  *result = VARIANT_FALSE;
  return guarded([&] {
    WindowsServices services;
    *result = toVariantBool(
        deleteReport(settings_, services.store(), services.files(), win::toText(RepPath), win::toText(RepFileName)));
    return S_OK;
  });
}

HRESULT ReportFunctionsObject::EditVisualReport(BSTR* RepName, BSTR FileName) {
  return guarded([&] {
    Text repName = RepName ? win::toText(*RepName) : Text();
    const Text before = repName;
    {
      WindowsServices services;
      editVisualReport(settings_, services.designer(), repName, win::toText(FileName));
    }
    // The host's string is replaced only when the title changed.
    if (RepName && repName != before) {
      BSTR answer = win::allocBstr(repName);
      SysFreeString(*RepName);
      *RepName = answer;
    }
    return S_OK;
  });
}

HRESULT ReportFunctionsObject::GetReports(_Reports** oReports) {
  return guarded([&] {
    WindowsServices services;
    std::unique_ptr<ComReportList> list;
    if (oReports && *oReports) list = std::make_unique<ComReportList>(*oReports);
    scanCatalogue(settings_, services.scan(), list.get());
    return S_OK;
  });
}

HRESULT ReportFunctionsObject::RecentReportsRemove(short iRegIndex) {
  return guarded([&] {
    WindowsServices services;
    removeRecentReport(settings_, services.store(), iRegIndex);
    return S_OK;
  });
}

HRESULT ReportFunctionsObject::RecentReportsAdd(BSTR sFileName, BSTR sReportTitle, short* result) {
  if (!result) return E_POINTER;
  *result = 0;
  return guarded([&] {
    WindowsServices services;
    *result = addRecentReport(settings_, services.store(), win::toText(sFileName), win::toText(sReportTitle));
    return S_OK;
  });
}

HRESULT ReportFunctionsObject::RecentReportsGet(_Reports** RepColl) {
  return guarded([&] {
    WindowsServices services;
    std::unique_ptr<ComReportList> list;
    if (RepColl && *RepColl) list = std::make_unique<ComReportList>(*RepColl);
    listRecentReports(settings_, services.store(), list.get());
    return S_OK;
  });
}

HRESULT ReportFunctionsObject::GetFavourites(_Reports** oReports, VARIANT_BOOL* bStripPath) {
  return guarded([&] {
    WindowsServices services;
    std::unique_ptr<ComReportList> list;
    if (oReports && *oReports) list = std::make_unique<ComReportList>(*oReports);
    // Only the automation True strips the folder; any other value counts as False.
    bool strip = bStripPath && *bStripPath == VARIANT_TRUE;
    listFavourites(settings_, services.store(), list.get(), strip);
    return S_OK;
  });
}

}  // namespace mervane::server
