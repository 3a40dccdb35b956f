// Font choice, WinAnsi encoding and widths for the PDF export.
#include "components/engine/export/pdf_fonts.h"

#include <array>

namespace mervane::engine::exporting {

namespace {

#include "components/engine/export/font_widths.inc"

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
