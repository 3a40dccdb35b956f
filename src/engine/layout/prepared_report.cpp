// Making a definition ready to lay out: fields, formulas, sections by kind
// and summary slots.
#include "engine/layout/prepared_report.h"

#include "engine/formula/syntax.h"

namespace mervane::engine::layout {
namespace {

using model::ObjectKind;
using model::SectionKind;

bool isTextKind(ObjectKind kind) {
  return kind == ObjectKind::Text || kind == ObjectKind::DatabaseField || kind == ObjectKind::SpecialField ||
         kind == ObjectKind::SummaryField || kind == ObjectKind::FormulaField || kind == ObjectKind::ParameterField ||
         kind == ObjectKind::RunningTotalField;
}

bool sameField(const model::FieldRef& a, const model::FieldRef& b) {
  return equalsNoCase(a.table, b.table) && equalsNoCase(a.column, b.column);
}

class Preparer {
 public:
  Preparer(PreparedReport& report, bool main) : r_(report), main_(main) {}

  void run() {
    const int groups = static_cast<int>(r_.definition.data.groups.size());
    for (const model::Group& group : r_.definition.data.groups) r_.groups.push_back(source(group.field));
    runningTotals(groups);
    r_.groupHeaders.resize(static_cast<std::size_t>(groups) + 1);
    r_.groupFooters.resize(static_cast<std::size_t>(groups) + 1);
    std::vector<std::vector<const model::Section*>> slotPlaces;

    for (const model::Section& section : r_.definition.sections) {
      if (section.suppress && trim(section.conditions.suppress).empty()) continue;
      const bool grouped = section.kind == SectionKind::GroupHeader || section.kind == SectionKind::GroupFooter;
      if (grouped && (section.group < 1 || section.group > groups)) continue;
      PreparedSection prepared;
      prepared.section = &section;
      const Text where = u"section " + (section.name.empty() ? decimal(r_.sections.size() + 1) : section.name);
      prepared.suppress = condition(section.conditions.suppress, u"The suppress condition of the " + where);
      prepared.newPageBefore = condition(section.conditions.newPageBefore, u"The new page before condition of the " + where);
      prepared.newPageAfter = condition(section.conditions.newPageAfter, u"The new page after condition of the " + where);
      for (const model::ReportObject& object : section.objects) {
        PreparedObject po;
        po.object = &object;
        switch (object.kind) {
          case ObjectKind::DatabaseField:
            po.value = source(object.field);
            po.affectsLayout = po.value.formula != nullptr;
            break;
          case ObjectKind::FormulaField:
            po.value = source(model::FieldRef{u"", object.formula, {}});
            po.affectsLayout = true;
            break;
          case ObjectKind::SummaryField:
            po.slot = slot(object);
            if (slotPlaces.size() <= static_cast<std::size_t>(po.slot)) slotPlaces.resize(po.slot + 1);
            slotPlaces[static_cast<std::size_t>(po.slot)].push_back(&section);
            break;
          case ObjectKind::Subreport:
            if (!main_ || !object.subreport.definition) continue;  // no subreports inside subreports
            po.subreport = subreport(object.subreport);
            po.affectsLayout = !object.subreport.onDemand;  // a link keeps the object's size
            break;
          case ObjectKind::RunningTotalField:
            po.runningTotal = r_.runningTotalIndex(object.formula);
            if (po.runningTotal < 0) {
              throw PrepareError(u"The report shows the running total " + formula::runningTotalReference(object.formula) +
                                 u", which it does not have.");
            }
            break;
          case ObjectKind::Picture:
            // No file of its own: the picture in the object's column, per record.
            if (object.picture.image.empty() && !object.field.column.empty()) po.value = source(object.field);
            break;
          case ObjectKind::ParameterField:
          case ObjectKind::Text:
          case ObjectKind::SpecialField:
          case ObjectKind::Line:
          case ObjectKind::Box: break;
          default: continue;  // a kind of a newer version: passed over
        }
        if (isTextKind(object.kind) && object.format.canGrow) po.affectsLayout = true;
        conditions(po, object);
        prepared.fixedHeight = prepared.fixedHeight && !po.affectsLayout;
        prepared.objects.push_back(std::move(po));
      }
      const int index = static_cast<int>(r_.sections.size());
      r_.sections.push_back(std::move(prepared));
      switch (section.kind) {
        case SectionKind::ReportHeader: r_.reportHeaders.push_back(index); break;
        case SectionKind::PageHeader: r_.pageHeaders.push_back(index); break;
        case SectionKind::GroupHeader: r_.groupHeaders[static_cast<std::size_t>(section.group)].push_back(index); break;
        case SectionKind::Details: r_.details.push_back(index); break;
        case SectionKind::GroupFooter: r_.groupFooters[static_cast<std::size_t>(section.group)].push_back(index); break;
        case SectionKind::PageFooter: r_.pageFooters.push_back(index); break;
        case SectionKind::ReportFooter: r_.reportFooters.push_back(index); break;
        default: r_.sections.pop_back(); break;
      }
    }

    // Which levels read their rows ahead: those with a summary printed
    // before the end of its rows, or a distinct count (adding one up as
    // rows pass would keep every value seen in memory).
    r_.readAhead.assign(static_cast<std::size_t>(groups) + 1, false);
    // Whole-report totals of the main report's columns needed that early
    // come from the data instead, one aggregate query.
    slotPlaces.resize(r_.slots.size());
    for (std::size_t i = 0; i < r_.slots.size(); ++i) {
      SummarySlot& s = r_.slots[i];
      bool ahead = s.operation == model::SummaryOperation::DistinctCount;
      for (const model::Section* place : slotPlaces[i]) {
        const bool behindItsRows = place->kind == SectionKind::ReportFooter ||
                                   (s.level > 0 && place->kind == SectionKind::GroupFooter && place->group <= s.level);
        ahead = ahead || !behindItsRows;
      }
      if (ahead && main_ && s.level == 0 && !s.field.isFormula()) {
        s.fromData = true;
      } else if (ahead) {
        r_.readAhead[static_cast<std::size_t>(s.level)] = true;
      }
    }
  }

