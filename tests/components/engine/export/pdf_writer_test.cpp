// The PDF export, read back by independent readers: poppler's pdftotext
// (the text, and where each word stands), pdfinfo and pdfimages, and qpdf's
// structural check where it is installed.
#include "components/engine/export/pdf_writer.h"

#include <regex>
#include <sstream>

#include "components/engine/export/pdf_fonts.h"
#include "export_test_support.h"

using namespace mervane;
using namespace mervane::engine;
using namespace mervane::engine::exporting;
using namespace mervane::engine::exporting::testing;

namespace {

std::filesystem::path writeFile(const std::string& name, std::vector<layout::Page> pages) {
  auto path = scratch(name);
  std::ofstream out(path, std::ios::binary);
  EXPECT_TRUE(writePdf(feedOf(std::move(pages)), out));
  return path;
}

std::string text(const std::filesystem::path& pdf, const std::string& options = "") {
  return capture("pdftotext -enc UTF-8 " + options + " '" + pdf.string() + "' -");
}

void expectValid(const std::filesystem::path& pdf) {
  if (!have("qpdf")) return;
  int status = -1;
  std::string report = capture("qpdf --check '" + pdf.string() + "' 2>&1", &status);
  EXPECT_EQ(status, 0) << report;
  EXPECT_EQ(report.find("WARNING"), std::string::npos) << report;
}

// The left and right edge, in points, of the word `word` on the first page.
std::pair<double, double> wordEdges(const std::filesystem::path& pdf, const std::string& word) {
  std::string html = capture("pdftotext -bbox -f 1 -l 1 '" + pdf.string() + "' -");
  std::smatch m;
  std::regex pattern("<word xMin=\"([0-9.]+)\" yMin=\"[0-9.]+\" xMax=\"([0-9.]+)\"[^>]*>" + word + "</word>");
  if (!std::regex_search(html, m, pattern)) return {-1, -1};
  return {std::stod(m[1]), std::stod(m[2])};
}

std::string pageCount(const std::filesystem::path& pdf) {
  std::string info = capture("pdfinfo '" + pdf.string() + "'");
  std::smatch m;
  return std::regex_search(info, m, std::regex("Pages: +([0-9]+)")) ? m[1].str() : info;
}

}  // namespace

TEST(PdfExport, TextStaysTextWithAccentsQuotesAndUnknownCharacters) {
  layout::Page page;
  page.items.push_back(run(1440, 1440, u"Müller & Söhne, Zoë Ñandú — 12 €"));
  page.items.push_back(run(1440, 1800, u"He said \"(hi)\" \\ ok", 0, {}, layout::TextAlign::Left, 6000));
  page.items.push_back(run(1440, 2160, u"Greek Ω stays out; tab\there"));
  layout::TextRun bold = run(1440, 2520, u"Bold Times Italic");
  bold.font = {u"Times New Roman", 240, true, true, true};
  page.items.push_back(bold);
  layout::TextRun mono = run(1440, 2880, u"Courier (fixed)");
  mono.font.name = u"Courier New";
  page.items.push_back(mono);
  auto pdf = writeFile("text.pdf", {page});
  expectValid(pdf);
  std::string out = text(pdf);
  EXPECT_NE(out.find("Müller & Söhne, Zoë Ñandú — 12 €"), std::string::npos) << out;
  EXPECT_NE(out.find("He said \"(hi)\" \\ ok"), std::string::npos) << out;
  EXPECT_NE(out.find("Greek ? stays out; tab here"), std::string::npos) << out;
  EXPECT_NE(out.find("Bold Times Italic"), std::string::npos) << out;
  EXPECT_NE(out.find("Courier (fixed)"), std::string::npos) << out;
  std::string fonts = capture("pdffonts '" + pdf.string() + "'");
  EXPECT_NE(fonts.find("Times-BoldItalic"), std::string::npos) << fonts;
  EXPECT_NE(fonts.find("Courier"), std::string::npos) << fonts;
  EXPECT_NE(fonts.find("Helvetica"), std::string::npos) << fonts;
}

TEST(PdfExport, RunsAreAlignedInTheirBoxesAndClippedToThem) {
  layout::Page page;  // boxes from 72 to 216 points across
  page.items.push_back(run(1440, 1440, u"Leftword", 0, {}, layout::TextAlign::Left, 2880));
  page.items.push_back(run(1440, 1800, u"Rightword", 0, {}, layout::TextAlign::Right, 2880));
  page.items.push_back(run(1440, 2160, u"Centreword", 0, {}, layout::TextAlign::Centre, 2880));
  auto pdf = writeFile("align.pdf", {page});
  auto [leftMin, leftMax] = wordEdges(pdf, "Leftword");
  auto [rightMin, rightMax] = wordEdges(pdf, "Rightword");
  auto [centreMin, centreMax] = wordEdges(pdf, "Centreword");
  EXPECT_NEAR(leftMin, 72, 1);
  EXPECT_NEAR(rightMax, 216, 1.5);
  EXPECT_NEAR((centreMin + centreMax) / 2, 144, 1.5);
  EXPECT_GT(leftMax, leftMin);
  EXPECT_GT(rightMin, 72);
}

