// The section stream and the pager (see page_layout.h).
#include "engine/layout/page_layout.h"

#include <algorithm>
#include <type_traits>
#include <variant>
#include <cmath>
#include <unordered_set>

#include "engine/layout/picture.h"
#include "engine/layout/text_flow.h"

namespace mervane::engine::layout {
namespace {

using formula::Value;
using formula::ValueKind;
using model::ObjectKind;
using model::SectionKind;
using model::SummaryOperation;

constexpr std::uint32_t kLinkColour = 0x0000FF;  // the blue of links

Value resultOf(const Accumulator& acc, SummaryOperation operation, std::size_t distinct) {
  switch (operation) {
    case SummaryOperation::Sum: return acc.numbers > 0 ? Value(acc.sum) : Value();
    case SummaryOperation::Count: return Value(static_cast<double>(acc.count));
    case SummaryOperation::DistinctCount: return Value(static_cast<double>(distinct));
    case SummaryOperation::Average:
      return acc.numbers > 0 ? Value(acc.sum / static_cast<double>(acc.numbers)) : Value();
    case SummaryOperation::Minimum: return acc.extremes.minimum;
    case SummaryOperation::Maximum: return acc.extremes.maximum;
  }
  return Value();
}

bool wantsExtremes(SummaryOperation operation) {
  return operation == SummaryOperation::Minimum || operation == SummaryOperation::Maximum;
}

// What formulas see: the row being printed, the page, the report.
class RowContext final : public formula::EvaluationContext {
 public:
  RowContext(const PreparedReport& report, LayoutEnvironment& environment, std::int32_t page)
      : report_(report), environment_(environment), page_(page) {}

  void at(const EncodedRow* row, std::int64_t record) {
    row_ = row;
    record_ = record;
  }
  void flow(const FlowState* state) { flow_ = state; }
  Spool* distinctValues() const { return environment_.distinctValues; }
  // The value of the object whose conditions are being worked out.
  void current(const Value* value) { current_ = value; }
  bool usedPageCount() const { return usedPageCount_; }
  std::int32_t page() const { return page_; }
  std::int32_t pageCount() {
    if (environment_.pageCount) return *environment_.pageCount;
    usedPageCount_ = true;
    return std::max(environment_.pagesSoFar, page_);
  }

  std::optional<Value> field(const Text& table, const Text& column) override {
    const int index = report_.fieldIndex(table, column);
    if (index < 0) return std::nullopt;
    if (!row_) return Value();
    return row_->value(static_cast<std::size_t>(index));
  }

  std::optional<Value> special(formula::SpecialValue which) override {
    switch (which) {
      case formula::SpecialValue::PageNumber: return Value(page_);
      case formula::SpecialValue::TotalPageCount: return Value(pageCount());
      case formula::SpecialValue::RecordNumber: return Value(static_cast<double>(record_));
      case formula::SpecialValue::PrintDate:
        return Value(formula::DateTime{std::floor(environment_.printDateTime)});
      case formula::SpecialValue::PrintTime:
        return Value(formula::DateTime{environment_.printDateTime - std::floor(environment_.printDateTime)});
      case formula::SpecialValue::ReportTitle: return Value(environment_.title);
      case formula::SpecialValue::CurrentFieldValue: return current_ ? *current_ : Value();
    }
    return std::nullopt;
  }

  const formula::Formula* formula(const Text& name) override { return report_.formula(name); }
  std::optional<formula::ParameterValue> parameter(const Text& name) override {
    return (report_.subreportParameters ? *report_.subreportParameters : environment_.parameters).find(name);
  }

  std::optional<Value> runningTotal(const Text& name) override {
    const int index = report_.runningTotalIndex(name);
    if (index < 0) return std::nullopt;
    return runningValue(index);
  }

  Value runningValue(int index) const {
    const auto i = static_cast<std::size_t>(index);
    if (!flow_ || i >= flow_->totals.size()) return Value();
    const RunningState& s = flow_->totals[i];
    return resultOf(s.sums, report_.runningTotals[i].operation, s.distinct.seen.size());
  }

  // A condition's value for the current record; nothing when it cannot be
  // worked out (the object then prints as it is).
  std::optional<Value> condition(const formula::Formula* formula) {
    if (!formula) return std::nullopt;
    try {
      return formula->evaluate(*this);
    } catch (const formula::FormulaError&) {
      return std::nullopt;
    }
  }
  bool isTrue(const formula::Formula* formula, bool otherwise) {
    const std::optional<Value> value = condition(formula);
    if (!formula) return otherwise;
    return value && value->kind() == ValueKind::Boolean && value->boolean();
  }

 private:
  const PreparedReport& report_;
  LayoutEnvironment& environment_;
  std::int32_t page_;
  const EncodedRow* row_ = nullptr;
  std::int64_t record_ = 0;
  bool usedPageCount_ = false;
  const FlowState* flow_ = nullptr;
  const Value* current_ = nullptr;
};

// A colour a condition gave: a number 0xRRGGBB.
std::optional<std::uint32_t> colourOf(const std::optional<Value>& value) {
  if (!value || value->kind() != ValueKind::Number) return std::nullopt;
  const double n = std::round(value->number());
  if (!(n >= 0 && n <= 0xFFFFFF)) return std::nullopt;
  return static_cast<std::uint32_t>(n);
}

// The object's format for the current record, changed as its conditions say.
void applyConditions(const PreparedConditions& c, RowContext& context, model::Format& format) {
  if (const auto colour = colourOf(context.condition(c.fontColour))) format.colour = *colour;
  if (const auto colour = colourOf(context.condition(c.background))) {
    format.background = *colour;
    format.filled = true;
  }
  if (const auto bold = context.condition(c.bold); bold && bold->kind() == ValueKind::Boolean) format.bold = bold->boolean();
  if (const auto italic = context.condition(c.italic); italic && italic->kind() == ValueKind::Boolean) {
    format.italic = italic->boolean();
  }
  if (const auto border = context.condition(c.border)) {
    if (border->kind() == ValueKind::Boolean) {
      format.border = border->boolean() ? model::BorderStyle::Single : model::BorderStyle::None;
    } else if (border->kind() == ValueKind::Number && border->number() >= 0 && border->number() <= 4) {
      format.border = static_cast<model::BorderStyle>(static_cast<int>(border->number()));
    }
  }
}

// A formula's mistake, named after the formula it is in.
[[noreturn]] void rethrowIn(const Text& name, const formula::FormulaError& error) {
  if (error.problem().starts_with(u"In {@")) throw error;
  throw formula::FormulaError(error.position(), u"In " + formula::formulaReference(name) + u": " + error.problem());
}

Value evaluate(const RowValueSource& source, const EncodedRow* row, std::int64_t record, RowContext& context) {
  if (source.field >= 0) return row ? row->value(static_cast<std::size_t>(source.field)) : Value();
  if (!source.formula) return Value();
  context.at(row, record);
  try {
    return source.formula->evaluate(context);
  } catch (const formula::FormulaError& error) {
    rethrowIn(source.formulaName, error);
  }
}

// Which section prints next, row by row (see page_layout.h).
class SectionStream {
 public:
  SectionStream(const PreparedReport& report, RowFeed& feed, FlowState& state, RowContext& context)
      : report_(report), feed_(feed), state_(state), context_(context), distinctSpool_(context.distinctValues()) {
    context_.flow(&state_);
    for (RunningState& total : state_.totals) {
      if (!total.distinct.unread) continue;
      if (!distinctSpool_) throw std::runtime_error("The values of a distinct count were not kept.");
      total.distinct.readBack(*distinctSpool_);
    }
  }

