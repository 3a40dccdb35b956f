// The Excel export, read back by openpyxl: a grouped report as printed
// (typed cells, the page header once, group rows, the footer at the end),
// pictures as printed (read back with Python's zipfile), and as data only
// (every record, its values and types, sheets that go on past their row
// limit), and the report's patterns as Excel formats.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <map>
#include <set>
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

std::string pictureFile(const char* name) {
  std::ifstream in(std::string(MERVANE_TEST_PICTURES) + "/" + name, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

Value hexOf(const std::string& bytes) {
  std::string hex = "0x";
  for (unsigned char c : bytes) hex += "0123456789ABCDEF"[c >> 4], hex += "0123456789ABCDEF"[c & 15];
  return Value(fromUtf8(hex));
}

model::ReportObject pictureObject(model::SharedBytes file, std::int32_t x, std::int32_t width, std::int32_t height) {
  model::ReportObject o{.kind = ObjectKind::Picture, .name = u"Picture", .x = x, .width = width, .height = height};
  o.picture.image = std::move(file);
  o.picture.stretch = true;
  return o;
}

TEST(ExcelExport, AsPrintedPicturesAreAnchoredWhereTheyPrintedAndStoredOnce) {
  // The logo in the page header and footer; each order line's own picture
  // from a column: a GIF or a BMP by turns, a text that is not a picture on
  // line 6 and nothing on line 8.
  const model::SharedBytes logo(pictureFile("logo.png"));
  const std::string gif = pictureFile("logo.gif"), bmp = pictureFile("logo.bmp");
  model::ReportDefinition r = model::blankReport();
  sectionOf(r, SectionKind::PageHeader).height = 1500;
  sectionOf(r, SectionKind::PageHeader).objects = {object(ObjectKind::Text, u"Orders", {}, 0, 2000),
                                                    pictureObject(logo, 5000, 1440, 720)};
  auto& details = sectionOf(r, SectionKind::Details);
  details.height = 300;
  details.objects = {object(ObjectKind::DatabaseField, u"Id", u"id", 0, 1000), pictureObject({}, 1200, 600, 240),
                     object(ObjectKind::DatabaseField, u"Name", u"name", 2400, 2000)};
  details.objects[0].format.numberFormat = u"0";
  details.objects[1].field = {u"T", u"photo", {}};
  sectionOf(r, SectionKind::PageFooter).height = 800;
  sectionOf(r, SectionKind::PageFooter).objects = {pictureObject(logo, 0, 1440, 720)};
  FakeProvider data;
  data.tables[u""] = FakeTable{{u"id", u"name", u"photo"}, kRows, [&](std::int64_t row, std::size_t column) -> Value {
                                 if (column == 0) return Value(static_cast<double>(row + 1));
                                 if (column == 1) return Value(u"Line " + decimal(row + 1));
                                 return row == 5 ? Value(u"4E6F7420612070696374757265") : row == 7 ? Value()
                                                                                         : hexOf(row % 2 ? bmp : gif);
                               }};
  ReportDocument document;
  document.definition = std::move(r);
  std::shared_ptr<layout::PageSource> source =
      layout::runReport(document, data, std::make_shared<layout::ApproximateMeasure>());
  const auto path = scratch("pictures.xlsx");
  {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    ASSERT_TRUE(writeXlsxAsPrinted(finalPagesOf(source, {}), out, {}, {u"Orders", 40}));
  }
  ASSERT_GE(*source->pageCount(), 2);

  int status = -1;
  std::istringstream lines(capture("/usr/bin/python3 " MERVANE_XLSX_PICTURES " '" + path.string() + "'", &status));
  ASSERT_EQ(status, 0);
  std::map<std::string, std::size_t> media;  // part -> size
  std::vector<std::vector<std::string>> pictures;
  for (std::string line; std::getline(lines, line);) {
    std::vector<std::string> parts;
    std::istringstream fields(line);
    for (std::string part; std::getline(fields, part, '\t');) parts.push_back(part);
    if (parts[0] == "problem") ADD_FAILURE() << parts[1];
    if (parts[0] == "media") media[parts[1]] = std::stoul(parts[2]);
    if (parts[0] == "picture") pictures.push_back(parts);
  }
  // Each file once, as it came, however many pages and records show it.
  EXPECT_EQ(media, (std::map<std::string, std::size_t>{{"xl/media/image1.png", logo.size()},
                                                        {"xl/media/image2.gif", gif.size()},
                                                        {"xl/media/image3.bmp", bmp.size()}}));

  auto cells = readBack(path);
  int logos = 0, linePictures = 0;
  std::set<std::string> sheets;
  for (const auto& picture : pictures) {
    const std::string& sheet = picture[1], &at = picture[2], &file = picture[6];
    sheets.insert(sheet);
    if (file == "xl/media/image1.png") {
      EXPECT_EQ(picture[4] + ' ' + picture[5], std::to_string(1440 * 635) + ' ' + std::to_string(720 * 635));
      if (++logos == 1) {
        EXPECT_EQ(at.substr(1), "1") << "the header's logo beside its title";
      }
      continue;
    }
    // An order line's picture: in column A, 1200 twips in, in the row of its line.
    ASSERT_EQ(at[0], 'A');
    EXPECT_EQ(picture[3], std::to_string(1200 * 635));
    EXPECT_EQ(picture[4] + ' ' + picture[5], std::to_string(600 * 635) + ' ' + std::to_string(240 * 635));
    const ReadCell& id = cells[sheet + '!' + at];
    ASSERT_EQ(id.type, "n") << sheet << '!' << at;
    const int record = std::stoi(id.value) - 1;
    EXPECT_EQ(file, record % 2 ? "xl/media/image3.bmp" : "xl/media/image2.gif") << "line " << record + 1;
    EXPECT_NE(record, 5);
    EXPECT_NE(record, 7);
    ++linePictures;
  }
  EXPECT_EQ(logos, 2) << "the page header's once, the page footer's once";
  EXPECT_EQ(linePictures, kRows - 2);
  EXPECT_EQ(sheets, (std::set<std::string>{"Orders", "Orders (2)", "Orders (3)"}));
  // The lines below the logo start after the rows it covers.
  EXPECT_EQ(cells["Orders!A1"].value, "Orders");
  EXPECT_EQ(cells["Orders!A4"].value, "1");
  EXPECT_EQ(cells.count("Orders!A2") + cells.count("Orders!A3"), 0u);
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
