// Record filters pushed down to SQL: what is pushed, what is kept for the
// engine, and that hostile names and texts never become SQL text.
#include "engine/formula/sql_filter.h"

#include "value_printer.h"

#include <gtest/gtest.h>

namespace mervane::engine::formula {
namespace {

SqlFilter sql(TextView filter, Text quote = u"\"") { return toSqlFilter(*Formula::parse(filter), SqlNaming{quote}); }

TEST(SqlFilter, ExactConditions) {
  SqlFilter f = sql(u"{Orders.Amount} >= 100 and not ({Orders.Paid} = true or IsNull({Orders.Due}))");
  EXPECT_EQ(f.where, u"(\"Orders\".\"Amount\" >= ? AND (NOT (\"Orders\".\"Paid\" = ? OR (\"Orders\".\"Due\" IS NULL))))");
  EXPECT_EQ(f.parameters, (std::vector<Value>{Value(100), Value(true)}));
  EXPECT_TRUE(f.exact);

  // Constants are evaluated once and bound, whichever side they are on.
  f = sql(u"Date(2024, 1, 1) + 30 < {O.Day} or -5 * 2 <> {O.n} or {O.n} = null");
  EXPECT_EQ(f.where, u"((? < \"O\".\"Day\" OR ? <> \"O\".\"n\") OR \"O\".\"n\" = ?)");
  EXPECT_EQ(f.parameters, (std::vector<Value>{Value(DateTime{45322}), Value(-10), Value()}));
  EXPECT_TRUE(f.exact);

  EXPECT_EQ(sql(u"1 = 1").where, u"1 = 1");
  EXPECT_EQ(sql(u"not false and {T.a} > 1").where, u"(1 = 1 AND \"T\".\"a\" > ?)");
  EXPECT_EQ(sql(u"not ({T.a} > 1 or false)").where, u"(NOT (\"T\".\"a\" > ? OR 1 = 0))");
}

TEST(SqlFilter, TextConditionsOnlyWidenAndAreRechecked) {
  SqlFilter f = sql(u"{C.Name} = \"Zoë\" and StartsWith({C.Code}, \"A_1%![x\")");
  EXPECT_EQ(f.where, u"(\"C\".\"Name\" = ? AND \"C\".\"Code\" LIKE ? ESCAPE '!')");
  EXPECT_EQ(f.parameters, (std::vector<Value>{Value(u"Zoë"), Value(u"A!_1!%!!![x%")}));
  EXPECT_FALSE(f.exact);
  // Under "not", or with an order, a collation could drop records the
  // formula keeps: not pushed down.
  EXPECT_TRUE(sql(u"not ({C.Name} = \"a\")").where.empty());
  EXPECT_TRUE(sql(u"{C.Name} <> \"a\"").where.empty());
  EXPECT_TRUE(sql(u"{C.Name} < \"m\"").where.empty());
  EXPECT_TRUE(sql(u"not StartsWith({C.Name}, \"a\")").where.empty());
  EXPECT_TRUE(sql(u"{A.x} > {B.y}").where.empty());
  EXPECT_EQ(sql(u"{A.x} = {B.y}").where, u"\"A\".\"x\" = \"B\".\"y\"");
}

TEST(SqlFilter, PartsTheDatabaseCannotTestStayWithTheEngine) {
  SqlFilter f = sql(u"{T.a} > 1 and Len({T.b}) > 3 and {T.c} = 2");
  EXPECT_EQ(f.where, u"(\"T\".\"a\" > ? AND \"T\".\"c\" = ?)");
  EXPECT_EQ(f.parameters, (std::vector<Value>{Value(1), Value(2)}));
  EXPECT_FALSE(f.exact);
  for (const char16_t* filter : {u"{T.a} > 1 or Len({T.b}) > 3", u"not ({T.a} > 1 and Len({T.b}) > 3)",
                                 u"{T.flag}", u"if {T.a} > 1 then true else false", u"{T.a} + 1 > 2",
                                 u"{T.a} > PageNumber", u"{@Other} = 1", u"{T.a} = 1 / 0"}) {
    SqlFilter none = sql(filter);
    EXPECT_TRUE(none.where.empty()) << toUtf8(filter);
    EXPECT_TRUE(none.parameters.empty()) << toUtf8(filter);
    EXPECT_FALSE(none.exact) << toUtf8(filter);
  }
}

TEST(SqlFilter, HostileNamesAndTextsStayHarmless) {
  // A text that would close the literal and add a statement is a parameter.
  SqlFilter f = sql(u"{T.name} = \"x'; DROP TABLE Orders; --\" or {T.n} = 1");
  EXPECT_EQ(f.where, u"(\"T\".\"name\" = ? OR \"T\".\"n\" = ?)");
  EXPECT_EQ(f.parameters[0], Value(u"x'; DROP TABLE Orders; --"));

  // Quote characters inside names are doubled; non-ASCII names are kept.
  f = sql(fieldReference(u"Ordres \"été\"", u"Montant\"; DROP TABLE x; --") + u" > 0");
  EXPECT_EQ(f.where, u"\"Ordres \"\"été\"\"\".\"Montant\"\"; DROP TABLE x; --\" > ?");
  EXPECT_EQ(sql(u"{a`b.c} > 0", u"`").where, u"`a``b`.`c` > ?");

  // Without a quote character only plain names go to the database.
  EXPECT_EQ(sql(u"{Orders.Amount_2} > 0", u" ").where, u"Orders.Amount_2 > ?");
  EXPECT_TRUE(sql(u"{Orders.Amount 2} > 0", u"").where.empty());
  EXPECT_TRUE(sql(u"{Orders.2nd} > 0", u"").where.empty());
  EXPECT_TRUE(sql(u"{Orders.été} > 0", u"").where.empty());
  // A NUL would cut the statement short in the driver.
  EXPECT_TRUE(sql(u"{T.a" + Text(1, u'\0') + u"b} > 0").where.empty());
}

// Answers parameters only: a date range, a single text, an open range.
class Parameters : public EvaluationContext {
 public:
  std::optional<Value> field(const Text&, const Text&) override { return std::nullopt; }
  std::optional<Value> special(SpecialValue) override { return std::nullopt; }
  const Formula* formula(const Text&) override { return nullptr; }
  std::optional<ParameterValue> parameter(const Text& name) override {
    if (name == u"Period") return ParameterValue{Value(DateTime{45292}), true, Value(DateTime{45382})};
    if (name == u"From") return ParameterValue{Value(DateTime{45292}), true, Value()};
    if (name == u"Days") return ParameterValue{Value(DateTime{45292}), true, Value(DateTime{45382}), true};
    if (name == u"Who") return ParameterValue{Value(u"x'; DROP TABLE t; --"), false, Value()};
    return std::nullopt;
  }
};

TEST(SqlFilter, ParametersAreBoundValuesNeverSqlText) {
  Parameters given;
  auto with = [&](TextView filter) { return toSqlFilter(*Formula::parse(filter), SqlNaming{}, &given); };
  SqlFilter f = with(u"{O.Day} in {?Period} and {O.Total} > Maximum({?Period}) - Minimum({?Period})");
  EXPECT_EQ(f.where, u"((\"O\".\"Day\" >= ? AND \"O\".\"Day\" <= ?) AND \"O\".\"Total\" > ?)");
  EXPECT_EQ(f.parameters, (std::vector<Value>{Value(DateTime{45292}), Value(DateTime{45382}), Value(90)}));
  EXPECT_TRUE(f.exact);
  EXPECT_EQ(with(u"{O.Day} in {?From}").where, u"(\"O\".\"Day\" >= ?)");
  // A range of days takes in the whole of its last day.
  f = with(u"{O.Day} in {?Days}");
  EXPECT_EQ(f.where, u"(\"O\".\"Day\" >= ? AND \"O\".\"Day\" < ?)");
  EXPECT_EQ(f.parameters, (std::vector<Value>{Value(DateTime{45292}), Value(DateTime{45383})}));

  f = with(u"{O.Name} = {?Who}");
  EXPECT_EQ(f.where, u"\"O\".\"Name\" = ?");
  EXPECT_EQ(f.parameters, std::vector<Value>{Value(u"x'; DROP TABLE t; --")});
  EXPECT_FALSE(f.exact);
  // An unknown parameter, or none given at all, leaves the filter to the engine.
  EXPECT_TRUE(with(u"{O.Day} in {?Nobody}").where.empty());
  EXPECT_TRUE(sql(u"{O.Day} in {?Period}").where.empty());
}

}  // namespace
}  // namespace mervane::engine::formula
