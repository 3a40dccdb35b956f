// The design surface window: painting, scrolling, mouse gestures and keys.
#include "authoring/designer/win/design_canvas.h"

#include <windowsx.h>
#include <commctrl.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "authoring/designer/design_scene.h"
#include "base/win/com.h"
#include "base/win/form.h"
#include "base/win/wide.h"

namespace mervane::authoring::win {

namespace model = engine::model;
using designer::Box;
using designer::Point;

namespace {

constexpr wchar_t kClassName[] = L"MervaneDesignCanvas";
constexpr int kRuler = 20;   // pixels
constexpr int kMargin = 10;  // pixels between the rulers and the surface
constexpr int kHandle = 3;   // half a handle's side, pixels
constexpr UINT kPictureDecoded = WM_APP + 0x160;  // from the picture loader's thread
const COLORREF kOutside = RGB(171, 171, 171);
const COLORREF kHeader = RGB(228, 231, 238);
const COLORREF kHeaderSelected = RGB(190, 210, 240);
const COLORREF kGridLine = RGB(236, 239, 245);
const COLORREF kEdge = RGB(128, 128, 128);
const COLORREF kGuide = RGB(255, 0, 160);
constexpr UINT_PTR kScrollTimer = 1;
constexpr UINT kEndTextEdit = WM_APP + 0x51;  // wParam: keep what was typed
constexpr int kScrollZone = 16;  // pixels from the edge where dragging scrolls
constexpr UINT kSectionOptions = 0x71C4;  // the control's "Section Options..." command

void fill(HDC dc, const RECT& r, COLORREF colour) {
  SetBkColor(dc, colour);
  ExtTextOutW(dc, 0, 0, ETO_OPAQUE, &r, nullptr, 0, nullptr);
}

void registerClass() {
  static bool done = false;
  if (done) return;
  WNDCLASSEXW wc{};
  wc.style = CS_DBLCLKS;
  wc.lpfnWndProc = DefWindowProcW;  // replaced per window in create()
  wc.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  wc.lpszClassName = kClassName;
  done = mervane::win::registerWindowClass(wc);
}

}  // namespace

DesignCanvas::~DesignCanvas() {
  if (textFont_) DeleteObject(textFont_);
  if (hwnd_) {
    SetWindowLongPtrW(hwnd_, GWLP_USERDATA, 0);
    DestroyWindow(hwnd_);
  }
  if (buffer_) {
    SelectObject(buffer_, bufferOld_);
    DeleteObject(bufferBitmap_);
    DeleteDC(buffer_);
  }
}

void DesignCanvas::create(HWND parent, int id, designer::Editor& editor, std::function<void()> acted) {
  editor_ = &editor;
  acted_ = std::move(acted);
  registerClass();
  hwnd_ = CreateWindowExW(WS_EX_CLIENTEDGE, kClassName, L"", WS_CHILD | WS_VISIBLE | WS_TABSTOP | WS_HSCROLL | WS_VSCROLL,
                          0, 0, 10, 10, parent, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), mervane::win::thisModule(),
                          nullptr);
  SetWindowLongPtrW(hwnd_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  SetWindowLongPtrW(hwnd_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(windowProc));
  uiFont_ = static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT));
  dpi_ = mervane::win::dpiOf(hwnd_);
  const HWND window = hwnd_;
  pictures_ = std::make_unique<engine::layout::PictureLoader>([window] { PostMessageW(window, kPictureDecoded, 0, 0); });
}

LRESULT CALLBACK DesignCanvas::windowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  auto* self = reinterpret_cast<DesignCanvas*>(GetWindowLongPtrW(hwnd, GWLP_USERDATA));
  if (!self) return DefWindowProcW(hwnd, message, wParam, lParam);
  // Nothing thrown ever leaves a window procedure.
  try {
    return self->onMessage(message, wParam, lParam);
  } catch (...) {
    return DefWindowProcW(hwnd, message, wParam, lParam);
  }
}

double DesignCanvas::pixelsPerTwip() const { return dpi_ * zoom_ / 100.0 / 1440.0; }

