// Per-user program settings kept the way classic Visual Basic keeps them:
// HKEY_CURRENT_USER\Software\VB and VBA Program Settings\<app>\<section>,
// one REG_SZ value per key. Keys are value names, so any text (a full file
// path with backslashes, say) is a key. Failures throw win::ComError.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace mervane::host {

inline constexpr wchar_t kProgramSettingsKey[] = L"Software\\VB and VBA Program Settings";

// The registry path below HKEY_CURRENT_USER of one section. App and section
// must not be empty (E_INVALIDARG otherwise).
std::wstring sectionPath(const std::wstring& app, const std::wstring& section);

void saveSetting(const std::wstring& app, const std::wstring& section, const std::wstring& key,
                 const std::wstring& value);
// Nothing when the section or the key does not exist.
std::optional<std::wstring> getSetting(const std::wstring& app, const std::wstring& section,
                                       const std::wstring& key);
// Every value of the section in the registry's order; empty when none.
std::vector<std::pair<std::wstring, std::wstring>> getAllSettings(const std::wstring& app,
                                                                  const std::wstring& section);
// Removes one value, or with an empty key the section with everything below
// it. Removing what does not exist succeeds.
void deleteSetting(const std::wstring& app, const std::wstring& section, const std::wstring& key);

}  // namespace mervane::host
