// Formatting values and breaking texts into lines.
#include "engine/layout/text_flow.h"

#include <algorithm>

namespace mervane::engine::layout {
namespace {

bool isBreak(char16_t c) { return c == u'\n' || c == u'\r' || c == 0x2028; }
bool isBlank(char16_t c) { return c == u' ' || c == u'\t'; }

// Characters of `text` from `start` that fit in `width`, at least one.
std::size_t charactersThatFit(TextMeasure& measure, const Font& font, TextView text, std::size_t start,
                              std::int32_t width) {
  std::int64_t used = 0;
  std::size_t end = start;
  while (end < text.size()) {
    std::size_t next = end + 1;
    if (next < text.size() && text[next] >= 0xDC00 && text[next] < 0xE000) ++next;  // keep surrogate pairs whole
    used += measure.width(font, text.substr(end, next - end));
    if (used > width && end > start) break;
    end = next;
  }
  return end - start;
}

// A word's width; for a very long word, only enough of it to tell that it
// is wider than `width`.
std::int32_t wordWidthUpTo(TextMeasure& measure, const Font& font, TextView word, std::int32_t width) {
  constexpr std::size_t kProbe = 256;
  if (word.size() > kProbe) {
    const std::int32_t probe = measure.width(font, word.substr(0, kProbe));
    if (probe > width) return probe;
  }
  return measure.width(font, word);
}

}  // namespace

Text displayText(const formula::Value& value, const model::Format& format) {
  if (value.kind() == formula::ValueKind::Number && !format.numberFormat.empty()) {
    return formula::formatNumber(value.number(), format.numberFormat);
  }
  if (value.kind() == formula::ValueKind::Date && !format.dateFormat.empty()) {
    return formula::formatDate(value.date(), format.dateFormat);
  }
  return formula::toText(value);
}

Font fontOf(const model::Format& format) {
  Font font;
  font.name = format.fontName.empty() ? Text(u"Arial") : format.fontName;
  font.size = std::clamp<std::int32_t>(format.fontSize, 20, 20000);
  font.bold = format.bold;
  font.italic = format.italic;
  font.underline = format.underline;
  return font;
}

std::vector<LineSpan> wrapLines(TextMeasure& measure, const Font& font, TextView text, std::int32_t width,
                                std::size_t maxLines) {
  std::vector<LineSpan> lines;
  if (maxLines == 0) return lines;
  width = std::max<std::int32_t>(width, 1);
  const std::int32_t blank = measure.width(font, u" ");
  std::size_t at = 0;
  while (at <= text.size() && lines.size() < maxLines) {
    // One paragraph: up to the next line break.
    std::size_t end = at;
    while (end < text.size() && !isBreak(text[end])) ++end;
    LineSpan line{at, 0};
    std::int64_t used = 0;
    std::size_t pos = at;
    const std::size_t linesBefore = lines.size();
    bool paragraphDone = false;
    while (!paragraphDone && lines.size() < maxLines) {
      std::size_t blanks = pos;
      while (blanks < end && isBlank(text[blanks])) ++blanks;
      std::size_t wordEnd = blanks;
      while (wordEnd < end && !isBlank(text[wordEnd])) ++wordEnd;
      if (wordEnd == blanks) {  // nothing but blanks left
        if (line.length != 0 || lines.size() == linesBefore) lines.push_back(line);
        paragraphDone = true;
        break;
      }
      const std::int32_t wordWidth = wordWidthUpTo(measure, font, text.substr(blanks, wordEnd - blanks), width);
      const std::int64_t gap = line.length == 0 ? 0 : std::int64_t{blank} * static_cast<std::int64_t>(blanks - pos);
      if (line.length == 0 && wordWidth > width) {
        // A word longer than a line: as much of it as fits.
        const std::size_t fit = charactersThatFit(measure, font, text, blanks, width);
        lines.push_back(LineSpan{blanks, fit});
        pos = blanks + fit;
        line = LineSpan{pos, 0};
        used = 0;
        if (pos >= end) paragraphDone = true;
        continue;
      }
      if (line.length != 0 && used + gap + wordWidth > width) {
        lines.push_back(line);
        line = LineSpan{blanks, 0};
        used = 0;
        pos = blanks;
        continue;
      }
      if (line.length == 0) line.start = blanks;
      used += gap + wordWidth;
      line.length = wordEnd - line.start;
      pos = wordEnd;
    }
    // Past the line break ("\r\n" counts as one).
    if (end >= text.size()) break;
    at = end + (text[end] == u'\r' && end + 1 < text.size() && text[end + 1] == u'\n' ? 2 : 1);
  }
  return lines;
}

TextView firstLine(TextMeasure& measure, const Font& font, TextView text, std::int32_t width) {
  std::size_t end = 0;
  while (end < text.size() && !isBreak(text[end])) ++end;
  text = text.substr(0, end);
  if (text.empty()) return text;
  // Long texts are cut by measuring only what can be seen, after the last
  // whole character that fits.
  const std::size_t fit = charactersThatFit(measure, font, text, 0, std::max<std::int32_t>(width, 1));
  return text.substr(0, std::min(text.size(), fit));
}

}  // namespace mervane::engine::layout
