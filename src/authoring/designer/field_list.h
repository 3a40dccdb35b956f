// The field list beside the design surface: the report's tables with their
// columns, the special fields, the report's formulas, its running totals
// and its parameters.
//
// Columns come from the database when it can be reached (a ColumnSource;
// the ODBC one reads the database's catalogue); otherwise a table lists the
// columns the report already uses, in its objects, links, sort fields,
// groups and formulas, so that a report whose database is away can still be
// designed.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "engine/document.h"
#include "engine/formula/value.h"
#include "engine/layout/text_measure.h"

namespace mervane::authoring::designer {

namespace model = engine::model;

// What the database declares of a column, as its catalogue says
// (data::CatalogueColumn): the kind of its values and the longest of them.
struct ColumnShape {
  engine::formula::ValueKind kind = engine::formula::ValueKind::Text;
  std::int32_t size = 0;  // 0: not known
  std::int32_t decimals = 0;
  bool operator==(const ColumnShape&) const = default;
};

struct FieldColumn {
  Text name;
  ColumnShape shape;  // all zero for a column the report uses but the database did not list
  bool operator==(const FieldColumn&) const = default;
};

class ColumnSource {
 public:
  virtual ~ColumnSource() = default;
  // The columns of one of the report's tables; nothing when its database
  // cannot be reached. Must not throw.
  virtual std::optional<std::vector<FieldColumn>> columns(const engine::ReportDocument& document,
                                                          const model::Table& table) = 0;
};

// The source that reads each table's database through ODBC.
std::unique_ptr<ColumnSource> databaseColumns(int timeoutSeconds = 5);

struct FieldList {
  struct TableEntry {
    Text alias;
    std::vector<FieldColumn> columns;
    bool fromDatabase = false;  // false: the columns the report uses
  };
  struct SpecialEntry {
    model::SpecialFieldKind kind;
    Text name;
  };
  std::vector<TableEntry> tables;
  std::vector<SpecialEntry> specials;
  std::vector<Text> formulas;
  std::vector<Text> runningTotals;
  std::vector<Text> parameters;
};

// The columns of each table that the report refers to, in first-use order.
FieldList usedFields(const engine::ReportDocument& document);
// The full list: each table's columns from `source` where it answers.
FieldList buildFieldList(const engine::ReportDocument& document, ColumnSource* source);

// How wide a new field showing `column` in `format` is made: room for the
// longest value the column declares, written as the report writes it. A
// text is its declared length in characters of the font's average width (a
// text of no declared length counts as 30); a number its digits, sign and
// point, in the field's number format if it has one; a date written in the
// field's date format, or as the report writes dates without one. In twips.
std::int32_t fieldWidth(const ColumnShape& column, const model::Format& format,
                        engine::layout::TextMeasure& measure);

}  // namespace mervane::authoring::designer