std::int32_t DesignCanvas::slackTwips() const {
  return static_cast<std::int32_t>(std::ceil((kHandle + 1) / pixelsPerTwip()));
}

Point DesignCanvas::toSurface(POINT client) const {
  const double scale = pixelsPerTwip();
  return {static_cast<std::int32_t>(std::lround((client.x - kRuler - kMargin + scrollX_) / scale)),
          static_cast<std::int32_t>(std::lround((client.y - kRuler - kMargin + scrollY_) / scale))};
}

POINT DesignCanvas::toClient(Point surface) const {
  const double scale = pixelsPerTwip();
  return {static_cast<LONG>(std::lround(surface.x * scale)) + kRuler + kMargin - scrollX_,
          static_cast<LONG>(std::lround(surface.y * scale)) + kRuler + kMargin - scrollY_};
}

void DesignCanvas::refresh() {
  sceneRevision_ = ~0ull;
  updateScrollBars();
  InvalidateRect(hwnd_, nullptr, FALSE);
}

void DesignCanvas::setZoom(int percent) {
  zoom_ = std::clamp(percent, 25, 400);
  refresh();
}

void DesignCanvas::updateScrollBars() {
  RECT client;
  GetClientRect(hwnd_, &client);
  const double scale = pixelsPerTwip();
  const int width = static_cast<int>(editor_->layout().width() * scale) + kRuler + 2 * kMargin;
  const int height = static_cast<int>(editor_->layout().height() * scale) + kRuler + 2 * kMargin;
  SCROLLINFO si{sizeof(si)};
  si.fMask = SIF_RANGE | SIF_PAGE;
  si.nMin = 0;
  si.nMax = width;
  si.nPage = static_cast<UINT>(std::max<LONG>(client.right, 1));
  SetScrollInfo(hwnd_, SB_HORZ, &si, TRUE);
  si.nMax = height;
  si.nPage = static_cast<UINT>(std::max<LONG>(client.bottom, 1));
  SetScrollInfo(hwnd_, SB_VERT, &si, TRUE);
  scrollX_ = std::clamp(scrollX_, 0, std::max(0, width - static_cast<int>(client.right)));
  scrollY_ = std::clamp(scrollY_, 0, std::max(0, height - static_cast<int>(client.bottom)));
  SetScrollPos(hwnd_, SB_HORZ, scrollX_, TRUE);
  SetScrollPos(hwnd_, SB_VERT, scrollY_, TRUE);
}

void DesignCanvas::scrollTo(int x, int y) {
  scrollX_ = x;
  scrollY_ = y;
  updateScrollBars();
  InvalidateRect(hwnd_, nullptr, FALSE);
}

void DesignCanvas::onScroll(int bar, int code) {
  SCROLLINFO si{sizeof(si)};
  si.fMask = SIF_ALL;
  GetScrollInfo(hwnd_, bar, &si);
  int pos = si.nPos;
  const int line = 20, page = static_cast<int>(si.nPage);
  switch (code) {
    case SB_LINEUP: pos -= line; break;
    case SB_LINEDOWN: pos += line; break;
    case SB_PAGEUP: pos -= page; break;
    case SB_PAGEDOWN: pos += page; break;
    case SB_THUMBTRACK:
    case SB_THUMBPOSITION: pos = si.nTrackPos; break;
    case SB_TOP: pos = 0; break;
    case SB_BOTTOM: pos = si.nMax; break;
    default: return;
  }
  if (bar == SB_HORZ)
    scrollTo(pos, scrollY_);
  else
    scrollTo(scrollX_, pos);
}

