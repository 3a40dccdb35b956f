// The ODBC data provider (see odbc_data_provider.h): planning a report's
// SELECT over the connections of its tables (odbc_connections.h), and the
// cursor that joins, tests and orders what the database could not.
#include "engine/data/odbc_data_provider.h"

#include <algorithm>
#include <cstdio>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <set>

#include "engine/data/catalogue.h"
#include "engine/data/delimited_text.h"
#include "engine/data/odbc.h"
#include "engine/data/odbc_connections.h"
#include "engine/data/query_builder.h"
#include "engine/formula/sql_filter.h"
#include "engine/formula/syntax.h"
#include "engine/model/parameters.h"

namespace mervane::engine::data {

using formula::Value;
using formula::ValueKind;
using formula::compareValues;

// ---------------------------------------------------------------------------
// Summing values

namespace {

// A key that equal values share and unequal values do not; none for null.
std::optional<Text> keyOf(const Value& v) {
  char buffer[40];
  switch (v.kind()) {
    case ValueKind::Null: return std::nullopt;
    case ValueKind::Number:
      std::snprintf(buffer, sizeof buffer, "n%.17g", v.number() == 0 ? 0.0 : v.number());
      return ascii(buffer);
    case ValueKind::Text: return u"t" + v.text();
    case ValueKind::Boolean: return Text(v.boolean() ? u"b1" : u"b0");
    case ValueKind::Date:
      std::snprintf(buffer, sizeof buffer, "d%.17g", v.date().days);
      return ascii(buffer);
  }
  return std::nullopt;
}

}  // namespace

void SummaryAccumulator::add(const Value& value) {
  if (value.isNull()) return;
  switch (operation_) {
    case model::SummaryOperation::Sum:
    case model::SummaryOperation::Average:
      if (value.kind() != ValueKind::Number) return;
      sum_ += value.number();
      ++count_;
      return;
    case model::SummaryOperation::Count: ++count_; return;
    case model::SummaryOperation::DistinctCount: {
      Text key = *keyOf(value);
      auto at = std::lower_bound(distinct_.begin(), distinct_.end(), key);
      if (at == distinct_.end() || *at != key) distinct_.insert(at, std::move(key));
      return;
    }
    case model::SummaryOperation::Minimum:
    case model::SummaryOperation::Maximum: extremes_.add(value); return;
  }
}

Value SummaryAccumulator::result() const {
  switch (operation_) {
    case model::SummaryOperation::Sum: return count_ ? Value(sum_) : Value();
    case model::SummaryOperation::Average: return count_ ? Value(sum_ / static_cast<double>(count_)) : Value();
    case model::SummaryOperation::Count: return Value(static_cast<double>(count_));
    case model::SummaryOperation::DistinctCount: return Value(static_cast<double>(distinct_.size()));
    case model::SummaryOperation::Minimum: return extremes_.minimum;
    case model::SummaryOperation::Maximum: return extremes_.maximum;
  }
  return Value();
}

namespace {

constexpr std::size_t kNoSlot = static_cast<std::size_t>(-1);

Text named(const model::FieldRef& f) { return formula::fieldReference(f.table, f.column); }

// A whole table in memory: a text file, or a table of another database.
struct MemoryTable {
  std::vector<Text> columns;
  std::vector<std::vector<Value>> rows;

  std::size_t column(const Text& name) const {
    for (std::size_t i = 0; i < columns.size(); ++i)
      if (columns[i] == name) return i;
    for (std::size_t i = 0; i < columns.size(); ++i)
      if (equalsNoCase(columns[i], name)) return i;
    return kNoSlot;
  }
};

struct TableSource {
  bool file = false;
  std::shared_ptr<odbc::Connection> connection;  // SQL tables
};

// What one open() found out, shared by its cursors.
struct Plan {
  model::Data data;
  std::vector<TableSource> sources;  // one per table
  std::vector<std::size_t> primary;  // tables read by the SELECT; empty when the first is a text file
  std::vector<std::size_t> side;     // tables read whole and joined in memory, in report order
  std::shared_ptr<const formula::Formula> filter;
  std::vector<model::FieldRef> filterFields;
  formula::SqlFilter pushed;  // where empty: nothing pushed down
  bool residual = false;      // the engine tests the filter itself
  Text quote;
  std::map<Text, std::shared_ptr<const formula::Formula>> formulas;  // by case-folded name
  model::ParameterValues parameters;

