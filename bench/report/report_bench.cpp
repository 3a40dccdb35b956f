// The engine end to end, as the viewer drives it: the grouped example
// report (daily sales) over a company database, its first and last page,
// against the ODBC driver alone handing over the same query's rows; and
// opening and saving a report of 1,000 objects; its PDF export against
// laying the same pages out; its Excel export of the data only against the
// driver handing over the same rows, and as printed.
//
//   report_bench open-save FOLDER
//   report_bench pages LABEL CONNECT_TEXT [USER PASSWORD]
//   report_bench conditional-pages LABEL CONNECT_TEXT
//     (the same report with ten conditional formatting formulas and two
//     running totals)
//   report_bench distinct-pages LABEL CONNECT_TEXT
//     (that one with a third running total on every line: the distinct
//     lines so far, never starting again, so it sees a new value each row)
//   report_bench pdf LABEL CONNECT_TEXT FOLDER
//   report_bench xlsx LABEL CONNECT_TEXT FOLDER
//
// Prints "name: value unit" lines. Run once per database and row count: the
// peak memory is the process's own.
#include <windows.h>
#include <objbase.h>
#include <psapi.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "base/win/com.h"
#include "engine/data/odbc.h"
#include "engine/data/odbc_api.h"
#include "engine/data/odbc_data_provider.h"
#include "engine/data/query_builder.h"
#include "engine/engine.h"
#include "engine/export/pdf_writer.h"
#include "engine/export/xlsx_writer.h"
#include "engine/model/definition_stream.h"
#include "engine/win/compound_report_files.h"
#include "engine/win/gdi_font_source.h"
#include "engine/win/gdi_measure.h"
#include "connections/report_locations.h"
#include "example_definitions.h"

namespace mervane {
namespace {

using Clock = std::chrono::steady_clock;
double ms(Clock::duration d) { return std::chrono::duration<double, std::milli>(d).count(); }

double peakMb() {
  PROCESS_MEMORY_COUNTERS counters{};
  counters.cb = sizeof(counters);
  GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters));
  return static_cast<double>(counters.PeakWorkingSetSize) / (1024.0 * 1024.0);
}

// Where the first page's time goes, as the data door is asked: log-on (the
// report's data opened: connecting, looking up what the driver offers),
// query start (each query sent until its first row is in), and the rest,
// laying the page out.
struct FirstPageSplit {
  double logOnMs = 0;
  double queryStartMs = 0;
  bool firstRowIn = false;
};

class TimedCursor final : public engine::data::RowCursor {
 public:
  TimedCursor(std::unique_ptr<engine::data::RowCursor> inner, FirstPageSplit& split) : inner_(std::move(inner)), split_(split) {}
  bool next(std::vector<engine::formula::Value>& row) override {
    if (split_.firstRowIn) return inner_->next(row);
    const auto start = Clock::now();
    const bool more = inner_->next(row);
    split_.queryStartMs += ms(Clock::now() - start);
    split_.firstRowIn = true;
    return more;
  }
  void cancel() override { inner_->cancel(); }

 private:
  std::unique_ptr<engine::data::RowCursor> inner_;
  FirstPageSplit& split_;
};

class TimedData final : public engine::data::ReportData {
 public:
  TimedData(std::unique_ptr<engine::data::ReportData> inner, FirstPageSplit& split) : inner_(std::move(inner)), split_(split) {}
  std::unique_ptr<engine::data::RowCursor> rows(const std::vector<engine::model::FieldRef>& fields,
                                                const std::vector<engine::data::FieldMatch>& match) override {
    const auto start = Clock::now();
    auto cursor = inner_->rows(fields, match);
    if (!split_.firstRowIn) split_.queryStartMs += ms(Clock::now() - start);
    return std::make_unique<TimedCursor>(std::move(cursor), split_);
  }
  std::vector<engine::formula::Value> summaries(const std::vector<engine::data::SummaryRequest>& requests,
                                                const std::vector<engine::data::FieldMatch>& match) override {
    const auto start = Clock::now();
    auto values = inner_->summaries(requests, match);
    if (!split_.firstRowIn) split_.queryStartMs += ms(Clock::now() - start);
    return values;
  }

 private:
  std::unique_ptr<engine::data::ReportData> inner_;
  FirstPageSplit& split_;
};

