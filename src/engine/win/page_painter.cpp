// Display list items to GDI calls. Every GDI object made here is either
// kept in the font cache or freed before the call returns, and every DC
// state change is undone (SaveDC/RestoreDC around each page).
#include "engine/win/page_painter.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "base/win/com.h"

namespace mervane::engine::win {

namespace {

COLORREF colourRef(std::uint32_t rgb) { return RGB((rgb >> 16) & 0xFF, (rgb >> 8) & 0xFF, rgb & 0xFF); }

// A GDI object freed when it goes out of scope.
template <class H>
class GdiObject {
 public:
  explicit GdiObject(H handle) : handle_(handle) {}
  ~GdiObject() {
    if (handle_) DeleteObject(handle_);
  }
  GdiObject(const GdiObject&) = delete;
  GdiObject& operator=(const GdiObject&) = delete;
  H get() const { return handle_; }

 private:
  H handle_;
};

// Selects an object into a DC for as long as it lives.
class Selected {
 public:
  Selected(HDC dc, HGDIOBJ object) : dc_(dc), previous_(object ? SelectObject(dc, object) : nullptr) {}
  ~Selected() {
    if (previous_) SelectObject(dc_, previous_);
  }
  Selected(const Selected&) = delete;
  Selected& operator=(const Selected&) = delete;

 private:
  HDC dc_;
  HGDIOBJ previous_;
};

struct DeviceRect {
  int left, top, right, bottom;
};

int toX(std::int32_t x, const Placement& at) { return at.originX + static_cast<int>(std::lround(x * at.scaleX)); }
int toY(std::int32_t y, const Placement& at) { return at.originY + static_cast<int>(std::lround(y * at.scaleY)); }
DeviceRect toDevice(const layout::Rect& r, const Placement& at) {
  return {toX(r.x, at), toY(r.y, at), toX(r.x + r.width, at), toY(r.y + r.height, at)};
}

int penWidth(std::int32_t twips, const Placement& at) {
  return std::max(1, static_cast<int>(std::lround(twips * std::min(at.scaleX, at.scaleY))));
}

HPEN makePen(model::BorderStyle style, int width, std::uint32_t colour) {
  LOGBRUSH brush{BS_SOLID, colourRef(colour), 0};
  DWORD kind = PS_SOLID;
  if (style == model::BorderStyle::Dashed) kind = PS_DASH;
  if (style == model::BorderStyle::Dotted) kind = PS_DOT;
  return ExtCreatePen(PS_GEOMETRIC | kind | PS_ENDCAP_FLAT | PS_JOIN_MITER, static_cast<DWORD>(width), &brush, 0,
                      nullptr);
}

}  // namespace

Placement devicePlacement(HDC dc) {
  Placement at;
  at.scaleX = GetDeviceCaps(dc, LOGPIXELSX) / 1440.0;
  at.scaleY = GetDeviceCaps(dc, LOGPIXELSY) / 1440.0;
  at.originX = -GetDeviceCaps(dc, PHYSICALOFFSETX);
  at.originY = -GetDeviceCaps(dc, PHYSICALOFFSETY);
  return at;
}

PagePainter::~PagePainter() { clearFonts(); }

void PagePainter::clearFonts() {
  for (auto& [key, font] : fonts_) DeleteObject(font);
  fonts_.clear();
}

HFONT PagePainter::font(const layout::Font& font, double scaleY) {
  int height = std::max(1, static_cast<int>(std::lround(std::max(1, font.size) * scaleY)));
  FontKey key{font.name, height, font.bold, font.italic, font.underline};
  if (auto found = fonts_.find(key); found != fonts_.end()) return found->second;
  if (fonts_.size() >= 64) clearFonts();  // zooming through many scales
  LOGFONTW lf{};
  lf.lfHeight = -height;
  lf.lfWeight = font.bold ? FW_BOLD : FW_NORMAL;
  lf.lfItalic = font.italic;
  lf.lfUnderline = font.underline;
  lf.lfCharSet = DEFAULT_CHARSET;
  lf.lfOutPrecision = OUT_TT_PRECIS;
  lf.lfQuality = ANTIALIASED_QUALITY;
  std::wstring face = mervane::win::toWide(font.name);
  face.resize(std::min<std::size_t>(face.size(), LF_FACESIZE - 1));
  std::copy(face.begin(), face.end(), lf.lfFaceName);
  HFONT made = CreateFontIndirectW(&lf);
  if (!made) made = static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT));
  else fonts_.emplace(key, made);
  return made;
}

