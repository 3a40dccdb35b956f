// The built-in functions of the formula language. Each takes its evaluated
// arguments (already counted by the parser) and the call's node for errors.
// Positions in texts count from 1, as in the host's own language.
#include <charconv>
#include <cmath>
#include <string>

#include "engine/formula/syntax.h"

namespace mervane::engine::formula {
namespace {

using Arguments = std::span<const Value>;

const Value& argument(Arguments arguments, std::size_t index, ValueKind kind, const Node& at) {
  const Value& value = arguments[index];
  if (value.kind() != kind) {
    fail(at, at.name + u" needs " + ascii(describe(kind)) + u" as argument " + decimal(static_cast<int>(index + 1)) +
                 u", not " + ascii(describe(value.kind())));
  }
  return value;
}
double number(Arguments a, std::size_t i, const Node& at) { return argument(a, i, ValueKind::Number, at).number(); }
const Text& text(Arguments a, std::size_t i, const Node& at) { return argument(a, i, ValueKind::Text, at).text(); }
DateTime date(Arguments a, std::size_t i, const Node& at) {
  DateTime value = argument(a, i, ValueKind::Date, at).date();
  if (!inCalendar(value.days)) fail(at, u"The date falls outside the years 100 to 9999");
  return value;
}

// A whole number of at least `least`, for lengths, positions and counts.
std::int64_t whole(Arguments a, std::size_t i, const Node& at, std::int64_t least) {
  double value = std::trunc(number(a, i, at));
  if (value < static_cast<double>(least) || value > 1e15) {
    fail(at, at.name + u" needs a whole number from " + decimal(least) + u" as argument " +
                 decimal(static_cast<int>(i + 1)));
  }
  return static_cast<std::int64_t>(value);
}

// Text functions.
Value left(Arguments a, const Node& at) {
  const Text& t = text(a, 0, at);
  return t.substr(0, static_cast<std::size_t>(std::min<std::int64_t>(whole(a, 1, at, 0), t.size())));
}
Value right(Arguments a, const Node& at) {
  const Text& t = text(a, 0, at);
  auto n = static_cast<std::size_t>(std::min<std::int64_t>(whole(a, 1, at, 0), t.size()));
  return t.substr(t.size() - n);
}
Value mid(Arguments a, const Node& at) {
  const Text& t = text(a, 0, at);
  auto start = static_cast<std::size_t>(std::min<std::int64_t>(whole(a, 1, at, 1) - 1, t.size()));
  std::int64_t length = a.size() > 2 ? whole(a, 2, at, 0) : static_cast<std::int64_t>(t.size());
  return t.substr(start, static_cast<std::size_t>(std::min<std::int64_t>(length, t.size())));
}
Value len(Arguments a, const Node& at) { return static_cast<double>(text(a, 0, at).size()); }
Value trimmed(Arguments a, const Node& at) { return trim(text(a, 0, at)); }
Value upperCase(Arguments a, const Node& at) { return upper(text(a, 0, at)); }
Value lowerCase(Arguments a, const Node& at) {
  Text t = text(a, 0, at);
  for (char16_t& c : t) {
    if ((c >= u'A' && c <= u'Z') || (c >= 0xC0 && c <= 0xDE && c != 0xD7)) c = static_cast<char16_t>(c + 32);
    else if (c >= 0x410 && c <= 0x42F) c = static_cast<char16_t>(c + 32);
    else if (c >= 0x391 && c <= 0x3A9 && c != 0x3A2) c = static_cast<char16_t>(c + 32);
  }
  return t;
}
Value replace(Arguments a, const Node& at) {
  const Text& t = text(a, 0, at);
  const Text& find = text(a, 1, at);
  const Text& with = text(a, 2, at);
  if (find.empty()) return t;
  std::size_t count = 0;
  for (std::size_t p = t.find(find); p != Text::npos; p = t.find(find, p + find.size())) ++count;
  if (with.size() > find.size() &&
      (t.size() > kMaxTextLength || count > (kMaxTextLength - t.size()) / (with.size() - find.size()))) {
    fail(at, u"The text would be too long");
  }
  Text out;
  std::size_t from = 0;
  for (std::size_t p = t.find(find); p != Text::npos; p = t.find(find, from)) {
    out.append(t, from, p - from);
    out += with;
    from = p + find.size();
  }
  out.append(t, from);
  return out;
}
// InStr(text, part) or InStr(start, text, part): the 1-based position, 0 when absent.
Value inStr(Arguments a, const Node& at) {
  std::size_t start = 0, base = 0;
  if (a.size() == 3) {
    start = static_cast<std::size_t>(whole(a, 0, at, 1) - 1);
    base = 1;
  }
  const Text& t = text(a, base, at);
  const Text& part = text(a, base + 1, at);
  if (start > t.size()) return 0.0;
  std::size_t found = t.find(part, start);
  return found == Text::npos ? 0.0 : static_cast<double>(found + 1);
}
Value startsWith(Arguments a, const Node& at) {
  const Text& t = text(a, 0, at);
  const Text& prefix = text(a, 1, at);
  return t.compare(0, prefix.size(), prefix) == 0 && t.size() >= prefix.size();
}
Value toTextFunction(Arguments a, const Node& at) {
  if (a.size() == 1) return toText(a[0]);
  const Text& pattern = text(a, 1, at);
  if (a[0].kind() == ValueKind::Number) return formatNumber(a[0].number(), pattern);
  if (a[0].kind() == ValueKind::Date) return formatDate(a[0].date(), pattern);
  fail(at, u"ToText with a format needs a number or a date, not " + ascii(describe(a[0].kind())));
}

// Number functions.
Value roundFunction(Arguments a, const Node& at) {
  double x = number(a, 0, at);
  double digits = a.size() > 1 ? std::trunc(number(a, 1, at)) : 0;
  if (digits < -15 || digits > 15) fail(at, u"Round takes from -15 to 15 digits");
  return roundTo(x, static_cast<int>(digits));
}
Value absFunction(Arguments a, const Node& at) { return std::fabs(number(a, 0, at)); }
Value intFunction(Arguments a, const Node& at) { return std::floor(number(a, 0, at)); }
Value toNumber(Arguments a, const Node& at) {
  if (a[0].kind() == ValueKind::Number) return a[0];
  if (a[0].kind() == ValueKind::Boolean) return a[0].boolean() ? 1.0 : 0.0;
  Text t = trim(text(a, 0, at));
  std::string narrow;
  bool readable = t.size() <= 400;
  for (char16_t c : t) {
    if (c > 0x7F) readable = false;
    if (!readable) break;
    narrow += static_cast<char>(c);
  }
  if (!readable) narrow.clear();
  std::size_t skip = !narrow.empty() && narrow[0] == '+' ? 1 : 0;
  double value = 0;
  auto result = std::from_chars(narrow.data() + skip, narrow.data() + narrow.size(), value);
  if (narrow.empty() || result.ec != std::errc() || result.ptr != narrow.data() + narrow.size() || !std::isfinite(value)) {
    Text shown = t.size() > 40 ? t.substr(0, 40) + u"..." : t;
    fail(at, u"ToNumber cannot read \"" + shown + u"\" as a number");
  }
  return value;
}

// Date functions.
Value year(Arguments a, const Node& at) { return civil(date(a, 0, at)).year; }
Value month(Arguments a, const Node& at) { return civil(date(a, 0, at)).month; }
Value day(Arguments a, const Node& at) { return civil(date(a, 0, at)).day; }
Value hour(Arguments a, const Node& at) { return civil(date(a, 0, at)).hour; }
Value minute(Arguments a, const Node& at) { return civil(date(a, 0, at)).minute; }
Value second(Arguments a, const Node& at) { return civil(date(a, 0, at)).second; }
// 1 for Sunday to 7 for Saturday.
Value dayOfWeek(Arguments a, const Node& at) {
  auto days = static_cast<std::int64_t>(std::floor(date(a, 0, at).days));
  return static_cast<double>(((days % 7) + 7 + 6) % 7 + 1);  // 30 December 1899 was a Saturday
}
Value makeDate(Arguments a, const Node& at) {
  double y = number(a, 0, at), m = number(a, 1, at), d = number(a, 2, at);
  bool whole = y == std::trunc(y) && m == std::trunc(m) && d == std::trunc(d) && std::fabs(y) < 1e6 &&
               std::fabs(m) < 1e6 && std::fabs(d) < 1e6;
  if (!whole || !isValidDate(static_cast<int>(y), static_cast<int>(m), static_cast<int>(d))) {
    fail(at, u"Date(" + toText(y) + u", " + toText(m) + u", " + toText(d) + u") is not a day of the calendar");
  }
  return DateTime{static_cast<double>(dayNumber(static_cast<int>(y), static_cast<int>(m), static_cast<int>(d)))};
}

// Intervals of DateAdd and DateDiff, as the host's language names them.
enum class Interval { Year, Quarter, Month, Week, Day, Hour, Minute, Second };
Interval interval(Arguments a, const Node& at) {
  static const struct { const char16_t* name; Interval interval; } kIntervals[] = {
      {u"yyyy", Interval::Year}, {u"q", Interval::Quarter}, {u"m", Interval::Month}, {u"ww", Interval::Week},
      {u"d", Interval::Day},     {u"h", Interval::Hour},    {u"n", Interval::Minute}, {u"s", Interval::Second}};
  const Text& name = text(a, 0, at);
  for (const auto& known : kIntervals) {
    if (equalsNoCase(name, known.name)) return known.interval;
  }
  fail(at, at.name + u" knows the intervals yyyy, q, m, ww, d, h, n and s, not \"" + name.substr(0, 20) + u"\"");
}

Value checkedDate(double days, const Node& at) {
  if (!inCalendar(days)) fail(at, u"The date falls outside the years 100 to 9999");
  return DateTime{days};
}

Value dateAdd(Arguments a, const Node& at) {
  Interval unit = interval(a, at);
  double n = number(a, 1, at);
  DateTime start = date(a, 2, at);
  if (std::fabs(n) > 1e8) fail(at, u"The date falls outside the years 100 to 9999");
  switch (unit) {
    case Interval::Day: return checkedDate(start.days + n, at);
    case Interval::Week: return checkedDate(start.days + 7 * n, at);
    case Interval::Hour: return checkedDate(start.days + n / 24, at);
    case Interval::Minute: return checkedDate(start.days + n / 1440, at);
    case Interval::Second: return checkedDate(start.days + n / 86400, at);
    default: break;
  }
  // Months keep the day, or the month's last day when it is shorter.
  auto months = static_cast<std::int64_t>(std::trunc(n)) * (unit == Interval::Year ? 12 : unit == Interval::Quarter ? 3 : 1);
  CivilTime from = civil(start);
  std::int64_t index = from.year * std::int64_t{12} + (from.month - 1) + months;
  if (index < 100 * 12 || index >= 10000 * 12) fail(at, u"The date falls outside the years 100 to 9999");
  int y = static_cast<int>(index / 12), m = static_cast<int>(index % 12 + 1);
  int d = std::min(from.day, daysInMonth(y, m));
  double timeOfDay = start.days - std::floor(start.days);
  return checkedDate(static_cast<double>(dayNumber(y, m, d)) + timeOfDay, at);
}

// Counts interval boundaries crossed from the first date to the second.
Value dateDiff(Arguments a, const Node& at) {
  Interval unit = interval(a, at);
  DateTime from = date(a, 1, at), to = date(a, 2, at);
  CivilTime f = civil(from), t = civil(to);
  double seconds = std::round((to.days - from.days) * 86400);
  switch (unit) {
    case Interval::Year: return static_cast<double>(t.year - f.year);
    case Interval::Quarter: return static_cast<double>((t.year * 4 + (t.month - 1) / 3) - (f.year * 4 + (f.month - 1) / 3));
    case Interval::Month: return static_cast<double>((t.year * 12 + t.month) - (f.year * 12 + f.month));
    case Interval::Week: return std::trunc((std::floor(to.days) - std::floor(from.days)) / 7);
    case Interval::Day: return std::floor(to.days) - std::floor(from.days);
    case Interval::Hour: return std::trunc(seconds / 3600);
    case Interval::Minute: return std::trunc(seconds / 60);
    case Interval::Second: return seconds;
  }
  return 0.0;
}

// A colour from its red, green and blue, each 0 to 255.
Value colour(Arguments a, const Node& at) {
  double result = 0;
  for (std::size_t i = 0; i < 3; ++i) {
    const double part = number(a, i, at);
    if (!(part >= 0 && part <= 255)) fail(at, u"Color takes red, green and blue from 0 to 255, not " + toText(part));
    result = result * 256 + std::round(part);
  }
  return result;
}

// Null tests.
Value isNull(Arguments a, const Node&) { return a[0].isNull(); }
Value ifNull(Arguments a, const Node&) { return a[0].isNull() ? a[1] : a[0]; }

const Function kFunctions[] = {
    {u"Left", 2, 2, true, left},
    {u"Right", 2, 2, true, right},
    {u"Mid", 2, 3, true, mid},
    {u"Len", 1, 1, true, len},
    {u"Trim", 1, 1, true, trimmed},
    {u"UpperCase", 1, 1, true, upperCase},
    {u"LowerCase", 1, 1, true, lowerCase},
    {u"Replace", 3, 3, true, replace},
    {u"InStr", 2, 3, true, inStr},
    {u"StartsWith", 2, 2, true, startsWith},
    {u"ToText", 1, 2, true, toTextFunction},
    {u"Round", 1, 2, true, roundFunction},
    {u"Abs", 1, 1, true, absFunction},
    {u"Int", 1, 1, true, intFunction},
    {u"ToNumber", 1, 1, true, toNumber},
    {u"Year", 1, 1, true, year},
    {u"Month", 1, 1, true, month},
    {u"Day", 1, 1, true, day},
    {u"Hour", 1, 1, true, hour},
    {u"Minute", 1, 1, true, minute},
    {u"Second", 1, 1, true, second},
    {u"DayOfWeek", 1, 1, true, dayOfWeek},
    {u"Date", 3, 3, true, makeDate},
    {u"DateAdd", 3, 3, true, dateAdd},
    {u"DateDiff", 3, 3, true, dateDiff},
    {u"Color", 3, 3, true, colour},
    {u"IsNull", 1, 1, false, isNull},
    {u"IfNull", 2, 2, false, ifNull},
};

}  // namespace

const Function* findFunction(TextView name) {
  for (const Function& function : kFunctions) {
    if (equalsNoCase(name, function.name)) return &function;
  }
  return nullptr;
}

}  // namespace mervane::engine::formula
