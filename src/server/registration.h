// Self-registration: the type library, the creatable classes with their
// ProgIDs, and the interface ids of earlier releases.
#pragma once

#include <windows.h>

#include <span>
#include <string>

#include "server/class_factory.h"

namespace mervane::server {

// Registers and unregisters the classes of the DLL's class table.
HRESULT registerServer(const std::wstring& modulePath, std::span<const CreatableClass> classes);
HRESULT unregisterServer(std::span<const CreatableClass> classes);

}  // namespace mervane::server