  std::mutex mutex;
  std::map<std::size_t, std::shared_ptr<const MemoryTable>> loaded;

  std::size_t tableIndex(const Text& alias) const {
    for (std::size_t i = 0; i < data.tables.size(); ++i)
      if (data.tables[i].alias == alias) return i;
    return kNoSlot;
  }
  bool inPrimary(std::size_t table) const {
    return std::find(primary.begin(), primary.end(), table) != primary.end();
  }
  const formula::Formula* formula(const Text& name) const {
    auto found = formulas.find(caseFoldKey(name));
    return found == formulas.end() ? nullptr : found->second.get();
  }

  std::shared_ptr<const MemoryTable> memoryTable(std::size_t index) {
    std::lock_guard lock(mutex);
    auto found = loaded.find(index);
    if (found != loaded.end()) return found->second;
    const model::Table& t = data.tables[index];
    auto table = std::make_shared<MemoryTable>();
    if (sources[index].file) {
      DelimitedTable text = readDelimitedFile(t.location, t.delimiter, t.headerRow);
      table->columns = std::move(text.columns);
      table->rows = std::move(text.rows);
    } else {
      odbc::Connection& c = *sources[index].connection;
      auto statement = c.execute(u"SELECT * FROM " + quoteLocation(t.location, c.identifierQuote()), {},
                                 u"The table '" + t.alias + u"' cannot be read: ");
      for (const odbc::Column& column : statement->columns()) table->columns.push_back(column.name);
      std::vector<Value> row;
      while (statement->next(row)) table->rows.push_back(row);
    }
    loaded[index] = table;
    return table;
  }
};

void collectFields(const formula::Node& node, const Plan& plan, std::vector<model::FieldRef>& out,
                   std::set<Text>& visited) {
  if (node.kind == formula::Node::Kind::Field) {
    model::FieldRef f;
    f.table = node.table;
    f.column = node.name;
    if (std::find(out.begin(), out.end(), f) == out.end()) out.push_back(f);
  } else if (node.kind == formula::Node::Kind::FormulaRef) {
    if (visited.insert(caseFoldKey(node.name)).second) {
      if (const formula::Formula* other = plan.formula(node.name)) collectFields(other->root(), plan, out, visited);
    }
  }
  for (const auto& child : node.children) collectFields(*child, plan, out, visited);
}

// The record filter sees the fields of the row being tested.
class RowContext : public formula::EvaluationContext {
 public:
  RowContext(const Plan& plan, const std::vector<model::FieldRef>& fields) : plan_(plan), fields_(fields) {}
  void use(const std::vector<Value>* row) { row_ = row; }
  std::optional<Value> field(const Text& table, const Text& column) override {
    for (std::size_t i = 0; i < fields_.size(); ++i)
      if (fields_[i].table == table && fields_[i].column == column) return (*row_)[i];
    return std::nullopt;
  }
  std::optional<Value> special(formula::SpecialValue) override { return std::nullopt; }
  const formula::Formula* formula(const Text& name) override { return plan_.formula(name); }
  std::optional<formula::ParameterValue> parameter(const Text& name) override { return plan_.parameters.find(name); }

