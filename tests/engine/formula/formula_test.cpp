// The formula language end to end: text in, value or positioned error out.
#include "engine/formula/formula.h"

#include "value_printer.h"

#include <gtest/gtest.h>

#include <map>
#include <utility>

namespace mervane::engine::formula {
namespace {

// A record of fields, the page's special values and the report's formulas.
class Record : public EvaluationContext {
 public:
  std::map<std::pair<Text, Text>, Value> fields;
  std::map<Text, std::shared_ptr<const Formula>> formulas;

  std::optional<Value> field(const Text& table, const Text& column) override {
    auto found = fields.find({table, column});
    if (found == fields.end()) return std::nullopt;
    return found->second;
  }
  std::optional<Value> special(SpecialValue which) override {
    if (which == SpecialValue::PageNumber) return Value(3);
    if (which == SpecialValue::TotalPageCount) return Value(12);
    if (which == SpecialValue::PrintDate) return Value(DateTime{45322});  // 2024-01-31
    return std::nullopt;
  }
  const Formula* formula(const Text& name) override {
    auto found = formulas.find(name);
    return found == formulas.end() ? nullptr : found->second.get();
  }
  std::map<Text, ParameterValue> parameters;
  std::optional<ParameterValue> parameter(const Text& name) override {
    auto found = parameters.find(name);
    if (found == parameters.end()) return std::nullopt;
    return found->second;
  }
};

Value run(TextView source, Record& record) { return Formula::parse(source)->evaluate(record); }
Value run(TextView source) {
  Record record;
  return run(source, record);
}

// The message of the error that reading or running the formula gives.
std::string error(TextView source, Record& record) {
  try {
    run(source, record);
  } catch (const FormulaError& e) {
    return e.what();
  }
  return "no error";
}
std::string error(TextView source) {
  Record record;
  return error(source, record);
}

TEST(Formula, PrecedenceAndAssociativity) {
  EXPECT_EQ(run(u"1 + 2 * 3"), Value(7));
  EXPECT_EQ(run(u"(1 + 2) * 3"), Value(9));
  EXPECT_EQ(run(u"10 - 4 - 3"), Value(3));
  EXPECT_EQ(run(u"12 / 3 / 2"), Value(2));
  EXPECT_EQ(run(u"-2 * -3"), Value(6));
  EXPECT_EQ(run(u"--2"), Value(2));
  EXPECT_EQ(run(u"1 + 2 & 3 + 4"), Value(u"37"));
  EXPECT_EQ(run(u"1 + 1 = 2 and not 3 < 2 or false"), Value(true));
  EXPECT_EQ(run(u"not true and false"), Value(false));
  EXPECT_EQ(run(u"true or true and false"), Value(true));
  EXPECT_EQ(run(u"if 1 > 2 then \"a\" else if 2 > 1 then \"b\" else \"c\""), Value(u"b"));
  EXPECT_EQ(run(u"10 + if true then 1 else 2"), Value(11));
  EXPECT_EQ(run(u"if false then 1"), Value());
  EXPECT_EQ(run(u"IF TRUE THEN .5 ELSE 0"), Value(0.5));
  EXPECT_EQ(run(u"'it''s' & \"say \"\"hi\"\"\""), Value(u"it'ssay \"hi\""));
}

TEST(Formula, FieldsFormulasAndSpecialValues) {
  Record record;
  record.fields[{u"Clients été", u"Nom \"court\" {x}"}] = Value(u"Ærø");
  record.fields[{u"Sales.2024", u"Net} amount"}] = Value(250);
  record.formulas[u"Tax"] = Formula::parse(u"{Sales..2024.Net}} amount} * 0.2");
  record.formulas[u"Gross"] = Formula::parse(u"{Sales..2024.Net}} amount} + {@Tax}");
  record.formulas[u"Loop"] = Formula::parse(u"{@Loop2} + 1");
  record.formulas[u"Loop2"] = Formula::parse(u"{@Loop}");

  EXPECT_EQ(run(u"{Clients été.Nom \"court\" {x}}}", record), Value(u"Ærø"));
  EXPECT_EQ(run(fieldReference(u"Clients été", u"Nom \"court\" {x}"), record), Value(u"Ærø"));
  EXPECT_EQ(run(fieldReference(u"Sales.2024", u"Net} amount"), record), Value(250));
  EXPECT_EQ(run(u"{@Gross}", record), Value(300));
  EXPECT_EQ(run(u"\"Page \" & PageNumber & \" of \" & totalpagecount", record), Value(u"Page 3 of 12"));
  EXPECT_EQ(run(u"Year(PrintDate)", record), Value(2024));

  EXPECT_EQ(error(u"{@Loop}", record), "In {@Loop2}: The formula {@Loop} uses itself, at column 1");
  EXPECT_EQ(error(u"1 + {T.Missing}", record), "The report has no field {T.Missing}, at column 5");
  EXPECT_EQ(error(u"{@Nope}", record), "The report has no formula {@Nope}, at column 1");
  EXPECT_EQ(error(u"RecordNumber", record), "This value is not known here, at column 1");
}

TEST(Formula, ParametersRangesAndIn) {
  Record r;
  r.parameters[u"Period"] = ParameterValue{Value(DateTime{45292}), true, Value()};  // from 2024-01-01, open
  r.parameters[u"Region"] = ParameterValue{Value(u"North"), false, Value()};
  r.fields[{u"O", u"Day"}] = Value(DateTime{45322});
  EXPECT_EQ(run(u"{O.Day} in {?Period}", r), Value(true));
  EXPECT_EQ(run(u"Date(2023, 12, 31) in {?Period}", r), Value(false));
  EXPECT_EQ(run(u"null in {?Period}", r), Value());
  EXPECT_EQ(run(u"\"North\" in {?Region} and {?Region} = \"North\"", r), Value(true));
  EXPECT_EQ(run(u"Minimum({?Period})", r), Value(DateTime{45292}));
  // A range of days takes in its last day's times too, and no later.
  r.parameters[u"March"] = ParameterValue{Value(DateTime{45352}), true, Value(DateTime{45382}), true};
  EXPECT_EQ(run(u"(Date(2024, 3, 31) + 0.75) in {?March}", r), Value(true));
  EXPECT_EQ(run(u"Date(2024, 4, 1) in {?March}", r), Value(false));
  EXPECT_EQ(run(u"Maximum({?Period})", r), Value());
  EXPECT_EQ(run(u"\"From \" & {?Period}", r), Value(u"From 2024-01-01 - "));
  auto error = [&](TextView source) {
    try {
      run(source, r);
    } catch (const FormulaError& e) {
      return e.message();
    }
    return Text(u"no error");
  };
  EXPECT_EQ(error(u"{?Nobody} + 1"), u"The report has no parameter {?Nobody}, at column 1");
  EXPECT_EQ(error(u"1 in 2"), u"Expected a parameter {?Name} after 'in', found a number, at column 6");
  EXPECT_EQ(error(u"1 in {?Period}"), u"Cannot compare a number and a date, at column 3");
}

TEST(Formula, RunningTotalsColoursAndTheCurrentValue) {
  class Totals : public Record {
   public:
    std::optional<Value> runningTotal(const Text& name) override {
      if (name == u"Balance") return Value(-12.5);
      return std::nullopt;
    }
    std::optional<Value> special(SpecialValue which) override {
      if (which == SpecialValue::CurrentFieldValue) return Value(-3);
      return Record::special(which);
    }
  } record;
  EXPECT_EQ(run(u"if {#Balance} < 0 then crRed else crBlack", record), Value(0xFF0000));
  EXPECT_EQ(run(u"if CurrentFieldValue < 0 then CRRED else crGray", record), Value(0xFF0000));
  EXPECT_EQ(run(u"Color(18, 52, 86)"), Value(0x123456));
  EXPECT_EQ(error(u"{#Nope} + 1", record), "The report has no running total {#Nope}, at column 1");
  EXPECT_EQ(error(u"1 + {#}"), "Expected a running total's name after '{#', at column 5");
  EXPECT_EQ(error(u"Color(1, 2, 256)"), "Color takes red, green and blue from 0 to 255, not 256, at column 1");
  // A formula's context that knows nothing of running totals.
  EXPECT_EQ(error(u"{#Balance}"), "The report has no running total {#Balance}, at column 1");
}

TEST(Formula, SyntaxErrorsSayWhatAndWhere) {
  EXPECT_EQ(error(u"Left(\"abc\", 2 \"x\""), "Expected ')' after the arguments of Left, found a text, at column 15");
  EXPECT_EQ(error(u"(1 + 2"), "Expected ')' to close the '(' at column 1, found the end of the formula, at column 7");
  EXPECT_EQ(error(u"1 +"), "Expected a value, found the end of the formula, at column 4");
  EXPECT_EQ(error(u"1 2"), "Expected an operator or the end of the formula, found a number, at column 3");
  EXPECT_EQ(error(u"if 1 2"), "Expected 'then' after the condition of 'if', found a number, at column 6");
  EXPECT_EQ(error(u"\"abc"), "This text has no closing quote, at column 1");
  EXPECT_EQ(error(u"1 +\n  {T.x"), "This reference has no closing '}', at line 2, column 3");
  EXPECT_EQ(error(u"{Column}"), "Expected a field as {Table.Column}, at column 1");
  EXPECT_EQ(error(u"{T.}"), "A field needs both a table and a column, as {Table.Column}, at column 1");
  EXPECT_EQ(error(u"2 # 3"), "Unexpected character '#', at column 3");
  EXPECT_EQ(error(u"Foo(1)"), "There is no function called Foo, at column 1");
  EXPECT_EQ(error(u"Len + 1"), "Expected '(' and the arguments of Len, found '+', at column 5");
  EXPECT_EQ(error(u"Amount * 2"), "Unknown name Amount; fields are written {Table.Column} and formulas {@Name}, at column 1");
  EXPECT_EQ(error(u"Mid(\"a\")"), "Mid takes 2 or 3 arguments, not 1, at column 1");
  EXPECT_EQ(error(u"Len(\"a\", 2)"), "Len takes 1 argument, not 2, at column 1");
  EXPECT_EQ(error(u"1 < 2 < 3"), "Comparisons cannot follow one another; join them with 'and', at column 7");
  EXPECT_EQ(error(u"   "), "The formula is empty, at column 4");
  EXPECT_FALSE(check(u"UpperCase({T.a}) & \"x\"").has_value());
  EXPECT_EQ(check(u"1 + )")->position().column, 5);
}

TEST(Formula, DeepNestingIsAnErrorNotACrash) {
  EXPECT_NE(error(Text(100000, u'(') + u"1" + Text(100000, u')')).find("nested too deeply"), std::string::npos);
  EXPECT_NE(error(Text(100000, u'-') + u"1").find("nested too deeply"), std::string::npos);
  Text chain = u"1";
  for (int i = 0; i < 5000; ++i) chain += u" + 1";
  EXPECT_NE(error(chain).find("nested too deeply"), std::string::npos);
  Text fine = u"0";
  for (int i = 0; i < 200; ++i) fine += u" + 1";
  EXPECT_EQ(run(fine), Value(200));
}

TEST(Formula, RuntimeErrorsPointAtTheOperation) {
  EXPECT_EQ(error(u"1 + 10 / (5 - 5)"), "Division by zero, at column 8");
  EXPECT_EQ(error(u"1 + \"a\""), "Cannot use + with a number and a text, at column 3");
  EXPECT_EQ(error(u"\"a\" < 1"), "Cannot compare a text and a number, at column 5");
  EXPECT_EQ(error(u"1 and true"), "and needs true or false, not a number, at column 3");
  EXPECT_EQ(error(u"if 1 then 2 else 3"), "The condition of 'if' must be true or false, not a number, at column 4");
  EXPECT_EQ(error(u"Left(1, 2)"), "Left needs a text as argument 1, not a number, at column 1");
  EXPECT_EQ(error(u"Left(\"a\", -1)"), "Left needs a whole number from 0 as argument 2, at column 1");
  EXPECT_EQ(error(u"ToNumber(\"12abc\")"), "ToNumber cannot read \"12abc\" as a number, at column 1");
  EXPECT_EQ(error(u"Date(2023, 2, 29)"), "Date(2023, 2, 29) is not a day of the calendar, at column 1");
  EXPECT_EQ(error(u"Date(9999, 12, 31) + 1"), "The date falls outside the years 100 to 9999, at column 20");
  EXPECT_EQ(error(Text(400, u'9') + u" * 1"), "The number is too large, at column 1");
  EXPECT_EQ(error(u"ToNumber(\"1e308\") * 10"), "The result is too large for a number, at column 19");
  // The right side of and/or is not evaluated when the left decides.
  Record record;
  record.fields[{u"T", u"n"}] = Value(0);
  EXPECT_EQ(run(u"{T.n} <> 0 and 10 / {T.n} > 1", record), Value(false));
  EXPECT_EQ(run(u"{T.n} = 0 or 10 / {T.n} > 1", record), Value(true));
}

TEST(Formula, NullsPropagateAsDocumented) {
  Record record;
  record.fields[{u"T", u"x"}] = Value();
  record.fields[{u"T", u"s"}] = Value(u"a");
  for (const char16_t* source : {u"{T.x} + 1", u"-{T.x}", u"{T.x} * 0", u"1 / {T.x}", u"{T.x} = {T.x}",
                                 u"{T.x} <> 1", u"not {T.x}", u"Len({T.x})", u"Left({T.s}, {T.x})",
                                 u"Date(2024, {T.x}, 1)", u"ToText({T.x}, \"0.00\")", u"{T.x} and true",
                                 u"true and {T.x}", u"{T.x} or false", u"if false then 1 else {T.x}"}) {
    EXPECT_EQ(run(source, record), Value()) << toUtf8(source);
  }
  EXPECT_EQ(run(u"{T.x} and false", record), Value(false));
  EXPECT_EQ(run(u"{T.x} or true", record), Value(true));
  EXPECT_EQ(run(u"\"[\" & {T.x} & \"]\"", record), Value(u"[]"));
  EXPECT_EQ(run(u"if {T.x} then 1 else 2", record), Value(2));
  EXPECT_EQ(run(u"IsNull({T.x}) and not IsNull({T.s})", record), Value(true));
  EXPECT_EQ(run(u"IfNull({T.x}, \"none\")", record), Value(u"none"));
  EXPECT_EQ(run(u"IfNull({T.s}, \"none\")", record), Value(u"a"));
  EXPECT_FALSE(Formula::parse(u"{T.x} = 1")->selects(record));
  EXPECT_FALSE(Formula::parse(u"not ({T.x} = 1)")->selects(record));
  EXPECT_FALSE(Formula::parse(u"{T.s}")->selects(record));
  EXPECT_TRUE(Formula::parse(u"{T.s} = \"a\"")->selects(record));
}

TEST(Formula, TextFunctions) {
  EXPECT_EQ(run(u"Left(\"abcdef\", 2) & Right(\"abcdef\", 2) & Mid(\"abcdef\", 3, 2) & Mid(\"abcdef\", 5)"),
            Value(u"abefcdef"));
  EXPECT_EQ(run(u"Left(\"ab\", 10) & Right(\"ab\", 10) & Mid(\"ab\", 10) & \"|\""), Value(u"abab|"));
  EXPECT_EQ(run(u"Len(\"çà\") + Len(\"\")"), Value(2));
  EXPECT_EQ(run(u"\"[\" & Trim(\"  a b  \") & \"]\""), Value(u"[a b]"));
  EXPECT_EQ(run(u"UpperCase(\"straße ça\") & LowerCase(\"ÉCOLE Ωμ\")"), Value(u"STRAßE ÇAécole ωμ"));
  EXPECT_EQ(run(u"Replace(\"a.b.c\", \".\", \"--\")"), Value(u"a--b--c"));
  EXPECT_EQ(run(u"Replace(\"aaa\", \"\", \"x\")"), Value(u"aaa"));
  EXPECT_EQ(run(u"InStr(\"abcabc\", \"c\") * 10 + InStr(4, \"abcabc\", \"c\") + InStr(\"abc\", \"z\")"), Value(36));
  EXPECT_EQ(run(u"StartsWith(\"abc\", \"ab\") and not StartsWith(\"a\", \"ab\")"), Value(true));
}

TEST(Formula, NumbersAndTheirTexts) {
  EXPECT_EQ(run(u"Round(2.5) & \" \" & Round(-2.5) & \" \" & Round(3.14159, 2) & \" \" & Round(1250, -2)"),
            Value(u"3 -3 3.14 1300"));
  EXPECT_EQ(run(u"Abs(-4) + Int(-1.5) + Int(1.5)"), Value(3));
  EXPECT_EQ(run(u"ToNumber(\" 12.5 \") + ToNumber(\"-2\")"), Value(10.5));
  EXPECT_EQ(run(u"ToText(0.1 + 0.2) & \" \" & ToText(1234567) & \" \" & ToText(true)"),
            Value(u"0.3 1234567 True"));
  EXPECT_EQ(run(u"ToText(1234567.891, \"#,##0.00\")"), Value(u"1,234,567.89"));
  EXPECT_EQ(run(u"ToText(-0.5, \"0\") & \"|\" & ToText(-0.001, \"0.00\") & \"|\" & ToText(7, \"000\")"),
            Value(u"-1|0.00|007"));
  EXPECT_EQ(run(u"ToText(.25, \"#.## kg\") & \"|\" & ToText(42, \"$#,##0\")"), Value(u".25 kg|$42"));
}

TEST(Formula, Dates) {
  EXPECT_EQ(run(u"Date(2024, 2, 29) - Date(2023, 2, 28)"), Value(366));
  EXPECT_EQ(run(u"ToText(Date(1899, 12, 30) + 0.75, \"yyyy-MM-dd HH:mm:ss tt h\")"),
            Value(u"1899-12-30 18:00:00 PM 6"));
  EXPECT_EQ(run(u"ToText(Date(1850, 3, 7), \"d MMMM yy, 'week' ddd\")"), Value(u"7 March 50, week 07"));
  EXPECT_EQ(run(u"ToText(Date(2024, 1, 31))"), Value(u"2024-01-31"));
  EXPECT_EQ(run(u"Year(Date(100, 1, 1)) + Month(Date(9999, 12, 31)) + Day(Date(2000, 2, 29))"), Value(141));
  EXPECT_EQ(run(u"DayOfWeek(Date(2024, 1, 7)) & DayOfWeek(Date(1800, 1, 1))"), Value(u"14"));
  EXPECT_EQ(run(u"ToText(DateAdd(\"m\", 1, Date(2024, 1, 31)))"), Value(u"2024-02-29"));
  EXPECT_EQ(run(u"ToText(DateAdd(\"yyyy\", -1, Date(2024, 2, 29)))"), Value(u"2023-02-28"));
  EXPECT_EQ(run(u"ToText(DateAdd(\"d\", 40, Date(2024, 1, 31)))"), Value(u"2024-03-11"));
  EXPECT_EQ(run(u"ToText(DateAdd(\"h\", 30, Date(2024, 1, 31)), \"yyyy-MM-dd HH:mm\")"), Value(u"2024-02-01 06:00"));
  EXPECT_EQ(run(u"DateDiff(\"d\", Date(2024, 1, 1), Date(2024, 3, 1)) & \" \" & "
                u"DateDiff(\"m\", Date(2023, 12, 31), Date(2024, 1, 1))"),
            Value(u"60 1"));
  EXPECT_EQ(error(u"DateAdd(\"x\", 1, Date(2024, 1, 1))"),
            "DateAdd knows the intervals yyyy, q, m, ww, d, h, n and s, not \"x\", at column 1");
  EXPECT_EQ(error(u"DateAdd(\"yyyy\", 9000, Date(2024, 1, 1))"),
            "The date falls outside the years 100 to 9999, at column 1");
}

TEST(Formula, MegabyteTexts) {
  Record record;
  Text big(1 << 20, u'a');
  big[500000] = u'é';
  record.fields[{u"T", u"big"}] = Value(big);
  EXPECT_EQ(run(u"Len({T.big} & {T.big})", record), Value(2 << 20));
  EXPECT_EQ(run(u"InStr({T.big}, \"é\")", record), Value(500001));
  EXPECT_EQ(run(u"Len(Replace({T.big}, \"a\", \"bb\"))", record), Value(2 * (1 << 20) - 1));
  EXPECT_EQ(error(u"Replace({T.big}, \"a\", {T.big})", record), "The text would be too long, at column 1");
  EXPECT_EQ(run(u"Len(\"" + big + u"\")"), Value(1 << 20));
  // Doubling through formulas stops at the longest text allowed.
  for (int i = 0; i < 30; ++i) {
    record.formulas[u"F" + decimal(i)] =
        Formula::parse(i == 0 ? Text(u"{T.big}") : u"{@F" + decimal(i - 1) + u"} & {@F" + decimal(i - 1) + u"}");
  }
  EXPECT_EQ(error(u"{@F29}", record), "In {@F5}: The text would be too long, at column 7");
}

}  // namespace
}  // namespace mervane::engine::formula
