// The four exports of Mervane100.dll.
#include <windows.h>
#include <olectl.h>

#include "base/win/form.h"
#include "components/win/host_components.h"
#include "server/class_factory.h"
#include "server/dispatch.h"
#include "server/module.h"
#include "server/printer_object.h"
#include "server/registration.h"
#include "server/report_functions_object.h"
#include "server/reports_object.h"

using namespace mervane::server;

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
  if (reason == DLL_PROCESS_ATTACH) {
    setModuleHandle(instance);
    DisableThreadLibraryCalls(instance);
  }
  // Unloaded by the host (not the process ending): our window classes go
  // with us, so that a later load registers them afresh.
  if (reason == DLL_PROCESS_DETACH && !reserved) mervane::win::unregisterWindowClasses();
  return TRUE;
}

// Once nothing of the library is alive the host may unload it: the settings
// store this thread shares goes first, so the host's component is not held
// by a library that is gone.
extern "C" HRESULT WINAPI DllCanUnloadNow() {
  if (!canUnload()) return S_FALSE;
  guarded([] {
    mervane::releaseThreadSettingsStore();
    return S_OK;
  });
  return S_OK;
}

extern "C" HRESULT WINAPI DllGetClassObject(REFCLSID clsid, REFIID iid, void** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  return guarded([&]() -> HRESULT {
    Creator creator = nullptr;
    if (sameIid(clsid, CLSID_ReportFunctions)) creator = &createAndQuery<ReportFunctionsObject>;
    else if (sameIid(clsid, CLSID_Reports)) creator = &createAndQuery<ReportsObject>;
    else if (sameIid(clsid, CLSID_cPrinter)) creator = &createAndQuery<PrinterObject>;
    if (!creator) return CLASS_E_CLASSNOTAVAILABLE;
    return ClassFactory::make(creator, iid, out);
  });
}

extern "C" HRESULT WINAPI DllRegisterServer() {
  return guarded([] { return registerServer(modulePath()); });
}

extern "C" HRESULT WINAPI DllUnregisterServer() {
  return guarded([] { return unregisterServer(modulePath()); });
}
