// How wide a text is in a font: the one thing the layout engine must ask
// of the device it lays out for. The Windows build measures with GDI at the
// printer's or screen's resolution; the core's own measure uses fixed
// average widths, so layout runs (and is tested) without a display.
#pragma once

#include <cstdint>

#include "base/text.h"
#include "engine/layout/display_list.h"

namespace mervane::engine::layout {

class TextMeasure {
 public:
  virtual ~TextMeasure() = default;
  // The advance width of `text` on one line, in twips.
  virtual std::int32_t width(const Font& font, TextView text) = 0;
  // The distance from one line's top to the next one's, in twips.
  virtual std::int32_t lineHeight(const Font& font) = 0;
};

// Widths from a fixed table per character class, close to Arial's.
class ApproximateMeasure final : public TextMeasure {
 public:
  std::int32_t width(const Font& font, TextView text) override;
  std::int32_t lineHeight(const Font& font) override;
};

}  // namespace mervane::engine::layout
