// The layout engine over 1,000 and 1,000,000 synthetic order lines: a
// report grouped by order with totals in the group header and footer, page
// header and footer with "Page N of M", and a grand total. Prints the time
// to page 1, the time to the page count, and the process's peak memory.
// Then the same report with an on-demand subreport of each order's lines
// in its group header: page 1 of the report (links only, no subreport
// query), and page 1 of the subreport opened from the last order's link.
#include <algorithm>
#include <chrono>
#include <ctime>
#include <cstdio>
#include <fstream>
#include <string>
#include <thread>

#include "engine/layout/page_source.h"

using namespace mervane;
using namespace mervane::engine;
using formula::Value;

namespace {

// Order lines made as a driver hands them over: ten lines an order.
class SyntheticData final : public data::DataProvider, public data::ReportData {
 public:
  explicit SyntheticData(std::int64_t rows) : rows_(rows) {}

  std::unique_ptr<data::ReportData> open(const ReportDocument&, const model::ReportDefinition&, const Text&) override {
    struct Borrowed final : data::ReportData {
      explicit Borrowed(SyntheticData& d) : d(d) {}
      std::unique_ptr<data::RowCursor> rows(const std::vector<model::FieldRef>& f,
                                            const std::vector<data::FieldMatch>& m) override {
        return d.rows(f, m);
      }
      std::vector<Value> summaries(const std::vector<data::SummaryRequest>& r,
                                   const std::vector<data::FieldMatch>& m) override {
        return d.summaries(r, m);
      }
      SyntheticData& d;
    };
    return std::make_unique<Borrowed>(*this);
  }

  // Matched by order, only that order's lines, as an indexed database gives them.
  std::unique_ptr<data::RowCursor> rows(const std::vector<model::FieldRef>& fields,
                                        const std::vector<data::FieldMatch>& match) override {
    struct Cursor final : data::RowCursor {
      Cursor(std::int64_t rows, std::vector<Text> columns) : rows(rows), columns(std::move(columns)) {}
      bool next(std::vector<Value>& row) override {
        if (cancelled || at >= rows) return false;
        row.resize(columns.size());
        for (std::size_t i = 0; i < columns.size(); ++i) row[i] = cell(at, columns[i]);
        ++at;
        return true;
      }
      void cancel() override { cancelled = true; }
      std::int64_t rows, at = 0;
      std::vector<Text> columns;
      std::atomic<bool> cancelled{false};
    };
    std::vector<Text> columns;
    for (const auto& field : fields) columns.push_back(field.column);
    auto cursor = std::make_unique<Cursor>(rows_, std::move(columns));
    for (const auto& m : match) {
      if (m.field.column != u"order" || m.value.kind() != formula::ValueKind::Number) continue;
      const auto order = static_cast<std::int64_t>(m.value.number());
      cursor->at = std::clamp<std::int64_t>((order - 1) * 10, 0, rows_);
      cursor->rows = std::clamp<std::int64_t>(order * 10, 0, rows_);
    }
    return cursor;
  }

  std::vector<Value> summaries(const std::vector<data::SummaryRequest>& requests,
                               const std::vector<data::FieldMatch>&) override {
    // The database's aggregate query: a sum of amounts.
    double sum = 0;
    for (std::int64_t i = 0; i < rows_; ++i) sum += amount(i);
    return std::vector<Value>(requests.size(), Value(sum));
  }

 private:
  static double amount(std::int64_t row) { return static_cast<double>((row * 37) % 1000) / 4; }
  static Value cell(std::int64_t row, const Text& column) {
    if (column == u"order") return Value(static_cast<double>(row / 10 + 1));
    if (column == u"line") return Value(static_cast<double>(row % 10 + 1));
    if (column == u"product") return Value(u"Product " + decimal(row % 500));
    if (column == u"quantity") return Value(static_cast<double>(row % 12 + 1));
    return Value(amount(row));
  }
  std::int64_t rows_;
};

model::ReportObject object(model::ObjectKind kind, Text name, int x, int width) {
  model::ReportObject o;
  o.kind = kind;
  o.name = name;
  o.x = x;
  o.width = width;
  o.field = model::FieldRef{u"OrderLines", name, {}};
  return o;
}

model::ReportDefinition report() {
  using model::ObjectKind;
  using model::SectionKind;
  model::ReportDefinition r = model::blankReport();
  model::addGroup(r, model::Group{model::FieldRef{u"OrderLines", u"order", {}}, {}, {}});
  for (auto& s : r.sections) {
    switch (s.kind) {
      case SectionKind::ReportHeader: {
        auto title = object(ObjectKind::SpecialField, u"title", 0, 6000);
        title.special = model::SpecialFieldKind::ReportTitle;
        s.objects.push_back(title);
        auto grand = object(ObjectKind::SummaryField, u"amount", 6000, 2000);
        s.objects.push_back(grand);
        break;
      }
      case SectionKind::PageHeader: {
        auto heading = object(ObjectKind::Text, u"heading", 0, 6000);
        heading.text = u"Order lines";
        s.objects.push_back(heading);
        break;
      }
      case SectionKind::GroupHeader: {
        s.objects.push_back(object(ObjectKind::DatabaseField, u"order", 0, 1440));
        auto total = object(ObjectKind::SummaryField, u"amount", 6000, 2000);
        total.summaryGroup = 1;
        s.objects.push_back(total);
        break;
      }
      case SectionKind::Details:
        s.height = 240;
        s.objects.push_back(object(ObjectKind::DatabaseField, u"line", 0, 600));
        s.objects.push_back(object(ObjectKind::DatabaseField, u"product", 700, 3000));
        s.objects.push_back(object(ObjectKind::DatabaseField, u"quantity", 3800, 1000));
        s.objects.push_back(object(ObjectKind::DatabaseField, u"amount", 5000, 1500));
        s.objects.back().format.numberFormat = u"#,##0.00";
        break;
      case SectionKind::GroupFooter: {
        auto count = object(ObjectKind::SummaryField, u"line", 0, 1440);
        count.summary = model::SummaryOperation::Count;
        count.summaryGroup = 1;
        s.objects.push_back(count);
        auto total = object(ObjectKind::SummaryField, u"amount", 6000, 2000);
        total.summaryGroup = 1;
        s.objects.push_back(total);
        break;
      }
      case SectionKind::PageFooter: {
        auto pages = object(ObjectKind::SpecialField, u"pages", 0, 3000);
        pages.special = model::SpecialFieldKind::PageNofM;
        s.objects.push_back(pages);
        break;
      }
      default: break;
    }
  }
  return r;
}

// The report with each order's lines behind a link in the order's header.
model::ReportDefinition reportWithOnDemandLines() {
  model::ReportDefinition r = report();
  model::ReportDefinition lines = model::blankReport();
  for (auto& s : r.sections) {
    if (s.kind == model::SectionKind::Details) lines.sections[2].objects = s.objects;
  }
  auto sub = object(model::ObjectKind::Subreport, u"lines", 1500, 1440);
  sub.subreport.name = u"Lines";
  sub.subreport.onDemand = true;
  sub.subreport.links.push_back({{u"OrderLines", u"order", {}}, {u"OrderLines", u"order", {}}, {}});
  sub.subreport.definition = model::Deep<model::ReportDefinition>(lines);
  for (auto& s : r.sections) {
    if (s.kind == model::SectionKind::GroupHeader) s.objects.push_back(sub);
  }
  return r;
}

double cpuMs(std::clock_t since) { return 1000.0 * static_cast<double>(std::clock() - since) / CLOCKS_PER_SEC; }

double peakMegabytes() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind("VmHWM:", 0) == 0) return std::stod(line.substr(6)) / 1024;
  }
  return 0;
}

}  // namespace

