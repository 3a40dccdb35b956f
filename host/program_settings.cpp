// Program settings in the registry, as classic Visual Basic's SaveSetting,
// GetSetting, GetAllSettings and DeleteSetting keep them.
#include "host/program_settings.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "host/host_call.h"

namespace mervane::host {

namespace {

// An open registry key, closed on destruction.
class RegKey {
 public:
  RegKey() = default;
  RegKey(const RegKey&) = delete;
  RegKey& operator=(const RegKey&) = delete;
  ~RegKey() {
    if (key_) RegCloseKey(key_);
  }
  HKEY get() const { return key_; }
  HKEY* put() { return &key_; }

 private:
  HKEY key_ = nullptr;
};

bool isMissing(LONG rc) { return rc == ERROR_FILE_NOT_FOUND || rc == ERROR_PATH_NOT_FOUND; }

// Opens a section for reading; false when it does not exist.
bool openSection(const std::wstring& path, REGSAM access, RegKey& key) {
  LONG rc = RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, access, key.put());
  if (isMissing(rc)) return false;
  if (rc != ERROR_SUCCESS) throwWin32(rc);
  return true;
}

// A value's data as text: strings without their terminating NUL, 32-bit
// numbers in decimal. Other types are not settings.
std::optional<std::wstring> asText(DWORD type, const std::vector<BYTE>& data, DWORD size) {
  if (type == REG_SZ || type == REG_EXPAND_SZ) {
    std::wstring text(size / sizeof(wchar_t), L'\0');
    if (!text.empty()) memcpy(text.data(), data.data(), text.size() * sizeof(wchar_t));
    if (!text.empty() && text.back() == L'\0') text.pop_back();
    return text;
  }
  if (type == REG_DWORD && size == sizeof(DWORD)) {
    DWORD n = 0;
    memcpy(&n, data.data(), sizeof n);
    return std::to_wstring(n);
  }
  return std::nullopt;
}

}  // namespace

std::wstring sectionPath(const std::wstring& app, const std::wstring& section) {
  if (app.empty() || section.empty()) throw win::ComError(E_INVALIDARG);
  return std::wstring(kProgramSettingsKey) + L"\\" + app + L"\\" + section;
}

void saveSetting(const std::wstring& app, const std::wstring& section, const std::wstring& key,
                 const std::wstring& value) {
  if (key.empty()) throw win::ComError(E_INVALIDARG);
  std::wstring path = sectionPath(app, section);
  RegKey k;
  LONG rc = RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_SET_VALUE, nullptr, k.put(), nullptr);
  if (rc != ERROR_SUCCESS) throwWin32(rc);
  std::size_t bytes = (value.size() + 1) * sizeof(wchar_t);
  if (bytes > MAXDWORD) throw win::ComError(E_INVALIDARG);
  rc = RegSetValueExW(k.get(), key.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                      static_cast<DWORD>(bytes));
  if (rc != ERROR_SUCCESS) throwWin32(rc);
}

std::optional<std::wstring> getSetting(const std::wstring& app, const std::wstring& section,
                                       const std::wstring& key) {
  if (key.empty()) throw win::ComError(E_INVALIDARG);
  RegKey k;
  if (!openSection(sectionPath(app, section), KEY_QUERY_VALUE, k)) return std::nullopt;
  std::vector<BYTE> data(256);
  for (;;) {
    DWORD type = 0, size = static_cast<DWORD>(data.size());
    LONG rc = RegQueryValueExW(k.get(), key.c_str(), nullptr, &type, data.data(), &size);
    if (rc == ERROR_MORE_DATA) {
      data.resize(size + sizeof(wchar_t));
      continue;
    }
    if (isMissing(rc)) return std::nullopt;
    if (rc != ERROR_SUCCESS) throwWin32(rc);
    return asText(type, data, size);
  }
}

std::vector<std::pair<std::wstring, std::wstring>> getAllSettings(const std::wstring& app,
                                                                  const std::wstring& section) {
  std::vector<std::pair<std::wstring, std::wstring>> rows;
  RegKey k;
  if (!openSection(sectionPath(app, section), KEY_QUERY_VALUE, k)) return rows;
  DWORD maxName = 0, maxData = 0;
  auto measure = [&] {
    LONG rc = RegQueryInfoKeyW(k.get(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                               &maxName, &maxData, nullptr, nullptr);
    if (rc != ERROR_SUCCESS) throwWin32(rc);
  };
  measure();
  std::vector<wchar_t> name(maxName + 1);
  std::vector<BYTE> data(maxData + sizeof(wchar_t));
  for (DWORD index = 0;;) {
    DWORD nameSize = static_cast<DWORD>(name.size()), dataSize = static_cast<DWORD>(data.size()), type = 0;
    LONG rc = RegEnumValueW(k.get(), index, name.data(), &nameSize, nullptr, &type, data.data(), &dataSize);
    if (rc == ERROR_NO_MORE_ITEMS) break;
    if (rc == ERROR_MORE_DATA) {  // a value grew while we listed: measure again
      measure();
      name.resize(std::max<std::size_t>(name.size() * 2, maxName + 1));
      data.resize(std::max<std::size_t>(data.size() * 2, maxData + sizeof(wchar_t)));
      continue;
    }
    if (rc != ERROR_SUCCESS) throwWin32(rc);
    if (auto text = asText(type, data, dataSize)) rows.emplace_back(std::wstring(name.data(), nameSize), std::move(*text));
    ++index;
  }
  return rows;
}

void deleteSetting(const std::wstring& app, const std::wstring& section, const std::wstring& key) {
  std::wstring path = sectionPath(app, section);
  if (key.empty()) {
    LONG rc = RegDeleteTreeW(HKEY_CURRENT_USER, path.c_str());
    if (rc == ERROR_SUCCESS) rc = RegDeleteKeyW(HKEY_CURRENT_USER, path.c_str());
    if (rc != ERROR_SUCCESS && !isMissing(rc)) throwWin32(rc);
    return;
  }
  RegKey k;
  if (!openSection(path, KEY_SET_VALUE, k)) return;
  LONG rc = RegDeleteValueW(k.get(), key.c_str());
  if (rc != ERROR_SUCCESS && !isMissing(rc)) throwWin32(rc);
}

}  // namespace mervane::host