  // Reads again the rows a saved state stood on.
  void restore() {
    std::uint64_t after = 0;
    if (state_.record > 0) feed_.read(state_.currentOffset, current_, after);
    if (state_.haveNext) feed_.read(state_.afterCurrent, next_, after);
  }

  const EncodedRow* row() const { return state_.record > 0 ? &current_ : nullptr; }
  std::int64_t record() const { return state_.record; }

  Value summary(int slot, const std::function<const std::vector<Value>&()>* fromData) const {
    const SummarySlot& s = report_.slots[static_cast<std::size_t>(slot)];
    if (s.fromData) {
      if (!fromData || !*fromData) return Value();
      const std::vector<Value>& values = (*fromData)();
      return static_cast<std::size_t>(slot) < values.size() ? values[static_cast<std::size_t>(slot)] : Value();
    }
    if (report_.readAhead[static_cast<std::size_t>(s.level)]) return state_.ahead[static_cast<std::size_t>(slot)];
    return resultOf(state_.running[static_cast<std::size_t>(slot)], s.operation, 0);
  }

  // The next section to print (an index into report.sections); -1 after the last.
  int next() {
    FlowState& s = state_;
    const int groups = report_.groupCount();
    for (;;) {
      switch (s.phase) {
        case Phase::ReportHeader:
          if (s.item < report_.reportHeaders.size()) return report_.reportHeaders[s.item++];
          s.phase = Phase::FirstRow;
          s.item = 0;
          break;
        case Phase::FirstRow:
          if (!feed_.read(s.startOffset, current_, s.afterCurrent)) {
            s.phase = Phase::ReportFooter;
            s.item = 0;
            break;
          }
          s.currentOffset = s.startOffset;
          s.record = 1;
          if (report_.readAhead[0]) readAhead(0);
          enterRow(1);
          s.phase = Phase::GroupHeaders;
          s.level = 1;
          s.item = 0;
          break;
        case Phase::GroupHeaders:
          if (s.level <= groups) {
            const auto& list = report_.groupHeaders[static_cast<std::size_t>(s.level)];
            if (s.item < list.size()) return list[s.item++];
            ++s.level;
            s.item = 0;
            break;
          }
          s.phase = Phase::Details;
          s.item = 0;
          break;
        case Phase::Details:
          if (s.item < report_.details.size()) return report_.details[s.item++];
          s.phase = Phase::NextRow;
          break;
        case Phase::NextRow:
          s.haveNext = feed_.read(s.afterCurrent, next_, s.afterNext);
          s.changed = s.haveNext ? firstChange() : 1;
          s.phase = Phase::GroupFooters;
          s.level = groups;
          s.item = 0;
          break;
        case Phase::GroupFooters:
          if (s.level >= s.changed && s.level >= 1) {
            const auto& list = report_.groupFooters[static_cast<std::size_t>(s.level)];
            if (s.item < list.size()) return list[s.item++];
            --s.level;
            s.item = 0;
            break;
          }
          if (!s.haveNext) {
            s.phase = Phase::ReportFooter;
            s.item = 0;
            break;
          }
          std::swap(current_, next_);
          s.currentOffset = s.afterCurrent;
          s.afterCurrent = s.afterNext;
          s.haveNext = false;
          ++s.record;
          enterRow(s.changed);
          s.phase = Phase::GroupHeaders;
          s.level = s.changed;
          s.item = 0;
          break;
        case Phase::ReportFooter:
          if (s.item < report_.reportFooters.size()) return report_.reportFooters[s.item++];
          s.phase = Phase::Done;
          return -1;
        case Phase::Done: return -1;
      }
    }
  }

 private:
  bool sameKey(int level, const EncodedRow& a, std::int64_t recordA, const EncodedRow& b, std::int64_t recordB) {
    const RowValueSource& source = report_.groups[static_cast<std::size_t>(level - 1)];
    if (source.field >= 0) return a.raw(static_cast<std::size_t>(source.field)) == b.raw(static_cast<std::size_t>(source.field));
    if (!source.formula) return true;
    return evaluate(source, &a, recordA, context_) == evaluate(source, &b, recordB, context_);
  }

  int firstChange() {
    for (int level = 1; level <= report_.groupCount(); ++level) {
      if (!sameKey(level, current_, state_.record, next_, state_.record + 1)) return level;
    }
    return report_.groupCount() + 1;
  }

  // A new row: the groups from `level` in start again, then the row counts.
  void enterRow(int level) {
    for (std::size_t i = 0; i < report_.slots.size(); ++i) {
      const SummarySlot& s = report_.slots[i];
      if (s.level >= level && s.level >= 1) state_.running[i] = Accumulator{};
    }
    for (int l = level; l <= report_.groupCount(); ++l) {
      if (report_.readAhead[static_cast<std::size_t>(l)]) readAhead(l);
    }
    for (std::size_t i = 0; i < report_.slots.size(); ++i) {
      const SummarySlot& s = report_.slots[i];
      if (s.fromData || report_.readAhead[static_cast<std::size_t>(s.level)]) continue;
      add(s, state_.running[i], current_, state_.record, nullptr);
    }
    runningTotals(level);
  }

