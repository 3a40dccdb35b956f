// Parameter rules (see parameters.h).
#include "engine/model/parameters.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>

#include "engine/formula/value_order.h"

namespace mervane::engine::model {
namespace {

using formula::Value;
using formula::ValueKind;

bool digit(char16_t c) { return c >= u'0' && c <= u'9'; }

std::optional<double> parseNumber(TextView text) {
  std::string ascii;
  bool digits = false, point = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    char16_t c = text[i];
    if (digit(c)) {
      digits = true;
      ascii.push_back(static_cast<char>(c));
    } else if ((c == u'-' || c == u'+') && i == 0) {
      ascii.push_back(static_cast<char>(c));
    } else if (c == u'.' && !point) {
      point = true;
      ascii.push_back('.');
    } else if (c == u',' && !point && digits && i + 1 < text.size() && digit(text[i + 1])) {
      // thousands
    } else {
      return std::nullopt;
    }
  }
  if (!digits) return std::nullopt;
  const double value = std::strtod(ascii.c_str(), nullptr);
  if (!std::isfinite(value)) return std::nullopt;
  return value;
}

// Reads `count` digits at `at`.
std::optional<int> digitsAt(TextView text, std::size_t at, std::size_t count) {
  if (at + count > text.size()) return std::nullopt;
  int value = 0;
  for (std::size_t i = at; i < at + count; ++i) {
    if (!digit(text[i])) return std::nullopt;
    value = value * 10 + (text[i] - u'0');
  }
  return value;
}

std::optional<double> parseDate(TextView text) {
  if (text.size() != 10 || text[4] != u'-' || text[7] != u'-') return std::nullopt;
  auto year = digitsAt(text, 0, 4), month = digitsAt(text, 5, 2), day = digitsAt(text, 8, 2);
  if (!year || !month || !day || *year < 100 || !formula::isValidDate(*year, *month, *day)) return std::nullopt;
  return static_cast<double>(formula::dayNumber(*year, *month, *day));
}

std::optional<double> parseDateTime(TextView text) {
  std::optional<double> day = parseDate(text.substr(0, std::min<std::size_t>(text.size(), 10)));
  if (!day) return std::nullopt;
  if (text.size() == 10) return day;
  if ((text.size() != 16 && text.size() != 19) || text[10] != u' ' || text[13] != u':') return std::nullopt;
  auto hour = digitsAt(text, 11, 2), minute = digitsAt(text, 14, 2);
  std::optional<int> second = 0;
  if (text.size() == 19) second = text[16] == u':' ? digitsAt(text, 17, 2) : std::nullopt;
  if (!hour || !minute || !second || *hour > 23 || *minute > 59 || *second > 59) return std::nullopt;
  return *day + (*hour * 3600 + *minute * 60 + *second) / 86400.0;
}

Text two(int n) { return Text(1, static_cast<char16_t>(u'0' + n / 10)) + static_cast<char16_t>(u'0' + n % 10); }

}  // namespace

Text describe(ParameterType type) {
  switch (type) {
    case ParameterType::Text: return u"a text";
    case ParameterType::Number: return u"a number";
    case ParameterType::Currency: return u"an amount";
    case ParameterType::Date: return u"a date (yyyy-mm-dd)";
    case ParameterType::DateTime: return u"a date and time (yyyy-mm-dd hh:mm)";
    case ParameterType::Boolean: return u"yes or no";
  }
  return u"a value";
}

Text typeName(ParameterType type) {
  switch (type) {
    case ParameterType::Text: return u"Text";
    case ParameterType::Number: return u"Number";
    case ParameterType::Currency: return u"Currency";
    case ParameterType::Date: return u"Date";
    case ParameterType::DateTime: return u"Date and time";
    case ParameterType::Boolean: return u"Yes/No";
  }
  return u"Unknown";
}

bool rangeAllowed(ParameterType type) {
  return type == ParameterType::Number || type == ParameterType::Currency || type == ParameterType::Date ||
         type == ParameterType::DateTime;
}

