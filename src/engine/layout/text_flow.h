// Texts for the page: values in their formats, and texts broken into the
// lines that fit a box.
#pragma once

#include <cstddef>
#include <vector>

#include "engine/formula/value.h"
#include "engine/layout/text_measure.h"
#include "engine/model/report_definition.h"

namespace mervane::engine::layout {

// A value as the report shows it: numbers and dates in the object's format
// when it has one, other values as the formula language writes them.
Text displayText(const formula::Value& value, const model::Format& format);

Font fontOf(const model::Format& format);

struct LineSpan {
  std::size_t start = 0;
  std::size_t length = 0;
};

// Breaks `text` into lines no wider than `width`: at line breaks, between
// words, and inside a word too long for a line. Blanks at the end of a
// line are dropped. Stops after `maxLines` lines (the rest would not be
// seen), so a text of a megabyte costs no more than the lines it shows.
std::vector<LineSpan> wrapLines(TextMeasure& measure, const Font& font, TextView text, std::int32_t width,
                                std::size_t maxLines);

// The first line of `text` up to the last whole character that fits `width`
// (at least one character).
TextView firstLine(TextMeasure& measure, const Font& font, TextView text, std::int32_t width);

}  // namespace mervane::engine::layout
