#include "server/report_item_object.h"

namespace mervane::server {

namespace {
const IID kReportItemV0 = {0x437478DF, 0x9463, 0x49C8, {0xAF, 0xF1, 0xA2, 0x38, 0xD0, 0x5F, 0x94, 0x2C}};
const IID kReportItemV1 = {0x7A62C4BE, 0x763D, 0x497F, {0xA2, 0xE6, 0x75, 0xC8, 0xD1, 0x1E, 0x04, 0x61}};

// Stores a text property; a failed allocation leaves the old value.
HRESULT store(Text& field, BSTR value) {
  return guarded([&] {
    field = win::toText(value);
    return S_OK;
  });
}
}  // namespace

std::span<const IID* const> ReportItemObject::earlierInterfaceIds() {
  static const IID* const ids[] = {&kReportItemV0, &kReportItemV1};
  return ids;
}

HRESULT ReportItemObject::put_Favourite(VARIANT_BOOL value) {
  item_.favourite = value != VARIANT_FALSE;
  return S_OK;
}
HRESULT ReportItemObject::get_Favourite(VARIANT_BOOL* value) { return putOut(value, toVariantBool(item_.favourite)); }
HRESULT ReportItemObject::put_RegKey(BSTR value) { return store(item_.regKey, value); }
HRESULT ReportItemObject::get_RegKey(BSTR* value) { return putOut(value, item_.regKey); }
HRESULT ReportItemObject::put_FileName(BSTR value) { return store(item_.fileName, value); }
HRESULT ReportItemObject::get_FileName(BSTR* value) { return putOut(value, item_.fileName); }
HRESULT ReportItemObject::put_ReportTitle(BSTR value) { return store(item_.reportTitle, value); }
HRESULT ReportItemObject::get_ReportTitle(BSTR* value) { return putOut(value, item_.reportTitle); }
HRESULT ReportItemObject::put_ReportType(BSTR value) { return store(item_.reportType, value); }
HRESULT ReportItemObject::get_ReportType(BSTR* value) { return putOut(value, item_.reportType); }
HRESULT ReportItemObject::put_ApplicationData(LONG value) {
  item_.applicationData = value;
  return S_OK;
}
HRESULT ReportItemObject::get_ApplicationData(LONG* value) { return putOut<LONG>(value, item_.applicationData); }

}  // namespace mervane::server
