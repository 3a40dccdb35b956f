#include "components/win/win32_file_system.h"

#include <windows.h>

#include <memory>
#include <stdexcept>

#include "base/win/com.h"

namespace mervane::win {

namespace {

struct FindCloser {
  void operator()(HANDLE h) const { FindClose(h); }
};

[[noreturn]] void fail(const char* what) { throw std::runtime_error(what); }

// Windows reads a path up to its first NUL, so a text holding one would name
// another, shorter path: it names no file at all.
bool namesAPath(const Text& t) { return t.find(u'\0') == Text::npos; }

std::wstring widePath(const Text& t) {
  if (!namesAPath(t)) fail("a path holding a NUL");
  return toWide(t);
}

std::wstring absolutePath(const Text& path) {
  std::wstring in = widePath(path);
  DWORD n = GetFullPathNameW(in.c_str(), 0, nullptr, nullptr);
  if (n == 0) fail("bad path");
  std::wstring out(n, L'\0');
  n = GetFullPathNameW(in.c_str(), n, out.data(), nullptr);
  out.resize(n);
  return out;
}

DWORD attributesOf(const Text& path) {
  return namesAPath(path) ? GetFileAttributesW(widePath(path).c_str()) : INVALID_FILE_ATTRIBUTES;
}

}  // namespace

std::vector<FileEntry> Win32FileSystem::listFiles(const Text& folder) {
  if (folder.empty()) fail("no folder");
  std::wstring base = absolutePath(folder);
  while (base.size() > 3 && (base.back() == L'\\' || base.back() == L'/')) base.pop_back();
  DWORD attributes = GetFileAttributesW(base.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_DIRECTORY)) fail("not a folder");
  std::wstring prefix = base.back() == L'\\' ? base : base + L"\\";
  WIN32_FIND_DATAW data;
  std::unique_ptr<void, FindCloser> find(
      FindFirstFileExW((prefix + L"*").c_str(), FindExInfoBasic, &data, FindExSearchNameMatch, nullptr, 0));
  std::vector<FileEntry> files;
  if (find.get() == INVALID_HANDLE_VALUE) {
    find.release();
    if (GetLastError() == ERROR_FILE_NOT_FOUND) return files;
    fail("cannot list folder");
  }
  do {
    if (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) continue;
    Text name = fromWide(data.cFileName);
    files.push_back({name, fromWide(prefix) + name});
  } while (FindNextFileW(find.get(), &data));
  return files;
}

bool Win32FileSystem::fileExists(const Text& path) {
  DWORD a = attributesOf(path);
  return a != INVALID_FILE_ATTRIBUTES && !(a & FILE_ATTRIBUTE_DIRECTORY);
}

bool Win32FileSystem::folderExists(const Text& path) {
  DWORD a = attributesOf(path);
  return a != INVALID_FILE_ATTRIBUTES && (a & FILE_ATTRIBUTE_DIRECTORY);
}

void Win32FileSystem::createFolder(const Text& path) {
  if (!CreateDirectoryW(widePath(path).c_str(), nullptr)) fail("cannot create folder");
}

void Win32FileSystem::moveFile(const Text& from, const Text& to) {
  // Without MOVEFILE_REPLACE_EXISTING an existing destination is never replaced.
  if (!MoveFileExW(widePath(from).c_str(), widePath(to).c_str(), MOVEFILE_COPY_ALLOWED)) fail("cannot move file");
}

// The copy is made under a temporary name beside the destination and renamed
// onto it only when complete, so a copy that fails part way (a full disk)
// leaves nothing under the report's name.
void Win32FileSystem::copyFile(const Text& from, const Text& to) {
  const std::wstring target = widePath(to);
  if (GetFileAttributesW(target.c_str()) != INVALID_FILE_ATTRIBUTES) fail("destination exists");
  std::wstring folder = target.substr(0, target.find_last_of(L"\\/") + 1);
  if (folder.empty()) folder = L".";
  wchar_t temp[MAX_PATH];
  if (!GetTempFileNameW(folder.c_str(), L"cpy", 0, temp)) fail("cannot copy file");
  // Without MOVEFILE_REPLACE_EXISTING the rename never replaces a file
  // that appeared meanwhile.
  if (CopyFileW(widePath(from).c_str(), temp, FALSE) && MoveFileExW(temp, target.c_str(), 0)) return;
  SetFileAttributesW(temp, FILE_ATTRIBUTE_NORMAL);  // the copy may carry the source's read-only mark
  DeleteFileW(temp);
  fail("cannot copy file");
}

}  // namespace mervane::win