 private:
  int field(const model::FieldRef& ref) {
    int index = r_.fieldIndex(ref.table, ref.column);
    if (index >= 0) return index;
    r_.fields.push_back(model::FieldRef{ref.table, ref.column, {}});
    return static_cast<int>(r_.fields.size()) - 1;
  }

  RowValueSource source(const model::FieldRef& ref) {
    RowValueSource result;
    if (ref.isFormula()) {
      result.formula = formula(ref.column);
      result.formulaName = ref.column;
    } else {
      result.field = field(ref);
    }
    return result;
  }

  const formula::Formula* formula(const Text& name) {
    if (const formula::Formula* known = r_.formula(name)) return known;
    const model::Formula* found = nullptr;
    for (const model::Formula& f : r_.definition.formulas) {
      if (equalsNoCase(f.name, name)) found = &f;
    }
    if (!found) throw PrepareError(u"The report uses the formula " + formula::formulaReference(name) + u", which it does not have.");
    std::shared_ptr<const formula::Formula> parsed;
    try {
      parsed = formula::Formula::parse(found->text);
    } catch (const formula::FormulaError& error) {
      throw PrepareError(u"The formula " + formula::formulaReference(found->name) + u" has a mistake: " +
                         error.message() + u".");
    }
    r_.formulas.emplace_back(found->name, parsed);
    walk(parsed->root());
    return parsed.get();
  }

  // The fields and formulas a formula uses.
  void walk(const formula::Node& node) {
    if (node.kind == formula::Node::Kind::Field) field(model::FieldRef{node.table, node.name, {}});
    if (node.kind == formula::Node::Kind::FormulaRef) {
      for (const model::Formula& f : r_.definition.formulas) {
        if (equalsNoCase(f.name, node.name)) {
          formula(node.name);
          break;
        }
      }
    }
    for (const auto& child : node.children) walk(*child);
  }

  // A condition's formula, parsed, its fields asked of the data; null when
  // there is none.
  const formula::Formula* condition(const Text& text, const Text& what) {
    if (trim(text).empty()) return nullptr;
    std::shared_ptr<const formula::Formula> parsed;
    try {
      parsed = formula::Formula::parse(text);
    } catch (const formula::FormulaError& error) {
      throw PrepareError(what + u" has a mistake: " + error.message() + u".");
    }
    walk(parsed->root());
    r_.conditionFormulas.push_back(parsed);
    return parsed.get();
  }

  void conditions(PreparedObject& po, const model::ReportObject& object) {
    const model::ObjectConditions& c = object.conditions;
    if (c.empty()) return;
    const Text of = u" condition of " + (object.name.empty() ? Text(u"an object") : object.name);
    auto prepared = std::make_unique<PreparedConditions>();
    prepared->suppress = condition(c.suppress, u"The suppress" + of);
    prepared->fontColour = condition(c.fontColour, u"The font colour" + of);
    prepared->background = condition(c.background, u"The background colour" + of);
    prepared->bold = condition(c.bold, u"The bold" + of);
    prepared->italic = condition(c.italic, u"The italic" + of);
    prepared->border = condition(c.border, u"The border" + of);
    // Whether a growing object prints changes the section's height.
    if (prepared->suppress && object.format.canGrow) po.affectsLayout = true;
    po.conditions = std::move(prepared);
  }

