// The viewer control in a window of its own, driven as a person would (keys
// posted to the page area, buttons pressed, text typed into the boxes) over
// runs from FakePages, with the window's messages pumped between steps.
// MERVANE_DIALOG_HOLD_MS keeps the window up that long at the end of the
// first test, for screenshots.
#include "authoring/viewer/win/viewer_control.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "engine/data/report_data.h"
#include "fake_pages.h"

using namespace mervane;
using namespace mervane::viewer;
using namespace mervane::viewer::win;
using mervane::testing::FakePages;
using namespace std::chrono_literals;

namespace {

// Lets the thread's messages run until `done` holds or `ms` pass.
template <class F>
bool pumpUntil(F done, int ms = 3000) {
  auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
  for (;;) {
    MSG msg;
    while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
      TranslateMessage(&msg);
      DispatchMessageW(&msg);
    }
    if (done()) return true;
    if (std::chrono::steady_clock::now() > end) return false;
    Sleep(5);
  }
}
void pump(int ms) { pumpUntil([] { return false; }, ms); }

std::wstring text(HWND window) {
  wchar_t buffer[256] = {};
  GetWindowTextW(window, buffer, 256);
  return buffer;
}

// A top-level window holding the control over its whole client area.
class Host {
 public:
  Host() {
    static bool registered = [] {
      WNDCLASSW wc{};
      wc.lpfnWndProc = DefWindowProcW;
      wc.hInstance = GetModuleHandleW(nullptr);
      wc.lpszClassName = L"ViewerTestHost";
      return RegisterClassW(&wc) != 0;
    }();
    EXPECT_TRUE(registered);
    window = CreateWindowExW(0, L"ViewerTestHost", L"Viewer test", WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, 20, 20,
                             900, 700, nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
    ShowWindow(window, SW_SHOW);
    viewer = std::make_unique<ViewerControl>();
    EXPECT_TRUE(viewer->create(window));
    RECT client;
    GetClientRect(window, &client);
    MoveWindow(viewer->hwnd(), 0, 0, client.right, client.bottom, TRUE);
  }
  ~Host() {
    viewer.reset();
    DestroyWindow(window);
  }
  HWND tool(int id) const { return GetDlgItem(viewer->hwnd(), id); }
  HWND area() const { return tool(kPageArea); }
  void key(UINT vk, bool ctrl = false) {
    BYTE state[256] = {};
    GetKeyboardState(state);
    state[VK_CONTROL] = ctrl ? 0x80 : 0;
    SetKeyboardState(state);
    SetFocus(area());
    SendMessageW(area(), WM_KEYDOWN, vk, 1);
    state[VK_CONTROL] = 0;
    SetKeyboardState(state);
    pump(20);
  }
  void press(int id) {
    SendMessageW(tool(id), BM_CLICK, 0, 0);
    pump(20);
  }
  // Types into a box and presses Enter there.
  void enter(HWND box, const std::wstring& value) {
    SetFocus(box);
    SetWindowTextW(box, value.c_str());
    SendMessageW(box, WM_KEYDOWN, VK_RETURN, 1);
    pump(20);
  }
  std::wstring pageBox() const { return text(tool(kPageBox)); }
  bool showing(std::int32_t page) {
    return pumpUntil([&] { return viewer->navigation().current() == page && viewer->pageShown(); });
  }

  HWND window = nullptr;
  std::unique_ptr<ViewerControl> viewer;
};

void holdForScreenshots() {
  if (const char* hold = std::getenv("MERVANE_DIALOG_HOLD_MS")) pump(std::atoi(hold));
}

}  // namespace

