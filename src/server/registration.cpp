#include "server/registration.h"

#include <oleauto.h>
#include <olectl.h>

#include "Mervane100.h"
#include "base/win/com.h"

namespace mervane::server {

namespace {

// Interface ids of earlier releases: marshalled like the current interface.
struct EarlierInterface {
  const wchar_t* iid;
  const wchar_t* name;
};
const EarlierInterface kEarlierInterfaces[] = {
    {L"{378004BF-4EA6-452A-A8A2-82DF4A2D0360}", L"ReportFunctions___v0"},
    {L"{A257575B-EDF5-4CD7-B391-D5D6F023141B}", L"ReportFunctions___v1"},
    {L"{04D075D2-FF89-4FC6-B9BB-E3FA38BF0BF3}", L"ReportFunctions___v2"},
    {L"{437478DF-9463-49C8-AFF1-A238D05F942C}", L"ReportItem___v0"},
    {L"{7A62C4BE-763D-497F-A2E6-75C8D11E0461}", L"ReportItem___v1"},
    {L"{96E793B6-EF91-477E-B2BB-1FF1116B484A}", L"cPrinter___v0"},
};
const wchar_t kTypeLibId[] = L"{C3361E46-0FAB-4E02-B99A-6D5BA5367EE4}";
const wchar_t kTypeLibVersion[] = L"1.6";
const wchar_t kAutomationMarshaler[] = L"{00020424-0000-0000-C000-000000000046}";

std::wstring guidText(const GUID& g) {
  wchar_t buffer[40] = {};
  StringFromGUID2(g, buffer, 40);
  return buffer;
}

// Writes "default" (empty name) or a named string value under HKCR\path.
bool setValue(const std::wstring& path, const wchar_t* name, const std::wstring& value) {
  HKEY key = nullptr;
  if (RegCreateKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr) !=
      ERROR_SUCCESS)
    return false;
  LONG rc = RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                           static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
  RegCloseKey(key);
  return rc == ERROR_SUCCESS;
}

void deleteTree(const std::wstring& path) { RegDeleteTreeW(HKEY_CLASSES_ROOT, path.c_str()); RegDeleteKeyW(HKEY_CLASSES_ROOT, path.c_str()); }

}  // namespace

HRESULT registerServer(const std::wstring& modulePath, std::span<const CreatableClass> classes) {
  win::ComPtr<ITypeLib> lib;
  HRESULT hr = LoadTypeLibEx(modulePath.c_str(), REGKIND_NONE, lib.put());
  if (FAILED(hr)) return hr;
  std::wstring path = modulePath;
  hr = RegisterTypeLib(lib.get(), path.data(), nullptr);
  if (FAILED(hr)) return hr;

  bool ok = true;
  for (const CreatableClass& c : classes) {
    std::wstring clsid = guidText(*c.clsid);
    std::wstring key = L"CLSID\\" + clsid;
    ok &= setValue(key, nullptr, c.description);
    ok &= setValue(key + L"\\InprocServer32", nullptr, modulePath);
    ok &= setValue(key + L"\\InprocServer32", L"ThreadingModel", L"Apartment");
    ok &= setValue(key + L"\\ProgID", nullptr, c.progId);
    ok &= setValue(key + L"\\VERSION", nullptr, kTypeLibVersion);
    ok &= setValue(key + L"\\TypeLib", nullptr, kTypeLibId);
    ok &= setValue(key + L"\\Implemented Categories\\{40FC6ED5-2438-11CF-A3DB-080036F12502}", nullptr, L"");
    ok &= setValue(c.progId, nullptr, c.description);
    ok &= setValue(std::wstring(c.progId) + L"\\CLSID", nullptr, clsid);
  }
  for (const EarlierInterface& i : kEarlierInterfaces) {
    std::wstring key = std::wstring(L"Interface\\") + i.iid;
    ok &= setValue(key, nullptr, i.name);
    ok &= setValue(key + L"\\ProxyStubClsid", nullptr, kAutomationMarshaler);
    ok &= setValue(key + L"\\ProxyStubClsid32", nullptr, kAutomationMarshaler);
    ok &= setValue(key + L"\\TypeLib", nullptr, kTypeLibId);
    ok &= setValue(key + L"\\TypeLib", L"Version", kTypeLibVersion);
  }
  return ok ? S_OK : SELFREG_E_CLASS;
}

HRESULT unregisterServer(std::span<const CreatableClass> classes) {
  for (const CreatableClass& c : classes) {
    deleteTree(L"CLSID\\" + guidText(*c.clsid));
    deleteTree(c.progId);
  }
  for (const EarlierInterface& i : kEarlierInterfaces) deleteTree(std::wstring(L"Interface\\") + i.iid);
  UnRegisterTypeLib(LIBID_Mervane100, 1, 6, 0x409, sizeof(void*) == 8 ? SYS_WIN64 : SYS_WIN32);
  return S_OK;
}

}  // namespace mervane::server
