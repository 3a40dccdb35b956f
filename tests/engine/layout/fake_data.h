// An in-memory data door for the layout tests: one table's rows, made by a
// function of the row number so a million rows cost no memory, with
// counters of what was asked and switches for failures, slowness and a
// gate that holds the rows back.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <thread>

#include "engine/data/report_data.h"

namespace mervane::engine::layout::testing {

using formula::Value;

struct FakeTable {
  std::vector<Text> columns;
  std::int64_t rows = 0;
  std::function<Value(std::int64_t row, std::size_t column)> cell;

  static FakeTable of(std::vector<Text> columns, std::vector<std::vector<Value>> rows) {
    auto data = std::make_shared<std::vector<std::vector<Value>>>(std::move(rows));
    FakeTable table{std::move(columns), static_cast<std::int64_t>(data->size()), {}};
    table.cell = [data](std::int64_t row, std::size_t column) { return (*data)[static_cast<std::size_t>(row)][column]; };
    return table;
  }
  int column(const Text& name) const {
    for (std::size_t i = 0; i < columns.size(); ++i) {
      if (equalsNoCase(columns[i], name)) return static_cast<int>(i);
    }
    return -1;
  }
};

class FakeProvider final : public data::DataProvider {
 public:
  std::map<Text, FakeTable> tables;  // by subreport name, "" for the main report
  Text failOpen;                     // DataError from open()
  std::int64_t failAfter = -1;       // DataError when this many rows have been read
  std::chrono::microseconds rowDelay{0};
  std::int64_t gateAfter = -1;       // rows wait here until release()

  std::atomic<std::int64_t> rowsRead{0};
  std::atomic<int> rowsCalls{0};
  std::atomic<int> summaryCalls{0};

  void release() {
    std::lock_guard lock(mutex_);
    gateAfter = -1;
    opened_.notify_all();
  }

  std::unique_ptr<data::ReportData> open(const ReportDocument&, const model::ReportDefinition&,
                                         const Text& subreport) override {
    if (!failOpen.empty()) throw data::DataError(failOpen);
    auto found = tables.find(subreport);
    if (found == tables.end()) throw data::DataError(u"No data for " + subreport);
    return std::make_unique<Data>(*this, found->second);
  }

 private:
  class Cursor final : public data::RowCursor {
   public:
    Cursor(FakeProvider& owner, const FakeTable& table, std::vector<int> columns, std::vector<std::pair<int, Value>> match)
        : owner_(owner), table_(table), columns_(std::move(columns)), match_(std::move(match)) {}
    bool next(std::vector<Value>& row) override {
      for (;;) {
        if (cancelled_) return false;
        if (owner_.failAfter >= 0 && read_ >= owner_.failAfter) throw data::DataError(u"The server stopped answering.");
        {
          std::unique_lock lock(owner_.mutex_);
          owner_.opened_.wait(lock, [&] { return cancelled_ || owner_.gateAfter < 0 || read_ < owner_.gateAfter; });
        }
        if (cancelled_ || at_ >= table_.rows) return false;
        if (owner_.rowDelay.count() > 0) std::this_thread::sleep_for(owner_.rowDelay);
        const std::int64_t index = at_++;
        bool selected = true;
        for (const auto& [column, value] : match_) selected = selected && table_.cell(index, static_cast<std::size_t>(column)) == value;
        if (!selected) continue;
        ++read_;
        ++owner_.rowsRead;
        row.resize(columns_.size());
        for (std::size_t i = 0; i < columns_.size(); ++i) {
          row[i] = columns_[i] < 0 ? Value() : table_.cell(index, static_cast<std::size_t>(columns_[i]));
        }
        return true;
      }
    }
    void cancel() override {
      std::lock_guard lock(owner_.mutex_);
      cancelled_ = true;
      owner_.opened_.notify_all();
    }

   private:
    FakeProvider& owner_;
    const FakeTable& table_;
    std::vector<int> columns_;
    std::vector<std::pair<int, Value>> match_;
    std::int64_t at_ = 0, read_ = 0;
    std::atomic<bool> cancelled_{false};
  };

  class Data final : public data::ReportData {
   public:
    Data(FakeProvider& owner, const FakeTable& table) : owner_(owner), table_(table) {}
    std::unique_ptr<data::RowCursor> rows(const std::vector<model::FieldRef>& fields,
                                          const std::vector<data::FieldMatch>& match) override {
      ++owner_.rowsCalls;
      std::vector<int> columns;
      for (const auto& field : fields) columns.push_back(table_.column(field.column));
      std::vector<std::pair<int, Value>> matches;
      for (const auto& m : match) matches.emplace_back(table_.column(m.field.column), m.value);
      return std::make_unique<Cursor>(owner_, table_, columns, matches);
    }
    std::vector<Value> summaries(const std::vector<data::SummaryRequest>& requests,
                                 const std::vector<data::FieldMatch>&) override {
      ++owner_.summaryCalls;
      std::vector<Value> out;
      for (const auto& request : requests) {
        const int column = table_.column(request.field.column);
        double sum = 0;
        std::int64_t count = 0;
        std::set<std::u16string> distinct;
        Value low, high;
        for (std::int64_t i = 0; i < table_.rows && column >= 0; ++i) {
          Value v = table_.cell(i, static_cast<std::size_t>(column));
          if (v.isNull()) continue;
          ++count;
          distinct.insert(formula::toText(v));
          if (v.kind() == formula::ValueKind::Number) {
            sum += v.number();
            if (low.isNull() || v.number() < low.number()) low = v;
            if (high.isNull() || v.number() > high.number()) high = v;
          }
        }
        switch (request.operation) {
          case model::SummaryOperation::Sum: out.push_back(count ? Value(sum) : Value()); break;
          case model::SummaryOperation::Count: out.push_back(Value(static_cast<double>(count))); break;
          case model::SummaryOperation::DistinctCount: out.push_back(Value(static_cast<double>(distinct.size()))); break;
          case model::SummaryOperation::Average: out.push_back(count ? Value(sum / static_cast<double>(count)) : Value()); break;
          case model::SummaryOperation::Minimum: out.push_back(low); break;
          case model::SummaryOperation::Maximum: out.push_back(high); break;
        }
      }
      return out;
    }

   private:
    FakeProvider& owner_;
    const FakeTable& table_;
  };

  std::mutex mutex_;
  std::condition_variable opened_;
};

}  // namespace mervane::engine::layout::testing
