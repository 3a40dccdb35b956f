// TrueType fonts for the PDF export: reading the few tables that place and
// describe glyphs (head, hhea, maxp, hmtx, loca, glyf, cmap, post, OS/2,
// name), and writing a subset that holds only the glyphs a document used.
//
// Every offset and length in the file is checked before it is trusted: the
// bytes come from whatever font the system hands us, and a damaged font
// must give a FontError, never a read outside the buffer.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace mervane::engine::exporting {

class FontError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class TrueTypeFont {
 public:
  // A font file (a collection's first font), or a FontError when it is not
  // a TrueType font with glyf outlines.
  explicit TrueTypeFont(std::string bytes);

  // The glyph for a character; 0 (.notdef) when the font lacks it.
  std::uint16_t glyphFor(char32_t c) const {
    if (c < bmp_.size()) return bmp_[c];
    auto found = cmap_.find(c);
    return found == cmap_.end() ? 0 : found->second;
  }
  bool has(char32_t c) const { return glyphFor(c) != 0; }
  // A glyph's advance width, in font units.
  int advance(std::uint16_t glyph) const;

  // A glyph's outline as the glyf table holds it; empty for a blank glyph.
  std::string_view glyphData(std::uint16_t glyph) const;

  int glyphCount() const { return glyphCount_; }
  int unitsPerEm() const { return unitsPerEm_; }
  // What GDI takes for the line's ascent and descent (OS/2's Windows
  // metrics, else hhea's), in font units, descent positive.
  int ascent() const { return ascent_; }
  int descent() const { return descent_; }
  int capHeight() const { return capHeight_; }
  const std::int16_t* box() const { return box_; }  // xMin, yMin, xMax, yMax
  double italicAngle() const { return italicAngle_; }
  bool fixedPitch() const { return fixedPitch_; }
  bool bold() const { return (macStyle_ & 1) != 0; }
  bool italic() const { return (macStyle_ & 2) != 0; }
  // The font's own names (name table ids 1 and 6); empty when it has none.
  const std::string& family() const { return family_; }
  const std::string& postScriptName() const { return postScriptName_; }

  // A font file holding `glyphs`, .notdef and the parts of composite glyphs,
  // under their own glyph numbers (so a PDF can address them as Identity),
  // with a cmap of `characters` alone. Hinting tables go along unchanged.
  std::string subset(const std::set<std::uint16_t>& glyphs,
                     const std::map<char32_t, std::uint16_t>& characters) const;

 private:
  std::string_view table(std::string_view tag) const;
  void readCmap();
  std::string readName(std::uint16_t id) const;

  std::string bytes_;
  std::map<std::string, std::string_view, std::less<>> tables_;
  std::unordered_map<char32_t, std::uint16_t> cmap_;
  std::vector<std::uint16_t> bmp_;  // the first plane's glyphs by character, for speed
  int glyphCount_ = 0;
  int unitsPerEm_ = 1000;
  int ascent_ = 0, descent_ = 0, capHeight_ = 0;
  std::int16_t box_[4] = {};
  double italicAngle_ = 0;
  bool fixedPitch_ = false;
  std::uint16_t macStyle_ = 0;
  bool longLoca_ = false;
  int metricCount_ = 0;
  std::string_view hmtx_;  // looked up once: advance() runs for every character
  std::string family_, postScriptName_;
};

// An sfnt file made of the given tables (tag to bytes), with its directory
// and checksums; `head`'s checksum adjustment is set for the whole.
std::string sfntOf(const std::map<std::string, std::string>& tables);

}  // namespace mervane::engine::exporting
