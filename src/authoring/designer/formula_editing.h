// What the formula editor needs to know of the formula language besides
// checking: where a reported mistake lies in the editor's text, how the
// status line words it, and the functions and special values it offers for
// insertion at the caret.
#pragma once

#include <cstddef>
#include <span>

#include "base/text.h"
#include "engine/formula/formula.h"

namespace mervane::authoring {

// The 0-based offset in `text` of a position the formula language reports
// (line and column from 1, columns in UTF-16 code units, lines ending at
// '\n' whether or not a '\r' precedes it). A position past the end of its
// line or of the text gives the line's end or the text's end.
std::size_t offsetOf(TextView text, engine::formula::Position at);

// The part of the text to select for a mistake: the offending character, or
// an empty range at the end when the mistake is that the text stops short.
struct TextRange {
  std::size_t start = 0;
  std::size_t end = 0;
  bool operator==(const TextRange&) const = default;
};
TextRange mistakeRange(TextView text, engine::formula::Position at);

// The status line under the editor: "Line 2, column 5: Expected ')' ..."
// for a mistake, or kNoMistake when the check found none.
Text statusLine(const std::optional<engine::formula::FormulaError>& mistake);
inline constexpr const char16_t* kNoMistake = u"No mistakes found.";

// An entry of the editor's list of functions and special values: the text
// the list shows and the text a double-click inserts at the caret.
struct InsertableName {
  const char16_t* shown;     // "Left(text, length)"
  const char16_t* inserted;  // "Left("
};
std::span<const InsertableName> functionNames();
std::span<const InsertableName> specialValueNames();

}  // namespace mervane::authoring