  // The running totals take in the current row: each starts again first
  // when its rule says so, then takes the row in when its rule picks it.
  void runningTotals(int level) {
    if (report_.runningTotals.empty()) return;
    context_.at(&current_, state_.record);
    for (std::size_t i = 0; i < report_.runningTotals.size(); ++i) {
      const PreparedRunningTotal& t = report_.runningTotals[i];
      RunningState& s = state_.totals[i];
      bool reset = false;
      switch (t.reset) {
        case model::RunningTotalReset::OnChangeOfGroup: reset = level <= t.resetGroup; break;
        case model::RunningTotalReset::OnFormula: reset = context_.isTrue(t.resetFormula, false); break;
        default: break;
      }
      if (reset) {
        s.sums = Accumulator{};
        s.distinct.clear();
      }
      bool take = true;
      if (t.evaluate == model::RunningTotalEvaluate::OnChangeOfField) {
        std::string key;
        if (t.evaluateField.field >= 0) {
          key = current_.raw(static_cast<std::size_t>(t.evaluateField.field));
        } else {
          encodeValue(evaluate(t.evaluateField, &current_, state_.record, context_), key);
        }
        take = !s.haveLast || key != s.last;
        s.last = std::move(key);
        s.haveLast = true;
      } else if (t.evaluate == model::RunningTotalEvaluate::OnFormula) {
        context_.at(&current_, state_.record);
        take = context_.isTrue(t.evaluateFormula, false);
      }
      if (take) {
        add(t.operation, t.value, s.sums, current_, state_.record,
            t.operation == SummaryOperation::DistinctCount ? &s.distinct : nullptr, distinctSpool_);
      }
    }
  }

  void add(const SummarySlot& slot, Accumulator& acc, const EncodedRow& row, std::int64_t record,
           DistinctValues* distinct) {
    add(slot.operation, slot.value, acc, row, record, distinct, nullptr);
  }

  void add(SummaryOperation operation, const RowValueSource& source, Accumulator& acc, const EncodedRow& row,
           std::int64_t record, DistinctValues* distinct, Spool* spool) {
    if (source.field >= 0) {
      const auto field = static_cast<std::size_t>(source.field);
      if (row.isNull(field)) return;
      if (distinct) distinct->take(row.raw(field), spool);
      ++acc.count;
      double number = 0;
      if (row.kind(field) == ValueKind::Number && row.number(field, number)) {
        ++acc.numbers;
        acc.sum += number;
        if (wantsExtremes(operation)) acc.extremes.add(Value(number));
      } else if (wantsExtremes(operation)) {
        acc.extremes.add(row.value(field));
      }
      return;
    }
    const Value value = evaluate(source, &row, record, context_);
    if (value.isNull()) return;
    if (distinct) {
      std::string key;
      encodeValue(value, key);
      distinct->take(key, spool);
    }
    ++acc.count;
    if (value.kind() == ValueKind::Number) {
      ++acc.numbers;
      acc.sum += value.number();
    }
    if (wantsExtremes(operation)) acc.extremes.add(value);
  }

  // Totals of `level` for the group starting at the current row, found by
  // reading its rows ahead (into the spool, where they are read again as
  // they print). Level 0: the whole report.
  void readAhead(int level) {
    const std::size_t slots = report_.slots.size();
    std::vector<Accumulator>& acc = aheadSums_;
    std::vector<DistinctValues>& distinct = aheadDistinct_;
    acc.assign(slots, Accumulator{});
    distinct.resize(slots);
    for (auto& values : distinct) values.clear();
    auto addRow = [&](const EncodedRow& row, std::int64_t record) {
      for (std::size_t i = 0; i < slots; ++i) {
        const SummarySlot& s = report_.slots[i];
        if (s.level != level || s.fromData) continue;
        add(s, acc[i], row, record, s.operation == SummaryOperation::DistinctCount ? &distinct[i] : nullptr);
      }
    };
    addRow(current_, state_.record);
    std::uint64_t offset = state_.afterCurrent;
    std::uint64_t after = 0;
    std::int64_t record = state_.record;
    while (feed_.read(offset, scan_, after)) {
      ++record;
      bool same = true;
      for (int l = 1; l <= level && same; ++l) same = sameKey(l, current_, state_.record, scan_, record);
      if (!same) break;
      addRow(scan_, record);
      offset = after;
    }
    for (std::size_t i = 0; i < slots; ++i) {
      const SummarySlot& s = report_.slots[i];
      if (s.level == level && !s.fromData) state_.ahead[i] = resultOf(acc[i], s.operation, distinct[i].seen.size());
    }
  }

  const PreparedReport& report_;
  RowFeed& feed_;
  FlowState& state_;
  RowContext& context_;
  EncodedRow current_, next_, scan_;
  std::vector<Accumulator> aheadSums_;
  std::vector<DistinctValues> aheadDistinct_;
  Spool* distinctSpool_;
};

void shiftDown(DisplayItem& item, std::int32_t dy) {
  std::visit(
      [dy](auto& shown) {
        if constexpr (std::is_same_v<std::decay_t<decltype(shown)>, LineItem>)
          shown.y1 += dy, shown.y2 += dy;
        else
          shown.box.y += dy;
      },
      item);
}

std::int32_t clampTwips(std::int32_t value, std::int32_t low, std::int32_t high) { return std::clamp(value, low, high); }

// Puts the sections of one page on it.
class Pager {
 public:
  Pager(const PreparedReport& report, RowFeed& feed, LayoutEnvironment& environment, PageState& state, Page* out)
      : report_(report),
        feed_(feed),
        environment_(environment),
        measure_(*environment.measure),
        state_(state),
        out_(out),
        geometry_(geometryOf(report.definition.page)),
        context_(report, environment, state.shownNumber()) {}

