// How the host components answer their callers: unlike the library, they
// report failures. A C++ exception thrown inside a method becomes the
// method's failing HRESULT; nothing escapes across the COM boundary.
#pragma once

#include <windows.h>

#include <new>
#include <string>

#include "base/win/com.h"

namespace mervane::host {

template <class F>
HRESULT hostCall(F&& body) noexcept {
  try {
    return body();
  } catch (const win::ComError& e) {
    return e.hr();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_FAIL;
  }
}

// Throws the HRESULT of a failed Win32 call's error code.
[[noreturn]] inline void throwWin32(LONG code) { throw win::ComError(HRESULT_FROM_WIN32(static_cast<DWORD>(code))); }

// A BSTR argument as a wide string; null is the empty string.
inline std::wstring wideOf(BSTR b) { return b ? std::wstring(b, SysStringLen(b)) : std::wstring(); }

// Fills a BSTR out parameter.
inline HRESULT putBstr(BSTR* out, const std::wstring& value) {
  if (!out) return E_POINTER;
  *out = SysAllocStringLen(value.data(), static_cast<UINT>(value.size()));
  return *out ? S_OK : E_OUTOFMEMORY;
}

}  // namespace mervane::host
