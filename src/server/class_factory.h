// ClassFactory: the one class factory of every creatable class of the
// library's DLLs, and the class table each DLL keeps of its creatable
// classes, which serves both DllGetClassObject and registration.
//
// A factory is not counted among the live objects: a host that keeps one to
// make objects faster holds the DLL with LockServer, as COM asks, and a
// factory merely held does not stop DllCanUnloadNow from answering S_OK once
// the objects it made are gone.
#pragma once

#include <windows.h>
#include <unknwn.h>

#include <span>

#include "server/com_object.h"
#include "server/module.h"

namespace mervane::server {

using Creator = HRESULT (*)(REFIID, void**);

template <class T>
HRESULT createAndQuery(REFIID iid, void** out) {
  return T::create()->QueryInterface(iid, out);
}

// One class a host can create: its class id, how an object of it is made,
// and what registration writes for it.
struct CreatableClass {
  const CLSID* clsid;
  Creator creator;
  const wchar_t* progId;
  const wchar_t* description;
};

class ClassFactory final : public ComObject<ClassFactory, IClassFactory> {
 public:
  explicit ClassFactory(Creator creator) : creator_(creator) {}

  // A new factory for creator, queried for iid.
  static HRESULT make(Creator creator, REFIID iid, void** out) {
    try {
      return create(creator)->QueryInterface(iid, out);
    } catch (...) {
      return E_OUTOFMEMORY;
    }
  }
  static bool answersTo(REFIID iid) { return sameIid(iid, IID_IClassFactory); }

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
  Creator creator_;
};

// DllGetClassObject over a DLL's class table.
inline HRESULT classObject(std::span<const CreatableClass> classes, REFCLSID clsid, REFIID iid, void** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  for (const CreatableClass& c : classes)
    if (sameIid(clsid, *c.clsid)) return ClassFactory::make(c.creator, iid, out);
  return CLASS_E_CLASSNOTAVAILABLE;
}

}  // namespace mervane::server