  bool run() {
    SectionStream stream(report_, feed_, state_.flow, context_);
    stream.restore();
    if (out_) {
      out_->number = state_.number;
      out_->width = geometry_.width;
      out_->height = geometry_.height;
    }
    std::int32_t footerHeight = 0;
    for (int index : report_.pageFooters) footerHeight += std::max(0, sectionOf(index).height);
    const std::int32_t bodyBottom = geometry_.height - geometry_.bottom - footerHeight;
    std::int32_t y = geometry_.top;
    bool headersDone = false, placed = false, placedBody = false, breakAfter = false, more = true, resetAfter = false;
    std::vector<DisplayItem> items;
    // The last section placed when it is to be kept with the next one.
    struct Kept {
      int band = -1;
      std::size_t items = 0;
      std::vector<std::uint64_t> instances;
      std::int64_t record = 0;
    } kept;

    if (state_.continuation) {
      y += pageHeaders(stream, y, bodyBottom);
      headersDone = true;
      placed = true;
      y += continueSubreport(y, bodyBottom);
      breakAfter = state_.continuation.has_value();
    }
    for (;;) {
      int band = state_.pendingBefore >= 0 ? state_.pendingBefore : state_.pending;
      if (state_.pendingBefore >= 0)
        state_.pendingBefore = -1;
      else
        state_.pending = -1;
      if (band < 0) band = stream.next();
      if (band < 0) {
        more = false;
        break;
      }
      const PreparedSection& section = report_.sections[static_cast<std::size_t>(band)];
      if (breakAfter || (placedBody && section.section->newPageBefore)) {
        state_.pending = band;
        break;
      }
      if (suppressed(section, stream, context_)) continue;
      if (placedBody && section.newPageBefore && context_.isTrue(section.newPageBefore, false)) {
        state_.pending = band;
        break;
      }
      if (section.section->kind != SectionKind::ReportHeader && !headersDone) {
        y += pageHeaders(stream, y, bodyBottom);
        headersDone = true;
      }
      const std::int32_t available = std::max(0, bodyBottom - y);
      const std::vector<std::uint64_t> instances = state_.subreportInstances;
      const std::size_t itemsBefore = out_ ? out_->items.size() : 0;
      items.clear();
      breakable_ = band;
      std::int32_t height = layoutSection(report_, section, stream, context_, geometry_.left, y, available, bodyBottom,
                                          out_ ? &items : nullptr);
      breakable_ = -1;
      if (placed && height > available) {  // on the next page, whole
        state_.pending = band;
        state_.subreportInstances = instances;
        state_.continuation.reset();
        // With the section it is kept together with, when that is not the
        // page's first and prints from the same record.
        if (kept.band >= 0 && kept.record == state_.flow.record) {
          state_.pendingBefore = kept.band;
          state_.subreportInstances = kept.instances;
          if (out_) out_->items.resize(kept.items);
        }
        break;
      }
      height = std::min(height, available);
      std::int32_t shift = 0;
      if (section.section->printAtBottom) shift = std::max(0, available - height);
      if (out_) {
        for (auto& item : items) shiftDown(item, shift);
        std::move(items.begin(), items.end(), std::back_inserter(out_->items));
      }
      y += height + shift;
      kept = {};
      if (section.section->keepTogether && placed)
        kept = {band, itemsBefore, instances, state_.flow.record};
      placed = true;
      context_.at(stream.row(), stream.record());
      placedBody = placedBody || section.section->kind != SectionKind::ReportHeader;
      breakAfter = context_.isTrue(section.newPageAfter, section.section->newPageAfter) ||
                   section.section->printAtBottom || state_.continuation.has_value();
      resetAfter = resetAfter || section.section->resetPageNumberAfter;
    }
    if (!headersDone) pageHeaders(stream, y, bodyBottom);
    if (out_) {
      std::int32_t footerY = bodyBottom;
      for (int index : report_.pageFooters) {
        const std::int32_t height = std::max(0, sectionOf(index).height);
        if (suppressed(report_.sections[static_cast<std::size_t>(index)], stream, context_)) continue;
        layoutSection(report_, report_.sections[static_cast<std::size_t>(index)], stream, context_, geometry_.left,
                      footerY, height, footerY + height, &out_->items);
        footerY += height;
      }
      out_->provisional = context_.usedPageCount();
    }
    if (more) {
      ++state_.number;
      if (resetAfter) state_.numberingFrom = state_.number;
    }
    return more;
  }

 private:
  const model::Section& sectionOf(int index) const { return *report_.sections[static_cast<std::size_t>(index)].section; }

  std::int32_t pageHeaders(SectionStream& stream, std::int32_t y, std::int32_t bodyBottom) {
    std::int32_t total = 0;
    for (int index : report_.pageHeaders) {
      if (suppressed(report_.sections[static_cast<std::size_t>(index)], stream, context_)) continue;
      const std::int32_t available = std::max(0, bodyBottom - y - total);
      const std::int32_t height =
          std::min(available, layoutSection(report_, report_.sections[static_cast<std::size_t>(index)], stream, context_,
                                            geometry_.left, y + total, available, bodyBottom, out_ ? &out_->items : nullptr));
      total += height;
    }
    return total;
  }

  // Whether the section's suppress condition holds where it would print.
  static bool suppressed(const PreparedSection& section, SectionStream& stream, RowContext& context) {
    if (!section.suppress) return false;
    context.at(stream.row(), stream.record());
    return context.isTrue(section.suppress, false);
  }

  bool visible(const Rect& box, std::int32_t clip) const {
    return box.x < geometry_.width && box.x + box.width > 0 && box.y < std::min(clip, geometry_.height) &&
           box.y + box.height > 0;
  }

  Text objectText(const PreparedReport& report, const PreparedObject& po, SectionStream& stream, RowContext& context,
                  bool& numeric, Value& value) {
    const model::ReportObject& object = *po.object;
    numeric = false;
    switch (object.kind) {
      case ObjectKind::Text: return withParameters(report, object.text, object.format);
      case ObjectKind::ParameterField: {
        std::optional<formula::ParameterValue> given = parametersOf(report).find(object.text);
        if (!given) return Text();
        if (!given->range) {
          value = given->value;
          break;
        }
        return parameterText(*given, object.format);
      }
      case ObjectKind::DatabaseField:
      case ObjectKind::FormulaField: value = evaluate(po.value, stream.row(), stream.record(), context); break;
      case ObjectKind::SummaryField:
        value = stream.summary(po.slot, &report == &report_ ? &environment_.dataSummaries : nullptr);
        break;
      case ObjectKind::RunningTotalField: value = context.runningValue(po.runningTotal); break;
      case ObjectKind::SpecialField:
        // The print date keeps its value, for exports that type their cells.
        if (object.special == model::SpecialFieldKind::PrintDate)
          value = Value(formula::DateTime{std::floor(environment_.printDateTime)});
        return specialText(object, stream, context);
      default: return Text();
    }
    numeric = value.kind() == ValueKind::Number;
    return displayText(value, object.format);
  }

  Text parameterText(const formula::ParameterValue& given, const model::Format& format) const {
    if (!given.range) return displayText(given.value, format);
    return displayText(given.value, format) + u" - " + displayText(given.to, format);
  }

  // A text object shows each {?Name} in it as that parameter's value; a
  // name the report has no parameter of stays as it is written.
  const model::ParameterValues& parametersOf(const PreparedReport& report) const {
    return report.subreportParameters ? *report.subreportParameters : environment_.parameters;
  }

