// The fonts the PDF export writes text in.
//
// The report's own TrueType fonts, embedded as subsets (Type 0 fonts over
// CIDFontType2, Identity-H, with a ToUnicode map so text can be searched
// and copied); a character the report's font lacks comes from the first
// fallback face that has it. Only where no font file can be had at all does
// the export fall back to the standard fonts: which of the twelve
// (Helvetica, Times, Courier, each plain, bold, italic and bold italic)
// stands for a report font, their widths, and WinAnsiEncoding.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "base/text.h"
#include "engine/export/font_source.h"
#include "engine/export/truetype.h"
#include "engine/layout/display_list.h"

namespace mervane::engine::exporting {

enum class PdfFamily { Helvetica, Times, Courier };

struct PdfFont {
  PdfFamily family = PdfFamily::Helvetica;
  bool bold = false;
  bool italic = false;
  // 0 to 11, the font's place among the twelve.
  int index() const { return static_cast<int>(family) * 4 + (bold ? 1 : 0) + (italic ? 2 : 0); }
  const char* baseFont() const;
  // The baseline's distance below the top of a line, in ems.
  double ascent() const;
};

// The standard font nearest to a report font, by its family name: serif
// faces become Times, fixed-pitch faces Courier, everything else Helvetica.
PdfFont pdfFontFor(const layout::Font& font);

// Text in WinAnsiEncoding (Windows code page 1252); a character outside it
// becomes '?'.
std::string winAnsi(TextView text);

// The width of WinAnsi-encoded text in the font, in ems.
double textWidthEm(const PdfFont& font, const std::string& encoded);

// Text of a run cut into pieces by the embedded font that draws them.
struct ShapedText {
  struct Piece {
    int font = 0;        // resource /F<font>
    std::string glyphs;  // glyph numbers, four hex digits each
  };
  std::vector<Piece> pieces;  // the first `count`; the rest kept for their buffers
  std::size_t count = 0;
  double widthEm = 0;     // the advance of the whole text, in ems
  double ascentEm = 0.9;  // the report font's baseline below the line's top
  bool fakeBold = false;  // the face has no bold (or italic) of its own:
  bool fakeItalic = false;  // draw it emboldened (or slanted), as GDI does
};

// The embedded fonts of one document: loaded on first use, the glyphs used
// noted as text is shaped, and written as subsets at the end.
class EmbeddedFonts {
 public:
  explicit EmbeddedFonts(std::shared_ptr<FontSource> source);

  // False when no font at all can be had for `font` (then the caller uses
  // the standard fonts).
  bool shape(const layout::Font& font, TextView text, ShapedText& out);

  // The font's Type 0 object, reserved on first use with `reserve`.
  int objectOf(int font, const std::function<int()>& reserve);

  using WriteObject = std::function<void(int number, const std::string& body)>;
  using WriteStream = std::function<void(int number, const std::string& dictionary, const std::string& data)>;
  // Every font used, with its descendant, descriptor, file and ToUnicode map.
  void write(const std::function<int()>& reserve, const WriteObject& object, const WriteStream& stream);

 private:
  struct Loaded {
    std::shared_ptr<const TrueTypeFont> font;
    int object = 0;
    std::vector<char32_t> glyphs;                  // by glyph: its character, 0 when unused
    std::map<char32_t, std::uint16_t> characters;  // character -> glyph
  };
  int load(const Text& face, bool bold, bool italic);  // -1 when there is none
  int fallbackFor(char32_t c, bool bold, bool italic);  // -1 when no face has it

  std::shared_ptr<FontSource> source_;
  std::vector<Loaded> fonts_;
  std::map<std::tuple<Text, bool, bool>, int> byFace_;
  std::map<std::string, int> byFile_;  // the same file under another face name
  std::map<std::tuple<char32_t, bool, bool>, int> fallbackFor_;
  std::vector<Text> fallbackFaces_;
  // The last report font shaped and its font: runs come in long stretches
  // of one font.
  layout::Font lastFont_;
  int lastPrimary_ = -2;
  bool fallbackFacesKnown_ = false;
};

}  // namespace mervane::engine::exporting
