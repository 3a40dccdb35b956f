// A parameter's uses: found, renamed, and its fields taken with it.
#include "authoring/designer/parameter_uses.h"

#include <algorithm>

#include "authoring/designer/conditions.h"
#include "engine/formula/formula.h"
#include "engine/model/parameters.h"

namespace mervane::authoring::designer {

namespace {

namespace formula = engine::formula;

bool mentions(const Text& text, const Text& name) {
  return !text.empty() && upper(text).find(upper(formula::parameterReference(name))) != Text::npos;
}

// Every {?from} of `text` (letter case ignored) turned into {?to}, all
// renames at once, so that names swapped or passed along land right.
void renameIn(Text& text, const std::vector<std::pair<Text, Text>>& renamed) {
  if (text.find(u"{?") == Text::npos) return;
  const auto replaceAll = [&text](const Text& from, const Text& to, bool ignoreCase) {
    const Text key = ignoreCase ? upper(from) : from;
    for (std::size_t at = (ignoreCase ? upper(text) : text).find(key); at != Text::npos;
         at = (ignoreCase ? upper(text) : text).find(key, at + to.size()))
      text.replace(at, from.size(), to);
  };
  for (std::size_t k = 0; k < renamed.size(); ++k)
    replaceAll(formula::parameterReference(renamed[k].first), u"\x01" + decimal(static_cast<std::int64_t>(k)) + u"\x01", true);
  for (std::size_t k = 0; k < renamed.size(); ++k)
    replaceAll(u"\x01" + decimal(static_cast<std::int64_t>(k)) + u"\x01", formula::parameterReference(renamed[k].second), false);
}

bool listed(const std::vector<Text>& names, const Text& name) {
  return std::any_of(names.begin(), names.end(), [&](const Text& n) { return equalsNoCase(n, name); });
}

void collectUses(const model::ReportDefinition& r, const Text& name, const Text& where, std::vector<Text>& out) {
  const auto uses = [&](const Text& text) { return mentions(text, name); };
  for (const model::Formula& f : r.formulas)
    if (uses(f.text)) out.push_back(u"the formula @" + f.name + where);
  if (uses(r.data.recordFilter)) out.push_back(u"the record filter" + where);
  for (const model::RunningTotal& t : r.runningTotals)
    if (uses(t.evaluateFormula) || uses(t.resetFormula)) out.push_back(u"the running total #" + t.name + where);
  for (const model::Section& section : r.sections) {
    const auto& rows = sectionConditionRows();
    if (std::any_of(rows.begin(), rows.end(), [&](const auto& row) { return uses(section.conditions.*row.member); }))
      out.push_back(u"the conditions of the section " + section.name + where);
    for (const model::ReportObject& o : section.objects) {
      if (o.kind == model::ObjectKind::Text && uses(o.text)) out.push_back(u"the text object " + o.name + where);
      if (o.kind == model::ObjectKind::ParameterField && equalsNoCase(o.text, name))
        out.push_back(u"the parameter field " + o.name + where);
      const auto& objectRows = objectConditionRows();
      if (std::any_of(objectRows.begin(), objectRows.end(), [&](const auto& row) { return uses(o.conditions.*row.member); }))
        out.push_back(u"the conditional formatting of " + o.name + where);
      // A subreport sees the main report's parameter unless it has its own of that name.
      if (o.kind == model::ObjectKind::Subreport && o.subreport.definition && where.empty() &&
          !engine::model::findParameter(o.subreport.definition->parameters, name))
        collectUses(*o.subreport.definition, name, u" in the subreport " + o.subreport.name, out);
    }
  }
}

void carry(model::ReportDefinition& r, const ParameterEdits& edits, bool inSubreport) {
  for (model::Formula& f : r.formulas) renameIn(f.text, edits.renamed);
  renameIn(r.data.recordFilter, edits.renamed);
  for (model::RunningTotal& t : r.runningTotals) {
    renameIn(t.evaluateFormula, edits.renamed);
    renameIn(t.resetFormula, edits.renamed);
  }
  for (model::Section& section : r.sections) {
    for (const auto& row : sectionConditionRows()) renameIn(section.conditions.*row.member, edits.renamed);
    std::erase_if(section.objects, [&](const model::ReportObject& o) {
      return o.kind == model::ObjectKind::ParameterField && listed(edits.deleted, o.text);
    });
    for (model::ReportObject& o : section.objects) {
      if (o.kind == model::ObjectKind::Text) renameIn(o.text, edits.renamed);
      if (o.kind == model::ObjectKind::ParameterField)
        for (const auto& [from, to] : edits.renamed)
          if (equalsNoCase(o.text, from)) {
            o.text = to;
            break;
          }
      for (const auto& row : objectConditionRows()) renameIn(o.conditions.*row.member, edits.renamed);
      if (o.kind != model::ObjectKind::Subreport || !o.subreport.definition || inSubreport) continue;
      // Only what the subreport sees of the main report's: not names it has of its own.
      ParameterEdits seen;
      const auto own = [&](const Text& name) { return engine::model::findParameter(o.subreport.definition->parameters, name); };
      for (const auto& rename : edits.renamed)
        if (!own(rename.first)) seen.renamed.push_back(rename);
      for (const Text& name : edits.deleted)
        if (!own(name)) seen.deleted.push_back(name);
      if (!seen.empty()) carry(*o.subreport.definition, seen, true);
    }
  }
}

}  // namespace

std::vector<Text> parameterUses(const model::ReportDefinition& report, const Text& name) {
  std::vector<Text> out;
  collectUses(report, name, Text(), out);
  return out;
}

Text deleteParameterQuestion(const Text& name, const std::vector<Text>& uses) {
  Text list;
  for (std::size_t i = 0; i < uses.size(); ++i)
    list += (i == 0 ? u"" : i + 1 == uses.size() ? u" and " : u", ") + uses[i];
  return u"The parameter " + name + u" is used by " + list +
         u".\n\nDelete it anyway? Parameter fields that show it are removed with it; formulas that use it will "
         u"say it is missing, and texts will show " + formula::parameterReference(name) +
         u" as written, until you change them.";
}

model::ReportDefinition withParameters(const model::ReportDefinition& report, std::vector<model::Parameter> parameters,
                                       const ParameterEdits& edits) {
  model::ReportDefinition after = report;
  after.parameters = std::move(parameters);
  if (!edits.empty()) carry(after, edits, false);
  return after;
}

std::unique_ptr<Command> changeDefinition(model::ReportDefinition before, model::ReportDefinition after) {
  struct ChangeDefinition final : Command {
    model::ReportDefinition before, after;
    void apply(engine::ReportDocument& document) override { document.definition = after; }
    void revert(engine::ReportDocument& document) override { document.definition = before; }
  };
  auto command = std::make_unique<ChangeDefinition>();
  command->before = std::move(before);
  command->after = std::move(after);
  return command;
}

}  // namespace mervane::authoring::designer