  Text withParameters(const PreparedReport& report, const Text& text, const model::Format& format) const {
    std::size_t at = text.find(u"{?");
    if (at == Text::npos) return text;
    Text out = text.substr(0, at);
    while (at != Text::npos) {
      const std::size_t close = text.find(u'}', at + 2);
      if (close == Text::npos) break;
      std::optional<formula::ParameterValue> given = parametersOf(report).find(text.substr(at + 2, close - at - 2));
      out += given ? parameterText(*given, format) : text.substr(at, close + 1 - at);
      const std::size_t next = text.find(u"{?", close + 1);
      out += text.substr(close + 1, next == Text::npos ? Text::npos : next - close - 1);
      at = next;
    }
    if (at != Text::npos) out += text.substr(at);
    return out;
  }

  Text specialText(const model::ReportObject& object, SectionStream& stream, RowContext& context) {
    switch (object.special) {
      case model::SpecialFieldKind::PageNumber: return decimal(context.page());
      case model::SpecialFieldKind::TotalPages: return decimal(context.pageCount());
      case model::SpecialFieldKind::PageNofM:
        return u"Page " + decimal(context.page()) + u" of " + decimal(context.pageCount());
      case model::SpecialFieldKind::PrintDate: {
        const formula::DateTime day{std::floor(environment_.printDateTime)};
        return object.format.dateFormat.empty() ? formula::toText(Value(day)) : formula::formatDate(day, object.format.dateFormat);
      }
      case model::SpecialFieldKind::PrintTime: {
        const formula::DateTime now{environment_.printDateTime};
        return formula::formatDate(now, object.format.dateFormat.empty() ? TextView(u"HH:mm:ss") : TextView(object.format.dateFormat));
      }
      case model::SpecialFieldKind::ReportTitle: return environment_.title;
      case model::SpecialFieldKind::RecordNumber: return stream.record() > 0 ? decimal(stream.record()) : Text();
    }
    return Text();
  }

  // Lays out one section at (x0, y0); returns its height, grown to hold
  // what grows. `items` null: the height only.
  std::int32_t layoutSection(const PreparedReport& report, const PreparedSection& ps, SectionStream& stream,
                             RowContext& context, std::int32_t x0, std::int32_t y0, std::int32_t available,
                             std::int32_t clip, std::vector<DisplayItem>* items) {
    const model::Section& section = *ps.section;
    std::int32_t height = std::max(0, section.height);
    if (!items && ps.fixedHeight) return height;
    const std::int64_t record = section.kind == SectionKind::Details ? stream.record() : 0;
    for (const PreparedObject& po : ps.objects) {
      if (!items && !po.affectsLayout) continue;
      const model::ReportObject& object = *po.object;
      const bool shape = object.kind == ObjectKind::Line || object.kind == ObjectKind::Box ||
                         object.kind == ObjectKind::Subreport;
      bool numeric = false;
      Value value;
      const Text text = shape ? Text() : objectText(report, po, stream, context, numeric, value);
      const model::Format* formatOf = &object.format;
      model::Format adjusted;
      if (po.conditions) {
        context.at(stream.row(), stream.record());
        context.current(&value);
        const bool hidden = context.isTrue(po.conditions->suppress, false);
        // Measuring needs the format only where it changes how text wraps.
        if (!hidden && (items || object.format.canGrow)) {
          adjusted = object.format;
          applyConditions(*po.conditions, context, adjusted);
          formatOf = &adjusted;
        }
        context.current(nullptr);
        if (hidden) continue;
      }
      const model::Format& format = *formatOf;
      const Rect box{x0 + object.x, y0 + object.y, object.width, object.height};
      switch (object.kind) {
        case ObjectKind::Line: {
          if (!items || (object.width == 0 && object.height == 0)) break;
          LineItem line{box.x, box.y, box.x + box.width, box.y + box.height, std::max(0, format.lineWidth),
                        format.borderColour,
                        format.border == model::BorderStyle::None ? model::BorderStyle::Single : format.border};
          const Rect extent{std::min(line.x1, line.x2), std::min(line.y1, line.y2), std::abs(box.width) + 1,
                            std::abs(box.height) + 1};
          if (visible(extent, clip)) items->push_back(line);
          break;
        }
        case ObjectKind::Box:
          if (items && box.width > 0 && box.height > 0 && visible(box, clip)) {
            items->push_back(BoxItem{box, format.border, std::max(0, format.lineWidth), format.borderColour, format.filled,
                                     format.background});
          }
          break;
        case ObjectKind::Picture:
          if (items && visible(box, clip)) {
            const std::size_t first = items->size();
            appendPictureItems(object, box,
                               po.value.valid() ? pictureBytesOf(evaluate(po.value, stream.row(), stream.record(), context))
                                                : object.picture.image.shared(),
                               *items);
            for (std::size_t i = first; i < items->size(); ++i)
              if (auto* image = std::get_if<ImageItem>(&(*items)[i])) image->section = section.kind;
          }
          break;
        case ObjectKind::Subreport: {
          if (object.subreport.onDemand) {
            if (items) subreportLink(report, po, stream, context, box, format, clip, record, section.kind, *items);
            height = std::max(height, object.y + object.height);
            break;
          }
          const std::int32_t content =
              subreport(po, stream, box, std::max(0, available - object.y), clip, items,
                        &report == &report_ && breakable_ >= 0 && !state_.continuation
                            ? static_cast<std::int32_t>(&po - ps.objects.data())
                            : -1);
          const std::int32_t grown = std::max(object.height, content);
          if (items && format.border != model::BorderStyle::None && box.width > 0 && grown > 0) {
            const Rect frame{box.x, box.y, box.width, grown};
            if (visible(frame, clip)) {
              items->push_back(BoxItem{frame, format.border, std::max(0, format.lineWidth), format.borderColour, false, 0});
            }
          }
          height = std::max(height, object.y + grown);
          break;
        }
        default: {
          if (object.width <= 0 || object.height <= 0) break;
          const Font font = fontOf(format);
          const std::int32_t lineHeight = std::max(1, measure_.lineHeight(font));
          std::vector<LineSpan> lines;
          std::int32_t boxHeight = object.height;
          if (format.canGrow) {
            const std::int32_t room = std::max(available - object.y, lineHeight);
            lines = wrapLines(measure_, font, text, object.width, static_cast<std::size_t>(room / lineHeight) + 1);
            const std::int64_t needed = static_cast<std::int64_t>(lines.size()) * lineHeight;
            boxHeight = static_cast<std::int32_t>(std::max<std::int64_t>(object.height, needed));
          }
          height = std::max(height, object.y + boxHeight);
          if (!items) break;
          const Rect frame{box.x, box.y, box.width, boxHeight};
          if ((format.filled || format.border != model::BorderStyle::None) && visible(frame, clip)) {
            items->push_back(BoxItem{frame, format.border, std::max(0, format.lineWidth), format.borderColour, format.filled,
                                     format.background});
          }
          TextRun run;
          run.font = font;
          run.colour = format.colour;
          run.align = format.alignment == model::Alignment::Centre ? TextAlign::Centre
                      : format.alignment == model::Alignment::Right ||
                              (format.alignment == model::Alignment::Default && numeric)
                          ? TextAlign::Right
                          : TextAlign::Left;
          run.source = object.name;
          run.record = record;
          run.section = section.kind;
          if (!format.canGrow) {
            run.box = box;
            if (!visible(run.box, clip)) break;
            run.text = Text(firstLine(measure_, font, text, box.width));
            if (value.kind() == ValueKind::Number) {
              run.type = ValueType::Number;
              run.value = value.number();
              run.pattern = format.numberFormat;
            } else if (value.kind() == ValueKind::Date) {
              run.type = ValueType::Date;
              run.value = value.date().days;
              run.pattern = format.dateFormat;
            }
            items->push_back(std::move(run));
            break;
          }
          for (std::size_t i = 0; i < lines.size(); ++i) {
            const Rect lineBox{box.x, box.y + static_cast<std::int32_t>(i) * lineHeight, box.width, lineHeight};
            if (lineBox.y >= clip) break;
            if (!visible(lineBox, clip)) continue;
            TextRun line = run;
            line.box = lineBox;
            line.text = text.substr(lines[i].start, lines[i].length);
            items->push_back(std::move(line));
          }
          break;
        }
      }
    }
    return height;
  }

