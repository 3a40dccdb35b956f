// Font choice, WinAnsi encoding and widths for the PDF export.
#include "engine/export/pdf_fonts.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <new>

namespace mervane::engine::exporting {

namespace {

#include "engine/export/font_widths.inc"

bool contains(const Text& haystack, std::u16string_view needle) { return haystack.find(needle) != Text::npos; }

// Code page 1252's characters 0x80 to 0x9F; 0 where it has none.
constexpr std::array<char16_t, 32> kHigh = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

char encode(char32_t c) {
  if ((c >= 0x20 && c < 0x7F) || (c >= 0xA0 && c <= 0xFF)) return static_cast<char>(c);
  for (std::size_t i = 0; i < kHigh.size(); ++i)
    if (kHigh[i] != 0 && kHigh[i] == c) return static_cast<char>(0x80 + i);
  if (c == 0x09) return ' ';
  return '?';
}

}  // namespace

const char* PdfFont::baseFont() const {
  static constexpr const char* kNames[12] = {
      "Helvetica", "Helvetica-Bold", "Helvetica-Oblique", "Helvetica-BoldOblique",
      "Times-Roman", "Times-Bold", "Times-Italic", "Times-BoldItalic",
      "Courier", "Courier-Bold", "Courier-Oblique", "Courier-BoldOblique"};
  return kNames[index()];
}

double PdfFont::ascent() const {
  // The Windows ascents of the faces these stand for (Arial, Times New
  // Roman, Courier New), so lines sit where the screen shows them.
  switch (family) {
    case PdfFamily::Times: return 0.891;
    case PdfFamily::Courier: return 0.833;
    case PdfFamily::Helvetica: break;
  }
  return 0.905;
}

PdfFont pdfFontFor(const layout::Font& font) {
  Text name = upper(font.name);
  PdfFont out;
  out.bold = font.bold || contains(name, u"BOLD") || contains(name, u"BLACK");
  out.italic = font.italic || contains(name, u"ITALIC") || contains(name, u"OBLIQUE");
  if (contains(name, u"COURIER") || contains(name, u"MONO") || contains(name, u"CONSOL") ||
      contains(name, u"FIXED") || contains(name, u"LUCIDA CONSOLE"))
    out.family = PdfFamily::Courier;
  else if (contains(name, u"SANS"))
    out.family = PdfFamily::Helvetica;
  else if (contains(name, u"TIMES") || contains(name, u"SERIF") || contains(name, u"ROMAN") ||
           contains(name, u"GEORGIA") || contains(name, u"GARAMOND") || contains(name, u"BOOK") ||
           contains(name, u"CAMBRIA") || contains(name, u"PALATINO") || contains(name, u"CENTURY"))
    out.family = PdfFamily::Times;
  return out;
}

std::string winAnsi(TextView text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t c = text[i];
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF) {
      ++i;  // a character beyond the first plane: never in 1252
      c = 0x10000;
    }
    out.push_back(encode(c));
  }
  return out;
}

double textWidthEm(const PdfFont& font, const std::string& encoded) {
  const std::uint16_t* table = nullptr;
  switch (font.family) {
    case PdfFamily::Courier: return 0.6 * static_cast<double>(encoded.size());
    case PdfFamily::Helvetica: table = font.bold ? kHelveticaBold : kHelvetica; break;
    case PdfFamily::Times:
      table = font.bold ? (font.italic ? kTimesBoldItalic : kTimesBold) : (font.italic ? kTimesItalic : kTimes);
      break;
  }
  long total = 0;
  for (char c : encoded) {
    auto code = static_cast<unsigned char>(c);
    total += code >= 32 ? table[code - 32] : table[0];
  }
  return static_cast<double>(total) / 1000.0;
}

}  // namespace mervane::engine::exporting

// ---- Embedded TrueType fonts ----

namespace mervane::engine::exporting {

namespace {

constexpr char kHex[] = "0123456789ABCDEF";

void hex4(std::string& out, std::uint32_t value) {
  for (int shift = 12; shift >= 0; shift -= 4) out += kHex[(value >> shift) & 0xF];
}

// A character's UTF-16 code units in hex, as ToUnicode maps want them.
std::string utf16Hex(char32_t c) {
  std::string out;
  if (c >= 0x10000) {
    hex4(out, 0xD800 + ((c - 0x10000) >> 10));
    hex4(out, 0xDC00 + ((c - 0x10000) & 0x3FF));
  } else {
    hex4(out, c);
  }
  return out;
}

// A PDF name from the font's PostScript name: only letters, digits, '-' and '_'.
std::string pdfName(const std::string& name, int font) {
  std::string out;
  for (char c : name)
    if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '_') out += c;
  if (out.empty()) out = "Font" + std::to_string(font);
  // A subset is named with a tag of six capitals of its own.
  std::string tag = "MV";
  for (int i = 0, n = font; i < 4; ++i, n /= 26) tag += static_cast<char>('A' + n % 26);
  return tag + '+' + out;
}

std::string deflated(const std::string& data) {
  uLongf size = compressBound(static_cast<uLong>(data.size()));
  std::string out(size, '\0');
  if (compress2(reinterpret_cast<Bytef*>(out.data()), &size, reinterpret_cast<const Bytef*>(data.data()),
                static_cast<uLong>(data.size()), 6) != Z_OK)
    throw std::bad_alloc();
  out.resize(size);
  return out;
}

}  // namespace

