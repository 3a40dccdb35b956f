// DispatchObject: the one base of every public COM class of the library.
//
// It gives a dual interface its IUnknown (ComObject, answering the current
// IID, the IIDs of earlier releases and IDispatch) and its IDispatch.
// Late-bound calls are served by invokeMember(), which reads the member's
// signature from the embedded type library, coerces every argument itself
// (by-reference variables, variants holding other types, omitted optional
// arguments with their defaults) and then calls the same vtable slot an
// early-bound client would call. A class only writes its interface's methods.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include <atomic>
#include <new>
#include <span>

#include "base/win/com.h"
#include "server/com_object.h"
#include "server/module.h"

namespace mervane::server {

// Late-bound call of member id on self, an interface pointer whose vtable is
// described by info.
HRESULT invokeMember(IDispatch* self, ITypeInfo* info, DISPID id, WORD flags, DISPPARAMS* params,
                     VARIANT* result, EXCEPINFO* exception, UINT* argError);

template <class Derived, class Interface>
class DispatchObject : public ComObject<Derived, Interface> {
 public:
  DispatchObject() { objectCreated(); }

  // The QueryInterface table: IDispatch, the current IID and those of
  // earlier releases.
  static bool answersTo(REFIID iid) {
    if (sameIid(iid, IID_IDispatch) || sameIid(iid, Derived::interfaceId())) return true;
    for (const IID* alias : Derived::earlierInterfaceIds())
      if (sameIid(iid, *alias)) return true;
    return false;
  }

  // IDispatch
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    if (!count) return E_POINTER;
    *count = typeInfoOf(Derived::interfaceId()) ? 1 : 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID, ITypeInfo** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (index != 0) return DISP_E_BADINDEX;
    ITypeInfo* info = typeInfoOf(Derived::interfaceId());
    if (!info) return E_FAIL;
    info->AddRef();
    *out = info;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID,
                                          DISPID* ids) override {
    ITypeInfo* info = typeInfoOf(Derived::interfaceId());
    if (!info) return E_FAIL;
    return DispGetIDsOfNames(info, names, count, ids);
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params,
                                   VARIANT* result, EXCEPINFO* exception, UINT* argError) override {
    ITypeInfo* info = typeInfoOf(Derived::interfaceId());
    if (!info) return E_FAIL;
    return invokeMember(static_cast<Interface*>(this), info, id, flags, params, result, exception,
                        argError);
  }

 protected:
  virtual ~DispatchObject() { objectDestroyed(); }
};

// Helpers for the out parameters of property gets.
inline HRESULT putOut(BSTR* out, TextView value) {
  if (!out) return E_POINTER;
  *out = nullptr;
  return guarded([&] {
    *out = win::allocBstr(value);
    return S_OK;
  });
}

template <class T>
inline HRESULT putOut(T* out, T value) {
  if (!out) return E_POINTER;
  *out = value;
  return S_OK;
}

inline VARIANT_BOOL toVariantBool(bool b) { return b ? VARIANT_TRUE : VARIANT_FALSE; }

}  // namespace mervane::server
