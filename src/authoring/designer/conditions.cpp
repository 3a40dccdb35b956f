// The designer's condition rows and running total checks.
#include "authoring/designer/conditions.h"

#include <algorithm>

#include "authoring/designer/formula_editing.h"
#include "engine/formula/formula.h"

namespace mervane::authoring::designer {
namespace {

namespace formula = engine::formula;

const ObjectConditionRow kObjectRows[] = {
    {u"Suppress", u"true hides the object", &model::ObjectConditions::suppress},
    {u"Font colour", u"a colour, e.g. crRed", &model::ObjectConditions::fontColour},
    {u"Background colour", u"a colour, e.g. Color(255, 240, 240)", &model::ObjectConditions::background},
    {u"Bold", u"true or false", &model::ObjectConditions::bold},
    {u"Italic", u"true or false", &model::ObjectConditions::italic},
    {u"Border", u"true or false", &model::ObjectConditions::border},
};

const SectionConditionRow kSectionRows[] = {
    {u"Suppress", &model::SectionConditions::suppress},
    {u"New page before", &model::SectionConditions::newPageBefore},
    {u"New page after", &model::SectionConditions::newPageAfter},
};

Text lowerFirst(Text text) {
  if (!text.empty() && text[0] >= u'A' && text[0] <= u'Z') text[0] = static_cast<char16_t>(text[0] - u'A' + u'a');
  return text;
}

// Why a field the running total names is not there, or nothing.
std::optional<Text> missingField(const model::ReportDefinition& report, const FieldList& fields,
                                 const model::FieldRef& field) {
  if (field.isFormula()) {
    const bool known = std::any_of(report.formulas.begin(), report.formulas.end(),
                                   [&](const model::Formula& f) { return equalsNoCase(f.name, field.column); });
    if (known) return std::nullopt;
    return u"The formula " + formula::formulaReference(field.column) + u" is no longer in the report.";
  }
  const Text shown = formula::fieldReference(field.table, field.column);
  const auto table = std::find_if(fields.tables.begin(), fields.tables.end(),
                                  [&](const FieldList::TableEntry& t) { return equalsNoCase(t.alias, field.table); });
  if (table == fields.tables.end()) {
    return u"The field " + shown + u" is no longer in the report: the report has no table " + field.table + u".";
  }
  const bool listed = std::any_of(table->columns.begin(), table->columns.end(),
                                  [&](const FieldColumn& c) { return equalsNoCase(c.name, field.column); });
  if (!listed && table->fromDatabase) {
    return u"The field " + shown + u" is no longer in the report: the table " + field.table + u" has no column " +
           field.column + u".";
  }
  return std::nullopt;
}

std::optional<Text> formulaProblem(const Text& text, const Text& what) {
  if (isBlank(text)) return u"Please give the formula that says " + what + u".";
  if (auto mistake = formula::check(text)) {
    return u"The formula that says " + what + u" has a mistake: " + lowerFirst(statusLine(mistake)) + u".";
  }
  return std::nullopt;
}

}  // namespace

std::span<const ObjectConditionRow> objectConditionRows() { return kObjectRows; }
std::span<const SectionConditionRow> sectionConditionRows() { return kSectionRows; }

std::optional<Text> conditionProblem(const char16_t* label, const Text& text) {
  if (isBlank(text)) return std::nullopt;
  auto mistake = formula::check(text);
  if (!mistake) return std::nullopt;
  return Text(label) + u", " + lowerFirst(statusLine(mistake));
}

bool renameRunningTotalIn(Text& text, const Text& from, const Text& to) {
  const Text old = formula::runningTotalReference(from), renamed = formula::runningTotalReference(to);
  bool changed = false;
  for (std::size_t at = text.find(old); at != Text::npos; at = text.find(old, at + renamed.size())) {
    text.replace(at, old.size(), renamed);
    changed = true;
  }
  return changed;
}

std::optional<Text> runningTotalProblem(const model::ReportDefinition& report, const FieldList& fields,
                                        const model::RunningTotal& total, const Text& replacing,
                                        RunningTotalPart* part) {
  RunningTotalPart unused;
  RunningTotalPart& at = part ? *part : unused;
  at = RunningTotalPart::Name;
  const Text name = trim(total.name);
  if (name.empty()) return Text(u"Please give the running total a name.");
  if (name.find(u'}') != Text::npos) return Text(u"A running total's name cannot hold '}'.");
  for (const model::RunningTotal& other : report.runningTotals) {
    if (equalsNoCase(other.name, name) && !equalsNoCase(other.name, replacing)) {
      return u"The report already has a running total named " + name + u".";
    }
  }
  at = RunningTotalPart::Field;
  if (total.field.column.empty()) return Text(u"Please choose the field the running total summarizes.");
  if (auto gone = missingField(report, fields, total.field)) return gone;
  const bool adds = total.operation == model::SummaryOperation::Sum || total.operation == model::SummaryOperation::Average;
  if (adds && !total.field.isFormula()) {
    for (const auto& table : fields.tables) {
      if (!equalsNoCase(table.alias, total.field.table)) continue;
      for (const FieldColumn& column : table.columns) {
        const auto kind = column.shape.kind;
        if (equalsNoCase(column.name, total.field.column) && table.fromDatabase &&
            (kind == formula::ValueKind::Text || kind == formula::ValueKind::Date)) {
          return u"Only numbers can be added up: " + formula::fieldReference(total.field.table, total.field.column) +
                 (kind == formula::ValueKind::Text ? u" holds texts." : u" holds dates.") + u" Count it instead.";
        }
      }
    }
  }
  switch (total.evaluate) {
    case model::RunningTotalEvaluate::OnChangeOfField:
      at = RunningTotalPart::EvaluateField;
      if (total.evaluateField.column.empty()) return Text(u"Please choose the field whose change takes a record in.");
      if (auto gone = missingField(report, fields, total.evaluateField)) return gone;
      break;
    case model::RunningTotalEvaluate::OnFormula:
      at = RunningTotalPart::EvaluateFormula;
      if (auto problem = formulaProblem(total.evaluateFormula, u"when a record is taken in")) return problem;
      break;
    default: break;
  }
  switch (total.reset) {
    case model::RunningTotalReset::OnChangeOfGroup:
      at = RunningTotalPart::Reset;
      if (total.resetGroup < 1 || total.resetGroup > static_cast<std::int32_t>(report.data.groups.size())) {
        return report.data.groups.empty() ? Text(u"The report has no groups to start the running total again on.")
                                          : u"The report has no group " + decimal(total.resetGroup) + u".";
      }
      break;
    case model::RunningTotalReset::OnFormula:
      at = RunningTotalPart::ResetFormula;
      if (auto problem = formulaProblem(total.resetFormula, u"when the running total starts again")) return problem;
      break;
    default: break;
  }
  return std::nullopt;
}

}  // namespace mervane::authoring::designer
