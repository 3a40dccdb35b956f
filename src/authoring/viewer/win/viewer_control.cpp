// The viewer control's window: tools, page area, and the threads behind
// them. Everything here runs on the window's thread except the tasks handed
// to the two workers (pages, find) and the print and export jobs
// (viewer_jobs.cpp); those talk back only through the mailbox
// (page_cache.h) and posted messages.
#include "authoring/viewer/win/viewer_control.h"

#include <commctrl.h>
#include <windowsx.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "authoring/viewer/message_pages.h"
#include "authoring/viewer/win/viewer_jobs.h"
#include "base/win/form.h"
#include "base/win/wide.h"
#include "engine/data/report_data.h"
#include "engine/model/parameters.h"
#include "engine/win/gdi_measure.h"
#include "printing/win/report_printing.h"

namespace mervane::viewer::win {

namespace {

namespace layout = engine::layout;
using mervane::win::dpiOf;
using mervane::win::fromWide;
using mervane::win::toWide;

constexpr wchar_t kControlClass[] = L"MervaneReportViewer";
constexpr wchar_t kPagesClass[] = L"MervaneReportPages";
constexpr UINT kPageReady = WM_APP + 1;
constexpr UINT kFindDone = WM_APP + 2;
constexpr UINT kCloseLinked = WM_APP + 4;  // lParam: the subreport's viewer whose tab closes
constexpr UINT_PTR kCountTimer = 1;
constexpr int kToolHeight = 30;  // pixels at 96 dpi
constexpr int kLineStep = 40;
constexpr int kTabsHeight = 26;  // pixels at 96 dpi

// The links of a page, in drawing order.
std::vector<const layout::TextRun*> linksOf(const layout::Page& page) {
  std::vector<const layout::TextRun*> links;
  for (const auto& item : page.items)
    if (auto run = std::get_if<layout::TextRun>(&item); run && run->link) links.push_back(run);
  return links;
}

// "Orders (Ann)": a subreport's tab, named after it and the record it shows.
std::wstring tabText(const layout::PageLink& link) {
  Text text = link.name.empty() ? Text(u"Subreport") : link.name;
  Text values;
  for (const auto& value : link.values) values += (values.empty() ? u"" : u", ") + engine::formula::toText(value);
  if (!values.empty()) text += u" (" + values + u")";
  return toWide(text);
}

bool registerClasses(WNDPROC control, WNDPROC pages) {
  static const bool done = [&] {
    WNDCLASSEXW wc{};
    wc.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    wc.lpfnWndProc = control;
    wc.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
    wc.lpszClassName = kControlClass;
    bool ok = mervane::win::registerWindowClass(wc);
    wc.lpfnWndProc = pages;
    wc.hbrBackground = nullptr;
    wc.style = CS_HREDRAW | CS_VREDRAW;
    wc.lpszClassName = kPagesClass;
    return mervane::win::registerWindowClass(wc) && ok;
  }();
  return done;
}

std::wstring windowText(HWND window) {
  int length = GetWindowTextLengthW(window);
  std::wstring text(static_cast<std::size_t>(std::max(0, length)) + 1, L'\0');
  GetWindowTextW(window, text.data(), length + 1);
  text.resize(static_cast<std::size_t>(std::max(0, length)));
  return text;
}

bool ctrlDown() { return (GetKeyState(VK_CONTROL) & 0x8000) != 0; }

}  // namespace

ViewerControl::ViewerControl()
    : measure_(std::make_shared<engine::win::GdiMeasure>()), pages_(std::make_unique<PageCache>()),
      finder_(std::make_unique<Worker>()) {}

ViewerControl::~ViewerControl() {
  linked_.clear();
  if (hwnd_) DestroyWindow(hwnd_);  // WM_DESTROY stops the work
  stopAll();
  pages_.reset();
  finder_.reset();
}

bool ViewerControl::create(HWND parent) {
  if (hwnd_ || !registerClasses(controlProc, pageAreaProc)) return hwnd_ != nullptr;
  RECT area{};
  GetClientRect(parent, &area);
  hwnd_ = CreateWindowExW(WS_EX_CONTROLPARENT, kControlClass, L"", WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN, 0, 0,
                          area.right, area.bottom, parent, nullptr, mervane::win::thisModule(), this);
  return hwnd_ != nullptr;
}

// ---------------------------------------------------------------------------
// Window procedures.
// ---------------------------------------------------------------------------

LRESULT CALLBACK ViewerControl::controlProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_NCCREATE) {
    auto* self = static_cast<ViewerControl*>(reinterpret_cast<CREATESTRUCTW*>(lParam)->lpCreateParams);
    SetWindowLongPtrW(hwnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
    self->hwnd_ = hwnd;
  }
  auto* self = reinterpret_cast<ViewerControl*>(GetWindowLongPtrW(hwnd, GWLP_USERDATA));
  if (!self) return DefWindowProcW(hwnd, message, wParam, lParam);
  try {
    return self->onMessage(message, wParam, lParam);
  } catch (...) {
    return DefWindowProcW(hwnd, message, wParam, lParam);
  }
}

LRESULT CALLBACK ViewerControl::pageAreaProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_NCCREATE) {
    auto* self = static_cast<ViewerControl*>(reinterpret_cast<CREATESTRUCTW*>(lParam)->lpCreateParams);
    SetWindowLongPtrW(hwnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
  }
  auto* self = reinterpret_cast<ViewerControl*>(GetWindowLongPtrW(hwnd, GWLP_USERDATA));
  if (!self) return DefWindowProcW(hwnd, message, wParam, lParam);
  try {
    return self->onPageAreaMessage(hwnd, message, wParam, lParam);
  } catch (...) {
    return DefWindowProcW(hwnd, message, wParam, lParam);
  }
}

