// Vardo report files on disk: reading their start, resolving the names of
// older-format reports against the "ProgramReports" folders.
#include "host/vardo_files.h"

#include <windows.h>

#include <algorithm>

#include "host/host_call.h"

namespace mervane::host {

namespace {

// An open file handle, closed on destruction.
class FileHandle {
 public:
  explicit FileHandle(HANDLE h) : h_(h) {}
  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;
  ~FileHandle() {
    if (h_ != INVALID_HANDLE_VALUE) CloseHandle(h_);
  }
  HANDLE get() const { return h_; }

 private:
  HANDLE h_;
};

bool isBlank(wchar_t c) { return c == L' ' || c == L'\t'; }

std::wstring strip(const std::wstring& s) {
  std::size_t b = 0, e = s.size();
  while (b < e && isBlank(s[b])) ++b;
  while (e > b && isBlank(s[e - 1])) --e;
  return s.substr(b, e - b);
}

bool isAbsolute(const std::wstring& name) {
  return (name.size() >= 2 && name[1] == L':') || name.starts_with(L"\\\\") || name.starts_with(L"//");
}

bool fileExists(const std::wstring& path) {
  DWORD attributes = GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
}

std::wstring join(std::wstring folder, const std::wstring& name) {
  while (!folder.empty() && (folder.back() == L'\\' || folder.back() == L'/')) folder.pop_back();
  std::size_t skip = 0;
  while (skip < name.size() && (name[skip] == L'\\' || name[skip] == L'/')) ++skip;
  return folder + L"\\" + name.substr(skip);
}

std::wstring fullPathOf(const std::wstring& name) {
  DWORD n = GetFullPathNameW(name.c_str(), 0, nullptr, nullptr);
  if (n == 0) return name;
  std::wstring out(n, L'\0');
  n = GetFullPathNameW(name.c_str(), n, out.data(), nullptr);
  out.resize(n);
  return out;
}

}  // namespace

std::string readFileHead(const std::wstring& path, std::size_t limit) {
  FileHandle file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                              nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (file.get() == INVALID_HANDLE_VALUE) throwWin32(static_cast<LONG>(GetLastError()));
  std::string bytes;
  char buffer[64 * 1024];
  while (bytes.size() < limit) {
    DWORD want = static_cast<DWORD>(std::min(sizeof buffer, limit - bytes.size())), got = 0;
    if (!ReadFile(file.get(), buffer, want, &got, nullptr)) throwWin32(static_cast<LONG>(GetLastError()));
    if (got == 0) break;
    bytes.append(buffer, got);
  }
  return bytes;
}

std::vector<std::wstring> programReportFolders(const std::wstring& setting) {
  std::vector<std::wstring> folders;
  std::size_t start = 0;
  while (start <= setting.size()) {
    std::size_t end = setting.find(L';', start);
    if (end == std::wstring::npos) end = setting.size();
    std::wstring folder = strip(setting.substr(start, end - start));
    if (!folder.empty()) folders.push_back(folder);
    start = end + 1;
  }
  return folders;
}

std::wstring resolveDefinitionPath(const std::vector<std::wstring>& folders, const std::wstring& name) {
  std::wstring trimmed = strip(name);
  if (isAbsolute(trimmed)) return trimmed;
  if (folders.empty()) return fullPathOf(trimmed);
  for (const std::wstring& folder : folders) {
    std::wstring candidate = join(folder, trimmed);
    if (fileExists(candidate)) return candidate;
  }
  return join(folders.front(), trimmed);
}

}  // namespace mervane::host
