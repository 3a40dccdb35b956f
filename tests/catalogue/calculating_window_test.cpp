// The scan's progress window as a person sees it: it appears with its
// caption and layout while the scan runs, counts the folder's files, keeps
// the label and the bar in step, and is gone when GetReports returns.
#include <windows.h>
#include <commctrl.h>

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

#include "base/win/com.h"
#include "catalogue/catalogue_scan.h"
#include "catalogue/win/calculating_form.h"
#include "server/windows_services.h"

namespace mervane {
namespace {

// The real desktop, a little slower per file, so a person can watch.
struct WatchableDesktop final : Desktop {
  void processMessages() override {
    real.processMessages();
    Sleep(1);
  }
  void setBusyPointer(bool busy) override { real.setBusyPointer(busy); }
  void showMessage(const Text& text, const Text& title) override { real.showMessage(text, title); }
  server::WindowsDesktop real;
};

struct Seen {
  RECT client{};
  std::wstring label;
  int position = -1, maximum = -1;
  bool found = false;
};

TEST(CalculatingWindow, ShowsTheScanAndCloses) {
  CoInitialize(nullptr);
  wchar_t temp[MAX_PATH];
  GetTempPathW(MAX_PATH, temp);
  std::wstring folder = std::wstring(temp) + L"mervane-calculating";
  CreateDirectoryW(folder.c_str(), nullptr);
  const int kFiles = 600;
  for (int i = 0; i < kFiles; ++i) {
    HANDLE h = CreateFileW((folder + L"\\note" + std::to_wstring(i) + L".txt").c_str(), GENERIC_WRITE, 0, nullptr,
                           CREATE_ALWAYS, 0, nullptr);
    CloseHandle(h);
  }

  Seen seen;
  std::atomic<bool> done{false};
  std::thread person([&] {
    for (int i = 0; i < 500 && !done; ++i, Sleep(10)) {
      HWND w = FindWindowW(nullptr, L"Reading Reports...");
      if (!w || !IsWindowVisible(w)) continue;
      HWND label = GetDlgItem(w, win::CalculatingForm::kLabel1);
      HWND bar = GetDlgItem(w, win::CalculatingForm::kProgressBar2);
      wchar_t text[64] = {};
      // Let it run a while: until the label has counted past the first hundred.
      for (int j = 0; j < 1000 && IsWindowVisible(w); ++j, Sleep(2)) {
        GetWindowTextW(label, text, 64);
        if (_wtoi(text + (wcslen(text) > 7 ? 7 : 0)) > 100) break;
      }
      seen.found = true;
      GetClientRect(w, &seen.client);
      seen.label = text;
      seen.position = static_cast<int>(SendMessageW(bar, PBM_GETPOS, 0, 0));
      seen.maximum = static_cast<int>(SendMessageW(bar, PBM_GETRANGE, FALSE, 0));
      break;
    }
  });

  SessionSettings session;
  session.registryPath = u"Mervane100 Window Test";
  session.path = win::fromWide(folder.c_str()) + u"\\";
  server::WindowsServices services;
  WatchableDesktop desktop;
  const ScanPorts real = services.scan();
  ReportCollection reports;
  const ScanPorts watched{real.store,           real.files,  real.engine, real.legacyService,
                          real.propertyReader, real.window, desktop};
  scanCatalogue(session, watched, &reports);
  done = true;
  person.join();

  EXPECT_TRUE(seen.found) << "the progress window never appeared";
  // 4680 x 750 twips at the screen's resolution.
  HDC dc = GetDC(nullptr);
  int dpi = GetDeviceCaps(dc, LOGPIXELSX);
  ReleaseDC(nullptr, dc);
  EXPECT_EQ(seen.client.right, MulDiv(4680, dpi, 1440));
  EXPECT_EQ(seen.client.bottom, MulDiv(750, dpi, 1440));
  EXPECT_EQ(seen.maximum, kFiles);
  // "Report k of 600" with the bar at k - 1, give or take one refresh.
  ASSERT_EQ(seen.label.rfind(L"Report ", 0), 0u) << std::string(seen.label.begin(), seen.label.end());
  int k = _wtoi(seen.label.c_str() + 7);
  EXPECT_NE(seen.label.find(L" of 600"), std::wstring::npos);
  EXPECT_GT(k, 1);
  EXPECT_NEAR(seen.position, k - 1, 60);
  EXPECT_EQ(FindWindowW(nullptr, L"Reading Reports..."), nullptr) << "the window outlived the scan";
  EXPECT_EQ(reports.size(), 0u);

  for (int i = 0; i < kFiles; ++i) DeleteFileW((folder + L"\\note" + std::to_wstring(i) + L".txt").c_str());
  RemoveDirectoryW(folder.c_str());
}

}  // namespace
}  // namespace mervane
