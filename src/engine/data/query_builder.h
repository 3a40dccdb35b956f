// The SELECT a report's rows come from, as a pure function of what the
// report asks for: its tables and their links, the columns wanted, the part
// of the record filter the database can test, the subreport's field
// matches, and the printing order; or, for totals printed before their rows,
// the aggregates over the same records.
//
// Every name is quoted with the driver's own quote character (a quote inside
// a name doubled); every value is a bound parameter ('?'), so no text of a
// report or a filter ever becomes SQL text. Tables are joined in the order
// the report lists them, each to the tables before it by its links; a table
// with no link to them is joined to every row (CROSS JOIN).
#pragma once

#include <vector>

#include "base/text.h"
#include "engine/data/report_data.h"
#include "engine/formula/value.h"
#include "engine/model/report_definition.h"

namespace mervane::engine::data {

struct QueryTable {
  Text alias;     // the name the report's fields use
  Text location;  // the table's name; "schema.table" parts separated by '.'
};

struct OrderKey {
  model::FieldRef field;
  model::SortDirection direction = model::SortDirection::Ascending;
};

struct QuerySpec {
  std::vector<QueryTable> tables;       // the first is the FROM table
  std::vector<model::TableLink> links;  // links between these tables
  std::vector<model::FieldRef> columns;
  // When not empty, the query gives one row of these aggregates instead of
  // the columns: SUM, COUNT, COUNT(DISTINCT), MIN, MAX. (Averages are a sum
  // and a count, divided by the caller, the same in every database.)
  std::vector<SummaryRequest> aggregates;
  Text filter;  // a condition from formula::toSqlFilter, with its parameters
  std::vector<formula::Value> filterParameters;
  std::vector<FieldMatch> matches;  // field = value terms, and-ed to the filter
  std::vector<OrderKey> order;
  Text quote = u"\"";  // the driver's identifier quote; blank: names are not quoted
};

struct Query {
  Text sql;
  std::vector<formula::Value> parameters;
};

// Throws DataError for a name the database's SQL cannot carry (an empty name,
// or one needing quotes where the driver has none) and for links that join a
// table in a way SQL cannot write.
Query buildQuery(const QuerySpec& spec);

// One quoted identifier.
Text quoteIdentifier(TextView name, TextView quote);

// A table's location split into its quoted parts ("dbo.Orders" becomes
// "dbo"."Orders").
Text quoteLocation(TextView location, TextView quote);

}  // namespace mervane::engine::data