// The page box, find box and zoom box: Enter acts, Escape goes back to the
// pages, and the viewer's own keys work there too.
LRESULT CALLBACK ViewerControl::toolProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR id,
                                         DWORD_PTR data) {
  auto* self = reinterpret_cast<ViewerControl*>(data);
  try {
    if (message == WM_GETDLGCODE) return DefSubclassProc(hwnd, message, wParam, lParam) | DLGC_WANTALLKEYS;
    if (message == WM_CHAR && (wParam == VK_RETURN || wParam == VK_ESCAPE)) return 0;  // no beep
    if (message == WM_KEYDOWN) {
      if (wParam == VK_RETURN) {
        if (id == kPageBox) {
          if (auto page = parsePageBox(fromWide(windowText(hwnd).c_str()))) {
            self->nav_.goTo(*page);
            self->showPage(self->nav_.current());
          }
          SetFocus(self->area_);
          self->updateTools();
        } else if (id == kFindBox) {
          self->find();
        } else if (id == kZoomBox) {
          if (auto zoom = parseZoom(fromWide(windowText(hwnd).c_str()))) self->setZoom(*zoom);
          SetFocus(self->area_);
        }
        return 0;
      }
      if (wParam == VK_ESCAPE) {
        SetFocus(self->area_);
        self->updateTools();
        return 0;
      }
      if (wParam == VK_F5 || (ctrlDown() && (wParam == 'P' || wParam == 'F'))) {
        self->onKey(wParam);
        return 0;
      }
    }
    if (message == WM_NCDESTROY) RemoveWindowSubclass(hwnd, toolProc, id);
  } catch (...) {
    return 0;
  }
  return DefSubclassProc(hwnd, message, wParam, lParam);
}

LRESULT ViewerControl::onMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_CREATE:
      makeTools();
      return 0;
    case WM_SIZE:
      layoutTools();
      return 0;
    case WM_SETFOCUS:
      if (ViewerControl* view = linkedView()) SetFocus(view->hwnd());
      else if (area_) SetFocus(area_);
      return 0;
    case WM_NOTIFY: {
      const auto* notice = reinterpret_cast<const NMHDR*>(lParam);
      if (notice->hwndFrom == tabs_ && notice->code == TCN_SELCHANGE) showTab(TabCtrl_GetCurSel(tabs_));
      return 0;
    }
    case kCloseLinked:
      closeLinkedTab(reinterpret_cast<ViewerControl*>(lParam));
      return 0;
    case WM_COMMAND:
      onCommand(LOWORD(wParam), HIWORD(wParam));
      return 0;
    case WM_TIMER:
      if (wParam == kCountTimer) followCount();
      return 0;
    case WM_WINDOWPOSCHANGED:
      if ((reinterpret_cast<const WINDOWPOS*>(lParam)->flags & SWP_SHOWWINDOW) && viewWhenShown_) viewReport();
      return DefWindowProcW(hwnd_, message, wParam, lParam);
    case kPageReady:
      onPageReady();
      return 0;
    case kFindDone:
      onFindDone();
      return 0;
    case kExportProgress:
      onExportProgress();
      return 0;
    case WM_DESTROY:
      KillTimer(hwnd_, kCountTimer);
      stopAll();
      return 0;
    case WM_NCDESTROY:
      SetWindowLongPtrW(hwnd_, GWLP_USERDATA, 0);
      hwnd_ = nullptr;
      area_ = nullptr;
      if (font_) DeleteObject(font_);
      font_ = nullptr;
      return 0;
    default:
      return DefWindowProcW(hwnd_, message, wParam, lParam);
  }
}

LRESULT ViewerControl::onPageAreaMessage(HWND area, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_GETDLGCODE:
      return DLGC_WANTALLKEYS | DLGC_WANTARROWS;
    case WM_ERASEBKGND:
      return 1;
    case WM_PAINT: {
      PAINTSTRUCT ps;
      HDC dc = BeginPaint(area, &ps);
      RECT client;
      GetClientRect(area, &client);
      // Drawn into a bitmap first, so the page never flickers.
      HDC memory = CreateCompatibleDC(dc);
      HBITMAP bitmap = CreateCompatibleBitmap(dc, std::max(1L, client.right), std::max(1L, client.bottom));
      if (memory && bitmap) {
        HGDIOBJ old = SelectObject(memory, bitmap);
        paintPages(memory, client);
        BitBlt(dc, 0, 0, client.right, client.bottom, memory, 0, 0, SRCCOPY);
        SelectObject(memory, old);
      } else {
        paintPages(dc, client);
      }
      if (bitmap) DeleteObject(bitmap);
      if (memory) DeleteDC(memory);
      EndPaint(area, &ps);
      return 0;
    }
    case WM_SIZE:
      scrollTo(scroll_);
      return 0;
    case WM_SETCURSOR:
      if (LOWORD(lParam) == HTCLIENT) {
        POINT at{};
        GetCursorPos(&at);
        ScreenToClient(area, &at);
        if (linkAt(at)) {
          SetCursor(LoadCursorW(nullptr, IDC_HAND));
          return TRUE;
        }
      }
      break;
    case WM_LBUTTONDOWN: {
      SetFocus(area);
      if (auto link = linkAt(POINT{GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)})) openLink(*link);
      return 0;
    }
    case WM_KEYDOWN:
      if (onKey(wParam)) return 0;
      break;
    case WM_VSCROLL:
    case WM_HSCROLL: {
      bool vertical = message == WM_VSCROLL;
      SCROLLINFO si{sizeof(si), SIF_ALL};
      GetScrollInfo(area, vertical ? SB_VERT : SB_HORZ, &si);
      int at = vertical ? scroll_.y : scroll_.x;
      switch (LOWORD(wParam)) {
        case SB_LINEUP: at -= kLineStep; break;
        case SB_LINEDOWN: at += kLineStep; break;
        case SB_PAGEUP: at -= static_cast<int>(si.nPage); break;
        case SB_PAGEDOWN: at += static_cast<int>(si.nPage); break;
        case SB_THUMBTRACK:
        case SB_THUMBPOSITION: at = si.nTrackPos; break;
        case SB_TOP: at = 0; break;
        case SB_BOTTOM: at = si.nMax; break;
        default: return 0;
      }
      scrollTo(vertical ? ScrollPosition{scroll_.x, at} : ScrollPosition{at, scroll_.y});
      return 0;
    }
    case WM_MOUSEWHEEL: {
      int delta = GET_WHEEL_DELTA_WPARAM(wParam);
      if (ctrlDown()) {
        Zoom zoom{ZoomMode::Percent, static_cast<std::int32_t>(std::lround(scale() * 1440.0 * 100 / dpiOf(hwnd_)))};
        zoom.percent = std::clamp(zoom.percent + (delta > 0 ? 25 : -25), kMinZoom, kMaxZoom);
        setZoom(zoom);
        return 0;
      }
      RECT client;
      GetClientRect(area, &client);
      SIZE content = contentSize();
      int step = -delta * 3 * kLineStep / WHEEL_DELTA;
      if (step > 0 && scroll_.y >= content.cy - client.bottom && nav_.next()) {
        showPage(nav_.current(), 0);
      } else if (step < 0 && scroll_.y <= 0 && nav_.previous()) {
        showPage(nav_.current(), -1);
      } else {
        scrollTo({scroll_.x, scroll_.y + step});
      }
      return 0;
    }
    default:
      break;
  }
  return DefWindowProcW(area, message, wParam, lParam);
}