class TimedProvider final : public engine::data::DataProvider {
 public:
  TimedProvider(std::shared_ptr<engine::data::DataProvider> inner, FirstPageSplit& split)
      : inner_(std::move(inner)), split_(split) {}
  std::unique_ptr<engine::data::ReportData> open(const engine::ReportDocument& document,
                                                 const engine::model::ReportDefinition& definition,
                                                 const Text& subreport) override {
    const auto start = Clock::now();
    auto data = inner_->open(document, definition, subreport);
    if (!split_.firstRowIn) split_.logOnMs += ms(Clock::now() - start);
    return std::make_unique<TimedData>(std::move(data), split_);
  }

 private:
  std::shared_ptr<engine::data::DataProvider> inner_;
  FirstPageSplit& split_;
};

engine::EngineParts parts(FirstPageSplit* split = nullptr) {
  engine::EngineParts p;
  p.files = std::make_shared<engine::CompoundReportFiles>();
  p.data = engine::data::createOdbcDataProvider();
  if (split) p.data = std::make_shared<TimedProvider>(p.data, *split);
  return p;
}

// The driver alone: the query the engine sends for the report, fetched in
// blocks of 1,000 rows into bound buffers.
double driverAlone(const std::string& label, const engine::ReportDocument& document, const Text& connectText,
                 const Text& user, const Text& password) {
  using namespace engine::data;
  Resolution resolved = resolveConnection(connectText, odbc::gatherEnvironment());
  if (!resolved.ok()) {
    std::printf("fetch-all-ms-%s: cannot resolve: %s\n", label.c_str(), toUtf8(resolved.error).c_str());
    return 0;
  }
  const engine::model::Data& data = document.definition.data;
  QuerySpec spec;
  for (const auto& t : data.tables) spec.tables.push_back({t.alias, t.location});
  spec.links = data.links;
  spec.columns.push_back({u"Orders", u"OrderDate", {}});
  spec.columns.push_back({u"Orders", u"OrderID", {}});
  spec.columns.push_back({u"Products", u"Name", {}});
  spec.columns.push_back({u"Order Lines", u"Quantity", {}});
  spec.columns.push_back({u"Order Lines", u"Amount", {}});
  spec.columns.push_back({u"Order Lines", u"LineID", {}});
  for (const auto& g : data.groups) spec.order.push_back({g.field, g.direction});
  for (const auto& s : data.sortFields) spec.order.push_back({s.field, s.direction});
  Text sql = buildQuery(spec).sql;

  SQLHDBC dbc = SQL_NULL_HANDLE;
  SQLAllocHandle(SQL_HANDLE_DBC, odbc::environment(), &dbc);
  Text connection = resolved.connection->connectionString();
  auto connect = [&](Text text) {
    return SQL_SUCCEEDED(SQLDriverConnectW(dbc, nullptr, reinterpret_cast<SQLWCHAR*>(text.data()), SQL_NTS, nullptr,
                                           0, nullptr, SQL_DRIVER_NOPROMPT));
  };
  // As the engine does: without a log-on first, then with the one given.
  if (!connect(connection) &&
      (user.empty() || !connect(connection + u";UID=" + user + u";PWD={" + password + u"}"))) {
    std::printf("fetch-all-ms-%s: cannot connect\n", label.c_str());
    return 0;
  }
  SQLHSTMT stmt = SQL_NULL_HANDLE;
  SQLAllocHandle(SQL_HANDLE_STMT, dbc, &stmt);
  constexpr SQLULEN rows = 1000;
  SQLULEN fetched = 0;
  SQLSetStmtAttr(stmt, SQL_ATTR_ROW_ARRAY_SIZE, reinterpret_cast<SQLPOINTER>(rows), 0);
  SQLSetStmtAttr(stmt, SQL_ATTR_ROWS_FETCHED_PTR, &fetched, 0);
  const auto start = Clock::now();
  if (!SQL_SUCCEEDED(SQLExecDirectW(stmt, reinterpret_cast<SQLWCHAR*>(sql.data()), SQL_NTS))) {
    std::printf("fetch-all-ms-%s: query failed\n", label.c_str());
    return 0;
  }
  std::vector<SQLWCHAR> date(rows * 32), name(rows * 64);
  std::vector<double> order(rows), quantity(rows), amount(rows), line(rows);
  std::vector<SQLLEN> ind(rows * 6);
  SQLBindCol(stmt, 1, SQL_C_WCHAR, date.data(), 32 * sizeof(SQLWCHAR), &ind[0]);
  SQLBindCol(stmt, 2, SQL_C_DOUBLE, order.data(), 0, &ind[rows]);
  SQLBindCol(stmt, 3, SQL_C_WCHAR, name.data(), 64 * sizeof(SQLWCHAR), &ind[2 * rows]);
  SQLBindCol(stmt, 4, SQL_C_DOUBLE, quantity.data(), 0, &ind[3 * rows]);
  SQLBindCol(stmt, 5, SQL_C_DOUBLE, amount.data(), 0, &ind[4 * rows]);
  SQLBindCol(stmt, 6, SQL_C_DOUBLE, line.data(), 0, &ind[5 * rows]);
  unsigned long long total = 0;
  while (SQL_SUCCEEDED(SQLFetchScroll(stmt, SQL_FETCH_NEXT, 0))) total += fetched;
  const double fetchMs = ms(Clock::now() - start);
  std::printf("fetch-all-ms-%s: %.0f ms (%llu rows)\n", label.c_str(), fetchMs, total);
  SQLFreeHandle(SQL_HANDLE_STMT, stmt);
  SQLDisconnect(dbc);
  SQLFreeHandle(SQL_HANDLE_DBC, dbc);
  return fetchMs;
}

