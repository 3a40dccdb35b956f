// The hands of a person at the designer window, for the programs that drive
// it from a second thread as a person would (the demo, the long-lived host
// bench): finding this program's windows by caption, reading their text,
// waiting for a state, clicking a tab. The ids are the designer window's
// and the viewer's.
#pragma once

#include <windows.h>
#include <commctrl.h>

#include <string>

namespace mervane::hands {

constexpr int kTabStrip = 1;
constexpr int kPageBox = 1003;
constexpr int kExportButton = 1011;
constexpr int kStatusText = 1012;
// The save dialog's file name box.
constexpr int kFileNameCombo = 0x47C;
constexpr int kFileNameEdit = 0x480;

inline std::wstring text(HWND window) {
  wchar_t buffer[1024] = {};
  SendMessageTimeoutW(window, WM_GETTEXT, 1024, reinterpret_cast<LPARAM>(buffer), SMTO_ABORTIFHUNG, 2000, nullptr);
  return buffer;
}

inline bool startsWith(const std::wstring& text, const std::wstring& start) {
  return text.compare(0, start.size(), start) == 0;
}

template <class Done>
bool waitFor(Done done, int ms) {
  for (int waited = 0; waited < ms; waited += 10) {
    if (done()) return true;
    Sleep(10);
  }
  return done();
}

// The visible top-level window of this program whose caption starts so,
// waited for up to ms.
struct WindowSearch {
  std::wstring prefix;
  HWND found = nullptr;
};

// (Window enumeration callbacks are named functions: a lambda has the wrong
// calling convention for them on 32-bit Windows.)
inline BOOL CALLBACK visitWindow(HWND window, LPARAM data) {
  auto* s = reinterpret_cast<WindowSearch*>(data);
  DWORD process = 0;
  GetWindowThreadProcessId(window, &process);
  if (process != GetCurrentProcessId() || !IsWindowVisible(window)) return TRUE;
  if (!startsWith(text(window), s->prefix)) return TRUE;
  s->found = window;
  return FALSE;
}

inline HWND windowCalled(const std::wstring& prefix, int ms) {
  WindowSearch search{prefix};
  waitFor([&] {
    EnumWindows(visitWindow, reinterpret_cast<LPARAM>(&search));
    return search.found != nullptr;
  }, ms);
  return search.found;
}

// The report viewer inside the designer window.
inline BOOL CALLBACK visitForViewer(HWND child, LPARAM data) {
  wchar_t name[64] = {};
  GetClassNameW(child, name, 64);
  if (std::wstring(name) != L"MervaneReportViewer") return TRUE;
  *reinterpret_cast<HWND*>(data) = child;
  return FALSE;
}

inline HWND viewerIn(HWND window) {
  HWND viewer = nullptr;
  EnumChildWindows(window, visitForViewer, reinterpret_cast<LPARAM>(&viewer));
  return viewer;
}

// A click of the mouse on a tab of the tab strip.
inline void clickTab(HWND tabs, int index) {
  RECT r{};
  SendMessageW(tabs, TCM_GETITEMRECT, index, reinterpret_cast<LPARAM>(&r));
  LPARAM at = MAKELPARAM((r.left + r.right) / 2, (r.top + r.bottom) / 2);
  PostMessageW(tabs, WM_LBUTTONDOWN, MK_LBUTTON, at);
  PostMessageW(tabs, WM_LBUTTONUP, 0, at);
}

}  // namespace mervane::hands
