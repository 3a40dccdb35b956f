// How the engine orders values, in one place for the formulas, the data
// and the page layout.
//
// Values of one kind compare by value: numbers and dates as numbers, texts
// by their UTF-16 code units, false before true. Values of different kinds
// do not compare: a formula that tries is in error, and a minimum or
// maximum passes such a value over. Only sorting needs every pair ordered:
// there nulls come first, then numbers, texts, booleans and dates.
#pragma once

#include "engine/formula/value.h"

namespace mervane::engine::formula {

// Negative, zero or positive; both values of one kind (two nulls are equal).
int compareSameKind(const Value& a, const Value& b);

// The sort order over all values: by kind, then by value.
int compareValues(const Value& a, const Value& b);

// The smallest and largest of the values added so far. Nulls are passed
// over; the first other value sets the kind, and values of another kind
// cannot be compared with it, so they are passed over too.
struct Extremes {
  Value minimum;
  Value maximum;
  void add(const Value& value);
};

}  // namespace mervane::engine::formula