TEST(ViewerControl, NavigatesByKeysButtonsAndPageBoxWhileTheCountGrows) {
  Host host;
  host.viewer->setPageSourceFactory([] { return std::make_unique<FakePages>(30, 20ms); });
  EXPECT_EQ(host.pageBox(), L"");
  host.viewer->setReportSource(nullptr);
  host.viewer->showAsPages();
  host.viewer->viewReport();
  ASSERT_TRUE(host.showing(1));
  // Still counting: the box says so.
  EXPECT_NE(host.pageBox().find(L"+"), std::wstring::npos) << host.pageBox();
  ASSERT_TRUE(pumpUntil([&] { return host.pageBox() == L"1 of 30"; }));

  host.viewer->setZoom({ZoomMode::WholePage, 100});
  host.key(VK_NEXT);
  EXPECT_TRUE(host.showing(2));
  host.key(VK_END, true);
  EXPECT_TRUE(host.showing(30));
  EXPECT_EQ(host.pageBox(), L"30 of 30");
  host.key(VK_NEXT);  // no page after the last
  EXPECT_EQ(host.viewer->navigation().current(), 30);
  host.key(VK_PRIOR);
  EXPECT_TRUE(host.showing(29));
  host.key(VK_HOME, true);
  EXPECT_TRUE(host.showing(1));
  host.press(kLastButton);
  EXPECT_TRUE(host.showing(30));
  host.press(kPreviousButton);
  EXPECT_TRUE(host.showing(29));
  host.press(kFirstButton);
  host.press(kNextButton);
  EXPECT_TRUE(host.showing(2));
  host.enter(host.tool(kPageBox), L"17");
  EXPECT_TRUE(host.showing(17));
  EXPECT_EQ(host.pageBox(), L"17 of 30");
  host.enter(host.tool(kPageBox), L"nonsense");  // put back as it was
  EXPECT_EQ(host.pageBox(), L"17 of 30");
  EXPECT_FALSE(IsWindowEnabled(host.tool(kFirstButton)) && host.viewer->navigation().current() == 1);
  holdForScreenshots();
}

TEST(ViewerControl, ZoomChangesScaleAndPageKeysScrollATallPageFirst) {
  Host host;
  host.viewer->setPageSourceFactory([] { return std::make_unique<FakePages>(3); });
  host.viewer->viewReport();
  ASSERT_TRUE(host.showing(1));
  HWND zoom = host.tool(kZoomBox);
  SendMessageW(zoom, CB_SETCURSEL, 8, 0);  // 400%
  SendMessageW(host.viewer->hwnd(), WM_COMMAND, MAKEWPARAM(kZoomBox, CBN_SELCHANGE), reinterpret_cast<LPARAM>(zoom));
  EXPECT_EQ(host.viewer->zoom(), (Zoom{ZoomMode::Percent, 400}));
  EXPECT_EQ(text(zoom), L"400%");
  host.key(VK_NEXT);  // the page is many views tall: scroll, do not turn
  EXPECT_EQ(host.viewer->navigation().current(), 1);
  EXPECT_GT(host.viewer->scroll().y, 0);
  host.key(VK_END);
  int bottom = host.viewer->scroll().y;
  host.key(VK_NEXT);
  EXPECT_TRUE(host.showing(2));
  EXPECT_EQ(host.viewer->scroll().y, 0);
  host.key(VK_PRIOR);  // back to the bottom of page 1
  EXPECT_TRUE(host.showing(1));
  EXPECT_EQ(host.viewer->scroll().y, bottom);

  HWND zoomEdit = FindWindowExW(zoom, nullptr, L"EDIT", nullptr);
  ASSERT_NE(zoomEdit, nullptr);
  host.enter(zoomEdit, L"75");
  EXPECT_EQ(host.viewer->zoom(), (Zoom{ZoomMode::Percent, 75}));
  host.enter(zoomEdit, L"page width");
  EXPECT_EQ(host.viewer->zoom().mode, ZoomMode::PageWidth);
  host.enter(zoomEdit, L"huge");  // not a zoom: nothing changes
  EXPECT_EQ(host.viewer->zoom().mode, ZoomMode::PageWidth);
}

