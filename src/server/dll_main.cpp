// The four exports of Mervane100.dll and the class factory behind
// DllGetClassObject.
#include <windows.h>
#include <olectl.h>

#include "server/dispatch.h"
#include "server/module.h"
#include "server/printer_object.h"
#include "server/registration.h"
#include "server/report_functions_object.h"
#include "server/reports_object.h"

namespace mervane::server {
namespace {

using Creator = HRESULT (*)(REFIID, void**);

template <class T>
HRESULT createAndQuery(REFIID iid, void** out) {
  auto object = T::create();
  return object->QueryInterface(iid, out);
}

class ClassFactory final : public IClassFactory {
 public:
  explicit ClassFactory(Creator creator) : creator_(creator) { objectCreated(); }
  ClassFactory(const ClassFactory&) = delete;
  ClassFactory& operator=(const ClassFactory&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!sameIid(iid, IID_IUnknown) && !sameIid(iid, IID_IClassFactory)) return E_NOINTERFACE;
    *out = static_cast<IClassFactory*>(this);
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++refs_); }
  ULONG STDMETHODCALLTYPE Release() override {
    long n = --refs_;
    if (n == 0) delete this;
    return static_cast<ULONG>(n);
  }
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    return guarded([&] { return creator_(iid, out); });
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
    lockServer(lock != FALSE);
    return S_OK;
  }

 private:
  ~ClassFactory() { objectDestroyed(); }
  std::atomic<long> refs_{1};
  Creator creator_;
};

}  // namespace
}  // namespace mervane::server

using namespace mervane::server;

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) {
    setModuleHandle(instance);
    DisableThreadLibraryCalls(instance);
  }
  return TRUE;
}

extern "C" HRESULT WINAPI DllCanUnloadNow() { return canUnload() ? S_OK : S_FALSE; }

extern "C" HRESULT WINAPI DllGetClassObject(REFCLSID clsid, REFIID iid, void** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  return guarded([&]() -> HRESULT {
    Creator creator = nullptr;
    if (sameIid(clsid, CLSID_ReportFunctions)) creator = &createAndQuery<ReportFunctionsObject>;
    else if (sameIid(clsid, CLSID_Reports)) creator = &createAndQuery<ReportsObject>;
    else if (sameIid(clsid, CLSID_cPrinter)) creator = &createAndQuery<PrinterObject>;
    if (!creator) return CLASS_E_CLASSNOTAVAILABLE;
    ClassFactory* factory = new ClassFactory(creator);
    HRESULT hr = factory->QueryInterface(iid, out);
    factory->Release();
    return hr;
  });
}

extern "C" HRESULT WINAPI DllRegisterServer() {
  return guarded([] { return registerServer(modulePath()); });
}

extern "C" HRESULT WINAPI DllUnregisterServer() {
  return guarded([] { return unregisterServer(modulePath()); });
}