  // An on-demand subreport: a link in the object's frame, at its size, that
  // carries which subreport and the values its links take from this record.
  // Its rows are not read here; the viewer runs it when the link is opened.
  void subreportLink(const PreparedReport& report, const PreparedObject& po, SectionStream& stream,
                     RowContext& context, const Rect& box, const model::Format& format, std::int32_t clip,
                     std::int64_t record, SectionKind kind, std::vector<DisplayItem>& items) {
    if (box.width <= 0 || box.height <= 0 || !visible(box, clip)) return;
    if (format.filled || format.border != model::BorderStyle::None) {
      items.push_back(BoxItem{box, format.border, std::max(0, format.lineWidth), format.borderColour, format.filled,
                              format.background});
    }
    const model::Subreport& sub = po.object->subreport;
    auto link = std::make_shared<PageLink>();
    link->subreport = po.subreport;
    link->name = sub.name;
    if (po.subreport >= 0 && static_cast<std::size_t>(po.subreport) < report.subreports.size()) {
      for (const SubreportLinkSource& source : report.subreports[static_cast<std::size_t>(po.subreport)].links)
        link->values.push_back(evaluate(source.mainValue, stream.row(), stream.record(), context));
    }
    TextRun run;
    run.box = box;
    run.font = fontOf(format);
    run.font.underline = true;
    run.colour = kLinkColour;
    run.align = format.alignment == model::Alignment::Centre  ? TextAlign::Centre
                : format.alignment == model::Alignment::Right ? TextAlign::Right
                                                              : TextAlign::Left;
    const Text& shown = !sub.linkText.empty() ? sub.linkText : !sub.name.empty() ? sub.name : Text(u"Subreport");
    run.text = Text(firstLine(measure_, run.font, shown, box.width));
    run.source = po.object->name;
    run.record = record;
    run.section = kind;
    run.link = std::move(link);
    items.push_back(std::move(run));
  }

  // One instance of a subreport: its rows (found in the background pass
  // the first time, read from its spool after that) laid out top to bottom
  // inside the object's box. With `breakAt` (its place among its section's
  // objects) a section of it that does not fit is left for the next page
  // (state_.continuation). Returns the height of what it printed.
  std::int32_t subreport(const PreparedObject& po, SectionStream& mainStream, const Rect& box, std::int32_t available,
                         std::int32_t clip, std::vector<DisplayItem>* items, std::int32_t breakAt) {
    const auto index = static_cast<std::size_t>(po.subreport);
    const PreparedSubreport& sub = report_.subreports[index];
    if (index >= environment_.subreportSpools.size() || index >= environment_.subreportBlocks.size() ||
        index >= state_.subreportInstances.size()) {
      return 0;
    }
    SubreportBlocks& blocks = *environment_.subreportBlocks[index];
    std::uint64_t& instance = state_.subreportInstances[index];
    std::optional<std::uint64_t> block = blocks.block(instance);
    if (!block) {
      if (!environment_.fetchSubreport) return 0;
      std::vector<data::FieldMatch> match;
      for (const SubreportLinkSource& link : sub.links) {
        match.push_back(data::FieldMatch{link.subreportField,
                                         evaluate(link.mainValue, mainStream.row(), mainStream.record(), context_)});
      }
      block = environment_.fetchSubreport(po.subreport, match);
      blocks.add(*block);
    }
    ++instance;
    FlowState flow = firstPageState(*sub.report).flow;
    flow.startOffset = *block;
    SubreportContinuation rest{breakable_, breakAt, *block, {}, -1};
    return subreportRows(sub, flow, -1, false, box, available, clip, items, breakAt >= 0 ? &rest : nullptr);
  }

  // The rest of a subreport left over from the page before, at the top of
  // this one. Returns the height it took.
  std::int32_t continueSubreport(std::int32_t y, std::int32_t bodyBottom) {
    SubreportContinuation rest = *state_.continuation;
    state_.continuation.reset();
    if (rest.section < 0 || static_cast<std::size_t>(rest.section) >= report_.sections.size()) return 0;
    const PreparedSection& ps = report_.sections[static_cast<std::size_t>(rest.section)];
    if (rest.object < 0 || static_cast<std::size_t>(rest.object) >= ps.objects.size()) return 0;
    const PreparedObject& po = ps.objects[static_cast<std::size_t>(rest.object)];
    if (po.subreport < 0 || static_cast<std::size_t>(po.subreport) >= report_.subreports.size() ||
        static_cast<std::size_t>(po.subreport) >= environment_.subreportSpools.size()) {
      return 0;
    }
    const model::ReportObject& object = *po.object;
    const Rect box{geometry_.left + object.x, y, object.width, object.height};
    return subreportRows(report_.subreports[static_cast<std::size_t>(po.subreport)], rest.flow, rest.pending, true, box,
                         std::max(0, bodyBottom - y), bodyBottom, out_ ? &out_->items : nullptr, &rest);
  }

