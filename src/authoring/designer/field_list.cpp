// The field list's content: the report's own references, the database's
// columns where it answers, special fields and formulas.
#include "authoring/designer/field_list.h"

#include <algorithm>
#include <cmath>

#include "authoring/designer/properties.h"
#include "engine/layout/text_flow.h"

namespace mervane::authoring::designer {

namespace {

struct Collector {
  FieldList& list;
  void add(const model::FieldRef& f) {
    if (f.table.empty() || f.column.empty()) return;
    for (auto& t : list.tables)
      if (equalsNoCase(t.alias, f.table)) {
        if (std::none_of(t.columns.begin(), t.columns.end(),
                         [&](const FieldColumn& c) { return equalsNoCase(c.name, f.column); }))
          t.columns.push_back({f.column, {}});
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
  for (const auto& t : report.runningTotals) c.add(t.field), c.add(t.evaluateField);
  c.scan(report.data.recordFilter);
  for (int k = 1; k <= 7; ++k) {
    model::ReportObject o;
    o.kind = model::ObjectKind::SpecialField;
    o.special = static_cast<model::SpecialFieldKind>(k);
    list.specials.push_back({o.special, designText(o)});
  }
  for (const auto& f : report.formulas) list.formulas.push_back(f.name);
  for (const auto& t : report.runningTotals) list.runningTotals.push_back(t.name);
  for (const auto& p : report.parameters) list.parameters.push_back(p.name);
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

namespace {

namespace formula = engine::formula;

constexpr std::int32_t kUndeclaredTextLength = 30;
// Letters in about the proportions of names and words, for a font's
// average character width.
constexpr char16_t kAverageSample[] = u"Jack Dawson loves my big sphinx of quartz";

// The longest value of a number or date column as the field would show it.
Text longestValue(const ColumnShape& column, const model::Format& format) {
  if (column.kind == formula::ValueKind::Number) {
    const int digits = column.size > 0 ? std::min(column.size, 30) : 15;
    const int decimals = std::clamp(column.decimals, 0, digits);
    const int whole = std::max(1, digits - decimals);
    if (!format.numberFormat.empty())
      return formula::formatNumber(-(std::pow(10.0, whole) - std::pow(10.0, -decimals)), format.numberFormat);
    Text text = u"-" + Text(static_cast<std::size_t>(whole), u'9');
    if (decimals > 0) text += u"." + Text(static_cast<std::size_t>(decimals), u'9');
    return text;
  }
  if (column.kind == formula::ValueKind::Date) {
    // 28 September 2000, 23:59:59: the longest month name, two-digit days
    // and hours.
    const formula::DateTime longest{static_cast<double>(formula::dayNumber(2000, 9, 28)) + 86399.0 / 86400.0};
    if (!format.dateFormat.empty()) return formula::formatDate(longest, format.dateFormat);
    return column.size > 10 ? u"2000-09-28 23:59:59" : u"2000-09-28";
  }
  if (column.kind == formula::ValueKind::Boolean) return u"False";
  return Text();
}

}  // namespace

std::int32_t fieldWidth(const ColumnShape& column, const model::Format& format, engine::layout::TextMeasure& measure) {
  const engine::layout::Font font = engine::layout::fontOf(format);
  std::int64_t width = 0;
  if (column.kind == formula::ValueKind::Text || column.kind == formula::ValueKind::Null) {
    const TextView sample(kAverageSample);
    const std::int64_t characters = column.size > 0 ? std::min(column.size, 10000) : kUndeclaredTextLength;
    width = (characters * measure.width(font, sample) + static_cast<std::int64_t>(sample.size()) - 1) /
            static_cast<std::int64_t>(sample.size());
  } else {
    width = measure.width(font, longestValue(column, format));
  }
  // A little to spare, for a device that measures a little wider.
  width += width / 20 + 20;
  return static_cast<std::int32_t>(std::min<std::int64_t>(width, 1000000));
}

}  // namespace mervane::authoring::designer
