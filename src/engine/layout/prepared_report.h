// A report definition made ready to lay out.
//
// Before the first row is read the layout engine works out, once: which table
// columns to ask of the data (the report's database fields, picture columns,
// summary and group fields, and the fields its formulas use), the formulas
// parsed, the sections of each kind in printing order (suppressed ones left
// out), and the summaries the report prints, each a "slot" of one operation
// on one field over the whole report (level 0) or over a group (level n).
//
// A summary printed only where its rows are already behind it (a group
// total in its group's footer) is added up as the rows pass. A summary
// printed before its rows (a group total in the group header) is found by
// reading the group's rows ahead first; whole-report totals of the main
// report's table columns come from the data's own summaries(), one
// aggregate query, so a grand total in the report header needs no reading
// ahead at all. Totals printed behind their rows (a grand total in the
// report footer) are added up as the rows pass, at no cost to the database.
//
// Running totals are kept apart from the summary slots: they follow the
// rows as they print, taking in each record (or the records their rule
// picks) and starting again where their rule says, so they are never read
// ahead. Conditional formatting formulas are parsed here once; they are
// worked out as each object prints.
#pragma once

#include <memory>
#include <stdexcept>
#include <vector>

#include "engine/formula/formula.h"
#include "engine/model/parameters.h"
#include "engine/model/report_definition.h"

namespace mervane::engine::layout {

// A mistake that keeps the report from being laid out, in words.
class PrepareError : public std::runtime_error {
 public:
  explicit PrepareError(const Text& message) : std::runtime_error(toUtf8(message)), message_(message) {}
  const Text& message() const { return message_; }

 private:
  Text message_;
};

// A value computed per row: a table column (an index into the fields asked
// of the data) or a formula.
struct RowValueSource {
  int field = -1;
  const formula::Formula* formula = nullptr;
  Text formulaName;
  bool valid() const { return field >= 0 || formula != nullptr; }
};

// An object's conditional formatting, parsed; null where there is none.
struct PreparedConditions {
  const formula::Formula* suppress = nullptr;
  const formula::Formula* fontColour = nullptr;
  const formula::Formula* background = nullptr;
  const formula::Formula* bold = nullptr;
  const formula::Formula* italic = nullptr;
  const formula::Formula* border = nullptr;
};

struct PreparedObject {
  const model::ReportObject* object = nullptr;
  RowValueSource value;  // DatabaseField, FormulaField
  int slot = -1;         // SummaryField
  int runningTotal = -1;  // RunningTotalField
  std::unique_ptr<PreparedConditions> conditions;  // null: none
  int subreport = -1;    // Subreport
  // The object must be worked out even when only the section's height is
  // wanted: it can grow, holds a subreport, or runs a formula (whose
  // mistakes must show on the same page whenever it is laid out).
  bool affectsLayout = false;
};

struct PreparedSection {
  const model::Section* section = nullptr;
  std::vector<PreparedObject> objects;
  bool fixedHeight = true;  // no object affects the layout
  const formula::Formula* suppress = nullptr;  // conditions; null: the section's own yes/no
  const formula::Formula* newPageBefore = nullptr;
  const formula::Formula* newPageAfter = nullptr;
};

struct PreparedRunningTotal {
  Text name;
  model::SummaryOperation operation = model::SummaryOperation::Sum;
  RowValueSource value;
  model::RunningTotalEvaluate evaluate = model::RunningTotalEvaluate::EveryRecord;
  RowValueSource evaluateField;
  const formula::Formula* evaluateFormula = nullptr;
  model::RunningTotalReset reset = model::RunningTotalReset::Never;
  int resetGroup = 0;  // OnChangeOfGroup: 1..groups; 0 never
  const formula::Formula* resetFormula = nullptr;
};

struct SummarySlot {
  model::SummaryOperation operation = model::SummaryOperation::Sum;
  int level = 0;  // 0 the whole report, n the n-th group
  RowValueSource value;
  model::FieldRef field;
  bool fromData = false;  // given by ReportData::summaries
};

struct PreparedReport;

struct SubreportLinkSource {
  RowValueSource mainValue;  // in the main report's rows
  model::FieldRef subreportField;
};

struct PreparedSubreport {
  Text name;
  std::unique_ptr<PreparedReport> report;
  std::vector<SubreportLinkSource> links;
};

struct PreparedReport {
  model::ReportDefinition definition;
  std::vector<model::FieldRef> fields;  // table columns asked of the data
  std::vector<std::pair<Text, std::shared_ptr<const formula::Formula>>> formulas;
  std::vector<RowValueSource> groups;   // [0] is group 1
  std::vector<PreparedSection> sections;
  std::vector<int> reportHeaders, pageHeaders, details, pageFooters, reportFooters;  // indexes into sections
  std::vector<std::vector<int>> groupHeaders, groupFooters;  // [level], level 1..groups
  std::vector<SummarySlot> slots;
  std::vector<PreparedRunningTotal> runningTotals;
  std::vector<std::shared_ptr<const formula::Formula>> conditionFormulas;  // owns the conditions' formulas
  std::vector<bool> readAhead;  // [level]: its summaries are found by reading its rows ahead
  std::vector<PreparedSubreport> subreports;
  // A subreport's parameter values (its own, then the main report's); none
  // for the main report, whose values the run gives.
  std::optional<model::ParameterValues> subreportParameters;

  int groupCount() const { return static_cast<int>(groups.size()); }
  int fieldIndex(TextView table, TextView column) const;
  const formula::Formula* formula(TextView name) const;
  int runningTotalIndex(TextView name) const;
};

// Throws PrepareError. `main`: the report's own definition, whose totals
// may come from the data and which may hold subreports.
std::unique_ptr<PreparedReport> prepare(const model::ReportDefinition& definition, bool main);

}  // namespace mervane::engine::layout
