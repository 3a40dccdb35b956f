// The core's own text measure: advance widths of Arial (and of Courier New
// for fixed-pitch faces) in thousandths of an em, per character.
#include "engine/layout/text_measure.h"

namespace mervane::engine::layout {
namespace {

// Arial's advance widths for U+0020 to U+007E, in thousandths of an em.
constexpr short kArial[95] = {
    278, 278, 355, 556, 556, 889, 667, 191, 333, 333, 389, 584, 278, 333, 278, 278,  //  !"#$%&'()*+,-./
    556, 556, 556, 556, 556, 556, 556, 556, 556, 556, 278, 278, 584, 584, 584, 556,  // 0-9 :;<=>?
    1015, 667, 667, 722, 722, 667, 611, 778, 722, 278, 500, 667, 556, 833, 722, 778,  // @A-O
    667, 778, 722, 667, 611, 722, 667, 944, 667, 667, 611, 278, 278, 278, 469, 556,   // P-Z [\]^_
    333, 556, 556, 500, 556, 556, 278, 556, 556, 222, 222, 500, 222, 833, 556, 556,   // `a-o
    556, 556, 333, 500, 278, 556, 500, 722, 500, 500, 500, 334, 260, 334, 584,        // p-z {|}~
};

bool contains(TextView text, std::u16string_view word) {  // word in upper case
  for (std::size_t at = 0; at + word.size() <= text.size(); ++at) {
    std::size_t i = 0;
    while (i < word.size() && upperChar(text[at + i]) == word[i]) ++i;
    if (i == word.size()) return true;
  }
  return false;
}

bool fixedPitch(const Font& font) { return contains(font.name, u"COURIER") || contains(font.name, u"MONO"); }

int advance(char16_t c, bool fixed) {
  if (c >= 0x0300 && c < 0x0370) return 0;   // combining marks
  if (c >= 0xDC00 && c < 0xE000) return 0;   // second half of a surrogate pair
  if (fixed) return 600;
  if (c >= 0x20 && c < 0x7F) return kArial[c - 0x20];
  if (c == 0xA0) return 278;
  if (c >= 0x2E80 && c < 0xFF60) return 1000;  // CJK and full-width forms
  return 556;  // accented Latin and other letters: about a digit's width
}

}  // namespace

std::int32_t ApproximateMeasure::width(const Font& font, TextView text) {
  const bool fixed = fixedPitch(font);
  std::int64_t units = 0;
  for (char16_t c : text) units += advance(c, fixed);
  if (font.bold && !fixed) units += units * 6 / 100;  // Arial Bold runs about 6% wider
  const std::int64_t size = font.size > 0 ? font.size : 0;
  return static_cast<std::int32_t>((units * size + 500) / 1000);
}

std::int32_t ApproximateMeasure::lineHeight(const Font& font) {
  // Arial's ascent and descent come to 1.15 em.
  const std::int32_t size = font.size > 0 ? font.size : 0;
  return (size * 115 + 50) / 100;
}

}  // namespace mervane::engine::layout
