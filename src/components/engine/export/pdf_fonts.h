// The standard PDF fonts the PDF export writes text in: which of the twelve
// (Helvetica, Times, Courier, each plain, bold, italic and bold italic)
// stands for a report font, their widths for aligning text, and the
// WinAnsiEncoding that keeps accented Latin letters letters.
#pragma once

#include <cstdint>
#include <string>

#include "base/text.h"
#include "components/engine/layout/display_list.h"

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

}  // namespace mervane::engine::exporting
