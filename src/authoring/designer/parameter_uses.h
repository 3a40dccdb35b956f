// Where a report uses a parameter, in words, and what renaming or deleting
// one in Report > Parameters does to those uses.
//
// Renamed: every use follows the new name ({?Old} becomes {?New} in
// formulas, the record filter, running totals' formulas, conditions and
// text objects, and parameter fields show the new name), in the report's
// subreports too where they see it (those without a parameter of their own
// by that name).
//
// Deleted, once the person agreed: the parameter fields that show it go
// with it, as Report > Tables takes the fields of a table it removes: a
// field of nothing would print nothing. Formulas, the filter, conditions
// and texts stay as written and say, as for any name the report lacks,
// that the parameter is missing: what such a formula should mean instead
// is the report writer's to decide, not the designer's to guess.
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "authoring/designer/commands.h"

namespace mervane::authoring::designer {

struct ParameterEdits {
  std::vector<std::pair<Text, Text>> renamed;  // old name, new name
  std::vector<Text> deleted;
  bool empty() const { return renamed.empty() && deleted.empty(); }
};

// The report's uses of the parameter, in words and in the report's order
// ("the formula @Margin", "the record filter", "the text object Heading",
// "the conditional formatting of Amount", ...); empty when none.
std::vector<Text> parameterUses(const model::ReportDefinition& report, const Text& name);

// What Delete asks before a parameter still in use goes.
Text deleteParameterQuestion(const Text& name, const std::vector<Text>& uses);

// The report with its parameters `parameters` and the edits carried to
// their uses.
model::ReportDefinition withParameters(const model::ReportDefinition& report, std::vector<model::Parameter> parameters,
                                       const ParameterEdits& edits);

// The whole report before and after a change that reaches into all of it.
std::unique_ptr<Command> changeDefinition(model::ReportDefinition before, model::ReportDefinition after);

}  // namespace mervane::authoring::designer