TEST(ViewerControl, FindGoesFromPageToPageAndSaysWhenNothingMatches) {
  Host host;
  host.viewer->setPageSourceFactory([] { return std::make_unique<FakePages>(5); });
  host.viewer->viewReport();
  ASSERT_TRUE(host.showing(1));
  host.key('F', true);
  EXPECT_EQ(GetFocus(), host.tool(kFindBox));
  host.enter(host.tool(kFindBox), L"line 40");
  ASSERT_TRUE(pumpUntil([&] { return host.viewer->findHit().has_value(); }));
  EXPECT_EQ(host.viewer->findHit()->page, 1);
  EXPECT_EQ(host.viewer->findHit()->item, 39);
  host.press(kFindButton);
  ASSERT_TRUE(pumpUntil([&] { return host.viewer->findHit() && host.viewer->findHit()->page == 2; }));
  EXPECT_TRUE(host.showing(2));
  EXPECT_GT(host.viewer->scroll().y, 0);  // scrolled down to the line

  SetWindowTextW(host.tool(kFindBox), L"PAGE 4 LINE 1");  // letter case ignored
  host.press(kFindButton);
  EXPECT_TRUE(pumpUntil([&] { return host.viewer->findHit() && host.viewer->findHit()->page == 4; }));
  SetWindowTextW(host.tool(kFindBox), L"no such words");
  host.press(kFindButton);
  EXPECT_TRUE(pumpUntil([&] { return text(host.tool(kStatusText)) == L"Not found"; }));
  EXPECT_FALSE(host.viewer->findHit());
}

TEST(ViewerControl, TwentyQuickRefreshesStayResponsiveAndLetEveryOldRunGo) {
  Host host;
  int before = mervane::testing::runsMade;
  host.viewer->setPageSourceFactory([] { return std::make_unique<FakePages>(500, 5ms); });
  host.viewer->viewReport();
  for (int i = 0; i < 20; ++i) {
    auto start = std::chrono::steady_clock::now();
    if (i % 2) host.key(VK_F5);
    else host.press(kRefreshButton);
    // A refresh that waited for the old run's count would take 2.5 s; the
    // bound is loose so that a busy machine does not fail it.
    EXPECT_LT(std::chrono::steady_clock::now() - start, 1000ms);
  }
  EXPECT_EQ(mervane::testing::runsMade - before, 21);
  EXPECT_TRUE(pumpUntil([] { return mervane::testing::liveRuns == 1; }));
  ASSERT_TRUE(host.showing(1));
  EXPECT_EQ(host.pageBox().rfind(L"1 of ", 0), 0u) << host.pageBox();
}

TEST(ViewerControl, ClosingWhileCountingAndExportingReturnsAtOnce) {
  auto folder = std::filesystem::temp_directory_path() / "viewer-close";
  std::filesystem::create_directories(folder);
  {
    Host host;
    // A long count; page 3 is far off when the window closes.
    host.viewer->setPageSourceFactory([] { return std::make_unique<FakePages>(100000, 50ms); });
    host.viewer->viewReport();
    ASSERT_TRUE(host.showing(1));
    host.viewer->exportTo((folder / L"long.pdf").wstring());
    EXPECT_TRUE(host.viewer->busy());
    auto start = std::chrono::steady_clock::now();
    DestroyWindow(host.window);
    host.viewer.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - start, 1s);
  }
  EXPECT_EQ(mervane::testing::liveRuns, 0);
  // The stopped export left nothing behind.
  EXPECT_TRUE(std::filesystem::is_empty(folder));
}

