// ComObject: the one IUnknown of the library's COM objects, written once.
//
// A reference count that deletes the object when it falls to zero, and a
// QueryInterface that answers IUnknown and whatever the class's own table
// says it answers (Derived::answersTo). The dual classes reach it through
// DispatchObject; the class factory and the collection's enumerator use it
// directly. Counting the object among the module's live objects is left to
// the class: a factory merely held does not count.
#pragma once

#include <windows.h>
#include <unknwn.h>

#include <atomic>
#include <utility>

#include "base/win/com.h"

namespace mervane::server {

bool sameIid(REFIID a, REFIID b);

template <class Derived, class Interface>
class ComObject : public Interface {
 public:
  ComObject(const ComObject&) = delete;
  ComObject& operator=(const ComObject&) = delete;

  // Makes a new object with a reference count of one, owned by the result.
  template <class... Args>
  static win::ComPtr<Derived> create(Args&&... args) {
    return win::ComPtr<Derived>::attach(new Derived(std::forward<Args>(args)...));
  }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!sameIid(iid, IID_IUnknown) && !Derived::answersTo(iid)) return E_NOINTERFACE;
    *out = static_cast<Interface*>(this);
    this->AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++refs_); }
  ULONG STDMETHODCALLTYPE Release() override {
    long n = --refs_;
    if (n == 0) delete static_cast<Derived*>(this);
    return static_cast<ULONG>(n);
  }

 protected:
  ComObject() = default;
  ~ComObject() = default;

 private:
  std::atomic<long> refs_{1};
};

}  // namespace mervane::server
