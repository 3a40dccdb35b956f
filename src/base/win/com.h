// RAII for COM: interface pointers, BSTRs and VARIANTs, and the conversions
// between them and the core's Text. Nothing here knows the library's classes.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include <stdexcept>
#include <utility>

#include "base/text.h"
#include "base/win/wide.h"

namespace mervane::win {

// An owning interface pointer: AddRef on copy, Release on destruction.
template <class T>
class ComPtr {
 public:
  ComPtr() = default;
  ComPtr(std::nullptr_t) {}
  // Takes a new reference to p.
  explicit ComPtr(T* p) : p_(p) {
    if (p_) p_->AddRef();
  }
  ComPtr(const ComPtr& o) : ComPtr(o.p_) {}
  ComPtr(ComPtr&& o) noexcept : p_(std::exchange(o.p_, nullptr)) {}
  ComPtr& operator=(ComPtr o) noexcept {
    std::swap(p_, o.p_);
    return *this;
  }
  ~ComPtr() { reset(); }

  // Adopts a reference the caller already owns.
  static ComPtr attach(T* p) {
    ComPtr c;
    c.p_ = p;
    return c;
  }
  T* detach() { return std::exchange(p_, nullptr); }
  void reset() {
    if (T* p = std::exchange(p_, nullptr)) p->Release();
  }
  T* get() const { return p_; }
  T* operator->() const { return p_; }
  explicit operator bool() const { return p_ != nullptr; }
  // For out parameters: releases what is held and hands out the slot.
  T** put() {
    reset();
    return &p_;
  }
  void** putVoid() { return reinterpret_cast<void**>(put()); }

  template <class U>
  ComPtr<U> query(REFIID iid) const {
    ComPtr<U> out;
    if (p_) p_->QueryInterface(iid, out.putVoid());
    return out;
  }

 private:
  T* p_ = nullptr;
};

// An owning BSTR.
class Bstr {
 public:
  Bstr() = default;
  explicit Bstr(TextView text);
  Bstr(const Bstr&) = delete;
  Bstr& operator=(const Bstr&) = delete;
  Bstr(Bstr&& o) noexcept : b_(std::exchange(o.b_, nullptr)) {}
  Bstr& operator=(Bstr&& o) noexcept {
    if (this != &o) {
      reset();
      b_ = std::exchange(o.b_, nullptr);
    }
    return *this;
  }
  ~Bstr() { reset(); }

  static Bstr attach(BSTR b) {
    Bstr out;
    out.b_ = b;
    return out;
  }
  BSTR get() const { return b_; }
  BSTR detach() { return std::exchange(b_, nullptr); }
  BSTR* put() {
    reset();
    return &b_;
  }
  void reset() {
    if (b_) SysFreeString(std::exchange(b_, nullptr));
  }
  Text text() const;

 private:
  BSTR b_ = nullptr;
};

// An owning VARIANT.
class Variant {
 public:
  Variant() { VariantInit(&v_); }
  Variant(const Variant&) = delete;
  Variant& operator=(const Variant&) = delete;
  ~Variant() { VariantClear(&v_); }
  VARIANT* get() { return &v_; }
  const VARIANT* get() const { return &v_; }
  VARIANT* operator->() { return &v_; }

 private:
  VARIANT v_;
};

// BSTR <-> Text, embedded NULs kept; a null BSTR is the empty text. (Wide
// strings: base/win/wide.h.)
Text toText(BSTR b);
BSTR allocBstr(TextView text);  // throws std::bad_alloc on failure

// Thrown for a failed HRESULT inside adapters; the COM boundary swallows it.
class ComError : public std::runtime_error {
 public:
  explicit ComError(HRESULT hr) : std::runtime_error("COM call failed"), hr_(hr) {}
  HRESULT hr() const { return hr_; }

 private:
  HRESULT hr_;
};

inline void check(HRESULT hr) {
  if (FAILED(hr)) throw ComError(hr);
}

}  // namespace mervane::win
