// ClassFactory: the one class factory of every creatable class of the
// library's DLLs. It makes an object through the class's create().
//
// A factory is not counted among the live objects: a host that keeps one to
// make objects faster holds the DLL with LockServer, as COM asks, and a
// factory merely held does not stop DllCanUnloadNow from answering S_OK once
// the objects it made are gone.
#pragma once

#include <windows.h>
#include <unknwn.h>

#include <atomic>

#include "server/dispatch.h"
#include "server/module.h"

namespace mervane::server {

using Creator = HRESULT (*)(REFIID, void**);

template <class T>
HRESULT createAndQuery(REFIID iid, void** out) {
  return T::create()->QueryInterface(iid, out);
}

class ClassFactory final : public IClassFactory {
 public:
  explicit ClassFactory(Creator creator) : creator_(creator) {}
  ClassFactory(const ClassFactory&) = delete;
  ClassFactory& operator=(const ClassFactory&) = delete;

  // A new factory for creator, queried for iid.
  static HRESULT make(Creator creator, REFIID iid, void** out) {
    try {
      ClassFactory* factory = new ClassFactory(creator);
      HRESULT hr = factory->QueryInterface(iid, out);
      factory->Release();
      return hr;
    } catch (...) {
      return E_OUTOFMEMORY;
    }
  }

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
    try {
      return creator_(iid, out);
    } catch (...) {
      return E_OUTOFMEMORY;  // the object could not be made
    }
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
    lockServer(lock != FALSE);
    return S_OK;
  }

 private:
  ~ClassFactory() = default;
  std::atomic<long> refs_{1};
  Creator creator_;
};

}  // namespace mervane::server