void PagePainter::paint(HDC dc, const layout::Page& page, const Placement& where, bool paper) {
  int saved = SaveDC(dc);
  SetBkMode(dc, TRANSPARENT);
  SetMapMode(dc, MM_TEXT);
  if (paper) {
    RECT area{toX(0, where), toY(0, where), toX(page.width, where), toY(page.height, where)};
    FillRect(dc, &area, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
  }
  for (const auto& item : page.items) std::visit([&](const auto& it) { paintItem(dc, it, where); }, item);
  RestoreDC(dc, saved);
}

void PagePainter::paintItem(HDC dc, const layout::TextRun& run, const Placement& at) {
  if (run.text.empty() || run.box.width <= 0 || run.box.height <= 0) return;
  DeviceRect r = toDevice(run.box, at);
  RECT clip{r.left, r.top, r.right, r.bottom};
  Selected font(dc, this->font(run.font, at.scaleY));
  SetTextColor(dc, colourRef(run.colour));
  int x = r.left;
  UINT align = TA_TOP | TA_NOUPDATECP;
  if (run.align == layout::TextAlign::Centre) {
    align |= TA_CENTER;
    x = (r.left + r.right) / 2;
  } else if (run.align == layout::TextAlign::Right) {
    align |= TA_RIGHT;
    x = r.right;
  } else {
    align |= TA_LEFT;
  }
  SetTextAlign(dc, align);
  std::wstring text = mervane::win::toWide(run.text);
  // A device that draws the font a little wider than the layout measured it
  // loses whole characters at the end, never half a glyph.
  INT fit = 0;
  SIZE extent{};
  if (GetTextExtentExPointW(dc, text.c_str(), static_cast<int>(text.size()), r.right - r.left, &fit, nullptr, &extent) &&
      fit > 0 && static_cast<std::size_t>(fit) < text.size()) {
    if (IS_HIGH_SURROGATE(text[static_cast<std::size_t>(fit) - 1])) --fit;
    if (fit > 0) text.resize(static_cast<std::size_t>(fit));
  }
  ExtTextOutW(dc, x, r.top, ETO_CLIPPED, &clip, text.c_str(), static_cast<UINT>(text.size()), nullptr);
}

void PagePainter::paintItem(HDC dc, const layout::LineItem& line, const Placement& at) {
  if (line.style == model::BorderStyle::None) return;
  int width = penWidth(line.width, at);
  int x1 = toX(line.x1, at), y1 = toY(line.y1, at), x2 = toX(line.x2, at), y2 = toY(line.y2, at);
  if (line.style == model::BorderStyle::Double) {
    // Two lines of a third of the width, a width apart.
    double length = std::hypot(x2 - x1, y2 - y1);
    int thin = std::max(1, width / 3);
    int nx = length > 0 ? static_cast<int>(std::lround(-(y2 - y1) / length * width / 3.0)) : 0;
    int ny = length > 0 ? static_cast<int>(std::lround((x2 - x1) / length * width / 3.0)) : 0;
    if (nx == 0 && ny == 0) ny = 1;
    GdiObject<HPEN> pen(makePen(model::BorderStyle::Single, thin, line.colour));
    Selected selected(dc, pen.get());
    for (int side : {-1, 1}) {
      MoveToEx(dc, x1 + side * nx, y1 + side * ny, nullptr);
      LineTo(dc, x2 + side * nx, y2 + side * ny);
    }
    return;
  }
  GdiObject<HPEN> pen(makePen(line.style, width, line.colour));
  Selected selected(dc, pen.get());
  MoveToEx(dc, x1, y1, nullptr);
  LineTo(dc, x2, y2);
}

void PagePainter::paintItem(HDC dc, const layout::BoxItem& box, const Placement& at) {
  if (box.box.width <= 0 || box.box.height <= 0) return;
  DeviceRect r = toDevice(box.box, at);
  if (box.filled) {
    GdiObject<HBRUSH> brush(CreateSolidBrush(colourRef(box.fill)));
    RECT area{r.left, r.top, r.right, r.bottom};
    FillRect(dc, &area, brush.get());
  }
  if (box.border == model::BorderStyle::None) return;
  int width = penWidth(box.borderWidth, at);
  Selected noFill(dc, GetStockObject(NULL_BRUSH));
  if (box.border == model::BorderStyle::Double) {
    int thin = std::max(1, width / 3), gap = std::max(2, width * 2 / 3);
    GdiObject<HPEN> pen(makePen(model::BorderStyle::Single, thin, box.borderColour));
    Selected selected(dc, pen.get());
    Rectangle(dc, r.left, r.top, r.right, r.bottom);
    if (r.right - r.left > 2 * gap && r.bottom - r.top > 2 * gap)
      Rectangle(dc, r.left + gap, r.top + gap, r.right - gap, r.bottom - gap);
    return;
  }
  GdiObject<HPEN> pen(makePen(box.border, width, box.borderColour));
  Selected selected(dc, pen.get());
  Rectangle(dc, r.left, r.top, r.right, r.bottom);
}

void PagePainter::paintItem(HDC dc, const layout::ImageItem& image, const Placement& at) {
  if (!image.pixels || image.pixelWidth <= 0 || image.pixelHeight <= 0) return;
  auto count = static_cast<std::size_t>(image.pixelWidth) * static_cast<std::size_t>(image.pixelHeight);
  if (image.pixels->size() < count || image.box.width <= 0 || image.box.height <= 0) return;
  // 0xAARRGGBB in memory is a top-down 32-bit DIB's blue, green, red order.
  // See-through pixels are laid over white, as on paper.
  const std::uint32_t* bits = image.pixels->data();
  std::vector<std::uint32_t> over;
  if (std::any_of(bits, bits + count, [](std::uint32_t p) { return (p >> 24) != 0xFF; })) {
    over.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
      std::uint32_t p = bits[i], a = p >> 24, out = 0;
      for (int shift = 0; shift < 24; shift += 8) {
        std::uint32_t c = (p >> shift) & 0xFF;
        out |= ((c * a + 255 * (255 - a)) / 255) << shift;
      }
      over[i] = out;
    }
    bits = over.data();
  }
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
  info.bmiHeader.biWidth = image.pixelWidth;
  info.bmiHeader.biHeight = -image.pixelHeight;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  info.bmiHeader.biCompression = BI_RGB;
  DeviceRect r = toDevice(image.box, at);
  // Shrunk pictures are smoothed; enlarged ones keep their pixels sharp.
  bool shrinking = r.right - r.left < image.pixelWidth || r.bottom - r.top < image.pixelHeight;
  SetStretchBltMode(dc, shrinking ? HALFTONE : COLORONCOLOR);
  SetBrushOrgEx(dc, 0, 0, nullptr);
  StretchDIBits(dc, r.left, r.top, r.right - r.left, r.bottom - r.top, 0, 0, image.pixelWidth, image.pixelHeight,
                bits, &info, DIB_RGB_COLORS, SRCCOPY);
}

}  // namespace mervane::engine::win