  // A subreport's sections from `flow` on (first `pending`, when there is
  // one). With `rest`, a section that does not fit in `available` is left
  // there for the next page, unless it is the first on a fresh page (`top`),
  // which prints cut short rather than never.
  std::int32_t subreportRows(const PreparedSubreport& sub, FlowState flow, int pending, bool top, const Rect& box,
                             std::int32_t available, std::int32_t clip, std::vector<DisplayItem>* items,
                             SubreportContinuation* rest) {
    const auto index = static_cast<std::size_t>(&sub - report_.subreports.data());
    Spool& spool = *environment_.subreportSpools[index];
    const PreparedReport& report = *sub.report;
    RowFeed feed(spool, report.fields.size());
    RowContext context(report, environment_, state_.shownNumber());
    SectionStream stream(report, feed, flow, context);
    if (pending >= 0 || flow.record > 0) stream.restore();
    std::int32_t height = 0;
    bool first = true;
    for (int band = pending >= 0 ? pending : stream.next(); band >= 0; band = stream.next(), first = false) {
      const std::int32_t room = std::max(0, available - height);
      const std::int32_t y = box.y + height;
      const PreparedSection& section = report.sections[static_cast<std::size_t>(band)];
      if (suppressed(section, stream, context)) continue;
      if (rest && !(first && top)) {
        const std::int32_t needed = layoutSection(report, section, stream, context, box.x, y, room, clip, nullptr);
        if (needed > room) {
          rest->flow = flow;
          rest->pending = band;
          state_.continuation = *rest;
          break;
        }
      }
      height += std::min(room, layoutSection(report, section, stream, context, box.x, y, room, clip,
                                              y < clip ? items : nullptr));
    }
    if (context.usedPageCount()) context_.pageCount();  // the page shows the page count too
    return height;
  }

