// The designer's dialogs: each asks the user for one thing, modally, over
// `owner`, and changes its arguments only when the user confirms (true).
// The designer turns every confirmed answer into one undoable command.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "authoring/designer/arrange.h"
#include "authoring/designer/conditions.h"
#include "authoring/designer/parameter_uses.h"
#include "base/text.h"
#include "engine/formula/value.h"
#include "engine/model/parameters.h"
#include "engine/model/report_definition.h"

namespace mervane::authoring::win {

namespace model = mervane::engine::model;

// What the report's data offers, for the dialogs' lists.
struct FieldCatalogue {
  struct TableColumns {
    Text table;  // alias
    std::vector<Text> columns;
  };
  std::vector<TableColumns> tables;
  std::vector<Text> formulas;  // names of the report's formulas
  std::vector<Text> runningTotals;  // names of the report's running totals
  std::vector<Text> parameters;  // names of the report's parameters
  std::vector<model::FieldRef> groups;  // the report's groups, outermost first
  // The database's other tables a subreport may show, with their columns
  // where known.
  std::vector<TableColumns> otherTables;
  // Why a subreport link between a main report's field and a subreport's
  // column cannot work, in words; empty (or no check) when it can.
  std::function<Text(const model::FieldRef& main, const model::FieldRef& subreport)> linkRefusal;
};

bool editTitle(HWND owner, Text& title);
// Formula editor: the name (editable when `nameEditable`) and the text,
// checked as it is typed (the mistake and its position shown under it);
// fields and functions can be inserted from lists. OK is refused while the
// formula has a mistake.
bool editFormula(HWND owner, Text& name, bool nameEditable, Text& text, const FieldCatalogue& fields);
// The record filter: the same editor for a formula giving true or false; an
// empty filter selects every record.
bool editRecordFilter(HWND owner, Text& filter, const FieldCatalogue& fields);
// One condition's formula in the same editor; empty is no condition.
bool editCondition(HWND owner, const Text& caption, Text& formula, const FieldCatalogue& fields);

// Conditional formatting: a row per condition, each a formula typed in place
// (or in the formula editor through its "..." button), checked as it is
// typed, the first mistake shown with its row, line and column. OK is
// refused while a row has a mistake.
struct ConditionRow {
  Text label;
  Text hint;  // shown in the empty box
  Text formula;
};
bool editConditions(HWND owner, const Text& caption, std::vector<ConditionRow>& rows, const FieldCatalogue& fields);

// A running total: its name, field and operation, when it takes a record in
// and when it starts again. `problem` says why one cannot be made and which
// part is at fault (the dialog then stays open, saying so, the focus there).
using RunningTotalCheck =
    std::function<std::optional<Text>(const model::RunningTotal&, designer::RunningTotalPart&)>;
bool editRunningTotal(HWND owner, model::RunningTotal& total, const FieldCatalogue& fields,
                      const RunningTotalCheck& problem);
bool editSortFields(HWND owner, std::vector<model::SortField>& sort, const FieldCatalogue& fields);
// A new group: its field and direction.
bool chooseGroup(HWND owner, model::Group& group, const FieldCatalogue& fields);
// A section's options: suppress, page breaks before and after, keep
// together, print at the bottom of the page, reset the page number after.
bool editSectionOptions(HWND owner, model::Section& section);
// The report's groups (each with the number it had): field and direction
// changed, order changed, groups deleted. Deleting a group whose sections
// hold objects (`holding`, by number) asks first.
bool editGroups(HWND owner, std::vector<designer::GroupPlace>& groups, const std::vector<bool>& holding,
                const FieldCatalogue& fields);
bool editLinks(HWND owner, std::vector<model::TableLink>& links, const FieldCatalogue& fields);
bool editPageSetup(HWND owner, model::PageSetup& page);
bool chooseField(HWND owner, model::FieldRef& field, const FieldCatalogue& fields);
// A column holding pictures: the tables' columns only (a formula gives no
// picture).
bool choosePictureField(HWND owner, model::FieldRef& field, const FieldCatalogue& fields);
bool chooseSpecialField(HWND owner, model::SpecialFieldKind& kind);
// A summary: operation, field, and where (0 the whole report, n the n-th
// group).
bool chooseSummary(HWND owner, model::SummaryOperation& operation, model::FieldRef& field, std::int32_t& group,
                   const FieldCatalogue& fields);
// A subreport: its name, one of the report's or the database's tables (or
// another table the user names) and the link fields from the main report.
// With `linksOnly` ("Subreport Links") only the links change.
bool chooseSubreport(HWND owner, model::Subreport& subreport, const FieldCatalogue& fields, bool linksOnly = false);
// A picture file, through the open dialog: its bytes, once they are known to
// be a picture; a file that is not one is refused in a message.
bool choosePicture(HWND owner, model::Picture& picture);

// Report > Parameters: add, change and delete the report's parameters (name,
// type, prompt, range, default, allowed values typed in or read from a
// column). OK is refused, in words, while the parameter shown cannot be
// kept; a parameter whose definition changed is asked for again. Delete
// asks first when `usesOf` names uses of the parameter (in words), and
// `edits` says which parameters were renamed and deleted.
using ParameterUsesOf = std::function<std::vector<Text>(const Text& name)>;
bool editParameters(HWND owner, std::vector<model::Parameter>& parameters, const FieldCatalogue& fields,
                    const ParameterUsesOf& usesOf = {}, designer::ParameterEdits* edits = nullptr);
// Control ids of the Parameters dialog and the prompt, for tests.
enum ParameterDialogId : int {
  kParameterListLabel = 101, kParameterList, kParameterNew, kParameterDelete,
  kParameterNameLabel, kParameterName, kParameterTypeLabel, kParameterType, kParameterPromptLabel, kParameterPrompt,
  kParameterRange, kParameterDefaultLabel, kParameterDefault, kParameterDefaultToLabel, kParameterDefaultTo,
  kParameterAllowedLabel, kParameterAllowed, kParameterFromLabel, kParameterFrom,
};
// The prompt's boxes: the n-th parameter's value (a range's lower end) is
// kPromptFirstBox + 2n, a range's upper end the next id.
constexpr int kPromptFirstBox = 2000;
constexpr wchar_t kPromptCaption[] = L"Enter Parameter Values";
constexpr wchar_t kParametersCaption[] = L"Parameters";

// One of the report's parameters, for a parameter field.
bool chooseParameter(HWND owner, const std::vector<Text>& names, Text& name);
// A column's values, for a parameter's allowed values read from the data;
// empty when they cannot be read.
using ColumnValues = std::function<std::vector<mervane::engine::formula::Value>(const model::FieldRef&)>;
// The prompt before a run: one row per parameter, a list where the values
// are given, from and to boxes for a range; a subreport's own parameters
// under a line that names the subreport. On OK every parameter's value is
// given; values that are not of the parameter's type are refused in words.
bool promptParameters(HWND owner, std::vector<model::AskedParameter>& parameters, const ColumnValues& columnValues);

}  // namespace mervane::authoring::win
