// Report > Tables and the subreport links: what may change, and what goes
// with a table that goes.
#include "authoring/designer/report_tables.h"

#include <algorithm>

#include "engine/formula/formula.h"
#include "engine/layout/text_flow.h"

namespace mervane::authoring::designer {

namespace {

bool named(const std::vector<Text>& aliases, TextView alias) {
  return std::any_of(aliases.begin(), aliases.end(), [&](const Text& a) { return equalsNoCase(a, alias); });
}

bool mentions(TextView formula, const Text& alias) {
  return upper(Text(formula)).find(upper(u"{" + alias + u".")) != Text::npos;
}

Text kindInWords(engine::formula::ValueKind kind) {
  using engine::formula::ValueKind;
  switch (kind) {
    case ValueKind::Number: return u"numbers";
    case ValueKind::Date: return u"dates";
    case ValueKind::Boolean: return u"yes/no values";
    default: return u"text";
  }
}

}  // namespace

TableRemoval planTableRemoval(const model::ReportDefinition& report, const std::vector<Text>& aliases) {
  TableRemoval plan;
  plan.data = report.data;
  auto gone = [&](const model::FieldRef& f) { return !f.isFormula() && named(aliases, f.table); };

  for (const model::Group& group : report.data.groups) {
    if (gone(group.field)) {
      plan.refusal = u"The report is grouped by " + group.field.table + u"." + group.field.column +
                     u": remove that group before the table " + group.field.table + u".";
      return plan;
    }
  }
  for (const Text& alias : aliases) {
    if (mentions(report.data.recordFilter, alias)) {
      plan.refusal = u"The record filter uses the table " + alias + u": change the filter before removing the table.";
      return plan;
    }
    for (const model::Formula& formula : report.formulas) {
      if (mentions(formula.text, alias)) {
        plan.refusal = u"The formula " + formula.name + u" uses the table " + alias +
                       u": change the formula before removing the table.";
        return plan;
      }
    }
  }

  std::erase_if(plan.data.tables, [&](const model::Table& t) { return named(aliases, t.alias); });
  std::erase_if(plan.data.links, [&](const model::TableLink& l) { return gone(l.from) || gone(l.to); });
  std::erase_if(plan.data.sortFields, [&](const model::SortField& s) { return gone(s.field); });

  for (std::size_t s = 0; s < report.sections.size(); ++s) {
    const auto& objects = report.sections[s].objects;
    for (std::size_t i = 0; i < objects.size(); ++i) {
      const model::ReportObject& o = objects[i];
      const bool showsColumn = o.kind == model::ObjectKind::DatabaseField || o.kind == model::ObjectKind::SummaryField;
      const bool linksColumn = o.kind == model::ObjectKind::Subreport &&
                               std::any_of(o.subreport.links.begin(), o.subreport.links.end(),
                                           [&](const model::SubreportLink& l) { return gone(l.mainField); });
      if ((showsColumn && gone(o.field)) || linksColumn) plan.objects.push_back({{s, i}, o});
    }
  }
  if (!plan.objects.empty()) {
    Text tables;
    for (std::size_t i = 0; i < aliases.size(); ++i) {
      if (i > 0) tables += i + 1 == aliases.size() ? u" and " : u", ";
      tables += aliases[i];
    }
    const std::size_t n = plan.objects.size();
    plan.question = Text(aliases.size() == 1 ? u"Remove the table " : u"Remove the tables ") + tables + u" and the " +
                    (n == 1 ? Text(u"field that shows") : decimal(static_cast<std::int64_t>(n)) + u" fields that show") +
                    (aliases.size() == 1 ? u" its columns?" : u" their columns?");
  }
  return plan;
}

Text linkRefusal(const model::FieldRef& mainField, const ColumnShape* mainShape, const model::FieldRef& subreportField,
                 const ColumnShape* subreportShape) {
  if (subreportField.column.empty()) return u"Please choose the subreport's field.";
  if (!mainShape || !subreportShape || mainShape->kind == subreportShape->kind) return Text();
  auto shown = [](const model::FieldRef& f) { return f.isFormula() ? f.column : f.table + u"." + f.column; };
  return u"The field " + shown(mainField) + u" holds " + kindInWords(mainShape->kind) + u" and " +
         shown(subreportField) + u" holds " + kindInWords(subreportShape->kind) +
         u": a link needs two fields of the same type.";
}

const ColumnShape* listedShape(const FieldList& list, const model::FieldRef& field) {
  if (field.isFormula()) return nullptr;
  for (const FieldList::TableEntry& table : list.tables) {
    if (!table.fromDatabase || !equalsNoCase(table.alias, field.table)) continue;
    for (const FieldColumn& column : table.columns)
      if (equalsNoCase(column.name, field.column)) return &column.shape;
  }
  return nullptr;
}

model::ReportDefinition subreportOnTable(const model::Table& table, const std::vector<FieldColumn>& columns,
                                         std::int32_t width, engine::layout::TextMeasure& measure) {
  constexpr std::int32_t kRow = 240, kGap = 120;
  model::ReportDefinition report = model::blankReport();
  report.data.tables = {table};
  for (model::Section& section : report.sections) {
    // Only the report header, details and report footer print inside a page.
    section.height = section.kind == model::SectionKind::ReportHeader || section.kind == model::SectionKind::Details
                         ? kRow
                         : 0;
  }
  auto sectionOf = [&](model::SectionKind kind) -> model::Section& {
    return *std::find_if(report.sections.begin(), report.sections.end(),
                         [&](const model::Section& s) { return s.kind == kind; });
  };
  model::Section& header = sectionOf(model::SectionKind::ReportHeader);
  model::Section& details = sectionOf(model::SectionKind::Details);
  std::int32_t x = 0;
  for (const FieldColumn& column : columns) {
    model::ReportObject field;
    field.kind = model::ObjectKind::DatabaseField;
    field.field = {table.alias, column.name, {}};
    field.name = column.name;
    model::ReportObject heading;
    heading.kind = model::ObjectKind::Text;
    heading.text = column.name;
    heading.name = u"Heading" + decimal(static_cast<std::int64_t>(header.objects.size() + 1));
    heading.format.bold = true;
    const std::int32_t w = std::max(fieldWidth(column.shape, field.format, measure),
                                    measure.width(engine::layout::fontOf(heading.format), heading.text));
    if (x > 0 && x + w > width) break;
    field.x = heading.x = x;
    field.width = heading.width = std::min(w, width);
    field.height = heading.height = kRow;
    details.objects.push_back(std::move(field));
    header.objects.push_back(std::move(heading));
    x += w + kGap;
  }
  return report;
}

std::optional<ObjectRef> findSubreportAgain(const model::ReportDefinition& main, const Text& objectName,
                                            const Text& subreportName, ObjectRef last, const std::vector<Text>& others) {
  const auto isSubreport = [](const model::ReportObject& o) {
    return o.kind == model::ObjectKind::Subreport && o.subreport.definition;
  };
  const model::ReportObject* there =
      last.section < main.sections.size() && last.index < main.sections[last.section].objects.size()
          ? &main.sections[last.section].objects[last.index]
          : nullptr;
  // Still where it was (an object without a name is known by its subreport's).
  if (there && isSubreport(*there) && equalsNoCase(there->name, objectName) &&
      (!objectName.empty() || there->subreport.name == subreportName))
    return last;
  for (std::size_t s = 0; s < main.sections.size() && !objectName.empty(); ++s)
    for (std::size_t i = 0; i < main.sections[s].objects.size(); ++i) {
      const model::ReportObject& o = main.sections[s].objects[i];
      if (isSubreport(o) && equalsNoCase(o.name, objectName)) return ObjectRef{s, i};
    }
  const bool shownElsewhere = there && std::any_of(others.begin(), others.end(), [&](const Text& name) {
    return equalsNoCase(name, there->name);
  });
  if (there && isSubreport(*there) && there->subreport.name == subreportName && !shownElsewhere) return last;
  return std::nullopt;
}

}  // namespace mervane::authoring::designer
