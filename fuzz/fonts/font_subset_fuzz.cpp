// libFuzzer harness for the TrueType reader and subsetter: any bytes are
// read as a font; a font that reads is asked for glyphs and widths and
// subset twice (the subset must read back). A damaged font must end in a
// FontError; anything else (another exception, a crash, a sanitizer
// report) is a fault.
#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>

#include "engine/export/truetype.h"

using mervane::engine::exporting::FontError;
using mervane::engine::exporting::TrueTypeFont;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    TrueTypeFont font(std::string(reinterpret_cast<const char*>(data), size));
    std::set<std::uint16_t> glyphs;
    std::map<char32_t, std::uint16_t> characters;
    for (char32_t c : {U' ', U'A', U'z', U'é', U'Ł', U'Ж', U'\u4E2D', U'\U0001F600'}) {
      std::uint16_t glyph = font.glyphFor(c);
      (void)font.advance(glyph);
      glyphs.insert(glyph);
      if (glyph) characters[c] = glyph;
    }
    // And a few glyphs by number, whatever characters they stand for.
    for (int g = 0; g < font.glyphCount() && g < 64; g += 7) glyphs.insert(static_cast<std::uint16_t>(g));
    TrueTypeFont subset(font.subset(glyphs, characters));
    for (auto [c, glyph] : characters)
      if (subset.glyphFor(c) != glyph) __builtin_trap();
    (void)subset.subset(glyphs, characters);
  } catch (const FontError&) {
  }
  return 0;
}
