// Detail fields found in the prepared report, their values per row (see
// report_records.h).
#include "engine/export/report_records.h"

#include "engine/model/parameters.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "engine/formula/formula.h"
#include "engine/layout/prepared_report.h"

namespace mervane::engine::exporting {

namespace {

using formula::Value;
using model::ObjectKind;

struct Column {
  RecordField field;
  layout::RowValueSource source;
  std::int32_t x = 0, y = 0;
};

// What formulas see: the current row; no page, so no page numbers.
class RecordContext final : public formula::EvaluationContext {
 public:
  RecordContext(const layout::PreparedReport& report, const Text& title, model::ParameterValues parameters)
      : report_(report), title_(title), parameters_(std::move(parameters)) {}
  void at(const std::vector<Value>* row, std::int64_t record) {
    row_ = row;
    record_ = record;
  }
  std::optional<Value> field(const Text& table, const Text& column) override {
    const int index = report_.fieldIndex(table, column);
    if (index < 0) return std::nullopt;
    return (*row_)[static_cast<std::size_t>(index)];
  }
  std::optional<Value> special(formula::SpecialValue which) override {
    switch (which) {
      case formula::SpecialValue::RecordNumber: return Value(static_cast<double>(record_));
      case formula::SpecialValue::ReportTitle: return Value(title_);
      case formula::SpecialValue::PrintDate: return Value(formula::DateTime{std::floor(now_)});
      case formula::SpecialValue::PrintTime: return Value(formula::DateTime{now_ - std::floor(now_)});
      default: return std::nullopt;
    }
  }
  const formula::Formula* formula(const Text& name) override { return report_.formula(name); }
  std::optional<formula::ParameterValue> parameter(const Text& name) override { return parameters_.find(name); }

 private:
  const layout::PreparedReport& report_;
  const Text& title_;
  model::ParameterValues parameters_;
  const std::vector<Value>* row_ = nullptr;
  std::int64_t record_ = 0;
  double now_ = [] {
    using namespace std::chrono;
    // Days since 30 December 1899 in UTC, as the run's print date.
    return duration<double>(system_clock::now().time_since_epoch()).count() / 86400.0 + 25569.0;
  }();
};

// The page header's text that lies over most of [x, x + width).
Text headingOver(const layout::PreparedReport& report, std::int32_t x, std::int32_t width) {
  Text best;
  std::int32_t bestOverlap = 0;
  for (int index : report.pageHeaders)
    for (const auto& po : report.sections[static_cast<std::size_t>(index)].objects) {
      const model::ReportObject& o = *po.object;
      if (o.kind != ObjectKind::Text || isBlank(o.text)) continue;
      const std::int32_t overlap = std::min(x + width, o.x + o.width) - std::max(x, o.x);
      if (overlap > bestOverlap) {
        bestOverlap = overlap;
        best = o.text;
      }
    }
  return best;
}

}  // namespace

struct ReportRecords::State {
  std::unique_ptr<layout::PreparedReport> report;
  std::vector<Column> columns;
  std::vector<RecordField> fields;
  std::unique_ptr<data::ReportData> data;
  std::unique_ptr<data::RowCursor> cursor;
  std::vector<Value> row;
  std::int64_t record = 0;
  Text title;
  std::unique_ptr<RecordContext> context;
};

ReportRecords::ReportRecords(const ReportDocument& document, data::DataProvider& provider)
    : state_(std::make_unique<State>()) {
  State& s = *state_;
  s.report = layout::prepare(document.definition, true);
  s.title = document.title;
  for (int index : s.report->details)
    for (const auto& po : s.report->sections[static_cast<std::size_t>(index)].objects) {
      const model::ReportObject& o = *po.object;
      if ((o.kind != ObjectKind::DatabaseField && o.kind != ObjectKind::FormulaField) || !po.value.valid()) continue;
      Column c;
      c.source = po.value;
      c.x = o.x;
      c.y = o.y;
      c.field.format = o.format;
      c.field.width = o.width;
      c.field.heading = headingOver(*s.report, o.x, o.width);
      if (c.field.heading.empty()) c.field.heading = o.kind == ObjectKind::FormulaField ? o.formula : o.field.column;
      s.columns.push_back(std::move(c));
    }
  std::stable_sort(s.columns.begin(), s.columns.end(),
                   [](const Column& a, const Column& b) { return a.x != b.x ? a.x < b.x : a.y < b.y; });
  for (const auto& c : s.columns) s.fields.push_back(c.field);
  s.context = std::make_unique<RecordContext>(*s.report, s.title, model::ParameterValues(document.definition.parameters));
  s.data = provider.open(document, s.report->definition, u"");
  s.cursor = s.data->rows(s.report->fields, {});
}

ReportRecords::~ReportRecords() = default;

const std::vector<RecordField>& ReportRecords::fields() const { return state_->fields; }

bool ReportRecords::next(std::vector<Value>& values) {
  State& s = *state_;
  if (!s.cursor->next(s.row)) return false;
  ++s.record;
  values.resize(s.columns.size());
  for (std::size_t i = 0; i < s.columns.size(); ++i) {
    const layout::RowValueSource& source = s.columns[i].source;
    if (source.field >= 0) {
      values[i] = s.row[static_cast<std::size_t>(source.field)];
    } else {
      s.context->at(&s.row, s.record);
      values[i] = source.formula->evaluate(*s.context);
    }
  }
  return true;
}

void ReportRecords::cancel() { state_->cursor->cancel(); }

}  // namespace mervane::engine::exporting
