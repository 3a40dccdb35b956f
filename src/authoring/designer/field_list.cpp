// The field list's content: the report's own references, the database's
// columns where it answers, special fields and formulas.
#include "authoring/designer/field_list.h"

#include <algorithm>

#include "authoring/designer/properties.h"
#include "components/engine/data/table_connection.h"

namespace mervane::authoring::designer {

namespace {

struct Collector {
  FieldList& list;
  void add(const model::FieldRef& f) {
    if (f.table.empty() || f.column.empty()) return;
    for (auto& t : list.tables)
      if (equalsNoCase(t.alias, f.table)) {
        if (std::none_of(t.columns.begin(), t.columns.end(), [&](const Text& c) { return equalsNoCase(c, f.column); }))
          t.columns.push_back(f.column);
        return;
      }
  }
  // {Table.Column} references inside a formula's text.
  void scan(const Text& formula) {
    std::size_t at = 0;
    while ((at = formula.find(u'{', at)) != Text::npos) {
      const std::size_t end = formula.find(u'}', at);
      if (end == Text::npos) return;
      const Text inside = formula.substr(at + 1, end - at - 1);
      const std::size_t dot = inside.find(u'.');
      if (dot != Text::npos) add({inside.substr(0, dot), inside.substr(dot + 1)});
      at = end + 1;
    }
  }
};

}  // namespace

Text connectTextFor(const engine::ReportDocument& document, const model::Table& table) {
  return engine::data::tableConnectText(document, Text(), table);
}

FieldList usedFields(const engine::ReportDocument& document) {
  const model::ReportDefinition& report = document.definition;
  FieldList list;
  for (const auto& t : report.data.tables) list.tables.push_back({t.alias, {}, false});
  Collector c{list};
  for (const auto& s : report.sections)
    for (const auto& o : s.objects)
      if (o.kind == model::ObjectKind::DatabaseField || o.kind == model::ObjectKind::SummaryField) c.add(o.field);
  for (const auto& l : report.data.links) c.add(l.from), c.add(l.to);
  for (const auto& s : report.data.sortFields) c.add(s.field);
  for (const auto& g : report.data.groups) c.add(g.field);
  for (const auto& f : report.formulas) c.scan(f.text);
  c.scan(report.data.recordFilter);
  for (int k = 1; k <= 7; ++k) {
    model::ReportObject o;
    o.kind = model::ObjectKind::SpecialField;
    o.special = static_cast<model::SpecialFieldKind>(k);
    list.specials.push_back({o.special, designText(o)});
  }
  for (const auto& f : report.formulas) list.formulas.push_back(f.name);
  return list;
}

FieldList buildFieldList(const engine::ReportDocument& document, ColumnSource* source) {
  FieldList list = usedFields(document);
  if (!source) return list;
  const auto& tables = document.definition.data.tables;
  for (std::size_t i = 0; i < tables.size() && i < list.tables.size(); ++i) {
    auto columns = source->columns(document, tables[i]);
    if (!columns) continue;
    list.tables[i].columns = std::move(*columns);
    list.tables[i].fromDatabase = true;
  }
  return list;
}

}  // namespace mervane::authoring::designer