  void runningTotals(int groups) {
    for (const model::RunningTotal& total : r_.definition.runningTotals) {
      const Text name = formula::runningTotalReference(total.name);
      if (trim(total.name).empty()) throw PrepareError(u"The report has a running total without a name.");
      if (r_.runningTotalIndex(total.name) >= 0) throw PrepareError(u"The report has two running totals called " + name + u".");
      if (total.field.column.empty()) throw PrepareError(u"The running total " + name + u" has no field to add up.");
      PreparedRunningTotal p;
      p.name = total.name;
      p.operation = total.operation;
      p.value = source(total.field);
      p.evaluate = total.evaluate;
      if (total.evaluate == model::RunningTotalEvaluate::OnChangeOfField) {
        if (total.evaluateField.column.empty()) p.evaluate = model::RunningTotalEvaluate::EveryRecord;
        else p.evaluateField = source(total.evaluateField);
      } else if (total.evaluate == model::RunningTotalEvaluate::OnFormula) {
        p.evaluateFormula = condition(total.evaluateFormula, u"The evaluate formula of the running total " + name);
        if (!p.evaluateFormula) p.evaluate = model::RunningTotalEvaluate::EveryRecord;
      } else {
        p.evaluate = model::RunningTotalEvaluate::EveryRecord;
      }
      p.reset = total.reset;
      if (total.reset == model::RunningTotalReset::OnChangeOfGroup) {
        p.resetGroup = total.resetGroup >= 1 && total.resetGroup <= groups ? total.resetGroup : 0;
      } else if (total.reset == model::RunningTotalReset::OnFormula) {
        p.resetFormula = condition(total.resetFormula, u"The reset formula of the running total " + name);
      }
      if (!p.resetGroup && !p.resetFormula) p.reset = model::RunningTotalReset::Never;
      r_.runningTotals.push_back(std::move(p));
    }
  }

  int slot(const model::ReportObject& object) {
    const int groups = static_cast<int>(r_.groups.size());
    const int level = object.summaryGroup >= 1 && object.summaryGroup <= groups ? object.summaryGroup : 0;
    for (std::size_t i = 0; i < r_.slots.size(); ++i) {
      const SummarySlot& s = r_.slots[i];
      if (s.level == level && s.operation == object.summary && sameField(s.field, object.field)) return static_cast<int>(i);
    }
    SummarySlot s;
    s.operation = object.summary;
    s.level = level;
    s.field = object.field;
    s.value = source(object.field);
    r_.slots.push_back(std::move(s));
    return static_cast<int>(r_.slots.size()) - 1;
  }

  int subreport(const model::Subreport& sub) {
    PreparedSubreport prepared;
    prepared.name = sub.name;
    try {
      prepared.report = prepare(*sub.definition, false);
      prepared.report->subreportParameters = model::subreportParameterValues(r_.definition, *sub.definition);
    } catch (const PrepareError& error) {
      throw PrepareError(u"In the subreport " + sub.name + u": " + error.message());
    }
    for (const model::SubreportLink& link : sub.links) {
      prepared.links.push_back(SubreportLinkSource{source(link.mainField), link.subreportField});
    }
    r_.subreports.push_back(std::move(prepared));
    return static_cast<int>(r_.subreports.size()) - 1;
  }

  PreparedReport& r_;
  bool main_;
};

}  // namespace

int PreparedReport::fieldIndex(TextView table, TextView column) const {
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (equalsNoCase(fields[i].column, column) && equalsNoCase(fields[i].table, table)) return static_cast<int>(i);
  }
  return -1;
}

const formula::Formula* PreparedReport::formula(TextView name) const {
  for (const auto& [known, parsed] : formulas) {
    if (equalsNoCase(known, name)) return parsed.get();
  }
  return nullptr;
}

int PreparedReport::runningTotalIndex(TextView name) const {
  for (std::size_t i = 0; i < runningTotals.size(); ++i) {
    if (equalsNoCase(runningTotals[i].name, name)) return static_cast<int>(i);
  }
  return -1;
}

std::unique_ptr<PreparedReport> prepare(const model::ReportDefinition& definition, bool main) {
  auto report = std::make_unique<PreparedReport>();
  report->definition = definition;
  Preparer(*report, main).run();
  return report;
}

}  // namespace mervane::engine::layout