  const PreparedReport& report_;
  RowFeed& feed_;
  LayoutEnvironment& environment_;
  TextMeasure& measure_;
  PageState& state_;
  Page* out_;
  PageGeometry geometry_;
  RowContext context_;
  int breakable_ = -1;  // the main report's section being laid out in the body, whose subreports may break
};

}  // namespace

PageGeometry geometryOf(const model::PageSetup& setup) {
  PageGeometry g;
  switch (setup.paperSize) {
    case model::paper::kLetter: g.width = 12240, g.height = 15840; break;
    case model::paper::kLegal: g.width = 12240, g.height = 20160; break;
    case model::paper::kA3: g.width = 16838, g.height = 23811; break;
    case model::paper::kA4: g.width = 11906, g.height = 16838; break;
    default:
      if (setup.paperWidth > 0 && setup.paperHeight > 0) g.width = setup.paperWidth, g.height = setup.paperHeight;
      break;
  }
  constexpr std::int32_t kLargest = 1440 * 200;  // 200 inches
  g.width = clampTwips(g.width, 720, kLargest);
  g.height = clampTwips(g.height, 720, kLargest);
  if (setup.orientation == model::Orientation::Landscape) std::swap(g.width, g.height);
  g.left = clampTwips(setup.marginLeft, 0, g.width / 2);
  g.right = clampTwips(setup.marginRight, 0, g.width / 2);
  g.top = clampTwips(setup.marginTop, 0, g.height / 2);
  g.bottom = clampTwips(setup.marginBottom, 0, g.height / 2);
  return g;
}

PageState firstPageState(const PreparedReport& report) {
  PageState state;
  state.flow.running.resize(report.slots.size());
  for (const SummarySlot& slot : report.slots) state.flow.ahead.push_back(resultOf(Accumulator{}, slot.operation, 0));
  state.flow.totals.resize(report.runningTotals.size());
  state.subreportInstances.assign(report.subreports.size(), 0);
  return state;
}

namespace {

void writeFlow(ByteWriter& w, const FlowState& f) {
  w.u64(static_cast<std::uint64_t>(f.phase));
  w.i64(f.level);
  w.u64(f.item);
  w.i64(f.changed);
  w.u64(f.startOffset);
  w.u64(f.currentOffset);
  w.u64(f.afterCurrent);
  w.u64(f.afterNext);
  w.u64(f.haveNext ? 1 : 0);
  w.i64(f.record);
  w.u64(f.running.size());
  for (const Accumulator& acc : f.running) {
    w.i64(acc.count);
    w.i64(acc.numbers);
    w.f64(acc.sum);
    w.value(acc.extremes.minimum);
    w.value(acc.extremes.maximum);
  }
  w.u64(f.ahead.size());
  for (const Value& value : f.ahead) w.value(value);
  w.u64(f.totals.size());
  for (const RunningState& total : f.totals) {
    w.i64(total.sums.count);
    w.i64(total.sums.numbers);
    w.f64(total.sums.sum);
    w.value(total.sums.extremes.minimum);
    w.value(total.sums.extremes.maximum);
    w.u64(total.haveLast ? 1 : 0);
    w.bytes(total.last);
    // The values themselves only when no spool holds them.
    w.u64(total.distinct.chain);
    w.u64(total.distinct.seen.size());
    if (total.distinct.chain == DistinctValues::kNoEntry)
      for (const std::string& seen : total.distinct.seen) w.bytes(seen);
  }
}

void readFlow(ByteReader& r, FlowState& f, std::size_t limit) {
  f.phase = static_cast<Phase>(r.u64());
  f.level = static_cast<std::int32_t>(r.i64());
  f.item = static_cast<std::uint32_t>(r.u64());
  f.changed = static_cast<std::int32_t>(r.i64());
  f.startOffset = r.u64();
  f.currentOffset = r.u64();
  f.afterCurrent = r.u64();
  f.afterNext = r.u64();
  f.haveNext = r.u64() != 0;
  f.record = r.i64();
  f.running.resize(static_cast<std::size_t>(std::min<std::uint64_t>(r.u64(), limit)));
  for (Accumulator& acc : f.running) {
    acc.count = r.i64();
    acc.numbers = r.i64();
    acc.sum = r.f64();
    acc.extremes.minimum = r.value();
    acc.extremes.maximum = r.value();
  }
  f.ahead.resize(static_cast<std::size_t>(std::min<std::uint64_t>(r.u64(), limit)));
  for (Value& value : f.ahead) value = r.value();
  f.totals.resize(static_cast<std::size_t>(std::min<std::uint64_t>(r.u64(), limit)));
  for (RunningState& total : f.totals) {
    total.sums.count = r.i64();
    total.sums.numbers = r.i64();
    total.sums.sum = r.f64();
    total.sums.extremes.minimum = r.value();
    total.sums.extremes.maximum = r.value();
    total.haveLast = r.u64() != 0;
    total.last = std::string(r.bytes());
    total.distinct.chain = r.u64();
    total.distinct.unread = total.distinct.chain != DistinctValues::kNoEntry;
    const std::uint64_t seen = r.u64();
    total.distinct.seen.reserve(static_cast<std::size_t>(std::min<std::uint64_t>(seen, std::uint64_t{1} << 24)));
    if (!total.distinct.unread)
      for (std::uint64_t i = 0; i < std::min(seen, std::uint64_t{limit}); ++i) total.distinct.seen.emplace(r.bytes());
  }
}

}  // namespace

// A spool entry of a distinct count's chain: the entry before (eight
// bytes, least significant first), then the value.
void DistinctValues::take(std::string_view value, Spool* spool) {
  if (!seen.emplace(value).second || !spool) return;
  std::string entry(8, '\0');
  for (int i = 0; i < 8; ++i) entry[static_cast<std::size_t>(i)] = static_cast<char>((chain >> (8 * i)) & 0xFF);
  entry.append(value);
  chain = spool->append(entry);
}

void DistinctValues::readBack(Spool& spool) {
  SpoolReader reader(spool);
  seen.clear();  // keeps the room loadState made for the values
  for (std::uint64_t at = chain; at != kNoEntry;) {
    std::string_view entry;
    std::uint64_t after = 0;
    if (reader.read(at, entry, after) != SpoolReader::Result::Row || entry.size() < 8)
      throw std::runtime_error("The values of a distinct count could not be read back.");
    std::uint64_t before = 0;
    for (int i = 0; i < 8; ++i)
      before |= std::uint64_t{static_cast<unsigned char>(entry[static_cast<std::size_t>(i)])} << (8 * i);
    seen.emplace(entry.substr(8));
    // Entries only ever name earlier ones, so the walk ends.
    if (before != kNoEntry && before >= at) throw std::runtime_error("The values of a distinct count could not be read back.");
    at = before;
  }
  unread = false;
}

std::string saveState(const PageState& state) {
  ByteWriter w;
  w.i64(state.number);
  w.i64(state.pending);
  writeFlow(w, state.flow);
  w.u64(state.subreportInstances.size());
  for (std::uint64_t instance : state.subreportInstances) w.u64(instance);
  w.u64(state.continuation ? 1 : 0);
  if (const auto& rest = state.continuation) {
    w.i64(rest->section);
    w.i64(rest->object);
    w.u64(rest->block);
    w.i64(rest->pending);
    writeFlow(w, rest->flow);
  }
  w.i64(state.pendingBefore);
  w.i64(state.numberingFrom);
  return std::move(w.result());
}

PageState loadState(std::string_view saved) {
  ByteReader r(saved);
  PageState state;
  state.number = static_cast<std::int32_t>(r.i64());
  state.pending = static_cast<std::int32_t>(r.i64());
  readFlow(r, state.flow, saved.size());
  state.subreportInstances.resize(static_cast<std::size_t>(std::min<std::uint64_t>(r.u64(), saved.size())));
  for (std::uint64_t& instance : state.subreportInstances) instance = r.u64();
  if (r.u64() == 1) {
    SubreportContinuation& rest = state.continuation.emplace();
    rest.section = static_cast<std::int32_t>(r.i64());
    rest.object = static_cast<std::int32_t>(r.i64());
    rest.block = r.u64();
    rest.pending = static_cast<std::int32_t>(r.i64());
    readFlow(r, rest.flow, saved.size());
  }
  state.pendingBefore = static_cast<std::int32_t>(r.i64());
  state.numberingFrom = static_cast<std::int32_t>(r.i64());
  return state;
}

RowFeed::RowFeed(Spool& spool, std::size_t fields, Pull pull)
    : spool_(spool), reader_(spool), fields_(fields), pull_(std::move(pull)) {}

bool RowFeed::read(std::uint64_t offset, EncodedRow& row, std::uint64_t& after) {
  std::string_view bytes;
  switch (reader_.read(offset, bytes, after)) {
    case SpoolReader::Result::Row:
      if (!row.assign(bytes, fields_)) throw std::runtime_error("The report's spooled rows are damaged.");
      return true;
    case SpoolReader::Result::BlockEnd: endAfter_ = after; return false;
    case SpoolReader::Result::End: break;
  }
  if (!pull_ || offset != spool_.end()) return false;
  if (pull_(row)) {
    const std::uint64_t at = spool_.append(row.bytes());
    after = at + 4 + row.bytes().size();
    return true;
  }
  endAfter_ = spool_.appendBlockEnd() + 4;
  after = endAfter_;
  return false;
}

bool layoutPage(const PreparedReport& report, RowFeed& feed, LayoutEnvironment& environment, PageState& state,
                Page* out) {
  return Pager(report, feed, environment, state, out).run();
}

Page problemPage(const model::PageSetup& setup, TextMeasure& measure, const Text& reason, std::int32_t number) {
  const PageGeometry g = geometryOf(setup);
  Page page;
  page.number = number;
  page.width = g.width;
  page.height = g.height;
  const std::int32_t width = std::max(1440, g.width - g.left - g.right);
  const std::int32_t left = std::min(g.left, g.width - width);
  std::int32_t y = g.top;

  TextRun heading;
  heading.font.size = 280;
  heading.font.bold = true;
  heading.text = u"This report cannot be shown";
  const std::int32_t headingHeight = std::max(1, measure.lineHeight(heading.font));
  heading.box = Rect{left, y, width, headingHeight};
  page.items.push_back(heading);
  y += headingHeight * 2;

  Font body;
  const std::int32_t lineHeight = std::max(1, measure.lineHeight(body));
  const std::size_t room = static_cast<std::size_t>(std::max(1, (g.height - g.bottom - y) / lineHeight));
  for (const LineSpan& line : wrapLines(measure, body, reason, width, room)) {
    TextRun run;
    run.font = body;
    run.box = Rect{left, y, width, lineHeight};
    run.text = reason.substr(line.start, line.length);
    page.items.push_back(std::move(run));
    y += lineHeight;
  }
  return page;
}

}  // namespace mervane::engine::layout