// The grouped report with what report writers add to it: ten formatting
// conditions on its details and group sections, and two running totals (a
// balance over the whole report, and the lines of the day) shown on every
// line and in the day's footer.
engine::model::ReportDefinition withConditions(engine::model::ReportDefinition r) {
  namespace model = engine::model;
  model::RunningTotal balance;
  balance.name = u"Balance";
  balance.field = {u"Order Lines", u"Amount", {}};
  model::RunningTotal dayLines;
  dayLines.name = u"DayLines";
  dayLines.field = {u"Order Lines", u"LineID", {}};
  dayLines.operation = model::SummaryOperation::Count;
  dayLines.reset = model::RunningTotalReset::OnChangeOfGroup;
  dayLines.resetGroup = 1;
  r.runningTotals = {balance, dayLines};
  auto total = [](Text name, std::int32_t x, std::int32_t width) {
    model::ReportObject o;
    o.kind = model::ObjectKind::RunningTotalField;
    o.name = name;
    o.formula = std::move(name);
    o.x = x;
    o.width = width;
    o.format.alignment = model::Alignment::Right;
    o.format.numberFormat = u"#,##0.00";
    return o;
  };
  for (model::Section& section : r.sections) {
    if (section.kind == model::SectionKind::Details) {
      for (model::ReportObject& o : section.objects) {
        if (o.field.column == u"Amount") {
          o.conditions.fontColour = u"if {Order Lines.Amount} > 1000 then crRed else crBlack";
          o.conditions.bold = u"{Order Lines.Amount} > 2000";
          o.conditions.background = u"if {Order Lines.Quantity} > 15 then Color(255, 240, 240)";
        } else if (o.field.column == u"Quantity") {
          o.conditions.italic = u"{Order Lines.Quantity} < 3";
          o.conditions.fontColour = u"if CurrentFieldValue > 10 then crNavy else crBlack";
        } else if (o.field.column == u"Name") {
          o.conditions.suppress = u"IsNull({Products.Name})";
          o.conditions.border = u"{Order Lines.Quantity} = 20";
        }
      }
      model::ReportObject shown = total(u"Balance", 9100, 1500);
      shown.conditions.fontColour = u"if {#Balance} > 1000000 then crGreen else crBlack";
      section.objects.push_back(shown);
      section.objects.push_back(total(u"DayLines", 10700, 600));
    } else if (section.kind == model::SectionKind::GroupHeader) {
      section.conditions.newPageBefore = u"{Orders.OrderDate} = \"2026-13-01\"";
    } else if (section.kind == model::SectionKind::GroupFooter) {
      section.conditions.suppress = u"{#DayLines} = 0";
      section.objects.push_back(total(u"DayLines", 2500, 1000));
    }
  }
  return r;
}