std::optional<Value> parseParameterValue(ParameterType type, TextView text, Text* problem) {
  const Text trimmed = type == ParameterType::Text ? Text(text) : trim(text);
  std::optional<Value> value;
  switch (type) {
    case ParameterType::Text: value = Value(trimmed); break;
    case ParameterType::Number:
    case ParameterType::Currency:
      if (auto n = parseNumber(trimmed)) value = Value(*n);
      break;
    case ParameterType::Date:
      if (auto d = parseDate(trimmed)) value = Value(formula::DateTime{*d});
      break;
    case ParameterType::DateTime:
      if (auto d = parseDateTime(trimmed)) value = Value(formula::DateTime{*d});
      break;
    case ParameterType::Boolean:
      if (equalsNoCase(trimmed, u"True") || equalsNoCase(trimmed, u"Yes")) value = Value(true);
      if (equalsNoCase(trimmed, u"False") || equalsNoCase(trimmed, u"No")) value = Value(false);
      break;
  }
  if (!value && problem) *problem = u"'" + Text(text) + u"' is not " + describe(type) + u".";
  return value;
}

Text storedText(ParameterType type, const Value& value) {
  if (value.kind() == ValueKind::Date) {
    formula::CivilTime t = formula::civil(value.date());
    Text out = decimal(t.year) + u"-" + two(t.month) + u"-" + two(t.day);
    if (type == ParameterType::DateTime) out += u" " + two(t.hour) + u":" + two(t.minute) + u":" + two(t.second);
    return out;
  }
  return formula::toText(value);
}

Text checkParameter(const Parameter& p, const std::vector<Parameter>& others) {
  const Text name = trim(p.name);
  if (name.empty()) return u"The parameter needs a name.";
  if (name != p.name) return u"The name of a parameter cannot start or end with blanks.";
  for (char16_t c : name)
    if (c == u'{' || c == u'}' || c < 32) return u"The name '" + name + u"' holds a character names cannot hold.";
  if (static_cast<std::int32_t>(p.type) < 1 || static_cast<std::int32_t>(p.type) > 6)
    return u"The parameter's type is not one this program knows.";
  for (const Parameter& other : others)
    if (equalsNoCase(other.name, name)) return u"The report already has a parameter named '" + name + u"'.";
  if (p.range && !rangeAllowed(p.type)) return u"Only numbers, amounts and dates can be asked for as a range.";
  auto valueOk = [&](const Text& text, const Text& what) -> Text {
    Text problem;
    if (text.empty() || parseParameterValue(p.type, text, &problem)) return u"";
    return u"The " + what + u" '" + text + u"' is not " + describe(p.type) + u".";
  };
  for (const Text& v : p.allowedValues) {
    Text problem = valueOk(v, u"allowed value");
    if (!problem.empty()) return problem;
  }
  Text problem = valueOk(p.defaultValue, u"default value");
  if (problem.empty() && p.range) problem = valueOk(p.defaultTo, u"default value");
  if (!problem.empty()) return problem;
  if (!p.allowedValues.empty() && !p.range && !p.defaultValue.empty() &&
      std::find(p.allowedValues.begin(), p.allowedValues.end(), p.defaultValue) == p.allowedValues.end())
    return u"The default value '" + p.defaultValue + u"' is not one of the allowed values.";
  if (p.range && !p.defaultValue.empty() && !p.defaultTo.empty()) {
    Value from = *parseParameterValue(p.type, p.defaultValue), to = *parseParameterValue(p.type, p.defaultTo);
    if (formula::compareSameKind(from, to) > 0) return u"The default range ends before it starts.";
  }
  return u"";
}

Text checkGivenValue(const Parameter& p, TextView from, TextView to) {
  const Text label = isBlank(p.prompt) ? p.name : trim(p.prompt);
  std::optional<Value> a, b;
  Text problem;
  if (!trim(from).empty() || (!p.range && p.type == ParameterType::Text)) {
    a = parseParameterValue(p.type, from, &problem);
    if (!a) return label + u": " + problem;
  }
  if (!p.range) {
    if (!a) return label + u": a value is needed.";
    return u"";
  }
  if (!trim(to).empty()) {
    b = parseParameterValue(p.type, to, &problem);
    if (!b) return label + u": " + problem;
  }
  if (a && b && formula::compareSameKind(*a, *b) > 0) return label + u": the range ends before it starts.";
  return u"";
}

std::vector<Text> allowedChoices(const Parameter& p, const std::vector<Value>& read) {
  std::vector<Value> values;
  for (const Text& t : p.allowedValues)
    if (auto v = parseParameterValue(p.type, t)) values.push_back(*v);
  for (const Value& v : read) {
    if (v.isNull()) continue;
    // A column's values become the parameter's type by their text.
    if (auto typed = parseParameterValue(p.type, storedText(p.type, v))) values.push_back(*typed);
  }
  std::sort(values.begin(), values.end(),
            [](const Value& a, const Value& b) { return formula::compareSameKind(a, b) < 0; });
  values.erase(std::unique(values.begin(), values.end()), values.end());
  std::vector<Text> out;
  for (const Value& v : values) out.push_back(storedText(p.type, v));
  return out;
}

