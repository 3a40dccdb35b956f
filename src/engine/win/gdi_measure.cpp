// GDI text measure: one memory DC behind a lock, fonts kept per face, size
// and style.
#include "engine/win/gdi_measure.h"

#include <algorithm>
#include <cmath>

#include "base/win/com.h"

namespace mervane::engine::win {

namespace {

// Without a DC or a font (resources run out): half an em a character, and
// lines of 1.15 em, near enough to lay a page out.
std::int32_t roughWidth(const layout::Font& font, TextView text) {
  return static_cast<std::int32_t>(text.size()) * std::max(1, font.size) / 2;
}
std::int32_t roughLineHeight(const layout::Font& font) { return std::max(1, font.size) * 115 / 100; }

}  // namespace

GdiMeasure::GdiMeasure(int dpi) : dpi_(std::max(1, dpi)), dc_(CreateCompatibleDC(nullptr)) {
  if (dc_) {
    SetMapMode(dc_, MM_TEXT);
    originalFont_ = GetCurrentObject(dc_, OBJ_FONT);
  }
}

GdiMeasure::~GdiMeasure() {
  if (dc_) {
    SelectObject(dc_, originalFont_);
    DeleteDC(dc_);
  }
  for (auto& [key, font] : fonts_) DeleteObject(font);
}

HFONT GdiMeasure::select(const layout::Font& font) {
  auto key = std::make_tuple(font.name, font.size, font.bold, font.italic, font.underline);
  HFONT chosen = nullptr;
  if (auto found = fonts_.find(key); found != fonts_.end()) {
    chosen = found->second;
  } else {
    if (fonts_.size() >= 128) {
      SelectObject(dc_, originalFont_);
      for (auto& [k, f] : fonts_) DeleteObject(f);
      fonts_.clear();
    }
    LOGFONTW lf{};
    lf.lfHeight = -std::max(1, static_cast<int>(std::lround(std::max(1, font.size) * dpi_ / 1440.0)));
    lf.lfWeight = font.bold ? FW_BOLD : FW_NORMAL;
    lf.lfItalic = font.italic;
    lf.lfUnderline = font.underline;
    lf.lfCharSet = DEFAULT_CHARSET;
    lf.lfOutPrecision = OUT_TT_PRECIS;
    std::wstring face = mervane::win::toWide(font.name);
    face.resize(std::min<std::size_t>(face.size(), LF_FACESIZE - 1));
    std::copy(face.begin(), face.end(), lf.lfFaceName);
    chosen = CreateFontIndirectW(&lf);
    if (chosen) fonts_.emplace(key, chosen);
  }
  if (chosen) SelectObject(dc_, chosen);
  return chosen;
}

std::int32_t GdiMeasure::width(const layout::Font& font, TextView text) {
  if (text.empty()) return 0;
  std::lock_guard guard(lock_);
  if (!dc_ || !select(font)) return roughWidth(font, text);
  std::wstring wide = mervane::win::toWide(text);
  SIZE size{};
  if (!GetTextExtentPoint32W(dc_, wide.c_str(), static_cast<int>(wide.size()), &size))
    return roughWidth(font, text);
  return static_cast<std::int32_t>(std::lround(size.cx * 1440.0 / dpi_));
}

std::int32_t GdiMeasure::lineHeight(const layout::Font& font) {
  std::lock_guard guard(lock_);
  TEXTMETRICW metrics{};
  if (!dc_ || !select(font) || !GetTextMetricsW(dc_, &metrics)) return roughLineHeight(font);
  return static_cast<std::int32_t>(std::lround((metrics.tmHeight + metrics.tmExternalLeading) * 1440.0 / dpi_));
}

}  // namespace mervane::engine::win
