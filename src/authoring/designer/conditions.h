// Conditional formatting and running totals as the designer offers them:
// the condition rows its dialogs show, and the checks that refuse, in words,
// what could not work before anything reaches the report.
#pragma once

#include <optional>
#include <span>

#include "authoring/designer/field_list.h"
#include "engine/model/report_definition.h"

namespace mervane::authoring::designer {

// One formula of an object's or a section's conditions, as a dialog row.
struct ObjectConditionRow {
  const char16_t* label;  // "Font colour"
  const char16_t* hint;   // what the formula gives
  Text model::ObjectConditions::*member;
};
std::span<const ObjectConditionRow> objectConditionRows();

struct SectionConditionRow {
  const char16_t* label;
  Text model::SectionConditions::*member;
};
std::span<const SectionConditionRow> sectionConditionRows();

// A condition row's formula checked: nothing when it is empty or reads
// well, else "Font colour, line 1, column 28: Expected a value, found ...".
std::optional<Text> conditionProblem(const char16_t* label, const Text& formula);

// Why a running total cannot be made as given (its name taken, its field
// gone from the report's data, a formula with a mistake, a group the report
// lacks), or nothing when it can. `replacing`: the name of the running
// total it replaces, empty for a new one. `part`, when given, is set to the
// part the problem is about, for the dialog to put the focus there.
enum class RunningTotalPart { Name, Field, EvaluateField, EvaluateFormula, Reset, ResetFormula };
std::optional<Text> runningTotalProblem(const model::ReportDefinition& report, const FieldList& fields,
                                        const model::RunningTotal& total, const Text& replacing = {},
                                        RunningTotalPart* part = nullptr);

// A formula with its references to the running total `from` ({#from}, as
// written by the designer) turned into references to `to`; true when it
// changed.
bool renameRunningTotalIn(Text& formula, const Text& from, const Text& to);

}  // namespace mervane::authoring::designer
