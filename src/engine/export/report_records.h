// The records of a report as plain data, for exports of the data only: one
// record per detail row, in the report's printing order, one value per
// field its details show (table columns and formulas), read straight from
// the data without laying out a page.
#pragma once

#include <memory>
#include <vector>

#include "engine/data/report_data.h"
#include "engine/document.h"
#include "engine/formula/value.h"
#include "engine/model/report_definition.h"

namespace mervane::engine::exporting {

struct RecordField {
  Text heading;  // the page header's text above it, else its column's or formula's name
  model::Format format;
  std::int32_t width = 1440;  // twips, as it stands in the details
};

class ReportRecords {
 public:
  // Throws data::DataError when the data cannot be reached and
  // layout::PrepareError when the report has a mistake.
  ReportRecords(const ReportDocument& document, data::DataProvider& data);
  ~ReportRecords();

  // The detail fields, left to right as they stand on the page.
  const std::vector<RecordField>& fields() const;
  // The next record's values, one per field. False after the last.
  // Throws data::DataError and formula::FormulaError.
  bool next(std::vector<formula::Value>& values);
  // Asks a reader on another thread to stop soon.
  void cancel();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace mervane::engine::exporting
