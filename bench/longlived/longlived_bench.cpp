// A host that keeps the library for hours, under Wine or Windows. In one
// process, through the COM interface as a host calls it:
//   N cycles of EditVisualReport on the example customer list: the designer
//   window opens, a person clicks Preview, waits for the first page,
//   exports the report to PDF through the viewer's Export button and the
//   save dialog, and closes the window;
//   N catalogue scans of a copy of the example reports folder.
// The process's GDI and USER objects, private bytes, threads and open
// handles are printed after 10 of each and after N; flat figures mean that
// nothing leaks.
//   longlived_bench <examples\reports folder> <company database> [N] [designer|scan]
// (N defaults to 1,000; the company database is the SQLite file's Unix path;
// "designer" or "scan" runs only that half.)
// Under Wine 8 the handle count grows by one per cycle: the save dialog
// itself keeps a registry key (ComDlg32\LastVisitedMRU) open each time it
// is used, as a bare GetSaveFileNameW shows too. Nothing of ours grows.
#include <windows.h>
#include <commctrl.h>
#include <psapi.h>
#include <tlhelp32.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cwchar>
#include <string>
#include <thread>

#include "Mervane100.h"
#include "base/win/com.h"
#include "window_hands.h"

using mervane::win::Bstr;
using mervane::win::ComPtr;

namespace {

Bstr bstr(const std::wstring& w) { return Bstr(mervane::win::fromWide(w.c_str())); }

using namespace mervane::hands;

const wchar_t kRoot[] = L"Mervane Long-lived Bench";

// One visit of the person to the designer window: Preview, the first page,
// Export to `pdf`, close. True when the PDF was written.
bool person(const std::wstring& pdf) {
  HWND window = windowCalled(L"Edit Report - ", 30000);
  if (!window) return false;
  bool exported = false;
  HWND viewer = viewerIn(window);
  clickTab(GetDlgItem(window, kTabStrip), 1);
  const bool shown = viewer && waitFor([&] {
    std::wstring box = text(GetDlgItem(viewer, kPageBox));
    return startsWith(box, L"1 of ") && box.find(L'+') == std::wstring::npos;
  }, 30000);
  DeleteFileW(pdf.c_str());
  if (shown) PostMessageW(GetDlgItem(viewer, kExportButton), BM_CLICK, 0, 0);
  if (HWND dialog = shown ? windowCalled(L"Export Report", 10000) : nullptr) {
    HWND name = GetDlgItem(dialog, kFileNameCombo);
    if (!name) name = GetDlgItem(dialog, kFileNameEdit);
    waitFor([&] { return IsWindowEnabled(dialog) != FALSE; }, 2000);
    SendMessageW(name, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(pdf.c_str()));
    PostMessageW(GetDlgItem(dialog, IDOK), BM_CLICK, 0, 0);
    exported = waitFor([&] { return startsWith(text(GetDlgItem(viewer, kStatusText)), L"Exported to"); }, 60000) &&
               GetFileAttributesW(pdf.c_str()) != INVALID_FILE_ATTRIBUTES;
  }
  // Whatever is still open (a dialog left by a failed step) goes first.
  if (HWND dialog = windowCalled(L"Export Report", 0)) PostMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
  PostMessageW(window, WM_CLOSE, 0, 0);
  return exported;
}

struct Figures {
  DWORD gdi = 0, user = 0, handles = 0, threads = 0;
  SIZE_T privateBytes = 0;
};

// Wine answers GetGuiResources, GetProcessHandleCount and the private
// bytes of GetProcessMemoryInfo with 0. There the figures are counted
// directly: GDI objects by their slots in the handle table (a handle with
// no generation in its high word names the slot's current object), USER
// objects as this process's windows, menus, icons and cursors, kernel handles by asking
// for each handle value's flags, private bytes as the committed private
// pages of the address space.
DWORD gdiSlotsInUse() {
  DWORD n = 0;
  for (ULONG_PTR slot = 1; slot < 0x10000; ++slot)
    if (GetObjectType(reinterpret_cast<HGDIOBJ>(slot))) ++n;
  return n;
}

BOOL CALLBACK countWindow(HWND window, LPARAM count) {
  DWORD process = 0;
  GetWindowThreadProcessId(window, &process);
  if (process != GetCurrentProcessId()) return TRUE;
  ++*reinterpret_cast<DWORD*>(count);
  EnumChildWindows(window, countWindow, count);
  return TRUE;
}

// Windows, menus, and icons and cursors (which answer user32's
// GetCursorFrameInfo, as nothing else does).
DWORD windowsMenusAndIcons() {
  using FrameInfo = HCURSOR(WINAPI*)(HCURSOR, DWORD, DWORD, DWORD*, DWORD*);
  auto frameInfo = reinterpret_cast<FrameInfo>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"user32.dll"), "GetCursorFrameInfo")));
  DWORD n = 0, rate = 0, steps = 0;
  EnumWindows(countWindow, reinterpret_cast<LPARAM>(&n));
  for (ULONG_PTR handle = 0x20; handle < 0x10000; handle += 2) {
    if (IsMenu(reinterpret_cast<HMENU>(handle))) ++n;
    else if (frameInfo && frameInfo(reinterpret_cast<HCURSOR>(handle), 0, 0, &rate, &steps)) ++n;
  }
  return n;
}