 private:
  const Plan& plan_;
  const std::vector<model::FieldRef>& fields_;
  const std::vector<Value>* row_ = nullptr;
};

// One table joined in memory to the rows read so far.
struct JoinStep {
  std::size_t tableIndex = 0;
  std::shared_ptr<const MemoryTable> table;
  std::vector<std::pair<std::size_t, std::size_t>> fill;        // table column -> row slot
  std::vector<std::pair<std::size_t, std::size_t>> conditions;  // table column = row slot
  bool outer = false;  // rows without a partner are kept, its fields null
  std::map<Text, std::vector<std::size_t>> index;               // by the first condition's key
};

// The records of a ReportData: read, joined, tested, ordered, cut to the
// fields asked for.
class Cursor final : public RowCursor {
 public:
  Cursor(std::shared_ptr<Plan> plan, const std::vector<model::FieldRef>& fields, const std::vector<FieldMatch>& match)
      : plan_(std::move(plan)), context_(*plan_, wide_) {
    const Plan& p = *plan_;
    for (const model::FieldRef& f : fields) output_.push_back(slot(f));
    for (std::size_t i = 0; i < output_.size(); ++i)
      asked_.push_back(std::find(output_.begin() + static_cast<std::ptrdiff_t>(i) + 1, output_.end(), output_[i]) !=
                       output_.end());
    if (p.residual)
      for (const model::FieldRef& f : p.filterFields) slot(f);
    for (const FieldMatch& m : match) matches_.emplace_back(slot(m.field), m.value);

    std::vector<OrderKey> order;
    for (const model::Group& g : p.data.groups) order.push_back({g.field, g.direction});
    for (const model::SortField& s : p.data.sortFields) order.push_back({s.field, s.direction});
    for (const OrderKey& k : order) {
      if (k.field.isFormula() || p.primary.empty() || !p.inPrimary(tableOf(k.field))) sortInMemory_ = true;
    }
    if (sortInMemory_) {
      for (const OrderKey& k : order) {
        SortKey key{kNoSlot, nullptr, k.direction};
        if (!k.field.isFormula()) {
          key.slot = slot(k.field);
        } else {
          // A group on a formula: its value for each record, from the fields it reads.
          key.formula = p.formula(k.field.column);
          if (!key.formula) throw DataError(u"The report groups or sorts by {@" + k.field.column + u"}, which it does not have.");
          std::vector<model::FieldRef> used;
          std::set<Text> visited;
          collectFields(key.formula->root(), p, used, visited);
          for (const model::FieldRef& f : used) slot(f);
        }
        sortKeys_.push_back(key);
      }
    }
    planJoins();
    openBase(order, match);
  }

  bool next(std::vector<Value>& row) override {
    if (cancelled_) return false;
    if (sortInMemory_ && !sorted_) sortAll();
    if (sortInMemory_) {
      if (served_ >= all_.size()) return false;
      project(all_[served_++], row);
      return true;
    }
    if (!produce(scratch_)) return false;
    project(scratch_, row);
    return true;
  }

  void cancel() override {
    cancelled_ = true;
    if (statement_) statement_->cancel();
  }

 private:
  std::size_t tableOf(const model::FieldRef& f) const {
    if (f.isFormula())
      throw DataError(u"{@" + f.column + u"} is a formula: only the columns of tables are read from the database.");
    std::size_t table = plan_->tableIndex(f.table);
    if (table == kNoSlot)
      throw DataError(u"The report has no table '" + f.table + u"' (field " + named(f) + u").");
    return table;
  }

  std::size_t slot(const model::FieldRef& f) {
    tableOf(f);
    for (std::size_t i = 0; i < wide_.size(); ++i)
      if (wide_[i].table == f.table && wide_[i].column == f.column) return i;
    model::FieldRef plain;
    plain.table = f.table;
    plain.column = f.column;
    wide_.push_back(plain);
    return wide_.size() - 1;
  }

  std::size_t memoryColumn(const MemoryTable& table, std::size_t tableIndex, const Text& column) const {
    std::size_t c = table.column(column);
    if (c == kNoSlot)
      throw DataError(u"The table '" + plan_->data.tables[tableIndex].alias + u"' has no column '" + column + u"'.");
    return c;
  }

