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

namespace {

// The classes a host can create: their factories and their registration.
const CreatableClass kClasses[] = {
    {&CLSID_ReportFunctions, &createAndQuery<ReportFunctionsObject>, L"Mervane100.ReportFunctions",
     L"Mervane100.ReportFunctions"},
    {&CLSID_Reports, &createAndQuery<ReportsObject>, L"Mervane100.Reports", L"Mervane100.Reports"},
    {&CLSID_cPrinter, &createAndQuery<PrinterObject>, L"Mervane100.cPrinter", L"Mervane100.cPrinter"},
};

}  // namespace

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
  return guarded([&] { return classObject(kClasses, clsid, iid, out); });
}

extern "C" HRESULT WINAPI DllRegisterServer() {
  return guarded([] { return registerServer(modulePath(), kClasses); });
}

extern "C" HRESULT WINAPI DllUnregisterServer() {
  return guarded([] { return unregisterServer(kClasses); });
}