TEST(PdfExport, LinesBoxesAndImagesMakeAValidFile) {
  layout::Page page;
  page.width = 16838;  // A4 across
  page.height = 11906;
  for (auto style : {model::BorderStyle::Single, model::BorderStyle::Double, model::BorderStyle::Dashed,
                     model::BorderStyle::Dotted, model::BorderStyle::None})
    page.items.push_back(layout::LineItem{100, 100 + 200 * static_cast<int>(style), 5000, 900, 30, 0xFF0000, style});
  page.items.push_back(layout::BoxItem{{2000, 2000, 3000, 1000}, model::BorderStyle::Double, 40, 0x0000FF, true, 0xEEEEEE});
  page.items.push_back(layout::BoxItem{{2000, 4000, 0, 1000}});  // empty: left out
  auto pixels = std::make_shared<std::vector<std::uint32_t>>(
      std::vector<std::uint32_t>{0xFFFF0000, 0x8000FF00, 0xFF0000FF, 0x00FFFFFF, 0xFF000000, 0xFF123456});
  page.items.push_back(layout::ImageItem{{6000, 2000, 1440, 960}, 3, 2, pixels});
  page.items.push_back(layout::ImageItem{{6000, 4000, 1440, 960}, 30, 20, pixels});  // too few pixels: left out
  auto pdf = writeFile("shapes.pdf", {page});
  expectValid(pdf);
  std::string info = capture("pdfinfo '" + pdf.string() + "'");
  EXPECT_NE(info.find("841.9 x 595.3 pts"), std::string::npos) << info;
  std::string images = capture("pdfimages -list '" + pdf.string() + "'");
  EXPECT_NE(images.find("smask"), std::string::npos) << images;
  EXPECT_NE(images.find("     3     2  rgb"), std::string::npos) << images;
}

TEST(PdfExport, AThousandPagesStreamAndCanBeStopped) {
  auto feed = [](std::int32_t number) -> std::shared_ptr<const layout::Page> {
    if (number > 1000) return nullptr;
    auto page = std::make_shared<layout::Page>();
    page->number = number;
    for (int line = 0; line < 40; ++line)
      page->items.push_back(run(720, 720 + line * 360, u"Page " + decimal(number) + u" line " + decimal(line), line + 1));
    return page;
  };
  auto path = scratch("thousand.pdf");
  {
    std::ofstream out(path, std::ios::binary);
    std::int32_t last = 0;
    EXPECT_TRUE(writePdf(feed, out, [&](std::int32_t done) {
      EXPECT_EQ(done, last + 1);
      last = done;
      return true;
    }));
    EXPECT_EQ(last, 1000);
  }
  expectValid(path);
  EXPECT_EQ(pageCount(path), "1000");
  EXPECT_NE(text(path, "-f 1000 -l 1000").find("Page 1000 line 39"), std::string::npos);

  std::ostringstream stopped;
  EXPECT_FALSE(writePdf(feed, stopped, [](std::int32_t done) { return done < 3; }));
}

TEST(PdfExport, NoPagesStillMakesAFileAndAFailingStreamThrows) {
  auto pdf = writeFile("empty.pdf", {});
  expectValid(pdf);
  EXPECT_EQ(pageCount(pdf), "1");

  std::ostringstream broken;
  broken.setstate(std::ios::badbit);
  EXPECT_THROW(writePdf(feedOf(std::vector<layout::Page>(1)), broken), std::ios_base::failure);
}

TEST(PdfFonts, ReportFontsChooseTheNearestStandardFont) {
  EXPECT_STREQ(pdfFontFor({u"Arial", 200, true, false, false}).baseFont(), "Helvetica-Bold");
  EXPECT_STREQ(pdfFontFor({u"Times New Roman", 200, false, true, false}).baseFont(), "Times-Italic");
  EXPECT_STREQ(pdfFontFor({u"Liberation Serif", 200, false, false, false}).baseFont(), "Times-Roman");
  EXPECT_STREQ(pdfFontFor({u"DejaVu Sans Mono", 200, true, true, false}).baseFont(), "Courier-BoldOblique");
  EXPECT_STREQ(pdfFontFor({u"Liberation Sans", 200, false, false, false}).baseFont(), "Helvetica");
  EXPECT_STREQ(pdfFontFor({u"Tahoma", 200, false, false, false}).baseFont(), "Helvetica");
  EXPECT_EQ(winAnsi(u"€Œœ\U0001F600x"), "\x80\x8C\x9C?x");
}
