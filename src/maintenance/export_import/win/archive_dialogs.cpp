#include "maintenance/export_import/win/archive_dialogs.h"

#include <commdlg.h>

#include <algorithm>
#include <string>
#include <vector>

#include "base/win/wide.h"

namespace mervane::win {

namespace {

// A library loaded for one call, freed when done.
class LoadedLibrary {
 public:
  explicit LoadedLibrary(const char* name) : module_(LoadLibraryA(name)) {}
  ~LoadedLibrary() {
    if (module_) FreeLibrary(module_);
  }
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;
  FARPROC find(const char* name) const { return module_ ? GetProcAddress(module_, name) : nullptr; }

 private:
  HMODULE module_;
};

constexpr int kPersonalFolder = 5;  // CSIDL_PERSONAL

using GetFolderPathA = HRESULT(WINAPI*)(HWND, int, HANDLE, DWORD, LPSTR);

// A file dialog's record and the buffers it points into.
struct DialogRecord {
  OPENFILENAMEW ofn{};
  std::wstring filter, initialFolder, title, extension;
  std::vector<wchar_t> file;

  DialogRecord(HWND owner, const FileDialogSettings& s) {
    // "a|b|c|d" becomes "a\0b\0c\0d\0\0".
    filter = toWide(s.filter);
    std::replace(filter.begin(), filter.end(), L'|', L'\0');
    filter.append(2, L'\0');
    initialFolder = toWide(s.initialFolder);
    title = toWide(s.title);
    extension = toWide(s.defaultExtension);
    std::wstring name = toWide(s.fileName);
    file.assign(std::max<std::size_t>(name.size() + 1, 32768), L'\0');
    std::copy(name.begin(), name.end(), file.begin());

    ofn.lStructSize = sizeof ofn;
    ofn.hwndOwner = owner;
    ofn.lpstrFilter = filter.c_str();
    ofn.nFilterIndex = static_cast<DWORD>(static_cast<std::uint16_t>(s.filterIndex));
    ofn.lpstrFile = file.data();
    ofn.nMaxFile = static_cast<DWORD>(file.size());
    ofn.lpstrInitialDir = initialFolder.empty() ? nullptr : initialFolder.c_str();
    ofn.lpstrTitle = title.c_str();
    ofn.Flags = s.flags;
    ofn.lpstrDefExt = extension.empty() ? nullptr : extension.c_str();
  }
  Text chosen() const { return fromWide(file.data()); }
};

}  // namespace

Text personalFolder(HWND owner) {
  LoadedLibrary shfolder("shfolder.dll");
  auto getFolderPath = reinterpret_cast<GetFolderPathA>(reinterpret_cast<void*>(shfolder.find("SHGetFolderPathA")));
  if (!getFolderPath) return Text();
  char buffer[MAX_PATH] = {};
  if (getFolderPath(owner, kPersonalFolder, nullptr, 0, buffer) != S_OK) return Text();
  const char* end = std::find(buffer, buffer + MAX_PATH, '\0');
  if (end == buffer + MAX_PATH) return Text();
  const int length = static_cast<int>(end - buffer);
  if (length == 0) return Text();
  std::wstring out(static_cast<std::size_t>(length) * 2, L'\0');
  const int converted = MultiByteToWideChar(CP_ACP, 0, buffer, length, out.data(), static_cast<int>(out.size()));
  out.resize(static_cast<std::size_t>(std::max(converted, 0)));
  return fromWide(out);
}

std::optional<Text> saveFileDialog(HWND owner, const FileDialogSettings& settings) {
  DialogRecord record(owner, settings);
  if (!GetSaveFileNameW(&record.ofn)) return std::nullopt;
  return record.chosen();
}

std::optional<Text> openFileDialog(HWND owner, const FileDialogSettings& settings) {
  DialogRecord record(owner, settings);
  if (!GetOpenFileNameW(&record.ofn)) return std::nullopt;
  return record.chosen();
}

bool onRemovableDrive(const Text& path) {
  const std::wstring given = toWide(path);
  DWORD needed = GetFullPathNameW(given.c_str(), 0, nullptr, nullptr);
  if (needed == 0) return false;
  std::wstring full(needed, L'\0');
  full.resize(GetFullPathNameW(given.c_str(), needed, full.data(), nullptr));
  // The drive's root: "C:\" or "\\server\share\".
  std::wstring root;
  if (full.size() >= 2 && full[1] == L':') {
    root = full.substr(0, 2) + L"\\";
  } else if (full.rfind(L"\\\\", 0) == 0) {
    std::size_t share = full.find(L'\\', 2);
    std::size_t end = share == std::wstring::npos ? share : full.find(L'\\', share + 1);
    root = (end == std::wstring::npos ? full : full.substr(0, end)) + L"\\";
  } else {
    return false;
  }
  return GetDriveTypeW(root.c_str()) == DRIVE_REMOVABLE;
}

void showExclamation(const Text& text, const Text& title) {
  MessageBoxW(GetActiveWindow(), toWide(text).c_str(), toWide(title).c_str(), MB_OK | MB_ICONEXCLAMATION);
}

}  // namespace mervane::win
