// Ordering values; see value_order.h.
#include "engine/formula/value_order.h"

namespace mervane::engine::formula {

int compareSameKind(const Value& a, const Value& b) {
  auto order = [](const auto& x, const auto& y) { return x < y ? -1 : (y < x ? 1 : 0); };
  switch (a.kind()) {
    case ValueKind::Number: return order(a.number(), b.number());
    case ValueKind::Text: return order(a.text(), b.text());
    case ValueKind::Boolean: return order(a.boolean(), b.boolean());
    case ValueKind::Date: return order(a.date().days, b.date().days);
    case ValueKind::Null: break;
  }
  return 0;
}

int compareValues(const Value& a, const Value& b) {
  if (a.kind() != b.kind()) return static_cast<int>(a.kind()) < static_cast<int>(b.kind()) ? -1 : 1;
  return compareSameKind(a, b);
}

void Extremes::add(const Value& value) {
  if (value.isNull()) return;
  if (minimum.isNull()) {
    minimum = maximum = value;
    return;
  }
  if (value.kind() != minimum.kind()) return;
  if (compareSameKind(value, minimum) < 0) minimum = value;
  if (compareSameKind(value, maximum) > 0) maximum = value;
}

}  // namespace mervane::engine::formula