bool ViewerControl::onKey(WPARAM key) {
  RECT client{};
  GetClientRect(area_, &client);
  SIZE content = contentSize();
  bool ctrl = ctrlDown();
  switch (key) {
    case VK_NEXT:
    case VK_PRIOR: {
      auto result = pageKey(key == VK_NEXT ? PageKey::Down : PageKey::Up, scroll_.y, content.cy, client.bottom);
      if (result.pageStep == 0) scrollTo({scroll_.x, result.scrollY});
      else if (result.pageStep > 0 ? nav_.next() : nav_.previous()) showPage(nav_.current(), result.scrollY);
      return true;
    }
    case VK_HOME:
      if (ctrl && nav_.first()) showPage(nav_.current());
      else scrollTo({scroll_.x, 0});
      return true;
    case VK_END:
      if (ctrl && nav_.lastPage()) showPage(nav_.current(), -1);
      else scrollTo({scroll_.x, content.cy});
      return true;
    case VK_UP: scrollTo({scroll_.x, scroll_.y - kLineStep}); return true;
    case VK_DOWN: scrollTo({scroll_.x, scroll_.y + kLineStep}); return true;
    case VK_LEFT: scrollTo({scroll_.x - kLineStep, scroll_.y}); return true;
    case VK_RIGHT: scrollTo({scroll_.x + kLineStep, scroll_.y}); return true;
    case VK_F5: refresh(); return true;
    case VK_F3: find(); return true;
    case VK_TAB:
      focusNextLink((GetKeyState(VK_SHIFT) & 0x8000) != 0);
      return true;
    case VK_RETURN: {
      auto page = pages_->page(nav_.current());
      if (!page || focusedLink_ < 0) return false;
      auto links = linksOf(*page);
      if (static_cast<std::size_t>(focusedLink_) < links.size()) openLink(*links[static_cast<std::size_t>(focusedLink_)]->link);
      return true;
    }
    case VK_ESCAPE:
    case VK_F4:
      // A subreport's pages close back to the report's.
      if (!owner_ || (key == VK_F4 && !ctrl)) return false;
      PostMessageW(owner_->hwnd_, kCloseLinked, 0, reinterpret_cast<LPARAM>(this));
      return true;
    case 'F':
      if (!ctrl) return false;
      SetFocus(GetDlgItem(hwnd_, kFindBox));
      SendDlgItemMessageW(hwnd_, kFindBox, EM_SETSEL, 0, -1);
      return true;
    case 'P':
      if (!ctrl) return false;
      print();
      return true;
    default:
      return false;
  }
}

// ---------------------------------------------------------------------------
// Tools.
// ---------------------------------------------------------------------------

