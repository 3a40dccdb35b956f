// The node pictures: each is a function from a point of the 16 by 16 square
// to a colour, sampled four by four times per pixel so that curved edges are
// smooth.
#include "connections/win/node_pictures.h"

#include <cmath>
#include <cstdint>
#include <functional>
#include <optional>

namespace mervane::win {

namespace {

constexpr int kSize = 16;
constexpr int kSamples = 4;

struct Colour {
  double r, g, b;
};

// The colour at a point, or nothing where the picture is transparent.
using Shape = std::function<std::optional<Colour>(double x, double y)>;

constexpr Colour kOutline{0.16, 0.27, 0.45};

bool inEllipse(double x, double y, double cx, double cy, double rx, double ry) {
  const double dx = (x - cx) / rx, dy = (y - cy) / ry;
  return dx * dx + dy * dy <= 1.0;
}

// Three disks stacked into a cylinder: a light top face, a shaded body and
// a dark line where one disk meets the next.
std::optional<Colour> dataSet(double x, double y) {
  const double cx = 8.0, rx = 6.2, ry = 2.2, top = 3.4, bottom = 12.6, pen = 0.9;
  auto inside = [&](double grow) {
    const double wx = rx + grow, wy = ry + grow;
    if (inEllipse(x, y, cx, top, wx, wy)) return true;
    const double dx = (x - cx) / wx;
    if (std::abs(dx) > 1.0 || y < top) return false;
    return y <= bottom + wy * std::sqrt(1.0 - dx * dx);
  };
  if (!inside(pen)) return std::nullopt;
  if (!inside(0.0)) return kOutline;
  if (inEllipse(x, y, cx, top, rx, ry)) return Colour{0.72, 0.84, 0.98};  // the top face
  const double dx = (x - cx) / rx;
  const double curve = ry * std::sqrt(std::max(0.0, 1.0 - dx * dx));
  for (double seam : {top + 3.1, top + 6.2})
    if (std::abs(y - (seam + curve)) < pen / 2) return kOutline;
  // Lit from the left.
  const double light = 0.35 + 0.45 * (1.0 - (x - (cx - rx)) / (2 * rx));
  return Colour{0.12 + 0.3 * light, 0.32 + 0.35 * light, 0.62 + 0.3 * light};
}

// A table: a blue heading row over a grid of white cells.
std::optional<Colour> table(double x, double y) {
  const double left = 1.0, right = 15.0, topEdge = 2.0, bottomEdge = 14.0;
  if (x < left || x >= right || y < topEdge || y >= bottomEdge) return std::nullopt;
  const Colour line{0.35, 0.40, 0.48};
  if (x < left + 1 || x >= right - 1 || y < topEdge + 1 || y >= bottomEdge - 1) return line;
  if (y < topEdge + 4) return Colour{0.27, 0.51, 0.82};  // heading
  if (y < topEdge + 5) return line;
  for (double column : {6.0, 10.0})
    if (x >= column && x < column + 1) return line;
  if (y >= 9.0 && y < 10.0) return line;
  return Colour{1.0, 1.0, 1.0};
}

// Renders a shape into a 32-bit top-down DIB (straight alpha) and its mask
// (white where transparent).
bool render(const Shape& shape, HBITMAP& colour, HBITMAP& mask) {
  BITMAPINFO info = {};
  info.bmiHeader.biSize = sizeof(info.bmiHeader);
  info.bmiHeader.biWidth = kSize;
  info.bmiHeader.biHeight = -kSize;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  info.bmiHeader.biCompression = BI_RGB;
  void* bits = nullptr;
  colour = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
  if (!colour || !bits) return false;
  // Monochrome mask rows are padded to 16 bits: one WORD per row here.
  WORD maskBits[kSize] = {};
  auto* pixels = static_cast<std::uint32_t*>(bits);
  for (int py = 0; py < kSize; ++py) {
    for (int px = 0; px < kSize; ++px) {
      double r = 0, g = 0, b = 0;
      int covered = 0;
      for (int sy = 0; sy < kSamples; ++sy) {
        for (int sx = 0; sx < kSamples; ++sx) {
          const std::optional<Colour> c = shape(px + (sx + 0.5) / kSamples, py + (sy + 0.5) / kSamples);
          if (!c) continue;
          r += c->r, g += c->g, b += c->b;
          ++covered;
        }
      }
      const bool opaque = covered * 2 >= kSamples * kSamples;
      std::uint32_t value = 0;  // transparent pixels stay black, as masked images need
      if (covered) {
        auto channel = [covered](double sum) { return static_cast<std::uint32_t>(std::lround(255.0 * sum / covered)); };
        const std::uint32_t alpha = static_cast<std::uint32_t>(255 * covered / (kSamples * kSamples));
        value = alpha << 24 | channel(r) << 16 | channel(g) << 8 | channel(b);
      }
      pixels[py * kSize + px] = value;
      if (!opaque) maskBits[py] |= static_cast<WORD>(0x8000u >> px);
    }
  }
  // Bytes of each mask row, most significant bit first.
  for (WORD& row : maskBits) row = static_cast<WORD>(row >> 8 | row << 8);
  mask = CreateBitmap(kSize, kSize, 1, 1, maskBits);
  return mask != nullptr;
}

}  // namespace

ImageList createNodePictures() {
  ImageList list(ImageList_Create(kSize, kSize, ILC_COLOR32 | ILC_MASK, 2, 0));
  if (!list.get()) return list;
  for (const Shape& shape : {Shape(dataSet), Shape(table)}) {
    HBITMAP colour = nullptr, mask = nullptr;
    if (render(shape, colour, mask)) ImageList_Add(list.get(), colour, mask);
    if (colour) DeleteObject(colour);
    if (mask) DeleteObject(mask);
  }
  return list;
}

}  // namespace mervane::win
