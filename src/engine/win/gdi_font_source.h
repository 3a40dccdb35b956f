// The report's fonts as Windows draws them, for the PDF export: the face GDI
// picks for a name and style (substitutes included), its file read back
// with GetFontData.
#pragma once

#include <windows.h>

#include <mutex>

#include "engine/export/font_source.h"

namespace mervane::engine::win {

class GdiFontSource final : public exporting::FontSource {
 public:
  GdiFontSource();
  ~GdiFontSource() override;
  GdiFontSource(const GdiFontSource&) = delete;
  GdiFontSource& operator=(const GdiFontSource&) = delete;

  std::string fontFile(const Text& face, bool bold, bool italic) override;
  // Of the faces that cover many scripts, those this system has.
  std::vector<Text> fallbackFaces() override;

 private:
  std::mutex lock_;
  HDC dc_ = nullptr;
};

}  // namespace mervane::engine::win