void ViewerControl::makeTools() {
  NONCLIENTMETRICSW metrics{};
  metrics.cbSize = sizeof(metrics);
  if (SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof(metrics), &metrics, 0))
    font_ = CreateFontIndirectW(&metrics.lfMessageFont);
  struct Tool {
    const wchar_t* windowClass;
    const wchar_t* text;
    int id;
    DWORD style;
  };
  const Tool tools[] = {
      {L"BUTTON", L"|<", kFirstButton, BS_PUSHBUTTON},
      {L"BUTTON", L"<", kPreviousButton, BS_PUSHBUTTON},
      {L"EDIT", L"", kPageBox, ES_AUTOHSCROLL | ES_CENTER | WS_BORDER},
      {L"BUTTON", L">", kNextButton, BS_PUSHBUTTON},
      {L"BUTTON", L">|", kLastButton, BS_PUSHBUTTON},
      {L"COMBOBOX", L"", kZoomBox, CBS_DROPDOWN | WS_VSCROLL},
      {L"EDIT", L"", kFindBox, ES_AUTOHSCROLL | WS_BORDER},
      {L"BUTTON", L"Find", kFindButton, BS_PUSHBUTTON},
      {L"BUTTON", L"Refresh", kRefreshButton, BS_PUSHBUTTON},
      {L"BUTTON", L"Print\x2026", kPrintButton, BS_PUSHBUTTON},
      {L"BUTTON", L"Export\x2026", kExportButton, BS_PUSHBUTTON},
      {L"STATIC", L"", kStatusText, SS_LEFTNOWORDWRAP | SS_CENTERIMAGE},
  };
  for (const Tool& tool : tools) {
    HWND control = CreateWindowExW(0, tool.windowClass, tool.text, WS_CHILD | WS_VISIBLE | WS_TABSTOP | tool.style,
                                   0, 0, 10, 10, hwnd_, reinterpret_cast<HMENU>(static_cast<INT_PTR>(tool.id)),
                                   mervane::win::thisModule(), nullptr);
    if (control && font_) SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(font_), FALSE);
  }
  SendDlgItemMessageW(hwnd_, kFindBox, EM_SETCUEBANNER, TRUE, reinterpret_cast<LPARAM>(L"Find"));
  HWND zoomBox = GetDlgItem(hwnd_, kZoomBox);
  for (const auto& choice : zoomChoices())
    SendMessageW(zoomBox, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(toWide(choice.text).c_str()));
  SetWindowSubclass(GetDlgItem(hwnd_, kPageBox), toolProc, kPageBox, reinterpret_cast<DWORD_PTR>(this));
  SetWindowSubclass(GetDlgItem(hwnd_, kFindBox), toolProc, kFindBox, reinterpret_cast<DWORD_PTR>(this));
  if (HWND zoomEdit = FindWindowExW(zoomBox, nullptr, L"EDIT", nullptr))
    SetWindowSubclass(zoomEdit, toolProc, kZoomBox, reinterpret_cast<DWORD_PTR>(this));
  tabs_ = CreateWindowExW(0, WC_TABCONTROLW, L"", WS_CHILD | WS_CLIPSIBLINGS | WS_TABSTOP, 0, 0, 10, 10, hwnd_,
                          reinterpret_cast<HMENU>(static_cast<INT_PTR>(kLinkTabs)), mervane::win::thisModule(), nullptr);
  HWND close = CreateWindowExW(0, L"BUTTON", L"Close", WS_CHILD | WS_TABSTOP | BS_PUSHBUTTON, 0, 0, 10, 10, hwnd_,
                               reinterpret_cast<HMENU>(static_cast<INT_PTR>(kCloseLinkButton)),
                               mervane::win::thisModule(), nullptr);
  for (HWND control : {tabs_, close})
    if (control && font_) SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(font_), FALSE);
  area_ = CreateWindowExW(WS_EX_CLIENTEDGE, kPagesClass, L"", WS_CHILD | WS_VISIBLE | WS_TABSTOP | WS_VSCROLL |
                          WS_HSCROLL, 0, 0, 10, 10, hwnd_, reinterpret_cast<HMENU>(static_cast<INT_PTR>(kPageArea)),
                          mervane::win::thisModule(), this);
  updateTools();
}

void ViewerControl::layoutTools() {
  RECT client;
  GetClientRect(hwnd_, &client);
  const double unit = dpiOf(hwnd_) / 96.0;
  auto px = [unit](int value) { return static_cast<int>(std::lround(value * unit)); };
  struct Place {
    int id, width;
  };
  const Place places[] = {{kFirstButton, 28}, {kPreviousButton, 28}, {kPageBox, 90},      {kNextButton, 28},
                          {kLastButton, 28},  {kZoomBox, 100},       {kFindBox, 120},     {kFindButton, 44},
                          {kRefreshButton, 60}, {kPrintButton, 56},  {kExportButton, 64}};
  // With subreports open, their tabs stand above everything else.
  const int tabs = linked_.empty() ? 0 : px(kTabsHeight);
  if (tabs) {
    const int closeWidth = px(60);
    MoveWindow(tabs_, 0, 0, std::max(0, static_cast<int>(client.right) - closeWidth - px(4)), tabs, TRUE);
    MoveWindow(GetDlgItem(hwnd_, kCloseLinkButton), std::max(0, static_cast<int>(client.right) - closeWidth - px(2)),
               px(2), closeWidth, tabs - px(4), TRUE);
    for (const LinkedTab& tab : linked_)
      MoveWindow(tab.view->hwnd(), 0, tabs, client.right, std::max(0, static_cast<int>(client.bottom) - tabs), TRUE);
  }
  int x = px(4), top = tabs + px(4), height = px(kToolHeight - 8);
  for (const Place& place : places) {
    int gap = place.id == kZoomBox || place.id == kFindBox || place.id == kRefreshButton ? px(10) : px(2);
    x += gap;
    // A combo box's height includes its drop-down list.
    int h = place.id == kZoomBox ? px(240) : height;
    MoveWindow(GetDlgItem(hwnd_, place.id), x, top, px(place.width), h, TRUE);
    x += px(place.width);
  }
  MoveWindow(GetDlgItem(hwnd_, kStatusText), x + px(10), top, std::max(0, static_cast<int>(client.right) - x - px(14)),
             height, TRUE);
  int toolHeight = tabs + px(kToolHeight);
  MoveWindow(area_, 0, toolHeight, client.right, std::max(0, static_cast<int>(client.bottom) - toolHeight), TRUE);
}

