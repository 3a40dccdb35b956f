// Self-registration: the type library, the creatable classes with their
// ProgIDs, and the interface ids of earlier releases.
#pragma once

#include <windows.h>

#include <string>

namespace mervane::server {

HRESULT registerServer(const std::wstring& modulePath);
HRESULT unregisterServer(const std::wstring& modulePath);

// The classes a host can create, for the class factory and registration.
struct CreatableClass {
  const CLSID* clsid;
  const wchar_t* progId;
  const wchar_t* description;
};
extern const CreatableClass kCreatableClasses[3];

}  // namespace mervane::server
