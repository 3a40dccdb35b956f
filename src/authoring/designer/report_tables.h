// Changing what a report reads after it was made: the tables it keeps
// (Report > Tables) and the links between a main report and a subreport.
//
// Removing a table takes with it the links and sort fields that name it
// and, once the person agreed, the objects that show its columns. A table
// that a group, the record filter or a formula still needs cannot go: the
// refusal says which, in words.
#pragma once

#include <optional>
#include <vector>

#include "authoring/designer/commands.h"
#include "authoring/designer/field_list.h"

namespace mervane::authoring::designer {

struct TableRemoval {
  model::Data data;                   // the report's data without the tables
  std::vector<PlacedObject> objects;  // the objects that show their columns
  Text question;  // to ask before those objects go; empty when none do
  Text refusal;   // why the tables cannot go; empty when they can
};

// Removing the tables named by `aliases` (case does not matter).
TableRemoval planTableRemoval(const model::ReportDefinition& report, const std::vector<Text>& aliases);

// Why a subreport cannot be linked by these two columns, in words; empty
// when it can. Columns whose kind the database did not give are let
// through; the shapes are null when not known.
Text linkRefusal(const model::FieldRef& mainField, const ColumnShape* mainShape, const model::FieldRef& subreportField,
                 const ColumnShape* subreportShape);

// The shape of a column as a field list lists it; null when not listed or
// not from the database.
const ColumnShape* listedShape(const FieldList& list, const model::FieldRef& field);

// A subreport's report on one table, its columns side by side in the
// details with their names above them in the report header, as many as
// fit the main report's printable width `width` (twips).
model::ReportDefinition subreportOnTable(const model::Table& table, const std::vector<FieldColumn>& columns,
                                         std::int32_t width, engine::layout::TextMeasure& measure);

// Where a subreport shown on a tab of its own stands in the main report now
// that the report changed: found by its object's name (moved, or others
// before it went); an object renamed in place is followed when it is still
// the same subreport (same subreport name) and no other tab shows a
// subreport of that name. None when it is gone: deleted, or its insertion
// undone. `others` are the object names the other tabs show.
std::optional<ObjectRef> findSubreportAgain(const model::ReportDefinition& main, const Text& objectName,
                                            const Text& subreportName, ObjectRef last, const std::vector<Text>& others);

}  // namespace mervane::authoring::designer
