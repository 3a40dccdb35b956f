// Record filters pushed down to the database as a WHERE condition.
//
// The translation covers comparisons of a field with a constant, IsNull of
// a field, StartsWith of a field and a constant text, a field "in" a
// parameter, and "and", "or" and "not" over those; a constant is any part of
// the formula without fields, formulas or special values (Date(2024, 1, 1),
// -5, "a" & "b", {?Name} when the parameters' values are given), evaluated
// once here. Constants always become bound parameters ('?' in the text,
// values in `parameters` in order) and names are always quoted, so no text
// of the formula ever becomes SQL text.
//
// Databases compare texts by their own collation (ignoring case, or
// trailing blanks, or accents), so a text comparison in SQL may select more
// rows than the formula would. Such conditions (= with a text, a field
// with a field, StartsWith) are pushed down only where selecting more rows
// is harmless (never under "not"), and the result is then marked inexact.
// When a filter has parts that cannot be pushed down, the parts joined by a
// top-level "and" that can are still pushed down, also inexact.
#pragma once

#include <vector>

#include "engine/formula/formula.h"

namespace mervane::engine::formula {

struct SqlFilter {
  // The WHERE condition, without the word WHERE; empty when no part of the
  // filter could be pushed down.
  Text where;
  std::vector<Value> parameters;
  // True: the database selects exactly the records the formula selects.
  // False: it selects at least those, and the engine must still test each
  // record with the formula.
  bool exact = false;
};

struct SqlNaming {
  // The driver's identifier quote character; an empty or blank text when it
  // quotes nothing (then only plain ASCII names can be pushed down).
  Text quote = u"\"";
};

// Never throws for a parsed formula. `parameters` answers the report's
// parameters (and nothing else); without it a filter using one is left to
// the engine.
SqlFilter toSqlFilter(const Formula& filter, const SqlNaming& naming, EvaluationContext* parameters = nullptr);

}  // namespace mervane::engine::formula
