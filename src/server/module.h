// The server module: its handle, its live-object and lock counts, and the
// type library embedded in it.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include <atomic>
#include <string>

namespace mervane::server {

// Set by DllMain; the Windows tests that link the shell statically leave it
// null and the module is then the running executable.
void setModuleHandle(HMODULE module);
HMODULE moduleHandle();
std::wstring modulePath();

// Every live COM object of the library counts itself here.
void objectCreated();
void objectDestroyed();
void lockServer(bool lock);
bool canUnload();
long liveObjects();

// The type information of one interface from the embedded type library,
// loaded once and kept for the life of the process. Null when unavailable.
ITypeInfo* typeInfoOf(REFIID iid);
// Where the type library is loaded from; the tests point it at a .tlb file.
void setTypeLibraryPath(const std::wstring& path);

// Runs a COM entry point's body: any C++ exception is swallowed, so no error
// ever reaches the host. Returns S_OK unless the body returned otherwise.
template <class F>
HRESULT guarded(F&& body) noexcept {
  try {
    return body();
  } catch (...) {
    return S_OK;
  }
}

}  // namespace mervane::server
