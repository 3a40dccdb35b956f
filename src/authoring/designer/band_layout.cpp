// Band geometry of the design surface, snapping and sizing handles.
#include "authoring/designer/band_layout.h"

#include <algorithm>

namespace mervane::authoring::designer {

Box boxBetween(Point a, Point b) {
  return {std::min(a.x, b.x), std::min(a.y, b.y), std::max(a.x, b.x) - std::min(a.x, b.x),
          std::max(a.y, b.y) - std::min(a.y, b.y)};
}

Point paperSize(const model::PageSetup& page) {
  Point size;
  switch (page.paperSize) {
    case model::paper::kLetter: size = {12240, 15840}; break;
    case model::paper::kLegal: size = {12240, 20160}; break;
    case model::paper::kA3: size = {16838, 23811}; break;
    case model::paper::kA4: size = {11906, 16838}; break;
    default: size = {page.paperWidth, page.paperHeight}; break;
  }
  if (page.orientation == model::Orientation::Landscape) std::swap(size.x, size.y);
  return size;
}

BandLayout::BandLayout(const model::ReportDefinition& report) {
  // A page whose margins leave no room still gets a surface a person can use.
  const Point paper = paperSize(report.page);
  width_ = std::clamp(paper.x - report.page.marginLeft - report.page.marginRight, 1440, 1000000);
  std::int32_t top = 0;
  bands_.reserve(report.sections.size());
  for (std::size_t i = 0; i < report.sections.size(); ++i) {
    Band band;
    band.section = i;
    band.headerTop = top;
    band.bodyTop = top + kBandHeaderHeight;
    band.height = std::clamp(report.sections[i].height, 0, 1000000);
    bands_.push_back(band);
    top = band.bottom();
  }
}

const Band* BandLayout::bandAt(std::int32_t y) const {
  if (bands_.empty() || y < 0 || y >= height()) return nullptr;
  auto after = std::upper_bound(bands_.begin(), bands_.end(), y,
                                [](std::int32_t value, const Band& b) { return value < b.headerTop; });
  return &*(after - 1);
}

Box BandLayout::objectBox(std::size_t section, const model::ReportObject& object) const {
  const Band* b = band(section);
  const std::int32_t top = b ? b->bodyTop : 0;
  return {object.x, top + object.y, std::max(0, object.width), std::max(0, object.height)};
}

Box BandLayout::sectionBody(std::size_t section) const {
  const Band* b = band(section);
  return b ? Box{0, b->bodyTop, width_, b->height} : Box{};
}

std::int32_t snap(std::int32_t value, std::int32_t step) {
  if (step < 1) return value;
  const std::int64_t v = value, s = step;
  const std::int64_t down = (v >= 0 ? v / s : -((-v + s - 1) / s)) * s;
  return static_cast<std::int32_t>(v - down >= s - (v - down) ? down + s : down);
}

Point handlePoint(const Box& box, int handle) {
  const std::int32_t midX = box.x + box.width / 2, midY = box.y + box.height / 2;
  switch (handle) {
    case TopLeft: return {box.x, box.y};
    case Top: return {midX, box.y};
    case TopRight: return {box.right(), box.y};
    case Right: return {box.right(), midY};
    case BottomRight: return {box.right(), box.bottom()};
    case Bottom: return {midX, box.bottom()};
    case BottomLeft: return {box.x, box.bottom()};
    default: return {box.x, midY};
  }
}

Box resizeBox(const Box& box, int handle, std::int32_t dx, std::int32_t dy) {
  std::int32_t left = box.x, top = box.y, right = box.right(), bottom = box.bottom();
  const bool movesLeft = handle == TopLeft || handle == Left || handle == BottomLeft;
  const bool movesRight = handle == TopRight || handle == Right || handle == BottomRight;
  const bool movesTop = handle == TopLeft || handle == Top || handle == TopRight;
  const bool movesBottom = handle == BottomLeft || handle == Bottom || handle == BottomRight;
  if (movesLeft) left = std::min(left + dx, right);
  if (movesRight) right = std::max(right + dx, left);
  if (movesTop) top = std::min(top + dy, bottom);
  if (movesBottom) bottom = std::max(bottom + dy, top);
  return {left, top, right - left, bottom - top};
}

}  // namespace mervane::authoring::designer