void ViewerControl::onCommand(int id, int code) {
  switch (id) {
    case kFirstButton:
      if (nav_.first()) showPage(nav_.current());
      break;
    case kPreviousButton:
      if (nav_.previous()) showPage(nav_.current());
      break;
    case kNextButton:
      if (nav_.next()) showPage(nav_.current());
      break;
    case kLastButton:
      if (nav_.lastPage()) showPage(nav_.current());
      break;
    case kFindButton: find(); return;
    case kCloseLinkButton: closeLinkedTab(); return;
    case kRefreshButton: refresh(); break;
    case kPrintButton: print(); break;
    case kExportButton:
      if (exportJob_ && !exportJob_->finished()) exportJob_->cancel();
      else exportTo();
      break;
    case kZoomBox:
      if (code == CBN_SELCHANGE) {
        auto index = SendDlgItemMessageW(hwnd_, kZoomBox, CB_GETCURSEL, 0, 0);
        if (index >= 0 && static_cast<std::size_t>(index) < zoomChoices().size())
          setZoom(zoomChoices()[static_cast<std::size_t>(index)].zoom);
        SetFocus(area_);
      }
      return;
    default:
      return;
  }
  if (code == BN_CLICKED && area_ && GetFocus() != GetDlgItem(hwnd_, kFindBox)) SetFocus(area_);
}

void ViewerControl::updateTools() {
  if (!hwnd_) return;
  bool running = source_ != nullptr;
  HWND pageBox = GetDlgItem(hwnd_, kPageBox);
  if (GetFocus() != pageBox) SetWindowTextW(pageBox, toWide(nav_.pageBoxText()).c_str());
  EnableWindow(GetDlgItem(hwnd_, kFirstButton), running && nav_.current() > 1);
  EnableWindow(GetDlgItem(hwnd_, kPreviousButton), running && nav_.current() > 1);
  EnableWindow(GetDlgItem(hwnd_, kNextButton), running && nav_.current() < nav_.last());
  EnableWindow(GetDlgItem(hwnd_, kLastButton), running && nav_.current() < nav_.last());
  EnableWindow(GetDlgItem(hwnd_, kRefreshButton), report_ != nullptr || factory_ != nullptr);
  EnableWindow(GetDlgItem(hwnd_, kPrintButton), running);
  bool exporting = exportJob_ && !exportJob_->finished();
  EnableWindow(GetDlgItem(hwnd_, kExportButton), running || exporting);
  SetDlgItemTextW(hwnd_, kExportButton, exporting ? L"Stop export" : L"Export\x2026");
  HWND zoomEdit = FindWindowExW(GetDlgItem(hwnd_, kZoomBox), nullptr, L"EDIT", nullptr);
  if (GetFocus() != zoomEdit) SetDlgItemTextW(hwnd_, kZoomBox, toWide(zoomText(zoom_)).c_str());
}

void ViewerControl::setStatus(const std::wstring& text) {
  if (hwnd_) SetDlgItemTextW(hwnd_, kStatusText, text.c_str());
}

// ---------------------------------------------------------------------------
// Runs and pages.
// ---------------------------------------------------------------------------

void ViewerControl::setReportSource(engine::Report* report) {
  dropRun();
  viewWhenShown_ = false;
  notRun_ = false;
  report_ = report;
  updateTools();
  if (area_) InvalidateRect(area_, nullptr, FALSE);
}

void ViewerControl::showAsPages() {
  if (area_) ShowWindow(area_, SW_SHOW);
  if (nav_.first() || scroll_.y != 0) showPage(nav_.current());
}

// A hidden viewer runs nothing: the run starts when it is first shown, so
// that a report opened for designing reads no data until someone looks.
void ViewerControl::viewReport() {
  if (source_) return;
  if (hwnd_ && !(GetWindowLongW(hwnd_, GWL_STYLE) & WS_VISIBLE)) {
    viewWhenShown_ = true;
    return;
  }
  refresh();
}

void ViewerControl::bringUpToDate() {
  // After a declined prompt the page saying so stays until the report
  // changes or Refresh asks again.
  if (notRun_ && report_ && report_->revision() == runRevision_) return;
  const bool unchanged = source_ && source_->problem().empty() && !notRun_ &&
                         (report_ ? report_->revision() == runRevision_ && !parametersWanted() : factory_ != nullptr);
  if (!unchanged) refresh();
}

bool ViewerControl::parametersWanted() const {
  if (!report_ || !prompt_) return false;
  engine::ReportDocument& document = report_->document();
  return document.hasLayout && engine::model::needsPrompt(document.definition);
}

void ViewerControl::refresh() {
  viewWhenShown_ = false;
  if (!report_ && !factory_) {
    dropRun();
    updateTools();
    return;
  }
  if (report_ && prompt_ && parametersWanted()) {
    // The prompt is modal: a click that reaches the viewer meanwhile asks nothing more.
    if (prompting_) return;
    std::vector<engine::model::AskedParameter> parameters = engine::model::askedParameters(report_->document().definition);
    prompting_ = true;
    bool answered = false;
    try {
      answered = prompt_(parameters) && std::all_of(parameters.begin(), parameters.end(),
                                                    [](const auto& a) { return a.parameter.given; });
    } catch (...) {
    }
    prompting_ = false;
    if (!answered) {
      if (source_ && !notRun_) return;
      startRun(messagePages(u"The report was not run",
                            u"No values were given for its parameters. Refresh asks for them again."));
      notRun_ = true;
      runRevision_ = report_->revision();
      updateTools();
      return;
    }
    // The values are the run's: they change nothing that is saved.
    engine::model::keepAnswers(report_->document().definition, parameters);
  }
  notRun_ = false;
  if (report_) runRevision_ = report_->revision();
  std::unique_ptr<layout::PageSource> source;
  try {
    source = factory_ ? factory_() : report_->run(measure_);
  } catch (const engine::data::DataError& error) {
    source = messagePages(u"The report's data cannot be read", error.message());
  } catch (const std::exception& error) {
    source = messagePages(u"The report cannot be shown", fromUtf8(error.what()));
  }
  if (!source) source = messagePages(u"The report cannot be shown", u"The report engine made no pages.");
  startRun(std::move(source));
}

