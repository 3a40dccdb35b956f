// Values of the formula language and the calendar they use.
//
// A value is null, a number (double), a text (UTF-16), a boolean or a date
// and time. A date and time is a count of days since 30 December 1899 at
// midnight, the fraction being the time of day (0.5 is noon), the same
// origin as the automation runtime's dates; unlike them the count is plain
// and continuous before that origin too (-0.25 is 29 December 1899, 18:00).
// Dates run from 1 January 100 to 31 December 9999.
#pragma once

#include <cstdint>
#include <string>
#include <variant>

#include "base/text.h"

namespace mervane::engine::formula {

struct DateTime {
  double days = 0;
  friend bool operator==(const DateTime&, const DateTime&) = default;
};

enum class ValueKind { Null, Number, Text, Boolean, Date };

class Value {
 public:
  Value() = default;
  Value(double number) : data_(number) {}
  Value(int number) : data_(static_cast<double>(number)) {}
  Value(Text text) : data_(std::move(text)) {}
  Value(const char16_t* text) : data_(Text(text)) {}
  Value(bool boolean) : data_(boolean) {}
  Value(DateTime date) : data_(date) {}

  ValueKind kind() const { return static_cast<ValueKind>(data_.index()); }
  bool isNull() const { return kind() == ValueKind::Null; }
  double number() const { return std::get<double>(data_); }
  const Text& text() const { return std::get<Text>(data_); }
  bool boolean() const { return std::get<bool>(data_); }
  DateTime date() const { return std::get<DateTime>(data_); }

  friend bool operator==(const Value&, const Value&) = default;

 private:
  std::variant<std::monostate, double, Text, bool, DateTime> data_;
};

// "a number", "a text", ... for messages.
const char* describe(ValueKind kind);

// The calendar. Days are counted as in DateTime.
constexpr double kFirstDay = -657434;   // 1 January 100
constexpr double kLastDay = 2958466;    // 1 January 10000 (exclusive)

struct CivilTime {
  int year = 1899, month = 12, day = 30;
  int hour = 0, minute = 0, second = 0;
};

bool isValidDate(int year, int month, int day);
int daysInMonth(int year, int month);
// Whole days for a calendar day (no range check).
std::int64_t dayNumber(int year, int month, int day);
// Splits a date into calendar fields, rounded to the second. Dates outside
// the calendar are taken as its first or last day.
CivilTime civil(DateTime date);
bool inCalendar(double days);

// Rounds to that many decimals (to tens, hundreds... when negative), halves
// away from zero.
double roundTo(double number, int decimals);

// Texts of values, as ToText writes them without a format: numbers with up
// to 15 significant digits, booleans as True and False, dates as yyyy-MM-dd
// (with HH:mm:ss when there is a time of day), null as an empty text.
Text toText(const Value& value);
// Numbers with a pattern: literal text around a run of '#', '0', ',' and
// '.' ("#,##0.00", "0", "0.0 kg", "$#,##0"). The count of '0' and '#' after
// the '.' is the count of decimals; a ',' in the run groups thousands; the
// count of '0' before the '.' is the least count of integer digits.
Text formatNumber(double number, TextView pattern);
// Dates with a pattern: yyyy, yy, MMMM, MMM, MM, M, dd, d, HH, H, hh, h, mm,
// ss, tt (AM/PM); text in single quotes and any other character as it is.
Text formatDate(DateTime date, TextView pattern);

}  // namespace mervane::engine::formula
