// The four exports of MervaneHost.dll: the class factory behind
// DllGetClassObject, and self-registration of the type library and the three
// creatable classes with their ProgIDs.
#include <windows.h>
#include <olectl.h>

#include <string>

#include "host/host_call.h"
#include "host/host_objects.h"
#include "server/class_factory.h"
#include "server/module.h"

namespace mervane::host {
namespace {

using server::createAndQuery;
using server::CreatableClass;

const CreatableClass kClasses[] = {
    {&CLSID_Settings, &createAndQuery<SettingsObject>, L"MervaneHost.Settings", L"Mervane host settings store"},
    {&CLSID_LegacyReportService, &createAndQuery<LegacyReportServiceObject>, L"MervaneHost.LegacyReportService",
     L"Mervane host legacy report service"},
    {&CLSID_ReportPropertyReader, &createAndQuery<ReportPropertyReaderObject>, L"MervaneHost.ReportPropertyReader",
     L"Mervane host report property reader"},
};

std::wstring guidText(const GUID& g) {
  wchar_t buffer[40] = {};
  StringFromGUID2(g, buffer, 40);
  return buffer;
}

// Writes the default value (name null) or a named value under HKCR\path.
void setValue(const std::wstring& path, const wchar_t* name, const std::wstring& value) {
  HKEY key = nullptr;
  LONG rc = RegCreateKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr);
  if (rc != ERROR_SUCCESS) throwWin32(rc);
  rc = RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                      static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
  RegCloseKey(key);
  if (rc != ERROR_SUCCESS) throwWin32(rc);
}

HRESULT registerServer(const std::wstring& modulePath) {
  win::ComPtr<ITypeLib> lib;
  win::check(LoadTypeLibEx(modulePath.c_str(), REGKIND_NONE, lib.put()));
  std::wstring path = modulePath;
  win::check(RegisterTypeLib(lib.get(), path.data(), nullptr));
  std::wstring libId = guidText(LIBID_MervaneHost);
  for (const CreatableClass& c : kClasses) {
    std::wstring clsid = guidText(*c.clsid);
    std::wstring key = L"CLSID\\" + clsid;
    setValue(key, nullptr, c.description);
    setValue(key + L"\\InprocServer32", nullptr, modulePath);
    setValue(key + L"\\InprocServer32", L"ThreadingModel", L"Apartment");
    setValue(key + L"\\ProgID", nullptr, c.progId);
    setValue(key + L"\\TypeLib", nullptr, libId);
    setValue(key + L"\\VERSION", nullptr, L"1.0");
    setValue(c.progId, nullptr, c.description);
    setValue(std::wstring(c.progId) + L"\\CLSID", nullptr, clsid);
  }
  return S_OK;
}

HRESULT unregisterServer() {
  for (const CreatableClass& c : kClasses) {
    RegDeleteTreeW(HKEY_CLASSES_ROOT, (L"CLSID\\" + guidText(*c.clsid)).c_str());
    RegDeleteKeyW(HKEY_CLASSES_ROOT, (L"CLSID\\" + guidText(*c.clsid)).c_str());
    RegDeleteTreeW(HKEY_CLASSES_ROOT, c.progId);
    RegDeleteKeyW(HKEY_CLASSES_ROOT, c.progId);
  }
  UnRegisterTypeLib(LIBID_MervaneHost, 1, 0, 0x409, sizeof(void*) == 8 ? SYS_WIN64 : SYS_WIN32);
  return S_OK;
}

}  // namespace
}  // namespace mervane::host

using namespace mervane;

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) {
    server::setModuleHandle(instance);
    DisableThreadLibraryCalls(instance);
  }
  return TRUE;
}

extern "C" HRESULT WINAPI DllCanUnloadNow() { return server::canUnload() ? S_OK : S_FALSE; }

extern "C" HRESULT WINAPI DllGetClassObject(REFCLSID clsid, REFIID iid, void** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  return host::hostCall([&] { return server::classObject(host::kClasses, clsid, iid, out); });
}

extern "C" HRESULT WINAPI DllRegisterServer() {
  return host::hostCall([] { return host::registerServer(server::modulePath()); });
}

extern "C" HRESULT WINAPI DllUnregisterServer() { return host::hostCall([] { return host::unregisterServer(); }); }