engine::model::ReportDefinition withDistinctLines(engine::model::ReportDefinition r) {
  namespace model = engine::model;
  model::RunningTotal lines;
  lines.name = u"LinesSeen";
  lines.field = {u"Order Lines", u"LineID", {}};
  lines.operation = model::SummaryOperation::DistinctCount;
  r.runningTotals.push_back(lines);
  for (model::Section& section : r.sections) {
    if (section.kind != model::SectionKind::Details) continue;
    model::ReportObject o;
    o.kind = model::ObjectKind::RunningTotalField;
    o.name = o.formula = u"LinesSeen";
    o.x = 11400;
    o.width = 900;
    section.objects.push_back(o);
  }
  return r;
}

int pages(const std::string& label, const Text& connectText, const Text& user, const Text& password,
          int additions = 0) {  // 1 conditions and running totals, 2 and a distinct count
  FirstPageSplit split;
  engine::Engine engine(parts(&split));
  auto made = engine.create();
  auto& report = *made;
  report.document().definition =
      additions == 0   ? tools::monthlySalesDefinition()
      : additions == 1 ? withConditions(tools::monthlySalesDefinition())
                       : withDistinctLines(withConditions(tools::monthlySalesDefinition()));
  report.setTitle(u"Daily sales");
  SessionSettings session;
  session.sqlDatabase = u"company";
  session.sqlLogin = user;
  session.sqlPassword = password;
  session.sqlConnString = connectText;
  setReportLocations(&report, readSessionData(session));

  auto measure = std::make_shared<engine::win::GdiMeasure>();
  const auto start = Clock::now();
  auto run = report.run(measure);
  auto first = run->page(1);
  const double firstMs = ms(Clock::now() - start);
  if (!run->problem().empty()) {
    std::printf("first-page-ms-%s: the report cannot run: %s\n", label.c_str(), toUtf8(run->problem()).c_str());
    return 1;
  }
  while (!run->pageCount()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  const std::int32_t count = *run->pageCount();
  auto last = run->page(count);
  const double lastMs = ms(Clock::now() - start);
  std::printf("first-page-ms-%s: %.1f ms\n", label.c_str(), firstMs);
  std::printf("first-page-log-on-ms-%s: %.1f ms\n", label.c_str(), split.logOnMs);
  std::printf("first-page-query-start-ms-%s: %.1f ms\n", label.c_str(), split.queryStartMs);
  std::printf("first-page-layout-ms-%s: %.1f ms\n", label.c_str(), firstMs - split.logOnMs - split.queryStartMs);
  std::printf("last-page-ms-%s: %.0f ms (%d pages)\n", label.c_str(), lastMs, static_cast<int>(count));
  run.reset();
  const double fetchMs = driverAlone(label, report.document(), connectText, user, password);
  if (fetchMs > 0) std::printf("all-pages-per-fetch-%s: %.2f times\n", label.c_str(), lastMs / fetchMs);
  std::printf("peak-memory-mb-%s: %.1f MB\n", label.c_str(), peakMb());
  return first && last ? 0 : 1;
}

// The PDF export of the same report against laying out the same pages: the
// final pages, as the export gets them (the report shows "Page N of M", so
// both wait for the page count before the first page), each in a fresh
// run; fonts from GDI. Peak memory is the process's own;
// run_report_bench.sh compares it between row counts.
int pdf(const std::string& label, const Text& connectText, const std::wstring& folder) {
  engine::Engine engine(parts());
  auto made = engine.create();
  auto& report = *made;
  report.document().definition = tools::monthlySalesDefinition();
  report.setTitle(u"Daily sales");
  SessionSettings session;
  session.sqlDatabase = u"company";
  session.sqlConnString = connectText;
  setReportLocations(&report, readSessionData(session));
  auto measure = std::make_shared<engine::win::GdiMeasure>();

  // Laying the final pages out, before and after the export: the faster of
  // the two, so neither side pays alone for a cold cache or a busy machine.
  std::int32_t pages = 0;
  auto layOut = [&] {
    const auto begin = Clock::now();
    std::shared_ptr<engine::layout::PageSource> run = report.run(measure);
    auto feed = engine::exporting::finalPagesOf(run, {});
    for (pages = 0; feed(pages + 1);) ++pages;
    return ms(Clock::now() - begin);
  };
  double layoutMs = layOut();
  if (pages == 0) {
    std::printf("pdf-pages-per-second-%s: the report cannot run\n", label.c_str());
    return 1;
  }

  const std::wstring path = folder + L"\\daily-sales.pdf";
  auto start = Clock::now();
  bool written = false;
  {
    std::shared_ptr<engine::layout::PageSource> run = report.run(measure);
    std::ofstream out(std::filesystem::path(path), std::ios::binary | std::ios::trunc);
    engine::exporting::PdfOptions options;
    options.fonts = std::make_shared<engine::win::GdiFontSource>();
    options.title = report.title();
    written = engine::exporting::writePdf(engine::exporting::finalPagesOf(run, {}), out, {}, options);
  }
  const double pdfMs = ms(Clock::now() - start);
  layoutMs = std::min(layoutMs, layOut());
  const double kb = static_cast<double>(std::filesystem::file_size(path)) / 1024.0;
  std::printf("pdf-pages-%s: %d pages\n", label.c_str(), static_cast<int>(pages));
  std::printf("pdf-layout-pages-per-second-%s: %.0f pages/s\n", label.c_str(), pages * 1000.0 / layoutMs);
  std::printf("pdf-pages-per-second-%s: %.0f pages/s (goal 500 or more)\n", label.c_str(), pages * 1000.0 / pdfMs);
  std::printf("pdf-per-layout-%s: %.2f times (goal 1.3 or less)\n", label.c_str(), pdfMs / layoutMs);
  std::printf("pdf-kb-per-page-%s: %.2f KB (goal 4 or less)\n", label.c_str(), kb / pages);
  // The anchor: a 400-page PDF of 60 MB, as reported for an open-source report tool.
  std::printf("pdf-size-per-anchor-%s: %.3f times (anchor 153.6 KB a page)\n", label.c_str(), kb / pages / 153.6);
  std::printf("pdf-peak-memory-mb-%s: %.1f MB\n", label.c_str(), peakMb());
  DeleteFileW(path.c_str());
  return written ? 0 : 1;
}

// The Excel export of the data only (one row per order line) against the
// driver alone fetching the same query's rows, then the export as printed
// (laying the pages out included). Peak memory is the process's own;
// run_report_bench.sh compares it between row counts.
int xlsx(const std::string& label, const Text& connectText, const std::wstring& folder) {
  engine::Engine engine(parts());
  auto made = engine.newReport();
  auto& report = static_cast<engine::Report&>(*made);
  report.document().definition = tools::monthlySalesDefinition();
  report.setTitle(u"Daily sales");
  SessionSettings session;
  session.sqlDatabase = u"company";
  session.sqlConnString = connectText;
  setReportLocations(&report, readSessionData(session));

  const std::wstring path = folder + L"\\daily-sales.xlsx";
  std::int64_t records = 0;
  const auto start = Clock::now();
  bool written = false;
  try {
    std::ofstream out(std::filesystem::path(path), std::ios::binary | std::ios::trunc);
    engine::exporting::XlsxOptions options;
    options.title = report.title();
    written = engine::exporting::writeXlsxData(report.document(), *report.parts().data, out,
                                               [&](std::int64_t n) { return records = n, true; }, options);
  } catch (const std::exception& e) {
    std::printf("xlsx-data-ms-%s: the report cannot run: %s\n", label.c_str(), e.what());
    return 1;
  }
  const double exportMs = ms(Clock::now() - start);
  const double mb = static_cast<double>(std::filesystem::file_size(path)) / (1024.0 * 1024.0);
  std::printf("xlsx-data-ms-%s: %.0f ms (%lld rows)\n", label.c_str(), exportMs,
              static_cast<long long>(records));
  std::printf("xlsx-data-size-mb-%s: %.1f MB\n", label.c_str(), mb);
  const double fetchMs = driverAlone(label, report.document(), connectText, {}, {});
  if (fetchMs > 0)
    std::printf("xlsx-data-per-fetch-%s: %.2f times (goal 2 or less)\n", label.c_str(), exportMs / fetchMs);
  std::printf("xlsx-peak-memory-mb-%s: %.1f MB\n", label.c_str(), peakMb());
  DeleteFileW(path.c_str());

  // The same report as printed: its final pages, each line a row.
  std::int32_t pages = 0;
  const auto printedStart = Clock::now();
  try {
    std::shared_ptr<engine::layout::PageSource> run = report.run(std::make_shared<engine::win::GdiMeasure>());
    std::ofstream out(std::filesystem::path(path), std::ios::binary | std::ios::trunc);
    engine::exporting::XlsxOptions options;
    options.title = report.title();
    written = engine::exporting::writeXlsxAsPrinted(engine::exporting::finalPagesOf(run, {}), out,
                                                    [&](std::int32_t n) { return pages = n, true; }, options) &&
              written;
  } catch (const std::exception& e) {
    std::printf("xlsx-printed-ms-%s: the report cannot run: %s\n", label.c_str(), e.what());
    return 1;
  }
  std::printf("xlsx-printed-ms-%s: %.0f ms (%d pages)\n", label.c_str(), ms(Clock::now() - printedStart),
              static_cast<int>(pages));
  std::printf("xlsx-printed-peak-memory-mb-%s: %.1f MB\n", label.c_str(), peakMb());
  DeleteFileW(path.c_str());
  return written ? 0 : 1;
}

// A report of 1,000 objects: opened (its definition read) and saved.
int openSave(const std::wstring& folder) {
  engine::model::ReportDefinition definition = tools::monthlySalesDefinition();
  auto& details = definition.sections[3].objects;
  for (int i = static_cast<int>(details.size()); i < 1000; ++i) {
    engine::model::ReportObject o;
    o.kind = engine::model::ObjectKind::Text;
    o.name = u"Text" + decimal(i);
    o.text = u"Object number " + decimal(i);
    o.x = (i % 10) * 900;
    o.y = (i / 10) * 20;
    details.push_back(o);
  }
  const Text source = win::fromWide((folder + L"\\thousand.rpt").c_str());
  const Text copy = win::fromWide((folder + L"\\thousand-saved.rpt").c_str());
  engine::CompoundReportFiles files;
  files.create(source, {u"A thousand objects", engine::model::writeDefinition(definition)});

  engine::Engine engine(parts());
  double openMs = 1e9, saveMs = 1e9;
  for (int round = 0; round < 5; ++round) {
    auto start = Clock::now();
    auto opened = engine.openReport(source, OpenMethod::ByTemporaryCopy);
    auto& report = static_cast<engine::Report&>(*opened);
    std::size_t objects = 0;
    for (const auto& s : report.document().definition.sections) objects += s.objects.size();
    openMs = std::min(openMs, ms(Clock::now() - start));
    if (objects < 1000) return 1;
    start = Clock::now();
    report.save(copy);
    saveMs = std::min(saveMs, ms(Clock::now() - start));
  }
  std::printf("open-save-ms-open-1000-objects: %.1f ms\n", openMs);
  std::printf("open-save-ms-save-1000-objects: %.1f ms\n", saveMs);
  DeleteFileW((folder + L"\\thousand.rpt").c_str());
  DeleteFileW((folder + L"\\thousand-saved.rpt").c_str());
  return 0;
}

}  // namespace
}  // namespace mervane