  // The side tables, each joined by its links to the tables before it.
  void planJoins() {
    Plan& p = *plan_;
    std::vector<std::size_t> available = p.primary.empty() ? std::vector<std::size_t>{0} : p.primary;
    std::vector<std::size_t> waiting = p.side;
    if (p.primary.empty()) waiting.erase(std::remove(waiting.begin(), waiting.end(), 0u), waiting.end());
    auto isAvailable = [&](std::size_t t) { return std::find(available.begin(), available.end(), t) != available.end(); };
    // Every field a join compares is read, whichever table it is in.
    for (const model::TableLink& l : p.data.links) {
      if (waiting.empty()) break;
      std::size_t a = tableOf(l.from), b = tableOf(l.to);
      bool bothPrimary = p.inPrimary(a) && p.inPrimary(b);
      if (!bothPrimary) {
        slot(l.from);
        slot(l.to);
      }
    }
    while (!waiting.empty()) {
      // The first waiting table linked to what is there, else the first one.
      std::size_t pick = 0;
      for (std::size_t w = 0; w < waiting.size(); ++w) {
        bool linked = std::any_of(p.data.links.begin(), p.data.links.end(), [&](const model::TableLink& l) {
          std::size_t a = tableOf(l.from), b = tableOf(l.to);
          return (a == waiting[w] && isAvailable(b)) || (b == waiting[w] && isAvailable(a));
        });
        if (linked) {
          pick = w;
          break;
        }
      }
      std::size_t t = waiting[pick];
      waiting.erase(waiting.begin() + static_cast<std::ptrdiff_t>(pick));
      JoinStep step;
      step.table = p.memoryTable(t);
      bool first = true;
      for (const model::TableLink& l : p.data.links) {
        std::size_t a = tableOf(l.from), b = tableOf(l.to);
        bool forward = b == t && isAvailable(a), backward = a == t && isAvailable(b);
        if (!forward && !backward) continue;
        const model::FieldRef& known = forward ? l.from : l.to;
        const model::FieldRef& joined = forward ? l.to : l.from;
        model::JoinType kept = forward ? model::JoinType::LeftOuter : model::JoinType::RightOuter;
        if (l.join != model::JoinType::Inner && l.join != kept)
          throw DataError(u"The table '" + p.data.tables[t].alias +
                          u"' lies in another database or file: it can be joined to the report's rows only by an inner "
                          u"join or by an outer join that keeps every row of the report (link " +
                          named(l.from) + u" to " + named(l.to) + u").");
        if (first) step.outer = l.join != model::JoinType::Inner;
        first = false;
        step.conditions.emplace_back(memoryColumn(*step.table, t, joined.column), slot(known));
      }
      step.tableIndex = t;
      if (!step.conditions.empty()) {
        std::size_t keyColumn = step.conditions.front().first;
        for (std::size_t r = 0; r < step.table->rows.size(); ++r)
          if (auto key = keyOf(step.table->rows[r][keyColumn])) step.index[*key].push_back(r);
      }
      steps_.push_back(std::move(step));
      available.push_back(t);
    }
    for (JoinStep& step : steps_)
      for (std::size_t s = 0; s < wide_.size(); ++s)
        if (tableOf(wide_[s]) == step.tableIndex)
          step.fill.emplace_back(memoryColumn(*step.table, step.tableIndex, wide_[s].column), s);
  }

  void openBase(const std::vector<OrderKey>& order, const std::vector<FieldMatch>& match) {
    Plan& p = *plan_;
    if (p.primary.empty()) {
      base_ = p.memoryTable(0);
      for (std::size_t s = 0; s < wide_.size(); ++s)
        if (tableOf(wide_[s]) == 0) baseFill_.emplace_back(memoryColumn(*base_, 0, wide_[s].column), s);
      return;
    }
    QuerySpec spec;
    spec.quote = p.quote;
    for (std::size_t t : p.primary) spec.tables.push_back({p.data.tables[t].alias, p.data.tables[t].location});
    for (const model::TableLink& l : p.data.links)
      if (p.inPrimary(tableOf(l.from)) && p.inPrimary(tableOf(l.to))) spec.links.push_back(l);
    for (std::size_t s = 0; s < wide_.size(); ++s) {
      if (!p.inPrimary(tableOf(wide_[s]))) continue;
      spec.columns.push_back(wide_[s]);
      columnSlots_.push_back(s);
    }
    spec.filter = p.pushed.where;
    spec.filterParameters = p.pushed.parameters;
    for (const FieldMatch& m : match)
      if (p.inPrimary(tableOf(m.field))) spec.matches.push_back(m);
    if (!sortInMemory_) spec.order = order;
    Query query = buildQuery(spec);
    odbc::Connection& c = *p.sources[p.primary.front()].connection;
    statement_ = c.execute(query.sql, query.parameters, u"The records of " + tableList() + u" cannot be read: ");
  }

  Text tableList() const {
    Text out;
    for (std::size_t t : plan_->primary) out += (out.empty() ? u"'" : u", '") + plan_->data.tables[t].alias + u"'";
    return (plan_->primary.size() == 1 ? u"the table " : u"the tables ") + out;
  }

  bool baseRow(std::vector<Value>& wideRow) {
    wideRow.assign(wide_.size(), Value());
    if (statement_) {
      if (!statement_->next(columnValues_)) return false;
      for (std::size_t i = 0; i < columnSlots_.size() && i < columnValues_.size(); ++i)
        wideRow[columnSlots_[i]] = std::move(columnValues_[i]);
      return true;
    }
    if (baseRow_ >= base_->rows.size()) return false;
    const std::vector<Value>& source = base_->rows[baseRow_++];
    for (auto [column, s] : baseFill_) wideRow[s] = source[column];
    return true;
  }