void ViewerControl::startRun(std::unique_ptr<layout::PageSource> source) {
  closeAllLinked();  // their links were the old run's
  dropRun();
  source_ = std::move(source);
  generation_ += 1;
  pages_->setLive(generation_);
  nav_.reset();
  scroll_ = {};
  setStatus(L"");
  followCount();
  if (hwnd_ && !nav_.final()) SetTimer(hwnd_, kCountTimer, 100, nullptr);
  request(1);
  updateScrollBars();
  if (area_) InvalidateRect(area_, nullptr, FALSE);
}

void ViewerControl::dropRun() {
  if (findStop_) *findStop_ = true;
  findStop_.reset();
  hit_.reset();
  pages_->setLive(0);
  if (hwnd_) KillTimer(hwnd_, kCountTimer);
  pages_->clear();
  nav_.reset();
  if (!source_) return;
  // A print job or export of this run keeps it going until it ends; else
  // its background work stops now, and it is let go on the worker thread,
  // since closing a run may wait for its threads.
  bool inUse = (printJob_ && !printJob_->finished()) || (exportJob_ && !exportJob_->finished());
  if (!inUse) source_->cancel();
  pages_->letGo(std::move(source_));
  source_.reset();
}

void ViewerControl::stopAll() {
  if (exportJob_) exportJob_->cancel();
  if (printJob_) printJob_->cancel();
  if (source_) source_->cancel();
  exportJob_.reset();
  printJob_.reset();
  dropRun();
}

void ViewerControl::followCount() {
  if (!source_) return;
  bool wasFinal = nav_.final();
  nav_.update(source_->pagesKnown(), source_->pageCount());
  if (nav_.final() && !wasFinal) {
    if (hwnd_) KillTimer(hwnd_, kCountTimer);
    // Pages that showed the count before it was known are made again.
    pages_->dropProvisional();
  }
  if (!pages_->has(nav_.current())) request(nav_.current());
  updateTools();
}

bool ViewerControl::pageShown() const { return pages_->has(nav_.current()); }

bool ViewerControl::busy() const {
  return (printJob_ && !printJob_->finished()) || (exportJob_ && !exportJob_->finished());
}

void ViewerControl::request(std::int32_t number) {
  pages_->request(source_, generation_, number, [window = hwnd_] { PostMessageW(window, kPageReady, 0, 0); });
}

void ViewerControl::onPageReady() {
  auto arrivals = pages_->takeDelivered(source_ ? generation_ : 0, nav_.current());
  if (arrivals.newest) {
    pageWidth_ = arrivals.newest->width;
    pageHeight_ = arrivals.newest->height;
  }
  const bool current = arrivals.current;
  followCount();
  if (current) {
    updateScrollBars();
    scrollTo(scroll_.y < 0 ? ScrollPosition{scroll_.x, contentSize().cy} : scroll_);
    InvalidateRect(area_, nullptr, FALSE);
    // The next page is likely wanted next: have it ready.
    if (nav_.current() < nav_.last()) request(nav_.current() + 1);
  }
}

void ViewerControl::showPage(std::int32_t page, std::int32_t scrollY) {
  if (page != nav_.current()) focusedLink_ = -1;
  nav_.goTo(page);
  if (pages_->has(nav_.current())) {
    updateScrollBars();
    scrollTo({scroll_.x, scrollY < 0 ? contentSize().cy : scrollY});
  } else {
    scroll_.y = scrollY;  // -1: the bottom, once the page is in
    request(nav_.current());
  }
  updateTools();
  if (area_) InvalidateRect(area_, nullptr, FALSE);
}

// ---------------------------------------------------------------------------
// Zoom, scrolling and painting.
// ---------------------------------------------------------------------------

void ViewerControl::setZoom(const Zoom& zoom) {
  RECT client{};
  if (area_) GetClientRect(area_, &client);
  SIZE before = contentSize();
  double relativeY = before.cy > 0 ? (scroll_.y + client.bottom / 2.0) / before.cy : 0;
  zoom_ = zoom;
  updateScrollBars();
  SIZE after = contentSize();
  // Keep the middle of the view where it was on the page.
  scrollTo({scroll_.x, static_cast<std::int32_t>(relativeY * after.cy - client.bottom / 2.0)});
  updateTools();
  if (area_) InvalidateRect(area_, nullptr, FALSE);
}

double ViewerControl::scale() const {
  RECT client{};
  if (area_) GetClientRect(area_, &client);
  return pixelsPerTwip(zoom_, client.right, client.bottom, pageWidth_, pageHeight_, dpiOf(hwnd_));
}

SIZE ViewerControl::contentSize() const {
  double s = scale();
  return {static_cast<LONG>(std::lround(pageWidth_ * s)) + 2 * kPageMargin,
          static_cast<LONG>(std::lround(pageHeight_ * s)) + 2 * kPageMargin};
}

void ViewerControl::updateScrollBars() {
  if (!area_) return;
  RECT client;
  GetClientRect(area_, &client);
  SIZE content = contentSize();
  SCROLLINFO si{sizeof(si), SIF_RANGE | SIF_PAGE | SIF_POS | SIF_DISABLENOSCROLL};
  si.nMax = content.cy - 1;
  si.nPage = static_cast<UINT>(std::max(0L, client.bottom));
  si.nPos = scroll_.y;
  SetScrollInfo(area_, SB_VERT, &si, TRUE);
  si.nMax = content.cx - 1;
  si.nPage = static_cast<UINT>(std::max(0L, client.right));
  si.nPos = scroll_.x;
  SetScrollInfo(area_, SB_HORZ, &si, TRUE);
}

