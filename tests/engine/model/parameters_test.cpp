// Report parameters: the texts their values are written as, what the
// Parameters dialog and the prompt refuse, the values a run sees, and that
// the definition keeps the parameters but never their values.
#include "engine/model/parameters.h"

#include <gtest/gtest.h>

#include "engine/formula/sql_filter.h"
#include "engine/model/definition_stream.h"

namespace mervane::engine::model {
namespace {

using formula::DateTime;
using formula::Value;

Parameter period() {
  Parameter p;
  p.name = u"Period";
  p.type = ParameterType::Date;
  p.range = true;
  p.defaultValue = u"2024-01-01";
  p.defaultTo = u"2024-03-31";
  return p;
}

TEST(Parameters, ValuesReadAndWriteInOneFormPerType) {
  EXPECT_EQ(parseParameterValue(ParameterType::Number, u" -1,234.5 "), Value(-1234.5));
  EXPECT_EQ(parseParameterValue(ParameterType::Date, u"2024-01-31"), Value(DateTime{45322}));
  EXPECT_EQ(parseParameterValue(ParameterType::DateTime, u"2024-01-31 12:00"), Value(DateTime{45322.5}));
  EXPECT_EQ(parseParameterValue(ParameterType::Boolean, u"yes"), Value(true));
  EXPECT_EQ(parseParameterValue(ParameterType::Text, u" as typed "), Value(u" as typed "));
  for (auto [type, text] : {std::pair{ParameterType::Number, u"abc"}, {ParameterType::Currency, u"1.2.3"},
                            {ParameterType::Date, u"2024-02-30"}, {ParameterType::Date, u"31/01/2024"},
                            {ParameterType::DateTime, u"2024-01-31 24:00"}, {ParameterType::Boolean, u"maybe"}}) {
    Text problem;
    EXPECT_FALSE(parseParameterValue(type, text, &problem)) << toUtf8(text);
    EXPECT_NE(problem.find(u"is not"), Text::npos);
  }
  EXPECT_EQ(storedText(ParameterType::DateTime, Value(DateTime{45322.5})), u"2024-01-31 12:00:00");
  EXPECT_EQ(storedText(ParameterType::Date, Value(DateTime{45322})), u"2024-01-31");
}

TEST(Parameters, DialogRefusesWhatCannotWorkInWords) {
  Parameter p;
  p.name = u"Limit";
  p.type = ParameterType::Number;
  p.defaultValue = u"abc";
  EXPECT_EQ(checkParameter(p, {}), u"The default value 'abc' is not a number.");
  p.defaultValue = u"10";
  EXPECT_EQ(checkParameter(p, {}), u"");
  EXPECT_EQ(checkParameter(p, {p}), u"The report already has a parameter named 'Limit'.");
  p.allowedValues = {u"5", u"20"};
  EXPECT_EQ(checkParameter(p, {}), u"The default value '10' is not one of the allowed values.");

  Parameter range = period();
  EXPECT_EQ(checkParameter(range, {}), u"");
  std::swap(range.defaultValue, range.defaultTo);
  EXPECT_EQ(checkParameter(range, {}), u"The default range ends before it starts.");
  range.type = ParameterType::Text;
  EXPECT_NE(checkParameter(range, {}), u"");
  Parameter unnamed;
  EXPECT_EQ(checkParameter(unnamed, {}), u"The parameter needs a name.");
  unnamed.name = u"a}b";
  EXPECT_NE(checkParameter(unnamed, {}), u"");
}

TEST(Parameters, PromptTakesOpenEndsButNotBackwardRanges) {
  Parameter p = period();
  p.prompt = u"Order dates";
  EXPECT_EQ(checkGivenValue(p, u"2024-02-01", u""), u"");
  EXPECT_EQ(checkGivenValue(p, u"2024-02-01", u"2024-01-01"), u"Order dates: the range ends before it starts.");
  EXPECT_EQ(checkGivenValue(p, u"Feb", u""), u"Order dates: 'Feb' is not a date (yyyy-mm-dd).");
  p.range = false;
  EXPECT_EQ(checkGivenValue(p, u" ", u""), u"Order dates: a value is needed.");
}

TEST(Parameters, RunSeesGivenValuesElseDefaults) {
  Parameter p = period();
  std::vector<Parameter> list{p};
  EXPECT_TRUE(needsPrompt(list));
  std::optional<formula::ParameterValue> v = ParameterValues(list).find(u"PERIOD");
  ASSERT_TRUE(v);
  EXPECT_TRUE(v->range);
  EXPECT_EQ(v->value, Value(DateTime{45292}));
  list[0].given = true;
  list[0].current = u"2024-02-01";
  list[0].currentTo = u"";
  EXPECT_FALSE(needsPrompt(list));
  v = ParameterValues(list).find(u"Period");
  EXPECT_EQ(v->value, Value(DateTime{45323}));
  EXPECT_TRUE(v->to.isNull());
  EXPECT_FALSE(ParameterValues(list).find(u"Other"));
}

// A subreport's own parameters are asked after the main report's, under
// its name; one named and typed as a main report parameter is not asked
// and takes its value. The subreport's filter sends its own parameter to
// the database as a bound value.
TEST(Parameters, SubreportsAskTheirOwnAndShareTheMainReportsLikeNamedOnes) {
  ReportDefinition main = blankReport();
  main.parameters = {period()};
  Parameter since;
  since.name = u"Since";
  since.type = ParameterType::Date;
  Parameter otherPeriod = period();  // the same name, but a number: a question of its own
  otherPeriod.name = u"PERIOD";
  otherPeriod.type = ParameterType::Number;
  otherPeriod.defaultValue = otherPeriod.defaultTo = u"";
  ReportObject orders;
  orders.kind = ObjectKind::Subreport;
  orders.subreport.name = u"Orders";
  ReportDefinition& sub = orders.subreport.definition.emplace();
  sub.parameters = {period(), since};
  sub.data.recordFilter = u"{Orders.OrderDate} >= {?Since} and {Orders.OrderDate} in {?Period}";
  main.sections[2].objects.push_back(orders);
  orders.subreport.name = u"Numbers";
  orders.subreport.definition->parameters = {otherPeriod};
  main.sections[3].objects.push_back(orders);

  std::vector<AskedParameter> asked = askedParameters(main);
  ASSERT_EQ(asked.size(), 3u);
  EXPECT_EQ(asked[0].subreport, u"");
  EXPECT_EQ(asked[1].subreport, u"Orders");
  EXPECT_EQ(asked[1].parameter.name, u"Since");
  EXPECT_EQ(asked[2].subreport, u"Numbers");
  EXPECT_TRUE(needsPrompt(main));
  asked[0].parameter.given = asked[1].parameter.given = asked[2].parameter.given = true;
  asked[0].parameter.current = u"2024-02-01";
  asked[1].parameter.current = u"2024-02-10";
  asked[2].parameter.current = u"7";
  keepAnswers(main, asked);
  EXPECT_FALSE(needsPrompt(main));
  const ReportDefinition& kept = *main.sections[2].objects[0].subreport.definition;
  EXPECT_EQ(kept.parameters[0].current, u"2024-02-01");  // the main report's value, kept beside it too

  ParameterValues seen = subreportParameterValues(main, kept);
  EXPECT_EQ(seen.find(u"Since")->value, Value(DateTime{45332}));
  EXPECT_EQ(seen.find(u"Period")->value, Value(DateTime{45323}));
  const ReportDefinition& numbers = *main.sections[3].objects[0].subreport.definition;
  EXPECT_EQ(subreportParameterValues(main, numbers).find(u"Period")->value, Value(7.0));

  ParameterContext context(seen);
  const auto filter = formula::toSqlFilter(*formula::Formula::parse(kept.data.recordFilter), {u"\""}, &context);
  EXPECT_TRUE(filter.exact);
  EXPECT_EQ(filter.where.find(u"2024"), Text::npos);  // values bound, never pasted into the text
  ASSERT_EQ(filter.parameters.size(), 2u);  // the period has no end given
  EXPECT_EQ(filter.parameters[0], Value(DateTime{45332}));

  forgetAnswers(main);
  EXPECT_TRUE(needsPrompt(main));
}

TEST(Parameters, AllowedChoicesAreDistinctAndSortedByValue) {
  Parameter p;
  p.type = ParameterType::Number;
  p.allowedValues = {u"10", u"9"};
  EXPECT_EQ(allowedChoices(p, {Value(100), Value(9), Value(), Value(u"x")}),
            (std::vector<Text>{u"9", u"10", u"100"}));
}

TEST(Parameters, DefinitionKeepsParametersButNotTheirValues) {
  ReportDefinition report = blankReport();
  Parameter p = period();
  p.prompt = u"Which orders?";
  p.allowedValues = {u"2024-01-01"};
  p.allowedFrom = FieldRef{u"Orders", u"OrderDate", {}};
  p.given = true;
  p.current = u"2023-01-01";
  report.parameters = {p};
  std::optional<ReportDefinition> back = readDefinition(writeDefinition(report)).definition;
  ASSERT_TRUE(back);
  p.given = false;
  p.current.clear();
  EXPECT_EQ(back->parameters, std::vector<Parameter>{p});
}

}  // namespace
}  // namespace mervane::engine::model
