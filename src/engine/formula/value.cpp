// Values of the formula language: the calendar and the texts of values.
#include "engine/formula/value.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace mervane::engine::formula {
namespace {

const char16_t* const kMonthNames[] = {u"January", u"February", u"March",     u"April",   u"May",      u"June",
                                       u"July",    u"August",   u"September", u"October", u"November", u"December"};

Text padded(int value, int width) {
  Text digits = decimal(value);
  while (static_cast<int>(digits.size()) < width) digits.insert(digits.begin(), u'0');
  return digits;
}

// Fixed notation with the given decimals, independent of the C locale.
std::string fixed(double number, int decimals) {
  char buffer[400];
  auto result = std::to_chars(buffer, buffer + sizeof buffer, number, std::chars_format::fixed, decimals);
  return std::string(buffer, result.ptr);
}

}  // namespace

const char* describe(ValueKind kind) {
  switch (kind) {
    case ValueKind::Null: return "null";
    case ValueKind::Number: return "a number";
    case ValueKind::Text: return "a text";
    case ValueKind::Boolean: return "a boolean";
    case ValueKind::Date: return "a date";
  }
  return "a value";
}

static bool isLeapYear(int year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

int daysInMonth(int year, int month) {
  static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && isLeapYear(year) ? 29 : days[month - 1];
}

bool isValidDate(int year, int month, int day) {
  return year >= 100 && year <= 9999 && month >= 1 && month <= 12 && day >= 1 && day <= daysInMonth(year, month);
}

// Days from civil, after H. Hinnant's algorithm, moved to our origin.
std::int64_t dayNumber(int year, int month, int day) {
  std::int64_t y = year - (month <= 2 ? 1 : 0);
  std::int64_t era = (y >= 0 ? y : y - 399) / 400;
  std::int64_t yearOfEra = y - era * 400;
  std::int64_t dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * 146097 + dayOfEra - 719468 + 25569;
}

bool inCalendar(double days) { return std::isfinite(days) && days >= kFirstDay && days < kLastDay; }

CivilTime civil(DateTime date) {
  // Dates from outside (a database, a host) may lie beyond the calendar;
  // they are held to its ends rather than overflow the arithmetic below.
  double days = std::isnan(date.days) ? 0 : std::clamp(date.days, kFirstDay, kLastDay - 1);
  std::int64_t seconds = std::llround(days * 86400.0);
  std::int64_t whole = seconds >= 0 ? seconds / 86400 : -((-seconds + 86399) / 86400);
  std::int64_t secondOfDay = seconds - whole * 86400;
  std::int64_t z = whole - 25569 + 719468;
  std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  std::int64_t dayOfEra = z - era * 146097;
  std::int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  std::int64_t mp = (5 * dayOfYear + 2) / 153;
  CivilTime time;
  time.day = static_cast<int>(dayOfYear - (153 * mp + 2) / 5 + 1);
  time.month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
  time.year = static_cast<int>(yearOfEra + era * 400 + (time.month <= 2 ? 1 : 0));
  time.hour = static_cast<int>(secondOfDay / 3600);
  time.minute = static_cast<int>(secondOfDay / 60 % 60);
  time.second = static_cast<int>(secondOfDay % 60);
  return time;
}

double roundTo(double number, int decimals) {
  double scale = std::pow(10.0, decimals < 0 ? -decimals : decimals);
  double scaled = decimals < 0 ? number / scale : number * scale;
  if (!std::isfinite(scaled) || std::fabs(scaled) >= 1e15) return number;  // nothing left to round
  double rounded = std::round(scaled);
  return decimals < 0 ? rounded * scale : rounded / scale;
}

Text toText(const Value& value) {
  switch (value.kind()) {
    case ValueKind::Null: return Text();
    case ValueKind::Text: return value.text();
    case ValueKind::Boolean: return value.boolean() ? u"True" : u"False";
    case ValueKind::Date: {
      CivilTime time = civil(value.date());
      bool hasTime = time.hour != 0 || time.minute != 0 || time.second != 0;
      return formatDate(value.date(), hasTime ? u"yyyy-MM-dd HH:mm:ss" : u"yyyy-MM-dd");
    }
    case ValueKind::Number: {
      double number = value.number() == 0 ? 0 : value.number();
      char buffer[64];
      auto result = std::to_chars(buffer, buffer + sizeof buffer, number, std::chars_format::general, 15);
      return ascii(std::string_view(buffer, static_cast<std::size_t>(result.ptr - buffer)));
    }
  }
  return Text();
}

Text formatNumber(double number, TextView pattern) {
  auto isPatternChar = [](char16_t c) { return c == u'#' || c == u'0' || c == u',' || c == u'.'; };
  std::size_t begin = 0;
  while (begin < pattern.size() && !isPatternChar(pattern[begin])) ++begin;
  std::size_t end = begin;
  while (end < pattern.size() && isPatternChar(pattern[end])) ++end;
  TextView run = pattern.substr(begin, end - begin);

  std::size_t point = run.find(u'.');
  int decimals = 0, minimumDigits = 0;
  bool grouping = false;
  for (std::size_t i = 0; i < run.size(); ++i) {
    char16_t c = run[i];
    if (point != TextView::npos && i > point) {
      if (c == u'0' || c == u'#') ++decimals;
    } else if (c == u'0') {
      ++minimumDigits;
    } else if (c == u',') {
      grouping = true;
    }
  }
  if (decimals > 15) decimals = 15;

  std::string digits = fixed(std::fabs(roundTo(number, decimals)), decimals);
  std::string integer = digits.substr(0, digits.find('.'));
  std::string fraction = decimals > 0 ? digits.substr(integer.size()) : std::string();
  if (integer == "0" && minimumDigits == 0 && !fraction.empty()) integer.clear();
  while (static_cast<int>(integer.size()) < minimumDigits) integer.insert(integer.begin(), '0');
  if (grouping) {
    for (int i = static_cast<int>(integer.size()) - 3; i > 0; i -= 3) integer.insert(static_cast<std::size_t>(i), 1, ',');
  }
  bool negative = number < 0 && digits.find_first_not_of("0.") != std::string::npos;

  Text out(pattern.substr(0, begin));
  if (negative) out += u'-';
  out += ascii(integer + fraction);
  if (integer.empty() && fraction.empty()) out += u'0';
  out += pattern.substr(end);
  return out;
}

Text formatDate(DateTime date, TextView pattern) {
  CivilTime time = civil(date);
  Text out;
  std::size_t i = 0;
  auto run = [&](char16_t c) {
    std::size_t n = 0;
    while (i + n < pattern.size() && pattern[i + n] == c) ++n;
    return n;
  };
  while (i < pattern.size()) {
    char16_t c = pattern[i];
    std::size_t n = run(c);
    if (c == u'\'') {
      std::size_t close = pattern.find(u'\'', i + 1);
      if (close == TextView::npos) close = pattern.size();
      out += pattern.substr(i + 1, close - i - 1);
      i = close + 1;
      continue;
    }
    switch (c) {
      case u'y': out += n >= 3 ? padded(time.year, 4) : padded(time.year % 100, 2); break;
      case u'M':
        if (n >= 4) out += kMonthNames[time.month - 1];
        else if (n == 3) out += Text(kMonthNames[time.month - 1]).substr(0, 3);
        else out += padded(time.month, static_cast<int>(n));
        break;
      case u'd': out += padded(time.day, n >= 2 ? 2 : 1); break;
      case u'H': out += padded(time.hour, n >= 2 ? 2 : 1); break;
      case u'h': out += padded((time.hour + 11) % 12 + 1, n >= 2 ? 2 : 1); break;
      case u'm': out += padded(time.minute, n >= 2 ? 2 : 1); break;
      case u's': out += padded(time.second, n >= 2 ? 2 : 1); break;
      case u't': out += time.hour < 12 ? u"AM" : u"PM"; break;
      default: out.append(n, c); break;
    }
    i += n;
  }
  return out;
}

}  // namespace mervane::engine::formula
