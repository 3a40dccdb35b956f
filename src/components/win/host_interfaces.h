// The host's components as the library calls them: class ids, interface ids
// and the vtable layouts of the dual interfaces called early-bound. The host
// publishes these; the library does not use the host's headers.
#pragma once

#include <windows.h>
#include <oaidl.h>

namespace mervane::win::host {

// The settings store, shared per thread.
inline constexpr CLSID kSettingsClass = {0xFFEF19B7, 0x206E, 0x4797, {0x99, 0xB5, 0x75, 0x18, 0xE8, 0xD1, 0x49, 0xC6}};
inline constexpr IID kSettingsInterface = {0x5B021E95, 0x0CA7, 0x46A1, {0x80, 0xA8, 0x45, 0x70, 0xC1, 0x89, 0x5C, 0x8B}};

struct Settings : IDispatch {
  virtual HRESULT STDMETHODCALLTYPE DeleteSetting(BSTR root, BSTR section, BSTR key) = 0;
  // Empty, or a two-dimensional array: rows of (key, value).
  virtual HRESULT STDMETHODCALLTYPE GetAllSettings(BSTR root, BSTR section, VARIANT* table) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetSetting(BSTR root, BSTR section, BSTR key, BSTR fallback, BSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE SaveSetting(BSTR root, BSTR section, BSTR key, BSTR value) = 0;
};

// The legacy report service and its report definition (older Vardo format).
inline constexpr CLSID kLegacyServiceClass = {0xE105A9F2, 0xDA1E, 0x48B2, {0xB6, 0x69, 0x22, 0xC4, 0x02, 0x8D, 0x52, 0x3E}};
inline constexpr IID kLegacyServiceInterface = {0x78E73A8C, 0x4B8A, 0x4560, {0x81, 0x89, 0x54, 0x96, 0x2E, 0x7C, 0xBB, 0x5C}};
inline constexpr IID kLegacyDefinitionInterface = {0xC8F21650, 0x8757, 0x424B, {0x82, 0xBC, 0x64, 0xCE, 0x2F, 0x7A, 0x65, 0xB0}};

struct LegacyReportDefinition : IDispatch {
  virtual HRESULT STDMETHODCALLTYPE put_Name(BSTR name) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Name(BSTR* name) = 0;
  virtual HRESULT STDMETHODCALLTYPE Load() = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Title(BSTR* title) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_ApplicationData(LONG* data) = 0;
};

struct LegacyReportService : IDispatch {
  virtual HRESULT STDMETHODCALLTYPE put_ProgramReports(BSTR folders) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_ProgramReports(BSTR* folders) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetReportDefinition(LegacyReportDefinition** definition) = 0;
};

// The report property reader (newer Vardo format), called by name.
inline constexpr CLSID kPropertyReaderClass = {0xE6C91230, 0xCED5, 0x4C74, {0x8D, 0xC0, 0xD6, 0xFA, 0x95, 0x57, 0x9F, 0xCC}};
inline constexpr IID kPropertyReaderInterface = {0x6D19E1AF, 0x7066, 0x434C, {0x8B, 0x56, 0xD5, 0xB2, 0xAE, 0x00, 0x20, 0xE5}};
inline constexpr wchar_t kGetTitle[] = L"GetTitle";        // (path) -> title
inline constexpr wchar_t kGetProperty[] = L"GetProperty";  // (path, name) -> text

}  // namespace mervane::win::host
