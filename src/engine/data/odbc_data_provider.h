// The rows of a report read through ODBC (and from delimited text files):
// the DataProvider the engine runs reports with.
//
// Connecting a table. Its data source is the table's connection, as it was
// given or stored, else the report's own log-on (table_connection.h). The
// connection resolver turns it into an ODBC connection string. A database that takes a log-on is tried first without
// one (integrated security); when it refuses and a user and password are
// known (the table's log-on, else the report's), again with them. Tables
// reaching the same connection string share one connection while any run of
// the report that uses it lasts. A refused integrated log-on is remembered
// for the provider's life: the next table, and the next run, go straight to
// the known log-on.
//
// Reading. The tables on the first table's connection are read by one
// SELECT (query_builder.h): filter, sort and groups pushed down where the
// formula allows it. A table on another connection, or in a text file, is
// read whole into memory and joined to the rows by its links (such tables
// are small: lookup tables, host data). Whatever the database could not
// test exactly (the rest of the record filter, text matches of subreport
// links) the engine tests itself, and it sorts in memory only when a sort
// or group field lies outside the SELECT.
//
// Summaries come from one aggregate SELECT when the database selects exactly
// the report's records, and otherwise from reading the records once.
#pragma once

#include <memory>

#include "engine/data/report_data.h"
#include "engine/formula/value_order.h"

namespace mervane::engine::data {

struct OdbcProviderOptions {
  int logOnTimeoutSeconds = 15;  // how long a log-on may take
};

std::shared_ptr<DataProvider> createOdbcDataProvider(OdbcProviderOptions options = {});

// What summaries() gives for these values (sum and average of numbers; count
// and distinct count of non-null values; minimum and maximum as
// formula::Extremes keeps them; null where there are no values, a count of
// none being 0).
class SummaryAccumulator {
 public:
  explicit SummaryAccumulator(model::SummaryOperation operation) : operation_(operation) {}
  void add(const formula::Value& value);
  formula::Value result() const;

 private:
  model::SummaryOperation operation_;
  double sum_ = 0;
  std::size_t count_ = 0;
  std::vector<Text> distinct_;  // sorted keys
  formula::Extremes extremes_;
};

}  // namespace mervane::engine::data