EmbeddedFonts::EmbeddedFonts(std::shared_ptr<FontSource> source) : source_(std::move(source)) {}

int EmbeddedFonts::load(const Text& face, bool bold, bool italic) {
  auto key = std::make_tuple(upper(face), bold, italic);
  if (auto found = byFace_.find(key); found != byFace_.end()) return found->second;
  int id = -1;
  try {
    std::string file = source_ ? source_->fontFile(face, bold, italic) : std::string();
    if (!file.empty()) {
      if (auto same = byFile_.find(file); same != byFile_.end()) {
        id = same->second;
      } else {
        auto font = std::make_shared<const TrueTypeFont>(file);
        id = static_cast<int>(fonts_.size());
        std::vector<char32_t> glyphs(static_cast<std::size_t>(font->glyphCount()), 0);
        fonts_.push_back({std::move(font), 0, std::move(glyphs), {}});
        byFile_.emplace(std::move(file), id);
      }
    }
  } catch (const FontError&) {
    id = -1;  // a damaged or outline-less font: as if there were none
  }
  byFace_.emplace(std::move(key), id);
  return id;
}

int EmbeddedFonts::fallbackFor(char32_t c, bool bold, bool italic) {
  auto key = std::make_tuple(c, bold, italic);
  if (auto found = fallbackFor_.find(key); found != fallbackFor_.end()) return found->second;
  if (!fallbackFacesKnown_) {
    fallbackFacesKnown_ = true;
    if (source_) fallbackFaces_ = source_->fallbackFaces();
  }
  int chosen = -1;
  for (const Text& face : fallbackFaces_) {
    int id = load(face, bold, italic);
    if (id >= 0 && fonts_[static_cast<std::size_t>(id)].font->has(c)) {
      chosen = id;
      break;
    }
  }
  fallbackFor_.emplace(key, chosen);
  return chosen;
}

bool EmbeddedFonts::shape(const layout::Font& font, TextView text, ShapedText& out) {
  bool bold = font.bold, italic = font.italic;
  if (lastPrimary_ == -2 || font.name != lastFont_.name || bold != lastFont_.bold || italic != lastFont_.italic) {
    lastFont_ = font;
    lastPrimary_ = load(font.name, bold, italic);
  }
  int primary = lastPrimary_;
  if (primary < 0) return false;
  const TrueTypeFont& main = *fonts_[static_cast<std::size_t>(primary)].font;
  out.count = 0;
  out.ascentEm = static_cast<double>(main.ascent()) / main.unitsPerEm();
  out.fakeBold = bold && !main.bold();
  out.fakeItalic = italic && !main.italic();
  double width = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t c = text[i];
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF) {
      c = 0x10000 + ((c - 0xD800) << 10) + (text[i + 1] - 0xDC00);
      ++i;
    }
    if (c < 0x20) c = ' ';  // tabs and other controls show as a space
    int id = primary;
    if (!main.has(c)) {
      int other = fallbackFor(c, bold, italic);
      if (other >= 0) id = other;
    }
    Loaded& loaded = fonts_[static_cast<std::size_t>(id)];
    std::uint16_t glyph = loaded.font->glyphFor(c);
    char32_t& first = loaded.glyphs[glyph];
    if (first != c) {
      if (!first) first = c;
      if (glyph) loaded.characters.try_emplace(c, glyph);
    }
    width += static_cast<double>(loaded.font->advance(glyph)) / loaded.font->unitsPerEm();
    if (out.count == 0 || out.pieces[out.count - 1].font != id) {
      if (out.count == out.pieces.size()) out.pieces.emplace_back();
      out.pieces[out.count].font = id;
      out.pieces[out.count++].glyphs.clear();
    }
    hex4(out.pieces[out.count - 1].glyphs, glyph);
  }
  out.widthEm = width;
  return true;
}