void ViewerControl::scrollTo(ScrollPosition at) {
  if (!area_) return;
  RECT client;
  GetClientRect(area_, &client);
  SIZE content = contentSize();
  ScrollPosition clamped = clampScroll(at, content.cx, content.cy, client.right, client.bottom);
  bool moved = clamped.x != scroll_.x || clamped.y != scroll_.y;
  scroll_ = clamped;
  updateScrollBars();
  if (moved) InvalidateRect(area_, nullptr, FALSE);
}

void ViewerControl::paintPages(HDC dc, const RECT& client) {
  FillRect(dc, &client, GetSysColorBrush(COLOR_APPWORKSPACE));
  if (!source_) return;
  double s = scale();
  int width = static_cast<int>(std::lround(pageWidth_ * s)), height = static_cast<int>(std::lround(pageHeight_ * s));
  engine::win::Placement place = placement();
  int left = place.originX, top = place.originY;
  RECT shadow{left + 4, top + 4, left + width + 4, top + height + 4};
  FillRect(dc, &shadow, GetSysColorBrush(COLOR_3DDKSHADOW));
  auto page = pages_->page(nav_.current());
  if (!page) {
    RECT paper{left, top, left + width, top + height};
    FillRect(dc, &paper, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, RGB(96, 96, 96));
    HGDIOBJ old = SelectObject(dc, font_ ? static_cast<HGDIOBJ>(font_) : GetStockObject(DEFAULT_GUI_FONT));
    DrawTextW(dc, L"Loading\x2026", -1, &paper, DT_CENTER | DT_VCENTER | DT_SINGLELINE);
    SelectObject(dc, old);
    return;
  }
  engine::win::Placement at{s, s, left, top};
  painter_.paint(dc, *page, at, true);
  if (focusedLink_ >= 0 && GetFocus() == area_) {
    auto links = linksOf(*page);
    if (static_cast<std::size_t>(focusedLink_) < links.size()) {
      RECT mark = linkRect(*links[static_cast<std::size_t>(focusedLink_)]);
      InflateRect(&mark, 2, 2);
      DrawFocusRect(dc, &mark);
    }
  }
  if (hit_ && hit_->page == nav_.current()) {
    RECT mark{left + static_cast<int>(std::lround(hit_->box.x * s)), top + static_cast<int>(std::lround(hit_->box.y * s)),
              left + static_cast<int>(std::lround((hit_->box.x + hit_->box.width) * s)),
              top + static_cast<int>(std::lround((hit_->box.y + hit_->box.height) * s))};
    InvertRect(dc, &mark);
  }
}

// ---------------------------------------------------------------------------
// Find.
// ---------------------------------------------------------------------------

void ViewerControl::find() {
  if (!source_ || !hwnd_) return;
  Text needle = fromWide(windowText(GetDlgItem(hwnd_, kFindBox)).c_str());
  if (needle.empty()) {
    SetFocus(GetDlgItem(hwnd_, kFindBox));
    return;
  }
  if (findStop_) *findStop_ = true;
  findStop_ = std::make_shared<std::atomic<bool>>(false);
  FindHit from = hit_ && hit_->page == nav_.current() ? *hit_ : FindHit{nav_.current(), -1, {}};
  setStatus(L"Searching\x2026");
  auto mailbox = pages_->mailbox();
  HWND window = hwnd_;
  finder_->post([mailbox, window, source = source_, generation = generation_, needle, from, stop = findStop_] {
    if (mailbox->live != generation || *stop) return;
    auto hit = findNext([&source](std::int32_t n) { return source->page(n); }, needle, from,
                        [&stop] { return stop->load(); });
    if (*stop) return;
    {
      std::lock_guard guard(mailbox->lock);
      mailbox->found = Mailbox::Found{generation, hit};
    }
    PostMessageW(window, kFindDone, 0, 0);
  });
}

void ViewerControl::onFindDone() {
  std::optional<Mailbox::Found> found;
  {
    const auto& mailbox = pages_->mailbox();
    std::lock_guard guard(mailbox->lock);
    found.swap(mailbox->found);
  }
  if (!found || found->generation != generation_ || !source_) return;
  hit_ = found->hit;
  if (!hit_) {
    setStatus(L"Not found");
    InvalidateRect(area_, nullptr, FALSE);
    return;
  }
  setStatus(L"");
  nav_.update(source_->pagesKnown(), source_->pageCount());
  nav_.goTo(hit_->page);
  // Scroll so the text found stands in the upper part of the view.
  RECT client;
  GetClientRect(area_, &client);
  std::int32_t y = kPageMargin + static_cast<std::int32_t>(std::lround(hit_->box.y * scale())) - client.bottom / 3;
  showPage(nav_.current(), std::max(0, y));
}

}  // namespace mervane::viewer::win