DWORD kernelHandles() {
  DWORD n = 0, flags = 0;
  for (ULONG_PTR value = 4, misses = 0; value < 0x100000 && misses < 4096; value += 4) {
    if (GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags)) {
      ++n;
      misses = 0;
    } else {
      ++misses;
    }
  }
  return n;
}

SIZE_T committedPrivateBytes() {
  SIZE_T total = 0;
  MEMORY_BASIC_INFORMATION region{};
  for (const char* at = nullptr; VirtualQuery(at, &region, sizeof(region)) == sizeof(region);
       at = static_cast<const char*>(region.BaseAddress) + region.RegionSize) {
    if (region.State == MEM_COMMIT && region.Type == MEM_PRIVATE) total += region.RegionSize;
    if (static_cast<const char*>(region.BaseAddress) + region.RegionSize <= at) break;
  }
  return total;
}

Figures measure() {
  Figures f;
  HANDLE self = GetCurrentProcess();
  f.gdi = GetGuiResources(self, GR_GDIOBJECTS);
  if (!f.gdi) f.gdi = gdiSlotsInUse();
  f.user = GetGuiResources(self, GR_USEROBJECTS);
  if (!f.user) f.user = windowsMenusAndIcons();
  if (!GetProcessHandleCount(self, &f.handles) || !f.handles) f.handles = kernelHandles();
  PROCESS_MEMORY_COUNTERS_EX memory{};
  memory.cb = sizeof(memory);
  if (GetProcessMemoryInfo(self, reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&memory), sizeof(memory)))
    f.privateBytes = memory.PrivateUsage;
  if (!f.privateBytes) f.privateBytes = committedPrivateBytes();
  HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  if (snapshot != INVALID_HANDLE_VALUE) {
    THREADENTRY32 entry{};
    entry.dwSize = sizeof(entry);
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry))
      if (entry.th32OwnerProcessID == GetCurrentProcessId()) ++f.threads;
    CloseHandle(snapshot);
  }
  return f;
}

void print(const Figures& f, int after) {
  std::printf("gdi-objects-after-%d: %lu objects\n", after, static_cast<unsigned long>(f.gdi));
  std::printf("user-objects-after-%d: %lu objects\n", after, static_cast<unsigned long>(f.user));
  std::printf("private-bytes-after-%d: %.1f MB\n", after, static_cast<double>(f.privateBytes) / (1024.0 * 1024.0));
  std::printf("threads-after-%d: %lu threads\n", after, static_cast<unsigned long>(f.threads));
  std::printf("handles-after-%d: %lu handles\n", after, static_cast<unsigned long>(f.handles));
  std::fflush(stdout);
}