  bool selected(const std::vector<Value>& wideRow) {
    for (const auto& [s, value] : matches_) {
      if (value.isNull() || compareValues(wideRow[s], value) != 0) return false;
    }
    if (plan_->residual) {
      context_.use(&wideRow);
      try {
        return plan_->filter->selects(context_);
      } catch (const formula::FormulaError& e) {
        throw DataError(u"The record filter cannot be evaluated: " + e.message());
      }
    }
    return true;
  }

  // The next record in the order the database (or the file) gives them.
  bool produce(std::vector<Value>& out) {
    for (;;) {
      if (!pending_.empty()) {
        out = std::move(pending_.front());
        pending_.pop_front();
        return true;
      }
      if (cancelled_) return false;
      if (!baseRow(out)) return false;
      if (steps_.empty()) {
        if (selected(out)) return true;
        continue;
      }
      std::vector<std::vector<Value>> rows{std::move(out)};
      for (const JoinStep& step : steps_) rows = join(step, std::move(rows));
      for (auto& r : rows)
        if (selected(r)) pending_.push_back(std::move(r));
    }
  }

  static std::vector<std::vector<Value>> join(const JoinStep& step, std::vector<std::vector<Value>> rows) {
    std::vector<std::vector<Value>> out;
    for (auto& r : rows) {
      const std::vector<std::size_t>* candidates = nullptr;
      std::vector<std::size_t> everyRow;
      if (step.conditions.empty()) {
        everyRow.resize(step.table->rows.size());
        for (std::size_t i = 0; i < everyRow.size(); ++i) everyRow[i] = i;
        candidates = &everyRow;
      } else if (auto key = keyOf(r[step.conditions.front().second])) {
        auto found = step.index.find(*key);
        if (found != step.index.end()) candidates = &found->second;
      }
      bool matched = false;
      if (candidates) {
        for (std::size_t c : *candidates) {
          const std::vector<Value>& partner = step.table->rows[c];
          bool all = std::all_of(step.conditions.begin(), step.conditions.end(), [&](const auto& cond) {
            return !partner[cond.first].isNull() && compareValues(partner[cond.first], r[cond.second]) == 0;
          });
          if (!all) continue;
          matched = true;
          std::vector<Value> joined = r;
          for (auto [column, s] : step.fill) joined[s] = partner[column];
          out.push_back(std::move(joined));
        }
      }
      if (!matched && step.outer) out.push_back(std::move(r));
    }
    return out;
  }

  void sortAll() {
    struct Keyed {
      std::vector<Value> keys;
      std::vector<Value> row;
    };
    std::vector<Keyed> keyed;
    std::vector<Value> r;
    while (produce(r)) {
      Keyed k;
      for (const SortKey& key : sortKeys_) {
        if (!key.formula) {
          k.keys.push_back(r[key.slot]);
          continue;
        }
        context_.use(&r);
        try {
          k.keys.push_back(key.formula->evaluate(context_));
        } catch (const formula::FormulaError& e) {
          throw DataError(u"A group or sort formula cannot be evaluated: " + e.message());
        }
      }
      k.row = std::move(r);
      keyed.push_back(std::move(k));
    }
    std::stable_sort(keyed.begin(), keyed.end(), [&](const Keyed& a, const Keyed& b) {
      for (std::size_t i = 0; i < sortKeys_.size(); ++i) {
        int c = compareValues(a.keys[i], b.keys[i]);
        if (c != 0) return sortKeys_[i].direction == model::SortDirection::Descending ? c > 0 : c < 0;
      }
      return false;
    });
    all_.reserve(keyed.size());
    for (Keyed& k : keyed) all_.push_back(std::move(k.row));
    sorted_ = true;
  }

  // The fields asked for, moved out of a record that is not used again.
  void project(std::vector<Value>& wideRow, std::vector<Value>& row) const {
    row.resize(output_.size());
    for (std::size_t i = 0; i < output_.size(); ++i) {
      row[i] = asked_[i] ? wideRow[output_[i]] : std::move(wideRow[output_[i]]);
    }
  }

