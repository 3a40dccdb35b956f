// The settings store: VB-style program settings over COM. GetAllSettings
// answers like Visual Basic's: Empty for a section without values, else a
// two-dimensional array of VARIANT, rows 0..n-1 by columns 0..1 (key, value).
#include <memory>

#include "host/host_call.h"
#include "host/host_objects.h"
#include "host/program_settings.h"

namespace mervane::host {

namespace {

struct SafeArrayDeleter {
  void operator()(SAFEARRAY* a) const { SafeArrayDestroy(a); }
};
using SafeArrayPtr = std::unique_ptr<SAFEARRAY, SafeArrayDeleter>;

void putText(SAFEARRAY* table, LONG row, LONG column, const std::wstring& text) {
  win::Variant cell;
  V_VT(cell.get()) = VT_BSTR;
  V_BSTR(cell.get()) = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  if (!V_BSTR(cell.get())) throw std::bad_alloc();
  LONG index[2] = {row, column};
  win::check(SafeArrayPutElement(table, index, cell.get()));
}

}  // namespace

HRESULT SettingsObject::DeleteSetting(BSTR app, BSTR section, BSTR key) {
  return hostCall([&] {
    deleteSetting(wideOf(app), wideOf(section), wideOf(key));
    return S_OK;
  });
}

HRESULT SettingsObject::GetAllSettings(BSTR app, BSTR section, VARIANT* settings) {
  if (!settings) return E_POINTER;
  VariantInit(settings);
  return hostCall([&] {
    auto rows = getAllSettings(wideOf(app), wideOf(section));
    if (rows.empty()) return S_OK;
    SAFEARRAYBOUND bounds[2] = {{static_cast<ULONG>(rows.size()), 0}, {2, 0}};
    SafeArrayPtr table(SafeArrayCreate(VT_VARIANT, 2, bounds));
    if (!table) throw std::bad_alloc();
    for (std::size_t i = 0; i < rows.size(); ++i) {
      putText(table.get(), static_cast<LONG>(i), 0, rows[i].first);
      putText(table.get(), static_cast<LONG>(i), 1, rows[i].second);
    }
    V_VT(settings) = VT_ARRAY | VT_VARIANT;
    V_ARRAY(settings) = table.release();
    return S_OK;
  });
}

HRESULT SettingsObject::GetSetting(BSTR app, BSTR section, BSTR key, BSTR fallback, BSTR* value) {
  if (!value) return E_POINTER;
  *value = nullptr;
  return hostCall([&] { return putBstr(value, getSetting(wideOf(app), wideOf(section), wideOf(key)).value_or(wideOf(fallback))); });
}

HRESULT SettingsObject::SaveSetting(BSTR app, BSTR section, BSTR key, BSTR value) {
  return hostCall([&] {
    saveSetting(wideOf(app), wideOf(section), wideOf(key), wideOf(value));
    return S_OK;
  });
}

}  // namespace mervane::host
