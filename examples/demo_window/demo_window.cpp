// The demo's main job: a host program lists the example reports, picks one
// and opens it for design and preview through the library's COM interface
// (the session's settings set first, then GetReports, then EditVisualReport
// with the title and path the catalogue gave), while a second thread does
// what a person at the window would: looks at the Design tab, clicks
// Preview, waits for the first page, and exports the report to PDF through
// the viewer's Export button, its Export dialog and the save dialog. Both
// tabs are saved as PNG pictures beside the PDF, and each path is printed as
// soon as the file is there.
//
//   demo_window.exe REPORTS_FOLDER\ FILE_NAME COMPANY_DB OUTPUT_FOLDER [--stay]
//
// COMPANY_DB is the example SQLite database as a Unix path (the ODBC driver
// runs on the Unix side). Without --stay the window is closed once the
// files are saved; with it the window stays for the person to use, and the
// program ends when they close it. Exit code 0 when every file was saved.
#include <windows.h>
#include <commctrl.h>
#include <oleauto.h>

#include <atomic>
#include <string>
#include <thread>

#include "Mervane100.h"
#include "png_file.h"
#include "window_hands.h"

namespace {

using namespace mervane::hands;

// Lines on standard output in UTF-8, whatever the console's code page.
void say(const std::wstring& line) {
  std::wstring text = line + L"\n";
  int size = WideCharToMultiByte(CP_UTF8, 0, text.c_str(), static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
  std::string bytes(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.c_str(), static_cast<int>(text.size()), bytes.data(), size, nullptr, nullptr);
  DWORD written = 0;
  WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

// "Z:\work\demo\x.png" as the Unix path it stands for.
std::wstring shownPath(std::wstring path) {
  if (path.size() > 2 && (path[0] == L'Z' || path[0] == L'z') && path[1] == L':') path.erase(0, 2);
  for (wchar_t& c : path)
    if (c == L'\\') c = L'/';
  return path;
}


bool savePicture(HWND window, const std::wstring& path) {
  RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN | RDW_FRAME);
  Sleep(300);
  if (!saveWindowPicture(window, path)) {
    say(L"Could not save " + shownPath(path));
    return false;
  }
  say(L"  " + shownPath(path));
  return true;
}

// What the person does at the window. Returns how many of the three files
// were saved.
int person(const std::wstring& folder, const std::wstring& pdfName, bool stay) {
  HWND window = windowCalled(L"Edit Report - ", 30000);
  if (!window) {
    say(L"The designer window did not open.");
    return 0;
  }
  SetForegroundWindow(window);
  int saved = 0;
  Sleep(1500);  // the designer fills its field list and paints
  say(L"Saved:");
  if (savePicture(window, folder + L"\\design.png")) ++saved;

  HWND tabs = GetDlgItem(window, kTabStrip);
  clickTab(tabs, 1);
  HWND viewer = viewerIn(window);
  // The first page is in when the page box shows the count ("1 of 3").
  bool shown = viewer && waitFor([&] {
    std::wstring box = text(GetDlgItem(viewer, kPageBox));
    return startsWith(box, L"1 of ") && box.find(L'+') == std::wstring::npos;
  }, 30000);
  if (!shown) say(L"The preview showed no pages.");
  Sleep(500);
  if (shown && savePicture(window, folder + L"\\preview.png")) ++saved;

  // Export through the viewer's button: the Export dialog as it opens (a
  // PDF of all pages), then the save dialog.
  const std::wstring pdf = folder + L"\\" + pdfName;
  DeleteFileW(pdf.c_str());
  if (viewer) PostMessageW(GetDlgItem(viewer, kExportButton), BM_CLICK, 0, 0);
  if (HWND choice = windowCalled(L"Export", 10000)) {
    Sleep(300);
    PostMessageW(GetDlgItem(choice, IDOK), BM_CLICK, 0, 0);
  }
  if (HWND dialog = windowCalled(L"Export Report", 10000)) {
    Sleep(300);
    HWND name = GetDlgItem(dialog, kFileNameCombo);
    if (!name) name = GetDlgItem(dialog, kFileNameEdit);
    SendMessageW(name, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(pdf.c_str()));
    PostMessageW(GetDlgItem(dialog, IDOK), BM_CLICK, 0, 0);
    bool exported = waitFor([&] { return startsWith(text(GetDlgItem(viewer, kStatusText)), L"Exported to"); },
                            60000);
    if (exported && GetFileAttributesW(pdf.c_str()) != INVALID_FILE_ATTRIBUTES) {
      say(L"  " + shownPath(pdf));
      ++saved;
    } else {
      say(L"The export did not finish: " + text(GetDlgItem(viewer, kStatusText)));
    }
  } else {
    say(L"The export dialog did not open.");
  }
  // Back to the designer, as the person found it.
  clickTab(tabs, 0);
  if (stay) {
    say(L"The designer window stays open: close it to end the demo.");
  } else {
    PostMessageW(window, WM_CLOSE, 0, 0);
  }
  return saved;
}

// Owners of what the COM calls need, each let go when it goes out of scope.
struct Apartment {
  HRESULT result = CoInitialize(nullptr);
  ~Apartment() {
    if (SUCCEEDED(result)) CoUninitialize();
  }
};
template <class Interface>
struct Com {
  Interface* object = nullptr;
  Interface* operator->() const { return object; }
  void** put() { return reinterpret_cast<void**>(&object); }
  ~Com() {
    if (object) object->Release();
  }
};
struct Bstr {
  Bstr() = default;
  explicit Bstr(const std::wstring& text) : b(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {}
  ~Bstr() { SysFreeString(b); }
  std::wstring text() const { return b ? std::wstring(b, SysStringLen(b)) : std::wstring(); }
  Bstr(const Bstr&) = delete;
  Bstr& operator=(const Bstr&) = delete;
  BSTR b = nullptr;
};

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc < 5) {
    say(L"usage: demo_window REPORTS_FOLDER\\ FILE_NAME COMPANY_DB OUTPUT_FOLDER [--stay]");
    return 2;
  }
  const std::wstring reportsFolder = argv[1], fileName = argv[2], database = argv[3], folder = argv[4];
  const bool stay = argc > 5 && std::wstring(argv[5]) == L"--stay";
  const std::wstring pdfName = fileName.substr(0, fileName.find_last_of(L'.')) + L".pdf";

  Apartment apartment;
  if (FAILED(apartment.result)) return 1;
  Com<_ReportFunctions> functions;
  Com<_Reports> reports;
  if (FAILED(CoCreateInstance(CLSID_ReportFunctions, nullptr, CLSCTX_INPROC_SERVER, IID__ReportFunctions,
                              functions.put())) ||
      FAILED(CoCreateInstance(CLSID_Reports, nullptr, CLSCTX_INPROC_SERVER, IID__Reports, reports.put()))) {
    say(L"Mervane100 is not registered.");
    return 1;
  }
  // The session's settings, as a host sets them before anything else.
  functions->put_RegistryPath(Bstr(L"Mervane100 Demo").b);
  functions->put_AppName(Bstr(L"Mervane100 Demo").b);
  functions->put_Path(Bstr(reportsFolder).b);
  functions->put_SqlDatabase(Bstr(L"company").b);
  functions->put_SqlConnString(Bstr(L"Driver={SQLite3};Database=" + database + L";StepAPI=1;NoCreat=1").b);

  // The user picks the report from the catalogue: its title and full path.
  functions->GetReports(&reports.object);
  Com<_ReportItem> item;
  VARIANT key;
  VariantInit(&key);
  key.vt = VT_BSTR;
  key.bstrVal = SysAllocString(fileName.c_str());
  reports->get_Item(&key, &item.object);
  VariantClear(&key);
  Bstr title, path;
  if (item.object) {
    item->get_ReportTitle(&title.b);
    item->get_RegKey(&path.b);
  }
  if (path.text().empty()) {
    say(L"There is no report " + fileName + L" in " + reportsFolder);
    return 1;
  }

  say(L"Opening \u201C" + title.text() + L"\u201D in the designer window\x2026");
  std::atomic<int> saved{0};
  std::thread hands([&] { saved = person(folder, pdfName, stay); });
  functions->EditVisualReport(&title.b, path.b);  // modal until the window is closed
  hands.join();
  return saved == 3 ? 0 : 1;
}
