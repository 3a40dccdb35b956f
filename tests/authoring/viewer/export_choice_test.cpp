// The Export dialog's rules: page ranges as typed, file names from titles,
// formats from file names, and a feed cut to a range.
#include <gtest/gtest.h>

#include "authoring/viewer/export_choice.h"
#include "engine/export/page_feed.h"

namespace mervane::viewer {
namespace {

ExportPages pages(const PageChoice& choice, std::int32_t current, std::optional<std::int32_t> count) {
  auto result = pagesOf(choice, current, count);
  EXPECT_TRUE(std::holds_alternative<ExportPages>(result)) << toUtf8(std::get<Text>(result));
  return std::holds_alternative<ExportPages>(result) ? std::get<ExportPages>(result) : ExportPages{};
}

Text problem(const PageChoice& choice, std::optional<std::int32_t> count) {
  auto result = pagesOf(choice, 1, count);
  return std::holds_alternative<Text>(result) ? std::get<Text>(result) : Text(u"(accepted)");
}

TEST(ExportChoice, PageRangesAsTyped) {
  EXPECT_EQ(pages({PageRange::All, u"", u""}, 3, 10), (ExportPages{1, 0}));
  EXPECT_EQ(pages({PageRange::Current, u"", u""}, 3, std::nullopt), (ExportPages{3, 3}));
  EXPECT_EQ(pages({PageRange::FromTo, u" 2 ", u"4"}, 1, 10), (ExportPages{2, 4}));
  // Past the end: up to the last page; while counting, as typed.
  EXPECT_EQ(pages({PageRange::FromTo, u"2", u"40"}, 1, 10), (ExportPages{2, 10}));
  EXPECT_EQ(pages({PageRange::FromTo, u"2", u"40"}, 1, std::nullopt), (ExportPages{2, 40}));

  EXPECT_EQ(problem({PageRange::FromTo, u"", u"4"}, 10), u"Type the number of the first page to export.");
  EXPECT_EQ(problem({PageRange::FromTo, u"0", u"4"}, 10), u"Type the number of the first page to export.");
  EXPECT_EQ(problem({PageRange::FromTo, u"2", u"x"}, 10), u"Type the number of the last page to export.");
  EXPECT_EQ(problem({PageRange::FromTo, u"5", u"4"}, 10), u"The first page must not come after the last.");
  EXPECT_EQ(problem({PageRange::FromTo, u"11", u"12"}, 10), u"The report has 10 pages.");
  EXPECT_EQ(problem({PageRange::FromTo, u"2", u"2"}, 1), u"The report has 1 page.");
}

TEST(ExportChoice, FileNamesFromTheTitleAndFormatsFromFileNames) {
  EXPECT_EQ(proposedFileName(u"Sales: 2024/Q1?", ExportFormat::Pdf), u"Sales_ 2024_Q1_.pdf");
  EXPECT_EQ(proposedFileName(u"  ", ExportFormat::ExcelData), u"Report.xlsx");
  EXPECT_EQ(proposedFileName(u"Łódź list.", ExportFormat::Html), u"Łódź list.html");
  EXPECT_EQ(withExtension(u"C:\\out\\list", ExportFormat::Csv), u"C:\\out\\list.csv");
  EXPECT_EQ(withExtension(u"C:\\out\\list.XLSX", ExportFormat::ExcelAsPrinted), u"C:\\out\\list.XLSX");
  EXPECT_EQ(withExtension(u"page.htm", ExportFormat::Html), u"page.htm");
  EXPECT_EQ(formatOfFile(u"a.Xlsx"), ExportFormat::ExcelAsPrinted);
  EXPECT_EQ(formatOfFile(u"a.htm"), ExportFormat::Html);
  EXPECT_EQ(formatOfFile(u"a.doc"), std::nullopt);
  EXPECT_FALSE(infoOf(ExportFormat::ExcelData).byPages);
}

TEST(ExportChoice, AFeedCutToARange) {
  std::vector<engine::layout::Page> laidOut(5);
  for (int i = 0; i < 5; ++i) laidOut[static_cast<std::size_t>(i)].number = i + 1;
  auto feed = engine::exporting::pagesBetween(engine::exporting::feedOf(laidOut), 2, 3);
  EXPECT_EQ(feed(1)->number, 2);
  EXPECT_EQ(feed(2)->number, 3);
  EXPECT_EQ(feed(3), nullptr);
  auto rest = engine::exporting::pagesBetween(engine::exporting::feedOf(laidOut), 4, 0);
  EXPECT_EQ(rest(2)->number, 5);
  EXPECT_EQ(rest(3), nullptr);
}

}  // namespace
}  // namespace mervane::viewer