namespace mervane::viewer::win {

// ---------------------------------------------------------------------------
// Links to on-demand subreports, and their tabs.
// ---------------------------------------------------------------------------

// Where the current page stands in the page area, and its scale.
engine::win::Placement ViewerControl::placement() const {
  RECT client{};
  if (area_) GetClientRect(area_, &client);
  const double s = scale();
  const int width = static_cast<int>(std::lround(pageWidth_ * s));
  const int left = width + 2 * kPageMargin < client.right ? (client.right - width) / 2 : kPageMargin - scroll_.x;
  const int top = kPageMargin - std::max(0, scroll_.y);
  return {s, s, left, top};
}

RECT ViewerControl::linkRect(const layout::TextRun& run) const {
  const engine::win::Placement at = placement();
  return {at.originX + static_cast<int>(std::lround(run.box.x * at.scaleX)),
          at.originY + static_cast<int>(std::lround(run.box.y * at.scaleY)),
          at.originX + static_cast<int>(std::lround((run.box.x + run.box.width) * at.scaleX)),
          at.originY + static_cast<int>(std::lround((run.box.y + run.box.height) * at.scaleY))};
}

std::shared_ptr<const layout::PageLink> ViewerControl::linkAt(POINT point) const {
  if (!source_) return nullptr;
  auto page = pages_->page(nav_.current());
  if (!page) return nullptr;
  for (const layout::TextRun* run : linksOf(*page)) {
    const RECT box = linkRect(*run);
    if (PtInRect(&box, point)) return run->link;
  }
  return nullptr;
}

std::optional<POINT> ViewerControl::linkPoint(std::size_t index) const {
  auto page = pages_->page(nav_.current());
  if (!page) return std::nullopt;
  auto links = linksOf(*page);
  if (index >= links.size()) return std::nullopt;
  const RECT box = linkRect(*links[index]);
  return POINT{box.left + std::min(20L, (box.right - box.left) / 2), (box.top + box.bottom) / 2};
}

void ViewerControl::focusNextLink(bool backwards) {
  auto page = pages_->page(nav_.current());
  const int count = page ? static_cast<int>(linksOf(*page).size()) : 0;
  if (count == 0) {
    focusedLink_ = -1;
    return;
  }
  focusedLink_ = focusedLink_ < 0 ? (backwards ? count - 1 : 0) : (focusedLink_ + (backwards ? count - 1 : 1)) % count;
  // Scrolled so that the link reached is in view.
  RECT client{};
  GetClientRect(area_, &client);
  const RECT box = linkRect(*linksOf(*page)[static_cast<std::size_t>(focusedLink_)]);
  if (box.top < 0 || box.bottom > client.bottom) scrollTo({scroll_.x, scroll_.y + box.top - client.bottom / 3});
  InvalidateRect(area_, nullptr, FALSE);
}

bool ViewerControl::openLink(const layout::PageLink& link) {
  if (!source_ || !hwnd_ || owner_) return false;
  for (std::size_t i = 0; i < linked_.size(); ++i) {
    if (linked_[i].subreport == link.subreport && linked_[i].values == link.values) {
      showTab(static_cast<int>(i) + 1);
      return true;
    }
  }
  std::unique_ptr<layout::PageSource> first = source_->runLink(link);
  if (!first) return false;
  LinkedTab tab{std::make_unique<ViewerControl>(), link.subreport, link.values};
  ViewerControl& view = *tab.view;
  view.owner_ = this;
  view.title_ = link.name;
  view.zoom_ = zoom_;
  // Refresh runs the subreport again for the same values.
  auto pending = std::make_shared<std::unique_ptr<layout::PageSource>>(std::move(first));
  view.setPageSourceFactory([source = source_, link, pending]() -> std::unique_ptr<layout::PageSource> {
    if (*pending) return std::move(*pending);
    return source->runLink(link);
  });
  if (!view.create(hwnd_)) return false;
  if (linked_.empty()) {
    TCITEMW item{TCIF_TEXT};
    std::wstring main = L"Main report";
    item.pszText = main.data();
    TabCtrl_InsertItem(tabs_, 0, &item);
  }
  std::wstring text = tabText(link);
  TCITEMW item{TCIF_TEXT};
  item.pszText = text.data();
  TabCtrl_InsertItem(tabs_, static_cast<int>(linked_.size()) + 1, &item);
  linked_.push_back(std::move(tab));
  layoutTools();
  view.refresh();
  showTab(static_cast<int>(linked_.size()));
  return true;
}

ViewerControl* ViewerControl::linkedView() const {
  if (linked_.empty() || !tabs_) return nullptr;
  const int shown = TabCtrl_GetCurSel(tabs_);
  return shown >= 1 && static_cast<std::size_t>(shown) <= linked_.size() ? linked_[static_cast<std::size_t>(shown - 1)].view.get()
                                                                         : nullptr;
}

// Tab 0 is the report's own pages, tab n the n-th subreport opened.
void ViewerControl::showTab(int index) {
  if (!hwnd_) return;
  if (index < 0 || static_cast<std::size_t>(index) > linked_.size()) index = 0;
  if (tabs_ && TabCtrl_GetCurSel(tabs_) != index) TabCtrl_SetCurSel(tabs_, index);
  const bool main = index == 0;
  for (int id = kFirstButton; id <= kStatusText; ++id) ShowWindow(GetDlgItem(hwnd_, id), main ? SW_SHOW : SW_HIDE);
  ShowWindow(area_, main ? SW_SHOW : SW_HIDE);
  ShowWindow(tabs_, linked_.empty() ? SW_HIDE : SW_SHOW);
  ShowWindow(GetDlgItem(hwnd_, kCloseLinkButton), main ? SW_HIDE : SW_SHOW);
  for (std::size_t i = 0; i < linked_.size(); ++i)
    ShowWindow(linked_[i].view->hwnd(), static_cast<int>(i) + 1 == index ? SW_SHOW : SW_HIDE);
  if (ViewerControl* view = linkedView()) SetFocus(view->area_);
  else if (area_ && IsWindowVisible(hwnd_)) SetFocus(area_);
}

void ViewerControl::closeLinkedTab(ViewerControl* view) {
  if (!view) view = linkedView();
  for (std::size_t i = 0; i < linked_.size(); ++i) {
    if (linked_[i].view.get() != view) continue;
    linked_.erase(linked_.begin() + static_cast<std::ptrdiff_t>(i));
    TabCtrl_DeleteItem(tabs_, static_cast<int>(i) + 1);
    if (linked_.empty()) TabCtrl_DeleteAllItems(tabs_);
    layoutTools();
    showTab(0);  // back to the report's pages
    return;
  }
}

void ViewerControl::closeAllLinked() {
  if (linked_.empty()) return;
  linked_.clear();
  if (tabs_) TabCtrl_DeleteAllItems(tabs_);
  if (hwnd_) {
    layoutTools();
    showTab(0);
  }
}

}  // namespace mervane::viewer::win
