// The rules of a report's parameters: how their values are written as
// texts, what a parameter must be to be kept, what a value given in the
// prompt must be, and the values formulas see when the report runs.
//
// Values are texts in one form per type, the form the definition keeps
// them in:
//   text        as it is
//   number,     "12", "-3.5", "1234.56" (a '.' for decimals; a ',' between
//   currency    thousands is read and dropped)
//   date        "2024-01-31"
//   date-time   "2024-01-31 14:30" or "2024-01-31 14:30:00"; a date alone
//               is its midnight
//   yes/no      "True", "False", "Yes" or "No" (letter case ignored)
// An empty text is no value: an empty end of a range is no limit, and an
// empty single value is null (a text parameter's is the empty text).
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "engine/formula/formula.h"
#include "engine/model/report_definition.h"

namespace mervane::engine::model {

// "a text", "a number", "an amount", "a date", "a date and time", "yes or no".
Text describe(ParameterType type);
// "Text", "Number", ... as the dialogs list them, in the order of the type
// codes (1 to 6).
Text typeName(ParameterType type);
bool rangeAllowed(ParameterType type);

// The value a text stands for; nothing when it is not a value of that type
// (`problem` then says why in words, e.g. "'abc' is not a number").
std::optional<formula::Value> parseParameterValue(ParameterType type, TextView text, Text* problem = nullptr);
// A value in the stored form of that type (the inverse of parsing).
Text storedText(ParameterType type, const formula::Value& value);

// What keeps a parameter, as the Parameters dialog would keep it, from being
// kept; empty when nothing does. `others` are the report's other parameters
// (for the name's uniqueness).
Text checkParameter(const Parameter& parameter, const std::vector<Parameter>& others);

// What keeps values given in the prompt from being taken; empty when
// nothing does. `to` counts only for a range.
Text checkGivenValue(const Parameter& parameter, TextView from, TextView to);

// The values a list of allowed values offers: typed in ones, then `read`
// (a column's values), without repeats, sorted by value.
std::vector<Text> allowedChoices(const Parameter& parameter, const std::vector<formula::Value>& read = {});

// The values formulas see while the report runs: each parameter's given
// value, or its default while none is given.
class ParameterValues {
 public:
  ParameterValues() = default;
  explicit ParameterValues(const std::vector<Parameter>& parameters);
  std::optional<formula::ParameterValue> find(TextView name) const;
  bool empty() const { return values_.empty(); }
  // The values of `more` after these, each name kept once (these first).
  void append(const ParameterValues& more);

 private:
  std::vector<std::pair<Text, formula::ParameterValue>> values_;  // by case-folded name
};

// A context that answers a report's parameters and nothing else (for the
// record filter's translation to SQL).
class ParameterContext final : public formula::EvaluationContext {
 public:
  explicit ParameterContext(const ParameterValues& values) : values_(values) {}
  std::optional<formula::Value> field(const Text&, const Text&) override { return std::nullopt; }
  std::optional<formula::Value> special(formula::SpecialValue) override { return std::nullopt; }
  const formula::Formula* formula(const Text&) override { return nullptr; }
  std::optional<formula::ParameterValue> parameter(const Text& name) override { return values_.find(name); }

 private:
  const ParameterValues& values_;
};

// Whether the report has parameters whose values are still to be asked for.
bool needsPrompt(const std::vector<Parameter>& parameters);

// A report's subreports have parameters of their own, asked in the same
// prompt as the main report's. A subreport parameter with the same name
// (letter case ignored), type and range as one of the main report's is
// the same question: it is not asked again and takes the main report's
// value, as a report writer who names them alike expects. One with the
// same name but another type is a question of its own.
struct AskedParameter {
  Parameter parameter;
  Text subreport;  // the subreport's name; empty: the main report's
};
// What one prompt asks: the main report's parameters, then those of each
// subreport of the main report that are its own, in the order the
// subreports stand in the report.
std::vector<AskedParameter> askedParameters(const ReportDefinition& main);
bool needsPrompt(const ReportDefinition& main);
// The answers, in the order askedParameters() gave, kept in the report
// (given and current values only: never saved).
void keepAnswers(ReportDefinition& main, const std::vector<AskedParameter>& answered);
// Every answer forgotten, so that the prompt asks again.
void forgetAnswers(ReportDefinition& main);
// The values a subreport's formulas, filter and texts see: its own
// parameters (the main report's value for one it shares), then the main
// report's.
ParameterValues subreportParameterValues(const ReportDefinition& main, const ReportDefinition& subreport);

// The parameter of that name (letter case ignored), or null.
const Parameter* findParameter(const std::vector<Parameter>& parameters, TextView name);

}  // namespace mervane::engine::model