TEST(ViewerControl, ExportsWriteWholeFilesOrNothing) {
  auto folder = std::filesystem::temp_directory_path() / "viewer-export";
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder);
  Host host;
  // Exported the moment it opens: pages showing the total wait for the count.
  host.viewer->setPageSourceFactory([] { return std::make_unique<FakePages>(12, 30ms); });
  host.viewer->viewReport();

  host.viewer->exportTo((folder / L"report.CSV").wstring());
  EXPECT_TRUE(pumpUntil([&] { return wcsncmp(text(host.tool(kStatusText)).c_str(), L"Counting pages", 14) == 0; }));
  ASSERT_TRUE(pumpUntil([&] { return host.viewer->lastExport().has_value(); }, 10000));
  std::ifstream csv(folder / "report.CSV", std::ios::binary);
  std::string lines((std::istreambuf_iterator<char>(csv)), std::istreambuf_iterator<char>());
  EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 12 * 40);
  std::size_t finalTotals = 0;  // every line shows the total the count came to
  for (auto at = lines.find(",of 12\r\n"); at != std::string::npos; at = lines.find(",of 12\r\n", at + 1)) ++finalTotals;
  EXPECT_EQ(finalTotals, 12u * 40);
  EXPECT_NE(lines.find("Page 12 line 40,of 12\r\n"), std::string::npos);

  // An older file of the same name is replaced only by a complete new one.
  std::ofstream(folder / "report.pdf") << "old";
  host.viewer->exportTo((folder / L"report.pdf").wstring());
  ASSERT_TRUE(pumpUntil([&] { return host.viewer->lastExport().has_value(); }, 10000));
  EXPECT_TRUE(*host.viewer->lastExport());
  std::ifstream pdf(folder / "report.pdf", std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(pdf)), std::istreambuf_iterator<char>());
  EXPECT_EQ(bytes.rfind("%PDF-1.4", 0), 0u);
  EXPECT_NE(bytes.find("%%EOF"), std::string::npos);
  EXPECT_NE(bytes.find("/FontFile2"), std::string::npos);  // the fonts GDI draws with, embedded
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 2);

  host.viewer->exportTo((folder / L"missing" / L"report.pdf").wstring());
  ASSERT_TRUE(pumpUntil([&] { return host.viewer->lastExport().has_value(); }, 10000));
  EXPECT_FALSE(*host.viewer->lastExport());
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 2);
}

TEST(ViewerControl, ARunThatCannotStartShowsAPageSayingWhy) {
  Host host;
  host.viewer->setPageSourceFactory([]() -> std::unique_ptr<engine::layout::PageSource> {
    throw engine::data::DataError(u"The database server refused the log-on for user \"sa\".");
  });
  host.viewer->refresh();
  ASSERT_TRUE(host.showing(1));
  EXPECT_EQ(host.pageBox(), L"1 of 1");
  SetWindowTextW(host.tool(kFindBox), L"refused the log-on");
  host.press(kFindButton);
  ASSERT_TRUE(pumpUntil([&] { return host.viewer->findHit().has_value(); }));
  EXPECT_EQ(host.viewer->findHit()->page, 1);

  // No report and no pages: an empty view with nothing to print or export.
  host.viewer->setPageSourceFactory(nullptr);
  host.viewer->setReportSource(nullptr);
  host.viewer->refresh();
  EXPECT_EQ(host.pageBox(), L"");
  EXPECT_FALSE(IsWindowEnabled(host.tool(kPrintButton)));
  EXPECT_FALSE(IsWindowEnabled(host.tool(kExportButton)));
  host.key('P', true);  // nothing to print: nothing happens
  host.viewer->exportTo(L"C:\\nowhere.pdf");
  EXPECT_FALSE(host.viewer->busy());
}

// A long export shows its progress window; its Cancel (here Esc, as a
// person presses it) stops the export and leaves no file at all.
TEST(ViewerControl, TheProgressWindowsCancelLeavesNoFile) {
  auto folder = std::filesystem::temp_directory_path() / "viewer-export-cancel";
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder);
  Host host;
  host.viewer->setPageSourceFactory([] { return std::make_unique<FakePages>(200, 40ms); });
  host.viewer->viewReport();
  host.viewer->exportTo((folder / L"long.xlsx").wstring());
  HWND progress = nullptr;
  ASSERT_TRUE(pumpUntil([&] {
    progress = FindWindowW(nullptr, L"Exporting");
    return progress && IsWindowVisible(progress);
  }, 10000));
  if (const char* hold = std::getenv("MERVANE_DIALOG_HOLD_MS")) pump(std::atoi(hold));
  HWND cancel = GetDlgItem(progress, IDCANCEL);
  EXPECT_EQ(GetFocus(), cancel);
  PostMessageW(cancel, WM_KEYDOWN, VK_ESCAPE, 1);
  ASSERT_TRUE(pumpUntil([&] { return host.viewer->lastExport().has_value(); }, 10000));
  EXPECT_FALSE(*host.viewer->lastExport());
  EXPECT_FALSE(IsWindowVisible(progress));
  EXPECT_EQ(text(host.tool(kStatusText)), L"Export stopped");
  EXPECT_TRUE(std::filesystem::is_empty(folder));
}