  std::shared_ptr<Plan> plan_;
  std::vector<model::FieldRef> wide_;  // every field the cursor reads
  RowContext context_;
  std::vector<std::size_t> output_;
  std::vector<bool> asked_;  // the field is asked for again further on: copy it
  std::vector<std::pair<std::size_t, Value>> matches_;
  struct SortKey {
    std::size_t slot;                   // a column's value...
    const formula::Formula* formula;    // ...or a formula's
    model::SortDirection direction;
  };
  std::vector<SortKey> sortKeys_;
  bool sortInMemory_ = false;
  std::vector<JoinStep> steps_;

  std::unique_ptr<odbc::Statement> statement_;
  std::vector<std::size_t> columnSlots_;
  std::vector<Value> columnValues_;
  std::shared_ptr<const MemoryTable> base_;
  std::vector<std::pair<std::size_t, std::size_t>> baseFill_;
  std::size_t baseRow_ = 0;

  std::vector<Value> scratch_;
  std::deque<std::vector<Value>> pending_;
  std::vector<std::vector<Value>> all_;
  std::size_t served_ = 0;
  bool sorted_ = false;
  std::atomic<bool> cancelled_{false};
};

class NoRows final : public RowCursor {
 public:
  bool next(std::vector<Value>&) override { return false; }
  void cancel() override {}
};

class OdbcReportData final : public ReportData {
 public:
  explicit OdbcReportData(std::shared_ptr<Plan> plan) : plan_(std::move(plan)) {}

  std::unique_ptr<RowCursor> rows(const std::vector<model::FieldRef>& fields,
                                  const std::vector<FieldMatch>& match) override {
    if (plan_->data.tables.empty()) return std::make_unique<NoRows>();
    return std::make_unique<Cursor>(plan_, fields, match);
  }

  std::vector<Value> summaries(const std::vector<SummaryRequest>& requests,
                               const std::vector<FieldMatch>& match) override {
    if (requests.empty()) return {};
    if (canAggregate(requests, match)) {
      try {
        return aggregate(requests, match);
      } catch (const DataError&) {
        // The database would not sum this (a text column, say): count it here.
      }
    }
    std::vector<model::FieldRef> fields;
    for (const SummaryRequest& r : requests) fields.push_back(r.field);
    std::vector<SummaryAccumulator> sums;
    for (const SummaryRequest& r : requests) sums.emplace_back(r.operation);
    std::unique_ptr<RowCursor> cursor = rows(fields, match);
    std::vector<Value> row;
    while (cursor->next(row))
      for (std::size_t i = 0; i < sums.size(); ++i) sums[i].add(row[i]);
    std::vector<Value> out;
    for (const SummaryAccumulator& s : sums) out.push_back(s.result());
    return out;
  }

 private:
  bool canAggregate(const std::vector<SummaryRequest>& requests, const std::vector<FieldMatch>& match) const {
    const Plan& p = *plan_;
    if (p.primary.empty() || !p.side.empty() || p.residual) return false;
    for (const SummaryRequest& r : requests) {
      std::size_t t = r.field.isFormula() ? kNoSlot : p.tableIndex(r.field.table);
      if (t == kNoSlot || !p.inPrimary(t)) return false;
    }
    // Text comparisons follow the database's collation: test those here.
    for (const FieldMatch& m : match) {
      std::size_t t = m.field.isFormula() ? kNoSlot : p.tableIndex(m.field.table);
      if (t == kNoSlot || !p.inPrimary(t) || m.value.kind() == ValueKind::Text) return false;
    }
    return true;
  }

