// Where things are on the design surface.
//
// The surface shows the report's sections as bands stacked in printing
// order, each a header strip holding the section's name followed by the
// section's body, as tall as the section. Surface coordinates are twips from
// the top left corner of the first band; an object's place is its section's
// body origin plus the object's own x and y. The surface is as wide as the
// page's printable width.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "engine/model/report_definition.h"

namespace mervane::authoring::designer {

namespace model = engine::model;

struct Point {
  std::int32_t x = 0;
  std::int32_t y = 0;
  bool operator==(const Point&) const = default;
};

struct Box {
  std::int32_t x = 0;
  std::int32_t y = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::int32_t right() const { return x + width; }
  std::int32_t bottom() const { return y + height; }
  // Inside, or within `slack` of the edge (so that a box of no size can still be hit).
  bool contains(Point p, std::int32_t slack = 0) const {
    return p.x >= x - slack && p.x <= right() + slack && p.y >= y - slack && p.y <= bottom() + slack;
  }
  bool intersects(const Box& o) const {
    return x <= o.right() && o.x <= right() && y <= o.bottom() && o.y <= bottom();
  }
  bool operator==(const Box&) const = default;
};

// A box from two corners in any order.
Box boxBetween(Point a, Point b);

constexpr std::int32_t kBandHeaderHeight = 240;

struct Band {
  std::size_t section = 0;
  std::int32_t headerTop = 0;
  std::int32_t bodyTop = 0;
  std::int32_t height = 0;  // the section's height (never negative here)
  std::int32_t bottom() const { return bodyTop + height; }
};

// The page's width and height in twips, turned for landscape.
Point paperSize(const model::PageSetup& page);

class BandLayout {
 public:
  BandLayout() = default;
  explicit BandLayout(const model::ReportDefinition& report);

  const std::vector<Band>& bands() const { return bands_; }
  std::int32_t width() const { return width_; }
  std::int32_t height() const { return bands_.empty() ? 0 : bands_.back().bottom(); }
  // The band whose header or body holds `y`; null outside every band.
  const Band* bandAt(std::int32_t y) const;
  const Band* band(std::size_t section) const { return section < bands_.size() ? &bands_[section] : nullptr; }
  // An object's box on the surface.
  Box objectBox(std::size_t section, const model::ReportObject& object) const;
  Box sectionBody(std::size_t section) const;

 private:
  std::vector<Band> bands_;
  std::int32_t width_ = 0;
};

// The nearest multiple of `step` (no snapping when step < 1).
std::int32_t snap(std::int32_t value, std::int32_t step);

// The eight sizing handles of a box, clockwise from the top left corner.
enum Handle : int { TopLeft, Top, TopRight, Right, BottomRight, Bottom, BottomLeft, Left, kHandleCount };
Point handlePoint(const Box& box, int handle);
// `box` with the handle dragged by (dx, dy); width and height stay at least 0.
Box resizeBox(const Box& box, int handle, std::int32_t dx, std::int32_t dy);

}  // namespace mervane::authoring::designer
