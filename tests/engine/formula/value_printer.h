// Formula values in test failure messages.
#pragma once

#include <ostream>

#include "engine/formula/value.h"

namespace mervane::engine::formula {

inline void PrintTo(const Value& value, std::ostream* out) {
  if (value.kind() == ValueKind::Text) {
    *out << '"' << toUtf8(value.text().substr(0, 200)) << '"';
  } else {
    *out << describe(value.kind()) << ' ' << toUtf8(toText(value));
  }
}

}  // namespace mervane::engine::formula
