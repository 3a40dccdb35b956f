// The Excel export, read back by openpyxl: a grouped report as printed
// (typed cells, the page header once, group rows, the footer at the end)
// and as data only (every record, its values and types, sheets that go on
// past their row limit), and the report's patterns as Excel formats.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>

#include "engine/export/xlsx_writer.h"
#include "engine/layout/page_source.h"
#include "export_test_support.h"
#include "layout/fake_data.h"

namespace mervane::engine::exporting {
namespace {

using formula::Value;
using layout::testing::FakeProvider;
using layout::testing::FakeTable;
using model::ObjectKind;
using model::SectionKind;
using testing::capture;
using testing::scratch;

struct ReadCell {
  std::string type, value, format;
};

// Cells by "Sheet!A1", as openpyxl reads them.
std::map<std::string, ReadCell> readBack(const std::filesystem::path& file, std::string* title = nullptr) {
  int status = -1;
  std::istringstream lines(capture("/usr/bin/python3 " MERVANE_XLSX_DUMP " '" + file.string() + "'", &status));
  EXPECT_EQ(status, 0) << "openpyxl could not read " << file;
  std::map<std::string, ReadCell> cells;
  for (std::string line; std::getline(lines, line);) {
    std::vector<std::string> parts;
    std::istringstream fields(line);
    for (std::string part; std::getline(fields, part, '\t');) parts.push_back(part);
    if (parts.size() == 2 && parts[0] == "title" && title) *title = parts[1];
    if (parts.size() == 4) cells[parts[0]] = {parts[1], parts[2], parts[3]};
  }
  return cells;
}

model::ReportObject object(ObjectKind kind, Text name, Text column, std::int32_t x, std::int32_t width) {
  model::ReportObject o;
  o.kind = kind;
  o.name = name;
  o.text = name;
  o.field = {u"T", std::move(column), {}};
  o.x = x;
  o.width = width;
  return o;
}

model::Section& sectionOf(model::ReportDefinition& report, SectionKind kind) {
  for (auto& s : report.sections)
    if (s.kind == kind) return s;
  report.sections.push_back({});
  report.sections.back().kind = kind;
  report.sections.back().group = kind == SectionKind::GroupHeader || kind == SectionKind::GroupFooter ? 1 : 0;
  return report.sections.back();
}

// Orders grouped by customer: number, product, amount and day per line.
ReportDocument ordersReport() {
  model::ReportDefinition r = model::blankReport();
  r.data.groups.push_back({{u"T", u"customer", {}}, model::SortDirection::Ascending, {}});
  sectionOf(r, SectionKind::PageHeader).objects = {object(ObjectKind::Text, u"Order", {}, 0, 1000),
                                                    object(ObjectKind::Text, u"Product", {}, 1200, 3000),
                                                    object(ObjectKind::Text, u"Amount", {}, 4400, 1500),
                                                    object(ObjectKind::Text, u"Day", {}, 6000, 1500)};
  auto& group = sectionOf(r, SectionKind::GroupHeader).objects;
  group = {object(ObjectKind::DatabaseField, u"Customer", u"customer", 0, 3000)};
  group[0].format.bold = true;
  auto& details = sectionOf(r, SectionKind::Details).objects;
  details = {object(ObjectKind::DatabaseField, u"Id", u"id", 0, 1000),
             object(ObjectKind::DatabaseField, u"Name", u"name", 1200, 3000),
             object(ObjectKind::DatabaseField, u"Amount", u"amount", 4400, 1500),
             object(ObjectKind::DatabaseField, u"Day", u"day", 6000, 1500)};
  details[0].format.numberFormat = u"0";
  details[2].format.numberFormat = u"#,##0.00";
  details[3].format.dateFormat = u"dd/MM/yyyy";
  auto total = object(ObjectKind::SummaryField, u"Total", u"amount", 4400, 1500);
  total.summaryGroup = 1;
  total.format.numberFormat = u"#,##0.00";
  sectionOf(r, SectionKind::GroupFooter).objects = {total};
  auto pages = object(ObjectKind::SpecialField, u"Pages", {}, 0, 3000);
  pages.special = model::SpecialFieldKind::PageNofM;
  sectionOf(r, SectionKind::PageFooter).objects = {pages};
  ReportDocument document;
  document.definition = std::move(r);
  document.title = u"Orders: Łódź";
  return document;
}

constexpr std::int64_t kRows = 90;

void fillOrders(FakeProvider& data) {
  data.tables[u""] = FakeTable{{u"id", u"name", u"amount", u"day", u"customer"}, kRows,
                               [](std::int64_t row, std::size_t column) -> Value {
                                 switch (column) {
                                   case 0: return Value(static_cast<double>(row + 1));
                                   case 1: return row == 3 ? Value() : Value(u"Dvořák <" + decimal(row) + u">");
                                   case 2: return Value(row * 1250.5);
                                   case 3: return Value(formula::DateTime{45000.0 + row + (row == 5 ? 0.5 : 0)});
                                   default: return Value(row < 40 ? u"Alpha" : u"Beta");
                                 }
                               }};
}

TEST(ExcelExport, AsPrintedKeepsTypesAndPrintsHeaderOnceFooterLast) {
  FakeProvider data;
  fillOrders(data);
  std::shared_ptr<layout::PageSource> source =
      layout::runReport(ordersReport(), data, std::make_shared<layout::ApproximateMeasure>());
  const auto path = scratch("as-printed.xlsx");
  {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    ASSERT_TRUE(writeXlsxAsPrinted(finalPagesOf(source, {}), out, {}, {u"Orders: Łódź"}));
  }
  ASSERT_GE(*source->pageCount(), 2);
  std::string title;
  auto cells = readBack(path, &title);
  EXPECT_EQ(title, "Orders: Łódź");
  const std::string sheet = "Orders Łódź!";  // ':' cannot stand in a sheet's name
  int headings = 0, footers = 0, amounts = 0;
  std::string lastRow;
  for (const auto& [at, cell] : cells) {
    if (cell.value == "Amount") ++headings;
    if (cell.value.rfind("Page ", 0) == 0) {
      ++footers;
      EXPECT_EQ(cell.value, "Page " + std::to_string(*source->pageCount()) + " of " +
                                std::to_string(*source->pageCount()));
      lastRow = at;
    }
  }
  EXPECT_EQ(headings, 1);
  EXPECT_EQ(footers, 1);
  EXPECT_EQ(cells[sheet + "A1"].value, "Order");
  EXPECT_EQ(cells[sheet + "A2"].value, "Alpha");  // the group header
  EXPECT_EQ(cells[sheet + "A3"].type, "n");
  EXPECT_EQ(cells[sheet + "A3"].value, "1");
  EXPECT_EQ(cells[sheet + "B3"].value, "Dvořák <0>");
  EXPECT_EQ(cells[sheet + "C4"].value, "1250.5");
  EXPECT_EQ(cells[sheet + "C4"].format, "#,##0.00");
  EXPECT_EQ(cells[sheet + "D4"].type, "d");
  EXPECT_EQ(cells[sheet + "D4"].value, "2023-03-16T00:00:00");
  EXPECT_EQ(cells[sheet + "D4"].format, "dd/mm/yyyy");
  for (const auto& [at, cell] : cells) amounts += at.rfind(sheet + "C", 0) == 0 && cell.type == "n";
  EXPECT_EQ(amounts, kRows + 2);  // every line and both group totals
  // The Alpha total: 1250.5 * (0 + 1 + ... + 39).
  bool total = false;
  for (const auto& [at, cell] : cells) total = total || (cell.type == "n" && cell.value == "975390");
  EXPECT_TRUE(total);
}

TEST(ExcelExport, DataOnlyHasEveryRecordTypedAndGoesOnInAnotherSheet) {
  FakeProvider data;
  fillOrders(data);
  XlsxOptions options{u"Orders", 40};
  const auto path = scratch("data-only.xlsx");
  std::int64_t told = 0;
  {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    ASSERT_TRUE(writeXlsxData(ordersReport(), data, out, [&](std::int64_t n) { return told = n, true; }, options));
  }
  EXPECT_EQ(told, kRows);
  auto cells = readBack(path);
  // 40 rows a sheet, the headings on each: 39 + 39 + 12 records.
  for (std::string sheet : {"Orders!", "Orders (2)!", "Orders (3)!"}) {
    EXPECT_EQ(cells[sheet + "A1"].value, "Order") << sheet;
    EXPECT_EQ(cells[sheet + "D1"].value, "Day") << sheet;
  }
  EXPECT_EQ(cells.count("Orders (3)!A14"), 0u);
  for (std::int64_t row = 0; row < kRows; ++row) {
    const std::string sheet = row < 39 ? "Orders!" : row < 78 ? "Orders (2)!" : "Orders (3)!";
    const std::string at = std::to_string(row % 39 + 2);
    const ReadCell& id = cells[sheet + "A" + at];
    EXPECT_EQ(id.type, "n");
    EXPECT_EQ(id.value, std::to_string(row + 1));
    const ReadCell& name = cells[sheet + "B" + at];
    if (row == 3) {
      EXPECT_EQ(name.value, "") << "a null is an empty cell";
    } else {
      EXPECT_EQ(name.type, "s");
      EXPECT_EQ(name.value, "Dvořák <" + std::to_string(row) + ">");
    }
    const ReadCell& amount = cells[sheet + "C" + at];
    EXPECT_EQ(amount.type, "n");
    EXPECT_DOUBLE_EQ(std::stod(amount.value), row * 1250.5);
    const ReadCell& day = cells[sheet + "D" + at];
    EXPECT_EQ(day.type, "d");
    EXPECT_EQ(day.format, "dd/mm/yyyy");
  }
  EXPECT_EQ(cells["Orders!D7"].value, "2023-03-20T12:00:00");
}

TEST(ExcelExport, ReportPatternsBecomeExcelFormats) {
  EXPECT_EQ(excelNumberFormat(u""), "General");
  EXPECT_EQ(excelNumberFormat(u"#,##0.00"), "#,##0.00");
  EXPECT_EQ(excelNumberFormat(u"0.0 kg"), "0.0\" kg\"");
  EXPECT_EQ(excelNumberFormat(u"$#,##0"), "\"$\"#,##0");
  EXPECT_EQ(excelNumberFormat(u"#"), "#");
  EXPECT_EQ(excelDateFormat(u"dd/MM/yyyy HH:mm", false), "dd/mm/yyyy hh:mm");
  EXPECT_EQ(excelDateFormat(u"d MMMM yyyy 'at' h:mm tt", false), "d mmmm yyyy \"at\" h:mm AM/PM");
  EXPECT_EQ(excelDateFormat(u"", true), "yyyy-mm-dd hh:mm:ss");
}

}  // namespace
}  // namespace mervane::engine::exporting
