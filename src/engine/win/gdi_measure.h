// Text widths measured with GDI, for laying out a report as the screen or
// printer will draw it. Fonts are made at a fixed high resolution so the
// widths are those of the font's design, the same for every device.
//
// Safe to call from any thread: the layout engine measures from its
// background thread while the viewer measures from the window's.
#pragma once

#include <windows.h>

#include <map>
#include <mutex>
#include <tuple>

#include "engine/layout/text_measure.h"

namespace mervane::engine::win {

class GdiMeasure final : public layout::TextMeasure {
 public:
  // `dpi`: the resolution the fonts are made at (1440: one pixel a twip).
  explicit GdiMeasure(int dpi = 1440);
  ~GdiMeasure() override;
  GdiMeasure(const GdiMeasure&) = delete;
  GdiMeasure& operator=(const GdiMeasure&) = delete;

  std::int32_t width(const layout::Font& font, TextView text) override;
  std::int32_t lineHeight(const layout::Font& font) override;

 private:
  HFONT select(const layout::Font& font);  // with the lock held

  std::mutex lock_;
  int dpi_;
  HDC dc_ = nullptr;
  HGDIOBJ originalFont_ = nullptr;
  std::map<std::tuple<Text, std::int32_t, bool, bool, bool>, HFONT> fonts_;
};

}  // namespace mervane::engine::win