ParameterValues::ParameterValues(const std::vector<Parameter>& parameters) {
  for (const Parameter& p : parameters) {
    const Text& from = p.given ? p.current : p.defaultValue;
    const Text& to = p.given ? p.currentTo : p.defaultTo;
    formula::ParameterValue value;
    value.range = p.range;
    value.wholeDays = p.range && p.type == ParameterType::Date;
    auto read = [&](const Text& text) {
      if (text.empty() && p.type != ParameterType::Text) return Value();
      return parseParameterValue(p.type, text).value_or(Value());
    };
    value.value = read(from);
    if (p.range) value.to = read(to);
    values_.emplace_back(caseFoldKey(p.name), std::move(value));
  }
}

std::optional<formula::ParameterValue> ParameterValues::find(TextView name) const {
  const Text key = caseFoldKey(name);
  for (const auto& [k, v] : values_)
    if (k == key) return v;
  return std::nullopt;
}

bool needsPrompt(const std::vector<Parameter>& parameters) {
  return std::any_of(parameters.begin(), parameters.end(), [](const Parameter& p) { return !p.given; });
}

const Parameter* findParameter(const std::vector<Parameter>& parameters, TextView name) {
  for (const Parameter& p : parameters)
    if (equalsNoCase(p.name, name)) return &p;
  return nullptr;
}

void ParameterValues::append(const ParameterValues& more) {
  for (const auto& entry : more.values_)
    if (std::none_of(values_.begin(), values_.end(), [&](const auto& kept) { return kept.first == entry.first; }))
      values_.push_back(entry);
}

namespace {

// The main report's subreports that have a definition, in printing order.
template <typename Definition, typename Visit>
void eachSubreport(Definition& main, Visit visit) {
  for (auto& section : main.sections)
    for (auto& object : section.objects)
      if (object.kind == ObjectKind::Subreport && object.subreport.definition)
        visit(object.subreport.name, *object.subreport.definition);
}

// The main report's parameter a subreport parameter shares, or null.
const Parameter* sharedWithMain(const ReportDefinition& main, const Parameter& p) {
  const Parameter* same = findParameter(main.parameters, p.name);
  return same && same->type == p.type && same->range == p.range ? same : nullptr;
}

}  // namespace

std::vector<AskedParameter> askedParameters(const ReportDefinition& main) {
  std::vector<AskedParameter> asked;
  for (const Parameter& p : main.parameters) asked.push_back({p, Text()});
  eachSubreport(main, [&](const Text& name, const ReportDefinition& sub) {
    for (const Parameter& p : sub.parameters)
      if (!sharedWithMain(main, p)) asked.push_back({p, name});
  });
  return asked;
}

bool needsPrompt(const ReportDefinition& main) {
  const auto asked = askedParameters(main);
  return std::any_of(asked.begin(), asked.end(), [](const AskedParameter& a) { return !a.parameter.given; });
}

void keepAnswers(ReportDefinition& main, const std::vector<AskedParameter>& answered) {
  std::size_t next = 0;
  const auto take = [&](Parameter& kept) {
    if (next >= answered.size()) return;
    const Parameter& a = answered[next++].parameter;
    kept.given = a.given;
    kept.current = a.current;
    kept.currentTo = a.currentTo;
  };
  for (Parameter& p : main.parameters) take(p);
  eachSubreport(main, [&](const Text&, ReportDefinition& sub) {
    for (Parameter& p : sub.parameters) {
      if (const Parameter* same = sharedWithMain(main, p)) {
        p.given = same->given;
        p.current = same->current;
        p.currentTo = same->currentTo;
      } else {
        take(p);
      }
    }
  });
}

void forgetAnswers(ReportDefinition& main) {
  for (Parameter& p : main.parameters) p.given = false;
  eachSubreport(main, [](const Text&, ReportDefinition& sub) {
    for (Parameter& p : sub.parameters) p.given = false;
  });
}

ParameterValues subreportParameterValues(const ReportDefinition& main, const ReportDefinition& subreport) {
  std::vector<Parameter> own = subreport.parameters;
  for (Parameter& p : own)
    if (const Parameter* same = sharedWithMain(main, p)) p = *same;
  ParameterValues values(own);
  values.append(ParameterValues(main.parameters));
  return values;
}

}  // namespace mervane::engine::model