  std::vector<Value> aggregate(const std::vector<SummaryRequest>& requests, const std::vector<FieldMatch>& match) {
    Plan& p = *plan_;
    QuerySpec spec;
    spec.quote = p.quote;
    for (std::size_t t : p.primary) spec.tables.push_back({p.data.tables[t].alias, p.data.tables[t].location});
    for (const model::TableLink& l : p.data.links) spec.links.push_back(l);
    spec.aggregates = requests;
    spec.filter = p.pushed.where;
    spec.filterParameters = p.pushed.parameters;
    spec.matches = match;
    Query query = buildQuery(spec);
    auto statement = p.sources[p.primary.front()].connection->execute(query.sql, query.parameters,
                                                                      u"The totals of the report cannot be read: ");
    std::vector<Value> row;
    if (!statement->next(row)) row.clear();
    std::vector<Value> out;
    std::size_t column = 0;
    for (const SummaryRequest& r : requests) {
      Value v = column < row.size() ? row[column] : Value();
      ++column;
      switch (r.operation) {
        case model::SummaryOperation::Count:
        case model::SummaryOperation::DistinctCount:
          out.push_back(v.kind() == ValueKind::Number ? v : Value(0));
          break;
        case model::SummaryOperation::Average: {
          Value count = column < row.size() ? row[column] : Value();
          ++column;
          bool some = v.kind() == ValueKind::Number && count.kind() == ValueKind::Number && count.number() > 0;
          out.push_back(some ? Value(v.number() / count.number()) : Value());
          break;
        }
        case model::SummaryOperation::Sum:
          out.push_back(v.kind() == ValueKind::Number || v.isNull() ? v : Value());
          break;
        default: out.push_back(v); break;
      }
    }
    return out;
  }

  std::shared_ptr<Plan> plan_;
};

// ---------------------------------------------------------------------------
// The provider

class OdbcDataProvider final : public DataProvider {
 public:
  explicit OdbcDataProvider(OdbcProviderOptions options) : options_(options) {}

  std::unique_ptr<ReportData> open(const ReportDocument& document, const model::ReportDefinition& definition,
                                   const Text& subreport) override {
    auto plan = std::make_shared<Plan>();
    plan->data = definition.data;
    // A subreport sees its own parameters, then the main report's.
    plan->parameters = subreport.empty() ? model::ParameterValues(document.definition.parameters)
                                         : model::subreportParameterValues(document.definition, definition);
    for (const model::Formula& f : definition.formulas) {
      try {
        plan->formulas[caseFoldKey(f.name)] = formula::Formula::parse(f.text);
      } catch (const formula::FormulaError&) {
        // A broken formula matters only if the filter uses it; evaluation says so then.
      }
    }
    const std::vector<model::Table>& tables = plan->data.tables;
    for (const model::Table& t : tables) {
      TableSource source;
      if (t.type == model::DatabaseType::DelimitedTextFile) {
        source.file = true;
      } else if (t.type == model::DatabaseType::SqlTable) {
        source.connection = connections_.connect(document, t);
      } else {
        throw DataError(u"The table '" + t.alias + u"' is of a kind this engine does not read (" +
                        decimal(static_cast<std::int32_t>(t.type)) + u").");
      }
      plan->sources.push_back(std::move(source));
    }
    if (!tables.empty() && !plan->sources[0].file) {
      for (std::size_t i = 0; i < tables.size(); ++i)
        (plan->sources[i].connection == plan->sources[0].connection ? plan->primary : plan->side).push_back(i);
      plan->quote = plan->sources[0].connection->identifierQuote();
    } else {
      for (std::size_t i = 0; i < tables.size(); ++i) plan->side.push_back(i);
    }

    if (!isBlank(plan->data.recordFilter)) {
      try {
        plan->filter = formula::Formula::parse(plan->data.recordFilter);
      } catch (const formula::FormulaError& e) {
        throw DataError(u"The record filter is not a formula: " + e.message());
      }
      std::set<Text> visited;
      collectFields(plan->filter->root(), *plan, plan->filterFields, visited);
      bool pushable = !plan->primary.empty();
      for (const model::FieldRef& f : plan->filterFields) {
        std::size_t t = plan->tableIndex(f.table);
        if (t == kNoSlot)
          throw DataError(u"The record filter uses " + named(f) + u", but the report has no table '" + f.table + u"'.");
        if (!plan->inPrimary(t)) pushable = false;
      }
      model::ParameterContext parameters(plan->parameters);
      if (pushable) plan->pushed = formula::toSqlFilter(*plan->filter, formula::SqlNaming{plan->quote}, &parameters);
      plan->residual = !(plan->pushed.exact && !plan->pushed.where.empty());
    }
    return std::make_unique<OdbcReportData>(std::move(plan));
  }

 private:
  OdbcProviderOptions options_;
  ConnectionPool connections_{options_.logOnTimeoutSeconds};
};

}  // namespace

std::shared_ptr<DataProvider> createOdbcDataProvider(OdbcProviderOptions options) {
  return std::make_shared<OdbcDataProvider>(options);
}

}  // namespace mervane::engine::data
