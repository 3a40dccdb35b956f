// Exports of a run started the moment the report opens: a report of some
// thousands of pages whose page total is shown on every page (the page
// footer's "Page N of M", and a detail formula of TotalPageCount that lands
// in the CSV) must come out with the final total everywhere, although its
// rows are still being read when the export starts.
#include <atomic>
#include <regex>
#include <sstream>
#include <thread>

#include "engine/export/csv_writer.h"
#include "engine/export/pdf_writer.h"
#include "engine/layout/page_source.h"
#include "export_test_support.h"
#include "../layout/fake_data.h"

using namespace mervane;
using namespace mervane::engine;
using namespace mervane::engine::exporting;
using namespace mervane::engine::exporting::testing;
using layout::testing::FakeProvider;
using layout::testing::FakeTable;

namespace {

constexpr std::int64_t kRows = 120'000;

model::Section& section(model::ReportDefinition& report, model::SectionKind kind) {
  for (auto& s : report.sections)
    if (s.kind == kind) return s;
  throw std::logic_error("no such section");
}

ReportDocument longList() {
  model::ReportDefinition report = model::blankReport();
  model::ReportObject id;
  id.kind = model::ObjectKind::DatabaseField;
  id.name = u"id";
  id.field = model::FieldRef{u"T", u"id", {}};
  id.width = 1440;
  model::ReportObject total;
  total.kind = model::ObjectKind::FormulaField;
  total.name = u"total";
  total.formula = u"pages";
  total.x = 2000;
  total.width = 2000;
  report.formulas.push_back(model::Formula{u"pages", u"\"of \" & ToText(TotalPageCount, \"0\")", {}});
  section(report, model::SectionKind::Details).objects = {id, total};
  model::ReportObject footer;
  footer.kind = model::ObjectKind::SpecialField;
  footer.name = u"pages";
  footer.special = model::SpecialFieldKind::PageNofM;
  footer.width = 4000;
  section(report, model::SectionKind::PageFooter).objects.push_back(footer);
  ReportDocument document;
  document.definition = std::move(report);
  document.title = u"Long list";
  return document;
}

// Writes the report's pages with `write` on a thread of its own, started
// while the rows are held back after the first pages; lets them go once
// the export is seen waiting for the count.
std::shared_ptr<layout::PageSource> runHeldBack(FakeProvider& data, std::int64_t rowsLetThrough) {
  data.tables[u""] = FakeTable{{u"id"}, kRows, [](std::int64_t row, std::size_t) {
                                 return formula::Value(static_cast<double>(row + 1));
                               }};
  data.gateAfter = rowsLetThrough;
  return layout::runReport(longList(), data, nullptr);
}

template <class Write>
void exportWhileCounting(const Write& write) {
  FakeProvider data;
  auto source = runHeldBack(data, 500);
  std::atomic<bool> waited{false};
  bool complete = false;
  std::thread exporting([&] {
    complete = write(finalPagesOf(source, {}, [&](std::int32_t) { waited = true; }));
  });
  for (int i = 0; i < 500 && !waited; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  EXPECT_TRUE(waited) << "the export did not wait for the page count";
  EXPECT_FALSE(source->pageCount());
  data.release();
  exporting.join();
  EXPECT_TRUE(complete);
  ASSERT_TRUE(source->pageCount());
  EXPECT_GT(*source->pageCount(), 3000);
}

}  // namespace

TEST(FinalPages, PdfAndCsvOfALongRunShowTheFinalTotalOnEveryPage) {
  auto pdf = scratch("long-list.pdf");
  exportWhileCounting([&](const PageFeed& feed) {
    std::ofstream out(pdf, std::ios::binary);
    return writePdf(feed, out);
  });
  std::string text = capture("pdftotext '" + pdf.string() + "' -");
  std::regex footer("Page ([0-9]+) of ([0-9]+)");
  std::int32_t pages = 0;
  std::set<std::string> totals;
  for (std::sregex_iterator it(text.begin(), text.end(), footer), end; it != end; ++it) {
    EXPECT_EQ(std::stoi((*it)[1]), ++pages) << "pages out of order";
    totals.insert((*it)[2]);
  }
  EXPECT_EQ(totals, std::set<std::string>{std::to_string(pages)});
  EXPECT_GT(pages, 3000);

  auto csv = scratch("long-list.csv");
  exportWhileCounting([&](const PageFeed& feed) {
    std::ofstream out(csv, std::ios::binary);
    return writeCsv(feed, out);
  });
  std::ifstream in(csv, std::ios::binary);
  std::string line;
  std::getline(in, line);  // the first record, after the byte order mark
  std::int64_t records = 1;
  const std::string first = line.substr(line.find(',') + 1);
  EXPECT_EQ(first, "of " + std::to_string(pages) + "\r");
  while (std::getline(in, line)) {
    ++records;
    if (line.substr(line.find(',') + 1) != first) {
      ADD_FAILURE() << "record " << records << ": " << line;
      break;
    }
  }
  EXPECT_EQ(records, kRows);
}

TEST(FinalPages, StoppedOrCancelledWhileWaitingGivesUp) {
  FakeProvider data;
  auto source = runHeldBack(data, 100);
  std::atomic<bool> stop{false};
  auto stopped = finalPagesOf(source, [&] { return stop.load(); });
  std::thread stopper([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    stop = true;
  });
  EXPECT_THROW(stopped(1), FeedStopped);
  stopper.join();

  auto cancelled = finalPagesOf(source, {});
  std::thread canceller([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    source->cancel();
  });
  EXPECT_THROW(cancelled(1), FeedStopped);
  canceller.join();
}