LRESULT DesignCanvas::onMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_PAINT: onPaint(); return 0;
    case kPictureDecoded: refresh(); return 0;
    case WM_ERASEBKGND: return 1;
    case WM_SIZE: updateScrollBars(); InvalidateRect(hwnd_, nullptr, FALSE); return 0;
    case WM_HSCROLL: onScroll(SB_HORZ, LOWORD(wParam)); return 0;
    case WM_VSCROLL: onScroll(SB_VERT, LOWORD(wParam)); return 0;
    case WM_MOUSEWHEEL: scrollTo(scrollX_, scrollY_ - GET_WHEEL_DELTA_WPARAM(wParam) / 2); return 0;
    case WM_GETDLGCODE: return DLGC_WANTALLKEYS | DLGC_WANTARROWS | DLGC_WANTCHARS;
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK:
    case WM_MOUSEMOVE:
    case WM_LBUTTONUP: onMouse(message, wParam, lParam); return 0;
    case WM_RBUTTONDOWN: {
      // The object or band under the pointer is what the context menu is for.
      if (textBox_) endTextEdit(true);
      SetFocus(hwnd_);
      const Point at = toSurface({GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)});
      const designer::Hit hit = editor_->hitTest(at, slackTwips());
      if ((hit.kind == designer::HitKind::Object || hit.kind == designer::HitKind::Handle) &&
          !editor_->selection().contains(hit.object)) {
        designer::Selection s;
        s.add(hit.object);
        editor_->select(s);
      } else if (hit.kind == designer::HitKind::BandHeader || hit.kind == designer::HitKind::BandBody ||
                 hit.kind == designer::HitKind::BandEdge) {
        editor_->select(designer::Selection::ofSection(hit.section));
      }
      InvalidateRect(hwnd_, nullptr, FALSE);
      if (acted_) acted_();
      return 0;
    }
    case kEndTextEdit: endTextEdit(wParam != 0); return 0;
    case WM_TIMER:
      if (wParam == kScrollTimer && !autoScroll()) {
        KillTimer(hwnd_, kScrollTimer);
        scrolling_ = false;
      }
      return 0;
    case WM_CAPTURECHANGED:
      if (scrolling_) KillTimer(hwnd_, kScrollTimer), scrolling_ = false;
      if (reinterpret_cast<HWND>(lParam) != hwnd_ && editor_->gesture().kind != designer::Gesture::None) {
        editor_->cancelGesture();
        InvalidateRect(hwnd_, nullptr, FALSE);
      }
      return 0;
    case WM_SETCURSOR:
      if (LOWORD(lParam) == HTCLIENT) {
        POINT at;
        GetCursorPos(&at);
        ScreenToClient(hwnd_, &at);
        const designer::Hit hit = editor_->hitTest(toSurface(at), slackTwips());
        LPCWSTR cursor = IDC_ARROW;
        if (hit.kind == designer::HitKind::BandEdge && editor_->editable()) cursor = IDC_SIZENS;
        if (hit.kind == designer::HitKind::Object && editor_->editable() && editor_->selection().contains(hit.object))
          cursor = IDC_SIZEALL;
        if (hit.kind == designer::HitKind::Handle && editor_->editable()) {
          static const LPCWSTR sizes[] = {IDC_SIZENWSE, IDC_SIZENS, IDC_SIZENESW, IDC_SIZEWE,
                                          IDC_SIZENWSE, IDC_SIZENS, IDC_SIZENESW, IDC_SIZEWE};
          cursor = sizes[hit.handle & 7];
        }
        SetCursor(LoadCursorW(nullptr, cursor));
        return TRUE;
      }
      break;
    case WM_KEYDOWN:
      if (onKey(wParam)) return 0;
      break;
    case WM_SETFOCUS:
    case WM_KILLFOCUS: InvalidateRect(hwnd_, nullptr, FALSE); return 0;
  }
  return DefWindowProcW(hwnd_, message, wParam, lParam);
}

