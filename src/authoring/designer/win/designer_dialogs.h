// The designer's dialogs: each asks the user for one thing, modally, over
// `owner`, and changes its arguments only when the user confirms (true).
// The designer turns every confirmed answer into one undoable command.
#pragma once

#include <windows.h>

#include <cstdint>
#include <vector>

#include "base/text.h"
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
  std::vector<model::FieldRef> groups;  // the report's groups, outermost first
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
bool editSortFields(HWND owner, std::vector<model::SortField>& sort, const FieldCatalogue& fields);
// A new group: its field and direction.
bool chooseGroup(HWND owner, model::Group& group, const FieldCatalogue& fields);
bool editLinks(HWND owner, std::vector<model::TableLink>& links, const FieldCatalogue& fields);
bool editPageSetup(HWND owner, model::PageSetup& page);
bool chooseField(HWND owner, model::FieldRef& field, const FieldCatalogue& fields);
bool chooseSpecialField(HWND owner, model::SpecialFieldKind& kind);
// A summary: operation, field, and where (0 the whole report, n the n-th
// group).
bool chooseSummary(HWND owner, model::SummaryOperation& operation, model::FieldRef& field, std::int32_t& group,
                   const FieldCatalogue& fields);
// A subreport: its name, one of the report's tables (or another table the
// user names) and the link fields from the main report.
bool chooseSubreport(HWND owner, model::Subreport& subreport, const FieldCatalogue& fields);
// A picture file, through the open dialog: its bytes, once they are known to
// be a picture; a file that is not one is refused in a message.
bool choosePicture(HWND owner, model::Picture& picture);

}  // namespace mervane::authoring::win