int EmbeddedFonts::objectOf(int font, const std::function<int()>& reserve) {
  Loaded& loaded = fonts_[static_cast<std::size_t>(font)];
  if (!loaded.object) loaded.object = reserve();
  return loaded.object;
}

void EmbeddedFonts::write(const std::function<int()>& reserve, const WriteObject& object, const WriteStream& stream) {
  for (std::size_t id = 0; id < fonts_.size(); ++id) {
    Loaded& loaded = fonts_[id];
    if (!loaded.object) continue;
    const TrueTypeFont& font = *loaded.font;
    const double scale = 1000.0 / font.unitsPerEm();
    auto units = [&](double v) { return std::to_string(static_cast<long>(std::lround(v * scale))); };
    std::string name = pdfName(font.postScriptName().empty() ? font.family() : font.postScriptName(),
                               static_cast<int>(id));

    std::set<std::uint16_t> used;
    std::vector<std::pair<std::uint16_t, char32_t>> pairs;
    for (std::size_t glyph = 0; glyph < loaded.glyphs.size(); ++glyph)
      if (char32_t c = loaded.glyphs[glyph]) {
        used.insert(static_cast<std::uint16_t>(glyph));
        pairs.emplace_back(static_cast<std::uint16_t>(glyph), c);
      }
    std::string file = font.subset(used, loaded.characters);
    int fileObject = reserve();
    stream(fileObject, "/Filter /FlateDecode /Length1 " + std::to_string(file.size()), deflated(file));

    int descriptor = reserve();
    int flags = 4 | (font.fixedPitch() ? 1 : 0) | (font.italic() ? 64 : 0);
    const std::int16_t* box = font.box();
    object(descriptor, "<< /Type /FontDescriptor /FontName /" + name + " /Flags " + std::to_string(flags) +
                           " /FontBBox [" + units(box[0]) + ' ' + units(box[1]) + ' ' + units(box[2]) + ' ' +
                           units(box[3]) + "] /ItalicAngle " + std::to_string(static_cast<int>(font.italicAngle())) +
                           " /Ascent " + units(font.ascent()) + " /Descent " + units(-font.descent()) +
                           " /CapHeight " + units(font.capHeight()) + " /StemV " + (font.bold() ? "120" : "80") +
                           " /FontFile2 " + std::to_string(fileObject) + " 0 R >>");

    // Widths of the glyphs used, consecutive glyphs in one array.
    std::string widths;
    int previous = -2;
    for (std::uint16_t glyph : used) {
      if (glyph != previous + 1) widths += (previous >= 0 ? "] " : "") + std::to_string(glyph) + " [";
      else widths += ' ';
      widths += units(font.advance(glyph));
      previous = glyph;
    }
    if (previous >= 0) widths += ']';
    int descendant = reserve();
    object(descendant, "<< /Type /Font /Subtype /CIDFontType2 /BaseFont /" + name +
                           " /CIDSystemInfo << /Registry (Adobe) /Ordering (Identity) /Supplement 0 >> /FontDescriptor " +
                           std::to_string(descriptor) + " 0 R /CIDToGIDMap /Identity /DW " +
                           units(font.advance(0)) + " /W [" + widths + "] >>");

    std::string cmap =
        "/CIDInit /ProcSet findresource begin\n12 dict begin\nbegincmap\n"
        "/CIDSystemInfo << /Registry (Adobe) /Ordering (UCS) /Supplement 0 >> def\n"
        "/CMapName /Adobe-Identity-UCS def\n/CMapType 2 def\n"
        "1 begincodespacerange\n<0000> <FFFF>\nendcodespacerange\n";
    for (std::size_t from = 0; from < pairs.size(); from += 100) {
      std::size_t to = std::min(pairs.size(), from + 100);
      cmap += std::to_string(to - from) + " beginbfchar\n";
      for (std::size_t i = from; i < to; ++i) {
        cmap += '<';
        hex4(cmap, pairs[i].first);
        cmap += "> <" + utf16Hex(pairs[i].second) + ">\n";
      }
      cmap += "endbfchar\n";
    }
    cmap += "endcmap\nCMapName currentdict /CMap defineresource pop\nend\nend\n";
    int toUnicode = reserve();
    stream(toUnicode, "/Filter /FlateDecode", deflated(cmap));

    object(loaded.object, "<< /Type /Font /Subtype /Type0 /BaseFont /" + name +
                              " /Encoding /Identity-H /DescendantFonts [" + std::to_string(descendant) +
                              " 0 R] /ToUnicode " + std::to_string(toUnicode) + " 0 R >>");
  }
}

}  // namespace mervane::engine::exporting