// Copies every file of `from` into `to`.
void copyFolder(const std::wstring& from, const std::wstring& to) {
  CreateDirectoryW(to.c_str(), nullptr);
  WIN32_FIND_DATAW data;
  HANDLE find = FindFirstFileW((from + L"\\*").c_str(), &data);
  if (find == INVALID_HANDLE_VALUE) return;
  do {
    if (!(data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
      CopyFileW((from + L"\\" + data.cFileName).c_str(), (to + L"\\" + data.cFileName).c_str(), FALSE);
  } while (FindNextFileW(find, &data));
  FindClose(find);
}

void removeFolder(const std::wstring& folder) {
  WIN32_FIND_DATAW data;
  HANDLE find = FindFirstFileW((folder + L"\\*").c_str(), &data);
  if (find != INVALID_HANDLE_VALUE) {
    do {
      std::wstring name = data.cFileName;
      if (name == L"." || name == L"..") continue;
      if (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) removeFolder(folder + L"\\" + name);
      else DeleteFileW((folder + L"\\" + name).c_str());
    } while (FindNextFileW(find, &data));
    FindClose(find);
  }
  RemoveDirectoryW(folder.c_str());
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: longlived_bench <examples reports folder> <company database> [cycles]\n");
    return 2;
  }
  std::wstring examples = argv[1];
  while (!examples.empty() && examples.back() == L'\\') examples.pop_back();
  const std::wstring database = argv[2];
  const int cycles = argc > 3 ? std::max(10, _wtoi(argv[3])) : 1000;
  // "designer" or "scan" runs only that half, to tell which one grows.
  const std::wstring only = argc > 4 ? argv[4] : L"";

  if (FAILED(CoInitialize(nullptr))) return 1;
  int failures = 0, scanned = 0;
  double seconds = 0;
  {
    wchar_t temp[MAX_PATH];
    GetTempPathW(MAX_PATH, temp);
    const std::wstring folder = std::wstring(temp) + L"mervane-longlived-bench";
    removeFolder(folder);
    copyFolder(examples, folder);
    const std::wstring report = folder + L"\\Customer List.rpt";
    const std::wstring pdf = folder + L"\\Customer List.pdf";

    ComPtr<_ReportFunctions> functions;
    if (FAILED(CoCreateInstance(CLSID_ReportFunctions, nullptr, CLSCTX_INPROC_SERVER, IID__ReportFunctions,
                                functions.putVoid()))) {
      std::fprintf(stderr, "Mervane100 is not registered\n");
      return 1;
    }
    functions->put_RegistryPath(bstr(kRoot).get());
    functions->put_Path(bstr(folder + L"\\").get());
    functions->put_SqlDatabase(Bstr(u"company").get());
    functions->put_SqlConnString(bstr(L"Driver={SQLite3};Database=" + database + L";StepAPI=1;NoCreat=1").get());

    auto designerCycle = [&] {
      bool exported = false;
      std::thread hands([&] { exported = person(pdf); });
      Bstr title(u"Customer List");
      BSTR raw = title.detach();
      functions->EditVisualReport(&raw, bstr(report).get());  // modal until closed
      SysFreeString(raw);
      hands.join();
      if (!exported) ++failures;
    };
    auto scan = [&] {
      ComPtr<_Reports> reports;
      if (SUCCEEDED(CoCreateInstance(CLSID_Reports, nullptr, CLSCTX_INPROC_SERVER, IID__Reports, reports.putVoid()))) {
        _Reports* raw = reports.get();
        functions->GetReports(&raw);
        long count = 0;
        reports->get_Count(&count);
        scanned += static_cast<int>(count);
      }
    };
    auto cycle = [&] {
      if (only != L"scan") designerCycle();
      if (only != L"designer") scan();
    };

    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 10; ++i) cycle();
    print(measure(), 10);
    for (int i = 10; i < cycles; ++i) cycle();
    seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    print(measure(), cycles);

    functions.reset();
    removeFolder(folder);
    RegDeleteTreeW(HKEY_CURRENT_USER, (std::wstring(L"Software\\VB and VBA Program Settings\\") + kRoot).c_str());
  }
  std::printf("cycle-ms: %.0f ms\n", seconds * 1000.0 / cycles);
  std::printf("failed-cycles: %d cycles\n", failures);
  std::printf("reports-per-scan: %d reports\n", scanned / cycles);
  CoUninitialize();
  return failures ? 1 : 0;
}