int wmain(int argc, wchar_t** argv) {
  using mervane::win::fromWide;
  CoInitialize(nullptr);
  const std::wstring mode = argc > 1 ? argv[1] : L"";
  if (mode == L"open-save" && argc > 2) return mervane::openSave(argv[2]);
  if (mode == L"pages" && argc > 3) {
    std::wstring label(argv[2]);
    return mervane::pages(std::string(label.begin(), label.end()), fromWide(argv[3]),
                          argc > 4 ? fromWide(argv[4]) : mervane::Text(), argc > 5 ? fromWide(argv[5]) : mervane::Text());
  }
  if (mode == L"conditional-pages" && argc > 3) {
    std::wstring label(argv[2]);
    return mervane::pages("conditional-" + std::string(label.begin(), label.end()), fromWide(argv[3]), {}, {}, 1);
  }
  if (mode == L"distinct-pages" && argc > 3) {
    std::wstring label(argv[2]);
    return mervane::pages("distinct-" + std::string(label.begin(), label.end()), fromWide(argv[3]), {}, {}, 2);
  }
  if (mode == L"pdf" && argc > 4) {
    std::wstring label(argv[2]);
    return mervane::pdf(std::string(label.begin(), label.end()), fromWide(argv[3]), argv[4]);
  }
  if (mode == L"xlsx" && argc > 4) {
    std::wstring label(argv[2]);
    return mervane::xlsx(std::string(label.begin(), label.end()), fromWide(argv[3]), argv[4]);
  }
  std::fputs("usage: report_bench open-save FOLDER | pages LABEL CONNECT_TEXT [USER PASSWORD]"
             " | pdf LABEL CONNECT_TEXT FOLDER | xlsx LABEL CONNECT_TEXT FOLDER\n", stderr);
  return 2;
}