void DesignCanvas::onMouse(UINT message, WPARAM wParam, LPARAM lParam) {
  const POINT client{GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
  const Point at = toSurface(client);
  switch (message) {
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK: {
      if (textBox_) endTextEdit(true);
      SetFocus(hwnd_);
      if (message == WM_LBUTTONDBLCLK) {
        // A subreport opens on its own tab, a text for typing; a band's
        // header opens its options.
        const designer::Hit hit = editor_->hitTest(at, slackTwips());
        if (hit.kind == designer::HitKind::Object && open_ && open_(hit.object)) return;
        const auto* report = editor_->definition();
        if (hit.kind == designer::HitKind::Object && report &&
            report->sections[hit.object.section].objects[hit.object.index].kind == model::ObjectKind::Text) {
          editor_->cancelGesture();
          designer::Selection s;
          s.add(hit.object);
          editor_->select(s);
          editText(hit.object);
          if (acted_) acted_();
          return;
        }
        if (hit.kind == designer::HitKind::BandHeader) {
          editor_->select(designer::Selection::ofSection(hit.section));
          if (acted_) acted_();
          PostMessageW(GetParent(hwnd_), WM_COMMAND, MAKEWPARAM(kSectionOptions, 0), reinterpret_cast<LPARAM>(hwnd_));
          return;
        }
      }
      unsigned modifiers = 0;
      if (wParam & MK_SHIFT) modifiers |= designer::kShift;
      if (wParam & MK_CONTROL) modifiers |= designer::kControl;
      editor_->press(at, modifiers, slackTwips());
      SetCapture(hwnd_);
      break;
    }
    case WM_MOUSEMOVE:
      if (GetCapture() != hwnd_ || editor_->gesture().kind == designer::Gesture::None) return;
      editor_->dragTo(at);
      pointer_ = client;
      InvalidateRect(hwnd_, nullptr, FALSE);
      if (!scrolling_ && autoScroll()) {
        SetTimer(hwnd_, kScrollTimer, 40, nullptr);
        scrolling_ = true;
      }
      return;
    case WM_LBUTTONUP:
      if (GetCapture() != hwnd_) return;
      editor_->release(at);
      ReleaseCapture();
      break;
  }
  InvalidateRect(hwnd_, nullptr, FALSE);
  if (acted_) acted_();
}

bool DesignCanvas::onKey(WPARAM key) {
  const std::int32_t step = std::max<std::int32_t>(editor_->options().gridStep, 15);
  const bool shift = GetKeyState(VK_SHIFT) < 0;
  std::int32_t dx = 0, dy = 0;
  switch (key) {
    case VK_LEFT: dx = -step; break;
    case VK_RIGHT: dx = step; break;
    case VK_UP: dy = -step; break;
    case VK_DOWN: dy = step; break;
    case VK_DELETE: editor_->deleteSelection(); break;
    case VK_ESCAPE:
      if (editor_->gesture().kind != designer::Gesture::None) {
        editor_->cancelGesture();
        ReleaseCapture();
      } else {
        editor_->select({});
      }
      break;
    default: return false;
  }
  if (dx || dy) editor_->nudge(dx, dy, shift);
  InvalidateRect(hwnd_, nullptr, FALSE);
  if (acted_) acted_();
  return true;
}

void DesignCanvas::onPaint() {
  PAINTSTRUCT ps;
  HDC dc = BeginPaint(hwnd_, &ps);
  RECT client;
  GetClientRect(hwnd_, &client);
  if (!buffer_ || bufferSize_.cx < client.right || bufferSize_.cy < client.bottom) {
    if (buffer_) {
      SelectObject(buffer_, bufferOld_);
      DeleteObject(bufferBitmap_);
      DeleteDC(buffer_);
    }
    bufferSize_ = {std::max<LONG>(client.right, 1), std::max<LONG>(client.bottom, 1)};
    buffer_ = CreateCompatibleDC(dc);
    bufferBitmap_ = CreateCompatibleBitmap(dc, bufferSize_.cx, bufferSize_.cy);
    bufferOld_ = SelectObject(buffer_, bufferBitmap_);
  }
  paint(buffer_, client);
  BitBlt(dc, ps.rcPaint.left, ps.rcPaint.top, ps.rcPaint.right - ps.rcPaint.left, ps.rcPaint.bottom - ps.rcPaint.top,
         buffer_, ps.rcPaint.left, ps.rcPaint.top, SRCCOPY);
  EndPaint(hwnd_, &ps);
}

void DesignCanvas::paint(HDC dc, const RECT& client) {
  fill(dc, client, kOutside);
  const auto* report = editor_->definition();
  if (report) {
    paintBands(dc, client);
    const Point topLeft = toSurface({kRuler, kRuler});
    const Point bottomRight = toSurface({client.right, client.bottom});
    const Box visible{topLeft.x, topLeft.y, bottomRight.x - topLeft.x, bottomRight.y - topLeft.y};
    if (sceneRevision_ != editor_->revision() || !(sceneVisible_ == visible)) {
      scene_.items = designer::sceneItems(*report, editor_->layout(), visible, pictures_.get());
      sceneRevision_ = editor_->revision();
      sceneVisible_ = visible;
    }
    engine::win::Placement where;
    where.scaleX = where.scaleY = pixelsPerTwip();
    where.originX = toClient({0, 0}).x;
    where.originY = toClient({0, 0}).y;
    // Objects stay inside the surface's area, not over the rulers.
    HRGN clip = CreateRectRgn(kRuler, kRuler, client.right, client.bottom);
    SelectClipRgn(dc, clip);
    painter_.paint(dc, scene_, where);
    paintSelection(dc);
    paintGuides(dc);
    SelectClipRgn(dc, nullptr);
    DeleteObject(clip);
    if (!editor_->document()->hasLayout) {
      RECT note{kRuler + kMargin, kRuler + kMargin, client.right - kMargin, client.bottom - kMargin};
      HGDIOBJ old = SelectObject(dc, uiFont_);
      SetBkMode(dc, OPAQUE);
      SetBkColor(dc, RGB(255, 255, 225));
      SetTextColor(dc, RGB(0, 0, 0));
      const std::wstring problem = mervane::win::toWide(editor_->document()->layoutProblem);
      DrawTextW(dc, problem.c_str(), -1, &note, DT_WORDBREAK | DT_NOPREFIX);
      SelectObject(dc, old);
    }
  }
  paintRulers(dc, client);
}

void DesignCanvas::paintBands(HDC dc, const RECT& client) {
  const auto& report = *editor_->definition();
  const auto& layout = editor_->layout();
  const designer::Selection& selection = editor_->selection();
  HGDIOBJ oldFont = SelectObject(dc, uiFont_);
  SetBkMode(dc, TRANSPARENT);
  const POINT origin = toClient({0, 0});
  const int right = toClient({layout.width(), 0}).x;
  HPEN gridPen = CreatePen(PS_SOLID, 1, kGridLine), edgePen = CreatePen(PS_SOLID, 1, kEdge);
  const std::int32_t grid = editor_->options().gridStep;
  const double gridPixels = grid * pixelsPerTwip();
  for (const auto& band : layout.bands()) {
    const int headerTop = toClient({0, band.headerTop}).y, bodyTop = toClient({0, band.bodyTop}).y;
    const int bottom = toClient({0, band.bottom()}).y;
    if (bottom < 0 || headerTop > client.bottom) continue;
    const bool picked = selection.hasSection && selection.section == band.section;
    RECT header{origin.x, headerTop, right, bodyTop};
    fill(dc, header, picked ? kHeaderSelected : kHeader);
    const model::Section& section = report.sections[band.section];
    std::wstring name = mervane::win::toWide(section.name);
    if (section.suppress) name += L"  (suppressed)";
    SetTextColor(dc, RGB(40, 40, 40));
    RECT label{header.left + 4, header.top, header.right, header.bottom};
    DrawTextW(dc, name.c_str(), -1, &label, DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX | DT_END_ELLIPSIS);
    RECT body{origin.x, bodyTop, right, bottom};
    fill(dc, body, RGB(255, 255, 255));
    // Grid lines only where they are far enough apart to be of use, all of
    // a band's in one call.
    if (editor_->options().showGrid && gridPixels >= 4 && bottom > bodyTop) {
      std::vector<POINT> points;
      const LONG top = std::max<LONG>(bodyTop, 0), low = std::min<LONG>(bottom, client.bottom);
      for (std::int32_t x = grid; x < layout.width(); x += grid) {
        const LONG px = toClient({x, 0}).x;
        if (px >= 0 && px <= client.right) points.insert(points.end(), {{px, top}, {px, low}});
      }
      for (std::int32_t y = grid; y < band.height; y += grid) {
        const LONG py = toClient({0, band.bodyTop + y}).y;
        if (py >= 0 && py <= client.bottom) points.insert(points.end(), {{origin.x, py}, {right, py}});
      }
      if (!points.empty()) {
        const std::vector<DWORD> counts(points.size() / 2, 2);
        HGDIOBJ oldPen = SelectObject(dc, gridPen);
        PolyPolyline(dc, points.data(), counts.data(), static_cast<DWORD>(counts.size()));
        SelectObject(dc, oldPen);
      }
    }
    HGDIOBJ oldPen = SelectObject(dc, edgePen);
    MoveToEx(dc, origin.x, bottom, nullptr);
    LineTo(dc, right, bottom);
    SelectObject(dc, oldPen);
  }
  DeleteObject(gridPen);
  DeleteObject(edgePen);
  SelectObject(dc, oldFont);
}

void DesignCanvas::paintSelection(HDC dc) {
  const auto& report = *editor_->definition();
  const auto& layout = editor_->layout();
  const designer::Gesture& gesture = editor_->gesture();
  const auto clientBox = [this](const Box& b) {
    const POINT a = toClient({b.x, b.y}), z = toClient({b.right(), b.bottom()});
    return RECT{a.x, a.y, std::max(z.x, a.x + 1), std::max(z.y, a.y + 1)};
  };
  // While objects are moved or sized, their outlines show where they go
  // instead of their handles.
  const bool reshaping = gesture.kind == designer::Gesture::Move || gesture.kind == designer::Gesture::Resize;
  HBRUSH handleBrush = CreateSolidBrush(GetFocus() == hwnd_ ? RGB(0, 0, 0) : RGB(110, 110, 110));
  for (const auto& ref : editor_->selection().objects) {
    if (reshaping) break;
    const Box box = layout.objectBox(ref.section, report.sections[ref.section].objects[ref.index]);
    const RECT r = clientBox(box);
    SetBkColor(dc, RGB(255, 255, 255));
    DrawFocusRect(dc, &r);
    for (int h = 0; h < designer::kHandleCount; ++h) {
      const POINT p = toClient(designer::handlePoint(box, h));
      const RECT handle{p.x - kHandle, p.y - kHandle, p.x + kHandle + 1, p.y + kHandle + 1};
      FillRect(dc, &handle, handleBrush);
    }
  }
  DeleteObject(handleBrush);
  // Where the gesture would put things.
  HPEN previewPen = CreatePen(PS_DOT, 1, RGB(0, 80, 200));
  HGDIOBJ oldPen = SelectObject(dc, previewPen);
  HGDIOBJ oldBrush = SelectObject(dc, GetStockObject(NULL_BRUSH));
  SetBkMode(dc, TRANSPARENT);
  for (const Box& b : editor_->previewBoxes()) {
    const RECT r = clientBox(b);
    Rectangle(dc, r.left, r.top, r.right + 1, r.bottom + 1);
  }
  if (gesture.kind == designer::Gesture::BandEdge) {
    if (const auto* band = layout.band(gesture.section)) {
      const int y = toClient({0, band->bodyTop + editor_->previewSectionHeight()}).y;
      MoveToEx(dc, toClient({0, 0}).x, y, nullptr);
      LineTo(dc, toClient({layout.width(), 0}).x, y);
    }
  }
  if (gesture.kind == designer::Gesture::Rubber) {
    const RECT r = clientBox(editor_->rubberBand());
    Rectangle(dc, r.left, r.top, r.right + 1, r.bottom + 1);
  }
  SelectObject(dc, oldBrush);
  SelectObject(dc, oldPen);
  DeleteObject(previewPen);
}

void DesignCanvas::paintRulers(HDC dc, const RECT& client) {
  if (!editor_->options().showRulers) return;
  const RECT top{0, 0, client.right, kRuler}, left{0, 0, kRuler, client.bottom};
  fill(dc, top, RGB(245, 245, 245));
  fill(dc, left, RGB(245, 245, 245));
  HGDIOBJ oldFont = SelectObject(dc, uiFont_);
  SetBkMode(dc, TRANSPARENT);
  SetTextColor(dc, RGB(60, 60, 60));
  HPEN pen = CreatePen(PS_SOLID, 1, RGB(120, 120, 120));
  HGDIOBJ oldPen = SelectObject(dc, pen);
  // Quarter-inch ticks, numbered inches; the left ruler starts again in each band.
  const std::int32_t width = std::max(editor_->layout().width(), 1440 * 8);
  for (std::int32_t x = 0; x <= width; x += 360) {
    const int px = toClient({x, 0}).x;
    if (px < kRuler || px > client.right) continue;
    const bool inch = x % 1440 == 0;
    MoveToEx(dc, px, kRuler - (inch ? 8 : 4), nullptr);
    LineTo(dc, px, kRuler);
    if (inch && x > 0) {
      const std::wstring n = std::to_wstring(x / 1440);
      TextOutW(dc, px + 2, 1, n.c_str(), static_cast<int>(n.size()));
    }
  }
  for (const auto& band : editor_->layout().bands()) {
    for (std::int32_t y = 0; y <= band.height; y += 360) {
      const int py = toClient({0, band.bodyTop + y}).y;
      if (py < kRuler || py > client.bottom) continue;
      const bool inch = y % 1440 == 0;
      MoveToEx(dc, kRuler - (inch ? 8 : 4), py, nullptr);
      LineTo(dc, kRuler, py);
    }
  }
  MoveToEx(dc, 0, kRuler - 1, nullptr);
  LineTo(dc, client.right, kRuler - 1);
  MoveToEx(dc, kRuler - 1, 0, nullptr);
  LineTo(dc, kRuler - 1, client.bottom);
  SelectObject(dc, oldPen);
  DeleteObject(pen);
  SelectObject(dc, oldFont);
}

bool DesignCanvas::autoScroll() {
  if (GetCapture() != hwnd_ || editor_->gesture().kind == designer::Gesture::None) return false;
  const POINT at = pointer_;
  RECT client;
  GetClientRect(hwnd_, &client);
  int dx = 0, dy = 0;
  if (at.x < kRuler + kScrollZone) dx = -20;
  if (at.x > client.right - kScrollZone) dx = 20;
  if (at.y < kRuler + kScrollZone) dy = -20;
  if (at.y > client.bottom - kScrollZone) dy = 20;
  if (!dx && !dy) return false;
  const int x = scrollX_, y = scrollY_;
  scrollTo(scrollX_ + dx, scrollY_ + dy);
  if (x == scrollX_ && y == scrollY_) return true;  // at the end: keep waiting
  editor_->dragTo(toSurface(at));
  InvalidateRect(hwnd_, nullptr, FALSE);
  return true;
}

void DesignCanvas::paintGuides(HDC dc) {
  const designer::EdgeSnap guides = editor_->snapGuides();
  if (!guides.guideX && !guides.guideY) return;
  RECT client;
  GetClientRect(hwnd_, &client);
  HPEN pen = CreatePen(PS_SOLID, 1, kGuide);
  HGDIOBJ old = SelectObject(dc, pen);
  if (guides.guideX) {
    const int x = toClient({*guides.guideX, 0}).x;
    MoveToEx(dc, x, kRuler, nullptr);
    LineTo(dc, x, client.bottom);
  }
  if (guides.guideY) {
    const int y = toClient({0, *guides.guideY}).y;
    MoveToEx(dc, kRuler, y, nullptr);
    LineTo(dc, client.right, y);
  }
  SelectObject(dc, old);
  DeleteObject(pen);
}

void DesignCanvas::editText(designer::ObjectRef ref) {
  const auto* report = editor_->definition();
  if (textBox_) endTextEdit(true);
  if (!report || !editor_->editable() || ref.section >= report->sections.size() ||
      ref.index >= report->sections[ref.section].objects.size())
    return;
  const model::ReportObject& object = report->sections[ref.section].objects[ref.index];
  if (object.kind != model::ObjectKind::Text) return;
  const Box box = editor_->layout().objectBox(ref.section, object);
  const POINT a = toClient({box.x, box.y}), z = toClient({box.right(), box.bottom()});
  const int points = std::max(object.format.fontSize, 20) / 20;
  if (textFont_) DeleteObject(textFont_);
  textFont_ = CreateFontW(-static_cast<int>(std::lround(points * dpi_ * zoom_ / 100.0 / 72.0)), 0, 0, 0,
                          object.format.bold ? FW_BOLD : FW_NORMAL, object.format.italic, object.format.underline, FALSE,
                          DEFAULT_CHARSET, OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS, DEFAULT_QUALITY, DEFAULT_PITCH,
                          mervane::win::toWide(object.format.fontName).c_str());
  const DWORD align = object.format.alignment == model::Alignment::Centre  ? ES_CENTER
                      : object.format.alignment == model::Alignment::Right ? ES_RIGHT
                                                                             : ES_LEFT;
  textRef_ = ref;
  textBox_ = CreateWindowExW(0, L"EDIT", mervane::win::toWide(object.text).c_str(),
                             WS_CHILD | WS_VISIBLE | WS_BORDER | ES_AUTOHSCROLL | align, a.x - 2, a.y - 2,
                             std::max<int>(z.x - a.x, 40) + 4, std::max<int>(z.y - a.y, 16) + 4, hwnd_, nullptr,
                             mervane::win::thisModule(), nullptr);
  SendMessageW(textBox_, WM_SETFONT, reinterpret_cast<WPARAM>(textFont_), FALSE);
  SetWindowSubclass(textBox_, textBoxProc, 1, reinterpret_cast<DWORD_PTR>(this));
  SendMessageW(textBox_, EM_SETSEL, 0, -1);
  SetFocus(textBox_);
}

void DesignCanvas::endTextEdit(bool keep) {
  HWND box = textBox_;
  if (!box) return;
  textBox_ = nullptr;  // before anything that could end it again
  std::wstring typed(static_cast<std::size_t>(GetWindowTextLengthW(box)) + 1, L'\0');
  GetWindowTextW(box, typed.data(), static_cast<int>(typed.size()));
  typed.resize(wcslen(typed.c_str()));
  if (GetFocus() == box) SetFocus(hwnd_);
  DestroyWindow(box);
  if (keep) editor_->setObjectText(textRef_, mervane::win::fromWide(typed));
  InvalidateRect(hwnd_, nullptr, FALSE);
  if (acted_) acted_();
}

LRESULT CALLBACK DesignCanvas::textBoxProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR,
                                           DWORD_PTR data) {
  auto* self = reinterpret_cast<DesignCanvas*>(data);
  try {
    switch (message) {
      case WM_GETDLGCODE: return DLGC_WANTALLKEYS | DefSubclassProc(window, message, wParam, lParam);
      case WM_KEYDOWN:
        if (wParam == VK_RETURN || wParam == VK_ESCAPE) {
          PostMessageW(self->hwnd_, kEndTextEdit, wParam == VK_RETURN, 0);
          return 0;
        }
        break;
      case WM_CHAR:
        if (wParam == L'\r' || wParam == L'\x1b') return 0;  // no beep
        break;
      case WM_KILLFOCUS:
        if (self->textBox_ == window) PostMessageW(self->hwnd_, kEndTextEdit, TRUE, 0);
        break;
      case WM_NCDESTROY: RemoveWindowSubclass(window, textBoxProc, 1); break;
    }
  } catch (...) {
  }
  return DefSubclassProc(window, message, wParam, lParam);
}

}  // namespace mervane::authoring::win
