// The rows a report prints, as the layout engine reads them.
//
// A ReportData stands for the data part of one definition (the main report
// or one subreport): its tables, links, record filter, sort fields and
// groups. It hands out the selected records in the order the report prints
// them (by its groups, outermost first, then by its sort fields), one row of
// values per record, holding the fields the caller asked for; and the
// summaries over all those records, for totals printed before their rows.
//
// The ODBC implementation builds one SELECT, pushes the filter, sort and
// grouping down to the database where it can and does the rest itself. Its
// rows stream: memory does not grow with the number of rows.
//
// Errors (a database that is down or refuses the log-on, a table that is
// gone, a filter that does not parse) are DataError, whose message says
// what went wrong in words and never holds a password.
#pragma once

#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "engine/document.h"
#include "engine/formula/value.h"
#include "engine/model/report_definition.h"

namespace mervane::engine::data {

class DataError : public std::exception {
 public:
  explicit DataError(Text message) : message_(std::move(message)), utf8_(toUtf8(message_)) {}
  const Text& message() const { return message_; }
  const char* what() const noexcept override { return utf8_.c_str(); }

 private:
  Text message_;
  std::string utf8_;
};

// The records a cursor reads: only those whose `field` equals `value` (a
// subreport's links; empty for the main report).
struct FieldMatch {
  model::FieldRef field;
  formula::Value value;
};

class RowCursor {
 public:
  virtual ~RowCursor() = default;
  // The next record, its values in the order of the fields asked for. False
  // after the last one. Throws DataError.
  virtual bool next(std::vector<formula::Value>& row) = 0;
  // Asks a cursor that another thread is reading to stop soon; next() then
  // returns false or throws.
  virtual void cancel() = 0;
};

struct SummaryRequest {
  model::FieldRef field;
  model::SummaryOperation operation = model::SummaryOperation::Sum;
};

class ReportData {
 public:
  virtual ~ReportData() = default;
  // The selected records, in printing order. `fields` are table columns
  // (FieldRef with a table); formulas are the layout's own business.
  virtual std::unique_ptr<RowCursor> rows(const std::vector<model::FieldRef>& fields,
                                          const std::vector<FieldMatch>& match) = 0;
  // Each summary over all the records rows() would give, in the order
  // asked: sum and average of numbers, count and distinct count of non-null
  // values, minimum and maximum. Null where there are no values.
  virtual std::vector<formula::Value> summaries(const std::vector<SummaryRequest>& requests,
                                                const std::vector<FieldMatch>& match) = 0;
};

// Makes the ReportData of a definition. `subreport` names the subreport
// whose tables these are (empty for the main report); each table carries
// its own connection and log-on.
class DataProvider {
 public:
  virtual ~DataProvider() = default;
  // Throws DataError when the data cannot be reached at all.
  virtual std::unique_ptr<ReportData> open(const ReportDocument& document, const model::ReportDefinition& definition,
                                           const Text& subreport) = 0;
};

}  // namespace mervane::engine::data
