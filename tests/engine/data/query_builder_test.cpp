// The report's SELECT, written without a database: quoting, joins, the
// filter and matches as parameters, the order, the aggregates. Also the
// delimited text reader and the engine's own summaries.
#include <gtest/gtest.h>

#include "engine/data/delimited_text.h"
#include "engine/data/odbc_data_provider.h"
#include "engine/data/query_builder.h"
#include "engine/formula/sql_filter.h"

namespace mervane::engine::data {
namespace {

using formula::Value;

model::FieldRef field(Text table, Text column) {
  model::FieldRef f;
  f.table = std::move(table);
  f.column = std::move(column);
  return f;
}

model::TableLink link(model::FieldRef from, model::FieldRef to, model::JoinType join) {
  model::TableLink l;
  l.from = std::move(from);
  l.to = std::move(to);
  l.join = join;
  return l;
}

TEST(QueryBuilder, WritesTheSelectOfAReport) {
  struct Case {
    const char* what;
    QuerySpec spec;
    Text sql;
    std::vector<Value> parameters;
  };
  QuerySpec plain;
  plain.tables = {{u"C", u"Customers"}};
  plain.columns = {field(u"C", u"Name")};

  QuerySpec hostile;
  hostile.tables = {{u"Straße \"Ø\" 1", u"dbo.Straße \"Ø\" 1"}};
  hostile.columns = {field(u"Straße \"Ø\" 1", u"Näme mit Leerzeichen")};
  hostile.order = {{field(u"Straße \"Ø\" 1", u"Quote\"d"), model::SortDirection::Descending}};

  QuerySpec joins;
  joins.tables = {{u"C", u"Customers"}, {u"O", u"Orders"}, {u"L", u"Order Lines"}, {u"P", u"Products"}};
  joins.links = {link(field(u"C", u"CustomerID"), field(u"O", u"CustomerID"), model::JoinType::Inner),
                 link(field(u"L", u"OrderID"), field(u"O", u"OrderID"), model::JoinType::LeftOuter),
                 link(field(u"L", u"ProductID"), field(u"P", u"ProductID"), model::JoinType::FullOuter)};
  joins.columns = {field(u"C", u"Name"), field(u"L", u"Amount")};

  QuerySpec filtered = plain;
  auto injecting = formula::Formula::parse(u"{C.Name} = \"x'); DROP TABLE Customers; --\" and {C.Limit} > 5");
  formula::SqlFilter where = formula::toSqlFilter(*injecting, {});
  filtered.filter = where.where;
  filtered.filterParameters = where.parameters;
  filtered.matches = {{field(u"C", u"Region"), Value(u"Süd")}, {field(u"C", u"Country"), Value()}};

  QuerySpec totals = plain;
  totals.aggregates = {{field(u"C", u"Limit"), model::SummaryOperation::Sum},
                       {field(u"C", u"Limit"), model::SummaryOperation::Average},
                       {field(u"C", u"Name"), model::SummaryOperation::DistinctCount},
                       {field(u"C", u"Name"), model::SummaryOperation::Maximum}};
  totals.order = {{field(u"C", u"Name"), model::SortDirection::Ascending}};

  QuerySpec unlinked;
  unlinked.tables = {{u"A", u"A"}, {u"B", u"B"}};
  unlinked.columns = {field(u"A", u"x"), field(u"B", u"y")};
  unlinked.quote = u"`";

  std::vector<Case> cases{
      {"one table", plain, u"SELECT \"C\".\"Name\" FROM \"Customers\" AS \"C\"", {}},
      {"names with blanks, quotes and accents; a qualified location",
       hostile,
       u"SELECT \"Straße \"\"Ø\"\" 1\".\"Näme mit Leerzeichen\" FROM \"dbo\".\"Straße \"\"Ø\"\" 1\" AS "
       u"\"Straße \"\"Ø\"\" 1\" ORDER BY \"Straße \"\"Ø\"\" 1\".\"Quote\"\"d\" DESC",
       {}},
      {"joins in report order, outer sides turned when the link names the new table first",
       joins,
       u"SELECT \"C\".\"Name\", \"L\".\"Amount\" FROM \"Customers\" AS \"C\" INNER JOIN \"Orders\" AS \"O\" ON "
       u"\"C\".\"CustomerID\" = \"O\".\"CustomerID\" RIGHT OUTER JOIN \"Order Lines\" AS \"L\" ON \"L\".\"OrderID\" = "
       u"\"O\".\"OrderID\" FULL OUTER JOIN \"Products\" AS \"P\" ON \"L\".\"ProductID\" = \"P\".\"ProductID\"",
       {}},
      {"an injecting filter stays a parameter; matches are parameters, a null match selects nothing",
       filtered,
       u"SELECT \"C\".\"Name\" FROM \"Customers\" AS \"C\" WHERE ((\"C\".\"Name\" = ? AND \"C\".\"Limit\" > ?)) AND "
       u"\"C\".\"Region\" = ? AND 1 = 0",
       {Value(u"x'); DROP TABLE Customers; --"), Value(5), Value(u"Süd")}},
      {"aggregates: an average is a sum and a count; no order",
       totals,
       u"SELECT SUM(\"C\".\"Limit\"), SUM(\"C\".\"Limit\"), COUNT(\"C\".\"Limit\"), COUNT(DISTINCT \"C\".\"Name\"), "
       u"MAX(\"C\".\"Name\") FROM \"Customers\" AS \"C\"",
       {}},
      {"unlinked tables, the driver's own quote", unlinked,
       u"SELECT `A`.`x`, `B`.`y` FROM `A` AS `A` CROSS JOIN `B` AS `B`", {}},
  };
  for (const Case& c : cases) {
    Query q = buildQuery(c.spec);
    EXPECT_EQ(toUtf8(q.sql), toUtf8(c.sql)) << c.what;
    EXPECT_EQ(q.parameters, c.parameters) << c.what;
  }
}

TEST(QueryBuilder, RefusesWhatSqlCannotCarry) {
  QuerySpec spec;
  spec.tables = {{u"Order Lines", u"Order Lines"}};
  spec.columns = {field(u"Order Lines", u"Amount")};
  spec.quote = u" ";  // a driver without quotes
  EXPECT_THROW(buildQuery(spec), DataError);
  spec.quote = u"\"";
  spec.columns = {field(u"Order Lines", Text(u"a\0b", 3))};
  EXPECT_THROW(buildQuery(spec), DataError);
  spec.columns = {field(u"Order Lines", u"Amount")};
  spec.links = {link(field(u"Order Lines", u"OrderID"), field(u"Gone", u"OrderID"), model::JoinType::Inner)};
  spec.tables.push_back({u"Other", u"Other"});
  EXPECT_THROW(buildQuery(spec), DataError);
  EXPECT_THROW(buildQuery(QuerySpec{}), DataError);
}

TEST(DelimitedText, ReadsCsvWithQuotesTypesAndNulls) {
  DelimitedTable t = parseDelimitedText(
      "\xEF\xBB\xBF" "Country;Name;Limit\r\n"
      "PL;\"Łódź; \"\"Ost\"\"\";5000\r\n"
      "DE;\"two\nlines\";\n"
      "CH;;-1.5e3\n"
      "SE\n"
      "NO;\"\";\"\"\n",
      u";", true);
  ASSERT_EQ(t.columns, (std::vector<Text>{u"Country", u"Name", u"Limit"}));
  ASSERT_EQ(t.rows.size(), 5u);
  EXPECT_EQ(t.rows[0], (std::vector<Value>{u"PL", u"Łódź; \"Ost\"", 5000}));
  EXPECT_EQ(t.rows[1], (std::vector<Value>{u"DE", u"two\nlines", Value()}));
  EXPECT_EQ(t.rows[2], (std::vector<Value>{u"CH", Value(), -1500}));
  EXPECT_EQ(t.rows[3], (std::vector<Value>{u"SE", Value(), Value()}));
  // "" is an empty text among texts, and null among numbers.
  EXPECT_EQ(t.rows[4], (std::vector<Value>{u"NO", u"", Value()}));

  // No header: columns are numbered; one text makes a column texts; UTF-16.
  DelimitedTable numbered = parseDelimitedText(std::string("\xFF\xFE" "1\0,\0a\0\n\0x\0,\0b\0", 16), u"", false);
  ASSERT_EQ(numbered.columns, (std::vector<Text>{u"Column1", u"Column2"}));
  EXPECT_EQ(numbered.rows[0][0], Value(u"1"));
  EXPECT_EQ(numbered.rows[1], (std::vector<Value>{u"x", u"b"}));

  EXPECT_THROW(readDelimitedFile(u"/nonexistent/folder/file.csv", u",", true), DataError);
}

TEST(Summaries, FollowTheEnginesRules) {
  using Op = model::SummaryOperation;
  std::vector<Value> values{3, Value(), u"b", 1.5, u"a", 3, formula::DateTime{10}};
  auto run = [&](Op op, const std::vector<Value>& in) {
    SummaryAccumulator s(op);
    for (const Value& v : in) s.add(v);
    return s.result();
  };
  EXPECT_EQ(run(Op::Sum, values), Value(7.5));
  EXPECT_EQ(run(Op::Average, values), Value(2.5));
  EXPECT_EQ(run(Op::Count, values), Value(6));
  EXPECT_EQ(run(Op::DistinctCount, values), Value(5));
  EXPECT_EQ(run(Op::Minimum, {u"b", u"a", u"B"}), Value(u"B"));
  EXPECT_EQ(run(Op::Maximum, {1, 5, 2}), Value(5));
  for (Op op : {Op::Sum, Op::Average, Op::Minimum, Op::Maximum}) EXPECT_TRUE(run(op, {Value()}).isNull());
  EXPECT_EQ(run(Op::Count, {}), Value(0));
  // A minimum or maximum keeps to the kind of the first value, as the page
  // layout's running totals do: a text cannot be compared with a number.
  EXPECT_EQ(run(Op::Minimum, {u"b", 3, Value(), u"a"}), Value(u"a"));
  EXPECT_EQ(run(Op::Maximum, {Value(), 5, u"z", 7}), Value(7));
  EXPECT_LT(formula::compareValues(Value(), Value(-1)), 0);
  EXPECT_LT(formula::compareValues(Value(u"Z"), Value(u"a")), 0);
}

}  // namespace
}  // namespace mervane::engine::data
