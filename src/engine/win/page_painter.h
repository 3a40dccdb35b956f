// Paints a laid-out page into a device context with GDI: the screen's page
// area, a bitmap, a printer. One painter for all of them, so what the viewer
// shows is what prints.
//
// The page's twips become device units by a scale (pixels per twip, from
// the device's resolution and the zoom) and an origin. Fonts are made once
// per face, size, style and scale and kept; a painter belongs to one thread.
#pragma once

#include <windows.h>

#include <cstdint>
#include <map>
#include <tuple>

#include "engine/layout/display_list.h"

namespace mervane::engine::win {

// Where the page goes on the device: device units per twip across and
// down, and the device point of the page's top left corner.
struct Placement {
  double scaleX = 96.0 / 1440.0;
  double scaleY = 96.0 / 1440.0;
  int originX = 0;
  int originY = 0;
};

// A placement at the device's own resolution, the page at its corner
// (printers: their printable area's offset taken off).
Placement devicePlacement(HDC dc);

class PagePainter {
 public:
  PagePainter() = default;
  ~PagePainter();
  PagePainter(const PagePainter&) = delete;
  PagePainter& operator=(const PagePainter&) = delete;

  // Paints the page's items in order. With `paper`, the page's area is
  // filled white first (the screen; a printer's paper is white already).
  void paint(HDC dc, const layout::Page& page, const Placement& where, bool paper = false);

  // The font for a report font at a scale; owned by the painter.
  HFONT font(const layout::Font& font, double scaleY);

 private:
  void paintItem(HDC dc, const layout::TextRun& run, const Placement& at);
  void paintItem(HDC dc, const layout::LineItem& line, const Placement& at);
  void paintItem(HDC dc, const layout::BoxItem& box, const Placement& at);
  void paintItem(HDC dc, const layout::ImageItem& image, const Placement& at);
  void clearFonts();

  using FontKey = std::tuple<Text, int, bool, bool, bool>;  // face, pixel height, bold, italic, underline
  std::map<FontKey, HFONT> fonts_;
};

}  // namespace mervane::engine::win