int main() {
  ReportDocument document;
  document.definition = report();
  document.title = u"Order lines";
  for (std::int64_t rows : {std::int64_t{1000}, std::int64_t{1000000}}) {
    SyntheticData data(rows);
    const auto ms = [](auto d) { return std::chrono::duration<double, std::milli>(d).count(); };
    {
      // The bare fetch of the same columns, for comparison.
      const auto fetchStart = std::chrono::steady_clock::now();
      const std::clock_t fetchCpu = std::clock();
      std::vector<model::FieldRef> fields;
      for (const char16_t* column : {u"order", u"line", u"product", u"quantity", u"amount"}) {
        fields.push_back(model::FieldRef{u"OrderLines", column, {}});
      }
      auto cursor = data.rows(fields, {});
      std::vector<Value> row;
      while (cursor->next(row)) {
      }
      std::printf("synthetic-fetch-ms-%lld: %.0f ms\n", static_cast<long long>(rows),
                  ms(std::chrono::steady_clock::now() - fetchStart));
      std::printf("synthetic-fetch-cpu-ms-%lld: %.0f ms\n", static_cast<long long>(rows), cpuMs(fetchCpu));
    }
    const auto start = std::chrono::steady_clock::now();
    const std::clock_t startCpu = std::clock();
    auto source = layout::runReport(document, data, std::make_shared<layout::ApproximateMeasure>());
    auto first = source->page(1);
    const auto firstAt = std::chrono::steady_clock::now();
    while (!source->pageCount()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    const auto allAt = std::chrono::steady_clock::now();
    if (!first || !source->problem().empty()) std::fprintf(stderr, "the report did not run\n");
    std::printf("layout-first-page-ms-%lld: %.1f ms\n", static_cast<long long>(rows), ms(firstAt - start));
    std::printf("layout-all-pages-ms-%lld: %.0f ms\n", static_cast<long long>(rows), ms(allAt - start));
    // Both threads' processor time: on a shared machine the wall clock also
    // counts time spent waiting for a core.
    std::printf("layout-all-pages-cpu-ms-%lld: %.0f ms\n", static_cast<long long>(rows), cpuMs(startCpu));
    std::printf("layout-pages-%lld: %d pages\n", static_cast<long long>(rows), *source->pageCount());
    std::printf("layout-peak-rss-mb-%lld: %.1f MB\n", static_cast<long long>(rows), peakMegabytes());

    ReportDocument withLinks = document;
    withLinks.definition = reportWithOnDemandLines();
    const auto linksStart = std::chrono::steady_clock::now();
    auto linked = layout::runReport(withLinks, data, std::make_shared<layout::ApproximateMeasure>());
    auto linkPage = linked->page(1);
    const auto linksAt = std::chrono::steady_clock::now();
    std::shared_ptr<const layout::PageLink> last;
    for (const auto& item : linkPage ? linkPage->items : std::vector<layout::DisplayItem>{})
      if (auto run = std::get_if<layout::TextRun>(&item); run && run->link) last = run->link;
    if (!last) {
      std::fprintf(stderr, "the report with links did not run\n");
      continue;
    }
    const auto openStart = std::chrono::steady_clock::now();
    auto opened = linked->runLink(*last);
    auto openedPage = opened ? opened->page(1) : nullptr;
    const auto openedAt = std::chrono::steady_clock::now();
    if (!openedPage || !opened->problem().empty()) std::fprintf(stderr, "the subreport did not open\n");
    std::printf("on-demand-first-page-ms-%lld: %.1f ms\n", static_cast<long long>(rows), ms(linksAt - linksStart));
    std::printf("on-demand-opened-first-page-ms-%lld: %.1f ms\n", static_cast<long long>(rows),
                ms(openedAt - openStart));
  }
  return 0;
}
