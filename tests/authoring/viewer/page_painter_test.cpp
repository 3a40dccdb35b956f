// The painter and the GDI measure under Wine: pages painted into a bitmap
// and its pixels read back: where things land at a scale, text kept inside
// its box and aligned, fills and images in their colours.
#include "engine/win/page_painter.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "engine/win/gdi_measure.h"

using namespace mervane;
using namespace mervane::engine;
using mervane::engine::win::PagePainter;
using mervane::engine::win::Placement;

namespace {

// A white 32-bit bitmap to paint into, its pixels readable.
class Canvas {
 public:
  Canvas(int width, int height) : width_(width), height_(height) {
    BITMAPINFO info{};
    info.bmiHeader = {sizeof(BITMAPINFOHEADER), width, -height, 1, 32, BI_RGB};
    dc_ = CreateCompatibleDC(nullptr);
    bitmap_ = CreateDIBSection(dc_, &info, DIB_RGB_COLORS, reinterpret_cast<void**>(&bits_), nullptr, 0);
    old_ = SelectObject(dc_, bitmap_);
    std::fill(bits_, bits_ + width * height, 0xFFFFFFu);
  }
  ~Canvas() {
    SelectObject(dc_, old_);
    DeleteObject(bitmap_);
    DeleteDC(dc_);
  }
  HDC dc() const { return dc_; }
  std::uint32_t at(int x, int y) const {
    GdiFlush();
    return bits_[y * width_ + x] & 0xFFFFFF;
  }
  // Pixels that are not white inside [x0,x1) x [y0,y1).
  int inked(int x0, int y0, int x1, int y1) const {
    GdiFlush();
    int count = 0;
    for (int y = std::max(0, y0); y < std::min(height_, y1); ++y)
      for (int x = std::max(0, x0); x < std::min(width_, x1); ++x) count += (bits_[y * width_ + x] & 0xFFFFFF) != 0xFFFFFF;
    return count;
  }
  // The leftmost and rightmost inked columns in a band of rows.
  std::pair<int, int> inkedColumns(int y0, int y1) const {
    int left = width_, right = -1;
    for (int y = y0; y < y1; ++y)
      for (int x = 0; x < width_; ++x)
        if ((bits_[y * width_ + x] & 0xFFFFFF) != 0xFFFFFF) left = std::min(left, x), right = std::max(right, x);
    return {left, right};
  }

 private:
  int width_, height_;
  HDC dc_;
  HBITMAP bitmap_;
  HGDIOBJ old_;
  std::uint32_t* bits_ = nullptr;
};

layout::TextRun textRun(layout::Rect box, Text text, layout::TextAlign align = layout::TextAlign::Left) {
  layout::TextRun run;
  run.box = box;
  run.text = std::move(text);
  run.align = align;
  return run;
}

}  // namespace

TEST(PagePainter, BoxesImagesAndLinesLandWhereTheScaleSays) {
  Canvas canvas(400, 300);
  layout::Page page;
  // At 96 dpi 15 twips make a pixel: this box is pixels 20..80 across, 10..40 down.
  page.items.push_back(layout::BoxItem{{300, 150, 900, 450}, model::BorderStyle::None, 20, 0, true, 0x336699});
  page.items.push_back(layout::LineItem{0, 1500, 3000, 1500, 15, 0xFF0000});
  auto pixels = std::make_shared<std::vector<std::uint32_t>>(std::vector<std::uint32_t>{0xFF00FF00, 0x00000000});
  page.items.push_back(layout::ImageItem{{1500, 1800, 300, 150}, 2, 1, pixels});
  Placement at{96 / 1440.0, 96 / 1440.0, 10, 5};
  PagePainter().paint(canvas.dc(), page, at);
  EXPECT_EQ(canvas.at(10 + 50, 5 + 25), 0x336699u);
  EXPECT_EQ(canvas.at(10 + 19, 5 + 25), 0xFFFFFFu);
  EXPECT_EQ(canvas.at(10 + 81, 5 + 25), 0xFFFFFFu);
  EXPECT_EQ(canvas.at(10 + 100, 5 + 100), 0xFF0000u);
  EXPECT_EQ(canvas.at(10 + 104, 5 + 124), 0x00FF00u);
  EXPECT_EQ(canvas.at(10 + 116, 5 + 124), 0xFFFFFFu);  // see-through pixel: white paper
}

TEST(PagePainter, TextStaysInsideItsBoxAndFollowsItsAlignment) {
  Canvas canvas(600, 200);
  layout::Page page;
  // Three boxes 300 pixels wide at 96 dpi; the last text is far too long.
  page.items.push_back(textRun({1500, 150, 4500, 300}, u"Left"));
  page.items.push_back(textRun({1500, 750, 4500, 300}, u"Right", layout::TextAlign::Right));
  page.items.push_back(textRun({1500, 1350, 4500, 300}, u"Centred", layout::TextAlign::Centre));
  page.items.push_back(
      textRun({1500, 1950, 1500, 300}, u"A text much longer than its little box, which must be cut off"));
  PagePainter().paint(canvas.dc(), page, {96 / 1440.0, 96 / 1440.0, 0, 0});
  auto [leftStart, leftEnd] = canvas.inkedColumns(10, 30);
  auto [rightStart, rightEnd] = canvas.inkedColumns(50, 70);
  auto [centreStart, centreEnd] = canvas.inkedColumns(90, 110);
  EXPECT_NEAR(leftStart, 100, 3);
  EXPECT_NEAR(rightEnd, 399, 3);
  EXPECT_NEAR((centreStart + centreEnd) / 2.0, 250, 4);
  EXPECT_LT(leftEnd, 200);
  EXPECT_GT(rightStart, 300);
  EXPECT_GT(canvas.inked(100, 130, 200, 150), 0);
  EXPECT_EQ(canvas.inked(200, 125, 600, 160), 0);  // clipped at the box's right edge
}

TEST(GdiMeasure, WidthsGrowWithTextAndSizeAndAreTheSameFromAnyThread) {
  engine::win::GdiMeasure measure;
  layout::Font arial{u"Arial", 200};
  std::int32_t one = measure.width(arial, u"Report");
  EXPECT_GT(one, 500);  // six letters of 10 point: a little under an inch
  EXPECT_LT(one, 1100);
  EXPECT_GT(measure.width(arial, u"Report Report"), 2 * one);
  layout::Font big = arial;
  big.size = 400;
  EXPECT_NEAR(measure.width(big, u"Report"), 2 * one, 20);
  EXPECT_EQ(measure.width(arial, u""), 0);
  EXPECT_NEAR(measure.lineHeight(arial), 230, 30);
  std::vector<std::int32_t> widths(4);
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < widths.size(); ++i)
    threads.emplace_back([&, i] {
      for (int n = 0; n < 200; ++n) widths[i] = measure.width(i % 2 ? big : arial, u"Report");
    });
  for (auto& t : threads) t.join();
  EXPECT_EQ(widths[0], one);
  EXPECT_EQ(widths[1], measure.width(big, u"Report"));
}
