#include "server/module.h"

#include <oleauto.h>

#include <cstring>
#include <map>
#include <mutex>

#include "base/win/com.h"

namespace mervane::server {

namespace {

HMODULE gModule = nullptr;
std::atomic<long> gObjects{0};
std::atomic<long> gLocks{0};

std::mutex gTypeLibMutex;
std::wstring gTypeLibPath;
ITypeLib* gTypeLib = nullptr;                 // kept for the process's life
struct GuidLess {
  bool operator()(const GUID& a, const GUID& b) const { return std::memcmp(&a, &b, sizeof(GUID)) < 0; }
};
std::map<GUID, ITypeInfo*, GuidLess> gTypeInfos;

}  // namespace

void setModuleHandle(HMODULE module) { gModule = module; }
HMODULE moduleHandle() { return gModule; }

std::wstring modulePath() {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    DWORD n = GetModuleFileNameW(gModule, path.data(), static_cast<DWORD>(path.size()));
    if (n == 0) return std::wstring();
    if (n < path.size()) {
      path.resize(n);
      return path;
    }
    path.resize(path.size() * 2);
  }
}

void objectCreated() { ++gObjects; }
void objectDestroyed() { --gObjects; }
void lockServer(bool lock) {
  if (lock)
    ++gLocks;
  else
    --gLocks;
}
bool canUnload() { return gObjects == 0 && gLocks == 0; }
long liveObjects() { return gObjects; }

void setTypeLibraryPath(const std::wstring& path) {
  std::lock_guard<std::mutex> lock(gTypeLibMutex);
  gTypeLibPath = path;
}

ITypeInfo* typeInfoOf(REFIID iid) {
  std::lock_guard<std::mutex> lock(gTypeLibMutex);
  auto it = gTypeInfos.find(iid);
  if (it != gTypeInfos.end()) return it->second;
  if (!gTypeLib) {
    std::wstring path = gTypeLibPath.empty() ? modulePath() : gTypeLibPath;
    if (FAILED(LoadTypeLibEx(path.c_str(), REGKIND_NONE, &gTypeLib))) gTypeLib = nullptr;
  }
  ITypeInfo* info = nullptr;
  if (gTypeLib && FAILED(gTypeLib->GetTypeInfoOfGuid(iid, &info))) info = nullptr;
  gTypeInfos[iid] = info;
  return info;
}

}  // namespace mervane::server
